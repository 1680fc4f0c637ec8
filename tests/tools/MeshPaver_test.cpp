// The paver as the front ends run it, and the way they stop it: a throw from the callback that
// receives its progress lines.

#include <gtest/gtest.h>

#include <stdexcept>

#include "support/ExpectMessage.h"
#include "support/TestEnv.h"
#include "tools/zevcore/MeshIo.h"

using namespace zevtool::meshio;

namespace {

// Counts the progress lines and throws at line `stopAt` (never when 0).
struct Stopping {
    explicit Stopping(int at) : stopAt(at) {}
    int stopAt;
    int lines = 0;
};

zev::mesh::Result run(Stopping& stopping, const Region& region) {
    zev::mesh::Options options;
    options.size = defaultSize(region);
    options.progress = [&stopping](const std::string&) {
        if (++stopping.lines == stopping.stopAt) throw std::runtime_error("stopped by the user");
    };
    return zev::mesh::meshRegion(region, options);
}

}  // namespace

TEST(MeshPaver, AThrowFromTheProgressWindowStopsTheMesherAndTheNextRunIsWhole) {
    const Region shape = builtInShape(5);
    Stopping counting(0);
    const zev::mesh::Result whole = run(counting, shape);
    ASSERT_GT(counting.lines, 4);
    EXPECT_TRUE(whole.complete);
    EXPECT_TRUE(measureCoverage(shape, whole.mesh).covered());

    // Stopped halfway: the exception comes out, the model freed on the way (the sanitizer
    // build would report a leak).
    Stopping stopping(counting.lines / 2);
    EXPECT_THROW_MSG(run(stopping, shape), std::runtime_error, "stopped by the user");
    EXPECT_EQ(stopping.lines, counting.lines / 2);

    // Nothing of the stopped run stays behind: the same region meshes to the same mesh.
    Stopping again(0);
    const zev::mesh::Result after = run(again, shape);
    EXPECT_EQ(again.lines, counting.lines);
    ASSERT_EQ(after.mesh.nodes.size(), whole.mesh.nodes.size());
    ASSERT_EQ(after.mesh.elements.size(), whole.mesh.elements.size());
    for (size_t i = 0; i < whole.mesh.nodes.size(); ++i) {
        EXPECT_EQ(after.mesh.nodes[i].x, whole.mesh.nodes[i].x);
        EXPECT_EQ(after.mesh.nodes[i].y, whole.mesh.nodes[i].y);
    }
}

TEST(MeshPaver, SizesThatWouldTakeTooLongAreNamed) {
    const Region square = parseBoundaryText("0 0\n1 0\n1 1\n0 1\n0 0\n");
    EXPECT_EQ(sizeProblem(square, 0.1), "");
    EXPECT_EQ(sizeProblem(square, 1e-6),
              "would need 4e+06 boundary segments (at most 100000; give a larger size)");
    // Exactly at the bound on segments, but the rows that meet inside are too many.
    const Region wide = parseBoundaryText("0 0\n1e5 0\n1e5 1e5\n0 1e5\n0 0\n");
    EXPECT_EQ(sizeProblem(wide, 4.0),
              "would need 1.25e+04 rows (at most 10000; give a larger size)");
}

// The fewest triangles are the meshed area over the largest one: void holes are not meshed,
// solid ones are.
TEST(MeshTriangle, AreasThatWouldTakeTooLongAreNamed) {
    const Region holed =
        parseBoundaryText("0 0\n10 0\n10 10\n0 10\n0 0\n\n1 1\n9 1\n9 9\n1 9\n1 1\n");
    Region solid = holed;
    solid.solid = {false, true};
    struct Case {
        const Region* region;
        double maxArea;
        std::string problem;
    } cases[] = {
        {&holed, 36.0 / 500000, ""},
        {&holed, 36.0 / 600000,
         "would need at least 6e+05 triangles (at most 500000; give a larger area)"},
        {&solid, 100.0 / 500000, ""},
        {&solid, 100.0 / 500001,
         "would need at least 5e+05 triangles (at most 500000; give a larger area)"},
        {&holed, 1e-320, "would need at least inf triangles (at most 500000; give a larger area)"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(zev::mesh::triangleCountProblem(*c.region, c.maxArea), c.problem) << c.maxArea;
}

// Elements over a unit square. Joined, they cover it; two nodes at one place, a node on
// another element's side, or one element twice (whose area is the square's) leave sides open
// inside, and the check says so.
TEST(MeshPaver, CoverageNeedsElementsJoinedSideToSide) {
    const Region square = parseBoundaryText("0 0\n1 0\n1 1\n0 1\n0 0\n");
    const std::vector<Point> nodes = {{0, 0}, {0.5, 0}, {1, 0},   {1, 1},     {0.5, 1},
                                      {0, 1}, {0.5, 0}, {0.5, 1}, {0.5, 0.5}, {1, 0.5}};
    auto quad = [](int a, int b, int c, int d) { return Element{4, {a, b, c, d}}; };
    struct Case {
        const char* what;
        std::vector<Element> elements;
        bool joined;
        double open;
    };
    const Case cases[] = {
        {"joined", {quad(0, 1, 4, 5), quad(1, 2, 3, 4)}, true, 4.0},
        {"two nodes at one place", {quad(0, 1, 4, 5), quad(6, 2, 3, 7)}, false, 6.0},
        {"a node on a side", {quad(0, 1, 4, 5), quad(1, 2, 9, 8), quad(8, 9, 3, 4)}, false, 6.0},
        {"one element twice", {quad(0, 1, 4, 5), quad(0, 1, 4, 5)}, false, 0.0},
    };
    for (const Case& c : cases) {
        const Coverage coverage = measureCoverage(square, Mesh{nodes, c.elements});
        EXPECT_EQ(coverage.joined(), c.joined) << c.what;
        EXPECT_EQ(coverage.covered(), c.joined) << c.what;
        EXPECT_NEAR(coverage.openLength, c.open, 1e-12) << c.what;
    }
}

// The extended finish printed the closure's maximum area for Triangle in the host's locale,
// which Triangle read back as 0 under a decimal comma: it refused every closure (saying so on
// standard output) and the region was left open.
TEST(MeshPaverRegression, ExtendedFinishIgnoresTheProcessLocale) {
    const Region shape = builtInShape(3);
    zev::mesh::Options options;
    options.size = defaultSize(shape);
    options.method = zev::mesh::Method::Extended;
    const zev::mesh::Result inC = zev::mesh::meshRegion(shape, options);
    ASSERT_TRUE(inC.complete);

    zevtest::ScopedDecimalCommaLocale comma;
    if (!comma.active()) GTEST_SKIP() << "no decimal-comma locale can be had here";
    testing::internal::CaptureStdout();
    const zev::mesh::Result inComma = zev::mesh::meshRegion(shape, options);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(inComma.complete);
    ASSERT_EQ(inComma.mesh.elements.size(), inC.mesh.elements.size());
    ASSERT_EQ(inComma.mesh.nodes.size(), inC.mesh.nodes.size());
    for (size_t i = 0; i < inC.mesh.nodes.size(); ++i) {
        EXPECT_EQ(inComma.mesh.nodes[i].x, inC.mesh.nodes[i].x) << i;
        EXPECT_EQ(inComma.mesh.nodes[i].y, inC.mesh.nodes[i].y) << i;
    }
}
