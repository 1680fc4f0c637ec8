// Drawing of the grids' vertex buffer, kept apart from the lattice so that the grids build
// without OpenGL in mind.

#include <GL/gl.h>

#include "zevcore/graphics/GraphicGrid.h"

namespace {

void drawBuffer(const float* vertices, std::int32_t count, GLenum primitive) {
    if (!vertices) return;
    glEnableClientState(GL_VERTEX_ARRAY);
    glVertexPointer(3, GL_FLOAT, 0, vertices);
    glDrawArrays(primitive, 0, count);
    glDisableClientState(GL_VERTEX_ARRAY);
}

}  // namespace

void CGraphicGrid::DrawLines() const {
    drawBuffer(lineVertices.get(), lineVertexCount, GL_POINTS);
}

void CGraphicGrid::DrawPoints() const {
    drawBuffer(lineVertices.get(), lineVertexCount, GL_LINES);
}
