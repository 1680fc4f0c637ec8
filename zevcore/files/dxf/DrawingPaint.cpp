#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "zevcore/files/dxf/Drawing.h"
#include "zevcore/files/dxf/DrawingStore.hpp"

using namespace Drawing::detail;

constexpr double kPi = 3.14159265358979323846;

int drwInitView(HDRAWING h, int x, int y, int width, int height) {
    if (!live(h)) return 0;
    tag_VIEW& v = h->View;
    v.Viewable = 1;
    v.WindowLeft = x, v.WindowTop = y, v.WindowRight = x + width, v.WindowBottom = y + height;
    v.ViewLeft = v.ViewBottom = 0.0;
    v.ZoomLevel = 1.0;
    if (!(v.PPU > 0.0)) v.PPU = 1.0;
    return 1;
}

int drwGetViewProperties(HDRAWING h, tag_VIEW* view) {
    if (!live(h) || !view) return 0;
    *view = h->View;
    return 1;
}

int drwSetViewProperties(HDRAWING h, const tag_VIEW* view) {
    if (!live(h) || !view || !(view->ZoomLevel > 0.0) || !(view->PPU > 0.0)) return 0;
    h->View = *view;
    return 1;
}

double drwGetZoomLevel(HDRAWING h) {
    return live(h) ? h->View.ZoomLevel : 0.0;
}

int drwSetZoomLevel(HDRAWING h, double zoom) {
    if (!live(h) || !(zoom > 0.0) || !std::isfinite(zoom)) return 0;
    tag_VIEW& v = h->View;
    const double hx = (v.WindowRight - v.WindowLeft) / 2.0;
    const double hy = (v.WindowBottom - v.WindowTop) / 2.0;
    const double a = 1.0 / (v.ZoomLevel * v.PPU), b = 1.0 / (zoom * v.PPU);
    v.ViewLeft += hx * a - hx * b;
    v.ViewBottom += hy * a - hy * b;
    v.ZoomLevel = zoom;
    return 1;
}

COLORREF drwColorOf(int aci) {
    aci = std::abs(aci);
    static const COLORREF kFirst[10] = {
        RGB(0, 0, 0),   RGB(255, 0, 0),   RGB(255, 255, 0), RGB(0, 255, 0),     RGB(0, 255, 255),
        RGB(0, 0, 255), RGB(255, 0, 255), RGB(0, 0, 0),     RGB(128, 128, 128), RGB(192, 192, 192)};
    if (aci < 10 || aci > 255) return aci < 10 ? kFirst[aci] : kFirst[0];
    if (aci >= 250) {
        const BYTE g = static_cast<BYTE>(51 + (aci - 250) * 40);
        return RGB(g, g, g);
    }
    // Hues every 15 degrees; within each ten, five shades, full and half saturated.
    const double hue = ((aci / 10) - 1) * 15.0;
    const int shade = (aci % 10) / 2;
    const bool half = aci % 2 == 1;
    const double value = (shade == 0   ? 1.0
                          : shade == 1 ? 0.8
                          : shade == 2 ? 0.6
                          : shade == 3 ? 0.5
                                       : 0.3);
    const double saturation = half ? 0.5 : 1.0;
    const double c = value * saturation, hp = hue / 60.0;
    const double x = c * (1 - std::fabs(std::fmod(hp, 2.0) - 1));
    double r = 0, g = 0, b = 0;
    if (hp < 1)
        r = c, g = x;
    else if (hp < 2)
        r = x, g = c;
    else if (hp < 3)
        g = c, b = x;
    else if (hp < 4)
        g = x, b = c;
    else if (hp < 5)
        r = x, b = c;
    else
        r = c, b = x;
    const double m = value - c;
    auto byte = [&](double v) { return static_cast<BYTE>(std::lround((v + m) * 255.0)); };
    return RGB(byte(r), byte(g), byte(b));
}

namespace {

// A transform from a block's drawing units to the drawing's, then to the device.
struct Placement {
    double ox = 0, oy = 0, xs = 1, ys = 1, c = 1, s = 0;
    double apply_x(double x, double y) const { return ox + c * xs * x - s * ys * y; }
    double apply_y(double x, double y) const { return oy + s * xs * x + c * ys * y; }
};

// Inserted blocks may nest (up to 8 deep, never through a block already being painted) and
// may be inserted many times; the budget bounds the work a drawing can ask of one paint.
constexpr long kPaintBudget = 1000000;

struct Painter {
    tag_DRAWING* d;
    HDC dc;
    IZEVPainter& out;
    double k;  // device units per drawing unit
    mutable long budget = kPaintBudget;
    mutable std::vector<DWORD> open;  // the blocks being painted, outermost first

    ZEVPaintPoint device(const Placement& p, double x, double y) const {
        const tag_VIEW& v = d->View;
        const double wx = p.apply_x(x, y), wy = p.apply_y(x, y);
        return {v.WindowLeft + (wx - v.ViewLeft) * k, v.WindowBottom - (wy - v.ViewBottom) * k};
    }

