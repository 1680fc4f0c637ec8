#include <GL/gl.h>
#include <GL/glu.h>
#include <gtest/gtest.h>

#include <cmath>

#include "GLFixture.h"
#include "zevcore/graphics/GLFace.h"
#include "zevcore/graphics/GLInverted.h"
#include "zevcore/graphics/GLTessellatedPolygon.h"
#include "zevcore/graphics/GraphicsDisplayList.h"
#include "zevcore/graphics/GraphicsTessellator.h"
#include "zevcore/platform/services/Host.h"

namespace {

using zevtest::feedbackOf;
using zevtest::GLTest;
using zevtest::Pixel;

CTArray<CPoint3D> squareLoop(double from, double to, bool clockwise) {
    CTArray<CPoint3D> loop;
    const CPoint3D corners[4] = {{from, from, 0}, {to, from, 0}, {to, to, 0}, {from, to, 0}};
    for (int i = 0; i < 4; ++i) loop.add(corners[clockwise ? 3 - i : i]);
    return loop;
}

double area(const std::vector<CPoint3D>& triangles) {
    double sum = 0;
    for (size_t i = 0; i + 2 < triangles.size(); i += 3) {
        const CPoint3D &a = triangles[i], &b = triangles[i + 1], &c = triangles[i + 2];
        sum += 0.5 * ((b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y));
    }
    return sum;
}

std::vector<CPoint3D> vectorOf(const CTArray<CPoint3D>& a) {
    return std::vector<CPoint3D>(a.data, a.data + a.getCount());
}

TEST_F(GLTest, PolygonWithAHoleLeavesTheHoleEmptyAndRecordsItsArea) {
    glColor3f(1, 1, 1);
    CGLTessellatedPolygon polygon(squareLoop(8, 56, false));
    polygon.addHole(squareLoop(24, 40, true));
    polygon.Draw();
    EXPECT_TRUE(polygon.isGenerated());
    EXPECT_FALSE(lit(32, 32));
    EXPECT_TRUE(lit(12, 12));
    EXPECT_TRUE(lit(50, 30));
    EXPECT_FALSE(lit(4, 4));
    EXPECT_EQ(zevtest::GLTest::litCount(), 48 * 48 - 16 * 16);
    ASSERT_EQ(polygon.triangleVertices().getCount() % 3, 0);
    EXPECT_DOUBLE_EQ(std::fabs(area(vectorOf(polygon.triangleVertices()))), 48.0 * 48 - 16 * 16);
    EXPECT_EQ(polygon.triangleFloats()[0], static_cast<float>(polygon.triangleVertices()[1].x));

    // Drawn once: the second Draw draws nothing.
    glClear(GL_COLOR_BUFFER_BIT);
    polygon.Draw();
    EXPECT_EQ(zevtest::GLTest::litCount(), 0);
}

TEST_F(GLTest, CrossingOutlineGetsCombinedVerticesAndBoundaryOnlyRecordsLoops) {
    // A bow tie: the crossing at (32, 32) is a vertex the combine callback makes (and frees).
    double bow[4][3] = {{8, 8, 0}, {56, 56, 0}, {56, 8, 0}, {8, 56, 0}};
    CGraphicsTessellator tess;
    glColor3f(1, 1, 1);
    tess.StartDef();
    tess.AddVertexArray(bow, 4);
    tess.EndDef();
    EXPECT_EQ(tess.GetTriangles().size(), 6u);
    EXPECT_DOUBLE_EQ(std::fabs(area(tess.GetTriangles())), 2 * 0.5 * 48 * 24);
    EXPECT_TRUE(lit(50, 32));
    EXPECT_FALSE(lit(32, 50));

    tess.SetFilling(0);
    tess.StartDef();
    tess.AddVertexArray(bow, 4);
    tess.EndDef();
    // Two loops of three corners, the shared crossing in both.
    EXPECT_EQ(tess.GetTriangles().size(), 6u);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST_F(GLTest, FillingAndWindingGettersAnswerConstantsAndChangeNothing) {
    CZEVScriptedDialogs dialogs;
    IZEVDialogService* before = ZEVInstallDialogs(&dialogs);
    CGraphicsTessellator tess;
    EXPECT_EQ(tess.GetFilling(), 0);
    EXPECT_EQ(tess.GetWindingRule(), -1.0);
    ZEVInstallDialogs(before);
    // GLU refuses the winding rule through the error callback.
    ASSERT_EQ(dialogs.Asked().size(), 1u);
    EXPECT_EQ(dialogs.Asked()[0].text, "Tessellation/Quadric Error: invalid value\n");
    // Still filled with the odd rule.
    double square[4][3] = {{8, 8, 0}, {56, 8, 0}, {56, 56, 0}, {8, 56, 0}};
    tess.StartDef();
    tess.AddVertexArray(square, 4);
    tess.EndDef();
    EXPECT_EQ(tess.GetTriangles().size(), 6u);
}

TEST(GLPrimitives, StripsAndFansUnfoldIntoTrianglesOfOneWinding) {
    std::vector<CPoint3D> v;
    for (int i = 0; i < 5; ++i) v.emplace_back(i, i % 2, 0);
    std::vector<CPoint3D> out;
    zevgraphics::AppendPrimitiveTriangles(GL_TRIANGLE_STRIP, v, out);
    ASSERT_EQ(out.size(), 9u);
    EXPECT_EQ(out[3], v[2]);  // the middle one starts with its first two swapped
    EXPECT_EQ(out[4], v[1]);
    EXPECT_EQ(out[5], v[3]);
    for (size_t t = 3; t < 9; t += 3)
        EXPECT_EQ(area({out[t], out[t + 1], out[t + 2]}), area({out[0], out[1], out[2]}))
            << "triangle " << t / 3;
    out.clear();
    zevgraphics::AppendPrimitiveTriangles(GL_TRIANGLE_FAN, v, out);
    ASSERT_EQ(out.size(), 9u);
    EXPECT_EQ(out[6], v[0]);
    EXPECT_EQ(out[8], v[4]);
    out.clear();
    zevgraphics::AppendPrimitiveTriangles(GL_TRIANGLE_STRIP, {v[0], v[1]}, out);
    zevgraphics::AppendPrimitiveTriangles(GL_QUADS, v, out);
    EXPECT_TRUE(out.empty());
}

TEST_F(GLTest, DisplayListsCompileOnlyWhenNoOtherIs) {
    CGraphicsDisplayList never;
    never.Execute();  // never defined: nothing, and no error
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));

