#pragma once

// A point of the plane. A coordinate that has reached `sm_undefined` means the point does not
// exist; operations that have no answer return `undefined_point`, and callers test `exists()`.

#include <cmath>
#include <cstdio>

#include "zevcore/Export.h"
#include "zevcore/frame/Math.h"

class CLine2D;

class ZEVCORE_API CPoint2D {
public:
    double x = 0.0;
    double y = 0.0;

    /// The limit of `rotate` only; everything else compares within TOLERANCE.
    static constexpr double sm_tolerance = 1e-05;
    static constexpr double sm_undefined = 1e+200;

    constexpr CPoint2D() = default;
    constexpr CPoint2D(double px, double py) : x(px), y(py) {}
    constexpr CPoint2D(const CPoint2D&) = default;
    CPoint2D& operator=(const CPoint2D&) = default;
    virtual ~CPoint2D();

    static constexpr double tolerance() { return sm_tolerance; }
    static constexpr double undefined() { return sm_undefined; }

    CPoint2D& operator+=(const CPoint2D& p) {
        x += p.x, y += p.y;
        return *this;
    }
    CPoint2D& operator-=(const CPoint2D& p) {
        x -= p.x, y -= p.y;
        return *this;
    }
    /// `equal` on x and on y.
    bool operator==(const CPoint2D& p) const { return equal(x, p.x) && equal(y, p.y); }
    bool operator!=(const CPoint2D& p) const { return !(*this == p); }

    void move_to(double px, double py) { x = px, y = py; }
    void move_to(const CPoint2D& p) { x = p.x, y = p.y; }
    void move_by(double dx, double dy) { x += dx, y += dy; }
    void move_by(const CPoint2D& d) { x += d.x, y += d.y; }

    /// Both |coordinates| strictly below `sm_undefined`; false for NaN.
    bool exists() const { return std::abs(x) < sm_undefined && std::abs(y) < sm_undefined; }
    double distance_to(const CPoint2D& p) const { return std::hypot(p.x - x, p.y - y); }
    /// Signed, positive on the line's left; see `CLine2D::distance_to`.
    double distance_to(const CLine2D& l) const;
    bool is_on(const CLine2D& l) const;
    bool is_collinear(const CLine2D& l) const;

    double polar_r() const { return std::sqrt(x * x + y * y); }
    /// atan2(x, y): measured from the Y axis, turning towards X, unlike every other angle of
    /// the kernel.
    double polar_theta() const { return std::atan2(x, y); }
    /// About the origin, counter-clockwise for a positive angle (radians). A point within
    /// `sm_tolerance` of the origin stays exactly where it is.
    void rotate(double angle);
    void rotate_about(const CPoint2D& c, double angle) {
        move_by(-c.x, -c.y);
        rotate(angle);
        move_by(c);
    }

    /// x then y, each one 8-byte double in machine order. True only if both moved.
    bool write(FILE* f) const;
    /// As `write`; a failed read may leave x changed.
    bool read(FILE* f);
};

inline CPoint2D operator+(const CPoint2D& a, const CPoint2D& b) {
    return {a.x + b.x, a.y + b.y};
}
inline CPoint2D operator-(const CPoint2D& a, const CPoint2D& b) {
    return {a.x - b.x, a.y - b.y};
}

/// The point that doesn't exist: both coordinates `CPoint2D::sm_undefined`.
ZEVCORE_API extern const CPoint2D undefined_point;
/// The origin of the plane.
ZEVCORE_API extern const CPoint2D zero_point;
