// The region reader and the writers of the zevcore tool's mesh command.

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <random>

#include "support/TestEnv.h"
#include "tools/zevcore/MeshIo.h"

using namespace zevtool::meshio;

namespace {

int errorLine(const std::string& text, std::string* message = nullptr) {
    try {
        parseBoundaryText(text);
    } catch (const InputError& e) {
        if (message) *message = e.what();
        return e.line();
    }
    return -1;
}

}  // namespace

TEST(MeshIo, ReadsLoopsHolesAndConstraintPoints) {
    Region r = parseBoundaryText(
        "# plate\r\n"
        "0 0\r\n0 4\r\n4 4\r\n4 0\r\n0 0\r\n"  // clockwise outer: turned round
        "\n"
        "1 1   # a comment after a point\n2 1\n2 2\n1 2\n1 1\n"  // counter-clockwise hole
        "\n"
        "interior\n\n3 3\n3.5 0.5\n"
        "\n"
        "BOUNDARY\n2 0\n");
    ASSERT_EQ(r.loops.size(), 2u);
    EXPECT_EQ(r.loops[0].size(), 4u);
    EXPECT_GT(signedArea(r.loops[0]), 0.0);
    EXPECT_LT(signedArea(r.loops[1]), 0.0);
    EXPECT_DOUBLE_EQ(std::fabs(signedArea(r.loops[1])), 1.0);
    ASSERT_EQ(r.interiorPoints.size(), 2u);
    EXPECT_EQ(r.interiorPoints[1].x, 3.5);
    ASSERT_EQ(r.boundaryPoints.size(), 1u);
}

TEST(MeshIo, SolidHolesAreMarkedPerLoop) {
    Region r = parseBoundaryText(
        "0 0\n9 0\n9 9\n0 9\n0 0\n\n"
        "solid\n1 1\n3 1\n3 3\n1 1\n\n"
        "5 5\n7 5\n7 7\n5 5\n");
    ASSERT_EQ(r.solid.size(), 3u);
    EXPECT_FALSE(r.solid[0]);
    EXPECT_TRUE(r.solid[1]);
    EXPECT_FALSE(r.solid[2]);
}

TEST(MeshIo, BadRegionsNameTheirLine) {
    struct Case {
        const char* text;
        int line;
        const char* message;
    } cases[] = {
        {"0 0\n1 0\n1 1\n", 3, "not closed"},
        {"0 0\n1 0\n0 0\n", 3, "at least three"},
        {"0 0\n1 0\n1 0\n0 1\n0 0\n", 3, "repeats"},
        {"0 0\n2 2\n2 0\n0 2\n0 0\n", 3, "crosses itself"},
        {"0 0\n1 0\nx 1\n", 3, "two numbers"},
        {"0 0 0\n", 1, "two numbers"},
        {"0 nan\n", 1, "two numbers"},
        {"0 1e999\n", 1, "two numbers"},
        {"0 0\n1 0\n2 0\n0 0\n", 4, "no area"},
        {"\n# nothing\n", 0, "no boundary loop"},
        {"interior\n1 1\n", 0, "no boundary loop"},
        {"solid\n0 0\n1 0\n1 1\n0 0\n", 1, "outer boundary cannot be solid"},
        {"0 0\n4 0\n4 4\n0 4\n0 0\n\nsolid\n\n", 7, "must be followed by a loop"},
        {"0 0\n4 0\n4 4\n0 4\n0 0\n\n2 -1\n3 1\n1 1\n2 -1\n", 7, "crosses an earlier loop"},
        {"0 0\n4 0\n4 4\n0 4\n0 0\n\n5 5\n6 5\n6 6\n5 5\n", 7, "inside the outer"},
        {"0 0\n9 0\n9 9\n0 9\n0 0\n\n1 1\n5 1\n5 5\n1 1\n\n2 1.5\n3 1.5\n3 2\n2 1.5\n", 12,
         "inside another hole"},
    };
    for (const Case& c : cases) {
        std::string message;
        EXPECT_EQ(errorLine(c.text, &message), c.line) << c.text;
        EXPECT_NE(message.find(c.message), std::string::npos) << message;
    }
}

