// The tessellator, display lists, faces, tessellated polygons and rubber bands.

#include <GL/gl.h>

#include <GL/glu.h>
#include <cfloat>

#include <cstdio>
#include <cstring>

#include "zevcore/graphics/GLFace.h"
#include "zevcore/graphics/GLInverted.h"
#include "zevcore/graphics/GLState.h"
#include "zevcore/graphics/GLTessellatedPolygon.h"
#include "zevcore/graphics/GraphicsDisplayList.h"
#include "zevcore/graphics/GraphicsTessellator.h"
#include "zevcore/platform/services/Host.h"

namespace {

// A double as a float; one beyond the float range is clamped to it, as a plain conversion of
// such a value is undefined.
inline GLfloat narrow(double v) {
    if (v > FLT_MAX) return FLT_MAX;
    if (v < -FLT_MAX) return -FLT_MAX;
    return static_cast<GLfloat>(v);
}

// What GLU hands over while one polygon is tessellated; shared by every tessellator.
struct CombinedVertex {
    GLdouble xyz[3];
    CombinedVertex* next;
};
GLenum gPrimitiveType = 0;
std::vector<CPoint3D> gPrimitive;
std::vector<CPoint3D> gTriangles;
CombinedVertex* gCombined = nullptr;

void tessBegin(GLenum type) {
    gPrimitive.clear();
    gPrimitiveType = type;
    glBegin(type);
}

void tessVertex(void* data) {
    const auto* xyz = static_cast<const GLdouble*>(data);
    glVertex3dv(xyz);
    gPrimitive.emplace_back(xyz[0], xyz[1], xyz[2]);
}

void tessEnd() {
    glEnd();
    zevgraphics::AppendPrimitiveTriangles(gPrimitiveType, gPrimitive, gTriangles);
}

void tessCombine(GLdouble coords[3], void* [4], GLfloat[4], void** out) {
    auto* v = new CombinedVertex{{coords[0], coords[1], coords[2]}, gCombined};
    gCombined = v;
    *out = v->xyz;
}

void tessError(GLenum error) {
    zevgraphics::ReportGLUError(error);
}

using Callback = void (*)();

}  // namespace

void zevgraphics::ReportGLUError(unsigned error) {
    char text[200];
    const GLubyte* what = gluErrorString(error);
    std::snprintf(text, sizeof text, "Tessellation/Quadric Error: %s\n",
                  what ? reinterpret_cast<const char*>(what) : "");
    ZEVDialogs().MessageBox(nullptr, text, "Error", MB_OK);
}

void zevgraphics::AppendPrimitiveTriangles(unsigned type, const std::vector<CPoint3D>& v,
                                           std::vector<CPoint3D>& out) {
    const size_t n = v.size();
    switch (type) {
        case GL_LINE_LOOP:
        case GL_TRIANGLES:
            out.insert(out.end(), v.begin(), v.end());
            break;
        case GL_TRIANGLE_STRIP:
            for (size_t i = 0; i + 2 < n; ++i) {
                // Every other triangle of a strip turns the other way; swapping its first two
                // corners keeps all of one winding.
                if (i % 2 == 0)
                    out.insert(out.end(), {v[i], v[i + 1], v[i + 2]});
                else
                    out.insert(out.end(), {v[i + 1], v[i], v[i + 2]});
            }
            break;
        case GL_TRIANGLE_FAN:
            for (size_t i = 1; i + 1 < n; ++i) out.insert(out.end(), {v[0], v[i], v[i + 1]});
            break;
        default:
            break;
    }
}

CGraphicsTessellator::CGraphicsTessellator() : m_tess(gluNewTess()) {
    if (!m_tess) return;
    gluTessCallback(m_tess, GLU_TESS_BEGIN, reinterpret_cast<Callback>(tessBegin));
    gluTessCallback(m_tess, GLU_TESS_VERTEX, reinterpret_cast<Callback>(tessVertex));
    gluTessCallback(m_tess, GLU_TESS_END, reinterpret_cast<Callback>(tessEnd));
    gluTessCallback(m_tess, GLU_TESS_COMBINE, reinterpret_cast<Callback>(tessCombine));
    gluTessCallback(m_tess, GLU_TESS_ERROR, reinterpret_cast<Callback>(tessError));
}

CGraphicsTessellator::~CGraphicsTessellator() {
    if (m_tess) gluDeleteTess(m_tess);
}

void CGraphicsTessellator::StartDef() {
    if (!m_tess) return;
    gluTessBeginPolygon(m_tess, nullptr);
    gluTessBeginContour(m_tess);
}

void CGraphicsTessellator::AddVertex(double* xyz) {
    if (m_tess && xyz) gluTessVertex(m_tess, xyz, xyz);
}

void CGraphicsTessellator::AddVertexArray(double (*xyz)[3], int n) {
    for (int i = 0; i < n; ++i) AddVertex(xyz[i]);
}

void CGraphicsTessellator::ContourSeparator() {
    if (!m_tess) return;
    gluTessEndContour(m_tess);
    gluTessBeginContour(m_tess);
}

