#include <cmath>
#include <cstring>

#include "zevcore/files/dxf/Dxf.h"
#include "zevcore/files/dxf/DxfHandle.hpp"

using namespace Dxf::detail;

namespace {

// The arrow heads, in units of the arrow size, tip at the origin, pointing along +x.
struct ArrowRow {
    const char* name;
    int side;
    bool solid;
    tag_REALPOINT points[4];
};
constexpr ArrowRow kArrows[] = {
    {"ClosedFilled", 1, true, {{0, 0, 0}, {-1, -1.0 / 6, 0}, {-1, 1.0 / 6, 0}, {-1, 1.0 / 6, 0}}},
    {"ClosedFilled", 2, true, {{0, 0, 0}, {-1, -1.0 / 6, 0}, {-1, 1.0 / 6, 0}, {-1, 1.0 / 6, 0}}},
    {"Oblique", 1, false, {{-0.5, -0.5, 0}, {0.5, 0.5, 0}, {0, 0, 0}, {0, 0, 0}}},
    {"Oblique", 2, false, {{-0.5, -0.5, 0}, {0.5, 0.5, 0}, {0, 0, 0}, {0, 0, 0}}},
};

int drawArrow(HDXF d, const char* name, int side, double angle, double size, double x, double y) {
    int ok = 1;
    const double c = std::cos(angle), s = std::sin(angle);
    for (const ArrowRow& row : kArrows) {
        if (row.side != side || std::strcmp(row.name, name) != 0) continue;
        tag_REALPOINT p[4];
        for (int i = 0; i < 4; ++i) {
            const tag_REALPOINT& q = row.points[i];
            p[i] = {x + size * (q.x * c - q.y * s), y + size * (q.x * s + q.y * c), 0.0};
        }
        ok &= row.solid ? dxfSolid(d, 4, p) : dxfLine(d, p[0].x, p[0].y, p[1].x, p[1].y);
    }
    return ok;
}

struct Vec {
    double x, y;
};
Vec unit(double x, double y) {
    double n = std::hypot(x, y);
    return n > 0.0 ? Vec{x / n, y / n} : Vec{0.0, 0.0};
}

}  // namespace

int dxfDimLinear(HDXF d, double x1, double y1, double x2, double y2, double x3, double y3,
                 double angle, const char* text) {
    if (!entitiesAllowed(d) || !text) return 0;
    const tag_DXFDIMSTYLE* found = findDimStyle(d, d->CurrentDimStyle);
    if (!found) return 0;
    const tag_DXFDIMSTYLE st = *found;

    // Everything the drawing changes below is put back at the end.
    const int savedColor = d->CurrentColor;
    const double savedWidth = d->WidthScale, savedHeight = d->HeightScale;
    char savedStyle[32];
    std::memcpy(savedStyle, d->CurrentTextStyle, sizeof savedStyle);

    const double pi = 3.1415926535;
    x1 *= d->WidthScale, x2 *= d->WidthScale, x3 *= d->WidthScale;
    y1 *= d->HeightScale, y2 *= d->HeightScale, y3 *= d->HeightScale;
    const double radians = angle * pi / 180.0;
    const double t = std::tan(radians);
    Vec f1, f2, u1, u2;
    if (t == 0.0) {
        f1 = {x1, y3};
        f2 = {x2, y3};
        u1 = {0.0, std::copysign(1.0, y3 - y1)};
        u2 = {0.0, std::copysign(1.0, y3 - y2)};
    } else {
        const double q = 1.0 / t + t;
        f1.x = ((y1 - y3) + x1 / t + t * x3) / q;
        f1.y = (f1.x - x3) * t + y3;
        f2.x = ((y2 - y3) + x2 / t + t * x3) / q;
        f2.y = (f2.x - x3) * t + y3;
        u1 = unit(f1.x - x1, f1.y - y1);
        u2 = unit(f2.x - x2, f2.y - y2);
    }

    int ok = dxfPoint(d, f1.x, f1.y) & dxfPoint(d, f2.x, f2.y);
    d->WidthScale = d->HeightScale = 1.0;
    d->CurrentColor = st.DIMCLRD;

    Vec mid{(f1.x + f2.x) / 2, (f1.y + f2.y) / 2};
    bool withText = true;
    if (st.DIMTAD == 0) {
        const double g = 2 * st.DIMGAP + static_cast<double>(std::strlen(text)) * st.DIMTXT * 0.3;
        Vec v1 = unit(mid.x - f1.x, mid.y - f1.y), v2 = unit(mid.x - f2.x, mid.y - f2.y);
        ok &= dxfLine(d, f1.x, f1.y, mid.x - v1.x * g, mid.y - v1.y * g);
        ok &= dxfLine(d, f2.x, f2.y, mid.x - v2.x * g, mid.y - v2.y * g);
    } else if (st.DIMTAD == 1) {
        ok &= dxfLine(d, f1.x, f1.y, f2.x, f2.y);
        const double shift = st.DIMTXT / 2 + st.DIMGAP;
        mid.x += shift * std::cos(radians + pi / 2);
        mid.y += shift * std::sin(radians + pi / 2);
    } else {
        withText = false;
    }
    if (withText) {
        d->CurrentColor = st.DIMCLRT;
        ok &= dxfText(d, text, mid.x, mid.y, mid.x, mid.y, st.DIMTXT, angle, 4, 0.0,
                      st.DIMTXSTY[0] ? st.DIMTXSTY : nullptr);
    }

    d->CurrentColor = st.DIMCLRD;
    const double dx = f2.x - f1.x, dy = f2.y - f1.y;
    const double base = dx != 0.0 ? std::atan(dy / dx) : pi / 2;
    const bool firstBelow = f1.x < f2.x || (f1.x == f2.x && f1.y < f2.y);
    const double a1 = firstBelow ? base + pi : base, a2 = firstBelow ? base : base + pi;
    ok &= drawArrow(d, st.DIMBLK1, 1, a1, st.DIMASZ, f1.x, f1.y);
    ok &= drawArrow(d, st.DIMBLK2, 2, a2, st.DIMASZ, f2.x, f2.y);

    d->CurrentColor = st.DIMCLRE;
    ok &= dxfLine(d, x1 + u1.x * st.DIMEXO, y1 + u1.y * st.DIMEXO, f1.x + u1.x * st.DIMEXE,
                  f1.y + u1.y * st.DIMEXE);
    ok &= dxfLine(d, x2 + u2.x * st.DIMEXO, y2 + u2.y * st.DIMEXO, f2.x + u2.x * st.DIMEXE,
                  f2.y + u2.y * st.DIMEXE);

    d->CurrentColor = savedColor;
    d->WidthScale = savedWidth, d->HeightScale = savedHeight;
    std::memcpy(d->CurrentTextStyle, savedStyle, sizeof savedStyle);
    return ok;
}
