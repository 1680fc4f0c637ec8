#include "zevcore/quantities/Units.h"

#include <cmath>
#include <cstring>

#include "zevcore/quantities/UnitsInternal.hpp"

namespace Units {
namespace {

// Units per degree from units per radian. Written as one product and one quotient in this
// order, so that every factor is the same double, to the last bit, as the stored tables
// that files and users have always seen.
double perDegree(double perRadian) {
    return perRadian * M_PI / 180.0;
}

}  // namespace

const SUnitType UnitArray[kCategoryCount] = {
    // 0 "Acceleration"
    {6,
     {"in/s^2", "ft/s^2", "yd/s^2", "mm/s^2", "cm/s^2", "m/s^2"},
     {1.0, 0.08333333333333333, 0.027777777777777776, 25.4, 2.54, 0.0254}},
    // 1 "Angle"
    {2, {"rad", "deg"}, {1.0, 180.0 / M_PI}},
    // 2 "Area (small)"
    {6,
     {"in^2", "ft^2", "yd^2", "mm^2", "cm^2", "m^2"},
     {1.0, 0.006944444444444444, 0.0007716049382716049, 645.16, 6.4516, 0.00064516}},
    // 3 "Area (large)"
    {6,
     {"in^2", "ft^2", "yd^2", "mm^2", "cm^2", "m^2"},
     {1.0, 0.006944444444444444, 0.0007716049382716049, 645.16, 6.4516, 0.00064516}},
    // 4 "Density"
    {9,
     {"lb/ft^3", "lb/in^3", "K/ft^3", "K/in^3", "ton/ft^3", "ton/in^3", "kN/m^3", "N/m^3", "t/m^3"},
     {1728000.0, 1000.0, 1728.0, 1.0, 864.0, 0.5, 271447.081, 271447081.0, 27679.9047}},
    // 5 "Force & Weight"
    {7,
     {"lb", "K", "ton", "kN", "N", "kgf", "t"},
     {1000.0, 1.0, 0.5, 4.44822162, 4448.22162, 453.59237, 0.45359237}},
    // 6 "Inertia"
    {6,
     {"in^4", "ft^4", "yd^4", "mm^4", "cm^4", "m^4"},
     {1.0, 4.8225308641975306e-05, 5.953741807651273e-07, 416231.426, 41.6231426,
      4.162314256049948e-07}},
    // 7 "Length (small)"
    {6,
     {"in", "ft", "yd", "mm", "cm", "m"},
     {1.0, 0.08333333333333333, 0.027777777777777776, 25.4, 2.54, 0.0254}},
    // 8 "Length (large)"
    {6,
     {"in", "ft", "yd", "mm", "cm", "m"},
     {1.0, 0.08333333333333333, 0.027777777777777776, 25.4, 2.54, 0.0254}},
    // 9 "Linear Force"
    {12,
     {"lb/in", "lb/ft", "K/in", "K/ft", "ton/in", "ton/ft", "kN/m", "kN/mm", "N/m", "N/mm", "t/m",
      "kgf/m"},
     {1000.0, 12000.0, 1.0, 12.0, 0.5, 6.0, 175.126835, 0.175126835, 175126.835, 175.126835,
      17.8579673, 17857.9673}},
    // 10 "Linear Moment"
    {13,
     {"in-lb/in", "ft-lb/ft", "in-lb/ft", "in-K/in", "ft-K/ft", "in-K/ft", "ton-ft/ft", "ton-in/ft",
      "ton-in/in", "kN-m/m", "N-m/m", "kgf-m/m", "t-m/m"},
     {1000.0, 1000.0, 12000.0, 1.0, 1.0, 12.0, 0.5, 6.0, 0.5, 4.44822162, 4448.22162, 453.59237,
      0.45359237}},
    // 11 "Mass (weight)"
    {6,
     {"lb", "K", "ton", "kg", "g", "t"},
     {386088.48, 386.08848, 193.04424, 175126.23682905, 175126236.82905, 175.12623682905}},
    // 12 "Moment"
    {12,
     {"lb-in", "lb-ft", "K-in", "K-ft", "ton-in", "ton-ft", "kN-m", "kN-mm", "N-m", "N-mm", "t-m",
      "kgf-m"},
     {1000.0, 83.33333333333333, 1.0, 0.08333333333333333, 0.5, 0.041666666666666664, 0.112984829,
      112.984829, 112.984829, 112984.829, 0.0115212462, 11.5212462}},
    // 13 "Pressure"
    {12,
     {"psi", "psf", "Ksi", "Ksf", "ton/in^2", "ton/ft^2", "kPa", "MPa", "Pa", "t/m^2", "t/cm^2",
      "kgf/m^2"},
     {1000.0, 144000.0, 1.0, 144.0, 0.5, 72.0, 6894.75729, 6.89475729, 6894757.29, 703.06958,
      0.070306958, 703069.58}},
    // 14 "Rotational Mass"
    {12,
     {"lb/rad", "lb/deg", "K/rad", "K/deg", "ton/rad", "ton/deg", "kg/rad", "kg/deg", "g/rad",
      "g/deg", "t(mass)/rad", "t(mass)/deg"},
     {1000.0, perDegree(1000.0), 1.0, perDegree(1.0), 0.5, perDegree(0.5), 453.59237,
      perDegree(453.59237), 453592.37, perDegree(453592.37), 0.45359237, perDegree(0.45359237)}},
    // 15 "Rotational Stiffness"
    {10,
     {"lb-in/deg", "lb-ft/deg", "K-in/deg", "K-ft/deg", "ton-in/deg", "ton-ft/deg", "kN-m/deg",
      "N-m/deg", "t-m/deg", "kgf-m/deg"},
     {perDegree(1000.0), perDegree(1000.0 / 12.0), perDegree(1.0), perDegree(1.0 / 12.0),
      perDegree(0.5), 0.5 / 12.0 * (M_PI / 180.0), perDegree(0.112984829), perDegree(112.984829),
      perDegree(0.0115212462), perDegree(11.5212462)}},
    // 16 "Section Modulus"
    {6,
     {"in^3", "ft^3", "yd^3", "mm^3", "cm^3", "m^3"},
     {1.0, 0.0005787037037037037, 2.143347050754458e-05, 16387.064, 16.387064, 1.6387064e-05}},
    // 17 "Steel X2"
    {5,
     {"in^4/lb^2", "ft^4/lb^2", "in^4/K^2", "ft^4/K^2", "m^4/N^2"},
     {1e-06, 4.822530864197531e-11, 1.0, 4.8225308641975306e-05, 2.1035945321322515e-14}},
    // 18 "Stress"
    {12,
     {"psi", "psf", "Ksi", "Ksf", "ton/in^2", "ton/ft^2", "kPa", "MPa", "Pa", "t/m^2", "t/cm^2",
      "kgf/m^2"},
     {1000.0, 144000.0, 1.0, 144.0, 0.5, 72.0, 6894.75729, 6.89475729, 6894757.29, 703.06958,
      0.070306958, 703069.58}},
    // 19 "Temperature"
    {2, {"deg-F", "deg-C"}, {1.0, 0.5555555555555556}},
    // 20 "Thermal Gradient"
    {4,
     {"deg-F/ft", "deg-F/in", "deg-C/m", "deg-C/mm"},
     {12.0, 1.0, 21.872265966754156, 0.021872265966754158}},
    // 21 "Thermal Coefficient"
    {2, {"in/in/deg-F", "m/m/deg-C"}, {1.0, 1.8}},
    // 22 "Time"
    {3, {"s", "min", "hr"}, {1.0, 0.016666666666666666, 0.0002777777777777778}},
    // 23 "Velocity"
    {6,
     {"in/s", "ft/s", "yd/s", "mm/s", "cm/s", "m/s"},
     {1.0, 0.08333333333333333, 0.027777777777777776, 25.4, 2.54, 0.0254}},
    // 24 "Volume"
    {6,
     {"in^3", "ft^3", "yd^3", "mm^3", "cm^3", "m^3"},
     {1.0, 0.0005787037037037037, 2.143347050754458e-05, 16387.064, 16.387064, 1.6387064e-05}},
    // 25 "Warping Constant"
    {6,
     {"in^6", "ft^6", "yd^6", "mm^6", "cm^6", "m^6"},
     {1.0, 3.3489797668038406e-07, 4.593936579977834e-10, 268535867.0, 268.535867,
      2.685358665645687e-10}},
    // 26 "Unitless"
    {1, {""}, {1.0}},
    // 27 "Linear-Rot-Stiffness"
    {10,
     {"lb-in/deg/in", "lb-ft/deg/ft", "K-in/deg/in", "K-ft/deg/ft", "ton-in/deg/in",
      "ton-ft/deg/ft", "kN-m/deg/m", "N-m/deg/m", "t-m/deg/m", "kgf-m/deg/m"},
     {perDegree(1000.0), perDegree(1000.0), perDegree(1.0), perDegree(1.0), perDegree(0.5),
      perDegree(0.5), perDegree(4.44822162), perDegree(4448.22162), perDegree(0.45359237),
      perDegree(453.59237)}},
};

const CString CategoryName[kCategoryCount] = {
    "Acceleration",
    "Angle",
    "Area (small)",
    "Area (large)",
    "Density",
    "Force & Weight",
    "Inertia",
    "Length (small)",
    "Length (large)",
    "Linear Force",
    "Linear Moment",
    "Mass (weight)",
    "Moment",
    "Pressure",
    "Rotational Mass",
    "Rotational Stiffness",
    "Section Modulus",
    "Steel X2",
    "Stress",
    "Temperature",
    "Thermal Gradient",
    "Thermal Coefficient",
    "Time",
    "Velocity",
    "Volume",
    "Warping Constant",
    "Unitless",
    "Linear-Rot-Stiffness",
};

const char UnitStyleName[kStyleCount][25] = {
    "USA (Mixed)",      "Australian",        "British",         "Canadian",
    "Kips & Inches",    "Kips & Feet",       "Pounds & Inches", "Pounds & Feet",
    "Newtons & Meters", "kNewtons & Meters", "Custom Units",
};

const char UnitStyleShortName[kStyleCount][10] = {
    "USA", "AUS", "GBR", "CAN", "K-In.", "K-Ft.", "lb-In.", "lb-Ft.", "N-M", "kN-M", "Custom",
};

namespace {

// The built-in selection of each style, by label, for every category but "Unitless" (which
// is always its one empty unit). Columns are the styles 0 to 10.
const char* const kBuiltInLabels[kCategoryCount - 1][kStyleCount] = {
    {"in/s^2", "m/s^2", "m/s^2", "m/s^2", "in/s^2", "ft/s^2", "in/s^2", "ft/s^2", "m/s^2", "m/s^2",
     "ft/s^2"},                                                                     // Acceleration
    {"deg", "deg", "deg", "deg", "deg", "deg", "deg", "deg", "deg", "deg", "deg"},  // Angle
    {"in^2", "mm^2", "cm^2", "cm^2", "in^2", "ft^2", "in^2", "ft^2", "m^2", "m^2",
     "in^2"},  // Area (small)
    {"ft^2", "m^2", "m^2", "m^2", "in^2", "ft^2", "in^2", "ft^2", "m^2", "m^2",
     "ft^2"},  // Area (large)
    {"K/in^3", "N/m^3", "N/m^3", "N/m^3", "K/in^3", "K/ft^3", "lb/in^3", "lb/ft^3", "N/m^3",
     "kN/m^3", "K/ft^3"},                                           // Density
    {"K", "kN", "kN", "kN", "K", "K", "lb", "lb", "N", "kN", "K"},  // Force & Weight
    {"in^4", "m^4", "m^4", "m^4", "in^4", "ft^4", "in^4", "ft^4", "m^4", "m^4", "in^4"},  // Inertia
    {"in", "cm", "cm", "cm", "in", "in", "in", "in", "m", "m", "in"},  // Length (small)
    {"ft", "m", "m", "m", "ft", "ft", "ft", "ft", "m", "cm", "ft"},    // Length (large)
    {"K/ft", "kN/m", "kN/m", "kN/m", "K/in", "K/ft", "lb/in", "lb/ft", "N/m", "kN/m",
     "K/ft"},  // Linear Force
    {"ft-K/ft", "kN-m/m", "kN-m/m", "kN-m/m", "in-K/in", "ft-K/ft", "in-lb/in", "ft-lb/ft", "N-m/m",
     "kN-m/m", "in-K/in"},                                           // Linear Moment
    {"K", "kg", "kg", "kg", "K", "K", "lb", "lb", "kg", "kg", "K"},  // Mass (weight)
    {"K-ft", "kN-m", "kN-m", "kN-m", "K-in", "K-ft", "lb-in", "lb-ft", "N-m", "kN-m",
     "K-ft"},                                                                     // Moment
    {"psf", "MPa", "Pa", "MPa", "Ksi", "Ksf", "psi", "psf", "Pa", "kPa", "Ksf"},  // Pressure
    {"K/deg", "kg/rad", "kg/rad", "kg/rad", "K/deg", "K/deg", "lb/deg", "lb/deg", "kg/deg",
     "kg/deg", "K/deg"},  // Rotational Mass
    {"K-ft/deg", "kN-m/deg", "kN-m/deg", "kN-m/deg", "K-in/deg", "K-ft/deg", "lb-in/deg",
     "lb-ft/deg", "N-m/deg", "kN-m/deg", "K-ft/deg"},  // Rotational Stiffness
    {"in^3", "m^3", "cm^3", "m^3", "in^3", "ft^3", "in^3", "ft^3", "m^3", "m^3",
     "in^3"},  // Section Modulus
    {"in^4/K^2", "m^4/N^2", "m^4/N^2", "m^4/N^2", "in^4/K^2", "ft^4/K^2", "in^4/lb^2", "ft^4/lb^2",
     "m^4/N^2", "m^4/N^2", "in^4/K^2"},                                            // Steel X2
    {"Ksi", "kPa", "MPa", "MPa", "Ksi", "Ksf", "psi", "psf", "Pa", "kPa", "Ksi"},  // Stress
    {"deg-F", "deg-C", "deg-C", "deg-C", "deg-F", "deg-F", "deg-F", "deg-F", "deg-C", "deg-C",
     "deg-F"},  // Temperature
    {"deg-F/in", "deg-C/mm", "deg-C/mm", "deg-C/mm", "deg-F/in", "deg-F/ft", "deg-F/in", "deg-F/ft",
     "deg-C/m", "deg-C/m", "deg-F/ft"},  // Thermal Gradient
    {"in/in/deg-F", "m/m/deg-C", "m/m/deg-C", "m/m/deg-C", "in/in/deg-F", "in/in/deg-F",
     "in/in/deg-F", "in/in/deg-F", "m/m/deg-C", "m/m/deg-C", "in/in/deg-F"},  // Thermal Coefficient
    {"s", "s", "s", "s", "s", "s", "s", "s", "s", "s", "s"},                  // Time
    {"in/s", "m/s", "m/s", "m/s", "in/s", "ft/s", "in/s", "ft/s", "m/s", "m/s",
     "ft/s"},  // Velocity
    {"in^3", "m^3", "m^3", "m^3", "in^3", "ft^3", "in^3", "ft^3", "m^3", "m^3", "ft^3"},  // Volume
    {"in^6", "mm^6", "mm^6", "mm^6", "in^6", "ft^6", "in^6", "ft^6", "m^6", "m^6",
     "ft^6"},  // Warping Constant
    {"K-in/deg/in", "kN-m/deg/m", "kN-m/deg/m", "kN-m/deg/m", "K-in/deg/in", "K-ft/deg/ft",
     "lb-in/deg/in", "lb-ft/deg/ft", "N-m/deg/m", "kN-m/deg/m",
     "K-ft/deg/ft"},  // Linear-Rot-Stiffness
};

int labelIndex(int category, const char* label) {
    const SUnitType& row = UnitArray[category];
    for (int i = 0; i < row.count; ++i)
        if (std::strcmp(row.labels[i], label) == 0) return i;
    return 0;
}

}  // namespace

namespace detail {

void builtInStyleTable(std::int32_t table[kStyleCount][kCategoryCount]) {
    for (int s = 0; s < kStyleCount; ++s) {
        for (int c = 0, row = 0; c < kCategoryCount; ++c) {
            if (c == UNIT_UNITLESS) {
                table[s][c] = 0;
                continue;
            }
            table[s][c] = labelIndex(c, kBuiltInLabels[row++][s]);
        }
    }
}

}  // namespace detail
}  // namespace Units
