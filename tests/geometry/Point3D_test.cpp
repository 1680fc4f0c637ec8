#include "zevcore/geometry/Point3D.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>

#include "GeometryTestUtil.h"
#include "zevcore/geometry/Vector3D.h"

namespace {

TEST(Point3D, ExistsIsStrictAtTheUndefinedValue) {
    EXPECT_FALSE(CPoint3D::undefined_point.exists());
    EXPECT_FALSE(CPoint3D(0, 0, -1e+200).exists());
    EXPECT_TRUE(CPoint3D(0, 9.9e+199, 0).exists());
    EXPECT_FALSE(CPoint3D(std::nan(""), 0, 0).exists());
    EXPECT_TRUE(ORIGIN.exists());
}

TEST(Point3D, EqualityIsAbsoluteForSmallAndRelativeForLargeCoordinates) {
    EXPECT_TRUE(CPoint3D(0, 0, 0) == CPoint3D(0, 0.9e-5, 0));
    EXPECT_TRUE(CPoint3D(0, 0, 0) != CPoint3D(0, 0, 1.1e-5));
    EXPECT_TRUE(CPoint3D(1e5, 0, 0) == CPoint3D(1e5 + 0.5, 0, 0));
    EXPECT_TRUE(CPoint3D(100, 0, 0) != CPoint3D(100.5, 0, 0));
    EXPECT_TRUE(CPoint3D(1, 2, 3).is_close(CPoint3D(1, 2, 3.5), 0.51));
    EXPECT_FALSE(CPoint3D(1, 2, 3).is_close(CPoint3D(1, 2, 3.5), 0.5));
}

TEST(Point3D, CylindricalAnglesTreatTheAxisExactly) {
    struct Case {
        CPoint3D p;
        double thetaz;
    } cases[] = {
        {{0, 0, 7}, 0.0},          {{0, -1, 0}, -M_PI / 2}, {{0, 0.5, 0}, M_PI / 2},
        {{1, 1, 0}, M_PI / 4},     {{-1, 0, 0}, M_PI},      {{5e-6, -3, 0}, -M_PI / 2},
        {{-5e-6, 3, 0}, M_PI / 2},
    };
    for (const auto& c : cases) EXPECT_DOUBLE_EQ(c.p.cylindrical_thetaz(), c.thetaz) << c.p.x;
    // The same rule with the roles moved on: (z, y) about X and (x, z) about Y.
    EXPECT_DOUBLE_EQ(CPoint3D(9, 0, 2).cylindrical_thetax(), M_PI / 2);
    EXPECT_DOUBLE_EQ(CPoint3D(9, 2, 2).cylindrical_thetax(), M_PI / 4);
    EXPECT_DOUBLE_EQ(CPoint3D(-1, 9, 0).cylindrical_thetay(), -M_PI / 2);
    EXPECT_DOUBLE_EQ(CPoint3D(0, 9, 0).cylindrical_thetay(), 0.0);
    EXPECT_DOUBLE_EQ(CPoint3D(1, 0, 1).spherical_phi(), M_PI / 4);
    EXPECT_DOUBLE_EQ(CPoint3D(3, 4, 12).spherical_rho(), 13.0);
    EXPECT_DOUBLE_EQ(CPoint3D(3, 4, 12).cylindrical_rz(), 5.0);
}

TEST(Point3D, RotateTurnsCounterClockwiseAboutAPoint) {
    CPoint3D p(1, 0, 0);
    p.rotate(M_PI / 2, Z_AXIS, ORIGIN);
    EXPECT_XYZ_NEAR(p, 0, 1, 0);
    CPoint3D q(2, 1, 5);
    q.rotate(M_PI, CVector3D(0, 0, 3), CPoint3D(1, 1, 0));  // the axis needs no unit length
    EXPECT_XYZ_NEAR(q, 0, 1, 5);
    // With no axis the matrix keeps only its cosine diagonal.
    CPoint3D r(2, 3, 4);
    r.rotate(M_PI / 3, CVector3D(0, 0, 0), CPoint3D(1, 1, 1));
    EXPECT_XYZ_NEAR(r, 1.5, 2, 2.5);
}

TEST(Point3D, RotationKeepsDistancesFromTheAxisPoint) {
    const CPoint3D about(0.5, -2, 1);
    for (double angle : {0.3, 1.7, -2.9, 6.0}) {
        CPoint3D p(3, 4, -1);
        const double before = p.distance_to(about);
        p.rotate(angle, CVector3D(1, 2, 3), about);
        EXPECT_NEAR(p.distance_to(about), before, 1e-12);
        // Points on the axis stay.
        CPoint3D onAxis(about.x + 2, about.y + 4, about.z + 6);
        onAxis.rotate(angle, CVector3D(1, 2, 3), about);
        EXPECT_XYZ_NEAR(onAxis, about.x + 2, about.y + 4, about.z + 6);
    }
}

TEST(Point3D, RotateByMatrixUsesRowsAndNoTranslation) {
    const double m[4][4] = {{0, -1, 0, 5}, {1, 0, 0, 5}, {0, 0, 1, 5}, {9, 9, 9, 9}};
    CPoint3D p(1, 2, 3);
    p.rotate(m);
    EXPECT_XYZ_NEAR(p, -2, 1, 3);
}

TEST(Point3D, MultiplicationChangesTheObjectItself) {
    CPoint3D p(1, 2, 3);
    CPoint3D& r = p * 2.0;
    EXPECT_EQ(&r, &p);
    EXPECT_XYZ_NEAR(p, 2, 4, 6);
    p* CPoint3D(1, 0.5, -1);
    EXPECT_XYZ_NEAR(p, 2, 2, -6);
    EXPECT_EQ(p[7], -6.0);  // any index past y reads z
}

TEST(Point3D, WriteAndReadThreeDoubles) {
    FILE* f = std::tmpfile();
    ASSERT_NE(f, nullptr);
    ASSERT_TRUE(CPoint3D(1.5, -2.25, 1e10).write(f));
    EXPECT_EQ(std::ftell(f), 24);
    std::rewind(f);
    CPoint3D p;
    EXPECT_TRUE(p.read(f));
    EXPECT_XYZ_NEAR(p, 1.5, -2.25, 1e10);
    EXPECT_FALSE(p.read(f));  // nothing left
    std::fclose(f);
    EXPECT_FALSE(p.read(nullptr));
}

TEST(Vector3D, DirectionNamesAxesWithinTolerance) {
    struct Case {
        CVector3D v;
        CVector3D::ETVectorDirection d;
    } cases[] = {
        {{0, 0, 0}, CVector3D::ePlusX},      {{-1e-6, 0, 0}, CVector3D::eMinusX},
        {{0, -2, 9e-6}, CVector3D::eMinusY}, {{0, 0, 4}, CVector3D::ePlusZ},
        {{0, 0, -3}, CVector3D::eMinusZ},    {{0, 2e-5, -3}, CVector3D::eOther},
        {{1, 1, 0}, CVector3D::eOther},
    };
    for (const auto& c : cases) EXPECT_EQ(c.v.direction(), c.d) << c.v.x << c.v.y << c.v.z;
    EXPECT_TRUE(CVector3D(1, 1, 0).is_in_global_plane());
    EXPECT_FALSE(CVector3D(1, 1, 1e-5).is_in_global_plane());
    CVector3D v;
    v.direction(CVector3D::eMinusZ);
    EXPECT_XYZ_NEAR(v, 0, 0, -1);
    v.direction(CVector3D::eOther);
    EXPECT_XYZ_NEAR(v, 1, 0, 0);
}

TEST(Vector3D, NormalizingLeavesATinyVectorAlone) {
    CVector3D tiny(1e-6, 0, 0);
    tiny.normalize(TOLERANCE);
    EXPECT_EQ(tiny.x, 1e-6);
    EXPECT_XYZ_NEAR(CVector3D(CVector3D(0, 3, 4), 10, TOLERANCE), 0, 6, 8);
    EXPECT_XYZ_NEAR(CVector3D(CVector3D(0, 0, 0), 10, TOLERANCE), 0, 0, 0);
    EXPECT_TRUE(CVector3D(0, 0.6, 0.8).is_normalized(1e-9));
    EXPECT_TRUE(CVector3D(0, 0, 0.9e-5).is_zero(TOLERANCE));
    EXPECT_FALSE(CVector3D(0, 0, 1.1e-5).is_zero(TOLERANCE));
}

TEST(Vector3D, AngleAndRelations) {
    EXPECT_DOUBLE_EQ(CVector3D(1, 0, 0).angle(CVector3D(3, 3, 0), TOLERANCE), M_PI / 4);
    // A zero vector has no length to divide by: the product counts as 1 and the dot is 0.
    EXPECT_DOUBLE_EQ(CVector3D(0, 0, 0).angle(CVector3D(1, 0, 0), TOLERANCE), M_PI / 2);
    EXPECT_TRUE(CVector3D(1, 2, 3).is_parallel(CVector3D(-2, -4, -6), TOLERANCE));
    EXPECT_FALSE(CVector3D(1, 2, 3).is_parallel(CVector3D(1, 2, 3.001), TOLERANCE));
    // Orthogonality is judged on the vectors as they stand, so length matters.
    EXPECT_TRUE(CVector3D(1, 0, 0).is_orthogonal(CVector3D(5e-6, 1, 0), TOLERANCE));
    EXPECT_FALSE(CVector3D(1000, 0, 0).is_orthogonal(CVector3D(5e-6, 1, 0), TOLERANCE));
    EXPECT_XYZ_NEAR(X_AXIS.cross(Y_AXIS), 0, 0, 1);
}

TEST(Vector3D, ScalarProductChangesTheVectorAndCopiesStartWithNoFourthValue) {
    CVector3D v(1, 2, 3);
    v.w = 7;
    CVector3D& r = v * 2.0;
    EXPECT_EQ(&r, &v);
    EXPECT_XYZ_NEAR(v, 2, 4, 6);
    EXPECT_XYZ_NEAR(v * CVector3D(0.5, 1, 2), 1, 4, 12);
    EXPECT_EQ(CVector3D(v).w, 0.0);
    CVector3D assigned;
    assigned = v;
    EXPECT_EQ(assigned.w, 7.0);
    EXPECT_XYZ_NEAR(CPoint3D(1, 1, 1) + CVector3D(1, 2, 3), 2, 3, 4);
}

}  // namespace
