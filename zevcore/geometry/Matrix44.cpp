#include "zevcore/geometry/Matrix44.h"

#include <cmath>

CMatrix44::CMatrix44() {
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) m[r][c] = r == c ? 1.0 : 0.0;
}

CMatrix44::CMatrix44(const CVector3D& a, const CVector3D& b, const CVector3D& c) : CMatrix44() {
    const CVector3D* cols[3] = {&a, &b, &c};
    for (int j = 0; j < 3; ++j) {
        m[0][j] = cols[j]->x;
        m[1][j] = cols[j]->y;
        m[2][j] = cols[j]->z;
    }
}

CMatrix44::CMatrix44(const double (*v)[4]) : CMatrix44() {
    SetMatrix(v);
}

CMatrix44::CMatrix44(const double* v) : CMatrix44() {
    if (v == nullptr) return;
    for (int i = 0; i < 16; ++i) m[i / 4][i % 4] = v[i];
}

CMatrix44::CMatrix44(const float* v) : CMatrix44() {
    if (v == nullptr) return;
    for (int i = 0; i < 16; ++i) m[i / 4][i % 4] = v[i];
}

void CMatrix44::SetMatrix(const double (*v)[4]) {
    if (v == nullptr) return;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) m[r][c] = v[r][c];
}

void CMatrix44::From3x3(const double (*v)[3]) {
    if (v == nullptr) return;
    *this = CMatrix44();
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) m[r][c] = v[r][c];
}

void CMatrix44::Inverse(CMatrix44& out) const {
    CMatrix44 t;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) t.m[r][c] = m[c][r];
    out = t;
}

void CMatrix44::RightMultiply(const CPoint3D& p, CPoint3D& out) const {
    const CPoint3D q = p;
    out.x = m[0][0] * q.x + m[0][1] * q.y + m[0][2] * q.z;
    out.y = m[1][0] * q.x + m[1][1] * q.y + m[1][2] * q.z;
    out.z = m[2][0] * q.x + m[2][1] * q.y + m[2][2] * q.z;
}

void CMatrix44::RightMultiply(const CVector3D& v, CVector3D& out) const {
    CPoint3D p;
    RightMultiply(v.asPoint3D(), p);
    out.set_direction(p.x, p.y, p.z);
}

void CMatrix44::RightMultiply4(const CPoint3D& p, CPoint3D& out) const {
    CPoint3D q;
    RightMultiply(p, q);
    out = CPoint3D(q.x + m[0][3], q.y + m[1][3], q.z + m[2][3]);
}

void CMatrix44::RightMultiply4(const CVector3D& v, CVector3D& out) const {
    const double in[4] = {v.x, v.y, v.z, v.w};
    double r[4];
    for (int i = 0; i < 4; ++i)
        r[i] = m[i][0] * in[0] + m[i][1] * in[1] + m[i][2] * in[2] + m[i][3] * in[3];
    out.set_direction(r[0], r[1], r[2]);
    out.w = r[3];
}

void CMatrix44::SetEulerAngles(double bank, double heading, double attitude) {
    const double cb = std::cos(bank), sb = std::sin(bank);
    const double ch = std::cos(heading), sh = std::sin(heading);
    const double ca = std::cos(attitude), sa = std::sin(attitude);
    m[0][0] = ca * ch;
    m[0][1] = sb * sh - sa * ch * cb;
    m[0][2] = cb * sh + sa * ch * sb;
    m[1][0] = sa;
    m[1][1] = cb * ca;
    m[1][2] = -(sb * ca);
    m[2][0] = -(ca * sh);
    m[2][1] = sb * ch + sh * sa * cb;
    m[2][2] = cb * ch - sh * sa * sb;
}

