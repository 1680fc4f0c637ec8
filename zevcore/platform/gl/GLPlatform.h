#pragma once

// What the OpenGL view asks of the window system: device contexts, pixel formats, rendering
// contexts, the current pair, buffer swaps, extension entry points, repaint requests and font
// glyphs. The library draws through OpenGL itself; only the binding of a context to a surface
// is the window system's, and it is reached through `ZEVGL()`.
//
// The default is `CZEVEGLPlatform`: offscreen buffers through EGL on Mesa's surfaceless
// platform, which needs neither a display nor a GPU. A host with windows installs its own
// (`CZEVGLXPlatform` for X windows, or the Qt binding's), as it installs its other services.
//
// Handles are the issuing platform's; a handle that platform did not issue, or has freed, is
// refused (false, 0 or null), never followed.

#include <memory>
#include <string>
#include <vector>

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"

/// The failure code of a surface that has no pixel format yet (the window system's "invalid
/// pixel format"); `CGLEnabledView::BeginGLCommands` sets the format again on this one.
inline constexpr DWORD ZEV_ERROR_INVALID_PIXEL_FORMAT = 2000;
/// A handle the platform did not issue or has freed.
inline constexpr DWORD ZEV_ERROR_INVALID_HANDLE = 6;

/// A pixel format as asked for and as described. Bits are per pixel, colour without alpha.
struct ZEVPixelFormat {
    bool drawToWindow = true;
    bool doubleBuffer = false;
    /// Colour-index pixels instead of RGB.
    bool indexed = false;
    bool accelerated = true;
    int colorBits = 24;
    int alphaBits = 0;
    int depthBits = 16;
    int stencilBits = 0;
    /// Multisampling: sample buffers (0 or 1) and samples a pixel; coverage samples where the
    /// platform has coverage sampling, else 0.
    int sampleBuffers = 0;
    int samples = 0;
    int coverageSamples = 0;
};

/// A device context as the framework passes it around: the surface's handle and its window.
class ZEVCORE_API CDC {
public:
    CDC() = default;
    explicit CDC(HDC dc, HWND window = nullptr) : m_hDC(dc), m_window(window) {}
    HDC GetSafeHdc() const { return m_hDC; }
    HWND GetWindow() const { return m_window; }

private:
    HDC m_hDC = nullptr;
    HWND m_window = nullptr;
};

class ZEVCORE_API IZEVGLPlatform {
public:
    virtual ~IZEVGLPlatform();

    /// A device context for `window`'s client area; for a null window an offscreen surface of
    /// `width` by `height` pixels. Null on failure.
    virtual HDC GetDC(HWND window, int width, int height) = 0;
    /// Frees the device context; false for a handle not this platform's.
    virtual bool ReleaseDC(HDC dc) = 0;
    /// Follows a new client size. An offscreen surface is made again at that size, its
    /// contents lost, and stays current if it was.
    virtual bool ResizeDC(HDC dc, int width, int height) = 0;
    /// The surface's size in pixels.
    virtual bool GetDCSize(HDC dc, int& width, int& height) = 0;

    /// The number (from 1) of the format closest to `want`, or 0 when there is none.
    virtual int ChoosePixelFormat(HDC dc, const ZEVPixelFormat& want) = 0;
    /// Gives the surface its format; a surface takes a format once, and another later fails.
    virtual bool SetPixelFormat(HDC dc, int format) = 0;
    /// The surface's format, 0 while it has none.
    virtual int GetPixelFormat(HDC dc) = 0;
    /// Describes format `format` into `out` when it is given and the format exists; answers
    /// the number of formats the surface offers (0 on failure).
    virtual int DescribePixelFormat(HDC dc, int format, ZEVPixelFormat* out) = 0;
    /// The formats matching `want` exactly as to multisampling, best first, for the search
    /// of a multisampled format (the window system's wglChoosePixelFormatARB).
    virtual std::vector<int> ChoosePixelFormats(HDC dc, const ZEVPixelFormat& want) = 0;

