#include "zevcore/graphics/GLEnabledView.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include "GLFixture.h"
#include "zevcore/platform/services/Host.h"

namespace {

using zevtest::Pixel;

// The views share their paint guard and last sizes, so every test uses sizes of its own.
class ViewTest : public ::testing::Test {
protected:
    void SetUp() override {
        auto* egl = dynamic_cast<CZEVEGLPlatform*>(&ZEVGL());
        if (egl && !egl->Available()) GTEST_SKIP() << "no EGL display: " << egl->DisplayError();
        m_before = ZEVInstallDialogs(&m_dialogs);
        CGLEnabledView::ClearPaintGuard();
    }
    void TearDown() override {
        ZEVInstallDialogs(m_before);
        CGLEnabledView::ClearPaintGuard();
    }
    std::vector<std::string> messages() const {
        std::vector<std::string> texts;
        for (const ZEVAskedDialog& d : m_dialogs.Asked()) texts.push_back(d.text);
        return texts;
    }
    CZEVScriptedDialogs m_dialogs;
    IZEVDialogService* m_before = nullptr;
};

// A view that draws a white square of half a unit about the origin, or a GL error.
class SquareView : public CGLEnabledView {
public:
    void OnDrawGL() override {
        ++paints;
        if (makeError) glEnable(0xFFFF);
        glColor3f(1, 1, 1);
        glRectf(-0.5f, -0.5f, 0.5f, 0.5f);
    }
    int paints = 0;
    bool makeError = false;
};

Pixel pixelAt(int x, int y) {
    unsigned char rgba[4] = {0, 0, 0, 0};
    glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, rgba);
    return {rgba[0], rgba[1], rgba[2]};
}

TEST_F(ViewTest, OffscreenViewPaintsThroughItsCycle) {
    SquareView view;
    ASSERT_EQ(view.OnCreate(nullptr, 80, 60), 0) << ::testing::PrintToString(messages());
    EXPECT_NE(view.m_hRC, nullptr);
    EXPECT_EQ(ZEVGL().GetCurrentContext(), nullptr);  // released after OnCreateGL
    view.OnSize(0, 80, 60);
    EXPECT_EQ(view.m_ClientWidth, 80);
    EXPECT_DOUBLE_EQ(view.m_dAspectRatio, 80.0 / 60.0);
    view.OnDraw(view.GetCDC());
    EXPECT_EQ(view.paints, 1);
    EXPECT_EQ(view.m_GLError, 0u);
    EXPECT_EQ(ZEVGL().GetCurrentContext(), nullptr);

    view.BeginGLCommands();
    EXPECT_TRUE(view.m_bExternGLCall);
    EXPECT_EQ(pixelAt(40, 30), (Pixel{255, 255, 255}));
    EXPECT_EQ(pixelAt(2, 2), (Pixel{0, 0, 0}));
    GLfloat projection[16];
    glGetFloatv(GL_PROJECTION_MATRIX, projection);
    const double f = 1.0 / std::tan(20.0 * 3.14159265358979 / 180.0);
    EXPECT_NEAR(projection[0], f * 60.0 / 80.0, 1e-5);
    EXPECT_NEAR(projection[14], -0.2 / 9.9 * 10 + 4 * 10.1 / 9.9, 1e-4);
    // The centre of the model is the centre of the window, y counted down.
    CPoint centre;
    ASSERT_TRUE(GetScreenPtFrom3DPoint(CPoint3D(0, 0, 0), centre));
    EXPECT_EQ(centre, CPoint(40, 30));
    CPoint3D model(1, 2, 3);
    EXPECT_FALSE(Get3DPointFromScreen(centre, model, 2.0f));
    EXPECT_EQ(model, CPoint3D(1, 2, 3));
    ASSERT_TRUE(Get3DPointFromScreen(centre, model, -1.0f));
    EXPECT_NEAR(model.z, 0.0, 1e-3);
    view.EndGLCommands();
    EXPECT_FALSE(view.m_bExternGLCall);
    EXPECT_EQ(ZEVGL().GetCurrentContext(), nullptr);
    EXPECT_TRUE(messages().empty());
}

