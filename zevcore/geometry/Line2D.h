#pragma once

// A line of the plane: an infinite line or, with the flag set, the segment from p1 to p2.
// Length, slope and intercept are a cache that every change of a point refreshes, so reading
// them costs nothing. A line of no length cannot exist: it is replaced by the unit segment of
// the X axis, losing the caller's points.

#include "zevcore/Export.h"
#include "zevcore/geometry/Point2D.h"

class ZEVCORE_API CLine2D {
public:
    /// Both points `undefined_point`, length, slope and intercept 0, not a segment.
    CLine2D();
    CLine2D(const CPoint2D& p1, const CPoint2D& p2, bool segment);
    /// Through p with that slope (`CPoint2D::sm_undefined` for vertical), one unit of x (or
    /// of y, when vertical) long.
    CLine2D(const CPoint2D& p, double slope, bool segment);
    /// From slope and Y intercept (the X position when vertical), through the axis crossings.
    /// A sloped line through the origin has no two distinct crossings and so becomes the
    /// unit segment of the X axis.
    CLine2D(double slope, double intercept, bool segment);
    /// The line a x + b y + c = 0; with a and b both zero the line y = 0.
    CLine2D(double a, double b, double c, bool segment);
    /// Copies all six fields, with no recalculation.
    CLine2D(const CLine2D&) = default;
    CLine2D& operator=(const CLine2D&) = default;
    virtual ~CLine2D();

    double length() const { return length_; }
    /// dy / dx, or `CPoint2D::sm_undefined` for a vertical line.
    double slope() const { return slope_; }
    double m() const { return slope_; }
    /// The Y intercept, but the X position of a vertical line.
    double intercept() const { return intercept_; }
    bool is_segment() const { return is_segment_; }
    /// Sets the flag only.
    void set_segment(bool segment) { is_segment_ = segment; }
    /// 1 gives p1, 2 gives p2, any other index `undefined_point`.
    CPoint2D point(int i) const { return ref_point(i); }
    const CPoint2D& ref_point(int i) const;

    void reverse();
    /// Both points about the origin, counter-clockwise.
    void rotate(double angle);
    void move_by(double dx, double dy);
    void move_to(const CPoint2D& p1, const CPoint2D& p2);
    /// Replaces p1 (i = 1) or p2 (i = 2); any other i does nothing.
    void move_point(int i, const CPoint2D& p);
    /// For L > 0 moves p2 to `point_at_offset(L)`; otherwise nothing.
    void extend_to_length(double L);

    bool is_vertical() const { return equal(slope_, CPoint2D::sm_undefined); }
    bool is_horizontal() const { return zero(slope_, TOLERANCE); }
    /// Compares slopes, not directions: two vertical lines are parallel, and a vertical line
    /// is parallel to no other. Steep lines need a closer angle than flat ones.
    bool is_parallel(const CLine2D& o, double tol) const { return zero(slope_ - o.slope_, tol); }
    /// Slopes with a product of -1, or one vertical line with one horizontal.
    bool is_perpendicular(const CLine2D& o) const;
    /// The doubled area of the triangle p1, p2, p is zero within TOLERANCE: looser on short
    /// lines, tighter on long ones.
    bool is_collinear(const CPoint2D& p) const;
    bool is_collinear(const CLine2D& o) const { return is_collinear(o.p1_) && is_collinear(o.p2_); }
    /// Collinear, and for a segment within the points' extent by plain, inclusive comparison
    /// with no tolerance.
    bool is_on(const CPoint2D& p) const;
    /// True on the left of the direction p1 to p2, on the line (p1 included) and ahead of it.
    bool is_on_left(const CPoint2D& p) const;
    /// Signed distance to the infinite line, positive on the left; `sm_undefined` for a line
    /// of no length.
    double distance_to(const CPoint2D& p) const;
    /// The point t of the length from p1, not clamped; `undefined_point` for a line of no
    /// length.
    CPoint2D point_at(double t) const;
    CPoint2D midpoint() const { return point_at(0.5); }
    /// The point at distance d from p1 in the direction of `angle()`.
    CPoint2D point_at_offset(double d) const;
    /// The direction in radians; segments tell the two senses apart even when vertical or
    /// horizontal, infinite vertical lines are DEG90.
    double angle() const;
    /// `angle()` - `o.angle()`, signed and not normalized.
    double angle_between(const CLine2D& o) const { return angle() - o.angle(); }
    /// From p1, turned a right angle counter-clockwise, of the same length and kind.
    CLine2D perpendicular() const;
    /// The crossing of the two infinite lines, whatever their flags. Slopes within
    /// ONE_RADIAN count as parallel: then this line's p1 when collinear, else
    /// `undefined_point`.
    CPoint2D intersect(const CLine2D& o) const;
    /// Both are segments and their crossing lies on both.
    bool segments_intersect(const CLine2D& o) const;

    /// The normal form A x + B y + C: 1 / R, -slope / R and -intercept / R for the signed
    /// radical R (1 for a vertical line, else sqrt(slope^2 + 1)).
    double general_A() const { return 1.0 / normal_radical(); }
    double general_B() const { return -slope_ / normal_radical(); }
    double general_C() const { return -intercept_ / normal_radical(); }
    /// -C / A and -C / B; `sm_undefined` when the divisor is zero or either is undefined.
    double intercept_a() const { return axis_crossing(general_A()); }
    double intercept_b() const { return axis_crossing(general_B()); }

    /// Equal slopes and intercepts, the same flag, and p1 and p2 equal in that order.
    bool operator==(const CLine2D& o) const;
    bool operator!=(const CLine2D& o) const { return !(*this == o); }

private:
    CPoint2D p1_;
    CPoint2D p2_;
    bool is_segment_ = false;
    double length_ = 0.0;
    double slope_ = 0.0;
    double intercept_ = 0.0;

    void recalculate();
    void set_from_slope(double slope, double intercept);
    double normal_radical() const;
    double axis_crossing(double divisor) const;
};
