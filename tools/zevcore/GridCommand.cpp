// zevcore grid: graphic grids in a project-file block: make them, list their points and lines,
// snap a point, draw them in plan.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "tools/zevcore/Args.h"
#include "tools/zevcore/Command.h"
#include "tools/zevcore/Numbers.h"
#include "tools/zevcore/Output.h"
#include "zevcore/frame/Math.h"
#include "zevcore/graphics/GridManager.h"
#include "zevcore/platform/services/Desktop.h"

namespace zevtool {
namespace {

constexpr const char* kHelp =
    "Usage: zevcore grid new TYPE... --out FILE [--name NAME] [--origin X,Y,Z] [--hidden]\n"
    "       zevcore grid list FILE\n"
    "       zevcore grid points FILE\n"
    "       zevcore grid lines FILE\n"
    "       zevcore grid snap FILE X Y Z\n"
    "       zevcore grid svg FILE OUT.svg\n"
    "\n"
    "Graphic grids in the grid block of a project file.\n"
    "\n"
    "new     writes a block holding one grid of each TYPE, made with the fixed default\n"
    "        dimensions of its kind (1200 model units across, about the origin): polar,\n"
    "        xy-plane, yz-plane, xz-plane, line-x, line-y, line-z, xy-lines, yz-lines,\n"
    "        xz-lines, 3d-lines, 3d-rectangular, spherical, or the kind's number (1 to 13).\n"
    "list    prints each grid: index, kind, name, visible or hidden, lattice points\n"
    "points  prints the lattice points of every grid, \"x y z\" a line, after a \"# grid\" line\n"
    "lines   prints the lattice lines of every grid, \"x1 y1 z1 x2 y2 z2\" a line\n"
    "snap    prints the nearest lattice point of the visible grids and its distance; with\n"
    "        no visible grid the point goes to the origin, as the library snaps; a point\n"
    "        1e+30 or more from every lattice point is refused\n"
    "svg     draws the visible grids in plan (x to the right, y up)\n"
    "\n"
    "Options:\n"
    "  --out FILE       where new writes the block (- for standard output)\n"
    "  --name NAME      the name each new grid is numbered from (default: the kind's name)\n"
    "  --origin X,Y,Z   moves every new grid (default 0,0,0)\n"
    "  --hidden         new grids are hidden (by default they are visible)\n"
    "  -h, --help       show this help and exit\n"
    "\n"
    "Exit status: 0 success, 1 a file could not be read or written, 2 bad usage.\n";

const char* const kTypeKeys[] = {"",         "polar",    "xy-plane",       "yz-plane", "xz-plane",
                                 "line-x",   "line-y",   "line-z",         "xy-lines", "yz-lines",
                                 "xz-lines", "3d-lines", "3d-rectangular", "spherical"};

ETGraphicGridType typeOf(const std::string& word) {
    if (std::optional<long long> n = parseWhole(word))
        if (*n >= gtPolar && *n <= gtSpherical) return static_cast<ETGraphicGridType>(*n);
    for (int t = gtPolar; t <= gtSpherical; ++t)
        if (word == kTypeKeys[t]) return static_cast<ETGraphicGridType>(t);
    throw UsageError("unknown grid type '" + word + "'");
}

CPoint3D pointOf(const std::string& text, const char* what) {
    std::vector<double> values;
    std::string rest = text;
    for (size_t comma; (comma = rest.find(',')) != std::string::npos; rest.erase(0, comma + 1))
        values.push_back(parseNumber(rest.substr(0, comma)).value_or(NAN));
    values.push_back(parseNumber(rest).value_or(NAN));
    if (values.size() != 3 ||
        std::any_of(values.begin(), values.end(), [](double v) { return std::isnan(v); }))
        throw UsageError(std::string(what) + " must be three numbers X,Y,Z");
    return CPoint3D(values[0], values[1], values[2]);
}

// The block as the library writes it to a file, in bytes.
std::string blockBytes(CGridManager& grids) {
    const CString temp = ZEVMakeTempFile("ZevGrid", ".bin");
    if (temp.IsEmpty()) throw std::runtime_error("cannot make a temporary file");
    ETFileError result;
    {
        obfstream out(temp);
        result = grids.write(out, 0);
    }
    std::ifstream in(temp.GetString(), std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::remove(temp);
    if (result != feSuccess) throw std::runtime_error("the grid block could not be written");
    return bytes;
}

void load(CGridManager& grids, const std::string& path) {
    ibfstream in(path.c_str());
    if (!in) throw std::runtime_error("cannot read '" + path + "'");
    const ETFileError result = grids.read(in);
    if (result != feSuccess)
        throw std::runtime_error("'" + path + "' holds no whole grid block (" +
                                 FileErrorName[result] + ")");
}

std::string xyz(const CPoint3D& p) {
    return shortestNumber(p.x) + " " + shortestNumber(p.y) + " " + shortestNumber(p.z);
}

std::string heading(CGridManager& grids, int i) {
    CGraphicGrid& g = *grids.grid(i);
    return "# grid " + std::to_string(i) + ": " + g.name().GetString() + " (" +
           grids.getGridTypeString(i, 0).GetString() + ")";
}

bool anyVisiblePoint(CGridManager& grids) {
    for (int i = 1; i <= grids.gridCount(); ++i)
        if (grids.grid(i)->isVisible() && grids.grid(i)->getGridPoints().getCount() > 0)
            return true;
    return false;
}

int runNew(const std::vector<std::string>& types, const std::string& out,
           const std::optional<std::string>& name, const CPoint3D& origin, bool hidden) {
    if (types.empty()) throw UsageError("new needs at least one TYPE");
    if (out.empty()) throw UsageError("new needs --out FILE");
    CGridManager grids;
    for (const std::string& word : types) {
        const ETGraphicGridType type = typeOf(word);
        grids.addGrid(type, name ? CString(*name) : CString(getGridTypeName(type, 0)));
        CGraphicGrid& g = *grids.grid(grids.gridCount());
        g.setVisibility(!hidden);
        g.setOrigin(origin);
    }
    writeOutput(out, blockBytes(grids));
    return kSuccess;
}

void printList(CGridManager& grids) {
    for (int i = 1; i <= grids.gridCount(); ++i) {
        CGraphicGrid& g = *grids.grid(i);
        std::printf("%d\t%s\t%s\t%s\t%d\n", i, grids.getGridTypeString(i, 0).GetString(),
                    g.name().GetString(), g.isVisible() ? "visible" : "hidden",
                    static_cast<int>(g.getGridPoints().getCount()));
    }
}

void printPoints(CGridManager& grids) {
    for (int i = 1; i <= grids.gridCount(); ++i) {
        std::cout << heading(grids, i) << '\n';
        const auto& points = grids.grid(i)->getGridPoints();
        for (int k = 1; k <= points.getCount(); ++k) std::cout << xyz(*points[k]) << '\n';
    }
}

void printLines(CGridManager& grids) {
    for (int i = 1; i <= grids.gridCount(); ++i) {
        std::cout << heading(grids, i) << '\n';
        CGraphicGrid& g = *grids.grid(i);
        for (const auto* family : {&g.getXGridLines(), &g.getYGridLines(), &g.getZGridLines()})
            for (int k = 1; k <= family->getCount(); ++k)
                std::cout << xyz((*family)[k]->p1) << ' ' << xyz((*family)[k]->p2) << '\n';
    }
}

std::string planSvg(CGridManager& grids) {
    double minX = std::numeric_limits<double>::infinity(), minY = minX;
    double maxX = -minX, maxY = -minX;
    for (int i = 1; i <= grids.gridCount(); ++i) {
        if (!grids.grid(i)->isVisible()) continue;
        const auto& points = grids.grid(i)->getGridPoints();
        for (int k = 1; k <= points.getCount(); ++k) {
            minX = std::min(minX, points[k]->x), maxX = std::max(maxX, points[k]->x);
            minY = std::min(minY, points[k]->y), maxY = std::max(maxY, points[k]->y);
        }
    }
    if (!(minX <= maxX)) minX = minY = -1, maxX = maxY = 1;
    const double extent = std::max({maxX - minX, maxY - minY, 1e-9});
    const double width = 800, margin = 20, scale = (width - 2 * margin) / extent;
    const double height = (maxY - minY) * scale + 2 * margin;
    auto X = [&](const CPoint3D& p) { return margin + (p.x - minX) * scale; };
    auto Y = [&](const CPoint3D& p) { return height - margin - (p.y - minY) * scale; };
    std::ostringstream svg;
    svg.imbue(std::locale::classic());
    svg.precision(8);
    svg << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\""
        << " width=\"" << width << "\" height=\"" << height << "\" viewBox=\"0 0 " << width << ' '
        << height << "\">\n<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
    const char* colours[] = {"#2060a0", "#a04020", "#208040", "#806020", "#602080"};
    for (int i = 1; i <= grids.gridCount(); ++i) {
        CGraphicGrid& g = *grids.grid(i);
        if (!g.isVisible()) continue;
        svg << "<g stroke=\"" << colours[(i - 1) % 5] << "\" stroke-width=\"0.6\" fill=\""
            << colours[(i - 1) % 5] << "\">\n";
        for (const auto* family : {&g.getXGridLines(), &g.getYGridLines(), &g.getZGridLines()})
            for (int k = 1; k <= family->getCount(); ++k) {
                const CLine3D& l = *(*family)[k];
                svg << "<line x1=\"" << X(l.p1) << "\" y1=\"" << Y(l.p1) << "\" x2=\"" << X(l.p2)
                    << "\" y2=\"" << Y(l.p2) << "\"/>\n";
            }
        const auto& points = g.getGridPoints();
        for (int k = 1; k <= points.getCount(); ++k)
            svg << "<circle cx=\"" << X(*points[k]) << "\" cy=\"" << Y(*points[k])
                << "\" r=\"1.2\"/>\n";
        svg << "</g>\n";
    }
    svg << "</svg>\n";
    return svg.str();
}

int run(const std::vector<std::string>& args) {
    std::string out, origin = "0,0,0";
    std::optional<std::string> name;
    bool hidden = false;
    std::vector<std::string> words = ArgReader(args)
                                         .text("--out", out)
                                         .text("--name", name)
                                         .text("--origin", origin)
                                         .flag("--hidden", hidden)
                                         .parse();
    if (words.empty()) throw UsageError("no action given (new, list, points, lines, snap, svg)");
    const std::string action = words[0];
    const std::vector<std::string> rest(words.begin() + 1, words.end());
    if (action == "new") return runNew(rest, out, name, pointOf(origin, "--origin"), hidden);

    const size_t wanted = action == "snap" ? 4 : action == "svg" ? 2 : 1;
    if (action != "list" && action != "points" && action != "lines" && action != "snap" &&
        action != "svg")
        throw UsageError("unknown action '" + action + "'");
    if (rest.size() != wanted) throw UsageError("wrong number of arguments for '" + action + "'");
    CGridManager grids;
    load(grids, rest[0]);
    if (action == "list") printList(grids);
    if (action == "points") printPoints(grids);
    if (action == "lines") printLines(grids);
    if (action == "svg") writeOutput(rest[1], planSvg(grids));
    if (action == "snap") {
        CPoint3D p;
        const std::string coordinates[] = {rest[1], rest[2], rest[3]};
        double* targets[] = {&p.x, &p.y, &p.z};
        for (int i = 0; i < 3; ++i) {
            std::optional<double> v = parseNumber(coordinates[i]);
            if (!v) throw UsageError("'" + coordinates[i] + "' is not a number");
            *targets[i] = *v;
        }
        double distance = 0;
        const CPoint3D snapped = grids.closestGridPoint(p, distance);
        // The library measures nothing at or past BIG, so a point that far from every lattice
        // point would go to the origin as if no grid were visible: say so instead.
        if (!(distance < BIG) && anyVisiblePoint(grids))
            throw std::runtime_error("the point " + xyz(p) +
                                     " is too far from the grids to snap"
                                     " (no lattice point lies within " +
                                     shortestNumber(BIG) + ")");
        std::cout << xyz(snapped) << "\ndistance: " << shortestNumber(distance) << '\n';
    }
    return kSuccess;
}

}  // namespace

ZEV_COMMAND("grid", "graphic grids: make a project block, list, snap, draw in plan", kHelp, run);

}  // namespace zevtool
