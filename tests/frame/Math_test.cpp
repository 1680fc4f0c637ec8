#include "zevcore/frame/Math.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cstring>
#include <limits>

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(Constants, HoldTheirStatedBits) {
    EXPECT_EQ(TOLERANCE, 1e-05);
    EXPECT_EQ(BIG, 1e+30);
    EXPECT_EQ(ONE_RADIAN, 0.00174532);
    EXPECT_EQ(zev::PI, 3.141592653589793);
    EXPECT_EQ(DEG180, 3.141592653589793);
    EXPECT_EQ(DEG90, 3.141592653589793 * 0.5);
    EXPECT_EQ(DEG45, 3.141592653589793 * 0.25);
    EXPECT_EQ(DEG270, 3.141592653589793 * 0.5 + 3.141592653589793);
    EXPECT_EQ(DEG360, 3.141592653589793 + 3.141592653589793);
    EXPECT_EQ(TWO_PI, DEG360);
    EXPECT_EQ(HALF_PI, DEG90);
    EXPECT_EQ(RAD2DEG, 180.0 / 3.141592653589793);
}

// Each row: a, b, expected equal(a, b), why.
struct EqualCase {
    double a, b;
    bool expected;
    const char* why;
};

TEST(Equal, AbsoluteThenRelativeRuleAtItsEdges) {
    const EqualCase cases[] = {
        {1e-6, -1e-6, true, "opposite signs, equal by the absolute step"},
        {1.0, -1.0, false, "opposite signs beyond the absolute step"},
        {0.0, -0.5e-5, true, "zero and a small negative"},
        {100000.0, 100000.5, true, "relative 5e-06"},
        {100.0, 100.5, false, "relative 5e-03"},
        {0.0, 0.00001, false, "difference equal to the limit fails the strict test"},
        {0.00001, 0.0, false, "and the other way round"},
        {-100000.0, -100000.5, true, "both negative, relative to the lesser"},
        {-100.0, -100.5, false, "both negative, too far apart"},
        {200000.0, 200001.0, true, "relative 5e-06"},
        {200000.0, 200003.0, false, "relative 1.5e-05"},
        {kNaN, 1.0, false, "NaN fails every step"},
        {1.0, kNaN, false, "NaN on the right"},
        {kNaN, kNaN, false, "two NaNs"},
        {-0.0, 0.0, true, "signed zeros"},
    };
    for (const auto& c : cases) EXPECT_EQ(equal(c.a, c.b), c.expected) << c.why;
}

TEST(Equal, WithToleranceIsPurelyAbsoluteAndStrict) {
    EXPECT_TRUE(equal(100000.0, 100000.5, 1.0));
    EXPECT_FALSE(equal(100000.0, 100000.5, 0.5));
    EXPECT_FALSE(equal(1e9, 1e9 + 1, 1e-5));  // no relative fallback
    EXPECT_FALSE(equal(1.0, 1.0, 0.0));
}

TEST(Zero, StrictOnBothSides) {
    EXPECT_TRUE(zero(0.0, 1e-5));
    EXPECT_TRUE(zero(-0.99e-5, 1e-5));
    EXPECT_FALSE(zero(1e-5, 1e-5));
    EXPECT_FALSE(zero(-1e-5, 1e-5));
    EXPECT_FALSE(zero(0.0, 0.0));
    EXPECT_FALSE(zero(kNaN, 1.0));
}

TEST(Sign, ZeroIsPositive) {
    EXPECT_EQ(sign(0.0), 1);
    EXPECT_EQ(sign(-0.0), 1);
    EXPECT_EQ(sign(0), 1);
    EXPECT_EQ(sign(-1e-300), -1);
    EXPECT_EQ(sign(INT_MIN), -1);
}

TEST(Round, IntegerHalvesGoAwayFromZero) {
    EXPECT_EQ(zev::round(2.5), 3);
    EXPECT_EQ(zev::round(-2.5), -3);
    EXPECT_EQ(zev::round(2.4999), 2);
    EXPECT_EQ(zev::round(-0.4), 0);
    EXPECT_EQ(zev::round(0.0), 0);
}

TEST(Round, IntegerOutOfRangeIsClampedNotUndefined) {
    EXPECT_EQ(zev::round(1e20), INT_MAX);
    EXPECT_EQ(zev::round(-1e20), INT_MIN);
    EXPECT_EQ(zev::round(kInf), INT_MAX);
    EXPECT_EQ(zev::round(kNaN), 0);
}

