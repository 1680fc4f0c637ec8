#pragma once

// The per-user settings store: a tree of keys under a few roots, each key with a default
// (unnamed) value and named values of a type and raw bytes. The functions below keep the
// names, arguments and status numbers that callers and stored data were written against.
//
// Key and value names compare without regard to ASCII case and keep the case they were
// created with. Key paths separate their parts with a backslash. Only HKEY_CURRENT_USER can
// be written; the other roots exist and stay empty.
//
// The store behind the functions is a service (IZEVSettingsStore): by default a database
// file shared by every process of the user (see ZEVSettingsStorePath), safe for several
// processes reading and writing at once. Every write is one transaction: when a function
// answers ERROR_SUCCESS the write is in the store, and a process killed at any moment leaves
// the store whole.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "zevcore/Export.h"
#include "zevcore/platform/String.h"
#include "zevcore/platform/Types.h"

// Statuses (the platform's error numbers).
inline constexpr LSTATUS ERROR_SUCCESS = 0;
inline constexpr LSTATUS ERROR_FILE_NOT_FOUND = 2;
inline constexpr LSTATUS ERROR_ACCESS_DENIED = 5;
inline constexpr LSTATUS ERROR_INVALID_HANDLE = 6;
inline constexpr LSTATUS ERROR_BAD_FORMAT = 11;
inline constexpr LSTATUS ERROR_OUTOFMEMORY = 14;
inline constexpr LSTATUS ERROR_INVALID_PARAMETER = 87;
inline constexpr LSTATUS ERROR_BAD_PATHNAME = 161;
inline constexpr LSTATUS ERROR_BUSY = 170;
inline constexpr LSTATUS ERROR_MORE_DATA = 234;
inline constexpr LSTATUS ERROR_NO_MORE_ITEMS = 259;
inline constexpr LSTATUS ERROR_BADDB = 1009;
inline constexpr LSTATUS ERROR_BADKEY = 1010;
inline constexpr LSTATUS ERROR_CANTWRITE = 1013;
inline constexpr LSTATUS ERROR_KEY_DELETED = 1018;

// Value types.
inline constexpr DWORD REG_NONE = 0;
inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_EXPAND_SZ = 2;
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_DWORD = 4;
inline constexpr DWORD REG_DWORD_LITTLE_ENDIAN = 4;
inline constexpr DWORD REG_DWORD_BIG_ENDIAN = 5;
inline constexpr DWORD REG_LINK = 6;
inline constexpr DWORD REG_MULTI_SZ = 7;
inline constexpr DWORD REG_RESOURCE_LIST = 8;
inline constexpr DWORD REG_FULL_RESOURCE_DESCRIPTOR = 9;
inline constexpr DWORD REG_RESOURCE_REQUIREMENTS_LIST = 10;
inline constexpr DWORD REG_QWORD = 11;

// Access rights of an open key.
using REGSAM = DWORD;
inline constexpr REGSAM KEY_QUERY_VALUE = 0x0001;
inline constexpr REGSAM KEY_SET_VALUE = 0x0002;
inline constexpr REGSAM KEY_CREATE_SUB_KEY = 0x0004;
inline constexpr REGSAM KEY_ENUMERATE_SUB_KEYS = 0x0008;
inline constexpr REGSAM KEY_NOTIFY = 0x0010;
inline constexpr REGSAM KEY_READ = 0x20019;
inline constexpr REGSAM KEY_WRITE = 0x20006;
inline constexpr REGSAM KEY_EXECUTE = 0x20019;
inline constexpr REGSAM KEY_ALL_ACCESS = 0xF003F;

inline constexpr DWORD REG_OPTION_NON_VOLATILE = 0;
inline constexpr DWORD REG_CREATED_NEW_KEY = 1;
inline constexpr DWORD REG_OPENED_EXISTING_KEY = 2;

/// A key or value name is at most this many bytes.
inline constexpr DWORD ZEV_MAX_KEY_NAME = 255;

/// Creates the key `subKey` under `key`, with every missing parent, or opens it when it
/// exists. A null or empty `subKey` opens `key` itself again. `disposition` (may be null)
/// tells REG_CREATED_NEW_KEY or REG_OPENED_EXISTING_KEY. `reserved`, `keyClass`, `options`
/// and `security` are accepted and ignored. ERROR_ACCESS_DENIED under a read-only root or
/// through a key opened without KEY_CREATE_SUB_KEY; ERROR_BAD_PATHNAME for an empty part of
/// the path (a leading or doubled backslash); ERROR_INVALID_PARAMETER for a part longer than
/// ZEV_MAX_KEY_NAME or a null `result`.
ZEVCORE_API LSTATUS RegCreateKeyExA(HKEY key, const char* subKey, DWORD reserved, char* keyClass,
                                    DWORD options, REGSAM access, void* security, HKEY* result,
                                    DWORD* disposition);
/// As RegCreateKeyExA with all access and no disposition.
ZEVCORE_API LSTATUS RegCreateKeyA(HKEY key, const char* subKey, HKEY* result);

