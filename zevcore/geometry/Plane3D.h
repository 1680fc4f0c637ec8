#pragma once

// A plane of model space: points p with n . p = D, and two local axes in it. A plane that
// could not be made (from collinear points) has D = 1e+30 and is not valid.

#include "zevcore/Export.h"
#include "zevcore/geometry/Line3D.h"
#include "zevcore/geometry/Point3D.h"
#include "zevcore/geometry/Vector3D.h"

class ZEVCORE_API CPlane3D {
public:
    /// The D of a plane that could not be made.
    static constexpr double sm_invalid = 1e+30;

    /// The plane y = 0 with no local axes.
    CPlane3D() = default;
    /// Through three points; see `usePoints`.
    CPlane3D(const CPoint3D& a, const CPoint3D& b, const CPoint3D& c) { usePoints(a, b, c); }
    /// Through p with normal n, normalized. A zero n gives a plane with no normal, which is
    /// not valid. The x axis is (1, 0, 0) for a normal along Y or Z and (0, 1, 0) along X;
    /// otherwise it is a fixed tilt of a coordinate axis by the normal, in general not
    /// perpendicular to it. The y axis is n x xAxis, normalized.
    CPlane3D(const CVector3D& n, const CPoint3D& p);
    /// With the axes x and y (each normalized within TOLERANCE) and the normal x cross y,
    /// which is not normalized.
    CPlane3D(const CVector3D& x, const CVector3D& y, const CPoint3D& p);

    /// The plane through a, b, c: the normal (b - a) x (c - a) normalized, the x axis along
    /// b - a. Collinear points (a normal of zero length within TOLERANCE) leave the normal
    /// (0, 1, 0) and D 1e+30: an invalid plane.
    void usePoints(const CPoint3D& a, const CPoint3D& b, const CPoint3D& c);

    const CVector3D& n() const { return n_; }
    const CVector3D& xVector() const { return xVector_; }
    const CVector3D& yVector() const { return yVector_; }
    double D() const { return D_; }

    /// D below 1e+30 and a normal of length above TOLERANCE.
    bool is_valid() const { return D_ < sm_invalid && !n_.is_zero(TOLERANCE); }

    /// (xVector . p, yVector . p, n . p - D): z is the signed distance for a unit normal.
    CPoint3D global_to_local(const CPoint3D& p) const {
        const CVector3D v(p.x, p.y, p.z);
        return {xVector_.dot(v), yVector_.dot(v), n_.dot(v) - D_};
    }
    /// p.z n + p.x xVector + p.y yVector. D is not added back, so for a plane off the origin
    /// this is not the inverse of `global_to_local`.
    CPoint3D local_to_global(const CPoint3D& p) const {
        return {p.z * n_.x + p.x * xVector_.x + p.y * yVector_.x,
                p.z * n_.y + p.x * xVector_.y + p.y * yVector_.y,
                p.z * n_.z + p.x * xVector_.z + p.y * yVector_.z};
    }
    double distance_to(const CPoint3D& p) const { return std::abs(local_z(p)); }
    /// The reflection of p in the plane.
    CPoint3D mirror(const CPoint3D& p) const {
        const double z2 = 2.0 * local_z(p);
        return {p.x - z2 * n_.x, p.y - z2 * n_.y, p.z - z2 * n_.z};
    }
    /// n . p equals D within tol.
    bool is_in_plane(const CPoint3D& p, double tol) const {
        return equal(n_.x * p.x + n_.y * p.y + n_.z * p.z, D_, tol);
    }
    bool is_in_plane(double x, double y, double z, double tol) const {
        return is_in_plane(CPoint3D(x, y, z), tol);
    }
    /// |n . o.n| equals 1 within tol; opposite normals are parallel.
    bool is_parallel(const CPlane3D& o, double tol) const {
        return equal(std::abs(n_.dot(o.n_)), 1.0, tol);
    }
    /// The line's unit direction is perpendicular to n within tol.
    bool is_parallel(const CLine3D& l, double tol) const;
    /// Where the infinite line meets the plane; `undefined_point` for a line parallel to the
    /// plane or of no length, within TOLERANCE.
    CPoint3D intersection(const CLine3D& l) const;
    /// Always `undefined_point`.
    CPoint3D ray_intersection(const CLine3D& l) const;
    /// The common line, from a point of both planes one unit along n x o.n; false for
    /// parallel planes (within TOLERANCE) or a plane with no normal.
    bool intersection(const CPlane3D& o, CLine3D& out) const;

    bool operator!=(const CPlane3D& o) const {
        return !(n_ == o.n_ && xVector_ == o.xVector_ && yVector_ == o.yVector_ && equal(D_, o.D_));
    }

private:
    CVector3D n_{0.0, 1.0, 0.0};
    CVector3D xVector_;
    CVector3D yVector_;
    double D_ = 0.0;

    double local_z(const CPoint3D& p) const { return n_.x * p.x + n_.y * p.y + n_.z * p.z - D_; }
};
