#include "zevcore/graphics/GLState.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include "GLFixture.h"
#include "zevcore/graphics/GLSymbols.h"

namespace {

using zevtest::GLTest;
using zevtest::Pixel;

TEST(GLColours, ConvertLightenDarkenInvert) {
    EXPECT_EQ(LightenColor(0), 0x808080u);
    EXPECT_EQ(LightenColor(0x0A0A0A), 0x0C0C0Cu);
    // 220 * 1.2 = 264 wraps to 8: the channel is masked, not clamped.
    EXPECT_EQ(LightenColor(0x0000DC), 0x000008u);
    EXPECT_EQ(DarkenColor(0x6496C8), 0x5078A0u);
    EXPECT_EQ(InverseColor(0x123456), 0xEDCBA9u);
    EXPECT_EQ(InverseColor(0xFF123456), 0xEDCBA9u);
    float c[4] = {1.0f, 0.5f, 0.0f, 0.25f};
    EXPECT_EQ(MapColor3toRGB(c), 0x007FFFu);
    EXPECT_EQ(MapColor4toRGB(c), 0x007FFFu);
    float back[4] = {0, 0, 0, 0};
    MapRGBtoColor4(0x00FF80, back);
    EXPECT_FLOAT_EQ(back[0], 128.0f / 255.0f);
    EXPECT_FLOAT_EQ(back[1], 1.0f);
    EXPECT_FLOAT_EQ(back[2], 0.0f);
    EXPECT_FLOAT_EQ(back[3], 1.0f);
}

TEST(GLGraphicsCard, WithoutAContextTheReportSaysSoAndTheVersionStays) {
    gOpenGLMajorVersion = -1;
    EXPECT_TRUE(QueryGraphicsCard());
    EXPECT_EQ(gOpenGLMajorVersion, -1);
    EXPECT_EQ(gGraphicsCardInfo,
              "Could not detect graphics hardware?\r\n"
              "  You may need to create a project or open one before OpenGL detection works.\r\n"
              "  You may need to update your graphics card driver.\r\n");
}

TEST_F(GLTest, GraphicsCardReportOfARealContext) {
    EXPECT_TRUE(QueryGraphicsCard());
    EXPECT_GE(gOpenGLMajorVersion, 2);
    EXPECT_EQ(gGraphicsCardInfo.rfind("OpenGL 2.0 is supported.\r\n\r\nVendor: \r\n   ", 0), 0u);
    EXPECT_NE(gGraphicsCardInfo.find("\r\n\r\nSupported Extensions: \r\n   GL_"),
              std::string::npos);
    gOpenGLMajorVersion = -1;
}

}  // namespace

