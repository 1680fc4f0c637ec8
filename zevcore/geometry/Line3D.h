#pragma once

// A line of model space through two points. There is no segment flag: each operation says
// whether it means the stretch from p1 to p2 or the infinite line through them. Lengths and
// the absolute limits below are in the model's internal unit (inches).

#include "zevcore/Export.h"
#include "zevcore/geometry/Point3D.h"
#include "zevcore/geometry/Vector3D.h"

class ZEVCORE_API CLine3D {
public:
    CPoint3D p1{0.0, 0.0, 0.0};
    CPoint3D p2{1.0, 0.0, 0.0};

    /// (0, 0, 0) to (1, 0, 0).
    CLine3D() = default;
    CLine3D(const CPoint3D& a, const CPoint3D& b) : p1(a), p2(b), length_(a.distance_to(b)) {}
    CLine3D(double x1, double y1, double z1, double x2, double y2, double z2)
        : CLine3D(CPoint3D(x1, y1, z1), CPoint3D(x2, y2, z2)) {}
    /// From p to p + v.
    CLine3D(const CVector3D& v, const CPoint3D& p) : CLine3D(p, p + v) {}
    /// From p along v for L; a zero v (within TOLERANCE) gives a line of no length at p.
    CLine3D(const CVector3D& v, const CPoint3D& p, double L)
        : CLine3D(p, p + CVector3D(v, L, TOLERANCE)) {}

    /// 1 gives p1; any other index p2.
    const CPoint3D& point(int i) const { return i == 1 ? p1 : p2; }
    /// Replaces p1 for i = 1, p2 otherwise.
    CLine3D& point(const CPoint3D& p, int i);
    CPoint3D midpoint() const { return offset(0.5); }

    /// The cached length.
    double length() const { return length_; }
    /// Moves p2 to L from p1 along the line, leaving the cached length as it was. A line of
    /// no length (within tol) puts p2 on p1.
    CLine3D& length(double L, double tol);
    CLine3D& move(const CVector3D& v);
    /// p2 - p1, unscaled.
    CVector3D direction() const { return CVector3D(p1, p2); }

    /// p1 + t (p2 - p1); t is a fraction of the line, not clamped.
    CPoint3D offset(double t) const {
        return {p1.x + t * (p2.x - p1.x), p1.y + t * (p2.y - p1.y), p1.z + t * (p2.z - p1.z)};
    }
    /// The distance of p from p1 as a fraction of the length; 0 for a line of no length
    /// (within TOLERANCE). With `signedResult`, negative when p is farther from p2 than both
    /// its distance from p1 and the length, i.e. behind p1.
    double offset(CPoint3D p, bool signedResult) const;
    /// For f > 1 only: p1 moves to offset(-f) and p2 to offset(f + 1), both taken from the
    /// line as it was, so the line grows by f lengths at each end.
    void expand(double f);
    /// The unit direction; the unscaled one when the length is zero within TOLERANCE.
    CVector3D cosines() const;
    /// Rotates both points; see `CPoint3D::rotate`. tol is accepted and not used.
    CLine3D& rotate(double angle, const CVector3D& axis, const CPoint3D& about, double tol);

    bool is_zero(double tol) const { return equal(length_, 0.0, tol); }
    /// p1 close to o.p1 and p2 to o.p2 (strictly within tol); a reversed line differs.
    bool lines_equal(const CLine3D& o, double tol) const {
        return p1.is_close(o.p1, tol) && p2.is_close(o.p2, tol);
    }
    bool operator==(const CLine3D& o) const { return p1 == o.p1 && p2 == o.p2; }
    bool operator!=(const CLine3D& o) const { return !(*this == o); }
    /// The cross product of the unscaled directions is zero within tol, so the test tightens
    /// as the lines grow longer.
    bool is_parallel(const CLine3D& o, double tol) const {
        return equal(direction().cross(o.direction()).length(), 0.0, tol);
    }
    /// On the dot product of the unscaled directions.
    bool is_orthogonal(const CLine3D& o, double tol) const {
        return equal(direction().dot(o.direction()), 0.0, tol);
    }
    /// The volume spanned by the four points is zero within TOLERANCE; tol is not used.
    bool is_coplanar(const CLine3D& o, double tol) const;

    /// Distance from p to the infinite line; to p1 when the line has no length within tol.
    double distance_to(const CPoint3D& p, double tol) const;
    /// The signed distance between the infinite lines, measured from this line towards o
    /// along the normalized cross product of the directions; 0 for parallel lines.
    double distance_to(const CLine3D& o, double tol) const;
    /// Within tol of the infinite line.
    bool is_on_line(const CPoint3D& p, double tol) const {
        return equal(distance_to(p, TOLERANCE), 0.0, tol);
    }
    /// Within tol of the line, and neither end farther from p than sqrt(d^2 + length^2)
    /// plus tol, for d the distance to the line: inclusive at both ends.
    bool is_on_segment(const CPoint3D& p, double tol) const;
    /// o lies on this infinite line and the two segments share at least one end's stretch.
    bool overlaps(const CLine3D& o, double tol) const;
    /// Radians between the unit directions, with a cosine within 1e-05 of +-1 snapped to it.
    double angle_between(const CLine3D& o) const;
    /// The point of this infinite line closest to the infinite line o; `undefined_point`
    /// when either direction has every component below tol in size or the lines are
    /// parallel (the determinant below tol).
    CPoint3D nearest_point(const CLine3D& o, double tol) const;
    /// Whether the segments cross, with absolute limits: the infinite lines may pass up to
    /// 0.1 apart, and the crossing may lie up to 0.001 outside either segment's bounding
    /// box. Parallel lines never cross. On true `at` is the crossing, else it is untouched.
    bool lines_cross(const CLine3D& o, CPoint3D& at) const;
    /// The parametric crossing test: the closest points must meet within TOLERANCE. With
    /// `ends` both parameters lie in [0, 1]; without, strictly inside the segments by
    /// TOLERANCE, so touching ends don't count. `at` is the crossing, or (0, 0, 0) on false.
    bool intersection(const CLine3D& o, CPoint3D& at, bool ends) const;
    /// The answer of `intersection` without the point.
    bool JL_lines_cross(const CLine3D& o, bool ends) const;
    /// The least distance between the two segments.
    double JL_Distance_to(const CLine3D& o) const;
    /// Always `undefined_point`.
    CPoint3D intersection(const CLine3D& o, double tol) const;

private:
    /// Distance from p1 to p2, cached by the constructors, `point(p, i)` and `expand`.
    double length_ = 1.0;
};
