#include "zevcore/mesh/paver/Geometry.h"

#include <gtest/gtest.h>

#include <cmath>

using Paver::CLine2D;
using Paver::CPoint2D;
using Paver::CVector2D;

TEST(PaverPoint, MagnitudeIsTheSquaredLength) {
    EXPECT_EQ(CPoint2D(3, 4).magnitude(), 25.0);
    EXPECT_EQ(CPoint2D(0, 0).dist(CPoint2D(3, 4)), 5.0);
}

TEST(PaverPoint, SnapsOnlyWithinTheToleranceOnBothAxes) {
    CPoint2D p(1, 1);
    EXPECT_FALSE(p.SnapToClosest(CPoint2D(1.05, 1.0), 0.01));
    EXPECT_EQ(p, CPoint2D(1, 1));
    EXPECT_TRUE(p.SnapToClosest(CPoint2D(1.005, 0.995), 0.01));
    EXPECT_EQ(p, CPoint2D(1.005, 0.995));
}

TEST(PaverVector, ComparesWithTheKernelTolerance) {
    EXPECT_TRUE(CVector2D(1.0f, 1.0f) == CVector2D(1.000001f, 1.0f));
    EXPECT_TRUE(CVector2D(1.0f, 1.0f) != CVector2D(1.001f, 1.0f));
}

TEST(PaverVector, PerpendicularIsTheClockwiseQuarterTurn) {
    CVector2D p = CVector2D(2.0f, 0.0f).GetPerpendicular();
    EXPECT_EQ(p.x, 0.0f);
    EXPECT_EQ(p.y, -1.0f);
}

TEST(PaverVector, RotatesCounterClockwise) {
    CVector2D v(1.0f, 0.0f);
    v.RotateBy(static_cast<float>(M_PI / 2));
    EXPECT_NEAR(v.x, 0.0f, 1e-7);
    EXPECT_NEAR(v.y, 1.0f, 1e-7);
}

TEST(PaverVector, ZeroVectorNormalizesToNaN) {
    CVector2D n = CVector2D(0.0f, 0.0f).GetNormalized();
    EXPECT_TRUE(std::isnan(n.x) && std::isnan(n.y));
}

TEST(PaverVector, DeltaThetaMeasuresClockwiseFromTheYAxis) {
    // (0, 1) lies at 0 and (1, 0) at a quarter turn, so the forward turn is pi/2 and the
    // reverse one comes out as 2*pi + pi/2, not 2*pi - pi/2.
    EXPECT_FLOAT_EQ(CVector2D(0, 1).DeltaTheta(CVector2D(1, 0)), static_cast<float>(M_PI / 2));
    EXPECT_FLOAT_EQ(CVector2D(1, 0).DeltaTheta(CVector2D(0, 1)), static_cast<float>(2.5 * M_PI));
}

TEST(PaverLine, DefaultCopyAndAssignmentTreatTheDirectionDifferently) {
    CLine2D line;
    EXPECT_EQ(line.x, 0.0f);
    EXPECT_EQ(line.maxElementSize, 1000000.0);
    CLine2D copy(line);
    EXPECT_EQ(copy.x, 1.0f);
    EXPECT_EQ(copy.y, 0.0f);
    CLine2D assigned(CPoint2D(5, 5), CPoint2D(6, 6));
    assigned = line;
    EXPECT_EQ(assigned.x, 0.0f);
    EXPECT_EQ(assigned.end, CPoint2D(1, 0));
}

TEST(PaverLine, InterpolationIsExactAtTheEnds) {
    CLine2D line(CPoint2D(0.1, 0.2), CPoint2D(0.7, 1.3));
    EXPECT_EQ(line.GetInterpolatedPoint2D(1.0f), line.end);
    EXPECT_EQ(line.GetInterpolatedPoint2D(2.0f), line.end);
    EXPECT_EQ(line.GetInterpolatedPoint2D(0.0f), line.start);
    EXPECT_EQ(line.GetInterpolatedPoint2D(-1.0f), line.start);
    CPoint2D mid = line.GetMidpoint();
    EXPECT_NEAR(mid.x, 0.4, 1e-7);
    EXPECT_NEAR(mid.y, 0.75, 1e-7);
}

