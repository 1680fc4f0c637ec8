#pragma once

// The --store option of the commands that read and write the settings store.

#include <memory>
#include <string>

#include "zevcore/platform/store/SettingsStore.h"

namespace zevtool {

/// Installs the store in file `path` for the life of the object; "" keeps the user's own.
class StoreOverride {
public:
    explicit StoreOverride(const std::string& path) {
        if (path.empty()) return;
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

}  // namespace zevtool
