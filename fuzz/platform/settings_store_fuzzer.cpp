// Arbitrary key paths, value names and stored texts through the settings store and the ini
// layer: every call must answer a status, never crash, and a stored text must read back.
//
// The input is lines; the first byte of each line picks the operation and the rest is its
// argument (a key path, or "path=text").

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "zevcore/frame/Ini.h"
#include "zevcore/platform/Registry.h"

namespace {

// A store of the run's own in memory-backed storage when there is some (every write is
// flushed to the disk), removed when the run ends.
struct FuzzStore {
    std::string path = std::string(access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp") +
                       "/zev-fuzz-" + std::to_string(getpid()) + ".db";
    CZEVFileSettingsStore store{path.c_str()};
    ~FuzzStore() {
        for (const char* suffix : {"", "-wal", "-shm"}) unlink((path + suffix).c_str());
    }
};

IZEVSettingsStore& fuzzStore() {
    static FuzzStore fuzz;
    return fuzz.store;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ZEVInstallSettingsStore(&fuzzStore());
    setIniBase("Software\\Fuzz");
    std::string input(reinterpret_cast<const char*>(data), size);
    size_t start = 0;
    while (start < input.size()) {
        size_t end = input.find('\n', start);
        if (end == std::string::npos) end = input.size();
        const std::string line = input.substr(start, end - start);
        start = end + 1;
        if (line.empty()) continue;
        const char op = line[0];
        std::string arg = line.substr(1);
        std::string text;
        if (size_t eq = arg.find('='); eq != std::string::npos) {
            text = arg.substr(eq + 1);
            arg.erase(eq);
        }
        const char* key = arg.c_str();  // stops at an embedded NUL, as a C caller's would
        HKEY handle = nullptr;
        switch (op) {
            case 'w': {
                if (writeIniString(key, text.c_str()) == ERROR_SUCCESS) {
                    CString back;
                    if (readIniString(key, back) != ERROR_SUCCESS) __builtin_trap();
                    std::string expected = text.substr(0, text.find('\0'));
                    if (expected.size() < ZEV_INI_VALUE_SIZE && back.str() != expected)
                        __builtin_trap();
                }
                break;
            }
            case 'n': {
                int i = 0;
                double d = 0;
                COLORREF c = 0;
                bool b = false;
                readIniInt(key, i);
                readIniDouble(key, d);
                readIniColor(key, c);
                readIniBool(key, b, true);
                break;
            }
            case 'e': {
                _SRegItem item{};
                for (int index = 0; index < 4; ++index) readIndexedSubKey(key, index, item);
                break;
            }
            case 'v':
                if (RegCreateKeyA(HKEY_CURRENT_USER, key, &handle) == ERROR_SUCCESS) {
                    RegSetValueExA(handle, text.c_str(), 0, REG_BINARY,
                                   reinterpret_cast<const BYTE*>(text.data()),
                                   static_cast<DWORD>(text.size()));
                    char name[8];
                    BYTE bytes[8];
                    DWORD nameSize = sizeof name, dataSize = sizeof bytes, type = 0;
                    RegEnumValueA(handle, 0, name, &nameSize, nullptr, &type, bytes, &dataSize);
                    RegCloseKey(handle);
                }
                break;
            case 'd':
                delete_registry(key);
                break;
            case 't':
                RegDeleteTreeA(HKEY_CURRENT_USER, key);
                break;
            default:
                break;
        }
    }
    // Keep the store small from one input to the next.
    RegDeleteTreeA(HKEY_CURRENT_USER, "Software");
    return 0;
}
