// Extended mode: the outline is divided by a size that follows the region (Resample.h) at
// twice the size asked, the region is triangulated on it with quality refinement, the
// triangles are paired into quadrilaterals, and every element is then split once,
// quadrilaterals in four and the triangles left unpaired in three, which gives an
// all-quadrilateral mesh at the size asked. Splitting puts a node in the middle of every
// edge, so elements stay conforming; on the outline that node goes onto the input outline.
// Constrained smoothing last. The work is done in coordinates scaled to the region, so that
// a region drawn in metres and meshed at millimetres is as well conditioned as any other.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <unordered_map>
#include <vector>

#include "zevcore/frame/Math.h"
#include "zevcore/mesh/TriangleProcess.hpp"
#include "zevcore/mesh/paver/MeshModel.h"
#include "zevcore/mesh/paver/Resample.h"
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
    // stays on the boundary, where `middles` says for the sides of the outline it has.
    void split(const std::unordered_map<std::uint64_t, Pt>& middles) {
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
            const std::uint64_t key = edgeKey(a, b);
            const bool fresh = made.find(key) == made.end();
            const int m = midpoint(made, a, b);
            if (uses[key] == 1) {
                fixed[m] = boundary[m] = 1;
                const auto on = middles.find(key);
                if (fresh && on != middles.end()) points[m] = on->second;
            }
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

// Triangulates the part of the plane inside `segments` (an outline with the open part on one
// side of every edge) on the outline's nodes and what quality refinement adds inside, pairs
// the triangles into quadrilaterals where the pair is a good one, and adds both to `w`.
struct Pair {
    double score;
    int t1, t2;
    Quad4 quad;
};

// A greedy pairing leaves a triangle here and there that a change of partners along a path
// would pair: from each one left, a search for an alternating path (a pair not taken, the
// partner's pair, a pair not taken, ...) to another triangle left, within a few steps, and the
// partners swapped along it. Without the contraction of odd cycles this finds most such paths,
// not all; every swap keeps a valid pairing and pairs two more triangles.
void pairLeftovers(const std::vector<Pair>& pairs, std::vector<int>& mate) {
    constexpr int kReach = 64;  // triangles a search may visit
    const int count = static_cast<int>(mate.size());
    std::vector<std::vector<int>> options(mate.size());  // pairs a triangle could be in
    for (int p = 0; p < static_cast<int>(pairs.size()); ++p) {
        options[pairs[p].t1].push_back(p);
        options[pairs[p].t2].push_back(p);
    }
    auto other = [&](int p, int t) { return pairs[p].t1 == t ? pairs[p].t2 : pairs[p].t1; };
    std::vector<int> seen(mate.size(), -1);  // the search that reached a triangle
    std::vector<int> via(mate.size(), -1);   // the pair an odd triangle was reached by
    std::vector<int> from(mate.size(), -1);  // ... and the triangle it was reached from
    std::vector<int> queue;
    for (int root = 0; root < count; ++root) {
        if (mate[root] >= 0 || options[root].empty()) continue;
        queue.clear();
        queue.push_back(root);
        seen[root] = root;
        int end = -1;
        for (std::size_t head = 0; head < queue.size() && end < 0; ++head) {
            const int x = queue[head];
            for (int p : options[x]) {
                const int y = other(p, x);
                if (seen[y] == root) continue;
                seen[y] = root;
                via[y] = p;
                from[y] = x;
                if (mate[y] < 0) {
                    end = y;
                    break;
                }
                const int z = other(mate[y], y);
                if (seen[z] == root || static_cast<int>(queue.size()) >= kReach) continue;
                seen[z] = root;
                queue.push_back(z);
            }
        }
        // Swap along the path: each odd triangle takes the pair it was reached by, and the
        // triangle before it gives up its old partner, which is the odd triangle before.
        for (int y = end; y >= 0;) {
            const int x = from[y];
            const int before = x == root ? -1 : other(mate[x], x);
            mate[y] = mate[x] = via[y];
            y = before;
        }
    }
}

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
    // Fixed digits: Triangle reads the number up to the first character that is neither a
    // digit nor a point, so "8e-05" would be read as 8 and the next switch.
    std::snprintf(area, sizeof area, "%.20f", 0.8 * pavedSize * pavedSize);
    // At 0.8 times the spacing squared, the split elements come out with a median side at
    // the size asked. No new nodes on the outline (Y), so that the elements round it still meet
    // node to node. A minimum angle of 28 degrees pairs well, but refining to it need not end where
    // the outline has sharp corners; 20 degrees always ends. So 28 is tried for a short while (the
    // closures of a fine region take well under a second), then 20 with the full limit.
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
    std::vector<int> mate(triangles.size(), -1);  // the pair a triangle is in
    for (int p = 0; p < static_cast<int>(pairs.size()); ++p) {
        if (mate[pairs[p].t1] >= 0 || mate[pairs[p].t2] >= 0) continue;
        mate[pairs[p].t1] = mate[pairs[p].t2] = p;
    }
    pairLeftovers(pairs, mate);
    std::vector<char> listed(pairs.size(), 0);
    for (std::size_t t = 0; t < triangles.size(); ++t) {
        if (mate[t] < 0) {
            w.triangles.push_back(triangles[t]);
        } else if (!listed[static_cast<std::size_t>(mate[t])]) {
            listed[static_cast<std::size_t>(mate[t])] = 1;
            w.quads.push_back(pairs[static_cast<std::size_t>(mate[t])].quad);
        }
    }
    return true;
}

