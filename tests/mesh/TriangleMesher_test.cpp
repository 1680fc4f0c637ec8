#include "zevcore/mesh/TriangleMesher.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "support/TestEnv.h"
#include "zevcore/platform/services/Host.h"

namespace {

namespace fs = std::filesystem;
using Points = std::vector<double>;

/// A region and the arguments of one mesh_it call.
struct Region {
    Points boundary{0, 0, 10, 0, 10, 10, 0, 10};
    Points interior, extra, holes;
    std::vector<int> holeSizes;
    std::array<bool, 4> isVoid{true, true, true, true};
    bool useVoidFlags = false;
    double maxArea = 1.0;
    bool conforming = false;

    int run(ZEVTriangleMesher& m) {
        return m.mesh_it(boundary.data(), static_cast<int>(boundary.size() / 2),
                         interior.empty() ? nullptr : interior.data(),
                         static_cast<int>(interior.size() / 2), extra.data(),
                         static_cast<int>(extra.size() / 2), static_cast<int>(holeSizes.size()),
                         holeSizes.data(), holes.empty() ? nullptr : holes.data(), maxArea,
                         conforming, useVoidFlags ? isVoid.data() : nullptr);
    }
};

Points working(const double* xy, int count) {
    return Points(xy, xy + 2 * count);
}

/// Independent of the mesher's own search: the even-odd rule by ray to the right.
bool inside(const Points& poly, double x, double y) {
    bool in = false;
    std::size_t n = poly.size() / 2;
    for (std::size_t i = 0, j = n - 1; i < n; j = i++) {
        double xi = poly[2 * i], yi = poly[2 * i + 1], xj = poly[2 * j], yj = poly[2 * j + 1];
        if ((yi > y) != (yj > y) && x < xi + (y - yi) * (xj - xi) / (yj - yi)) in = !in;
    }
    return in;
}

struct Tri {
    double ax, ay, bx, by, cx, cy;
    double area() const { return ((bx - ax) * (cy - ay) - (cx - ax) * (by - ay)) / 2; }
    double minAngleDegrees() const {
        double a = std::hypot(bx - cx, by - cy), b = std::hypot(ax - cx, ay - cy),
               c = std::hypot(ax - bx, ay - by);
        double A = std::acos((b * b + c * c - a * a) / (2 * b * c));
        double B = std::acos((a * a + c * c - b * b) / (2 * a * c));
        return std::min({A, B, M_PI - A - B}) * 180 / M_PI;
    }
};

std::vector<Tri> trianglesOf(const ZEVTriangleMesher& m) {
    std::vector<Tri> out;
    for (int t = 0; t < m.numberOfTriangles; ++t) {
        const int* v = m.triangles + 3 * t;
        const double* p = m.points;
        out.push_back({p[2 * v[0]], p[2 * v[0] + 1], p[2 * v[1]], p[2 * v[1] + 1], p[2 * v[2]],
                       p[2 * v[2] + 1]});
    }
    return out;
}

class RecordingDialogs : public CZEVHeadlessDialogs {
public:
    int MessageBox(HWND, const char* text, const char*, UINT) override {
        shown.emplace_back(text);
        return IDOK;
    }
    std::vector<std::string> shown;
};

class TriangleMesherTest : public testing::Test {
protected:
    TriangleMesherTest() : tmpdirEnv("TMPDIR", tmp.path()) {
        previous = ZEVInstallDialogs(&dialogs);
    }
    ~TriangleMesherTest() override { ZEVInstallDialogs(previous); }

    int messageFilesLeft() const {
        int n = 0;
        for (const auto& e : fs::directory_iterator(tmp.path()))
            n += e.path().filename().string().rfind("Msh", 0) == 0;
        return n;
    }

