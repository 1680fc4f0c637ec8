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
#include <map>
#include <set>
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

// A side of a loop as the sweep sees it: p is its end with the smaller x (then y).
struct SweepSide {
    Point p, q;
    int loop = 0, index = 0;
    bool forward = true;  // the loop runs from p to q
};

int sign(double v) {
    return (v > 0.0) - (v < 0.0);
}

// Whether side a lies below side b at the larger x where both stand, the two taken to meet
// there only; sides that meet there are ordered as they leave it, then by which is which.
bool sideBelow(const SweepSide& a, const SweepSide& b) {
    int above;  // +1 when a lies above b
    if (a.p.x >= b.p.x)
        above = b.p.x == b.q.x ? sign(a.p.y - b.p.y) : sign(cross(b.p, b.q, a.p));
    else
        above = a.p.x == a.q.x ? sign(a.p.y - b.p.y) : -sign(cross(a.p, a.q, b.p));
    if (above != 0) return above < 0;
    const double turn =
        cross(Point{}, Point{a.q.x - a.p.x, a.q.y - a.p.y}, Point{b.q.x - b.p.x, b.q.y - b.p.y});
    if (turn != 0.0) return turn > 0.0;
    return a.loop != b.loop ? a.loop < b.loop : a.index < b.index;
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
    if (const LoopLayout layout = layOutLoops({loop.points}); layout.meet)
        throw InputError(loop.lines[static_cast<size_t>(layout.second.side)],
                         "the loop crosses itself");
    if (signedArea(loop.points) == 0.0) throw InputError(last, "the loop encloses no area");
    return loop;
}

}  // namespace

namespace {

bool onSegment(const Point& p, const Point& a, const Point& b) {
    return std::min(a.x, b.x) <= p.x && p.x <= std::max(a.x, b.x) && std::min(a.y, b.y) <= p.y &&
           p.y <= std::max(a.y, b.y);
}

}  // namespace

bool segmentsMeet(const Point& a, const Point& b, const Point& c, const Point& d) {
    double d1 = cross(c, d, a), d2 = cross(c, d, b), d3 = cross(a, b, c), d4 = cross(a, b, d);
    if (((d1 > 0 && d2 < 0) || (d1 < 0 && d2 > 0)) && ((d3 > 0 && d4 < 0) || (d3 < 0 && d4 > 0)))
        return true;
    return (d1 == 0 && onSegment(a, c, d)) || (d2 == 0 && onSegment(b, c, d)) ||
           (d3 == 0 && onSegment(c, a, b)) || (d4 == 0 && onSegment(d, a, b));
}

double signedArea(const std::vector<Point>& loop) {
    double twice = 0.0;
    for (size_t i = 0; i < loop.size(); ++i) {
        const Point& a = loop[i];
        const Point& b = loop[(i + 1) % loop.size()];
        twice += a.x * b.y - b.x * a.y;
    }
    return twice * 0.5;
}

namespace {

// The sweep's order of sides, which also places a point (a side of no length, below every
// side through it when `low`, else above them) among them.
struct SideOrder {
    using is_transparent = void;
    const std::vector<SweepSide>* sides;
    bool operator()(int a, int b) const { return sideBelow((*sides)[a], (*sides)[b]); }
    bool operator()(int a, const SweepSide& probe) const { return sideBelow((*sides)[a], probe); }
    bool operator()(const SweepSide& probe, int b) const { return sideBelow(probe, (*sides)[b]); }
};

SweepSide probe(double x, double y, bool low) {
    SweepSide p{{x, y}, {x, y}, low ? -1 : std::numeric_limits<int>::max(), 0, true};
    return p;
}

}  // namespace