namespace {

// The answers of every pair of sides tried, for the sweep to agree with.
bool anySidesMeet(const std::vector<std::vector<Point>>& loops) {
    for (size_t a = 0; a < loops.size(); ++a)
        for (size_t b = a; b < loops.size(); ++b) {
            const auto &la = loops[a], &lb = loops[b];
            for (size_t i = 0; i < la.size(); ++i)
                for (size_t j = a == b ? i + 1 : 0; j < lb.size(); ++j) {
                    if (a == b && (j == i + 1 || (i == 0 && j == la.size() - 1))) continue;
                    if (segmentsMeet(la[i], la[(i + 1) % la.size()], lb[j],
                                     lb[(j + 1) % lb.size()]))
                        return true;
                }
        }
    return false;
}
bool inside(const Point& p, const std::vector<Point>& loop) {
    bool in = false;
    for (size_t i = 0, j = loop.size() - 1; i < loop.size(); j = i++) {
        const Point &a = loop[i], &b = loop[j];
        if ((a.y > p.y) != (b.y > p.y) && p.x < (b.x - a.x) * (p.y - a.y) / (b.y - a.y) + a.x)
            in = !in;
    }
    return in;
}

}  // namespace

// Loops of a few corners on a small grid, so that sides touch, overlap and share corners
// often: the sweep finds a meeting exactly when some pair of sides meets, and without one,
// each loop's innermost holder is the smallest loop around its first corner.
TEST(MeshIo, LoopLayoutAgreesWithEveryPairTried) {
    std::mt19937 random(2024);
    int met = 0, nested = 0;
    for (int round = 0; round < 20000; ++round) {
        // Odd rounds: corners anywhere on a 6 by 6 grid; even rounds: star-shaped loops
        // round random centres, rounded to the grid, which nest as often as they meet.
        const bool star = round % 2 == 0;
        std::vector<std::vector<Point>> loops(1 + random() % (star ? 4 : 3));
        for (auto& loop : loops) {
            const size_t corners = 3 + random() % 4;
            const double cx = random() % 21, cy = random() % 21, r = 1 + random() % 10;
            std::vector<double> angles;
            for (size_t k = 0; k < corners; ++k) angles.push_back((random() % 360) * M_PI / 180);
            std::sort(angles.begin(), angles.end());
            if (random() % 2) std::reverse(angles.begin(), angles.end());
            for (size_t k = 0; loop.size() < corners; ++k) {
                const Point p = star ? Point{std::round(cx + r * std::cos(angles[k % corners])),
                                             std::round(cy + r * std::sin(angles[k % corners]))}
                                     : Point{static_cast<double>(random() % 6),
                                             static_cast<double>(random() % 6)};
                if (star && k >= corners) break;
                if (!loop.empty() && loop.back().x == p.x && loop.back().y == p.y) continue;
                loop.push_back(p);
            }
            if (loop.front().x == loop.back().x && loop.front().y == loop.back().y) loop.pop_back();
            if (loop.size() < 3) loop = {{0, 0}, {1, 0}, {0, 1}};
        }
        const LoopLayout layout = layOutLoops(loops);
        ASSERT_EQ(layout.meet, anySidesMeet(loops)) << "round " << round << ": " << [&] {
            std::string text;
            for (const auto& loop : loops) {
                for (const Point& p : loop)
                    text += std::to_string(int(p.x)) + "," + std::to_string(int(p.y)) + " ";
                text += "| ";
            }
            return text;
        }();
        if (layout.meet) {
            ++met;
            continue;
        }
        bool flat = false;
        for (const auto& loop : loops) flat = flat || signedArea(loop) == 0.0;
        if (flat) continue;
        for (size_t l = 0; l < loops.size(); ++l) {
            int holder = -1;
            for (size_t m = 0; m < loops.size(); ++m)
                if (m != l && inside(loops[l][0], loops[m]) &&
                    (holder < 0 || std::fabs(signedArea(loops[m])) <
                                       std::fabs(signedArea(loops[static_cast<size_t>(holder)]))))
                    holder = static_cast<int>(m);
            ASSERT_EQ(layout.parent[l], holder) << "round " << round << ", loop " << l;
            nested += holder >= 0;
        }
    }
    EXPECT_GT(met, 1000);
    EXPECT_GT(nested, 100);
}

// The nesting test looked only at holes given before a hole, so a hole inside a later hole
// was taken for a hole of its own.
TEST(MeshIoRegression, AHoleInsideALaterHoleIsRefused) {
    std::string message;
    EXPECT_EQ(errorLine("0 0\n9 0\n9 9\n0 9\n0 0\n\n2 1.5\n3 1.5\n3 2\n2 1.5\n\n"
                        "1 1\n5 1\n5 5\n1 1\n",
                        &message),
              7);
    EXPECT_EQ(message, "a hole lies inside another hole");
}