TEST(PaverLine, ZeroLengthLine) {
    CLine2D line(CPoint2D(2, 3), CPoint2D(2, 3));
    EXPECT_EQ(line.GetMidpoint(), CPoint2D(2, 3));
    EXPECT_FALSE(line.IsPointOnLine(CPoint2D(2, 3), 1.0f));
}

TEST(PaverLine, SideTestCountsTheRightHandSideAndPointsAbeamOfStart) {
    CLine2D line(CPoint2D(0, 0), CPoint2D(1, 0));
    EXPECT_TRUE(line.IsPointLeftOfLine(CPoint2D(0.5, -1)));
    EXPECT_FALSE(line.IsPointLeftOfLine(CPoint2D(0.5, 1)));
    EXPECT_FALSE(line.IsPointLeftOfLine(CPoint2D(2, 0)));
    EXPECT_TRUE(line.IsPointLeftOfLine(CPoint2D(0, 5)));
    EXPECT_TRUE(line.IsPointLeftOfLine(CPoint2D(0, -5)));
}

TEST(PaverLine, PointOnLineExcludesTheEnds) {
    CLine2D line(CPoint2D(0, 0), CPoint2D(2, 0));
    EXPECT_TRUE(line.IsPointOnLine(CPoint2D(1, 0.0005), 0.001f));
    EXPECT_FALSE(line.IsPointOnLine(CPoint2D(1, 0.002), 0.001f));
    EXPECT_FALSE(line.IsPointOnLine(CPoint2D(0, 0), 0.001f));
    EXPECT_FALSE(line.IsPointOnLine(CPoint2D(2, 0), 0.001f));
    EXPECT_FALSE(line.IsPointOnLine(CPoint2D(3, 0), 0.001f));
}

TEST(PaverLine, PointTypeTestsStartFirstWithASquareTolerance) {
    CLine2D tiny(CPoint2D(0, 0), CPoint2D(0.0001, 0));
    EXPECT_EQ(tiny.PointType(CPoint2D(0.00005, 0), 0.001f), Paver::eAtStart);
    CLine2D line(CPoint2D(0, 0), CPoint2D(1, 1));
    EXPECT_EQ(line.PointType(CPoint2D(0.9995, 1.0009), 0.001f), Paver::eAtEnd);
    EXPECT_EQ(line.PointType(CPoint2D(0.5, 0.5), 0.001f), Paver::eNotAtEnds);
    EXPECT_EQ(line.PointType(CPoint2D(0.0011, 0), 0.001f), Paver::eNotAtEnds);
}

TEST(PaverLine, SegmentIntersection) {
    struct Case {
        CLine2D a, b;
        bool expected;
    } cases[] = {
        {{{0, 0}, {2, 2}}, {{0, 2}, {2, 0}}, true},    // crossing
        {{{0, 0}, {2, 0}}, {{1, 0}, {3, 0}}, false},   // collinear overlap never intersects
        {{{0, 0}, {1, 0}}, {{1, 0}, {1, 1}}, true},    // shared end point
        {{{0, 0}, {1, 0}}, {{0, 1}, {1, 1}}, false},   // parallel
        {{{0, 0}, {1, 0}}, {{2, -1}, {2, 1}}, false},  // would cross beyond the end
    };
    for (const Case& c : cases) EXPECT_EQ(c.a.Intersects(c.b), c.expected);
}

TEST(PaverLine, IntersectionOfAVerticalLineIsApproximate) {
    CLine2D vertical(CPoint2D(0.3, -1), CPoint2D(0.3, 1));
    CLine2D level(CPoint2D(0, 0), CPoint2D(2, 0));
    CPoint2D p;
    EXPECT_TRUE(vertical.GetIntersection(level, p));
    EXPECT_NEAR(p.x, 0.3, 1e-6);
    EXPECT_NE(p.x, 0.3);
    CLine2D a(CPoint2D(0, 0), CPoint2D(2, 2)), b(CPoint2D(0, 2), CPoint2D(2, 0));
    EXPECT_TRUE(a.GetIntersection(b, p));
    EXPECT_EQ(p, CPoint2D(1, 1));
}

