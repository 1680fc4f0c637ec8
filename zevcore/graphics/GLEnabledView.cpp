#include "zevcore/graphics/GLEnabledView.h"

#include <GL/gl.h>
#include <GL/glu.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <sstream>

#include "zevcore/graphics/GraphicsTessellator.h"
#include "zevcore/platform/services/Host.h"

namespace {

// Process-wide, as every view shares them.
bool gPaintGuard = false;
int gOnSizeLast[2] = {-1, -1};
int gOnSizeGLLast[2] = {-1, -1};
ZEVPixelFormat gPixelFormatRequest;

void showMessage(const char* text) {
    ZEVDialogs().MessageBox(nullptr, text, "Error", MB_OK);
}

void showMessage(const char* format, DWORD error) {
    char text[400];
    std::snprintf(text, sizeof text, format, static_cast<int>(error));
    showMessage(text);
}

using Callback = void (*)();

// The drawing-only tessellator's combine vertices, freed at the end of each polygon.
struct CombinedVertex {
    GLdouble xyz[3];
    CombinedVertex* next;
};
CombinedVertex* gViewCombined = nullptr;

void viewTessVertex(void* data) {
    glVertex3dv(static_cast<const GLdouble*>(data));
}

void viewTessBegin(GLenum type) {
    glBegin(type);
}

void viewTessEnd() {
    glEnd();
}

void viewTessCombine(GLdouble coords[3], void* [4], GLfloat[4], void** out) {
    auto* v = new CombinedVertex{{coords[0], coords[1], coords[2]}, gViewCombined};
    gViewCombined = v;
    *out = v->xyz;
}

void gluError(GLenum error) {
    zevgraphics::ReportGLUError(error);
}

}  // namespace

// ---- nested helpers --------------------------------------------------------------------

CGLEnabledView::CGLDispList::~CGLDispList() {
    if (m_glListId) glDeleteLists(m_glListId, 1);
}

void CGLEnabledView::CGLDispList::StartDef(bool execute) {
    GLint compiling = 0;
    glGetIntegerv(GL_LIST_INDEX, &compiling);
    if (compiling != 0) return;
    if (m_glListId == 0) m_glListId = glGenLists(1);
    if (m_glListId == 0) return;
    glNewList(m_glListId, execute ? GL_COMPILE_AND_EXECUTE : GL_COMPILE);
    m_bIsolated = true;
}

void CGLEnabledView::CGLDispList::EndDef() {
    if (!m_bIsolated) return;
    glEndList();
    m_bIsolated = false;
}

void CGLEnabledView::CGLDispList::Draw() const {
    if (m_glListId) glCallList(m_glListId);
}

CGLEnabledView::CGLQuadric::CGLQuadric(unsigned drawStyle, unsigned normals, unsigned orientation,
                                       int textureCoords)
    : m_quadObj(gluNewQuadric()) {
    if (!m_quadObj) return;
    gluQuadricCallback(m_quadObj, GLU_ERROR, reinterpret_cast<Callback>(gluError));
    gluQuadricNormals(m_quadObj, normals);
    gluQuadricTexture(m_quadObj, textureCoords ? GL_TRUE : GL_FALSE);
    gluQuadricDrawStyle(m_quadObj, drawStyle);
    gluQuadricOrientation(m_quadObj, orientation);
}

CGLEnabledView::CGLQuadric::~CGLQuadric() {
    if (m_quadObj) gluDeleteQuadric(m_quadObj);
}

CGLEnabledView::CGLTesselator::CGLTesselator() : m_tessObj(gluNewTess()) {
    if (!m_tessObj) return;
    gluTessCallback(m_tessObj, GLU_BEGIN, reinterpret_cast<Callback>(viewTessBegin));
    gluTessCallback(m_tessObj, GLU_VERTEX, reinterpret_cast<Callback>(viewTessVertex));
    gluTessCallback(m_tessObj, GLU_END, reinterpret_cast<Callback>(viewTessEnd));
    gluTessCallback(m_tessObj, GLU_TESS_COMBINE, reinterpret_cast<Callback>(viewTessCombine));
    gluTessCallback(m_tessObj, GLU_ERROR, reinterpret_cast<Callback>(gluError));
}

CGLEnabledView::CGLTesselator::~CGLTesselator() {
    if (m_tessObj) gluDeleteTess(m_tessObj);
}

