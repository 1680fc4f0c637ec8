#include "zevcore/settings/PropertyGrid.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "support/ScopedStore.h"
#include "zevcore/settings/BaseProperty.h"
#include "zevcore/settings/PreferenceItem.h"
#include "zevcore/settings/PreferenceManager.h"
#include "zevcore/settings/PreferencesGrid.h"
#include "zevcore/settings/PropertyGroup.h"

namespace {

// A group that owns its rows and counts what the grid asks of it.
class Group : public CPropertyGroup {
public:
    Group() : CPropertyGroup("Beam") {}
    ~Group() override { remove_all_properties(true); }
    template <typename P>
    P* add(P* p) {
        add_property(p);
        return p;
    }
    const char* applyChange(int row) override {
        ++applied;
        CPropertyGroup::applyChange(row);
        return veto;
    }
    int applied = 0;
    const char* veto = nullptr;
};

class PropertyGridTest : public testing::Test {
protected:
    void build() {
        grid.SetGroup(&group, 1);
        grid.CreateGrid();
        grid.SetWindowSize(300, 200);
        ASSERT_TRUE(grid.GetGroup() == &group);
    }
    CString valueText(int row) const {
        return grid.DrawnCell(grid.GetPropertyColumn(), row).GetText();
    }

    Group group;
    CPropertyGrid grid;
};

TEST_F(PropertyGridTest, ColumnsFollowTheHeaders) {
    group.add(new CTextProperty("Name", "", true, -1, -1));
    group.add(new CIntegerProperty("Bays", "", 1, 1, 20));
    build();
    EXPECT_EQ(grid.GetNumberCols(), 2);
    EXPECT_EQ(grid.GetNumberRows(), 2);
    EXPECT_EQ(grid.DrawnCell(0, -1).GetText(), "Beam");
    EXPECT_EQ(grid.GetJoinRange(1, -1).left, 0);  // the title spans the columns

    group.add(new CBaseProperty("Section", 1, true, ""));
    group.add(new CDoubleProperty("Depth", "", 0.0, 0.0, 1e300));
    grid.OnGroupSetup();
    EXPECT_EQ(grid.GetNumberCols(), 3);
    EXPECT_EQ(grid.GetNameColumn(), 1);
    EXPECT_EQ(grid.GetColWidth(0), grid.GetRowHeight(0));
    EXPECT_EQ(grid.DrawnCell(0, 2).GetCellType(), grid.GetCellTypeIndex(UGCT_EXPAND_BOX));
    EXPECT_EQ(grid.GetColWidth(1) + grid.GetColWidth(2), 300 - grid.GetColWidth(0));
}

TEST_F(PropertyGridTest, SectionsHideByCountToTheEnd) {
    group.add(new CTextProperty("Name", "", true, -1, -1));
    auto* header = group.add(new CBaseProperty("Loads", 5, true, ""));
    group.add(new CDoubleProperty("Dead", "", 0.0, 0.0, 1e300));
    auto* live = group.add(new CDoubleProperty("Live", "", 0.0, 0.0, 1e300));
    build();
    ASSERT_EQ(grid.GetNumberRows(), 4);

    grid.DoubleClick(1, 1);  // collapses: the count runs past the end of the list
    EXPECT_FALSE(header->expanded());
    EXPECT_EQ(group.properties(true), 2);
    EXPECT_EQ(grid.GetNumberRows(), 2);
    EXPECT_EQ(grid.DrawnCell(0, 1).GetNumber(), 1);

    live->value(4.0);  // a hidden property still makes the group dirty
    EXPECT_TRUE(group.isDirty());

    grid.NotifyCellType(0, 1, CN_CHECK, 0);  // the expand box opens it again
    EXPECT_TRUE(header->expanded());
    EXPECT_EQ(grid.GetNumberRows(), 4);

    auto* hidden = new CTextProperty("Hidden", "", true, -1, -1);
    hidden->visible(false);
    group.add(hidden);
    EXPECT_EQ(group.properties(true), 5);  // counted until the next recount
    group.reset();
    EXPECT_EQ(group.properties(true), 4);
    EXPECT_EQ(group.property(4, true), nullptr);
}

TEST_F(PropertyGridTest, ARejectedEntryStaysOpenInYellowAndRed) {
    group.add(new CTextProperty("Name", "", true, -1, -1));
    auto* bays = group.add(new CIntegerProperty("Bays", "", 1, 1, 20));
    build();
    grid.Click(grid.GetPropertyColumn(), 1);
    ASSERT_TRUE(grid.IsEditing());
    EXPECT_TRUE(CPropertyGrid::EditControlHasFocus());

    grid.TypeText("30");
    EXPECT_FALSE(grid.FinishEdit(false));
    EXPECT_TRUE(grid.IsEditing());
    EXPECT_TRUE(CPropertyGrid::EditControlHasFocus());
    EXPECT_TRUE(grid.ErrorWindow().IsOn());
    EXPECT_EQ(grid.ErrorWindow().Text(), "Please enter 'Bays' less than 21");
    const CUGCell marked = grid.DrawnCell(grid.GetNameColumn(), 1);
    EXPECT_EQ(marked.GetBackColor(), 0x00FFFFu);
    EXPECT_EQ(marked.GetTextColor(), 0x0000FFu);
    EXPECT_EQ(group.applied, 0);

    grid.TypeText("12");
    EXPECT_TRUE(grid.FinishEdit(false));
    EXPECT_FALSE(grid.IsEditing());
    EXPECT_FALSE(CPropertyGrid::EditControlHasFocus());
    EXPECT_FALSE(grid.ErrorWindow().IsOn());
    EXPECT_EQ(bays->value(), 12);
    EXPECT_EQ(group.applied, 1);
    EXPECT_FALSE(group.isDirty());  // the rebuild reset the flags
    EXPECT_EQ(valueText(1), "12");
    EXPECT_NE(grid.DrawnCell(grid.GetNameColumn(), 1).GetBackColor(), 0x00FFFFu);

    grid.StartEdit(grid.GetPropertyColumn(), 1, 0);
    grid.TypeText("12");  // no change: the group stays clean
    EXPECT_TRUE(grid.FinishEdit(false));
    EXPECT_EQ(group.applied, 1);

    group.veto = "Bays must divide the span.";
    grid.KeyDown('7');
    ASSERT_TRUE(grid.IsEditing());
    EXPECT_EQ(grid.EditWindow()->GetWindowText(), "7");
    EXPECT_FALSE(grid.FinishEdit(false));
    EXPECT_EQ(grid.ErrorWindow().Text(), "Bays must divide the span.");
    grid.KeyDown(VK_ESCAPE);
    EXPECT_FALSE(grid.IsEditing());
    EXPECT_FALSE(grid.ErrorWindow().IsOn());
}

TEST_F(PropertyGridTest, QuantitiesAreTypedInTheUnitsField) {
    auto* span = group.add(new CPhysicalProperty("Span", UNIT_LENGTH_SMALL, "", 1.0, 0.0, 1e4));
    build();
    ASSERT_TRUE(grid.StartEdit(grid.GetPropertyColumn(), 0, 0));
    EXPECT_EQ(grid.EditWindow(), &grid.GetUnitsEditCtrl());
    grid.TypeText("5' 6 1/2\"");
    EXPECT_TRUE(grid.FinishEdit(false));
    EXPECT_DOUBLE_EQ(span->value(), 66.5);

    grid.StartEdit(grid.GetPropertyColumn(), 0, 0);
    grid.TypeText("12 parsecs");
    EXPECT_FALSE(grid.FinishEdit(false));
    EXPECT_EQ(grid.ErrorWindow().Text(), Units::lastParseMessage());
    EXPECT_FALSE(grid.ErrorWindow().Text().IsEmpty());
    EXPECT_DOUBLE_EQ(span->value(), 66.5);
}

TEST_F(PropertyGridTest, HintsForRowsAndSections) {
    group.add(new CIntegerProperty("Bays", "How many bays.", 1, 1, 20));
    group.add(new CBaseProperty("Loads", 2, true, ""));
    group.add(new CBaseProperty("Single", 1, true, "One row."));
    grid.SetHintRow(true);
    build();
    CString hint;
    ASSERT_TRUE(grid.Hint(2, 0, hint));
    EXPECT_EQ(hint, "Click to edit 'Bays'.  Click arrows for +/- 1.  Valid range (1 to 20).");
    ASSERT_TRUE(grid.Hint(1, 0, hint));
    EXPECT_EQ(hint, "How many bays.");
    grid.Hint(0, 1, hint);
    EXPECT_EQ(hint, "Click to hide the 'Loads' section.");
    grid.Hint(1, 1, hint);
    EXPECT_EQ(hint, "Double-click to hide the 'Loads' section.");
    grid.Hint(0, 2, hint);  // a header of one item is an ordinary row here
    EXPECT_EQ(hint, "One row.");

    const int hintRow = grid.GetNumberRows() - 1;
    EXPECT_EQ(grid.DrawnCell(0, hintRow).GetBackColor(), CPropertyGrid::kHintBack);
    grid.GotoCell(2, 1);
    EXPECT_EQ(grid.DrawnCell(0, hintRow).GetText(), "Double-click to hide the 'Loads' section.");
}

// ---- Preferences ------------------------------------------------------------------------

struct Prefs {
    Prefs() : manager(0, "Grid Test") {
        const int general = manager.AddCategory("General", 0);
        manager.AddCategory("Display", 0);
        const int style = manager.AddGroup("Style", 0, general);
        manager.AddPreference(1, new CIntPreference("Decimals", 0, 2, 7, 0), style);
        manager.AddPreference(2, new CBoolPreference("Snap", 0, 0), style);
        manager.AddGroup("Colours", 0, 1);
        manager.AddPreference(3, new CColorPreference("Background", 0, 0), 1);
    }
    CPreferenceManager manager;
};

class CountingPreferencesGrid : public CPreferencesGrid {
public:
    using CPreferencesGrid::CPreferencesGrid;
    void OnPreferencesApplied() override { ++applied; }
    int applied = 0;
};

TEST(PreferencesGrid, EditsCommitAtOnceAndTheSourceLoadsOnce) {
    Prefs p;
    CountingPreferencesGrid grid(&p.manager, 0);
    grid.CreateGrid();
    ASSERT_EQ(grid.GetNumberRows(), 3);  // the group's header and two items
    EXPECT_EQ(grid.GetNumberCols(), 3);
    EXPECT_EQ(grid.GetTH_Height(), 0);
    grid.SetPrefSource(&p.manager, 0);
    EXPECT_EQ(grid.properties(false), 3);

    grid.StartEdit(grid.GetPropertyColumn(), 1, 0);
    grid.TypeText("5");
    ASSERT_TRUE(grid.FinishEdit(false));
    auto& decimals = *static_cast<CIntPreference*>(p.manager.GetPreference(1));
    EXPECT_EQ(decimals.GetValue(), 5);
    EXPECT_EQ(grid.applied, 1);

    grid.NotifyCellType(grid.GetPropertyColumn(), 2, CN_CHECK, 1);
    EXPECT_EQ(static_cast<CBoolPreference*>(p.manager.GetPreference(2))->GetValue(), 1);
    EXPECT_EQ(grid.applied, 2);

    grid.SetPrefSource(&p.manager, 1);
    EXPECT_EQ(grid.GetNumberRows(), 2);
    EXPECT_EQ(grid.DrawnCell(2, 1).GetText(), "R:0 G:0 B:0");
}

TEST(PreferencesGrid, TheDialogHasATabAndAGridPerCategory) {
    Prefs p;
    CPreferencesDlg dialog(p.manager, nullptr);
    dialog.SetPlaceholderRect(RECT{10, 10, 210, 110});
    ASSERT_TRUE(dialog.OnInitDialog());
    ASSERT_EQ(dialog.GetTabCount(), 2);
    EXPECT_EQ(dialog.GetTabName(1), "Display");
    EXPECT_TRUE(dialog.IsGridShown(0));
    EXPECT_FALSE(dialog.IsGridShown(1));
    const RECT r = dialog.GridRect();
    EXPECT_EQ(r.left, 14);
    EXPECT_EQ(r.bottom, 108);
    dialog.SelectTab(1);
    EXPECT_FALSE(dialog.IsGridShown(0));
    EXPECT_EQ(dialog.GetGrid(1)->GetCategory(), 1);
    EXPECT_EQ(dialog.GetGrid(2), nullptr);
}

}  // namespace
