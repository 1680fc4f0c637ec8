#include "zevcore/geometry/Point2D.h"

#include "zevcore/geometry/Line2D.h"

const CPoint2D undefined_point(CPoint2D::sm_undefined, CPoint2D::sm_undefined);
const CPoint2D zero_point(0.0, 0.0);

CPoint2D::~CPoint2D() = default;

double CPoint2D::distance_to(const CLine2D& l) const {
    return l.distance_to(*this);
}

bool CPoint2D::is_on(const CLine2D& l) const {
    return l.is_on(*this);
}

bool CPoint2D::is_collinear(const CLine2D& l) const {
    return l.is_collinear(*this);
}

void CPoint2D::rotate(double angle) {
    const double r = polar_r();
    if (!(r > sm_tolerance)) return;
    const double a = std::atan2(y, x) + angle;
    x = r * std::cos(a);
    y = r * std::sin(a);
}

bool CPoint2D::write(FILE* f) const {
    return f != nullptr && std::fwrite(&x, sizeof x, 1, f) == 1 &&
           std::fwrite(&y, sizeof y, 1, f) == 1;
}

bool CPoint2D::read(FILE* f) {
    return f != nullptr && std::fread(&x, sizeof x, 1, f) == 1 &&
           std::fread(&y, sizeof y, 1, f) == 1;
}