TEST_F(ViewTest, AGLErrorInOnePaintStopsEveryLaterPaintOfEveryView) {
    SquareView failing, other;
    ASSERT_EQ(failing.OnCreate(nullptr, 30, 20), 0);
    ASSERT_EQ(other.OnCreate(nullptr, 30, 20), 0);
    failing.makeError = true;
    failing.OnDraw(nullptr);
    EXPECT_EQ(failing.m_GLError, GLenum(GL_INVALID_ENUM));
    EXPECT_EQ(messages(), std::vector<std::string>{
                              "GLEnabledView:\n\tAn OpenGL error occurred: invalid enumerant\n"});
    EXPECT_TRUE(CGLEnabledView::IsPaintGuardSet());
    other.OnDraw(nullptr);
    failing.OnDraw(nullptr);
    EXPECT_EQ(other.paints, 0);
    EXPECT_EQ(failing.paints, 1);
    EXPECT_EQ(messages().size(), 1u);
    CGLEnabledView::ClearPaintGuard();
    other.OnDraw(nullptr);
    EXPECT_EQ(other.paints, 1);
}

TEST_F(ViewTest, SizesAreSharedAndAnEmptySizeStoresNothing) {
    SquareView first, second;
    ASSERT_EQ(first.OnCreate(nullptr, 10, 10), 0);
    ASSERT_EQ(second.OnCreate(nullptr, 10, 10), 0);
    first.OnSize(0, 0, 0);
    EXPECT_EQ(first.m_ClientWidth, 0);
    EXPECT_DOUBLE_EQ(first.m_dAspectRatio, 1.0);
    first.OnSize(0, 52, 26);
    EXPECT_EQ(first.m_ClientWidth, 52);
    // The last size is the process's: a second view of the same size is not told of it.
    second.OnSize(0, 52, 26);
    EXPECT_EQ(second.m_ClientWidth, 0);
}

TEST_F(ViewTest, TwentyStockListsAndNoMore) {
    SquareView view;
    ASSERT_EQ(view.OnCreate(nullptr, 24, 24), 0);
    view.OnSize(0, 24, 24);
    for (int i = 0; i < CGLEnabledView::kStockLists; ++i) {
        view.StartStockDListDef();
        glColor3f(1, 1, 1);
        glRectf(-0.1f, -0.1f, 0.1f, 0.1f);
        view.EndStockListDef();
    }
    for (unsigned id : view.m_DispListVector) EXPECT_NE(id, 0u);
    view.BeginGLCommands();
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    view.StartStockDListDef();  // the 21st: no slot, nothing compiled
    EXPECT_FALSE(view.m_bInsideDispList);
    view.EndStockListDef();
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    view.DrawStockDispLists();
    EXPECT_EQ(pixelAt(12, 12), (Pixel{255, 255, 255}));
    view.ClearStockDispLists();
    for (unsigned id : view.m_DispListVector) EXPECT_NE(id, 0u);  // the slots stay taken
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    view.DrawStockDispLists();
    EXPECT_EQ(pixelAt(12, 12), (Pixel{0, 0, 0}));
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    view.EndGLCommands();
}

TEST_F(ViewTest, WithoutFontsThereIsNoCharacterSet) {
    SquareView view;
    ASSERT_EQ(view.OnCreate(nullptr, 12, 12), 0);
    view.PrepareCharset2D("Sans", 12);
    EXPECT_EQ(view.m_charsetDListBase, 0u);
    view.PrepareCharset3D("Sans");
    view.BeginGLCommands();
    view.Text2D("abc");
    EXPECT_EQ(view.Text3D("abc"), 0.0f);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    view.EndGLCommands();
}

TEST_F(ViewTest, FailuresAreMessagesAndNeverThrow) {
    SquareView never;
    never.BeginGLCommands();
    EXPECT_EQ(messages().back(), "null m_hRC in BeginGLCommandsFailed!");
    never.EndGLCommands();
    never.OnDraw(nullptr);
    EXPECT_EQ(never.paints, 0);

    SquareView windowed;
    EXPECT_EQ(windowed.OnCreate(reinterpret_cast<HWND>(0x1234), 10, 10), -1);
    EXPECT_EQ(messages().back(), "SetupPixelFormat failed in OnCreate.   Last error returned 6");
}

// The default platform, except that the next make-current fails as a surface that lost its
// pixel format does.
class LosingPlatform : public IZEVGLPlatform {
public:
    explicit LosingPlatform(IZEVGLPlatform& inner) : gl(inner) {}
    int failures = 0;
    int setups = 0;

