#include "zevcore/geometry/Line2D.h"

#include <algorithm>
#include <utility>

#include "zevcore/geometry/Vector2D.h"

namespace {

constexpr double kUndefined = CPoint2D::sm_undefined;

// (p2 - p1) x (p - p1): twice the signed area of the triangle, positive with p on the left.
double doubled_area(const CPoint2D& p1, const CPoint2D& p2, const CPoint2D& p) {
    return (p2.x - p1.x) * (p.y - p1.y) - (p2.y - p1.y) * (p.x - p1.x);
}

}  // namespace

CLine2D::CLine2D() : p1_(undefined_point), p2_(undefined_point) {}

CLine2D::CLine2D(const CPoint2D& p1, const CPoint2D& p2, bool segment)
    : p1_(p1), p2_(p2), is_segment_(segment) {
    recalculate();
}

CLine2D::CLine2D(const CPoint2D& p, double slope, bool segment) : p1_(p), is_segment_(segment) {
    p2_ = equal(slope, kUndefined) ? CPoint2D(p.x, p.y + 1.0) : CPoint2D(p.x + 1.0, p.y + slope);
    recalculate();
}

CLine2D::CLine2D(double slope, double intercept, bool segment) : is_segment_(segment) {
    set_from_slope(slope, intercept);
}

CLine2D::CLine2D(double a, double b, double c, bool segment) : is_segment_(segment) {
    if (!zero(b, TOLERANCE)) {
        set_from_slope(-a / b, -c / b);
    } else if (zero(a, TOLERANCE)) {
        set_from_slope(0.0, 0.0);
    } else {
        set_from_slope(kUndefined, -c / a);
    }
}

CLine2D::~CLine2D() = default;

// The two points of a line given by slope and intercept: on a vertical line one unit apart
// from the X axis, otherwise the axis crossings or, for a flat line, one unit along it.
void CLine2D::set_from_slope(double m, double b) {
    if (equal(m, kUndefined)) {
        p1_ = CPoint2D(b, 0.0), p2_ = CPoint2D(b, 1.0);
    } else if (!zero(m, TOLERANCE)) {
        p1_ = CPoint2D(0.0, b), p2_ = CPoint2D(-b / m, 0.0);
    } else {
        p1_ = CPoint2D(0.0, b), p2_ = CPoint2D(1.0, b);
    }
    recalculate();
}

void CLine2D::recalculate() {
    length_ = p1_.distance_to(p2_);
    if (zero(length_, TOLERANCE)) {
        p1_ = CPoint2D(0.0, 0.0), p2_ = CPoint2D(1.0, 0.0);
        length_ = 1.0, slope_ = 0.0, intercept_ = 0.0;
        return;
    }
    const double dx = p2_.x - p1_.x;
    if (zero(dx, TOLERANCE)) {
        slope_ = kUndefined;
        intercept_ = p1_.x;
        return;
    }
    slope_ = (p2_.y - p1_.y) / dx;
    intercept_ = zero(p1_.x, TOLERANCE) ? p2_.y - p2_.x * slope_ : p1_.y - p1_.x * slope_;
}

const CPoint2D& CLine2D::ref_point(int i) const {
    return i == 1 ? p1_ : i == 2 ? p2_ : undefined_point;
}

void CLine2D::reverse() {
    std::swap(p1_, p2_);
    recalculate();
}

void CLine2D::rotate(double angle) {
    p1_.rotate(angle);
    p2_.rotate(angle);
    recalculate();
}

void CLine2D::move_by(double dx, double dy) {
    p1_.move_by(dx, dy);
    p2_.move_by(dx, dy);
    recalculate();
}

void CLine2D::move_to(const CPoint2D& p1, const CPoint2D& p2) {
    p1_ = p1, p2_ = p2;
    recalculate();
}

void CLine2D::move_point(int i, const CPoint2D& p) {
    if (i != 1 && i != 2) return;
    (i == 1 ? p1_ : p2_) = p;
    recalculate();
}

void CLine2D::extend_to_length(double L) {
    if (!(L > 0.0)) return;
    p2_ = point_at_offset(L);
    recalculate();
}

