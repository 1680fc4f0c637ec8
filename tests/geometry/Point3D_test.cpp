#include "zevcore/geometry/Point3D.h"

#include <gtest/gtest.h>

#include <cmath>

#include "GeometryTestUtil.h"
#include "zevcore/geometry/Vector3D.h"

namespace {

TEST(Point3D, ExistenceAndEqualityAtTheirLimits) {
    EXPECT_FALSE(CPoint3D::undefined_point.exists());
    EXPECT_FALSE(CPoint3D(0, 0, -1e+200).exists());
    EXPECT_TRUE(CPoint3D(0, 9.9e+199, 0).exists());
    EXPECT_FALSE(CPoint3D(std::nan(""), 0, 0).exists());
    // Absolute within 1e-05 near zero, relative for large coordinates.
    EXPECT_TRUE(CPoint3D(0, 0, 0) == CPoint3D(0, 0.9e-5, 0));
    EXPECT_TRUE(CPoint3D(0, 0, 0) != CPoint3D(0, 0, 1.1e-5));
    EXPECT_TRUE(CPoint3D(1e5, 0, 0) == CPoint3D(1e5 + 0.5, 0, 0));
    EXPECT_TRUE(CPoint3D(100, 0, 0) != CPoint3D(100.5, 0, 0));
    EXPECT_FALSE(CPoint3D(1, 2, 3).is_close(CPoint3D(1, 2, 3.5), 0.5));  // strictly below
}

TEST(Point3D, CylindricalAnglesTreatTheAxisExactly) {
    const struct {
        CPoint3D p;
        double thetaz;
    } cases[] = {
        {{0, 0, 7}, 0.0},   {{0, -1, 0}, -M_PI / 2},    {{0, 0.5, 0}, M_PI / 2},
        {{-1, 0, 0}, M_PI}, {{5e-6, -3, 0}, -M_PI / 2}, {{-5e-6, 3, 0}, M_PI / 2},
    };
    for (const auto& c : cases) EXPECT_DOUBLE_EQ(c.p.cylindrical_thetaz(), c.thetaz) << c.p.x;
    // The same rule with the roles moved on: (z, y) about X and (x, z) about Y.
    EXPECT_DOUBLE_EQ(CPoint3D(9, 0, 2).cylindrical_thetax(), M_PI / 2);
    EXPECT_DOUBLE_EQ(CPoint3D(-1, 9, 0).cylindrical_thetay(), -M_PI / 2);
    EXPECT_DOUBLE_EQ(CPoint3D(1, 0, 1).spherical_phi(), M_PI / 4);
}

TEST(Point3D, RotationTurnsAboutAnAxisAndKeepsDistances) {
    CPoint3D q(2, 1, 5);
    q.rotate(M_PI / 2, CVector3D(0, 0, 3), CPoint3D(1, 1, 0));  // counter-clockwise
    EXPECT_XYZ_NEAR(q, 1, 2, 5);
    const CPoint3D about(0.5, -2, 1);
    for (double angle : {0.3, -2.9, 6.0}) {
        CPoint3D p(3, 4, -1);
        p.rotate(angle, CVector3D(1, 2, 3), about);
        EXPECT_NEAR(p.distance_to(about), CPoint3D(3, 4, -1).distance_to(about), 1e-12);
        CPoint3D onAxis(about.x + 2, about.y + 4, about.z + 6);
        onAxis.rotate(angle, CVector3D(1, 2, 3), about);
        EXPECT_XYZ_NEAR(onAxis, about.x + 2, about.y + 4, about.z + 6);
    }
    // With no axis the matrix keeps only its cosine diagonal.
    CPoint3D r(2, 3, 4);
    r.rotate(M_PI / 3, CVector3D(0, 0, 0), CPoint3D(1, 1, 1));
    EXPECT_XYZ_NEAR(r, 1.5, 2, 2.5);
}

TEST(Vector3D, DirectionNamesAxesWithinTolerance) {
    const struct {
        CVector3D v;
        CVector3D::ETVectorDirection d;
    } cases[] = {
        {{0, 0, 0}, CVector3D::ePlusX},      {{-1e-6, 0, 0}, CVector3D::eMinusX},
        {{0, -2, 9e-6}, CVector3D::eMinusY}, {{0, 0, -3}, CVector3D::eMinusZ},
        {{0, 2e-5, -3}, CVector3D::eOther},
    };
    for (const auto& c : cases) EXPECT_EQ(c.v.direction(), c.d) << c.v.x << c.v.y << c.v.z;
    CVector3D v;
    v.direction(CVector3D::eOther);
    EXPECT_XYZ_NEAR(v, 1, 0, 0);
    EXPECT_STREQ(CVector3D(0, 0, 0).directionText(), "+X");
    EXPECT_STREQ(CVector3D(0, -3, 0).directionText(), "-Y");
    // Whole numbers plainly, below 1 with the default three decimals plus one.
    EXPECT_STREQ(CVector3D(1, -2, 0.5).directionText(), "(1,-2,0.5000)");
}

TEST(Vector3D, TinyVectorsStayAsTheyAre) {
    CVector3D tiny(1e-6, 0, 0);
    tiny.normalize(TOLERANCE);
    EXPECT_EQ(tiny.x, 1e-6);
    EXPECT_XYZ_NEAR(CVector3D(CVector3D(0, 3, 4), 10, TOLERANCE), 0, 6, 8);
    EXPECT_XYZ_NEAR(CVector3D(CVector3D(0, 0, 0), 10, TOLERANCE), 0, 0, 0);
    EXPECT_TRUE(CVector3D(0, 0, 0.9e-5).is_zero(TOLERANCE));
    EXPECT_FALSE(CVector3D(0, 0, 1.1e-5).is_zero(TOLERANCE));
    // A zero vector has no length to divide by: the product counts as 1 and the dot is 0.
    EXPECT_DOUBLE_EQ(CVector3D(0, 0, 0).angle(CVector3D(1, 0, 0), TOLERANCE), M_PI / 2);
}

TEST(Vector3D, ScalarProductChangesTheVectorAndCopiesStartWithNoFourthValue) {
    CVector3D v(1, 2, 3);
    v.w = 7;
    EXPECT_EQ(&(v * 2.0), &v);
    EXPECT_XYZ_NEAR(v, 2, 4, 6);
    EXPECT_EQ(CVector3D(v).w, 0.0);
    CVector3D assigned;
    assigned = v;
    EXPECT_EQ(assigned.w, 7.0);
}

}  // namespace
