#include "zevcore/platform/Registry.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "support/ScopedStore.h"
#include "support/TestEnv.h"

namespace {

using zevtest::ScopedEnv;
using zevtest::ScopedStore;

class Registry : public ::testing::Test {
protected:
    ScopedStore scoped;

    HKEY create(const char* path, DWORD* disposition = nullptr) {
        HKEY key = nullptr;
        EXPECT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                  &key, disposition),
                  ERROR_SUCCESS);
        return key;
    }
    static LSTATUS setText(HKEY key, const char* name, const char* text) {
        return RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text),
                              static_cast<DWORD>(std::strlen(text) + 1));
    }
    static std::vector<std::string> subKeys(HKEY key) {
        std::vector<std::string> names;
        char name[256];
        for (DWORD i = 0;; ++i) {
            DWORD size = sizeof name;
            if (RegEnumKeyExA(key, i, name, &size, nullptr, nullptr, nullptr, nullptr) !=
                ERROR_SUCCESS)
                break;
            names.push_back(name);
        }
        return names;
    }
};

TEST_F(Registry, CreatesMissingParentsAndReopensCaseBlind) {
    DWORD disposition = 0;
    HKEY made = create("Software\\ZEV\\Units2010", &disposition);
    EXPECT_EQ(disposition, REG_CREATED_NEW_KEY);
    HKEY again = create("SOFTWARE\\zev\\units2010", &disposition);
    EXPECT_EQ(disposition, REG_OPENED_EXISTING_KEY);

    HKEY software = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "software", 0, KEY_READ, &software), ERROR_SUCCESS);
    EXPECT_EQ(subKeys(software), std::vector<std::string>{"ZEV"});  // the case it was made with
    HKEY missing = nullptr;
    EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Other", 0, KEY_READ, &missing),
              ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(missing, nullptr);
    for (HKEY k : {made, again, software}) EXPECT_EQ(RegCloseKey(k), ERROR_SUCCESS);
}

TEST_F(Registry, RejectsBadPathsAndHandles) {
    HKEY key = nullptr;
    struct {
        const char* path;
        LSTATUS status;
    } cases[] = {
        {"\\Leading", ERROR_BAD_PATHNAME},
        {"Double\\\\Backslash", ERROR_BAD_PATHNAME},
        {"Trailing\\", ERROR_SUCCESS},
        {"", ERROR_SUCCESS},  // the root itself again
    };
    for (const auto& c : cases) {
        EXPECT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, c.path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                  &key, nullptr),
                  c.status)
            << c.path;
        if (c.status == ERROR_SUCCESS) RegCloseKey(key);
    }
    std::string longName(256, 'k');
    EXPECT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, longName.c_str(), &key), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, longName.substr(1).c_str(), &key), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);  // already closed
    DWORD size = 0;
    EXPECT_EQ(RegQueryValueExA(key, nullptr, nullptr, nullptr, nullptr, &size),
              ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegCloseKey(nullptr), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegCreateKeyA(reinterpret_cast<HKEY>(0x1234), "A", &key), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, "A", nullptr), ERROR_INVALID_PARAMETER);
}

