#include "zevcore/geometry/Plane3D.h"

namespace {

CVector3D normalized(CVector3D v) {
    v.normalize(TOLERANCE);
    return v;
}

double dot(const CVector3D& v, const CPoint3D& p) {
    return v.x * p.x + v.y * p.y + v.z * p.z;
}

}  // namespace

CPlane3D::CPlane3D(const CVector3D& n, const CPoint3D& p) : n_(normalized(n)) {
    if (n_.is_zero(TOLERANCE)) return;
    D_ = dot(n_, p);
    if (equal(std::abs(n_.y), 1.0) || equal(std::abs(n_.z), 1.0)) {
        xVector_ = X_AXIS;
    } else if (equal(std::abs(n_.x), 1.0)) {
        xVector_ = Y_AXIS;
    } else if (!zero(n_.x, TOLERANCE)) {
        xVector_ = normalized(CVector3D(1.0, -n_.x, 0.0));
    } else if (zero(n_.y, TOLERANCE)) {
        xVector_ = normalized(CVector3D(1.0, -n_.z, 0.0));
    } else {
        xVector_ = normalized(CVector3D(0.0, 1.0, -n_.y));
    }
    yVector_ = normalized(n_.cross(xVector_));
}

CPlane3D::CPlane3D(const CVector3D& x, const CVector3D& y, const CPoint3D& p)
    : n_(normalized(x).cross(normalized(y))), xVector_(normalized(x)), yVector_(normalized(y)) {
    D_ = dot(n_, p);
}

void CPlane3D::usePoints(const CPoint3D& a, const CPoint3D& b, const CPoint3D& c) {
    const CVector3D ab(a, b);
    const CVector3D n = ab.cross(CVector3D(a, c));
    if (n.is_zero(TOLERANCE)) {
        n_ = Y_AXIS;
        D_ = sm_invalid;
        return;
    }
    n_ = normalized(n);
    D_ = dot(n_, a);
    xVector_ = normalized(ab);
    yVector_ = normalized(n_.cross(xVector_));
}

bool CPlane3D::is_parallel(const CLine3D& l, double tol) const {
    return equal(n_.dot(normalized(l.direction())), 0.0, tol);
}

CPoint3D CPlane3D::intersection(const CLine3D& l) const {
    const CVector3D u = normalized(l.direction());
    const double along = n_.dot(u);
    if (zero(along, TOLERANCE) || zero(l.length(), TOLERANCE)) return CPoint3D::undefined_point;
    return l.p1 + CVector3D(u).scale((D_ - dot(n_, l.p1)) / along);
}

CPoint3D CPlane3D::ray_intersection(const CLine3D&) const {
    return CPoint3D::undefined_point;
}

bool CPlane3D::intersection(const CPlane3D& o, CLine3D& out) const {
    if (is_parallel(o, TOLERANCE)) return false;
    const CVector3D d = n_.cross(o.n_);
    const double dd = d.dot(d);
    if (zero(dd, TOLERANCE * TOLERANCE)) return false;
    // The point of both planes nearest the origin: n . p = D and o.n . p = o.D on the line
    // through it along d.
    const CVector3D p = (o.n_.cross(d) * D_ + d.cross(n_) * o.D_) * (1.0 / dd);
    out = CLine3D(d, p.asPoint3D(), 1.0);
    return true;
}
