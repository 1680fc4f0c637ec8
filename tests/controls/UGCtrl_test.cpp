#include "zevcore/controls/UGCtrl.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

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

}  // namespace