TEST_F(Registry, ValuesKeepTypeAndBytesAndFollowTheSizeRules) {
    HKEY key = create("Software\\Values");
    const DWORD number = 0x01020304;
    const BYTE blob[] = {0, 1, 2, 0xff, 0};
    ASSERT_EQ(setText(key, nullptr, "default"), ERROR_SUCCESS);
    ASSERT_EQ(RegSetValueExA(key, "Count", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), 4),
              ERROR_SUCCESS);
    ASSERT_EQ(RegSetValueExA(key, "Blob", 0, REG_BINARY, blob, sizeof blob), ERROR_SUCCESS);

    DWORD type = 0, size = 0;
    // "" and null both name the default value.
    ASSERT_EQ(RegQueryValueExA(key, "", nullptr, &type, nullptr, &size), ERROR_SUCCESS);
    EXPECT_EQ(type, REG_SZ);
    EXPECT_EQ(size, 8u);

    BYTE buffer[16] = {};
    size = sizeof buffer;
    ASSERT_EQ(RegQueryValueExA(key, "count", nullptr, &type, buffer, &size), ERROR_SUCCESS);
    EXPECT_EQ(type, REG_DWORD);
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(std::memcmp(buffer, &number, 4), 0);

    std::memset(buffer, 0xAA, sizeof buffer);
    size = 3;  // too small for the five bytes
    EXPECT_EQ(RegQueryValueExA(key, "BLOB", nullptr, &type, buffer, &size), ERROR_MORE_DATA);
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(buffer[0], 0xAA);  // untouched
    size = 5;
    ASSERT_EQ(RegQueryValueExA(key, "Blob", nullptr, &type, buffer, &size), ERROR_SUCCESS);
    EXPECT_EQ(std::memcmp(buffer, blob, 5), 0);

    EXPECT_EQ(RegQueryValueExA(key, "Blob", nullptr, &type, buffer, nullptr),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegQueryValueExA(key, "Missing", nullptr, &type, nullptr, &size),
              ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegSetValueExA(key, "Null", 0, REG_BINARY, nullptr, 2), ERROR_INVALID_PARAMETER);

    // Writing under another case replaces the data and keeps the first name.
    ASSERT_EQ(setText(key, "COUNT", "now text"), ERROR_SUCCESS);
    char name[32];
    DWORD nameSize = sizeof name;
    size = sizeof buffer;
    ASSERT_EQ(RegEnumValueA(key, 2, name, &nameSize, nullptr, &type, buffer, &size), ERROR_SUCCESS);
    EXPECT_STREQ(name, "Count");
    EXPECT_EQ(type, REG_SZ);
    EXPECT_STREQ(reinterpret_cast<char*>(buffer), "now text");
    nameSize = sizeof name;
    EXPECT_EQ(RegEnumValueA(key, 0, name, &nameSize, nullptr, nullptr, nullptr, nullptr),
              ERROR_SUCCESS);
    EXPECT_STREQ(name, "");  // the default value first

    EXPECT_EQ(RegDeleteValueA(key, "blob"), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteValueA(key, "blob"), ERROR_FILE_NOT_FOUND);
    RegCloseKey(key);
}

TEST_F(Registry, EnumeratesSubkeysByCaseBlindNameAndCutsLongNames) {
    HKEY parent = create("Software\\Enum");
    for (const char* child : {"beta", "Alpha", "gamma", "ALPHA2"}) {
        HKEY k = nullptr;
        ASSERT_EQ(RegCreateKeyA(parent, child, &k), ERROR_SUCCESS);
        RegCloseKey(k);
    }
    EXPECT_EQ(subKeys(parent), (std::vector<std::string>{"Alpha", "ALPHA2", "beta", "gamma"}));

    char name[4];
    DWORD size = sizeof name;
    EXPECT_EQ(RegEnumKeyExA(parent, 1, name, &size, nullptr, nullptr, nullptr, nullptr),
              ERROR_MORE_DATA);
    EXPECT_STREQ(name, "ALP");
    size = sizeof name;
    EXPECT_EQ(RegEnumKeyExA(parent, 4, name, &size, nullptr, nullptr, nullptr, nullptr),
              ERROR_NO_MORE_ITEMS);

    FILETIME written{};
    char full[16];
    size = sizeof full;
    ASSERT_EQ(RegEnumKeyExA(parent, 0, full, &size, nullptr, nullptr, nullptr, &written),
              ERROR_SUCCESS);
    EXPECT_EQ(size, 5u);
    // Some time after 2020-01-01 (132223104000000000 in 100-ns steps since 1601).
    const std::uint64_t ticks =
        (static_cast<std::uint64_t>(written.dwHighDateTime) << 32) | written.dwLowDateTime;
    EXPECT_GT(ticks, 132223104000000000ull);

    HKEY readOnly = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Enum", 0, KEY_QUERY_VALUE, &readOnly),
              ERROR_SUCCESS);
    EXPECT_EQ(RegEnumKeyExA(readOnly, 0, full, &size, nullptr, nullptr, nullptr, nullptr),
              ERROR_ACCESS_DENIED);
    EXPECT_EQ(setText(readOnly, "x", "y"), ERROR_ACCESS_DENIED);
    RegCloseKey(readOnly);
    RegCloseKey(parent);
}

