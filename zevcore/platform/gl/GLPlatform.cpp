#include "zevcore/platform/gl/GLPlatform.h"

IZEVGLPlatform::~IZEVGLPlatform() = default;

namespace {

IZEVGLPlatform* gInstalledGL = nullptr;

}  // namespace

IZEVGLPlatform& ZEVGL() {
    // Made at first use, so that a host that installs its own never opens an EGL display;
    // kept for the life of the process so the reference stays valid.
    if (gInstalledGL) return *gInstalledGL;
    static CZEVEGLPlatform* fallback = new CZEVEGLPlatform();
    return *fallback;
}

IZEVGLPlatform* ZEVInstallGL(IZEVGLPlatform* platform) {
    IZEVGLPlatform* previous = gInstalledGL;
    gInstalledGL = platform;
    return previous;
}

int ZEVClosestPixelFormat(const std::vector<ZEVPixelFormat>& formats, const ZEVPixelFormat& want) {
    int best = 0;
    long bestScore = 0;
    for (size_t i = 0; i < formats.size(); ++i) {
        const ZEVPixelFormat& f = formats[i];
        long score = 0;
        auto weigh = [&score](int have, int asked, long shortWeight) {
            score += have < asked ? shortWeight * (asked - have) : have - asked;
        };
        weigh(f.colorBits, want.colorBits, 1000);
        weigh(f.alphaBits, want.alphaBits, 1000);
        weigh(f.depthBits, want.depthBits, 1000);
        weigh(f.stencilBits, want.stencilBits, 100);
        weigh(f.samples, want.samples, 100);
        if (want.samples == 0 && f.samples > 0) score += 10000;
        if (f.doubleBuffer != want.doubleBuffer) score += 50;
        if (best == 0 || score < bestScore) best = static_cast<int>(i) + 1, bestScore = score;
    }
    return best;
}

CZEVOffscreenGL::CZEVOffscreenGL(int width, int height, int depthBits)
    : m_width(width), m_height(height) {
    IZEVGLPlatform& gl = ZEVGL();
    m_dc = gl.GetDC(nullptr, width, height);
    if (!m_dc) {
        m_error = "no offscreen surface could be made";
        if (auto* egl = dynamic_cast<CZEVEGLPlatform*>(&gl); egl && !egl->Available())
            m_error = egl->DisplayError();
        return;
    }
    ZEVPixelFormat want;
    want.drawToWindow = false;
    want.colorBits = 24;
    want.alphaBits = 8;
    want.depthBits = depthBits;
    want.stencilBits = 8;
    const int format = gl.ChoosePixelFormat(m_dc, want);
    if (format == 0 || !gl.SetPixelFormat(m_dc, format)) {
        m_error = "no pixel format for an offscreen surface";
        return;
    }
    m_rc = gl.CreateContext(m_dc);
    if (!m_rc) {
        m_error = "no OpenGL context could be made";
        return;
    }
    m_ok = makeCurrent();
    if (!m_ok) m_error = "the OpenGL context could not be made current";
}

CZEVOffscreenGL::~CZEVOffscreenGL() {
    IZEVGLPlatform& gl = ZEVGL();
    if (m_rc) {
        if (gl.GetCurrentContext() == m_rc) gl.MakeCurrent(nullptr, nullptr);
        gl.DeleteContext(m_rc);
    }
    if (m_dc) gl.ReleaseDC(m_dc);
}

bool CZEVOffscreenGL::makeCurrent() {
    return m_dc && m_rc && ZEVGL().MakeCurrent(m_dc, m_rc);
}
