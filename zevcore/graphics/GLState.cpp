#include "zevcore/graphics/GLState.h"

#include <GL/gl.h>

#include <cfloat>

#include <cstdlib>
#include <cstring>
#include <sstream>

bool g_bDrawWireframe = false;

namespace {

// A double as a float; one beyond the float range is clamped to it, as a plain conversion of
// such a value is undefined.
inline GLfloat narrow(double v) {
    if (v > FLT_MAX) return FLT_MAX;
    if (v < -FLT_MAX) return -FLT_MAX;
    return static_cast<GLfloat>(v);
}

}  // namespace
int gOpenGLMajorVersion = -1;
float gMaxGLLineWidth = 1.0f;
float gMemberLineDisplayDepth = 0.999f;
float gAxesLineDisplayDepth = 0.998f;
float gMemberPolygonOffset = 1.0f;
float gPlatePolygonOffset = 2.0f;
float gAreaPolygonOffset = 4.0f;
float gLoadPolygonOffset = 5.0f;
std::string gGraphicsCardInfo;

void StartSolidDrawing(float offset) {
    glPolygonOffset(1.0f, offset + 1.0f);
    glEnable(GL_POLYGON_OFFSET_FILL);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
}

void EndSolidDrawing() {
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
}

void StartWireframeDrawing() {
    g_bDrawWireframe = true;
    glDisable(GL_POLYGON_OFFSET_FILL);
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    DisableGLLighting();
}

void EndWireframeDrawing() {
    g_bDrawWireframe = false;
    EnableGLLighting();
}

void StartDashedLineDrawing() {
    glEnable(GL_LINE_STIPPLE);
    glLineStipple(4, 0xAAAA);
    StartWireframeDrawing();
}

void EndDashedLineDrawing() {
    glDisable(GL_LINE_STIPPLE);
    glDisable(GL_POLYGON_STIPPLE);
    EndWireframeDrawing();
}

void EnableGLTransparency() {
    static GLubyte checker[128];
    static bool made = false;
    if (!made) {
        // 32 rows of 32 bits, alternating 0xAAAAAAAA and 0x55555555.
        for (int row = 0; row < 32; ++row)
            std::memset(checker + row * 4, row % 2 == 0 ? 0xAA : 0x55, 4);
        made = true;
    }
    glEnable(GL_POLYGON_STIPPLE);
    glPolygonStipple(checker);
}

void DisableGLTransparency() {
    glDisable(GL_POLYGON_STIPPLE);
}

void EnableGLAA() {
    glEnable(GL_LINE_SMOOTH);
    glHint(GL_LINE_SMOOTH_HINT, GL_NICEST);
    glEnable(GL_POINT_SMOOTH);
    glHint(GL_POINT_SMOOTH_HINT, GL_NICEST);
}

void DisableGLAA() {
    glDisable(GL_LINE_SMOOTH);
    glDisable(GL_POINT_SMOOTH);
}

void EnableGLLighting() {
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
    glEnable(GL_LIGHT1);
}

void DisableGLLighting() {
    glDisable(GL_LIGHTING);
    glDisable(GL_LIGHT0);
    glDisable(GL_LIGHT1);
}

void ApplyDefaultGLLight() {
    const GLfloat ambient[] = {0.5f, 0.5f, 0.5f, 1.0f};
    glShadeModel(GL_SMOOTH);
    glLightfv(GL_LIGHT0, GL_AMBIENT, ambient);
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
    glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 1);
}

void ApplyGLHeadlight(const CPoint3D& direction) {
    const GLfloat position[] = {narrow(direction.x), narrow(direction.y), narrow(direction.z),
                                0.0f};
    const GLfloat diffuse[] = {0.75f, 0.75f, 0.75f, 1.0f};
    const GLfloat ambient[] = {0.3f, 0.3f, 0.3f, 1.0f};
    glShadeModel(GL_SMOOTH);
    glLightfv(GL_LIGHT0, GL_POSITION, position);
    glLightfv(GL_LIGHT0, GL_DIFFUSE, diffuse);
    glLightfv(GL_LIGHT0, GL_AMBIENT, ambient);
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
    glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 1);
}

