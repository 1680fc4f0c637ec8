#pragma once

#include <gtest/gtest.h>

#include "zevcore/frame/Ini.h"
#include "zevcore/platform/Registry.h"
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
    void TearDown() override { reset(); }

    static void reset() {
        clearStoredStyles();
        Units::resetStyles();
        Units::suppressLeadingNegativeFix(false);
    }

    /// Sets one stored style setting, as an earlier session would have left it.
    static void store(const char* key, int value) {
        setIniBase("Software\\ZEV\\Units2010");
        writeIniInt(key, value);
    }

    /// A stored setting, or `missing` when there is none.
    static int stored(const char* key, int missing = -99) {
        setIniBase("Software\\ZEV\\Units2010");
        int value = missing;
        readIniInt(key, value);
        return value;
    }

    /// Removes every key the unit system stores.
    static void clearStoredStyles() {
        RegDeleteTreeA(HKEY_CURRENT_USER, "Software\\ZEV\\Units2010");
    }
};

}  // namespace zevtest
