#include "tools/zevcore/MeshPaver.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "zevcore/mesh/paver/MeshModel.h"

namespace zevtool::meshio {

namespace {

Region regionOfModel(const Paver::CMeshModel& model) {
    Region region;
    for (const auto& lines : model.boundaries) {
        std::vector<Point> loop;
        for (const Paver::CLine2D& line : lines) loop.push_back({line.start.x, line.start.y});
        region.loops.push_back(loop);
    }
    return region;
}

}  // namespace

PaverResult meshWithPaver(const Region& region, const PaverOptions& options) {
    PaverResult result;
    Paver::CMeshModel model;
    model.SetExtended(options.extended);
    if (options.progressWindow) model.SetHWND(options.progressWindow);
    model.SetMessageIDs(static_cast<int>(options.message));
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
        model.Mesh(options.limit, options.size, options.divisions, false) && model.fronts.empty();
    for (int i = 0; i < model.NumVertices(); ++i)
        result.mesh.nodes.push_back({model.GetX(i), model.GetY(i)});
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
    return result;
}

Region builtInShape(int n) {
    Paver::CMeshModel model;
    model.DrawShape(n);
    return regionOfModel(model);
}

double defaultSize(const Region& region) {
    double minX = 1e300, minY = 1e300, maxX = -1e300, maxY = -1e300;
    for (const auto& loop : region.loops)
        for (const Point& p : loop) {
            minX = std::min(minX, p.x), maxX = std::max(maxX, p.x);
            minY = std::min(minY, p.y), maxY = std::max(maxY, p.y);
        }
    double extent = std::max(maxX - minX, maxY - minY);
    return extent > 0.0 ? extent / 16.0 : 1.0;
}

// A size that would make the boundary or the rows too many to pave in reasonable time and
// memory is refused before any work.
constexpr double kMaxBoundarySegments = 100000.0;
constexpr double kMaxRows = 10000.0;

namespace {

// The element size the paver uses along each line of the region, in loop order: the size
// asked, or a fifth of the gap to the nearest line of another loop where that is smaller (the
// paver's rule, with its own distance). Lines are swept in order of their left ends, so only
// lines within five sizes of each other are measured.
std::vector<double> lineSizes(const Region& region, double size) {
    struct Line {
        Paver::CLine2D line;
        size_t loop;
        double x0, x1, y0, y1;
    };
    std::vector<Line> lines;
    for (size_t k = 0; k < region.loops.size(); ++k) {
        const auto& loop = region.loops[k];
        for (size_t i = 0; i < loop.size(); ++i) {
            const Point& a = loop[i];
            const Point& b = loop[(i + 1) % loop.size()];
            lines.push_back({Paver::CLine2D({a.x, a.y}, {b.x, b.y}), k, std::min(a.x, b.x),
                             std::max(a.x, b.x), std::min(a.y, b.y), std::max(a.y, b.y)});
        }
    }
    std::vector<double> sizes(lines.size(), size);
    std::vector<size_t> order(lines.size());
    for (size_t i = 0; i < order.size(); ++i) order[i] = i;
    std::sort(order.begin(), order.end(),
              [&](size_t a, size_t b) { return lines[a].x0 < lines[b].x0; });
    const double reach = 5.0 * size;
    for (size_t i = 0; i < order.size(); ++i) {
        const Line& a = lines[order[i]];
        for (size_t j = i + 1; j < order.size() && lines[order[j]].x0 <= a.x1 + reach; ++j) {
            const Line& b = lines[order[j]];
            if (b.loop == a.loop || b.y0 > a.y1 + reach || a.y0 > b.y1 + reach) continue;
            const double g = 0.2 * a.line.JL_Distance_to(b.line);
            sizes[order[i]] = std::min(sizes[order[i]], g);
            sizes[order[j]] = std::min(sizes[order[j]], g);
        }
    }
    return sizes;
}

}  // namespace

std::string sizeProblem(const Region& region, double size, bool gaps) {
    double segments = 0.0;
    double minX = HUGE_VAL, minY = HUGE_VAL, maxX = -HUGE_VAL, maxY = -HUGE_VAL;
    const std::vector<double> sizes = gaps ? lineSizes(region, size) : std::vector<double>();
    size_t line = 0;
    for (const auto& loop : region.loops)
        for (size_t i = 0; i < loop.size(); ++i, ++line) {
            const Point& a = loop[i];
            const Point& b = loop[(i + 1) % loop.size()];
            segments += std::hypot(b.x - a.x, b.y - a.y) / (gaps ? sizes[line] : size);
            minX = std::min(minX, a.x), maxX = std::max(maxX, a.x);
            minY = std::min(minY, a.y), maxY = std::max(maxY, a.y);
        }
    // Rows run inward from the boundary; half the smaller side bounds how many meet.
    double rows = 0.5 * std::min(maxX - minX, maxY - minY) / size;
    char text[200];
    const double finest = sizes.empty() ? size : *std::min_element(sizes.begin(), sizes.end());
    if (!(segments <= kMaxBoundarySegments) && finest < size) {
        std::snprintf(text, sizeof text,
                      "would need %.3g boundary segments, as two loops come within %.3g of each "
                      "other (at most %.0f)",
                      segments, 5.0 * finest, kMaxBoundarySegments);
        return text;
    }
    if (!(segments <= kMaxBoundarySegments)) {
        std::snprintf(text, sizeof text,
                      "would need %.3g boundary segments (at most %.0f; give a larger size)",
                      segments, kMaxBoundarySegments);
        return text;
    }
    if (!(rows <= kMaxRows)) {
        std::snprintf(text, sizeof text, "would need %.3g rows (at most %.0f; give a larger size)",
                      rows, kMaxRows);
        return text;
    }
    return "";
}

std::string coordinateProblem(const Region& region) {
    double far = 0.0;
    auto see = [&](const std::vector<Point>& points) {
        for (const Point& p : points) far = std::max({far, std::fabs(p.x), std::fabs(p.y)});
    };
    for (const auto& loop : region.loops) see(loop);
    see(region.interiorPoints);
    see(region.boundaryPoints);
    if (far <= kMaxCoordinate) return "";
    char text[120];
    std::snprintf(text, sizeof text, "has a coordinate of %.3g (at most %.0e: move it nearer 0)",
                  far, kMaxCoordinate);
    return text;
}

}  // namespace zevtool::meshio
