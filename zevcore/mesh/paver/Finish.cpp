// Extended mode's finish: the paved mesh, made at a coarser size, loses every element that
// is folded, concave or badly angled (with the ring of elements round it); what they covered
// is triangulated without new nodes on its edges, the triangles are paired into
// quadrilaterals, and every element is then split, quadrilaterals in four and the triangles
// left unpaired in three, as often as the coarser size asks. Splitting puts a node in the
// middle of every edge, so elements stay conforming; constrained smoothing last.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <unordered_map>
#include <vector>

#include "zevcore/mesh/TriangleProcess.hpp"
#include "zevcore/mesh/paver/MeshModel.h"
#include "zevcore/platform/Locale.h"

// Triangle's header defines macros and global types; it comes after everything else.
#include <triangle.h>

namespace Paver {

namespace {

constexpr double kPi = 3.14159265358979323846;

struct Pt {
    double x, y;
};

using Quad4 = std::array<int, 4>;
using Tri3 = std::array<int, 3>;

double cross(Pt o, Pt a, Pt b) {
    return (a.x - o.x) * (b.y - o.y) - (a.y - o.y) * (b.x - o.x);
}

// The angle at b, in degrees, of the corner a-b-c.
double cornerAngle(Pt a, Pt b, Pt c) {
    const double ux = a.x - b.x, uy = a.y - b.y, vx = c.x - b.x, vy = c.y - b.y;
    return std::atan2(std::fabs(ux * vy - uy * vx), ux * vx + uy * vy) * 180.0 / kPi;
}

// How far the worst corner of a counter-clockwise polygon is from `ideal`; infinity when the
// polygon is not strictly convex.
template <std::size_t N>
double worstDeviation(const std::vector<Pt>& p, const std::array<int, N>& e, double ideal) {
    double worst = 0.0;
    for (std::size_t i = 0; i < N; ++i) {
        const Pt a = p[e[(i + N - 1) % N]], b = p[e[i]], c = p[e[(i + 1) % N]];
        if (!(cross(a, b, c) > 0.0)) return INFINITY;
        worst = std::max(worst, std::fabs(cornerAngle(a, b, c) - ideal));
    }
    return worst;
}

std::uint64_t edgeKey(int a, int b) {
    const auto lo = static_cast<std::uint32_t>(std::min(a, b));
    const auto hi = static_cast<std::uint32_t>(std::max(a, b));
    return (static_cast<std::uint64_t>(lo) << 32) | hi;
}

bool inside(const std::vector<CPoint2D>& loop, CPoint2D p) {
    bool in = false;
    for (std::size_t i = 0, j = loop.size() - 1; i < loop.size(); j = i++) {
        const CPoint2D& a = loop[i];
        const CPoint2D& b = loop[j];
        if ((a.y > p.y) != (b.y > p.y) && p.x < (b.x - a.x) * (p.y - a.y) / (b.y - a.y) + a.x)
            in = !in;
    }
    return in;
}

// The elements being finished, by node number.
struct Work {
    std::vector<Pt> points;
    std::vector<char> fixed;     // on the region's boundary, or a constraint point
    std::vector<char> boundary;  // on the region's boundary
    std::vector<Quad4> quads;
    std::vector<Tri3> triangles;

    int midpoint(std::unordered_map<std::uint64_t, int>& made, int a, int b) {
        const std::uint64_t key = edgeKey(a, b);
        const auto it = made.find(key);
        if (it != made.end()) return it->second;
        points.push_back({(points[a].x + points[b].x) / 2, (points[a].y + points[b].y) / 2});
        fixed.push_back(0);
        boundary.push_back(0);
        const int m = static_cast<int>(points.size()) - 1;
        made.emplace(key, m);
        return m;
    }

