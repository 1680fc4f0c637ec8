#include "zevcore/frame/Frame.h"

#include <cstdio>
#include <cstring>

#include "zevcore/platform/services/Desktop.h"
#include "zevcore/platform/services/Module.h"

void InitCoreDLL() {
    ZEVAddToModuleChain(GetCoreDLLResourceHandle());
}

bool SetCoreResources() {
    ZEVSetResourceHandle(GetCoreDLLResourceHandle());
    return ZEVGetResourceHandle() == GetCoreDLLResourceHandle();
}

HINSTANCE GetCoreDLLResourceHandle() {
    return ZEVModuleHandle();
}

bool FirstInstance(const char* windowClass) {
    if (!windowClass) return false;
    return ZEVClaimSingleInstance(windowClass);
}

const char* ExecutableName(const char* extension) {
    static char result[4096];
    if (!extension || extension[0] != '.') return result;

    // The desktop judges a file by its name and, when the name says too little, its
    // contents; an empty file can be taken for a different type, so it gets four bytes.
    CString program;
    CString path = ZEVMakeTempFile("tmp", extension);
    if (!path.IsEmpty()) {
        if (FILE* file = std::fopen(path, "wb")) {
            const unsigned char one[4] = {1, 0, 0, 0};
            std::fwrite(one, 1, sizeof one, file);
            std::fclose(file);
            program = ZEVDefaultApplicationFor(path);
        }
        std::remove(path);
    }
    std::snprintf(result, sizeof result, "%s", program.GetString());
    return result;
}

bool IsWindowsVistaOrBetter() {
    return false;
}