TEST(MeshIo, ArbitraryBytesGetAnAnswerNotACrash) {
    std::mt19937 random(12345);
    const std::string alphabet = "0123456789 .-+eE\n\r\t#xinteriorbundy\0\xff";
    for (int round = 0; round < 3000; ++round) {
        std::string text;
        int length = static_cast<int>(random() % 120);
        for (int i = 0; i < length; ++i) text += alphabet[random() % alphabet.size()];
        try {
            Region r = parseBoundaryText(text);
            EXPECT_FALSE(r.loops.empty());
        } catch (const InputError&) {
        }
    }
}

TEST(MeshIo, UnreadableFile) {
    try {
        readBoundaryFile("/nonexistent/dir/file.txt");
        FAIL();
    } catch (const InputError& e) {
        EXPECT_EQ(e.line(), 0);
    }
}

// Input files were read whole whatever their size: /dev/zero grew the text until the
// allocation failed.
TEST(MeshIoRegression, InputLargerThanTheLimitIsRefusedUnread) {
    zevtest::TempDir dir;
    const std::string sparse = dir.file("sparse.txt");
    zevtest::writeFile(sparse, "");
    std::filesystem::resize_file(sparse, kMaxInputBytes + 1);
    for (const std::string& path : {sparse, std::string("/dev/zero")}) {
        try {
            readBoundaryFile(path);
            ADD_FAILURE() << path;
        } catch (const InputError& e) {
            EXPECT_EQ(e.line(), 0);
            EXPECT_STREQ(e.what(), "cannot read the file: it is larger than 64 MiB");
        }
    }
    // At the limit the file is read (and found to hold no loop).
    std::filesystem::resize_file(sparse, kMaxInputBytes);
    EXPECT_EQ(readInputFile(sparse).size(), kMaxInputBytes);
}

TEST(MeshIo, QualityOfKnownElements) {
    Mesh mesh;
    mesh.nodes = {{0, 0}, {2, 0}, {2, 1}, {0, 1}, {3, 0}, {3, 0}};
    mesh.elements.push_back({4, {0, 1, 2, 3}});  // 2 by 1 rectangle
    Quality q = measureQuality(mesh);
    EXPECT_DOUBLE_EQ(q.minAngle, 90.0);
    EXPECT_DOUBLE_EQ(q.maxAngle, 90.0);
    EXPECT_EQ(q.concave, 0);
    EXPECT_DOUBLE_EQ(q.maxAspect, 2.0);

    mesh.elements.push_back({4, {0, 3, 2, 1}});   // the same, clockwise: turned over
    mesh.elements.push_back({3, {1, 4, 2, -1}});  // a right triangle, legs 1 and 1
    mesh.elements.push_back({4, {1, 4, 5, 2}});   // a zero-length edge
    mesh.elements.push_back({4, {0, 1, 2, 99}});  // not a mesh element: ignored
    q = measureQuality(mesh);
    EXPECT_EQ(q.concave, 2);
    EXPECT_EQ(q.degenerate, 1);
    EXPECT_NEAR(q.minAngle, 45.0, 1e-12);
    EXPECT_NEAR(q.maxAspect, 2.0, 1e-12);
}

TEST(MeshIo, WritesGmshAndSvg) {
    Mesh mesh;
    mesh.nodes = {{0, 0}, {1, 0}, {1, 1}, {0, 1}, {2, 0}};
    mesh.elements.push_back({4, {0, 1, 2, 3}});
    mesh.elements.push_back({3, {1, 4, 2, -1}});
    EXPECT_EQ(mshText(mesh),
              "$MeshFormat\n2.2 0 8\n$EndMeshFormat\n"
              "$Nodes\n5\n1 0 0 0\n2 1 0 0\n3 1 1 0\n4 0 1 0\n5 2 0 0\n$EndNodes\n"
              "$Elements\n2\n1 3 2 1 1 1 2 3 4\n2 2 2 1 1 2 5 3\n$EndElements\n");

    Region region;
    region.loops = {{{0, 0}, {2, 0}, {1, 1}, {0, 1}}};
    region.interiorPoints = {{0.5, 0.5}};
    std::string svg = svgText(region, mesh);
    EXPECT_EQ(svg.rfind("<?xml", 0), 0u);
    EXPECT_NE(svg.find("</svg>"), std::string::npos);
    EXPECT_EQ(std::count(svg.begin(), svg.end(), '\n') > 5, true);
    EXPECT_NE(svg.find("<circle"), std::string::npos);
}
