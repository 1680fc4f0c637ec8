#include "tools/zevcore/MeshChecks.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

#include "tools/zevcore/MeshPaver.h"

namespace zevtool::meshio {

namespace {

bool sidesCross(const Point& a, const Point& b, const Point& c, const Point& d) {
    auto side = [](const Point& p, const Point& q, const Point& r) {
        double t = (q.x - p.x) * (r.y - p.y) - (q.y - p.y) * (r.x - p.x);
        return (t > 0.0) - (t < 0.0);
    };
    return side(a, b, c) * side(a, b, d) < 0 && side(c, d, a) * side(c, d, b) < 0;
}

}  // namespace

bool validElement(const Element& e, int nodes) {
    bool valid = e.count >= 3 && e.count <= 4;
    for (int i = 0; valid && i < e.count; ++i) valid = e.v[i] >= 0 && e.v[i] < nodes;
    return valid;
}

// Interior angles, counter-clockwise from the edge to the next corner to the edge to the
// previous one, so that a clockwise (turned-over) element has every angle above 180.
ElementShape measureElement(const Mesh& mesh, const Element& e) {
    ElementShape s;
    double shortest = std::numeric_limits<double>::infinity(), longest = 0.0;
    for (int i = 0; i < e.count; ++i) {
        const Point& p = mesh.nodes[e.v[i]];
        const Point& next = mesh.nodes[e.v[(i + 1) % e.count]];
        const Point& prev = mesh.nodes[e.v[(i + e.count - 1) % e.count]];
        double ax = next.x - p.x, ay = next.y - p.y;
        double bx = prev.x - p.x, by = prev.y - p.y;
        double angle = std::atan2(ax * by - ay * bx, ax * bx + ay * by) * 180.0 / M_PI;
        if (angle < 0.0) angle += 360.0;
        if (!(angle < 180.0)) s.concave = true;
        if (!std::isnan(angle)) {
            s.minAngle = std::min(s.minAngle, angle);
            s.maxAngle = std::max(s.maxAngle, angle);
        }
        double edge = std::hypot(ax, ay);
        shortest = std::min(shortest, edge);
        longest = std::max(longest, edge);
    }
    s.aspect = shortest > 0.0 ? longest / shortest : std::numeric_limits<double>::infinity();
    if (!(shortest > 0.0)) s.concave = true;
    return s;
}

Quality measureQuality(const Mesh& mesh) {
    Quality q;
    q.minAngle = 360.0;
    double aspectSum = 0.0;
    int measured = 0;
    for (const Element& e : mesh.elements) {
        if (!validElement(e, static_cast<int>(mesh.nodes.size()))) continue;
        ElementShape s = measureElement(mesh, e);
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

bool Coverage::joined() const {
    return misjoined == 0 && std::isfinite(outlineLength) &&
           std::fabs(openLength - outlineLength) <= 1e-6 * outlineLength;
}

bool Coverage::covered() const {
    return folded == 0 && joined() && std::isfinite(regionArea) &&
           std::fabs(elementArea - regionArea) <= 1e-6 * std::fabs(regionArea);
}

Coverage measureCoverage(const Region& region, const Mesh& mesh) {
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
    // Each side by its two nodes, smaller number first, with how often it runs each way.
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

}  // namespace zevtool::meshio
