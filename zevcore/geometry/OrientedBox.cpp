#include "zevcore/geometry/OrientedBox.h"

#include "zevcore/geometry/Matrix44.h"
#include "zevcore/geometry/Quaternion.h"

namespace {

// The signs of each corner's offset from the centre, in units of half the extents.
constexpr int kCornerSigns[8][3] = {{-1, -1, 1}, {1, -1, 1}, {1, -1, -1}, {-1, -1, -1},
                                    {-1, 1, 1},  {1, 1, 1},  {1, 1, -1},  {-1, 1, -1}};
constexpr int kFaceCorners[6][3] = {{1, 2, 6}, {3, 0, 4}, {4, 5, 6},
                                    {2, 1, 0}, {0, 1, 5}, {7, 6, 2}};

}  // namespace

COrientedBox& COrientedBox::operator=(const COrientedBox& o) {
    if (this == &o) return *this;
    center = o.center;
    extents = o.extents;
    orientation = o.orientation;
    init_planes();
    return *this;
}

void COrientedBox::init_planes() {
    CMatrix44 turn;
    CQuaternion(orientation.x, orientation.y, orientation.z).QuatToMat(turn);
    for (int i = 0; i < 8; ++i) {
        const CPoint3D offset(kCornerSigns[i][0] * extents.x / 2,
                              kCornerSigns[i][1] * extents.y / 2,
                              kCornerSigns[i][2] * extents.z / 2);
        CPoint3D turned;
        turn.RightMultiply(offset, turned);
        corners[i] = center + turned;
    }
    for (int f = 0; f < 6; ++f) {
        const int* c = kFaceCorners[f];
        planes[f] = CPlane3D(corners[c[0]], corners[c[1]], corners[c[2]]);
    }
}

bool COrientedBox::includes(const CPoint3D& p) const {
    for (const CPlane3D& plane : planes) {
        const CVector3D& n = plane.n();
        if (n.x * p.x + n.y * p.y + n.z * p.z > plane.D()) return false;
    }
    return true;
}

bool COrientedBox::operator==(const COrientedBox& b) const {
    if (this == &b) return true;
    if (!orientation.is_close(b.orientation, 0.01)) return false;
    for (size_t i = 0; i < corners.size(); ++i)
        if (corners[i] != b.corners[i]) return false;
    return true;
}