void CGraphicsTessellator::EndDef() {
    if (m_tess) {
        gluTessEndContour(m_tess);
        gluTessEndPolygon(m_tess);
    }
    while (gCombined) {
        CombinedVertex* next = gCombined->next;
        delete gCombined;
        gCombined = next;
    }
    m_triangles = gTriangles;
    gTriangles.clear();
    gPrimitive.clear();
}

void CGraphicsTessellator::SetFilling(int filled) {
    if (m_tess) gluTessProperty(m_tess, GLU_TESS_BOUNDARY_ONLY, filled ? 0.0 : 1.0);
}

int CGraphicsTessellator::GetFilling() {
    // GLU takes any non-zero boundary value as "on" instead of refusing -1.0, so the value
    // in force is put back: asking must not turn a filled polygon into its outline.
    if (m_tess) {
        GLdouble boundaryOnly = 0.0;
        gluGetTessProperty(m_tess, GLU_TESS_BOUNDARY_ONLY, &boundaryOnly);
        gluTessProperty(m_tess, GLU_TESS_BOUNDARY_ONLY, -1.0);
        gluTessProperty(m_tess, GLU_TESS_BOUNDARY_ONLY, boundaryOnly);
    }
    return 0;
}

void CGraphicsTessellator::SetWindingRule(double rule) {
    if (m_tess) gluTessProperty(m_tess, GLU_TESS_WINDING_RULE, rule);
}

double CGraphicsTessellator::GetWindingRule() {
    if (m_tess) gluTessProperty(m_tess, GLU_TESS_WINDING_RULE, -1.0);
    return -1.0;
}

CGraphicsDisplayList::~CGraphicsDisplayList() {
    if (m_listID) glDeleteLists(m_listID, 1);
}

void CGraphicsDisplayList::StartDef() {
    GLint compiling = 0;
    glGetIntegerv(GL_LIST_INDEX, &compiling);
    if (compiling != 0) return;
    if (m_listID == 0) m_listID = glGenLists(1);
    if (m_listID) glNewList(m_listID, GL_COMPILE);
}

void CGraphicsDisplayList::EndDef() {
    GLint compiling = 0;
    glGetIntegerv(GL_LIST_INDEX, &compiling);
    if (m_listID != 0 && static_cast<unsigned>(compiling) == m_listID) glEndList();
}

void CGraphicsDisplayList::Execute() {
    if (m_listID == 0) return;
    if (m_bSaveState) {
        glPushMatrix();
        glPushAttrib(0xFFFFF);
        glCallList(m_listID);
        glPopMatrix();
        glPopAttrib();
    } else {
        glCallList(m_listID);
    }
}

CGLFace::CGLFace(const CPoint3D& a, const CPoint3D& b, const CPoint3D& c)
    : m_corners{a, b, c, c}, m_bTriangle(true) {}

CGLFace::CGLFace(const CPoint3D& a, const CPoint3D& b, const CPoint3D& c, const CPoint3D& d)
    : m_corners{a, b, c, d} {}

void CGLFace::addTextureCoords(const CPoint3D& a, const CPoint3D& b, const CPoint3D& c) {
    m_texture[0] = a, m_texture[1] = b, m_texture[2] = c, m_texture[3] = c;
    m_bTextured = true;
}

void CGLFace::addTextureCoords(const CPoint3D& a, const CPoint3D& b, const CPoint3D& c,
                               const CPoint3D& d) {
    m_texture[0] = a, m_texture[1] = b, m_texture[2] = c, m_texture[3] = d;
    m_bTextured = true;
}

void CGLFace::Draw() const {
    glNormal3f(narrow(m_normal.x), narrow(m_normal.y), narrow(m_normal.z));
    const int corners = m_bTriangle ? 3 : 4;
    for (int i = 0; i < corners; ++i) {
        if (m_bTextured) glTexCoord2f(narrow(m_texture[i].x), narrow(m_texture[i].y));
        glVertex3f(narrow(m_corners[i].x), narrow(m_corners[i].y), narrow(m_corners[i].z));
    }
}

CGLTessellatedPolygon::CGLTessellatedPolygon(const CTArray<CPoint3D>& outline)
    : m_outline(outline) {}

void CGLTessellatedPolygon::addHole(const CTArray<CPoint3D>& hole) {
    m_holes.push_back(hole);
}

void CGLTessellatedPolygon::SetFilling(int filled) {
    m_bFilled = filled;
    m_tessellator.SetFilling(filled);
}

void CGLTessellatedPolygon::Draw() {
    if (m_bGenerated) {
        // GetFilling answers 0, so the outline pass of a generated polygon never runs.
        if (m_tessellator.GetFilling() == 1 && m_outlineFloats) {
            glBegin(GL_LINE_LOOP);
            for (int i = 0; i < m_outline.getCount(); ++i) glVertex3fv(&m_outlineFloats[3 * i]);
            glEnd();
        }
        return;
    }
    generateVertices();
    loadVertexArrays();
    m_bGenerated = true;
}

