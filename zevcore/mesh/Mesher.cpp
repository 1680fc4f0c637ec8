#include "zevcore/mesh/Mesher.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>

#include "zevcore/frame/Math.h"
#include "zevcore/mesh/TriangleMesher.h"
#include "zevcore/mesh/paver/MeshModel.h"
#include "zevcore/platform/Locale.h"
#include "zevcore/platform/services/Host.h"

namespace zev::mesh {

namespace {

constexpr UINT kProgressMessage = 0x8400;

// While the paver runs, its progress lines come here as window messages to this window; they
// go to the caller's callback, and a set stop flag turns into Stopped thrown out of the paver.
// Messages to any other window go on to the service installed before.
class ProgressRelay : public IZEVWindowService {
public:
    explicit ProgressRelay(const Options& options)
        : m_options(options), m_before(ZEVInstallWindows(this)) {}
    ~ProgressRelay() override { ZEVInstallWindows(m_before); }
    ProgressRelay(const ProgressRelay&) = delete;
    ProgressRelay& operator=(const ProgressRelay&) = delete;

    HWND window() { return reinterpret_cast<HWND>(this); }

    LRESULT SendMessage(HWND to, UINT message, WPARAM wParam, LPARAM lParam) override {
        if (to != window()) return next().SendMessage(to, message, wParam, lParam);
        if (m_options.stop && m_options.stop->load()) throw Stopped();
        if (message == kProgressMessage && wParam == 0 && lParam != 0 && m_options.progress)
            m_options.progress(reinterpret_cast<const char*>(lParam));
        // A callback that raised the flag stops the paver now, not a few rows later.
        if (m_options.stop && m_options.stop->load()) throw Stopped();
        return 0;
    }
    bool PostMessage(HWND to, UINT message, WPARAM wParam, LPARAM lParam) override {
        return to == window() || next().PostMessage(to, message, wParam, lParam);
    }
    HWND MainWindow() override { return next().MainWindow(); }
    void PumpMessages() override { next().PumpMessages(); }

private:
    IZEVWindowService& next() {
        // The headless default stands in when nothing was installed before.
        if (m_before) return *m_before;
        ZEVInstallWindows(nullptr);
        IZEVWindowService& headless = ZEVWindows();
        ZEVInstallWindows(this);
        return headless;
    }
    const Options& m_options;
    IZEVWindowService* m_before;
};

void runPaver(const Region& region, const Options& options, bool extended, Result& result) {
    ProgressRelay relay(options);
    Paver::CMeshModel model;
    model.SetExtended(extended);
    model.SetHWND(relay.window());
    model.SetMessageIDs(static_cast<int>(kProgressMessage));
    for (const auto& loop : region.loops) {
        for (size_t i = 0; i < loop.size(); ++i) {
            const Point& a = loop[i];
            const Point& b = loop[(i + 1) % loop.size()];
            model.AddBoundaryLine(Paver::CLine2D({a.x, a.y}, {b.x, b.y}));
        }
        model.AddBoundary();
    }
    for (const Point& p : region.interiorPoints) model.interiorPoints.emplace_back(p.x, p.y);
    for (const Point& p : region.boundaryPoints) model.boundaryPoints.emplace_back(p.x, p.y);
    result.complete =
        model.Mesh(options.limit, result.size, options.divisions, false) && model.fronts.empty();
    result.mesh.nodes.reserve(static_cast<size_t>(model.NumVertices()));
    for (int i = 0; i < model.NumVertices(); ++i)
        result.mesh.nodes.push_back({model.GetX(i), model.GetY(i)});
    result.mesh.elements.reserve(static_cast<size_t>(model.NumQuads()));
    for (int q = 0; q < model.NumQuads(); ++q) {
        Element e;
        for (int c = 0; c < 4; ++c) e.v[static_cast<size_t>(c)] = model.GetQuadVertIndex(q, c);
        result.mesh.elements.push_back(e);
    }
    result.missedInteriorPoints = model.MissedInteriorPoints();
    for (const auto& loop : model.MeshedLoops()) {
        std::vector<Point> points;
        for (const Paver::CPoint2D& p : loop) points.push_back({p.x, p.y});
        result.meshed.loops.push_back(std::move(points));
    }
    result.messages = model.messages.GetString();
}

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

double largestTriangle(const Options& options, double size) {
    return options.maxArea > 0.0 ? options.maxArea : std::sqrt(3.0) / 4.0 * size * size;
}

void runTriangle(const Region& region, const Options& options, Result& result) {
    if (region.loops.empty()) return;
    const double maxArea = largestTriangle(options, result.size);
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
                           holeSizes.data(), holes.data(), std::ldexp(maxArea, 2 * k),
                           options.conforming, isVoid.get());
    if (n == 0)
        throw std::runtime_error(mesher.errorText[0] ? mesher.errorText : "no triangles were made");
    Mesh& mesh = result.mesh;
    mesh.nodes.reserve(static_cast<size_t>(mesher.numberOfPoints));
    for (int i = 0; i < mesher.numberOfPoints; ++i)
        mesh.nodes.push_back(
            {std::ldexp(mesher.points[2 * i], -k), std::ldexp(mesher.points[2 * i + 1], -k)});
    mesh.elements.reserve(static_cast<size_t>(mesher.numberOfTriangles));
    for (int t = 0; t < mesher.numberOfTriangles; ++t) {
        Element e;
        e.count = 3;
        for (int c = 0; c < 3; ++c) e.v[c] = mesher.triangles[3 * t + c];
        mesh.elements.push_back(e);
    }
    // Without constraint points there is nothing to match, and no nodes to sort for it.
    if (region.interiorPoints.empty()) return;
    // A constraint point counts as met when a corner of some triangle stands on it; Triangle
    // keeps points that fall in a void hole, but in no triangle.
    std::vector<bool> used(mesh.nodes.size(), false);
    for (const Element& e : mesh.elements)
        for (int c = 0; c < 3; ++c) used[static_cast<size_t>(e.v[c])] = true;
    // The used nodes by x, so that each point looks only at those within reach.
    std::vector<Point> corners;
    for (std::size_t i = 0; i < used.size(); ++i)
        if (used[i]) corners.push_back(mesh.nodes[i]);
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
}

}  // namespace

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

