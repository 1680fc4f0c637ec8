#include "zevcore/mesh/MeshRegion.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <set>
#include <sstream>

#include "zevcore/mesh/paver/MeshModel.h"
#include "zevcore/platform/Locale.h"

namespace zev::mesh {

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

namespace {

// Closed loops checked against each other, as a region's outer loop and holes, and added to it
// oriented: the outer loop counter-clockwise, the holes clockwise.
void addLoops(Region& region, const std::vector<Loop>& loops) {
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
}

bool finitePoint(const Point& p) {
    return std::isfinite(p.x) && std::isfinite(p.y);
}

}  // namespace

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
            loops.push_back(closeLoop({block.points, block.lines}));
            region.solid.push_back(block.solid);
        }
    }
    if (loops.empty()) throw InputError(0, "no boundary loop");

    addLoops(region, loops);
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
