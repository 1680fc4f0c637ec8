#pragma once

// A flat outline with holes, tessellated and drawn by its first `Draw`; the triangles stay
// recorded. A second `Draw` draws nothing, so a symbol is a new polygon each time or the first
// Draw compiled into a display list.

#include <memory>
#include <vector>

#include "zevcore/Export.h"
#include "zevcore/frame/TArray.h"
#include "zevcore/geometry/Point3D.h"
#include "zevcore/graphics/GraphicsTessellator.h"

class ZEVCORE_API CGLTessellatedPolygon {
public:
    explicit CGLTessellatedPolygon(const CTArray<CPoint3D>& outline);
    CGLTessellatedPolygon(const CGLTessellatedPolygon&) = delete;
    CGLTessellatedPolygon& operator=(const CGLTessellatedPolygon&) = delete;

    void addHole(const CTArray<CPoint3D>& hole);
    void SetFilling(int filled);
    void Draw();

    /// The recorded triangles, three corners each, once drawn.
    const CTArray<CPoint3D>& triangleVertices() const { return m_triangles; }
    /// The same as three floats a corner, what a vertex array reads.
    const float* triangleFloats() const { return m_triangleFloats.get(); }
    bool isGenerated() const { return m_bGenerated; }

private:
    void generateVertices();
    void loadVertexArrays();

    bool m_bGenerated = false;
    CTArray<CPoint3D> m_outline;
    CTArray<CPoint3D> m_triangles;
    std::vector<CTArray<CPoint3D>> m_holes;
    int m_bFilled = 1;
    CGraphicsTessellator m_tessellator;
    std::unique_ptr<float[]> m_triangleFloats;
    std::unique_ptr<float[]> m_outlineFloats;
};
