#include "zevcore/mesh/paver/Geometry.h"

#include <cmath>

#include "zevcore/frame/Math.h"

namespace Paver {

namespace {

// A line's ends rounded to float, for the tests that decide in single precision.
struct FloatSegment {
    float sx, sy, ex, ey;
    explicit FloatSegment(const CLine2D& l)
        : sx(static_cast<float>(l.start.x)),
          sy(static_cast<float>(l.start.y)),
          ex(static_cast<float>(l.end.x)),
          ey(static_cast<float>(l.end.y)) {}
};

}  // namespace

double CPoint2D::dist(const CPoint2D& p) const {
    double dx = x - p.x;
    double dy = y - p.y;
    return std::sqrt(dx * dx + dy * dy);
}

bool CPoint2D::SnapToClosest(const CPoint2D& p, double tol) {
    if (!equal(p.x, x, tol) || !equal(p.y, y, tol)) return false;
    *this = p;
    return true;
}

CVector2D::~CVector2D() = default;

bool CVector2D::operator==(const CVector2D& v) const {
    return equal(static_cast<double>(x), static_cast<double>(v.x)) &&
           equal(static_cast<double>(y), static_cast<double>(v.y));
}

float CVector2D::Magnitude() const {
    return static_cast<float>(std::sqrt(static_cast<double>(x * x + y * y)));
}

CVector2D CVector2D::GetNormalized() const {
    float m = Magnitude();
    return {x / m, y / m};
}

CVector2D CVector2D::GetPerpendicular() const {
    return CVector2D(y, -x).GetNormalized();
}

void CVector2D::RotateBy(float a) {
    double c = std::cos(static_cast<double>(a));
    double s = std::sin(static_cast<double>(a));
    float nx = static_cast<float>(x * c - y * s);
    float ny = static_cast<float>(y * c + x * s);
    x = nx;
    y = ny;
}

CVector2D CVector2D::GetRotated(float a) const {
    CVector2D r(x, y);
    r.RotateBy(a);
    return r;
}

float CVector2D::DeltaTheta(const CVector2D& v) const {
    // atan2(x, y): angles run clockwise from the y axis.
    float a = static_cast<float>(std::atan2(static_cast<double>(x), static_cast<double>(y)));
    float b = static_cast<float>(std::atan2(static_cast<double>(v.x), static_cast<double>(v.y)));
    float d = b - a;
    if (d > 0.0f) return d;
    return static_cast<float>(2.0 * M_PI + a - b);
}

CLine2D::CLine2D(const CLine2D& l)
    : CVector2D(l.start, l.end), start(l.start), end(l.end), maxElementSize(l.maxElementSize) {}

CLine2D::~CLine2D() = default;

float CLine2D::m() const {
    return static_cast<float>((end.y - start.y) / (end.x - start.x));
}

float CLine2D::b() const {
    return static_cast<float>(start.y - m() * start.x);
}

CPoint2D CLine2D::GetInterpolatedPoint2D(float t) const {
    if (t <= 0.0f) return start;
    if (t >= 1.0f) return end;
    return {start.x + static_cast<double>(t) * x, start.y + static_cast<double>(t) * y};
}

double CLine2D::JL_Distance_to(const CLine2D& l) const {
    CVector2D u(end, start);      // start minus end
    CVector2D v(l.end, l.start);  // l.start minus l.end
    CVector2D w(start, l.start);  // l.start minus start
    double a = u.Dot(u), b = u.Dot(v), c = v.Dot(v), d = u.Dot(w), e = v.Dot(w);
    double D = a * c - b * b;
    double sN, sD = D, tN, tD = D;
    if (D < TOLERANCE) {
        sN = 0.0, sD = 1.0, tN = e, tD = c;
    } else {
        sN = b * e - c * d;
        tN = a * e - b * d;
        if (sN < 0.0) {
            sN = 0.0, tN = e, tD = c;
        } else if (sN > sD) {
            sN = sD, tN = e + b, tD = c;
        }
    }
    if (tN < 0.0) {
        tN = 0.0;
        if (-d < 0.0)
            sN = 0.0;
        else if (-d > a)
            sN = sD;
        else
            sN = -d, sD = a;
    } else if (tN > tD) {
        tN = tD;
        double g = b - d;
        if (g < 0.0)
            sN = 0.0;
        else if (g > a)
            sN = sD;
        else
            sN = g, sD = a;
    }
    double sc = std::fabs(sN) < TOLERANCE ? 0.0 : sN / sD;
    double tc = std::fabs(tN) < TOLERANCE ? 0.0 : tN / tD;
    CVector2D dP = w + (u * static_cast<float>(sc) - v * static_cast<float>(tc));
    return dP.Magnitude();
}

ETPointLoc CLine2D::PointType(const CPoint2D& p, float tol) const {
    if (std::fabs(p.x - start.x) < tol && std::fabs(p.y - start.y) < tol) return eAtStart;
    if (std::fabs(p.x - end.x) < tol && std::fabs(p.y - end.y) < tol) return eAtEnd;
    return eNotAtEnds;
}

bool CLine2D::IsPointLeftOfLine(const CPoint2D& p) const {
    CVector2D w(p, start);
    if (Dot(w) == 0.0f) return true;
    return x * w.y - y * w.x > 0.0f;
}

bool CLine2D::IsPointOnLine(const CPoint2D& p, float tol) const {
    CVector2D w(start, p);
    float proj = GetNormalized().Dot(w);
    if (!(proj > 0.0f)) return false;
    float length = Magnitude();
    if (length <= proj) return false;
    return GetInterpolatedPoint2D(proj / length).dist(p) < tol;
}

bool CLine2D::IntersectCircle(const CPoint2D& c, float r, CPoint2D& closest) const {
    CPoint2D w = c - start;
    CPoint2D d = end - start;
    double t = (w.x * d.x + w.y * d.y) / (d.x * d.x + d.y * d.y);
    if (t < 0.0) t = 0.0;
    if (t > 1.0) t = 1.0;
    closest = start + d * t;
    CPoint2D e = c - closest;
    double rr = static_cast<double>(r);
    return e.x * e.x + e.y * e.y <= rr * rr;
}

bool CLine2D::Intersects(CLine2D l) const {
    FloatSegment p(*this), q(l);
    float ax = p.ex - p.sx, ay = p.ey - p.sy;
    float bx = q.ex - q.sx, by = q.ey - q.sy;
    float ox = q.sx - p.sx, oy = q.sy - p.sy;
    float den = by * ax - bx * ay;
    if (den == 0.0f) return false;
    float t = (ox * by - oy * bx) / den;
    if (!(t >= 0.0f && t <= 1.0f)) return false;
    float u = (ox * ay - oy * ax) / den;
    return u >= 0.0f && u <= 1.0f;
}

bool CLine2D::GetIntersection(CLine2D l, CPoint2D& p) const {
    FloatSegment s(*this), q(l);
    float m1 = s.ex - s.sx == 0.0f ? 1e+10f : (s.ey - s.sy) / (s.ex - s.sx);
    float m2 = q.ex - q.sx == 0.0f ? 1e+10f : (q.ey - q.sy) / (q.ex - q.sx);
    float b1 = s.sy - m1 * s.sx;
    float b2 = q.sy - m2 * q.sx;
    float inv = 1.0f / (m2 - m1);
    p.x = (b1 - b2) * inv;
    p.y = (b1 * m2 - b2 * m1) * inv;
    return true;
}

bool CLine2D::RayIntersect(CLine2D l) const {
    float X = (l.b() - b()) / (m() - l.m());
    // Only start.x is divided here; the parenthesised form would be a different test.
    float s = static_cast<float>(X - start.x / (end.x - start.x));
    if (s > 0.0f || std::isnan(s)) return false;
    float u = static_cast<float>((X - l.start.x) / (l.end.x - l.start.x));
    return !(u > 0.0f || std::isnan(u));
}

float CLine2D::MinimizedDistance(const CPoint2D& p, CPoint2D& closest) const {
    CVector2D w(start, p);
    float proj = GetNormalized().Dot(w);
    float length = Magnitude();
    if (0.0f < proj && proj < length) {
        closest = GetInterpolatedPoint2D(proj / length);
        return CVector2D(closest, p).Magnitude();
    }
    float a = CVector2D(p, start).Magnitude();
    float e = CVector2D(p, end).Magnitude();
    closest = a > e ? end : start;
    return a > e ? e : a;
}

bool CLine2D::LinesAreVerySimilar(const CLine2D& l, float tol) const {
    return (start.dist(l.start) < tol && end.dist(l.end) < tol) ||
           (start.dist(l.end) < tol && end.dist(l.start) < tol);
}

}  // namespace Paver