TEST_F(Registry, DeletesLeavesOnlyAndTreesWhole) {
    HKEY deep = create("Software\\Del\\A\\B");
    ASSERT_EQ(setText(deep, nullptr, "x"), ERROR_SUCCESS);
    HKEY top = create("Software\\Del");
    ASSERT_EQ(setText(top, "Keep", "y"), ERROR_SUCCESS);

    EXPECT_EQ(RegDeleteKeyA(top, "A"), ERROR_ACCESS_DENIED);  // it has a subkey
    EXPECT_EQ(RegDeleteKeyA(top, "a\\b"), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteKeyA(top, "A\\B"), ERROR_FILE_NOT_FOUND);
    // A handle on a removed key says so.
    EXPECT_EQ(setText(deep, nullptr, "again"), ERROR_KEY_DELETED);
    EXPECT_EQ(RegCloseKey(deep), ERROR_SUCCESS);

    HKEY sub = create("Software\\Del\\A\\B\\C");
    RegCloseKey(sub);
    EXPECT_EQ(RegDeleteTreeA(top, "A"), ERROR_SUCCESS);
    EXPECT_TRUE(subKeys(top).empty());
    DWORD size = 0;
    EXPECT_EQ(RegQueryValueExA(top, "Keep", nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);

    // A tree removal of the key itself empties it and keeps it.
    RegCloseKey(create("Software\\Del\\X"));
    EXPECT_EQ(RegDeleteTreeA(top, nullptr), ERROR_SUCCESS);
    EXPECT_TRUE(subKeys(top).empty());
    EXPECT_EQ(RegQueryValueExA(top, "Keep", nullptr, nullptr, nullptr, &size),
              ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, ""), ERROR_ACCESS_DENIED);  // never a root
    RegCloseKey(top);
}

TEST_F(Registry, OnlyTheCurrentUserCanBeWritten) {
    HKEY key = nullptr;
    for (HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CLASSES_ROOT, HKEY_USERS}) {
        EXPECT_EQ(RegCreateKeyA(root, "Software\\ZEV", &key), ERROR_ACCESS_DENIED);
        EXPECT_EQ(RegOpenKeyA(root, "Software", &key), ERROR_FILE_NOT_FOUND);
        EXPECT_EQ(setText(root, "x", "y"), ERROR_ACCESS_DENIED);
    }
}

TEST_F(Registry, WritesAreSeenByAnotherConnectionAndSurviveReopening) {
    HKEY key = create("Software\\Shared");
    ASSERT_EQ(setText(key, "Name", "value"), ERROR_SUCCESS);
    RegCloseKey(key);

    CZEVFileSettingsStore other(scoped.path().c_str());
    ASSERT_EQ(other.OpenStatus(), ERROR_SUCCESS);
    IZEVSettingsStore::KeyId id = 0;
    bool created = false;
    ASSERT_EQ(
        other.OpenKey(other.RootKey(HKEY_CURRENT_USER), {"software", "SHARED"}, false, id, created),
        ERROR_SUCCESS);
    ZEVStoredValue value;
    ASSERT_EQ(other.QueryValue(id, "name", value), ERROR_SUCCESS);
    EXPECT_EQ(value.data, std::string("value\0", 6));

    // The file is a database in WAL mode that passes its own check.
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(scoped.path().c_str(), &db), SQLITE_OK);
    sqlite3_stmt* stmt = nullptr;
    sqlite3_prepare_v2(db, "PRAGMA journal_mode", -1, &stmt, nullptr);
    ASSERT_EQ(sqlite3_step(stmt), SQLITE_ROW);
    EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)), "wal");
    sqlite3_finalize(stmt);
    sqlite3_close(db);
    std::string report;
    EXPECT_TRUE(other.CheckIntegrity(report)) << report;
}