namespace {

// Whether the upper 3 by 3 matches, by `equal`, the pattern with m[0][1] = -1, m[2][2] = 1,
// m[1][0] = m10 and zeros elsewhere.
bool matches_quarter_turn(const double (&m)[4][4], double m10) {
    const double pattern[3][3] = {{0, -1, 0}, {m10, 0, 0}, {0, 0, 1}};
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            if (!equal(m[r][c], pattern[r][c])) return false;
    return true;
}

// Beyond this sine of the attitude the matrix is treated as at a pole.
constexpr double kPole = 0.998;

}  // namespace

CPoint3D CMatrix44::EulerAngles() const {
    if (matches_quarter_turn(m, 1.0)) return {0.0, 0.0, M_PI * 0.5};
    // Deliberately the pattern with both off-diagonal values -1, which is no rotation: a true
    // quarter turn the other way is answered by the pole branch below.
    if (matches_quarter_turn(m, -1.0)) return {0.0, 0.0, M_PI * -0.5};
    if (m[1][0] > kPole) return {M_PI * 0.5, std::atan2(m[0][2], m[2][2]), 0.0};
    if (m[1][0] < -kPole) return {M_PI * -0.5, std::atan2(m[0][2], m[2][2]), 0.0};
    return {std::atan2(-m[1][2], m[1][1]), std::atan2(-m[2][0], m[0][0]), std::asin(m[1][0])};
}

void CMatrix44::EulerAngles(double& a, double& b, double& c) const {
    a = std::atan2(m[1][2], m[2][2]);
    b = std::asin(-m[0][2]);
    c = std::atan2(m[0][1], m[0][0]);
    if (equal(a, M_PI)) a = 0.0;
    // Only a and b are cleared at pi; c is reported as it is.
    if (equal(b, M_PI)) b = 0.0;
}

void multMatrix44AndMatrix44(const CMatrix44& a, const CMatrix44& b, CMatrix44& out) {
    CMatrix44 r;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            double s = 0.0;
            for (int k = 0; k < 4; ++k) s += a.m[i][k] * b.m[k][j];
            r.m[i][j] = s;
        }
    out = r;
}

void multMatrix44AndMatrix44(const double* a, const double* b, double* out) {
    double r[16];
    for (int i = 0; i < 16; ++i) {
        double s = 0.0;
        for (int k = 0; k < 4; ++k) s += b[4 * (i / 4) + k] * a[(i % 4) + 4 * k];
        r[i] = s;
    }
    for (int i = 0; i < 16; ++i) out[i] = r[i];
}

void multMatrix44AndPoint4(const float* m, const CPoint3D& p, CPoint3D& out) {
    const float x = static_cast<float>(p.x), y = static_cast<float>(p.y),
                z = static_cast<float>(p.z);
    out = CPoint3D(m[0] * x + m[4] * y + m[8] * z + m[12], m[1] * x + m[5] * y + m[9] * z + m[13],
                   m[2] * x + m[6] * y + m[10] * z + m[14]);
}

void multMatrix44AndPoint3(const float* m, const CPoint3D& p, CPoint3D& out) {
    const float x = static_cast<float>(p.x), y = static_cast<float>(p.y),
                z = static_cast<float>(p.z);
    out = CPoint3D(m[0] * x + m[4] * y + m[8] * z, m[1] * x + m[5] * y + m[9] * z,
                   m[2] * x + m[6] * y + m[10] * z);
}

void multMatrix44AndPoint3(const double* m, const CPoint3D& p, CPoint3D& out) {
    const CPoint3D q = p;
    out = CPoint3D(m[0] * q.x + m[4] * q.y + m[8] * q.z, m[1] * q.x + m[5] * q.y + m[9] * q.z,
                   m[2] * q.x + m[6] * q.y + m[10] * q.z);
}

void multMatrix44AndVec3(const double* m, const CVector3D& v, CVector3D& out) {
    CPoint3D p;
    multMatrix44AndPoint3(m, v.asPoint3D(), p);
    out.set_direction(p.x, p.y, p.z);
}