    COLORREF colorOf(const tag_ENTITYHEADER& h) const {
        int aci = h.Color;
        // Model space has no block to take a colour from: by block paints as by layer.
        if (aci == 256 || aci == 0)
            for (DWORD i = 0; i < d->LayerCount; ++i)
                if (d->Layers[i].Objhandle == h.LayerObjhandle) aci = d->Layers[i].Color;
        return drwColorOf(aci == 256 ? 7 : aci);
    }

    void arc(const Placement& p, double cx, double cy, double r, double a0, double a1,
             COLORREF color) const {
        const ZEVPaintPoint c = device(p, cx, cy);
        const double scale = std::sqrt(std::fabs(p.xs * p.ys));
        const double turn = std::atan2(p.s, p.c);
        out.Arc(dc, c.x, c.y, r * k * scale, a0 + turn, a1 + turn, color);
    }

    // Straight runs as polylines, bulged sides as arcs.
    void polyline(const Placement& p, const tag_ENTPOLYLINE& pl, COLORREF color) const {
        const DWORD n = pl.nVertex;
        const bool closed = (pl.Flag & 1) != 0;
        auto bulged = [&](DWORD i) {
            const double b = pl.pVertex[i].Bulge;
            return b != 0.0 && std::isfinite(b) && (closed || i + 1 < n);
        };
        bool any = false;
        for (DWORD i = 0; i < n && !any; ++i) any = bulged(i);
        std::vector<ZEVPaintPoint> pts;
        if (!any) {
            for (DWORD i = 0; i < n; ++i)
                pts.push_back(device(p, pl.pVertex[i].Point.x, pl.pVertex[i].Point.y));
            out.Polyline(dc, pts.data(), static_cast<int>(pts.size()), closed, color);
            return;
        }
        auto flush = [&] {
            if (pts.size() > 1)
                out.Polyline(dc, pts.data(), static_cast<int>(pts.size()), false, color);
            pts.clear();
        };
        const DWORD sides = closed ? n : (n ? n - 1 : 0);
        for (DWORD i = 0; i < sides; ++i) {
            const tag_REALPOINT& a = pl.pVertex[i].Point;
            const tag_REALPOINT& b = pl.pVertex[(i + 1) % n].Point;
            if (!bulged(i)) {
                if (pts.empty()) pts.push_back(device(p, a.x, a.y));
                pts.push_back(device(p, b.x, b.y));
                continue;
            }
            flush();
            // The bulge is the tangent of a quarter of the arc's turn, counter-clockwise when
            // positive; the centre lies off the chord's middle.
            const double theta = 4.0 * std::atan(pl.pVertex[i].Bulge);
            const double chord = std::hypot(b.x - a.x, b.y - a.y);
            if (!(chord > 0.0)) continue;
            const double offset = chord / (2.0 * std::tan(theta / 2.0));
            const double cx = (a.x + b.x) / 2 - (b.y - a.y) / chord * offset;
            const double cy = (a.y + b.y) / 2 + (b.x - a.x) / chord * offset;
            const double r = std::hypot(a.x - cx, a.y - cy);
            const double from = std::atan2(a.y - cy, a.x - cx);
            const double to = std::atan2(b.y - cy, b.x - cx);
            if (theta > 0)
                arc(p, cx, cy, r, from, to, color);
            else
                arc(p, cx, cy, r, to, from, color);
        }
        flush();
    }

