#pragma once

#include <gtest/gtest.h>

#include "zevcore/geometry/Point3D.h"
#include "zevcore/geometry/Vector3D.h"

// Coordinates within 1e-9 of the hand-computed value; reports the axis that differs.
#define EXPECT_XYZ_NEAR(p, ex, ey, ez) \
    do {                               \
        const auto& p_ = (p);          \
        EXPECT_NEAR(p_.x, (ex), 1e-9); \
        EXPECT_NEAR(p_.y, (ey), 1e-9); \
        EXPECT_NEAR(p_.z, (ez), 1e-9); \
    } while (0)

#define EXPECT_XY_NEAR(p, ex, ey)      \
    do {                               \
        const auto& p_ = (p);          \
        EXPECT_NEAR(p_.x, (ex), 1e-9); \
        EXPECT_NEAR(p_.y, (ey), 1e-9); \
    } while (0)