TEST(Round, PlacesHalvesGoDown) {
    EXPECT_EQ(zev::round(2.5, 0), 2.0);
    EXPECT_EQ(zev::round(-2.5, 0), -3.0);
    EXPECT_EQ(zev::round(2.51, 0), 3.0);
    EXPECT_EQ(zev::round(-2.4, 0), -2.0);
    EXPECT_EQ(zev::round(1.2345, 2), 123.0 / 10.0 / 10.0);  // 123.45 has fraction below 0.5
    EXPECT_EQ(zev::round(1.236, 2), 124.0 / 10.0 / 10.0);
    EXPECT_EQ(zev::round(7.7, -3), 8.0);  // no scaling, just the half-down rule
    EXPECT_EQ(zev::round(7.5, -3), 7.0);
}

TEST(Helpers, BadCountsGiveADefinedAnswer) {
    const double v[] = {1, 2, 3, 6};
    EXPECT_EQ(average_array(v, 4), 3.0);
    EXPECT_EQ(average_array(v, 0), 0.0);
    EXPECT_EQ(average_array(nullptr, 4), 0.0);
    EXPECT_EQ(movingAverage(2.0, 5.0, 3), 3.0);
    EXPECT_EQ(movingAverage(2.0, 5.0, 0), 5.0);
    EXPECT_EQ(movingAverage(2.0, 5.0, -1), 5.0);
}

TEST(Angles, NormalizedKeepsSignAndWholeTurnsStayATurn) {
    EXPECT_EQ(normalized_degrees(-361.0), -1.0);
    EXPECT_EQ(normalized_degrees(720.0), 360.0);
    EXPECT_EQ(normalized_degrees(360.0), 360.0);
    EXPECT_EQ(normalized_degrees(-720.0), -360.0);
    EXPECT_EQ(normalized_degrees(-90.0), -90.0);
    EXPECT_EQ(normalized_degrees(1000.5), 280.5);
    EXPECT_EQ(normalized_radians(DEG360 + 1.0), (DEG360 + 1.0) - DEG360);
    EXPECT_EQ(normalized_radians(-DEG90), -DEG90);
    EXPECT_EQ(rad_to_deg(DEG180, false), RAD2DEG * DEG180);
    EXPECT_NEAR(rad_to_deg(DEG360 + DEG90, true), 90.0, 1e-12);
    EXPECT_NEAR(rad_to_deg(DEG360 + DEG90, false), 450.0, 1e-12);
}

TEST(Angles, HugeAndNonFiniteValuesEndWithADefinedAnswer) {
    // Stepping a turn at a time would never end here.
    double huge = normalized_degrees(1e300);
    EXPECT_GE(huge, -360.0);
    EXPECT_LE(huge, 360.0);
    EXPECT_EQ(normalized_degrees(360.0 * 1e12), 360.0);
    EXPECT_TRUE(std::isnan(normalized_degrees(kInf)));
    EXPECT_TRUE(std::isnan(normalized_radians(kNaN)));
}

TEST(Interpolate, LinearClampsAndHandlesCoincidentEnds) {
    EXPECT_EQ(linear_interpolate(-5, 0, 10, 3, 7), 3.0);
    EXPECT_EQ(linear_interpolate(50, 0, 10, 3, 7), 7.0);
    EXPECT_EQ(linear_interpolate(2.5, 0, 10, 0, 4), 1.0);
    EXPECT_EQ(linear_interpolate(99, 1, 1 + 0.5e-5, 2, 4), 3.0);
}

TEST(Interpolate, QuadraticPassesThroughItsPoints) {
    // y = x^2 through (0,0), (1,1), (3,9).
    EXPECT_DOUBLE_EQ(quadratic_interpolate(2, 0, 1, 3, 0, 1, 9), 4.0);
    EXPECT_DOUBLE_EQ(quadratic_interpolate(3, 0, 1, 3, 0, 1, 9), 9.0);
    EXPECT_DOUBLE_EQ(quadratic_interpolate(-1, 0, 1, 3, 0, 1, 9), 1.0);
    EXPECT_EQ(quadratic_interpolate(5, 0, 0, 3, 1, 2, 6), 3.0);  // x1 == x2
    EXPECT_EQ(quadratic_interpolate(5, 0, 3, 3, 1, 2, 6), 3.0);  // x2 == x3
}

TEST(Formulas, RotatedInertia) {
    EXPECT_DOUBLE_EQ(rotated_inertia(10, 4, 0), 10.0);
    EXPECT_DOUBLE_EQ(rotated_inertia(10, 4, DEG90), 4.0);
    EXPECT_DOUBLE_EQ(rotated_inertia(10, 4, DEG45), 7.0);
}

