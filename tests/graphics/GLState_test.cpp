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
    EXPECT_NE(gGraphicsCardInfo.find("\r\n\r\nSupported Extensions: \r\n   GL_"), std::string::npos);
    gOpenGLMajorVersion = -1;
}

}  // namespace
