// The headless OpenGL platform: pbuffers on an EGL display of Mesa's surfaceless platform.

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "zevcore/platform/gl/GLPlatform.h"
#include "zevcore/platform/gl/SurfaceTable.hpp"

namespace {

struct EglSurface {
    EGLSurface pbuffer = EGL_NO_SURFACE;
};
using Table = GLPlatform::detail::SurfaceTable<EglSurface, EGLContext>;
using Surface = Table::Surface;

int attrib(EGLDisplay display, EGLConfig config, EGLint name) {
    EGLint value = 0;
    eglGetConfigAttrib(display, config, name, &value);
    return value;
}

}  // namespace

struct CZEVEGLPlatform::Impl : Table {
    bool tried = false;
    EGLDisplay display = EGL_NO_DISPLAY;
    std::string displayError;
    // The formats offered: the display's configurations that OpenGL can render to in a
    // pbuffer, in the display's order. Format n is configs[n - 1].
    std::vector<EGLConfig> configs;

    bool open() {
        if (tried) return display != EGL_NO_DISPLAY;
        tried = true;
        EGLDisplay d = EGL_NO_DISPLAY;
        auto getPlatformDisplay = reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(
            eglGetProcAddress("eglGetPlatformDisplayEXT"));
        if (getPlatformDisplay)
            d = getPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
        if (d == EGL_NO_DISPLAY) d = eglGetDisplay(EGL_DEFAULT_DISPLAY);
        EGLint major = 0, minor = 0;
        if (d == EGL_NO_DISPLAY || !eglInitialize(d, &major, &minor)) {
            displayError = "no EGL display (Mesa's surfaceless platform is not installed)";
            return false;
        }
        if (!eglBindAPI(EGL_OPENGL_API)) {
            displayError = "the EGL display has no desktop OpenGL";
            eglTerminate(d);
            return false;
        }
        EGLint count = 0;
        eglGetConfigs(d, nullptr, 0, &count);
        std::vector<EGLConfig> all(static_cast<size_t>(std::max(count, 0)));
        if (count > 0) eglGetConfigs(d, all.data(), count, &count);
        all.resize(static_cast<size_t>(std::max(count, 0)));
        for (EGLConfig c : all)
            if ((attrib(d, c, EGL_RENDERABLE_TYPE) & EGL_OPENGL_BIT) &&
                (attrib(d, c, EGL_SURFACE_TYPE) & EGL_PBUFFER_BIT) &&
                attrib(d, c, EGL_COLOR_BUFFER_TYPE) == EGL_RGB_BUFFER)
                configs.push_back(c);
        if (configs.empty()) {
            displayError = "the EGL display offers no OpenGL pbuffer format";
            eglTerminate(d);
            return false;
        }
        display = d;
        return true;
    }

    ZEVPixelFormat describe(int format) const {
        EGLConfig c = configs[static_cast<size_t>(format - 1)];
        ZEVPixelFormat f;
        f.drawToWindow = (attrib(display, c, EGL_SURFACE_TYPE) & EGL_WINDOW_BIT) != 0;
        f.doubleBuffer = false;
        f.indexed = false;
        f.accelerated = attrib(display, c, EGL_CONFIG_CAVEAT) != EGL_SLOW_CONFIG;
        f.colorBits = attrib(display, c, EGL_RED_SIZE) + attrib(display, c, EGL_GREEN_SIZE) +
                      attrib(display, c, EGL_BLUE_SIZE);
        f.alphaBits = attrib(display, c, EGL_ALPHA_SIZE);
        f.depthBits = attrib(display, c, EGL_DEPTH_SIZE);
        f.stencilBits = attrib(display, c, EGL_STENCIL_SIZE);
        f.sampleBuffers = attrib(display, c, EGL_SAMPLE_BUFFERS);
        f.samples = attrib(display, c, EGL_SAMPLES);
        return f;
    }

    bool makePbuffer(Surface& s) {
        const EGLint size[] = {EGL_WIDTH, std::max(s.width, 1), EGL_HEIGHT, std::max(s.height, 1),
                               EGL_NONE};
        s.pbuffer =
            eglCreatePbufferSurface(display, configs[static_cast<size_t>(s.format - 1)], size);
        if (s.pbuffer == EGL_NO_SURFACE) fail(static_cast<DWORD>(eglGetError()));
        return s.pbuffer != EGL_NO_SURFACE;
    }

    int count() const { return static_cast<int>(configs.size()); }
    auto describer() const {
        return [this](int n) { return describe(n); };
    }
    void destroy(Surface& s) const {
        if (s.pbuffer != EGL_NO_SURFACE) eglDestroySurface(display, s.pbuffer);
    }
};

namespace {

// Every format has pbuffers.
bool anyFormat(const Surface&, int) {
    return true;
}

}  // namespace

CZEVEGLPlatform::CZEVEGLPlatform() : m(std::make_unique<Impl>()) {}

