#pragma once

// How an application attaches to the library, and the process helpers that ask the desktop.

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"

/// Joins the library to the host's module chain so that its resources and classes are
/// visible. Call once before using any window, dialog or resource of the library; later
/// calls change nothing.
ZEVCORE_API void InitCoreDLL();

/// Makes the library's module the host's current resource source; true when the current
/// source then is the library's module.
ZEVCORE_API bool SetCoreResources();

/// The library's module handle, recorded at load.
ZEVCORE_API HINSTANCE GetCoreDLLResourceHandle();

/// True when no other live process of this user has claimed the single-instance name
/// `windowClass`; the first caller claims it until it ends. A process asking again for a
/// name it holds gets true. A null name is never first.
ZEVCORE_API bool FirstInstance(const char* windowClass);

/// The program the desktop opens files of this extension with, as an absolute path, or ""
/// when there is none. `extension` must begin with "."; otherwise nothing is done and the
/// result buffer is returned as it stands. Points into a static buffer that the next call
/// overwrites.
ZEVCORE_API const char* ExecutableName(const char* extension);

/// Always false on this platform.
ZEVCORE_API bool IsWindowsVistaOrBetter();
