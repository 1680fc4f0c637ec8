#include "tools/studio/MeshView.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

#include "zevcore/graphics/GridManager.h"

namespace studio {

using zevtool::meshio::Element;
using zevtool::meshio::Mesh;
using zevtool::meshio::Point;

double elementQuality(const Mesh& mesh, const Element& element) {
    const int n = element.count;
    if (n < 3) return 0.0;
    Point p[4];
    for (int k = 0; k < n; ++k) {
        const int at = element.v[static_cast<size_t>(k)];
        if (at < 0 || static_cast<size_t>(at) >= mesh.nodes.size()) return 0.0;
        p[k] = mesh.nodes[static_cast<size_t>(at)];
    }
    const double pi = std::acos(-1.0);
    double smallest = 360.0, largest = 0.0;
    for (int k = 0; k < n; ++k) {
        const Point& a = p[(k + n - 1) % n];
        const Point& b = p[k];
        const Point& c = p[(k + 1) % n];
        const double ux = a.x - b.x, uy = a.y - b.y, vx = c.x - b.x, vy = c.y - b.y;
        if ((ux == 0.0 && uy == 0.0) || (vx == 0.0 && vy == 0.0)) return 0.0;
        // The interior angle of a counter-clockwise polygon, from the next edge round to the
        // previous one: beyond 180 degrees where the element turns the wrong way.
        double angle = std::atan2(vx * uy - vy * ux, vx * ux + vy * uy);
        if (angle < 0.0) angle += 2.0 * pi;
        angle *= 180.0 / pi;
        smallest = std::min(smallest, angle);
        largest = std::max(largest, angle);
    }
    if (!(largest < 180.0) || !(smallest > 0.0)) return 0.0;
    const double ideal = n == 3 ? 60.0 : 90.0;
    return std::clamp(std::min(smallest / ideal, (180.0 - largest) / (180.0 - ideal)), 0.0, 1.0);
}

QColor qualityColor(double quality) {
    return QColor::fromHsvF(static_cast<float>(std::clamp(quality, 0.0, 1.0) / 3.0), 0.55f, 0.97f);
}

MeshView::MeshView(QWidget* parent) : QWidget(parent) {
    setObjectName("zevMeshView");
    setMouseTracking(true);
    setMinimumSize(200, 150);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void MeshView::SetRegion(const zevtool::meshio::Region& region) {
    m_region = region;
    m_hasRegion = true;
    m_mesh = {};
    m_quality.clear();
    Fit();
}

void MeshView::SetMesh(const Mesh& mesh) {
    m_mesh = mesh;
    m_quality.clear();
    for (const Element& e : m_mesh.elements) m_quality.push_back(elementQuality(m_mesh, e));
    update();
}

void MeshView::Clear() {
    m_region = {};
    m_mesh = {};
    m_quality.clear();
    m_hasRegion = false;
    update();
}

void MeshView::SetColors(QColor background, QColor lines) {
    m_background = background;
    m_lines = lines;
    update();
}

void MeshView::SetShowGrid(bool show) {
    m_showGrid = show;
    update();
}

void MeshView::Fit() {
    double minX = HUGE_VAL, minY = HUGE_VAL, maxX = -HUGE_VAL, maxY = -HUGE_VAL;
    for (const auto& loop : m_region.loops)
        for (const Point& p : loop) {
            minX = std::min(minX, p.x), maxX = std::max(maxX, p.x);
            minY = std::min(minY, p.y), maxY = std::max(maxY, p.y);
        }
    if (!(maxX >= minX) || !(maxY >= minY)) {
        m_scale = 1.0;
        m_origin = QPointF(width() / 2.0, height() / 2.0);
        update();
        return;
    }
    const double margin = 24.0;
    const double w = std::max(maxX - minX, 1e-9), h = std::max(maxY - minY, 1e-9);
    m_scale = std::min((width() - 2 * margin) / w, (height() - 2 * margin) / h);
    if (!(m_scale > 0.0)) m_scale = 1.0;
    const double cx = (minX + maxX) / 2.0, cy = (minY + maxY) / 2.0;
    m_origin = QPointF(width() / 2.0 - cx * m_scale, height() / 2.0 + cy * m_scale);
    m_fitted = true;
    update();
}

QPointF MeshView::ToView(double x, double y) const {
    return QPointF(m_origin.x() + x * m_scale, m_origin.y() - y * m_scale);
}

QPointF MeshView::ToModel(const QPointF& point) const {
    return QPointF((point.x() - m_origin.x()) / m_scale, (m_origin.y() - point.y()) / m_scale);
}

void MeshView::SetGrids(CGridManager* grids) {
    m_grids = grids;
    update();
}

QPointF MeshView::SnapPoint(const QPointF& viewPoint) const {
    const QPointF model = ToModel(viewPoint);
    if (!m_grids || !m_showGrid) return model;
    double distance = 0.0;
    const CPoint3D p = m_grids->closestGridPoint(CPoint3D(model.x(), model.y(), 0.0), distance);
    // No visible grid answers an enormous distance.
    return distance < 1e30 ? QPointF(p.x, p.y) : model;
}

void MeshView::drawGrids(QPainter& painter) {
    if (!m_grids) return;
    const QColor dot =
        m_background.lightness() > 128 ? QColor(150, 150, 150) : QColor(120, 120, 120);
    painter.setPen(Qt::NoPen);
    painter.setBrush(dot);
    for (int g = 1; g <= m_grids->gridCount(); ++g) {
        CGraphicGrid* grid = m_grids->grid(g);
        if (!grid || !grid->isVisible()) continue;
        const auto& points = grid->getGridPoints();
        // Dots closer than a few pixels would only grey the picture.
        const CPoint3D spacing = grid->spacing();
        const double step = std::max(std::fabs(spacing.x), std::fabs(spacing.y)) * m_scale;
        if (step > 0.0 && step < 4.0) continue;
        const double radius = grid->isBigDots() ? 2.0 : 1.2;
        for (int i = 1; i <= points.getCount(); ++i) {
            const CPoint3D* p = points[i];
            if (p) painter.drawEllipse(ToView(p->x, p->y), radius, radius);
        }
    }
    painter.setBrush(Qt::NoBrush);
}

void MeshView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), m_background);
    if (!m_hasRegion) {
        painter.setPen(palette().color(QPalette::PlaceholderText));
        painter.drawText(rect(), Qt::AlignCenter,
                         tr("Open a boundary file, a DXF drawing or a mesh (File > Open)"));
        return;
    }
    painter.setRenderHint(QPainter::Antialiasing);
    // The region, filled, so that the mesh is seen against it.
    QPainterPath region;
    region.setFillRule(Qt::OddEvenFill);
    for (size_t i = 0; i < m_region.loops.size(); ++i) {
        const auto& loop = m_region.loops[i];
        if (loop.empty()) continue;
        QPolygonF polygon;
        for (const Point& p : loop) polygon << ToView(p.x, p.y);
        polygon << polygon.front();
        region.addPolygon(polygon);
    }
    painter.fillPath(region, QColor(235, 240, 250));
    if (m_showGrid) drawGrids(painter);

    painter.setPen(QPen(m_lines, 0));
    for (size_t e = 0; e < m_mesh.elements.size(); ++e) {
        const Element& element = m_mesh.elements[e];
        QPolygonF polygon;
        for (int k = 0; k < element.count; ++k) {
            const int at = element.v[static_cast<size_t>(k)];
            if (at < 0 || static_cast<size_t>(at) >= m_mesh.nodes.size()) break;
            const Point& p = m_mesh.nodes[static_cast<size_t>(at)];
            polygon << ToView(p.x, p.y);
        }
        if (polygon.size() < 3) continue;
        painter.setBrush(qualityColor(m_quality[e]));
        painter.drawPolygon(polygon);
    }
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(Qt::black, 2));
    painter.drawPath(region);
    painter.setBrush(QColor(200, 30, 30));
    painter.setPen(Qt::NoPen);
    for (const Point& p : m_region.interiorPoints) painter.drawEllipse(ToView(p.x, p.y), 3.5, 3.5);
    painter.setBrush(QColor(30, 30, 200));
    for (const Point& p : m_region.boundaryPoints) painter.drawEllipse(ToView(p.x, p.y), 3.5, 3.5);

    if (m_hasSnap) {
        // Where the pointer snaps to.
        const QPointF at = ToView(m_snapped.x(), m_snapped.y());
        painter.setPen(QPen(QColor(200, 0, 0), 1));
        painter.drawLine(at - QPointF(6, 0), at + QPointF(6, 0));
        painter.drawLine(at - QPointF(0, 6), at + QPointF(0, 6));
    }

    if (!m_mesh.elements.empty()) {
        // The key to the colours.
        const QRect key(width() - 130, height() - 26, 120, 12);
        for (int x = 0; x < key.width(); ++x) {
            painter.setPen(qualityColor(static_cast<double>(x) / key.width()));
            painter.drawLine(key.left() + x, key.top(), key.left() + x, key.bottom());
        }
        painter.setPen(Qt::black);
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(key);
        painter.drawText(QRect(key.left() - 60, key.top() - 2, 56, 16),
                         Qt::AlignRight | Qt::AlignVCenter, tr("quality 0"));
        painter.drawText(QRect(key.right() + 2, key.top() - 2, 10, 16), Qt::AlignVCenter, "1");
    }
}

void MeshView::mousePressEvent(QMouseEvent* event) {
    m_dragFrom = event->position();
}

void MeshView::mouseMoveEvent(QMouseEvent* event) {
    if (!(event->buttons() & (Qt::LeftButton | Qt::MiddleButton))) {
        m_snapped = SnapPoint(event->position());
        m_hasSnap = m_hasRegion;
        Q_EMIT pointerMoved(m_snapped);
        update();
        return;
    }
    m_origin += event->position() - m_dragFrom;
    m_dragFrom = event->position();
    update();
}

void MeshView::mouseDoubleClickEvent(QMouseEvent*) {
    Fit();
}

void MeshView::wheelEvent(QWheelEvent* event) {
    const double factor = std::pow(1.0015, event->angleDelta().y());
    const QPointF at = event->position();
    const QPointF model = ToModel(at);
    m_scale = std::clamp(m_scale * factor, 1e-9, 1e12);
    m_origin = QPointF(at.x() - model.x() * m_scale, at.y() + model.y() * m_scale);
    update();
}

void MeshView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (m_hasRegion) Fit();
}

}  // namespace studio