/// Opens an existing key; ERROR_FILE_NOT_FOUND when it does not exist.
ZEVCORE_API LSTATUS RegOpenKeyExA(HKEY key, const char* subKey, DWORD options, REGSAM access,
                                  HKEY* result);
ZEVCORE_API LSTATUS RegOpenKeyA(HKEY key, const char* subKey, HKEY* result);

/// Closes a key opened by the functions above. Closing a root does nothing; a handle that
/// is not open gives ERROR_INVALID_HANDLE.
ZEVCORE_API LSTATUS RegCloseKey(HKEY key);

/// Reads value `name` (null or "" is the key's default value). `type` (may be null) gets
/// its type. With `data` null, `*size` gets the size in bytes. With `data`, `*size` is the
/// buffer's size on entry and the value's size on return; a buffer too small gives
/// ERROR_MORE_DATA and leaves `data` alone. `data` without `size` is
/// ERROR_INVALID_PARAMETER. The bytes come back as stored: a text holds its terminating NUL
/// only when the writer counted it.
ZEVCORE_API LSTATUS RegQueryValueExA(HKEY key, const char* name, DWORD* reserved, DWORD* type,
                                     BYTE* data, DWORD* size);

/// Stores value `name` (null or "" is the default value) with `type` and `size` bytes of
/// `data`. Null `data` with a non-zero size is ERROR_INVALID_PARAMETER. Needs KEY_SET_VALUE.
ZEVCORE_API LSTATUS RegSetValueExA(HKEY key, const char* name, DWORD reserved, DWORD type,
                                   const BYTE* data, DWORD size);

/// Removes value `name`; ERROR_FILE_NOT_FOUND when there is none.
ZEVCORE_API LSTATUS RegDeleteValueA(HKEY key, const char* name);

/// Removes the key `subKey` under `key` with its values. A key that still has subkeys is
/// not removed (ERROR_ACCESS_DENIED), nor is a root. Handles still open on a removed key
/// answer ERROR_KEY_DELETED from then on.
ZEVCORE_API LSTATUS RegDeleteKeyA(HKEY key, const char* subKey);

/// Removes `subKey` and everything beneath it; with a null or empty `subKey`, removes the
/// values and subkeys of `key` and keeps the key.
ZEVCORE_API LSTATUS RegDeleteTreeA(HKEY key, const char* subKey);

/// The name of the `index`-th subkey of `key`, in the order of the names compared without
/// case. `*nameSize` is the buffer's size in bytes on entry and the name's length without
/// its NUL on return. A buffer too small for the name and its NUL gives ERROR_MORE_DATA with
/// as much of the name as fits, NUL-terminated. Past the last subkey: ERROR_NO_MORE_ITEMS.
/// `keyClass` (when given) gets ""; `lastWrite` (when given) gets the key's last write time.
ZEVCORE_API LSTATUS RegEnumKeyExA(HKEY key, DWORD index, char* name, DWORD* nameSize,
                                  DWORD* reserved, char* keyClass, DWORD* classSize,
                                  FILETIME* lastWrite);

/// The `index`-th value of `key` (the default value, when set, comes first as ""), with the
/// size rules of RegEnumKeyExA for the name and of RegQueryValueExA for the data.
ZEVCORE_API LSTATUS RegEnumValueA(HKEY key, DWORD index, char* name, DWORD* nameSize,
                                  DWORD* reserved, DWORD* type, BYTE* data, DWORD* dataSize);

/// One stored value as the store service hands it over.
struct ZEVStoredValue {
    std::string name;
    DWORD type = REG_NONE;
    std::string data;
};

/// The settings store as a service: keys by number, values by name. Calls run on the
/// interface thread; an implementation answers the statuses of the functions above.
class ZEVCORE_API IZEVSettingsStore {
public:
    using KeyId = std::int64_t;
    virtual ~IZEVSettingsStore();

    /// The key of a root, or 0 for a handle that names no root.
    virtual KeyId RootKey(HKEY root) = 0;
    /// False for the roots that cannot be written.
    virtual bool IsWritable(KeyId key) = 0;
    /// Finds (or, with `create`, makes) the key at `parts` below `parent`. `created` tells
    /// whether the last part was made by this call.
    virtual LSTATUS OpenKey(KeyId parent, const std::vector<std::string>& parts, bool create,
                            KeyId& key, bool& created) = 0;
    virtual LSTATUS QueryValue(KeyId key, const std::string& name, ZEVStoredValue& value) = 0;
    virtual LSTATUS SetValue(KeyId key, const ZEVStoredValue& value) = 0;
    virtual LSTATUS DeleteValue(KeyId key, const std::string& name) = 0;
    /// Removes a key; with `tree` its subkeys too, otherwise a key with subkeys stays and the
    /// answer is ERROR_ACCESS_DENIED. With `keepKey` only what lies beneath goes.
    virtual LSTATUS DeleteKey(KeyId key, bool tree, bool keepKey) = 0;
    /// The names of the subkeys, in the order of their case-blind names.
    virtual LSTATUS SubKeys(KeyId key, std::vector<std::string>& names) = 0;
    /// The values, the default value first, then by case-blind name.
    virtual LSTATUS Values(KeyId key, std::vector<ZEVStoredValue>& values) = 0;
    /// The key's last write in milliseconds since 1970; ERROR_KEY_DELETED when it is gone.
    virtual LSTATUS WriteTime(KeyId key, std::int64_t& msSinceEpoch) = 0;
    /// Starts grouping the calls that follow into one transaction (see CZEVSettingsBatch);
    /// batches nest. A store without transactions answers ERROR_SUCCESS and does nothing.
    virtual LSTATUS BeginBatch();
    /// Ends the innermost batch; the outermost commits (or, without `commit`, undoes) all.
    virtual LSTATUS EndBatch(bool commit);
};

