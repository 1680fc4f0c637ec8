#include "zevcore/platform/Locale.h"

#include <cstdlib>

locale_t ZEVClassicLocale() {
    // Never freed: the locale object must outlive every static that formats a number.
    static const locale_t classic = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return classic;
}

CZEVClassicLocaleScope::CZEVClassicLocaleScope() : m_previous(uselocale(ZEVClassicLocale())) {}

CZEVClassicLocaleScope::~CZEVClassicLocaleScope() {
    uselocale(m_previous);
}

double ZEVStrtod(const char* text, char** end) {
    return strtod_l(text, end, ZEVClassicLocale());
}
