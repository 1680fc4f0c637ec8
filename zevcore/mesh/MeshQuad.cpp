#include "zevcore/mesh/MeshQuad.h"

#include <algorithm>

#include "zevcore/frame/Math.h"

namespace {
bool validSelector(int a, int b) {
    return a >= 0 && a < 2 && b >= 0 && b < 6;
}
}  // namespace

double TMeshQuad::average(int a, int b) const {
    if (!validSelector(a, b)) return 0.0;
    return (values[0][a][b] + values[1][a][b] + values[2][a][b] + values[3][a][b]) / 4.0;
}

double TMeshQuad::maximum(int a, int b) const {
    if (!validSelector(a, b)) return 0.0;
    return std::max(max3(values[0][a][b], values[1][a][b], values[2][a][b]), values[3][a][b]);
}

double TMeshQuad::minimum(int a, int b) const {
    if (!validSelector(a, b)) return 0.0;
    return std::min(min3(values[0][a][b], values[1][a][b], values[2][a][b]), values[3][a][b]);
}

double TMeshQuad::valueAtPoint(double x, double y, int a, int b) const {
    if (!validSelector(a, b)) return 0.0;
    const CPoint2D at(x, y);
    double weighted = 0.0, weights = 0.0;
    for (int c = 0; c < 4; ++c) {
        double d = corners[c].distance_to(at);
        if (zero(d, 0.01)) return values[c][a][b];
        weighted += values[c][a][b] / d;
        weights += 1.0 / d;
    }
    if (zero(weights, TOLERANCE)) return average(a, b);
    return weighted / weights;
}
