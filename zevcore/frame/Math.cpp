#include "zevcore/frame/Math.h"
#include "zevcore/platform/Locale.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>

// Computed at load from the ones above them, in this order.
const double DEG180 = zev::PI;
const double DEG90 = DEG180 * 0.5;
const double DEG45 = DEG90 * 0.5;
const double DEG270 = DEG90 + DEG180;
const double DEG360 = DEG180 + DEG180;
const double TWO_PI = DEG360;
const double HALF_PI = DEG90;
const double RAD2DEG = 180.0 / zev::PI;

namespace {

int gNiceDecimals = 3;

// Past this many whole turns, stepping one turn at a time would take too long (and for huge
// values would never end, as subtracting a turn no longer changes the value), so the
// remainder is taken in one step instead.
constexpr double kMaxTurnsStepped = 1e6;

double normalizedTurns(double value, double turn) {
    if (std::abs(value) / turn > kMaxTurnsStepped) {
        if (!std::isfinite(value)) return std::nan("");
        double r = std::fmod(value, turn);  // exact, and keeps the sign of value
        return r == 0.0 ? std::copysign(turn, value) : r;
    }
    while (value > turn) value -= turn;
    while (value < -turn) value += turn;
    return value;
}

// The precision both nice functions use below 1,000,000: one decimal fewer per decade from
// 10 on, never below zero.
int decimalsForMagnitude(double a, int decimals) {
    int drop = a < 10.0        ? 0
               : a < 100.0     ? 1
               : a < 1000.0    ? 2
               : a < 10000.0   ? 3
               : a < 100000.0  ? 4
               : a < 1000000.0 ? 5
                               : decimals;
    return std::max(decimals - drop, 0);
}

}  // namespace

namespace zev {

int round(double x) {
    double r = std::floor(std::abs(x) + 0.5);
    if (std::isnan(r)) return 0;
    // Out of range of int there is no right answer; the nearest representable one is given.
    if (r > static_cast<double>(INT_MAX)) return x < 0.0 ? INT_MIN : INT_MAX;
    int n = static_cast<int>(r);
    return x < 0.0 ? -n : n;
}

double round(double x, int places) {
    for (int i = 0; i < places; ++i) x *= 10.0;
    double fraction = x - std::floor(x);
    x = fraction > 0.5 ? std::ceil(x) : std::floor(x);
    for (int i = 0; i < places; ++i) x /= 10.0;
    return x;
}

}  // namespace zev

void swapVariables(double& a, double& b) {
    std::swap(a, b);
}

double min3(double a, double b, double c) {
    return std::min(std::min(a, b), c);
}

double max3(double a, double b, double c) {
    return std::max(std::max(a, b), c);
}

double average(double a, double b) {
    return (a + b) * 0.5;
}

double average3(double a, double b, double c) {
    return (a + b + c) / 3;
}

double average_array(const double* v, int n) {
    if (!v || n <= 0) return 0.0;
    double sum = 0.0;
    for (int i = 0; i < n; ++i) sum += v[i];
    return sum / n;
}

double movingAverage(double avg, double value, int n) {
    if (n <= 0) return value;
    return avg + (value - avg) / n;
}

double normalized_degrees(double d) {
    return normalizedTurns(d, 360.0);
}

double normalized_radians(double r) {
    return normalizedTurns(r, DEG360);
}

double rad_to_deg(double r, bool normalize) {
    double d = RAD2DEG * r;
    return normalize ? normalized_degrees(d) : d;
}

double linear_interpolate(double x, double x1, double x2, double y1, double y2) {
    if (zero(x2 - x1, TOLERANCE)) return (y1 + y2) * 0.5;
    double t = x < x1 ? 0.0 : x > x2 ? 1.0 : (x - x1) / (x2 - x1);
    return (y2 - y1) * t + y1;
}

double quadratic_interpolate(double x, double x1, double x2, double x3, double y1, double y2,
                             double y3) {
    if (zero(x3 - x1, TOLERANCE) || zero(x3 - x2, TOLERANCE) || zero(x2 - x1, TOLERANCE))
        return average3(y1, y2, y3);
    return y1 * (x - x2) * (x - x3) / ((x1 - x2) * (x1 - x3)) +
           y2 * (x - x1) * (x - x3) / ((x2 - x1) * (x2 - x3)) +
           y3 * (x - x1) * (x - x2) / ((x3 - x1) * (x3 - x2));
}

double rotated_inertia(double ix, double iy, double angle) {
    return std::cos(2 * angle) * (ix - iy) * 0.5 + (ix + iy) * 0.5;
}

double arc_radius(double x1, double y1, double x2, double y2, double x3, double y3, bool whole1,
                  bool whole2) {
    double l1 = std::hypot(x2 - x1, y2 - y1);
    double l2 = std::hypot(x3 - x2, y3 - y2);
    if (!(l1 > 0.0) || !(l2 > 0.0)) return 0.0;
    double dot = ((x1 - x2) / l1) * ((x3 - x2) / l2) + ((y1 - y2) / l1) * ((y3 - y2) / l2);
    // Rounding can carry the cosine of a straight or folded corner just past 1 in magnitude,
    // where the arc cosine has no value.
    double angle = std::abs(std::acos(std::clamp(dot, -1.0, 1.0)));
    if (angle > zev::PI) angle -= zev::PI;
    if (whole1) l1 *= 2;
    if (whole2) l2 *= 2;
    return std::min(0.5 * l1, 0.5 * l2) * std::abs(std::tan(0.5 * angle));
}

void set_nice_decimals(int n) {
    gNiceDecimals = (n < 0 || n > 10) ? 3 : n;
}

const char* nice(double x) {
    static char buffer[512];
    CZEVClassicLocaleScope classic;
    double a = std::abs(x);
    if (a <= 0.001) {
        std::snprintf(buffer, sizeof buffer, "0");
    } else if (equal(std::floor(a), a)) {
        std::snprintf(buffer, sizeof buffer, "%lg", x);
    } else {
        std::snprintf(buffer, sizeof buffer, "%.*lf", decimalsForMagnitude(a, gNiceDecimals), x);
    }
    return buffer;
}

const char* nice(double x, const char* suffix, int decimals) {
    static char buffer[1024];
    CZEVClassicLocaleScope classic;
    if (decimals < 0 || decimals > 10) decimals = 3;
    double a = std::abs(x);
    if (a < 100000.0 && equal(std::trunc(a), a)) {
        std::snprintf(buffer, sizeof buffer, "%lg", x);
    } else if (a <= 0.001) {
        std::snprintf(buffer, sizeof buffer, "0");
    } else if (a < 1000000.0) {
        std::snprintf(buffer, sizeof buffer, "%.*lf", decimalsForMagnitude(a, decimals), x);
    } else if (a < 10000000.0) {
        std::snprintf(buffer, sizeof buffer, "%.0lf", x);
    } else {
        std::snprintf(buffer, sizeof buffer, "%.*lg", decimals, x);
    }
    if (suffix) {
        size_t used = std::strlen(buffer);
        std::snprintf(buffer + used, sizeof buffer - used, " %s", suffix);
    }
    return buffer;
}
