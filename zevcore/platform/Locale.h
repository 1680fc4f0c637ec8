#pragma once

// Numbers in files, switch strings and stored values are written and read the same way
// whatever locale the application has set: with a point for the decimal separator and no
// grouping. Applications call setlocale (every Qt application does), so the library never
// leaves a number to the process locale.

#include <locale.h>

#include "zevcore/Export.h"

/// The C locale, made once; for the *_l functions (strtod_l and kin).
ZEVCORE_API locale_t ZEVClassicLocale();

/// For its lifetime, the calling thread formats and parses numbers in the C locale (printf,
/// strtod and their kin, and anything called meanwhile, such as the Triangle library reading
/// its switches). Scopes nest.
class ZEVCORE_API CZEVClassicLocaleScope {
public:
    CZEVClassicLocaleScope();
    ~CZEVClassicLocaleScope();
    CZEVClassicLocaleScope(const CZEVClassicLocaleScope&) = delete;
    CZEVClassicLocaleScope& operator=(const CZEVClassicLocaleScope&) = delete;

private:
    locale_t m_previous;
};

/// strtod in the C locale.
ZEVCORE_API double ZEVStrtod(const char* text, char** end);