void ApplySteelGLMaterial(float* rgba) {
    const GLfloat ambient[] = {0.05f, 0.0f, 0.0f, 1.0f};
    const GLfloat specular[] = {0.3f, 0.04f, 0.04f, 1.0f};
    const GLfloat diffuse[] = {0.5f, 0.4f, 0.4f, 1.0f};
    glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, ambient);
    glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, specular);
    glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, diffuse);
    glColor4fv(rgba);
    glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, rgba);
    glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, 2.0f);
}

void ApplyAmbientGLMaterial(float* rgba) {
    glColor4fv(rgba);
    glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, rgba);
    glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, rgba);
}

void ApplyAmbientGLMaterialiv(unsigned long rgb) {
    float rgba[4];
    MapRGBtoColor4(rgb, rgba);
    ApplyAmbientGLMaterial(rgba);
}

void SetGLColor(unsigned long rgb) {
    glColor3ub(static_cast<GLubyte>(rgb & 0xff), static_cast<GLubyte>((rgb >> 8) & 0xff),
               static_cast<GLubyte>((rgb >> 16) & 0xff));
}

void ClearGLBG(float* rgb) {
    glClearColor(rgb[0], rgb[1], rgb[2], 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

void DrawGLGradientBG(float* bottom, float* top) {
    StartGL2DDrawing();
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(-1, 1, -1, 1, 1, -1);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glDisable(GL_DEPTH_TEST);
    glBegin(GL_QUADS);
    glColor3fv(bottom);
    glTexCoord2f(0.0f, 0.0f);
    glVertex2f(-1.0f, -1.0f);
    glTexCoord2f(1.0f, 0.0f);
    glVertex2f(1.0f, -1.0f);
    glColor3fv(top);
    glTexCoord2f(1.0f, 1.0f);
    glVertex2f(1.0f, 1.0f);
    glTexCoord2f(0.0f, 1.0f);
    glVertex2f(-1.0f, 1.0f);
    glEnd();
    EndGL2DDrawing();
}

void StartGL2DDrawing() {
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glLoadIdentity();
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glLoadIdentity();
    glPushAttrib(GL_CURRENT_BIT | GL_LINE_BIT | GL_LIGHTING_BIT | GL_DEPTH_BUFFER_BIT |
                 GL_TEXTURE_BIT);
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_DEPTH_TEST);
}

void EndGL2DDrawing() {
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
    glMatrixMode(GL_MODELVIEW);
    glPopMatrix();
    glPopAttrib();
    glMatrixMode(GL_MODELVIEW);
}

void StartBillboardView() {
    GLfloat m[16];
    glGetFloatv(GL_MODELVIEW_MATRIX, m);
    for (int col = 0; col < 3; ++col)
        for (int row = 0; row < 3; ++row) m[col * 4 + row] = col == row ? 1.0f : 0.0f;
    glLoadMatrixf(m);
}

void StartGLTextureMode(unsigned texture) {
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, texture);
}

void EndGLTextureMode() {
    glDisable(GL_TEXTURE_2D);
}

bool SetupGradientTexture(unsigned& texture, unsigned char* rgb, int width, bool smooth) {
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    if (texture == 0) {
        GLuint id = 0;
        glGenTextures(1, &id);
        texture = id;
    }
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT);
    const GLint filter = smooth ? GL_LINEAR : GL_NEAREST;
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, filter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, width, 1, 0, GL_RGB, GL_UNSIGNED_BYTE, rgb);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_BLEND);
    return true;
}

bool SetupGradientTexture(unsigned& texture, bool smooth) {
    static unsigned char ramp[] = {0, 0,   255, 0,   96,  255, 0,   160, 255, 0,   160, 64,
                                   0, 255, 0,   255, 255, 0,   255, 204, 0,   255, 0,   0};
    return SetupGradientTexture(texture, ramp, 8, smooth);
}

