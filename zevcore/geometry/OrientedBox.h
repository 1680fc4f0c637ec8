#pragma once

// A box turned by three angles about its centre: its eight corners in world position and its
// six face planes, kept as of the last `init_planes`. Setting the orientation or a size does
// not rebuild them.

#include <array>

#include "zevcore/Export.h"
#include "zevcore/geometry/AABB.h"
#include "zevcore/geometry/Plane3D.h"
#include "zevcore/geometry/Point3D.h"

class ZEVCORE_API COrientedBox : public CAABB {
public:
    /// The corners from the centre, with w, h, d the extents: (-w, -h, +d), (+w, -h, +d),
    /// (+w, -h, -d), (-w, -h, -d), then the same four at +h, each halved and turned.
    std::array<CPoint3D, 8> corners{};
    /// Angles in radians, as given to the three-angle constructor of `CQuaternion`.
    CPoint3D orientation{0.0, 0.0, 0.0};
    /// The faces through corners (1, 2, 6), (3, 0, 4), (4, 5, 6), (2, 1, 0), (0, 1, 5),
    /// (7, 6, 2): +x, -x, +y, -y, +z, -z of the unturned box, normals outward.
    std::array<CPlane3D, 6> planes{};

    COrientedBox() { init_planes(); }
    explicit COrientedBox(const CAABB& box) : CAABB(box) { init_planes(); }
    COrientedBox(double xmin, double xmax, double ymin, double ymax, double zmin, double zmax)
        : CAABB(xmin, xmax, ymin, ymax, zmin, zmax) {
        init_planes();
    }
    COrientedBox(const CAABB& box, const CPoint3D& angles) : CAABB(box), orientation(angles) {
        init_planes();
    }
    /// The third argument is accepted and not read: the box is not turned.
    COrientedBox(const CPoint3D& c, const CPoint3D& e, const CPoint3D& unused) : CAABB(c, e) {
        static_cast<void>(unused);
        init_planes();
    }
    COrientedBox(const COrientedBox&) = default;
    /// Copies centre, extents and orientation, then rebuilds corners and planes.
    COrientedBox& operator=(const COrientedBox& o);

    CPoint3D Orientation() const { return orientation; }
    /// Sets the angles only; corners and planes stay until `init_planes`.
    void Orientation(const CPoint3D& angles) { orientation = angles; }
    /// Rebuilds corners and planes from centre, extents and orientation.
    void init_planes();

    /// On the inner side of, or on, every face plane. A box of no size in some direction has
    /// four side faces through coincident corners; those planes are invalid and exclude
    /// nothing, so a flat box includes the whole plane it lies in.
    bool includes(const CPoint3D& p) const override;

    /// The same object, or orientations closer than 0.01 and every corner equal.
    bool operator==(const COrientedBox& b) const;
    bool operator!=(const COrientedBox& b) const { return !(*this == b); }
};
