#pragma once

#include "support/TestEnv.h"
#include "zevcore/platform/Registry.h"

namespace zevtest {

/// A fresh, empty settings store in a folder of its own, installed as the library's store
/// for the life of the object.
class ScopedStore {
public:
    ScopedStore() : m_store(m_dir.file("registry.db").c_str()) {
        m_previous = ZEVInstallSettingsStore(&m_store);
    }
    ~ScopedStore() { ZEVInstallSettingsStore(m_previous); }
    ScopedStore(const ScopedStore&) = delete;
    ScopedStore& operator=(const ScopedStore&) = delete;

    CZEVFileSettingsStore& store() { return m_store; }
    std::string path() const { return m_dir.file("registry.db"); }

private:
    TempDir m_dir;
    CZEVFileSettingsStore m_store;
    IZEVSettingsStore* m_previous = nullptr;
};

}  // namespace zevtest
