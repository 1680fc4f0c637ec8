// Extended mode: the outline divided by a size that follows the region, and the quadrilateral
// mesh made on it.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "Regions.h"
#include "TestModel.h"
#include "zevcore/mesh/paver/Resample.h"

namespace paver_test {
namespace {

using Paver::extended::sampleLoops;
using Paver::extended::XY;

Loop polygon(double cx, double cy, double r, int sides, bool clockwise) {
    Loop loop;
    for (int k = 0; k < sides; ++k) {
        const double a = 2.0 * M_PI * (clockwise ? sides - k : k) / sides;
        loop.push_back({cx + r * std::cos(a), cy + r * std::sin(a)});
    }
    return loop;
}

Loop rectangle(double x0, double y0, double x1, double y1) {
    return {{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}};
}

std::vector<XY> xy(const Loop& loop) {
    std::vector<XY> out;
    for (const auto& p : loop) out.push_back({p.x, p.y});
    return out;
}

double side(const std::vector<XY>& nodes, std::size_t k) {
    const XY a = nodes[k], b = nodes[(k + 1) % nodes.size()];
    return std::hypot(b.x - a.x, b.y - a.y);
}

// The distance from p to the nearest side of the loops.
double distanceToOutline(const std::vector<Loop>& loops, double x, double y) {
    double best = INFINITY;
    for (const Loop& loop : loops)
        for (std::size_t i = 0; i < loop.size(); ++i) {
            const auto& a = loop[i];
            const auto& b = loop[(i + 1) % loop.size()];
            const double dx = b.x - a.x, dy = b.y - a.y;
            const double t =
                std::clamp(((x - a.x) * dx + (y - a.y) * dy) / (dx * dx + dy * dy), 0.0, 1.0);
            best = std::min(best, std::hypot(a.x + t * dx - x, a.y + t * dy - y));
        }
    return best;
}

double loopArea(const std::vector<Paver::CPoint2D>& loop) {
    double twice = 0.0;
    for (std::size_t i = 0; i < loop.size(); ++i) {
        const auto& a = loop[i];
        const auto& b = loop[(i + 1) % loop.size()];
        twice += a.x * b.y - b.x * a.y;
    }
    return 0.5 * twice;
}

// The corner of a-b-c at b, in degrees, counter-clockwise from the side to c to the side to a.
double corner(const CPoint2D& a, const CPoint2D& b, const CPoint2D& c) {
    const double ux = c.x - b.x, uy = c.y - b.y, vx = a.x - b.x, vy = a.y - b.y;
    return std::atan2(ux * vy - uy * vx, ux * vx + uy * vy) * 180.0 / M_PI;
}

double medianSide(const Paver::CMeshModel& model) {
    std::vector<double> sides;
    for (const Quad* q : model.quads)
        for (int i = 0; i < 4; ++i)
            sides.push_back(q->corners[i]->point.dist(q->corners[(i + 1) % 4]->point));
    std::nth_element(sides.begin(), sides.begin() + static_cast<long>(sides.size() / 2),
                     sides.end());
    return sides[sides.size() / 2];
}

// ---------------------------------------------------------------------------------------------
// Dividing the outline

TEST(ExtendedOutline, StraightSidesAreDividedEvenlyAndCornersStay) {
    const auto loops = sampleLoops({xy(rectangle(0, 0, 10, 4))}, {}, 1.0);
    ASSERT_EQ(loops.size(), 1u);
    const auto& nodes = loops[0].nodes;
    EXPECT_EQ(nodes.size(), 28u);
    for (std::size_t k = 0; k < nodes.size(); ++k) EXPECT_NEAR(side(nodes, k), 1.0, 1e-9);
    int kept = 0;
    for (char c : loops[0].kept) kept += c;
    EXPECT_EQ(kept, 4);
    // Each middle halves its side on a straight line.
    for (std::size_t k = 0; k < nodes.size(); ++k) {
        const XY a = nodes[k], b = nodes[(k + 1) % nodes.size()], m = loops[0].middles[k];
        EXPECT_NEAR(m.x, 0.5 * (a.x + b.x), 1e-9);
        EXPECT_NEAR(m.y, 0.5 * (a.y + b.y), 1e-9);
    }
}

// A hole drawn as a 36-gon of radius 11 in a plate meshed at 15 (spacing 30): divided as a
// circle, by the span a side may take of it, not by its 1.9 long sides.
TEST(ExtendedOutline, APolylineDrawnForACurveIsDividedAsACurve) {
    const Loop hole = polygon(40, 40, 11, 36, true);
    const auto loops = sampleLoops({xy(rectangle(0, 0, 400, 300)), xy(hole)}, {}, 30.0);
    ASSERT_EQ(loops.size(), 2u);
    const auto& nodes = loops[1].nodes;
    EXPECT_GE(nodes.size(), 6u);
    EXPECT_LE(nodes.size(), 8u);
    for (std::size_t k = 0; k < nodes.size(); ++k) {
        EXPECT_NEAR(std::hypot(nodes[k].x - 40, nodes[k].y - 40), 11.0, 0.1);
        EXPECT_NEAR(std::hypot(loops[1].middles[k].x - 40, loops[1].middles[k].y - 40), 11.0, 0.1);
    }
    // The hole stays clockwise, the region on the left of its sides.
    double twice = 0.0;
    for (std::size_t k = 0; k < nodes.size(); ++k)
        twice += nodes[k].x * nodes[(k + 1) % nodes.size()].y -
                 nodes[(k + 1) % nodes.size()].x * nodes[k].y;
    EXPECT_LT(twice, 0.0);
}

// A short side between two real corners is one side, and the sides beside it grow by about a
// quarter each.
TEST(ExtendedOutline, AShortSideBetweenCornersGradesItsNeighbours) {
    const Loop notch = {{0, 0}, {100, 0}, {100, 60}, {50.05, 60}, {50, 60.3}, {0, 60}};
    const auto loops = sampleLoops({xy(notch)}, {}, 10.0);
    ASSERT_EQ(loops.size(), 1u);
    const auto& nodes = loops[0].nodes;
    double shortest = INFINITY, worstGrowth = 0.0;
    for (std::size_t k = 0; k < nodes.size(); ++k) {
        const double a = side(nodes, k), b = side(nodes, (k + 1) % nodes.size());
        shortest = std::min(shortest, a);
        worstGrowth = std::max(worstGrowth, std::max(a, b) / std::min(a, b));
    }
    EXPECT_NEAR(shortest, std::hypot(0.05, 0.3), 1e-9);
    EXPECT_LT(worstGrowth, 1.8);
    EXPECT_LT(nodes.size(), 80u);
}

// Across a strip 1 wide, sides are about one and a half times the gap at most (a chain takes
// a whole number of sides, so they come out a little longer than its size).
TEST(ExtendedOutline, ANarrowGapLowersTheSize) {
    const auto loops = sampleLoops({xy(rectangle(0, 0, 100, 1))}, {}, 10.0);
    ASSERT_EQ(loops.size(), 1u);
    for (std::size_t k = 0; k < loops[0].nodes.size(); ++k) EXPECT_LE(side(loops[0].nodes, k), 1.6);
}

TEST(ExtendedOutline, ConstraintPointsStayAndDegenerateLoopsGo) {
    const auto loops =
        sampleLoops({xy(rectangle(0, 0, 10, 10)), {{1, 1}, {2, 2}}}, {{3.3, 0}}, 4.0);
    ASSERT_EQ(loops.size(), 1u);
    bool found = false;
    for (std::size_t k = 0; k < loops[0].nodes.size(); ++k)
        found =
            found || (loops[0].nodes[k].x == 3.3 && loops[0].nodes[k].y == 0.0 && loops[0].kept[k]);
    EXPECT_TRUE(found);
    EXPECT_TRUE(sampleLoops({}, {}, 1.0).empty());
    EXPECT_TRUE(sampleLoops({xy(rectangle(0, 0, 1, 1))}, {}, NAN).empty());
}

// ---------------------------------------------------------------------------------------------
// The mesh

struct Case {
    std::string name;
    std::vector<Loop> loops;
    double size;
    bool gentle;  // no corner of the region below 30 degrees
};

std::vector<Case> extendedCases() {
    std::vector<Case> cases;
    for (unsigned seed = 101; seed <= 124; ++seed)
        cases.push_back(
            {"star" + std::to_string(seed), starRegion(seed).loops, seed % 2 ? 0.35 : 0.2, false});
    cases.push_back({"S4", squareWithRoundHole(), 0.4, true});
    cases.push_back({"S3", {octagonS3()}, 0.1, true});
    std::vector<Loop> plate = {rectangle(0, 0, 400, 300)};
    for (double x : {40.0, 360.0})
        for (double y : {40.0, 260.0}) plate.push_back(polygon(x, y, 11, 36, true));
    plate.push_back({{150, 120}, {150, 180}, {250, 180}, {250, 120}});
    for (double size : {10.0, 25.0, 50.0}) cases.push_back({"base plate", plate, size, true});
    cases.push_back({"strip", {rectangle(0, 0, 500, 10)}, 31.25, true});
    cases.push_back(
        {"notch", {{{0, 0}, {100, 0}, {100, 60}, {50.05, 60}, {50, 60.3}, {0, 60}}}, 6.25, true});
    return cases;
}

// Every region is covered by strictly convex elements, the model valid after every operation,
// every node on the outline on the drawn outline, and the corners within 20 to 160 degrees
// where the region has no sharp corner.
TEST(ExtendedMesh, CoversEveryRegionWithGoodCorners) {
    for (const Case& c : extendedCases()) {
        Paver::CMeshModel model;
        addLoops(model, c.loops);
        model.SetExtended(true);
        model.SetCheckInvariants(true);
        ASSERT_TRUE(model.Mesh(1, c.size, 0, false)) << c.name;
        EXPECT_EQ(model.FirstInvalidStep(), "") << c.name;
        ASSERT_EQ(model.ValidityProblem(), "") << c.name;
        EXPECT_TRUE(model.fronts.empty());
        double meshed = 0.0, extent = 0.0;
        for (const auto& loop : model.MeshedLoops()) meshed += loopArea(loop);
        for (const Loop& loop : c.loops)
            for (const auto& p : loop) extent = std::max({extent, std::fabs(p.x), std::fabs(p.y)});
        double covered = 0.0, low = 180.0, high = 0.0;
        for (const Quad* q : model.quads) {
            covered += signedArea(q);
            for (int i = 0; i < 4; ++i) {
                const double a = corner(q->corners[(i + 3) % 4]->point, q->corners[i]->point,
                                        q->corners[(i + 1) % 4]->point);
                low = std::min(low, a);
                high = std::max(high, a);
            }
        }
        EXPECT_NEAR(covered, meshed, 1e-9 * meshed) << c.name;
        EXPECT_GT(low, c.gentle ? 20.0 : 0.0) << c.name << " at " << c.size;
        EXPECT_LT(high, c.gentle ? 160.0 : 180.0) << c.name << " at " << c.size;
        double farthest = 0.0;
        for (const MeshVertex* v : model.vertices)
            if (v->isShapeBoundary)
                farthest = std::max(farthest, distanceToOutline(c.loops, v->point.x, v->point.y));
        EXPECT_LT(farthest, 1e-9 * extent) << c.name;
    }
}

// On regions whose features are larger than the size, the median side is within 15% of it;
// and the element count follows the size, also where the holes are smaller than it.
TEST(ExtendedMesh, TheSizeAskedIsTheSizeMade) {
    std::vector<Loop> plate = {rectangle(0, 0, 400, 300)};
    for (double x : {40.0, 360.0})
        for (double y : {40.0, 260.0}) plate.push_back(polygon(x, y, 11, 36, true));
    int previous = 1 << 30;
    for (double size : {5.0, 10.0, 15.0, 25.0, 50.0}) {
        Paver::CMeshModel model;
        addLoops(model, plate);
        model.SetExtended(true);
        ASSERT_TRUE(model.Mesh(1, size, 0, false));
        if (size <= 10.0) {
            EXPECT_NEAR(medianSide(model) / size, 1.0, 0.15) << size;
            EXPECT_LT(model.NumQuads(), 1.3 * 120000.0 / (size * size)) << size;
        }
        EXPECT_LT(model.NumQuads(), previous) << size;
        previous = model.NumQuads();
    }
}

// The area bound went to Triangle as "8.0000000000000007e-05", which it reads as 8 followed by
// other switches, so from a size of about a two-hundredth of the region the elements lost it.
TEST(ExtendedMeshRegression, TheAreaBoundReachesTriangleWithoutAnExponent) {
    Paver::CMeshModel model;
    model.DrawShape1();
    model.SetExtended(true);
    ASSERT_TRUE(model.Mesh(1, 0.04, 0, false));
    EXPECT_NEAR(medianSide(model) / 0.04, 1.0, 0.15);
}

// Progress lines give the size asked, and constraint points inside the region are met.
TEST(ExtendedMesh, ReportsTheSizeAskedAndMeetsConstraintPoints) {
    Paver::CMeshModel model;
    addLoops(model, {rectangle(0, 0, 10, 10)});
    model.interiorPoints = {{3.3, 4.4}, {20, 20}};
    model.boundaryPoints = {{10, 3.7}};
    model.SetExtended(true);
    ASSERT_TRUE(model.Mesh(1, 0.75, 0, false));
    EXPECT_NE(model.messages.str().find("Mesh element size is ~0.750\n"), std::string::npos)
        << model.messages.str();
    EXPECT_EQ(model.MissedInteriorPoints(), 0);
    int met = 0;
    for (const MeshVertex* v : model.vertices)
        met += (v->point.x == 3.3 && v->point.y == 4.4) + (v->point.x == 10 && v->point.y == 3.7);
    EXPECT_EQ(met, 2);
}

// A region drawn far from the origin in large units meshes as the same region near it: the
// work is done in coordinates scaled to the region.
TEST(ExtendedMesh, TheUnitAndPlaceOfARegionDoNotMatter) {
    auto run = [](double scale, double offset) {
        Paver::CMeshModel model;
        Loop outer = rectangle(offset, offset, offset + 4 * scale, offset + 3 * scale);
        Loop hole = polygon(offset + 1 * scale, offset + 1 * scale, 0.3 * scale, 24, true);
        addLoops(model, {outer, hole});
        model.SetExtended(true);
        EXPECT_TRUE(model.Mesh(1, 0.25 * scale, 0, false)) << scale;
        EXPECT_EQ(model.ValidityProblem(), "") << scale;
        return model.NumQuads();
    };
    const int plain = run(1.0, 0.0);
    EXPECT_EQ(run(1000.0, 1e6), plain);
    EXPECT_EQ(run(1e-3, 0.0), plain);
}

// The stated mode's known gap is closed in extended mode.
TEST(ExtendedMesh, CoversWhatTheStatedModeLeavesOpen) {
    Paver::CMeshModel plain, extended;
    plain.DrawShape(4);
    extended.DrawShape(4);
    extended.SetExtended(true);
    plain.Mesh(1, 0.5, 0, false);
    ASSERT_TRUE(extended.Mesh(1, 0.5, 0, false));
    double plainArea = 0.0, extendedArea = 0.0;
    for (const Quad* q : plain.quads) plainArea += signedArea(q);
    for (const Quad* q : extended.quads) extendedArea += signedArea(q);
    EXPECT_LT(plainArea, 16.0 - 0.01);
    EXPECT_NEAR(extendedArea, 16.0, 1e-9);
}

}  // namespace
}  // namespace paver_test
