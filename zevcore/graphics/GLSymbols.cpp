#include "zevcore/graphics/GLSymbols.h"

#include <GL/gl.h>

#include <cfloat>

#include <algorithm>
#include <cmath>

#include "zevcore/frame/Math.h"
#include "zevcore/frame/TArray.h"
#include "zevcore/geometry/Vector3D.h"
#include "zevcore/graphics/GLEnabledView.h"
#include "zevcore/graphics/GLFace.h"
#include "zevcore/graphics/GLState.h"
#include "zevcore/graphics/GLTessellatedPolygon.h"

CGLText::~CGLText() = default;

namespace {

// A double as a float; one beyond the float range is clamped to it, as a plain conversion of
// such a value is undefined.
inline GLfloat narrow(double v) {
    if (v > FLT_MAX) return FLT_MAX;
    if (v < -FLT_MAX) return -FLT_MAX;
    return static_cast<GLfloat>(v);
}

}  // namespace

namespace {

constexpr double kTwoPi = 2.0 * 3.14159265358979323846;
constexpr double kPi = 3.14159265358979323846;

// The width a symbol found, put back when it ends.
class SavedLineWidth {
public:
    SavedLineWidth() { glGetFloatv(GL_LINE_WIDTH, &m_width); }
    ~SavedLineWidth() { glLineWidth(m_width); }
    SavedLineWidth(const SavedLineWidth&) = delete;
    SavedLineWidth& operator=(const SavedLineWidth&) = delete;

private:
    GLfloat m_width = 1.0f;
};

void vertex(double x, double y, double z) {
    glVertex3d(x, y, z);
}

void vertex(const CPoint3D& p) {
    glVertex3d(p.x, p.y, p.z);
}

CVector3D faceNormal(const CPoint3D& a, const CPoint3D& b, const CPoint3D& c) {
    CVector3D n = CVector3D(a, b).cross(CVector3D(a, c));
    n.normalize(TOLERANCE);
    return n;
}

CGLFace face(const CPoint3D& a, const CPoint3D& b, const CPoint3D& c, const CPoint3D& d) {
    CGLFace f(a, b, c, d);
    f.m_normal = faceNormal(a, b, c);
    return f;
}

// The six faces of a solid whose lower four corners run counter-clockwise seen from above and
// whose upper four lie over them, as 24 vertices with their normals, drawn as quads.
void drawPrism(const CPoint3D c[8]) {
    static const int faces[6][4] = {{0, 3, 2, 1}, {4, 5, 6, 7}, {0, 1, 5, 4},
                                    {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}};
    GLfloat vertices[72], normals[72];
    for (int f = 0; f < 6; ++f) {
        const CVector3D n = faceNormal(c[faces[f][0]], c[faces[f][1]], c[faces[f][2]]);
        for (int k = 0; k < 4; ++k) {
            const CPoint3D& p = c[faces[f][k]];
            GLfloat* v = vertices + 12 * f + 3 * k;
            GLfloat* m = normals + 12 * f + 3 * k;
            v[0] = narrow(p.x), v[1] = narrow(p.y);
            v[2] = narrow(p.z);
            m[0] = narrow(n.x), m[1] = narrow(n.y);
            m[2] = narrow(n.z);
        }
    }
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_NORMAL_ARRAY);
    glVertexPointer(3, GL_FLOAT, 0, vertices);
    glNormalPointer(GL_FLOAT, 0, normals);
    glDrawArrays(GL_QUADS, 0, 24);
    glDisableClientState(GL_NORMAL_ARRAY);
    glDisableClientState(GL_VERTEX_ARRAY);
}

// The z range of a box or prism: from 0 to z, or centred on 0; a top of zero becomes 0.1.
void zRange(float z, bool centred, double& low, double& high) {
    high = centred ? z / 2.0 : z;
    if (zero(high, TOLERANCE)) high = 0.1;
    low = centred ? -high : 0.0;
}

