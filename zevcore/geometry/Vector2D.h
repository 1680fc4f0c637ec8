#pragma once

// A displacement in the plane. Its length never divides by zero: `Magnitude` answers 1 for a
// vector of no length, so normalizing such a vector leaves it as it is.

#include <cmath>

#include "zevcore/Export.h"
#include "zevcore/frame/Math.h"
#include "zevcore/geometry/Point2D.h"

class ZEVCORE_API CVector2D {
public:
    double x = 0.0;
    double y = 0.0;

    constexpr CVector2D() = default;
    constexpr CVector2D(double vx, double vy) : x(vx), y(vy) {}
    /// b - a.
    constexpr CVector2D(const CPoint2D& a, const CPoint2D& b) : x(b.x - a.x), y(b.y - a.y) {}

    CVector2D operator+(const CVector2D& v) const { return {x + v.x, y + v.y}; }
    CVector2D operator-(const CVector2D& v) const { return {x - v.x, y - v.y}; }
    CVector2D operator*(double f) const { return {x * f, y * f}; }
    /// Per coordinate; no dot product.
    CVector2D operator*(const CVector2D& v) const { return {x * v.x, y * v.y}; }

    double Dot(const CVector2D& v) const { return x * v.x + y * v.y; }
    double Cross(const CVector2D& v) const { return x * v.y - y * v.x; }
    /// The length, or 1 when that is zero within TOLERANCE.
    double Magnitude() const {
        double m = std::sqrt(x * x + y * y);
        return zero(m, TOLERANCE) ? 1.0 : m;
    }
    CVector2D GetNormalized() const {
        double m = Magnitude();
        return {x / m, y / m};
    }
    /// Counter-clockwise by `angle` radians.
    void RotateBy(double angle) {
        double c = std::cos(angle), s = std::sin(angle);
        double rx = c * x - s * y, ry = s * x + c * y;
        x = rx, y = ry;
    }
    CVector2D GetRotated(double angle) const {
        CVector2D v(*this);
        v.RotateBy(angle);
        return v;
    }
    /// (y, -x) normalized: the clockwise normal.
    CVector2D GetPerpendicular() const { return CVector2D(y, -x).GetNormalized(); }
};