CZEVEGLPlatform::~CZEVEGLPlatform() {
    if (m->display == EGL_NO_DISPLAY) return;
    eglMakeCurrent(m->display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    m->destroyAll([this](Surface& s) { m->destroy(s); },
                  [this](Table::Context& c) { eglDestroyContext(m->display, c.native); });
    eglTerminate(m->display);
}

bool CZEVEGLPlatform::Available() {
    return m->open();
}

std::string CZEVEGLPlatform::DisplayError() {
    m->open();
    return m->displayError;
}

HDC CZEVEGLPlatform::GetDC(HWND window, int width, int height) {
    // Windows belong to a window system, which this platform has not.
    if (window || !Table::sizeAllowed(width, height) || !m->open()) {
        Table::fail(ZEV_ERROR_INVALID_HANDLE);
        return nullptr;
    }
    auto* s = new Surface;
    s->width = width;
    s->height = height;
    return m->add(s);
}

bool CZEVEGLPlatform::ReleaseDC(HDC dc) {
    return m->release(
        dc, [this] { MakeCurrent(nullptr, nullptr); }, [this](Surface& s) { m->destroy(s); });
}

bool CZEVEGLPlatform::ResizeDC(HDC dc, int width, int height) {
    bool changed = false;
    Surface* s = m->resize(dc, width, height, changed);
    if (!s) return false;
    if (!changed || s->pbuffer == EGL_NO_SURFACE) return true;
    EGLSurface old = s->pbuffer;
    if (!m->makePbuffer(*s)) {
        s->pbuffer = old;
        return false;
    }
    if (Table::currentDC() == dc)
        if (Table::Context* c = m->context(Table::currentRC()))
            eglMakeCurrent(m->display, s->pbuffer, s->pbuffer, c->native);
    eglDestroySurface(m->display, old);
    return true;
}

bool CZEVEGLPlatform::GetDCSize(HDC dc, int& width, int& height) {
    return m->size(dc, width, height);
}

int CZEVEGLPlatform::ChoosePixelFormat(HDC dc, const ZEVPixelFormat& want) {
    // Pbuffers have one buffer: a request for two is met by one.
    ZEVPixelFormat single = want;
    single.doubleBuffer = false;
    return m->closest(dc, single, m->count(), anyFormat, m->describer());
}

std::vector<int> CZEVEGLPlatform::ChoosePixelFormats(HDC dc, const ZEVPixelFormat& want) {
    return m->atLeast(dc, want, m->count(), m->describer(), false);
}

bool CZEVEGLPlatform::SetPixelFormat(HDC dc, int format) {
    return m->setFormat(dc, format, m->count(), anyFormat,
                        [this](Surface& s) { return m->makePbuffer(s); });
}

int CZEVEGLPlatform::GetPixelFormat(HDC dc) {
    return m->format(dc);
}

int CZEVEGLPlatform::DescribePixelFormat(HDC dc, int format, ZEVPixelFormat* out) {
    return m->describeFormat(dc, format, out, m->count(), m->describer());
}

HGLRC CZEVEGLPlatform::CreateContext(HDC dc) {
    Surface* s = m->formatted(dc);
    if (!s) return nullptr;
    eglBindAPI(EGL_OPENGL_API);
    // The drawing is fixed-function: ask for the compatibility profile by name, and fall back
    // on whatever the display makes by default (a compatibility context on Mesa).
    const EGLint compatibility[] = {EGL_CONTEXT_OPENGL_PROFILE_MASK,
                                    EGL_CONTEXT_OPENGL_COMPATIBILITY_PROFILE_BIT, EGL_NONE};
    EGLConfig config = m->configs[static_cast<size_t>(s->format - 1)];
    EGLContext c = eglCreateContext(m->display, config, EGL_NO_CONTEXT, compatibility);
    if (c == EGL_NO_CONTEXT) c = eglCreateContext(m->display, config, EGL_NO_CONTEXT, nullptr);
    if (c == EGL_NO_CONTEXT) {
        Table::fail(static_cast<DWORD>(eglGetError()));
        return nullptr;
    }
    return m->add(new Table::Context{s->format, c});
}

bool CZEVEGLPlatform::DeleteContext(HGLRC rc) {
    return m->release(
        rc, [this] { MakeCurrent(nullptr, nullptr); },
        [this](Table::Context& c) { eglDestroyContext(m->display, c.native); });
}

bool CZEVEGLPlatform::MakeCurrent(HDC dc, HGLRC rc) {
    return m->makeCurrent(
        dc, rc,
        [this] {
            if (m->display != EGL_NO_DISPLAY)
                eglMakeCurrent(m->display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        },
        [this](Surface& s, Table::Context& c) {
            if (eglMakeCurrent(m->display, s.pbuffer, s.pbuffer, c.native)) return true;
            Table::fail(static_cast<DWORD>(eglGetError()));
            return false;
        });
}

HGLRC CZEVEGLPlatform::GetCurrentContext() {
    return Table::currentRC();
}

HDC CZEVEGLPlatform::GetCurrentDC() {
    return Table::currentDC();
}

bool CZEVEGLPlatform::SwapBuffers(HDC dc) {
    return m->surface(dc) != nullptr;
}

void* CZEVEGLPlatform::GetProcAddress(const char* name) {
    if (!name) return nullptr;
    return reinterpret_cast<void*>(eglGetProcAddress(name));
}

std::string CZEVEGLPlatform::GetExtensionsString(HDC dc) {
    if (!m->surface(dc)) return "";
    const char* text = eglQueryString(m->display, EGL_EXTENSIONS);
    return text ? text : "";
}

DWORD CZEVEGLPlatform::GetLastError() {
    return Table::lastError();
}