// The plate of a flat polygon of 3 or 4 corners: one face when thin, else two faces half the
// thickness either side along the normal, with the edges closed.
void drawPlate(const CPoint3D* corners, const CPoint3D* texture, int n, double thickness) {
    const CVector3D normal = faceNormal(corners[0], corners[1], corners[2]);
    const GLenum faces = n == 3 ? GL_TRIANGLES : GL_QUADS;
    auto makeFace = [n](const CPoint3D* p) {
        return n == 3 ? CGLFace(p[0], p[1], p[2]) : CGLFace(p[0], p[1], p[2], p[3]);
    };
    auto addTexture = [n](CGLFace& f, const CPoint3D* t) {
        if (n == 3)
            f.addTextureCoords(t[0], t[1], t[2]);
        else
            f.addTextureCoords(t[0], t[1], t[2], t[3]);
    };
    if (zero(thickness, TOLERANCE)) {
        CGLFace f = makeFace(corners);
        if (!normal.is_zero(TOLERANCE)) f.m_normal = normal;
        if (texture) addTexture(f, texture);
        glBegin(faces);
        f.Draw();
        glEnd();
        return;
    }
    if (normal.is_zero(TOLERANCE)) return;
    const CVector3D half = CVector3D(normal).scale(thickness / 2.0);
    CPoint3D top[4], bottom[4], bottomReversed[4], textureReversed[4];
    for (int i = 0; i < n; ++i) {
        top[i] = corners[i] + half.asPoint3D();
        bottom[i] = corners[i] - half.asPoint3D();
    }
    for (int i = 0; i < n; ++i) {
        bottomReversed[i] = bottom[n - 1 - i];
        if (texture) textureReversed[i] = texture[n - 1 - i];
    }
    CGLFace upper = makeFace(top);
    upper.m_normal = normal;
    CGLFace lower = makeFace(bottomReversed);
    lower.m_normal = -normal;
    if (texture) {
        addTexture(upper, texture);
        addTexture(lower, textureReversed);
    }
    glBegin(faces);
    upper.Draw();
    lower.Draw();
    if (n == 3) {
        glEnd();
        glBegin(GL_QUADS);
    }
    for (int i = 0; i < n; ++i) {
        const int j = (i + 1) % n;
        CGLFace side(bottom[i], bottom[j], top[j], top[i]);
        side.m_normal = faceNormal(bottom[i], bottom[j], top[j]);
        if (texture) side.addTextureCoords(texture[i], texture[j], texture[j], texture[i]);
        side.Draw();
    }
    glEnd();
}

// The head of an arrow whose tip is at the origin and which points along +x.
void arrowHead(float size, bool solid) {
    const double back = -0.2 * size, side = 0.15 * size;
    if (solid) {
        glBegin(GL_TRIANGLES);
        glNormal3f(0.0f, 0.0f, 1.0f);
        vertex(0, 0, 0);
        vertex(back, -side, 0);
        vertex(back, side, 0);
        glEnd();
    } else {
        glBegin(GL_LINES);
        vertex(0, 0, 0);
        vertex(back, side, 0);
        vertex(0, 0, 0);
        vertex(back, -side, 0);
        glEnd();
    }
}

void strokes(std::initializer_list<double> xy) {
    glBegin(GL_LINES);
    for (auto it = xy.begin(); it != xy.end(); it += 2) glVertex3d(it[0], it[1], 0.0);
    glEnd();
}

enum class Letters { Capital, Small };

void drawAxes(float length, float letterAt, float t, Letters letters, bool labels, bool threeD,
              bool coloured) {
    GLfloat colour[4];
    glGetFloatv(GL_CURRENT_COLOR, colour);
    const GLfloat axisColours[3][3] = {{1.0f, 0.0f, 0.0f}, {0.0f, 0.9f, 0.0f}, {0.0f, 0.0f, 1.0f}};
    const GLfloat black[3] = {0.0f, 0.0f, 0.0f};
    const int axes = threeD ? 3 : 2;
    glLineWidth(1.0f);
    glBegin(GL_LINES);
    for (int a = 0; a < axes; ++a) {
        glColor3fv(coloured ? axisColours[a] : black);
        glVertex3f(0.0f, 0.0f, 0.0f);
        glVertex3f(a == 0 ? length : 0.0f, a == 1 ? length : 0.0f, a == 2 ? length : 0.0f);
    }
    glEnd();
    if (labels) {
        glEnable(GL_LINE_SMOOTH);
        glLineWidth(2.0f);
        const double h = t / 2.0;
        for (int a = 0; a < axes; ++a) {
            glColor3fv(coloured ? axisColours[a] : black);
            glPushMatrix();
            glTranslatef(a == 0 ? letterAt : 0.0f, a == 1 ? letterAt : 0.0f,
                         a == 2 ? letterAt : 0.0f);
            StartBillboardView();
            if (letters == Letters::Capital) {
                if (a == 0) strokes({0, t, t, -t, 0, -t, t, t});
                if (a == 1) strokes({-t, t, 0, 0, 0, 0, t, t, 0, 0, 0, -t});
                if (a == 2) strokes({-t, t, t, t, t, t, -t, -t, -t, -t, t, -t});
            } else {
                if (a == 0) strokes({0, 0, t, -t, 0, -t, t, 0});
                if (a == 1) strokes({0, 0, h, -h, t, 0, 0, -t});
                if (a == 2) strokes({0, 0, t, 0, t, 0, 0, -t, 0, -t, t, -t});
            }
            glPopMatrix();
        }
    }
    glColor4fv(colour);
}

