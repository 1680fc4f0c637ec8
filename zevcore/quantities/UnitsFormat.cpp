#include <cmath>
#include <cstdlib>
#include <cstring>

#include "zevcore/frame/Math.h"
#include "zevcore/quantities/Units.h"
#include "zevcore/quantities/UnitsInternal.hpp"

namespace Units {
namespace detail {

CString niceText(double v) {
    const SUnitState& s = state();
    const std::int32_t* d = s.decimals;
    double a = std::fabs(v);
    CString text;
    if (a <= s.zeroThreshold) {
        text = "0";
    } else if (equal(std::trunc(a), a, s.zeroThreshold) && a < 100000.0) {
        text.Format("%lg", v);
    } else if (a < 1000000.0) {
        int places = a < 1.0        ? d[0] + 1
                     : a < 10.0     ? d[0]
                     : a < 100.0    ? d[1]
                     : a < 1000.0   ? d[2]
                     : a < 10000.0  ? d[3]
                     : a < 100000.0 ? d[4]
                                    : d[5];
        text.Format("%.*lf", places, v);
    } else if (a < 10000000.0) {
        text.Format("%.0lf", v);
    } else {
        // Also NaN and the infinities, which no comparison above admits.
        text.Format("%.*lg", d[0], v);
    }
    return text;
}

CString feetInchesText(double x) {
    CString text;
    if (!std::isfinite(x)) {
        text.Format("%g\"", x);
        return text;
    }
    double a = std::fabs(x);
    if (a < 0.0625) return "0' 0\"";
    double feet = std::floor(a / 12.0);
    double rest = a - feet * 12.0;
    double inches = std::floor(rest);
    int n = static_cast<int>(std::floor((rest - inches) * 16.0 + 0.5));  // 0 to 16
    int denominator = 16;
    // Reduced by hand, as the original did; 16/16 is left standing, not carried.
    if (n == 2 || n == 6 || n == 10 || n == 14) {
        n /= 2;
        denominator = 8;
    } else if (n == 4 || n == 12) {
        n /= 4;
        denominator = 4;
    } else if (n == 8) {
        n = 1;
        denominator = 2;
    }
    if (x < 0.0) text = "-";
    if (feet > 0.0) text.AppendFormat("%g' ", feet);
    text.AppendFormat("%g", inches);
    if (n > 0) text.AppendFormat(" %d/%d", n, denominator);
    text += "\"";
    return text;
}

}  // namespace detail

namespace {

bool hasNonZeroDigit(const char* text) {
    return std::strpbrk(text, "123456789") != nullptr;
}

int clampPlaces(int places) {
    return places < 0 ? decimalPlaces() : places > 7 ? 7 : places;
}

CString formatShown(ETUnit u, double v, ETUnitFormat f, int places, ETShowUnit s) {
    if (std::fabs(v) > 1e+20) v = sign(v) * 1e+20;
    double d = displayValue(u, v, currentUnit(u));
    places = clampPlaces(places);
    double lo = std::pow(10.0, -1 - places);
    double hi = std::pow(10.0, places + 1);
    if (u == UNIT_PRESSURE || u == UNIT_STEEL_X2 || u == UNIT_THERMAL_COEFFICIENT ||
        u == UNIT_WARPING_CONSTANT) {
        // Categories of huge or tiny numbers by nature.
        if (std::fabs(d) < lo || std::fabs(d) > hi) f = UNIT_FORMAT_SCIENTIFIC;
    } else if (f == UNIT_FORMAT_NICE && detail::niceText(d) == "0" && !zero(v, 1e-06)) {
        // A small but real value is not shown as nought.
        places = 2;
        f = UNIT_FORMAT_SCIENTIFIC;
    }
    CString text;
    if (feetInches16ths() && (u == UNIT_LENGTH_SMALL || u == UNIT_LENGTH_LARGE)) {
        // Taken as inches whatever the current unit is.
        text = detail::feetInchesText(d);
    } else if (f == UNIT_FORMAT_FIXED) {
        text.Format("%.*lf", places, d);
    } else if (f == UNIT_FORMAT_SCIENTIFIC) {
        text.Format("%.*le", places, d);
        if (!hasNonZeroDigit(text)) text.Format("%.*lf", places, d);
    } else {
        text = detail::niceText(d);
    }
    if (s == UNIT_SHOW) {
        text += " ";
        text += showUnit(u);
    }
    return text;
}

}  // namespace

const char* show(ETUnit u, double v, ETShowUnit s) {
    readStyles();
    return showFormat(u, v, UNIT_FORMAT_NICE, decimalPlaces(), s);
}

const char* showFormat(ETUnit u, double v, ETUnitFormat f, int places, ETShowUnit s) {
    return detail::toRing(formatShown(u, v, f, places, s));
}

const char* report(ETUnit u, double v, int width, int places, ETShowUnit s) {
    return reportFormat(u, v, width, UNIT_FORMAT_FIXED, places, s);
}

const char* reportFormat(ETUnit u, double v, int width, ETUnitFormat f, int places, ETShowUnit s) {
    if (v > 1e+20 || v < -1e+20) {
        // A width is a column of a report; beyond a thousand it is a mistake, not a column.
        width = width < -1000 ? -1000 : width > 1000 ? 1000 : width;
        CString text;
        text.Format("%-*s", width, v > 0.0 ? ">1.0E20" : "<-1.0E20");
        return detail::toRing(text);
    }
    return detail::toRing(formatShown(u, v, f, clampPlaces(places), s));
}

const char* nice(double v) {
    return detail::toRing(detail::niceText(v));
}

const char* display_ft_in_16(double inches) {
    return detail::toRing(detail::feetInchesText(inches));
}

}  // namespace Units