TEST(Formulas, ArcRadius) {
    // A right-angle corner with legs of 4 and 6: half of the shorter leg times tan(45).
    EXPECT_DOUBLE_EQ(arc_radius(0, 4, 0, 0, 6, 0, false, false), 2.0);
    EXPECT_DOUBLE_EQ(arc_radius(0, 4, 0, 0, 6, 0, true, false), 3.0);
    EXPECT_DOUBLE_EQ(arc_radius(0, 4, 0, 0, 6, 0, true, true), 4.0);
    // A 60 degree corner: tan(30) of half the shorter leg.
    EXPECT_NEAR(arc_radius(2, 0, 0, 0, 1, std::sqrt(3.0), false, false), 1.0 / std::sqrt(3.0),
                1e-15);
    EXPECT_EQ(arc_radius(0, 0, 0, 0, 1, 1, false, false), 0.0);
    EXPECT_EQ(arc_radius(0, 0, 1, 1, 1, 1, false, false), 0.0);
    EXPECT_EQ(arc_radius(kNaN, 0, 1, 1, 2, 2, false, false), 0.0);
    // A folded corner (P3 back on P1) has a zero angle and so a zero radius, not NaN.
    EXPECT_EQ(arc_radius(1e8, 1e8 + 3, 0, 0, 1e8, 1e8 + 3, false, false), 0.0);
}

TEST(Nice, CurrentDecimals) {
    set_nice_decimals(3);
    EXPECT_STREQ(nice(0.0005), "0");
    EXPECT_STREQ(nice(-0.001), "0");
    EXPECT_STREQ(nice(12.0), "12");
    EXPECT_STREQ(nice(-12.0), "-12");
    EXPECT_STREQ(nice(12.3456), "12.35");
    EXPECT_STREQ(nice(1.23456), "1.235");
    EXPECT_STREQ(nice(-123.456), "-123.5");
    EXPECT_STREQ(nice(1234.56), "1235");
    EXPECT_STREQ(nice(123456.7), "123457");
    // Large values are whole by the relative rule: 0.5 in 1.2 million is within it.
    EXPECT_STREQ(nice(1234567.5), "1.23457e+06");
    EXPECT_STREQ(nice(1234561.25), "1.23456e+06");
    EXPECT_STREQ(nice(99999.5), "99999.5");
    EXPECT_STREQ(nice(12.000001), "12");  // whole within the tolerance
    EXPECT_STREQ(nice(1234567.0), "1.23457e+06");
}

TEST(Nice, DecimalCountIsRepairedAndReducedToZero) {
    set_nice_decimals(11);  // out of range: 3
    EXPECT_STREQ(nice(1.23456), "1.235");
    set_nice_decimals(1);
    EXPECT_STREQ(nice(1.26), "1.3");
    EXPECT_STREQ(nice(12.6), "13");
    set_nice_decimals(0);
    EXPECT_STREQ(nice(1.6), "2");
    set_nice_decimals(10);
    EXPECT_STREQ(nice(0.12345678901), "0.1234567890");
    set_nice_decimals(-1);
    EXPECT_STREQ(nice(1.23456), "1.235");
    set_nice_decimals(3);
}

TEST(Nice, OlderFormKeepsItsOwnOrderAndFormats) {
    EXPECT_STREQ(nice(12.0, nullptr, 3), "12");
    EXPECT_STREQ(nice(0.0, nullptr, 3), "0");
    EXPECT_STREQ(nice(0.0005, nullptr, 3), "0");
    EXPECT_STREQ(nice(12.3456, "in", 3), "12.35 in");
    EXPECT_STREQ(nice(123456.0, nullptr, 3), "123456");  // whole, but not below 100,000
    EXPECT_STREQ(nice(1234567.4, nullptr, 3), "1234567");
    EXPECT_STREQ(nice(12345678.9, nullptr, 3), "1.23e+07");
    EXPECT_STREQ(nice(1.23456, nullptr, 42), "1.235");
    EXPECT_STREQ(nice(99999.0, "kip", 2), "99999 kip");
}

TEST(Nice, BuffersAreSeparateAndSurviveExtremes) {
    const char* a = nice(1.5);
    const char* b = nice(2.5, nullptr, 3);
    EXPECT_NE(a, b);
    EXPECT_STREQ(nice(kInf), "inf");
    EXPECT_STREQ(nice(-DBL_MAX), "-1.79769e+308");
    std::string longSuffix(5000, 'x');
    const char* text = nice(1.0, longSuffix.c_str(), 3);
    EXPECT_LT(std::strlen(text), 1024u);
    EXPECT_EQ(std::string(text).substr(0, 3), "1 x");
}

}  // namespace
