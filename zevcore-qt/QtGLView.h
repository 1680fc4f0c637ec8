#pragma once

// OpenGL views in Qt windows. CZEVQtGLPlatform is what the library's views reach through
// ZEVGL(): a window's surface is a QOpenGLWidget and its rendering context the widget's own;
// surfaces without a window (offscreen pictures) go to the library's EGL default.
// CZEVQtGLView is the widget that hosts a CGLEnabledView and forwards its events.

#include <QOpenGLWidget>
#include <QPointer>
#include <map>
#include <memory>

#include "zevcore/platform/gl/GLPlatform.h"

class CGLEnabledView;

class CZEVQtGLPlatform : public IZEVGLPlatform {
public:
    CZEVQtGLPlatform();
    ~CZEVQtGLPlatform() override;
    CZEVQtGLPlatform(const CZEVQtGLPlatform&) = delete;
    CZEVQtGLPlatform& operator=(const CZEVQtGLPlatform&) = delete;

    HDC GetDC(HWND window, int width, int height) override;
    bool ReleaseDC(HDC dc) override;
    bool ResizeDC(HDC dc, int width, int height) override;
    bool GetDCSize(HDC dc, int& width, int& height) override;
    /// A widget's surface offers one format: the widget's own.
    int ChoosePixelFormat(HDC dc, const ZEVPixelFormat& want) override;
    bool SetPixelFormat(HDC dc, int format) override;
    int GetPixelFormat(HDC dc) override;
    int DescribePixelFormat(HDC dc, int format, ZEVPixelFormat* out) override;
    std::vector<int> ChoosePixelFormats(HDC dc, const ZEVPixelFormat& want) override;
    HGLRC CreateContext(HDC dc) override;
    bool DeleteContext(HGLRC rc) override;
    /// Makes the widget's context current. A release while the widget paints (or sizes)
    /// only forgets the pair: Qt needs its context current until the paint is over.
    bool MakeCurrent(HDC dc, HGLRC rc) override;
    HGLRC GetCurrentContext() override;
    HDC GetCurrentDC() override;
    /// Qt shows the widget's frame itself: nothing to swap.
    bool SwapBuffers(HDC dc) override;
    void* GetProcAddress(const char* name) override;
    std::string GetExtensionsString(HDC dc) override;
    DWORD GetLastError() override;
    void InvalidateRect(HWND window) override;
    /// Each glyph drawn by Qt's font engine into a bitmap list, for the view's Text2D; needs
    /// the surface's context current.
    bool UseFontBitmaps(HDC dc, const LOGFONTA& font, DWORD first, DWORD count,
                        DWORD listBase) override;
    /// Qt gives no outlines as OpenGL lists: false, and the view has no 3D text.
    bool UseFontOutlines(HDC dc, const LOGFONTA& font, DWORD first, DWORD count, DWORD listBase,
                         float deviation, float extrusion, std::vector<float>& advances) override;

    /// Set by the hosting widget around Qt's paint and resize calls.
    void SetInsideQtCall(bool inside) { m_insideQt = inside; }

private:
    struct Surface {
        QPointer<QOpenGLWidget> widget;
        int format = 0;
    };
    Surface* surface(HDC dc);
    bool ownsContext(HGLRC rc) const;
    IZEVGLPlatform& offscreen();

    std::map<HDC, std::unique_ptr<Surface>> m_surfaces;
    std::map<HGLRC, HDC> m_contexts;
    std::unique_ptr<CZEVEGLPlatform> m_offscreen;
    HDC m_currentDC = nullptr;
    HGLRC m_currentRC = nullptr;
    DWORD m_lastError = 0;
    bool m_insideQt = false;
};

/// A QOpenGLWidget showing a CGLEnabledView: creation, sizes and paints are the view's.
class CZEVQtGLView : public QOpenGLWidget {
public:
    /// `view` must outlive the widget; `platform` is the installed one.
    CZEVQtGLView(CGLEnabledView& view, CZEVQtGLPlatform& platform, QWidget* parent = nullptr);
    ~CZEVQtGLView() override;

    CGLEnabledView& View() { return m_view; }
    /// Whether the view made its context (false: no OpenGL here, and nothing is drawn).
    bool Created() const { return m_created; }
    /// Destroys the view's OpenGL objects and context now; a widget whose view goes before
    /// it calls this first.
    void DestroyView();

protected:
    void initializeGL() override;
    void resizeGL(int width, int height) override;
    void paintGL() override;

private:
    CGLEnabledView& m_view;
    CZEVQtGLPlatform& m_platform;
    bool m_created = false;
};
