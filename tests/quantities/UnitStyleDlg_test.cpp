#include "zevcore/quantities/UnitStyleDlg.h"

#include <gtest/gtest.h>

#include <functional>

#include "quantities/UnitsFixture.h"
#include "zevcore/platform/services/Host.h"

namespace {

using UnitStyleDialog = zevtest::UnitsTest;

TEST_F(UnitStyleDialog, OpensOnAPrivateCopy) {
    Units::setStyle(UNIT_STYLE_KIPS_FEET, false);
    Units::CUnitStyleDlg dialog;
    EXPECT_EQ(dialog.Style(), UNIT_STYLE_KIPS_FEET);
    EXPECT_TRUE(dialog.StyleListEnabled());
    EXPECT_EQ(dialog.Decimals(), 3);
    EXPECT_EQ(dialog.Selection(UNIT_FORCE), 1);  // "K"
    EXPECT_EQ(dialog.Selection(UNIT_UNITLESS), -1);
    EXPECT_EQ(dialog.Selection(UNIT_LINEAR_ROT_STIFFNESS), -1);

    Units::CUnitStyleDlg fixed(UNIT_STYLE_BRITISH, false);
    EXPECT_EQ(fixed.Style(), UNIT_STYLE_BRITISH);
    EXPECT_FALSE(fixed.StyleListEnabled());
    fixed.SelectStyle(UNIT_STYLE_CUSTOM);
    EXPECT_EQ(fixed.Style(), UNIT_STYLE_BRITISH);
    EXPECT_EQ(Units::CUnitStyleDlg(42).Style(), UNIT_STYLE_KIPS_FEET);
}

TEST_F(UnitStyleDialog, BuiltInStylesChangeOnlyAreasAndLengths) {
    Units::CUnitStyleDlg dialog(UNIT_STYLE_USA);
    for (int c = 0; c < Units::kCategoryCount; ++c) {
        bool adjustable = c == 2 || c == 3 || c == 7 || c == 8;
        EXPECT_EQ(dialog.CategoryEnabled(static_cast<ETUnit>(c)), adjustable) << c;
    }
    dialog.Select(UNIT_FORCE, 3);  // disabled: ignored
    EXPECT_EQ(dialog.Selection(UNIT_FORCE), 1);
    dialog.Select(UNIT_LENGTH_LARGE, 6);  // no such unit
    EXPECT_EQ(dialog.Selection(UNIT_LENGTH_LARGE), 1);

    dialog.SelectStyle(UNIT_STYLE_CUSTOM);
    for (int c = 0; c < Units::kCategoryCount; ++c)
        EXPECT_EQ(dialog.CategoryEnabled(static_cast<ETUnit>(c)), c <= 25) << c;
}

TEST_F(UnitStyleDialog, ChangingStyleKeepsTheSelectionsOfTheStyleLeft) {
    Units::CUnitStyleDlg dialog(UNIT_STYLE_CUSTOM);
    dialog.Select(UNIT_FORCE, 3);                 // kN
    dialog.Select(UNIT_ROTATIONAL_STIFFNESS, 6);  // kN-m/deg
    dialog.SelectStyle(UNIT_STYLE_USA);
    EXPECT_EQ(dialog.TableEntry(UNIT_STYLE_CUSTOM, UNIT_FORCE), 3);
    EXPECT_EQ(dialog.TableEntry(UNIT_STYLE_CUSTOM, UNIT_LINEAR_ROT_STIFFNESS), 6);
    EXPECT_EQ(dialog.Selection(UNIT_FORCE), 1);
    dialog.Select(UNIT_LENGTH_LARGE, 5);
    dialog.SelectStyle(UNIT_STYLE_CUSTOM);
    EXPECT_EQ(dialog.Selection(UNIT_FORCE), 3);
    EXPECT_EQ(dialog.TableEntry(UNIT_STYLE_USA, UNIT_LENGTH_LARGE), 5);
    // Nothing reaches the global state before OK.
    EXPECT_EQ(Units::styleUnit(UNIT_STYLE_CUSTOM, UNIT_FORCE), 1);
    EXPECT_EQ(Units::styleUnit(UNIT_STYLE_USA, UNIT_LENGTH_LARGE), 1);
}

TEST_F(UnitStyleDialog, OkTakesEverythingAndSavesIt) {
    {
        Units::CUnitStyleDlg dialog(UNIT_STYLE_USA);
        dialog.SelectStyle(UNIT_STYLE_CUSTOM);
        dialog.Select(UNIT_FORCE, 3);
        dialog.Select(UNIT_ROTATIONAL_STIFFNESS, 6);
        dialog.SelectStyle(UNIT_STYLE_BRITISH);
        dialog.Select(UNIT_LENGTH_SMALL, 3);  // mm
        dialog.SetDecimals(5);
        dialog.SetDecimals(9);  // no such entry in the list
        dialog.SetFeetInches16ths(true);
        dialog.SelectStyle(UNIT_STYLE_CUSTOM);
        dialog.OnOK();
    }
    EXPECT_EQ(Units::currentStyle(), UNIT_STYLE_CUSTOM);
    EXPECT_EQ(Units::decimalPlaces(), 5);
    for (int s = 0; s < 11; ++s) EXPECT_EQ(Units::precision(static_cast<ETUnitStyle>(s)), 5);
    EXPECT_TRUE(Units::feetInches16ths());
    EXPECT_STREQ(Units::showUnit(UNIT_FORCE), "kN");
    EXPECT_STREQ(Units::showUnit(UNIT_LINEAR_ROT_STIFFNESS), "kN-m/deg/m");
    EXPECT_EQ(Units::styleUnit(UNIT_STYLE_BRITISH, UNIT_LENGTH_SMALL), 3);

    EXPECT_EQ(stored("Style"), UNIT_STYLE_CUSTOM);
    EXPECT_EQ(stored("FtIn16ths"), 1);
    EXPECT_EQ(stored("Precision-10"), 5);
    EXPECT_EQ(stored("5"), 3);
    EXPECT_EQ(stored("25"), 1);    // "ft^6", as built in
    EXPECT_EQ(stored("26"), -99);  // categories 26 and 27 are not saved
    EXPECT_EQ(stored("27"), -99);
    EXPECT_EQ(stored("2-7"), 3);
    EXPECT_EQ(stored("9-8"), 4);  // "cm"
    EXPECT_EQ(stored("0-5"), -99);

    // A restart: all of it comes back, except "Linear-Rot-Stiffness", which is built-in
    // again until the dialog runs.
    Units::resetStyles();
    EXPECT_EQ(Units::currentStyle(), UNIT_STYLE_CUSTOM);
    EXPECT_EQ(Units::decimalPlaces(), 5);
    EXPECT_TRUE(Units::feetInches16ths());
    EXPECT_STREQ(Units::showUnit(UNIT_FORCE), "kN");
    EXPECT_STREQ(Units::showUnit(UNIT_ROTATIONAL_STIFFNESS), "kN-m/deg");
    EXPECT_STREQ(Units::showUnit(UNIT_LINEAR_ROT_STIFFNESS), "K-ft/deg/ft");
    EXPECT_EQ(Units::styleUnit(UNIT_STYLE_BRITISH, UNIT_LENGTH_SMALL), 3);
}

class ScriptedRunner : public Units::IUnitStyleDialogRunner {
public:
    std::function<int(Units::CUnitStyleDlg&)> script;
    CWinApp* app = nullptr;
    int runs = 0;
    int Run(Units::CUnitStyleDlg& dialog, CWinApp* a) override {
        ++runs;
        app = a;
        return script(dialog);
    }
};

// The dialog's OK wrote every style setting back, undoing what another program had stored
// since the styles were read; now it writes what changed here and what the store lacks.
TEST_F(UnitStyleDialog, OkKeepsWhatAnotherProgramStoredMeanwhile) {
    Units::CUnitStyleDlg dialog(UNIT_STYLE_USA);  // the styles are read here
    const int theirs = dialog.TableEntry(2, UNIT_LENGTH_SMALL) == 0 ? 1 : 0;
    store("2-7", theirs);  // another program, meanwhile
    dialog.SetDecimals(5);
    dialog.OnOK();
    EXPECT_EQ(stored("2-7"), theirs);
    EXPECT_EQ(stored("Precision-0"), 5);
    EXPECT_EQ(stored("9-8"), dialog.TableEntry(9, UNIT_LENGTH_LARGE));  // missing: written
}

TEST_F(UnitStyleDialog, CustomizeDialogRunsThroughTheRunner) {
    EXPECT_EQ(Units::customizeDialog(), IDCANCEL);  // headless: nothing shown, nothing changed
    EXPECT_EQ(Units::currentStyle(), UNIT_STYLE_USA);

    ScriptedRunner runner;
    runner.script = [](Units::CUnitStyleDlg& dialog) {
        EXPECT_EQ(dialog.Style(), UNIT_STYLE_NEWTONS_METERS);
        EXPECT_FALSE(dialog.StyleListEnabled());
        dialog.OnOK();
        return IDOK;
    };
    EXPECT_EQ(Units::installUnitStyleDialogRunner(&runner), nullptr);
    EXPECT_EQ(Units::customizeDialog(UNIT_STYLE_NEWTONS_METERS, false), IDOK);
    EXPECT_EQ(Units::currentStyle(), UNIT_STYLE_NEWTONS_METERS);

    EXPECT_EQ(Units::customizeDialog(UNIT_STYLE_NEWTONS_METERS, false, nullptr), 0);
    EXPECT_EQ(runner.runs, 1);
    CWinApp* app = reinterpret_cast<CWinApp*>(&runner);
    Units::customizeDialog(UNIT_STYLE_NEWTONS_METERS, false, app);
    EXPECT_EQ(runner.app, app);
    EXPECT_EQ(Units::installUnitStyleDialogRunner(nullptr), &runner);
}

}  // namespace
