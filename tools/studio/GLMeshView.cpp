#include "tools/studio/GLMeshView.h"

#include <GL/gl.h>

#include <QMouseEvent>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tools/studio/MeshView.h"
#include "zevcore/graphics/GLState.h"
#include "zevcore/graphics/GLSymbols.h"
#include "zevcore/graphics/GraphicGrid.h"
#include "zevcore/graphics/GridManager.h"
#include "zevcore/platform/services/Gdi.h"
#include "zevcore/quantities/Units.h"

namespace studio {

using zevtool::meshio::Element;
using zevtool::meshio::Point;

namespace {

void colour(const QColor& c) {
    glColor3f(static_cast<float>(c.redF()), static_cast<float>(c.greenF()),
              static_cast<float>(c.blueF()));
}

bool regionBox(const zevtool::meshio::Region& region, double& minX, double& minY, double& maxX,
               double& maxY) {
    minX = minY = HUGE_VAL, maxX = maxY = -HUGE_VAL;
    for (const auto& loop : region.loops)
        for (const Point& p : loop) {
            minX = std::min(minX, p.x), maxX = std::max(maxX, p.x);
            minY = std::min(minY, p.y), maxY = std::max(maxY, p.y);
        }
    return minX <= maxX && minY <= maxY;
}

}  // namespace

void GLMeshScene::OnSizeGL(int w, int h) {
    width = std::max(w, 1);
    height = std::max(h, 1);
    glViewport(0, 0, width, height);
}

void GLMeshScene::OnDrawGL() {
    beginFrame();
    if (labelFontChanged) {
        PrepareCharset2D(&labelFont);
        labelFontChanged = false;
    }
    double minX, minY, maxX, maxY;
    if (!regionBox(region, minX, minY, maxX, maxY)) {
        drawHint();
        return;
    }
    if (showGrid && grids) drawGrids();
    drawElements();
    drawRegion();
    drawAnnotations(minX, minY, maxX, maxY);
    if (hasSnap) drawSnap();
}

// The viewport, the background and the projection, and no modes left from the last frame.
void GLMeshScene::beginFrame() {
    // The library's view skips a size another view had already, so the surface is asked.
    if (GetCDC()) ZEVGL().GetDCSize(GetCDC()->GetSafeHdc(), width, height);
    width = std::max(width, 1);
    height = std::max(height, 1);
    glViewport(0, 0, width, height);
    // The modes of the last frame's symbols may still stand.
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    glDisable(GL_POLYGON_OFFSET_FILL);
    glDisable(GL_LINE_STIPPLE);
    DisableGLLighting();
    float bottom[3] = {static_cast<float>(background.redF()),
                       static_cast<float>(background.greenF()),
                       static_cast<float>(background.blueF())};
    const QColor tint =
        background.lightness() > 128 ? background.darker(112) : background.lighter(130);
    float top[3] = {static_cast<float>(tint.redF()), static_cast<float>(tint.greenF()),
                    static_cast<float>(tint.blueF())};
    DrawGLGradientBG(bottom, top);
    glClear(GL_DEPTH_BUFFER_BIT);
    const double halfWidth = halfHeight * width / height;
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(centreX - halfWidth, centreX + halfWidth, centreY - halfHeight, centreY + halfHeight,
            -1, 1);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glDisable(GL_DEPTH_TEST);
    DisableGLLighting();
}

// With nothing open, what to open.
void GLMeshScene::drawHint() {
    const CString hint = "Open a boundary file, a DXF drawing or a mesh (File > Open)";
    colour(QColor(110, 110, 110));
    glRasterPos2d(centreX - 0.3 * 13 * hint.GetLength() * perPixel(), centreY);
    Text2D(hint);
}

void GLMeshScene::drawGrids() {
    glPointSize(2.0f);
    colour(background.lightness() > 128 ? QColor(150, 150, 150) : QColor(120, 120, 120));
    glBegin(GL_POINTS);
    for (int g = 1; g <= grids->gridCount(); ++g) {
        CGraphicGrid* grid = grids->grid(g);
        if (!grid || !grid->isVisible()) continue;
        const auto& points = grid->getGridPoints();
        for (int i = 1; i <= points.getCount(); ++i)
            if (const CPoint3D* p = points[i]) glVertex2d(p->x, p->y);
    }
    glEnd();
    glPointSize(1.0f);
}

// The elements in the drawing mode: filled by quality, outlined, or both.
void GLMeshScene::drawElements() {
    auto corners = [this](const Element& e, CPoint3D* c) {
        if (e.count != 3 && e.count != 4) return false;
        for (int k = 0; k < e.count; ++k) {
            const int at = e.v[static_cast<size_t>(k)];
            if (at < 0 || static_cast<size_t>(at) >= mesh.nodes.size()) return false;
            c[k] = CPoint3D(mesh.nodes[static_cast<size_t>(at)].x,
                            mesh.nodes[static_cast<size_t>(at)].y, 0);
        }
        return true;
    };
    auto plate = [](const Element& e, const CPoint3D* c) {
        if (e.count == 3)
            DrawTriPlate(c[0], c[1], c[2], 0.0);
        else
            DrawQuadPlate(c[0], c[1], c[2], c[3], 0.0);
    };
    if (mode != DrawMode::Wireframe) {
        StartSolidDrawing(gPlatePolygonOffset);
        for (size_t i = 0; i < mesh.elements.size(); ++i) {
            CPoint3D c[4];
            if (!corners(mesh.elements[i], c)) continue;
            colour(qualityColor(i < quality.size() ? quality[i] : 1.0));
            plate(mesh.elements[i], c);
        }
        EndSolidDrawing();
    }
    if (mode != DrawMode::Solid) {
        StartWireframeDrawing();
        colour(lines);
        for (const Element& e : mesh.elements) {
            CPoint3D c[4];
            if (corners(e, c)) plate(e, c);
        }
        EndWireframeDrawing();
    }
    DisableGLLighting();
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
}

// The region's outlines and its interior and boundary points.
void GLMeshScene::drawRegion() {
    glLineWidth(2.0f);
    colour(Qt::black);
    for (const auto& loop : region.loops) {
        glBegin(GL_LINE_LOOP);
        for (const Point& p : loop) glVertex2d(p.x, p.y);
        glEnd();
    }
    glLineWidth(1.0f);
    glPointSize(6.0f);
    glBegin(GL_POINTS);
    colour(QColor(200, 30, 30));
    for (const Point& p : region.interiorPoints) glVertex2d(p.x, p.y);
    colour(QColor(30, 30, 200));
    for (const Point& p : region.boundaryPoints) glVertex2d(p.x, p.y);
    glEnd();
    glPointSize(1.0f);
}

// The dashed box round the region, its span and the origin.
void GLMeshScene::drawAnnotations(double minX, double minY, double maxX, double maxY) {
    const double extent = std::max({maxX - minX, maxY - minY, 1e-9});
    const float symbol = static_cast<float>(0.06 * extent);
    const double gap = 0.06 * extent;
    StartDashedLineDrawing();
    DisableGLLighting();
    colour(QColor(96, 96, 96));
    glBegin(GL_LINE_LOOP);
    glVertex2d(minX - gap / 2, minY - gap / 2);
    glVertex2d(maxX + gap / 2, minY - gap / 2);
    glVertex2d(maxX + gap / 2, maxY + gap / 2);
    glVertex2d(minX - gap / 2, maxY + gap / 2);
    glEnd();
    EndDashedLineDrawing();
    DisableGLLighting();
    colour(QColor(32, 32, 32));
    DrawLineSpanArrow(CPoint3D(minX, minY - 1.5 * gap, 0), CPoint3D(maxX, minY - 1.5 * gap, 0),
                      symbol, 1.5f);
    // The span in the current unit style, under its arrow.
    const CString span = Units::show(UNIT_LENGTH_SMALL, maxX - minX, UNIT_SHOW);
    const double textHeight = std::abs(labelFont.lfHeight) > 0 ? std::abs(labelFont.lfHeight) : 12;
    glRasterPos2d((minX + maxX) / 2 - 0.3 * textHeight * span.GetLength() * perPixel(),
                  minY - 1.5 * gap - (textHeight + 4) * perPixel());
    Text2D(span);
    glPushMatrix();
    glTranslated(minX - gap, minY - gap, 0.5);
    DrawOriginArrows(symbol, true, false, true);
    glPopMatrix();
    DisableGLLighting();
}

// Where the pointer snaps to.
void GLMeshScene::drawSnap() {
    const double arm = 6.0 * perPixel();
    colour(QColor(200, 0, 0));
    glBegin(GL_LINES);
    glVertex2d(snap.x() - arm, snap.y());
    glVertex2d(snap.x() + arm, snap.y());
    glVertex2d(snap.x(), snap.y() - arm);
    glVertex2d(snap.x(), snap.y() + arm);
    glEnd();
}

GLMeshView::GLMeshView(CZEVQtGLPlatform& platform, QWidget* parent)
    : GLMeshView(std::make_unique<GLMeshScene>(), platform, parent) {}

GLMeshView::GLMeshView(std::unique_ptr<GLMeshScene> scene, CZEVQtGLPlatform& platform,
                       QWidget* parent)
    : CZEVQtGLView(*scene, platform, parent), m_scene(std::move(scene)) {
    m_scene->labelFont.lfHeight = -13;
    m_scene->labelFont.lfWeight = FW_NORMAL;
    std::snprintf(m_scene->labelFont.lfFaceName, sizeof m_scene->labelFont.lfFaceName, "Sans");
    setObjectName("zevGLMeshView");
    setMouseTracking(true);
    setMinimumSize(200, 150);
}

GLMeshView::~GLMeshView() {
    // The scene goes before the base class would destroy its GL objects.
    DestroyView();
}

void GLMeshView::SetRegion(const zevtool::meshio::Region& region) {
    m_scene->region = region;
    m_scene->mesh = {};
    m_scene->quality.clear();
    Fit();
}

void GLMeshView::SetMesh(const zevtool::meshio::Mesh& mesh) {
    m_scene->mesh = mesh;
    m_scene->quality.clear();
    for (const Element& e : mesh.elements) m_scene->quality.push_back(elementQuality(mesh, e));
    update();
}

void GLMeshView::SetGrids(CGridManager* grids) {
    m_scene->grids = grids;
    update();
}

void GLMeshView::SetColors(QColor background, QColor lines) {
    m_scene->background = background;
    m_scene->lines = lines;
    update();
}

void GLMeshView::SetShowGrid(bool show) {
    m_scene->showGrid = show;
    update();
}

void GLMeshView::SetMode(GLMeshScene::DrawMode mode) {
    m_scene->mode = mode;
    update();
}

void GLMeshView::SetLabelFont(const LOGFONTA& font) {
    m_scene->labelFont = font;
    m_scene->labelFontChanged = true;
    update();
}

void GLMeshView::Fit() {
    double minX, minY, maxX, maxY;
    if (regionBox(m_scene->region, minX, minY, maxX, maxY)) {
        const double extent = std::max({maxX - minX, maxY - minY, 1e-9});
        // Room for the symbols round the region, and the widget's proportions kept.
        const double aspect = static_cast<double>(std::max(width(), 1)) / std::max(height(), 1);
        m_scene->centreX = (minX + maxX) / 2;
        m_scene->centreY = (minY + maxY) / 2 - 0.05 * extent;
        m_scene->halfHeight = std::max(0.5 * (maxY - minY) + 0.2 * extent,
                                       (0.5 * (maxX - minX) + 0.15 * extent) / aspect);
    }
    update();
}

QPointF GLMeshView::ToModel(const QPointF& point) const {
    const double perPixel = 2.0 * m_scene->halfHeight / std::max(height(), 1);
    return QPointF(m_scene->centreX + (point.x() - width() / 2.0) * perPixel,
                   m_scene->centreY - (point.y() - height() / 2.0) * perPixel);
}

void GLMeshView::mousePressEvent(QMouseEvent* event) {
    m_dragFrom = event->position();
}

void GLMeshView::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons() & (Qt::LeftButton | Qt::MiddleButton)) {
        const double perPixel = 2.0 * m_scene->halfHeight / std::max(height(), 1);
        const QPointF moved = event->position() - m_dragFrom;
        m_scene->centreX -= moved.x() * perPixel;
        m_scene->centreY += moved.y() * perPixel;
        m_dragFrom = event->position();
        update();
        return;
    }
    QPointF at = ToModel(event->position());
    if (m_scene->grids && m_scene->showGrid) {
        double distance = 0.0;
        const CPoint3D p = m_scene->grids->closestGridPoint(CPoint3D(at.x(), at.y(), 0), distance);
        if (distance < 1e30) at = QPointF(p.x, p.y);
    }
    m_scene->snap = at;
    m_scene->hasSnap = true;
    update();
    Q_EMIT pointerMoved(at);
}

void GLMeshView::mouseDoubleClickEvent(QMouseEvent*) {
    Fit();
}

void GLMeshView::wheelEvent(QWheelEvent* event) {
    const QPointF before = ToModel(event->position());
    m_scene->halfHeight =
        std::clamp(m_scene->halfHeight / std::pow(1.0015, event->angleDelta().y()), 1e-9, 1e12);
    const QPointF after = ToModel(event->position());
    m_scene->centreX += before.x() - after.x();
    m_scene->centreY += before.y() - after.y();
    update();
}

void GLMeshView::resizeEvent(QResizeEvent* event) {
    CZEVQtGLView::resizeEvent(event);
    Fit();
}

}  // namespace studio