/// Where the default store lives: $ZEV_REGISTRY when set and not empty, else
/// $XDG_CONFIG_HOME/ZEV/registry.db ($XDG_CONFIG_HOME defaults to ~/.config, and ~ to the
/// account's home folder when HOME is not set). Empty when no home folder can be found; the
/// store then answers ERROR_BADDB.
ZEVCORE_API CString ZEVSettingsStorePath();

/// The store in use: the installed one, else the default store, opened at first use at
/// ZEVSettingsStorePath() and kept open for the life of the process.
ZEVCORE_API IZEVSettingsStore& ZEVSettingsStore();
/// Installs a store (not owned; null puts the default back) and answers the one before.
/// Handles opened on one store must not be used on another.
ZEVCORE_API IZEVSettingsStore* ZEVInstallSettingsStore(IZEVSettingsStore* store);

/// The writes made through the store in use during the life of a batch are one transaction:
/// other processes see all of them or none, and a process killed before Commit leaves none.
/// Batches nest; only the outermost commits. A batch ended without Commit undoes its writes.
/// While a batch is open, this process holds the store's write lock: keep batches short.
///
///     CZEVSettingsBatch batch;
///     writeIniInt("Left", 10);
///     writeIniInt("Top", 20);
///     batch.Commit();
class ZEVCORE_API CZEVSettingsBatch {
public:
    CZEVSettingsBatch();
    ~CZEVSettingsBatch();
    CZEVSettingsBatch(const CZEVSettingsBatch&) = delete;
    CZEVSettingsBatch& operator=(const CZEVSettingsBatch&) = delete;

    /// ERROR_SUCCESS when the batch could begin (ERROR_BUSY when the lock did not come).
    LSTATUS Status() const { return m_status; }
    /// Commits (the outermost batch) and answers the status; a second Commit is refused.
    LSTATUS Commit();

private:
    IZEVSettingsStore* m_store;
    LSTATUS m_status;
    bool m_ended = false;
};

/// The store in a database file, shared safely by the processes that open the same file.
/// A store whose file cannot be opened answers ERROR_BADDB to everything; a write that
/// cannot get the file's lock before the deadline answers ERROR_BUSY and changes nothing.
/// Reading never changes the file system: a file that does not exist reads as an empty store
/// and is made, with its folder, by the first write; a database that is not a store is
/// refused without being touched.
class ZEVCORE_API CZEVFileSettingsStore : public IZEVSettingsStore {
public:
    /// Opens the store at `path` when the file exists.
    explicit CZEVFileSettingsStore(const char* path);
    ~CZEVFileSettingsStore() override;
    CZEVFileSettingsStore(const CZEVFileSettingsStore&) = delete;
    CZEVFileSettingsStore& operator=(const CZEVFileSettingsStore&) = delete;

    /// ERROR_SUCCESS when the file is open and holds a store.
    LSTATUS OpenStatus() const;
    const CString& Path() const;
    /// How long one call may keep retrying while other processes hold the file; 10 s unless
    /// set.
    void SetDeadlineMs(int ms);
    /// Runs the database's own consistency check: true and "ok" when the file is whole.
    bool CheckIntegrity(std::string& report);

    KeyId RootKey(HKEY root) override;
    bool IsWritable(KeyId key) override;
    LSTATUS OpenKey(KeyId parent, const std::vector<std::string>& parts, bool create, KeyId& key,
                    bool& created) override;
    LSTATUS QueryValue(KeyId key, const std::string& name, ZEVStoredValue& value) override;
    LSTATUS SetValue(KeyId key, const ZEVStoredValue& value) override;
    LSTATUS DeleteValue(KeyId key, const std::string& name) override;
    LSTATUS DeleteKey(KeyId key, bool tree, bool keepKey) override;
    LSTATUS SubKeys(KeyId key, std::vector<std::string>& names) override;
    LSTATUS Values(KeyId key, std::vector<ZEVStoredValue>& values) override;
    LSTATUS WriteTime(KeyId key, std::int64_t& msSinceEpoch) override;
    LSTATUS BeginBatch() override;
    LSTATUS EndBatch(bool commit) override;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