namespace {

void square(float from, float to) {
    glBegin(GL_QUADS);
    glVertex2f(from, from);
    glVertex2f(to, from);
    glVertex2f(to, to);
    glVertex2f(from, to);
    glEnd();
}

TEST_F(GLTest, SolidPlateFillsItsAreaInTheMaterialColourAndOutlinesAfterwards) {
    DisableGLLighting();
    float orange[4] = {1.0f, 0.5f, 0.0f, 1.0f};
    StartSolidDrawing(gPlatePolygonOffset);
    ApplyAmbientGLMaterial(orange);
    DrawQuadPlate({16, 16, 0}, {48, 16, 0}, {48, 48, 0}, {16, 48, 0}, 0.0);
    EXPECT_EQ(pixel(16, 16), (Pixel{255, 128, 0}));
    EXPECT_EQ(pixel(47, 47), (Pixel{255, 128, 0}));
    EXPECT_EQ(litCount(), 32 * 32);
    GLfloat offset[2] = {0, 0};
    glGetFloatv(GL_POLYGON_OFFSET_FACTOR, &offset[0]);
    glGetFloatv(GL_POLYGON_OFFSET_UNITS, &offset[1]);
    EXPECT_EQ(offset[0], 1.0f);
    EXPECT_EQ(offset[1], 3.0f);

    EndSolidDrawing();
    EXPECT_TRUE(glIsEnabled(GL_POLYGON_OFFSET_FILL));
    glClear(GL_COLOR_BUFFER_BIT);
    DrawQuadPlate({16, 16, 0}, {48, 16, 0}, {48, 48, 0}, {16, 48, 0}, 0.0);
    EXPECT_FALSE(lit(32, 32));
    EXPECT_LT(litCount(), 4 * 34);
    EXPECT_GT(litCount(), 4 * 30);
}

TEST_F(GLTest, DashedModeLeavesGapsOfFourPixels) {
    StartDashedLineDrawing();
    EXPECT_TRUE(g_bDrawWireframe);
    EXPECT_FALSE(glIsEnabled(GL_LIGHTING));
    glColor3f(1, 1, 1);
    glBegin(GL_LINES);
    glVertex2f(0.0f, 32.5f);
    glVertex2f(64.0f, 32.5f);
    glEnd();
    for (int x = 0; x < kSize; ++x) EXPECT_EQ(lit(x, 32), (x / 4) % 2 == 1) << "x " << x;
    EndDashedLineDrawing();
    EXPECT_FALSE(g_bDrawWireframe);
    EXPECT_FALSE(glIsEnabled(GL_LINE_STIPPLE));
    EXPECT_TRUE(glIsEnabled(GL_LIGHTING));
    EXPECT_TRUE(glIsEnabled(GL_LIGHT1));
}

TEST_F(GLTest, ScreenDoorTransparencyIsAOnePixelChecker) {
    glColor3f(1, 1, 1);
    EnableGLTransparency();
    square(0, 64);
    for (int y = 0; y < kSize; ++y)
        for (int x = 0; x < kSize; ++x) ASSERT_EQ(lit(x, y), (x + y) % 2 == 0) << x << "," << y;
    DisableGLTransparency();
    square(0, 64);
    EXPECT_EQ(litCount(), kSize * kSize);
}

TEST_F(GLTest, NoGLErrorIsLeftAfterAnyModePair) {
    float colour[4] = {0.2f, 0.4f, 0.6f, 1.0f}, top[3] = {1, 0, 0};
    unsigned texture = 0;
    auto check = [](const char* what) { EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR)) << what; };
    StartSolidDrawing(gMemberPolygonOffset), EndSolidDrawing(), check("solid");
    StartWireframeDrawing(), EndWireframeDrawing(), check("wireframe");
    StartDashedLineDrawing(), EndDashedLineDrawing(), check("dashed");
    EnableGLTransparency(), DisableGLTransparency(), check("transparency");
    EnableGLAA(), DisableGLAA(), check("antialiasing");
    EnableGLLighting(), DisableGLLighting(), check("lighting");
    ApplyDefaultGLLight(), ApplyGLHeadlight({0, 0, 1}), check("lights");
    ApplySteelGLMaterial(colour), ApplyAmbientGLMaterialiv(0x336699), SetGLColor(0xff),
        check("materials");
    StartGL2DDrawing(), EndGL2DDrawing(), check("2D");
    glPushMatrix(), StartBillboardView(), glPopMatrix(), check("billboard");
    StartGLGradientTexture(texture, true), EndGLTextureMode(), check("gradient texture");
    EXPECT_NE(texture, 0u);
    ClearGLBG(colour), DrawGLGradientBG(colour, top), check("backgrounds");
    GLint mode = 0;
    glGetIntegerv(GL_MATRIX_MODE, &mode);
    EXPECT_EQ(mode, GL_MODELVIEW);
    glDeleteTextures(1, &texture);
}

TEST_F(GLTest, GradientBackgroundRunsFromBottomToTopAndLeavesTheMatrices) {
    float blue[3] = {0, 0, 1}, red[3] = {1, 0, 0};
    glTranslatef(5, 6, 0);
    DrawGLGradientBG(blue, red);
    EXPECT_GT(pixel(10, 0)[2], 240);
    EXPECT_GT(pixel(10, 63)[0], 240);
    GLfloat m[16];
    glGetFloatv(GL_MODELVIEW_MATRIX, m);
    EXPECT_EQ(m[12], 5.0f);
    EXPECT_EQ(m[13], 6.0f);
}

TEST_F(GLTest, BuiltInGradientRampIsBlueToRed) {
    unsigned texture = 0;
    SetupGradientTexture(texture, false);
    unsigned char texels[8 * 3];
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGB, GL_UNSIGNED_BYTE, texels);
    EXPECT_EQ((Pixel{texels[0], texels[1], texels[2]}), (Pixel{0, 0, 255}));
    EXPECT_EQ((Pixel{texels[12], texels[13], texels[14]}), (Pixel{0, 255, 0}));
    EXPECT_EQ((Pixel{texels[21], texels[22], texels[23]}), (Pixel{255, 0, 0}));
    GLint wrap = 0;
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, &wrap);
    EXPECT_EQ(wrap, GL_CLAMP);
    glDeleteTextures(1, &texture);
}

}  // namespace
