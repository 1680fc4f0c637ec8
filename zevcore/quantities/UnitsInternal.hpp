#pragma once

// The unit system's shared state, for the library's own quantity files. Not part of the
// interface: nothing here is exported, and the header (.hpp) is not installed.

#include <cstdint>

#include "zevcore/quantities/Units.h"

namespace Units::detail {

struct SUnitState {
    std::int32_t style = UNIT_STYLE_USA;
    /// One slot per style; only slot 0 is read.
    std::int32_t precision[kStyleCount] = {3, 4, 4, 4, 3, 4, 3, 4, 3, 4, 5};
    /// Decimals for values below 10, 100, 1,000, 10,000, 100,000 and 1,000,000.
    std::int32_t decimals[6] = {4, 3, 2, 1, 0, 0};
    double zeroThreshold = 1e-05;
    bool feetInches = false;
    double largest = 1e+10;
    double smallest = 1e-07;
    bool stylesRead = false;
    std::int32_t table[kStyleCount][kCategoryCount] = {};
};

SUnitState& state();
/// The state at load: built-in tables, nothing read from the settings store.
SUnitState builtInState();
void builtInStyleTable(std::int32_t table[kStyleCount][kCategoryCount]);
/// The decimals and the zero threshold from precision slot 0.
void rebuildDecimals();
/// Writes every style setting, in the order the dialog's OK stores them.
void saveStyles();
/// Copies `text` into the next slot of the ring of ten results and answers that slot.
const char* toRing(const CString& text);
/// The compact text of Units::nice, without taking a ring slot.
CString niceText(double v);
/// The text of display_ft_in_16, without taking a ring slot.
CString feetInchesText(double inches);

// The settings store under "Software\ZEV\Units2010". A read answers false, leaving the
// target alone, when the key is missing or holds no number.
void beginSettings();
bool readSetting(const char* key, int& value);
void writeSetting(const char* key, int value);

}  // namespace Units::detail
