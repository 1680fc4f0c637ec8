#include "zevcore/geometry/Line2D.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>

#include "GeometryTestUtil.h"
#include "zevcore/geometry/Vector2D.h"

namespace {

constexpr double kUndef = CPoint2D::sm_undefined;

void expectUnitXLine(const CLine2D& l) {
    EXPECT_XY_NEAR(l.point(1), 0, 0);
    EXPECT_XY_NEAR(l.point(2), 1, 0);
    EXPECT_EQ(l.length(), 1.0);
    EXPECT_EQ(l.slope(), 0.0);
    EXPECT_EQ(l.intercept(), 0.0);
}

TEST(Line2D, DegenerateInputBecomesTheUnitSegmentOfTheXAxis) {
    const CLine2D same(CPoint2D(3, 4), CPoint2D(3, 4 + 5e-6), true);
    expectUnitXLine(same);
    EXPECT_TRUE(same.is_segment());
    expectUnitXLine(CLine2D(2.0, 0.0, false));       // sloped through the origin
    expectUnitXLine(CLine2D(0.0, 0.0, 0.0, false));  // no line at all
    // Just outside the limit the points are kept.
    const CLine2D shortLine(CPoint2D(3, 4), CPoint2D(3, 4 + 2e-5), true);
    EXPECT_XY_NEAR(shortLine.point(1), 3, 4);
}

TEST(Line2D, DefaultLineIsUndefinedAndUnrecalculated) {
    const CLine2D l;
    EXPECT_FALSE(l.point(1).exists());
    EXPECT_FALSE(l.point(2).exists());
    EXPECT_EQ(l.length(), 0.0);
    EXPECT_FALSE(l.is_segment());
    EXPECT_EQ(l.distance_to(CPoint2D(1, 1)), kUndef);
    EXPECT_FALSE(l.point_at(0.5).exists());
}

TEST(Line2D, ConstructionFromSlopesAndGeneralForm) {
    const CLine2D bySlope(2.0, 4.0, false);  // crossings (0, 4) and (-2, 0)
    EXPECT_XY_NEAR(bySlope.point(1), 0, 4);
    EXPECT_XY_NEAR(bySlope.point(2), -2, 0);
    EXPECT_DOUBLE_EQ(bySlope.slope(), 2.0);
    EXPECT_DOUBLE_EQ(bySlope.intercept(), 4.0);

    const CLine2D vertical(1.0, 0.0, -3.0, false);  // x = 3
    EXPECT_TRUE(vertical.is_vertical());
    EXPECT_EQ(vertical.slope(), kUndef);
    EXPECT_DOUBLE_EQ(vertical.intercept(), 3.0);  // the X position
    EXPECT_XY_NEAR(vertical.point(2), 3, 1);

    const CLine2D general(1.0, 2.0, -4.0, true);  // y = 2 - x / 2
    EXPECT_DOUBLE_EQ(general.slope(), -0.5);
    EXPECT_DOUBLE_EQ(general.intercept(), 2.0);
    EXPECT_XY_NEAR(general.point(2), 4, 0);

    const CLine2D throughPoint(CPoint2D(1, 1), kUndef, false);
    EXPECT_XY_NEAR(throughPoint.point(2), 1, 2);
    const CLine2D flat(CPoint2D(1, 1), 0.5, false);
    EXPECT_XY_NEAR(flat.point(2), 2, 1.5);
    EXPECT_DOUBLE_EQ(flat.intercept(), 0.5);
}

TEST(Line2D, IntersectTreatsCloseSlopesAsParallel) {
    const CLine2D diagonal(CPoint2D(0, 0), CPoint2D(1, 1), true);
    EXPECT_FALSE(diagonal.intersect(CLine2D(CPoint2D(0, 1), 1.0017, false)).exists());
    const CPoint2D far = diagonal.intersect(CLine2D(CPoint2D(0, 1), 1.0018, false));
    EXPECT_NEAR(far.x, -1 / 0.0018, 1e-6);
    // Collinear: this line's first point.
    EXPECT_XY_NEAR(diagonal.intersect(CLine2D(CPoint2D(5, 5), CPoint2D(7, 7), false)), 0, 0);
    // Steep lines a microradian apart still have slopes a whole unit apart.
    const CLine2D steep(CPoint2D(0, 0), CPoint2D(1, 1000), false);
    EXPECT_XY_NEAR(steep.intersect(CLine2D(CPoint2D(1, 0), CPoint2D(2, 1001), false)), 1001,
                   1001000);
    // Vertical on either side.
    const CLine2D x2(CPoint2D(2, -1), CPoint2D(2, 1), true);
    EXPECT_XY_NEAR(diagonal.intersect(x2), 2, 2);
    EXPECT_XY_NEAR(x2.intersect(diagonal), 2, 2);
    EXPECT_FALSE(x2.intersect(CLine2D(CPoint2D(3, 0), CPoint2D(3, 1), false)).exists());
}

TEST(Line2D, SegmentsIntersectOnlyWithinBoth) {
    const CLine2D a(CPoint2D(0, 0), CPoint2D(1, 0), true), b(CPoint2D(2, -1), CPoint2D(2, 1), true);
    EXPECT_XY_NEAR(a.intersect(b), 2, 0);
    EXPECT_FALSE(a.segments_intersect(b));
    const CLine2D c(CPoint2D(0, 0), CPoint2D(2, 2), true), d(CPoint2D(0, 2), CPoint2D(2, 0), true);
    const CPoint2D at = c.intersect(d);
    EXPECT_XY_NEAR(at, 1, 1);
    EXPECT_TRUE(c.is_on(at) && d.is_on(at));
    EXPECT_TRUE(c.segments_intersect(d));
    CLine2D infinite(d);
    infinite.set_segment(false);
    EXPECT_FALSE(c.segments_intersect(infinite));
}

TEST(Line2D, IsOnHasNoToleranceOnTheExtent) {
    const CLine2D flat(CPoint2D(0, 0), CPoint2D(1, 0), true);
    EXPECT_FALSE(flat.is_on(CPoint2D(1 + 1e-7, 0)));
    EXPECT_FALSE(flat.is_on(CPoint2D(0.5, 1e-7)));  // y leaves the zero-height extent
    EXPECT_TRUE(flat.is_collinear(CPoint2D(1 + 1e-7, 0)));
    CLine2D infinite(flat);
    infinite.set_segment(false);
    EXPECT_TRUE(infinite.is_on(CPoint2D(1 + 1e-7, 0)));
    EXPECT_TRUE(CLine2D(CPoint2D(0, 0), CPoint2D(1, 1), true).is_on(CPoint2D(0.5, 0.5 + 1e-7)));
    EXPECT_TRUE(flat.is_on(CPoint2D(1, 0)));
}

TEST(Line2D, CollinearityIsAnAreaTest) {
    EXPECT_TRUE(CLine2D(CPoint2D(0, 0), CPoint2D(1, 0), true).is_collinear(CPoint2D(0.5, 2e-6)));
    EXPECT_FALSE(
        CLine2D(CPoint2D(0, 0), CPoint2D(1000, 0), true).is_collinear(CPoint2D(500, 2e-8)));
}

TEST(Line2D, IsOnLeftCountsTheLineAndItsFirstPoint) {
    const CLine2D l(CPoint2D(0, 0), CPoint2D(1, 0), true);
    struct Case {
        CPoint2D p;
        bool left;
    } cases[] = {{{0.5, 1}, true}, {{0.5, -1}, false}, {{2, 0}, true},
                 {{-1, 0}, true},  {{0, 0}, true},     {{-3, -1e-3}, false}};
    for (const auto& c : cases) EXPECT_EQ(l.is_on_left(c.p), c.left) << c.p.x << "," << c.p.y;
}

TEST(Line2D, SignedDistanceAndPoints) {
    const CLine2D l(CPoint2D(0, 0), CPoint2D(2, 0), true);
    EXPECT_DOUBLE_EQ(l.distance_to(CPoint2D(1, 3)), 3.0);
    EXPECT_DOUBLE_EQ(CPoint2D(1, -3).distance_to(l), -3.0);
    const CLine2D d(CPoint2D(0, 0), CPoint2D(4, 4), true);
    EXPECT_XY_NEAR(d.point_at(0.25), 1, 1);
    EXPECT_XY_NEAR(d.point_at(2), 8, 8);
    EXPECT_XY_NEAR(d.midpoint(), 2, 2);
    const CLine2D e(CPoint2D(0, 0), CPoint2D(3, 4), true);
    EXPECT_XY_NEAR(e.point_at_offset(10), 6, 8);
    EXPECT_XY_NEAR(e.point_at_offset(5e-6), 0, 0);
    EXPECT_FALSE(e.ref_point(0).exists());
    EXPECT_FALSE(e.point(3).exists());
}

TEST(Line2D, AngleTellsSegmentSensesApart) {
    EXPECT_EQ(CLine2D(CPoint2D(0, 1), CPoint2D(0, 0), false).angle(), DEG90);
    EXPECT_EQ(CLine2D(CPoint2D(0, 1), CPoint2D(0, 0), true).angle(), -DEG90);
    EXPECT_EQ(CLine2D(CPoint2D(0, 0), CPoint2D(0, 1), true).angle(), DEG90);
    EXPECT_EQ(CLine2D(CPoint2D(1, 0), CPoint2D(0, 1e-6), true).angle(), DEG180);
    EXPECT_NE(CLine2D(CPoint2D(1, 0), CPoint2D(0, 1e-6), false).angle(), DEG180);
    EXPECT_DOUBLE_EQ(CLine2D(CPoint2D(0, 0), CPoint2D(-1, -1), true).angle(), -3 * M_PI / 4);
    const CLine2D up(CPoint2D(0, 0), CPoint2D(0, 1), true),
        right(CPoint2D(0, 0), CPoint2D(1, 0), true);
    EXPECT_EQ(right.angle_between(up), -DEG90);
}

TEST(Line2D, PerpendicularAndExtend) {
    const CLine2D l(CPoint2D(1, 1), CPoint2D(4, 5), true);
    const CLine2D p = l.perpendicular();
    EXPECT_XY_NEAR(p.point(2), -3, 4);
    EXPECT_DOUBLE_EQ(p.length(), 5.0);
    EXPECT_TRUE(p.is_perpendicular(l));
    CLine2D e(l);
    e.extend_to_length(10);
    EXPECT_XY_NEAR(e.point(2), 7, 9);
    e.extend_to_length(-1);
    EXPECT_DOUBLE_EQ(e.length(), 10.0);
}

TEST(Line2D, ParallelAndPerpendicularCompareSlopes) {
    const CLine2D v1(CPoint2D(0, 0), CPoint2D(0, 1), false),
        v2(CPoint2D(5, 0), CPoint2D(5, -1), false);
    const CLine2D h(CPoint2D(0, 0), CPoint2D(1, 0), false);
    const CLine2D nearlyVertical(CPoint2D(0, 0), CPoint2D(1e-4, 100), false);
    EXPECT_TRUE(v1.is_parallel(v2, TOLERANCE));
    EXPECT_FALSE(v1.is_parallel(nearlyVertical, 1.0));
    EXPECT_TRUE(v1.is_perpendicular(h));
    EXPECT_TRUE(h.is_perpendicular(v1));
    EXPECT_FALSE(v1.is_perpendicular(v2));
    EXPECT_TRUE(
        CLine2D(CPoint2D(0, 0), 2.0, false).is_perpendicular(CLine2D(CPoint2D(0, 0), -0.5, false)));
}

TEST(Line2D, NormalFormFollowsTheSignedRadical) {
    const CLine2D l(2.0, 3.0, false);  // y = 2 x + 3: R = +sqrt(5)
    const double r = std::sqrt(5.0);
    EXPECT_DOUBLE_EQ(l.general_A(), 1 / r);
    EXPECT_DOUBLE_EQ(l.general_B(), -2 / r);
    EXPECT_DOUBLE_EQ(l.general_C(), -3 / r);
    EXPECT_DOUBLE_EQ(l.intercept_a(), 3.0);
    EXPECT_DOUBLE_EQ(l.intercept_b(), -1.5);
    // Through the origin the sign follows the slope: R = -sqrt(5) for slope 2.
    const CLine2D o(CPoint2D(0, 0), CPoint2D(1, 2), false);
    EXPECT_DOUBLE_EQ(o.general_A(), -1 / r);
    // A horizontal line has no B to divide by.
    EXPECT_EQ(CLine2D(CPoint2D(0, 1), CPoint2D(1, 1), false).intercept_b(), kUndef);
}

TEST(Line2D, EqualityKeepsDirection) {
    const CLine2D a(CPoint2D(0, 0), CPoint2D(1, 2), true);
    CLine2D b(a);
    EXPECT_TRUE(a == b);
    b.reverse();
    EXPECT_TRUE(a != b);
    b.reverse();
    b.set_segment(false);
    EXPECT_TRUE(a != b);
}

TEST(Line2D, MovesRecalculate) {
    CLine2D l(CPoint2D(0, 0), CPoint2D(1, 0), true);
    l.move_point(2, CPoint2D(0, 3));
    EXPECT_TRUE(l.is_vertical());
    EXPECT_DOUBLE_EQ(l.length(), 3.0);
    l.move_point(5, CPoint2D(9, 9));
    EXPECT_XY_NEAR(l.point(2), 0, 3);
    l.move_by(2, 0);
    EXPECT_DOUBLE_EQ(l.intercept(), 2.0);
    l.rotate(DEG90);
    EXPECT_TRUE(l.is_horizontal());
    EXPECT_DOUBLE_EQ(l.intercept(), 2.0);
}

TEST(Point2D, PolarAngleIsMeasuredFromTheYAxis) {
    EXPECT_EQ(CPoint2D(0.0, 1.0).polar_theta(), 0.0);
    EXPECT_EQ(CPoint2D(1.0, 0.0).polar_theta(), HALF_PI);
    EXPECT_DOUBLE_EQ(CPoint2D(3, 4).polar_r(), 5.0);
}

TEST(Point2D, RotateLeavesPointsAtTheOriginAlone) {
    CPoint2D tiny(5e-6, 5e-6);
    tiny.rotate(1.0);
    EXPECT_EQ(tiny.x, 5e-6);
    EXPECT_EQ(tiny.y, 5e-6);
    CPoint2D small(2e-5, 0);
    small.rotate(DEG90);
    EXPECT_NEAR(small.x, 0, 1e-15);
    EXPECT_NEAR(small.y, 2e-5, 1e-15);
    CPoint2D p(2, 1);
    p.rotate_about(CPoint2D(1, 1), M_PI);
    EXPECT_XY_NEAR(p, 0, 1);
}

TEST(Point2D, EqualityAndExistence) {
    EXPECT_TRUE(CPoint2D(1e5, 0) == CPoint2D(1e5 + 0.5, 0));
    EXPECT_TRUE(CPoint2D(0, 0) != CPoint2D(0, 1e-5));
    EXPECT_FALSE(undefined_point.exists());
    EXPECT_TRUE(CPoint2D(-9.9e199, 0).exists());
    EXPECT_XY_NEAR(CPoint2D(1, 2) - CPoint2D(3, 5), -2, -3);
}

TEST(Point2D, WriteAndReadTwoDoubles) {
    FILE* f = std::tmpfile();
    ASSERT_NE(f, nullptr);
    ASSERT_TRUE(CPoint2D(0.1, -7).write(f));
    EXPECT_EQ(std::ftell(f), 16);
    std::fseek(f, 0, SEEK_SET);
    CPoint2D p;
    EXPECT_TRUE(p.read(f));
    EXPECT_EQ(p.x, 0.1);
    EXPECT_EQ(p.y, -7.0);
    std::fseek(f, 8, SEEK_SET);  // only y is left: x changes, the read fails
    EXPECT_FALSE(p.read(f));
    EXPECT_EQ(p.x, -7.0);
    std::fclose(f);
}

TEST(Vector2D, ATinyVectorHasMagnitudeOne) {
    EXPECT_EQ(CVector2D(0, 0).Magnitude(), 1.0);
    EXPECT_XY_NEAR(CVector2D(0, 0).GetNormalized(), 0, 0);
    EXPECT_XY_NEAR(CVector2D(3e-6, 0).GetNormalized(), 3e-6, 0);
    EXPECT_XY_NEAR(CVector2D(3, 4).GetNormalized(), 0.6, 0.8);
    EXPECT_XY_NEAR(CVector2D(0, 2).GetPerpendicular(), 1, 0);  // clockwise
    EXPECT_XY_NEAR(CVector2D(1, 0).GetRotated(DEG90), 0, 1);
    EXPECT_XY_NEAR(CVector2D(2, 3) * CVector2D(4, 5), 8, 15);
    EXPECT_EQ(CVector2D(1, 2).Cross(CVector2D(3, 4)), -2.0);
    EXPECT_XY_NEAR(CVector2D(CPoint2D(1, 1), CPoint2D(4, 5)), 3, 4);
}

}  // namespace
