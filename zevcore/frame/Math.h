#pragma once

// The kernel's numeric constants, tolerant comparisons and small formulas.
//
// Angles are radians throughout, also in the constants named DEG...: DEG90 is a right angle
// in radians. Comparisons are strict: a difference equal to the tolerance is not within it.

#include <cmath>

#include "zevcore/Export.h"

/// The kernel's one limit for comparing lengths and coordinates.
inline constexpr double TOLERANCE = 1e-05;
inline constexpr double BIG = 1e+30;
/// Despite its name, this small angle (about a tenth of a degree, in radians) is the
/// limit the kernel uses to call two slopes parallel; the value itself is what matters.
inline constexpr double ONE_RADIAN = 0.00174532;

namespace zev {
/// Pi as the library states it. The C library's M_PI macro is the same double to the bit,
/// so code may use either; this name exists because M_PI cannot be redeclared.
inline constexpr double PI = 3.141592653589793;

/// Nearest integer, halves away from zero: round(-2.5) is -3.
ZEVCORE_API int round(double x);
/// `x` to `places` decimals, halves down (also for negative values): round(2.5, 0) is 2 and
/// round(-2.5, 0) is -3. `places` <= 0 scales nothing.
ZEVCORE_API double round(double x, int places);
}  // namespace zev

static_assert(zev::PI == M_PI, "the C library's M_PI must equal the library's pi");

ZEVCORE_API extern const double DEG180;
ZEVCORE_API extern const double DEG90;
ZEVCORE_API extern const double DEG45;
ZEVCORE_API extern const double DEG270;
ZEVCORE_API extern const double DEG360;
ZEVCORE_API extern const double TWO_PI;
ZEVCORE_API extern const double HALF_PI;
ZEVCORE_API extern const double RAD2DEG;

/// -tol < x < tol. False for every x when tol is 0, and for NaN.
inline bool zero(double x, double tol) {
    return -tol < x && x < tol;
}

/// -tol < a - b < tol: purely absolute.
inline bool equal(double a, double b, double tol) {
    double d = a - b;
    return -tol < d && d < tol;
}

/// The geometry's default comparison: absolute within TOLERANCE for small values, relative
/// (one part in 100,000 of the larger magnitude) for large ones. Values of opposite sign are
/// equal only by the absolute test. NaN is never equal.
inline bool equal(double a, double b) {
    double d = a - b;
    if (-TOLERANCE < d && d < TOLERANCE) return true;
    if ((a < 0.0) != (b < 0.0)) return false;
    double m = a < 0.0 ? (a < b ? a : b) : (a > b ? a : b);
    if (-TOLERANCE < m && m < TOLERANCE) return false;
    double r = d / m;
    return -TOLERANCE < r && r < TOLERANCE;
}

/// +1 for x >= 0 (zero counts as positive), else -1.
inline int sign(double x) {
    return x >= 0.0 ? 1 : -1;
}
inline int sign(int x) {
    return x >= 0 ? 1 : -1;
}

ZEVCORE_API void swapVariables(double& a, double& b);
ZEVCORE_API double min3(double a, double b, double c);
ZEVCORE_API double max3(double a, double b, double c);
ZEVCORE_API double average(double a, double b);
ZEVCORE_API double average3(double a, double b, double c);
/// The mean of n values; 0 when n <= 0 or v is null.
ZEVCORE_API double average_array(const double* v, int n);
/// avg + (value - avg) / n; value itself when n <= 0.
ZEVCORE_API double movingAverage(double avg, double value, int n);

/// Brings d into [-360, 360] by whole turns, keeping its sign: -90 stays -90, 360 stays 360.
ZEVCORE_API double normalized_degrees(double d);
/// As normalized_degrees, in radians with DEG360.
ZEVCORE_API double normalized_radians(double r);
ZEVCORE_API double rad_to_deg(double r, bool normalize);

/// Linear interpolation that clamps to [x1, x2] and never extrapolates; the mean of y1 and
/// y2 when x1 and x2 coincide within TOLERANCE.
ZEVCORE_API double linear_interpolate(double x, double x1, double x2, double y1, double y2);
/// The Lagrange parabola through three points; the mean of the y values when any two x
/// values coincide within TOLERANCE.
ZEVCORE_API double quadratic_interpolate(double x, double x1, double x2, double x3, double y1,
                                         double y2, double y3);
/// A second moment of area about axes turned by `angle` (radians).
ZEVCORE_API double rotated_inertia(double ix, double iy, double angle);
/// The radius of the largest fillet at P2 between P1-P2 and P2-P3. Each segment offers half
/// its length to the corner, or all of it when its `whole` flag is set; 0 for a zero-length
/// segment.
ZEVCORE_API double arc_radius(double x1, double y1, double x2, double y2, double x3, double y3,
                              bool whole1, bool whole2);

/// Sets the decimal count of nice(double); a value outside 0 to 10 sets 3. Initially 3.
ZEVCORE_API void set_nice_decimals(int n);
/// Compact text of a number: "0" for magnitudes up to 0.001, whole numbers without decimals,
/// fewer decimals as the magnitude grows. Points into a static buffer that the next call
/// overwrites.
ZEVCORE_API const char* nice(double x);
/// The older form of nice with its own order of tests, precision rule and static buffer; a
/// non-null suffix is appended after a blank. `decimals` outside 0 to 10 becomes 3.
ZEVCORE_API const char* nice(double x, const char* suffix, int decimals);
