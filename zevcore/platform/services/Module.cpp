#include "zevcore/platform/services/Module.h"

#include <dlfcn.h>

#include <algorithm>
#include <vector>

namespace {

HINSTANCE gResourceHandle = nullptr;

std::vector<HINSTANCE>& moduleChain() {
    static std::vector<HINSTANCE> chain;
    return chain;
}

}  // namespace

HINSTANCE ZEVModuleHandle() {
    // The base address of the object that holds this very function: the library itself.
    static const HINSTANCE handle = [] {
        Dl_info info{};
        if (dladdr(reinterpret_cast<void*>(&ZEVModuleHandle), &info) != 0 && info.dli_fbase)
            return static_cast<HINSTANCE>(info.dli_fbase);
        return reinterpret_cast<HINSTANCE>(&gResourceHandle);
    }();
    return handle;
}

CString ZEVModulePath(HINSTANCE module) {
    Dl_info info{};
    if (module && dladdr(static_cast<void*>(module), &info) != 0 && info.dli_fname &&
        info.dli_fbase == static_cast<void*>(module))
        return CString(info.dli_fname);
    return CString();
}

HINSTANCE ZEVGetResourceHandle() {
    return gResourceHandle;
}

void ZEVSetResourceHandle(HINSTANCE module) {
    gResourceHandle = module;
}

void ZEVAddToModuleChain(HINSTANCE module) {
    if (!module || ZEVIsInModuleChain(module)) return;
    moduleChain().push_back(module);
}

bool ZEVIsInModuleChain(HINSTANCE module) {
    const auto& chain = moduleChain();
    return std::find(chain.begin(), chain.end(), module) != chain.end();
}

int ZEVModuleChainLength() {
    return static_cast<int>(moduleChain().size());
}