TEST(PaverLine, RayIntersectDividesOnlyTheStart) {
    // Lines y = x and y = 2 - x meet at X = 1.
    CLine2D other(CPoint2D(2, 0), CPoint2D(3, -1));
    // X - 2/1 = -1 and (1 - 2)/1 = -1: both parameters non-positive.
    EXPECT_TRUE(CLine2D(CPoint2D(2, 2), CPoint2D(3, 3)).RayIntersect(other));
    // X - 1/4 = 0.75 > 0, where (X - 1)/4 would have been 0.
    EXPECT_FALSE(CLine2D(CPoint2D(1, 1), CPoint2D(5, 5)).RayIntersect(other));
    // Parallel lines give a NaN or infinite crossing: no intersection.
    EXPECT_FALSE(CLine2D(CPoint2D(0, 0), CPoint2D(1, 1))
                     .RayIntersect(CLine2D(CPoint2D(0, 1), CPoint2D(1, 2))));
}

TEST(PaverLine, DistancesFromAPoint) {
    CLine2D line(CPoint2D(0, 0), CPoint2D(1, 0));
    CPoint2D closest;
    EXPECT_FLOAT_EQ(line.MinimizedDistance(CPoint2D(0.5, 2), closest), 2.0f);
    EXPECT_EQ(closest, CPoint2D(0.5, 0));
    EXPECT_FLOAT_EQ(line.MinimizedDistance(CPoint2D(3, 0), closest), 2.0f);
    EXPECT_EQ(closest, CPoint2D(1, 0));
    EXPECT_FLOAT_EQ(line.MinimizedDistance(CPoint2D(-3, 4), closest), 5.0f);
    EXPECT_EQ(closest, CPoint2D(0, 0));
}

TEST(PaverLine, CircleTouchingTheSegmentCounts) {
    CLine2D line(CPoint2D(0, 0), CPoint2D(1, 0));
    CPoint2D closest;
    EXPECT_TRUE(line.IntersectCircle(CPoint2D(0.5, 1), 1.0f, closest));
    EXPECT_EQ(closest, CPoint2D(0.5, 0));
    EXPECT_FALSE(line.IntersectCircle(CPoint2D(0.5, 1), 0.99f, closest));
    EXPECT_TRUE(line.IntersectCircle(CPoint2D(2, 0), 1.0f, closest));
    EXPECT_EQ(closest, CPoint2D(1, 0));
}

TEST(PaverLine, DistanceBetweenSegments) {
    CLine2D base(CPoint2D(0, 0), CPoint2D(1, 0));
    EXPECT_NEAR(base.JL_Distance_to(CLine2D(CPoint2D(0, 1), CPoint2D(1, 1))), 1.0, 1e-6);
    EXPECT_NEAR(base.JL_Distance_to(CLine2D(CPoint2D(0.5, -1), CPoint2D(0.5, 1))), 0.0, 1e-6);
    EXPECT_NEAR(base.JL_Distance_to(CLine2D(CPoint2D(2, 1), CPoint2D(3, 5))), std::sqrt(2.0), 1e-6);
    EXPECT_NEAR(base.JL_Distance_to(CLine2D(CPoint2D(3, 0), CPoint2D(4, 0))), 2.0, 1e-6);
}

TEST(PaverLine, SimilarLinesInEitherDirection) {
    CLine2D a(CPoint2D(0, 0), CPoint2D(1, 1));
    EXPECT_TRUE(a.LinesAreVerySimilar(CLine2D(CPoint2D(1, 1.0001), CPoint2D(0, 0)), 0.001f));
    EXPECT_FALSE(a.LinesAreVerySimilar(CLine2D(CPoint2D(0, 0), CPoint2D(1, 1.01)), 0.001f));
}

TEST(PaverLine, SlopeAndIntercept) {
    CLine2D line(CPoint2D(1, 3), CPoint2D(3, 7));
    EXPECT_EQ(line.m(), 2.0f);
    EXPECT_EQ(line.b(), 1.0f);
}
