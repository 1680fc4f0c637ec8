#include "zevcore/geometry/Line3D.h"

#include <algorithm>
#include <cmath>

namespace {

// How far apart two infinite lines may pass and still be said to cross, and how far outside
// either segment's bounding box the crossing may lie; absolute, in model units.
constexpr double kCrossGap = 0.1;
constexpr double kCrossSlack = 0.001;
// Below this determinant the parametric tests treat the lines as parallel.
constexpr double kParallelDeterminant = 10 * TOLERANCE;

// The crossing (u, v) of the lines through (u1, v1)-(u2, v2) and (u3, v3)-(u4, v4) in one
// coordinate plane, by Cramer's rule; false on a zero denominator.
bool intersection_coordinate(double u1, double v1, double u2, double v2, double u3, double v3,
                             double u4, double v4, double& u, double& v) {
    const double a1 = v2 - v1, b1 = u1 - u2, c1 = a1 * u1 + b1 * v1;
    const double a2 = v4 - v3, b2 = u3 - u4, c2 = a2 * u3 + b2 * v3;
    const double den = a1 * b2 - a2 * b1;
    if (den == 0.0) return false;
    u = (c1 * b2 - c2 * b1) / den;
    v = (a1 * c2 - a2 * c1) / den;
    return true;
}

// The coordinate w of the point of the segment (u1, v1, w1)-(u2, v2, w2) whose projection is
// (u, v), from the parameter along the projection's longer side.
double third_coordinate(double u1, double v1, double w1, double u2, double v2, double w2, double u,
                        double v) {
    const double du = u2 - u1, dv = v2 - v1;
    const double t = std::abs(du) >= std::abs(dv) ? (u - u1) / du : (v - v1) / dv;
    return w1 + t * (w2 - w1);
}

bool in_box(const CLine3D& l, const CPoint3D& p, double slack) {
    for (unsigned i = 0; i < 3; ++i) {
        const double lo = std::min(l.p1[i], l.p2[i]) - slack;
        const double hi = std::max(l.p1[i], l.p2[i]) + slack;
        if (p[i] < lo || p[i] > hi) return false;
    }
    return true;
}

// The terms shared by the parametric tests: u, v the directions, w from o.p1 to p1.
struct Parametric {
    double a, b, c, d, e, den;
    Parametric(const CLine3D& l, const CLine3D& o) {
        const CVector3D u = l.direction(), v = o.direction(), w(o.p1, l.p1);
        a = u.dot(u), b = u.dot(v), c = v.dot(v), d = u.dot(w), e = v.dot(w);
        den = a * c - b * b;
    }
};

// The parameters s on l and t on o of the crossing, and whether it is one.
bool parametric_crossing(const CLine3D& l, const CLine3D& o, bool ends, double& s) {
    const Parametric q(l, o);
    double t;
    if (q.den >= kParallelDeterminant) {
        s = (q.b * q.e - q.c * q.d) / q.den;
        t = (q.a * q.e - q.b * q.d) / q.den;
    } else {
        s = 0.0;
        // A divisor of zero means a line of no length: there is no crossing to speak of.
        const double divisor = q.b <= q.c ? q.c : q.b;
        if (divisor == 0.0) return false;
        t = (q.b <= q.c ? q.e : q.d) / divisor;
    }
    const CPoint3D on_l = l.offset(s), on_o = o.offset(t);
    if (!zero(on_l.distance_to(on_o), TOLERANCE)) return false;
    if (ends) return s >= 0.0 && s <= 1.0 && t >= 0.0 && t <= 1.0;
    return s > TOLERANCE && s < 1.0 - TOLERANCE && t > TOLERANCE && t < 1.0 - TOLERANCE;
}

}  // namespace

CLine3D& CLine3D::point(const CPoint3D& p, int i) {
    (i == 1 ? p1 : p2) = p;
    length_ = p1.distance_to(p2);
    return *this;
}

CLine3D& CLine3D::length(double L, double tol) {
    p2 = p1 + CVector3D(direction(), L, tol);
    return *this;
}

CLine3D& CLine3D::move(const CVector3D& v) {
    p1 = p1 + v;
    p2 = p2 + v;
    return *this;
}

double CLine3D::offset(CPoint3D p, bool signedResult) const {
    if (zero(length_, TOLERANCE)) return 0.0;
    const double from1 = p.distance_to(p1);
    const double fraction = from1 / length_;
    const double from2 = p.distance_to(p2);
    if (signedResult && from2 > from1 && from2 > length_) return -fraction;
    return fraction;
}

void CLine3D::expand(double f) {
    if (!(f > 1.0)) return;
    const CPoint3D a = offset(-f), b = offset(f + 1.0);
    p1 = a;
    p2 = b;
    length_ = p1.distance_to(p2);
}

CVector3D CLine3D::cosines() const {
    CVector3D d = direction();
    if (!zero(length_, TOLERANCE)) d /= length_;
    return d;
}

CLine3D& CLine3D::rotate(double angle, const CVector3D& axis, const CPoint3D& about, double) {
    p1.rotate(angle, axis, about);
    p2.rotate(angle, axis, about);
    return *this;
}

bool CLine3D::is_coplanar(const CLine3D& o, double) const {
    const CVector3D a = direction(), b(p1, o.p1), c(p1, o.p2);
    return zero(a.dot(b.cross(c)), TOLERANCE);
}

double CLine3D::distance_to(const CPoint3D& p, double tol) const {
    CVector3D d = direction();
    if (d.is_zero(tol)) return p.distance_to(p1);
    d.normalize(tol);
    return CVector3D(p1, p).cross(d).length();
}

double CLine3D::distance_to(const CLine3D& o, double tol) const {
    CVector3D n = direction().cross(o.direction());
    n.normalize(tol);
    return CVector3D(p1, o.p1).dot(n);
}

