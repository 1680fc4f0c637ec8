#pragma once

// The paving mesher's own small plane geometry. Positions are double, directions are float:
// the split is deliberate and the signatures carry it, so that the mesher's decisions come
// out the same on every machine. These types share nothing with the kernel's geometry.
//
// Nothing here allocates or reports an error. A degenerate input (a zero-length line, a
// vertical line's slope) gives an infinity or a NaN, and the mesher above is written to live
// with that. The float narrowing relies on IEC 559 arithmetic, where a double too large for a
// float becomes an infinity.

#include <limits>

#include "zevcore/Export.h"

static_assert(std::numeric_limits<float>::is_iec559 && std::numeric_limits<double>::is_iec559,
              "the paver's float/double arithmetic assumes IEC 559");

namespace Paver {

/// A position in the plane, in double.
class ZEVCORE_API CPoint2D {
public:
    double x = 0.0;
    double y = 0.0;

    CPoint2D() = default;
    CPoint2D(double x_, double y_) : x(x_), y(y_) {}

    /// Exact comparison, no tolerance.
    bool operator==(const CPoint2D& p) const { return x == p.x && y == p.y; }
    void operator+=(const CPoint2D& p) { x += p.x, y += p.y; }
    void operator-=(const CPoint2D& p) { x -= p.x, y -= p.y; }
    CPoint2D operator+(const CPoint2D& p) const { return {x + p.x, y + p.y}; }
    CPoint2D operator-(const CPoint2D& p) const { return {x - p.x, y - p.y}; }
    /// Componentwise product and quotient.
    CPoint2D operator*(const CPoint2D& p) const { return {x * p.x, y * p.y}; }
    CPoint2D operator/(const CPoint2D& p) const { return {x / p.x, y / p.y}; }
    CPoint2D operator*(double s) const { return {x * s, y * s}; }
    CPoint2D operator/(double s) const { return {x / s, y / s}; }

    /// Euclidean distance.
    double dist(const CPoint2D& p) const;
    /// The squared length x*x + y*y (no square root, whatever the name says).
    double magnitude() const { return x * x + y * y; }
    /// When p lies within tol of this point on both axes (strictly), takes p's coordinates
    /// and answers true; otherwise changes nothing.
    bool SnapToClosest(const CPoint2D& p, double tol);
};

/// A direction, in float.
class ZEVCORE_API CVector2D {
public:
    float x = 0.0f;
    float y = 0.0f;

    CVector2D() = default;
    CVector2D(float x_, float y_) : x(x_), y(y_) {}
    /// b minus a, subtracted in double, each component then rounded to float.
    CVector2D(CPoint2D a, CPoint2D b)
        : x(static_cast<float>(b.x - a.x)), y(static_cast<float>(b.y - a.y)) {}
    virtual ~CVector2D();
    CVector2D(const CVector2D&) = default;
    CVector2D& operator=(const CVector2D&) = default;

    /// Tolerant: equal() of the frame on each component.
    bool operator==(const CVector2D& v) const;
    bool operator!=(const CVector2D& v) const { return !(*this == v); }
    CVector2D operator+(const CVector2D& v) const { return {x + v.x, y + v.y}; }
    CVector2D operator-(const CVector2D& v) const { return {x - v.x, y - v.y}; }
    /// Componentwise product, not a dot product.
    CVector2D operator*(const CVector2D& v) const { return {x * v.x, y * v.y}; }
    CVector2D operator*(const float& s) const { return {x * s, y * s}; }

    float Dot(const CVector2D& v) const { return x * v.x + y * v.y; }
    float Cross(const CVector2D& v) const { return x * v.y - v.x * y; }
    float Magnitude() const;
    /// No guard: a zero vector gives NaN components.
    CVector2D GetNormalized() const;
    /// The clockwise quarter turn (y, -x), normalized.
    CVector2D GetPerpendicular() const;
    /// Rotates counter-clockwise by a radians, in place.
    void RotateBy(float a);
    CVector2D GetRotated(float a) const;
    /// Half the sum, not normalized.
    CVector2D GetBisectingVector(CVector2D v) const { return {(x + v.x) * 0.5f, (y + v.y) * 0.5f}; }
    /// The turn from this vector to v, with angles measured clockwise from the y axis
    /// (atan2(x, y)). A non-positive difference d gives 2*pi - d, so the result can exceed
    /// 2*pi.
    float DeltaTheta(const CVector2D& v) const;
};

/// Where a point lies with respect to the ends of a line.
enum ETPointLoc { eNotAtEnds = 0, eAtEnd = 1, eAtStart = 2 };

/// A directed segment; the inherited components hold end minus start in float.
class ZEVCORE_API CLine2D : public CVector2D {
public:
    CPoint2D start{0.0, 0.0};
    CPoint2D end{1.0, 0.0};
    /// Upper limit on the element size along this line.
    double maxElementSize = 1000000.0;

    /// From (0, 0) to (1, 0), with the direction left at (0, 0).
    CLine2D() = default;
    /// Recomputes the direction from the copied ends.
    CLine2D(const CLine2D& l);
    /// Copies the direction as it is.
    CLine2D& operator=(const CLine2D& l) = default;
    CLine2D(CPoint2D a, CPoint2D b) : CVector2D(a, b), start(a), end(b) {}
    ~CLine2D() override;

    /// Slope in float; no guard for a vertical line.
    float m() const;
    /// Intercept in float.
    float b() const;
    /// start for t <= 0, end for t >= 1, else start plus t times the float direction.
    CPoint2D GetInterpolatedPoint2D(float t) const;
    CPoint2D GetMidpoint() const { return GetInterpolatedPoint2D(0.5f); }
    /// Least distance between two segments; short segments (a squared-length product below
    /// TOLERANCE) count as parallel.
    double JL_Distance_to(const CLine2D& l) const;
    /// eAtStart when p lies strictly within tol of start on both axes, else eAtEnd likewise
    /// for end, else eNotAtEnds.
    ETPointLoc PointType(const CPoint2D& p, float tol) const;
    /// True for points on the right-hand side of start to end (y up), and for every point
    /// level with start across the line.
    bool IsPointLeftOfLine(const CPoint2D& p) const;
    /// Strictly between the ends and within tol (strictly) of the segment.
    bool IsPointOnLine(const CPoint2D& p, float tol) const;
    /// Writes the closest point of the segment to c and answers whether it lies within r.
    bool IntersectCircle(const CPoint2D& c, float r, CPoint2D& closest) const;
    /// Segment against segment in float, end points included; parallel never intersects.
    bool Intersects(CLine2D l) const;
    /// Crossing of the two infinite lines in float; always true, infinite or NaN when
    /// parallel. A vertical line uses the slope 1e+10.
    bool GetIntersection(CLine2D l, CPoint2D& p) const;
    /// True when both slope-intercept parameters are zero or negative (see docs/mesh.md).
    bool RayIntersect(CLine2D l) const;
    /// Distance from p to the segment; the closest point goes to `closest`.
    float MinimizedDistance(const CPoint2D& p, CPoint2D& closest) const;
    /// The two segments coincide within tol in either direction.
    bool LinesAreVerySimilar(const CLine2D& l, float tol) const;
};

}  // namespace Paver