// A frame whose x axis runs from `from` to `to` and whose origin is `to`; false when the two
// points coincide within TOLERANCE.
bool arrowFrame(const CPoint3D& from, const CPoint3D& to, double& length) {
    CVector3D d(from, to);
    length = d.length();
    if (zero(length, TOLERANCE)) return false;
    d.normalize(TOLERANCE);
    // The y axis is the reference unless the arrow runs along it; then x is, so that the
    // head of an arrow in the x-y plane lies in that plane either way.
    CVector3D reference(0.0, 1.0, 0.0);
    if (equal(std::fabs(d.dot(reference)), 1.0)) reference = CVector3D(1.0, 0.0, 0.0);
    CVector3D z = d.cross(reference);
    z.normalize(TOLERANCE);
    const CVector3D y = z.cross(d);
    const GLdouble m[16] = {d.x, d.y, d.z, 0, y.x,  y.y,  y.z,  0,
                            z.x, z.y, z.z, 0, to.x, to.y, to.z, 1};
    glPushMatrix();
    glMultMatrixd(m);
    return true;
}

// The on-screen angle, in degrees counter-clockwise, of the line from model point a to b.
double screenAngle(const CPoint3D& a, const CPoint3D& b) {
    CPoint pa, pb;
    if (!GetScreenPtFrom3DPoint(a, pa) || !GetScreenPtFrom3DPoint(b, pb)) return 0.0;
    return std::atan2(-static_cast<double>(pb.y - pa.y), static_cast<double>(pb.x - pa.x)) * 180.0 /
           kPi;
}

void label(CDC* dc, CGLText* text, const CString& words, int textSize, unsigned long colour,
           const CPoint3D& anchor, const CPoint3D& towards) {
    if (!dc || !text) return;
    CPoint at;
    if (!GetScreenPtFrom3DPoint(anchor, at)) return;
    const double angle = screenAngle(anchor, towards);
    text->SetHAlignment(1);
    text->DrawLabel(dc, at, angle, words, textSize, colour);
}

// Mirrors in x around a symbol of negative size.
class Mirror {
public:
    explicit Mirror(float size) : m_on(size < 0.0f) {
        if (m_on) {
            glPushMatrix();
            glScalef(-1.0f, 1.0f, 1.0f);
        }
    }
    ~Mirror() {
        if (m_on) glPopMatrix();
    }
    Mirror(const Mirror&) = delete;
    Mirror& operator=(const Mirror&) = delete;

private:
    bool m_on;
};

void momentArrow(float size, float width, int segments, bool solidHead) {
    Mirror mirror(size);
    SavedLineWidth saved;
    glLineWidth(width);
    const double r = 0.7 * std::fabs(size);
    glBegin(GL_LINES);
    for (int k = 0; k < segments; ++k) {
        vertex(r * std::cos(k * kPi / 7), r * std::sin(k * kPi / 7), 0);
        vertex(r * std::cos((k + 1) * kPi / 7), r * std::sin((k + 1) * kPi / 7), 0);
    }
    glEnd();
    // The head stands across the arc where it meets the x axis, pointing along -y.
    if (solidHead) {
        glBegin(GL_TRIANGLES);
        glNormal3f(0.0f, 0.0f, 1.0f);
        vertex(0.75 * r, 0, 0);
        vertex(r, -0.3 * r, 0);
        vertex(1.25 * r, 0, 0);
        glEnd();
    } else {
        glBegin(GL_LINES);
        vertex(r, -0.3 * r, 0);
        vertex(0.75 * r, 0, 0);
        vertex(r, -0.3 * r, 0);
        vertex(1.25 * r, 0, 0);
        glEnd();
    }
}

