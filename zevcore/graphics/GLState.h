#pragma once

// The fixed-function state of every structural drawing, settled in one place: each mode
// (solid, wireframe, dashed, 2D overlay, screen-door transparency, lights, materials) is one
// pair of calls, and the colours are converted here.
//
// Every function needs a current OpenGL context (see platform/gl/GLPlatform.h) and runs on the
// thread that owns it. None creates a context or reports GL errors. Colours are three or four
// floats in 0 to 1, or a COLORREF-style value with red in the low byte.

#include <string>

#include "zevcore/Export.h"
#include "zevcore/geometry/Point3D.h"

/// Set by the wireframe and dashed modes, so that an application can choose an outline.
ZEVCORE_API extern bool g_bDrawWireframe;
/// The major version of the current context's OpenGL, -1 until `QueryGraphicsCard` reads it.
ZEVCORE_API extern int gOpenGLMajorVersion;
// Application-tunable display constants. The library reads none of them; they keep the layers
// of an application's drawing apart.
ZEVCORE_API extern float gMaxGLLineWidth;
ZEVCORE_API extern float gMemberLineDisplayDepth;
ZEVCORE_API extern float gAxesLineDisplayDepth;
ZEVCORE_API extern float gMemberPolygonOffset;
ZEVCORE_API extern float gPlatePolygonOffset;
ZEVCORE_API extern float gAreaPolygonOffset;
ZEVCORE_API extern float gLoadPolygonOffset;
/// The report `QueryGraphicsCard` writes, lines ended by "\r\n".
ZEVCORE_API extern std::string gGraphicsCardInfo;

// Mode pairs.
ZEVCORE_API void StartSolidDrawing(float offset);
/// Back to outlines; the polygon offset stays enabled.
ZEVCORE_API void EndSolidDrawing();
ZEVCORE_API void StartWireframeDrawing();
ZEVCORE_API void EndWireframeDrawing();
/// Lines in dashes of 4 pixels, then the wireframe mode.
ZEVCORE_API void StartDashedLineDrawing();
ZEVCORE_API void EndDashedLineDrawing();
/// Screen-door transparency: polygons drawn through a one-pixel checker, no blending.
ZEVCORE_API void EnableGLTransparency();
ZEVCORE_API void DisableGLTransparency();
ZEVCORE_API void EnableGLAA();
ZEVCORE_API void DisableGLAA();
ZEVCORE_API void EnableGLLighting();
ZEVCORE_API void DisableGLLighting();
ZEVCORE_API void ApplyDefaultGLLight();
/// A directional light along `direction`, following the viewer.
ZEVCORE_API void ApplyGLHeadlight(const CPoint3D& direction);
ZEVCORE_API void ApplySteelGLMaterial(float* rgba);
ZEVCORE_API void ApplyAmbientGLMaterial(float* rgba);
ZEVCORE_API void ApplyAmbientGLMaterialiv(unsigned long rgb);
ZEVCORE_API void SetGLColor(unsigned long rgb);
ZEVCORE_API void ClearGLBG(float* rgb);
/// Fills the viewport with a vertical gradient from `bottom` to `top`.
ZEVCORE_API void DrawGLGradientBG(float* bottom, float* top);
/// Pixel-free 2D drawing: both matrices pushed and reset, lighting, texturing and depth test
/// off. `EndGL2DDrawing` undoes it and leaves the matrix mode at modelview.
ZEVCORE_API void StartGL2DDrawing();
ZEVCORE_API void EndGL2DDrawing();
/// Turns the current modelview to face the viewer, keeping its translation; bracket it with
/// glPushMatrix and glPopMatrix.
ZEVCORE_API void StartBillboardView();
ZEVCORE_API void StartGLTextureMode(unsigned texture);
ZEVCORE_API void EndGLTextureMode();
/// Loads a `width` by 1 RGB ramp into `texture` (generating it when 0), with texture
/// coordinate s along the ramp: how result contours are coloured. Returns true.
ZEVCORE_API bool SetupGradientTexture(unsigned& texture, unsigned char* rgb, int width,
                                      bool smooth);
/// The same with the built-in ramp of 8 texels, blue to red.
ZEVCORE_API bool SetupGradientTexture(unsigned& texture, bool smooth);
ZEVCORE_API void StartGLGradientTexture(unsigned& texture, bool smooth);

// Colours.
ZEVCORE_API unsigned long MapColor3toRGB(float* c);
ZEVCORE_API unsigned long MapColor4toRGB(float* c);
ZEVCORE_API void MapRGBtoColor3(unsigned long rgb, float* c);
ZEVCORE_API void MapRGBtoColor4(unsigned long rgb, float* c);
ZEVCORE_API unsigned long DarkenColor(unsigned long rgb);
/// Each channel times 1.2 and masked to a byte, so a channel of 214 or more wraps round;
/// black gives 0x808080.
ZEVCORE_API unsigned long LightenColor(unsigned long rgb);
ZEVCORE_API unsigned long InverseColor(unsigned long rgb);

/// Fills `gGraphicsCardInfo` and `gOpenGLMajorVersion` from the current context. False when
/// OpenGL 2.0 is missing; true also when there is no context to ask (the report says so).
ZEVCORE_API bool QueryGraphicsCard();
