#include "zevcore/geometry/Plane3D.h"

#include <gtest/gtest.h>

#include <cmath>

#include "GeometryTestUtil.h"

namespace {

const CPlane3D kZ2(CPoint3D(0, 0, 2), CPoint3D(1, 0, 2), CPoint3D(0, 1, 2));

TEST(Plane3D, ThreePointsGiveNormalAxesAndD) {
    ASSERT_TRUE(kZ2.is_valid());
    EXPECT_XYZ_NEAR(kZ2.n(), 0, 0, 1);
    EXPECT_DOUBLE_EQ(kZ2.D(), 2.0);
    EXPECT_XYZ_NEAR(kZ2.xVector(), 1, 0, 0);
    EXPECT_XYZ_NEAR(kZ2.yVector(), 0, 1, 0);
}

TEST(Plane3D, CollinearOrRepeatedPointsMakeNoPlane) {
    EXPECT_FALSE(CPlane3D(CPoint3D(0, 0, 0), CPoint3D(1, 1, 1), CPoint3D(3, 3, 3)).is_valid());
    const CPlane3D bad(CPoint3D(0, 0, 0), CPoint3D(1, 0, 0), CPoint3D(2, 1e-6, 0));
    EXPECT_FALSE(bad.is_valid());
    EXPECT_XYZ_NEAR(bad.n(), 0, 1, 0);
    EXPECT_EQ(bad.D(), 1e+30);
    EXPECT_FALSE(CPlane3D(CVector3D(0, 0, 0), CPoint3D(1, 1, 1)).is_valid());
    EXPECT_TRUE(CPlane3D().is_valid());
}

TEST(Plane3D, LocalCoordinatesDoNotAddDBack) {
    EXPECT_XYZ_NEAR(kZ2.global_to_local(CPoint3D(3, 4, 5)), 3, 4, 3);
    EXPECT_XYZ_NEAR(kZ2.local_to_global(CPoint3D(3, 4, 3)), 3, 4, 3);
    EXPECT_DOUBLE_EQ(kZ2.distance_to(CPoint3D(3, 4, -1)), 3.0);
    EXPECT_TRUE(kZ2.is_in_plane(7, 8, 2.0000009, 1e-6));
    EXPECT_FALSE(kZ2.is_in_plane(7, 8, 2.0000011, 1e-6));
}

TEST(Plane3D, MirrorTwiceIsTheIdentity) {
    EXPECT_XYZ_NEAR(kZ2.mirror(CPoint3D(3, 4, 5)), 3, 4, -1);
    EXPECT_XYZ_NEAR(kZ2.mirror(CPoint3D(3, 4, 2)), 3, 4, 2);
    const CPlane3D tilted(CVector3D(1, -2, 2), CPoint3D(1, 1, 1));
    for (const CPoint3D& p : {CPoint3D(5, -3, 2), CPoint3D(0, 0, 0), CPoint3D(-1e3, 7, 0.5)}) {
        const CPoint3D m = tilted.mirror(p);
        EXPECT_NEAR(tilted.distance_to(m), tilted.distance_to(p), 1e-9);
        EXPECT_XYZ_NEAR(tilted.mirror(m), p.x, p.y, p.z);
    }
}

TEST(Plane3D, AxesFromANormalFollowTheOrderOfTests) {
    const CPlane3D z(CVector3D(0, 0, 5), CPoint3D(0, 0, 3));
    EXPECT_XYZ_NEAR(z.xVector(), 1, 0, 0);
    EXPECT_XYZ_NEAR(z.yVector(), 0, 1, 0);
    EXPECT_DOUBLE_EQ(z.D(), 3.0);
    const CPlane3D x(CVector3D(-1, 0, 0), CPoint3D(2, 0, 0));
    EXPECT_XYZ_NEAR(x.xVector(), 0, 1, 0);
    EXPECT_XYZ_NEAR(x.yVector(), 0, 0, -1);
    EXPECT_DOUBLE_EQ(x.D(), -2.0);
    // A tilted normal: (1, -n.x, 0) normalized, not perpendicular to the normal.
    const CPlane3D xy(CVector3D(1, 1, 0), ORIGIN);
    const double h = 1 / std::sqrt(2.0), k = std::sqrt(1 + 0.5);
    EXPECT_XYZ_NEAR(xy.xVector(), 1 / k, -h / k, 0);
    EXPECT_FALSE(xy.xVector().is_orthogonal(xy.n(), 1e-3));
    // n.x zero, n.y not: (0, 1, -n.y) normalized.
    const CPlane3D yz(CVector3D(0, 0.6, 0.8), ORIGIN);
    const double m = std::sqrt(1 + 0.36);
    EXPECT_XYZ_NEAR(yz.xVector(), 0, 1 / m, -0.6 / m);
}

TEST(Plane3D, LineIntersectionIsOnTheInfiniteLine) {
    EXPECT_XYZ_NEAR(kZ2.intersection(CLine3D(1, 1, 0, 1, 1, 0.5)), 1, 1, 2);
    EXPECT_XYZ_NEAR(kZ2.intersection(CLine3D(0, 0, 5, 1, 1, 4)), 3, 3, 2);
    EXPECT_FALSE(kZ2.intersection(CLine3D(0, 0, 0, 1, 1, 0)).exists());
    EXPECT_FALSE(kZ2.intersection(CLine3D(0, 0, 0, 0, 0, 0)).exists());
    EXPECT_FALSE(kZ2.ray_intersection(CLine3D(1, 1, 0, 1, 1, 5)).exists());
    EXPECT_TRUE(kZ2.is_parallel(CLine3D(0, 0, 0, 5, 5, 0), 1e-9));
    EXPECT_FALSE(kZ2.is_parallel(CLine3D(0, 0, 0, 5, 5, 1), 1e-3));
}

TEST(Plane3D, TwoPlanesMeetInALineOnBoth) {
    const CPlane3D slanted(CVector3D(1, 1, 1), CPoint3D(1, 0, 0));
    CLine3D common;
    ASSERT_TRUE(kZ2.intersection(slanted, common));
    for (const CPoint3D& p : {common.p1, common.p2, common.offset(-40)}) {
        EXPECT_TRUE(kZ2.is_in_plane(p, 1e-9));
        EXPECT_TRUE(slanted.is_in_plane(p, 1e-9));
    }
    EXPECT_NEAR(common.length(), 1.0, 1e-12);
    EXPECT_FALSE(kZ2.intersection(CPlane3D(CVector3D(0, 0, -1), CPoint3D(0, 0, 7)), common));
    EXPECT_TRUE(kZ2.is_parallel(CPlane3D(CVector3D(0, 0, -1), ORIGIN), TOLERANCE));
}

}  // namespace
