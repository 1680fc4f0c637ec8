// zevcore render: a mesh or a drawing drawn offscreen with the library's OpenGL modes and
// symbols, written as a PNG picture.

#include <GL/gl.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <map>
#include <optional>

#include "tools/zevcore/Args.h"
#include "tools/zevcore/Command.h"
#include "tools/zevcore/MeshDxf.h"
#include "tools/zevcore/MeshIo.h"
#include "tools/zevcore/Output.h"
#include "tools/zevcore/RenderIo.h"
#include "zevcore/graphics/GLState.h"
#include "zevcore/graphics/GLSymbols.h"
#include "zevcore/graphics/GraphicsDisplayList.h"
#include "zevcore/platform/gl/GLPlatform.h"

namespace zevtool {
namespace {

using meshio::Mesh;
using meshio::Point;
using meshio::Region;

const char* const kHelp =
    "Usage: zevcore render (--shape N | FILE) --out PICTURE.png [options]\n"
    "\n"
    "Draws a mesh offscreen with the library's OpenGL drawing modes and symbols and writes\n"
    "a PNG picture. Needs no display: the picture is made through EGL on Mesa's software\n"
    "renderer when there is no GPU.\n"
    "\n"
    "Input:\n"
    "  --shape N         a built-in shape, 1 to 5, meshed on the fly\n"
    "  FILE              a boundary file (see zevcore mesh --help), meshed on the fly, or a\n"
    "                    mesh in Gmsh MSH 2.2 ASCII (a name ending in .msh), drawn as it is;\n"
    "                    a DXF drawing (.dxf): its lines, arcs, circles, ellipses, polylines,\n"
    "                    solids and faces\n"
    "\n"
    "Options:\n"
    "  --out FILE        the PNG to write (- for standard output); required\n"
    "  --size WxH        the picture in pixels, each side 16 to 8192 (default 800x600)\n"
    "  --wireframe       element outlines only (the wireframe mode)\n"
    "  --solid           filled elements only (the solid mode, lit)\n"
    "                    (neither or both: filled elements with their outlines)\n"
    "  --method NAME     the mesher for a boundary: paver (default) or triangle\n"
    "  --stated          paver: the stated mode instead of the extended one (see zevcore\n"
    "                    mesh --help)\n"
    "  --element-size S  element size when meshing: a number, or a length with its unit\n"
    "                    (\"15 mm\"; a bare number is in the unit style's small length)\n"
    "                    (default: a sixteenth of the larger side of the region's box)\n"
    "  --layer NAME      a DXF drawing's entities on this layer only (repeatable)\n"
    "  -q, --quiet       no summary on standard output\n"
    "  -h, --help        show this help and exit\n"
    "\n"
    "The picture shows the region in plan, x to the right and y up, on a graded\n"
    "background, with the origin arrows at the lower left corner of the region's box, the\n"
    "box dashed, and a span arrow over its width.\n"
    "\n"
    "Exit status: 0 success, 1 no OpenGL or the file could not be written, 2 bad usage or\n"
    "bad input.\n";

struct Options {
    std::optional<int> shape;
    std::string input, out, size = "800x600", method = "paver";
    std::optional<double> elementSize;
    std::string elementSizeText;
    std::vector<std::string> layers;
    bool wireframe = false, solid = false, quiet = false;
    bool stated = false;
};

struct Scene {
    Region region;
    Mesh mesh;
    render::Drawing drawing;
    bool partial = false;
};

bool endsWith(const std::string& text, const char* tail) {
    const std::string t = tail;
    if (text.size() < t.size()) return false;
    return std::equal(t.rbegin(), t.rend(), text.rbegin(), [](char a, char b) {
        return a == std::tolower(static_cast<unsigned char>(b));
    });
}

void bounds(const Scene& s, double& minX, double& minY, double& maxX, double& maxY) {
    minX = minY = HUGE_VAL, maxX = maxY = -HUGE_VAL;
    auto take = [&](const Point& p) {
        if (!std::isfinite(p.x) || !std::isfinite(p.y)) return;
        minX = std::min(minX, p.x), maxX = std::max(maxX, p.x);
        minY = std::min(minY, p.y), maxY = std::max(maxY, p.y);
    };
    for (const auto& loop : s.region.loops)
        for (const Point& p : loop) take(p);
    for (const Point& p : s.mesh.nodes) take(p);
    for (const auto& line : s.drawing.lines) take(line[0]), take(line[1]);
}

// A region meshed as `zevcore mesh` meshes it, quietly; what the mesher made is drawn even
// when it stopped short, and the summary says so.
void meshRegion(Scene& s, const Options& o) {
    double minX, minY, maxX, maxY;
    bounds(s, minX, minY, maxX, maxY);
    const double extent = std::max(maxX - minX, maxY - minY);
    const double size = o.elementSize ? *o.elementSize : extent > 0 ? extent / 16.0 : 1.0;
    double perimeter = 0.0;
    for (const auto& loop : s.region.loops)
        for (size_t i = 0; i < loop.size(); ++i) {
            const Point &a = loop[i], &b = loop[(i + 1) % loop.size()];
            perimeter += std::hypot(b.x - a.x, b.y - a.y);
        }
    if (!(perimeter / size <= 100000.0) || !(0.5 * extent / size <= 10000.0))
        throw UsageError(
            "--element-size is too small for the region (at most 100000 boundary "
            "segments)");
    zev::mesh::Options mesher;
    mesher.size = size;
    if (o.method == "triangle") {
        mesher.method = zev::mesh::Method::Triangle;
        const double maxArea = std::sqrt(3.0) / 4.0 * size * size;
        if (const std::string problem = zev::mesh::triangleCountProblem(s.region, maxArea);
            !problem.empty())
            throw UsageError("--element-size is too small for the region: it " + problem);
    } else {
        if (const std::string lines = meshio::paverLineProblem(s.region); !lines.empty())
            throw UsageError(lines);
        mesher.method = o.stated ? zev::mesh::Method::Stated : zev::mesh::Method::Extended;
    }
    zev::mesh::Result result = zev::mesh::meshRegion(s.region, mesher);
    s.partial = !result.complete;
    s.mesh = std::move(result.mesh);
}

Scene readScene(const Options& o) {
    Scene s;
    const std::string& in = o.input;
    try {
        if (o.shape) {
            s.region = meshio::builtInShape(*o.shape);
        } else if (endsWith(in, ".msh")) {
            s.mesh = render::readMshFile(in);
            return s;
        } else if (endsWith(in, ".dxf")) {
            s.drawing = render::readDxfDrawing(in, o.layers);
            return s;
        } else {
            s.region = meshio::readBoundaryFile(in);
        }
    } catch (const meshio::InputError& e) {
        std::string where = in.empty() ? "--shape" : in;
        if (e.line() > 0) where += ":" + std::to_string(e.line());
        throw UsageError(where + ": " + e.what());
    }
    meshRegion(s, o);
    return s;
}

Options readOptions(const std::vector<std::string>& args) {
    Options o;
    std::vector<std::string> inputs = ArgReader(args)
                                          .whole("--shape", o.shape, 1, 5)
                                          .text("--out", o.out)
                                          .text("--size", o.size)
                                          .flag("--wireframe", o.wireframe)
                                          .flag("--solid", o.solid)
                                          .flag("--stated", o.stated)
                                          .text("--method", o.method)
                                          .text("--element-size", o.elementSizeText)
                                          .texts("--layer", o.layers)
                                          .flag("-q|--quiet", o.quiet)
                                          .parse(1);
    if (!inputs.empty()) o.input = inputs[0];
    if (o.shape.has_value() == !o.input.empty())
        throw UsageError("give either --shape N or a file");
    if (o.out.empty()) throw UsageError("--out FILE is required");
    if (!o.elementSizeText.empty()) {
        double size = 0.0;
        if (!meshio::parseLength(o.elementSizeText, meshio::styleSmallLength(), size))
            throw UsageError(
                "--element-size must be a number above 0, or a length with its unit (\"15 mm\"), "
                "not '" +
                o.elementSizeText + "'");
        o.elementSize = size;
    }
    if (!o.layers.empty() && !(endsWith(o.input, ".dxf")))
        throw UsageError("--layer goes with a DXF drawing");
    if (o.method != "paver" && o.method != "triangle")
        throw UsageError("unknown method '" + o.method + "' (available: paver, triangle)");
    return o;
}

void drawElements(const Mesh& mesh) {
    for (const meshio::Element& e : mesh.elements) {
        CPoint3D c[4];
        bool valid = e.count == 3 || e.count == 4;
        for (int k = 0; valid && k < e.count; ++k) {
            const int at = e.v[static_cast<size_t>(k)];
            valid = at >= 0 && static_cast<size_t>(at) < mesh.nodes.size();
            if (valid)
                c[k] = CPoint3D(mesh.nodes[static_cast<size_t>(at)].x,
                                mesh.nodes[static_cast<size_t>(at)].y, 0);
        }
        if (!valid) continue;
        if (e.count == 3)
            DrawTriPlate(c[0], c[1], c[2], 0.0);
        else
            DrawQuadPlate(c[0], c[1], c[2], c[3], 0.0);
    }
}

// The edges of a mesh that only one element has: its outline, drawn as a region's is when a
// mesh file comes without one.
std::vector<std::array<Point, 2>> freeEdges(const Mesh& mesh) {
    std::map<std::pair<int, int>, int> uses;
    for (const meshio::Element& e : mesh.elements) {
        if (e.count != 3 && e.count != 4) continue;
        for (int k = 0; k < e.count; ++k) {
            const int a = e.v[static_cast<size_t>(k)],
                      b = e.v[static_cast<size_t>((k + 1) % e.count)];
            ++uses[{std::min(a, b), std::max(a, b)}];
        }
    }
    std::vector<std::array<Point, 2>> edges;
    const auto valid = [&mesh](int i) {
        return i >= 0 && static_cast<size_t>(i) < mesh.nodes.size();
    };
    for (const auto& [edge, count] : uses)
        if (count == 1 && valid(edge.first) && valid(edge.second))
            edges.push_back({mesh.nodes[static_cast<size_t>(edge.first)],
                             mesh.nodes[static_cast<size_t>(edge.second)]});
    return edges;
}

// The scene moved by (-dx, -dy).
Scene moved(const Scene& s, double dx, double dy) {
    Scene m = s;
    auto move = [dx, dy](Point& p) { p.x -= dx, p.y -= dy; };
    for (auto& loop : m.region.loops)
        for (Point& p : loop) move(p);
    for (Point& p : m.mesh.nodes) move(p);
    for (auto& line : m.drawing.lines) move(line[0]), move(line[1]);
    return m;
}

std::vector<unsigned char> drawScene(const Scene& original, const Options& o, int width,
                                     int height) {
    CZEVOffscreenGL gl(width, height);
    if (!gl.ok()) throw std::runtime_error("no OpenGL: " + gl.error());
    double minX, minY, maxX, maxY;
    bounds(original, minX, minY, maxX, maxY);
    if (!(minX <= maxX)) throw std::runtime_error("nothing to draw");
    // OpenGL draws in floats: a region must stand well within their range, so that the
    // symbols' sizes and the view's margins stay finite.
    if (!(std::max({std::fabs(minX), std::fabs(maxX), std::fabs(minY), std::fabs(maxY)}) < 1e30))
        throw std::runtime_error("the coordinates are too large to draw (1e30 or more)");
    // Drawn about its centre, where floats are finest: a small scene far from the origin (or
    // one whose points all coincide) keeps a view that floats can tell apart.
    const Scene s = moved(original, (minX + maxX) / 2, (minY + maxY) / 2);
    bounds(s, minX, minY, maxX, maxY);
    const double extent = std::max({maxX - minX, maxY - minY, 1e-9});
    const double cx = (minX + maxX) / 2, cy = (minY + maxY) / 2;
    // Room for the symbols round the region, and the picture's proportions kept.
    double halfW = 0.68 * extent, halfH = 0.68 * extent;
    if (width > height)
        halfW = halfH * width / height;
    else
        halfH = halfW * height / width;

    glViewport(0, 0, width, height);
    float bottom[3] = {1.0f, 1.0f, 1.0f}, top[3] = {0.78f, 0.84f, 0.92f};
    DrawGLGradientBG(bottom, top);
    glClear(GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(cx - halfW, cx + halfW, cy - halfH, cy + halfH, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);

    CGraphicsDisplayList elements;
    elements.StartDef();
    drawElements(s.mesh);
    elements.EndDef();
    const bool both = o.wireframe == o.solid;
    if (o.solid || both) {
        StartSolidDrawing(gPlatePolygonOffset);
        ApplyGLHeadlight(CPoint3D(0, 0, 1));
        ApplyAmbientGLMaterialiv(0xE0B070);  // a light steel blue
        elements.Execute();
        EndSolidDrawing();
    }
    if (o.wireframe || both) {
        StartWireframeDrawing();
        SetGLColor(both ? 0x503010 : 0x000000);
        elements.Execute();
        EndWireframeDrawing();
    }
    DisableGLLighting();
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);

    // The region's outline, the drawing's lines, then the symbols over them.
    glLineWidth(2.0f);
    SetGLColor(0x802000);
    for (const auto& loop : s.region.loops) {
        glBegin(GL_LINE_LOOP);
        for (const Point& p : loop) glVertex2d(p.x, p.y);
        glEnd();
    }
    if (s.region.loops.empty()) {
        glBegin(GL_LINES);
        for (const auto& edge : freeEdges(s.mesh)) {
            glVertex2d(edge[0].x, edge[0].y);
            glVertex2d(edge[1].x, edge[1].y);
        }
        glEnd();
    }
    glLineWidth(1.0f);
    SetGLColor(0x000000);
    glBegin(GL_LINES);
    for (const auto& line : s.drawing.lines) {
        glVertex2d(line[0].x, line[0].y);
        glVertex2d(line[1].x, line[1].y);
    }
    glEnd();

    const float symbol = static_cast<float>(0.06 * extent);
    const double gap = 0.06 * extent;
    StartDashedLineDrawing();
    DisableGLLighting();
    SetGLColor(0x606060);
    glBegin(GL_LINE_LOOP);
    glVertex2d(minX - gap / 2, minY - gap / 2);
    glVertex2d(maxX + gap / 2, minY - gap / 2);
    glVertex2d(maxX + gap / 2, maxY + gap / 2);
    glVertex2d(minX - gap / 2, maxY + gap / 2);
    glEnd();
    EndDashedLineDrawing();
    DisableGLLighting();
    SetGLColor(0x202020);
    DrawLineSpanArrow(CPoint3D(minX, minY - 1.5 * gap, 0), CPoint3D(maxX, minY - 1.5 * gap, 0),
                      symbol, 1.5f);
    glPushMatrix();
    glTranslated(minX - gap, minY - gap, 0.5);
    DrawOriginArrows(symbol, true, false, true);
    glPopMatrix();
    glFinish();
    const GLenum error = glGetError();
    if (error != GL_NO_ERROR) {
        char text[64];
        std::snprintf(text, sizeof text, "OpenGL error 0x%04x while drawing", error);
        throw std::runtime_error(text);
    }

    std::vector<unsigned char> rows(4 * static_cast<size_t>(width) * static_cast<size_t>(height));
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, rows.data());
    // OpenGL counts rows from the bottom, a picture from the top.
    std::vector<unsigned char> topDown(rows.size());
    const size_t stride = 4 * static_cast<size_t>(width);
    for (int y = 0; y < height; ++y)
        std::copy_n(rows.begin() + static_cast<std::ptrdiff_t>(stride * static_cast<size_t>(y)),
                    stride,
                    topDown.begin() +
                        static_cast<std::ptrdiff_t>(stride * static_cast<size_t>(height - 1 - y)));
    return topDown;
}

int runRender(const std::vector<std::string>& args) {
    const Options o = readOptions(args);
    int width = 0, height = 0;
    if (!render::parseSize(o.size, width, height))
        throw UsageError("--size must be WxH, each a whole number from 16 to 8192");
    const Scene scene = readScene(o);
    const std::vector<unsigned char> pixels = drawScene(scene, o, width, height);
    PendingOutputs outputs;
    outputs.add(o.out, render::pngBytes(width, height, pixels));
    outputs.commit();
    if (!o.quiet && o.out != "-") {
        std::cout << "picture: " << width << "x" << height << ", " << scene.mesh.elements.size()
                  << " elements, " << scene.mesh.nodes.size() << " nodes";
        if (!scene.drawing.lines.empty())
            std::cout << ", " << scene.drawing.lines.size() << " lines";
        if (scene.partial) std::cout << " (the mesher stopped short: a partial mesh)";
        std::cout << '\n';
    }
    return kSuccess;
}

ZEV_COMMAND("render", "draw a mesh offscreen with OpenGL into a PNG picture", kHelp, runRender);

}  // namespace
}  // namespace zevtool
