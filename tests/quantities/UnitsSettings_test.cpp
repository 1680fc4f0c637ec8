#include <gtest/gtest.h>

#include "quantities/UnitsFixture.h"
#include "zevcore/quantities/Units.h"

namespace {

class UnitsSettings : public zevtest::UnitsTest {
protected:
    void SetUp() override { reset(); }  // nothing read yet: each test stores first
};

TEST_F(UnitsSettings, StoredStylePrecisionAndFlag) {
    store("Style", UNIT_STYLE_KIPS_FEET);
    store("Precision-0", 5);
    store("Precision-10", 0);
    store("FtIn16ths", 7);
    EXPECT_EQ(Units::currentStyle(), UNIT_STYLE_KIPS_FEET);
    EXPECT_EQ(Units::decimalPlaces(), 5);
    EXPECT_EQ(Units::precision(UNIT_STYLE_CUSTOM), 0);
    EXPECT_TRUE(Units::feetInches16ths());
    EXPECT_STREQ(Units::nice(0.000001), "0");  // threshold 1e-06 for 5 decimals
    EXPECT_STREQ(Units::nice(0.5), "0.500000");
}

TEST_F(UnitsSettings, ValuesOutOfRangeAreIgnoredOneByOne) {
    store("Style", 11);
    store("Precision-0", 8);
    store("Precision-1", -1);
    store("Precision-2", 7);
    setIniBase("Software\\ZEV\\Units2010");
    writeIniString("Precision-3", "many");
    EXPECT_EQ(Units::currentStyle(), UNIT_STYLE_USA);
    EXPECT_EQ(Units::decimalPlaces(), 3);
    EXPECT_EQ(Units::precision(UNIT_STYLE_AUSTRALIAN), 4);
    EXPECT_EQ(Units::precision(UNIT_STYLE_BRITISH), 7);
    EXPECT_EQ(Units::precision(UNIT_STYLE_CANADIAN), 4);
    EXPECT_FALSE(Units::feetInches16ths());

    Units::resetStyles();
    store("Style", -1);
    EXPECT_EQ(Units::currentStyle(), UNIT_STYLE_USA);
}

TEST_F(UnitsSettings, CustomRowTakesIndicesUpToTheUnitCount) {
    store("7", 6);  // one past "m": the bound is inclusive
    store("8", 7);  // beyond it
    store("5", -1);
    store("13", 11);  // "kgf/m^2"
    store("27", 3);   // never read: follows "Rotational Stiffness"
    Units::setStyle(UNIT_STYLE_CUSTOM, false);
    EXPECT_EQ(Units::currentUnit(UNIT_LENGTH_SMALL), 6);
    EXPECT_STREQ(Units::showUnit(UNIT_LENGTH_SMALL), "");
    EXPECT_EQ(Units::displayValue(UNIT_LENGTH_SMALL, 5.0, -1), 5.0);
    EXPECT_STREQ(Units::showUnit(UNIT_LENGTH_LARGE), "ft");
    EXPECT_STREQ(Units::showUnit(UNIT_FORCE), "K");
    EXPECT_STREQ(Units::showUnit(UNIT_PRESSURE), "kgf/m^2");
    EXPECT_STREQ(Units::showUnit(UNIT_LINEAR_ROT_STIFFNESS), "K-ft/deg/ft");
}

TEST_F(UnitsSettings, BuiltInRowsAreBoundByTheCategoryNumberedLikeTheStyle) {
    store("1-7", 2);   // style 1: bound by category 1 ("Angle", 2 units): "yd" passes
    store("1-8", 3);   // "mm" is beyond 2 and stays "m"
    store("9-8", 12);  // style 9: bound by "Linear Force" (12 units)
    store("4-3", 1);   // style 4, "Area (large)": "ft^2"
    store("0-5", 2);   // "Force & Weight" is not adjustable in a built-in style
    store("10-7", 1);  // style 10 is read from the "%d" keys only
    Units::readStyles();
    EXPECT_STREQ(Units::unitLabel(UNIT_LENGTH_SMALL,
                                  Units::styleUnit(UNIT_STYLE_AUSTRALIAN, UNIT_LENGTH_SMALL)),
                 "yd");
    EXPECT_STREQ(Units::unitLabel(UNIT_LENGTH_LARGE,
                                  Units::styleUnit(UNIT_STYLE_AUSTRALIAN, UNIT_LENGTH_LARGE)),
                 "m");
    EXPECT_EQ(Units::styleUnit(UNIT_STYLE_KNEWTONS_METERS, UNIT_LENGTH_LARGE), 12);
    EXPECT_STREQ(Units::unitLabel(UNIT_AREA_LARGE,
                                  Units::styleUnit(UNIT_STYLE_KIPS_INCHES, UNIT_AREA_LARGE)),
                 "ft^2");
    EXPECT_EQ(Units::styleUnit(UNIT_STYLE_USA, UNIT_FORCE), 1);
    EXPECT_EQ(Units::styleUnit(UNIT_STYLE_CUSTOM, UNIT_LENGTH_SMALL), 0);
}

TEST_F(UnitsSettings, ReadOnceUntilReset) {
    EXPECT_EQ(Units::currentStyle(), UNIT_STYLE_USA);
    store("Style", UNIT_STYLE_BRITISH);
    EXPECT_EQ(Units::currentStyle(), UNIT_STYLE_USA);
    Units::resetStyles();
    EXPECT_EQ(Units::currentStyle(), UNIT_STYLE_BRITISH);
}

TEST_F(UnitsSettings, SetStyleSavesOnlyWhenAsked) {
    Units::readStyles();
    Units::setStyle(UNIT_STYLE_KIPS_INCHES, false);
    EXPECT_EQ(stored("Style"), -99);
    Units::setStyle(UNIT_STYLE_NEWTONS_METERS, true);
    EXPECT_EQ(stored("Style"), UNIT_STYLE_NEWTONS_METERS);
    Units::resetStyles();
    EXPECT_EQ(Units::currentStyle(), UNIT_STYLE_NEWTONS_METERS);
}

TEST_F(UnitsSettings, SetStyleRebuildsTheDecimalsOnlyWhenSaving) {
    store("Precision-0", 1);
    Units::readStyles();
    Units::decimalPlaces(6);
    EXPECT_STREQ(Units::nice(0.5), "0.5000000");
    Units::setStyle(UNIT_STYLE_USA, false);
    EXPECT_STREQ(Units::nice(0.5), "0.5000000");
}

TEST_F(UnitsSettings, FeetInchesAndSixteenthsTakeTheShownValueAsInches) {
    store("FtIn16ths", 1);
    Units::readStyles();
    EXPECT_STREQ(Units::show(UNIT_LENGTH_SMALL, 66.5, UNIT_SHOW), "5' 6 1/2\" in");
    EXPECT_STREQ(Units::showFormat(UNIT_LENGTH_SMALL, 66.5, UNIT_FORMAT_FIXED, 2, UNIT_HIDE),
                 "5' 6 1/2\"");
    // "Length (large)" is in feet in this style: 66.5 inches are 5.54 feet, shown as inches.
    EXPECT_STREQ(Units::show(UNIT_LENGTH_LARGE, 66.5, UNIT_HIDE), "5 9/16\"");
    EXPECT_STREQ(Units::show(UNIT_FORCE, 2.0, UNIT_HIDE), "2");
}

}  // namespace
