#include "zevcore/frame/Ini.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <string>

#include "support/ScopedStore.h"

namespace {

class Ini : public ::testing::Test {
protected:
    zevtest::ScopedStore scoped;
    void SetUp() override { setIniBase("Software\\ZEV\\Test", HKEY_CURRENT_USER); }

    // The raw default value of a key below HKEY_CURRENT_USER, and its type.
    static std::string stored(const char* path, DWORD* type = nullptr) {
        HKEY key = nullptr;
        if (RegOpenKeyExA(HKEY_CURRENT_USER, path, 0, KEY_READ, &key) != ERROR_SUCCESS)
            return "<missing>";
        char data[2048] = {};
        DWORD size = sizeof data;
        LSTATUS status =
            RegQueryValueExA(key, nullptr, nullptr, type, reinterpret_cast<BYTE*>(data), &size);
        RegCloseKey(key);
        return status == ERROR_SUCCESS ? std::string(data, size) : "<no value>";
    }
};

TEST_F(Ini, EachSettingIsTheTextDefaultValueOfAKeyOfItsOwn) {
    ASSERT_EQ(writeIniInt("Recovery\\DoHistory", 1), ERROR_SUCCESS);
    DWORD type = 0;
    EXPECT_EQ(stored("Software\\ZEV\\Test\\Recovery\\DoHistory", &type), std::string("1\0", 2));
    EXPECT_EQ(type, REG_SZ);

    struct {
        const char* key;
        int (*write)(const char*);
        const char* text;
    } cases[] = {
        {"Int", [](const char* k) { return writeIniInt(k, -42); }, "-42"},
        {"Bool", [](const char* k) { return writeIniBool(k, true); }, "1"},
        {"NotBool", [](const char* k) { return writeIniBool(k, false); }, "0"},
        {"White", [](const char* k) { return writeIniColor(k, RGB(255, 255, 255)); }, "16777215"},
        {"TopBit", [](const char* k) { return writeIniColor(k, 0xFFFFFFFFu); }, "-1"},
        {"Seven", [](const char* k) { return writeIniDouble(k, 1234.567); }, "1234.57"},
        {"Small", [](const char* k) { return writeIniDouble(k, 0.000012345678); }, "1.23457e-05"},
        {"Whole", [](const char* k) { return writeIniDouble(k, 2.0); }, "2"},
        {"Text", [](const char* k) { return writeIniString(k, CString("a b")); }, "a b"},
        {"Legacy", [](const char* k) { return write_registry(k, "x"); }, "x"},
    };
    for (const auto& c : cases) {
        ASSERT_EQ(c.write(c.key), ERROR_SUCCESS) << c.key;
        std::string path = std::string("Software\\ZEV\\Test\\") + c.key;
        EXPECT_EQ(stored(path.c_str()), std::string(c.text) + '\0') << c.key;
    }
}

TEST_F(Ini, NumbersParseAsTheyAlwaysDid) {
    struct {
        const char* text;
        int status;
        int value;
    } ints[] = {
        {"12", 0, 12},
        {"  -7", 0, -7},
        {"+5", 0, 5},
        {"12abc", 0, 12},
        {"abc", 11, 99},
        {"", 11, 99},
        {"-", 11, 99},
        {"99999999999", 0, INT_MAX},
        {"-99999999999999999999999", 0, INT_MIN},
    };
    for (const auto& c : ints) {
        writeIniString("N", c.text);
        int value = 99;
        EXPECT_EQ(readIniInt("N", value), c.status) << c.text;
        EXPECT_EQ(value, c.value) << c.text;
    }

    writeIniColor("C", 0x80FF0001u);
    COLORREF color = 0;
    ASSERT_EQ(readIniColor("C", color), ERROR_SUCCESS);
    EXPECT_EQ(color, 0x80FF0001u);
    writeIniString("C", "4294967295");
    ASSERT_EQ(readIniColor("C", color), ERROR_SUCCESS);
    EXPECT_EQ(color, 0xFFFFFFFFu);

    double d = 0;
    writeIniDouble("D", 3.14159265);
    ASSERT_EQ(readIniDouble("D", d), ERROR_SUCCESS);
    EXPECT_EQ(d, 3.14159);  // six significant digits survive, no more
    writeIniString("D", " 2.5e3xyz");
    ASSERT_EQ(readIniDouble("D", d), ERROR_SUCCESS);
    EXPECT_EQ(d, 2500.0);
    writeIniString("D", "x2.5");
    EXPECT_EQ(readIniDouble("D", d), ERROR_BAD_FORMAT);
    EXPECT_EQ(d, 2500.0);

    bool flag = true;
    writeIniString("B", "-3");
    ASSERT_EQ(readIniBool("B", flag), ERROR_SUCCESS);
    EXPECT_TRUE(flag);
    writeIniString("B", "no");
    EXPECT_EQ(readIniBool("B", flag), ERROR_BAD_FORMAT);
    EXPECT_TRUE(flag);  // kept
    EXPECT_EQ(readIniBool("B", flag, true), ERROR_BAD_FORMAT);
    EXPECT_FALSE(flag);  // cleared first
}

TEST_F(Ini, FailedReadsKeepOrEmptyTheirTargetAsTold) {
    char text[ZEV_INI_VALUE_SIZE];
    std::strcpy(text, "before");
    EXPECT_EQ(readIniString("Missing", text), ERROR_FILE_NOT_FOUND);
    EXPECT_STREQ(text, "before");
    CString kept("kept");
    EXPECT_EQ(readIniString("Missing", kept), ERROR_FILE_NOT_FOUND);
    EXPECT_STREQ(kept, "kept");
    EXPECT_EQ(read_registry("Missing", text), ERROR_FILE_NOT_FOUND);
    EXPECT_STREQ(text, "");
    int n = 5;
    EXPECT_EQ(readIniInt("Missing", n), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(n, 5);

    // A key that exists without a default value.
    HKEY key = nullptr;
    RegCreateKeyA(HKEY_CURRENT_USER, "Software\\ZEV\\Test\\Bare", &key);
    RegCloseKey(key);
    EXPECT_EQ(readIniString("Bare", kept), ERROR_FILE_NOT_FOUND);
}

TEST_F(Ini, LongTextsComeBackCut) {
    std::string longText(3000, 'x');
    ASSERT_EQ(writeIniString("Long", longText.c_str()), ERROR_SUCCESS);
    CString text;
    ASSERT_EQ(readIniString("Long", text), ERROR_SUCCESS);
    EXPECT_EQ(text.GetLength(), ZEV_INI_VALUE_SIZE - 1);
}

TEST_F(Ini, TheBaseAndRootDecideWhereSettingsGo) {
    setIniBase("Software\\ZEV\\Other");
    writeIniInt("Value", 3);
    EXPECT_EQ(stored("Software\\ZEV\\Other\\Value"), std::string("3\0", 2));
    setIniBase(nullptr);
    writeIniInt("TopLevel", 4);
    EXPECT_EQ(stored("TopLevel"), std::string("4\0", 2));
    setIniBase("Software", HKEY_LOCAL_MACHINE);
    EXPECT_EQ(writeIniInt("Value", 1), ERROR_ACCESS_DENIED);
    EXPECT_EQ(getIniRoot(), HKEY_LOCAL_MACHINE);

    setIniBase("Software\\ZEV\\Test");
    writeIniInt("Gone", 1);
    EXPECT_EQ(delete_registry("Gone"), ERROR_SUCCESS);
    EXPECT_EQ(delete_registry("Gone"), ERROR_FILE_NOT_FOUND);

    HKEY key = nullptr;
    RegCreateKeyA(HKEY_CURRENT_USER, "Software\\ZEV\\Test\\Named", &key);
    const char value[] = "named text";
    RegSetValueExA(key, "Field", 0, REG_SZ, reinterpret_cast<const BYTE*>(value), sizeof value);
    RegCloseKey(key);
    char text[ZEV_INI_VALUE_SIZE];
    ASSERT_EQ(read_registry_subkey("Named", "field", text), ERROR_SUCCESS);
    EXPECT_STREQ(text, "named text");
}

TEST_F(Ini, IndexedSubkeysAreTypedByTheirFirstLetter) {
    setIniBase("Software\\ZEV\\Items");
    // Subkeys enumerate by case-blind name: bOn, cLine, dLen, INum, iSmall, sName, xOther.
    writeIniString("Group\\bOn", "1");
    writeIniString("Group\\cLine", "255");
    writeIniString("Group\\dLen", "2.5");
    writeIniString("Group\\INum", "8");
    writeIniString("Group\\iSmall", "oops");
    writeIniString("Group\\sName", "steel");
    writeIniString("Group\\xOther", "1");

    _SRegItem item{};
    ASSERT_TRUE(readIndexedSubKey("Group", 0, item));
    EXPECT_STREQ(item.name, "bOn");
    EXPECT_EQ(item.type, 2);
    EXPECT_TRUE(item.value.boolean);
    ASSERT_TRUE(readIndexedSubKey("Group", 1, item));
    EXPECT_EQ(item.type, 3);
    EXPECT_EQ(item.value.color, 255u);
    ASSERT_TRUE(readIndexedSubKey("Group", 2, item));
    EXPECT_EQ(item.type, 4);
    EXPECT_EQ(item.value.number, 2.5);
    ASSERT_TRUE(readIndexedSubKey("Group", 3, item));
    EXPECT_EQ(item.type, 1);
    EXPECT_EQ(item.value.integer, 8);
    EXPECT_FALSE(readIndexedSubKey("Group", 4, item));  // "oops" is no integer
    ASSERT_TRUE(readIndexedSubKey("Group", 5, item));
    EXPECT_EQ(item.type, 0);
    EXPECT_STREQ(item.value.text, "steel");
    EXPECT_FALSE(readIndexedSubKey("Group", 6, item));  // x is no type
    EXPECT_FALSE(readIndexedSubKey("Group", 7, item));  // past the end
    EXPECT_FALSE(readIndexedSubKey("Group", -1, item));

    _SRegItem untouched{};
    std::strcpy(untouched.name, "same");
    EXPECT_FALSE(readIndexedSubKey("NoSuchGroup", 0, untouched));
    EXPECT_STREQ(untouched.name, "same");
}

TEST_F(Ini, ProductPathRecordsTheProgramsFolder) {
    writeProductPath("Designer");
    EXPECT_STREQ(getIniBase(), "Software\\ZEV");
    char exe[4096] = {};
    ASSERT_GT(readlink("/proc/self/exe", exe, sizeof exe - 1), 0);
    std::string folder(exe);
    folder.erase(folder.rfind('/') + 1);
    EXPECT_EQ(stored("Software\\ZEV\\Path\\Designer"), folder + '\0');
}

}  // namespace
