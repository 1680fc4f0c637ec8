#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

#include "quantities/UnitsFixture.h"
#include "zevcore/quantities/Units.h"

namespace {

// Every category's units as the table of units states them, "label=factor" in order.
const char* const kUnits[] = {
    "in/s^2=1.0; ft/s^2=0.08333333333333333; yd/s^2=0.027777777777777776; mm/s^2=25.4; "
    "cm/s^2=2.54; m/s^2=0.0254",
    "rad=1.0; deg=57.29577951308232",
    "in^2=1.0; ft^2=0.006944444444444444; yd^2=0.0007716049382716049; mm^2=645.16; cm^2=6.4516; "
    "m^2=0.00064516",
    "in^2=1.0; ft^2=0.006944444444444444; yd^2=0.0007716049382716049; mm^2=645.16; cm^2=6.4516; "
    "m^2=0.00064516",
    "lb/ft^3=1728000.0; lb/in^3=1000.0; K/ft^3=1728.0; K/in^3=1.0; ton/ft^3=864.0; ton/in^3=0.5; "
    "kN/m^3=271447.081; N/m^3=271447081.0; t/m^3=27679.9047",
    "lb=1000.0; K=1.0; ton=0.5; kN=4.44822162; N=4448.22162; kgf=453.59237; t=0.45359237",
    "in^4=1.0; ft^4=4.8225308641975306e-05; yd^4=5.953741807651273e-07; mm^4=416231.426; "
    "cm^4=41.6231426; m^4=4.162314256049948e-07",
    "in=1.0; ft=0.08333333333333333; yd=0.027777777777777776; mm=25.4; cm=2.54; m=0.0254",
    "in=1.0; ft=0.08333333333333333; yd=0.027777777777777776; mm=25.4; cm=2.54; m=0.0254",
    "lb/in=1000.0; lb/ft=12000.0; K/in=1.0; K/ft=12.0; ton/in=0.5; ton/ft=6.0; kN/m=175.126835; "
    "kN/mm=0.175126835; N/m=175126.835; N/mm=175.126835; t/m=17.8579673; kgf/m=17857.9673",
    "in-lb/in=1000.0; ft-lb/ft=1000.0; in-lb/ft=12000.0; in-K/in=1.0; ft-K/ft=1.0; in-K/ft=12.0; "
    "ton-ft/ft=0.5; ton-in/ft=6.0; ton-in/in=0.5; kN-m/m=4.44822162; N-m/m=4448.22162; "
    "kgf-m/m=453.59237; t-m/m=0.45359237",
    "lb=386088.48; K=386.08848; ton=193.04424; kg=175126.23682905; g=175126236.82905; "
    "t=175.12623682905",
    "lb-in=1000.0; lb-ft=83.33333333333333; K-in=1.0; K-ft=0.08333333333333333; ton-in=0.5; "
    "ton-ft=0.041666666666666664; kN-m=0.112984829; kN-mm=112.984829; N-m=112.984829; "
    "N-mm=112984.829; t-m=0.0115212462; kgf-m=11.5212462",
    "psi=1000.0; psf=144000.0; Ksi=1.0; Ksf=144.0; ton/in^2=0.5; ton/ft^2=72.0; kPa=6894.75729; "
    "MPa=6.89475729; Pa=6894757.29; t/m^2=703.06958; t/cm^2=0.070306958; kgf/m^2=703069.58",
    "lb/rad=1000.0; lb/deg=17.453292519943293; K/rad=1.0; K/deg=0.017453292519943295; ton/rad=0.5; "
    "ton/deg=0.008726646259971648; kg/rad=453.59237; kg/deg=7.916680318424351; g/rad=453592.37; "
    "g/deg=7916.680318424352; t(mass)/rad=0.45359237; t(mass)/deg=0.007916680318424352",
    "lb-in/deg=17.453292519943293; lb-ft/deg=1.454441043328608; K-in/deg=0.017453292519943295; "
    "K-ft/deg=0.0014544410433286077; ton-in/deg=0.008726646259971648; "
    "ton-ft/deg=0.000727220521664304; kN-m/deg=0.001971957270852772; N-m/deg=1.9719572708527724; "
    "t-m/deg=0.0002010836801228851; kgf-m/deg=0.2010836801228851",
    "in^3=1.0; ft^3=0.0005787037037037037; yd^3=2.143347050754458e-05; mm^3=16387.064; "
    "cm^3=16.387064; m^3=1.6387064e-05",
    "in^4/lb^2=1e-06; ft^4/lb^2=4.822530864197531e-11; in^4/K^2=1.0; "
    "ft^4/K^2=4.8225308641975306e-05; m^4/N^2=2.1035945321322515e-14",
    "psi=1000.0; psf=144000.0; Ksi=1.0; Ksf=144.0; ton/in^2=0.5; ton/ft^2=72.0; kPa=6894.75729; "
    "MPa=6.89475729; Pa=6894757.29; t/m^2=703.06958; t/cm^2=0.070306958; kgf/m^2=703069.58",
    "deg-F=1.0; deg-C=0.5555555555555556",
    "deg-F/ft=12.0; deg-F/in=1.0; deg-C/m=21.872265966754156; deg-C/mm=0.021872265966754158",
    "in/in/deg-F=1.0; m/m/deg-C=1.8",
    "s=1.0; min=0.016666666666666666; hr=0.0002777777777777778",
    "in/s=1.0; ft/s=0.08333333333333333; yd/s=0.027777777777777776; mm/s=25.4; cm/s=2.54; "
    "m/s=0.0254",
    "in^3=1.0; ft^3=0.0005787037037037037; yd^3=2.143347050754458e-05; mm^3=16387.064; "
    "cm^3=16.387064; m^3=1.6387064e-05",
    "in^6=1.0; ft^6=3.3489797668038406e-07; yd^6=4.593936579977834e-10; mm^6=268535867.0; "
    "cm^6=268.535867; m^6=2.685358665645687e-10",
    "=1.0",
    "lb-in/deg/in=17.453292519943293; lb-ft/deg/ft=17.453292519943293; "
    "K-in/deg/in=0.017453292519943295; K-ft/deg/ft=0.017453292519943295; "
    "ton-in/deg/in=0.008726646259971648; ton-ft/deg/ft=0.008726646259971648; "
    "kN-m/deg/m=0.07763611312739604; N-m/deg/m=77.63611312739604; t-m/deg/m=0.007916680318424352; "
    "kgf-m/deg/m=7.916680318424351",
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
    for (int c = 0; c < Units::kCategoryCount; ++c) {
        const Units::SUnitType& type = Units::UnitArray[c];
        std::string row = kUnits[c];
        int i = 0;
        for (size_t at = 0; at < row.size(); ++i) {
            size_t end = std::min(row.find("; ", at), row.size());
            std::string unit = row.substr(at, end - at);
            size_t eq = unit.rfind('=');
            ASSERT_LT(i, type.count) << Units::CategoryName[c];
            EXPECT_EQ(unit.substr(0, eq), type.labels[i]) << c;
            // The decimal read back is the one double it stands for.
            EXPECT_EQ(std::strtod(unit.c_str() + eq + 1, nullptr), type.factors[i])
                << c << " " << unit;
            at = end + 2;
        }
        EXPECT_EQ(i, type.count) << Units::CategoryName[c];
        for (int k = type.count; k < 13; ++k) EXPECT_STREQ(type.labels[k], "");
    }
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
