// The headless OpenGL platform: pbuffers on an EGL display of Mesa's surfaceless platform.

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <unordered_set>

#include "zevcore/platform/gl/GLPlatform.h"

namespace {

struct Surface {
    int width = 0;
    int height = 0;
    int format = 0;  // from 1, 0 while unset
    EGLSurface pbuffer = EGL_NO_SURFACE;
};

struct Context {
    int format = 0;
    EGLContext context = EGL_NO_CONTEXT;
};

// The current pair is the thread's, as EGL's is.
thread_local HDC tCurrentDC = nullptr;
thread_local HGLRC tCurrentRC = nullptr;
thread_local DWORD tLastError = 0;

int attrib(EGLDisplay display, EGLConfig config, EGLint name) {
    EGLint value = 0;
    eglGetConfigAttrib(display, config, name, &value);
    return value;
}

}  // namespace

struct CZEVEGLPlatform::Impl {
    bool tried = false;
    EGLDisplay display = EGL_NO_DISPLAY;
    std::string displayError;
    // The formats offered: the display's configurations that OpenGL can render to in a
    // pbuffer, in the display's order. Format n is configs[n - 1].
    std::vector<EGLConfig> configs;
    std::unordered_set<Surface*> surfaces;
    std::unordered_set<Context*> contexts;

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

    Surface* surface(HDC dc) {
        auto* s = reinterpret_cast<Surface*>(dc);
        if (!dc || !surfaces.count(s)) {
            tLastError = ZEV_ERROR_INVALID_HANDLE;
            return nullptr;
        }
        return s;
    }
    Context* context(HGLRC rc) {
        auto* c = reinterpret_cast<Context*>(rc);
        if (!rc || !contexts.count(c)) {
            tLastError = ZEV_ERROR_INVALID_HANDLE;
            return nullptr;
        }
        return c;
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
        if (s.pbuffer == EGL_NO_SURFACE) tLastError = static_cast<DWORD>(eglGetError());
        return s.pbuffer != EGL_NO_SURFACE;
    }
};

CZEVEGLPlatform::CZEVEGLPlatform() : m(std::make_unique<Impl>()) {}

