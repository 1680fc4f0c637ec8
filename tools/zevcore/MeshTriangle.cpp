#include "tools/zevcore/MeshTriangle.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <vector>

#include "zevcore/frame/Math.h"
#include "zevcore/mesh/TriangleMesher.h"
#include "zevcore/platform/Locale.h"

namespace zevtool::meshio {

namespace {

void append(std::vector<double>& xy, const std::vector<Point>& points, double scale) {
    for (const Point& p : points) xy.insert(xy.end(), {p.x * scale, p.y * scale});
}

// Triangle reads its area bound back from text with six decimals, so a region whose triangles
// are far below one unit of area (drawn in metres, meshed at millimetres) would reach it as
// "Bad maximum triangle area". Such a region goes to it scaled by a power of two, which is
// exact both ways, bringing the bound to one unit or more; never past 1e14 in coordinates.
int scaleExponent(const Region& region, double maxArea) {
    if (!(maxArea > 0.0) || !(maxArea < 1.0)) return 0;
    double far = 0.0;
    for (const auto& loop : region.loops)
        for (const Point& p : loop) far = std::max({far, std::fabs(p.x), std::fabs(p.y)});
    int k = static_cast<int>(std::ceil(-0.5 * std::log2(maxArea)));
    while (k > 0 && std::ldexp(far, k) > 1e14) --k;
    return k;
}

}  // namespace

TriangleResult meshWithTriangle(const Region& region, double maxArea, bool conforming) {
    TriangleResult result;
    if (region.loops.empty()) return result;
    std::vector<double> boundary, interior, extra, holes;
    const int k = scaleExponent(region, maxArea);
    const double scale = std::ldexp(1.0, k);
    append(boundary, region.loops[0], scale);
    append(interior, region.interiorPoints, scale);
    append(extra, region.boundaryPoints, scale);
    std::vector<int> holeSizes;
    // A plain array: std::vector<bool> has no bool* to hand over.
    std::unique_ptr<bool[]> isVoid(new bool[region.loops.size()]);
    for (std::size_t h = 1; h < region.loops.size(); ++h) {
        append(holes, region.loops[h], scale);
        holeSizes.push_back(static_cast<int>(region.loops[h].size()));
        isVoid[h - 1] = !(h < region.solid.size() && region.solid[h]);
    }

    ZEVTriangleMesher mesher;
    int n = mesher.mesh_it(boundary.data(), static_cast<int>(boundary.size() / 2), interior.data(),
                           static_cast<int>(interior.size() / 2), extra.data(),
                           static_cast<int>(extra.size() / 2), static_cast<int>(holeSizes.size()),
                           holeSizes.data(), holes.data(), std::ldexp(maxArea, 2 * k), conforming,
                           isVoid.get());
    if (n == 0) {
        result.error = mesher.errorText[0] ? mesher.errorText : "no triangles were made";
        return result;
    }
    for (int i = 0; i < mesher.numberOfPoints; ++i)
        result.mesh.nodes.push_back(
            {std::ldexp(mesher.points[2 * i], -k), std::ldexp(mesher.points[2 * i + 1], -k)});
    for (int t = 0; t < mesher.numberOfTriangles; ++t) {
        Element e;
        e.count = 3;
        for (int c = 0; c < 3; ++c) e.v[c] = mesher.triangles[3 * t + c];
        result.mesh.elements.push_back(e);
    }
    // Without constraint points there is nothing to match, and no nodes to sort for it.
    if (region.interiorPoints.empty()) return result;
    // A constraint point counts as met when a corner of some triangle stands on it; Triangle
    // keeps points that fall in a void hole, but in no triangle.
    std::vector<bool> used(result.mesh.nodes.size(), false);
    for (const Element& e : result.mesh.elements)
        for (int c = 0; c < 3; ++c) used[e.v[c]] = true;
    // The used nodes by x, so that each point looks only at those within reach.
    std::vector<Point> corners;
    for (std::size_t i = 0; i < used.size(); ++i)
        if (used[i]) corners.push_back(result.mesh.nodes[i]);
    auto byX = [](const Point& a, const Point& b) { return a.x < b.x; };
    std::sort(corners.begin(), corners.end(), byX);
    for (const Point& p : region.interiorPoints) {
        bool met = false;
        auto at =
            std::lower_bound(corners.begin(), corners.end(), Point{p.x - TOLERANCE, 0.0}, byX);
        for (; at != corners.end() && at->x <= p.x + TOLERANCE && !met; ++at)
            met = std::hypot(p.x - at->x, p.y - at->y) < TOLERANCE;
        result.missedInteriorPoints += !met;
    }
    return result;
}

std::string triangleCountProblem(const Region& region, double maxArea) {
    double area = 0.0;
    for (std::size_t l = 0; l < region.loops.size(); ++l) {
        const bool solid = l > 0 && l < region.solid.size() && region.solid[l];
        if (!solid) area += signedArea(region.loops[l]);
    }
    const double fewest = std::fabs(area) / maxArea;
    if (!(fewest > kMaxTriangles) && std::isfinite(fewest)) return "";
    CZEVClassicLocaleScope classic;
    char text[128];
    std::snprintf(text, sizeof text,
                  "would need at least %.3g triangles (at most %.0f; give a larger area)", fewest,
                  kMaxTriangles);
    return text;
}

std::string triangleSummaryText(const Mesh& mesh, const Quality& quality, bool conforming) {
    CZEVClassicLocaleScope classic;
    char buffer[256];
    if (conforming)
        std::snprintf(buffer, sizeof buffer,
                      "triangles:         %zu, smallest angle %.1f degrees (conforming "
                      "Delaunay, no angle bound)\n",
                      mesh.elements.size(), quality.minAngle);
    else
        std::snprintf(buffer, sizeof buffer,
                      "triangles:         %zu, smallest angle %.1f degrees (bound 20.0)\n",
                      mesh.elements.size(), quality.minAngle);
    return buffer;
}

}  // namespace zevtool::meshio
