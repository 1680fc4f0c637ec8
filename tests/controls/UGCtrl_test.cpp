#include "zevcore/controls/UGCtrl.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "zevcore/platform/services/Gdi.h"

namespace {

// Records the events a user's actions raise, and refuses edits of column 0.
class Recorder : public CUGCtrl {
public:
    int OnEditStart(int col, int, CEdit**) override { return col != 0; }
    int OnEditFinish(int col, int row, CEdit*, const char* text, int cancelled) override {
        events.push_back("finish " + std::to_string(col) + "," + std::to_string(row) + " " + text +
                         (cancelled ? " cancelled" : ""));
        return std::string(text) != "bad";
    }
    void OnRowChange(int oldRow, int newRow) override {
        events.push_back("row " + std::to_string(oldRow) + ">" + std::to_string(newRow));
    }
    void OnLClicked(int col, int row, int updn, RECT*, POINT*, int) override {
        events.push_back((updn ? "down " : "up ") + std::to_string(col) + "," +
                         std::to_string(row));
    }
    std::vector<std::string> events;
};

TEST(UGCtrl, CellsOverColumnDefaultsAndJoins) {
    CUGCtrl grid;
    grid.SetNumberCols(3);
    grid.SetNumberRows(4);
    CUGCell def;
    def.SetBackColor(0x123456);
    def.SetText("default");
    ASSERT_TRUE(grid.SetColDefault(1, &def));
    grid.QuickSetText(1, 2, "own");
    const CUGCell drawn = grid.DrawnCell(1, 2);
    EXPECT_EQ(drawn.GetText(), "own");
    EXPECT_EQ(drawn.GetBackColor(), 0x123456u);
    EXPECT_EQ(grid.DrawnCell(2, 2).GetBackColor(), CUGCell::kNoColor);

    ASSERT_TRUE(grid.JoinCells(0, 1, 2, 1));
    EXPECT_FALSE(grid.JoinCells(1, 0, 1, 3));  // overlaps
    EXPECT_FALSE(grid.JoinCells(0, 0, 3, 0));  // outside
    grid.QuickSetText(0, 1, "joined");
    EXPECT_EQ(grid.DrawnCell(2, 1).GetText(), "joined");
    RECT r;
    ASSERT_TRUE(grid.GetCellRect(1, 1, &r));
    EXPECT_EQ(r.right - r.left, 3 * 75);
    EXPECT_EQ(r.top, grid.GetTH_Height() + grid.GetRowHeight(0));

    grid.SetNumberRows(1);  // cells and joins past the end go
    EXPECT_EQ(grid.GetJoinRange(0, 1).right, 0);
    EXPECT_FALSE(grid.GetCellRect(0, 2, &r));
    grid.SetNumberRows(3);
    CUGCell gone;
    grid.GetCell(1, 2, &gone);
    EXPECT_EQ(gone.GetText(), "");
}

TEST(UGCtrl, FontsKeepTheirIndices) {
    CUGCtrl grid;
    LOGFONTA a{};
    a.lfHeight = 10;
    LOGFONTA b{};
    b.lfHeight = 20;
    const int ia = grid.AddFont(a);
    const int ib = grid.AddFont(b);
    ASSERT_TRUE(grid.SetDefFont(ia));
    ASSERT_TRUE(grid.RemoveFont(ia));
    EXPECT_EQ(grid.GetFont(ia), nullptr);
    EXPECT_EQ(grid.GetDefFont(), -1);
    ASSERT_NE(grid.GetFont(ib), nullptr);
    EXPECT_EQ(grid.GetFont(ib)->lfHeight, 20);
    EXPECT_FALSE(grid.RemoveFont(ia));
    EXPECT_FALSE(grid.SetDefFont(7));
}

TEST(UGCtrl, EditsAndClicksRaiseTheirEvents) {
    Recorder grid;
    grid.SetNumberCols(2);
    grid.SetNumberRows(3);
    grid.QuickSetText(1, 1, "old");
    EXPECT_FALSE(grid.StartEdit(0, 1, 0));
    ASSERT_TRUE(grid.StartEdit(1, 1, 0));
    EXPECT_EQ(grid.EditWindow()->GetWindowText(), "old");
    EXPECT_FALSE(grid.StartEdit(1, 2, 0));  // one edit at a time
    grid.TypeText("bad");
    EXPECT_FALSE(grid.FinishEdit(false));
    EXPECT_TRUE(grid.IsEditing());
    grid.TypeText("good");
    EXPECT_TRUE(grid.FinishEdit(false));
    EXPECT_FALSE(grid.IsEditing());
    EXPECT_FALSE(grid.FinishEdit(false));
    ASSERT_TRUE(grid.StartEdit(1, 2, '4'));
    EXPECT_EQ(grid.EditWindow()->GetWindowText(), "4");
    grid.FinishEdit(true);

    grid.Click(1, 2);
    grid.Click(1, 2);
    EXPECT_FALSE(grid.GotoRow(3));
    const std::vector<std::string> expected = {
        "finish 1,1 bad", "finish 1,1 good", "finish 1,2 4 cancelled",
        "row -1>2",       "down 1,2",        "up 1,2",
        "down 1,2",       "up 1,2"};
    EXPECT_EQ(grid.events, expected);
}

// A cell overrides its column's default in what was set on it and nothing else: each row
// sets one field on the cell and checks that field comes from the cell, every other from
// the default.
TEST(UGCell, OverTakesOnlyWhatWasSet) {
    CUGCell under;
    under.SetText("under");
    under.SetLabelText("label under");
    under.SetNumber(1.0);
    under.SetCellType(1);
    under.SetCellTypeEx(UGCT_CHECKBOX3STATE);
    under.SetFont(1);
    under.SetBackColor(0x010101);
    under.SetTextColor(0x020202);
    under.SetBorder(1);
    struct Case {
        const char* id;
        std::function<void(CUGCell&)> set;
        std::function<bool(const CUGCell&)> fromCell;
    };
    const std::vector<Case> cases = {
        {"text", [](CUGCell& c) { c.SetText("own"); },
         [](const CUGCell& c) { return c.GetText() == "own"; }},
        {"label", [](CUGCell& c) { c.SetLabelText("own"); },
         [](const CUGCell& c) { return c.GetLabelText() == "own"; }},
        {"number", [](CUGCell& c) { c.SetNumber(2.0); },
         [](const CUGCell& c) { return c.GetNumber() == 2.0; }},
        {"read-only", [](CUGCell& c) { c.SetReadOnly(true); },
         [](const CUGCell& c) { return c.GetReadOnly(); }},
        // Setting the value a default has is still a setting: the normal type over a list.
        {"type", [](CUGCell& c) { c.SetCellType(UGCT_NORMAL); },
         [](const CUGCell& c) { return c.GetCellType() == UGCT_NORMAL; }},
        {"font", [](CUGCell& c) { c.SetFont(-1); },
         [](const CUGCell& c) { return c.GetFont() == -1; }},
        {"back colour", [](CUGCell& c) { c.SetBackColor(0x0a0a0a); },
         [](const CUGCell& c) { return c.GetBackColor() == 0x0a0a0au; }},
        {"border", [](CUGCell& c) { c.SetBorder(UG_BDR_SUNKEN); },
         [](const CUGCell& c) { return c.GetBorder() == UG_BDR_SUNKEN; }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.id);
        CUGCell cell;
        c.set(cell);
        const CUGCell drawn = cell.Over(under);
        EXPECT_TRUE(c.fromCell(drawn));
        int fromDefault = 0;
        fromDefault += drawn.GetText() == "under";
        fromDefault += drawn.GetLabelText() == "label under";
        fromDefault += drawn.GetNumber() == 1.0;
        fromDefault += !drawn.GetReadOnly();
        fromDefault += drawn.GetCellType() == 1;
        fromDefault += drawn.GetFont() == 1;
        fromDefault += drawn.GetBackColor() == 0x010101u;
        fromDefault += drawn.GetBorder() == 1;
        EXPECT_EQ(fromDefault, 7);
        EXPECT_EQ(drawn.GetCellTypeEx(), UGCT_CHECKBOX3STATE);
        EXPECT_EQ(drawn.GetTextColor(), 0x020202u);
        cell.ClearAll();
        EXPECT_EQ(cell.Over(under).GetText(), "under");
    }
}

// Moves the current cell only where OnCanMove allows, and tells what moved.
class Mover : public CUGCtrl {
public:
    int OnCanMove(int, int, int newCol, int) override { return newCol != blockedCol; }
    void OnRowChange(int oldRow, int newRow) override {
        events.push_back("row " + std::to_string(oldRow) + ">" + std::to_string(newRow));
    }
    void OnCellChange(int oldCol, int newCol, int oldRow, int newRow) override {
        events.push_back("cell " + std::to_string(oldCol) + "," + std::to_string(oldRow) + ">" +
                         std::to_string(newCol) + "," + std::to_string(newRow));
    }
    void OnDClicked(int col, int row, RECT*, POINT* point, int) override {
        events.push_back("double " + std::to_string(col) + "," + std::to_string(row) + " at " +
                         std::to_string(point->x) + "," + std::to_string(point->y));
    }
    void OnKeyDown(UINT* key, int) override { events.push_back("key " + std::to_string(*key)); }
    int OnHint(int col, int row, int, CString* text) override {
        *text = col == 0 ? "first column" : "";
        return row >= 0 && col == 0;
    }
    int OnCellTypeNotify(long type, int col, int row, long msg, long param) override {
        events.push_back("type " + std::to_string(type) + " at " + std::to_string(col) + "," +
                         std::to_string(row) + " " + std::to_string(msg) + "/" +
                         std::to_string(param));
        return 7;
    }
    void OnSize(UINT, int width, int height) override {
        events.push_back("size " + std::to_string(width) + "x" + std::to_string(height));
    }
    void OnAdjustComponentSizes() override { events.push_back("adjust"); }
    int blockedCol = -1;
    std::vector<std::string> events;
};

TEST(UGCtrl, TheCurrentCellMovesWhereAllowedAndSaysSo) {
    Mover grid;
    grid.SetNumberCols(3);
    grid.SetNumberRows(3);
    grid.blockedCol = 2;
    EXPECT_EQ(grid.GetCurrentRow(), -1);  // no current row until the first move
    EXPECT_TRUE(grid.GotoCell(1, 0));
    EXPECT_TRUE(grid.GotoCell(0, 0));    // the same row: no row change
    EXPECT_TRUE(grid.GotoCell(0, 0));    // nowhere: nothing said
    EXPECT_FALSE(grid.GotoCell(2, 1));   // refused by the grid
    EXPECT_FALSE(grid.GotoCell(0, 3));   // outside
    EXPECT_FALSE(grid.GotoCell(-1, 0));  // outside
    EXPECT_TRUE(grid.GotoRow(2));        // keeps the column
    grid.Click(1, -1);                   // a heading: no move
    const std::vector<std::string> expected = {"row -1>0", "cell 0,-1>1,0", "cell 1,0>0,0",
                                               "row 0>2", "cell 0,0>0,2"};
    EXPECT_EQ(grid.events, expected);
    EXPECT_EQ(grid.GetCurrentCol(), 0);
    EXPECT_EQ(grid.GetCurrentRow(), 2);

    // Shrinking the grid keeps the current cell inside it.
    grid.GotoCell(1, 2);
    grid.SetNumberRows(1);
    grid.SetNumberCols(1);
    EXPECT_EQ(grid.GetCurrentRow(), 0);
    EXPECT_EQ(grid.GetCurrentCol(), 0);
}

TEST(UGCtrl, GeometryCountsHeadingsJoinsAndWidths) {
    CUGCtrl grid;
    grid.SetNumberCols(3);
    grid.SetNumberRows(2);
    grid.SetSH_Width(30);
    grid.SetTH_Height(-5);  // clamped
    EXPECT_EQ(grid.GetTH_Height(), 0);
    grid.SetTH_Height(24);
    grid.SetDefRowHeight(0);  // at least one pixel
    EXPECT_EQ(grid.GetRowHeight(0), 1);
    grid.SetDefRowHeight(18);
    grid.SetColWidth(1, 40);
    grid.SetColWidth(5, 99);  // outside: nothing
    grid.SetColWidth(2, -1);  // clamped
    EXPECT_EQ(grid.GetColWidth(2), 0);
    EXPECT_EQ(grid.GetColWidth(5), 0);
    struct Case {
        int col, row;
        RECT rect;
    };
    const Case cases[] = {
        {0, -1, {30, 0, 105, 24}},   // the heading
        {1, 0, {105, 24, 145, 42}},  // past the side heading and the first column
        {2, 1, {145, 42, 145, 60}},  // a column of no width
    };
    for (const Case& c : cases) {
        RECT r{};
        ASSERT_TRUE(grid.GetCellRect(c.col, c.row, &r));
        EXPECT_EQ(r.left, c.rect.left);
        EXPECT_EQ(r.top, c.rect.top);
        EXPECT_EQ(r.right, c.rect.right);
        EXPECT_EQ(r.bottom, c.rect.bottom);
    }
    RECT r{};
    EXPECT_FALSE(grid.GetCellRect(0, -2, &r));
    EXPECT_FALSE(grid.GetCellRect(0, 0, nullptr));
    ASSERT_TRUE(grid.JoinCells(0, 0, 1, 1));
    ASSERT_TRUE(grid.GetCellRect(1, 1, &r));
    EXPECT_EQ(r.left, 30);
    EXPECT_EQ(r.right, 145);
    EXPECT_EQ(r.bottom, 60);
    grid.UnjoinAll();
    EXPECT_EQ(grid.GetJoinRange(1, 1).left, 1);
}

TEST(UGCtrl, BestFitIsTheWidestOwnTextAndItsMargins) {
    CUGCtrl grid;
    grid.SetNumberCols(2);
    grid.SetNumberRows(3);
    EXPECT_EQ(grid.BestFitWidth(0), 10);  // nothing but the margins
    const LOGFONTA font = ZEVGdi().MessageFont();
    grid.QuickSetText(0, 0, "short");
    grid.QuickSetText(0, 1, "the longest text");
    const int longest = ZEVGdi().TextWidth(font, "the longest text") + 10;
    EXPECT_EQ(grid.BestFitWidth(0), longest);
    // A joined cell spans columns: its text sizes none of them.
    grid.QuickSetText(0, 2, "a text much longer than any other");
    ASSERT_TRUE(grid.JoinCells(0, 2, 1, 2));
    EXPECT_EQ(grid.BestFitWidth(0), longest);
    grid.BestFit(-3, 9);  // clamped to the columns there are
    EXPECT_EQ(grid.GetColWidth(0), longest);
    EXPECT_EQ(grid.GetColWidth(1), 10);
    EXPECT_EQ(grid.BestFitWidth(2), 0);
}

TEST(UGCtrl, UserActionsReachTheirEvents) {
    Mover grid;
    grid.SetNumberCols(2);
    grid.SetNumberRows(2);
    const int list = grid.AddCellType("list");
    EXPECT_EQ(grid.CellTypeName(list), "list");
    EXPECT_EQ(grid.CellTypeName(UGCT_NORMAL), "");
    EXPECT_EQ(grid.CellTypeName(list + 1), "");
    CUGCell def;
    def.SetCellType(list);
    grid.SetColDefault(1, &def);
    EXPECT_EQ(grid.NotifyCellType(1, 0, 3, 4), 7);
    EXPECT_EQ(grid.NotifyCellType(2, 0, 3, 4), 0);  // outside: no event
    grid.DoubleClick(1, 1);
    grid.DoubleClick(1, 5);
    grid.KeyDown(VK_RETURN);
    grid.SetWindowSize(-1, 200);

    CString text = "stale";
    EXPECT_FALSE(grid.Hint(0, 0, text));  // hints are off
    grid.UseHints(true);
    EXPECT_TRUE(grid.Hint(0, 0, text));
    EXPECT_EQ(text, "first column");
    EXPECT_FALSE(grid.Hint(1, 0, text));
    EXPECT_FALSE(grid.Hint(0, 9, text));

    const std::vector<std::string> expected = {"type " + std::to_string(list) + " at 1,0 3/4",
                                               "double 1,1 at 112,50", "key 13", "size 0x200",
                                               "adjust"};
    EXPECT_EQ(grid.events, expected);
}

// Hands its own edit field over and closes the edit in its handler.
class OwnField : public CUGCtrl {
public:
    int OnEditStart(int, int, CEdit** edit) override {
        field.SetWindowText("prepared");
        *edit = &field;
        return 1;
    }
    int OnEditFinish(int, int, CEdit* edit, const char* text, int) override {
        finished = text;
        EXPECT_EQ(edit, &field);
        CloseEdit();
        return 1;
    }
    CEdit field;
    std::string finished;
};

TEST(UGCtrl, AnEditFieldTheGridGivesIsUsedAsItWasPrepared) {
    OwnField grid;
    grid.SetNumberCols(1);
    grid.SetNumberRows(1);
    grid.QuickSetText(0, 0, "cell text");
    const unsigned before = grid.Redraws();
    ASSERT_TRUE(grid.StartEdit(0, 0, 0));
    EXPECT_EQ(grid.EditWindow(), &grid.field);
    EXPECT_EQ(grid.field.GetWindowText(), "prepared");
    EXPECT_EQ(grid.EditCol(), 0);
    grid.TypeText("typed");
    EXPECT_TRUE(grid.FinishEdit(false));
    EXPECT_EQ(grid.finished, "typed");
    EXPECT_FALSE(grid.IsEditing());
    EXPECT_EQ(grid.EditCol(), -1);
    EXPECT_GT(grid.Redraws(), before);
    EXPECT_FALSE(grid.StartEdit(0, -1, 0));  // headings are not edited
    grid.TypeText("nothing open");           // no edit: nothing happens
    EXPECT_EQ(grid.field.GetWindowText(), "typed");
}

}  // namespace
