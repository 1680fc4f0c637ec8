// The X window platform, on a real X display: run under Xvfb by CTest where xvfb-run is
// installed; elsewhere without a display the tests skip.

#include <gtest/gtest.h>

#include "zevcore/graphics/GLEnabledView.h"
#include "zevcore/platform/gl/GLPlatform.h"

// Xlib's macros (None among them) clash with GoogleTest's names: after it, then.
// clang-format off
#include <GL/gl.h>
#include <GL/glx.h>
#include <X11/Xlib.h>
// clang-format on

namespace {

class GLXTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!m_glx.Available()) GTEST_SKIP() << "no X display with GLX: " << m_glx.DisplayError();
        m_display = static_cast<Display*>(m_glx.XDisplay());
        m_before = ZEVInstallGL(&m_glx);
    }
    void TearDown() override {
        if (m_display) ZEVInstallGL(m_before);
        if (m_window) XDestroyWindow(m_display, m_window);
        if (m_colormap) XFreeColormap(m_display, m_colormap);
    }

    // A mapped window with the visual of a double-buffered RGB format with depth, as a host
    // makes its view's window.
    HWND makeWindow(int width, int height) {
        const int want[] = {GLX_RENDER_TYPE,
                            GLX_RGBA_BIT,
                            GLX_DRAWABLE_TYPE,
                            GLX_WINDOW_BIT,
                            GLX_DOUBLEBUFFER,
                            True,
                            GLX_DEPTH_SIZE,
                            16,
                            None};
        int count = 0;
        GLXFBConfig* configs = glXChooseFBConfig(m_display, DefaultScreen(m_display), want, &count);
        if (!configs || count == 0) return nullptr;
        XVisualInfo* visual = glXGetVisualFromFBConfig(m_display, configs[0]);
        XFree(configs);
        if (!visual) return nullptr;
        const Window root = RootWindow(m_display, visual->screen);
        m_colormap = XCreateColormap(m_display, root, visual->visual, AllocNone);
        XSetWindowAttributes a{};
        a.colormap = m_colormap;
        a.event_mask = ExposureMask;
        m_window = XCreateWindow(m_display, root, 0, 0, static_cast<unsigned>(width),
                                 static_cast<unsigned>(height), 0, visual->depth, InputOutput,
                                 visual->visual, CWColormap | CWEventMask, &a);
        XFree(visual);
        XMapWindow(m_display, m_window);
        XSync(m_display, False);
        return reinterpret_cast<HWND>(static_cast<std::uintptr_t>(m_window));
    }

    CZEVGLXPlatform m_glx;
    Display* m_display = nullptr;
    IZEVGLPlatform* m_before = nullptr;
    Window m_window = 0;
    Colormap m_colormap = 0;
};

bool whiteAt(int x, int y) {
    unsigned char rgba[4] = {0, 0, 0, 0};
    glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, rgba);
    return rgba[0] == 255 && rgba[1] == 255 && rgba[2] == 255;
}

// A square in the middle and two letters at the lower left; reads its own back buffer
// before the swap shows it.
class CheckedView : public CGLEnabledView {
public:
    void OnDrawGL() override {
        glColor3f(1, 1, 1);
        glRectf(-0.5f, -0.5f, 0.5f, 0.5f);
        glRasterPos2f(-1.3f, -1.2f);
        Text2D("XX");
        centreWhite = whiteAt(m_ClientWidth / 2, m_ClientHeight / 2);
        cornerWhite = whiteAt(1, 1);
        std::vector<unsigned char> rgba(4 * 20 * 20);
        glReadPixels(0, 0, 20, 20, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
        for (size_t i = 0; i < rgba.size(); i += 4) letterPixels += rgba[i] != 0;
    }
    bool centreWhite = false, cornerWhite = true;
    int letterPixels = 0;
};

TEST_F(GLXTest, ViewPaintsIntoAnXWindowAndAsksForRepaints) {
    const HWND window = makeWindow(90, 70);
    ASSERT_NE(window, nullptr);
    CheckedView view;
    ASSERT_EQ(view.OnCreate(window, 90, 70), 0);
    ZEVPixelFormat format;
    ASSERT_GT(m_glx.DescribePixelFormat(view.GetCDC()->GetSafeHdc(),
                                        m_glx.GetPixelFormat(view.GetCDC()->GetSafeHdc()), &format),
              0);
    EXPECT_TRUE(format.doubleBuffer);
    view.PrepareCharset2D("fixed", 13);
    EXPECT_NE(view.m_charsetDListBase, 0u);
    view.OnSize(0, 90, 70);
    view.OnDraw(view.GetCDC());
    EXPECT_EQ(view.m_GLError, 0u);
    EXPECT_TRUE(view.centreWhite);
    EXPECT_FALSE(view.cornerWhite);
    EXPECT_GT(view.letterPixels, 10);

    // OnSize asked for a repaint: an Expose of the window.
    XSync(m_display, False);
    XEvent event;
    bool exposed = false;
    while (XCheckTypedWindowEvent(m_display, m_window, Expose, &event)) exposed = true;
    EXPECT_TRUE(exposed);
}

TEST_F(GLXTest, OffscreenSurfaceIsAPbuffer) {
    CZEVOffscreenGL gl(40, 20);
    ASSERT_TRUE(gl.ok()) << gl.error();
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    glColor3f(1, 1, 1);
    glRectf(-1, -1, 0, 1);
    EXPECT_TRUE(whiteAt(5, 10));
    EXPECT_FALSE(whiteAt(35, 10));
    EXPECT_TRUE(m_glx.ResizeDC(gl.dc(), 50, 30));
    EXPECT_EQ(m_glx.GetCurrentDC(), gl.dc());
    glViewport(0, 0, 50, 30);
    glClear(GL_COLOR_BUFFER_BIT);
    glRectf(-1, -1, 0, 1);
    EXPECT_TRUE(whiteAt(20, 25));
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST_F(GLXTest, ForeignHandlesAreRefused) {
    EXPECT_EQ(m_glx.GetDC(reinterpret_cast<HWND>(std::uintptr_t{0x7fffff}), 10, 10), nullptr);
    EXPECT_EQ(m_glx.GetLastError(), ZEV_ERROR_INVALID_HANDLE);
    EXPECT_FALSE(m_glx.MakeCurrent(reinterpret_cast<HDC>(this), nullptr));
    EXPECT_FALSE(m_glx.ReleaseDC(reinterpret_cast<HDC>(this)));
}

}  // namespace