const char* methodName(Method method) {
    switch (method) {
        case Method::Stated:
            return "stated";
        case Method::Extended:
            return "extended";
        case Method::Triangle:
            return "triangle";
        case Method::Paver:
            break;
    }
    return "paver";
}

bool methodOfName(const std::string& name, Method& method) {
    for (Method m : {Method::Paver, Method::Stated, Method::Extended, Method::Triangle})
        if (name == methodName(m)) {
            method = m;
            return true;
        }
    return false;
}

Result meshRegion(const Region& region, const Options& options) {
    if (const std::string problem = coordinateProblem(region); !problem.empty())
        throw std::invalid_argument("the region " + problem);
    Result result;
    result.method = options.method;
    result.size = options.size == 0.0 ? defaultSize(region) : options.size;
    const bool triangles = options.method == Method::Triangle;
    {
        CZEVClassicLocaleScope classic;
        char text[64];
        std::snprintf(text, sizeof text, "the size %g ", result.size);
        if (!(result.size > 0.0) || !std::isfinite(result.size))
            throw std::invalid_argument(text + std::string("is not a positive number"));
        if (!triangles) {
            if (const std::string lines = paverLineProblem(region); !lines.empty())
                throw std::invalid_argument(lines);
        }
        if (!triangles && (options.limit < 1 || options.limit > 9999))
            throw std::invalid_argument("the iteration limit " + std::to_string(options.limit) +
                                        " is not 1 to 9999");
        if (const std::string problem = sizeProblem(region, result.size, !triangles);
            !problem.empty())
            throw std::invalid_argument(text + problem);
        if (triangles) {
            const double maxArea = largestTriangle(options, result.size);
            if (options.maxArea > 0.0)
                std::snprintf(text, sizeof text, "the largest area %g ", maxArea);
            if (const std::string problem = triangleCountProblem(region, maxArea); !problem.empty())
                throw std::invalid_argument(text + problem);
        }
    }
    result.interiorPoints = static_cast<int>(region.interiorPoints.size());
    if (triangles) {
        runTriangle(region, options, result);
    } else {
        const Method mode = options.method == Method::Paver ? kDefaultPaverMode : options.method;
        runPaver(region, options, mode == Method::Extended, result);
    }
    result.quality = measureQuality(result.mesh);
    result.coverage = measureCoverage(coveredRegion(region, result), result.mesh);
    if (!result.complete)
        result.failure = "the mesher stopped before every front was closed";
    else if (result.coverage.folded > 0)
        result.failure = std::to_string(result.coverage.folded) + " folded element(s)";
    else if (!result.coverage.joined())
        result.failure = "the elements do not join side to side";
    else if (!result.coverage.covered())
        result.failure = "the elements do not cover the region";
    return result;
}

bool IsValid(const Mesh& mesh) {
    for (const Point& p : mesh.nodes)
        if (!std::isfinite(p.x) || !std::isfinite(p.y)) return false;
    const int nodes = static_cast<int>(mesh.nodes.size());
    return std::all_of(mesh.elements.begin(), mesh.elements.end(),
                       [&](const Element& e) { return validElement(e, nodes); });
}

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

std::string summaryText(const Result& result, bool conforming) {
    CZEVClassicLocaleScope classic;
    const Mesh& mesh = result.mesh;
    const Quality& quality = result.quality;
    const Coverage& coverage = result.coverage;
    const bool triangles = result.method == Method::Triangle;
    char buffer[512];
    std::snprintf(buffer, sizeof buffer,
                  "method:            %s\n"
                  "nodes:             %zu\n"
                  "elements:          %zu\n"
                  "missed interior points: %d of %d\n"
                  "interior angles:   %.1f to %.1f degrees\n"
                  "concave elements:  %d (degenerate: %d)\n"
                  "aspect ratio:      max %.2f, mean %.2f\n",
                  triangles ? "triangle" : "paver", mesh.nodes.size(), mesh.elements.size(),
                  result.missedInteriorPoints, result.interiorPoints, quality.minAngle,
                  quality.maxAngle, quality.concave, quality.degenerate, quality.maxAspect,
                  quality.meanAspect);
    std::string text = buffer;
    if (triangles) {
        if (conforming)
            std::snprintf(buffer, sizeof buffer,
                          "triangles:         %zu, smallest angle %.1f degrees (conforming "
                          "Delaunay, no angle bound)\n",
                          mesh.elements.size(), quality.minAngle);
        else
            std::snprintf(buffer, sizeof buffer,
                          "triangles:         %zu, smallest angle %.1f degrees (bound 20.0)\n",
                          mesh.elements.size(), quality.minAngle);
        text += buffer;
    }
    std::snprintf(buffer, sizeof buffer,
                  "joined:            %s (open sides %.6g of outline %.6g; sides misjoined: %d)\n",
                  coverage.joined() ? "yes" : "no", coverage.openLength, coverage.outlineLength,
                  coverage.misjoined);
    text += buffer;
    std::snprintf(buffer, sizeof buffer,
                  "covered:           %s (elements %.6g of region %.6g; folded elements: %d)\n",
                  coverage.covered() ? "yes" : "no", coverage.elementArea, coverage.regionArea,
                  coverage.folded);
    return text + buffer;
}

}  // namespace zev::mesh
