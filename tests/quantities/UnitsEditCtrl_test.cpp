#include "zevcore/quantities/UnitsEditCtrl.h"

#include <gtest/gtest.h>

#include "quantities/UnitsFixture.h"
#include "zevcore/platform/services/Host.h"

namespace {

const HWND kParent = reinterpret_cast<HWND>(0x1234);

class UnitsEditCtrlTest : public zevtest::UnitsTest {
protected:
    void SetUp() override {
        zevtest::UnitsTest::SetUp();
        previous = ZEVInstallWindows(&windows);
        field.SetupControl(1001, kParent, UNIT_LENGTH_LARGE, UNIT_RANGE_ANY);
    }
    void TearDown() override {
        ZEVInstallWindows(previous);
        zevtest::UnitsTest::TearDown();
    }

    int notifications() const {
        int n = 0;
        for (const auto& m : windows.Recorded())
            n += m.window == kParent && m.message == 0x8064 && m.wParam == 0 && m.lParam == 0;
        return n;
    }
    const CZEVBalloonState& balloon() {
        return static_cast<const CZEVBalloonState&>(field.Balloon());
    }
    std::pair<int, int> selection() const {
        std::pair<int, int> s;
        field.GetSel(s.first, s.second);
        return s;
    }

    CZEVHeadlessWindows windows;
    IZEVWindowService* previous = nullptr;
    CUnitsEditCtrl field;
};

TEST_F(UnitsEditCtrlTest, ShownValueReadsBackAtFullPrecision) {
    field.SetValue(66.5);
    EXPECT_EQ(field.GetWindowText(), "5.542 ft");
    EXPECT_EQ(field.GetValue(), 66.5);
    EXPECT_EQ(field.LastError(), UNIT_OK);

    field.ChangeUnit(UNIT_LENGTH_SMALL);
    EXPECT_EQ(field.GetWindowText(), "66.50 in");
    EXPECT_EQ(field.GetValue(), 66.5);
}

TEST_F(UnitsEditCtrlTest, TypedEntriesAndTheLastGoodValue) {
    field.SetWindowText("2 m");
    EXPECT_EQ(field.LastGoodValue(), 0.0);  // checking while typing keeps nothing
    EXPECT_DOUBLE_EQ(field.GetValue(), 2.0 / 0.0254);
    EXPECT_EQ(field.LastGoodText(), "2 m");

    field.SetWindowText("12 furlongs");
    field.GetValue();
    EXPECT_EQ(field.LastError(), UNIT_BAD_UNIT);
    EXPECT_TRUE(field.InError());
    EXPECT_DOUBLE_EQ(field.LastGoodValue(), 2.0 / 0.0254);
    EXPECT_STREQ(field.ErrorMessage(), "Please use one of these units: { in, ft, yd, mm, cm, m }");
}

TEST_F(UnitsEditCtrlTest, RangesOfTheField) {
    field.ChangeRange(UNIT_RANGE_POSITIVE);
    field.SetWindowText("0");
    field.GetValue();
    EXPECT_STREQ(field.ErrorMessage(), "Please enter a positive value.");

    field.ChangeRange(120.0, 0.0);
    EXPECT_EQ(field.LowerLimit(), 0.0);
    EXPECT_EQ(field.UpperLimit(), 120.0);
    field.ChangeRange(UNIT_RANGE_CUSTOM);  // ignored: the limits stay
    EXPECT_EQ(field.Range(), UNIT_RANGE_CUSTOM);
    field.SetWindowText("11");
    EXPECT_EQ(field.GetValue(), 132.0);
    EXPECT_EQ(field.LastError(), UNIT_OUT_OF_RANGE);
    EXPECT_STREQ(field.ErrorMessage(), "Please enter a value within (0 to 10 ft).");
}

TEST_F(UnitsEditCtrlTest, BlankInGroupModePassesSilently) {
    field.SetGroup();
    EXPECT_EQ(field.GetWindowText(), "");
    EXPECT_EQ(field.GetValue(), 0.0);
    EXPECT_EQ(field.LastError(), UNIT_OK);
    EXPECT_EQ(field.OnKillFocus(true, 1002), UEM_NONE);
    EXPECT_EQ(notifications(), 0);
}

TEST_F(UnitsEditCtrlTest, HasValidData) {
    field.SetWindowText("x");
    ETUnitError err = UNIT_OK;
    EXPECT_EQ(field.HasValidData(&err, false), 1);  // reported through err alone
    EXPECT_EQ(err, UNIT_BAD_UNIT);
    EXPECT_FALSE(balloon().IsOn());

    EXPECT_EQ(field.HasValidData(&err, true), 0);
    EXPECT_TRUE(balloon().IsOn());
    EXPECT_EQ(balloon().Text(), "Please use one of these units: { in, ft, yd, mm, cm, m }");
    EXPECT_EQ(field.TextColor(), CUnitsEditCtrl::kRed);
    EXPECT_EQ(selection(), std::make_pair(0, 0));
    // With the balloon up already, the answer is 1.
    EXPECT_EQ(field.HasValidData(nullptr, true), 1);

    field.EnableWindow(false);
    EXPECT_EQ(field.HasValidData(&err, true), 1);
    EXPECT_EQ(err, UNIT_OK);
}

TEST_F(UnitsEditCtrlTest, ChangeOfTextClearsRedAndAGoodEntryTheBalloon) {
    field.SetWindowText("x");
    field.HasValidData(nullptr, true);
    field.SetWindowText("3 f");
    EXPECT_EQ(field.TextColor(), CUnitsEditCtrl::kBlack);
    EXPECT_TRUE(balloon().IsOn());  // still no good entry
    field.SetWindowText("3 ft");
    EXPECT_FALSE(balloon().IsOn());

    CUnitsEditCtrl quiet(0);
    quiet.SetWindowText("x");
    EXPECT_EQ(quiet.HasValidData(nullptr, true), 0);
    EXPECT_FALSE(quiet.Balloon().IsOn());
    EXPECT_EQ(quiet.TextColor(), CUnitsEditCtrl::kRed);
}

TEST_F(UnitsEditCtrlTest, Lists) {
    const double values[] = {12.0, 24.0, 36.0};
    field.SetListValues(3, values);
    EXPECT_TRUE(field.InListMode());
    EXPECT_EQ(field.GetWindowText(), "1, 2, 3 ft");
    EXPECT_EQ(field.GetValue(), 0.0);

    double out[100] = {};
    EXPECT_EQ(field.GetListValues(100, out), 3);
    EXPECT_EQ(out[2], 36.0);

    field.SetWindowText("1, 2 m,3");
    EXPECT_EQ(field.GetListValues(100, out), 3);
    EXPECT_DOUBLE_EQ(out[1], 2.0 / 0.0254);
    EXPECT_EQ(out[2], 36.0);
    EXPECT_EQ(field.GetListValues(2, out), 2);

    field.SetWindowText("1; 2");
    EXPECT_EQ(field.GetListValues(100, out), 0);
    ETUnitError err = UNIT_OK;
    EXPECT_EQ(field.HasValidData(&err, true), 0);
    EXPECT_EQ(err, UNIT_BAD_VALUE);
    EXPECT_EQ(balloon().Text(),
              "No value found, please enter a number. You must supply commas between data in "
              "the list.");
    EXPECT_TRUE(balloon().IsOn());

    field.SetValue(6.0);
    EXPECT_FALSE(field.InListMode());
}

TEST_F(UnitsEditCtrlTest, KeysMoveTheFocusAfterAGoodEntry) {
    field.SetWindowText("3 ft");
    EXPECT_FALSE(field.OnChar('\t'));
    EXPECT_FALSE(field.OnChar('\r'));
    EXPECT_TRUE(field.OnChar('7'));
    EXPECT_EQ(field.OnKeyDown(UEK_TAB, false), UEM_NEXT);
    EXPECT_EQ(field.LastGoodValue(), 36.0);
    EXPECT_EQ(notifications(), 1);
    EXPECT_EQ(field.OnKeyDown(UEK_TAB, true), UEM_PREVIOUS);
    EXPECT_EQ(field.OnKeyDown(UEK_UP, false), UEM_PREVIOUS);
    EXPECT_EQ(field.OnKeyDown(UEK_DOWN, false), UEM_NEXT);
    EXPECT_EQ(field.OnKeyDown(UEK_ENTER, false), UEM_DEFAULT_BUTTON);
    EXPECT_EQ(field.OnKeyDown(UEK_OTHER, false), UEM_NONE);
    field.SetInPropertyPage(true, true);
    EXPECT_EQ(field.OnKeyDown(UEK_ENTER, false), UEM_SHEET_BUTTON);
    EXPECT_EQ(field.SheetButton(), 2);
    field.SetInPropertyPage(true, false);
    EXPECT_EQ(field.SheetButton(), 1);
}

TEST_F(UnitsEditCtrlTest, AFailedEntryKeepsTheFocusAndBlocksTheKeys) {
    field.SetValue(12.0);
    field.SetWindowText("(1+2) * 3");
    EXPECT_EQ(field.OnKeyDown(UEK_TAB, false), UEM_KEEP_FOCUS);
    EXPECT_TRUE(balloon().IsOn());
    EXPECT_EQ(field.TextColor(), CUnitsEditCtrl::kRed);
    EXPECT_EQ(notifications(), 1);
    EXPECT_EQ(field.OnKeyDown(UEK_ENTER, false), UEM_NONE);  // the balloon is up
    EXPECT_EQ(notifications(), 1);

    // Esc puts the last good value back and lets go.
    EXPECT_EQ(field.OnKeyDown(UEK_ESCAPE, false), UEM_NONE);
    EXPECT_EQ(field.EscapePressed(), 1);
    EXPECT_EQ(field.GetWindowText(), "1 ft");
    EXPECT_FALSE(balloon().IsOn());
    EXPECT_EQ(field.LastGoodValue(), 12.0);
}

TEST_F(UnitsEditCtrlTest, LeavingForCancelDoesNotValidate) {
    field.SetWindowText("bad");
    EXPECT_EQ(field.OnKillFocus(true, IDCANCEL), UEM_NONE);
    EXPECT_EQ(field.TextColor(), CUnitsEditCtrl::kBlack);
    EXPECT_EQ(notifications(), 1);
    // Validation is on again for the next time.
    EXPECT_EQ(field.OnKillFocus(true, 1002), UEM_KEEP_FOCUS);
    EXPECT_EQ(field.OnKillFocus(false, 0), UEM_KEEP_FOCUS);
    EXPECT_EQ(notifications(), 3);
    EXPECT_EQ(field.CallKillFocus(), UEM_KEEP_FOCUS);
}

TEST_F(UnitsEditCtrlTest, F2ReformatsWithoutKeeping) {
    field.SetValue(12.0);
    field.SetWindowText("2*3 ft");
    EXPECT_EQ(field.OnKeyDown(UEK_F2, false), UEM_NONE);
    EXPECT_EQ(field.GetWindowText(), "6 ft");
    EXPECT_EQ(field.LastGoodValue(), 12.0);

    field.SetWindowText("6 parsecs");
    EXPECT_EQ(field.OnKeyDown(UEK_F2, false), UEM_KEEP_FOCUS);
    EXPECT_EQ(field.TextColor(), CUnitsEditCtrl::kRed);
    EXPECT_TRUE(balloon().IsOn());

    const double values[] = {6.0, 18.0};
    field.SetListValues(2, values);
    field.SetWindowText("1,2 ft, 3 in");
    EXPECT_EQ(field.OnKeyDown(UEK_F2, false), UEM_NONE);
    EXPECT_EQ(field.GetWindowText(), "1, 2, 0.2500 ft");
}

TEST_F(UnitsEditCtrlTest, FocusSelectsTheNumberOrTheWrongUnit) {
    field.SetValue(144.0);
    field.OnSetFocus();
    EXPECT_EQ(selection(), std::make_pair(0, 2));  // "12"
    field.SetWindowText("12 furlongs");
    field.GetValue();
    field.OnSetFocus();
    EXPECT_EQ(selection(), std::make_pair(3, 11));  // "furlongs"
    field.SetWindowText("furlongs");
    field.GetValue();
    field.OnSetFocus();
    EXPECT_EQ(selection(), std::make_pair(0, 8));
}

}  // namespace
