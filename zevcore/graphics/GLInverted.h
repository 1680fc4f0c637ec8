#pragma once

// Rubber bands: figures drawn over the picture in XOR, so that drawing one twice gives the
// picture back with no redraw of the scene. The caller pairs the calls so that each figure is
// drawn an even number of times in the end.

#include <vector>

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"
#include "zevcore/platform/gl/GLPlatform.h"

class ZEVCORE_API CGLInvertedLine {
public:
    /// Stores the ends and draws the line.
    void StartLine(HWND window, CDC* dc, const CPoint& a, const CPoint& b, double pointSize);
    /// Stores the new ends and draws once more; the caller undraws the old line first.
    void MoveLineTo(HWND window, CDC* dc, const CPoint& a, const CPoint& b, double pointSize);
    /// Draws the stored line once.
    void EndLine(HWND window, CDC* dc, double pointSize);
    bool isDrawn() const { return m_bDrawn; }

    LONG m_x1 = 0, m_y1 = 0, m_x2 = 0, m_y2 = 0;
    bool m_bDrawn = false;

private:
    void invert(HWND window, CDC* dc, double pointSize);
};

class ZEVCORE_API CGLInvertedPolygon {
public:
    /// Stores the points and draws the outline (or the filled polygon) once.
    void Draw(HWND window, CDC* dc, const std::vector<CPoint>& points, double pointSize);
    bool isDrawn() const { return m_bDrawn; }

    bool m_bDrawn = false;
    bool m_bFilled = false;
    std::vector<CPoint> m_points;

private:
    void toggle(HWND window, CDC* dc, double pointSize);
};