    zevtest::TempDir tmp;
    zevtest::ScopedEnv tmpdirEnv;
    RecordingDialogs dialogs;
    IZEVDialogService* previous = nullptr;
    ZEVTriangleMesher m;
    Region r;
};

TEST_F(TriangleMesherTest, FewerThanThreeBoundaryPointsTouchNothing) {
    r.boundary = {0, 0, 1, 0};
    EXPECT_EQ(r.run(m), 0);
    EXPECT_EQ(m.boundary, nullptr);
    EXPECT_EQ(m.numberOfBoundaryPoints, 0);
    EXPECT_EQ(messageFilesLeft(), 0);
}

TEST_F(TriangleMesherTest, PointsOnTheBoundaryAreDroppedAtVerticesAndJoinItOnSegments) {
    // Interior: a vertex, a vertex within tolerance, a segment point, and a true interior
    // point. Extras: a vertex, a segment point, two free points.
    r.interior = {10, 10, 0.000004, 0, 10, 5, 2, 2};
    r.extra = {0, 10, 5, 0, 3, 3, 4, 4};
    ASSERT_GT(r.run(m), 0);
    EXPECT_EQ(working(m.boundary, m.numberOfBoundaryPoints),
              (Points{0, 0, 5, 0, 10, 0, 10, 5, 10, 10, 0, 10}));
    // Free extras go in at the caller's interior count, so the later one comes first.
    EXPECT_EQ(working(m.interior, m.numberOfInteriorPoints), (Points{2, 2, 4, 4, 3, 3}));
    EXPECT_GE(m.numberOfOutlinePoints, 6);
}

TEST_F(TriangleMesherTest, PointsOnAHoleEdgeJoinThatHoleAndRaiseItsSize) {
    r.holes = {2, 2, 4, 2, 4, 4, 2, 4, /* second hole */ 6, 6, 8, 6, 8, 8, 6, 8};
    r.holeSizes = {4, 4};
    r.extra = {7, 6};           // on the second hole's first edge
    r.interior = {2, 3, 5, 5};  // on the first hole's closing edge, and free
    ASSERT_GT(r.run(m), 0);
    EXPECT_EQ(r.holeSizes, (std::vector<int>{5, 5}));
    EXPECT_EQ(working(m.holes, m.numberOfHolePoints),
              (Points{2, 2, 4, 2, 4, 4, 2, 4, 2, 3, 6, 6, 7, 6, 8, 6, 8, 8, 6, 8}));
    EXPECT_EQ(working(m.interior, m.numberOfInteriorPoints), (Points{5, 5}));
}

TEST_F(TriangleMesherTest, ExtraPointsFindAHolesClosingSegmentByTheBoundarysCount) {
    // Four boundary points, a hexagonal hole: for extra points the segment after hole
    // point 3 closes on hole point 0, so a point on that chord joins the hole.
    r.holes = {3, 3, 5, 2, 7, 3, 7, 6, 5, 7, 3, 6};
    r.holeSizes = {6};
    r.extra = {5, 4.5};
    r.run(m);
    EXPECT_EQ(r.holeSizes[0], 7);
    EXPECT_EQ(m.holes[8], 5);
    EXPECT_EQ(m.holes[9], 4.5);

    // The same point given as an interior point is tested with the hole's own closing
    // segment, and stays inside the hole.
    Region again = r;
    again.holeSizes = {6};
    again.extra.clear();
    again.interior = {5, 4.5};
    again.run(m);
    EXPECT_EQ(again.holeSizes[0], 6);
    EXPECT_EQ(m.numberOfInteriorPoints, 1);
}

struct BadInput {
    const char* name;
    void (*change)(Region&);
    const char* text;
};

TEST_F(TriangleMesherTest, BadInputGetsItsTextAndLeavesTheMessageFile) {
    const BadInput cases[] = {
        {"area zero", [](Region& g) { g.maxArea = 0; }, "Bad maximum triangle area was entered."},
        {"area NaN", [](Region& g) { g.maxArea = NAN; }, "Bad maximum triangle area was entered."},
        {"area printing as 0", [](Region& g) { g.maxArea = 4e-7; },
         "Bad maximum triangle area was entered."},
        {"area before sizes",
         [](Region& g) {
             g.holeSizes = {0};
             g.holes = {1, 1};
             g.maxArea = -1;
         },
         "Bad maximum triangle area was entered."},
        {"hole size 0",
         [](Region& g) {
             g.holeSizes = {0};
             g.holes = {1, 1};
         },
         "Bad hole data was entered."},
        {"hole points null", [](Region& g) { g.holeSizes = {3}; }, "Bad hole data was entered."},
        {"NaN boundary", [](Region& g) { g.boundary[3] = NAN; }, "Bad boundary data was entered."},
        {"huge boundary", [](Region& g) { g.boundary[2] = 1e31; },
         "Bad boundary data was entered."},
        // Triangle crashed on both before they were refused.
        {"corner at 6e25", [](Region& g) { g.boundary[4] = 6e25; },
         "Bad boundary data was entered."},
        {"hole corner at a subnormal y",
         [](Region& g) {
             g.holes = {2, 2e-310, 4, 2, 4, 4};
             g.holeSizes = {3};
         },
         "Bad hole data was entered."},
        {"infinite interior",
         [](Region& g) {
             g.interior = {INFINITY, 1};
         },
         "Bad interior point data was entered."},
        {"flat hole",
         [](Region& g) {
             g.holes = {5, 2, 5, 4, 5, 6};
             g.holeSizes = {3};
         },
         "Hole size is zero!"},
        {"thin slanted hole",
         [](Region& g) {
             g.boundary = {-50, -50, 50, -50, 50, 50, -50, 50};
             g.holes = {0, 0, 10, 10, 10.1, 10};
             g.holeSizes = {3};
         },
         "Hole lies on shape boundary, making meshing impossible."},
    };
    int failures = 0;
    for (const BadInput& c : cases) {
        SCOPED_TRACE(c.name);
        Region g;
        c.change(g);
        EXPECT_EQ(g.run(m), 0);
        EXPECT_STREQ(m.errorText, c.text);
        EXPECT_EQ(messageFilesLeft(), ++failures);
    }
}

TEST_F(TriangleMesherTest, NullOrNegativeArgumentsGetTheirTexts) {
    EXPECT_EQ(m.mesh_it(nullptr, 4, nullptr, 0, nullptr, 0, 0, nullptr, nullptr, 1, false, nullptr),
              0);
    EXPECT_STREQ(m.errorText, "Bad boundary data was entered.");
    double* b = r.boundary.data();
    m.mesh_it(b, 4, nullptr, -1, nullptr, 0, 0, nullptr, nullptr, 1, false, nullptr);
    EXPECT_STREQ(m.errorText, "Bad interior point count was entered.");
    m.mesh_it(b, 4, nullptr, 2, nullptr, 0, 0, nullptr, nullptr, 1, false, nullptr);
    EXPECT_STREQ(m.errorText, "Bad interior point data was entered.");
    m.mesh_it(b, 4, nullptr, 0, nullptr, 0, -1, nullptr, nullptr, 1, false, nullptr);
    EXPECT_STREQ(m.errorText, "Bad hole count was entered.");
    m.mesh_it(b, 4, nullptr, 0, nullptr, 0, 1, nullptr, b, 1, false, nullptr);
    EXPECT_STREQ(m.errorText, "Bad hole data was entered.");
    EXPECT_EQ(m.numberOfTriangles, 0);
}

/// Checks a mesh of the 10 by 10 square with void holes `voids`: every triangle inside the
/// square and outside the voids, counter-clockwise, within the area bound, and together
/// exactly the area left.
void expectCovers(const ZEVTriangleMesher& m, const std::vector<Points>& voids, double areaLeft,
                  double maxArea, double minAngle) {
    const Points square{0, 0, 10, 0, 10, 10, 0, 10};
    double total = 0, smallest = 180;
    for (const Tri& t : trianglesOf(m)) {
        double cx = (t.ax + t.bx + t.cx) / 3, cy = (t.ay + t.by + t.cy) / 3;
        EXPECT_TRUE(inside(square, cx, cy));
        for (const Points& v : voids) EXPECT_FALSE(inside(v, cx, cy)) << cx << "," << cy;
        EXPECT_GT(t.area(), 0);
        EXPECT_LE(t.area(), maxArea * (1 + 1e-9));
        total += t.area();
        smallest = std::min(smallest, t.minAngleDegrees());
    }
    EXPECT_NEAR(total, areaLeft, 1e-9);
    EXPECT_GE(smallest, minAngle);
}

const Points kSquareHole{2, 2, 4, 2, 4, 4, 2, 4};
const Points kTriangleHole{6, 6, 9, 6, 6, 9};

TEST_F(TriangleMesherTest, MeshesARegionWithVoidHolesInQualityAndConformingModes) {
    r.holes = kSquareHole;
    r.holes.insert(r.holes.end(), kTriangleHole.begin(), kTriangleHole.end());
    r.holeSizes = {4, 3};
    r.maxArea = 0.5;
    int n = r.run(m);
    ASSERT_GT(n, 0);
    EXPECT_EQ(n, m.numberOfTriangles);
    EXPECT_STREQ(m.errorText, "");
    expectCovers(m, {kSquareHole, kTriangleHole}, 100 - 4 - 4.5, 0.5, 20.0);
    // Outline points: the outer boundary's, no others.
    ASSERT_GE(m.numberOfOutlinePoints, 4);
    for (int i = 0; i < m.numberOfOutlinePoints; ++i) {
        double x = m.outlinePoints[2 * i], y = m.outlinePoints[2 * i + 1];
        EXPECT_TRUE(x == 0 || x == 10 || y == 0 || y == 10) << x << "," << y;
    }

    r.holeSizes = {4, 3};
    r.conforming = true;
    ASSERT_GT(r.run(m), 0);
    expectCovers(m, {kSquareHole, kTriangleHole}, 100 - 4 - 4.5, 0.5, 0.0);
}

TEST_F(TriangleMesherTest, ANonVoidHoleKeepsItsOutlineInsideTheMesh) {
    r.holes = kSquareHole;
    r.holes.insert(r.holes.end(), kTriangleHole.begin(), kTriangleHole.end());
    r.holeSizes = {4, 3};
    r.useVoidFlags = true;
    r.isVoid = {false, true};
    ASSERT_GT(r.run(m), 0);
    expectCovers(m, {kTriangleHole}, 100 - 4.5, 1.0, 20.0);
    // No triangle crosses the kept outline: those inside it fill it exactly.
    double within = 0;
    for (const Tri& t : trianglesOf(m))
        if (inside(kSquareHole, (t.ax + t.bx + t.cx) / 3, (t.ay + t.by + t.cy) / 3))
            within += t.area();
    EXPECT_NEAR(within, 4.0, 1e-9);
}

TEST_F(TriangleMesherTest, AHoleOfTwoPointsIsSkippedWithoutLosingTheNextHole) {
    r.holes = {5, 5, 5, 6};
    r.holes.insert(r.holes.end(), kSquareHole.begin(), kSquareHole.end());
    r.holeSizes = {2, 4};
    ASSERT_GT(r.run(m), 0);
    expectCovers(m, {kSquareHole}, 96, 1.0, 20.0);
}

TEST_F(TriangleMesherTest, RegionsWithoutAreaGiveNoTrianglesAndNoCrash) {
    for (Points b : {Points{1, 1, 1, 1, 1, 1}, Points{0, 0, 1, 1, 2, 2}}) {
        r.boundary = b;
        EXPECT_EQ(r.run(m), 0);
        EXPECT_STREQ(m.errorText, "");
    }
    EXPECT_EQ(messageFilesLeft(), 0);
}

class TriangleMesherRegression : public TriangleMesherTest {};

// Cause: repeated points reached Triangle, which crashes on a segment ending at a repeated
// point and (in the refinement) on the segment 0-1 given twice when the last point repeats
// point 1.
TEST_F(TriangleMesherRegression, RepeatedPointsAndSegmentsAreMergedBeforeTriangleSeesThem) {
    r.boundary = {0, 0, 10, 0, 10, 10, 10, 10, 0, 10};
    ASSERT_GT(r.run(m), 0);
    expectCovers(m, {}, 100, 1.0, 20.0);
    r.boundary = {10, 11, 0, 0, 10, 15.875, 15, 11, 0, 10, 8, 0, 0, 0};
    r.maxArea = 0.3;
    EXPECT_GT(r.run(m), 0);
}

TEST_F(TriangleMesherTest, StandardOutputIsRedirectedDuringARunAndGivenBackOnEveryPath) {
    std::string ours = tmp.file("stdout.txt");
    std::fflush(stdout);
    int saved = dup(1);
    std::FILE* sink = std::fopen(ours.c_str(), "w");
    dup2(fileno(sink), 1);
    std::printf("before\n");
    EXPECT_GT(r.run(m), 0);  // Triangle talks a lot here
    std::printf("between\n");
    r.maxArea = -1;
    EXPECT_EQ(r.run(m), 0);  // fails with the message file left behind
    std::printf("after\n");
    std::fflush(stdout);
    dup2(saved, 1);
    close(saved);
    std::fclose(sink);
    EXPECT_EQ(zevtest::readFile(ours), "before\nbetween\nafter\n");
    EXPECT_EQ(messageFilesLeft(), 1);
}

TEST_F(TriangleMesherTest, ExceptionsAreShownInAMessageBoxWithTheLastDiagnostic) {
    r.holes = kSquareHole;
    r.holeSizes = {INT_MAX, 4};  // more points than a mesh can hold
    EXPECT_EQ(r.run(m), 0);
    ASSERT_EQ(dialogs.shown.size(), 1u);
    EXPECT_EQ(dialogs.shown[0],
              "An exception has occurred during the meshing.  You might consider changing "
              "mesh size or meshing method. The exception is:  The region has more points "
              "than a mesh can hold.");

    Region bad;
    bad.maxArea = 0;
    bad.run(m);  // leaves its diagnostic, which the next exception reports
    EXPECT_EQ(r.run(m), 0);
    ASSERT_EQ(dialogs.shown.size(), 2u);
    EXPECT_EQ(dialogs.shown[1],
              "An error has occurred during the meshing.  You might consider changing mesh "
              "size or meshing method.  The diagnostic message is:  Bad maximum triangle area "
              "was entered.");
}

TEST_F(TriangleMesherTest, CopiesOwnTheirArrays) {
    auto original = std::make_unique<ZEVTriangleMesher>();
    ASSERT_GT(r.run(*original), 0);
    ZEVTriangleMesher copy(*original);
    ZEVTriangleMesher assigned;
    assigned = *original;
    ZEVTriangleMesher& alias = assigned;
    assigned = alias;
    Points expected = working(original->points, original->numberOfPoints);
    original.reset();
    EXPECT_EQ(working(copy.points, copy.numberOfPoints), expected);
    EXPECT_EQ(working(assigned.points, assigned.numberOfPoints), expected);
    EXPECT_EQ(working(assigned.boundary, assigned.numberOfBoundaryPoints), r.boundary);

    // Meshing again from its own working copies, its interior given as the extra points.
    r.interior = {3, 3};
    ASSERT_GT(r.run(copy), 0);
    EXPECT_GT(copy.mesh_it(copy.boundary, copy.numberOfBoundaryPoints, copy.interior,
                           copy.numberOfInteriorPoints, copy.interior, copy.numberOfInteriorPoints,
                           0, nullptr, nullptr, 2.0, false, nullptr),
              0);
    // The repeated point stays in the working copy; Triangle gets it once.
    EXPECT_EQ(working(copy.interior, copy.numberOfInteriorPoints), (Points{3, 3, 3, 3}));
}

}  // namespace
