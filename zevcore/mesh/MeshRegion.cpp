#include "zevcore/mesh/MeshRegion.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "zevcore/mesh/paver/MeshModel.h"
#include "zevcore/platform/Locale.h"

namespace zev::mesh {

namespace {

// A loop as read, with the source line of each point; for loops given as points the "line"
// is the loop's number from 1, so that a message can name the loop.
struct Loop {
    std::vector<Point> points;
    std::vector<int> lines;
};

struct Block {
    enum Kind { kLoop, kInterior, kBoundary } kind = kLoop;
    Loop loop;
    int keywordLine = 0;
    bool solid = false;  // a loop started by "solid"
};

bool parseNumber(const std::string& token, double& value) {
    if (token.empty()) return false;
    errno = 0;
    char* end = nullptr;
    value = ZEVStrtod(token.c_str(), &end);
    return end == token.c_str() + token.size() && errno != ERANGE && std::isfinite(value);
}

double cross(const Point& o, const Point& a, const Point& b) {
    return (a.x - o.x) * (b.y - o.y) - (a.y - o.y) * (b.x - o.x);
}

bool onSegment(const Point& p, const Point& a, const Point& b) {
    return std::min(a.x, b.x) <= p.x && p.x <= std::max(a.x, b.x) && std::min(a.y, b.y) <= p.y &&
           p.y <= std::max(a.y, b.y);
}

// Closed segments touch or cross.
bool segmentsMeet(const Point& a, const Point& b, const Point& c, const Point& d) {
    double d1 = cross(c, d, a), d2 = cross(c, d, b), d3 = cross(a, b, c), d4 = cross(a, b, d);
    if (((d1 > 0 && d2 < 0) || (d1 < 0 && d2 > 0)) && ((d3 > 0 && d4 < 0) || (d3 < 0 && d4 > 0)))
        return true;
    return (d1 == 0 && onSegment(a, c, d)) || (d2 == 0 && onSegment(b, c, d)) ||
           (d3 == 0 && onSegment(c, a, b)) || (d4 == 0 && onSegment(d, a, b));
}

bool insideLoop(const Point& p, const std::vector<Point>& loop) {
    bool inside = false;
    for (size_t i = 0, j = loop.size() - 1; i < loop.size(); j = i++) {
        const Point& a = loop[i];
        const Point& b = loop[j];
        if ((a.y > p.y) != (b.y > p.y) && p.x < (b.x - a.x) * (p.y - a.y) / (b.y - a.y) + a.x)
            inside = !inside;
    }
    return inside;
}

std::string lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

Loop closeLoop(const Loop& given) {
    Loop loop = given;
    int last = given.lines.back();
    const Point& f = loop.points.front();
    const Point& l = loop.points.back();
    if (loop.points.size() < 2 || f.x != l.x || f.y != l.y)
        throw InputError(last, "the loop is not closed: its last point must repeat its first");
    loop.points.pop_back();
    loop.lines.pop_back();
    if (loop.points.size() < 3)
        throw InputError(last, "a loop needs at least three different points");
    size_t n = loop.points.size();
    for (size_t i = 0; i < n; ++i) {
        const Point& a = loop.points[i];
        const Point& b = loop.points[(i + 1) % n];
        if (a.x == b.x && a.y == b.y)
            throw InputError(loop.lines[(i + 1) % n], "a point repeats the one before it");
    }
    for (size_t i = 0; i < n; ++i) {
        for (size_t j = i + 1; j < n; ++j) {
            bool adjacent = j == i + 1 || (i == 0 && j == n - 1);
            if (adjacent) continue;
            if (segmentsMeet(loop.points[i], loop.points[(i + 1) % n], loop.points[j],
                             loop.points[(j + 1) % n]))
                throw InputError(loop.lines[j], "the loop crosses itself");
        }
    }
    if (signedArea(loop.points) == 0.0) throw InputError(last, "the loop encloses no area");
    return loop;
}

// The closed loops checked against each other and oriented: outer counter-clockwise, holes
// clockwise.
void addLoops(Region& region, const std::vector<Loop>& loops) {
    for (size_t a = 0; a < loops.size(); ++a) {
        for (size_t b = a + 1; b < loops.size(); ++b) {
            const auto& pa = loops[a].points;
            const auto& pb = loops[b].points;
            for (size_t i = 0; i < pa.size(); ++i)
                for (size_t j = 0; j < pb.size(); ++j)
                    if (segmentsMeet(pa[i], pa[(i + 1) % pa.size()], pb[j],
                                     pb[(j + 1) % pb.size()]))
                        throw InputError(loops[b].lines[j], "the loop crosses an earlier loop");
        }
        if (a > 0) {
            if (!insideLoop(loops[a].points.front(), loops[0].points))
                throw InputError(loops[a].lines.front(),
                                 "a hole must lie inside the outer boundary");
            for (size_t b = 1; b < a; ++b)
                if (insideLoop(loops[a].points.front(), loops[b].points))
                    throw InputError(loops[a].lines.front(), "a hole lies inside another hole");
        }
    }
    for (size_t a = 0; a < loops.size(); ++a) {
        std::vector<Point> points = loops[a].points;
        bool ccw = signedArea(points) > 0.0;
        if ((a == 0) != ccw) std::reverse(points.begin(), points.end());
        region.loops.push_back(points);
    }
}

bool finitePoint(const Point& p) {
    return std::isfinite(p.x) && std::isfinite(p.y);
}

}  // namespace

double signedArea(const std::vector<Point>& loop) {
    double twice = 0.0;
    for (size_t i = 0; i < loop.size(); ++i) {
        const Point& a = loop[i];
        const Point& b = loop[(i + 1) % loop.size()];
        twice += a.x * b.y - b.x * a.y;
    }
    return twice * 0.5;
}

bool IsValid(const Region& region) {
    if (region.loops.empty() || region.solid.size() != region.loops.size() || region.solid[0])
        return false;
    for (size_t k = 0; k < region.loops.size(); ++k) {
        const std::vector<Point>& loop = region.loops[k];
        if (loop.size() < 3 || !std::all_of(loop.begin(), loop.end(), finitePoint)) return false;
        if ((signedArea(loop) > 0.0) != (k == 0)) return false;
    }
    return std::all_of(region.interiorPoints.begin(), region.interiorPoints.end(), finitePoint) &&
           std::all_of(region.boundaryPoints.begin(), region.boundaryPoints.end(), finitePoint);
}

Region parseBoundaryText(const std::string& text) {
    std::vector<Block> blocks;
    Block current;
    bool open = false;
    auto finish = [&]() {
        if (open) blocks.push_back(current);
        current = Block();
        open = false;
    };

    std::istringstream in(text);
    std::string raw;
    int lineNo = 0;
    while (std::getline(in, raw)) {
        ++lineNo;
        std::string line = raw.substr(0, raw.find('#'));
        std::istringstream tokens(line);
        std::vector<std::string> words;
        for (std::string w; tokens >> w;) words.push_back(w);
        if (words.empty()) {
            // A blank line ends a loop; a keyword block may have blank lines after its keyword.
            if (open && !current.loop.points.empty()) finish();
            continue;
        }
        std::string key = lower(words[0]);
        if (words.size() == 1 && key == "solid") {
            finish();
            current.solid = true;
            current.keywordLine = lineNo;
            open = true;
            continue;
        }
        if (words.size() == 1 && (key == "interior" || key == "boundary")) {
            finish();
            current.kind = key == "interior" ? Block::kInterior : Block::kBoundary;
            current.keywordLine = lineNo;
            open = true;
            continue;
        }
        Point p;
        if (words.size() != 2 || !parseNumber(words[0], p.x) || !parseNumber(words[1], p.y))
            throw InputError(lineNo,
                             "expected two numbers \"x y\", or a blank line, "
                             "\"interior\", \"boundary\" or \"solid\"");
        current.loop.points.push_back(p);
        current.loop.lines.push_back(lineNo);
        open = true;
    }
    finish();

    Region region;
    std::vector<Loop> loops;
    for (const Block& block : blocks) {
        const std::vector<Point>& points = block.loop.points;
        if (block.kind == Block::kInterior)
            region.interiorPoints.insert(region.interiorPoints.end(), points.begin(), points.end());
        else if (block.kind == Block::kBoundary)
            region.boundaryPoints.insert(region.boundaryPoints.end(), points.begin(), points.end());
        else if (points.empty())
            throw InputError(block.keywordLine, "\"solid\" must be followed by a loop");
        else {
            if (block.solid && loops.empty())
                throw InputError(block.keywordLine, "the outer boundary cannot be solid");
            loops.push_back(closeLoop(block.loop));
            region.solid.push_back(block.solid);
        }
    }
    if (loops.empty()) throw InputError(0, "no boundary loop");
    addLoops(region, loops);
    return region;
}

Region regionFromLoops(const std::vector<std::vector<Point>>& given,
                       const std::vector<Point>& interiorPoints,
                       const std::vector<Point>& boundaryPoints) {
    if (given.empty()) throw InputError(0, "no boundary loop");
    auto name = [](int number) {
        return number == 1 ? std::string("the outer boundary")
                           : "hole " + std::to_string(number - 1);
    };
    Region region;
    std::vector<Loop> loops;
    try {
        for (size_t k = 0; k < given.size(); ++k) {
            const int number = static_cast<int>(k) + 1;
            Loop loop;
            loop.points = given[k];
            for (const Point& p : loop.points)
                if (!finitePoint(p))
                    throw InputError(number, "a coordinate is not a finite number");
            // Closed or not, the loop is closed here once.
            if (loop.points.size() > 1 && loop.points.front().x == loop.points.back().x &&
                loop.points.front().y == loop.points.back().y)
                loop.points.pop_back();
            if (loop.points.size() < 3)
                throw InputError(number, "a loop needs at least three different points");
            loop.points.push_back(loop.points.front());
            loop.lines.assign(loop.points.size(), number);
            loops.push_back(closeLoop(loop));
            region.solid.push_back(false);
        }
        addLoops(region, loops);
    } catch (const InputError& e) {
        throw InputError(0, name(e.line()) + ": " + e.what());
    }
    for (const std::vector<Point>* points : {&interiorPoints, &boundaryPoints})
        for (const Point& p : *points)
            if (!finitePoint(p)) throw InputError(0, "a constraint point is not a finite number");
    region.interiorPoints = interiorPoints;
    region.boundaryPoints = boundaryPoints;
    return region;
}

void refuseFolder(const std::string& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error))
        throw InputError(0, "cannot read the file: it is a folder");
}

std::string readInputFile(const std::string& path) {
    refuseFolder(path);
    std::ifstream in(path, std::ios::binary);
    if (!in) throw InputError(0, "cannot read the file");
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) throw InputError(0, "cannot read the file");
    return text;
}

Region readBoundaryFile(const std::string& path) {
    return parseBoundaryText(readInputFile(path));
}

Region builtInShape(int n) {
    Paver::CMeshModel model;
    Region region;
    if (!model.DrawShape(n)) return region;
    for (const auto& lines : model.boundaries) {
        std::vector<Point> loop;
        for (const Paver::CLine2D& line : lines) loop.push_back({line.start.x, line.start.y});
        region.loops.push_back(loop);
    }
    return region;
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

namespace {

// A size that would make the boundary or the rows too many to pave in reasonable time and
// memory is refused before any work.
constexpr double kMaxBoundarySegments = 100000.0;
constexpr double kMaxRows = 10000.0;

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
    CZEVClassicLocaleScope classic;
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
    CZEVClassicLocaleScope classic;
    char text[120];
    std::snprintf(text, sizeof text, "has a coordinate of %.3g (at most %.0e: move it nearer 0)",
                  far, kMaxCoordinate);
    return text;
}

}  // namespace zev::mesh