TEST(RegistryFile, AForeignFileIsNotTakenOver) {
    zevtest::TempDir dir;
    zevtest::writeFile(dir.file("text.db"), "this is not a database, just some text....");
    CZEVFileSettingsStore notDb(dir.file("text.db").c_str());
    EXPECT_EQ(notDb.OpenStatus(), ERROR_BADDB);
    ZEVStoredValue value;
    EXPECT_EQ(notDb.QueryValue(2, "", value), ERROR_BADDB);

    // Somebody else's database, in the default journal mode: reading it changes no byte.
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(dir.file("other.db").c_str(), &db), SQLITE_OK);
    ASSERT_EQ(
        sqlite3_exec(db, "CREATE TABLE t(x); INSERT INTO t VALUES (1)", nullptr, nullptr, nullptr),
        SQLITE_OK);
    sqlite3_close(db);
    const std::string before = zevtest::readFile(dir.file("other.db"));
    {
        CZEVFileSettingsStore otherDb(dir.file("other.db").c_str());
        EXPECT_EQ(otherDb.OpenStatus(), ERROR_BADDB);
        EXPECT_EQ(otherDb.QueryValue(2, "", value), ERROR_BADDB);
        EXPECT_EQ(otherDb.SetValue(2, {"x", REG_SZ, std::string("1", 2)}), ERROR_BADDB);
    }
    EXPECT_EQ(zevtest::readFile(dir.file("other.db")), before);
    EXPECT_FALSE(std::filesystem::exists(dir.file("other.db-wal")));
    EXPECT_EQ(zevtest::readFile(dir.file("text.db")), "this is not a database, just some text....");
}

TEST(RegistryFile, ReadingAStoreThatIsNotThereMakesNothingAndTheFirstWriteMakesIt) {
    zevtest::TempDir dir;
    const std::string path = dir.file("a/b/registry.db");
    CZEVFileSettingsStore store(path.c_str());
    EXPECT_EQ(store.OpenStatus(), ERROR_SUCCESS);
    IZEVSettingsStore::KeyId key = 0;
    bool created = false;
    ZEVStoredValue value;
    std::vector<std::string> names;
    EXPECT_EQ(store.OpenKey(2, {"Software"}, false, key, created), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(store.QueryValue(2, "x", value), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(store.SubKeys(2, names), ERROR_SUCCESS);
    EXPECT_TRUE(names.empty());
    EXPECT_FALSE(std::filesystem::exists(dir.file("a")));

    ASSERT_EQ(store.OpenKey(2, {"Software", "ZEV"}, true, key, created), ERROR_SUCCESS);
    EXPECT_TRUE(created);
    EXPECT_EQ(store.SetValue(key, {"x", REG_SZ, std::string("1", 2)}), ERROR_SUCCESS);
    CZEVFileSettingsStore again(path.c_str());
    EXPECT_EQ(again.QueryValue(key, "x", value), ERROR_SUCCESS);
}

TEST(RegistryFile, ABatchIsOneTransaction) {
    zevtest::TempDir dir;
    CZEVFileSettingsStore store(dir.file("registry.db").c_str());
    CZEVFileSettingsStore other(dir.file("registry.db").c_str());
    IZEVSettingsStore* previous = ZEVInstallSettingsStore(&store);
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, "Software\\ZEV", &key), ERROR_SUCCESS);
    auto set = [&](const char* name) {
        return RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>("v"), 2);
    };
    auto has = [&](IZEVSettingsStore& s, const char* name) {
        IZEVSettingsStore::KeyId id = 0;
        bool created = false;
        ZEVStoredValue value;
        return s.OpenKey(2, {"Software", "ZEV"}, false, id, created) == ERROR_SUCCESS &&
               s.QueryValue(id, name, value) == ERROR_SUCCESS;
    };
    {
        CZEVSettingsBatch batch;
        ASSERT_EQ(batch.Status(), ERROR_SUCCESS);
        EXPECT_EQ(set("a"), ERROR_SUCCESS);
        {
            CZEVSettingsBatch inner;
            EXPECT_EQ(set("b"), ERROR_SUCCESS);
            EXPECT_EQ(inner.Commit(), ERROR_SUCCESS);
        }
        // A refused call inside a batch undoes only itself.
        EXPECT_EQ(RegDeleteValueA(key, "missing"), ERROR_FILE_NOT_FOUND);
        EXPECT_TRUE(has(store, "b"));
        EXPECT_FALSE(has(other, "a")) << "another connection sees nothing before the commit";
        EXPECT_EQ(batch.Commit(), ERROR_SUCCESS);
        EXPECT_EQ(batch.Commit(), ERROR_INVALID_PARAMETER);
    }
    EXPECT_TRUE(has(other, "a") && has(other, "b"));
    {
        CZEVSettingsBatch abandoned;
        EXPECT_EQ(set("c"), ERROR_SUCCESS);
    }
    EXPECT_FALSE(has(store, "c"));
    {
        CZEVSettingsBatch outer;
        EXPECT_EQ(set("d"), ERROR_SUCCESS);
        {
            CZEVSettingsBatch inner;  // ended without its commit: only its own write goes
            EXPECT_EQ(set("e"), ERROR_SUCCESS);
        }
        EXPECT_EQ(outer.Commit(), ERROR_SUCCESS);
    }
    EXPECT_TRUE(has(other, "d"));
    EXPECT_FALSE(has(other, "e"));
    RegCloseKey(key);
    ZEVInstallSettingsStore(previous);
}

