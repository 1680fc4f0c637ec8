#include "zevcore/mesh/paver/Resample.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <unordered_map>

namespace Paver::extended {

namespace {

constexpr double kPi = 3.14159265358979323846;
// Sizes never fall below this share of the spacing: a tip or a gap that closes to nothing
// would otherwise ask for sides without end.
constexpr double kSmallest = 1e-3;
// Samples of the size along a side: at most this far apart, as a share of the spacing.
constexpr double kSampleStep = 0.25;
constexpr std::size_t kMaxSamplesPerSide = 4096;

double cross(XY a, XY b) {
    return a.x * b.y - a.y * b.x;
}
XY sub(XY a, XY b) {
    return {a.x - b.x, a.y - b.y};
}
double length(XY a) {
    return std::hypot(a.x, a.y);
}

double signedArea(const std::vector<XY>& loop) {
    double twice = 0.0;
    for (std::size_t i = 0; i < loop.size(); ++i)
        twice += cross(loop[i], loop[(i + 1) % loop.size()]);
    return 0.5 * twice;
}

// One loop being divided: its input nodes, where they lie along it, which are corners, and
// which chain each side belongs to.
struct Ring {
    std::vector<XY> p;
    std::vector<char> constraint;
    std::vector<double> at;  // arc length to node i
    double perimeter = 0.0;
    std::vector<char> corner;
    std::vector<int> chainOf;      // per side
    std::vector<int> chainStarts;  // node numbers of the corners, in order
    std::vector<char> acute;       // per node: an interior angle below 90 degrees

    std::size_t size() const { return p.size(); }
    XY pointAt(double s) const {
        s = std::fmod(s, perimeter);
        if (s < 0.0) s += perimeter;
        const std::size_t i =
            static_cast<std::size_t>(std::upper_bound(at.begin(), at.end(), s) - at.begin() - 1);
        const XY a = p[i], b = p[(i + 1) % p.size()];
        const double side = (i + 1 < at.size() ? at[i + 1] : perimeter) - at[i];
        const double t = side > 0.0 ? std::clamp((s - at[i]) / side, 0.0, 1.0) : 0.0;
        return {a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)};
    }
};

struct Sample {
    double s;  // arc length along the ring
    XY p;
    std::size_t side;
    double z;
};

// Sides of every ring filed in a uniform grid, for the search across the region.
class SideGrid {
public:
    SideGrid(const std::vector<Ring>& rings, double cell) : m_rings(rings) {
        double minX = INFINITY, minY = INFINITY, maxX = -INFINITY, maxY = -INFINITY;
        for (const Ring& r : rings)
            for (XY q : r.p) {
                minX = std::min(minX, q.x), maxX = std::max(maxX, q.x);
                minY = std::min(minY, q.y), maxY = std::max(maxY, q.y);
            }
        m_minX = minX, m_minY = minY;
        m_cell = cell;
        // At most about four million cells.
        while (((maxX - minX) / m_cell + 1) * ((maxY - minY) / m_cell + 1) > 4e6) m_cell *= 2;
        m_nx = static_cast<long long>((maxX - minX) / m_cell) + 1;
        m_ny = static_cast<long long>((maxY - minY) / m_cell) + 1;
        for (std::size_t k = 0; k < rings.size(); ++k)
            for (std::size_t i = 0; i < rings[k].size(); ++i) {
                const XY a = rings[k].p[i], b = rings[k].p[(i + 1) % rings[k].size()];
                forCells(std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x),
                         std::max(a.y, b.y), [&](long long c) {
                             m_cells[c].push_back({k, i});
                         });
            }
    }

    template <class F>
    void forCells(double x0, double y0, double x1, double y1, F&& f) const {
        const long long cx0 = cellX(x0), cx1 = cellX(x1), cy0 = cellY(y0), cy1 = cellY(y1);
        for (long long y = cy0; y <= cy1; ++y)
            for (long long x = cx0; x <= cx1; ++x) f(y * m_nx + x);
    }
    const std::vector<std::pair<std::size_t, std::size_t>>* at(long long c) const {
        const auto it = m_cells.find(c);
        return it == m_cells.end() ? nullptr : &it->second;
    }

private:
    long long cellX(double x) const {
        const double c = (x - m_minX) / m_cell;
        return c >= 0.0 ? std::min(static_cast<long long>(c), m_nx - 1) : 0;
    }
    long long cellY(double y) const {
        const double c = (y - m_minY) / m_cell;
        return c >= 0.0 ? std::min(static_cast<long long>(c), m_ny - 1) : 0;
    }

