// The OpenGL platform for X windows: GLX 1.3 drawables and contexts, core X fonts.

#include <GL/glx.h>
#include <X11/Xlib.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "zevcore/platform/gl/GLPlatform.h"
#include "zevcore/platform/gl/SurfaceTable.hpp"

namespace {

struct GlxSurface {
    Window window = 0;  // 0 for an offscreen surface
    GLXPbuffer pbuffer = 0;
    GLXDrawable drawable() const { return window ? window : pbuffer; }
};
using Table = GLPlatform::detail::SurfaceTable<GlxSurface, GLXContext>;
using Surface = Table::Surface;

// X reports a failed request through its error handler, which by default ends the process;
// while GLX is asked for drawables and contexts, a failure is noted instead.
bool gXFailed = false;
int noteXError(Display*, XErrorEvent*) {
    gXFailed = true;
    return 0;
}

class XErrorTrap {
public:
    // Errors of requests made before the trap are taken in and forgotten, so that only
    // the trapped requests' count.
    explicit XErrorTrap(Display* display) : m_display(display) {
        m_previous = XSetErrorHandler(noteXError);
        XSync(m_display, False);
        gXFailed = false;
    }
    ~XErrorTrap() { XSetErrorHandler(m_previous); }
    XErrorTrap(const XErrorTrap&) = delete;
    XErrorTrap& operator=(const XErrorTrap&) = delete;
    bool failed() {
        XSync(m_display, False);
        return gXFailed;
    }

private:
    Display* m_display;
    int (*m_previous)(Display*, XErrorEvent*);
};

}  // namespace

struct CZEVGLXPlatform::Impl : Table {
    std::string name;
    bool tried = false;
    Display* display = nullptr;
    std::string displayError;
    std::vector<GLXFBConfig> configs;

    bool open() {
        if (tried) return display != nullptr;
        tried = true;
        Display* d = XOpenDisplay(name.empty() ? nullptr : name.c_str());
        if (!d) {
            displayError = "no X display";
            return false;
        }
        int major = 0, minor = 0;
        if (!glXQueryVersion(d, &major, &minor) || major < 1 || (major == 1 && minor < 3)) {
            displayError = "the X display has no GLX 1.3";
            XCloseDisplay(d);
            return false;
        }
        int count = 0;
        GLXFBConfig* all = glXGetFBConfigs(d, DefaultScreen(d), &count);
        for (int i = 0; i < count; ++i) {
            int render = 0, drawables = 0;
            glXGetFBConfigAttrib(d, all[i], GLX_RENDER_TYPE, &render);
            glXGetFBConfigAttrib(d, all[i], GLX_DRAWABLE_TYPE, &drawables);
            if ((render & GLX_RGBA_BIT) && (drawables & (GLX_WINDOW_BIT | GLX_PBUFFER_BIT)))
                configs.push_back(all[i]);
        }
        if (all) XFree(all);
        if (configs.empty()) {
            displayError = "the X display offers no OpenGL format";
            XCloseDisplay(d);
            return false;
        }
        display = d;
        return true;
    }

    int attrib(int format, int name) const {
        int value = 0;
        glXGetFBConfigAttrib(display, configs[static_cast<size_t>(format - 1)], name, &value);
        return value;
    }

    ZEVPixelFormat describe(int n) const {
        ZEVPixelFormat f;
        f.drawToWindow = (attrib(n, GLX_DRAWABLE_TYPE) & GLX_WINDOW_BIT) != 0;
        f.doubleBuffer = attrib(n, GLX_DOUBLEBUFFER) != 0;
        f.indexed = false;
        f.accelerated = attrib(n, GLX_CONFIG_CAVEAT) != GLX_SLOW_CONFIG;
        f.colorBits =
            attrib(n, GLX_RED_SIZE) + attrib(n, GLX_GREEN_SIZE) + attrib(n, GLX_BLUE_SIZE);
        f.alphaBits = attrib(n, GLX_ALPHA_SIZE);
        f.depthBits = attrib(n, GLX_DEPTH_SIZE);
        f.stencilBits = attrib(n, GLX_STENCIL_SIZE);
        f.sampleBuffers = attrib(n, GLX_SAMPLE_BUFFERS);
        f.samples = attrib(n, GLX_SAMPLES);
        return f;
    }