    void entity(const Placement& p, const tag_ENTITYHEADER& h, const DRWENTITYDATA& e,
                int depth) const {
        const COLORREF color = colorOf(h);
        switch (h.EntityType) {
            case ENT_LINE: {
                ZEVPaintPoint a = device(p, e.Line.Point0.x, e.Line.Point0.y);
                ZEVPaintPoint b = device(p, e.Line.Point1.x, e.Line.Point1.y);
                out.Line(dc, a.x, a.y, b.x, b.y, color);
                break;
            }
            case ENT_POINT: {
                ZEVPaintPoint a = device(p, e.Point.Point0.x, e.Point.Point0.y);
                out.Line(dc, a.x - 1, a.y, a.x + 1, a.y, color);
                out.Line(dc, a.x, a.y - 1, a.x, a.y + 1, color);
                break;
            }
            case ENT_CIRCLE:
                arc(p, e.Circle.Point0.x, e.Circle.Point0.y, e.Circle.Radius, 0.0, 2 * kPi, color);
                break;
            case ENT_ARC:
                arc(p, e.Arc.Point0.x, e.Arc.Point0.y, e.Arc.Radius, e.Arc.StartAngle * kPi / 180,
                    e.Arc.EndAngle * kPi / 180, color);
                break;
            case ENT_ELLIPSE: {
                const tag_ENTELLIPSE& el = e.Ellipse;
                double t0 = el.StartParam, t1 = el.EndParam;
                if (!(t1 > t0)) t1 += 2 * kPi;
                if (!std::isfinite(t0) || !std::isfinite(t1) || t1 - t0 > 2 * kPi + 1e-9)
                    t0 = 0, t1 = 2 * kPi;
                const double mx = el.MajorAxisEndPoint.x, my = el.MajorAxisEndPoint.y;
                const double ratio = el.MinorToMajorRatio;
                ZEVPaintPoint pts[65];
                for (int i = 0; i <= 64; ++i) {
                    const double t = t0 + (t1 - t0) * i / 64;
                    const double x = el.CenterPoint.x + mx * std::cos(t) - ratio * my * std::sin(t);
                    const double y = el.CenterPoint.y + my * std::cos(t) + ratio * mx * std::sin(t);
                    pts[i] = device(p, x, y);
                }
                out.Polyline(dc, pts, 65, false, color);
                break;
            }
            case ENT_TEXT:
            case ENT_DIMENSION: {
                const bool text = h.EntityType == ENT_TEXT;
                const tag_REALPOINT at =
                    text ? (e.Text.Justification ? e.Text.SecondAlignmentPoint : e.Text.Point0)
                         : e.Dimension.DimLinePoint;
                const double height = text ? e.Text.Height : 1.0;
                const double angle =
                    (text ? e.Text.RotationAngle : e.Dimension.DimLineAngle) * kPi / 180;
                const ZEVPaintPoint a = device(p, at.x, at.y);
                out.Text(dc, a.x, a.y, height * k * std::fabs(p.ys), angle + std::atan2(p.s, p.c),
                         text ? e.Text.strText : e.Dimension.strText, color);
                break;
            }
            case ENT_SOLID:
            case ENT_FACE3D: {
                const tag_ENTSOLID& s = e.Solid;
                // A solid's third and fourth corners run across, a face's round.
                const tag_REALPOINT* order[4] = {&s.Point0, &s.Point1,
                                                 h.EntityType == ENT_SOLID ? &s.Point3 : &s.Point2,
                                                 h.EntityType == ENT_SOLID ? &s.Point2 : &s.Point3};
                ZEVPaintPoint pts[4];
                for (int i = 0; i < 4; ++i) pts[i] = device(p, order[i]->x, order[i]->y);
                out.Polyline(dc, pts, 4, true, color);
                break;
            }
            case ENT_POLYLINE:
                polyline(p, e.PolyLine, color);
                break;
            case ENT_INSERT: {
                const tag_ENTINSERT& in = e.Insert;
                const tag_BLOCKHEADER* b = blockByHandle(d, in.BlockHeaderObjhandle);
                if (!b || depth >= 8 ||
                    std::find(open.begin(), open.end(), b->Objhandle) != open.end())
                    break;
                Placement inner;
                const double r = in.RotationAngle * kPi / 180;
                inner.xs = in.XScale != 0.0 ? in.XScale : 1.0;
                inner.ys = in.YScale != 0.0 ? in.YScale : 1.0;
                inner.c = std::cos(r), inner.s = std::sin(r);
                inner.ox = in.Point0.x - (inner.c * inner.xs * b->BasePoint.x -
                                          inner.s * inner.ys * b->BasePoint.y);
                inner.oy = in.Point0.y - (inner.s * inner.xs * b->BasePoint.x +
                                          inner.c * inner.ys * b->BasePoint.y);
                // Compose: the block's placement inside the outer one.
                Placement both;
                both.c = p.c * inner.c - p.s * inner.s;
                both.s = p.s * inner.c + p.c * inner.s;
                both.xs = p.xs * inner.xs, both.ys = p.ys * inner.ys;
                both.ox = p.apply_x(inner.ox, inner.oy);
                both.oy = p.apply_y(inner.ox, inner.oy);
                open.push_back(b->Objhandle);
                list(both, b->Entities, depth + 1);
                open.pop_back();
                break;
            }
            default:
                break;
        }
    }

    void list(const Placement& p, const ENTITIES_DATA& l, int depth) const {
        for (DWORD pos = 0; l.hMemory && pos < l.FreePos && budget > 0; --budget) {
            tag_ENTITYHEADER h;
            DRWENTITYDATA e;
            readRecord(d, l, pos, h, &e);
            entity(p, h, e, depth);
            pos = h.NextEntityPos;
        }
    }
};

}  // namespace

int drwPaint(HDRAWING h, HDC dc) {
    if (!live(h)) return 0;
    const tag_VIEW& v = h->View;
    IZEVPainter& out = ZEVPainter();
    out.FillRect(dc, v.WindowLeft, v.WindowTop, v.WindowRight, v.WindowBottom, RGB(255, 255, 255));
    out.SetClip(dc, v.WindowLeft, v.WindowTop, v.WindowRight, v.WindowBottom);
    Painter painter{h, dc, out, v.ZoomLevel * v.PPU, kPaintBudget, {}};
    painter.list(Placement{}, h->Entities, 0);
    out.SetClip(dc, 0, 0, 0, 0);
    return 1;
}
