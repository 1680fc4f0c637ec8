#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "quantities/UnitsFixture.h"
#include "zevcore/quantities/Units.h"

namespace {

// Every unit as the table of units states it: category, label, factor, in table order.
struct FactorRow {
    int category;
    const char* label;
    double factor;
};

const FactorRow kFactors[] = {
    {0, "in/s^2", 1.0},
    {0, "ft/s^2", 0.08333333333333333},
    {0, "yd/s^2", 0.027777777777777776},
    {0, "mm/s^2", 25.4},
    {0, "cm/s^2", 2.54},
    {0, "m/s^2", 0.0254},
    {1, "rad", 1.0},
    {1, "deg", 57.29577951308232},
    {2, "in^2", 1.0},
    {2, "ft^2", 0.006944444444444444},
    {2, "yd^2", 0.0007716049382716049},
    {2, "mm^2", 645.16},
    {2, "cm^2", 6.4516},
    {2, "m^2", 0.00064516},
    {3, "in^2", 1.0},
    {3, "ft^2", 0.006944444444444444},
    {3, "yd^2", 0.0007716049382716049},
    {3, "mm^2", 645.16},
    {3, "cm^2", 6.4516},
    {3, "m^2", 0.00064516},
    {4, "lb/ft^3", 1728000.0},
    {4, "lb/in^3", 1000.0},
    {4, "K/ft^3", 1728.0},
    {4, "K/in^3", 1.0},
    {4, "ton/ft^3", 864.0},
    {4, "ton/in^3", 0.5},
    {4, "kN/m^3", 271447.081},
    {4, "N/m^3", 271447081.0},
    {4, "t/m^3", 27679.9047},
    {5, "lb", 1000.0},
    {5, "K", 1.0},
    {5, "ton", 0.5},
    {5, "kN", 4.44822162},
    {5, "N", 4448.22162},
    {5, "kgf", 453.59237},
    {5, "t", 0.45359237},
    {6, "in^4", 1.0},
    {6, "ft^4", 4.8225308641975306e-05},
    {6, "yd^4", 5.953741807651273e-07},
    {6, "mm^4", 416231.426},
    {6, "cm^4", 41.6231426},
    {6, "m^4", 4.162314256049948e-07},
    {7, "in", 1.0},
    {7, "ft", 0.08333333333333333},
    {7, "yd", 0.027777777777777776},
    {7, "mm", 25.4},
    {7, "cm", 2.54},
    {7, "m", 0.0254},
    {8, "in", 1.0},
    {8, "ft", 0.08333333333333333},
    {8, "yd", 0.027777777777777776},
    {8, "mm", 25.4},
    {8, "cm", 2.54},
    {8, "m", 0.0254},
    {9, "lb/in", 1000.0},
    {9, "lb/ft", 12000.0},
    {9, "K/in", 1.0},
    {9, "K/ft", 12.0},
    {9, "ton/in", 0.5},
    {9, "ton/ft", 6.0},
    {9, "kN/m", 175.126835},
    {9, "kN/mm", 0.175126835},
    {9, "N/m", 175126.835},
    {9, "N/mm", 175.126835},
    {9, "t/m", 17.8579673},
    {9, "kgf/m", 17857.9673},
    {10, "in-lb/in", 1000.0},
    {10, "ft-lb/ft", 1000.0},
    {10, "in-lb/ft", 12000.0},
    {10, "in-K/in", 1.0},
    {10, "ft-K/ft", 1.0},
    {10, "in-K/ft", 12.0},
    {10, "ton-ft/ft", 0.5},
    {10, "ton-in/ft", 6.0},
    {10, "ton-in/in", 0.5},
    {10, "kN-m/m", 4.44822162},
    {10, "N-m/m", 4448.22162},
    {10, "kgf-m/m", 453.59237},
    {10, "t-m/m", 0.45359237},
    {11, "lb", 386088.48},
    {11, "K", 386.08848},
    {11, "ton", 193.04424},
    {11, "kg", 175126.23682905},
    {11, "g", 175126236.82905},
    {11, "t", 175.12623682905},
    {12, "lb-in", 1000.0},
    {12, "lb-ft", 83.33333333333333},
    {12, "K-in", 1.0},
    {12, "K-ft", 0.08333333333333333},
    {12, "ton-in", 0.5},
    {12, "ton-ft", 0.041666666666666664},
    {12, "kN-m", 0.112984829},
    {12, "kN-mm", 112.984829},
    {12, "N-m", 112.984829},
    {12, "N-mm", 112984.829},
    {12, "t-m", 0.0115212462},
    {12, "kgf-m", 11.5212462},
    {13, "psi", 1000.0},
    {13, "psf", 144000.0},
    {13, "Ksi", 1.0},
    {13, "Ksf", 144.0},
    {13, "ton/in^2", 0.5},
    {13, "ton/ft^2", 72.0},
    {13, "kPa", 6894.75729},
    {13, "MPa", 6.89475729},
    {13, "Pa", 6894757.29},
    {13, "t/m^2", 703.06958},
    {13, "t/cm^2", 0.070306958},
    {13, "kgf/m^2", 703069.58},
    {14, "lb/rad", 1000.0},
    {14, "lb/deg", 17.453292519943293},
    {14, "K/rad", 1.0},
    {14, "K/deg", 0.017453292519943295},
    {14, "ton/rad", 0.5},
    {14, "ton/deg", 0.008726646259971648},
    {14, "kg/rad", 453.59237},
    {14, "kg/deg", 7.916680318424351},
    {14, "g/rad", 453592.37},
    {14, "g/deg", 7916.680318424352},
    {14, "t(mass)/rad", 0.45359237},
    {14, "t(mass)/deg", 0.007916680318424352},
    {15, "lb-in/deg", 17.453292519943293},
    {15, "lb-ft/deg", 1.454441043328608},
    {15, "K-in/deg", 0.017453292519943295},
    {15, "K-ft/deg", 0.0014544410433286077},
    {15, "ton-in/deg", 0.008726646259971648},
    {15, "ton-ft/deg", 0.000727220521664304},
    {15, "kN-m/deg", 0.001971957270852772},
    {15, "N-m/deg", 1.9719572708527724},
    {15, "t-m/deg", 0.0002010836801228851},
    {15, "kgf-m/deg", 0.2010836801228851},
    {16, "in^3", 1.0},
    {16, "ft^3", 0.0005787037037037037},
    {16, "yd^3", 2.143347050754458e-05},
    {16, "mm^3", 16387.064},
    {16, "cm^3", 16.387064},
    {16, "m^3", 1.6387064e-05},
    {17, "in^4/lb^2", 1e-06},
    {17, "ft^4/lb^2", 4.822530864197531e-11},
    {17, "in^4/K^2", 1.0},
    {17, "ft^4/K^2", 4.8225308641975306e-05},
    {17, "m^4/N^2", 2.1035945321322515e-14},
    {18, "psi", 1000.0},
    {18, "psf", 144000.0},
    {18, "Ksi", 1.0},
    {18, "Ksf", 144.0},
    {18, "ton/in^2", 0.5},
    {18, "ton/ft^2", 72.0},
    {18, "kPa", 6894.75729},
    {18, "MPa", 6.89475729},
    {18, "Pa", 6894757.29},
    {18, "t/m^2", 703.06958},
    {18, "t/cm^2", 0.070306958},
    {18, "kgf/m^2", 703069.58},
    {19, "deg-F", 1.0},
    {19, "deg-C", 0.5555555555555556},
    {20, "deg-F/ft", 12.0},
    {20, "deg-F/in", 1.0},
    {20, "deg-C/m", 21.872265966754156},
    {20, "deg-C/mm", 0.021872265966754158},
    {21, "in/in/deg-F", 1.0},
    {21, "m/m/deg-C", 1.8},
    {22, "s", 1.0},
    {22, "min", 0.016666666666666666},
    {22, "hr", 0.0002777777777777778},
    {23, "in/s", 1.0},
    {23, "ft/s", 0.08333333333333333},
    {23, "yd/s", 0.027777777777777776},
    {23, "mm/s", 25.4},
    {23, "cm/s", 2.54},
    {23, "m/s", 0.0254},
    {24, "in^3", 1.0},
    {24, "ft^3", 0.0005787037037037037},
    {24, "yd^3", 2.143347050754458e-05},
    {24, "mm^3", 16387.064},
    {24, "cm^3", 16.387064},
    {24, "m^3", 1.6387064e-05},
    {25, "in^6", 1.0},
    {25, "ft^6", 3.3489797668038406e-07},
    {25, "yd^6", 4.593936579977834e-10},
    {25, "mm^6", 268535867.0},
    {25, "cm^6", 268.535867},
    {25, "m^6", 2.685358665645687e-10},
    {26, "", 1.0},
    {27, "lb-in/deg/in", 17.453292519943293},
    {27, "lb-ft/deg/ft", 17.453292519943293},
    {27, "K-in/deg/in", 0.017453292519943295},
    {27, "K-ft/deg/ft", 0.017453292519943295},
    {27, "ton-in/deg/in", 0.008726646259971648},
    {27, "ton-ft/deg/ft", 0.008726646259971648},
    {27, "kN-m/deg/m", 0.07763611312739604},
    {27, "N-m/deg/m", 77.63611312739604},
    {27, "t-m/deg/m", 0.007916680318424352},
    {27, "kgf-m/deg/m", 7.916680318424351},
};

// The built-in selection by label, styles 0 to 10, for every category but "Unitless".
struct StyleRow {
    const char* category;
    const char* labels[11];
};

const StyleRow kStyles[] = {
    {"Acceleration",
     {"in/s^2", "m/s^2", "m/s^2", "m/s^2", "in/s^2", "ft/s^2", "in/s^2", "ft/s^2", "m/s^2", "m/s^2",
      "ft/s^2"}},
    {"Angle", {"deg", "deg", "deg", "deg", "deg", "deg", "deg", "deg", "deg", "deg", "deg"}},
    {"Area (small)",
     {"in^2", "mm^2", "cm^2", "cm^2", "in^2", "ft^2", "in^2", "ft^2", "m^2", "m^2", "in^2"}},
    {"Area (large)",
     {"ft^2", "m^2", "m^2", "m^2", "in^2", "ft^2", "in^2", "ft^2", "m^2", "m^2", "ft^2"}},
    {"Density",
     {"K/in^3", "N/m^3", "N/m^3", "N/m^3", "K/in^3", "K/ft^3", "lb/in^3", "lb/ft^3", "N/m^3",
      "kN/m^3", "K/ft^3"}},
    {"Force & Weight", {"K", "kN", "kN", "kN", "K", "K", "lb", "lb", "N", "kN", "K"}},
    {"Inertia",
     {"in^4", "m^4", "m^4", "m^4", "in^4", "ft^4", "in^4", "ft^4", "m^4", "m^4", "in^4"}},
    {"Length (small)", {"in", "cm", "cm", "cm", "in", "in", "in", "in", "m", "m", "in"}},
    {"Length (large)", {"ft", "m", "m", "m", "ft", "ft", "ft", "ft", "m", "cm", "ft"}},
    {"Linear Force",
     {"K/ft", "kN/m", "kN/m", "kN/m", "K/in", "K/ft", "lb/in", "lb/ft", "N/m", "kN/m", "K/ft"}},
    {"Linear Moment",
     {"ft-K/ft", "kN-m/m", "kN-m/m", "kN-m/m", "in-K/in", "ft-K/ft", "in-lb/in", "ft-lb/ft",
      "N-m/m", "kN-m/m", "in-K/in"}},
    {"Mass (weight)", {"K", "kg", "kg", "kg", "K", "K", "lb", "lb", "kg", "kg", "K"}},
    {"Moment",
     {"K-ft", "kN-m", "kN-m", "kN-m", "K-in", "K-ft", "lb-in", "lb-ft", "N-m", "kN-m", "K-ft"}},
    {"Pressure", {"psf", "MPa", "Pa", "MPa", "Ksi", "Ksf", "psi", "psf", "Pa", "kPa", "Ksf"}},
    {"Rotational Mass",
     {"K/deg", "kg/rad", "kg/rad", "kg/rad", "K/deg", "K/deg", "lb/deg", "lb/deg", "kg/deg",
      "kg/deg", "K/deg"}},
    {"Rotational Stiffness",
     {"K-ft/deg", "kN-m/deg", "kN-m/deg", "kN-m/deg", "K-in/deg", "K-ft/deg", "lb-in/deg",
      "lb-ft/deg", "N-m/deg", "kN-m/deg", "K-ft/deg"}},
    {"Section Modulus",
     {"in^3", "m^3", "cm^3", "m^3", "in^3", "ft^3", "in^3", "ft^3", "m^3", "m^3", "in^3"}},
    {"Steel X2",
     {"in^4/K^2", "m^4/N^2", "m^4/N^2", "m^4/N^2", "in^4/K^2", "ft^4/K^2", "in^4/lb^2", "ft^4/lb^2",
      "m^4/N^2", "m^4/N^2", "in^4/K^2"}},
    {"Stress", {"Ksi", "kPa", "MPa", "MPa", "Ksi", "Ksf", "psi", "psf", "Pa", "kPa", "Ksi"}},
    {"Temperature",
     {"deg-F", "deg-C", "deg-C", "deg-C", "deg-F", "deg-F", "deg-F", "deg-F", "deg-C", "deg-C",
      "deg-F"}},
    {"Thermal Gradient",
     {"deg-F/in", "deg-C/mm", "deg-C/mm", "deg-C/mm", "deg-F/in", "deg-F/ft", "deg-F/in",
      "deg-F/ft", "deg-C/m", "deg-C/m", "deg-F/ft"}},
    {"Thermal Coefficient",
     {"in/in/deg-F", "m/m/deg-C", "m/m/deg-C", "m/m/deg-C", "in/in/deg-F", "in/in/deg-F",
      "in/in/deg-F", "in/in/deg-F", "m/m/deg-C", "m/m/deg-C", "in/in/deg-F"}},
    {"Time", {"s", "s", "s", "s", "s", "s", "s", "s", "s", "s", "s"}},
    {"Velocity",
     {"in/s", "m/s", "m/s", "m/s", "in/s", "ft/s", "in/s", "ft/s", "m/s", "m/s", "ft/s"}},
    {"Volume", {"in^3", "m^3", "m^3", "m^3", "in^3", "ft^3", "in^3", "ft^3", "m^3", "m^3", "ft^3"}},
    {"Warping Constant",
     {"in^6", "mm^6", "mm^6", "mm^6", "in^6", "ft^6", "in^6", "ft^6", "m^6", "m^6", "ft^6"}},
    {"Linear-Rot-Stiffness",
     {"K-in/deg/in", "kN-m/deg/m", "kN-m/deg/m", "kN-m/deg/m", "K-in/deg/in", "K-ft/deg/ft",
      "lb-in/deg/in", "lb-ft/deg/ft", "N-m/deg/m", "kN-m/deg/m", "K-ft/deg/ft"}},
};

using UnitTables = zevtest::UnitsTest;

TEST_F(UnitTables, EveryLabelAndFactorToTheLastDigit) {
    int row = 0;
    for (int c = 0; c < Units::kCategoryCount; ++c) {
        const Units::SUnitType& type = Units::UnitArray[c];
        ASSERT_GE(type.count, 1);
        ASSERT_LE(type.count, 13);
        for (int i = 0; i < type.count; ++i, ++row) {
            ASSERT_LT(row, static_cast<int>(std::size(kFactors)));
            const FactorRow& expected = kFactors[row];
            ASSERT_EQ(expected.category, c) << "unit count of category " << c;
            EXPECT_STREQ(type.labels[i], expected.label) << c;
            EXPECT_EQ(type.factors[i], expected.factor) << c << " " << expected.label;
        }
        for (int i = type.count; i < 13; ++i) EXPECT_STREQ(type.labels[i], "");
    }
    EXPECT_EQ(row, static_cast<int>(std::size(kFactors)));
}

TEST_F(UnitTables, DegreeFactorsFollowFromPi) {
    const double perDegree = M_PI / 180.0;
    EXPECT_EQ(Units::UnitArray[UNIT_ANGLE].factors[1], 180.0 / M_PI);
    EXPECT_EQ(Units::UnitArray[UNIT_ROTATIONAL_MASS].factors[3], perDegree);  // K/deg
    EXPECT_EQ(Units::UnitArray[UNIT_ROTATIONAL_MASS].factors[7], M_PI * 453.59237 / 180.0);
    EXPECT_EQ(Units::UnitArray[UNIT_ROTATIONAL_STIFFNESS].factors[2], perDegree);  // K-in/deg
    EXPECT_EQ(Units::UnitArray[UNIT_LINEAR_ROT_STIFFNESS].factors[2], perDegree);
}

TEST_F(UnitTables, NamesOfCategoriesAndStyles) {
    EXPECT_EQ(Units::CategoryName[0], "Acceleration");
    EXPECT_EQ(Units::CategoryName[UNIT_FORCE], "Force & Weight");
    EXPECT_EQ(Units::CategoryName[UNIT_UNITLESS], "Unitless");
    EXPECT_EQ(Units::CategoryName[UNIT_LINEAR_ROT_STIFFNESS], "Linear-Rot-Stiffness");
    for (int c = 0; c < Units::kCategoryCount; ++c) {
        if (c != UNIT_UNITLESS) {
            EXPECT_EQ(Units::CategoryName[c], kStyles[c < UNIT_UNITLESS ? c : c - 1].category);
        }
    }

    const char* names[] = {"USA (Mixed)",       "Australian",    "British",
                           "Canadian",          "Kips & Inches", "Kips & Feet",
                           "Pounds & Inches",   "Pounds & Feet", "Newtons & Meters",
                           "kNewtons & Meters", "Custom Units"};
    const char* shortNames[] = {"USA",    "AUS",    "GBR", "CAN",  "K-In.", "K-Ft.",
                                "lb-In.", "lb-Ft.", "N-M", "kN-M", "Custom"};
    EXPECT_EQ(Units::unitStyleCount(), 11);
    for (int s = 0; s < 11; ++s) {
        EXPECT_STREQ(Units::UnitStyleName[s], names[s]);
        EXPECT_STREQ(Units::UnitStyleShortName[s], shortNames[s]);
        EXPECT_STREQ(Units::unitStyleName(static_cast<ETUnitStyle>(s)), names[s]);
    }
    EXPECT_STREQ(Units::unitStyleName(static_cast<ETUnitStyle>(11)), "Bad Style");
    EXPECT_STREQ(Units::unitStyleName(static_cast<ETUnitStyle>(-1)), "Bad Style");
}

TEST_F(UnitTables, BuiltInStyles) {
    for (int s = 0; s < 11; ++s) {
        Units::setStyle(static_cast<ETUnitStyle>(s), false);
        for (int c = 0, row = 0; c < Units::kCategoryCount; ++c) {
            ETUnit u = static_cast<ETUnit>(c);
            if (c == UNIT_UNITLESS) {
                EXPECT_EQ(Units::currentUnit(u), 0);
                EXPECT_STREQ(Units::showUnit(u), "");
                continue;
            }
            EXPECT_STREQ(Units::showUnit(u), kStyles[row++].labels[s])
                << Units::CategoryName[c] << " in style " << s;
        }
    }
}

TEST_F(UnitTables, StateWithNothingStored) {
    EXPECT_EQ(Units::currentStyle(), UNIT_STYLE_USA);
    EXPECT_STREQ(Units::currentStyleName(), "USA (Mixed)");
    EXPECT_EQ(Units::decimalPlaces(), 3);
    EXPECT_STREQ(Units::showUnit(UNIT_PRESSURE), "psf");
    EXPECT_STREQ(Units::showUnit(UNIT_STRESS), "Ksi");
    EXPECT_FALSE(Units::feetInches16ths());
    const int precision[] = {3, 4, 4, 4, 3, 4, 3, 4, 3, 4, 5};
    for (int s = 0; s < 11; ++s)
        EXPECT_EQ(Units::precision(static_cast<ETUnitStyle>(s)), precision[s]);
    EXPECT_EQ(Units::units(UNIT_LINEAR_MOMENT), 13);
    EXPECT_EQ(Units::units(static_cast<ETUnit>(28)), 0);
}

TEST_F(UnitTables, SettersIgnoreValuesOutOfRange) {
    Units::decimalPlaces(8);
    Units::decimalPlaces(-1);
    EXPECT_EQ(Units::decimalPlaces(), 3);
    Units::decimalPlaces(7);
    EXPECT_EQ(Units::decimalPlaces(), 7);
    Units::decimalPlaces(0);
    EXPECT_EQ(Units::decimalPlaces(), 0);

    EXPECT_EQ(Units::largestNumber(), 1e+10);
    Units::largestNumber(1.0);
    EXPECT_EQ(Units::largestNumber(), 1e+10);
    Units::largestNumber(5.0);
    EXPECT_EQ(Units::largestNumber(), 5.0);

    EXPECT_EQ(Units::smallestNumber(), 1e-07);
    Units::smallestNumber(1.0);
    Units::smallestNumber(0.0);
    EXPECT_EQ(Units::smallestNumber(), 1e-07);
    Units::smallestNumber(0.5);
    EXPECT_EQ(Units::smallestNumber(), 0.5);
}

TEST_F(UnitTables, ZeroThresholdFollowsTheDecimals) {
    struct {
        int places;
        double atThreshold, above;
    } cases[] = {{0, 1e-05, 1.1e-05}, {1, 0.01, 0.011}, {3, 0.0001, 0.00011}, {7, 1e-08, 1.1e-08}};
    for (const auto& c : cases) {
        Units::decimalPlaces(c.places);
        EXPECT_STREQ(Units::nice(c.atThreshold), "0") << c.places;
        EXPECT_STRNE(Units::nice(c.above), "0") << c.places;
    }
}

TEST_F(UnitTables, Conversions) {
    // 1 m shown in metres, and back.
    EXPECT_DOUBLE_EQ(Units::displayValue(UNIT_LENGTH_LARGE, 1.0 / 0.0254, 5), 1.0);
    EXPECT_EQ(Units::internalValue(UNIT_LENGTH_LARGE, 2.0, 1), 2.0 / 0.08333333333333333);
    // -1: the current unit ("ft" for "Length (large)" in the USA style).
    EXPECT_EQ(Units::displayValue(UNIT_LENGTH_LARGE, 24.0, -1), 2.0);
    // One past the last unit, and any other index out of range: unconverted.
    EXPECT_EQ(Units::displayValue(UNIT_LENGTH_LARGE, 24.0, 6), 24.0);
    EXPECT_EQ(Units::internalValue(UNIT_LENGTH_LARGE, 24.0, -2), 24.0);
    EXPECT_EQ(Units::displayValue(UNIT_UNITLESS, 3.5, 0), 3.5);
    EXPECT_EQ(Units::internalValue(UNIT_UNITLESS, 3.5, 0), 3.5);
    // No offsets: 100 shown deg-C is a difference of 180 deg-F.
    EXPECT_DOUBLE_EQ(Units::internalValue(UNIT_TEMPERATURE, 100.0, 1), 180.0);
}

TEST_F(UnitTables, StyleOutOfRangeConvertsNothing) {
    Units::readStyles();
    Units::setStyle(static_cast<ETUnitStyle>(11), false);
    EXPECT_EQ(Units::currentUnit(UNIT_FORCE), -1);
    EXPECT_STREQ(Units::currentStyleName(), "Bad Style");
    EXPECT_EQ(Units::displayValue(UNIT_FORCE, 3.0, -1), 3.0);
    EXPECT_STREQ(Units::show(UNIT_FORCE, 3.0, UNIT_SHOW), "3 ");
}

TEST_F(UnitTables, SavedStyleSurvivesAReload) {
    Units::setStyle(UNIT_STYLE_KIPS_INCHES, false);
    Units::resetStyles();
    EXPECT_EQ(Units::currentStyle(), UNIT_STYLE_USA);

    Units::setStyle(UNIT_STYLE_NEWTONS_METERS, true);
    Units::resetStyles();
    EXPECT_EQ(Units::currentStyle(), UNIT_STYLE_NEWTONS_METERS);
}

TEST_F(UnitTables, StoredStyleOverridesAnEarlierSetStyle) {
    Units::setStyle(UNIT_STYLE_BRITISH, true);
    Units::resetStyles();
    Units::setStyle(UNIT_STYLE_CANADIAN, false);  // before the first read
    EXPECT_EQ(Units::currentStyle(), UNIT_STYLE_BRITISH);
}

}  // namespace
