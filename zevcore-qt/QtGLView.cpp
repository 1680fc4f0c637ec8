#include "zevcore-qt/QtGLView.h"

#include <GL/gl.h>

#include <QFontMetrics>
#include <QImage>
#include <QOpenGLContext>
#include <QPainter>
#include <QSurfaceFormat>

#include "zevcore-qt/QtConvert.h"
#include "zevcore-qt/QtHost.h"
#include "zevcore/graphics/GLEnabledView.h"

#include <algorithm>
#include <vector>

namespace {

// A context handle is its surface's handle turned round, so that the two never collide.
HGLRC contextOf(HDC dc) {
    return reinterpret_cast<HGLRC>(~reinterpret_cast<std::uintptr_t>(dc));
}

}  // namespace

CZEVQtGLPlatform::CZEVQtGLPlatform() = default;
CZEVQtGLPlatform::~CZEVQtGLPlatform() = default;

IZEVGLPlatform& CZEVQtGLPlatform::offscreen() {
    if (!m_offscreen) m_offscreen = std::make_unique<CZEVEGLPlatform>();
    return *m_offscreen;
}

CZEVQtGLPlatform::Surface* CZEVQtGLPlatform::surface(HDC dc) {
    auto found = m_surfaces.find(dc);
    return found == m_surfaces.end() ? nullptr : found->second.get();
}

bool CZEVQtGLPlatform::ownsContext(HGLRC rc) const {
    return m_contexts.count(rc) != 0;
}

HDC CZEVQtGLPlatform::GetDC(HWND window, int width, int height) {
    if (!window) return offscreen().GetDC(nullptr, width, height);
    auto* widget = qobject_cast<QOpenGLWidget*>(zevqt::liveWidget(window));
    if (!widget) {
        m_lastError = ZEV_ERROR_INVALID_HANDLE;
        return nullptr;
    }
    auto entry = std::make_unique<Surface>();
    entry->widget = widget;
    const HDC dc = reinterpret_cast<HDC>(entry.get());
    m_surfaces.emplace(dc, std::move(entry));
    return dc;
}

bool CZEVQtGLPlatform::ReleaseDC(HDC dc) {
    if (!surface(dc)) return offscreen().ReleaseDC(dc);
    if (m_currentDC == dc) m_currentDC = nullptr, m_currentRC = nullptr;
    m_contexts.erase(contextOf(dc));
    m_surfaces.erase(dc);
    return true;
}

bool CZEVQtGLPlatform::ResizeDC(HDC dc, int width, int height) {
    if (!surface(dc)) return offscreen().ResizeDC(dc, width, height);
    return true;  // a widget's surface follows its widget
}

bool CZEVQtGLPlatform::GetDCSize(HDC dc, int& width, int& height) {
    Surface* s = surface(dc);
    if (!s) return offscreen().GetDCSize(dc, width, height);
    if (!s->widget) return false;
    const qreal ratio = s->widget->devicePixelRatioF();
    width = static_cast<int>(s->widget->width() * ratio);
    height = static_cast<int>(s->widget->height() * ratio);
    return true;
}

int CZEVQtGLPlatform::ChoosePixelFormat(HDC dc, const ZEVPixelFormat& want) {
    if (!surface(dc)) return offscreen().ChoosePixelFormat(dc, want);
    return 1;
}

bool CZEVQtGLPlatform::SetPixelFormat(HDC dc, int format) {
    Surface* s = surface(dc);
    if (!s) return offscreen().SetPixelFormat(dc, format);
    if (format != 1 || s->format != 0) {
        m_lastError = ZEV_ERROR_INVALID_PIXEL_FORMAT;
        return false;
    }
    s->format = 1;
    return true;
}

int CZEVQtGLPlatform::GetPixelFormat(HDC dc) {
    Surface* s = surface(dc);
    return s ? s->format : offscreen().GetPixelFormat(dc);
}

