#pragma once

// Two-dimensional painting into a window or an image, as the drawing database paints
// itself. The caller names the surface by an HDC, a token the installed painter knows (a
// Qt binding maps it to its QPainter, an OpenGL view to its context); the library never
// looks inside one. Coordinates are device units, x to the right and y downwards; angles
// are radians, counter-clockwise as seen on the surface.
//
// Headless, the default painter records every call (with a copy of its numbers and text), so
// that tests and batch programs can see what was painted. Call ClearCalls from time to time
// when painting often without a display.

#include <string>
#include <vector>

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"

using HDC = struct HDC__*;

struct ZEVPaintPoint {
    double x;
    double y;
};

class ZEVCORE_API IZEVPainter {
public:
    virtual ~IZEVPainter();
    /// Fills the rectangle (right and bottom excluded) with the colour.
    virtual void FillRect(HDC dc, int left, int top, int right, int bottom, COLORREF color) = 0;
    /// Restricts what follows to the rectangle; an empty one (right <= left) lifts the clip.
    virtual void SetClip(HDC dc, int left, int top, int right, int bottom) = 0;
    virtual void Line(HDC dc, double x1, double y1, double x2, double y2, COLORREF color) = 0;
    /// An outline through the points; `closed` joins the last to the first. Nothing is
    /// filled.
    virtual void Polyline(HDC dc, const ZEVPaintPoint* points, int count, bool closed,
                          COLORREF color) = 0;
    /// The arc of the circle from `start` counter-clockwise to `end`.
    virtual void Arc(HDC dc, double cx, double cy, double radius, double start, double end,
                     COLORREF color) = 0;
    /// A line of text with its baseline's left end at (x, y), `height` device units tall,
    /// its baseline turned by `angle`.
    virtual void Text(HDC dc, double x, double y, double height, double angle, const char* text,
                      COLORREF color) = 0;
};

/// The installed painter, or the headless recorder.
ZEVCORE_API IZEVPainter& ZEVPainter();
/// Installs a painter (null puts the recorder back); answers the one installed before.
ZEVCORE_API IZEVPainter* ZEVInstallPainter(IZEVPainter* painter);

/// One recorded call: its kind ("FillRect", "SetClip", "Line", "Polyline", "Arc", "Text"),
/// its numbers in the order of the call's arguments (a polyline's points as x, y pairs,
/// then 1 if closed), its colour and text.
struct ZEVPaintCall {
    std::string kind;
    HDC dc = nullptr;
    std::vector<double> values;
    COLORREF color = 0;
    std::string text;
};

/// The headless painter: records every call.
class ZEVCORE_API CZEVRecordingPainter : public IZEVPainter {
public:
    void FillRect(HDC dc, int left, int top, int right, int bottom, COLORREF color) override;
    void SetClip(HDC dc, int left, int top, int right, int bottom) override;
    void Line(HDC dc, double x1, double y1, double x2, double y2, COLORREF color) override;
    void Polyline(HDC dc, const ZEVPaintPoint* points, int count, bool closed,
                  COLORREF color) override;
    void Arc(HDC dc, double cx, double cy, double radius, double start, double end,
             COLORREF color) override;
    void Text(HDC dc, double x, double y, double height, double angle, const char* text,
              COLORREF color) override;

    const std::vector<ZEVPaintCall>& Calls() const { return m_calls; }
    void ClearCalls() { m_calls.clear(); }

private:
    void record(const char* kind, HDC dc, std::vector<double> values, COLORREF color,
                const char* text = nullptr);
    std::vector<ZEVPaintCall> m_calls;
};
