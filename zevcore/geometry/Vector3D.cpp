#include "zevcore/geometry/Vector3D.h"

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