    // Every quadrilateral in four, every triangle in three; a boundary edge's middle node
    // stays on the boundary.
    void split() {
        std::unordered_map<std::uint64_t, int> uses;
        for (const Quad4& q : quads)
            for (int i = 0; i < 4; ++i) ++uses[edgeKey(q[i], q[(i + 1) % 4])];
        for (const Tri3& t : triangles)
            for (int i = 0; i < 3; ++i) ++uses[edgeKey(t[i], t[(i + 1) % 3])];
        std::unordered_map<std::uint64_t, int> made;
        made.reserve(uses.size());
        std::vector<Quad4> out;
        out.reserve(quads.size() * 4 + triangles.size() * 3);
        auto mid = [&](int a, int b) {
            const int m = midpoint(made, a, b);
            if (uses[edgeKey(a, b)] == 1) fixed[m] = boundary[m] = 1;
            return m;
        };
        for (const Quad4& q : quads) {
            const int m01 = mid(q[0], q[1]), m12 = mid(q[1], q[2]), m23 = mid(q[2], q[3]),
                      m30 = mid(q[3], q[0]);
            Pt c{0.0, 0.0};
            for (int v : q) c = {c.x + points[v].x / 4, c.y + points[v].y / 4};
            points.push_back(c);
            fixed.push_back(0);
            boundary.push_back(0);
            const int centre = static_cast<int>(points.size()) - 1;
            out.push_back({q[0], m01, centre, m30});
            out.push_back({q[1], m12, centre, m01});
            out.push_back({q[2], m23, centre, m12});
            out.push_back({q[3], m30, centre, m23});
        }
        for (const Tri3& t : triangles) {
            const int m01 = mid(t[0], t[1]), m12 = mid(t[1], t[2]), m20 = mid(t[2], t[0]);
            Pt c{0.0, 0.0};
            for (int v : t) c = {c.x + points[v].x / 3, c.y + points[v].y / 3};
            points.push_back(c);
            fixed.push_back(0);
            boundary.push_back(0);
            const int centre = static_cast<int>(points.size()) - 1;
            out.push_back({t[0], m01, centre, m20});
            out.push_back({t[1], m12, centre, m01});
            out.push_back({t[2], m20, centre, m12});
        }
        quads = std::move(out);
        triangles.clear();
    }

    // Moves each free node towards the middle of its neighbours, unless that makes the worst
    // corner round it worse.
    void smooth(int passes) {
        // Whatever lies on the outline of the elements stays there, flagged or not.
        std::unordered_map<std::uint64_t, int> uses;
        for (const Quad4& q : quads)
            for (int i = 0; i < 4; ++i) ++uses[edgeKey(q[i], q[(i + 1) % 4])];
        for (const Quad4& q : quads)
            for (int i = 0; i < 4; ++i)
                if (uses[edgeKey(q[i], q[(i + 1) % 4])] == 1)
                    fixed[q[i]] = fixed[q[(i + 1) % 4]] = 1;
        std::vector<std::vector<int>> around(points.size());
        for (int e = 0; e < static_cast<int>(quads.size()); ++e)
            for (int v : quads[e]) around[v].push_back(e);
        auto worstAround = [&](int v) {
            double worst = 0.0;
            for (int e : around[v]) worst = std::max(worst, worstDeviation(points, quads[e], 90.0));
            return worst;
        };
        for (int pass = 0; pass < passes; ++pass) {
            for (int v = 0; v < static_cast<int>(points.size()); ++v) {
                if (fixed[v] || around[v].empty()) continue;
                // Neighbours along element edges, each edge counted once per element.
                double sx = 0.0, sy = 0.0;
                int n = 0;
                for (int e : around[v]) {
                    const Quad4& q = quads[e];
                    const int at = static_cast<int>(std::find(q.begin(), q.end(), v) - q.begin());
                    for (int w : {q[(at + 1) % 4], q[(at + 3) % 4]}) {
                        sx += points[w].x;
                        sy += points[w].y;
                        ++n;
                    }
                }
                const Pt before = points[v];
                const double was = worstAround(v);
                points[v] = {sx / n, sy / n};
                if (!(worstAround(v) <= was)) points[v] = before;
            }
        }
    }
};

bool crosses(Pt a, Pt b, Pt c, Pt d) {
    const double d1 = cross(a, b, c), d2 = cross(a, b, d), d3 = cross(c, d, a), d4 = cross(c, d, b);
    return ((d1 > 0 && d2 < 0) || (d1 < 0 && d2 > 0)) && ((d3 > 0 && d4 < 0) || (d3 < 0 && d4 > 0));
}

// The outline of the open part, its edges filed by rows of the plane for the crossing count.
class Outline {
public:
    Outline(const std::vector<Pt>& points, const std::vector<std::pair<int, int>>& segments,
            double size)
        : m_points(points), m_segments(segments) {
        m_minY = INFINITY;
        double maxY = -INFINITY;
        for (const auto& [a, b] : segments) {
            m_minY = std::min({m_minY, points[a].y, points[b].y});
            maxY = std::max({maxY, points[a].y, points[b].y});
        }
        if (segments.empty()) return;
        // At most 4096 rows; one when the extent is not finite.
        m_band = std::max(size, (maxY - m_minY) / 4096.0);
        const double rows = (maxY - m_minY) / m_band;
        m_rows.resize(rows >= 0.0 && rows <= 4096.0 ? static_cast<std::size_t>(rows) + 1 : 1);
        for (std::size_t s = 0; s < segments.size(); ++s) {
            const double y0 = std::min(points[segments[s].first].y, points[segments[s].second].y);
            const double y1 = std::max(points[segments[s].first].y, points[segments[s].second].y);
            for (std::size_t r = row(y0); r <= row(y1); ++r)
                m_rows[r].push_back(static_cast<int>(s));
        }
    }