    CGraphicsDisplayList outer, inner;
    outer.StartDef();
    inner.StartDef();  // another list is compiling: nothing at all
    EXPECT_EQ(inner.m_listID, 0u);
    glColor3f(1, 1, 1);
    glTranslatef(10, 0, 0);
    glRectf(0, 0, 8, 8);
    inner.EndDef();  // not the one compiling: nothing
    GLint compiling = 0;
    glGetIntegerv(GL_LIST_INDEX, &compiling);
    EXPECT_EQ(static_cast<unsigned>(compiling), outer.m_listID);
    outer.EndDef();
    EXPECT_EQ(zevtest::GLTest::litCount(), 0);

    outer.m_bSaveState = true;
    outer.Execute();
    EXPECT_TRUE(lit(12, 4));
    GLfloat m[16];
    glGetFloatv(GL_MODELVIEW_MATRIX, m);
    EXPECT_EQ(m[12], 0.0f);  // the list's translation was kept inside it
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST_F(GLTest, FaceIssuesItsNormalAndTextureCoordinates) {
    CGLFace face({0, 0, 0}, {10, 0, 0}, {0, 10, 0});
    face.m_normal = CVector3D(0, 0, -1);
    face.addTextureCoords({0.25, 0.5, 0}, {1, 0, 0}, {0, 1, 0});
    EXPECT_TRUE(face.m_bTextured);
    glBegin(GL_TRIANGLES);
    face.Draw();
    glEnd();
    GLfloat normal[4], texture[4];
    glGetFloatv(GL_CURRENT_NORMAL, normal);
    glGetFloatv(GL_CURRENT_TEXTURE_COORDS, texture);
    EXPECT_EQ(normal[2], -1.0f);
    EXPECT_EQ(texture[1], 1.0f);
    EXPECT_EQ(feedbackOf([&] {
                  glBegin(GL_QUADS);
                  CGLFace({0, 0, 0}, {9, 0, 0}, {9, 9, 0}, {0, 9, 0}).Draw();
                  glEnd();
              }).polygons,
              2);
}

TEST_F(GLTest, RubberBandsDrawnTwiceGiveThePictureBack) {
    glColor3f(0.2f, 0.6f, 0.4f);
    glRectf(10, 10, 40, 40);
    std::vector<unsigned char> before(4 * kSize * kSize), after(before.size());
    glReadPixels(0, 0, kSize, kSize, GL_RGBA, GL_UNSIGNED_BYTE, before.data());

    CDC dc(m_gl->dc());
    CGLInvertedLine line;
    line.StartLine(nullptr, &dc, CPoint(2, 2), CPoint(60, 50), 1.0);
    EXPECT_TRUE(line.isDrawn());
    // Window rows count from the top: (2, 2) is near the top left.
    EXPECT_EQ(pixel(2, kSize - 1 - 2), (Pixel{255, 255, 255}));
    line.EndLine(nullptr, &dc, 1.0);
    EXPECT_FALSE(line.isDrawn());
    glReadPixels(0, 0, kSize, kSize, GL_RGBA, GL_UNSIGNED_BYTE, after.data());
    EXPECT_EQ(before, after);

    CGLInvertedPolygon polygon;
    polygon.m_bFilled = true;
    polygon.Draw(nullptr, &dc, {CPoint(0, 0), CPoint(30, 0), CPoint(30, 30)}, 1.0);
    EXPECT_EQ(pixel(25, kSize - 1 - 5), (Pixel{255, 255, 255}));
    EXPECT_EQ(pixel(25, kSize - 1 - 25), (Pixel{255 - 51, 255 - 153, 255 - 102}));
    polygon.Draw(nullptr, &dc, polygon.m_points, 1.0);
    glReadPixels(0, 0, kSize, kSize, GL_RGBA, GL_UNSIGNED_BYTE, after.data());
    EXPECT_EQ(before, after);
    // The depth test is as it was: the attributes pushed round the figure bring it back.
    EXPECT_FALSE(glIsEnabled(GL_DEPTH_TEST));
    EXPECT_FALSE(glIsEnabled(GL_COLOR_LOGIC_OP));
}

}  // namespace
