#pragma once

// The symbols of structural drawing: axes, arrows, moment and span arrows, circles, plates
// and boxes, sized in proportion to one `size` argument.
//
// Each draws at the origin of the current modelview matrix, mostly in the x-y plane, and
// leaves the matrix as it found it; the application places a symbol with its own matrix calls.
// Each uses the current colour unless said otherwise. A function that takes a line width
// restores the width it found, unless said otherwise. An arrow's tip is at the origin and its
// tail along negative x; its head is 0.2 `size` long and 0.15 `size` to each side.

#include "zevcore/Export.h"
#include "zevcore/geometry/AABB.h"
#include "zevcore/geometry/OrientedBox.h"
#include "zevcore/geometry/Point3D.h"
#include "zevcore/graphics/GLText.h"
#include "zevcore/platform/framework/String.h"
#include "zevcore/platform/gl/GLPlatform.h"

/// Axis lines 2.25 `size` long, x, y and (with `threeD`) z; coloured red, green, blue or
/// black; with `labels`, X, Y, Z in strokes facing the viewer (line smoothing and width 2 are
/// left on).
ZEVCORE_API void DrawOriginArrows(float size, bool labels, bool threeD, bool coloured);
/// The same for a member's local axes: 1.7 `size` long, small letters.
ZEVCORE_API void DrawLocalAxesArrows(float size, bool labels, bool threeD, bool coloured);
/// A cube from the origin to (`size`, `size`, `size`), each face in a colour of its axis.
ZEVCORE_API void DrawOriginBox(float size);
/// A box of sizes x by y, from z 0 to `z` or centred on the origin; a size of zero within
/// TOLERANCE becomes 0.1 (0.2 across, as half-sizes become 0.1).
ZEVCORE_API void DrawBox(float x, float y, float z, bool centred);
ZEVCORE_API void DrawBox(const CAABB& box);
/// Five faces of the turned box; the face at its -z side is left open.
ZEVCORE_API void DrawBox(const COrientedBox& box);
ZEVCORE_API void DrawElongatedDiamond(float x, float y, float z, bool centred);
/// Apex at the origin, square base of side `size` at y = -`height`.
ZEVCORE_API void DrawPyramid(float size, float height, bool unused);
/// A plate of the given thickness about the triangle (one face when thin).
ZEVCORE_API void DrawTriPlate(const CPoint3D& a, const CPoint3D& b, const CPoint3D& c,
                              double thickness);
ZEVCORE_API void DrawQuadPlate(const CPoint3D& a, const CPoint3D& b, const CPoint3D& c,
                               const CPoint3D& d, double thickness);
/// Three corners and three texture points.
ZEVCORE_API void DrawTexturedTriPlate(const CPoint3D* corners, const CPoint3D* texture,
                                      double thickness);
/// Four corners and four texture points.
ZEVCORE_API void DrawTexturedQuadPlate(const CPoint3D* corners, const CPoint3D* texture,
                                       double thickness);
/// 12 segments; a negative radius mirrors the drawing in x.
ZEVCORE_API void DrawCircle(float radius, float width);
ZEVCORE_API void DrawSolidCircle(float radius, float width);
ZEVCORE_API void DrawLineArrow(float size, float width, bool shaft, bool solidHead);
/// Leaves the line width at `width`.
ZEVCORE_API void DrawSolidArrow(float size, float width);
/// An arrow of whole pixels for the 2D overlay, tip at (x, y).
ZEVCORE_API void Draw2DLineArrow(float x, float y, float size, float width);
/// An arrow from `from` to `to` (the tip), with a head `size` long.
ZEVCORE_API void DrawLineArrow(CPoint3D from, CPoint3D to, float size, float width);
/// A line from `from` to `to` with a head at both ends.
ZEVCORE_API void DrawLineSpanArrow(CPoint3D from, CPoint3D to, float size, float width);
/// The arrow, then, given `dc` and `text`, the label along the arrow's on-screen direction.
ZEVCORE_API void DrawLineArrow(float size, float width, CDC* dc, CGLText* text, CString label,
                               int textSize, unsigned long colour);
ZEVCORE_API void DrawSolidMomentArrow(float size, float width, CDC* dc, CGLText* text,
                                      CString label, int textSize, unsigned long colour);
/// An arc of radius 0.7 `size` with a head; a negative size mirrors it.
ZEVCORE_API void DrawLineMomentArrow(float size, float width, bool solidHead);
ZEVCORE_API void DrawSolidMomentArrow(float size, float width);
/// A flat double-headed arrow, tessellated; `filled` or its outline only.
ZEVCORE_API void DrawSpanArrow(float size, bool filled);
ZEVCORE_API void DrawTwoWaySpanArrow(float size, bool filled);
/// A zigzag from (-`size`, 0, 0) to the origin in 3 to 10 steps.
ZEVCORE_API void DrawWiggleLine(float size, float width, int waves);
ZEVCORE_API void DrawHelix(float length, int turns, float radius);
ZEVCORE_API void DrawSpiral(int turns, float radius);