bool CLine2D::is_perpendicular(const CLine2D& o) const {
    const bool v = is_vertical(), ov = o.is_vertical();
    if (!v && !ov) return equal(-1.0, slope_ * o.slope_);
    return (v && o.is_horizontal()) || (ov && is_horizontal());
}

bool CLine2D::is_collinear(const CPoint2D& p) const {
    return zero(doubled_area(p1_, p2_, p), TOLERANCE);
}

bool CLine2D::is_on(const CPoint2D& p) const {
    if (!is_collinear(p)) return false;
    if (!is_segment_) return true;
    return p.x >= std::min(p1_.x, p2_.x) && p.x <= std::max(p1_.x, p2_.x) &&
           p.y >= std::min(p1_.y, p2_.y) && p.y <= std::max(p1_.y, p2_.y);
}

bool CLine2D::is_on_left(const CPoint2D& p) const {
    // Both vectors point backwards along the line, so the signs of the cross product cancel.
    const CVector2D u = CVector2D(p2_, p1_).GetNormalized();
    const CVector2D w = CVector2D(p, p1_).GetNormalized();
    if (equal(1.0, u.Dot(w))) return true;
    return u.Cross(w) >= 0.0;
}

double CLine2D::distance_to(const CPoint2D& p) const {
    if (zero(length_, TOLERANCE)) return kUndefined;
    return doubled_area(p1_, p2_, p) / length_;
}

CPoint2D CLine2D::point_at(double t) const {
    const double L = length_;
    if (zero(L, TOLERANCE)) return undefined_point;
    const double tl = t * L;
    return {((L - tl) * p1_.x + tl * p2_.x) / L, ((L - tl) * p1_.y + tl * p2_.y) / L};
}

CPoint2D CLine2D::point_at_offset(double d) const {
    if (zero(d, TOLERANCE)) return p1_;
    const double a = angle();
    return {p1_.x + d * std::cos(a), p1_.y + d * std::sin(a)};
}

double CLine2D::angle() const {
    if (is_vertical()) {
        if (!is_segment_) return DEG90;
        return p2_.y > p1_.y ? DEG90 : -DEG90;
    }
    if (is_segment_ && is_horizontal()) return p1_.x < p2_.x ? 0.0 : DEG180;
    return std::atan2(p2_.y - p1_.y, p2_.x - p1_.x);
}

CLine2D CLine2D::perpendicular() const {
    const double a = angle() + DEG90;
    const CPoint2D end(p1_.x + length_ * std::cos(a), p1_.y + length_ * std::sin(a));
    return CLine2D(p1_, end, is_segment_);
}

CPoint2D CLine2D::intersect(const CLine2D& o) const {
    if (is_parallel(o, ONE_RADIAN)) return is_collinear(o) ? p1_ : undefined_point;
    double x;
    if (is_vertical()) {
        x = p1_.x;
        return {x, x * o.slope_ + o.intercept_};
    }
    if (o.is_vertical()) {
        x = o.p2_.x;
    } else {
        x = (o.intercept_ - intercept_) / (slope_ - o.slope_);
    }
    return {x, x * slope_ + intercept_};
}

bool CLine2D::segments_intersect(const CLine2D& o) const {
    if (!is_segment_ || !o.is_segment_) return false;
    const CPoint2D p = intersect(o);
    return p.exists() && is_on(p) && o.is_on(p);
}

double CLine2D::normal_radical() const {
    const double r = is_vertical() ? 1.0 : std::sqrt(slope_ * slope_ + 1.0);
    const bool positive = zero(intercept_, TOLERANCE) ? slope_ <= 0.0 : intercept_ >= 0.0;
    return positive ? r : -r;
}

double CLine2D::axis_crossing(double divisor) const {
    const double c = general_C();
    if (zero(divisor, TOLERANCE) || equal(divisor, kUndefined) || equal(c, kUndefined))
        return kUndefined;
    return -c / divisor;
}

bool CLine2D::operator==(const CLine2D& o) const {
    return equal(slope_, o.slope_) && equal(intercept_, o.intercept_) &&
           is_segment_ == o.is_segment_ && p1_ == o.p1_ && p2_ == o.p2_;
}
