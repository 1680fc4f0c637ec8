#pragma once

// The bookkeeping every OpenGL platform here shares: the surfaces (device contexts) and
// contexts it handed out, checked on every call that takes a handle back; the thread's
// current pair and last failure; the rules of sizes and pixel formats. What each window
// system keeps of a surface or context is its own (`SurfaceData`, `ContextData`), and what it
// does with them comes in as functions. Not part of the interface: nothing here is exported,
// and the header (.hpp) is not installed.

#include <unordered_set>
#include <vector>

#include "zevcore/platform/gl/GLPlatform.h"

namespace GLPlatform::detail {

template <class SurfaceData, class ContextData>
class SurfaceTable {
public:
    struct Surface : SurfaceData {
        int width = 0;
        int height = 0;
        int format = 0;  // from 1, 0 while unset
    };
    struct Context {
        int format = 0;
        ContextData native{};
    };

    SurfaceTable() = default;
    SurfaceTable(const SurfaceTable&) = delete;
    SurfaceTable& operator=(const SurfaceTable&) = delete;
    ~SurfaceTable() {
        for (Context* c : m_contexts) delete c;
        for (Surface* s : m_surfaces) delete s;
    }

    // ---- The thread's state: the current pair is the thread's, as the window systems' is.

    static void fail(DWORD code) { tLastError = code; }
    static DWORD lastError() { return tLastError; }
    static HDC currentDC() { return tCurrentDC; }
    static HGLRC currentRC() { return tCurrentRC; }

    // ---- Handles

    /// Whether a surface may have this size.
    static bool sizeAllowed(int width, int height) {
        return width >= 1 && height >= 1 && width <= 16384 && height <= 16384;
    }

    HDC add(Surface* s) {
        m_surfaces.insert(s);
        return reinterpret_cast<HDC>(s);
    }
    HGLRC add(Context* c) {
        m_contexts.insert(c);
        return reinterpret_cast<HGLRC>(c);
    }

    /// The surface behind a handle this table gave out; null (the failure noted) for any other.
    Surface* surface(HDC dc) {
        auto* s = reinterpret_cast<Surface*>(dc);
        if (!dc || !m_surfaces.count(s)) {
            fail(ZEV_ERROR_INVALID_HANDLE);
            return nullptr;
        }
        return s;
    }
    Context* context(HGLRC rc) {
        auto* c = reinterpret_cast<Context*>(rc);
        if (!rc || !m_contexts.count(c)) {
            fail(ZEV_ERROR_INVALID_HANDLE);
            return nullptr;
        }
        return c;
    }

    /// Takes a surface out: no longer current (through `unmakeCurrent`), its window-system
    /// part destroyed (`destroy`), its handle dead.
    template <class Unmake, class Destroy>
    bool release(HDC dc, Unmake unmakeCurrent, Destroy destroy) {
        Surface* s = surface(dc);
        if (!s) return false;
        if (tCurrentDC == dc) unmakeCurrent();
        destroy(*s);
        m_surfaces.erase(s);
        delete s;
        return true;
    }
    template <class Unmake, class Destroy>
    bool release(HGLRC rc, Unmake unmakeCurrent, Destroy destroy) {
        Context* c = context(rc);
        if (!c) return false;
        if (tCurrentRC == rc) unmakeCurrent();
        destroy(*c);
        m_contexts.erase(c);
        delete c;
        return true;
    }

    /// Destroys the window-system part of every context, then of every surface (when the
    /// platform goes).
    template <class DestroySurface, class DestroyContext>
    void destroyAll(DestroySurface destroySurface, DestroyContext destroyContext) {
        for (Context* c : m_contexts) destroyContext(*c);
        for (Surface* s : m_surfaces) destroySurface(*s);
    }

    // ---- Sizes

    /// Sets a new size; null when the handle or the size is refused. `changed` says whether
    /// the size differs from the one before.
    Surface* resize(HDC dc, int width, int height, bool& changed) {
        changed = false;
        Surface* s = surface(dc);
        if (!s || !sizeAllowed(width, height)) return nullptr;
        if (s->width == width && s->height == height) return s;
        s->width = width;
        s->height = height;
        changed = true;
        return s;
    }