void CGLEnabledView::CGLTesselator::StartDef() {
    if (!m_tessObj) return;
    gluTessBeginPolygon(m_tessObj, nullptr);
    gluTessBeginContour(m_tessObj);
}

void CGLEnabledView::CGLTesselator::AddVertex(double* xyz) {
    if (m_tessObj && xyz) gluTessVertex(m_tessObj, xyz, xyz);
}

void CGLEnabledView::CGLTesselator::ContourSeparator() {
    if (!m_tessObj) return;
    gluTessEndContour(m_tessObj);
    gluTessBeginContour(m_tessObj);
}

void CGLEnabledView::CGLTesselator::EndDef() {
    if (m_tessObj) {
        gluTessEndContour(m_tessObj);
        gluTessEndPolygon(m_tessObj);
    }
    while (gViewCombined) {
        CombinedVertex* next = gViewCombined->next;
        delete gViewCombined;
        gViewCombined = next;
    }
}

void CGLEnabledView::CGLTesselator::SetFilling(bool filled) {
    if (m_tessObj) gluTessProperty(m_tessObj, GLU_TESS_BOUNDARY_ONLY, filled ? 0.0 : 1.0);
}

void CGLEnabledView::CGLTesselator::SetWindingRule(double rule) {
    if (m_tessObj) gluTessProperty(m_tessObj, GLU_TESS_WINDING_RULE, rule);
}

// ---- the view ----------------------------------------------------------------------------

CGLEnabledView::CGLEnabledView() = default;

CGLEnabledView::~CGLEnabledView() {
    OnDestroy();
}

bool CGLEnabledView::IsPaintGuardSet() {
    return gPaintGuard;
}

void CGLEnabledView::ClearPaintGuard() {
    gPaintGuard = false;
}

void CGLEnabledView::VideoMode(ColorsNumber& colors, ZAccuracy& depth, int& doubleBuffer) {
    colors = cnMillions;
    depth = zaNormal;
    doubleBuffer = 1;
}

void CGLEnabledView::OnCreateGL() {
    glEnable(GL_DEPTH_TEST);
    glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
    glClearDepth(1.0);
}

bool CGLEnabledView::bSetupPixelFormat() {
    if (!m_pCDC) return false;
    ColorsNumber colors = cnMillions;
    ZAccuracy depth = zaNormal;
    int doubleBuffer = 1;
    VideoMode(colors, depth, doubleBuffer);
    ZEVPixelFormat& want = gPixelFormatRequest;
    want = ZEVPixelFormat();
    want.drawToWindow = true;
    want.doubleBuffer = doubleBuffer != 0;
    want.indexed = colors == cnIndexed;
    want.colorBits = colors == cnIndexed         ? 8
                     : colors == cnThousands     ? 16
                     : colors == cnMillionsAlpha ? 32
                                                 : 24;
    // 32 bits of colour is RGB with alpha, as the window system counts them together.
    if (colors == cnMillionsAlpha) want.colorBits = 24, want.alphaBits = 8;
    want.depthBits = depth == zaAccurate ? 32 : 16;

    IZEVGLPlatform& gl = ZEVGL();
    const HDC dc = m_pCDC->GetSafeHdc();
    const int format = gl.ChoosePixelFormat(dc, want);
    if (format != 0 && gl.SetPixelFormat(dc, format)) return true;
    ZEVPixelFormat first;
    gl.DescribePixelFormat(dc, 1, &first);
    return gl.SetPixelFormat(dc, 1);
}

int CGLEnabledView::OnCreate(HWND window, int width, int height) {
    IZEVGLPlatform& gl = ZEVGL();
    m_hWnd = window;
    const HDC dc = gl.GetDC(window, width, height);
    if (!dc) {
        showMessage("SetupPixelFormat failed in OnCreate.   Last error returned %d",
                    gl.GetLastError());
        return -1;
    }
    m_pCDC = new CDC(dc, window);
    if (!bSetupPixelFormat()) {
        showMessage("SetupPixelFormat failed in OnCreate.   Last error returned %d",
                    gl.GetLastError());
        showMessage(
            "Your video card driver does not support OpenGL graphics or has a bug, please "
            "update your video card driver or change the Windows Display settings to allow "
            "Profilo to work properly.");
        return -1;
    }
    ZEVPixelFormat format;
    gl.DescribePixelFormat(dc, gl.GetPixelFormat(dc), &format);
    CreateRGBPalette();
    m_hRC = gl.CreateContext(dc);
    if (!m_hRC) {
        showMessage("wglCreateContext failed.  Last error returned %d", gl.GetLastError());
        return -1;
    }
    if (!gl.MakeCurrent(dc, m_hRC)) {
        showMessage("wglMakeCurrent failed in OnCreate.   Last error returned %d",
                    gl.GetLastError());
        return -1;
    }
    OnCreateGL();
    if (!gl.MakeCurrent(nullptr, nullptr)) {
        showMessage("wglMakeCurrent failed in OnCreate.   Last error returned %d",
                    gl.GetLastError());
        return -1;
    }
    return 0;
}

