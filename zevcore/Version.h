#pragma once

#include "zevcore/Export.h"

/// The library's version as "major.minor.patch", fixed when the library was built.
ZEVCORE_API const char* ZEVCoreVersion();