void CGLTessellatedPolygon::generateVertices() {
    // GLU keeps pointers to the corners until the polygon ends, so they live in one block
    // for the whole tessellation.
    size_t corners = static_cast<size_t>(m_outline.getCount());
    for (const CTArray<CPoint3D>& hole : m_holes) corners += static_cast<size_t>(hole.getCount());
    std::vector<GLdouble> flat(3 * corners);
    size_t at = 0;
    auto add = [&](const CTArray<CPoint3D>& loop) {
        for (int i = loop.getLower(); i <= loop.getLast(); ++i) {
            GLdouble* p = &flat[3 * at++];
            p[0] = loop[i].x, p[1] = loop[i].y, p[2] = loop[i].z;
            m_tessellator.AddVertex(p);
        }
    };
    m_tessellator.SetWindingRule(GLU_TESS_WINDING_ODD);
    m_tessellator.StartDef();
    add(m_outline);
    for (const CTArray<CPoint3D>& hole : m_holes) {
        m_tessellator.ContourSeparator();
        add(hole);
    }
    m_tessellator.EndDef();
    m_triangles.clear();
    for (const CPoint3D& p : m_tessellator.GetTriangles()) m_triangles.add(p);

    m_outlineFloats = std::make_unique<float[]>(3 * static_cast<size_t>(m_outline.getCount()) + 1);
    for (int i = 0; i < m_outline.getCount(); ++i) {
        const CPoint3D& p = m_outline[m_outline.getLower() + i];
        float* f = &m_outlineFloats[3 * static_cast<size_t>(i)];
        f[0] = narrow(p.x), f[1] = narrow(p.y);
        f[2] = narrow(p.z);
    }
}

void CGLTessellatedPolygon::loadVertexArrays() {
    const size_t n = static_cast<size_t>(m_triangles.getCount());
    m_triangleFloats = std::make_unique<float[]>(3 * n + 1);
    for (size_t i = 0; i < n; ++i) {
        const CPoint3D& p = m_triangles[m_triangles.getLower() + static_cast<int>(i)];
        m_triangleFloats[3 * i] = narrow(p.x);
        m_triangleFloats[3 * i + 1] = narrow(p.y);
        m_triangleFloats[3 * i + 2] = narrow(p.z);
    }
}

namespace {

// One XOR pass over the window in its own pixels, y down as the window counts.
template <typename Draw>
void xorPass(CDC* dc, double pointSize, Draw draw) {
    int width = 0, height = 0;
    if (dc) ZEVGL().GetDCSize(dc->GetSafeHdc(), width, height);
    StartGL2DDrawing();
    glOrtho(0, width, height, 0, -1, 1);
    glDisable(GL_DEPTH_TEST);
    glColor3f(1.0f, 1.0f, 1.0f);
    glPointSize(narrow(pointSize));
    glLineWidth(1.0f);
    glEnable(GL_COLOR_LOGIC_OP);
    glLogicOp(GL_XOR);
    draw();
    glDisable(GL_COLOR_LOGIC_OP);
    glEnable(GL_DEPTH_TEST);
    EndGL2DDrawing();
    if (dc) ZEVGL().SwapBuffers(dc->GetSafeHdc());
}

GLshort toShort(LONG v) {
    return static_cast<GLshort>(v < -32768 ? -32768 : v > 32767 ? 32767 : v);
}

}  // namespace

void CGLInvertedLine::StartLine(HWND window, CDC* dc, const CPoint& a, const CPoint& b,
                                double pointSize) {
    m_x1 = a.x, m_y1 = a.y, m_x2 = b.x, m_y2 = b.y;
    invert(window, dc, pointSize);
}

void CGLInvertedLine::MoveLineTo(HWND window, CDC* dc, const CPoint& a, const CPoint& b,
                                 double pointSize) {
    StartLine(window, dc, a, b, pointSize);
}

void CGLInvertedLine::EndLine(HWND window, CDC* dc, double pointSize) {
    invert(window, dc, pointSize);
}

void CGLInvertedLine::invert(HWND, CDC* dc, double pointSize) {
    m_bDrawn = !m_bDrawn;
    xorPass(dc, pointSize, [this] {
        glBegin(GL_LINES);
        glVertex2s(toShort(m_x1), toShort(m_y1));
        glVertex2s(toShort(m_x2), toShort(m_y2));
        glEnd();
    });
}

void CGLInvertedPolygon::Draw(HWND window, CDC* dc, const std::vector<CPoint>& points,
                              double pointSize) {
    m_points = points;
    toggle(window, dc, pointSize);
}

void CGLInvertedPolygon::toggle(HWND, CDC* dc, double pointSize) {
    m_bDrawn = !m_bDrawn;
    xorPass(dc, pointSize, [this] {
        glBegin(m_bFilled ? GL_POLYGON : GL_LINE_LOOP);
        for (const CPoint& p : m_points) glVertex2s(toShort(p.x), toShort(p.y));
        glEnd();
    });
}
