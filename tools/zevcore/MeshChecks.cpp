#include "tools/zevcore/MeshChecks.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <vector>

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

// signedArea over the first `count` points, with its arithmetic in the same order.
double signedArea(const Point* loop, int count) {
    double twice = 0.0;
    for (int i = 0; i < count; ++i) {
        const Point& a = loop[i];
        const Point& b = loop[(i + 1) % count];
        twice += a.x * b.y - b.x * a.y;
    }
    return twice * 0.5;
}

// Each side by its two nodes, smaller number first, with how often it runs each way (counted
// to 2, which is all the checks need): an open-addressed hash table, so that matching the
// sides is linear in their number.
class SideTable {
public:
    // `most` sides at most, so the table is never more than about three quarters full.
    explicit SideTable(std::size_t most) {
        std::size_t size = 16;
        while (size < most + most / 4) size *= 2;
        // calloc: a large table comes from fresh pages, already zero, with nothing to clear.
        m_keys.reset(static_cast<std::uint64_t*>(std::calloc(size, sizeof(std::uint64_t))));
        m_ways.reset(static_cast<std::uint8_t*>(std::calloc(size, 1)));
        if (!m_keys || !m_ways) throw std::bad_alloc();
        m_size = size;
    }

    void add(int a, int b) {
        // Stored plus one, so that zero marks an empty place.
        const std::uint64_t key = ((static_cast<std::uint64_t>(std::min(a, b)) << 32) |
                                   static_cast<std::uint32_t>(std::max(a, b))) +
                                  1;
        std::size_t at = hash(key) & (m_size - 1);
        while (m_keys[at] != key && m_keys[at] != 0) at = (at + 1) & (m_size - 1);
        m_keys[at] = key;
        // Low two bits: runs from the smaller node; next two: runs from the larger.
        std::uint8_t& ways = m_ways[at];
        const int shift = a < b ? 0 : 2;
        if (((ways >> shift) & 3) < 2) ways = static_cast<std::uint8_t>(ways + (1 << shift));
    }

    // Each side as (smaller node << 32 | larger node), with its runs each way.
    template <class Visit>
    void visit(Visit&& visit) const {
        for (std::size_t i = 0; i < m_size; ++i)
            if (m_keys[i] != 0) visit(m_keys[i] - 1, m_ways[i] & 3, m_ways[i] >> 2);
    }

private:
    static std::size_t hash(std::uint64_t key) {
        key ^= key >> 29;
        key *= 0xBF58476D1CE4E5B9u;
        key ^= key >> 32;
        return static_cast<std::size_t>(key);
    }

    struct Free {
        void operator()(void* p) const { std::free(p); }
    };
    std::unique_ptr<std::uint64_t[], Free> m_keys;
    std::unique_ptr<std::uint8_t[], Free> m_ways;
    std::size_t m_size = 0;
};

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

namespace {

// The angle of measureElement at one corner, in degrees, 0 to 360.
double cornerAngle(double ax, double ay, double bx, double by) {
    double angle = std::atan2(ax * by - ay * bx, ax * bx + ay * by) * 180.0 / M_PI;
    if (angle < 0.0) angle += 360.0;
    return angle;
}

// measureElement's answer where it can change the quality, found for less: an angle goes
// through atan2 only when it may be a new smallest or largest angle or 180 or more, its cosine
// (a square root) telling the others apart; an edge goes through hypot only when it may be the
// shortest or the longest, its square telling the others apart. What it leaves out could not
// have changed the quality.
class QualityMeter {
public:
    explicit QualityMeter(const Quality& q) : m_quality(q) {}

    ElementShape measure(const Mesh& mesh, const Element& e) {
        Point corner[4];
        for (int i = 0; i < e.count; ++i) corner[i] = mesh.nodes[static_cast<std::size_t>(e.v[i])];
        return e.count == 3 ? measure<3>(corner) : measure<4>(corner);
    }

private:
    template <int N>
    ElementShape measure(const Point* corner) {
        ElementShape s;
        refresh();
        // Below 180, the angle grows as its cosine falls; outside these bounds (with room for
        // rounding) an angle may be a new smallest or largest one.
        constexpr double kMargin = 1e-9;
        const double belowMin = m_cosMin - kMargin, aboveMax = m_cosMax + kMargin;
        double ex[N], ey[N], squared[N];  // edge i runs from corner i to corner i + 1
        bool plain = true;
        for (int i = 0; i < N; ++i) {
            const Point& p = corner[i];
            const Point& next = corner[(i + 1) % N];
            ex[i] = next.x - p.x;
            ey[i] = next.y - p.y;
            squared[i] = ex[i] * ex[i] + ey[i] * ey[i];
            // Squares that underflow, overflow or are not numbers do not order the edges.
            plain = plain && squared[i] > 1e-280 && squared[i] < 1e280;
        }
        for (int i = 0; i < N; ++i) {
            const int before = (i + N - 1) % N;
            const double ax = ex[i], ay = ey[i];
            const double bx = -ex[before], by = -ey[before];
            if (plain) {
                const double cross = ax * by - ay * bx;
                if (cross > 0.0) {  // else 180 or more, or not a number
                    const double cosine =
                        (ax * bx + ay * by) / std::sqrt(squared[i] * squared[before]);
                    if (cosine > -1.0 + 1e-6 && cosine < belowMin && cosine > aboveMax) continue;
                }
            }
            const double angle = cornerAngle(ax, ay, bx, by);
            if (!(angle < 180.0)) s.concave = true;
            if (!std::isnan(angle)) {
                s.minAngle = std::min(s.minAngle, angle);
                s.maxAngle = std::max(s.maxAngle, angle);
            }
        }
        double shortest = std::numeric_limits<double>::infinity(), longest = 0.0;
        if (plain) {
            double least = squared[0], most = squared[0];
            for (int i = 1; i < N; ++i) {
                least = std::min(least, squared[i]);
                most = std::max(most, squared[i]);
            }
            // A square within rounding of the extreme may still be the extreme length.
            const double low = least * (1 + 1e-12), high = most * (1 - 1e-12);
            for (int i = 0; i < N; ++i) {
                if (squared[i] <= low || squared[i] >= high) {
                    const double edge = std::hypot(ex[i], ey[i]);
                    shortest = std::min(shortest, edge);
                    longest = std::max(longest, edge);
                }
            }
        } else {
            for (int i = 0; i < N; ++i) {
                const double edge = std::hypot(ex[i], ey[i]);
                shortest = std::min(shortest, edge);
                longest = std::max(longest, edge);
            }
        }
        s.aspect = shortest > 0.0 ? longest / shortest : std::numeric_limits<double>::infinity();
        if (!(shortest > 0.0)) s.concave = true;
        return s;
    }