// The area inside an outline of segments with the region on their left.
double outlineArea(const std::vector<Pt>& points,
                   const std::vector<std::pair<int, int>>& segments) {
    double sum = 0.0;
    for (const auto& [a, b] : segments)
        sum +=
            0.5 * (points[static_cast<std::size_t>(a)].x * points[static_cast<std::size_t>(b)].y -
                   points[static_cast<std::size_t>(b)].x * points[static_cast<std::size_t>(a)].y);
    return sum;
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

bool CMeshModel::meshExtended(double size) {
    if (boundaries.empty()) DrawShape1();
    CString line;
    line.Format("Mesh element size is ~%s", nice(size));
    putUpMessage(line);
    putUpMessage("Shape is ready for mesher");
    putUpMessage("Meshing boundaries...");
    quads.clear();
    vertices.clear();
    fronts.clear();
    m_meshedLoops.clear();
    missedInteriorPoints = 0;

    std::vector<std::vector<extended::XY>> loops;
    for (const auto& boundary : boundaries) {
        std::vector<extended::XY> loop;
        for (const CLine2D& l : boundary) loop.push_back({l.start.x, l.start.y});
        loops.push_back(std::move(loop));
    }
    std::vector<extended::XY> onOutline;
    for (const CPoint2D& p : boundaryPoints) onOutline.push_back({p.x, p.y});
    // The outline is divided at twice the size: the split halves every side.
    const double spacing = 2.0 * size;
    const std::vector<extended::SampledLoop> sampled =
        extended::sampleLoops(loops, onOutline, spacing);
    if (sampled.empty()) {
        putUpMessage("Warning: the region could not be closed.");
        return false;
    }

    // Work in coordinates centred on the region and scaled to its extent.
    double minX = INFINITY, minY = INFINITY, maxX = -INFINITY, maxY = -INFINITY;
    for (const auto& loop : sampled)
        for (const auto& p : loop.nodes) {
            minX = std::min(minX, p.x), maxX = std::max(maxX, p.x);
            minY = std::min(minY, p.y), maxY = std::max(maxY, p.y);
        }
    const double cx = 0.5 * (minX + maxX), cy = 0.5 * (minY + maxY);
    const double scale = std::max({maxX - minX, maxY - minY, 1e-300});
    auto local = [&](double x, double y) { return Pt{(x - cx) / scale, (y - cy) / scale}; };
    // Areas of elements in the caller's coordinates must stay finite for the model's checks.
    if (!std::isfinite(16.0 * scale * scale) || !std::isfinite(cx) || !std::isfinite(cy)) {
        putUpMessage("Warning: the region could not be closed.");
        m_meshedLoops.clear();
        return false;
    }

    Work w;
    std::vector<Pt> exact;  // where a fixed node was given, in the caller's coordinates
    std::vector<std::pair<int, int>> segments;
    std::unordered_map<std::uint64_t, Pt> middles;
    double area = 0.0;
    for (const auto& loop : sampled) {
        const int first = static_cast<int>(w.points.size());
        const int count = static_cast<int>(loop.nodes.size());
        std::vector<CPoint2D> meshed;
        for (int k = 0; k < count; ++k) {
            const auto& p = loop.nodes[static_cast<std::size_t>(k)];
            w.points.push_back(local(p.x, p.y));
            exact.push_back({p.x, p.y});
            w.fixed.push_back(1);
            w.boundary.push_back(1);
            const int a = first + k, b = first + (k + 1) % count;
            segments.emplace_back(a, b);
            const auto& m = loop.middles[static_cast<std::size_t>(k)];
            middles.emplace(edgeKey(a, b), local(m.x, m.y));
            meshed.emplace_back(p.x, p.y);
            meshed.emplace_back(m.x, m.y);
        }
        m_meshedLoops.push_back(std::move(meshed));
    }
    for (const auto& loop : m_meshedLoops)
        for (std::size_t i = 0; i < loop.size(); ++i) {
            const Pt a = local(loop[i].x, loop[i].y);
            const Pt b = local(loop[(i + 1) % loop.size()].x, loop[(i + 1) % loop.size()].y);
            area += 0.5 * (a.x * b.y - b.x * a.y);
        }
    std::vector<int> loose;
    for (const CPoint2D& p : interiorPoints) {
        if (!std::isfinite(p.x) || !std::isfinite(p.y)) continue;
        loose.push_back(static_cast<int>(w.points.size()));
        w.points.push_back(local(p.x, p.y));
        exact.push_back({p.x, p.y});
        w.fixed.push_back(1);
        w.boundary.push_back(0);
    }

    putUpMessage("Finishing the mesh...");
    std::string failure;
    bool stuck = false;
    // Before the split the elements are twice the size; the coarse outline is what the
    // triangles must cover.
    Work coarse = w;
    const double coarseArea = outlineArea(w.points, segments);
    if (!closeOpen(coarse, segments, loose, spacing / scale, failure, stuck) ||
        !(std::fabs(coveredArea(coarse) - coarseArea) <= 1e-9 * std::fabs(coarseArea))) {
        putUpMessage("Warning: the region could not be closed.");
        m_meshedLoops.clear();
        return false;
    }
    coarse.split(middles);
    coarse.smooth(8);
    if (!(std::fabs(coveredArea(coarse) - area) <= 1e-9 * std::fabs(area))) {
        putUpMessage("Warning: the region could not be closed.");
        m_meshedLoops.clear();
        return false;
    }

    // Back to the caller's coordinates; given nodes and outline middles exactly as given.
    std::vector<MeshVertex*> made(coarse.points.size(), nullptr);
    std::vector<char> used(coarse.points.size(), 0);
    for (const Quad4& q : coarse.quads)
        for (int v : q) used[static_cast<std::size_t>(v)] = 1;
    for (std::size_t i = 0; i < coarse.points.size(); ++i) {
        if (!used[i]) continue;
        Pt p{cx + coarse.points[i].x * scale, cy + coarse.points[i].y * scale};
        if (i < exact.size()) p = exact[i];
        made[i] = NewVertex(CPoint2D(p.x, p.y));
        made[i]->isShapeBoundary = coarse.boundary[i] != 0;
        made[i]->isFixed = coarse.fixed[i] != 0;
        vertices.push_back(made[i]);
    }
    for (const Quad4& q : coarse.quads)
        quads.push_back(NewQuad(made[q[0]], made[q[1]], made[q[2]], made[q[3]]));
    // A constraint point inside the region that no element has as a corner is missed; one
    // outside every element is not counted, as in the stated mode.
    const Outline outline(w.points, segments, spacing / scale);
    for (int v : loose)
        if (!used[static_cast<std::size_t>(v)] &&
            outline.contains(w.points[static_cast<std::size_t>(v)]))
            ++missedInteriorPoints;
    return true;
}

}  // namespace Paver
