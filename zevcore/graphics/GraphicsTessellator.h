#pragma once

// A polygon tessellator over GLU's that both draws and records: the triangles GLU makes go
// to OpenGL as they come, and are kept as triples of corners for the caller.
//
// The tessellators share one set of working vectors, so they tessellate one polygon at a
// time, on the thread of the current OpenGL context.

#include <vector>

#include "zevcore/Export.h"
#include "zevcore/geometry/Point3D.h"

struct GLUtesselator;

class ZEVCORE_API CGraphicsTessellator {
public:
    CGraphicsTessellator();
    ~CGraphicsTessellator();
    CGraphicsTessellator(const CGraphicsTessellator&) = delete;
    CGraphicsTessellator& operator=(const CGraphicsTessellator&) = delete;

    /// Begins a polygon and its first contour.
    void StartDef();
    /// Adds a corner; GLU keeps the pointer, so it must live until `EndDef`.
    void AddVertex(double* xyz);
    void AddVertexArray(double (*xyz)[3], int n);
    /// Ends a contour and begins the next: how a hole is added.
    void ContourSeparator();
    /// Ends the polygon, which draws it, and collects the triangles into `GetTriangles`.
    void EndDef();
    /// Filled triangles, or with `filled` 0 only the boundary as line loops.
    void SetFilling(int filled);
    /// Always 0, whatever the filling: it hands GLU the boundary value -1.0 and answers
    /// nothing it read. The filling in force stays.
    int GetFilling();
    /// GLU_TESS_WINDING_ODD and its kin.
    void SetWindingRule(double rule);
    /// Always -1.0, after asking GLU for that invalid rule in the same way.
    double GetWindingRule();

    /// The corners of the last polygon's triangles, three a triangle (for boundary loops,
    /// each loop's corners in order).
    const std::vector<CPoint3D>& GetTriangles() const { return m_triangles; }

private:
    GLUtesselator* m_tess = nullptr;
    std::vector<CPoint3D> m_triangles;
};

namespace zevgraphics {

/// The triangles of one primitive as the tessellator hands it over: corners copied for
/// GL_LINE_LOOP and GL_TRIANGLES, strips and fans unfolded into triangles of the same
/// winding. Appends to `out`.
ZEVCORE_API void AppendPrimitiveTriangles(unsigned type, const std::vector<CPoint3D>& corners,
                                          std::vector<CPoint3D>& out);

/// Shows a GLU error of a tessellator or quadric as the message "Tessellation/Quadric Error:".
ZEVCORE_API void ReportGLUError(unsigned error);

}  // namespace zevgraphics