    bool size(HDC dc, int& width, int& height) {
        Surface* s = surface(dc);
        if (!s) return false;
        width = s->width;
        height = s->height;
        return true;
    }

    // ---- Pixel formats, numbered from 1 to `count`; `describe(n)` tells one, `fits(s, n)`
    // whether a surface can take it.

    template <class Fits, class Describe>
    int closest(HDC dc, const ZEVPixelFormat& want, int count, Fits fits, Describe describe) {
        Surface* s = surface(dc);
        if (!s) return 0;
        std::vector<ZEVPixelFormat> formats;
        std::vector<int> numbers;
        for (int n = 1; n <= count; ++n)
            if (fits(*s, n)) formats.push_back(describe(n)), numbers.push_back(n);
        const int best = ZEVClosestPixelFormat(formats, want);
        return best ? numbers[static_cast<std::size_t>(best - 1)] : 0;
    }

    /// The formats with at least the buffers asked for and exactly the samples; with
    /// `sameBuffering`, also as many colour buffers.
    template <class Describe>
    std::vector<int> atLeast(HDC dc, const ZEVPixelFormat& want, int count, Describe describe,
                             bool sameBuffering) {
        std::vector<int> found;
        if (!surface(dc) || want.coverageSamples > 0) return found;
        for (int n = 1; n <= count; ++n) {
            const ZEVPixelFormat f = describe(n);
            if (f.colorBits >= want.colorBits && f.alphaBits >= want.alphaBits &&
                f.depthBits >= want.depthBits && f.stencilBits >= want.stencilBits &&
                f.sampleBuffers == want.sampleBuffers && f.samples == want.samples &&
                (!sameBuffering || f.doubleBuffer == want.doubleBuffer))
                found.push_back(n);
        }
        return found;
    }

    /// A surface takes one format, once; `make(s)` then makes what the window system needs
    /// of it, and on its failure the surface has no format again.
    template <class Fits, class Make>
    bool setFormat(HDC dc, int format, int count, Fits fits, Make make) {
        Surface* s = surface(dc);
        if (!s) return false;
        if (format < 1 || format > count || !fits(*s, format) ||
            (s->format != 0 && s->format != format)) {
            fail(ZEV_ERROR_INVALID_PIXEL_FORMAT);
            return false;
        }
        if (s->format == format) return true;
        s->format = format;
        if (!make(*s)) {
            s->format = 0;
            return false;
        }
        return true;
    }

    int format(HDC dc) {
        Surface* s = surface(dc);
        return s ? s->format : 0;
    }

    template <class Describe>
    int describeFormat(HDC dc, int format, ZEVPixelFormat* out, int count, Describe describe) {
        if (!surface(dc)) return 0;
        if (out && format >= 1 && format <= count) *out = describe(format);
        return count;
    }

    // ---- Contexts

    /// The surface a context can be made for: one with a pixel format.
    Surface* formatted(HDC dc) {
        Surface* s = surface(dc);
        if (s && s->format == 0) {
            fail(ZEV_ERROR_INVALID_PIXEL_FORMAT);
            return nullptr;
        }
        return s;
    }

    /// Makes the pair current (`bind(surface, context)`, which notes its own failure), or,
    /// for two nulls, none (`unbind()`). The pair must share a pixel format.
    template <class Unbind, class Bind>
    bool makeCurrent(HDC dc, HGLRC rc, Unbind unbind, Bind bind) {
        if (!dc && !rc) {
            unbind();
            tCurrentDC = nullptr;
            tCurrentRC = nullptr;
            return true;
        }
        Surface* s = surface(dc);
        Context* c = context(rc);
        if (!s || !c) return false;
        if (s->format == 0 || s->format != c->format) {
            fail(ZEV_ERROR_INVALID_PIXEL_FORMAT);
            return false;
        }
        if (!bind(*s, *c)) return false;
        tCurrentDC = dc;
        tCurrentRC = rc;
        return true;
    }

private:
    std::unordered_set<Surface*> m_surfaces;
    std::unordered_set<Context*> m_contexts;

    static inline thread_local HDC tCurrentDC = nullptr;
    static inline thread_local HGLRC tCurrentRC = nullptr;
    static inline thread_local DWORD tLastError = 0;
};

}  // namespace GLPlatform::detail