void StartGLGradientTexture(unsigned& texture, bool smooth) {
    if (texture == 0) SetupGradientTexture(texture, smooth);
    StartGLTextureMode(texture);
}

namespace {

unsigned long channel(float c, int shift) {
    return (static_cast<unsigned long>(static_cast<long>(255.0f * c)) & 0xff) << shift;
}

// A channel scaled and truncated; the result is masked to the byte, so a product above 255
// wraps round as it always has.
unsigned long scaled(unsigned long rgb, int shift, double factor) {
    const unsigned long byte = (rgb >> shift) & 0xff;
    return (static_cast<unsigned long>(static_cast<double>(byte) * factor) & 0xff) << shift;
}

}  // namespace

unsigned long MapColor3toRGB(float* c) {
    return channel(c[0], 0) | channel(c[1], 8) | channel(c[2], 16);
}

unsigned long MapColor4toRGB(float* c) {
    return MapColor3toRGB(c);
}

void MapRGBtoColor3(unsigned long rgb, float* c) {
    for (int i = 0; i < 3; ++i)
        c[i] = static_cast<float>(static_cast<double>((rgb >> (8 * i)) & 0xff) / 255.0);
}

void MapRGBtoColor4(unsigned long rgb, float* c) {
    MapRGBtoColor3(rgb, c);
    c[3] = 1.0f;
}

unsigned long DarkenColor(unsigned long rgb) {
    return scaled(rgb, 0, 0.8) | scaled(rgb, 8, 0.8) | scaled(rgb, 16, 0.8);
}

unsigned long LightenColor(unsigned long rgb) {
    if (rgb == 0) return 0x808080;
    return scaled(rgb, 0, 1.2) | scaled(rgb, 8, 1.2) | scaled(rgb, 16, 1.2);
}

unsigned long InverseColor(unsigned long rgb) {
    return (255 - (rgb & 0xff)) | ((255 - ((rgb >> 8) & 0xff)) << 8) |
           ((255 - ((rgb >> 16) & 0xff)) << 16);
}

namespace {

std::string glText(GLenum name) {
    const GLubyte* text = glGetString(name);
    return text ? reinterpret_cast<const char*>(text) : "";
}

}  // namespace

bool QueryGraphicsCard() {
    // Without a context the query fails and the local keeps its start; nothing reads it.
    GLint nameStackDepth = -1;
    glGetIntegerv(GL_NAME_STACK_DEPTH, &nameStackDepth);
    static_cast<void>(nameStackDepth);

    gGraphicsCardInfo.clear();
    const std::string version = glText(GL_VERSION);
    if (version.empty()) {
        gGraphicsCardInfo =
            "Could not detect graphics hardware?\r\n"
            "  You may need to create a project or open one before OpenGL detection works.\r\n"
            "  You may need to update your graphics card driver.\r\n";
        return true;
    }
    const std::string first = version.substr(0, version.find('.'));
    if (!first.empty()) gOpenGLMajorVersion = std::atoi(first.c_str());

    std::string& info = gGraphicsCardInfo;
    if (gOpenGLMajorVersion < 2)
        info =
            "Warning, it looks like your graphics card does not support OpenGL 2.0. This "
            "usually means that you do not have the latest graphics driver installed. "
            "Structiva will run in reduced drawing mode until this issue is resolved.\r\n\r\n";
    else
        info = "OpenGL 2.0 is supported.\r\n\r\n";
    info += "Vendor: \r\n   " + glText(GL_VENDOR) + "\r\n\r\n";
    info += "Graphics Card: \r\n   " + glText(GL_RENDERER) + "\r\n\r\n";
    info += "OpenGL Version: \r\n   " + version + "\r\n\r\n";
    info += "Supported Extensions: \r\n   ";
    // A compatibility context still answers the one string of extensions.
    std::istringstream extensions(glText(GL_EXTENSIONS));
    for (std::string token; extensions >> token;) info += token + "\r\n   ";
    return gOpenGLMajorVersion >= 2;
}
