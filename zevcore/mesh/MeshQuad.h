#pragma once

// Values at the corners of a four-cornered mesh element, and their spread over it.

#include "zevcore/Export.h"
#include "zevcore/geometry/Point2D.h"

/// Values on a four-cornered element: four corners and, for each corner, a table of 2 by 6
/// values, all zero at the start. The selectors `a` (0 to 1) and `b` (0 to 5) pick a value;
/// a selector out of range gives 0.
struct ZEVCORE_API TMeshQuad {
    CPoint2D corners[4];
    double values[4][2][6] = {};

    /// The mean of the four corners' value (a, b).
    double average(int a, int b) const;
    double maximum(int a, int b) const;
    double minimum(int a, int b) const;
    /// Inverse-distance weighting of the corners' values at (x, y). A corner closer than 0.01
    /// gives its own value. When the weights add up to nothing (every corner immensely far
    /// away) the plain mean, which the weighting tends to, is answered.
    double valueAtPoint(double x, double y, int a, int b) const;
};
