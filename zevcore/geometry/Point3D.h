#pragma once

// A point of model space. Coordinates are in the model's internal unit (inches), which gives
// the absolute limits of the spatial types their sense.

#include <cmath>
#include <cstdio>

#include "zevcore/Export.h"
#include "zevcore/frame/Math.h"

class CVector3D;

class ZEVCORE_API CPoint3D {
public:
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    /// A coordinate of this size or more means the point does not exist.
    static constexpr double sm_undefined = 1e+200;
    /// The non-existing point, every coordinate `sm_undefined`.
    static const CPoint3D undefined_point;
    /// (0, 0, 0).
    static const CPoint3D ORIGIN;

    constexpr CPoint3D() = default;
    constexpr CPoint3D(double px, double py, double pz) : x(px), y(py), z(pz) {}

    /// Process-wide; initially 1e-05. Not guarded: set it from the interface thread only.
    static void setTolerance(double tol) { sm_tolerance = tol; }
    static double tolerance() { return sm_tolerance; }
    static constexpr double undefined() { return sm_undefined; }

    CPoint3D& operator+=(const CPoint3D& p) {
        x += p.x, y += p.y, z += p.z;
        return *this;
    }
    CPoint3D& operator-=(const CPoint3D& p) {
        x -= p.x, y -= p.y, z -= p.z;
        return *this;
    }
    /// Scales this point in place and returns it (not a copy).
    CPoint3D& operator*(double f) {
        x *= f, y *= f, z *= f;
        return *this;
    }
    /// Multiplies this point per coordinate in place and returns it (not a copy).
    CPoint3D& operator*(const CPoint3D& p) {
        x *= p.x, y *= p.y, z *= p.z;
        return *this;
    }
    /// 0 is x, 1 is y, anything else z, so no index reads outside the point.
    double& operator[](unsigned i) { return i == 0 ? x : i == 1 ? y : z; }
    double operator[](unsigned i) const { return i == 0 ? x : i == 1 ? y : z; }

    void move_to(double px, double py, double pz) { x = px, y = py, z = pz; }
    void move_to(const CPoint3D& p) { *this = p; }
    void move_by(double dx, double dy, double dz) { x += dx, y += dy, z += dz; }
    void move_by(const CPoint3D& d) { *this += d; }

    /// Distance strictly below tol.
    bool is_close(const CPoint3D& p, double tol) const { return distance_to(p) < tol; }
    /// Each |coordinate| strictly below `sm_undefined`; false for NaN.
    bool exists() const {
        return std::abs(x) < sm_undefined && std::abs(y) < sm_undefined &&
               std::abs(z) < sm_undefined;
    }
    double distance_squared_to(const CPoint3D& p) const {
        double dx = p.x - x, dy = p.y - y, dz = p.z - z;
        return dx * dx + dy * dy + dz * dz;
    }
    double distance_to(const CPoint3D& p) const { return std::sqrt(distance_squared_to(p)); }

    double spherical_rho() const { return std::sqrt(x * x + y * y + z * z); }
    /// The angle from the Z axis.
    double spherical_phi() const { return std::atan2(cylindrical_rz(), z); }
    double spherical_theta() const { return cylindrical_thetaz(); }
    /// Distances from the X, Y and Z axes.
    double cylindrical_rx() const { return std::sqrt(y * y + z * z); }
    double cylindrical_ry() const { return std::sqrt(x * x + z * z); }
    double cylindrical_rz() const { return std::sqrt(x * x + y * y); }
    /// atan2(y, x); on the Y axis (x equal to 0) exactly +-pi/2 by the sign of y (pi/2 only
    /// above 0), and 0 at the axis itself.
    double cylindrical_thetaz() const { return axisAngle(y, x); }
    /// atan2(z, y), with the same rule on the Z axis.
    double cylindrical_thetax() const { return axisAngle(z, y); }
    /// atan2(x, z), with the same rule on the X axis.
    double cylindrical_thetay() const { return axisAngle(x, z); }

    /// Turns this point by `angle` radians about the line through `about` along `axis`,
    /// counter-clockwise seen from the axis' tip. An axis of length zero within TOLERANCE has
    /// no direction: its rotation matrix is then cos(angle) times the identity, which scales
    /// the offset from `about` instead of turning it.
    const CPoint3D& rotate(double angle, const CVector3D& axis, const CPoint3D& about);
    /// Multiplies by the upper 3 by 3 of m, read by rows; no translation.
    const CPoint3D& rotate(const double m[][4]);

    /// x, y, z, each one 8-byte double in machine order. True only if all three moved.
    bool write(FILE* f) const;
    /// As `write`; a failed read may leave the coordinates before the failure changed.
    bool read(FILE* f);

private:
    static double sm_tolerance;

    static double axisAngle(double along, double across) {
        if (equal(across, 0.0)) {
            if (equal(along, 0.0)) return 0.0;
            return along <= 0.0 ? -M_PI / 2 : M_PI / 2;
        }
        return std::atan2(along, across);
    }
};

inline constexpr CPoint3D CPoint3D::undefined_point{CPoint3D::sm_undefined, CPoint3D::sm_undefined,
                                                    CPoint3D::sm_undefined};
inline constexpr CPoint3D CPoint3D::ORIGIN{0.0, 0.0, 0.0};
/// The origin of model space.
inline constexpr CPoint3D ORIGIN{0.0, 0.0, 0.0};

/// `equal` on each coordinate.
inline bool operator==(const CPoint3D& a, const CPoint3D& b) {
    return equal(a.x, b.x) && equal(a.y, b.y) && equal(a.z, b.z);
}
inline bool operator!=(const CPoint3D& a, const CPoint3D& b) {
    return !(a == b);
}
inline CPoint3D operator+(const CPoint3D& a, const CPoint3D& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline CPoint3D operator-(const CPoint3D& a, const CPoint3D& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