    bool contains(Pt p) const {
        if (m_rows.empty() || p.y < m_minY) return false;
        const std::size_t r = row(p.y);
        bool in = false;
        for (int s : m_rows[r]) {
            const Pt a = m_points[m_segments[s].first], b = m_points[m_segments[s].second];
            if ((a.y > p.y) != (b.y > p.y) && p.x < (b.x - a.x) * (p.y - a.y) / (b.y - a.y) + a.x)
                in = !in;
        }
        return in;
    }

private:
    // The row of height y, the last one for anything above it (where no edge changes the
    // count), the first for what cannot be placed.
    std::size_t row(double y) const {
        const double r = (y - m_minY) / m_band;
        if (!(r >= 0.0)) return 0;
        return r < static_cast<double>(m_rows.size() - 1) ? static_cast<std::size_t>(r)
                                                          : m_rows.size() - 1;
    }

    const std::vector<Pt>& m_points;
    const std::vector<std::pair<int, int>>& m_segments;
    double m_minY = 0.0;
    double m_band = 1.0;
    std::vector<std::vector<int>> m_rows;
};

// The region's loops, the largest taken as the outer one, and its bounding box.
struct RegionLoops {
    std::vector<std::vector<CPoint2D>> loops;
    std::size_t outer = 0;
    double area = 0.0;  // outer less holes
    double minX = INFINITY, minY = INFINITY, maxX = -INFINITY, maxY = -INFINITY;

    explicit RegionLoops(const std::vector<std::vector<CLine2D>>& boundaries) {
        double largest = -1.0, total = 0.0;
        for (const auto& boundary : boundaries) {
            std::vector<CPoint2D> loop;
            double a = 0.0;
            for (const CLine2D& line : boundary) {
                loop.push_back(line.start);
                a += line.start.x * line.end.y - line.end.x * line.start.y;
                minX = std::min(minX, line.start.x), maxX = std::max(maxX, line.start.x);
                minY = std::min(minY, line.start.y), maxY = std::max(maxY, line.start.y);
            }
            total += std::fabs(0.5 * a);
            if (std::fabs(a) > largest) largest = std::fabs(a), outer = loops.size();
            loops.push_back(std::move(loop));
        }
        area = loops.empty() ? 0.0 : 2.0 * std::fabs(0.5 * largest) - total;
    }

