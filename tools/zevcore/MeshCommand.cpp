// zevcore mesh: mesh a region and write the picture, the mesh file and a quality summary.

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <optional>

#include "tools/zevcore/Args.h"
#include "tools/zevcore/Command.h"
#include "tools/zevcore/MeshDxf.h"
#include "tools/zevcore/MeshIo.h"
#include "tools/zevcore/Output.h"

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
    "                    points (see docs/mesh.md); or a DXF drawing (FILE.dxf): closed\n"
    "                    polylines, circles and closed chains of lines and arcs as the\n"
    "                    outer boundary and holes (found by which lies in which), points\n"
    "                    as interior points\n"
    "\n"
    "Options:\n"
    "  --method NAME     the mesher: paver (quadrilaterals; the default) or triangle\n"
    "  --max-area A      triangle: the largest area of a triangle (default: the area of an\n"
    "                    equilateral triangle of side --size)\n"
    "  --conforming      triangle: a conforming Delaunay mesh instead of a quality mesh\n"
    "  --size S          element size: a number in the drawing's unit, or a length with\n"
    "                    its unit (\"15 mm\", \"0.5 in\"; default: a sixteenth of the larger\n"
    "                    side of the region's bounding box)\n"
    "  --layer NAME      DXF: take outlines and points from this layer only (repeatable);\n"
    "                    without it, closed loops come from every layer and a layer whose\n"
    "                    lines close no loop is passed over with a note\n"
    "  --divisions N     divisions per boundary line (accepted; the paver sizes by --size)\n"
    "  --limit N         the mesher's iteration limit, 1 to 9999 (default 1)\n"
    "  --stated          paver: the stated mode, rows laid from the boundary as the mesher\n"
    "                    always has, which can stop with the region not covered; without\n"
    "                    it the extended mode makes an all-quadrilateral mesh at the size\n"
    "                    that covers the region, curves drawn as polylines divided afresh\n"
    "                    (see docs/mesh.md)\n"
    "  --extended        paver: the extended mode (the default)\n"
    "  --keep-partial    write the files even when the mesh failed\n"
    "  --svg FILE        write a picture of the mesh (- for standard output)\n"
    "  --msh FILE        write the mesh as Gmsh MSH 2.2 ASCII (- for standard output), with\n"
    "                    the boundary's edges as line elements and physical groups: one for\n"
    "                    each loop (the outer edge, each hole) and one for the surface\n"
    "  --dxf FILE        write the mesh as a DXF drawing: each element a closed polyline on\n"
    "                    layer MESH, the boundary on layer BOUNDARY (- for standard output)\n"
    "  --dxf-faces       in that drawing, each element a 3DFACE instead\n"
    "  -q, --quiet       no progress lines on stderr\n"
    "  -h, --help        show this help and exit\n"
    "\n"
    "A mesh has failed when a front was left open, when its elements do not cover the\n"
    "region (their summed area against the region's) or when an element is folded.\n"
    "\n"
    "Exit status: 0 success, 1 the mesh failed or a file could not be written (nothing is\n"
    "written then, unless --keep-partial), 2 bad usage or bad input, including a --size\n"
    "that would need more than 100000 boundary segments or 10000 rows, or more than 500000\n"
    "triangles.\n";

struct Options {
    std::optional<int> shape;
    std::string input;
    std::string method = "paver";
    std::string size;
    std::vector<std::string> layers;
    int divisions = 0;
    int limit = 1;
    std::string svg, msh, dxf;
    bool dxfFaces = false;
    bool quiet = false;
    std::optional<double> maxArea;
    bool conforming = false;
    bool extended = false;
    bool stated = false;
    bool keepPartial = false;
};