    bool MakeCurrent(HDC dc, HGLRC rc) override {
        if (dc && failures > 0) {
            --failures;
            lost = true;
            return false;
        }
        lost = false;
        return gl.MakeCurrent(dc, rc);
    }
    DWORD GetLastError() override {
        return lost ? ZEV_ERROR_INVALID_PIXEL_FORMAT : gl.GetLastError();
    }
    bool SetPixelFormat(HDC dc, int f) override { return ++setups, gl.SetPixelFormat(dc, f); }

    HDC GetDC(HWND w, int x, int y) override { return gl.GetDC(w, x, y); }
    bool ReleaseDC(HDC dc) override { return gl.ReleaseDC(dc); }
    bool ResizeDC(HDC dc, int w, int h) override { return gl.ResizeDC(dc, w, h); }
    bool GetDCSize(HDC dc, int& w, int& h) override { return gl.GetDCSize(dc, w, h); }
    int ChoosePixelFormat(HDC dc, const ZEVPixelFormat& f) override {
        return gl.ChoosePixelFormat(dc, f);
    }
    int GetPixelFormat(HDC dc) override { return gl.GetPixelFormat(dc); }
    int DescribePixelFormat(HDC dc, int f, ZEVPixelFormat* o) override {
        return gl.DescribePixelFormat(dc, f, o);
    }
    std::vector<int> ChoosePixelFormats(HDC dc, const ZEVPixelFormat& f) override {
        return gl.ChoosePixelFormats(dc, f);
    }
    HGLRC CreateContext(HDC dc) override { return gl.CreateContext(dc); }
    bool DeleteContext(HGLRC rc) override { return gl.DeleteContext(rc); }
    HGLRC GetCurrentContext() override { return gl.GetCurrentContext(); }
    HDC GetCurrentDC() override { return gl.GetCurrentDC(); }
    bool SwapBuffers(HDC dc) override { return gl.SwapBuffers(dc); }
    void* GetProcAddress(const char* n) override { return gl.GetProcAddress(n); }
    std::string GetExtensionsString(HDC dc) override { return gl.GetExtensionsString(dc); }
    void InvalidateRect(HWND w) override { gl.InvalidateRect(w); }
    bool UseFontBitmaps(HDC, const LOGFONTA&, DWORD, DWORD, DWORD) override { return false; }
    bool UseFontOutlines(HDC, const LOGFONTA&, DWORD, DWORD, DWORD, float, float,
                         std::vector<float>&) override {
        return false;
    }

private:
    IZEVGLPlatform& gl;
    bool lost = false;
};

TEST_F(ViewTest, LostPixelFormatIsSetAgainAndTheCommandsGoOn) {
    LosingPlatform losing(ZEVGL());
    IZEVGLPlatform* before = ZEVInstallGL(&losing);
    {
        SquareView view;
        ASSERT_EQ(view.OnCreate(nullptr, 14, 14), 0);
        const int setups = losing.setups;
        losing.failures = 1;
        view.BeginGLCommands();
        EXPECT_EQ(messages(), std::vector<std::string>{
                                  "wglmakecurrent failed, get last error returned 2000, trying "
                                  "setup pixel format again"});
        EXPECT_EQ(losing.setups, setups + 1);
        EXPECT_EQ(ZEVGL().GetCurrentContext(), view.m_hRC);
        view.EndGLCommands();

        losing.failures = 2;
        view.BeginGLCommands();
        const std::vector<std::string> all = messages();
        ASSERT_EQ(all.size(), 4u);
        EXPECT_EQ(all[2],
                  "wglmakecurrent failed a second time, get last error returned 2000, trying "
                  "setup pixel format again");
        EXPECT_EQ(all[3], "Other failure in BeginGLCommands");
        view.EndGLCommands();
    }
    ZEVInstallGL(before);
}

TEST_F(ViewTest, MultisampleSearchIsCachedAndConsistent) {
    const int format = GetOpenGLPixelFormat(true, true);
    EXPECT_EQ(GetOpenGLPixelFormat(false, false), format);
    EXPECT_EQ(HaveOpenGLAntiAliasedText(), format != 0);
    const std::string text = GetOpenGLPixelFormatText();
    EXPECT_TRUE(format == 0 ? text.empty() : text.find("x MSAA") != std::string::npos) << text;
    CZEVOffscreenGL gl(4, 4);
    ASSERT_TRUE(gl.ok());
    const int best = EnumPixelFormats(gl.dc(), 24, false);
    ZEVPixelFormat described;
    ASSERT_GT(ZEVGL().DescribePixelFormat(gl.dc(), best, &described), 0);
    EXPECT_GE(described.depthBits, 24);
}

}  // namespace