bool CLine3D::is_on_segment(const CPoint3D& p, double tol) const {
    const double d = distance_to(p, TOLERANCE);
    if (!equal(d, 0.0, tol)) return false;
    const double reach = std::sqrt(d * d + length_ * length_);
    return p.distance_to(p1) - tol <= reach && p.distance_to(p2) - tol <= reach;
}

bool CLine3D::overlaps(const CLine3D& o, double tol) const {
    if (!is_on_line(o.p1, tol) || !is_on_line(o.p2, tol)) return false;
    return is_on_segment(o.p1, tol) || is_on_segment(o.p2, tol) || o.is_on_segment(p1, tol) ||
           o.is_on_segment(p2, tol);
}

double CLine3D::angle_between(const CLine3D& o) const {
    double c = cosines().dot(o.cosines());
    if (equal(c, 1.0, 1e-05)) c = 1.0;
    if (equal(c, -1.0, 1e-05)) c = -1.0;
    return std::acos(c);
}

CPoint3D CLine3D::nearest_point(const CLine3D& o, double tol) const {
    const CVector3D a = direction(), b = o.direction(), w(o.p1, p1);
    auto tiny = [tol](const CVector3D& v) {
        return std::abs(v.x) < tol && std::abs(v.y) < tol && std::abs(v.z) < tol;
    };
    if (tiny(b) || tiny(a)) return CPoint3D::undefined_point;
    const double ab = a.dot(b), aa = a.dot(a), bb = b.dot(b);
    const double den = aa * bb - ab * ab;
    if (std::abs(den) < tol) return CPoint3D::undefined_point;
    const double t = (w.dot(b) * ab - w.dot(a) * bb) / den;
    return offset(t);
}

bool CLine3D::lines_cross(const CLine3D& o, CPoint3D& at) const {
    const CVector3D c1 = cosines(), c2 = o.cosines();
    const CVector3D normal = c1.cross(c2);
    const double sine = normal.length();
    if (zero(sine, TOLERANCE)) return false;
    const double gap = CVector3D(p1, o.p1).dot(normal) / sine;
    if (!equal(gap, 0.0, kCrossGap)) return false;

    // Project on the coordinate plane where the two directions are farthest from parallel:
    // its determinant is the cross product's component along the plane's normal axis.
    // i, j span the plane and k is the axis across it.
    unsigned i = 0, j = 1, k = 2;
    double det = normal.z;
    if (std::abs(normal.x) > std::abs(det)) i = 1, j = 2, k = 0, det = normal.x;
    if (std::abs(normal.y) > std::abs(det)) i = 0, j = 2, k = 1, det = normal.y;

    CPoint3D p;
    if (zero(det, TOLERANCE)) {
        p = o.midpoint();
    } else {
        double u, v;
        if (!intersection_coordinate(p1[i], p1[j], p2[i], p2[j], o.p1[i], o.p1[j], o.p2[i], o.p2[j],
                                     u, v))
            return false;
        const double w1 = third_coordinate(p1[i], p1[j], p1[k], p2[i], p2[j], p2[k], u, v);
        const double w2 =
            third_coordinate(o.p1[i], o.p1[j], o.p1[k], o.p2[i], o.p2[j], o.p2[k], u, v);
        p[i] = u;
        p[j] = v;
        p[k] = (w1 + w2) * 0.5;
    }
    if (!in_box(*this, p, kCrossSlack) || !in_box(o, p, kCrossSlack)) return false;
    at = p;
    return true;
}

bool CLine3D::intersection(const CLine3D& o, CPoint3D& at, bool ends) const {
    double s;
    if (!parametric_crossing(*this, o, ends, s)) {
        at = CPoint3D::ORIGIN;
        return false;
    }
    at = offset(s);
    return true;
}

bool CLine3D::JL_lines_cross(const CLine3D& o, bool ends) const {
    double s;
    return parametric_crossing(*this, o, ends, s);
}

double CLine3D::JL_Distance_to(const CLine3D& o) const {
    const Parametric q(*this, o);
    // The clamping below fixes the parameter on this line first when the lines are parallel,
    // which measures from p1 when o is a single point; from the point's side it is right.
    if (q.c == 0.0 && q.a != 0.0) return o.JL_Distance_to(*this);
    // Each parameter is kept as numerator over denominator so that a clamp can set either.
    double sN, sD = q.den, tN, tD = q.den;
    if (q.den < kParallelDeterminant) {
        sN = 0.0, sD = 1.0, tN = q.e, tD = q.c;
    } else {
        sN = q.b * q.e - q.c * q.d;
        tN = q.a * q.e - q.b * q.d;
        if (sN < 0.0) {
            sN = 0.0, tN = q.e, tD = q.c;
        } else if (sN > sD) {
            sN = sD, tN = q.e + q.b, tD = q.c;
        }
    }
    if (tN < 0.0) {
        tN = 0.0;
        if (-q.d < 0.0) {
            sN = 0.0;
        } else if (-q.d > q.a) {
            sN = sD;
        } else {
            sN = -q.d, sD = q.a;
        }
    } else if (tN > tD) {
        tN = tD;
        if (-q.d + q.b < 0.0) {
            sN = 0.0;
        } else if (-q.d + q.b > q.a) {
            sN = sD;
        } else {
            sN = -q.d + q.b, sD = q.a;
        }
    }
    const double s = std::abs(sN) < TOLERANCE ? 0.0 : sN / sD;
    const double t = std::abs(tN) < TOLERANCE ? 0.0 : tN / tD;
    return offset(s).distance_to(o.offset(t));
}

CPoint3D CLine3D::intersection(const CLine3D&, double) const {
    return CPoint3D::undefined_point;
}