    const std::vector<Ring>& m_rings;
    double m_minX = 0.0, m_minY = 0.0, m_cell = 1.0;
    long long m_nx = 1, m_ny = 1;
    std::unordered_map<long long, std::vector<std::pair<std::size_t, std::size_t>>> m_cells;
};

// Puts the constraint points that lie on a side into their ring as nodes of their own.
void insertPoints(std::vector<Ring>& rings, const std::vector<XY>& points, double tolerance) {
    for (const XY& q : points) {
        for (Ring& r : rings) {
            bool placed = false;
            for (std::size_t i = 0; i < r.size() && !placed; ++i) {
                const XY a = r.p[i], b = r.p[(i + 1) % r.size()];
                if (length(sub(q, a)) <= tolerance) {
                    r.constraint[i] = 1;
                    placed = true;
                    break;
                }
                const XY d = sub(b, a);
                const double l = length(d);
                if (!(l > 0.0)) continue;
                const double t = ((q.x - a.x) * d.x + (q.y - a.y) * d.y) / (l * l);
                if (t <= 0.0 || t >= 1.0 || std::fabs(cross(d, sub(q, a))) / l > tolerance)
                    continue;
                if (length(sub(q, b)) <= tolerance) continue;  // its own node, next
                r.p.insert(r.p.begin() + static_cast<std::ptrdiff_t>(i) + 1, q);
                r.constraint.insert(r.constraint.begin() + static_cast<std::ptrdiff_t>(i) + 1, 1);
                placed = true;
            }
            if (placed) break;
        }
    }
}

// Arc lengths, corners and chains of one ring.
void shapeRing(Ring& r, double spacing) {
    const std::size_t n = r.size();
    r.at.assign(n, 0.0);
    for (std::size_t i = 0; i + 1 < n; ++i) r.at[i + 1] = r.at[i] + length(sub(r.p[i + 1], r.p[i]));
    r.perimeter = r.at[n - 1] + length(sub(r.p[0], r.p[n - 1]));
    r.corner.assign(n, 0);
    r.acute.assign(n, 0);
    for (std::size_t i = 0; i < n; ++i) {
        const XY u = r.p[(i + n - 1) % n], v = r.p[i], w = r.p[(i + 1) % n];
        const XY d1 = sub(v, u), d2 = sub(w, v);
        const double turn = std::atan2(cross(d1, d2), d1.x * d2.x + d1.y * d2.y) * 180.0 / kPi;
        const double shorter = std::min(length(d1), length(d2));
        // A corner turns sharply, or bends its long sides at all: a curve drawn at this
        // spacing has sides shorter than it.
        r.corner[i] = r.constraint[i] || std::fabs(turn) > kCornerTurn ||
                      (std::fabs(turn) > 1.0 && shorter >= 0.5 * spacing);
        r.acute[i] = turn > 90.0;
    }
    r.chainOf.assign(n, 0);
    r.chainStarts.clear();
    for (std::size_t i = 0; i < n; ++i)
        if (r.corner[i]) r.chainStarts.push_back(static_cast<int>(i));
    // Sides before the first corner belong to the last chain, which wraps round.
    int chain = r.chainStarts.empty() ? 0 : static_cast<int>(r.chainStarts.size()) - 1;
    int next = 0;
    for (std::size_t i = 0; i < n; ++i) {
        if (r.corner[i]) chain = next++;
        r.chainOf[i] = chain;
    }
}

double arcDistance(const Ring& r, double s, double t) {
    const double d = std::fabs(s - t);
    return std::min(d, r.perimeter - d);
}