    // The formats a surface can take: a window's must have its visual, an offscreen one
    // must allow pbuffers.
    bool fits(const Surface& s, int n) const {
        // A software renderer moves a pbuffer's pixels through images of the screen's depth:
        // a pbuffer of another depth (32 bits with alpha on a 24-bit screen) fails there.
        if (!s.window)
            return (attrib(n, GLX_DRAWABLE_TYPE) & GLX_PBUFFER_BIT) &&
                   attrib(n, GLX_BUFFER_SIZE) == DefaultDepth(display, DefaultScreen(display));
        XWindowAttributes a;
        if (!XGetWindowAttributes(display, s.window, &a) || !a.visual) return false;
        return (attrib(n, GLX_DRAWABLE_TYPE) & GLX_WINDOW_BIT) &&
               static_cast<VisualID>(attrib(n, GLX_VISUAL_ID)) == XVisualIDFromVisual(a.visual);
    }

    bool makePbuffer(Surface& s) {
        const int size[] = {GLX_PBUFFER_WIDTH, std::max(s.width, 1), GLX_PBUFFER_HEIGHT,
                            std::max(s.height, 1), None};
        XErrorTrap trap(display);
        s.pbuffer = glXCreatePbuffer(display, configs[static_cast<size_t>(s.format - 1)], size);
        if (trap.failed() || !s.pbuffer) {
            s.pbuffer = 0;
            fail(ZEV_ERROR_INVALID_PIXEL_FORMAT);
            return false;
        }
        return true;
    }

    int count() const { return static_cast<int>(configs.size()); }
    auto describer() const {
        return [this](int n) { return describe(n); };
    }
    auto fitter() const {
        return [this](const Surface& s, int n) { return fits(s, n); };
    }
    void destroy(Surface& s) const {
        if (s.pbuffer) glXDestroyPbuffer(display, s.pbuffer);
    }
};

CZEVGLXPlatform::CZEVGLXPlatform(const char* displayName) : m(std::make_unique<Impl>()) {
    if (displayName) m->name = displayName;
}

CZEVGLXPlatform::~CZEVGLXPlatform() {
    if (!m->display) return;
    glXMakeContextCurrent(m->display, None, None, nullptr);
    m->destroyAll([this](Surface& s) { m->destroy(s); },
                  [this](Table::Context& c) { glXDestroyContext(m->display, c.native); });
    XCloseDisplay(m->display);
}

bool CZEVGLXPlatform::Available() {
    return m->open();
}

std::string CZEVGLXPlatform::DisplayError() {
    m->open();
    return m->displayError;
}

void* CZEVGLXPlatform::XDisplay() {
    return m->open() ? m->display : nullptr;
}

HDC CZEVGLXPlatform::GetDC(HWND window, int width, int height) {
    if (!m->open()) return nullptr;
    const auto w = static_cast<Window>(reinterpret_cast<std::uintptr_t>(window));
    if (w) {
        XWindowAttributes a;
        XErrorTrap trap(m->display);
        const bool known = XGetWindowAttributes(m->display, w, &a) && !trap.failed();
        if (!known) {
            Table::fail(ZEV_ERROR_INVALID_HANDLE);
            return nullptr;
        }
        width = a.width;
        height = a.height;
    } else if (!Table::sizeAllowed(width, height)) {
        Table::fail(ZEV_ERROR_INVALID_HANDLE);
        return nullptr;
    }
    auto* s = new Surface;
    s->window = w;
    s->width = width;
    s->height = height;
    return m->add(s);
}

bool CZEVGLXPlatform::ReleaseDC(HDC dc) {
    return m->release(
        dc, [this] { MakeCurrent(nullptr, nullptr); }, [this](Surface& s) { m->destroy(s); });
}

