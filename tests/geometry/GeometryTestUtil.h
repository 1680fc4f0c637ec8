#pragma once

#include <gtest/gtest.h>

// Coordinates within 1e-9 of the hand-computed values; a failure names the coordinate.
#define EXPECT_XY_NEAR(p, ex, ey)      \
    do {                               \
        const auto& p_ = (p);          \
        EXPECT_NEAR(p_.x, (ex), 1e-9); \
        EXPECT_NEAR(p_.y, (ey), 1e-9); \
    } while (0)
#define EXPECT_XYZ_NEAR(p, ex, ey, ez)  \
    do {                                \
        EXPECT_XY_NEAR(p, ex, ey);      \
        EXPECT_NEAR((p).z, (ez), 1e-9); \
    } while (0)
