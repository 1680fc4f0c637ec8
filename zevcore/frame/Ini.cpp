#include "zevcore/frame/Ini.h"
#include "zevcore/platform/Locale.h"

#include <locale.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

std::string gBase;
HKEY gRoot = HKEY_CURRENT_USER;
// The value buffer every read goes through.
char gValue[ZEV_INI_VALUE_SIZE];

std::string fullPath(const char* key) {
    std::string k = key ? key : "";
    if (gBase.empty()) return k;
    return k.empty() ? gBase : gBase + "\\" + k;
}

// Reads the value `valueName` (null: the default value) of base\key into gValue.
int readValue(const char* key, const char* valueName) {
    gValue[0] = '\0';
    HKEY handle = nullptr;
    LSTATUS status = RegOpenKeyExA(gRoot, fullPath(key).c_str(), 0, KEY_QUERY_VALUE, &handle);
    if (status != ERROR_SUCCESS) return status;
    DWORD type = REG_NONE;
    DWORD size = 0;
    status = RegQueryValueExA(handle, valueName, nullptr, &type, nullptr, &size);
    if (status == ERROR_SUCCESS) {
        // A value too long for the buffer is read whole and cut, never written past it.
        std::string bytes(size, '\0');
        status = RegQueryValueExA(handle, valueName, nullptr, &type,
                                  reinterpret_cast<BYTE*>(bytes.data()), &size);
        if (status == ERROR_SUCCESS) {
            size_t n = std::min<size_t>(size, sizeof gValue - 1);
            std::memcpy(gValue, bytes.data(), n);
            gValue[n] = '\0';
        }
    }
    RegCloseKey(handle);
    return status;
}

int writeText(const char* key, const char* text) {
    HKEY handle = nullptr;
    LSTATUS status = RegCreateKeyExA(gRoot, fullPath(key).c_str(), 0, nullptr,
                                     REG_OPTION_NON_VOLATILE, KEY_WRITE, nullptr, &handle, nullptr);
    if (status != ERROR_SUCCESS) return status;
    const char* t = text ? text : "";
    status = RegSetValueExA(handle, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(t),
                            static_cast<DWORD>(std::strlen(t) + 1));
    RegCloseKey(handle);
    return status;
}

// "%ld" as the stored texts were read: white space, a sign, digits, and nothing required
// after them. Saturates at the 64-bit range.
bool parseLong(const char* text, std::int64_t& value) {
    const char* p = text;
    while (std::isspace(static_cast<unsigned char>(*p))) ++p;
    bool negative = false;
    if (*p == '+' || *p == '-') negative = *p++ == '-';
    if (!std::isdigit(static_cast<unsigned char>(*p))) return false;
    std::uint64_t magnitude = 0;
    const std::uint64_t limit = static_cast<std::uint64_t>(INT64_MAX) + (negative ? 1 : 0);
    for (; std::isdigit(static_cast<unsigned char>(*p)); ++p) {
        unsigned digit = static_cast<unsigned>(*p - '0');
        magnitude = magnitude > (limit - digit) / 10 ? limit : magnitude * 10 + digit;
    }
    if (negative)
        value = magnitude == limit ? INT64_MIN : -static_cast<std::int64_t>(magnitude);
    else
        value = static_cast<std::int64_t>(magnitude);
    return true;
}

}  // namespace

void setIniBase(const char* base, HKEY root) {
    gBase = base ? base : "";
    gRoot = root;
}

const char* getIniBase() {
    return gBase.c_str();
}
HKEY getIniRoot() {
    return gRoot;
}

int writeIniString(const char* key, const char* text) {
    return writeText(key, text);
}
int writeIniString(const char* key, const CString& text) {
    return writeText(key, text);
}
int write_registry(const char* key, const char* text) {
    return writeText(key, text);
}

int writeIniInt(const char* key, int value) {
    return writeText(key, std::to_string(value).c_str());
}

int writeIniColor(const char* key, COLORREF value) {
    return writeText(key, std::to_string(static_cast<LONG>(value)).c_str());
}

int writeIniDouble(const char* key, double value) {
    char text[32];
    auto result = std::to_chars(text, text + sizeof text - 1, value, std::chars_format::general, 6);
    *result.ptr = '\0';
    return writeText(key, text);
}

int writeIniBool(const char* key, bool value) {
    return writeIniInt(key, value ? 1 : 0);
}

