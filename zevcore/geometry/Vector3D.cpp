#include "zevcore/geometry/Vector3D.h"

#include <cstdio>

#include "zevcore/quantities/Units.h"

void CVector3D::direction(ETVectorDirection d) {
    switch (d) {
        case ePlusY:
            set_direction(0.0, 1.0, 0.0);
            break;
        case ePlusZ:
            set_direction(0.0, 0.0, 1.0);
            break;
        case eMinusX:
            set_direction(-1.0, 0.0, 0.0);
            break;
        case eMinusY:
            set_direction(0.0, -1.0, 0.0);
            break;
        case eMinusZ:
            set_direction(0.0, 0.0, -1.0);
            break;
        default:
            set_direction(1.0, 0.0, 0.0);
            break;
    }
}

char* CVector3D::directionText() const {
    static const char* const kAxisTexts[] = {"+X", "+Y", "+Z", "-X", "-Y", "-Z"};
    static char text[256];
    const ETVectorDirection d = direction();
    if (d != eOther) {
        std::snprintf(text, sizeof text, "%s", kAxisTexts[d]);
    } else {
        // Units::show keeps its last results in a ring, so the three texts live together.
        std::snprintf(text, sizeof text, "(%s,%s,%s)", Units::show(UNIT_UNITLESS, x, UNIT_HIDE),
                      Units::show(UNIT_UNITLESS, y, UNIT_HIDE),
                      Units::show(UNIT_UNITLESS, z, UNIT_HIDE));
    }
    return text;
}
