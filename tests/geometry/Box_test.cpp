#include <gtest/gtest.h>

#include <cmath>

#include "GeometryTestUtil.h"
#include "zevcore/geometry/AABB.h"
#include "zevcore/geometry/OrientedBox.h"

namespace {

TEST(AABB, FacesAreInsideWithNoTolerance) {
    const CAABB unit;
    EXPECT_TRUE(unit.includes(CPoint3D(0.5, 0.5, 0.5)));
    EXPECT_TRUE(unit.includes(CPoint3D(-0.5, 0, 0)));
    EXPECT_FALSE(unit.includes(CPoint3D(0.6, 0, 0)));
    EXPECT_FALSE(unit.includes(CPoint3D(0, 0, -0.5000001)));
    const CAABB span(1, 3, -2, 2, 10, 11);
    EXPECT_XYZ_NEAR(span.Center(), 2, 0, 10.5);
    EXPECT_XYZ_NEAR(span.Extents(), 2, 4, 1);
    EXPECT_TRUE(span.includes(CPoint3D(3, -2, 11)));
}

TEST(AABB, NegativeExtentsIncludeNothing) {
    const CAABB inverted(1, -1, 0, 1, 0, 1);
    EXPECT_EQ(inverted.Width(), -2.0);
    EXPECT_FALSE(inverted.includes(inverted.Center()));
    EXPECT_FALSE(inverted.includes(CPoint3D(0, 0.5, 0.5)));
    EXPECT_EQ(inverted.MaxExtent(), 2.0);
    CAABB b(1, 2, 3);
    b.Depth(-7);
    EXPECT_EQ(b.MaxExtent(), 7.0);
}

TEST(OrientedBox, CornersAndPlanesInTheirOrder) {
    const COrientedBox box(0, 2, 0, 4, 0, 6);
    const double corners[8][3] = {{0, 0, 6}, {2, 0, 6}, {2, 0, 0}, {0, 0, 0},
                                  {0, 4, 6}, {2, 4, 6}, {2, 4, 0}, {0, 4, 0}};
    for (int i = 0; i < 8; ++i)
        EXPECT_XYZ_NEAR(box.corners[i], corners[i][0], corners[i][1], corners[i][2]);
    const double normals[6][3] = {{1, 0, 0},  {-1, 0, 0}, {0, 1, 0},
                                  {0, -1, 0}, {0, 0, 1},  {0, 0, -1}};
    const double d[6] = {2, 0, 4, 0, 6, 0};
    for (int i = 0; i < 6; ++i) {
        EXPECT_XYZ_NEAR(box.planes[i].n(), normals[i][0], normals[i][1], normals[i][2]);
        EXPECT_NEAR(box.planes[i].D(), d[i], 1e-12);
    }
    EXPECT_TRUE(box.includes(CPoint3D(2, 2, 3)));
    EXPECT_FALSE(box.includes(CPoint3D(2.001, 2, 3)));
}

TEST(OrientedBox, AQuarterTurnAboutZSwapsWidthAndHeight) {
    const COrientedBox box(CAABB(4, 2, 2), CPoint3D(0, 0, M_PI / 2));
    // The matrix of the turn maps (x, y, z) to (y, -x, z).
    EXPECT_XYZ_NEAR(box.corners[0], -1, 2, 1);
    EXPECT_TRUE(box.includes(CPoint3D(0.9, 1.9, 0)));
    EXPECT_FALSE(box.includes(CPoint3D(1.9, 0, 0)));
    // A rotation keeps the box's size: opposite corners stay a diagonal apart.
    EXPECT_NEAR(box.corners[0].distance_to(box.corners[6]), std::sqrt(16.0 + 4 + 4), 1e-12);
}

TEST(OrientedBox, OrientationTakesEffectOnlyAtInitPlanes) {
    COrientedBox box(CAABB(4, 2, 2));
    box.Orientation(CPoint3D(0, 0, M_PI / 2));
    EXPECT_TRUE(box.includes(CPoint3D(1.9, 0, 0)));  // still the old box
    box.init_planes();
    EXPECT_FALSE(box.includes(CPoint3D(1.9, 0, 0)));
}

TEST(OrientedBox, ThreePointConstructorIgnoresTheOrientation) {
    const COrientedBox box(CPoint3D(1, 1, 1), CPoint3D(2, 2, 2), CPoint3D(0.5, 0.6, 0.7));
    EXPECT_XYZ_NEAR(box.Orientation(), 0, 0, 0);
    EXPECT_XYZ_NEAR(box.corners[0], 0, 0, 2);
    EXPECT_TRUE(box == COrientedBox(0, 2, 0, 2, 0, 2));
}

TEST(OrientedBox, AssignmentThroughTheBaseCopiesOnlyTheBox) {
    const COrientedBox turned(CAABB(4, 2, 2), CPoint3D(0, 0, M_PI / 2));
    COrientedBox copy;
    copy = turned;
    EXPECT_TRUE(copy == turned);
    COrientedBox target;
    CAABB& base = target;
    base = turned;  // the base slot: centre and extents, no orientation, no rebuild
    EXPECT_XYZ_NEAR(target.Extents(), 4, 2, 2);
    EXPECT_XYZ_NEAR(target.Orientation(), 0, 0, 0);
    EXPECT_XYZ_NEAR(target.corners[1], 0.5, -0.5, 0.5);
    // The includes slot is the oriented one, also through the base.
    EXPECT_FALSE(static_cast<const CAABB&>(turned).includes(CPoint3D(1.9, 0, 0)));
}

TEST(OrientedBox, EqualityAllowsAHundredthOfOrientation) {
    const COrientedBox a;
    COrientedBox b;
    b.Orientation(CPoint3D(0.005, 0.005, 0));  // corners unchanged until init_planes
    EXPECT_TRUE(a == b);
    b.Orientation(CPoint3D(0.02, 0, 0));
    EXPECT_TRUE(a != b);
    b.Orientation(CPoint3D(0, 0, 0));
    b.Center(CPoint3D(0, 0, 1));
    b.init_planes();
    EXPECT_TRUE(a != b);
}

TEST(OrientedBox, FlatBoxHasNoSideFaces) {
    // With no depth the four side faces pass through two equal corners and can't be made,
    // so only the top and bottom limit the box: it is the whole plane z = 0.
    const COrientedBox flat(0, 1, 0, 1, 0, 0);
    EXPECT_FALSE(flat.planes[0].is_valid());
    EXPECT_TRUE(flat.includes(CPoint3D(0.5, 0.5, 0)));
    EXPECT_TRUE(flat.includes(CPoint3D(50, -7, 0)));
    EXPECT_FALSE(flat.includes(CPoint3D(0.5, 0.5, 1e-9)));
}

}  // namespace