bool CZEVGLXPlatform::ResizeDC(HDC dc, int width, int height) {
    bool changed = false;
    Surface* s = m->resize(dc, width, height, changed);
    if (!s) return false;
    // A window's drawable follows the window by itself.
    if (!changed || s->window || !s->pbuffer) return true;
    const GLXPbuffer old = s->pbuffer;
    if (!m->makePbuffer(*s)) {
        s->pbuffer = old;
        return false;
    }
    if (Table::currentDC() == dc)
        if (Table::Context* c = m->context(Table::currentRC()))
            glXMakeContextCurrent(m->display, s->pbuffer, s->pbuffer, c->native);
    glXDestroyPbuffer(m->display, old);
    return true;
}

bool CZEVGLXPlatform::GetDCSize(HDC dc, int& width, int& height) {
    return m->size(dc, width, height);
}

int CZEVGLXPlatform::ChoosePixelFormat(HDC dc, const ZEVPixelFormat& want) {
    Surface* s = m->surface(dc);
    if (!s) return 0;
    // A pbuffer has one buffer: a request for two is met by one.
    ZEVPixelFormat asked = want;
    if (!s->window) asked.doubleBuffer = false;
    return m->closest(dc, asked, m->count(), m->fitter(), m->describer());
}

std::vector<int> CZEVGLXPlatform::ChoosePixelFormats(HDC dc, const ZEVPixelFormat& want) {
    return m->atLeast(dc, want, m->count(), m->describer(), true);
}

bool CZEVGLXPlatform::SetPixelFormat(HDC dc, int format) {
    return m->setFormat(dc, format, m->count(), m->fitter(),
                        [this](Surface& s) { return s.window || m->makePbuffer(s); });
}

int CZEVGLXPlatform::GetPixelFormat(HDC dc) {
    return m->format(dc);
}

int CZEVGLXPlatform::DescribePixelFormat(HDC dc, int format, ZEVPixelFormat* out) {
    return m->describeFormat(dc, format, out, m->count(), m->describer());
}

HGLRC CZEVGLXPlatform::CreateContext(HDC dc) {
    Surface* s = m->formatted(dc);
    if (!s) return nullptr;
    // A context made the old way is a compatibility context, which the fixed-function
    // drawing needs.
    XErrorTrap trap(m->display);
    GLXContext c = glXCreateNewContext(m->display, m->configs[static_cast<size_t>(s->format - 1)],
                                       GLX_RGBA_TYPE, nullptr, True);
    if (trap.failed() || !c) {
        Table::fail(ZEV_ERROR_INVALID_PIXEL_FORMAT);
        return nullptr;
    }
    return m->add(new Table::Context{s->format, c});
}

bool CZEVGLXPlatform::DeleteContext(HGLRC rc) {
    return m->release(
        rc, [this] { MakeCurrent(nullptr, nullptr); },
        [this](Table::Context& c) { glXDestroyContext(m->display, c.native); });
}

bool CZEVGLXPlatform::MakeCurrent(HDC dc, HGLRC rc) {
    return m->makeCurrent(
        dc, rc,
        [this] {
            if (m->display) glXMakeContextCurrent(m->display, None, None, nullptr);
        },
        [this](Surface& s, Table::Context& c) {
            // The switch flushes the context that was current, whose late errors (the
            // software rasteriser's image transfers) say nothing of the new pair: the call's
            // answer decides.
            XErrorTrap trap(m->display);
            const bool made =
                glXMakeContextCurrent(m->display, s.drawable(), s.drawable(), c.native);
            trap.failed();
            if (!made) Table::fail(ZEV_ERROR_INVALID_PIXEL_FORMAT);
            return made;
        });
}

HGLRC CZEVGLXPlatform::GetCurrentContext() {
    return Table::currentRC();
}

HDC CZEVGLXPlatform::GetCurrentDC() {
    return Table::currentDC();
}

bool CZEVGLXPlatform::SwapBuffers(HDC dc) {
    Surface* s = m->surface(dc);
    if (!s || !s->drawable()) return false;
    glXSwapBuffers(m->display, s->drawable());
    return true;
}

