// The mesh checks against the way they were first written (a map of sides, atan2 and hypot at
// every corner and edge), which is what their answers must stay: on meshes Triangle makes and
// on random elements over random nodes, broken ones included.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <random>

#include "tools/zevcore/MeshIo.h"

using namespace zevtool::meshio;

namespace {

bool sameBits(double a, double b) {
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
    std::uint64_t x, y;
    std::memcpy(&x, &a, sizeof x);
    std::memcpy(&y, &b, sizeof y);
    return x == y;
}

Quality referenceQuality(const Mesh& mesh) {
    Quality q;
    q.minAngle = 360.0;
    double aspectSum = 0.0;
    int measured = 0;
    for (const Element& e : mesh.elements) {
        if (!validElement(e, static_cast<int>(mesh.nodes.size()))) continue;
        zev::mesh::ElementShape s = measureElement(mesh, e);
        if (s.concave) ++q.concave;
        if (!std::isfinite(s.aspect)) {
            ++q.degenerate;
            continue;
        }
        q.minAngle = std::min(q.minAngle, s.minAngle);
        q.maxAngle = std::max(q.maxAngle, s.maxAngle);
        q.maxAspect = std::max(q.maxAspect, s.aspect);
        aspectSum += s.aspect;
        ++measured;
    }
    if (measured == 0) q.minAngle = 0.0;
    q.meanAspect = measured ? aspectSum / measured : 0.0;
    return q;
}

bool sidesCross(const Point& a, const Point& b, const Point& c, const Point& d) {
    auto side = [](const Point& p, const Point& q, const Point& r) {
        double t = (q.x - p.x) * (r.y - p.y) - (q.y - p.y) * (r.x - p.x);
        return (t > 0.0) - (t < 0.0);
    };
    return side(a, b, c) * side(a, b, d) < 0 && side(c, d, a) * side(c, d, b) < 0;
}

Coverage referenceCoverage(const Region& region, const Mesh& mesh) {
    Coverage c;
    for (size_t i = 0; i < region.loops.size(); ++i)
        if (i == 0 || i >= region.solid.size() || !region.solid[i]) {
            const std::vector<Point>& loop = region.loops[i];
            c.regionArea += signedArea(loop);
            for (size_t k = 0; k < loop.size(); ++k) {
                const Point& a = loop[k];
                const Point& b = loop[(k + 1) % loop.size()];
                c.outlineLength += std::hypot(b.x - a.x, b.y - a.y);
            }
        }
    std::map<std::pair<int, int>, std::pair<int, int>> sides;
    for (const Element& e : mesh.elements) {
        std::vector<Point> corners;
        bool finite = true;
        for (int k = 0; k < e.count; ++k) {
            int at = e.v[static_cast<size_t>(k)];
            if (at < 0 || static_cast<size_t>(at) >= mesh.nodes.size()) {
                finite = false;
                break;
            }
            const Point& p = mesh.nodes[static_cast<size_t>(at)];
            finite = finite && std::isfinite(p.x) && std::isfinite(p.y);
            corners.push_back(p);
        }
        double area = finite ? signedArea(corners) : 0.0;
        bool folded =
            !finite || !(area > 0.0) ||
            (e.count == 4 && (sidesCross(corners[0], corners[1], corners[2], corners[3]) ||
                              sidesCross(corners[1], corners[2], corners[3], corners[0])));
        c.folded += folded ? 1 : 0;
        if (finite) c.elementArea += area;
        if (corners.size() != static_cast<size_t>(e.count)) continue;
        for (int k = 0; k < e.count; ++k) {
            const int a = e.v[static_cast<size_t>(k)];
            const int b = e.v[static_cast<size_t>((k + 1) % e.count)];
            auto& ways = sides[{std::min(a, b), std::max(a, b)}];
            ++(a < b ? ways.first : ways.second);
        }
    }
    for (const auto& [ends, ways] : sides) {
        if (ways.first > 1 || ways.second > 1) ++c.misjoined;
        if (ways.first + ways.second != 1) continue;
        const Point& a = mesh.nodes[static_cast<size_t>(ends.first)];
        const Point& b = mesh.nodes[static_cast<size_t>(ends.second)];
        c.openLength += std::hypot(b.x - a.x, b.y - a.y);
    }
    return c;
}

void expectSameChecks(const Region& region, const Mesh& mesh, const std::string& what) {
    const Quality q = measureQuality(mesh), r = referenceQuality(mesh);
    EXPECT_TRUE(sameBits(q.minAngle, r.minAngle))
        << what << ": " << q.minAngle << " " << r.minAngle;
    EXPECT_TRUE(sameBits(q.maxAngle, r.maxAngle))
        << what << ": " << q.maxAngle << " " << r.maxAngle;
    EXPECT_TRUE(sameBits(q.maxAspect, r.maxAspect)) << what;
    EXPECT_TRUE(sameBits(q.meanAspect, r.meanAspect)) << what;
    EXPECT_EQ(q.concave, r.concave) << what;
    EXPECT_EQ(q.degenerate, r.degenerate) << what;

    const Coverage c = measureCoverage(region, mesh), d = referenceCoverage(region, mesh);
    EXPECT_TRUE(sameBits(c.regionArea, d.regionArea)) << what;
    EXPECT_TRUE(sameBits(c.elementArea, d.elementArea)) << what;
    EXPECT_TRUE(sameBits(c.openLength, d.openLength)) << what;
    EXPECT_TRUE(sameBits(c.outlineLength, d.outlineLength)) << what;
    EXPECT_EQ(c.folded, d.folded) << what;
    EXPECT_EQ(c.misjoined, d.misjoined) << what;
}

TEST(MeshChecks, AnswerAsFirstWrittenOnTriangleMeshes) {
    const Region plate =
        parseBoundaryText("0 0\n100 0\n100 60\n0 60\n0 0\n\n10 20\n10 30\n20 30\n20 20\n10 20\n");
    for (double area : {50.0, 2.0, 0.3}) {
        zev::mesh::Options options;
        options.method = zev::mesh::Method::Triangle;
        options.maxArea = area;
        const zev::mesh::Result result = zev::mesh::meshRegion(plate, options);
        expectSameChecks(plate, result.mesh, "area " + std::to_string(area));
    }
}

// Random nodes (some repeated, far away, infinite or not a number) and random elements of
// three or four corners (some naming no node, some sharing sides the wrong way).
TEST(MeshChecks, AnswerAsFirstWrittenOnRandomElements) {
    const Region square = parseBoundaryText("0 0\n1 0\n1 1\n0 1\n0 0\n");
    std::mt19937 random(28);
    auto below = [&](int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); };
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int round = 0; round < 300; ++round) {
        Mesh mesh;
        const int nodes = 3 + below(40);
        for (int i = 0; i < nodes; ++i) {
            Point p{unit(random), unit(random)};
            const int kind = below(60);
            if (kind == 0) p.x = std::numeric_limits<double>::quiet_NaN();
            if (kind == 1) p.y = std::numeric_limits<double>::infinity();
            if (kind == 2) p = {1e200, -1e200};
            if (kind == 3) p = {1e-160, 1e-170};
            if (kind == 4 && i > 0) p = mesh.nodes[static_cast<std::size_t>(below(i))];
            if (kind == 5) p = {std::round(p.x * 4) / 4, std::round(p.y * 4) / 4};
            mesh.nodes.push_back(p);
        }
        const int elements = 1 + below(60);
        for (int i = 0; i < elements; ++i) {
            Element e;
            e.count = below(30) == 0 ? below(5) : 3 + below(2);
            for (int k = 0; k < 4; ++k) e.v[static_cast<std::size_t>(k)] = below(nodes + 2) - 1;
            mesh.elements.push_back(e);
        }
        expectSameChecks(square, mesh, "round " + std::to_string(round));
    }
}

}  // namespace