void CGLEnabledView::OnDraw(CDC*) {
    if (gPaintGuard || !m_pCDC || !m_hRC) return;
    gPaintGuard = true;
    IZEVGLPlatform& gl = ZEVGL();
    gl.MakeCurrent(m_pCDC->GetSafeHdc(), m_hRC);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    OnDrawGL();
    gl.SwapBuffers(m_pCDC->GetSafeHdc());
    m_GLError = glGetError();
    if (m_GLError == GL_NO_ERROR) {
        gPaintGuard = false;
    } else {
        // The guard stays set: every later paint of every view does nothing, rather than
        // repeat this message for ever.
        char text[300];
        const GLubyte* what = gluErrorString(m_GLError);
        std::snprintf(text, sizeof text, "GLEnabledView:\n\tAn OpenGL error occurred: %s\n",
                      what ? reinterpret_cast<const char*>(what) : "");
        showMessage(text);
    }
    gl.MakeCurrent(nullptr, nullptr);
}

void CGLEnabledView::OnSize(UINT, int cx, int cy) {
    if (gOnSizeLast[0] == cx && gOnSizeLast[1] == cy) return;
    gOnSizeLast[0] = cx, gOnSizeLast[1] = cy;
    if (cx <= 0 || cy <= 0 || !m_pCDC || !m_hRC) return;
    m_ClientWidth = cx;
    m_ClientHeight = cy;
    m_dAspectRatio = static_cast<double>(cx) / cy;
    IZEVGLPlatform& gl = ZEVGL();
    // A window's surface follows its window; an offscreen one is made again at the new size.
    gl.ResizeDC(m_pCDC->GetSafeHdc(), cx, cy);
    gl.MakeCurrent(m_pCDC->GetSafeHdc(), m_hRC);
    OnSizeGL(cx, cy);
    gl.MakeCurrent(nullptr, nullptr);
    gl.InvalidateRect(m_hWnd);
}

void CGLEnabledView::OnSizeGL(int width, int height) {
    if (gOnSizeGLLast[0] == width && gOnSizeGLLast[1] == height) return;
    gOnSizeGLLast[0] = width, gOnSizeGLLast[1] = height;
    glViewport(0, 0, width, height);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(40.0, m_dAspectRatio, 0.1, 10.0);
    glTranslatef(0.0f, 0.0f, -4.0f);
    glMatrixMode(GL_MODELVIEW);
}

void CGLEnabledView::OnDestroy() {
    IZEVGLPlatform& gl = ZEVGL();
    if (m_pCDC && m_hRC && gl.MakeCurrent(m_pCDC->GetSafeHdc(), m_hRC)) {
        for (unsigned id : m_DispListVector)
            if (id) glDeleteLists(id, 1);
        if (m_charsetDListBase)
            glDeleteLists(m_charsetDListBase, static_cast<GLsizei>(m_charsetCount));
        gl.MakeCurrent(nullptr, nullptr);
    }
    std::memset(m_DispListVector, 0, sizeof m_DispListVector);
    m_charsetDListBase = 0;
    if (m_hRC) gl.DeleteContext(m_hRC);
    m_hRC = nullptr;
    if (m_pCDC) gl.ReleaseDC(m_pCDC->GetSafeHdc());
    delete m_pCDC;
    m_pCDC = nullptr;
}

bool CGLEnabledView::isCurrent() {
    IZEVGLPlatform& gl = ZEVGL();
    return m_pCDC && m_hRC && gl.GetCurrentContext() == m_hRC &&
           gl.GetCurrentDC() == m_pCDC->GetSafeHdc();
}

