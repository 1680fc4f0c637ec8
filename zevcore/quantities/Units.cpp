#include "zevcore/quantities/Units.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "zevcore/platform/Registry.h"
#include "zevcore/quantities/UnitsInternal.hpp"

namespace Units {
namespace detail {

SUnitState builtInState() {
    SUnitState s;
    builtInStyleTable(s.table);
    return s;
}

SUnitState& state() {
    static SUnitState unitState = builtInState();
    return unitState;
}

void rebuildDecimals() {
    SUnitState& s = state();
    int p = s.precision[0];
    for (int i = 0; i < 6; ++i) s.decimals[i] = std::max(p - i, 0);
    s.zeroThreshold = p == 0 ? 1e-05 : 1.0 / std::pow(10.0, p + 1);
}

const char* toRing(const CString& text) {
    static CString ring[10];
    static int next = 0;
    CString& slot = ring[next];
    next = (next + 1) % 10;
    slot = text;
    return slot.GetString();
}

}  // namespace detail

using detail::state;

namespace {

bool validCategory(ETUnit u) {
    return static_cast<unsigned>(u) < kCategoryCount;
}
bool validStyle(int s) {
    return static_cast<unsigned>(s) < kStyleCount;
}

// The categories whose units a built-in style may change: the areas and the lengths.
constexpr int kAdjustable[] = {UNIT_AREA_SMALL, UNIT_AREA_LARGE, UNIT_LENGTH_SMALL,
                               UNIT_LENGTH_LARGE};

bool readIndex(const char* key, int& value) {
    value = -1;
    return detail::readSetting(key, value);
}

// The style settings as this process and the store last agreed on them (read or saved): what
// tells a change made here from one another program stored meanwhile.
detail::SUnitState& agreed() {
    static detail::SUnitState settings;
    return settings;
}

}  // namespace

void readStyles() {
    detail::SUnitState& s = state();
    if (s.stylesRead) return;
    detail::beginSettings();
    char key[32];
    int value;
    if (readIndex("Style", value) && static_cast<unsigned>(value) < kStyleCount) s.style = value;
    s.feetInches = false;
    if (readIndex("FtIn16ths", value)) s.feetInches = value != 0;
    for (int style = 0; style < kStyleCount; ++style) {
        std::snprintf(key, sizeof key, "Precision-%d", style);
        if (readIndex(key, value) && static_cast<unsigned>(value) < 8) s.precision[style] = value;
    }
    detail::rebuildDecimals();
    // Stored selections may be one past the category's last unit: the bound is inclusive.
    for (int c = 0; c <= UNIT_WARPING_CONSTANT; ++c) {
        std::snprintf(key, sizeof key, "%d", c);
        if (readIndex(key, value) && value >= 0 && value <= UnitArray[c].count)
            s.table[UNIT_STYLE_CUSTOM][c] = value;
    }
    // The bound here is the unit count of the category numbered like the style, not of the
    // category being read; stored data has always been checked that way.
    for (int style = 0; style < UNIT_STYLE_CUSTOM; ++style) {
        for (int c : kAdjustable) {
            std::snprintf(key, sizeof key, "%d-%d", style, c);
            if (readIndex(key, value) && value >= 0 && value <= UnitArray[style].count)
                s.table[style][c] = value;
        }
    }
    s.stylesRead = true;
    agreed() = s;
}

void detail::saveStyles() {
    const SUnitState& s = state();
    const SUnitState& was = agreed();
    // Another process reads the styles whole or not at all, and a kill leaves the old ones.
    CZEVSettingsBatch batch;
    beginSettings();
    char key[32];
    // A setting changed here is written; one unchanged here only when the store lacks it, so
    // that what another program stored since the styles were read stays. Styles never read
    // are written whole.
    const auto put = [&](const char* name, int value, int before) {
        int there = 0;
        if (!s.stylesRead || value != before || !readSetting(name, there))
            writeSetting(name, value);
    };
    put("Style", s.style, was.style);
    put("FtIn16ths", s.feetInches ? 1 : 0, was.feetInches ? 1 : 0);
    for (int style = 0; style < kStyleCount; ++style) {
        std::snprintf(key, sizeof key, "Precision-%d", style);
        put(key, s.precision[style], was.precision[style]);
    }
    for (int c = 0; c <= UNIT_WARPING_CONSTANT; ++c) {
        std::snprintf(key, sizeof key, "%d", c);
        put(key, s.table[UNIT_STYLE_CUSTOM][c], was.table[UNIT_STYLE_CUSTOM][c]);
    }
    for (int style = 0; style < UNIT_STYLE_CUSTOM; ++style) {
        for (int c : kAdjustable) {
            std::snprintf(key, sizeof key, "%d-%d", style, c);
            put(key, s.table[style][c], was.table[style][c]);
        }
    }
    if (batch.Commit() == ERROR_SUCCESS) agreed() = s;
}

void resetStyles() {
    state() = detail::builtInState();
}

void setStyle(ETUnitStyle s, bool save) {
    state().style = s;
    if (!save) return;
    detail::beginSettings();
    detail::writeSetting("Style", s);
    agreed().style = s;
    detail::rebuildDecimals();
}

ETUnitStyle currentStyle() {
    readStyles();
    return static_cast<ETUnitStyle>(state().style);
}

const char* currentStyleName() {
    readStyles();
    return unitStyleName(static_cast<ETUnitStyle>(state().style));
}

int currentUnit(ETUnit u) {
    readStyles();
    return styleUnit(static_cast<ETUnitStyle>(state().style), u);
}

int styleUnit(ETUnitStyle s, ETUnit u) {
    if (!validStyle(s) || !validCategory(u)) return -1;
    return state().table[s][u];
}

int units(ETUnit u) {
    return validCategory(u) ? UnitArray[u].count : 0;
}

int unitStyleCount() {
    return kStyleCount;
}

const char* unitStyleName(ETUnitStyle s) {
    return validStyle(s) ? UnitStyleName[s] : "Bad Style";
}

const char* unitLabel(ETUnit u, int unit) {
    if (!validCategory(u) || unit < 0 || unit >= UnitArray[u].count) return "";
    return UnitArray[u].labels[unit];
}

const char* showUnit(ETUnit u) {
    return unitLabel(u, currentUnit(u));
}

int decimalPlaces() {
    return state().precision[0];
}

void decimalPlaces(int n) {
    if (n < 0 || n > 7) return;
    state().precision[0] = n;
    detail::rebuildDecimals();
}

int precision(ETUnitStyle s) {
    return validStyle(s) ? state().precision[s] : -1;
}

bool feetInches16ths() {
    return state().feetInches;
}

double largestNumber() {
    return state().largest;
}

void largestNumber(double v) {
    if (v > 1.0) state().largest = v;
}

double smallestNumber() {
    return state().smallest;
}

void smallestNumber(double v) {
    if (v > 0.0 && v < 1.0) state().smallest = v;
}

namespace {

// The factor of a unit, or 0 when the value passes unconverted.
double factorOf(ETUnit u, int unit) {
    if (u == UNIT_UNITLESS || !validCategory(u)) return 0.0;
    if (unit == -1) unit = currentUnit(u);
    if (unit < 0 || unit >= UnitArray[u].count) return 0.0;
    return UnitArray[u].factors[unit];
}

}  // namespace

double displayValue(ETUnit u, double internal, int unit) {
    double factor = factorOf(u, unit);
    return factor == 0.0 ? internal : internal * factor;
}

double internalValue(ETUnit u, double shown, int unit) {
    double factor = factorOf(u, unit);
    return factor == 0.0 ? shown : shown / factor;
}

}  // namespace Units
