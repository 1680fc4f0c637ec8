#include "zevcore/geometry/Point3D.h"

#include "zevcore/geometry/Vector3D.h"

double CPoint3D::sm_tolerance = 1e-05;

const CPoint3D& CPoint3D::rotate(double angle, const CVector3D& axis, const CPoint3D& about) {
    CVector3D u(axis, 1.0, TOLERANCE);
    u.normalize(TOLERANCE);
    const double c = std::cos(angle), s = std::sin(angle), t = 1.0 - c;
    const double px = x - about.x, py = y - about.y, pz = z - about.z;
    // Rodrigues' rotation matrix of the unit axis u, applied by rows.
    const double r[3][4] = {
        {t * u.x * u.x + c, t * u.x * u.y - s * u.z, t * u.x * u.z + s * u.y, 0.0},
        {t * u.x * u.y + s * u.z, t * u.y * u.y + c, t * u.y * u.z - s * u.x, 0.0},
        {t * u.x * u.z - s * u.y, t * u.y * u.z + s * u.x, t * u.z * u.z + c, 0.0},
    };
    x = px, y = py, z = pz;
    rotate(r);
    return *this += about;
}

const CPoint3D& CPoint3D::rotate(const double m[][4]) {
    const double px = x, py = y, pz = z;
    x = m[0][0] * px + m[0][1] * py + m[0][2] * pz;
    y = m[1][0] * px + m[1][1] * py + m[1][2] * pz;
    z = m[2][0] * px + m[2][1] * py + m[2][2] * pz;
    return *this;
}

bool CPoint3D::write(FILE* f) const {
    return f != nullptr && std::fwrite(&x, sizeof x, 1, f) == 1 &&
           std::fwrite(&y, sizeof y, 1, f) == 1 && std::fwrite(&z, sizeof z, 1, f) == 1;
}

bool CPoint3D::read(FILE* f) {
    return f != nullptr && std::fread(&x, sizeof x, 1, f) == 1 &&
           std::fread(&y, sizeof y, 1, f) == 1 && std::fread(&z, sizeof z, 1, f) == 1;
}