    /// A compatibility-profile OpenGL context for surfaces of `dc`'s format; null when the
    /// surface has no format or no context can be made.
    virtual HGLRC CreateContext(HDC dc) = 0;
    /// Frees the context, releasing it first if it is current.
    virtual bool DeleteContext(HGLRC rc) = 0;
    /// Makes the pair current on the calling thread; (null, null) releases.
    virtual bool MakeCurrent(HDC dc, HGLRC rc) = 0;
    virtual HGLRC GetCurrentContext() = 0;
    virtual HDC GetCurrentDC() = 0;
    /// Shows the back buffer of a window's surface; an offscreen surface has nothing to show.
    virtual bool SwapBuffers(HDC dc) = 0;
    /// An OpenGL or window-system entry point, or null.
    virtual void* GetProcAddress(const char* name) = 0;
    /// The window system's extension names, separated by blanks.
    virtual std::string GetExtensionsString(HDC dc) = 0;
    /// The code of the last failure on this thread: ZEV_ERROR_... or the window system's own.
    virtual DWORD GetLastError() = 0;

    /// Asks for a repaint of the whole window; offscreen there is nothing to ask.
    virtual void InvalidateRect(HWND window) = 0;
    /// Fills the display lists `listBase` to `listBase + count - 1` with bitmaps of the glyphs
    /// `first` onwards of `font`. False where the platform has no fonts; the lists are then
    /// left as they were.
    virtual bool UseFontBitmaps(HDC dc, const LOGFONTA& font, DWORD first, DWORD count,
                                DWORD listBase) = 0;
    /// The same with extruded outlines `extrusion` deep, followed within `deviation`;
    /// `advances` receives each glyph's advance in model units.
    virtual bool UseFontOutlines(HDC dc, const LOGFONTA& font, DWORD first, DWORD count,
                                 DWORD listBase, float deviation, float extrusion,
                                 std::vector<float>& advances) = 0;
};

/// The installed platform, or the EGL default.
ZEVCORE_API IZEVGLPlatform& ZEVGL();
/// Installs `platform` (null puts the default back); answers the one installed before.
ZEVCORE_API IZEVGLPlatform* ZEVInstallGL(IZEVGLPlatform* platform);

/// Offscreen OpenGL through EGL on Mesa's surfaceless platform (any EGL display when that
/// one is missing). Surfaces are pbuffers, single-buffered: `SwapBuffers` succeeds and does
/// nothing. There are no fonts.
class ZEVCORE_API CZEVEGLPlatform : public IZEVGLPlatform {
public:
    CZEVEGLPlatform();
    ~CZEVEGLPlatform() override;
    CZEVEGLPlatform(const CZEVEGLPlatform&) = delete;
    CZEVEGLPlatform& operator=(const CZEVEGLPlatform&) = delete;

    /// Whether an EGL display with an OpenGL-capable pbuffer format could be had; when not,
    /// `DisplayError()` says why.
    bool Available();
    std::string DisplayError();

    HDC GetDC(HWND window, int width, int height) override;
    bool ReleaseDC(HDC dc) override;
    bool ResizeDC(HDC dc, int width, int height) override;
    bool GetDCSize(HDC dc, int& width, int& height) override;
    int ChoosePixelFormat(HDC dc, const ZEVPixelFormat& want) override;
    bool SetPixelFormat(HDC dc, int format) override;
    int GetPixelFormat(HDC dc) override;
    int DescribePixelFormat(HDC dc, int format, ZEVPixelFormat* out) override;
    std::vector<int> ChoosePixelFormats(HDC dc, const ZEVPixelFormat& want) override;
    HGLRC CreateContext(HDC dc) override;
    bool DeleteContext(HGLRC rc) override;
    bool MakeCurrent(HDC dc, HGLRC rc) override;
    HGLRC GetCurrentContext() override;
    HDC GetCurrentDC() override;
    bool SwapBuffers(HDC dc) override;
    void* GetProcAddress(const char* name) override;
    std::string GetExtensionsString(HDC dc) override;
    DWORD GetLastError() override;
    void InvalidateRect(HWND) override {}
    bool UseFontBitmaps(HDC, const LOGFONTA&, DWORD, DWORD, DWORD) override { return false; }
    bool UseFontOutlines(HDC, const LOGFONTA&, DWORD, DWORD, DWORD, float, float,
                         std::vector<float>&) override {
        return false;
    }

private:
    struct Impl;
    std::unique_ptr<Impl> m;
};

