#include "zevcore/mesh/MeshQuad.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

TEST(MeshQuad, StatisticsAndInverseDistanceWeighting) {
    TMeshQuad q;
    const double xy[4][2] = {{0, 0}, {2, 0}, {2, 2}, {0, 2}};
    const double v[4] = {1, 2, 3, 6};
    for (int c = 0; c < 4; ++c) {
        q.corners[c] = CPoint2D(xy[c][0], xy[c][1]);
        q.values[c][1][5] = v[c];
    }
    EXPECT_EQ(q.average(1, 5), 3.0);
    EXPECT_EQ(q.maximum(1, 5), 6.0);
    EXPECT_EQ(q.minimum(1, 5), 1.0);
    EXPECT_EQ(q.average(0, 0), 0.0);
    EXPECT_EQ(q.average(2, 0), 0.0);  // out of range
    EXPECT_EQ(q.maximum(0, 6), 0.0);
    EXPECT_EQ(q.valueAtPoint(2.009, 0, 1, 5), 2.0);     // within 0.01 of a corner
    EXPECT_DOUBLE_EQ(q.valueAtPoint(1, 1, 1, 5), 3.0);  // equidistant: the mean
    // At (1, 0): distances 1, 1, sqrt 5, sqrt 5.
    double w = 1 / std::sqrt(5.0);
    EXPECT_DOUBLE_EQ(q.valueAtPoint(1, 0, 1, 5), (1 + 2 + 3 * w + 6 * w) / (2 + 2 * w));
    EXPECT_DOUBLE_EQ(q.valueAtPoint(1e7, 1e7, 1, 5), 3.0);  // weights add up to nothing
}

}  // namespace