TEST(RegistryFile, ASnapshotSeesAnotherWritersBatchWholeOrNotAtAll) {
    zevtest::TempDir dir;
    CZEVFileSettingsStore reader(dir.file("registry.db").c_str());
    CZEVFileSettingsStore writer(dir.file("registry.db").c_str());
    IZEVSettingsStore::KeyId key = 0;
    bool created = false;
    ASSERT_EQ(writer.OpenKey(2, {"Software", "ZEV"}, true, key, created), ERROR_SUCCESS);
    auto put = [&](const char* name, const char* text) {
        return writer.SetValue(key, {name, REG_SZ, text});
    };
    auto get = [&](const char* name) {
        ZEVStoredValue value;
        reader.QueryValue(key, name, value);
        return value.data;
    };
    ASSERT_EQ(put("a", "1"), ERROR_SUCCESS);
    ASSERT_EQ(put("b", "1"), ERROR_SUCCESS);

    ASSERT_EQ(reader.BeginSnapshot(), ERROR_SUCCESS);
    EXPECT_EQ(get("a"), "1");
    ASSERT_EQ(writer.BeginBatch(), ERROR_SUCCESS);
    put("a", "2");
    put("b", "2");
    ASSERT_EQ(writer.EndBatch(true), ERROR_SUCCESS);
    EXPECT_EQ(get("b"), "1") << "half of another writer's batch";
    EXPECT_EQ(reader.SetValue(key, {"c", REG_SZ, "1"}), ERROR_ACCESS_DENIED);
    EXPECT_EQ(reader.BeginBatch(), ERROR_ACCESS_DENIED);
    EXPECT_EQ(reader.EndSnapshot(), ERROR_SUCCESS);
    EXPECT_EQ(get("a") + get("b"), "22");
    EXPECT_EQ(reader.EndSnapshot(), ERROR_INVALID_PARAMETER);

    // Inside a batch a snapshot changes nothing: the batch's own writes are read.
    ASSERT_EQ(reader.BeginBatch(), ERROR_SUCCESS);
    ASSERT_EQ(reader.BeginSnapshot(), ERROR_SUCCESS);
    EXPECT_EQ(reader.SetValue(key, {"a", REG_SZ, "3"}), ERROR_SUCCESS);
    EXPECT_EQ(get("a"), "3");
    EXPECT_EQ(reader.EndSnapshot(), ERROR_SUCCESS);
    EXPECT_EQ(reader.EndBatch(true), ERROR_SUCCESS);
}

