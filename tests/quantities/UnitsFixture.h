#pragma once

#include <gtest/gtest.h>

#include "zevcore/quantities/Units.h"

namespace zevtest {

/// Every test of the unit system starts from the built-in state, and leaves it so.
class UnitsTest : public testing::Test {
protected:
    void SetUp() override {
        reset();
        // Read now, so that a test's own setStyle is not overwritten by a stored style.
        Units::readStyles();
    }
    void TearDown() override {
        // A test may have saved settings; the style is the one that every reload sees.
        Units::setStyle(UNIT_STYLE_USA, true);
        reset();
    }

    static void reset() {
        Units::resetStyles();
        Units::suppressLeadingNegativeFix(false);
    }
};

}  // namespace zevtest