void CGLEnabledView::BeginGLCommands() {
    IZEVGLPlatform& gl = ZEVGL();
    if (!isCurrent()) {
        const HDC dc = m_pCDC ? m_pCDC->GetSafeHdc() : nullptr;
        if (!gl.MakeCurrent(dc, m_hRC)) {
            const DWORD error = gl.GetLastError();
            showMessage(
                "wglmakecurrent failed, get last error returned %d, trying setup pixel format "
                "again",
                error);
            if (error == ZEV_ERROR_INVALID_PIXEL_FORMAT && bSetupPixelFormat() &&
                !gl.MakeCurrent(dc, m_hRC))
                showMessage(
                    "wglmakecurrent failed a second time, get last error returned %d, trying "
                    "setup pixel format again",
                    gl.GetLastError());
        }
        m_bExternGLCall = true;
    }
    if (gl.GetCurrentContext() == nullptr) {
        if (!m_hRC)
            showMessage("null m_hRC in BeginGLCommandsFailed!");
        else if (!m_pCDC)
            showMessage("GetSafeHdc is NULL in BeginGlCommands!!");
        else if (!m_pCDC->GetSafeHdc())
            showMessage("null getsafehdc in BeginGLCommandsFailed!");
        else
            showMessage("Other failure in BeginGLCommands");
    }
}

void CGLEnabledView::EndGLCommands() {
    if (!m_bExternGLCall) return;
    ZEVGL().MakeCurrent(nullptr, nullptr);
    m_bExternGLCall = false;
}

void CGLEnabledView::StartStockDListDef() {
    if (m_bInsideDispList) return;
    int slot = 0;
    while (slot < kStockLists && m_DispListVector[slot] != 0) ++slot;
    // All slots taken: nothing is compiled, and EndStockListDef has nothing to end.
    if (slot == kStockLists) return;
    if (!isCurrent()) {
        if (!m_pCDC || !ZEVGL().MakeCurrent(m_pCDC->GetSafeHdc(), m_hRC)) return;
        m_bExternDispListCall = true;
    }
    m_DispListVector[slot] = glGenLists(1);
    m_bInsideDispList = true;
    glNewList(m_DispListVector[slot], GL_COMPILE);
}

void CGLEnabledView::EndStockListDef() {
    if (m_bInsideDispList) glEndList();
    m_bInsideDispList = false;
    if (m_bExternDispListCall) {
        ZEVGL().MakeCurrent(nullptr, nullptr);
        m_bExternDispListCall = false;
    }
}

void CGLEnabledView::DrawStockDispLists() {
    bool made = false;
    if (!isCurrent()) {
        if (!m_pCDC || !ZEVGL().MakeCurrent(m_pCDC->GetSafeHdc(), m_hRC)) return;
        made = true;
    }
    for (unsigned id : m_DispListVector)
        if (id) glCallList(id);
    if (made) ZEVGL().MakeCurrent(nullptr, nullptr);
}

void CGLEnabledView::ClearStockDispLists() {
    bool made = false;
    if (!isCurrent()) {
        if (!m_pCDC || !ZEVGL().MakeCurrent(m_pCDC->GetSafeHdc(), m_hRC)) return;
        made = true;
    }
    for (unsigned id : m_DispListVector)
        if (id) glDeleteLists(id, 1);
    if (made) ZEVGL().MakeCurrent(nullptr, nullptr);
}

void CGLEnabledView::prepareCharset(const LOGFONT& font, bool outlines, float extrusion,
                                    float quality) {
    if (m_charsetCount < 1) return;
    BeginGLCommands();
    if (m_charsetDListBase) glDeleteLists(m_charsetDListBase, static_cast<GLsizei>(m_charsetCount));
    m_glyphAdvances.clear();
    m_charsetDListBase = glGenLists(static_cast<GLsizei>(m_charsetCount));
    const HDC dc = m_pCDC ? m_pCDC->GetSafeHdc() : nullptr;
    const DWORD count = static_cast<DWORD>(m_charsetCount);
    const bool made = m_charsetDListBase != 0 &&
                      (outlines ? ZEVGL().UseFontOutlines(dc, font, 0, count, m_charsetDListBase,
                                                          quality, extrusion, m_glyphAdvances)
                                : ZEVGL().UseFontBitmaps(dc, font, 0, count, m_charsetDListBase));
    if (!made && m_charsetDListBase) {
        glDeleteLists(m_charsetDListBase, static_cast<GLsizei>(m_charsetCount));
        m_charsetDListBase = 0;
    }
    EndGLCommands();
}

