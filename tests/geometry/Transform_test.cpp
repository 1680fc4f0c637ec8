#include <gtest/gtest.h>

#include <cmath>

#include "GeometryTestUtil.h"
#include "zevcore/geometry/Matrix44.h"
#include "zevcore/geometry/Quaternion.h"

namespace {

void expectMatrixNear(const CMatrix44& a, const double (&e)[4][4], double tol = 1e-12) {
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_NEAR(a.m[r][c], e[r][c], tol) << r << "," << c;
}

// Row-major elementary rotations, built without the code under test.
CMatrix44 rotX(double a) {
    const double v[4][4] = {{1, 0, 0, 0},
                            {0, std::cos(a), -std::sin(a), 0},
                            {0, std::sin(a), std::cos(a), 0},
                            {0, 0, 0, 1}};
    return CMatrix44(v);
}
CMatrix44 rotY(double a) {
    const double v[4][4] = {{std::cos(a), 0, std::sin(a), 0},
                            {0, 1, 0, 0},
                            {-std::sin(a), 0, std::cos(a), 0},
                            {0, 0, 0, 1}};
    return CMatrix44(v);
}
CMatrix44 rotZ(double a) {
    const double v[4][4] = {{std::cos(a), -std::sin(a), 0, 0},
                            {std::sin(a), std::cos(a), 0, 0},
                            {0, 0, 1, 0},
                            {0, 0, 0, 1}};
    return CMatrix44(v);
}

TEST(Matrix44, ConstructionKeepsRowOrder) {
    const double id[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    expectMatrixNear(CMatrix44(), id);
    const CMatrix44 cols(CVector3D(1, 2, 3), CVector3D(4, 5, 6), CVector3D(7, 8, 9));
    const double ec[4][4] = {{1, 4, 7, 0}, {2, 5, 8, 0}, {3, 6, 9, 0}, {0, 0, 0, 1}};
    expectMatrixNear(cols, ec);
    float f[16];
    for (int i = 0; i < 16; ++i) f[i] = static_cast<float>(i) + 0.5f;
    const CMatrix44 wide(f);
    EXPECT_EQ(wide.m[1][2], 6.5);
    EXPECT_EQ(wide.m[3][0], 12.5);
    const double three[3][3] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    CMatrix44 m(f);
    m.From3x3(three);
    const double e3[4][4] = {{1, 2, 3, 0}, {4, 5, 6, 0}, {7, 8, 9, 0}, {0, 0, 0, 1}};
    expectMatrixNear(m, e3);
}

TEST(Matrix44, InverseIsTheTransposeEvenWithATranslation) {
    const double v[4][4] = {{0, -1, 0, 5}, {1, 0, 0, 6}, {0, 0, 1, 7}, {0, 0, 0, 1}};
    CMatrix44 m(v), inv;
    m.Inverse(inv);
    const double t[4][4] = {{0, 1, 0, 0}, {-1, 0, 0, 0}, {0, 0, 1, 0}, {5, 6, 7, 1}};
    expectMatrixNear(inv, t);
    m.Inverse(m);
    expectMatrixNear(m, t);
}

TEST(Matrix44, RightMultiplyUsesRowsAndOnlyTheFourthOneForVectors) {
    const double v[4][4] = {{0, -1, 0, 5}, {1, 0, 0, 6}, {0, 0, 1, 7}, {2, 2, 2, 2}};
    const CMatrix44 m(v);
    CPoint3D p;
    m.RightMultiply(CPoint3D(1, 2, 3), p);
    EXPECT_XYZ_NEAR(p, -2, 1, 3);
    m.RightMultiply4(CPoint3D(1, 2, 3), p);
    EXPECT_XYZ_NEAR(p, 3, 7, 10);  // bottom row unused, nothing divided
    CVector3D in(1, 2, 3), out;
    in.w = 1;
    m.RightMultiply4(in, out);
    EXPECT_XYZ_NEAR(out, 3, 7, 10);
    EXPECT_EQ(out.w, 14.0);
    m.RightMultiply(in, out);
    EXPECT_XYZ_NEAR(out, -2, 1, 3);
}

TEST(Matrix44, ColumnOrderFunctionsReadOpenGLLayout) {
    // A translation by (5, 6, 7) in column order: the last column is elements 12 to 14.
    const double gl[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 6, 7, 1};
    CPoint3D p;
    multMatrix44AndPoint3(gl, CPoint3D(1, 2, 3), p);
    EXPECT_XYZ_NEAR(p, 1, 2, 3);
    const float glf[16] = {0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 5, 6, 7, 1};  // quarter turn
    multMatrix44AndPoint4(glf, CPoint3D(1, 2, 3), p);
    EXPECT_XYZ_NEAR(p, 3, 7, 10);
    multMatrix44AndPoint3(glf, CPoint3D(1, 2, 3), p);
    EXPECT_XYZ_NEAR(p, -2, 1, 3);
    multMatrix44AndPoint4(glf, CPoint3D(0.1, 0, 0), p);  // float arithmetic, then widened
    EXPECT_EQ(p.y, static_cast<double>(0.1f + 6.0f));
    CVector3D v;
    multMatrix44AndVec3(gl, CVector3D(1, 2, 3), v);
    EXPECT_XYZ_NEAR(v, 1, 2, 3);
}

TEST(Matrix44, ProductsFollowTheirStorageOrders) {
    // Row order: a translation after a rotation moves the rotated point.
    const CMatrix44 r = rotZ(M_PI / 2);
    double tv[4][4] = {{1, 0, 0, 5}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    const CMatrix44 t(tv);
    CMatrix44 tr;
    multMatrix44AndMatrix44(t, r, tr);
    CPoint3D p;
    tr.RightMultiply4(CPoint3D(1, 0, 0), p);
    EXPECT_XYZ_NEAR(p, 5, 1, 0);
    // Column order: the same product of the transposed storage.
    double a[16], b[16], out[16];
    for (int i = 0; i < 16; ++i) a[i] = t.m[i % 4][i / 4], b[i] = r.m[i % 4][i / 4];
    multMatrix44AndMatrix44(a, b, out);
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(out[i], tr.m[i % 4][i / 4], 1e-12) << i;
    multMatrix44AndMatrix44(a, b, a);  // the result may replace a factor
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(a[i], out[i], 1e-12) << i;
}

TEST(Matrix44, EulerAnglesMatchHeadingAttitudeBankComposition) {
    const double bank = 0.3, heading = -1.1, attitude = 0.6;
    CMatrix44 m, hz, expected;
    m.m[0][3] = 9;
    m.SetEulerAngles(bank, heading, attitude);
    multMatrix44AndMatrix44(rotY(heading), rotZ(attitude), hz);
    multMatrix44AndMatrix44(hz, rotX(bank), expected);
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) EXPECT_NEAR(m.m[r][c], expected.m[r][c], 1e-12);
    EXPECT_EQ(m.m[0][3], 9.0);  // outside the 3 by 3 nothing changes
    const CPoint3D back = m.EulerAngles();
    EXPECT_XYZ_NEAR(back, bank, heading, attitude);
}

TEST(Matrix44, EulerAnglesAtAndNearThePoles) {
    CMatrix44 m;
    m.SetEulerAngles(0, 0, M_PI / 2);
    EXPECT_XYZ_NEAR(m.EulerAngles(), 0, 0, M_PI / 2);
    // Up to a sine of 0.998 the attitude comes back in z.
    const double below = std::asin(0.9979);
    m.SetEulerAngles(0, 0, below);
    EXPECT_XYZ_NEAR(m.EulerAngles(), 0, 0, below);
    // Above it the pole goes to x.
    m.SetEulerAngles(0, 0, std::asin(0.9981));
    EXPECT_XYZ_NEAR(m.EulerAngles(), M_PI / 2, 0, 0);
    // A true quarter turn the other way falls to the pole branch.
    m.SetEulerAngles(0, 0, -M_PI / 2);
    EXPECT_XYZ_NEAR(m.EulerAngles(), -M_PI / 2, 0, 0);
    // The one pattern that answers -pi/2 in z is not a rotation.
    const double odd[4][4] = {{0, -1, 0, 0}, {-1, 0, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    EXPECT_XYZ_NEAR(CMatrix44(odd).EulerAngles(), 0, 0, -M_PI / 2);
}

TEST(Matrix44, SecondEulerConventionClearsPiOnlyInTheFirstTwo) {
    double a, b, c;
    const double flipX[4][4] = {{1, 0, 0, 0}, {0, -1, 0, 0}, {0, 0, -1, 0}, {0, 0, 0, 1}};
    CMatrix44(flipX).EulerAngles(a, b, c);
    EXPECT_EQ(a, 0.0);  // atan2(0, -1) is pi, reported as 0
    EXPECT_EQ(c, 0.0);
    const double flipZ[4][4] = {{-1, 0, 0, 0}, {0, -1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    CMatrix44(flipZ).EulerAngles(a, b, c);
    EXPECT_EQ(a, 0.0);
    EXPECT_DOUBLE_EQ(c, M_PI);  // c keeps pi
    const CMatrix44 tilt = rotY(0.4);
    tilt.EulerAngles(a, b, c);
    EXPECT_NEAR(b, -0.4, 1e-12);
}

TEST(Quaternion, ProductIsNormalizedHamiltonProduct) {
    const CQuaternion i(1, 0, 0, 0), j(0, 1, 0, 0);
    const CQuaternion k = i * j;
    EXPECT_XYZ_NEAR(k, 0, 0, 1);
    EXPECT_EQ(k.w, 0.0);
    const CQuaternion p = CQuaternion(0, 0, 0, 2) * CQuaternion(1, 0, 0, 1);
    EXPECT_NEAR(p.length(), 1.0, 1e-15);
    EXPECT_NEAR(p.x, std::sqrt(0.5), 1e-15);
    EXPECT_NEAR(p.w, std::sqrt(0.5), 1e-15);
    const CQuaternion zero = CQuaternion() * CQuaternion(1, 2, 3, 4);
    EXPECT_EQ(zero.length(), 0.0);
}

TEST(Quaternion, NormalizingZeroKeepsW) {
    CQuaternion q(0, 0, 0, 0);
    q.normalize();
    EXPECT_EQ(q.w, 0.0);
    CQuaternion tiny(2e-6, 0, 0, 5e-6);
    tiny.normalize();
    EXPECT_EQ(tiny.x, 0.0);
    EXPECT_EQ(tiny.w, 5e-6);
    CQuaternion q2(0, 3, 0, 4);
    q2.inverse();
    EXPECT_XYZ_NEAR(q2, 0, -0.6, 0);
    EXPECT_NEAR(q2.w, 0.8, 1e-15);
}

TEST(Quaternion, AxisAngleAndThreeAngleConstructors) {
    const CQuaternion q(M_PI / 2, CVector3D(0, 0, 2));  // the axis is not normalized
    EXPECT_XYZ_NEAR(q, 0, 0, 2 * std::sin(M_PI / 4));
    const double a = 0.3, b = -0.5, c = 1.2;
    const CQuaternion e = CQuaternion(c, Z_AXIS) * CQuaternion(b, Y_AXIS) * CQuaternion(a, X_AXIS);
    const CQuaternion f(a, b, c);
    EXPECT_XYZ_NEAR(f, e.x, e.y, e.z);
    EXPECT_NEAR(f.w, e.w, 1e-12);
}

TEST(Quaternion, MatrixIsTransposedAgainstTheRowOrderRotation) {
    const double t = 0.7;
    CMatrix44 m;
    CQuaternion(t, Z_AXIS).QuatToMat(m);
    const double e[4][4] = {{std::cos(t), std::sin(t), 0, 0},
                            {-std::sin(t), std::cos(t), 0, 0},
                            {0, 0, 1, 0},
                            {0, 0, 0, 1}};
    expectMatrixNear(m, e);
}

TEST(Quaternion, MatrixRoundTripGivesTheUnitQuaternionUpToSign) {
    const double h = std::sqrt(0.5);
    const CQuaternion cases[] = {
        CQuaternion(0, 0, 0, 1),
        CQuaternion(0.3, CVector3D(0.6, 0, 0.8)),
        CQuaternion(M_PI, Z_AXIS),              // trace -1: the z branch
        CQuaternion(M_PI, CVector3D(h, h, 0)),  // trace -1: x and y equal
        CQuaternion(2.9, X_AXIS),
        CQuaternion(2.5, CVector3D(0, -0.6, 0.8)),
        CQuaternion(-2.0, CVector3D(2.0 / 3, 1.0 / 3, 2.0 / 3)),
    };
    for (const CQuaternion& q : cases) {
        double m[4][4];
        q.QuatToMat(m);
        CQuaternion back(m);
        const double s = back.dot(q) < 0 ? -1.0 : 1.0;
        EXPECT_NEAR(back.x * s, q.x, 1e-12);
        EXPECT_NEAR(back.y * s, q.y, 1e-12);
        EXPECT_NEAR(back.z * s, q.z, 1e-12);
        EXPECT_NEAR(back.w * s, q.w, 1e-12);
        double m3[3][3];
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c) m3[r][c] = m[r][c];
        EXPECT_NEAR(std::abs(CQuaternion(m3).dot(q)), 1.0, 1e-12);
        EXPECT_NEAR(std::abs(CQuaternion(&m[0][0]).dot(q)), 1.0, 1e-12);
        // The rotation keeps lengths.
        CPoint3D p;
        CMatrix44(m).RightMultiply(CPoint3D(3, -4, 12), p);
        EXPECT_NEAR(p.spherical_rho(), 13.0, 1e-12);
    }
}

TEST(Quaternion, DisassembleDividesByTheSquaredLength) {
    CVector3D axis;
    double angle;
    CQuaternion(0, 0, 2, 0).Disassemble(axis, angle);
    EXPECT_XYZ_NEAR(axis, 0, 0, 0.5);
    EXPECT_DOUBLE_EQ(angle, M_PI);
    CQuaternion(0, 0, 0, 1).Disassemble(axis, angle);
    EXPECT_XYZ_NEAR(axis, 0, 0, 1);
    EXPECT_EQ(angle, 0.0);
    CQuaternion(0.8, CVector3D(0, 1, 0)).Disassemble(axis, angle);
    EXPECT_XYZ_NEAR(axis, 0, 1 / std::sin(0.4), 0);
    EXPECT_NEAR(angle, 0.8, 1e-12);
}

TEST(Quaternion, EulerAnglesPutHeadingFirst) {
    EXPECT_XYZ_NEAR(CQuaternion(0.7, Y_AXIS).EulerAngles(), 0.7, 0, 0);
    EXPECT_XYZ_NEAR(CQuaternion(0.4, Z_AXIS).EulerAngles(), 0, 0.4, 0);
    EXPECT_XYZ_NEAR(CQuaternion(-0.9, X_AXIS).EulerAngles(), 0, 0, -0.9);
    EXPECT_XYZ_NEAR(CQuaternion(M_PI / 2, Z_AXIS).EulerAngles(), 0, M_PI / 2, 0);
    EXPECT_XYZ_NEAR(CQuaternion(-M_PI / 2, Z_AXIS).EulerAngles(), 0, -M_PI / 2, 0);
    const CQuaternion pole = CQuaternion(M_PI / 2, Z_AXIS) * CQuaternion(0.6, X_AXIS);
    EXPECT_XYZ_NEAR(pole.EulerAngles(), 2 * std::atan2(pole.x, pole.w), M_PI / 2, 0);
}

TEST(Quaternion, SlerpTakesNoShortcut) {
    const CQuaternion id(0, 0, 0, 1), quarter(M_PI / 2, Z_AXIS);
    CQuaternion q;
    q.Slerp(id, quarter, 0.5);
    EXPECT_XYZ_NEAR(q, 0, 0, std::sin(M_PI / 8));
    EXPECT_NEAR(q.w, std::cos(M_PI / 8), 1e-12);
    // The same quarter turn with the opposite sign is reached the long way round.
    q.Slerp(id, quarter * -1.0, 0.5);
    EXPECT_XYZ_NEAR(q, 0, 0, -std::cos(M_PI / 8));
    EXPECT_NEAR(q.w, std::sin(M_PI / 8), 1e-12);
    // Opposite signs of one rotation: the linear weights meet at zero.
    q.Slerp(id, id * -1.0, 0.5);
    EXPECT_NEAR(q.length(), 0.0, 1e-12);
    // A dot product past 1 is not clamped.
    q.Slerp(CQuaternion(0, 0, 0, 1.001), CQuaternion(0, 0, 0, 1.001), 0.5);
    EXPECT_TRUE(std::isnan(q.w));
}

}  // namespace