void* CZEVGLXPlatform::GetProcAddress(const char* name) {
    if (!name) return nullptr;
    return reinterpret_cast<void*>(glXGetProcAddressARB(reinterpret_cast<const GLubyte*>(name)));
}

std::string CZEVGLXPlatform::GetExtensionsString(HDC dc) {
    if (!m->surface(dc)) return "";
    const char* text = glXQueryExtensionsString(m->display, DefaultScreen(m->display));
    return text ? text : "";
}

DWORD CZEVGLXPlatform::GetLastError() {
    return Table::lastError();
}

void CZEVGLXPlatform::InvalidateRect(HWND window) {
    const auto w = static_cast<Window>(reinterpret_cast<std::uintptr_t>(window));
    if (!w || !m->open()) return;
    XErrorTrap trap(m->display);
    XClearArea(m->display, w, 0, 0, 0, 0, True);  // an Expose of the whole window
    XFlush(m->display);
}

bool CZEVGLXPlatform::UseFontBitmaps(HDC dc, const LOGFONTA& font, DWORD first, DWORD count,
                                     DWORD listBase) {
    if (!m->surface(dc) || count == 0) return false;
    // The face by name at the height asked (a negative height is a character height, as a
    // positive one is here), then the server's "fixed".
    char face[LF_FACESIZE + 1] = {};
    std::memcpy(face, font.lfFaceName, LF_FACESIZE);
    for (char& c : face)
        if (c == '-' || c == '*' || c == '?') c = ' ';
    const long height = font.lfHeight < 0 ? -static_cast<long>(font.lfHeight) : font.lfHeight;
    char pattern[160];
    std::snprintf(pattern, sizeof pattern, "-*-%s-%s-%s-*-*-%ld-*-*-*-*-*-iso8859-1",
                  face[0] ? face : "*", font.lfWeight >= 600 ? "bold" : "medium",
                  font.lfItalic ? "i" : "r", std::clamp(height, 1L, 500L));
    XErrorTrap trap(m->display);
    XFontStruct* x = XLoadQueryFont(m->display, pattern);
    if (!x) x = XLoadQueryFont(m->display, "fixed");
    if (!x || trap.failed()) return false;
    // Mesa's glXUseXFont raises GL_OUT_OF_MEMORY on a glyph with no pixels (the space), as
    // its display lists do for any empty bitmap; such a glyph's list gets one unset pixel
    // and the advance, through the entry points GLX hands out.
    using NewList = void (*)(unsigned, unsigned);
    using EndList = void (*)();
    using Bitmap = void (*)(int, int, float, float, float, float, const unsigned char*);
    auto newList = reinterpret_cast<NewList>(GetProcAddress("glNewList"));
    auto endList = reinterpret_cast<EndList>(GetProcAddress("glEndList"));
    auto bitmap = reinterpret_cast<Bitmap>(GetProcAddress("glBitmap"));
    if (!newList || !endList || !bitmap) {
        XFreeFont(m->display, x);
        return false;
    }
    const unsigned compile = 0x1300;  // GL_COMPILE
    for (DWORD i = 0; i < count; ++i) {
        const unsigned c = first + i;
        const XCharStruct* metrics = &x->max_bounds;
        const bool inFont = c >= x->min_char_or_byte2 && c <= x->max_char_or_byte2;
        if (x->per_char && inFont) metrics = &x->per_char[c - x->min_char_or_byte2];
        const bool empty = !inFont || metrics->rbearing - metrics->lbearing <= 0 ||
                           metrics->ascent + metrics->descent <= 0;
        if (empty) {
            newList(listBase + i, compile);
            static const unsigned char blank[4] = {0, 0, 0, 0};
            bitmap(1, 1, 0.0f, 0.0f, inFont ? static_cast<float>(metrics->width) : 0.0f, 0.0f,
                   blank);
            endList();
        } else {
            glXUseXFont(x->fid, static_cast<int>(c), 1, static_cast<int>(listBase + i));
        }
    }
    XFreeFont(m->display, x);
    return !trap.failed();
}
