#pragma once

// Rotation matrices. `CMatrix44` stores and reads its sixteen values row by row; the free
// functions below take sixteen numbers in OpenGL's column order instead (element 4 c + r is
// row r of column c), as they come straight from the graphics state.

#include "zevcore/Export.h"
#include "zevcore/geometry/Point3D.h"
#include "zevcore/geometry/Vector3D.h"

class ZEVCORE_API CMatrix44 {
public:
    /// Row r, column c is m[r][c].
    double m[4][4];

    /// The identity.
    CMatrix44();
    /// a, b and c as columns 0, 1 and 2 of the upper 3 by 3; the rest the identity's.
    CMatrix44(const CVector3D& a, const CVector3D& b, const CVector3D& c);
    /// Sixteen values in storage order (row by row); a null pointer gives the identity.
    explicit CMatrix44(const double (*v)[4]);
    explicit CMatrix44(const double* v);
    /// As above, widening each float.
    explicit CMatrix44(const float* v);

    void SetMatrix(const CMatrix44& o) { *this = o; }
    /// Sixteen values row by row; a null pointer changes nothing.
    void SetMatrix(const double (*v)[4]);
    /// The upper 3 by 3 from v; the last column and the bottom row become the identity's.
    void From3x3(const double (*v)[3]);

    /// The transpose of all sixteen values, translation included: the inverse of a pure
    /// rotation only. `out` may be this matrix.
    void Inverse(CMatrix44& out) const;

    /// The upper 3 by 3 times p; no translation.
    void RightMultiply(const CPoint3D& p, CPoint3D& out) const;
    void RightMultiply(const CVector3D& v, CVector3D& out) const;
    /// As `RightMultiply`, plus m[0][3], m[1][3], m[2][3]; the bottom row is not used and
    /// nothing is divided.
    void RightMultiply4(const CPoint3D& p, CPoint3D& out) const;
    /// All four rows times x, y, z and the fourth field w, which fills out.w too.
    void RightMultiply4(const CVector3D& v, CVector3D& out) const;

    /// Sets the upper 3 by 3 to the rotation by heading about Y, then attitude about Z, then
    /// bank about X (applied to a column vector in the reverse order); the other seven
    /// values stay.
    void SetEulerAngles(double bank, double heading, double attitude);
    /// (bank, heading, attitude) of `SetEulerAngles`. Near the poles (|m[1][0]| > 0.998) the
    /// pole angle goes to x and the heading to y; a quarter turn about Z answers (0, 0, pi/2),
    /// and one exact non-rotation pattern (0, 0, -pi/2).
    CPoint3D EulerAngles() const;
    /// The X-Y-Z convention: a = atan2(m12, m22), b = asin(-m02), c = atan2(m01, m00); a
    /// and b of pi are reported as 0, c never is.
    void EulerAngles(double& a, double& b, double& c) const;
};

/// The row-major product a b. `out` may be a or b.
ZEVCORE_API void multMatrix44AndMatrix44(const CMatrix44& a, const CMatrix44& b, CMatrix44& out);
/// The product a b of two column-order matrices. `out` may be a or b.
ZEVCORE_API void multMatrix44AndMatrix44(const double* a, const double* b, double* out);
/// The column-order matrix times (p, 1), in float arithmetic, widened.
ZEVCORE_API void multMatrix44AndPoint4(const float* m, const CPoint3D& p, CPoint3D& out);
/// The column-order upper 3 by 3 times p, in float arithmetic, widened.
ZEVCORE_API void multMatrix44AndPoint3(const float* m, const CPoint3D& p, CPoint3D& out);
/// The column-order upper 3 by 3 times p, in double.
ZEVCORE_API void multMatrix44AndPoint3(const double* m, const CPoint3D& p, CPoint3D& out);
ZEVCORE_API void multMatrix44AndVec3(const double* m, const CVector3D& v, CVector3D& out);