namespace {

LOGFONT fontNamed(const CString& name, int height, bool bold, bool italic) {
    LOGFONT font{};
    font.lfHeight = -height;
    font.lfWeight = bold ? 700 : 400;
    font.lfItalic = italic ? 1 : 0;
    std::strncpy(font.lfFaceName, name, LF_FACESIZE - 1);
    return font;
}

}  // namespace

void CGLEnabledView::PrepareCharset2D(const LOGFONT* font) {
    if (font) prepareCharset(*font, false, 0.0f, 0.0f);
}

void CGLEnabledView::PrepareCharset2D(const CString& fontName, int height, bool bold, bool italic) {
    const LOGFONT font = fontNamed(fontName, height, bold, italic);
    prepareCharset(font, false, 0.0f, 0.0f);
}

void CGLEnabledView::PrepareCharset3D(const LOGFONT* font, float extrusion, float quality) {
    if (font) prepareCharset(*font, true, extrusion, quality);
}

void CGLEnabledView::PrepareCharset3D(const CString& fontName, float extrusion, float quality) {
    const LOGFONT font = fontNamed(fontName, 12, false, false);
    prepareCharset(font, true, extrusion, quality);
}

void CGLEnabledView::Text2D(CString text) {
    if (!m_charsetDListBase) return;
    std::vector<GLubyte> glyphs;
    for (int i = 0; i < text.GetLength(); ++i) {
        const auto c = static_cast<unsigned char>(text.GetString()[i]);
        if (c < m_charsetCount) glyphs.push_back(c);
    }
    glListBase(m_charsetDListBase);
    glCallLists(static_cast<GLsizei>(glyphs.size()), GL_UNSIGNED_BYTE, glyphs.data());
}

float CGLEnabledView::Text3D(CString text) {
    if (!m_charsetDListBase) return 0.0f;
    float advance = 0.0f;
    for (int i = 0; i < text.GetLength(); ++i) {
        const auto c = static_cast<unsigned char>(text.GetString()[i]);
        if (c < m_glyphAdvances.size()) advance += m_glyphAdvances[c];
    }
    Text2D(text);
    return advance;
}

// ---- screen and model ----------------------------------------------------------------------

bool Get3DPointFromScreen(const CPoint& screen, CPoint3D& model, float depth) {
    if (!(depth <= 1.0f)) return false;
    GLdouble modelview[16], projection[16];
    GLint viewport[4] = {0, 0, 0, 0};
    glGetDoublev(GL_MODELVIEW_MATRIX, modelview);
    glGetDoublev(GL_PROJECTION_MATRIX, projection);
    glGetIntegerv(GL_VIEWPORT, viewport);
    const GLint y = viewport[3] - static_cast<GLint>(screen.y);
    GLfloat z = depth;
    if (depth < 0.0f) glReadPixels(screen.x, y, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &z);
    GLdouble x = 0, yy = 0, zz = 0;
    if (gluUnProject(screen.x, y, z, modelview, projection, viewport, &x, &yy, &zz) != GL_TRUE)
        return false;
    model = CPoint3D(x, yy, zz);
    return true;
}

bool GetScreenPtFrom3DPoint(const CPoint3D& model, CPoint& screen, double& depth) {
    GLdouble modelview[16], projection[16];
    GLint viewport[4] = {0, 0, 0, 0};
    glGetDoublev(GL_MODELVIEW_MATRIX, modelview);
    glGetDoublev(GL_PROJECTION_MATRIX, projection);
    glGetIntegerv(GL_VIEWPORT, viewport);
    GLdouble x = 0, y = 0, z = 0;
    if (gluProject(model.x, model.y, model.z, modelview, projection, viewport, &x, &y, &z) !=
        GL_TRUE)
        return false;
    if (!std::isfinite(x) || !std::isfinite(y)) return false;
    // Truncation towards zero; a point far off screen saturates rather than overflowing.
    auto toLong = [](double v) {
        return v >= 2147483647.0    ? 2147483647
               : v <= -2147483648.0 ? -2147483647 - 1
                                    : static_cast<LONG>(v);
    };
    screen.x = toLong(x);
    screen.y = toLong(viewport[3] - y);
    depth = z;
    return true;
}

