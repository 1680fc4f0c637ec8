#pragma once

// The base of every 3D view: one OpenGL rendering context on the view's device context, up to
// 20 stock display lists and an optional character set. Derived views draw in `OnDrawGL`.
//
// The host forwards its window's events (`OnCreate`, `OnSize`, `OnDraw`, `OnDestroy`); what
// the view needs of the window system goes through `ZEVGL()` (platform/gl/GLPlatform.h), and
// its messages through `ZEVDialogs()`. With no window (a null HWND) the view draws into an
// offscreen surface of the platform's, which is how it runs with no display at all.
//
// The paint guard, the last sizes seen by `OnSize` and `OnSizeGL` and the pixel-format request
// are process-wide, shared by every view: after a GL error in one paint no view paints again,
// and a second view of the same size as the first skips its own OnSizeGL.

#include <string>
#include <vector>

#include "zevcore/Export.h"
#include "zevcore/geometry/Point3D.h"
#include "zevcore/platform/Types.h"
#include "zevcore/platform/framework/String.h"
#include "zevcore/platform/gl/GLPlatform.h"

struct GLUquadric;
struct GLUtesselator;

class ZEVCORE_API CGLEnabledView {
public:
    enum ColorsNumber { cnIndexed = 0, cnThousands = 1, cnMillions = 2, cnMillionsAlpha = 3 };
    enum ZAccuracy { zaNormal = 0, zaAccurate = 1 };

    /// The number of stock display lists.
    static constexpr int kStockLists = 20;
    /// The window class and styles a host gives the view's window: clipped children and
    /// siblings (WS_CLIPCHILDREN | WS_CLIPSIBLINGS), and no erase of the background.
    static constexpr const char* kWindowClass = "GL_WINDOW_CLASS";
    static constexpr DWORD kWindowStyle = 0x02000000u | 0x04000000u;

    /// A display list of the view's context.
    class ZEVCORE_API CGLDispList {
    public:
        CGLDispList() = default;
        ~CGLDispList();
        CGLDispList(const CGLDispList&) = delete;
        CGLDispList& operator=(const CGLDispList&) = delete;
        /// Begins compiling (and drawing, with `execute`); the id is made once.
        void StartDef(bool execute = false);
        void EndDef();
        void Draw() const;
        unsigned id() const { return m_glListId; }

    private:
        unsigned m_glListId = 0;
        bool m_bIsolated = false;
    };

    /// A GLU quadric; errors show the tessellator's message.
    class ZEVCORE_API CGLQuadric {
    public:
        CGLQuadric(unsigned drawStyle, unsigned normals, unsigned orientation, int textureCoords);
        ~CGLQuadric();
        CGLQuadric(const CGLQuadric&) = delete;
        CGLQuadric& operator=(const CGLQuadric&) = delete;
        GLUquadric* get() const { return m_quadObj; }

    private:
        GLUquadric* m_quadObj = nullptr;
    };

    /// A GLU tessellator that only draws.
    class ZEVCORE_API CGLTesselator {
    public:
        CGLTesselator();
        ~CGLTesselator();
        CGLTesselator(const CGLTesselator&) = delete;
        CGLTesselator& operator=(const CGLTesselator&) = delete;
        void StartDef();
        /// GLU keeps the pointer until EndDef.
        void AddVertex(double* xyz);
        void ContourSeparator();
        /// Ends the contour and polygon and frees the vertices the combine callback made.
        void EndDef();
        void SetFilling(bool filled);
        void SetWindingRule(double rule);

    private:
        GLUtesselator* m_tessObj = nullptr;
    };

    CGLEnabledView();
    virtual ~CGLEnabledView();
    CGLEnabledView(const CGLEnabledView&) = delete;
    CGLEnabledView& operator=(const CGLEnabledView&) = delete;

    // The window's events.
    /// Makes the device context (of `window`, or offscreen of the given size when null), the
    /// pixel format and the context, then runs OnCreateGL. 0 on success, -1 after a message.
    int OnCreate(HWND window, int width, int height);
    /// One paint: clear, OnDrawGL, swap, and the error check.
    void OnDraw(CDC* dc);
    void OnSize(UINT type, int cx, int cy);
    void OnDestroy();
    BOOL OnEraseBkgnd(CDC*) { return 1; }

