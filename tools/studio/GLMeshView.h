#pragma once

// The region and its mesh drawn with OpenGL through the library's view, modes and symbols:
// elements solid in their quality colours with a wireframe over them, the outline, the
// dashed box round the region, the span arrow, the origin arrows and the snap grid's points.
// Drag to pan, the wheel to zoom about the pointer, a double click to fit.

#include <QColor>
#include <QPointF>
#include <memory>
#include <vector>

#include "tools/zevcore/MeshIo.h"
#include "zevcore-qt/QtGLView.h"
#include "zevcore/graphics/GLEnabledView.h"

class CGridManager;

namespace studio {

class GLMeshScene : public CGLEnabledView {
public:
    /// The library's modes: solid elements, their wireframe, or both.
    enum class DrawMode { SolidAndWireframe, Solid, Wireframe };

    void OnDrawGL() override;
    void OnSizeGL(int width, int height) override;

    zevtool::meshio::Region region;
    zevtool::meshio::Mesh mesh;
    std::vector<double> quality;
    CGridManager* grids = nullptr;
    bool showGrid = true;
    DrawMode mode = DrawMode::SolidAndWireframe;
    /// Where the pointer snaps to, once it has moved over the view.
    QPointF snap;
    bool hasSnap = false;
    QColor background = Qt::white;
    QColor lines = QColor(0, 0, 128);
    /// The font of the span's label; made into the view's characters at the next paint.
    LOGFONTA labelFont{};
    bool labelFontChanged = true;
    /// The drawing's point at the view's centre, and half the view's height in its units.
    double centreX = 0.0, centreY = 0.0, halfHeight = 1.0;
    int width = 1, height = 1;

private:
    // The stages of a paint, in order.
    void beginFrame();
    void drawHint();
    void drawGrids();
    void drawElements();
    void drawRegion();
    void drawAnnotations(double minX, double minY, double maxX, double maxY);
    void drawSnap();
    /// Drawing units per pixel.
    double perPixel() const { return 2.0 * halfHeight / height; }
};

class GLMeshView : public CZEVQtGLView {
    Q_OBJECT
public:
    GLMeshView(CZEVQtGLPlatform& platform, QWidget* parent = nullptr);
    ~GLMeshView() override;

    void SetRegion(const zevtool::meshio::Region& region);
    void SetMesh(const zevtool::meshio::Mesh& mesh);
    void SetGrids(CGridManager* grids);
    void SetColors(QColor background, QColor lines);
    void SetShowGrid(bool show);
    void SetLabelFont(const LOGFONTA& font);
    void SetMode(GLMeshScene::DrawMode mode);
    void Fit();
    /// A point of the widget in the drawing's coordinates.
    QPointF ToModel(const QPointF& point) const;
    GLMeshScene& Scene() { return *m_scene; }

Q_SIGNALS:
    void pointerMoved(QPointF snapped);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    GLMeshView(std::unique_ptr<GLMeshScene> scene, CZEVQtGLPlatform& platform, QWidget* parent);

    std::unique_ptr<GLMeshScene> m_scene;
    QPointF m_dragFrom;
};

}  // namespace studio
