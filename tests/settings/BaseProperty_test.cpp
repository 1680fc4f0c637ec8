#include "zevcore/settings/BaseProperty.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <string>

#include "support/TestEnv.h"
#include "zevcore/platform/services/Host.h"
#include "zevcore/settings/PropertyGrid.h"

namespace {

long textParam(const char* text) {
    return reinterpret_cast<long>(text);
}

class PropertyTest : public testing::Test {
protected:
    const char* finish(CBaseProperty& p, const char* text) {
        return p.change_notice(grid, 1, 0, CN_EDIT_FINISH, textParam(text));
    }
    CPropertyGrid grid;
};

TEST_F(PropertyTest, IntegerSpinsStayInsideTheLimits) {
    CIntegerProperty p("Count", "", 1, 1, 10);
    p.value(10);
    p.change_notice(grid, 1, 0, CN_SPIN_UP, 0);
    EXPECT_EQ(p.value(), 10);  // 11 is refused
    p.value(1);
    p.change_notice(grid, 1, 0, CN_SPIN_DOWN, 0);
    EXPECT_EQ(p.value(), 1);

    CIntegerProperty raised("Count", "", 1, 5, 10);
    ASSERT_EQ(raised.value(), 0);
    raised.change_notice(grid, 1, 0, CN_SPIN_UP, 0);
    EXPECT_EQ(raised.value(), 5);

    // At the ends of int, a spin must not overflow.
    CIntegerProperty wide("Wide", "", INT_MAX, INT_MIN, INT_MAX);
    wide.value(INT_MAX);
    wide.change_notice(grid, 1, 0, CN_SPIN_UP, 0);
    EXPECT_EQ(wide.value(), INT_MAX);
}

TEST_F(PropertyTest, IntegerEntriesAreReadLikeAtoi) {
    CIntegerProperty p("Count", "", 1, 0, 10);
    EXPECT_EQ(finish(p, "7 bays"), nullptr);
    EXPECT_EQ(p.value(), 7);
    EXPECT_TRUE(p.dirty());
    EXPECT_EQ(finish(p, "bays"), nullptr);
    EXPECT_EQ(p.value(), 0);
    EXPECT_STREQ(finish(p, "11"), "Please enter 'Count' less than 11");
    EXPECT_STREQ(finish(p, "99999999999999999999"), "Please enter 'Count' less than 11");
    EXPECT_STREQ(finish(p, "-1"), "Please enter 'Count' greater than -1");
    EXPECT_STREQ(p.change_notice(grid, 1, 0, CN_EDIT_FINISH, 0), "Programmer Error");
    EXPECT_STREQ(p.change_notice(grid, 1, 0, CN_ELLIPSIS, 0), "Programmer Error");

    CIntegerProperty low("Low", "", 0, INT_MIN + 0, 0);
    low.set_upper_limit(0);
    EXPECT_EQ(low.data_help(), "Click to edit 'Low'.  Enter a value less than 1.");
}

TEST_F(PropertyTest, DoubleEntriesLimitsAndTheSpinDeltaQuirk) {
    CDoubleProperty p("Depth", "", 0.5, 0.0, 100.0);
    EXPECT_EQ(finish(p, "12.5 in"), nullptr);
    EXPECT_EQ(p.value(), 12.5);
    EXPECT_STREQ(finish(p, "deep"),
                 "This does not appear to be a number, please correct your entry.");
    EXPECT_STREQ(finish(p, "nan"),
                 "This does not appear to be a number, please correct your entry.");
    EXPECT_STREQ(finish(p, "-1"),
                 "Lower limit for 'Depth' is 0.000000, please enter a larger value.");
    EXPECT_STREQ(finish(p, "1e3"),
                 "Upper limit for 'Depth' is 100.000000, please enter a smaller value.");
    EXPECT_EQ(p.value(), 12.5);

    p.set_upper_limit(0.5);  // equal to the spin delta: ignored by design
    EXPECT_EQ(p.upper_limit(), 100.0);
    p.set_upper_limit(10.0);
    EXPECT_EQ(p.value(), 10.0);  // moved inside, not by a user
    EXPECT_EQ(p.data_help(),
              "Click to edit 'Depth'.  Click arrows for +/- 0.5.  Enter a value <= 10.");

    zevtest::ScopedDecimalCommaLocale comma;
    EXPECT_EQ(finish(p, "2.25"), nullptr);
    EXPECT_EQ(p.value(), 2.25);
}

TEST_F(PropertyTest, TextLengthsAndTheirHelp) {
    CTextProperty p("Title", "", true, 1, 5);
    EXPECT_STREQ(finish(p, ""),
                 "Minimum length for 'Title' is 1 characters, please add more text.");
    EXPECT_STREQ(finish(p, "Lintel"),
                 "Maximum length for 'Title' is 5 characters, please shorten the text.");
    EXPECT_EQ(finish(p, "Beam"), nullptr);
    EXPECT_EQ(p.text(), "Beam");
    EXPECT_EQ(p.data_help(),
              "Click to edit 'Title'. You must enter at least 1, but no more than 5 characters.");
    EXPECT_EQ(CTextProperty("Note", "", true, -1, 8).data_help(),
              "Click to edit 'Note'. You may use up to 8 characters.");
    EXPECT_EQ(CTextProperty("Id", "The id.", false, -1, -1).data_help(),
              "The id.  Id is read-only.");
}

TEST_F(PropertyTest, ACopyStartsCleanAnAssignmentDoesNot) {
    CBaseProperty p("Span", "12", "", true);
    p.text("13");
    p.highlight(true);
    ASSERT_TRUE(p.dirty());
    const CBaseProperty copy(p);
    EXPECT_FALSE(copy.dirty());
    EXPECT_FALSE(copy.highlighted());
    CBaseProperty assigned;
    assigned = p;
    EXPECT_TRUE(assigned.dirty());
    EXPECT_TRUE(assigned == p);
    EXPECT_FALSE(copy == p);
}

TEST_F(PropertyTest, VaryingUntilTheFirstAcceptedChange) {
    CBaseProperty header("Loads", 3, true, "");
    header.varies(true);
    EXPECT_FALSE(header.varies());

    CCheckBoxProperty box("Pinned", CB_YES_NO, "");
    box.state(CHECK_ON);
    box.clear_dirty_flag();
    box.varies(true);
    EXPECT_EQ(box.state(), CHECK_INDETERMINATE);
    EXPECT_EQ(box.data_help(), "'Pinned' is not the same for all objects.  Click to toggle.");
    EXPECT_EQ(box.change_notice(grid, 1, 0, CN_CHECK, 0), nullptr);
    EXPECT_FALSE(box.varies());
    EXPECT_TRUE(box.dirty());
    EXPECT_EQ(box.state(), CHECK_OFF);
    EXPECT_STREQ(box.change_notice(grid, 1, 0, CN_CHECK, 3), "Programmer Error");

    CListProperty list("Grade", "");
    for (const char* g : {"S235", "S275", "S355"}) list.add_list_item(g, 0);
    list.varies(true);
    EXPECT_EQ(list.list_size(), 4);
    EXPECT_EQ(list.selected_index(), 3);
    EXPECT_EQ(list.get_item_text(3), "");
}

TEST_F(PropertyTest, ListsTakeExactTextsAndPicks) {
    CListProperty list("Grade", "");
    for (const char* g : {"S235", "S275", "S355"}) list.add_list_item(g, 0);
    EXPECT_STREQ(finish(list, "s275"),
                 "'s275' is not in the list for 'Grade', please try again or hit 'Esc' to cancel.");
    EXPECT_STREQ(list.change_notice(grid, 1, 0, CN_EDIT_FINISH, 0),
                 "Please type an item from the list for 'Grade' or hit 'Esc' to cancel.");
    EXPECT_EQ(finish(list, "S275"), nullptr);
    EXPECT_EQ(list.selected_index(), 1);

    list.change_notice(grid, 1, 0, CN_LIST_PICK, 7);  // past the end: dropped
    list.change_notice(grid, 1, 0, CN_LIST_DONE, 0);
    EXPECT_EQ(list.selected_index(), 1);
    list.change_notice(grid, 1, 0, CN_LIST_PICK, 2);
    list.change_notice(grid, 1, 0, CN_LIST_DONE, 0);
    EXPECT_EQ(list.selected_index(), 2);
}

TEST_F(PropertyTest, ChoosersThroughTheDialogService) {
    CZEVScriptedDialogs dialogs;
    IZEVDialogService* previous = ZEVInstallDialogs(&dialogs);
    dialogs.AnswerColor(RGB(10, 20, 30));
    dialogs.AnswerFile("C:\\jobs\\2026\\frame.std");
    dialogs.AnswerFile("");

    CColorProperty color("Beams", "");
    EXPECT_EQ(color.change_notice(grid, 1, 0, CN_ELLIPSIS, 0), nullptr);
    EXPECT_EQ(color.color(), RGB(10, 20, 30));
    EXPECT_EQ(color.text(), "R:10 G:20 B:30");
    EXPECT_TRUE(color.dirty());

    CFileProperty file("Model", "C:\\frame.std", "");
    EXPECT_EQ(file.text(), "C:\\frame.std");  // one backslash: the whole path
    file.change_notice(grid, 1, 0, CN_ELLIPSIS, 0);
    EXPECT_EQ(file.file_name(), "C:\\jobs\\2026\\frame.std");
    EXPECT_EQ(file.text(), "C:\\...\\frame.std");
    EXPECT_EQ(file.data_help(),
              "Click to edit 'Model'.  C:\\jobs\\2026\\frame.std  Click the [...] button to "
              "select the file to use.");

    CFolderProperty folder("Output", "/srv/out", "");
    EXPECT_EQ(folder.run_folder_dialog(), 2);  // refused: nothing changes
    EXPECT_EQ(folder.folder_name(), "/srv/out");
    EXPECT_FALSE(folder.dirty());
    ASSERT_EQ(dialogs.Asked().back().text, "Select folder for 'Output'");
    ZEVInstallDialogs(previous);
}

CTextProperty* gReentered = nullptr;
int gDialogResult = 0;
int reenteringDialog(void*) {
    EXPECT_EQ(gReentered->run_dialog(), 2);  // the guard holds while the dialog runs
    return gDialogResult;
}

TEST_F(PropertyTest, TextDialogsGuardAndMarkDirtyOnAcceptance) {
    CTextProperty p("Section", "", true, -1, -1);
    EXPECT_EQ(p.run_dialog(), 2);
    p.set_parameter_dialog(reenteringDialog, nullptr);
    p.text("W12x26");
    p.clear_dirty_flag();
    EXPECT_EQ(p.data_help(), "W12x26, Click [...] to modify.");
    gReentered = &p;
    for (int result : {2, 6, 1}) {
        gDialogResult = result;
        EXPECT_EQ(p.run_dialog(), result);
        EXPECT_EQ(p.dirty(), result != 2) << result;
    }
}

TEST_F(PropertyTest, QuantityHelpNamesTheUnits) {
    CPhysicalProperty p("Span", UNIT_TIME, "", 0.0, 0.0, 1.7976931348623157e+308);
    std::string expected = "Click to edit 'Span'.  Valid units are: ";
    for (int i = 0; i < Units::units(UNIT_TIME); ++i) {
        if (i) expected += ", ";
        expected += Units::unitLabel(UNIT_TIME, i);
    }
    EXPECT_EQ(p.data_help(), CString(expected + "."));
    p.value(3.0);
    p.reset();
    EXPECT_EQ(p.value(), 0.0);
    EXPECT_TRUE(p.dirty());  // reset touches the value only
}

TEST_F(PropertyTest, FontTextAndAStoredFaceWithoutItsEnd) {
    CFontProperty font("Labels", "", true);
    EXPECT_EQ(font.text(), "Sans, 12 pt");
    LOGFONTA raw{};
    raw.lfHeight = 20;  // a cell height: 4 of it is leading
    raw.lfWeight = 700;
    std::memset(raw.lfFaceName, 'A', sizeof raw.lfFaceName);
    font.font(raw);
    EXPECT_EQ(font.face_name(), CString(std::string(32, 'A')));
    EXPECT_EQ(font.point_size(), 16);
    EXPECT_TRUE(font.is_bold());
}

}  // namespace
