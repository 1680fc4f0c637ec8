// zevcore mesh: mesh a region and write the picture, the mesh file and a quality summary.

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <optional>

#include "Command.h"
#include "mesh_io.h"
#include "mesh_triangle.h"
#include "zevcore/mesh/paver/MeshModel.h"
#include "zevcore/platform/Host.h"

namespace zevtool {
namespace {

using namespace meshio;

const char* const kHelp =
    "Usage: zevcore mesh (--shape N | FILE) [options]\n"
    "\n"
    "Meshes a planar region and prints a summary: nodes, elements, missed interior\n"
    "constraint points and element quality.\n"
    "\n"
    "Input:\n"
    "  --shape N         a built-in shape, 1 to 5\n"
    "  FILE              a boundary file: blocks of \"x y\" lines, each closed by repeating\n"
    "                    its first point; the first block is the outer boundary, later ones\n"
    "                    holes (a hole headed \"solid\" is meshed through by the triangle\n"
    "                    mesher); blocks headed \"interior\" or \"boundary\" hold constraint\n"
    "                    points (see docs/mesh.md)\n"
    "\n"
    "Options:\n"
    "  --method NAME     the mesher: paver (quadrilaterals; the default) or triangle\n"
    "  --max-area A      triangle: the largest area of a triangle (default: the area of an\n"
    "                    equilateral triangle of side --size)\n"
    "  --conforming      triangle: a conforming Delaunay mesh instead of a quality mesh\n"
    "  --size S          element size (default: a sixteenth of the larger side of the\n"
    "                    region's bounding box)\n"
    "  --divisions N     divisions per boundary line (accepted; the paver sizes by --size)\n"
    "  --limit N         the mesher's iteration limit, 1 to 9999 (default 1)\n"
    "  --svg FILE        write a picture of the mesh\n"
    "  --msh FILE        write the mesh as Gmsh MSH 2.2 ASCII\n"
    "  -q, --quiet       no progress lines on stderr\n"
    "  -h, --help        show this help and exit\n"
    "\n"
    "Exit status: 0 success, 1 the mesher could not close the mesh or a file could not be\n"
    "written, 2 bad usage or bad input.\n";

struct Options {
    int shape = 0;
    std::string input;
    std::string method = "paver";
    std::optional<double> size;
    int divisions = 0;
    int limit = 1;
    std::string svg, msh;
    bool quiet = false;
    std::optional<double> maxArea;
    bool conforming = false;
};

struct Result {
    Mesh mesh;
    int missedInteriorPoints = 0;
    bool complete = true;
};

bool parseInt(const std::string& text, int& value) {
    char* end = nullptr;
    errno = 0;
    long v = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno == ERANGE || v < -1000000000L || v > 1000000000L)
        return false;
    value = static_cast<int>(v);
    return true;
}

bool parseDouble(const std::string& text, double& value) {
    char* end = nullptr;
    errno = 0;
    value = std::strtod(text.c_str(), &end);
    return !text.empty() && *end == '\0' && errno != ERANGE && std::isfinite(value);
}

// The progress lines of a mesher arrive as window messages; this window prints them on
// stderr. The mesher's row dots run on one line, and a line repeated many times in a row is
// printed once with its count.
class StderrProgress : public IZEVWindowService {
public:
    static constexpr UINT kMessage = 0x8400;
    explicit StderrProgress(bool quiet) : m_quiet(quiet) {}
    ~StderrProgress() override { flush(); }
    LRESULT SendMessage(HWND, UINT message, WPARAM wParam, LPARAM lParam) override {
        if (m_quiet || message != kMessage || wParam != 0 || lParam == 0) return 0;
        std::string line;
        for (const char* c = reinterpret_cast<const char*>(lParam); *c; ++c)
            if (*c != '\r') line += *c;
        if (line == ".") {
            flushRepeats();
            std::cerr << '.';
            m_dots = true;
            return 0;
        }
        if (line == m_last && !line.empty()) {
            ++m_repeats;
            return 0;
        }
        flush();
        if (line.find_first_not_of(" \n") == std::string::npos) return 0;
        while (!line.empty() && line.back() == '\n') line.pop_back();
        while (!line.empty() && line.front() == '\n') line.erase(0, 1);
        std::cerr << line << '\n';
        m_last = line;
        return 0;
    }
    bool PostMessage(HWND, UINT, WPARAM, LPARAM) override { return true; }
    HWND MainWindow() override { return reinterpret_cast<HWND>(this); }
    void PumpMessages() override {}

private:
    void flushRepeats() {
        if (m_repeats > 0) std::cerr << "  (" << m_repeats << " more like this)\n";
        m_repeats = 0;
        m_last.clear();
    }
    void flush() {
        if (m_dots) std::cerr << '\n';
        m_dots = false;
        flushRepeats();
    }
    bool m_quiet;
    bool m_dots = false;
    std::string m_last;
    int m_repeats = 0;
};

Region regionOfModel(const Paver::CMeshModel& model) {
    Region region;
    for (const auto& lines : model.boundaries) {
        std::vector<Point> loop;
        for (const Paver::CLine2D& line : lines) loop.push_back({line.start.x, line.start.y});
        region.loops.push_back(loop);
    }
    return region;
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

Result runPaver(const Region& region, const Options& options, double size) {
    StderrProgress progress(options.quiet);
    IZEVWindowService* before = ZEVInstallWindows(&progress);
    Result result;
    {
        Paver::CMeshModel model;
        model.SetHWND(progress.MainWindow());
        model.SetMessageIDs(static_cast<int>(StderrProgress::kMessage));
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
            model.Mesh(options.limit, size, options.divisions, false) && model.fronts.empty();
        for (int i = 0; i < model.NumVertices(); ++i)
            result.mesh.nodes.push_back({model.GetX(i), model.GetY(i)});
        for (int q = 0; q < model.NumQuads(); ++q) {
            Element e;
            for (int c = 0; c < 4; ++c) e.v[c] = model.GetQuadVertIndex(q, c);
            result.mesh.elements.push_back(e);
        }
        result.missedInteriorPoints = model.MissedInteriorPoints();
    }
    ZEVInstallWindows(before);
    return result;
}

int runMesh(const std::vector<std::string>& args) {
    if (wantsHelp(args)) {
        std::cout << kHelp;
        return kSuccess;
    }
    Options o;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        auto value = [&](const char* name) -> const std::string* {
            if (i + 1 >= args.size()) {
                usageError(std::string("option '") + name + "' needs a value", "mesh");
                return nullptr;
            }
            return &args[++i];
        };
        if (a == "--shape") {
            const std::string* v = value("--shape");
            if (!v) return kUsage;
            if (!parseInt(*v, o.shape) || o.shape < 1 || o.shape > 5)
                return usageError("--shape must be 1 to 5", "mesh");
        } else if (a == "--method") {
            const std::string* v = value("--method");
            if (!v) return kUsage;
            o.method = *v;
        } else if (a == "--size") {
            const std::string* v = value("--size");
            if (!v) return kUsage;
            double s;
            if (!parseDouble(*v, s) || !(s > 0.0))
                return usageError("--size must be a number above 0", "mesh");
            o.size = s;
        } else if (a == "--divisions") {
            const std::string* v = value("--divisions");
            if (!v) return kUsage;
            if (!parseInt(*v, o.divisions) || o.divisions < 0)
                return usageError("--divisions must be a whole number, 0 or more", "mesh");
        } else if (a == "--limit") {
            const std::string* v = value("--limit");
            if (!v) return kUsage;
            if (!parseInt(*v, o.limit) || o.limit < 1 || o.limit > 9999)
                return usageError("--limit must be 1 to 9999", "mesh");
        } else if (a == "--svg" || a == "--msh") {
            const std::string* v = value(a.c_str());
            if (!v) return kUsage;
            (a == "--svg" ? o.svg : o.msh) = *v;
        } else if (a == "--max-area") {
            const std::string* v = value("--max-area");
            if (!v) return kUsage;
            double area;
            if (!parseDouble(*v, area) || !(area > 0.0))
                return usageError("--max-area must be a number above 0", "mesh");
            o.maxArea = area;
        } else if (a == "--conforming") {
            o.conforming = true;
        } else if (a == "-q" || a == "--quiet") {
            o.quiet = true;
        } else if (!a.empty() && a[0] == '-') {
            return usageError("unknown option '" + a + "'", "mesh");
        } else if (o.input.empty()) {
            o.input = a;
        } else {
            return usageError("more than one input file", "mesh");
        }
    }
    if ((o.shape != 0) == !o.input.empty())
        return usageError("give either --shape N or a boundary file", "mesh");
    if (o.method != "paver" && o.method != "triangle")
        return usageError("unknown method '" + o.method + "' (available: paver, triangle)",
                          "mesh");
    if (o.method != "triangle" && (o.maxArea || o.conforming))
        return usageError("--max-area and --conforming go with --method triangle", "mesh");

    Region region;
    if (o.shape) {
        region = builtInShape(o.shape);
    } else {
        try {
            region = readBoundaryFile(o.input);
        } catch (const InputError& e) {
            std::cerr << "zevcore mesh: " << o.input;
            if (e.line() > 0) std::cerr << ':' << e.line();
            std::cerr << ": " << e.what() << '\n';
            return kUsage;
        }
    }
    double size = o.size ? *o.size : defaultSize(region);
    Result result;
    if (o.method == "triangle") {
        double maxArea = o.maxArea ? *o.maxArea : std::sqrt(3.0) / 4.0 * size * size;
        TriangleResult triangles = meshWithTriangle(region, maxArea, o.conforming);
        if (!triangles.error.empty()) {
            std::cerr << "zevcore mesh: " << triangles.error << '\n';
            return kFailure;
        }
        result.mesh = std::move(triangles.mesh);
        result.missedInteriorPoints = triangles.missedInteriorPoints;
    } else {
        result = runPaver(region, o, size);
    }

    Quality quality = measureQuality(result.mesh);
    std::cout << summaryText(o.method, result.mesh, quality, result.missedInteriorPoints,
                             static_cast<int>(region.interiorPoints.size()));
    if (o.method == "triangle") std::cout << triangleSummaryText(result.mesh, quality, o.conforming);
    try {
        if (!o.svg.empty()) writeSvg(o.svg, region, result.mesh);
        if (!o.msh.empty()) writeMsh(o.msh, result.mesh);
    } catch (const std::exception& e) {
        std::cerr << "zevcore mesh: " << e.what() << '\n';
        return kFailure;
    }
    if (!result.complete) {
        std::cerr << "zevcore mesh: the mesher stopped before every front was closed\n";
        return kFailure;
    }
    return kSuccess;
}

ZEV_COMMAND("mesh", "mesh a planar region; SVG, MSH and a quality summary", runMesh);

}  // namespace
}  // namespace zevtool
