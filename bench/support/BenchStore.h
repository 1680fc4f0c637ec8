#pragma once

// A settings store of its own in the temporary folder for one benchmark, installed for its
// life and removed afterwards.

#include <unistd.h>

#include <cstdlib>
#include <string>

#include "zevcore/platform/Registry.h"

namespace zevbench {

class BenchStore {
public:
    BenchStore() : m_path(makePath()), m_store(m_path.c_str()) {
        m_previous = ZEVInstallSettingsStore(&m_store);
    }
    ~BenchStore() {
        ZEVInstallSettingsStore(m_previous);
        for (const char* suffix : {"", "-wal", "-shm"}) unlink((m_path + suffix).c_str());
    }
    BenchStore(const BenchStore&) = delete;
    BenchStore& operator=(const BenchStore&) = delete;

private:
    static std::string makePath() {
        const char* tmp = std::getenv("TMPDIR");
        std::string path = tmp && *tmp ? tmp : "/tmp";
        path += "/zev-bench-";
        path += std::to_string(getpid());
        path += ".db";
        return path;
    }
    std::string m_path;
    CZEVFileSettingsStore m_store;
    IZEVSettingsStore* m_previous = nullptr;
};

}  // namespace zevbench