/// OpenGL in X windows through GLX. A window is its X window id as an HWND. A window's
/// surface offers the formats of the window's visual (a host creates the window with the
/// visual of the format it wants); a null window gets an offscreen pbuffer. Fonts are the X
/// server's core fonts, as bitmaps; there are no outline fonts.
class ZEVCORE_API CZEVGLXPlatform : public IZEVGLPlatform {
public:
    /// Opens `displayName` (the DISPLAY variable's display when null) at first use.
    explicit CZEVGLXPlatform(const char* displayName = nullptr);
    ~CZEVGLXPlatform() override;
    CZEVGLXPlatform(const CZEVGLXPlatform&) = delete;
    CZEVGLXPlatform& operator=(const CZEVGLXPlatform&) = delete;

    /// Whether the X display opened and offers GLX 1.3; when not, `DisplayError()` says why.
    bool Available();
    std::string DisplayError();
    /// The X display (a `Display*`), null when there is none.
    void* XDisplay();

    HDC GetDC(HWND window, int width, int height) override;
    bool ReleaseDC(HDC dc) override;
    bool ResizeDC(HDC dc, int width, int height) override;
    bool GetDCSize(HDC dc, int& width, int& height) override;
    int ChoosePixelFormat(HDC dc, const ZEVPixelFormat& want) override;
    bool SetPixelFormat(HDC dc, int format) override;
    int GetPixelFormat(HDC dc) override;
    int DescribePixelFormat(HDC dc, int format, ZEVPixelFormat* out) override;
    std::vector<int> ChoosePixelFormats(HDC dc, const ZEVPixelFormat& want) override;
    HGLRC CreateContext(HDC dc) override;
    bool DeleteContext(HGLRC rc) override;
    bool MakeCurrent(HDC dc, HGLRC rc) override;
    HGLRC GetCurrentContext() override;
    HDC GetCurrentDC() override;
    bool SwapBuffers(HDC dc) override;
    void* GetProcAddress(const char* name) override;
    std::string GetExtensionsString(HDC dc) override;
    DWORD GetLastError() override;
    void InvalidateRect(HWND window) override;
    bool UseFontBitmaps(HDC dc, const LOGFONTA& font, DWORD first, DWORD count,
                        DWORD listBase) override;
    bool UseFontOutlines(HDC, const LOGFONTA&, DWORD, DWORD, DWORD, float, float,
                         std::vector<float>&) override {
        return false;
    }

private:
    struct Impl;
    std::unique_ptr<Impl> m;
};

/// The closest of `formats` (numbered from 1) to `want`: enough of each buffer first, then
/// the least surplus, multisampling only when asked for; 0 when there are none. The rule
/// every platform here chooses by.
ZEVCORE_API int ZEVClosestPixelFormat(const std::vector<ZEVPixelFormat>& formats,
                                      const ZEVPixelFormat& want);

/// An offscreen surface of its own with a context on it, current from construction to
/// destruction: what tools, tests and benchmarks draw into. Uses the installed platform.
class ZEVCORE_API CZEVOffscreenGL {
public:
    /// `depthBits` of depth buffer and 8 bits of stencil, RGBA colour of 8 bits a channel.
    CZEVOffscreenGL(int width, int height, int depthBits = 24);
    ~CZEVOffscreenGL();
    CZEVOffscreenGL(const CZEVOffscreenGL&) = delete;
    CZEVOffscreenGL& operator=(const CZEVOffscreenGL&) = delete;

    /// Whether the context was made and is current; `error()` says otherwise why not.
    bool ok() const { return m_ok; }
    const std::string& error() const { return m_error; }
    int width() const { return m_width; }
    int height() const { return m_height; }
    HDC dc() const { return m_dc; }
    HGLRC rc() const { return m_rc; }
    bool makeCurrent();

private:
    int m_width, m_height;
    HDC m_dc = nullptr;
    HGLRC m_rc = nullptr;
    bool m_ok = false;
    std::string m_error;
};
