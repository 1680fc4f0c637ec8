#pragma once

// A flat face of three or four corners with one normal and, optionally, texture points. It
// issues its normal and vertices only: the caller brackets many faces in one glBegin block of
// GL_TRIANGLES or GL_QUADS.

#include "zevcore/Export.h"
#include "zevcore/geometry/Point3D.h"
#include "zevcore/geometry/Vector3D.h"

class ZEVCORE_API CGLFace {
public:
    CGLFace() = default;
    CGLFace(const CPoint3D& a, const CPoint3D& b, const CPoint3D& c);
    CGLFace(const CPoint3D& a, const CPoint3D& b, const CPoint3D& c, const CPoint3D& d);

    void addTextureCoords(const CPoint3D& a, const CPoint3D& b, const CPoint3D& c);
    void addTextureCoords(const CPoint3D& a, const CPoint3D& b, const CPoint3D& c,
                          const CPoint3D& d);
    void Draw() const;

    bool m_bTextured = false;
    CPoint3D m_corners[4];
    CPoint3D m_texture[4];
    CVector3D m_normal{0.0, 0.0, 1.0};
    bool m_bTriangle = false;
};