void tessellatedOutline(std::initializer_list<double> xy, bool filled) {
    CTArray<CPoint3D> outline;
    for (auto it = xy.begin(); it != xy.end(); it += 2) outline.add(CPoint3D(it[0], it[1], 0.0));
    CGLTessellatedPolygon polygon(outline);
    polygon.SetFilling(filled ? 1 : 0);
    polygon.Draw();
}

void lineStrip(const GLfloat* points, int count) {
    glEnableClientState(GL_VERTEX_ARRAY);
    glVertexPointer(3, GL_FLOAT, 0, points);
    glDrawArrays(GL_LINE_STRIP, 0, count);
    glDisableClientState(GL_VERTEX_ARRAY);
}

}  // namespace

void DrawOriginArrows(float size, bool labels, bool threeD, bool coloured) {
    const float length = size * 1.5f * 1.5f;
    drawAxes(length, 1.3f * length, 0.375f * size, Letters::Capital, labels, threeD, coloured);
}

void DrawLocalAxesArrows(float size, bool labels, bool threeD, bool coloured) {
    const float length = 1.7f * size;
    drawAxes(length, 1.2f * length, 0.7f * size, Letters::Small, labels, threeD, coloured);
}

void DrawOriginBox(float size) {
    const double s = size;
    const CPoint3D c[8] = {{0, 0, 0}, {s, 0, 0}, {s, s, 0}, {0, s, 0},
                           {0, 0, s}, {s, 0, s}, {s, s, s}, {0, s, s}};
    const GLfloat red[3] = {1.0f, 0.0f, 0.0f}, green[3] = {0.0f, 0.9f, 0.0f},
                  blue[3] = {0.0f, 0.0f, 1.0f};
    glBegin(GL_QUADS);
    glColor3fv(blue);
    face(c[0], c[3], c[2], c[1]).Draw();
    glColor3fv(blue);
    face(c[4], c[5], c[6], c[7]).Draw();
    glColor3fv(green);
    face(c[0], c[1], c[5], c[4]).Draw();
    glColor3fv(red);
    face(c[1], c[2], c[6], c[5]).Draw();
    glColor3fv(green);
    face(c[2], c[3], c[7], c[6]).Draw();
    glColor3fv(red);
    face(c[3], c[0], c[4], c[7]).Draw();
    glEnd();
}

void DrawBox(float x, float y, float z, bool centred) {
    double hx = x / 2.0, hy = y / 2.0, low = 0.0, high = 0.0;
    if (zero(hx, TOLERANCE)) hx = 0.1;
    if (zero(hy, TOLERANCE)) hy = 0.1;
    zRange(z, centred, low, high);
    const CPoint3D c[8] = {{-hx, -hy, low},  {hx, -hy, low},  {hx, hy, low},  {-hx, hy, low},
                           {-hx, -hy, high}, {hx, -hy, high}, {hx, hy, high}, {-hx, hy, high}};
    drawPrism(c);
}

void DrawBox(const CAABB& box) {
    DrawBox(narrow(box.extents.x), narrow(box.extents.y), narrow(box.extents.z), true);
}

void DrawBox(const COrientedBox& box) {
    const auto& c = box.corners;
    if (c.size() != 8) return;
    DrawQuadPlate(c[1], c[2], c[6], c[5], 0.0);
    DrawQuadPlate(c[3], c[0], c[4], c[7], 0.0);
    DrawQuadPlate(c[4], c[5], c[6], c[7], 0.0);
    DrawQuadPlate(c[2], c[1], c[0], c[3], 0.0);
    DrawQuadPlate(c[0], c[1], c[5], c[4], 0.0);
}

void DrawElongatedDiamond(float x, float y, float z, bool centred) {
    double low = 0.0, high = 0.0;
    zRange(z, centred, low, high);
    const double hx = x / 2.0, hy = y / 2.0;
    const CPoint3D c[8] = {{-hx, 0, low},  {0, -hy, low},  {hx, 0, low},  {0, hy, low},
                           {-hx, 0, high}, {0, -hy, high}, {hx, 0, high}, {0, hy, high}};
    drawPrism(c);
}

