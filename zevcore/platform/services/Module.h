#pragma once

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"
#include "zevcore/platform/framework/String.h"

/// The shared library's own module: the address it was loaded at, used as its handle.
/// Stable for the life of the process; never null once the library is loaded.
ZEVCORE_API HINSTANCE ZEVModuleHandle();

/// The file the module with this handle was loaded from, or empty when the handle names no
/// loaded module.
ZEVCORE_API CString ZEVModulePath(HINSTANCE module);

/// The host's notion of the current source of resources (texts, icons, dialogs). Null until
/// somebody sets it.
ZEVCORE_API HINSTANCE ZEVGetResourceHandle();
ZEVCORE_API void ZEVSetResourceHandle(HINSTANCE module);

/// The chain of modules whose resources and classes the host can see, in the order they
/// joined. Adding a module that is already in the chain changes nothing.
ZEVCORE_API void ZEVAddToModuleChain(HINSTANCE module);
ZEVCORE_API bool ZEVIsInModuleChain(HINSTANCE module);
ZEVCORE_API int ZEVModuleChainLength();