    // The cosines of the smallest and largest angles met so far, worked out again when they
    // change.
    void refresh() {
        if (m_quality.minAngle != m_knownMin) {
            m_knownMin = m_quality.minAngle;
            m_cosMin = std::cos(m_knownMin * M_PI / 180.0);
        }
        if (m_quality.maxAngle != m_knownMax) {
            m_knownMax = m_quality.maxAngle;
            m_cosMax = std::cos(m_knownMax * M_PI / 180.0);
        }
    }

    const Quality& m_quality;
    double m_knownMin = std::numeric_limits<double>::quiet_NaN();
    double m_knownMax = std::numeric_limits<double>::quiet_NaN();
    double m_cosMin = 0.0, m_cosMax = 0.0;
};

}  // namespace

Quality measureQuality(const Mesh& mesh) {
    Quality q;
    q.minAngle = 360.0;
    double aspectSum = 0.0;
    int measured = 0;
    QualityMeter meter(q);
    for (const Element& e : mesh.elements) {
        if (!validElement(e, static_cast<int>(mesh.nodes.size()))) continue;
        ElementShape s = meter.measure(mesh, e);
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
    std::size_t sideCount = 0;
    for (const Element& e : mesh.elements)
        if (e.count > 0 && e.count <= 4) sideCount += static_cast<std::size_t>(e.count);
    SideTable sides(sideCount);
    const std::size_t nodes = mesh.nodes.size();
    for (const Element& e : mesh.elements) {
        Point corners[4];
        int found = 0;
        if ((e.count == 3 || e.count == 4) && validElement(e, static_cast<int>(nodes))) {
            bool finite = true;
            for (int k = 0; k < e.count; ++k) {
                corners[k] = mesh.nodes[static_cast<std::size_t>(e.v[k])];
                finite = finite && std::isfinite(corners[k].x) && std::isfinite(corners[k].y);
            }
            const double area = finite ? signedArea(corners, e.count) : 0.0;
            const bool folded =
                !finite || !(area > 0.0) ||
                (e.count == 4 && (sidesCross(corners[0], corners[1], corners[2], corners[3]) ||
                                  sidesCross(corners[1], corners[2], corners[3], corners[0])));
            c.folded += folded ? 1 : 0;
            if (finite) c.elementArea += area;
            sides.add(e.v[0], e.v[1]);
            sides.add(e.v[1], e.v[2]);
            if (e.count == 3) {
                sides.add(e.v[2], e.v[0]);
            } else {
                sides.add(e.v[2], e.v[3]);
                sides.add(e.v[3], e.v[0]);
            }
            continue;
        }
        // More than four corners is no element of ours: folded, and its sides not counted.
        bool finite = e.count <= 4;
        for (int k = 0; k < e.count && k < 4; ++k) {
            const int at = e.v[static_cast<std::size_t>(k)];
            if (at < 0 || static_cast<std::size_t>(at) >= nodes) {
                finite = false;
                break;
            }
            const Point& p = mesh.nodes[static_cast<std::size_t>(at)];
            finite = finite && std::isfinite(p.x) && std::isfinite(p.y);
            corners[found++] = p;
        }
        const double area = finite ? signedArea(corners, found) : 0.0;
        const bool folded =
            !finite || !(area > 0.0) ||
            (e.count == 4 && (sidesCross(corners[0], corners[1], corners[2], corners[3]) ||
                              sidesCross(corners[1], corners[2], corners[3], corners[0])));
        c.folded += folded ? 1 : 0;
        if (finite) c.elementArea += area;
        if (e.count > 4 || found != e.count) continue;
        for (int k = 0; k < e.count; ++k) {
            const int a = e.v[static_cast<std::size_t>(k)];
            const int b = e.v[static_cast<std::size_t>((k + 1) % e.count)];
            sides.add(a, b);
        }
    }
    // The open sides' lengths are summed in the order of their ends, smaller number first, so
    // that the sum does not depend on the table's order.
    std::vector<std::uint64_t> open;
    sides.visit([&](std::uint64_t ends, int forward, int backward) {
        if (forward > 1 || backward > 1) ++c.misjoined;
        if (forward + backward == 1) open.push_back(ends);
    });
    std::sort(open.begin(), open.end());
    for (const std::uint64_t ends : open) {
        const Point& a = mesh.nodes[static_cast<std::size_t>(ends >> 32)];
        const Point& b = mesh.nodes[static_cast<std::size_t>(ends & 0xFFFFFFFFu)];
        c.openLength += std::hypot(b.x - a.x, b.y - a.y);
    }
    return c;
}

}  // namespace zevtool::meshio
