#include "tools/zevcore/MeshIo.h"

#include "tools/zevcore/MeshChecks.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <locale>
#include <sstream>

#include "zevcore/platform/Locale.h"

namespace zevtool::meshio {

namespace {

struct Block {
    enum Kind { kLoop, kInterior, kBoundary } kind = kLoop;
    std::vector<Point> points;
    std::vector<int> lines;
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

struct Loop {
    std::vector<Point> points;
    std::vector<int> lines;  // source line of each point
};

Loop closeLoop(const Block& block) {
    Loop loop{block.points, block.lines};
    int last = block.lines.back();
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
            if (open && !current.points.empty()) finish();
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
        current.points.push_back(p);
        current.lines.push_back(lineNo);
        open = true;
    }
    finish();

    Region region;
    std::vector<Loop> loops;
    for (const Block& block : blocks) {
        if (block.kind == Block::kInterior)
            region.interiorPoints.insert(region.interiorPoints.end(), block.points.begin(),
                                         block.points.end());
        else if (block.kind == Block::kBoundary)
            region.boundaryPoints.insert(region.boundaryPoints.end(), block.points.begin(),
                                         block.points.end());
        else if (block.points.empty())
            throw InputError(block.keywordLine, "\"solid\" must be followed by a loop");
        else {
            if (block.solid && loops.empty())
                throw InputError(block.keywordLine, "the outer boundary cannot be solid");
            loops.push_back(closeLoop(block));
            region.solid.push_back(block.solid);
        }
    }
    if (loops.empty()) throw InputError(0, "no boundary loop");

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
    return region;
}

void refuseFolder(const std::string& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error))
        throw InputError(0, "cannot read the file: it is a folder");
}

void refuseLargeFile(const std::string& path) {
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    if (!error && size > kMaxInputBytes) throw InputError(0, kTooLarge);
}

std::string readInputFile(const std::string& path) {
    refuseFolder(path);
    refuseLargeFile(path);
    std::ifstream in(path, std::ios::binary);
    if (!in) throw InputError(0, "cannot read the file");
    // What has no size to ask (a device, a pipe) is read up to the limit and no further.
    std::string text;
    char buffer[1 << 16];
    while (in.read(buffer, sizeof buffer) || in.gcount() > 0) {
        text.append(buffer, static_cast<size_t>(in.gcount()));
        if (text.size() > kMaxInputBytes) throw InputError(0, kTooLarge);
    }
    if (in.bad()) throw InputError(0, "cannot read the file");
    return text;
}

Region readBoundaryFile(const std::string& path) {
    return parseBoundaryText(readInputFile(path));
}

std::string summaryText(const std::string& method, const Mesh& mesh, const Quality& quality,
                        int missedInteriorPoints, int interiorPoints) {
    CZEVClassicLocaleScope classic;
    char buffer[512];
    std::snprintf(buffer, sizeof buffer,
                  "method:            %s\n"
                  "nodes:             %zu\n"
                  "elements:          %zu\n"
                  "missed interior points: %d of %d\n"
                  "interior angles:   %.1f to %.1f degrees\n"
                  "concave elements:  %d (degenerate: %d)\n"
                  "aspect ratio:      max %.2f, mean %.2f\n",
                  method.c_str(), mesh.nodes.size(), mesh.elements.size(), missedInteriorPoints,
                  interiorPoints, quality.minAngle, quality.maxAngle, quality.concave,
                  quality.degenerate, quality.maxAspect, quality.meanAspect);
    return buffer;
}

std::string svgText(const Region& region, const Mesh& mesh) {
    double minX = std::numeric_limits<double>::infinity(), minY = minX;
    double maxX = -minX, maxY = -minX;
    auto grow = [&](const Point& p) {
        minX = std::min(minX, p.x), maxX = std::max(maxX, p.x);
        minY = std::min(minY, p.y), maxY = std::max(maxY, p.y);
    };
    for (const auto& loop : region.loops)
        for (const Point& p : loop) grow(p);
    for (const Point& p : mesh.nodes)
        if (std::isfinite(p.x) && std::isfinite(p.y)) grow(p);
    if (!(minX <= maxX)) minX = minY = 0.0, maxX = maxY = 1.0;
    double extent = std::max({maxX - minX, maxY - minY, 1e-12});
    const double width = 800.0, margin = 20.0;
    double scale = (width - 2 * margin) / extent;
    double height = (maxY - minY) * scale + 2 * margin;
    auto X = [&](const Point& p) { return margin + (p.x - minX) * scale; };
    auto Y = [&](const Point& p) { return height - margin - (p.y - minY) * scale; };

    std::ostringstream svg;
    svg.imbue(std::locale::classic());
    svg.precision(10);
    svg << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\"" << height
        << "\" viewBox=\"0 0 " << width << ' ' << height << "\">\n"
        << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
        << "<g stroke=\"#2060a0\" stroke-width=\"0.8\" stroke-linejoin=\"round\">\n";
    for (const Element& e : mesh.elements) {
        if (!validElement(e, static_cast<int>(mesh.nodes.size()))) continue;
        bool concave = measureElement(mesh, e).concave;
        svg << "<polygon fill=\"" << (concave ? "#f08080" : "#dce9f5") << "\" points=\"";
        for (int i = 0; i < e.count; ++i)
            svg << X(mesh.nodes[e.v[i]]) << ',' << Y(mesh.nodes[e.v[i]]) << ' ';
        svg << "\"/>\n";
    }
    svg << "</g>\n<g fill=\"none\" stroke=\"black\" stroke-width=\"2\">\n";
    for (const auto& loop : region.loops) {
        svg << "<polygon points=\"";
        for (const Point& p : loop) svg << X(p) << ',' << Y(p) << ' ';
        svg << "\"/>\n";
    }
    svg << "</g>\n";
    for (const Point& p : region.interiorPoints)
        svg << "<circle cx=\"" << X(p) << "\" cy=\"" << Y(p) << "\" r=\"4\" fill=\"#d02020\"/>\n";
    for (const Point& p : region.boundaryPoints)
        svg << "<circle cx=\"" << X(p) << "\" cy=\"" << Y(p) << "\" r=\"4\" fill=\"#20a020\"/>\n";
    svg << "</svg>\n";
    return svg.str();
}

std::string mshText(const Mesh& mesh) {
    std::ostringstream msh;
    msh.imbue(std::locale::classic());
    msh.precision(17);
    msh << "$MeshFormat\n2.2 0 8\n$EndMeshFormat\n$Nodes\n" << mesh.nodes.size() << '\n';
    for (size_t i = 0; i < mesh.nodes.size(); ++i)
        msh << i + 1 << ' ' << mesh.nodes[i].x << ' ' << mesh.nodes[i].y << " 0\n";
    msh << "$EndNodes\n$Elements\n";
    std::ostringstream body;
    body.imbue(std::locale::classic());
    size_t written = 0;
    for (const Element& e : mesh.elements) {
        if (!validElement(e, static_cast<int>(mesh.nodes.size()))) continue;
        // Type 2 is the 3-node triangle, 3 the 4-node quadrangle; two tags: physical and
        // elementary entity, both 1.
        body << ++written << ' ' << (e.count == 3 ? 2 : 3) << " 2 1 1";
        for (int i = 0; i < e.count; ++i) body << ' ' << e.v[i] + 1;
        body << '\n';
    }
    msh << written << '\n' << body.str() << "$EndElements\n";
    return msh.str();
}

}  // namespace zevtool::meshio
