#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "quantities/UnitsFixture.h"
#include "zevcore/frame/Math.h"
#include "zevcore/quantities/Units.h"

namespace {

using UnitsParse = zevtest::UnitsTest;

constexpr const char* kNoValue = "No value found, please enter a number.";
constexpr const char* kLengthUnits = "Please use one of these units: { in, ft, yd, mm, cm, m }";

// Factors of the table of units, written out here to check the parser against.
constexpr double kFeet = 0.08333333333333333;
constexpr double kMetres = 0.0254;
constexpr double kDegrees = 57.29577951308232;
constexpr double kKiloNewtons = 4.44822162;

struct Entry {
    ETUnit category;
    ETUnitStyle style;
    const char* text;
    double internal;
    ETUnitError error;
    const char* message;
};

void PrintTo(const Entry& e, std::ostream* out) {
    *out << '"' << e.text << '"';
}

class ParseEntries : public zevtest::UnitsTest, public testing::WithParamInterface<Entry> {};

TEST_P(ParseEntries, GiveTheInternalValueOrTheMessage) {
    const Entry& e = GetParam();
    Units::setStyle(e.style, false);
    ETUnitError error = UNIT_BAD_UNIT;
    double value = Units::parse(e.category, e.text, &error, UNIT_RANGE_ANY);
    EXPECT_EQ(error, e.error) << e.text;
    EXPECT_EQ(Units::lastParseError(), e.error);
    EXPECT_STREQ(Units::lastParseMessage(), e.message) << e.text;
    if (e.error == UNIT_OK) {
        EXPECT_DOUBLE_EQ(value, e.internal) << e.text;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Length, ParseEntries,
    testing::Values(
        // A bare number is in the current unit, feet in this style.
        Entry{UNIT_LENGTH_LARGE, UNIT_STYLE_USA, "12", 144.0, UNIT_OK, ""},
        Entry{UNIT_LENGTH_LARGE, UNIT_STYLE_USA, "12 in", 12.0, UNIT_OK, ""},
        Entry{UNIT_LENGTH_LARGE, UNIT_STYLE_USA, "12 IN", 12.0, UNIT_OK, ""},
        Entry{UNIT_LENGTH_LARGE, UNIT_STYLE_USA, "1 m", 1.0 / kMetres, UNIT_OK, ""},
        Entry{UNIT_LENGTH_LARGE, UNIT_STYLE_USA, "25.4mm", 1.0, UNIT_OK, ""},
        Entry{UNIT_LENGTH_LARGE, UNIT_STYLE_USA, "2 yd", 72.0, UNIT_OK, ""},
        Entry{UNIT_LENGTH_LARGE, UNIT_STYLE_USA, "2*3 ft", 72.0, UNIT_OK, ""},
        Entry{UNIT_LENGTH_LARGE, UNIT_STYLE_USA, "1.5e3", 18000.0, UNIT_OK, ""},
        Entry{UNIT_LENGTH_LARGE, UNIT_STYLE_USA, "1.5e-3 ft", 0.018, UNIT_OK, ""},
        Entry{UNIT_LENGTH_LARGE, UNIT_STYLE_USA, "-3+4", 12.0, UNIT_OK, ""},
        Entry{UNIT_LENGTH_LARGE, UNIT_STYLE_USA, "", 0.0, UNIT_OK, ""},
        // Feet and inches are inches whatever the style.
        Entry{UNIT_LENGTH_LARGE, UNIT_STYLE_NEWTONS_METERS, "5' 6\"", 66.0, UNIT_OK, ""},
        Entry{UNIT_LENGTH_LARGE, UNIT_STYLE_USA, "5' 6 1/2\"", 66.5, UNIT_OK, ""},
        Entry{UNIT_LENGTH_SMALL, UNIT_STYLE_USA, "5 ft 6 1/2 in", 66.5, UNIT_BAD_VALUE, kNoValue},
        Entry{UNIT_LENGTH_SMALL, UNIT_STYLE_USA, "5'6.5\"", 66.5, UNIT_OK, ""},
        Entry{UNIT_LENGTH_SMALL, UNIT_STYLE_USA, "5' 6", 66.0, UNIT_OK, ""},
        Entry{UNIT_LENGTH_SMALL, UNIT_STYLE_USA, "-5' 6\"", -66.0, UNIT_OK, ""},
        Entry{UNIT_LENGTH_SMALL, UNIT_STYLE_USA, "-0' 6\"", 6.0, UNIT_OK, ""},
        Entry{UNIT_LENGTH_SMALL, UNIT_STYLE_BRITISH, "6 1/2\"", 6.5, UNIT_OK, ""},
        Entry{UNIT_LENGTH_SMALL, UNIT_STYLE_BRITISH, "3/4''", 0.75, UNIT_OK, ""},
        Entry{UNIT_LENGTH_SMALL, UNIT_STYLE_BRITISH, "6''", 6.0, UNIT_OK, ""},
        Entry{UNIT_LENGTH_SMALL, UNIT_STYLE_BRITISH, "6.25\"", 6.25, UNIT_OK, ""},
        Entry{UNIT_LENGTH_LARGE, UNIT_STYLE_USA, "10 ft 3 in", 0.0, UNIT_BAD_VALUE, kNoValue},
        Entry{UNIT_LENGTH_LARGE, UNIT_STYLE_USA, "(1+2) * 3", 0.0, UNIT_BAD_UNIT, kLengthUnits},
        Entry{UNIT_LENGTH_LARGE, UNIT_STYLE_USA, "1/0", 0.0, UNIT_BAD_UNIT, kLengthUnits},
        Entry{UNIT_LENGTH_LARGE, UNIT_STYLE_USA, "12 furlongs", 0.0, UNIT_BAD_UNIT, kLengthUnits},
        Entry{UNIT_LENGTH_LARGE, UNIT_STYLE_USA, "ft", 0.0, UNIT_BAD_VALUE, kNoValue},
        Entry{UNIT_LENGTH_SMALL, UNIT_STYLE_USA, "5' 6 1/0\"", 0.0, UNIT_BAD_UNIT, kLengthUnits},
        Entry{UNIT_LENGTH_SMALL, UNIT_STYLE_USA, "nan\"", 0.0, UNIT_BAD_UNIT, kLengthUnits}));

INSTANTIATE_TEST_SUITE_P(
    OtherCategories, ParseEntries,
    testing::Values(
        Entry{UNIT_ANGLE, UNIT_STYLE_USA, "PI/2", 3.14159265359 / 2 / kDegrees, UNIT_OK, ""},
        Entry{UNIT_ANGLE, UNIT_STYLE_USA, "1 rad", 1.0, UNIT_OK, ""},
        Entry{UNIT_ANGLE, UNIT_STYLE_USA, "pi rad", 3.14159265359, UNIT_OK, ""},
        Entry{UNIT_FORCE, UNIT_STYLE_USA, "12.5 kN", 12.5 / kKiloNewtons, UNIT_OK, ""},
        Entry{UNIT_FORCE, UNIT_STYLE_USA, "12.5 kn", 12.5 / kKiloNewtons, UNIT_OK, ""},
        Entry{UNIT_FORCE, UNIT_STYLE_USA, "1000 lb", 1.0, UNIT_OK, ""},
        Entry{UNIT_FORCE, UNIT_STYLE_USA, "5 t", 5.0 / 0.45359237, UNIT_OK, ""},
        Entry{UNIT_FORCE, UNIT_STYLE_NEWTONS_METERS, "1000", 1000.0 / 4448.22162, UNIT_OK, ""},
        Entry{UNIT_FORCE, UNIT_STYLE_USA, "2 kips", 0.0, UNIT_BAD_UNIT,
              "Please use one of these units: { lb, K, ton, kN, N, kgf, t }"},
        Entry{UNIT_TEMPERATURE, UNIT_STYLE_AUSTRALIAN, "100", 180.0, UNIT_OK, ""},
        Entry{UNIT_PRESSURE, UNIT_STYLE_USA, "1 ksi", 1.0, UNIT_OK, ""},
        Entry{UNIT_PRESSURE, UNIT_STYLE_USA, "144", 0.001, UNIT_OK, ""},
        Entry{UNIT_TIME, UNIT_STYLE_USA, "2 hr", 7200.0, UNIT_OK, ""},
        Entry{UNIT_TIME, UNIT_STYLE_USA, "1.5 min", 90.0, UNIT_OK, ""},
        Entry{UNIT_UNITLESS, UNIT_STYLE_USA, "2*3", 6.0, UNIT_OK, ""},
        Entry{UNIT_UNITLESS, UNIT_STYLE_USA, " 4 ", 4.0, UNIT_OK, ""},
        Entry{UNIT_UNITLESS, UNIT_STYLE_USA, "", 0.0, UNIT_BAD_VALUE, kNoValue},
        Entry{UNIT_UNITLESS, UNIT_STYLE_USA, "abc", 0.0, UNIT_BAD_VALUE, kNoValue},
        Entry{UNIT_UNITLESS, UNIT_STYLE_USA, "asin(2)", 0.0, UNIT_OUT_OF_RANGE,
              "Please enter a value within (-1e+30 to 1e+30 )."}));

// Every label of every category, typed after a 1, gives the internal value 1 / factor.
TEST_F(UnitsParse, EveryLabelOfEveryCategory) {
    for (int c = 0; c < Units::kCategoryCount; ++c) {
        if (c == UNIT_UNITLESS) continue;
        const Units::SUnitType& type = Units::UnitArray[c];
        for (int i = 0; i < type.count; ++i) {
            std::string entry = std::string("1 ") + type.labels[i];
            double value = Units::parse(static_cast<ETUnit>(c), entry.c_str(), UNIT_RANGE_ANY);
            // An earlier label ending a later one would take its entries ("m" and "mm").
            // The order of the table prevents that.
            ASSERT_EQ(Units::lastParseError(), UNIT_OK) << entry;
            EXPECT_DOUBLE_EQ(value * type.factors[i], 1.0)
                << Units::CategoryName[c] << " " << entry;
        }
    }
}

TEST_F(UnitsParse, RangesAndTheirMessages) {
    struct {
        ETUnitRange range;
        const char* text;
        ETUnitError error;
        const char* message;
    } cases[] = {
        {UNIT_RANGE_NONZERO, "3", UNIT_OK, ""},
        {UNIT_RANGE_NONZERO, "0", UNIT_OUT_OF_RANGE, "Please enter a non-zero value."},
        {UNIT_RANGE_NONZERO, "0.0000001", UNIT_OUT_OF_RANGE, "Please enter a non-zero value."},
        {UNIT_RANGE_NONNEGATIVE, "0", UNIT_OK, ""},
        {UNIT_RANGE_NONNEGATIVE, "-1", UNIT_OUT_OF_RANGE, "Please enter a non-negative value."},
        {UNIT_RANGE_POSITIVE, "0", UNIT_OUT_OF_RANGE, "Please enter a positive value."},
        {UNIT_RANGE_POSITIVE, "1e-3", UNIT_OK, ""},
        {UNIT_RANGE_POSITIVE, "x", UNIT_BAD_VALUE, kNoValue},
        {UNIT_RANGE_CUSTOM, "-1e31", UNIT_OUT_OF_RANGE,
         "Please enter a value within (-1e+30 to 1e+30 )."},
    };
    for (const auto& c : cases) {
        ETUnitError error = UNIT_BAD_UNIT;
        Units::parse(UNIT_UNITLESS, c.text, &error, c.range);
        EXPECT_EQ(error, c.error) << c.text;
        EXPECT_STREQ(Units::lastParseMessage(), c.message) << c.text;
    }
    // The value is returned also when it is out of range.
    EXPECT_EQ(Units::parse(UNIT_LENGTH_LARGE, "-1", UNIT_RANGE_NONNEGATIVE), -12.0);
}

TEST_F(UnitsParse, CustomLimitsAreShownInTheEntrysUnit) {
    EXPECT_EQ(Units::parseRange(UNIT_LENGTH_LARGE, "11", 0.0, 120.0), 132.0);
    EXPECT_EQ(Units::lastParseError(), UNIT_OUT_OF_RANGE);
    EXPECT_STREQ(Units::lastParseMessage(), "Please enter a value within (0 to 10 ft).");

    Units::parseRange_cli(UNIT_LENGTH_LARGE, "200 in", 0.0, 120.0);
    EXPECT_STREQ(Units::lastParseMessage(), "Please enter a value within (0 to 120 in).");

    // A feet-and-inches entry has no unit: the limits are in the current one.
    Units::parseRange(UNIT_LENGTH_LARGE, "11' 0\"", 0.0, 120.0);
    EXPECT_STREQ(Units::lastParseMessage(), "Please enter a value within (0 to 10 ft).");

    Units::parseRange(UNIT_LENGTH_LARGE, "5", 0.0, 120.0);
    EXPECT_EQ(Units::lastParseError(), UNIT_OK);
    EXPECT_STREQ(Units::lastParseMessage(), "");

    char text[] = "3 ft";
    ETUnitError error = UNIT_BAD_UNIT;
    EXPECT_EQ(Units::parse_cli(UNIT_LENGTH_LARGE, text, &error, UNIT_RANGE_ANY), 36.0);
    EXPECT_EQ(error, UNIT_OK);
    EXPECT_EQ(Units::parse_cli(UNIT_LENGTH_LARGE, nullptr, nullptr, UNIT_RANGE_ANY), 0.0);
}

TEST_F(UnitsParse, PlainNumbers) {
    struct {
        const char* text;
        bool plain;
    } cases[] = {{"-1.5e3", true}, {"1.5e-3", false}, {"-1.5e-3", false}, {"12", true},
                 {"+5", true},     {"5+", false},     {"1,5", false},     {"", true},
                 {"2*3", false},   {"1 2", true},     {"+-5", false},     {"3x", false},
                 {"5'", true},     {"1/2", false}};
    for (const auto& c : cases) EXPECT_EQ(Units::isPlainNumber(c.text), c.plain) << c.text;
    EXPECT_FALSE(Units::isPlainNumber(nullptr));
}

TEST_F(UnitsParse, EntriesThroughTheEvaluator) {
    double value = 0;
    int error = -5;
    EXPECT_TRUE(Units::evaluateEntry("-3+4", value, &error));
    EXPECT_EQ(value, 1.0);
    EXPECT_EQ(error, 0);
    EXPECT_TRUE(Units::evaluateEntry("-2*3-1", value, nullptr));
    EXPECT_EQ(value, -7.0);
    EXPECT_TRUE(Units::evaluateEntry("  PI  ", value, nullptr));
    EXPECT_EQ(value, 3.14159265359);
    EXPECT_FALSE(Units::evaluateEntry("1/0", value, &error));
    EXPECT_EQ(error, 1);
    EXPECT_FALSE(Units::evaluateEntry("2*(3", value, nullptr));
    // A missing operand passes, with the value 0.
    EXPECT_TRUE(Units::evaluateEntry("sin", value, &error));
    EXPECT_EQ(error, 10);
    EXPECT_EQ(value, 0.0);

    Units::suppressLeadingNegativeFix(true);
    EXPECT_TRUE(Units::evaluateEntry("-3+4", value, nullptr));
    EXPECT_EQ(value, -7.0);
    EXPECT_TRUE(Units::evaluateEntry("-1.5e-3", value, nullptr));
    EXPECT_EQ(value, -0.0015);
}

TEST_F(UnitsParse, FeetAndInchesForms) {
    struct {
        const char* text;
        bool ok;
        double inches;
    } cases[] = {
        {"5 ft 6 1/2 in", true, 66.5},
        {"5' 6 1/2\"", true, 66.5},
        {"-5' 6 1/2\"", true, -66.5},
        {"5 ft 6.5 in", true, 66.5},
        {"5' 6.5\"", true, 66.5},
        {"5' 6", true, 66.0},
        {"6 1/2 in", true, 6.5},
        {"1/2 in", true, 0.5},
        {"1/2\"", true, 0.5},
        {"-1/2''", true, -0.5},
        {"7\"", true, 7.0},
        {"7''", true, 7.0},
        {"1/0\"", false, 0.0},
        {"5' 6 1/-2\"", false, 0.0},
        {"7'", false, 0.0},
        {"7", false, 0.0},
        {"12 in", false, 0.0},
        {"", false, 0.0},
        {"inf\"", false, 0.0},
        {"0x10\"", false, 0.0},
        {"99999999999' 0\"", true, 2147483647.0 * 12.0},
    };
    for (const auto& c : cases) {
        double inches = -1.0;
        EXPECT_EQ(Units::parseFeetInches(c.text, inches), c.ok) << c.text;
        if (c.ok) {
            EXPECT_DOUBLE_EQ(inches, c.inches) << c.text;
        }
    }
}

// ---- Formatting ----

TEST_F(UnitsParse, NiceNumbers) {
    // Three decimals: 3, 2, 1, 0, 0, 0 by magnitude.
    struct {
        double value;
        const char* text;
    } cases[] = {
        {0.0, "0"},
        {0.0001, "0"},
        {0.00011, "0.0001"},
        {5.0, "5"},
        {-5.0, "-5"},
        {0.5, "0.5000"},
        {5.25, "5.250"},
        {12.3456, "12.35"},
        {-123.456, "-123.5"},
        {1234.5678, "1235"},
        {12345.678, "12346"},
        {99999.0, "99999"},
        {100000.0, "100000"},
        {123456.7, "123457"},
        {1234567.8, "1234568"},
        {12345678.9, "1.23e+07"},
    };
    for (const auto& c : cases) EXPECT_STREQ(Units::nice(c.value), c.text) << c.value;
}

TEST_F(UnitsParse, NiceBeforeTheSettingsAreRead) {
    Units::resetStyles();
    // The decimals at load are 4, 3, 2, 1, 0, 0 and the threshold 1e-05.
    EXPECT_STREQ(Units::nice(0.5), "0.50000");
    EXPECT_STREQ(Units::nice(0.00002), "0.00002");
}

TEST_F(UnitsParse, ShowInTheCurrentStyle) {
    EXPECT_STREQ(Units::show(UNIT_LENGTH_LARGE, 144.0, UNIT_SHOW), "12 ft");
    EXPECT_STREQ(Units::show(UNIT_LENGTH_LARGE, 144.0, UNIT_HIDE), "12");
    EXPECT_STREQ(Units::show(UNIT_FORCE, 1.0, UNIT_SHOW), "1 K");
    EXPECT_STREQ(Units::show(UNIT_UNITLESS, 2.5, UNIT_SHOW), "2.500 ");
    // Pressure in psf: 0.001 ksi is 144 psf; beyond 10^4 it turns scientific, and so does 0.
    EXPECT_STREQ(Units::show(UNIT_PRESSURE, 0.001, UNIT_SHOW), "144 psf");
    EXPECT_STREQ(Units::show(UNIT_PRESSURE, 0.1, UNIT_SHOW), "1.440e+04 psf");
    EXPECT_STREQ(Units::show(UNIT_PRESSURE, 0.0, UNIT_HIDE), "0.000");
    // A small but real value is not shown as nought.
    EXPECT_STREQ(Units::showFormat(UNIT_LENGTH_SMALL, 1e-05, UNIT_FORMAT_NICE, 3, UNIT_SHOW),
                 "1.00e-05 in");
    EXPECT_STREQ(Units::showFormat(UNIT_LENGTH_SMALL, 1e-07, UNIT_FORMAT_NICE, 3, UNIT_SHOW),
                 "0 in");

    Units::setStyle(UNIT_STYLE_AUSTRALIAN, false);
    EXPECT_STREQ(Units::show(UNIT_LENGTH_LARGE, 1.0 / kMetres, UNIT_SHOW), "1 m");
    EXPECT_STREQ(Units::show(UNIT_FORCE, 1.0, UNIT_SHOW), "4.448 kN");
    EXPECT_STREQ(Units::show(UNIT_TEMPERATURE, 180.0, UNIT_SHOW), "100 deg-C");
}

TEST_F(UnitsParse, FixedAndScientificPlaces) {
    EXPECT_STREQ(Units::showFormat(UNIT_LENGTH_LARGE, 12.0, UNIT_FORMAT_FIXED, 2, UNIT_SHOW),
                 "1.00 ft");
    EXPECT_STREQ(Units::showFormat(UNIT_LENGTH_LARGE, 12.0, UNIT_FORMAT_FIXED, 9, UNIT_HIDE),
                 "1.0000000");
    EXPECT_STREQ(Units::showFormat(UNIT_LENGTH_LARGE, 12.0, UNIT_FORMAT_FIXED, -1, UNIT_HIDE),
                 "1.000");
    EXPECT_STREQ(Units::showFormat(UNIT_FORCE, 1234.5, UNIT_FORMAT_SCIENTIFIC, 2, UNIT_HIDE),
                 "1.23e+03");
    EXPECT_STREQ(Units::showFormat(UNIT_FORCE, 0.0, UNIT_FORMAT_SCIENTIFIC, 2, UNIT_HIDE), "0.00");
    EXPECT_STREQ(Units::showFormat(UNIT_FORCE, -1e25, UNIT_FORMAT_FIXED, 0, UNIT_HIDE),
                 "-100000000000000000000");
}

TEST_F(UnitsParse, ReportColumns) {
    EXPECT_STREQ(Units::report(UNIT_FORCE, 2e20, 10, 2, UNIT_HIDE), ">1.0E20   ");
    EXPECT_STREQ(Units::report(UNIT_FORCE, -2e20, 10, 2, UNIT_SHOW), "<-1.0E20  ");
    EXPECT_STREQ(Units::report(UNIT_FORCE, 1.5, 10, 2, UNIT_SHOW), "1.50 K");
    EXPECT_STREQ(Units::reportFormat(UNIT_FORCE, 1.5, 10, UNIT_FORMAT_NICE, 2, UNIT_HIDE), "1.500");
    EXPECT_EQ(std::string(Units::report(UNIT_FORCE, 2e20, 1 << 30, 2, UNIT_HIDE)).size(), 1000u);
}

TEST_F(UnitsParse, FeetInchesAndSixteenths) {
    struct {
        double inches;
        const char* text;
    } cases[] = {
        {0.05, "0' 0\""},         {-0.05, "0' 0\""},
        {-14.5, "-1' 2 1/2\""},   {6.0, "6\""},
        {11.99, "11 16/16\""},    {66.5, "5' 6 1/2\""},
        {12.0625, "1' 0 1/16\""}, {0.125, "0 1/8\""},
        {12.75, "1' 0 3/4\""},    {24.3125, "2' 0 5/16\""},
        {0.375, "0 3/8\""},
    };
    for (const auto& c : cases) EXPECT_STREQ(Units::display_ft_in_16(c.inches), c.text) << c.inches;
    EXPECT_STREQ(Units::display_ft_in_16(INFINITY), "inf\"");
    EXPECT_STREQ(Units::display_ft_in_16(NAN), "nan\"");
}

TEST_F(UnitsParse, TenResultsStayValid) {
    const char* results[10];
    for (int i = 0; i < 10; ++i) results[i] = Units::nice(i + 1);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(std::to_string(i + 1), results[i]);
    // Formatting through show takes one slot too, no more.
    Units::show(UNIT_FORCE, 1.0, UNIT_SHOW);
    EXPECT_STREQ(results[1], "2");
    EXPECT_STRNE(results[0], "1");
}

}  // namespace