    bool empty() const { return loops.empty() || !(maxX >= minX) || !(maxY >= minY); }

    /// Inside the outer loop and in no hole.
    bool contains(CPoint2D p) const {
        if (empty() || p.x < minX || p.x > maxX || p.y < minY || p.y > maxY) return false;
        if (!inside(loops[outer], p)) return false;
        for (std::size_t i = 0; i < loops.size(); ++i)
            if (i != outer && inside(loops[i], p)) return false;
        return true;
    }
};

// Rows that ran away leave elements outside the region or lying over others. Such an element
// is marked bad: a side much longer than the size, a free corner outside the region, or a
// side that crosses another element's side.
void markStrays(const Work& w, const RegionLoops& region, const std::vector<Quad4>& paved,
                std::vector<char>& bad, double pavedSize) {
    if (region.empty()) return;
    std::vector<signed char> within(w.points.size(), -1);  // -1 unknown, 0 out, 1 in
    auto inRegion = [&](int v) {
        if (within[v] < 0)
            within[v] = region.contains(CPoint2D(w.points[v].x, w.points[v].y)) ? 1 : 0;
        return within[v] == 1;
    };
    // Sides far longer than the size come from rows gone astray; sides far shorter from
    // nodes that nearly coincide, which leave elements too small to orient reliably.
    const double longest = 3.0 * pavedSize, shortest = 1e-4 * pavedSize;
    for (std::size_t i = 0; i < paved.size(); ++i) {
        for (int k = 0; k < 4 && !bad[i]; ++k) {
            const int a = paved[i][k], b = paved[i][(k + 1) % 4];
            const double side =
                std::hypot(w.points[a].x - w.points[b].x, w.points[a].y - w.points[b].y);
            if (side > longest || side < shortest) bad[i] = 1;
            if (!w.boundary[a] && !inRegion(a)) bad[i] = 1;
        }
        if (!bad[i]) {
            // Corners all on the boundary can still span a notch of the outside.
            CPoint2D c(0.0, 0.0);
            for (int v : paved[i]) c = CPoint2D(c.x + w.points[v].x / 4, c.y + w.points[v].y / 4);
            if (!region.contains(c)) bad[i] = 1;
        }
    }

    // Sides filed in a uniform grid of cells about the size, each under the cells of its box.
    const double minX = region.minX, minY = region.minY;
    double cell = pavedSize;
    const double width = region.maxX - minX, height = region.maxY - minY;
    while ((width / cell + 1) * (height / cell + 1) > 4e6) cell *= 2;
    const int nx = static_cast<int>(width / cell) + 1, ny = static_cast<int>(height / cell) + 1;
    std::unordered_map<long long, std::vector<std::pair<int, int>>> cells;  // (element, side)
    auto cellOf = [&](double x, double y, int& cx, int& cy) {
        cx = std::clamp(static_cast<int>((x - minX) / cell), 0, nx - 1);
        cy = std::clamp(static_cast<int>((y - minY) / cell), 0, ny - 1);
    };
    for (std::size_t i = 0; i < paved.size(); ++i) {
        for (int k = 0; k < 4; ++k) {
            const Pt a = w.points[paved[i][k]], b = w.points[paved[i][(k + 1) % 4]];
            int x0, y0, x1, y1;
            cellOf(std::min(a.x, b.x), std::min(a.y, b.y), x0, y0);
            cellOf(std::max(a.x, b.x), std::max(a.y, b.y), x1, y1);
            for (int x = x0; x <= x1; ++x)
                for (int y = y0; y <= y1; ++y)
                    cells[static_cast<long long>(y) * nx + x].emplace_back(static_cast<int>(i), k);
        }
    }
    for (const auto& [key, sides] : cells) {
        for (std::size_t s = 0; s < sides.size(); ++s) {
            const auto [e1, k1] = sides[s];
            const int a = paved[e1][k1], b = paved[e1][(k1 + 1) % 4];
            for (std::size_t t = s + 1; t < sides.size(); ++t) {
                const auto [e2, k2] = sides[t];
                if (e1 == e2) continue;
                const int c = paved[e2][k2], d = paved[e2][(k2 + 1) % 4];
                if (a == c || a == d || b == c || b == d) continue;
                if (crosses(w.points[a], w.points[b], w.points[c], w.points[d]))
                    bad[e1] = bad[e2] = 1;
            }
        }
    }
}

// Triangulates the part of the plane inside `segments` (an outline with the open part on one
// side of every edge) on the outline's nodes and what quality refinement adds inside, pairs
// the triangles into quadrilaterals where the pair is a good one, and adds both to `w`.
// Processor seconds the closure's triangulation may take at the finer angle, and then at the
// angle where refinement always ends. An outline that takes longer is one Triangle cannot
// work with (it refines some without end); the finish then tries the region's own outline.
constexpr int kQuickSeconds = 5;
constexpr int kSlowSeconds = 20;

bool closeOpen(Work& w, const std::vector<std::pair<int, int>>& segments,
               const std::vector<int>& nodes, double pavedSize, std::string& failure, bool& stuck) {
    stuck = false;
    if (segments.empty()) return true;
    std::vector<int> local(w.points.size(), -1), global;
    std::vector<double> pointList;
    std::vector<int> segmentList;
    auto localOf = [&](int v) {
        if (local[v] < 0) {
            local[v] = static_cast<int>(global.size());
            global.push_back(v);
            pointList.push_back(w.points[v].x);
            pointList.push_back(w.points[v].y);
        }
        return local[v];
    };
    for (const auto& [a, b] : segments) {
        segmentList.push_back(localOf(a));
        segmentList.push_back(localOf(b));
    }
    // Constraint nodes in the open part become nodes of its triangles (those outside it
    // only make triangles that are dropped).
    for (int v : nodes) localOf(v);
    CZEVClassicLocaleScope classic;  // Triangle reads the area back in the C locale
    char area[64];
    std::snprintf(area, sizeof area, "%.17g", 0.5 * pavedSize * pavedSize);
    // No new nodes on the outline (Y), so that the elements round it still meet node to node.
    // A minimum angle of 28 degrees pairs well, but refining to it need not end where the
    // outline has sharp corners; 20 degrees always ends. So 28 is tried for a short while
    // (the closures of a fine region take well under a second), then 20 with the full limit.
    std::string switches;
    auto work = [&](zevtriangle::Output& output) {
        triangulateio in{}, out{};
        in.pointlist = pointList.data();
        in.numberofpoints = static_cast<int>(global.size());
        in.segmentlist = segmentList.data();
        in.numberofsegments = static_cast<int>(segments.size());
        std::string s = switches;
        triangulate(s.data(), &in, &out, nullptr);
        const auto points = static_cast<std::size_t>(std::max(out.numberofpoints, 0));
        if (out.pointlist) output.points.assign(out.pointlist, out.pointlist + 2 * points);
        output.corners = out.numberofcorners;
        const auto count = static_cast<std::size_t>(std::max(out.numberoftriangles, 0));
        if (out.trianglelist)
            output.triangles.assign(
                out.trianglelist,
                out.trianglelist + count * static_cast<std::size_t>(out.numberofcorners));
    };
    zevtriangle::Output result;
    switches = std::string("pzQYq28a") + area;
    if (!zevtriangle::runIsolated(work, result, failure, kQuickSeconds)) {
        result = {};
        switches = std::string("pzQYq20a") + area;
        if (!zevtriangle::runIsolated(work, result, failure, kSlowSeconds)) {
            stuck = true;
            return false;
        }
    }
    if (result.corners < 3 || result.points.size() / 2 < global.size()) {
        failure = "the triangulation came back incomplete";
        return false;
    }
    // Triangle keeps the input points first and in order.
    std::vector<int> toGlobal(result.points.size() / 2);
    for (std::size_t i = 0; i < toGlobal.size(); ++i) {
        if (i < global.size()) {
            toGlobal[i] = global[i];
        } else {
            w.points.push_back({result.points[2 * i], result.points[2 * i + 1]});
            w.fixed.push_back(0);
            w.boundary.push_back(0);
            toGlobal[i] = static_cast<int>(w.points.size()) - 1;
        }
    }
    // Every outline edge has the open part on one side only, so a point is in it when a ray
    // from it crosses the outline an odd number of times. Triangles never cross the outline:
    // the middle of one decides.
    const Outline outline(w.points, segments, pavedSize);
    const auto corners = static_cast<std::size_t>(result.corners);
    std::vector<Tri3> triangles;
    for (std::size_t t = 0; t + corners <= result.triangles.size(); t += corners) {
        Tri3 tri{toGlobal[result.triangles[t]], toGlobal[result.triangles[t + 1]],
                 toGlobal[result.triangles[t + 2]]};
        if (cross(w.points[tri[0]], w.points[tri[1]], w.points[tri[2]]) < 0.0)
            std::swap(tri[1], tri[2]);
        const Pt c{(w.points[tri[0]].x + w.points[tri[1]].x + w.points[tri[2]].x) / 3,
                   (w.points[tri[0]].y + w.points[tri[1]].y + w.points[tri[2]].y) / 3};
        if (outline.contains(c)) triangles.push_back(tri);
    }
    // Pairs of triangles across an inner edge, the best quadrilateral first.
    std::unordered_map<std::uint64_t, std::vector<int>> byEdge;
    for (int t = 0; t < static_cast<int>(triangles.size()); ++t)
        for (int k = 0; k < 3; ++k)
            byEdge[edgeKey(triangles[t][k], triangles[t][(k + 1) % 3])].push_back(t);
    struct Pair {
        double score;
        int t1, t2;
        Quad4 quad;
    };
    std::vector<Pair> pairs;
    for (const auto& [key, ts] : byEdge) {
        if (ts.size() != 2) continue;
        const Tri3& a = triangles[ts[0]];
        const Tri3& b = triangles[ts[1]];
        for (int k = 0; k < 3; ++k) {
            const int p = a[k], q = a[(k + 1) % 3], r = a[(k + 2) % 3];
            if (edgeKey(p, q) != key) continue;
            int s = -1;
            for (int v : b)
                if (v != p && v != q) s = v;
            const Quad4 quad{p, s, q, r};
            const double score = worstDeviation(w.points, quad, 90.0);
            if (score <= 60.0)
                pairs.push_back({score, std::min(ts[0], ts[1]), std::max(ts[0], ts[1]), quad});
        }
    }
    std::sort(pairs.begin(), pairs.end(), [](const Pair& x, const Pair& y) {
        return x.score != y.score ? x.score < y.score : x.t1 != y.t1 ? x.t1 < y.t1 : x.t2 < y.t2;
    });
    std::vector<char> used(triangles.size(), 0);
    for (const Pair& p : pairs) {
        if (used[p.t1] || used[p.t2]) continue;
        used[p.t1] = used[p.t2] = 1;
        w.quads.push_back(p.quad);
    }
    for (std::size_t t = 0; t < triangles.size(); ++t)
        if (!used[t]) w.triangles.push_back(triangles[t]);
    return true;
}

double coveredArea(const Work& w) {
    double sum = 0.0;
    for (const Quad4& q : w.quads)
        sum += 0.5 * (cross(w.points[q[0]], w.points[q[1]], w.points[q[2]]) +
                      cross(w.points[q[0]], w.points[q[2]], w.points[q[3]]));
    for (const Tri3& t : w.triangles)
        sum += 0.5 * cross(w.points[t[0]], w.points[t[1]], w.points[t[2]]);
    return sum;
}

}  // namespace

int CMeshModel::extendedSplits(double size) const {
    const double wanted = RegionLoops(boundaries).area / (size * size);
    return wanted > 640000.0 ? 3 : wanted > 40000.0 ? 2 : 1;
}

bool CMeshModel::finishExtended(double pavedSize, int splits) {
    const RegionLoops region(boundaries);
    Work base;
    std::unordered_map<const MeshVertex*, int> number;
    number.reserve(vertices.size());
    for (MeshVertex* v : vertices) {
        number.emplace(v, static_cast<int>(base.points.size()));
        base.points.push_back({v->point.x, v->point.y});
        bool constrained = v->isShapeBoundary;
        for (const CPoint2D& p : interiorPoints)
            constrained = constrained || (p.x == v->point.x && p.y == v->point.y);
        base.fixed.push_back(constrained ? 1 : 0);
        base.boundary.push_back(v->isShapeBoundary ? 1 : 0);
    }

    // Which paved elements are good: finite, strictly convex, corners from 35 to 145 degrees,
    // inside the region and crossing no other.
    std::vector<Quad4> paved;
    std::vector<char> bad;
    std::vector<std::vector<int>> around(base.points.size());
    for (Quad* q : quads) {
        Quad4 e{};
        bool known = true;
        for (int i = 0; i < 4; ++i) {
            const auto it = number.find(q->corners[i]);
            known = known && it != number.end();
            e[static_cast<std::size_t>(i)] = known ? it->second : 0;
        }
        if (!known) continue;
        bool finite = true;
        for (int v : e)
            finite = finite && std::isfinite(base.points[v].x) && std::isfinite(base.points[v].y);
        const int index = static_cast<int>(paved.size());
        paved.push_back(e);
        bad.push_back(!finite || worstDeviation(base.points, e, 90.0) > 55.0);
        for (int v : e) around[v].push_back(index);
    }
    markStrays(base, region, paved, bad, pavedSize);

    // What the fronts still enclose is open as well.
    std::vector<std::pair<int, int>> frontEdges;
    for (const MeshVertexList& front : fronts) {
        MeshVertex* v = front.head;
        for (long long n = 0, limit = WalkLimit(); v && n < limit; ++n, v = v->next) {
            const auto a = number.find(v), b = number.find(v->next);
            if (a != number.end() && b != number.end() && a->second != b->second)
                frontEdges.emplace_back(a->second, b->second);
            if (v->next == front.head) break;
        }
    }

    const double tolerance = 1e-6 * std::max(region.area, 1e-300);
    Work w;
    bool closed = false;
    std::string failure;
    // The bad elements go with one ring of neighbours, then with two; when neither closes
    // the region exactly, the whole region is triangulated from its own outline.
    for (int rings = 1; rings <= 2 && !closed; ++rings) {
        std::vector<char> keep(paved.size(), 1);
        std::vector<char> gone = bad;
        for (int r = 0; r < rings; ++r) {
            std::vector<char> next = gone;
            for (std::size_t i = 0; i < paved.size(); ++i) {
                if (!gone[i]) continue;
                for (int v : paved[i])
                    for (int e : around[v]) next[static_cast<std::size_t>(e)] = 1;
            }
            gone = std::move(next);
        }
        for (std::size_t i = 0; i < paved.size(); ++i) keep[i] = !gone[i];

        // Each edge has two sides: an element that stays or goes, the part a front still
        // encloses, or the outside. The open part is bounded by the edges with one side open
        // (an element that goes, or a front) and the other closed.
        struct Sides {
            int kept = 0, gone = 0;
            bool front = false;
        };
        std::unordered_map<std::uint64_t, Sides> sides;
        std::vector<std::pair<int, int>> edges;
        auto note = [&](int a, int b) -> Sides& {
            auto [it, added] = sides.try_emplace(edgeKey(a, b));
            if (added) edges.emplace_back(a, b);
            return it->second;
        };
        for (std::size_t i = 0; i < paved.size(); ++i)
            for (int k = 0; k < 4; ++k) {
                Sides& s = note(paved[i][k], paved[i][(k + 1) % 4]);
                (keep[i] ? s.kept : s.gone) += 1;
            }
        for (const auto& [a, b] : frontEdges) note(a, b).front = true;
        std::vector<std::pair<int, int>> segments;
        for (const auto& [a, b] : edges) {
            const Sides& s = sides[edgeKey(a, b)];
            const int open = s.gone + (s.front ? 1 : 0);
            // A side that is neither an element nor a front is the outside of the region.
            const int known = s.kept + s.gone + (s.front ? 1 : 0);
            const int closedSides = s.kept + std::max(0, 2 - known);
            if (open >= 1 && closedSides >= 1) segments.emplace_back(a, b);
        }

        Work attempt = base;
        std::vector<char> inKept(base.points.size(), 0);
        for (std::size_t i = 0; i < paved.size(); ++i) {
            if (!keep[i]) continue;
            attempt.quads.push_back(paved[i]);
            for (int v : paved[i]) inKept[v] = 1;
        }
        std::vector<int> loose;
        for (std::size_t v = 0; v < base.points.size(); ++v)
            if (base.fixed[v] && !base.boundary[v] && !inKept[v])
                loose.push_back(static_cast<int>(v));
        bool stuck = false;
        if (closeOpen(attempt, segments, loose, pavedSize, failure, stuck) &&
            std::fabs(coveredArea(attempt) - region.area) <= tolerance) {
            w = std::move(attempt);
            closed = true;
        }
        // Another ring makes the same kind of outline: straight to the region's own.
        if (stuck) break;
    }
    if (!closed) {
        // The region's own outline, divided at the size.
        Work whole;
        std::vector<std::pair<int, int>> segments;
        for (const auto& boundary : boundaries) {
            const int first = static_cast<int>(whole.points.size());
            for (const CLine2D& line : boundary) {
                const double length =
                    std::hypot(line.end.x - line.start.x, line.end.y - line.start.y);
                const int parts =
                    std::clamp(static_cast<int>(std::ceil(length / pavedSize)), 1, 1 << 20);
                for (int k = 0; k < parts; ++k) {
                    const double t = static_cast<double>(k) / parts;
                    whole.points.push_back({line.start.x + t * (line.end.x - line.start.x),
                                            line.start.y + t * (line.end.y - line.start.y)});
                    whole.fixed.push_back(1);
                    whole.boundary.push_back(1);
                }
            }
            const int last = static_cast<int>(whole.points.size());
            for (int v = first; v < last; ++v)
                segments.emplace_back(v, v + 1 < last ? v + 1 : first);
        }
        std::vector<int> loose;
        for (const CPoint2D& p : interiorPoints) {
            loose.push_back(static_cast<int>(whole.points.size()));
            whole.points.push_back({p.x, p.y});
            whole.fixed.push_back(1);
            whole.boundary.push_back(0);
        }
        bool stuck = false;
        if (!closeOpen(whole, segments, loose, pavedSize, failure, stuck) ||
            std::fabs(coveredArea(whole) - region.area) > tolerance) {
            putUpMessage("Warning: the region could not be closed.");
            return false;
        }
        w = std::move(whole);
    }

    for (int s = 0; s < splits; ++s) w.split();
    w.smooth(8);

    // The finished elements replace the paved ones; the store keeps the old nodes until the
    // model goes.
    quads.clear();
    vertices.clear();
    fronts.clear();
    std::vector<MeshVertex*> made(w.points.size(), nullptr);
    std::vector<char> used(w.points.size(), 0);
    for (const Quad4& q : w.quads)
        for (int v : q) used[v] = 1;
    for (std::size_t i = 0; i < w.points.size(); ++i) {
        if (!used[i]) continue;
        made[i] = NewVertex(CPoint2D(w.points[i].x, w.points[i].y));
        made[i]->isShapeBoundary = w.boundary[i] != 0;
        vertices.push_back(made[i]);
    }
    for (const Quad4& q : w.quads)
        quads.push_back(NewQuad(made[q[0]], made[q[1]], made[q[2]], made[q[3]]));
    return true;
}

}  // namespace Paver