void DrawPyramid(float size, float height, bool) {
    const double a = size / 2.0, h = height;
    const CPoint3D apex(0, 0, 0);
    const CPoint3D b[4] = {{-a, -h, -a}, {a, -h, -a}, {a, -h, a}, {-a, -h, a}};
    glBegin(GL_TRIANGLES);
    for (int i = 0; i < 4; ++i) {
        CGLFace side(apex, b[(i + 1) % 4], b[i]);
        side.m_normal = faceNormal(apex, b[(i + 1) % 4], b[i]);
        side.Draw();
    }
    glEnd();
    glBegin(GL_QUADS);
    face(b[0], b[1], b[2], b[3]).Draw();
    glEnd();
}

void DrawTriPlate(const CPoint3D& a, const CPoint3D& b, const CPoint3D& c, double thickness) {
    const CPoint3D corners[3] = {a, b, c};
    drawPlate(corners, nullptr, 3, thickness);
}

void DrawQuadPlate(const CPoint3D& a, const CPoint3D& b, const CPoint3D& c, const CPoint3D& d,
                   double thickness) {
    const CPoint3D corners[4] = {a, b, c, d};
    drawPlate(corners, nullptr, 4, thickness);
}

void DrawTexturedTriPlate(const CPoint3D* corners, const CPoint3D* texture, double thickness) {
    if (corners) drawPlate(corners, texture, 3, thickness);
}

void DrawTexturedQuadPlate(const CPoint3D* corners, const CPoint3D* texture, double thickness) {
    if (corners) drawPlate(corners, texture, 4, thickness);
}

void DrawCircle(float radius, float width) {
    Mirror mirror(radius);
    SavedLineWidth saved;
    glLineWidth(width);
    const double r = std::fabs(radius);
    glBegin(GL_LINES);
    for (int k = 0; k < 12; ++k) {
        vertex(r * std::cos(k * kTwoPi / 12), r * std::sin(k * kTwoPi / 12), 0);
        vertex(r * std::cos((k + 1) * kTwoPi / 12), r * std::sin((k + 1) * kTwoPi / 12), 0);
    }
    glEnd();
}

void DrawSolidCircle(float radius, float width) {
    Mirror mirror(radius);
    SavedLineWidth saved;
    glLineWidth(width);
    const double r = std::fabs(radius);
    glBegin(GL_POLYGON);
    glNormal3f(0.0f, 0.0f, 1.0f);
    for (int k = 0; k < 10; ++k)
        vertex(r * std::cos(k * kTwoPi / 10), r * std::sin(k * kTwoPi / 10), 0);
    glEnd();
}

void DrawLineArrow(float size, float width, bool shaft, bool solidHead) {
    SavedLineWidth saved;
    glLineWidth(width);
    if (shaft) {
        glBegin(GL_LINES);
        vertex(-size, 0, 0);
        vertex(0, 0, 0);
        glEnd();
    }
    arrowHead(size, solidHead);
}

void DrawSolidArrow(float size, float width) {
    arrowHead(size, true);
    glLineWidth(width);
    glBegin(GL_LINES);
    vertex(-0.2 * size, 0, 0);
    vertex(-size, 0, 0);
    glEnd();
}

void Draw2DLineArrow(float x, float y, float size, float width) {
    SavedLineWidth saved;
    glLineWidth(width);
    auto s = [](double v) {
        return static_cast<GLshort>(std::clamp(std::lround(v), -32768L, 32767L));
    };
    glBegin(GL_LINES);
    glVertex2s(s(x - size), s(y));
    glVertex2s(s(x), s(y));
    glVertex2s(s(x), s(y));
    glVertex2s(s(x - 0.2 * size), s(y + 0.15 * size));
    glVertex2s(s(x), s(y));
    glVertex2s(s(x - 0.2 * size), s(y - 0.15 * size));
    glEnd();
}

void DrawLineArrow(CPoint3D from, CPoint3D to, float size, float width) {
    double length = 0.0;
    if (!arrowFrame(from, to, length)) return;
    SavedLineWidth saved;
    glLineWidth(width);
    glBegin(GL_LINES);
    vertex(-length, 0, 0);
    vertex(0, 0, 0);
    glEnd();
    arrowHead(size, false);
    glPopMatrix();
}

