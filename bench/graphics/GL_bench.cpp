// The OpenGL layer offscreen, on whatever renderer EGL gives (Mesa's llvmpipe without a GPU):
// triangles a second through the tessellator, and frames a second of a large mesh drawn from
// a display list. Without an EGL display the benchmarks skip with a message.

#include <GL/gl.h>
#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <vector>

#include "zevcore/graphics/GLState.h"
#include "zevcore/graphics/GLSymbols.h"
#include "zevcore/graphics/GraphicsDisplayList.h"
#include "zevcore/graphics/GraphicsTessellator.h"
#include "zevcore/platform/gl/GLPlatform.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

// An outline of `corners` points on a wavy circle of radius 100 with `holes` small square
// holes on a grid inside it: 10,000 corners and 100 holes make a polygon of 10,400 vertices.
std::vector<std::vector<double>> holedPolygon(int corners, int holes) {
    std::vector<std::vector<double>> contours;
    std::vector<double> outline;
    for (int i = 0; i < corners; ++i) {
        const double a = 2 * kPi * i / corners, r = 100 + 2 * std::sin(40 * a);
        outline.insert(outline.end(), {r * std::cos(a), r * std::sin(a), 0});
    }
    contours.push_back(outline);
    const int side = static_cast<int>(std::ceil(std::sqrt(holes)));
    for (int h = 0; h < holes; ++h) {
        const double x = -60 + 120.0 * (h % side) / side, y = -60 + 120.0 * (h / side) / side;
        // Clockwise, as a hole runs.
        contours.push_back({x, y, 0, x, y + 4, 0, x + 4, y + 4, 0, x + 4, y, 0});
    }
    return contours;
}

std::unique_ptr<CZEVOffscreenGL> context(benchmark::State& state, int width, int height) {
    auto gl = std::make_unique<CZEVOffscreenGL>(width, height);
    if (!gl->ok()) state.SkipWithError(("no offscreen OpenGL: " + gl->error()).c_str());
    return gl;
}

void BM_TessellateHoledPolygon(benchmark::State& state) {
    auto gl = context(state, 256, 256);
    if (!gl->ok()) return;
    glMatrixMode(GL_PROJECTION);
    glOrtho(-110, 110, -110, 110, -1, 1);
    std::vector<std::vector<double>> contours = holedPolygon(10000, 100);
    CGraphicsTessellator tess;
    size_t triangles = 0;
    for (auto _ : state) {
        tess.StartDef();
        for (size_t c = 0; c < contours.size(); ++c) {
            if (c > 0) tess.ContourSeparator();
            for (size_t i = 0; i < contours[c].size(); i += 3) tess.AddVertex(&contours[c][i]);
        }
        tess.EndDef();
        triangles += tess.GetTriangles().size() / 3;
    }
    glFinish();
    state.counters["triangles/s"] =
        benchmark::Counter(static_cast<double>(triangles), benchmark::Counter::kIsRate);
    state.counters["triangles"] = static_cast<double>(tess.GetTriangles().size() / 3);
}
BENCHMARK(BM_TessellateHoledPolygon)->Unit(benchmark::kMillisecond)->UseRealTime();

// A mesh of 316 by 316 quadrilaterals (99,856), filled and lit, with its outlines, compiled
// once into a display list and drawn each frame into an 800 by 600 buffer.
void BM_DisplayListQuadMeshFrame(benchmark::State& state) {
    auto gl = context(state, 800, 600);
    if (!gl->ok()) return;
    const int n = 316;
    glViewport(0, 0, 800, 600);
    glMatrixMode(GL_PROJECTION);
    glOrtho(-1, n + 1, -1, n + 1, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    CGraphicsDisplayList mesh;
    mesh.StartDef();
    glBegin(GL_QUADS);
    glNormal3f(0, 0, 1);
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i) {
            const float x = static_cast<float>(i), y = static_cast<float>(j);
            glVertex2f(x, y), glVertex2f(x + 1, y), glVertex2f(x + 1, y + 1), glVertex2f(x, y + 1);
        }
    glEnd();
    mesh.EndDef();
    float steel[4] = {0.45f, 0.6f, 0.8f, 1.0f};
    float background[3] = {1, 1, 1};
    for (auto _ : state) {
        ClearGLBG(background);
        StartSolidDrawing(gPlatePolygonOffset);
        ApplyGLHeadlight(CPoint3D(0, 0, 1));
        ApplySteelGLMaterial(steel);
        mesh.Execute();
        EndSolidDrawing();
        StartWireframeDrawing();
        glColor3f(0, 0, 0);
        mesh.Execute();
        EndWireframeDrawing();
        glFinish();
    }
    state.counters["fps"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["quads"] = n * n;
}
BENCHMARK(BM_DisplayListQuadMeshFrame)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
