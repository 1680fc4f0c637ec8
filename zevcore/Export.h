#pragma once

// ZEVCORE_API marks what the shared library exports; everything else is hidden.
#if defined(ZEVCORE_BUILDING)
#define ZEVCORE_API __attribute__((visibility("default")))
#else
#define ZEVCORE_API
#endif