void DrawLineSpanArrow(CPoint3D from, CPoint3D to, float size, float width) {
    double length = 0.0;
    if (!arrowFrame(from, to, length)) return;
    SavedLineWidth saved;
    glLineWidth(width);
    glBegin(GL_LINES);
    vertex(-length, 0, 0);
    vertex(0, 0, 0);
    glEnd();
    arrowHead(size, false);
    glTranslated(-length, 0, 0);
    glScalef(-1.0f, 1.0f, 1.0f);
    arrowHead(size, false);
    glPopMatrix();
}

void DrawLineArrow(float size, float width, CDC* dc, CGLText* text, CString words, int textSize,
                   unsigned long colour) {
    DrawLineArrow(size, width, true, false);
    label(dc, text, words, textSize, colour, CPoint3D(-size, 0, 0), CPoint3D(0, 0, 0));
}

void DrawSolidMomentArrow(float size, float width, CDC* dc, CGLText* text, CString words,
                          int textSize, unsigned long colour) {
    DrawSolidMomentArrow(size, width);
    const CPoint3D anchor(-0.25 * size, -0.25 * size, 0);
    label(dc, text, words, textSize, colour, anchor, CPoint3D(anchor.x + size, anchor.y, 0));
}

void DrawLineMomentArrow(float size, float width, bool solidHead) {
    momentArrow(size, width, 8, solidHead);
}

void DrawSolidMomentArrow(float size, float width) {
    if (zero(size, TOLERANCE)) return;
    momentArrow(size, width, 10, true);
}

void DrawSpanArrow(float size, bool filled) {
    const double s = size, t = 0.25 * size;
    tessellatedOutline({2 * s,  0, s,  2 * t,  s,  t,  -s, t,  -s, 2 * t,
                        -2 * s, 0, -s, -2 * t, -s, -t, s,  -t, s,  -2 * t},
                       filled);
}

void DrawTwoWaySpanArrow(float size, bool filled) {
    const double s = size, t = 0.25 * size;
    tessellatedOutline({2 * s,  0,      s,      2 * t,  s,  t,  t,  t,  t,  s,  2 * t,  s,
                        0,      2 * s,  -2 * t, s,      -t, s,  -t, t,  -s, t,  -s,     2 * t,
                        -2 * s, 0,      -s,     -2 * t, -s, -t, -t, -t, -t, -s, -2 * t, -s,
                        0,      -2 * s, 2 * t,  -s,     t,  -s, t,  -t, s,  -t, s,      -2 * t},
                       filled);
}

void DrawWiggleLine(float size, float width, int waves) {
    waves = std::clamp(waves, 3, 10);
    SavedLineWidth saved;
    glLineWidth(width);
    const double step = size / waves, off = 0.1 * size;
    auto point = [&](int k) {
        const double side = (k == 0 || k == waves) ? 0.0 : (k % 2 == 1 ? off : -off);
        return CPoint3D(-size + k * step, side, side);
    };
    glBegin(GL_LINES);
    for (int k = 0; k < waves; ++k) {
        vertex(point(k));
        vertex(point(k + 1));
    }
    glEnd();
}

void DrawHelix(float length, int turns, float radius) {
    if (zero(length, TOLERANCE)) length = 1.0f;
    GLfloat points[63];
    for (int i = 0; i <= 20; ++i) {
        const double angle = kTwoPi * turns * i / 20.0;
        points[3 * i] = narrow(length * i / 20.0);
        points[3 * i + 1] = narrow(radius * std::cos(angle));
        points[3 * i + 2] = narrow(radius * std::sin(angle));
    }
    lineStrip(points, 21);
}

void DrawSpiral(int turns, float radius) {
    if (zero(radius, TOLERANCE)) radius = 1.0f;
    GLfloat points[63];
    for (int i = 0; i <= 20; ++i) {
        const double angle = kTwoPi * turns * i / 20.0, r = radius * i / 20.0;
        points[3 * i] = narrow(r * std::cos(angle));
        points[3 * i + 1] = 0.0f;
        points[3 * i + 2] = narrow(r * std::sin(angle));
    }
    lineStrip(points, 21);
}