// The commit of a write that found the disk full was not checked by its callers. Every write
// path now answers the failure (a file-size limit stands in for the full disk), and nothing
// of the write lands.
TEST(SettingsStoreRegression, AFullDiskFailsTheWriteAndKeepsTheOldValue) {
    zevtest::TempDir dir;
    const std::string path = dir.file("registry.db");
    IZEVSettingsStore::KeyId key = 0;
    {
        CZEVFileSettingsStore store(path.c_str());
        bool created = false;
        ASSERT_EQ(store.OpenKey(2, {"Software", "ZEV"}, true, key, created), ERROR_SUCCESS);
        ASSERT_EQ(store.SetValue(key, {"v", REG_SZ, "old"}), ERROR_SUCCESS);
    }
    int answers[2];
    ASSERT_EQ(pipe(answers), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);  // a write past the limit fails instead of killing
        CZEVFileSettingsStore store(path.c_str());
        ZEVStoredValue value;
        store.QueryValue(key, "v", value);  // the shared-memory file is made at its size
        const rlimit limit{64 * 1024, 64 * 1024};
        setrlimit(RLIMIT_FSIZE, &limit);
        const std::string big(200000, 'x');
        const LSTATUS alone = store.SetValue(key, {"v", REG_SZ, big});
        const LSTATUS begun = store.BeginBatch();
        const LSTATUS small = store.SetValue(key, {"w", REG_SZ, "new"});
        store.SetValue(key, {"v", REG_SZ, big});
        const LSTATUS committed = store.EndBatch(true);
        const std::string line = std::to_string(alone) + " " + std::to_string(begun) + " " +
                                 std::to_string(small) + " " + std::to_string(committed);
        [[maybe_unused]] ssize_t written = write(answers[1], line.data(), line.size());
        _exit(0);
    }
    close(answers[1]);
    char line[64] = {};
    [[maybe_unused]] ssize_t got = read(answers[0], line, sizeof line - 1);
    close(answers[0]);
    waitpid(child, nullptr, 0);
    LSTATUS alone = 0, begun = 0, small = 0, committed = 0;
    ASSERT_EQ(std::sscanf(line, "%d %d %d %d", &alone, &begun, &small, &committed), 4) << line;
    const auto failedForTheDisk = [](LSTATUS s) {
        return s == ERROR_DISK_FULL || s == ERROR_CANTWRITE;
    };
    EXPECT_PRED1(failedForTheDisk, alone);
    EXPECT_EQ(begun, ERROR_SUCCESS);
    EXPECT_EQ(small, ERROR_SUCCESS);
    EXPECT_PRED1(failedForTheDisk, committed);

    CZEVFileSettingsStore store(path.c_str());
    ZEVStoredValue value;
    ASSERT_EQ(store.QueryValue(key, "v", value), ERROR_SUCCESS);
    EXPECT_EQ(value.data, "old");
    EXPECT_EQ(store.QueryValue(key, "w", value), ERROR_FILE_NOT_FOUND);
    std::string report;
    EXPECT_TRUE(store.CheckIntegrity(report)) << report;
}

TEST(RegistryFile, LocationFollowsTheEnvironment) {
    {
        ScopedEnv explicitStore("ZEV_REGISTRY", "/x/store.db");
        EXPECT_STREQ(ZEVSettingsStorePath(), "/x/store.db");
    }
    ScopedEnv noStore("ZEV_REGISTRY", "");
    ScopedEnv home("HOME", "/home/u");
    {
        ScopedEnv config("XDG_CONFIG_HOME", "/cfg");
        EXPECT_STREQ(ZEVSettingsStorePath(), "/cfg/ZEV/registry.db");
    }
    ScopedEnv relative("XDG_CONFIG_HOME", "relative/ignored");
    EXPECT_STREQ(ZEVSettingsStorePath(), "/home/u/.config/ZEV/registry.db");
    // Without HOME, the account's own home folder, never the file system's root.
    ScopedEnv noHome("HOME", "");
    const passwd* account = getpwuid(getuid());
    ASSERT_NE(account, nullptr);
    EXPECT_EQ(ZEVSettingsStorePath().str(),
              std::string(account->pw_dir) + "/.config/ZEV/registry.db");
}

}  // namespace
