#include "zevcore/platform/services/Painter.h"

#include <utility>

IZEVPainter::~IZEVPainter() = default;

namespace {

IZEVPainter* gInstalled = nullptr;

CZEVRecordingPainter& recorder() {
    static CZEVRecordingPainter fallback;
    return fallback;
}

}  // namespace

IZEVPainter& ZEVPainter() {
    return gInstalled ? *gInstalled : recorder();
}

IZEVPainter* ZEVInstallPainter(IZEVPainter* painter) {
    IZEVPainter* previous = gInstalled;
    gInstalled = painter;
    return previous;
}

void CZEVRecordingPainter::record(const char* kind, HDC dc, std::vector<double> values,
                                  COLORREF color, const char* text) {
    m_calls.push_back({kind, dc, std::move(values), color, text ? text : ""});
}

void CZEVRecordingPainter::FillRect(HDC dc, int left, int top, int right, int bottom,
                                    COLORREF color) {
    record("FillRect", dc, {double(left), double(top), double(right), double(bottom)}, color);
}

void CZEVRecordingPainter::SetClip(HDC dc, int left, int top, int right, int bottom) {
    record("SetClip", dc, {double(left), double(top), double(right), double(bottom)}, 0);
}

void CZEVRecordingPainter::Line(HDC dc, double x1, double y1, double x2, double y2,
                                COLORREF color) {
    record("Line", dc, {x1, y1, x2, y2}, color);
}

void CZEVRecordingPainter::Polyline(HDC dc, const ZEVPaintPoint* points, int count, bool closed,
                                    COLORREF color) {
    std::vector<double> values;
    for (int i = 0; points && i < count; ++i) {
        values.push_back(points[i].x);
        values.push_back(points[i].y);
    }
    values.push_back(closed ? 1.0 : 0.0);
    record("Polyline", dc, std::move(values), color);
}

void CZEVRecordingPainter::Arc(HDC dc, double cx, double cy, double radius, double start,
                               double end, COLORREF color) {
    record("Arc", dc, {cx, cy, radius, start, end}, color);
}

void CZEVRecordingPainter::Text(HDC dc, double x, double y, double height, double angle,
                                const char* text, COLORREF color) {
    record("Text", dc, {x, y, height, angle}, color, text);
}
