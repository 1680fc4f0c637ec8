#include "zevcore/mesh/Mesher.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <map>
#include <memory>

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

bool sidesCross(const Point& a, const Point& b, const Point& c, const Point& d) {
    auto side = [](const Point& p, const Point& q, const Point& r) {
        double t = (q.x - p.x) * (r.y - p.y) - (q.y - p.y) * (r.x - p.x);
        return (t > 0.0) - (t < 0.0);
    };
    return side(a, b, c) * side(a, b, d) < 0 && side(c, d, a) * side(c, d, b) < 0;
}

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

void append(std::vector<double>& xy, const std::vector<Point>& points) {
    for (const Point& p : points) xy.insert(xy.end(), {p.x, p.y});
}

void runTriangle(const Region& region, const Options& options, Result& result) {
    if (region.loops.empty()) return;
    const double maxArea =
        options.maxArea > 0.0 ? options.maxArea : std::sqrt(3.0) / 4.0 * result.size * result.size;
    std::vector<double> boundary, interior, extra, holes;
    append(boundary, region.loops[0]);
    append(interior, region.interiorPoints);
    append(extra, region.boundaryPoints);
    std::vector<int> holeSizes;
    // A plain array: std::vector<bool> has no bool* to hand over.
    std::unique_ptr<bool[]> isVoid(new bool[region.loops.size()]);
    for (std::size_t h = 1; h < region.loops.size(); ++h) {
        append(holes, region.loops[h]);
        holeSizes.push_back(static_cast<int>(region.loops[h].size()));
        isVoid[h - 1] = !(h < region.solid.size() && region.solid[h]);
    }

    ZEVTriangleMesher mesher;
    int n =
        mesher.mesh_it(boundary.data(), static_cast<int>(boundary.size() / 2), interior.data(),
                       static_cast<int>(interior.size() / 2), extra.data(),
                       static_cast<int>(extra.size() / 2), static_cast<int>(holeSizes.size()),
                       holeSizes.data(), holes.data(), maxArea, options.conforming, isVoid.get());
    if (n == 0)
        throw std::runtime_error(mesher.errorText[0] ? mesher.errorText : "no triangles were made");
    Mesh& mesh = result.mesh;
    mesh.nodes.reserve(static_cast<size_t>(mesher.numberOfPoints));
    for (int i = 0; i < mesher.numberOfPoints; ++i)
        mesh.nodes.push_back({mesher.points[2 * i], mesher.points[2 * i + 1]});
    mesh.elements.reserve(static_cast<size_t>(mesher.numberOfTriangles));
    for (int t = 0; t < mesher.numberOfTriangles; ++t) {
        Element e;
        e.count = 3;
        for (int c = 0; c < 3; ++c) e.v[c] = mesher.triangles[3 * t + c];
        mesh.elements.push_back(e);
    }
    // A constraint point counts as met when a corner of some triangle stands on it; Triangle
    // keeps points that fall in a void hole, but in no triangle.
    std::vector<bool> used(mesh.nodes.size(), false);
    for (const Element& e : mesh.elements)
        for (int c = 0; c < 3; ++c) used[e.v[c]] = true;
    for (const Point& p : region.interiorPoints) {
        bool met = false;
        for (std::size_t i = 0; i < used.size() && !met; ++i)
            met = used[i] && std::hypot(p.x - mesh.nodes[i].x, p.y - mesh.nodes[i].y) < TOLERANCE;
        result.missedInteriorPoints += !met;
    }
}

}  // namespace

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
        if (!triangles && (options.limit < 1 || options.limit > 9999))
            throw std::invalid_argument("the iteration limit " + std::to_string(options.limit) +
                                        " is not 1 to 9999");
        if (const std::string problem = sizeProblem(region, result.size, !triangles);
            !problem.empty())
            throw std::invalid_argument(text + problem);
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
