#include "zevcore/geometry/AABB.h"

#include <algorithm>
#include <cmath>

CAABB::~CAABB() = default;

CAABB& CAABB::operator=(const CAABB& o) {
    center = o.center;
    extents = o.extents;
    return *this;
}

bool CAABB::includes(const CPoint3D& p) const {
    for (unsigned i = 0; i < 3; ++i) {
        const double half = extents[i] * 0.5;
        if (!(center[i] + half >= p[i] && center[i] - half <= p[i])) return false;
    }
    return true;
}

double CAABB::MaxExtent() const {
    return std::max({std::abs(extents.x), std::abs(extents.y), std::abs(extents.z)});
}