int CZEVQtGLPlatform::DescribePixelFormat(HDC dc, int format, ZEVPixelFormat* out) {
    Surface* s = surface(dc);
    if (!s) return offscreen().DescribePixelFormat(dc, format, out);
    if (!s->widget) return 0;
    if (out && format == 1) {
        const QSurfaceFormat f = s->widget->format();
        *out = ZEVPixelFormat();
        out->drawToWindow = true;
        out->doubleBuffer = f.swapBehavior() != QSurfaceFormat::SingleBuffer;
        out->colorBits = f.redBufferSize() + f.greenBufferSize() + f.blueBufferSize();
        if (out->colorBits <= 0) out->colorBits = 24;
        out->alphaBits = std::max(f.alphaBufferSize(), 0);
        out->depthBits = std::max(f.depthBufferSize(), 0);
        out->stencilBits = std::max(f.stencilBufferSize(), 0);
        out->samples = std::max(f.samples(), 0);
        out->sampleBuffers = out->samples > 0 ? 1 : 0;
    }
    return 1;
}

std::vector<int> CZEVQtGLPlatform::ChoosePixelFormats(HDC dc, const ZEVPixelFormat& want) {
    Surface* s = surface(dc);
    if (!s) return offscreen().ChoosePixelFormats(dc, want);
    ZEVPixelFormat have;
    DescribePixelFormat(dc, 1, &have);
    if ((want.sampleBuffers > 0) != (have.sampleBuffers > 0)) return {};
    return {1};
}

HGLRC CZEVQtGLPlatform::CreateContext(HDC dc) {
    Surface* s = surface(dc);
    if (!s) return offscreen().CreateContext(dc);
    if (!s->widget || s->format == 0 || !s->widget->context()) {
        m_lastError = ZEV_ERROR_INVALID_PIXEL_FORMAT;
        return nullptr;
    }
    const HGLRC rc = contextOf(dc);
    m_contexts[rc] = dc;
    return rc;
}

bool CZEVQtGLPlatform::DeleteContext(HGLRC rc) {
    if (!ownsContext(rc)) return offscreen().DeleteContext(rc);
    if (m_currentRC == rc) MakeCurrent(nullptr, nullptr);
    m_contexts.erase(rc);
    return true;
}

bool CZEVQtGLPlatform::MakeCurrent(HDC dc, HGLRC rc) {
    if (!dc && !rc) {
        if (m_currentDC) {
            Surface* s = surface(m_currentDC);
            if (s && s->widget && !m_insideQt) s->widget->doneCurrent();
            m_currentDC = nullptr;
            m_currentRC = nullptr;
            return true;
        }
        return m_offscreen ? m_offscreen->MakeCurrent(nullptr, nullptr) : true;
    }
    Surface* s = surface(dc);
    if (!s) {
        if (m_currentDC) MakeCurrent(nullptr, nullptr);
        return offscreen().MakeCurrent(dc, rc);
    }
    if (!s->widget || !ownsContext(rc) || m_contexts[rc] != dc) {
        m_lastError = s->format == 0 ? ZEV_ERROR_INVALID_PIXEL_FORMAT : ZEV_ERROR_INVALID_HANDLE;
        return false;
    }
    if (m_offscreen) m_offscreen->MakeCurrent(nullptr, nullptr);
    s->widget->makeCurrent();
    m_currentDC = dc;
    m_currentRC = rc;
    return true;
}

HGLRC CZEVQtGLPlatform::GetCurrentContext() {
    if (m_currentRC) return m_currentRC;
    return m_offscreen ? m_offscreen->GetCurrentContext() : nullptr;
}

HDC CZEVQtGLPlatform::GetCurrentDC() {
    if (m_currentDC) return m_currentDC;
    return m_offscreen ? m_offscreen->GetCurrentDC() : nullptr;
}

bool CZEVQtGLPlatform::SwapBuffers(HDC dc) {
    if (!surface(dc)) return offscreen().SwapBuffers(dc);
    return true;
}

void* CZEVQtGLPlatform::GetProcAddress(const char* name) {
    if (m_currentDC) {
        QOpenGLContext* context = QOpenGLContext::currentContext();
        return context ? reinterpret_cast<void*>(context->getProcAddress(name)) : nullptr;
    }
    return offscreen().GetProcAddress(name);
}

std::string CZEVQtGLPlatform::GetExtensionsString(HDC dc) {
    if (!surface(dc)) return offscreen().GetExtensionsString(dc);
    return "";
}

DWORD CZEVQtGLPlatform::GetLastError() {
    if (m_lastError) return m_lastError;
    return m_offscreen ? m_offscreen->GetLastError() : 0;
}

