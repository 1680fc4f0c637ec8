#pragma once

// The drawing of the open region and its mesh, elements coloured by their quality: drag to
// pan, the wheel to zoom about the pointer, a double click to fit. Drawn with QPainter, so
// that it works on any display, with or without OpenGL.

#include <QColor>
#include <QPointF>
#include <QWidget>

#include "tools/zevcore/MeshIo.h"

class CGridManager;

namespace studio {

/// An element's quality from 0 (folded or flat) to 1 (every angle the ideal: 60 degrees in
/// a triangle, 90 in a quadrilateral): the worse of its smallest angle over the ideal and
/// its largest angle's distance from 180 over the ideal's.
double elementQuality(const zevtool::meshio::Mesh& mesh, const zevtool::meshio::Element& element);

/// The colour of a quality: red at 0 through yellow to green at 1.
QColor qualityColor(double quality);

class MeshView : public QWidget {
    Q_OBJECT
public:
    explicit MeshView(QWidget* parent = nullptr);

    void SetRegion(const zevtool::meshio::Region& region);
    void SetMesh(const zevtool::meshio::Mesh& mesh);
    void Clear();
    /// Shows the whole region.
    void Fit();
    void SetColors(QColor background, QColor lines);
    void SetShowGrid(bool show);
    /// The snap grids drawn (the visible ones) and snapped to; not owned, null for none.
    void SetGrids(CGridManager* grids);
    /// The point of the drawing the pointer snaps to at a view point: the nearest point of a
    /// visible grid, or the point itself when no grid is shown.
    QPointF SnapPoint(const QPointF& viewPoint) const;

    double Scale() const { return m_scale; }
    /// A point of the view in the drawing's coordinates.
    QPointF ToModel(const QPointF& point) const;
    QPointF ToView(double x, double y) const;
    QSize sizeHint() const override { return QSize(640, 480); }

Q_SIGNALS:
    /// The pointer moved; `snapped` is where it snaps to, in the drawing's coordinates.
    void pointerMoved(QPointF snapped);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void drawGrids(QPainter& painter);

    zevtool::meshio::Region m_region;
    zevtool::meshio::Mesh m_mesh;
    std::vector<double> m_quality;
    bool m_hasRegion = false;
    bool m_fitted = false;
    double m_scale = 1.0;
    QPointF m_origin;  // the view point of the drawing's (0, 0)
    QPointF m_dragFrom;
    QColor m_background = Qt::white;
    QColor m_lines = QColor(0, 0, 128);
    bool m_showGrid = true;
    CGridManager* m_grids = nullptr;
    QPointF m_snapped;
    bool m_hasSnap = false;
};

}  // namespace studio
