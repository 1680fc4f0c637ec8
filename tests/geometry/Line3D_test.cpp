#include "zevcore/geometry/Line3D.h"

#include <gtest/gtest.h>

#include <cmath>

#include "GeometryTestUtil.h"

namespace {

const CLine3D kAlongX(0, 0, 0, 10, 0, 0);

TEST(Line3D, IsOnSegmentAllowsTolBeyondEitherEnd) {
    struct Case {
        CPoint3D p;
        bool on;
    } cases[] = {
        {{10.0009, 0, 0}, true},  {{10.0011, 0, 0}, false}, {{-0.0009, 0, 0}, true},
        {{-0.0011, 0, 0}, false}, {{5, 0.0009, 0}, true},   {{5, 0, -0.0011}, false},
        {{0, 0, 0}, true},        {{10, 0, 0}, true},
    };
    for (const auto& c : cases) EXPECT_EQ(kAlongX.is_on_segment(c.p, 1e-3), c.on) << c.p.x;
    EXPECT_TRUE(kAlongX.is_on_line(CPoint3D(50, 1e-7, 0), 1e-6));
    EXPECT_FALSE(kAlongX.is_on_line(CPoint3D(50, 2e-6, 0), 1e-6));
}

TEST(Line3D, ZeroLengthLineMeasuresFromItsPoint) {
    const CLine3D dot(1, 1, 1, 1, 1, 1);
    EXPECT_DOUBLE_EQ(dot.distance_to(CPoint3D(1, 4, 5), TOLERANCE), 5.0);
    EXPECT_TRUE(dot.is_on_segment(CPoint3D(1, 1, 1), 1e-6));
    EXPECT_FALSE(dot.is_on_segment(CPoint3D(1, 1, 1.1), 1e-6));
    EXPECT_FALSE(dot.nearest_point(kAlongX, TOLERANCE).exists());
    EXPECT_FALSE(kAlongX.nearest_point(dot, TOLERANCE).exists());
}

TEST(Line3D, CachedLengthAndFractions) {
    CLine3D l(0, 0, 0, 3, 4, 0);
    l.length(10, TOLERANCE);  // moves p2, keeps the cached length
    EXPECT_XYZ_NEAR(l.p2, 6, 8, 0);
    EXPECT_DOUBLE_EQ(l.length(), 5.0);
    const CLine3D two(0, 0, 0, 2, 0, 0);
    EXPECT_DOUBLE_EQ(two.offset(CPoint3D(-1, 0, 0), true), -0.5);  // behind p1 only
    EXPECT_DOUBLE_EQ(two.offset(CPoint3D(3, 0, 0), true), 1.5);
    CLine3D e(0, 0, 0, 1, 0, 0);
    e.expand(1.0);  // only factors above 1 count
    EXPECT_XYZ_NEAR(e.p1, 0, 0, 0);
    e.expand(2.0);
    EXPECT_XYZ_NEAR(e.p1, -2, 0, 0);
    EXPECT_XYZ_NEAR(e.p2, 3, 0, 0);
    EXPECT_DOUBLE_EQ(e.length(), 5.0);
}

TEST(Line3D, ParallelTestGrowsWithTheLengths) {
    EXPECT_TRUE(CLine3D(0, 0, 0, 1, 0, 0).is_parallel(CLine3D(0, 1, 0, 1, 1 + 1e-6, 0), 1e-5));
    EXPECT_FALSE(CLine3D(0, 0, 0, 100, 0, 0).is_parallel(CLine3D(0, 1, 0, 100, 1 + 1e-4, 0), 1e-5));
    EXPECT_TRUE(kAlongX.is_parallel(CLine3D(0, 0, 0, -1, 0, 0), 1e-5));
    EXPECT_FALSE(kAlongX.is_coplanar(CLine3D(0, 5, 0, 3, 7, 1), 99));
}

TEST(Line3D, DistanceBetweenLinesIsSigned) {
    const CLine3D up(0, 0, 3, 0, 1, 3), down(0, 1, 3, 0, 0, 3);
    EXPECT_DOUBLE_EQ(kAlongX.distance_to(up, TOLERANCE), 3.0);
    EXPECT_DOUBLE_EQ(kAlongX.distance_to(down, TOLERANCE), -3.0);
    EXPECT_EQ(kAlongX.distance_to(CLine3D(0, 2, 0, 5, 2, 0), TOLERANCE), 0.0);
}

TEST(Line3D, NearestPointOnTheInfiniteLine) {
    EXPECT_XYZ_NEAR(kAlongX.nearest_point(CLine3D(25, -1, 2, 25, 1, 2), TOLERANCE), 25, 0, 0);
    EXPECT_FALSE(kAlongX.nearest_point(CLine3D(0, 1, 0, 1, 1, 0), TOLERANCE).exists());
}

// Two sloped lines through (1, 0, 1), the second moved by `gap` along their common normal, so
// that each segment's box covers the averaged crossing.
CLine3D shifted(double gap) {
    const double s = gap / std::sqrt(3.0);
    return {1 - s, -1 - s, s, 1 - s, 1 - s, 2 + s};
}

TEST(Line3D, LinesCrossAllowsAGapOfATenth) {
    const CLine3D l(0, 0, 0, 2, 0, 2);
    CPoint3D at(7, 7, 7);
    ASSERT_TRUE(l.lines_cross(shifted(0.05), at));
    const double s = 0.05 / std::sqrt(3.0);
    EXPECT_XYZ_NEAR(at, 1 - s, 0, 1 + s / 2);
    at = CPoint3D(7, 7, 7);
    EXPECT_FALSE(l.lines_cross(shifted(0.2), at));
    EXPECT_XYZ_NEAR(at, 7, 7, 7);
    EXPECT_FALSE(kAlongX.lines_cross(CLine3D(0, 1, 0, 10, 1, 0), at));
}

TEST(Line3D, LinesCrossAllowsAThousandthPastTheEnds) {
    const CLine3D l(0, 0, 0, 1, 0, 0);
    CPoint3D at;
    ASSERT_TRUE(l.lines_cross(CLine3D(1.0005, -1, 0, 1.0005, 1, 0), at));
    EXPECT_XYZ_NEAR(at, 1.0005, 0, 0);
    at = CPoint3D(7, 7, 7);
    EXPECT_FALSE(l.lines_cross(CLine3D(1.002, -1, 0, 1.002, 1, 0), at));
    EXPECT_XYZ_NEAR(at, 7, 7, 7);
    EXPECT_FALSE(l.lines_cross(CLine3D(0.5, 1.002, 0, 0.5, 2, 0), at));
}

TEST(Line3D, IntersectionCountsTouchingEndsOnlyWhenAsked) {
    const CLine3D a(0, 0, 0, 1, 0, 0), b(1, 0, 0, 1, 1, 0);
    CPoint3D at(7, 7, 7);
    EXPECT_FALSE(a.intersection(b, at, false));
    EXPECT_XYZ_NEAR(at, 0, 0, 0);
    EXPECT_FALSE(a.JL_lines_cross(b, false));
    EXPECT_TRUE(a.intersection(b, at, true));
    EXPECT_XYZ_NEAR(at, 1, 0, 0);
    EXPECT_TRUE(a.JL_lines_cross(b, true));
    // Beyond the ends the lines meet, but not the segments.
    EXPECT_FALSE(a.intersection(CLine3D(2, -1, 0, 2, 1, 0), at, true));
}

TEST(Line3D, IntersectionOfCrossingLinesLiesOnBoth) {
    const CLine3D a(0, 0, 0, 2, 2, 2), b(0, 2, 1, 2, 0, 1);
    CPoint3D at;
    ASSERT_TRUE(a.intersection(b, at, false));
    EXPECT_XYZ_NEAR(at, 1, 1, 1);
    EXPECT_TRUE(a.is_on_segment(at, 1e-9));
    EXPECT_TRUE(b.is_on_segment(at, 1e-9));
    // Skew by a thousandth: the closest points don't meet.
    EXPECT_FALSE(a.intersection(CLine3D(0, 2, 1.001, 2, 0, 1.001), at, true));
}

TEST(Line3D, IntersectionOfCollinearSegmentsStartsFromTheFirstPoint) {
    const CLine3D a(0, 0, 0, 2, 0, 0);
    CPoint3D at(7, 7, 7);
    EXPECT_TRUE(a.intersection(CLine3D(-1, 0, 0, 1, 0, 0), at, true));
    EXPECT_XYZ_NEAR(at, 0, 0, 0);
    EXPECT_FALSE(a.intersection(CLine3D(1, 0, 0, 3, 0, 0), at, true));
    EXPECT_FALSE(a.intersection(CLine3D(5, 0, 0, 5, 0, 0), at, true));  // no length
    EXPECT_FALSE(a.intersection(CLine3D(1, -1, 0, 1, 1, 0), 0.5).exists());
}

TEST(Line3D, SegmentDistanceClampsToTheEnds) {
    const CLine3D a(0, 0, 0, 1, 0, 0);
    EXPECT_DOUBLE_EQ(a.JL_Distance_to(CLine3D(2, 1, 0, 3, 1, 0)), std::sqrt(2.0));
    EXPECT_DOUBLE_EQ(CLine3D(0, 0, 0, 2, 0, 0).JL_Distance_to(CLine3D(1, -1, 3, 1, 1, 3)), 3.0);
    EXPECT_DOUBLE_EQ(a.JL_Distance_to(CLine3D(0, 2, 0, 1, 2, 0)), 2.0);
    EXPECT_DOUBLE_EQ(a.JL_Distance_to(CLine3D(0.5, 1, 0, 0.5, 1, 0)), 1.0);
    EXPECT_DOUBLE_EQ(a.JL_Distance_to(CLine3D(-3, -4, 0, -3, -4, 0)), 5.0);
    EXPECT_EQ(a.JL_Distance_to(CLine3D(0.5, -1, 0, 0.5, 1, 0)), 0.0);
}

}  // namespace
