#pragma once

// A box aligned with the axes, held as its centre and its full (not half) sizes.

#include "zevcore/Export.h"
#include "zevcore/geometry/Point3D.h"

class ZEVCORE_API CAABB {
public:
    CPoint3D center{0.0, 0.0, 0.0};
    /// Full width, height and depth in x, y and z. A negative size is kept as given.
    CPoint3D extents{1.0, 1.0, 1.0};

    /// Centre (0, 0, 0), extents (1, 1, 1).
    CAABB() = default;
    CAABB(double w, double h, double d) : extents(w, h, d) {}
    /// Centre at the means, extents the differences, unsorted: an inverted pair gives a
    /// negative extent.
    CAABB(double xmin, double xmax, double ymin, double ymax, double zmin, double zmax)
        : center((xmin + xmax) * 0.5, (ymin + ymax) * 0.5, (zmin + zmax) * 0.5),
          extents(xmax - xmin, ymax - ymin, zmax - zmin) {}
    CAABB(const CPoint3D& c, const CPoint3D& e) : center(c), extents(e) {}
    CAABB(const CAABB& o) = default;
    virtual ~CAABB();
    /// Copies `center` and `extents` only, also when called through this class on a
    /// derived box.
    virtual CAABB& operator=(const CAABB& o);
    /// Inside or on a face, per axis with no tolerance; never for a negative extent.
    virtual bool includes(const CPoint3D& p) const;

    CPoint3D Center() const { return center; }
    void Center(const CPoint3D& c) { center = c; }
    CPoint3D Extents() const { return extents; }
    double Width() const { return extents.x; }
    double Height() const { return extents.y; }
    double Depth() const { return extents.z; }
    void Width(double w) { extents.x = w; }
    void Height(double h) { extents.y = h; }
    void Depth(double d) { extents.z = d; }
    /// The largest size, as a magnitude.
    double MaxExtent() const;

    /// The same object, or centres and extents each within TOLERANCE by distance.
    bool operator==(const CAABB& b) const {
        return this == &b || (zero(center.distance_to(b.center), TOLERANCE) &&
                              zero(extents.distance_to(b.extents), TOLERANCE));
    }
    bool operator!=(const CAABB& b) const { return !(*this == b); }
};
