#include <gtest/gtest.h>

#include <cmath>

#include "GeometryTestUtil.h"
#include "zevcore/geometry/Matrix44.h"
#include "zevcore/geometry/Quaternion.h"

namespace {

void expectMatrixNear(const CMatrix44& a, const double (&e)[4][4]) {
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_NEAR(a.m[r][c], e[r][c], 1e-12) << r << "," << c;
}

// The row-order rotation by a about coordinate axis i (0 X, 1 Y, 2 Z), built by hand.
CMatrix44 rot(int i, double a) {
    CMatrix44 m;
    const int j = (i + 1) % 3, k = (i + 2) % 3;
    m.m[j][j] = m.m[k][k] = std::cos(a);
    m.m[k][j] = std::sin(a);
    m.m[j][k] = -std::sin(a);
    return m;
}

TEST(Matrix44, InverseIsTheTransposeEvenWithATranslation) {
    const double v[4][4] = {{0, -1, 0, 5}, {1, 0, 0, 6}, {0, 0, 1, 7}, {0, 0, 0, 1}};
    const double t[4][4] = {{0, 1, 0, 0}, {-1, 0, 0, 0}, {0, 0, 1, 0}, {5, 6, 7, 1}};
    CMatrix44 m(v), inv;
    m.Inverse(inv);
    expectMatrixNear(inv, t);
    m.Inverse(m);
    expectMatrixNear(m, t);
}

TEST(Matrix44, RightMultiplyReadsRowsAndUsesTheBottomRowOnlyForVectors) {
    const double v[4][4] = {{0, -1, 0, 5}, {1, 0, 0, 6}, {0, 0, 1, 7}, {2, 2, 2, 2}};
    const CMatrix44 m(v);
    CPoint3D p;
    m.RightMultiply(CPoint3D(1, 2, 3), p);
    EXPECT_XYZ_NEAR(p, -2, 1, 3);
    m.RightMultiply4(CPoint3D(1, 2, 3), p);
    EXPECT_XYZ_NEAR(p, 3, 7, 10);  // nothing divided by the bottom row
    CVector3D in(1, 2, 3), out;
    in.w = 1;
    m.RightMultiply4(in, out);
    EXPECT_XYZ_NEAR(out, 3, 7, 10);
    EXPECT_EQ(out.w, 14.0);
}

TEST(Matrix44, FreeFunctionsReadColumnOrder) {
    // A quarter turn about Z with a translation (5, 6, 7) in elements 12 to 14.
    const float glf[16] = {0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 5, 6, 7, 1};
    double gl[16];
    for (int i = 0; i < 16; ++i) gl[i] = glf[i];
    CPoint3D p;
    multMatrix44AndPoint4(glf, CPoint3D(1, 2, 3), p);
    EXPECT_XYZ_NEAR(p, 3, 7, 10);
    multMatrix44AndPoint3(gl, CPoint3D(1, 2, 3), p);
    EXPECT_XYZ_NEAR(p, -2, 1, 3);
    multMatrix44AndPoint4(glf, CPoint3D(0.1, 0, 0), p);  // float arithmetic, then widened
    EXPECT_EQ(p.y, static_cast<double>(0.1f + 6.0f));
    // Products: translation after rotation, the same in both storage orders.
    CMatrix44 t, tr;
    t.m[0][3] = 5;
    multMatrix44AndMatrix44(t, rot(2, M_PI / 2), tr);
    tr.RightMultiply4(CPoint3D(1, 0, 0), p);
    EXPECT_XYZ_NEAR(p, 5, 1, 0);
    double a[16], b[16];
    const CMatrix44 r = rot(2, M_PI / 2);
    for (int i = 0; i < 16; ++i) a[i] = t.m[i % 4][i / 4], b[i] = r.m[i % 4][i / 4];
    multMatrix44AndMatrix44(a, b, a);  // the result may replace a factor
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(a[i], tr.m[i % 4][i / 4], 1e-12) << i;
}

TEST(Matrix44, EulerAnglesComposeHeadingAttitudeBank) {
    const double bank = 0.3, heading = -1.1, attitude = 0.6;
    CMatrix44 m, hz, expected;
    m.m[0][3] = 9;
    m.SetEulerAngles(bank, heading, attitude);
    multMatrix44AndMatrix44(rot(1, heading), rot(2, attitude), hz);
    multMatrix44AndMatrix44(hz, rot(0, bank), expected);
    expected.m[0][3] = 9;  // outside the 3 by 3 nothing changes
    expectMatrixNear(m, expected.m);
    EXPECT_XYZ_NEAR(m.EulerAngles(), bank, heading, attitude);
}

TEST(Matrix44, EulerAnglesAtAndNearThePoles) {
    CMatrix44 m;
    const struct {
        double attitude, x, z;
    } cases[] = {
        {M_PI / 2, 0, M_PI / 2},  // the quarter-turn pattern
        {std::asin(0.9979), 0, std::asin(0.9979)},
        {std::asin(0.9981), M_PI / 2, 0},  // past 0.998 the pole goes to x
        {-M_PI / 2, -M_PI / 2, 0},         // a true quarter turn back is a pole too
    };
    for (const auto& c : cases) {
        m.SetEulerAngles(0, 0, c.attitude);
        EXPECT_XYZ_NEAR(m.EulerAngles(), c.x, 0, c.z);
    }
    // The one pattern that answers -pi/2 in z is not a rotation.
    const double odd[4][4] = {{0, -1, 0, 0}, {-1, 0, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    EXPECT_XYZ_NEAR(CMatrix44(odd).EulerAngles(), 0, 0, -M_PI / 2);
}

TEST(Matrix44, SecondEulerConventionClearsPiOnlyInTheFirstTwo) {
    double a, b, c;
    rot(0, -M_PI).EulerAngles(a, b, c);
    EXPECT_EQ(a, 0.0);  // atan2(0, -1) is pi, reported as 0
    rot(2, -M_PI).EulerAngles(a, b, c);
    EXPECT_DOUBLE_EQ(c, M_PI);
    rot(1, 0.4).EulerAngles(a, b, c);
    EXPECT_NEAR(b, -0.4, 1e-12);
}

TEST(Quaternion, ProductIsTheNormalizedHamiltonProduct) {
    EXPECT_XYZ_NEAR(CQuaternion(1, 0, 0, 0) * CQuaternion(0, 1, 0, 0), 0, 0, 1);  // i j = k
    const CQuaternion p = CQuaternion(0, 0, 0, 2) * CQuaternion(1, 0, 0, 1);
    EXPECT_NEAR(p.x, std::sqrt(0.5), 1e-15);
    EXPECT_NEAR(p.w, std::sqrt(0.5), 1e-15);
    EXPECT_EQ((CQuaternion() * CQuaternion(1, 2, 3, 4)).length(), 0.0);
    CQuaternion tiny(2e-6, 0, 0, 5e-6);
    tiny.normalize();  // a length equal to 0 clears x, y, z and keeps w
    EXPECT_EQ(tiny.x, 0.0);
    EXPECT_EQ(tiny.w, 5e-6);
}

TEST(Quaternion, ThreeAnglesAreZAfterYAfterX) {
    const double a = 0.3, b = -0.5, c = 1.2;
    const CQuaternion e = CQuaternion(c, Z_AXIS) * CQuaternion(b, Y_AXIS) * CQuaternion(a, X_AXIS);
    const CQuaternion f(a, b, c);
    EXPECT_XYZ_NEAR(f, e.x, e.y, e.z);
    EXPECT_NEAR(f.w, e.w, 1e-12);
}

TEST(Quaternion, MatrixIsTransposedAgainstTheRowOrderRotation) {
    CMatrix44 m;
    CQuaternion(0.7, Z_AXIS).QuatToMat(m);
    expectMatrixNear(m, rot(2, -0.7).m);
}

TEST(Quaternion, MatrixRoundTripGivesTheUnitQuaternionUpToSign) {
    const double h = std::sqrt(0.5);
    const CQuaternion cases[] = {
        CQuaternion(0, 0, 0, 1),
        CQuaternion(0.3, CVector3D(0.6, 0, 0.8)),
        CQuaternion(M_PI, Z_AXIS),              // trace -1: the z branch
        CQuaternion(M_PI, CVector3D(h, h, 0)),  // trace -1, x and y tied
        CQuaternion(2.9, X_AXIS),
        CQuaternion(-2.0, CVector3D(2.0 / 3, 1.0 / 3, 2.0 / 3)),
    };
    for (const CQuaternion& q : cases) {
        double m[4][4], m3[3][3];
        q.QuatToMat(m);
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c) m3[r][c] = m[r][c];
        for (const CQuaternion& back : {CQuaternion(m), CQuaternion(m3), CQuaternion(&m[0][0])}) {
            const double s = back.dot(q) < 0 ? -1.0 : 1.0;
            EXPECT_XYZ_NEAR(back, s * q.x, s * q.y, s * q.z);
            EXPECT_NEAR(back.w, s * q.w, 1e-12);
        }
        CPoint3D p;  // and the rotation keeps lengths
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
}

TEST(Quaternion, EulerAnglesAreHeadingAttitudeBank) {
    EXPECT_XYZ_NEAR(CQuaternion(0.7, Y_AXIS).EulerAngles(), 0.7, 0, 0);
    EXPECT_XYZ_NEAR(CQuaternion(0.4, Z_AXIS).EulerAngles(), 0, 0.4, 0);
    EXPECT_XYZ_NEAR(CQuaternion(-0.9, X_AXIS).EulerAngles(), 0, 0, -0.9);
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
    q.Slerp(id, id * -1.0, 0.5);  // no angle to divide by: linear weights, meeting at zero
    EXPECT_NEAR(q.length(), 0.0, 1e-12);
    q.Slerp(CQuaternion(0, 0, 0, 1.001), CQuaternion(0, 0, 0, 1.001), 0.5);  // not clamped
    EXPECT_TRUE(std::isnan(q.w));
}

}  // namespace
