#include "zevcore/graphics/GLSymbols.h"

#include <GL/gl.h>
#include <GL/glu.h>
#include <gtest/gtest.h>

#include "GLFixture.h"
#include "zevcore/graphics/GLEnabledView.h"
#include "zevcore/graphics/GLState.h"
#include "zevcore/graphics/GraphicGrid.h"

namespace {

using zevtest::feedbackOf;
using zevtest::GLTest;
using zevtest::Pixel;

// A camera looking down -z from 4 units away, 40 degrees high.
void perspective() {
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(40.0, 1.0, 0.1, 10.0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glTranslatef(0.0f, 0.0f, -4.0f);
}

TEST_F(GLTest, SymbolLandsWhereGluProjectSays) {
    perspective();
    glEnable(GL_DEPTH_TEST);
    glRotatef(30.0f, 1.0f, 1.0f, 0.0f);
    glTranslatef(0.6f, -0.4f, 0.3f);
    glColor3f(1, 1, 1);
    DrawSolidCircle(0.08f, 1.0f);
    CPoint at;
    ASSERT_TRUE(GetScreenPtFrom3DPoint(CPoint3D(0, 0, 0), at));
    // Window rows count down from the top; the buffer's rows count up from the bottom.
    EXPECT_EQ(pixel(at.x, kSize - 1 - at.y), (Pixel{255, 255, 255}));
    EXPECT_FALSE(lit(kSize - 1 - at.x, at.y));
    const int drawn = litCount();
    EXPECT_GT(drawn, 4);
    EXPECT_LT(drawn, 60);
}

TEST_F(GLTest, UnprojectingADrawnPointGivesItBack) {
    perspective();
    glEnable(GL_DEPTH_TEST);
    glRotatef(25.0f, 1.0f, 0.0f, 0.0f);
    glColor3f(1, 1, 1);
    DrawQuadPlate({-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}, 0.0);
    const CPoint3D drawn(0.3, -0.5, 0.0);
    CPoint screen;
    double depth = 0;
    ASSERT_TRUE(GetScreenPtFrom3DPoint(drawn, screen, depth));
    EXPECT_GT(depth, 0.0);
    EXPECT_LT(depth, 1.0);
    // The pixel's corner is the projection truncated; its centre is half a pixel on.
    CPoint3D back;
    ASSERT_TRUE(Get3DPointFromScreen(screen, back, -1.0f));
    // The depth is the pixel centre's, and the plane is tilted: a pixel's worth of slope.
    EXPECT_NEAR(back.z, 0.0, 0.03);
    EXPECT_NEAR(back.x, drawn.x, 0.08);
    EXPECT_NEAR(back.y, drawn.y, 0.08);
    // The depth given instead of read: the same point.
    CPoint3D given;
    ASSERT_TRUE(Get3DPointFromScreen(screen, given, static_cast<float>(depth)));
    EXPECT_NEAR(given.distance_to(back), 0.0, 0.05);

    CPoint3D untouched(7, 8, 9);
    EXPECT_FALSE(Get3DPointFromScreen(screen, untouched, 2.0f));
    EXPECT_EQ(untouched, CPoint3D(7, 8, 9));
    EXPECT_FALSE(Get3DPointFromScreen(screen, untouched, std::nanf("")));
    EXPECT_FALSE(GetScreenPtFrom3DPoint(CPoint3D(std::nan(""), 0, 0), screen));
    // Corners beyond the float range are clamped to it, never converted out of range.
    DrawQuadPlate({-1e300, 0, 0}, {1e300, 0, 0}, {1e300, 1e300, 0}, {-1e300, 1e300, 0}, 0.0);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST_F(GLTest, LineArrowHasItsTipAtTheOriginAndItsTailAlongNegativeX) {
    glTranslatef(50.5f, 32.5f, 0.0f);
    glColor3f(1, 1, 1);
    glLineWidth(2.0f);
    DrawLineArrow(40.0f, 1.0f, true, true);
    EXPECT_TRUE(lit(49, 32));
    EXPECT_TRUE(lit(12, 32));
    EXPECT_FALSE(lit(53, 32));
    EXPECT_FALSE(lit(8, 32));
    // The solid head: 8 long, 6 to each side.
    EXPECT_TRUE(lit(44, 35));
    EXPECT_FALSE(lit(44, 40));
    GLfloat width = 0;
    glGetFloatv(GL_LINE_WIDTH, &width);
    EXPECT_EQ(width, 2.0f);
    DrawSolidArrow(10.0f, 3.0f);
    glGetFloatv(GL_LINE_WIDTH, &width);
    EXPECT_EQ(width, 3.0f);
}

TEST_F(GLTest, ArrowBetweenTwoPointsRunsFromOneToTheOther) {
    glColor3f(1, 1, 1);
    DrawLineArrow(CPoint3D(10.5, 10.5, 0), CPoint3D(10.5, 50.5, 0), 10.0f, 1.0f);
    EXPECT_TRUE(lit(10, 12));
    EXPECT_TRUE(lit(10, 49));
    EXPECT_FALSE(lit(10, 55));
    const auto arrow = feedbackOf([] { DrawLineArrow({10, 10, 0}, {10, 50, 0}, 10, 1); });
    EXPECT_EQ(arrow.lines, 3);
    EXPECT_NEAR(arrow.low[0], 8.5f, 1e-3f);  // the head, 1.5 to each side, 2 back
    EXPECT_NEAR(arrow.high[0], 11.5f, 1e-3f);
    EXPECT_NEAR(arrow.low[1], 10.0f, 1e-3f);
    EXPECT_NEAR(arrow.high[1], 50.0f, 1e-3f);
    const auto span = feedbackOf([] { DrawLineSpanArrow({5, 5, 0}, {40, 20, 0}, 5, 1); });
    EXPECT_EQ(span.lines, 5);
    EXPECT_NEAR(span.low[0], 5.0f, 0.01f);
    EXPECT_NEAR(span.high[0], 40.0f, 0.01f);
    EXPECT_EQ(feedbackOf([] { DrawLineArrow({5, 5, 0}, {5, 5, 0}, 5, 1); }).lines, 0);
}

// Depth in the fixture runs from -1 to 1; symbols that stand out of the x-y plane are
// flattened so that nothing is clipped.
void flatten() {
    glScalef(1.0f, 1.0f, 0.05f);
}

TEST_F(GLTest, WiggleLineTakesThreeToTenWaves) {
    glTranslatef(40, 32, 0);
    flatten();
    EXPECT_EQ(feedbackOf([] { DrawWiggleLine(30, 1, 1); }).lines, 3);
    EXPECT_EQ(feedbackOf([] { DrawWiggleLine(30, 1, 7); }).lines, 7);
    const auto ten = feedbackOf([] { DrawWiggleLine(30, 1, 50); });
    EXPECT_EQ(ten.lines, 10);
    EXPECT_NEAR(ten.low[0], 10.0f, 0.01f);
    EXPECT_NEAR(ten.high[0], 40.0f, 0.01f);
    EXPECT_NEAR(ten.high[1] - ten.low[1], 6.0f, 0.01f);
}

TEST_F(GLTest, BoxesAndPlatesHaveTheirFacesAndSizes) {
    glTranslatef(32, 32, 0);
    glScalef(100, 100, 1);
    const auto box = feedbackOf([] { DrawBox(0, 0, 0, false); });
    EXPECT_EQ(box.polygons, 6 * 2);  // quads reach feedback as two triangles
    EXPECT_NEAR(box.low[0], 22.0f, 1e-3f);
    EXPECT_NEAR(box.high[0], 42.0f, 1e-3f);
    // Depth runs from 0 to 0.1 in z, which this projection maps to 0.5 to 0.55.
    EXPECT_NEAR(box.low[2], 0.5f, 1e-4f);
    EXPECT_NEAR(box.high[2], 0.55f, 1e-4f);

    glLoadIdentity();
    glTranslatef(32, 32, 0);
    const auto centred = feedbackOf([] { DrawBox(CAABB(CPoint3D(0, 0, 0), CPoint3D(20, 10, 1))); });
    EXPECT_NEAR(centred.low[0], 22.0f, 1e-3f);
    EXPECT_NEAR(centred.high[1], 37.0f, 1e-3f);
    EXPECT_NEAR(centred.low[2], 0.25f, 1e-4f);
    EXPECT_EQ(feedbackOf([] { DrawBox(COrientedBox(0, 10, 0, 10, 0, 0.5)); }).polygons, 5 * 2);
    flatten();
    EXPECT_EQ(feedbackOf([] {
                  DrawTriPlate({0, 0, 0}, {10, 0, 0}, {0, 10, 0}, 0.2);
              }).polygons,
              2 + 3 * 2);
    EXPECT_EQ(feedbackOf([] { DrawTriPlate({0, 0, 0}, {10, 0, 0}, {20, 0, 0}, 0.2); }).polygons, 0);
    EXPECT_EQ(feedbackOf([] {
                  DrawQuadPlate({0, 0, 0}, {9, 0, 0}, {9, 9, 0}, {0, 9, 0}, 0.2);
              }).polygons,
              6 * 2);
    EXPECT_EQ(feedbackOf([] { DrawPyramid(10, 5, true); }).polygons, 4 + 2);
    EXPECT_EQ(feedbackOf([] { DrawElongatedDiamond(10, 5, 0.5f, true); }).polygons, 6 * 2);
    EXPECT_EQ(feedbackOf([] { DrawOriginBox(10); }).polygons, 6 * 2);
}

TEST_F(GLTest, CurvesAndSpansHaveTheirStatedSegments) {
    glTranslatef(32, 32, 0);
    flatten();
    EXPECT_EQ(feedbackOf([] { DrawCircle(10, 2); }).lines, 12);
    const auto mirrored = feedbackOf([] { DrawLineMomentArrow(-10, 1, false); });
    EXPECT_EQ(mirrored.lines, 8 + 2);
    // The head stands at +x; mirrored, at -x: 0.7 * 10 * 1.25 = 8.75 from the centre.
    EXPECT_NEAR(mirrored.low[0], 32 - 8.75f, 1e-3f);
    EXPECT_EQ(feedbackOf([] { DrawSolidMomentArrow(10, 1); }).lines, 10);
    EXPECT_EQ(feedbackOf([] { DrawSolidMomentArrow(0, 1); }).lines, 0);
    EXPECT_EQ(feedbackOf([] { DrawSpanArrow(8, true); }).polygons, 8);
    EXPECT_GT(feedbackOf([] { DrawTwoWaySpanArrow(8, true); }).polygons, 8);
    EXPECT_EQ(feedbackOf([] { DrawHelix(0, 2, 3); }).lines, 20);
    EXPECT_EQ(feedbackOf([] { DrawSpiral(1, 0); }).lines, 20);
    const auto axes = feedbackOf([] { DrawOriginArrows(4, true, true, true); });
    EXPECT_EQ(axes.lines, 3 + 2 + 3 + 3);
    EXPECT_NEAR(axes.high[0], 32 + 1.3f * 9 + 1.5f, 1e-3f);
}

TEST_F(GLTest, AxesKeepTheColourAndLeaveLabelsSmooth) {
    glTranslatef(0.5f, 0.5f, 0.0f);
    glColor3f(0.25f, 0.5f, 0.75f);
    DrawLocalAxesArrows(10, true, false, true);
    GLfloat colour[4];
    glGetFloatv(GL_CURRENT_COLOR, colour);
    EXPECT_EQ(colour[0], 0.25f);
    EXPECT_EQ(colour[2], 0.75f);
    EXPECT_TRUE(glIsEnabled(GL_LINE_SMOOTH));
    GLfloat width = 0;
    glGetFloatv(GL_LINE_WIDTH, &width);
    EXPECT_EQ(width, 2.0f);
    EXPECT_TRUE(lit(10, 0));  // the red x axis along the bottom row
    EXPECT_FALSE(lit(30, 30));
}

// A text object that remembers its one label.
struct RecordingText : CGLText {
    void DrawLabel(CDC*, const CPoint& anchor, double angle, const CString& text, int,
                   unsigned long) override {
        at = anchor, turned = angle, words = text.GetString();
    }
    CPoint at;
    double turned = 99;
    std::string words;
};

TEST_F(GLTest, LabelledArrowWritesAlongItsScreenDirection) {
    glTranslatef(40, 20, 0);
    glRotatef(90, 0, 0, 1);
    RecordingText text;
    CDC dc(m_gl->dc());
    DrawLineArrow(10, 1, &dc, &text, "5 kip", 12, 0xff);
    EXPECT_EQ(text.words, "5 kip");
    EXPECT_EQ(text.m_hAlignment, 1);
    EXPECT_NEAR(text.turned, 90.0, 1e-6);
    EXPECT_EQ(text.at, CPoint(40, kSize - 10));
    RecordingText none;
    DrawSolidMomentArrow(10, 1, nullptr, &none, "M", 12, 0xff);
    EXPECT_TRUE(none.words.empty());
}

TEST_F(GLTest, GridDrawPointsDrawsSegmentsAndDrawLinesPoints) {
    CRectangularGrid grid;
    grid.setupRegularGrid("g", CRectangularGrid::gpXY, 40, 40, 10, 10, CPoint3D(32, 32, 0));
    ASSERT_GT(grid.getGridPoints().getCount(), 0);
    ASSERT_GT(grid.vertexCount(), 0);
    EXPECT_EQ(feedbackOf([&] { grid.DrawPoints(); }).lines, grid.vertexCount() / 2);
    EXPECT_EQ(feedbackOf([&] { grid.DrawLines(); }).points, grid.vertexCount());
    EXPECT_EQ(feedbackOf([] { CRectangularGrid().DrawPoints(); }).lines, 0);
}

}  // namespace
