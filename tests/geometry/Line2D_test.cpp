#include "zevcore/geometry/Line2D.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>

#include "GeometryTestUtil.h"
#include "zevcore/geometry/Vector2D.h"

namespace {

using P = CPoint2D;
constexpr double kUndef = CPoint2D::sm_undefined;

CLine2D seg(double x1, double y1, double x2, double y2) {
    return {P(x1, y1), P(x2, y2), true};
}
CLine2D inf(double x1, double y1, double x2, double y2) {
    return {P(x1, y1), P(x2, y2), false};
}

TEST(Line2D, DegenerateInputBecomesTheUnitSegmentOfTheXAxis) {
    for (const CLine2D& l :
         {seg(3, 4, 3, 4 + 5e-6), CLine2D(2.0, 0.0, false), CLine2D(0.0, 0.0, 0.0, false)}) {
        EXPECT_XY_NEAR(l.point(1), 0, 0);
        EXPECT_XY_NEAR(l.point(2), 1, 0);
        EXPECT_EQ(l.length(), 1.0);
        EXPECT_EQ(l.slope(), 0.0);
        EXPECT_EQ(l.intercept(), 0.0);
    }
    EXPECT_XY_NEAR(seg(3, 4, 3, 4 + 2e-5).point(1), 3, 4);  // just long enough to keep
    const CLine2D none;
    EXPECT_FALSE(none.point(1).exists());
    EXPECT_EQ(none.length(), 0.0);
    EXPECT_EQ(none.distance_to(P(1, 1)), kUndef);
}

TEST(Line2D, ConstructionFromSlopesAndGeneralForm) {
    const CLine2D bySlope(2.0, 4.0, false);  // through the crossings (0, 4) and (-2, 0)
    EXPECT_XY_NEAR(bySlope.point(2), -2, 0);
    EXPECT_DOUBLE_EQ(bySlope.intercept(), 4.0);
    const CLine2D vertical(1.0, 0.0, -3.0, false);  // x = 3
    EXPECT_EQ(vertical.slope(), kUndef);
    EXPECT_DOUBLE_EQ(vertical.intercept(), 3.0);  // the X position
    EXPECT_XY_NEAR(vertical.point(2), 3, 1);
    const CLine2D general(1.0, 2.0, -4.0, true);  // y = 2 - x / 2
    EXPECT_DOUBLE_EQ(general.slope(), -0.5);
    EXPECT_XY_NEAR(general.point(2), 4, 0);
    EXPECT_XY_NEAR(CLine2D(P(1, 1), kUndef, false).point(2), 1, 2);
}

TEST(Line2D, IntersectTreatsCloseSlopesAsParallel) {
    const CLine2D diagonal = seg(0, 0, 1, 1);
    EXPECT_FALSE(diagonal.intersect(CLine2D(P(0, 1), 1.0017, false)).exists());
    EXPECT_NEAR(diagonal.intersect(CLine2D(P(0, 1), 1.0018, false)).x, -1 / 0.0018, 1e-6);
    EXPECT_XY_NEAR(diagonal.intersect(inf(5, 5, 7, 7)), 0, 0);  // collinear: this p1
    // Steep lines a microradian apart still have slopes a whole unit apart.
    EXPECT_XY_NEAR(inf(0, 0, 1, 1000).intersect(inf(1, 0, 2, 1001)), 1001, 1001000);
    const CLine2D x2 = seg(2, -1, 2, 1);
    EXPECT_XY_NEAR(diagonal.intersect(x2), 2, 2);
    EXPECT_XY_NEAR(x2.intersect(diagonal), 2, 2);
    EXPECT_FALSE(x2.intersect(inf(3, 0, 3, 1)).exists());
}

TEST(Line2D, SegmentsIntersectOnlyWithinBoth) {
    EXPECT_XY_NEAR(seg(0, 0, 1, 0).intersect(seg(2, -1, 2, 1)), 2, 0);
    EXPECT_FALSE(seg(0, 0, 1, 0).segments_intersect(seg(2, -1, 2, 1)));
    const CLine2D c = seg(0, 0, 2, 2), d = seg(0, 2, 2, 0);
    const P at = c.intersect(d);
    EXPECT_XY_NEAR(at, 1, 1);
    EXPECT_TRUE(c.is_on(at) && d.is_on(at));
    EXPECT_TRUE(c.segments_intersect(d));
    EXPECT_FALSE(c.segments_intersect(inf(0, 2, 2, 0)));
}

TEST(Line2D, IsOnHasNoToleranceOnTheExtent) {
    const CLine2D flat = seg(0, 0, 1, 0);
    EXPECT_FALSE(flat.is_on(P(1 + 1e-7, 0)));
    EXPECT_FALSE(flat.is_on(P(0.5, 1e-7)));  // y leaves the zero-height extent
    EXPECT_TRUE(inf(0, 0, 1, 0).is_on(P(1 + 1e-7, 0)));
    EXPECT_TRUE(seg(0, 0, 1, 1).is_on(P(0.5, 0.5 + 1e-7)));
    // Collinearity is an area: looser on short lines, tighter on long ones.
    EXPECT_TRUE(flat.is_collinear(P(0.5, 2e-6)));
    EXPECT_FALSE(seg(0, 0, 1000, 0).is_collinear(P(500, 2e-8)));
}

TEST(Line2D, IsOnLeftCountsTheLineAndItsFirstPoint) {
    const CLine2D l = seg(0, 0, 1, 0);
    const struct {
        P p;
        bool left;
    } cases[] = {{{0.5, 1}, true}, {{0.5, -1}, false}, {{2, 0}, true},
                 {{-1, 0}, true},  {{0, 0}, true},     {{-3, -1e-3}, false}};
    for (const auto& c : cases) EXPECT_EQ(l.is_on_left(c.p), c.left) << c.p.x << "," << c.p.y;
}

TEST(Line2D, SignedDistanceAndPoints) {
    EXPECT_DOUBLE_EQ(seg(0, 0, 2, 0).distance_to(P(1, 3)), 3.0);
    EXPECT_DOUBLE_EQ(P(1, -3).distance_to(seg(0, 0, 2, 0)), -3.0);
    EXPECT_XY_NEAR(seg(0, 0, 4, 4).point_at(2), 8, 8);  // not clamped
    const CLine2D e = seg(0, 0, 3, 4);
    EXPECT_XY_NEAR(e.point_at_offset(10), 6, 8);
    EXPECT_FALSE(e.ref_point(0).exists());
    EXPECT_FALSE(e.point(3).exists());
}

TEST(Line2D, AngleTellsSegmentSensesApart) {
    EXPECT_EQ(inf(0, 1, 0, 0).angle(), DEG90);
    EXPECT_EQ(seg(0, 1, 0, 0).angle(), -DEG90);
    EXPECT_EQ(seg(1, 0, 0, 1e-6).angle(), DEG180);
    EXPECT_NE(inf(1, 0, 0, 1e-6).angle(), DEG180);
    EXPECT_DOUBLE_EQ(seg(0, 0, -1, -1).angle(), -3 * M_PI / 4);
    const CLine2D p = seg(1, 1, 4, 5).perpendicular();
    EXPECT_XY_NEAR(p.point(2), -3, 4);
}

TEST(Line2D, ParallelAndPerpendicularCompareSlopes) {
    const CLine2D v1 = inf(0, 0, 0, 1), v2 = inf(5, 0, 5, -1), h = inf(0, 0, 1, 0);
    EXPECT_TRUE(v1.is_parallel(v2, TOLERANCE));
    EXPECT_FALSE(v1.is_parallel(inf(0, 0, 1e-4, 100), 1.0));
    EXPECT_TRUE(v1.is_perpendicular(h));
    EXPECT_FALSE(v1.is_perpendicular(v2));
    EXPECT_TRUE(CLine2D(P(0, 0), 2.0, false).is_perpendicular(CLine2D(P(0, 0), -0.5, false)));
}

TEST(Line2D, NormalFormFollowsTheSignedRadical) {
    const CLine2D l(2.0, 3.0, false);  // y = 2 x + 3: R = +sqrt(5)
    const double r = std::sqrt(5.0);
    EXPECT_DOUBLE_EQ(l.general_A(), 1 / r);
    EXPECT_DOUBLE_EQ(l.general_B(), -2 / r);
    EXPECT_DOUBLE_EQ(l.intercept_a(), 3.0);
    EXPECT_DOUBLE_EQ(l.intercept_b(), -1.5);
    EXPECT_DOUBLE_EQ(inf(0, 0, 1, 2).general_A(), -1 / r);  // through the origin: by slope
    EXPECT_EQ(inf(0, 1, 1, 1).intercept_b(), kUndef);
}

TEST(Point2D, PolarAngleAndRotation) {
    EXPECT_EQ(P(0.0, 1.0).polar_theta(), 0.0);
    EXPECT_EQ(P(1.0, 0.0).polar_theta(), HALF_PI);
    P tiny(5e-6, 5e-6);
    tiny.rotate(1.0);
    EXPECT_EQ(tiny.x, 5e-6);
    EXPECT_EQ(tiny.y, 5e-6);
    P small(2e-5, 0);
    small.rotate(DEG90);
    EXPECT_NEAR(small.y, 2e-5, 1e-15);
    P p(2, 1);
    p.rotate_about(P(1, 1), M_PI / 2);
    EXPECT_XY_NEAR(p, 1, 2);
}

TEST(Point2D, WriteAndReadTwoDoubles) {
    FILE* f = std::tmpfile();
    ASSERT_NE(f, nullptr);
    ASSERT_TRUE(P(0.1, -7).write(f));
    EXPECT_EQ(std::ftell(f), 16);
    std::fseek(f, 0, SEEK_SET);
    P p;
    EXPECT_TRUE(p.read(f));
    EXPECT_XY_NEAR(p, 0.1, -7);
    std::fseek(f, 8, SEEK_SET);  // only y is left: x changes, the read fails
    EXPECT_FALSE(p.read(f));
    EXPECT_EQ(p.x, -7.0);
    std::fclose(f);
}

TEST(Vector2D, ATinyVectorHasMagnitudeOne) {
    EXPECT_EQ(CVector2D(0, 0).Magnitude(), 1.0);
    EXPECT_XY_NEAR(CVector2D(3e-6, 0).GetNormalized(), 3e-6, 0);
    EXPECT_XY_NEAR(CVector2D(0, 2).GetPerpendicular(), 1, 0);  // clockwise
    EXPECT_XY_NEAR(CVector2D(2, 3) * CVector2D(4, 5), 8, 15);
}

}  // namespace
