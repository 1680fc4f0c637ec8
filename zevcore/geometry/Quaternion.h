#pragma once

// Rotations as quaternions x i + y j + z k + w. A unit quaternion is a rotation; the default
// one is zero, not the identity.

#include "zevcore/Export.h"
#include "zevcore/geometry/Matrix44.h"
#include "zevcore/geometry/Point3D.h"
#include "zevcore/geometry/Vector3D.h"

class ZEVCORE_API CQuaternion {
public:
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    double w = 0.0;

    /// All four zero.
    constexpr CQuaternion() = default;
    constexpr CQuaternion(double qx, double qy, double qz, double qw)
        : x(qx), y(qy), z(qz), w(qw) {}
    /// The rotation by `angle` radians about `axis`, which is not normalized: only a unit
    /// axis gives a unit quaternion.
    CQuaternion(double angle, const CVector3D& axis);
    /// From three angles in radians: the rotation by c about Z after b about Y after a about
    /// X, applied to a column vector right to left.
    CQuaternion(double a, double b, double c);
    /// The inverse of `QuatToMat`, from the upper 3 by 3 of a matrix read by rows. A null
    /// pointer gives the zero quaternion.
    explicit CQuaternion(const double (*m)[3]);
    explicit CQuaternion(const double (*m)[4]);
    /// Sixteen values read as a 4 by 4 row by row.
    explicit CQuaternion(const double* m);
    explicit CQuaternion(const float* m);

    /// `equal` on all four fields.
    bool operator==(const CQuaternion& q) const {
        return equal(x, q.x) && equal(y, q.y) && equal(z, q.z) && equal(w, q.w);
    }
    bool operator!=(const CQuaternion& q) const { return !(*this == q); }
    CQuaternion operator+(const CQuaternion& q) const {
        return {x + q.x, y + q.y, z + q.z, w + q.w};
    }
    CQuaternion operator*(double f) const { return {x * f, y * f, z * f, w * f}; }
    /// The Hamilton product this q, normalized: of unit length unless it is zero within
    /// TOLERANCE.
    CQuaternion operator*(const CQuaternion& q) const;

    double dot(const CQuaternion& q) const { return x * q.x + y * q.y + z * q.z + w * q.w; }
    double length() const;
    const CQuaternion& conjugate() {
        x = -x, y = -y, z = -z;
        return *this;
    }
    /// Divides by the length; a length equal to 0 zeroes x, y and z and leaves w.
    const CQuaternion& normalize();
    /// `conjugate`, then `normalize`.
    const CQuaternion& inverse() {
        conjugate();
        return normalize();
    }

    /// The rotation as a matrix laid out for OpenGL's column order: transposed against the
    /// usual row-order rotation matrix. The last column and bottom row are the identity's.
    void QuatToMat(double (*m)[4]) const;
    void QuatToMat(CMatrix44& m) const { QuatToMat(m.m); }
    /// axis = (x, y, z) divided by their squared length, angle = 2 acos(w); so only a unit
    /// quaternion gives a unit axis. No vector part: axis (0, 0, 1), angle 0.
    void Disassemble(CVector3D& axis, double& angle) const;
    /// (heading, attitude, bank); near the poles (x y + z w beyond +-0.499) bank is 0.
    CPoint3D EulerAngles() const;
    /// Sets this to the spherical interpolation from a (t = 0) to b (t = 1). There is no turn
    /// to the shorter arc for a negative dot product, and the dot product is not clamped.
    void Slerp(const CQuaternion& a, const CQuaternion& b, double t);
};