// Prints the paver's progress lines on stderr: the row dots run on one line, and a line
// repeated many times in a row is printed once with its count.
class StderrProgress {
public:
    explicit StderrProgress(bool quiet) : m_quiet(quiet) {}
    ~StderrProgress() { flush(); }
    StderrProgress(const StderrProgress&) = delete;
    StderrProgress& operator=(const StderrProgress&) = delete;
    void operator()(const std::string& text) {
        if (m_quiet) return;
        std::string line;
        for (char c : text)
            if (c != '\r') line += c;
        if (line == ".") {
            flushRepeats();
            std::cerr << '.';
            m_dots = true;
            return;
        }
        if (line == m_last && !line.empty()) {
            ++m_repeats;
            return;
        }
        flush();
        if (line.find_first_not_of(" \n") == std::string::npos) return;
        while (!line.empty() && line.back() == '\n') line.pop_back();
        while (!line.empty() && line.front() == '\n') line.erase(0, 1);
        std::cerr << line << '\n';
        m_last = line;
    }

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

Options readOptions(const std::vector<std::string>& args) {
    Options o;
    std::vector<std::string> inputs = ArgReader(args)
                                          .whole("--shape", o.shape, 1, 5)
                                          .text("--method", o.method)
                                          .text("--size", o.size)
                                          .texts("--layer", o.layers)
                                          .whole("--divisions", o.divisions, 0, INT_MAX)
                                          .whole("--limit", o.limit, 1, 9999)
                                          .text("--svg", o.svg)
                                          .text("--msh", o.msh)
                                          .text("--dxf", o.dxf)
                                          .flag("--dxf-faces", o.dxfFaces)
                                          .number("--max-area", o.maxArea, Bound::Positive)
                                          .flag("--conforming", o.conforming)
                                          .flag("--extended", o.extended)
                                          .flag("--stated", o.stated)
                                          .flag("--keep-partial", o.keepPartial)
                                          .flag("-q|--quiet", o.quiet)
                                          .parse(1);
    if (!inputs.empty()) o.input = inputs[0];
    if (o.shape.has_value() == !o.input.empty())
        throw UsageError("give either --shape N or a boundary file");
    if (o.method != "paver" && o.method != "triangle")
        throw UsageError("unknown method '" + o.method + "' (available: paver, triangle)");
    if (o.method != "triangle" && (o.maxArea || o.conforming))
        throw UsageError("--max-area and --conforming go with --method triangle");
    if (o.method != "paver" && o.extended) throw UsageError("--extended goes with the paver");
    if (o.method != "paver" && o.stated) throw UsageError("--stated goes with the paver");
    if (o.stated && o.extended) throw UsageError("give --stated or --extended, not both");
    if (o.dxfFaces && o.dxf.empty()) throw UsageError("--dxf-faces goes with --dxf FILE");
    return o;
}

bool isDrawing(const std::string& in) {
    return in.size() > 4 &&
           (in.compare(in.size() - 4, 4, ".dxf") == 0 || in.compare(in.size() - 4, 4, ".DXF") == 0);
}

// The region, its loops' names and the element size in the input's unit.
struct Input {
    Region region;
    std::vector<std::string> names;
    double size = 0.0;
    int insUnits = 0;
};

Input readInput(const Options& o) {
    Input in;
    if (!o.layers.empty() && !isDrawing(o.input))
        throw UsageError("--layer goes with a DXF drawing");
    try {
        std::optional<DxfRegion> drawing;
        if (o.shape)
            in.region = builtInShape(*o.shape);
        else if (isDrawing(o.input))
            drawing = readDxfOutlines(o.input, o.layers);
        else
            in.region = readBoundaryFile(o.input);
        const LengthUnit unit = drawing ? drawing->unit : styleSmallLength();
        if (drawing) {
            for (const std::string& note : drawing->notes)
                std::cerr << "zevcore mesh: " << o.input << ": " << note << '\n';
            in.names = drawing->names;
            in.insUnits = drawing->unit.insUnits;
        }
        if (!o.size.empty() && !parseLength(o.size, unit, in.size))
            throw UsageError(
                "--size must be a number above 0, or a length with its unit (\"15 mm\"), not '" +
                o.size + "'");
        if (drawing) {
            if (o.size.empty()) in.size = defaultSize(drawing->region(0.0));
            in.region = drawing->region(in.size);
            if (!o.quiet)
                std::cerr << "units: " << unit.label
                          << (unit.source.empty() ? " (taken: the drawing gives none)"
                                                  : " (" + unit.source + ")")
                          << "; element size " << in.size << ' ' << unit.label << '\n';
        }
    } catch (const InputError& e) {
        std::string where = o.input + (e.line() > 0 ? ":" + std::to_string(e.line()) : "");
        throw UsageError(where + ": " + e.what());
    }
    return in;
}

// The triangle run's bound, named by the option that set it.
void checkTriangles(const Region& region, const Options& o, double size) {
    const double maxArea = o.maxArea ? *o.maxArea : std::sqrt(3.0) / 4.0 * size * size;
    if (const std::string problem = zev::mesh::triangleCountProblem(region, maxArea);
        !problem.empty()) {
        char option[64];
        std::snprintf(option, sizeof option, o.maxArea ? "--max-area %g " : "--size %g ",
                      o.maxArea ? maxArea : size);
        throw UsageError(option + problem);
    }
}

void checkSize(const Region& region, double size, bool paver) {
    if (const std::string lines = paverLineProblem(region); paver && !lines.empty())
        throw UsageError(lines);
    const std::string problem = sizeProblem(region, size, paver);
    if (problem.empty()) return;
    char text[64];
    std::snprintf(text, sizeof text, "--size %g ", size);
    throw UsageError(text + problem);
}

int runMesh(const std::vector<std::string>& args) {
    const Options o = readOptions(args);
    const Input input = readInput(o);
    const Region& region = input.region;
    if (const std::string problem = coordinateProblem(region); !problem.empty())
        throw UsageError("the region " + problem);
    const double size = input.size > 0.0 ? input.size : defaultSize(region);
    checkSize(region, size, o.method != "triangle");
    const bool triangles = o.method == "triangle";
    if (triangles) checkTriangles(region, o, size);

    zev::mesh::Options mesher;
    mesher.method = triangles  ? zev::mesh::Method::Triangle
                    : o.stated ? zev::mesh::Method::Stated
                               : zev::mesh::Method::Extended;
    mesher.size = size;
    mesher.divisions = o.divisions;
    mesher.limit = o.limit;
    mesher.maxArea = o.maxArea.value_or(0.0);
    mesher.conforming = o.conforming;
    zev::mesh::Result result;
    {
        StderrProgress progress(o.quiet);
        mesher.progress = [&progress](const std::string& line) { progress(line); };
        result = zev::mesh::meshRegion(region, mesher);
    }
    std::cout << zev::mesh::summaryText(result, o.conforming);

    std::string failure = result.failure;
    if (!failure.empty() && o.stated)
        failure += " (leave out --stated: the extended mode covers the region)";
    PendingOutputs outputs;
    if (!o.svg.empty()) outputs.add(o.svg, svgText(region, result.mesh));
    if (!o.msh.empty()) outputs.add(o.msh, mshText(result.mesh, region, input.names));
    if (!o.dxf.empty())
        outputs.add(o.dxf, dxfMeshText(region, result.mesh, o.dxfFaces, input.insUnits));
    if (failure.empty() || o.keepPartial) outputs.commit();
    if (!failure.empty()) throw std::runtime_error(failure);
    return kSuccess;
}

ZEV_COMMAND("mesh", "mesh a planar region; SVG, MSH and a quality summary", kHelp, runMesh);

}  // namespace
}  // namespace zevtool
