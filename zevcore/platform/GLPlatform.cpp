#include "zevcore/platform/GLPlatform.h"

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
