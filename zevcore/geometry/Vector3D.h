#pragma once

// A direction or displacement in model space. Most tests take their tolerance as an argument;
// lengths are in the model's internal unit (inches).

#include <cmath>

#include "zevcore/Export.h"
#include "zevcore/frame/Math.h"
#include "zevcore/geometry/Point3D.h"

class ZEVCORE_API CVector3D {
public:
    /// The axis directions, in the order of their texts "+X", "+Y", "+Z", "-X", "-Y", "-Z";
    /// `eOther` is any other direction.
    enum ETVectorDirection { ePlusX, ePlusY, ePlusZ, eMinusX, eMinusY, eMinusZ, eOther };

    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    /// The homogeneous coordinate: every constructor sets 0, and only the four-row matrix
    /// product (`CMatrix44::RightMultiply4`) writes it.
    double w = 0.0;

    constexpr CVector3D() = default;
    constexpr CVector3D(double vx, double vy, double vz) : x(vx), y(vy), z(vz) {}
    /// to - from.
    constexpr CVector3D(const CPoint3D& from, const CPoint3D& to)
        : x(to.x - from.x), y(to.y - from.y), z(to.z - from.z) {}
    /// A copy of v with length L. A vector of length zero within tol stays as it is.
    CVector3D(const CVector3D& v, double L, double tol) : CVector3D(v.x, v.y, v.z) {
        length(L, tol);
    }
    constexpr CVector3D(const CVector3D& v) : x(v.x), y(v.y), z(v.z) {}
    /// Copies all four fields.
    constexpr CVector3D& operator=(const CVector3D&) = default;

    void set_direction(double vx, double vy, double vz) { x = vx, y = vy, z = vz; }
    CPoint3D asPoint3D() const { return {x, y, z}; }

    CVector3D operator+(const CVector3D& v) const { return {x + v.x, y + v.y, z + v.z}; }
    CVector3D operator-(const CVector3D& v) const { return {x - v.x, y - v.y, z - v.z}; }
    CVector3D operator-() const { return {-x, -y, -z}; }
    CVector3D& operator+=(const CVector3D& v) {
        x += v.x, y += v.y, z += v.z;
        return *this;
    }
    CVector3D& operator-=(const CVector3D& v) {
        x -= v.x, y -= v.y, z -= v.z;
        return *this;
    }
    CVector3D& operator*=(double f) { return scale(f); }
    CVector3D& operator/=(double f) {
        x /= f, y /= f, z /= f;
        return *this;
    }
    /// Scales this vector in place and returns it (not a copy).
    CVector3D& operator*(double f) { return scale(f); }
    /// Per coordinate, on a copy; no dot product.
    CVector3D operator*(const CVector3D& v) const { return {x * v.x, y * v.y, z * v.z}; }
    /// Per coordinate, in place.
    CVector3D& operator*=(const CVector3D& v) {
        x *= v.x, y *= v.y, z *= v.z;
        return *this;
    }
    CVector3D& scale(double f) {
        x *= f, y *= f, z *= f;
        return *this;
    }

    double dot(const CVector3D& v) const { return x * v.x + y * v.y + z * v.z; }
    CVector3D cross(const CVector3D& v) const {
        return {y * v.z - z * v.y, z * v.x - x * v.z, x * v.y - y * v.x};
    }
    double length() const { return std::sqrt(x * x + y * y + z * z); }
    /// Divides by the length, unless that is zero within tol: then nothing changes.
    const CVector3D& normalize(double tol) {
        double L = length();
        if (!zero(L, tol)) *this /= L;
        return *this;
    }
    /// `normalize(tol)`, then `scale(L)`; a zero vector stays zero.
    const CVector3D& length(double L, double tol) {
        normalize(tol);
        return scale(L);
    }
    /// The angle to v in radians, acos(dot / p) for p the product of the lengths; p equal to
    /// 0 within tol counts as 1. The cosine is not clamped, so rounding can give NaN for
    /// (anti)parallel vectors.
    double angle(const CVector3D& v, double tol) const {
        double p = length() * v.length();
        if (equal(p, 0.0, tol)) p = 1.0;
        return std::acos(dot(v) / p);
    }
    bool is_zero(double tol) const { return equal(length(), 0.0, tol); }
    bool is_normalized(double tol) const { return equal(length(), 1.0, tol); }
    /// On the dot product of the vectors as they stand: longer vectors need a smaller angle.
    bool is_orthogonal(const CVector3D& v, double tol) const { return equal(dot(v), 0.0, tol); }
    /// The cross product is zero within tol; opposite vectors are parallel.
    bool is_parallel(const CVector3D& v, double tol) const { return cross(v).is_zero(tol); }
    /// `equal` on x, y and z; the fourth field is not compared.
    bool operator==(const CVector3D& v) const {
        return equal(x, v.x) && equal(y, v.y) && equal(z, v.z);
    }
    bool operator!=(const CVector3D& v) const { return !(*this == v); }

    /// At least one coordinate is zero within TOLERANCE.
    bool is_in_global_plane() const {
        return zero(x, TOLERANCE) || zero(y, TOLERANCE) || zero(z, TOLERANCE);
    }
    bool is_in_global_direction() const { return direction() != eOther; }
    /// The axis this vector lies along (two coordinates zero within TOLERANCE), signed by the
    /// third with zero counting as positive; so the zero vector is `ePlusX`.
    ETVectorDirection direction() const {
        bool zx = zero(x, TOLERANCE), zy = zero(y, TOLERANCE), zz = zero(z, TOLERANCE);
        if (zy && zz) return sign(x) > 0 ? ePlusX : eMinusX;
        if (zz && zx) return sign(y) > 0 ? ePlusY : eMinusY;
        if (zx && zy) return sign(z) > 0 ? ePlusZ : eMinusZ;
        return eOther;
    }
    /// Sets the unit vector of d; an unknown d gives +X.
    void direction(ETVectorDirection d);
    /// "+X", "+Y", "+Z", "-X", "-Y" or "-Z" as `direction()` names the axis, otherwise
    /// "(x,y,z)" with each coordinate shown as a unitless quantity. Points into a static
    /// buffer that the next call overwrites.
    char* directionText() const;
};

inline constexpr CVector3D X_AXIS{1.0, 0.0, 0.0};
inline constexpr CVector3D Y_AXIS{0.0, 1.0, 0.0};
inline constexpr CVector3D Z_AXIS{0.0, 0.0, 1.0};

inline CPoint3D operator+(const CPoint3D& p, const CVector3D& v) {
    return {p.x + v.x, p.y + v.y, p.z + v.z};
}