    // What derived views supply.
    virtual void OnDrawGL() {}
    virtual void OnSizeGL(int width, int height);
    virtual void OnCreateGL();
    virtual void VideoMode(ColorsNumber& colors, ZAccuracy& depth, int& doubleBuffer);

    /// Every GL call outside OnDraw goes between these two.
    void BeginGLCommands();
    void EndGLCommands();
    /// Compiles what follows into the first free stock list. With all 20 in use it does
    /// nothing (what follows is drawn at once instead of being kept).
    void StartStockDListDef();
    void EndStockListDef();
    void DrawStockDispLists();
    /// Deletes the stock lists; their slots stay taken.
    void ClearStockDispLists();
    /// A character set of `m_charsetCount` bitmap glyphs; without fonts on the platform there
    /// is none (`m_charsetDListBase` stays 0) and text draws nothing.
    void PrepareCharset2D(const LOGFONT* font);
    void PrepareCharset2D(const CString& fontName, int height = 12, bool bold = false,
                          bool italic = false);
    void PrepareCharset3D(const LOGFONT* font, float extrusion = 0.1f, float quality = 0.0f);
    void PrepareCharset3D(const CString& fontName, float extrusion = 0.1f, float quality = 0.0f);
    /// Draws the text at the current raster position.
    void Text2D(CString text);
    /// Draws the text from the model origin; answers its advance in model units.
    float Text3D(CString text);
    void SetMouseCursor(HICON cursor) { m_hMouseCursor = cursor; }
    HICON MouseCursor() const { return m_hMouseCursor; }

    CDC* GetCDC() const { return m_pCDC; }
    HGLRC GetRC() const { return m_hRC; }
    HWND GetWindow() const { return m_hWnd; }

    /// Whether a GL error has stopped painting, and the host's way to paint again once the
    /// cause is dealt with (after recreating a lost context, say).
    static bool IsPaintGuardSet();
    static void ClearPaintGuard();

    DWORD m_GLError = 0;
    int m_ClientWidth = 0;
    int m_ClientHeight = 0;
    double m_dAspectRatio = 1.0;
    int m_charsetCount = 128;
    CDC* m_pCDC = nullptr;
    HGLRC m_hRC = nullptr;
    unsigned m_DispListVector[kStockLists] = {};
    bool m_bInsideDispList = false;
    bool m_bExternGLCall = false;
    bool m_bExternDispListCall = false;
    unsigned m_charsetDListBase = 0;

protected:
    bool bSetupPixelFormat();
    /// Serves only the indexed colour mode, which no platform here offers: nothing to do.
    void CreateRGBPalette() {}
    bool isCurrent();
    void prepareCharset(const LOGFONT& font, bool outlines, float extrusion, float quality);

private:
    HWND m_hWnd = nullptr;
    HICON m_hMouseCursor = nullptr;
    std::vector<float> m_glyphAdvances;
};

/// The model point under window pixel `screen` (y down) at `depth` in 0 to 1; a negative depth
/// reads the depth buffer there. False, and `model` untouched, for a depth above 1 or a
/// failed unprojection.
ZEVCORE_API bool Get3DPointFromScreen(const CPoint& screen, CPoint3D& model, float depth);
/// The window pixel (y down, truncated) of a model point, and its depth; false when the
/// projection fails or gives no finite pixel.
ZEVCORE_API bool GetScreenPtFrom3DPoint(const CPoint3D& model, CPoint& screen);
ZEVCORE_API bool GetScreenPtFrom3DPoint(const CPoint3D& model, CPoint& screen, double& depth);

/// The best multisampled pixel format, searched once and cached; 0 when there is none. The
/// two flags are accepted for the callers' sake and do not change the search.
ZEVCORE_API int GetOpenGLPixelFormat(bool doubleBuffer, bool accelerated);
/// The text of the format found ("8x MSAA" and the like), "" when none.
ZEVCORE_API const char* GetOpenGLPixelFormatText();
/// The number of the format of `dc` that scores best for `depthBits` of depth and the
/// given buffering, walked from the last to the first; 0 when there is none.
ZEVCORE_API int EnumPixelFormats(HDC dc, unsigned depthBits, bool doubleBuffer);
/// Whether the search found a multisampled format.
ZEVCORE_API bool HaveOpenGLAntiAliasedText();
