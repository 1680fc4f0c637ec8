// Graphics: the tessellator against GLU's own called directly (both drawing into an offscreen
// context and keeping the triangles), and snapping to a grid of 1,000 by 1,000 lattice points
// from its parameters against a scan of every point.

#include <GL/gl.h>
#include <GL/glu.h>

#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "peers/Cases.h"
#include "zevcore/frame/Math.h"
#include "zevcore/graphics/GraphicGrid.h"
#include "zevcore/graphics/GraphicsTessellator.h"
#include "zevcore/platform/gl/GLPlatform.h"

namespace peers {

namespace {

// An outline of 10,000 corners on a wavy circle with 100 square holes inside.
std::vector<std::vector<double>> holedPolygon() {
    constexpr double kPi = 3.14159265358979323846;
    const int corners = 10000, holes = 100;
    std::vector<std::vector<double>> contours;
    std::vector<double> outline;
    for (int i = 0; i < corners; ++i) {
        const double a = 2 * kPi * i / corners, r = 100 + 2 * std::sin(40 * a);
        outline.insert(outline.end(), {r * std::cos(a), r * std::sin(a), 0});
    }
    contours.push_back(outline);
    for (int h = 0; h < holes; ++h) {
        const double x = -60 + 120.0 * (h % 10) / 10, y = -60 + 120.0 * (h / 10) / 10;
        contours.push_back({x, y, 0, x, y + 4, 0, x + 4, y + 4, 0, x + 4, y, 0});
    }
    return contours;
}

struct Scene {
    std::unique_ptr<CZEVOffscreenGL> gl = std::make_unique<CZEVOffscreenGL>(256, 256);
    std::vector<std::vector<double>> contours = holedPolygon();
    Scene() {
        if (!gl->ok()) return;
        glMatrixMode(GL_PROJECTION);
        glOrtho(-110, 110, -110, 110, -1, 1);
    }
};

std::function<void()> zevTessellating() {
    auto scene = std::make_shared<Scene>();
    if (!scene->gl->ok()) return {};
    auto tess = std::make_shared<CGraphicsTessellator>();
    return [scene, tess] {
        tess->StartDef();
        for (std::size_t c = 0; c < scene->contours.size(); ++c) {
            if (c > 0) tess->ContourSeparator();
            for (std::size_t i = 0; i < scene->contours[c].size(); i += 3)
                tess->AddVertex(&scene->contours[c][i]);
        }
        tess->EndDef();
        glFinish();
        keep(tess->GetTriangles().size());
    };
}

// GLU by hand: each primitive drawn as it comes and its corners kept, as the tessellator does.
struct GluState {
    GLenum type = 0;
    std::vector<const double*> corners;
    std::vector<const double*> kept;
};

void GLAPIENTRY gluBegin(GLenum type, void* data) {
    auto* s = static_cast<GluState*>(data);
    s->type = type;
    s->corners.clear();
    glBegin(type);
}
void GLAPIENTRY gluVertex(void* vertex, void* data) {
    auto* s = static_cast<GluState*>(data);
    const auto* xyz = static_cast<const double*>(vertex);
    s->corners.push_back(xyz);
    glVertex3dv(xyz);
}
void GLAPIENTRY gluEnd(void* data) {
    auto* s = static_cast<GluState*>(data);
    glEnd();
    s->kept.insert(s->kept.end(), s->corners.begin(), s->corners.end());
}

std::function<void()> gluTessellating() {
    auto scene = std::make_shared<Scene>();
    if (!scene->gl->ok()) return {};
    std::shared_ptr<GLUtesselator> tess(gluNewTess(), gluDeleteTess);
    auto state = std::make_shared<GluState>();
    using Callback = void(GLAPIENTRY*)();
    gluTessCallback(tess.get(), GLU_TESS_BEGIN_DATA, reinterpret_cast<Callback>(gluBegin));
    gluTessCallback(tess.get(), GLU_TESS_VERTEX_DATA, reinterpret_cast<Callback>(gluVertex));
    gluTessCallback(tess.get(), GLU_TESS_END_DATA, reinterpret_cast<Callback>(gluEnd));
    return [scene, tess, state] {
        state->kept.clear();
        gluTessBeginPolygon(tess.get(), state.get());
        for (auto& contour : scene->contours) {
            gluTessBeginContour(tess.get());
            for (std::size_t i = 0; i < contour.size(); i += 3)
                gluTessVertex(tess.get(), &contour[i], &contour[i]);
            gluTessEndContour(tess.get());
        }
        gluTessEndPolygon(tess.get());
        glFinish();
        keep(state->kept.size());
    };
}

CRectangularGrid& millionPointGrid() {
    static CRectangularGrid grid;
    static const bool ready = [] {
        grid.setupRegularGrid("Snap", CRectangularGrid::gpXY, 1198.8, 1198.8, 1.2, 1.2,
                              CPoint3D(5, -3, 0));
        return grid.getGridPoints().getCount() > 0;
    }();
    (void)ready;
    return grid;
}

struct Probes {
    std::vector<CPoint3D> points;
    std::size_t next = 0;
    Probes() {
        std::mt19937 random(42);
        std::uniform_real_distribution<double> coordinate(-700, 700);
        for (int i = 0; i < 64; ++i)
            points.emplace_back(coordinate(random), coordinate(random), 3.0);
    }
    const CPoint3D& take() { return points[next++ % points.size()]; }
};

std::function<void()> zevSnapping() {
    CRectangularGrid& grid = millionPointGrid();
    auto probes = std::make_shared<Probes>();
    return [&grid, probes] {
        double distance = 0;
        keep(grid.closestGridPoint(probes->take(), distance));
    };
}

std::function<void()> scanSnapping() {
    CRectangularGrid& grid = millionPointGrid();
    auto probes = std::make_shared<Probes>();
    return [&grid, probes] {
        const auto& lattice = grid.getGridPoints();
        const CPoint3D& p = probes->take();
        CPoint3D best(0, 0, 0);
        double distance = BIG;
        for (int k = 1; k <= lattice.getCount(); ++k)
            if (p.distance_to(*lattice[k]) < distance)
                distance = p.distance_to(*lattice[k]), best = *lattice[k];
        keep(best);
    };
}

}  // namespace

std::vector<Case> otherCases() {
    return {
        {"tessellate", "zevcore", zevTessellating},
        {"tessellate", "glu", gluTessellating},
        {"grid-snap", "zevcore", zevSnapping},
        {"grid-snap", "scan", scanSnapping},
    };
}

}  // namespace peers