bool GetScreenPtFrom3DPoint(const CPoint3D& model, CPoint& screen) {
    double depth = 0.0;
    return GetScreenPtFrom3DPoint(model, screen, depth);
}

// ---- pixel formats ------------------------------------------------------------------------

namespace {

struct FormatSearch {
    bool done = false;
    int format = 0;
    bool antiAliased = false;
    std::string text;
};
FormatSearch gFormatSearch;

bool hasWord(const std::string& list, const char* word) {
    std::istringstream words(list);
    for (std::string w; words >> w;)
        if (w == word) return true;
    return false;
}

}  // namespace

int GetOpenGLPixelFormat(bool, bool) {
    FormatSearch& s = gFormatSearch;
    if (s.done) return s.format;
    s.done = true;
    // A hidden surface of the platform's, with a context, to ask what it can do.
    IZEVGLPlatform& gl = ZEVGL();
    const HGLRC previousRC = gl.GetCurrentContext();
    const HDC previousDC = gl.GetCurrentDC();
    CZEVOffscreenGL probe(1, 1);
    if (!probe.ok()) return 0;
    const GLubyte* glExtensions = glGetString(GL_EXTENSIONS);
    const std::string glList = glExtensions ? reinterpret_cast<const char*>(glExtensions) : "";
    const std::string platformList = gl.GetExtensionsString(probe.dc());

    ZEVPixelFormat want;
    want.doubleBuffer = true;
    want.sampleBuffers = 1;
    if (hasWord(glList, "GL_NV_multisample_coverage") &&
        hasWord(platformList, "WGL_NV_multisample_coverage")) {
        static const struct {
            int colour, coverage;
            const char* text;
        } kCoverage[] = {{8, 16, "16xQ (Quality) CSAA"},
                         {8, 8, "8xQ (Quality) CSAA"},
                         {4, 16, "16x CSAA"},
                         {4, 8, "8x CSAA"}};
        for (const auto& c : kCoverage) {
            want.samples = c.colour;
            want.coverageSamples = c.coverage;
            const std::vector<int> found = gl.ChoosePixelFormats(probe.dc(), want);
            if (!found.empty()) {
                s.format = found.front();
                s.text = c.text;
                break;
            }
        }
    } else {
        want.drawToWindow = true;
        want.accelerated = true;
        want.colorBits = 24;
        want.alphaBits = 8;
        want.depthBits = 24;
        want.stencilBits = 8;
        for (int samples = 16; samples >= 1; samples /= 2) {
            want.samples = samples;
            const std::vector<int> found = gl.ChoosePixelFormats(probe.dc(), want);
            if (!found.empty()) {
                s.format = found.front();
                char text[32];
                std::snprintf(text, sizeof text, "%dx MSAA", samples);
                s.text = text;
                break;
            }
        }
    }
    s.antiAliased = s.format != 0;
    if (previousRC) gl.MakeCurrent(previousDC, previousRC);
    return s.format;
}

const char* GetOpenGLPixelFormatText() {
    return gFormatSearch.text.c_str();
}

bool HaveOpenGLAntiAliasedText() {
    return gFormatSearch.antiAliased;
}

int EnumPixelFormats(HDC dc, unsigned depthBits, bool doubleBuffer) {
    IZEVGLPlatform& gl = ZEVGL();
    const int count = gl.DescribePixelFormat(dc, 0, nullptr);
    int best = 0;
    long bestScore = -1;
    for (int n = count; n >= 1; --n) {
        ZEVPixelFormat f;
        if (gl.DescribePixelFormat(dc, n, &f) == 0) continue;
        // Enough depth first, then the buffering asked for, then colour, then the least
        // surplus of depth; indexed formats last.
        long score = 0;
        score += f.depthBits >= static_cast<int>(depthBits) ? 100000 : f.depthBits * 1000L;
        score += f.doubleBuffer == doubleBuffer ? 50000 : 0;
        score += f.indexed ? 0 : 20000 + f.colorBits * 100L;
        score -= f.depthBits > static_cast<int>(depthBits) ? f.depthBits - depthBits : 0;
        if (score > bestScore) best = n, bestScore = score;
    }
    return best;
}
