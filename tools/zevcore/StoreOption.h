#pragma once

// The --store option of the commands that read and write the settings store, and the words
// they answer the store's statuses with.

#include <sys/stat.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "zevcore/platform/store/SettingsStore.h"

namespace zevtool {

/// A store status as the user reads it.
inline std::string storeStatusText(LSTATUS status) {
    switch (status) {
        case ERROR_FILE_NOT_FOUND:
            return "not found";
        case ERROR_ACCESS_DENIED:
            return "access denied (read-only root, or a key with subkeys)";
        case ERROR_BAD_PATHNAME:
            return "bad key path";
        case ERROR_INVALID_PARAMETER:
            return "name too long";
        case ERROR_OUTOFMEMORY:
            return "out of memory";
        case ERROR_DISK_FULL:
            return "the disk is full";
        case ERROR_BUSY:
            return "the store stayed busy";
        case ERROR_BADDB:
            return "the store cannot be opened";
        case ERROR_CANTWRITE:
            return "a write to the disk failed";
        case ERROR_KEY_DELETED:
            return "the key was deleted";
        default:
            return "error " + std::to_string(status);
    }
}

/// Installs the store in file `path` for the life of the object; "" keeps the user's own.
/// A file named in a folder that does not exist is refused: a mistyped path would otherwise
/// read as an empty store.
class StoreOverride {
public:
    explicit StoreOverride(const std::string& path) {
        if (path.empty()) return;
        const std::size_t slash = path.rfind('/');
        const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
        struct stat st {};
        if (stat(folder.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
            throw std::runtime_error("no store at '" + path + "': its folder does not exist");
        m_store = std::make_unique<CZEVFileSettingsStore>(path.c_str());
        m_previous = ZEVInstallSettingsStore(m_store.get());
    }
    ~StoreOverride() {
        if (m_store) ZEVInstallSettingsStore(m_previous);
    }
    StoreOverride(const StoreOverride&) = delete;
    StoreOverride& operator=(const StoreOverride&) = delete;

private:
    std::unique_ptr<CZEVFileSettingsStore> m_store;
    IZEVSettingsStore* m_previous = nullptr;
};

/// Throws, with the reason, when the store in use cannot be read: a folder or a file that is
/// no store where the store should be, or a store that stays busy. A store not made yet is
/// readable (it is empty).
inline void requireReadableStore() {
    IZEVSettingsStore& store = ZEVSettingsStore();
    IZEVSettingsStore::KeyId key = 0;
    bool created = false;
    const LSTATUS status =
        store.OpenKey(store.RootKey(HKEY_CURRENT_USER), {"Software"}, false, key, created);
    if (status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND) return;
    const auto* file = dynamic_cast<const CZEVFileSettingsStore*>(&store);
    const std::string path = file ? file->Path().GetString() : std::string();
    struct stat st {};
    if (!path.empty() && stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
        throw std::runtime_error("the store '" + path + "' is a folder, not a settings store");
    if (status == ERROR_BADDB && !path.empty())
        throw std::runtime_error("'" + path + "' is not a settings store, or cannot be opened");
    throw std::runtime_error("the store cannot be read: " + storeStatusText(status));
}

}  // namespace zevtool
