// Another process for the settings-store stress tests: writes values into a handful of keys
// shared with the other workers and, after each write the store acknowledged, appends a line
// "<key> <value>" to the acknowledgement file.
//   store_worker STORE ACKS WORKER COUNT [batch]     (COUNT 0: until killed)
// With "batch", each step writes the values "a", "b" and "c" of its key, all with the same
// text, in one batch. Exits 0 when done, 3 when the store refused a write.

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "zevcore/platform/Registry.h"

int main(int argc, char** argv) {
    if (argc != 5 && argc != 6) return 2;
    const bool batched = argc == 6 && std::string(argv[5]) == "batch";
    CZEVFileSettingsStore store(argv[1]);
    ZEVInstallSettingsStore(&store);
    const int acks = open(argv[2], O_WRONLY | O_CREAT | O_APPEND, 0600);
    const std::string worker = argv[3];
    const long count = std::strtol(argv[4], nullptr, 10);
    if (acks < 0 || store.OpenStatus() != ERROR_SUCCESS) {
        std::fprintf(stderr, "store_worker %s: open status %d\n", argv[3],
                     static_cast<int>(store.OpenStatus()));
        return 3;
    }
    for (long i = 0; count == 0 || i < count; ++i) {
        const std::string key = "Software\\Stress\\K" + std::to_string(i % 5);
        const std::string value = "w" + worker + "-" + std::to_string(i);
        HKEY handle = nullptr;
        LSTATUS status = RegCreateKeyA(HKEY_CURRENT_USER, key.c_str(), &handle);
        if (status == ERROR_SUCCESS && batched) {
            CZEVSettingsBatch batch;
            status = batch.Status();
            for (const char* name : {"a", "b", "c"}) {
                if (status != ERROR_SUCCESS) break;
                status = RegSetValueExA(handle, name, 0, REG_SZ,
                                        reinterpret_cast<const BYTE*>(value.c_str()),
                                        static_cast<DWORD>(value.size() + 1));
            }
            if (status == ERROR_SUCCESS) status = batch.Commit();
            RegCloseKey(handle);
        } else if (status == ERROR_SUCCESS) {
            // Each value's data is its own name, and "last" is fought over by everybody.
            for (const char* name : {value.c_str(), "last"}) {
                status = RegSetValueExA(handle, name, 0, REG_SZ,
                                        reinterpret_cast<const BYTE*>(value.c_str()),
                                        static_cast<DWORD>(value.size() + 1));
                if (status != ERROR_SUCCESS) break;
            }
            RegCloseKey(handle);
        }
        if (status != ERROR_SUCCESS) {
            std::fprintf(stderr, "store_worker %s: status %d at %ld\n", worker.c_str(),
                         static_cast<int>(status), i);
            return 3;
        }
        const std::string line = key + " " + value + "\n";
        if (write(acks, line.data(), line.size()) != static_cast<ssize_t>(line.size())) return 3;
    }
    return 0;
}