// Shamos and Hoey's sweep from left to right: sides that meet are next to each other in the
// order of sides along the sweep line at some event before it passes where they meet. Upright
// sides have no place in that order; each is tried against the sides standing at its x and the
// other upright sides there.
LoopLayout layOutLoops(const std::vector<std::vector<Point>>& loops) {
    LoopLayout layout;
    std::vector<SweepSide> sides;
    for (size_t l = 0; l < loops.size(); ++l) {
        const auto& loop = loops[l];
        for (size_t i = 0; i < loop.size(); ++i) {
            SweepSide side{loop[i], loop[(i + 1) % loop.size()], static_cast<int>(l),
                           static_cast<int>(i), true};
            if (side.q.x < side.p.x || (side.q.x == side.p.x && side.q.y < side.p.y))
                std::swap(side.p, side.q), side.forward = false;
            sides.push_back(side);
        }
    }
    // At one x: sides begin (lowest first), upright sides are tried, then sides end.
    enum Kind { kBegin, kUpright, kEnd };
    struct Event {
        double x, y;
        Kind kind;
        int side;
    };
    std::vector<Event> events;
    events.reserve(2 * sides.size());
    for (size_t i = 0; i < sides.size(); ++i) {
        const int at = static_cast<int>(i);
        if (sides[i].p.x == sides[i].q.x) {
            events.push_back({sides[i].p.x, sides[i].p.y, kUpright, at});
        } else {
            events.push_back({sides[i].p.x, sides[i].p.y, kBegin, at});
            events.push_back({sides[i].q.x, sides[i].q.y, kEnd, at});
        }
    }
    std::sort(events.begin(), events.end(), [](const Event& a, const Event& b) {
        if (a.x != b.x) return a.x < b.x;
        if (a.kind != b.kind) return a.kind < b.kind;
        if (a.y != b.y) return a.y < b.y;
        return a.side < b.side;
    });
    std::set<int, SideOrder> status(SideOrder{&sides});
    std::vector<std::set<int, SideOrder>::iterator> at(sides.size(), status.end());
    auto meet = [&](int a, int b) {
        const SweepSide &s = sides[static_cast<size_t>(a)], &t = sides[static_cast<size_t>(b)];
        if (s.loop == t.loop) {
            const int n = static_cast<int>(loops[static_cast<size_t>(s.loop)].size());
            const int gap = std::abs(s.index - t.index);
            if (gap == 1 || gap == n - 1) return false;  // neighbours share a corner
        }
        if (!segmentsMeet(s.p, s.q, t.p, t.q)) return false;
        const bool sFirst = s.loop != t.loop ? s.loop < t.loop : s.index < t.index;
        layout.meet = true;
        layout.first =
            sFirst ? LoopLayout::Place{s.loop, s.index} : LoopLayout::Place{t.loop, t.index};
        layout.second =
            sFirst ? LoopLayout::Place{t.loop, t.index} : LoopLayout::Place{s.loop, s.index};
        return true;
    };
    // Two sides of a loop's corner may stand between two sides that meet, all three through
    // one point; the pair that then is one apart meets too. So sides newly next to each other,
    // or one apart, are tried: `it` against those up to `below` places before it and
    // `above` after it.
    auto meetsWithin = [&](std::set<int, SideOrder>::iterator it, int below, int above) {
        auto other = it;
        for (int k = 0; k < above && ++other != status.end(); ++k)
            if (meet(*it, *other)) return true;
        other = it;
        for (int k = 0; k < below && other != status.begin(); ++k)
            if (meet(*it, *--other)) return true;
        return false;
    };
    // The loops in the order the sweep meets them, and the side first below each: a loop
    // meets the sweep at its least corner, where no side of its own stands yet.
    std::vector<int> order;
    std::vector<int> sideBelowLoop(loops.size(), -1);
    std::vector<char> seen(loops.size(), 0);
    std::vector<int> upright;  // those at this x that reach the one being tried
    double uprightX = 0.0;
    for (const Event& e : events) {
        const int i = e.side;
        const SweepSide& side = sides[static_cast<size_t>(i)];
        if (e.kind == kBegin) {
            const auto it = status.insert(i).first;
            at[static_cast<size_t>(i)] = it;
            if (meetsWithin(it, 2, 2)) return layout;
            const auto l = static_cast<size_t>(side.loop);
            if (!seen[l]) {
                seen[l] = 1;
                order.push_back(side.loop);
                // A ray straight down, as if from just right of the corner: sides that end
                // here do not count.
                for (auto down = it; down != status.begin();) {
                    --down;
                    if (sides[static_cast<size_t>(*down)].q.x > e.x) {
                        sideBelowLoop[l] = *down;
                        break;
                    }
                }
            }
        } else if (e.kind == kUpright) {
            // Every side standing here from its foot to its top meets it; only its two
            // neighbours in its loop may be passed over.
            const auto top = probe(side.q.x, side.q.y, false);
            for (auto it = status.lower_bound(probe(side.p.x, side.p.y, true));
                 it != status.end() && SideOrder{&sides}(*it, top); ++it)
                if (meet(i, *it)) return layout;
            if (upright.empty() || uprightX != e.x) upright.clear(), uprightX = e.x;
            std::erase_if(upright,
                          [&](int u) { return sides[static_cast<size_t>(u)].q.y < side.p.y; });
            for (int u : upright)
                if (meet(i, u)) return layout;
            upright.push_back(i);
        } else {
            const auto it = status.erase(at[static_cast<size_t>(i)]);
            if (it != status.end() && it != status.begin() &&
                (meetsWithin(it, 2, 0) || meetsWithin(std::prev(it), 0, 2)))
                return layout;
        }
    }
    // A loop lies in the loop of the side below it when that loop's inside is above the side,
    // else beside it, in what holds that loop.
    std::vector<bool> counterClockwise(loops.size());
    for (size_t l = 0; l < loops.size(); ++l) counterClockwise[l] = signedArea(loops[l]) > 0.0;
    layout.parent.assign(loops.size(), -1);
    layout.depth.assign(loops.size(), 0);
    for (int l : order) {
        const auto loop = static_cast<size_t>(l);
        const int t = sideBelowLoop[loop];
        if (t < 0) continue;
        const auto holder = static_cast<size_t>(sides[static_cast<size_t>(t)].loop);
        layout.parent[loop] = sides[static_cast<size_t>(t)].forward == counterClockwise[holder]
                                  ? static_cast<int>(holder)
                                  : layout.parent[holder];
        if (layout.parent[loop] >= 0)
            layout.depth[loop] = layout.depth[static_cast<size_t>(layout.parent[loop])] + 1;
    }
    return layout;
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

    std::vector<std::vector<Point>> outlines;
    for (const Loop& loop : loops) outlines.push_back(loop.points);
    const LoopLayout layout = layOutLoops(outlines);
    // Named by its first line: which of its sides the sweep came on first says little.
    if (layout.meet)
        throw InputError(loops[static_cast<size_t>(layout.second.loop)].lines.front(),
                         "the loop crosses an earlier loop");
    // Loops that do not meet are nested or apart: a hole lies in the outer loop, and in no
    // other hole (whichever comes first).
    std::vector<signed char> inOuter(loops.size(), -1);  // -1 not known yet
    inOuter[0] = 0;
    auto insideOuter = [&](size_t a) {
        std::vector<size_t> path;
        int at = static_cast<int>(a);
        while (at >= 0 && inOuter[static_cast<size_t>(at)] < 0) {
            path.push_back(static_cast<size_t>(at));
            at = layout.parent[static_cast<size_t>(at)];
        }
        const signed char known = at < 0 ? 0 : at == 0 ? 1 : inOuter[static_cast<size_t>(at)];
        for (size_t p : path) inOuter[p] = known;
        return known == 1;
    };
    for (size_t a = 1; a < loops.size(); ++a) {
        if (!insideOuter(a))
            throw InputError(loops[a].lines.front(), "a hole must lie inside the outer boundary");
        if (layout.parent[a] != 0)
            throw InputError(loops[a].lines.front(), "a hole lies inside another hole");
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

std::string paverLineProblem(const Region& region) {
    std::size_t lines = 0;
    for (const auto& loop : region.loops) lines += loop.size();
    if (lines <= kMaxPaverLines) return "";
    return "the region has " + std::to_string(lines) + " boundary lines (the paver takes at most " +
           std::to_string(kMaxPaverLines) + "; --method triangle takes more)";
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

namespace {

// The nodes (z = 0), numbered from 1, and the head of the elements.
void putNodes(std::ostringstream& msh, const Mesh& mesh) {
    msh << "$Nodes\n" << mesh.nodes.size() << '\n';
    for (size_t i = 0; i < mesh.nodes.size(); ++i)
        msh << i + 1 << ' ' << mesh.nodes[i].x << ' ' << mesh.nodes[i].y << " 0\n";
    msh << "$EndNodes\n$Elements\n";
}

}  // namespace

std::string mshText(const Mesh& mesh) {
    std::ostringstream msh;
    msh.imbue(std::locale::classic());
    msh.precision(17);
    msh << "$MeshFormat\n2.2 0 8\n$EndMeshFormat\n";
    putNodes(msh, mesh);
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

namespace {

double segmentDistance(const Point& p, const Point& a, const Point& b) {
    const double dx = b.x - a.x, dy = b.y - a.y;
    const double length2 = dx * dx + dy * dy;
    double t = length2 > 0.0 ? ((p.x - a.x) * dx + (p.y - a.y) * dy) / length2 : 0.0;
    t = std::clamp(t, 0.0, 1.0);
    return std::hypot(p.x - a.x - t * dx, p.y - a.y - t * dy);
}

// The loop whose outline passes nearest the point.
size_t nearestLoop(const Region& region, const Point& p) {
    size_t best = 0;
    double bestDistance = HUGE_VAL;
    for (size_t k = 0; k < region.loops.size(); ++k) {
        const auto& loop = region.loops[k];
        for (size_t i = 0; i < loop.size(); ++i) {
            const double d = segmentDistance(p, loop[i], loop[(i + 1) % loop.size()]);
            if (d < bestDistance) bestDistance = d, best = k;
        }
    }
    return best;
}

}  // namespace

std::string mshText(const Mesh& mesh, const Region& region, const std::vector<std::string>& names) {
    const int nodes = static_cast<int>(mesh.nodes.size());
    const size_t loops = std::max<size_t>(region.loops.size(), 1);
    std::vector<std::string> groups;
    for (size_t k = 0; k < loops; ++k)
        groups.push_back(names.size() == region.loops.size() && k < names.size() ? names[k]
                         : k == 0 ? std::string("outer")
                                  : "hole " + std::to_string(k));
    // Sides that only one element has are the boundary's, kept as the element runs them.
    std::map<std::pair<int, int>, int> uses;
    std::vector<std::pair<int, int>> sides;
    for (const Element& e : mesh.elements) {
        if (!validElement(e, nodes)) continue;
        for (int i = 0; i < e.count; ++i) {
            const int a = e.v[static_cast<size_t>(i)],
                      b = e.v[static_cast<size_t>((i + 1) % e.count)];
            if (++uses[{std::min(a, b), std::max(a, b)}] == 1) sides.push_back({a, b});
        }
    }
    std::vector<std::pair<int, int>> boundary;
    for (const auto& [a, b] : sides)
        if (uses[{std::min(a, b), std::max(a, b)}] == 1) boundary.push_back({a, b});
    // Each run of boundary sides joined at nodes belongs to the loop nearest most of them.
    std::vector<int> parent(static_cast<size_t>(nodes));
    for (int i = 0; i < nodes; ++i) parent[static_cast<size_t>(i)] = i;
    auto root = [&](int i) {
        while (parent[static_cast<size_t>(i)] != i)
            i = parent[static_cast<size_t>(i)] =
                parent[static_cast<size_t>(parent[static_cast<size_t>(i)])];
        return i;
    };
    for (const auto& [a, b] : boundary) parent[static_cast<size_t>(root(a))] = root(b);
    std::map<int, std::vector<size_t>> runs;
    for (size_t i = 0; i < boundary.size(); ++i) runs[root(boundary[i].first)].push_back(i);
    std::vector<size_t> loopOf(boundary.size(), 0);
    if (!region.loops.empty())
        for (const auto& [run, members] : runs) {
            std::vector<int> votes(region.loops.size(), 0);
            const size_t step = std::max<size_t>(1, members.size() / 8);
            for (size_t m = 0; m < members.size(); m += step) {
                const auto& [a, b] = boundary[members[m]];
                const Point& p = mesh.nodes[static_cast<size_t>(a)];
                const Point& q = mesh.nodes[static_cast<size_t>(b)];
                ++votes[nearestLoop(region, {(p.x + q.x) / 2, (p.y + q.y) / 2})];
            }
            const size_t loop =
                static_cast<size_t>(std::max_element(votes.begin(), votes.end()) - votes.begin());
            for (size_t m : members) loopOf[m] = loop;
        }

    std::ostringstream msh;
    msh.imbue(std::locale::classic());
    msh.precision(17);
    msh << "$MeshFormat\n2.2 0 8\n$EndMeshFormat\n$PhysicalNames\n" << loops + 1 << '\n';
    for (size_t k = 0; k < loops; ++k) {
        std::string name = groups[k];
        std::replace(name.begin(), name.end(), '"', '\'');
        msh << "1 " << k + 1 << " \"" << name << "\"\n";
    }
    msh << "2 " << loops + 1 << " \"surface\"\n$EndPhysicalNames\n";
    putNodes(msh, mesh);
    std::ostringstream body;
    body.imbue(std::locale::classic());
    size_t written = 0;
    // Type 1 is the 2-node line; tags: the physical group, then the elementary curve (the
    // loop's number) or surface (1).
    for (size_t i = 0; i < boundary.size(); ++i)
        body << ++written << " 1 2 " << loopOf[i] + 1 << ' ' << loopOf[i] + 1 << ' '
             << boundary[i].first + 1 << ' ' << boundary[i].second + 1 << '\n';
    for (const Element& e : mesh.elements) {
        if (!validElement(e, nodes)) continue;
        body << ++written << ' ' << (e.count == 3 ? 2 : 3) << " 2 " << loops + 1 << " 1";
        for (int i = 0; i < e.count; ++i) body << ' ' << e.v[static_cast<size_t>(i)] + 1;
        body << '\n';
    }
    msh << written << '\n' << body.str() << "$EndElements\n";
    return msh.str();
}

}  // namespace zevtool::meshio