// The integral of ds / z over one interval where z runs linearly from z1 to z2.
double stepsOver(double ds, double z1, double z2) {
    if (std::fabs(z2 - z1) <= 1e-9 * (z1 + z2)) return 2.0 * ds / (z1 + z2);
    return ds * std::log(z2 / z1) / (z2 - z1);
}

// How far into that interval the integral reaches `steps`: the inverse of stepsOver.
double distanceFor(double steps, double ds, double z1, double z2) {
    const double slope = ds > 0.0 ? (z2 - z1) / ds : 0.0;
    if (std::fabs(slope * steps) <= 1e-9) return z1 * steps;
    return z1 * std::expm1(slope * steps) / slope;
}

}  // namespace

std::vector<SampledLoop> sampleLoops(const std::vector<std::vector<XY>>& loops,
                                     const std::vector<XY>& points, double spacing) {
    std::vector<Ring> rings;
    double extent = 0.0, largest = -1.0;
    std::size_t outer = 0;
    for (const auto& loop : loops) {
        Ring r;
        for (const XY& q : loop) {
            if (!std::isfinite(q.x) || !std::isfinite(q.y)) continue;
            if (!r.p.empty() && q.x == r.p.back().x && q.y == r.p.back().y) continue;
            r.p.push_back(q);
            extent = std::max({extent, std::fabs(q.x), std::fabs(q.y)});
        }
        while (r.p.size() > 1 && r.p.back().x == r.p.front().x && r.p.back().y == r.p.front().y)
            r.p.pop_back();
        const double area = r.p.size() >= 3 ? signedArea(r.p) : 0.0;
        if (!(std::fabs(area) > 0.0)) continue;
        if (std::fabs(area) > largest) largest = std::fabs(area), outer = rings.size();
        r.constraint.assign(r.p.size(), 0);
        rings.push_back(std::move(r));
    }
    if (rings.empty() || !(spacing > 0.0) || !std::isfinite(spacing)) return {};
    // The region on the left of every loop.
    for (std::size_t k = 0; k < rings.size(); ++k) {
        const double area = signedArea(rings[k].p);
        if ((k == outer) != (area > 0.0)) std::reverse(rings[k].p.begin(), rings[k].p.end());
    }
    insertPoints(rings, points, 1e-9 * std::max(extent, spacing));
    for (Ring& r : rings) shapeRing(r, spacing);

    // The size at samples along every ring.
    std::vector<std::vector<Sample>> samples(rings.size());
    for (std::size_t k = 0; k < rings.size(); ++k) {
        const Ring& r = rings[k];
        for (std::size_t i = 0; i < r.size(); ++i) {
            const XY a = r.p[i], b = r.p[(i + 1) % r.size()];
            const double side = length(sub(b, a));
            const std::size_t parts =
                static_cast<std::size_t>(std::min(static_cast<double>(kMaxSamplesPerSide),
                                                  std::ceil(side / (kSampleStep * spacing)) + 1.0));
            for (std::size_t j = 0; j < parts; ++j) {
                const double t = static_cast<double>(j) / static_cast<double>(parts);
                samples[k].push_back({r.at[i] + t * side,
                                      {a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)},
                                      i,
                                      spacing});
            }
        }
    }
    const double floor = kSmallest * spacing;
    for (std::size_t k = 0; k < rings.size(); ++k) {
        const Ring& r = rings[k];
        const std::size_t n = r.size();
        // Where a curve bends, a side spans at most kArcSpan of it.
        for (Sample& sm : samples[k]) {
            const std::size_t i = sm.side;
            if (sm.s != r.at[i] || r.corner[i]) continue;
            const XY d1 = sub(r.p[i], r.p[(i + n - 1) % n]), d2 = sub(r.p[(i + 1) % n], r.p[i]);
            const double turn = std::fabs(std::atan2(cross(d1, d2), d1.x * d2.x + d1.y * d2.y));
            if (turn > 1e-12)
                sm.z =
                    std::min(sm.z, 0.5 * (length(d1) + length(d2)) / turn * kArcSpan * kPi / 180.0);
        }
        // A chain between corners shorter than the spacing is one side, and its corners
        // take its length as their size.
        const std::size_t chains = std::max<std::size_t>(1, r.chainStarts.size());
        std::vector<double> chainLength(chains, 0.0);
        for (std::size_t i = 0; i < n; ++i)
            chainLength[static_cast<std::size_t>(r.chainOf[i])] +=
                length(sub(r.p[(i + 1) % n], r.p[i]));
        for (Sample& sm : samples[k]) {
            const double l = chainLength[static_cast<std::size_t>(r.chainOf[sm.side])];
            if (!r.chainStarts.empty() && l < spacing) sm.z = std::min(sm.z, std::max(l, floor));
            // A corner also takes the length of the chain that ends at it.
            if (sm.s == r.at[sm.side] && r.corner[sm.side] && !r.chainStarts.empty()) {
                const double before =
                    chainLength[static_cast<std::size_t>(r.chainOf[(sm.side + n - 1) % n])];
                if (before < spacing) sm.z = std::min(sm.z, std::max(before, floor));
            }
        }
    }

    // Across the region: a ray from each sample along the inward normal, as far as a gap
    // could still lower the size.
    const double reach = spacing / kGapFactor;
    const SideGrid grid(rings, spacing);
    for (std::size_t k = 0; k < rings.size(); ++k) {
        const Ring& r = rings[k];
        const std::size_t n = r.size();
        for (Sample& sm : samples[k]) {
            const XY a = r.p[sm.side], b = r.p[(sm.side + 1) % n];
            const double l = length(sub(b, a));
            if (!(l > 0.0)) continue;
            const XY normal{-(b.y - a.y) / l, (b.x - a.x) / l};
            const XY end{sm.p.x + reach * normal.x, sm.p.y + reach * normal.y};
            double nearest = INFINITY;
            grid.forCells(std::min(sm.p.x, end.x), std::min(sm.p.y, end.y), std::max(sm.p.x, end.x),
                          std::max(sm.p.y, end.y), [&](long long c) {
                              const auto* sides = grid.at(c);
                              if (!sides) return;
                              for (const auto& [k2, i2] : *sides) {
                                  if (k2 == k && (i2 == sm.side || i2 + 1 == sm.side ||
                                                  (sm.side == 0 && i2 + 1 == n)))
                                      continue;
                                  const Ring& r2 = rings[k2];
                                  const XY c0 = r2.p[i2], c1 = r2.p[(i2 + 1) % r2.size()];
                                  const XY e = sub(c1, c0);
                                  const double den = cross(normal, e);
                                  if (den == 0.0) continue;
                                  const XY w = sub(c0, sm.p);
                                  const double t = cross(w, e) / den;       // along the ray
                                  const double u = cross(w, normal) / den;  // along the side
                                  if (!(t > 0.0) || t >= nearest || u < 0.0 || u > 1.0) continue;
                                  if (k2 == k) {
                                      const double hitAt = r.at[i2] + u * length(e);
                                      const int chain = r.chainOf[sm.side];
                                      const int other = r.chainOf[i2];
                                      const int chains = static_cast<int>(
                                          std::max<std::size_t>(1, r.chainStarts.size()));
                                      // The same curve bending back, or the far side of a
                                      // sharp corner: no gap, but the shape itself.
                                      if (other == chain && arcDistance(r, sm.s, hitAt) < 2.0 * t)
                                          continue;
                                      if (!r.chainStarts.empty() && other != chain) {
                                          const bool nextChain = other == (chain + 1) % chains;
                                          const bool prevChain = chain == (other + 1) % chains;
                                          const auto cornerAt = [&](int ch) {
                                              return static_cast<std::size_t>(
                                                  r.chainStarts[static_cast<std::size_t>(ch)]);
                                          };
                                          if ((nextChain && r.acute[cornerAt(other)]) ||
                                              (prevChain && r.acute[cornerAt(chain)]))
                                              continue;
                                      }
                                  }
                                  nearest = t;
                              }
                          });
            if (nearest < reach) sm.z = std::min(sm.z, std::max(kGapFactor * nearest, floor));
        }
    }

    std::vector<SampledLoop> out;
    for (std::size_t k = 0; k < rings.size(); ++k) {
        const Ring& r = rings[k];
        std::vector<Sample>& ss = samples[k];
        // Graded both ways round the ring, twice, so that it holds across the start.
        const std::size_t m = ss.size();
        for (int lap = 0; lap < 2; ++lap) {
            for (std::size_t j = 1; j <= m; ++j) {
                const Sample& a = ss[j - 1];
                Sample& b = ss[j % m];
                const double ds = j < m ? b.s - a.s : r.perimeter - a.s + b.s;
                b.z = std::min(b.z, a.z + kGrading * ds);
            }
            for (std::size_t j = m; j >= 1; --j) {
                const Sample& a = ss[j % m];
                Sample& b = ss[j - 1];
                const double ds = j < m ? a.s - b.s : r.perimeter - b.s + a.s;
                b.z = std::min(b.z, a.z + kGrading * ds);
            }
        }

        // Each chain from its corner to the next, divided evenly by the size.
        std::vector<std::size_t> starts;  // sample numbers where chains start
        for (std::size_t j = 0; j < m; ++j)
            if (ss[j].s == r.at[ss[j].side] && r.corner[ss[j].side]) starts.push_back(j);
        const bool closed = starts.empty();
        if (closed) starts.push_back(0);
        struct Division {
            std::size_t first, count;  // samples first .. first + count (wrapping)
            double steps;
            int parts;
        };
        std::vector<Division> divisions;
        for (std::size_t c = 0; c < starts.size(); ++c) {
            const std::size_t first = starts[c];
            const std::size_t last = c + 1 < starts.size() ? starts[c + 1] : starts[0] + m;
            Division d{first, last - first, 0.0, 0};
            for (std::size_t j = first; j < last; ++j) {
                const Sample& a = ss[j % m];
                const Sample& b = ss[(j + 1) % m];
                double ds = b.s - a.s;
                if (ds < 0.0) ds += r.perimeter;
                d.steps += stepsOver(ds, a.z, b.z);
            }
            d.parts = std::max(1, static_cast<int>(std::lround(d.steps)));
            divisions.push_back(d);
        }
        // At least three nodes in a loop.
        auto nodeCount = [&]() {
            int total = 0;
            for (const Division& d : divisions) total += d.parts;
            return total;
        };
        while (nodeCount() < 3) {
            auto longest = std::max_element(
                divisions.begin(), divisions.end(),
                [](const Division& a, const Division& b) { return a.steps < b.steps; });
            ++longest->parts;
        }
        SampledLoop loop;
        for (const Division& d : divisions) {
            // Positions where the running count of sizes reaches each share.
            std::vector<double> wanted;
            for (int p = 0; p < d.parts; ++p) {
                wanted.push_back(d.steps * p / d.parts);
                wanted.push_back(d.steps * (p + 0.5) / d.parts);
            }
            std::vector<double> found(wanted.size(), ss[d.first % m].s);
            double running = 0.0;
            std::size_t w = 0;
            for (std::size_t j = d.first; j < d.first + d.count && w < wanted.size(); ++j) {
                const Sample& a = ss[j % m];
                const Sample& b = ss[(j + 1) % m];
                double ds = b.s - a.s;
                if (ds < 0.0) ds += r.perimeter;
                const double step = stepsOver(ds, a.z, b.z);
                while (w < wanted.size() && wanted[w] <= running + step) {
                    found[w] = a.s + std::min(ds, distanceFor(wanted[w] - running, ds, a.z, b.z));
                    ++w;
                }
                running += step;
            }
            for (; w < wanted.size(); ++w) found[w] = ss[(d.first + d.count) % m].s;
            for (int p = 0; p < d.parts; ++p) {
                const std::size_t at = static_cast<std::size_t>(2 * p);
                const bool given = p == 0 && !closed;
                loop.nodes.push_back(given ? r.p[ss[d.first % m].side] : r.pointAt(found[at]));
                loop.kept.push_back(given || (closed && p == 0) ? 1 : 0);
                loop.middles.push_back(r.pointAt(found[at + 1]));
            }
        }
        if (closed) loop.nodes[0] = r.p[0];
        out.push_back(std::move(loop));
    }
    return out;
}

}  // namespace Paver::extended