CZEVEGLPlatform::~CZEVEGLPlatform() {
    if (m->display == EGL_NO_DISPLAY) return;
    eglMakeCurrent(m->display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    for (Context* c : m->contexts) {
        eglDestroyContext(m->display, c->context);
        delete c;
    }
    for (Surface* s : m->surfaces) {
        if (s->pbuffer != EGL_NO_SURFACE) eglDestroySurface(m->display, s->pbuffer);
        delete s;
    }
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
    if (window || width < 1 || height < 1 || width > 16384 || height > 16384 || !m->open()) {
        tLastError = ZEV_ERROR_INVALID_HANDLE;
        return nullptr;
    }
    auto* s = new Surface{width, height, 0, EGL_NO_SURFACE};
    m->surfaces.insert(s);
    return reinterpret_cast<HDC>(s);
}

bool CZEVEGLPlatform::ReleaseDC(HDC dc) {
    Surface* s = m->surface(dc);
    if (!s) return false;
    if (tCurrentDC == dc) MakeCurrent(nullptr, nullptr);
    if (s->pbuffer != EGL_NO_SURFACE) eglDestroySurface(m->display, s->pbuffer);
    m->surfaces.erase(s);
    delete s;
    return true;
}

bool CZEVEGLPlatform::ResizeDC(HDC dc, int width, int height) {
    Surface* s = m->surface(dc);
    if (!s || width < 1 || height < 1 || width > 16384 || height > 16384) return false;
    if (s->width == width && s->height == height) return true;
    s->width = width;
    s->height = height;
    if (s->pbuffer == EGL_NO_SURFACE) return true;
    const bool current = tCurrentDC == dc;
    EGLSurface old = s->pbuffer;
    if (!m->makePbuffer(*s)) {
        s->pbuffer = old;
        return false;
    }
    if (current) {
        Context* c = m->context(tCurrentRC);
        if (c) eglMakeCurrent(m->display, s->pbuffer, s->pbuffer, c->context);
    }
    eglDestroySurface(m->display, old);
    return true;
}

bool CZEVEGLPlatform::GetDCSize(HDC dc, int& width, int& height) {
    Surface* s = m->surface(dc);
    if (!s) return false;
    width = s->width;
    height = s->height;
    return true;
}

int CZEVEGLPlatform::ChoosePixelFormat(HDC dc, const ZEVPixelFormat& want) {
    if (!m->surface(dc)) return 0;
    std::vector<ZEVPixelFormat> formats;
    for (int n = 1; n <= static_cast<int>(m->configs.size()); ++n)
        formats.push_back(m->describe(n));
    // Pbuffers have one buffer: a request for two is met by one.
    ZEVPixelFormat single = want;
    single.doubleBuffer = false;
    return ZEVClosestPixelFormat(formats, single);
}

std::vector<int> CZEVEGLPlatform::ChoosePixelFormats(HDC dc, const ZEVPixelFormat& want) {
    std::vector<int> found;
    if (!m->surface(dc) || want.coverageSamples > 0) return found;
    for (int n = 1; n <= static_cast<int>(m->configs.size()); ++n) {
        ZEVPixelFormat f = m->describe(n);
        if (f.colorBits >= want.colorBits && f.alphaBits >= want.alphaBits &&
            f.depthBits >= want.depthBits && f.stencilBits >= want.stencilBits &&
            f.sampleBuffers == want.sampleBuffers && f.samples == want.samples)
            found.push_back(n);
    }
    return found;
}

bool CZEVEGLPlatform::SetPixelFormat(HDC dc, int format) {
    Surface* s = m->surface(dc);
    if (!s) return false;
    if (format < 1 || format > static_cast<int>(m->configs.size()) ||
        (s->format != 0 && s->format != format)) {
        tLastError = ZEV_ERROR_INVALID_PIXEL_FORMAT;
        return false;
    }
    if (s->format == format) return true;
    s->format = format;
    if (!m->makePbuffer(*s)) {
        s->format = 0;
        return false;
    }
    return true;
}

int CZEVEGLPlatform::GetPixelFormat(HDC dc) {
    Surface* s = m->surface(dc);
    return s ? s->format : 0;
}

int CZEVEGLPlatform::DescribePixelFormat(HDC dc, int format, ZEVPixelFormat* out) {
    if (!m->surface(dc)) return 0;
    const int count = static_cast<int>(m->configs.size());
    if (out && format >= 1 && format <= count) *out = m->describe(format);
    return count;
}

HGLRC CZEVEGLPlatform::CreateContext(HDC dc) {
    Surface* s = m->surface(dc);
    if (!s) return nullptr;
    if (s->format == 0) {
        tLastError = ZEV_ERROR_INVALID_PIXEL_FORMAT;
        return nullptr;
    }
    eglBindAPI(EGL_OPENGL_API);
    // The drawing is fixed-function: ask for the compatibility profile by name, and fall back
    // on whatever the display makes by default (a compatibility context on Mesa).
    const EGLint compatibility[] = {EGL_CONTEXT_OPENGL_PROFILE_MASK,
                                    EGL_CONTEXT_OPENGL_COMPATIBILITY_PROFILE_BIT, EGL_NONE};
    EGLConfig config = m->configs[static_cast<size_t>(s->format - 1)];
    EGLContext c = eglCreateContext(m->display, config, EGL_NO_CONTEXT, compatibility);
    if (c == EGL_NO_CONTEXT) c = eglCreateContext(m->display, config, EGL_NO_CONTEXT, nullptr);
    if (c == EGL_NO_CONTEXT) {
        tLastError = static_cast<DWORD>(eglGetError());
        return nullptr;
    }
    auto* context = new Context{s->format, c};
    m->contexts.insert(context);
    return reinterpret_cast<HGLRC>(context);
}

bool CZEVEGLPlatform::DeleteContext(HGLRC rc) {
    Context* c = m->context(rc);
    if (!c) return false;
    if (tCurrentRC == rc) MakeCurrent(nullptr, nullptr);
    eglDestroyContext(m->display, c->context);
    m->contexts.erase(c);
    delete c;
    return true;
}

bool CZEVEGLPlatform::MakeCurrent(HDC dc, HGLRC rc) {
    if (!dc && !rc) {
        if (m->display != EGL_NO_DISPLAY)
            eglMakeCurrent(m->display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        tCurrentDC = nullptr;
        tCurrentRC = nullptr;
        return true;
    }
    Surface* s = m->surface(dc);
    Context* c = m->context(rc);
    if (!s || !c) return false;
    if (s->format == 0 || s->format != c->format) {
        tLastError = ZEV_ERROR_INVALID_PIXEL_FORMAT;
        return false;
    }
    if (!eglMakeCurrent(m->display, s->pbuffer, s->pbuffer, c->context)) {
        tLastError = static_cast<DWORD>(eglGetError());
        return false;
    }
    tCurrentDC = dc;
    tCurrentRC = rc;
    return true;
}

HGLRC CZEVEGLPlatform::GetCurrentContext() {
    return tCurrentRC;
}

HDC CZEVEGLPlatform::GetCurrentDC() {
    return tCurrentDC;
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
    return tLastError;
}