int readIniString(const char* key, char* text) {
    int status = readValue(key, nullptr);
    if (status == ERROR_SUCCESS && text) std::strcpy(text, gValue);
    return status;
}

int readIniString(const char* key, CString& text) {
    int status = readValue(key, nullptr);
    if (status == ERROR_SUCCESS) text = gValue;
    return status;
}

int read_registry(const char* key, char* text) {
    if (text) text[0] = '\0';
    return readIniString(key, text);
}

int readIniInt(const char* key, int& value) {
    int status = readValue(key, nullptr);
    if (status != ERROR_SUCCESS) return status;
    std::int64_t parsed = 0;
    if (!parseLong(gValue, parsed)) return ERROR_BAD_FORMAT;
    value = static_cast<int>(parsed < INT_MIN ? INT_MIN : parsed > INT_MAX ? INT_MAX : parsed);
    return ERROR_SUCCESS;
}

int readIniColor(const char* key, COLORREF& value) {
    int status = readValue(key, nullptr);
    if (status != ERROR_SUCCESS) return status;
    std::int64_t parsed = 0;
    if (!parseLong(gValue, parsed)) return ERROR_BAD_FORMAT;
    value = static_cast<COLORREF>(static_cast<std::uint64_t>(parsed) & 0xffffffffu);
    return ERROR_SUCCESS;
}

int readIniDouble(const char* key, double& value) {
    int status = readValue(key, nullptr);
    if (status != ERROR_SUCCESS) return status;
    char* end = nullptr;
    double parsed = ZEVStrtod(gValue, &end);
    if (end == gValue) return ERROR_BAD_FORMAT;
    value = parsed;
    return ERROR_SUCCESS;
}

int readIniBool(const char* key, bool& value, bool clearFirst) {
    if (clearFirst) value = false;
    int number = 0;
    int status = readIniInt(key, number);
    if (status == ERROR_SUCCESS) value = number != 0;
    return status;
}

int read_registry_subkey(const char* key, const char* valueName, char* text) {
    if (text) text[0] = '\0';
    int status = readValue(key, valueName ? valueName : "");
    if (status == ERROR_SUCCESS && text) std::strcpy(text, gValue);
    return status;
}

int delete_registry(const char* key) {
    return RegDeleteKeyA(gRoot, fullPath(key).c_str());
}

bool readIndexedSubKey(const char* key, int index, _SRegItem& item) {
    HKEY handle = nullptr;
    if (RegOpenKeyExA(gRoot, fullPath(key).c_str(), 0, KEY_ENUMERATE_SUB_KEYS | KEY_QUERY_VALUE,
                      &handle) != ERROR_SUCCESS)
        return false;
    DWORD size = sizeof item.name;
    LSTATUS status = index < 0 ? ERROR_NO_MORE_ITEMS
                               : RegEnumKeyExA(handle, static_cast<DWORD>(index), item.name, &size,
                                               nullptr, nullptr, nullptr, nullptr);
    RegCloseKey(handle);
    if (status != ERROR_SUCCESS && status != ERROR_MORE_DATA) return false;

    std::string path = std::string(key ? key : "") + "\\" + item.name;
    const char* setting = path.c_str();
    switch (std::tolower(static_cast<unsigned char>(item.name[0]))) {
        case 'b':
            item.type = 2;
            return readIniBool(setting, item.value.boolean, true) == ERROR_SUCCESS;
        case 'c':
            item.type = 3;
            return readIniColor(setting, item.value.color) == ERROR_SUCCESS;
        case 'd':
            item.type = 4;
            return readIniDouble(setting, item.value.number) == ERROR_SUCCESS;
        case 'i':
            item.type = 1;
            return readIniInt(setting, item.value.integer) == ERROR_SUCCESS;
        case 's':
            item.type = 0;
            return readIniString(setting, item.value.text) == ERROR_SUCCESS;
        default:
            return false;
    }
}

void writeProductPath(const char* product) {
    std::string key = std::string("Path\\") + (product ? product : "");
    std::string folder;
    char exe[4096];
    ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
    if (n > 0) folder.assign(exe, static_cast<size_t>(n));
    size_t slash = folder.rfind('/');
    if (slash == std::string::npos)
        folder += '/';
    else
        folder.erase(slash + 1);
    setIniBase("Software\\ZEV", HKEY_CURRENT_USER);
    writeIniString(key.c_str(), folder.c_str());
}