void CZEVQtGLPlatform::InvalidateRect(HWND window) {
    if (QWidget* w = zevqt::liveWidget(window)) w->update();
}

bool CZEVQtGLPlatform::UseFontBitmaps(HDC dc, const LOGFONTA& font, DWORD first, DWORD count,
                                      DWORD listBase) {
    if (!surface(dc)) return offscreen().UseFontBitmaps(dc, font, first, count, listBase);
    if (!m_currentDC || count == 0 || count > 65536) return false;
    // Each glyph drawn by Qt into a one-bit picture, then kept as a bitmap list: what the
    // view's Text2D calls at the raster position.
    const QFont qfont = zevqt::toQFont(font);
    const QFontMetrics metrics(qfont);
    const int height = metrics.height();
    const int descent = metrics.descent();
    GLint alignment = 4;
    glGetIntegerv(GL_UNPACK_ALIGNMENT, &alignment);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    for (DWORD i = 0; i < count; ++i) {
        const QChar ch(static_cast<char16_t>(first + i));
        const int advance = metrics.horizontalAdvance(ch);
        const int width = std::max(advance, 1);
        QImage glyph(width, height, QImage::Format_Grayscale8);
        glyph.fill(0);
        {
            QPainter painter(&glyph);
            painter.setFont(qfont);
            painter.setPen(Qt::white);
            painter.drawText(0, height - descent, QString(ch));
        }
        // Rows bottom first, a bit a pixel, left bit first.
        const int stride = (width + 7) / 8;
        std::vector<GLubyte> bits(static_cast<size_t>(stride) * static_cast<size_t>(height), 0);
        for (int y = 0; y < height; ++y) {
            const uchar* row = glyph.constScanLine(height - 1 - y);
            for (int x = 0; x < width; ++x)
                if (row[x] >= 128)
                    bits[static_cast<size_t>(y * stride + x / 8)] |=
                        static_cast<GLubyte>(0x80u >> (x % 8));
        }
        glNewList(listBase + i, GL_COMPILE);
        glBitmap(width, height, 0.0f, static_cast<GLfloat>(descent), static_cast<GLfloat>(advance),
                 0.0f, bits.data());
        glEndList();
    }
    glPixelStorei(GL_UNPACK_ALIGNMENT, alignment);
    return true;
}

bool CZEVQtGLPlatform::UseFontOutlines(HDC dc, const LOGFONTA& font, DWORD first, DWORD count,
                                       DWORD listBase, float deviation, float extrusion,
                                       std::vector<float>& advances) {
    if (!surface(dc))
        return offscreen().UseFontOutlines(dc, font, first, count, listBase, deviation, extrusion,
                                           advances);
    return false;
}

CZEVQtGLView::CZEVQtGLView(CGLEnabledView& view, CZEVQtGLPlatform& platform, QWidget* parent)
    : QOpenGLWidget(parent), m_view(view), m_platform(platform) {
    setObjectName("zevGLView");
    QSurfaceFormat f = format();
    f.setDepthBufferSize(24);
    f.setSamples(4);
    f.setProfile(QSurfaceFormat::CompatibilityProfile);
    setFormat(f);
}

CZEVQtGLView::~CZEVQtGLView() {
    DestroyView();
}

void CZEVQtGLView::DestroyView() {
    if (!m_created) return;
    m_created = false;
    makeCurrent();
    m_platform.SetInsideQtCall(true);
    m_view.OnDestroy();
    m_platform.SetInsideQtCall(false);
    doneCurrent();
}

void CZEVQtGLView::initializeGL() {
    m_platform.SetInsideQtCall(true);
    m_created = m_view.OnCreate(CZEVQtWindows::HandleOf(this), width(), height()) == 0;
    m_platform.SetInsideQtCall(false);
}

void CZEVQtGLView::resizeGL(int width, int height) {
    if (!m_created) return;
    m_platform.SetInsideQtCall(true);
    const qreal ratio = devicePixelRatioF();
    m_view.OnSize(0, static_cast<int>(width * ratio), static_cast<int>(height * ratio));
    m_platform.SetInsideQtCall(false);
}

void CZEVQtGLView::paintGL() {
    if (!m_created) return;
    m_platform.SetInsideQtCall(true);
    m_view.OnDraw(m_view.GetCDC());
    m_platform.SetInsideQtCall(false);
}
