#include "zevcore/geometry/Quaternion.h"

#include <cmath>

namespace {

// The quaternion of the rotation whose QuatToMat layout has get(r, c) in row r, column c.
template <typename Get>
CQuaternion from_matrix(Get get) {
    double q[4] = {0.0, 0.0, 0.0, 0.0};  // x, y, z, w
    const double t = get(0, 0) + get(1, 1) + get(2, 2);
    if (t > 0.0) {
        double s = std::sqrt(t + 1.0);
        q[3] = s / 2.0;
        s = 0.5 / s;
        q[0] = (get(1, 2) - get(2, 1)) * s;
        q[1] = (get(2, 0) - get(0, 2)) * s;
        q[2] = (get(0, 1) - get(1, 0)) * s;
    } else {
        // Start from the largest diagonal value, for the best-conditioned square root.
        int i = 0;
        if (get(0, 0) < get(1, 1)) i = 1;
        if (get(i, i) < get(2, 2)) i = 2;
        const int j = (i + 1) % 3, k = (j + 1) % 3;
        double s = std::sqrt(get(i, i) - (get(j, j) + get(k, k)) + 1.0);
        q[i] = s / 2.0;
        if (!equal(s, 0.0)) s = 0.5 / s;
        q[3] = (get(j, k) - get(k, j)) * s;
        q[j] = (get(j, i) + get(i, j)) * s;
        q[k] = (get(k, i) + get(i, k)) * s;
    }
    return {q[0], q[1], q[2], q[3]};
}

}  // namespace

CQuaternion::CQuaternion(double angle, const CVector3D& axis) {
    const double s = std::sin(angle / 2.0);
    x = axis.x * s, y = axis.y * s, z = axis.z * s;
    w = std::cos(angle / 2.0);
}

CQuaternion::CQuaternion(double a, double b, double c) {
    const double c1 = std::cos(a / 2), s1 = std::sin(a / 2);
    const double c2 = std::cos(b / 2), s2 = std::sin(b / 2);
    const double c3 = std::cos(c / 2), s3 = std::sin(c / 2);
    w = c3 * c2 * c1 + s3 * s2 * s1;
    x = c3 * c2 * s1 - s3 * s2 * c1;
    y = s2 * c1 * c3 + s1 * c2 * s3;
    z = c2 * c1 * s3 - s2 * s1 * c3;
}

CQuaternion::CQuaternion(const double (*m)[3]) {
    if (m != nullptr) *this = from_matrix([m](int r, int c) { return m[r][c]; });
}

CQuaternion::CQuaternion(const double (*m)[4]) {
    if (m != nullptr) *this = from_matrix([m](int r, int c) { return m[r][c]; });
}

CQuaternion::CQuaternion(const double* m) {
    if (m != nullptr) *this = from_matrix([m](int r, int c) { return m[4 * r + c]; });
}

CQuaternion::CQuaternion(const float* m) {
    if (m != nullptr) {
        *this = from_matrix([m](int r, int c) { return static_cast<double>(m[4 * r + c]); });
    }
}

CQuaternion CQuaternion::operator*(const CQuaternion& q) const {
    CQuaternion r(w * q.x + x * q.w + y * q.z - z * q.y, w * q.y - x * q.z + y * q.w + z * q.x,
                  w * q.z + x * q.y - y * q.x + z * q.w, w * q.w - x * q.x - y * q.y - z * q.z);
    r.normalize();
    return r;
}

double CQuaternion::length() const {
    return std::sqrt(x * x + y * y + z * z + w * w);
}

const CQuaternion& CQuaternion::normalize() {
    const double L = length();
    if (equal(L, 0.0)) {
        x = y = z = 0.0;
    } else {
        x /= L, y /= L, z /= L, w /= L;
    }
    return *this;
}

void CQuaternion::QuatToMat(double (*m)[4]) const {
    if (m == nullptr) return;
    const double x2 = 2 * x, y2 = 2 * y, z2 = 2 * z;
    const double r[3][3] = {
        {1 - (z * z2 + y * y2), w * z2 + x * y2, x * z2 - w * y2},
        {x * y2 - w * z2, 1 - (z * z2 + x * x2), w * x2 + y * z2},
        {w * y2 + x * z2, y * z2 - w * x2, 1 - (x * x2 + y * y2)},
    };
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) m[i][j] = i < 3 && j < 3 ? r[i][j] : i == j ? 1.0 : 0.0;
}

void CQuaternion::Disassemble(CVector3D& axis, double& angle) const {
    const double d = x * x + y * y + z * z;
    if (equal(d, 0.0)) {
        axis = Z_AXIS;
        angle = 0.0;
        return;
    }
    axis = CVector3D(x / d, y / d, z / d);
    angle = 2.0 * std::acos(w);
}

CPoint3D CQuaternion::EulerAngles() const {
    const double test = x * y + z * w;
    if (test > 0.499) return {2 * std::atan2(x, w), M_PI * 0.5, 0.0};
    if (test < -0.499) return {-2 * std::atan2(x, w), M_PI * -0.5, 0.0};
    return {std::atan2(2 * y * w - 2 * x * z, 1 - 2 * y * y - 2 * z * z), std::asin(2 * test),
            std::atan2(2 * x * w - 2 * y * z, 1 - 2 * x * x - 2 * z * z)};
}

void CQuaternion::Slerp(const CQuaternion& a, const CQuaternion& b, double t) {
    const double theta = std::acos(a.dot(b));
    const double st = std::sin(theta);
    double wa = 1.0 - t, wb = t;
    // A NaN sine (from a dot product outside -1 to 1) fails this test and stays NaN.
    if (!(st <= TOLERANCE)) {
        wa = std::sin((1.0 - t) * theta) / st;
        wb = std::sin(t * theta) / st;
    }
    *this = a * wa + b * wb;
}
