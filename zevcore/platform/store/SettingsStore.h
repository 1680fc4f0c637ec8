#pragma once

// The settings store as a service: a tree of keys by number, each with a default (unnamed)
// value and named values of a type and raw bytes, answering the platform's status numbers.
// The Reg* functions of zevcore/platform/Registry.h are the callers' view of it.
//
// The default store is a database file shared by every process of the user (see
// ZEVSettingsStorePath), safe for several processes reading and writing at once. Every write
// is one transaction: when a call answers ERROR_SUCCESS the write is in the store, and a
// process killed at any moment leaves the store whole. docs/settings-store.md has the rules.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"
#include "zevcore/platform/framework/String.h"

// Statuses (the platform's error numbers).
inline constexpr LSTATUS ERROR_SUCCESS = 0;
inline constexpr LSTATUS ERROR_FILE_NOT_FOUND = 2;
inline constexpr LSTATUS ERROR_ACCESS_DENIED = 5;
inline constexpr LSTATUS ERROR_INVALID_HANDLE = 6;
inline constexpr LSTATUS ERROR_BAD_FORMAT = 11;
inline constexpr LSTATUS ERROR_OUTOFMEMORY = 14;
inline constexpr LSTATUS ERROR_INVALID_PARAMETER = 87;
inline constexpr LSTATUS ERROR_DISK_FULL = 112;
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
    /// The value's type and data; `value.name` gets `name` as asked.
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
    /// Ends the innermost batch: without `commit` its writes are undone; with it, the
    /// outermost batch commits all. A commit that fails answers its status and keeps nothing.
    virtual LSTATUS EndBatch(bool commit);
    /// Starts a snapshot (see CZEVSettingsSnapshot): the reads that follow see one state of
    /// the store until EndSnapshot. Snapshots nest, and inside a batch they change nothing.
    virtual LSTATUS BeginSnapshot();
    virtual LSTATUS EndSnapshot();
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
/// Batches nest; only the outermost commits. A batch ended without Commit undoes its writes
/// (an inner one only its own). The reads inside a batch see the store as it stands under the
/// write lock, so a read-modify-write inside one is safe from other processes' writes.
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

/// The reads made through the store in use during the life of a snapshot see one state of the
/// store: another process's batch is seen whole or not at all, across all of them. Writes
/// are refused (ERROR_ACCESS_DENIED) while a snapshot is open outside a batch.
class ZEVCORE_API CZEVSettingsSnapshot {
public:
    CZEVSettingsSnapshot();
    ~CZEVSettingsSnapshot();
    CZEVSettingsSnapshot(const CZEVSettingsSnapshot&) = delete;
    CZEVSettingsSnapshot& operator=(const CZEVSettingsSnapshot&) = delete;

    /// ERROR_SUCCESS when the snapshot could begin.
    LSTATUS Status() const { return m_status; }

private:
    IZEVSettingsStore* m_store;
    LSTATUS m_status;
};

/// The store in a database file, shared safely by the processes that open the same file.
/// A store whose file cannot be opened answers ERROR_BADDB to everything; a write that
/// cannot get the file's lock before the deadline answers ERROR_BUSY and changes nothing, and
/// one that finds no room on the disk ERROR_DISK_FULL.
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
    LSTATUS BeginSnapshot() override;
    LSTATUS EndSnapshot() override;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
