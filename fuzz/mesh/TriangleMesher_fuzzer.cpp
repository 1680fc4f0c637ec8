// Regions built from arbitrary bytes, on a small grid (eighths, exact in binary) so that
// coincident points, points on outlines and collinear edges come up often, or, when a flag
// says so, with coordinates of any bits (huge, subnormal, NaN) and outlines that cross: mesh_it
// must answer, never crash, exit or leak, and its results must index only its own points.
// Triangle runs in a child process with limits, so a region it cannot finish costs a few
// seconds, not the run.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "zevcore/mesh/TriangleMesher.h"

namespace {

class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}
    std::uint8_t next() { return m_pos < m_size ? m_data[m_pos++] : 0; }
    // Whole grid steps mostly, eighths now and then; with `anyBits`, any double at all.
    double coordinate() {
        if (anyBits) {
            std::uint64_t bits = 0;
            for (int i = 0; i < 8; ++i) bits = bits << 8 | next();
            double value;
            std::memcpy(&value, &bits, sizeof value);
            return value;
        }
        std::uint8_t b = next();
        return (b & 0x80) ? (b & 0x7f) / 8.0 : b % 16;
    }
    bool anyBits = false;
    std::vector<double> points(int count) {
        std::vector<double> xy;
        for (int i = 0; i < 2 * count; ++i) xy.push_back(coordinate());
        return xy;
    }

private:
    const std::uint8_t* m_data;
    std::size_t m_size;
    std::size_t m_pos = 0;
};

struct P {
    double x, y;
};

double cross(P o, P a, P b) {
    return (a.x - o.x) * (b.y - o.y) - (a.y - o.y) * (b.x - o.x);
}

bool within(P a, P b, P p) {
    return std::min(a.x, b.x) <= p.x && p.x <= std::max(a.x, b.x) && std::min(a.y, b.y) <= p.y &&
           p.y <= std::max(a.y, b.y);
}

// Whether segments ab and cd meet anywhere but at a shared end (exact on this grid).
bool meet(P a, P b, P c, P d) {
    int shared = (a.x == c.x && a.y == c.y) + (a.x == d.x && a.y == d.y) +
                 (b.x == c.x && b.y == c.y) + (b.x == d.x && b.y == d.y);
    double d1 = cross(c, d, a), d2 = cross(c, d, b), d3 = cross(a, b, c), d4 = cross(a, b, d);
    if (shared > 0)
        return d1 == 0 && d2 == 0 && d3 == 0 && d4 == 0 && shared == 1 &&
               (within(a, b, c) && within(a, b, d) ? true : within(c, d, a) && within(c, d, b));
    if (((d1 > 0 && d2 < 0) || (d1 < 0 && d2 > 0)) && ((d3 > 0 && d4 < 0) || (d3 < 0 && d4 > 0)))
        return true;
    return (d1 == 0 && within(c, d, a)) || (d2 == 0 && within(c, d, b)) ||
           (d3 == 0 && within(a, b, c)) || (d4 == 0 && within(a, b, d));
}

bool outlinesAreSimple(const std::vector<std::vector<P>>& loops) {
    std::vector<std::pair<P, P>> segments;
    for (const auto& loop : loops)
        for (std::size_t i = 0; i < loop.size(); ++i)
            segments.push_back({loop[i], loop[(i + 1) % loop.size()]});
    for (std::size_t i = 0; i < segments.size(); ++i)
        for (std::size_t j = i + 1; j < segments.size(); ++j)
            if (meet(segments[i].first, segments[i].second, segments[j].first, segments[j].second))
                return false;
    return true;
}

std::vector<P> loopOf(const std::vector<double>& xy, int first, int count) {
    std::vector<P> loop;
    for (int i = first; i < first + count; ++i) loop.push_back({xy[2 * i], xy[2 * i + 1]});
    return loop;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool limited = (ZEVTriangleMesher::SetRunLimits(5, std::int64_t{1} << 29), true);
    (void)limited;
    Bytes in(data, size);
    const std::uint8_t mode = in.next();
    in.anyBits = (mode & 0x40) != 0;
    const bool crossingAllowed = (mode & 0x20) != 0;
    const int nb = 3 + in.next() % 6, ni = in.next() % 5, ne = in.next() % 5;
    const int nh = in.next() % 3;
    const std::uint8_t flags = in.next();
    const double areas[] = {0.3, 1.0, 4.0, 20.0, INFINITY};
    const double maxArea = areas[in.next() % 5];
    std::vector<int> sizes;
    int holePoints = 0;
    for (int h = 0; h < nh; ++h) {
        sizes.push_back(1 + in.next() % 5);
        holePoints += sizes.back();
    }
    std::vector<double> boundary = in.points(nb), interior = in.points(ni), extra = in.points(ne),
                        holes = in.points(holePoints);
    std::vector<std::vector<P>> loops{loopOf(boundary, 0, nb)};
    for (int h = 0, start = 0; h < nh; start += sizes[h], ++h)
        if (sizes[h] > 2) loops.push_back(loopOf(holes, start, sizes[h]));
    if (!crossingAllowed && !in.anyBits && !outlinesAreSimple(loops)) return 0;
    bool isVoid[2] = {(flags & 4) != 0, (flags & 8) != 0};

    ZEVTriangleMesher m;
    int n = m.mesh_it(boundary.data(), nb, interior.data(), ni, extra.data(), ne, nh, sizes.data(),
                      holes.data(), maxArea, flags & 1, (flags & 2) ? isVoid : nullptr);
    if (n != m.numberOfTriangles) __builtin_trap();
    for (int i = 0; i < 3 * m.numberOfTriangles; ++i)
        if (m.triangles[i] < 0 || m.triangles[i] >= m.numberOfPoints) __builtin_trap();
    return 0;
}
