#pragma once

// A spreadsheet-like grid control with no window: the cells, their looks, joined cells, the
// current cell, an open edit, and the events a user's actions raise. Classes derived from
// CUGCtrl decide what the events do; a binding to a toolkit paints what `DrawnCell` answers
// and forwards the user's clicks, keys and edits through the "driving" functions, so that
// every rule of a derived grid holds identically with or without a display.
//
// Coordinates: columns 0 .. GetNumberCols()-1, rows 0 .. GetNumberRows()-1; row -1 is the
// top heading. Everything runs on the interface thread.

#include <map>
#include <utility>
#include <vector>

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"
#include "zevcore/platform/framework/String.h"
#include "zevcore/platform/framework/Window.h"

/// The built-in cell type: text, edited in place.
inline constexpr int UGCT_NORMAL = 0;
/// Extended styles of a registered cell type (SetCellTypeEx).
inline constexpr long UGCT_CHECKBOX3STATE = 0x0001;

/// Cell borders (SetBorder): the bits of the sides drawn, and 0x200 for a sunken frame.
inline constexpr short UG_BDR_SUNKEN = 0x200;

/// The key codes the grid's keyboard events carry.
inline constexpr UINT VK_TAB = 9;
inline constexpr UINT VK_RETURN = 13;
inline constexpr UINT VK_ESCAPE = 27;
inline constexpr UINT VK_LEFT = 37;
inline constexpr UINT VK_UP = 38;
inline constexpr UINT VK_RIGHT = 39;
inline constexpr UINT VK_DOWN = 40;
inline constexpr UINT VK_INSERT = 45;
inline constexpr UINT VK_DELETE = 46;

/// One cell's content and looks. Only what was set overrides the column's default.
class ZEVCORE_API CUGCell {
public:
    /// No colour set: the grid's own colour is drawn.
    static constexpr COLORREF kNoColor = 0xFFFFFFFFu;

    void SetText(const char* text);
    const CString& GetText() const { return m_text; }
    void SetLabelText(const char* text);
    const CString& GetLabelText() const { return m_label; }
    void SetNumber(double number);
    double GetNumber() const { return m_number; }
    void SetReadOnly(bool readOnly);
    bool GetReadOnly() const { return m_readOnly; }
    void SetCellType(int type);
    int GetCellType() const { return m_cellType; }
    void SetCellTypeEx(long style);
    long GetCellTypeEx() const { return m_cellTypeEx; }
    /// A font index of the grid (AddFont); -1 for the default font.
    void SetFont(int font);
    int GetFont() const { return m_font; }
    void SetBackColor(COLORREF color);
    COLORREF GetBackColor() const { return m_back; }
    void SetTextColor(COLORREF color);
    COLORREF GetTextColor() const { return m_textColor; }
    void SetHBackColor(COLORREF color);
    COLORREF GetHBackColor() const { return m_hBack; }
    void SetHTextColor(COLORREF color);
    COLORREF GetHTextColor() const { return m_hText; }
    void SetBorder(short border);
    short GetBorder() const { return m_border; }

    /// Back to an empty cell that overrides nothing.
    void ClearAll();
    /// This cell's settings over `under`'s: what a cell with this column default shows.
    CUGCell Over(const CUGCell& under) const;

private:
    enum : unsigned {
        kText = 1u << 0,
        kLabel = 1u << 1,
        kNumber = 1u << 2,
        kReadOnly = 1u << 3,
        kType = 1u << 4,
        kTypeEx = 1u << 5,
        kFont = 1u << 6,
        kBack = 1u << 7,
        kTextColor = 1u << 8,
        kHBack = 1u << 9,
        kHText = 1u << 10,
        kBorder = 1u << 11,
    };

    CString m_text;
    CString m_label;
    double m_number = 0.0;
    bool m_readOnly = false;
    int m_cellType = UGCT_NORMAL;
    long m_cellTypeEx = 0;
    int m_font = -1;
    COLORREF m_back = kNoColor;
    COLORREF m_textColor = kNoColor;
    COLORREF m_hBack = kNoColor;
    COLORREF m_hText = kNoColor;
    short m_border = 0;
    unsigned m_set = 0;
};

class ZEVCORE_API CUGCtrl {
public:
    CUGCtrl();
    virtual ~CUGCtrl();
    CUGCtrl(const CUGCtrl&) = delete;
    CUGCtrl& operator=(const CUGCtrl&) = delete;

    /// Makes the control: runs OnSetup once. A grid is usable before, but empty.
    void CreateGrid();
    bool IsCreated() const { return m_created; }

    // ---- Structure ---------------------------------------------------------------------
    void SetNumberRows(int rows);
    void SetNumberCols(int cols);
    int GetNumberRows() const { return m_rows; }
    int GetNumberCols() const { return m_cols; }
    /// Joins the rectangle of cells into one, shown with the top-left cell's content.
    /// False for a rectangle outside the grid or one that overlaps a join.
    bool JoinCells(int startCol, int startRow, int endCol, int endRow);
    /// The join holding the cell as (start col, start row, end col, end row), or the cell
    /// itself when it is in none.
    RECT GetJoinRange(int col, int row) const;
    /// Undoes every join.
    void UnjoinAll();
    void SetColWidth(int col, int width);
    int GetColWidth(int col) const;
    void SetDefRowHeight(int height) { m_rowHeight = height > 0 ? height : 1; }
    int GetRowHeight(int row) const;
    /// Top heading height (0 hides it).
    void SetTH_Height(int height);
    int GetTH_Height() const { return m_thHeight; }
    void SetSH_Width(int width);
    int GetSH_Width() const { return m_shWidth; }
    void SetSH_NumberCols(int cols);
    int GetSH_NumberCols() const { return m_shCols; }
    /// Widens columns `startCol` to `endCol` to their widest text, with a margin.
    void BestFit(int startCol, int endCol);
    /// The widest text of a column plus a margin of 5 on each side, as BestFit would make it.
    int BestFitWidth(int col) const;
    /// The window's client size, as the binding last reported it (OnSize).
    void SetWindowSize(int width, int height);
    int WindowWidth() const { return m_windowWidth; }
    int WindowHeight() const { return m_windowHeight; }

    // ---- Cells -------------------------------------------------------------------------
    /// The cell as stored (without the column's default); false outside the grid.
    bool GetCell(int col, int row, CUGCell* cell) const;
    bool SetCell(int col, int row, const CUGCell* cell);
    bool DeleteCell(int col, int row);
    bool QuickSetText(int col, int row, const char* text);
    bool GetColDefault(int col, CUGCell* cell) const;
    bool SetColDefault(int col, const CUGCell* cell);
    /// What a binding paints for the cell: the stored cell over its column's default.
    CUGCell DrawnCell(int col, int row) const;

    // ---- Fonts and cell types ----------------------------------------------------------
    int AddFont(const LOGFONTA& font);
    bool RemoveFont(int index);
    /// The font of an index, or null.
    const LOGFONTA* GetFont(int index) const;
    bool SetDefFont(int index);
    int GetDefFont() const { return m_defFont; }
    /// Registers a cell type by name; answers its index (1 and up).
    int AddCellType(const char* name);
    /// The name a cell type was registered under; "" for the normal type or an unknown index.
    CString CellTypeName(int index) const;

    // ---- Behaviour ---------------------------------------------------------------------
    /// Opens an edit of the cell when OnEditStart agrees. `key` non-zero starts the text
    /// with that character, else with the cell's text.
    bool StartEdit(int col, int row, int key);
    bool IsEditing() const { return m_editing; }
    int EditCol() const { return m_editCol; }
    int EditRow() const { return m_editRow; }
    /// The edit field the open edit uses: the grid's own, or one the derived grid gave.
    CEdit* EditWindow() const { return m_editWnd; }
    bool GotoRow(int row);
    bool GotoCell(int col, int row);
    int GetCurrentRow() const { return m_currentRow; }
    int GetCurrentCol() const { return m_currentCol; }
    void SetCurrentCellMode(int mode) { m_currentCellMode = mode; }
    int GetCurrentCellMode() const { return m_currentCellMode; }
    void EnableExcelBorders(bool on) { m_excelBorders = on; }
    bool ExcelBorders() const { return m_excelBorders; }
    void UseHints(bool on) { m_hints = on; }
    bool HintsOn() const { return m_hints; }
    void RedrawAll() { ++m_redraws; }
    void RedrawCell(int, int) { ++m_redraws; }
    void RedrawRow(int) { ++m_redraws; }
    /// How often a redraw was asked for: a binding repaints when it changes.
    unsigned Redraws() const { return m_redraws; }
    /// The cell's rectangle in the window, joins included; false outside the grid.
    bool GetCellRect(int col, int row, RECT* rect) const;

    // ---- Driving: what a binding (or a test) calls for the user's actions -----------------
    /// Replaces the text of the open edit.
    void TypeText(const char* text);
    /// Ends the open edit through OnEditFinish; answers whether the edit closed.
    bool FinishEdit(bool cancelled);
    /// A cell type's control was used (a spin button, a check box, a list, the [...]).
    int NotifyCellType(int col, int row, long msg, long param);
    /// A left click: the press and the release, after moving to the cell.
    void Click(int col, int row);
    void DoubleClick(int col, int row);
    void KeyDown(UINT key);
    /// The tooltip text for the cell, or nullopt-like false when there is none.
    bool Hint(int col, int row, CString& text);

    // ---- Events ------------------------------------------------------------------------
    virtual void OnSetup() {}
    virtual int OnCanMove(int, int, int, int) { return 1; }
    virtual int OnCanViewMove(int, int, int, int) { return 1; }
    virtual void OnAdjustComponentSizes() {}
    virtual COLORREF OnGetDefBackColor(int) { return CUGCell::kNoColor; }
    virtual void OnSize(UINT, int, int) {}
    virtual int OnEditStart(int, int, CEdit**) { return 1; }
    virtual int OnEditFinish(int, int, CEdit*, const char*, int) { return 1; }
    /// Where an edit carried on by the keyboard goes next; false ends it.
    virtual int OnEditContinue(int, int, int*, int*) { return 0; }
    virtual int OnCellTypeNotify(long, int, int, long, long) { return 1; }
    virtual void OnRowChange(int, int) {}
    virtual void OnCellChange(int, int, int, int) {}
    virtual void OnDClicked(int, int, RECT*, POINT*, int) {}
    virtual void OnLClicked(int, int, int, RECT*, POINT*, int) {}
    virtual void OnKeyDown(UINT*, int) {}
    virtual int OnHint(int, int, int, CString*) { return 0; }

protected:
    /// Ends the edit without events (the derived grid decided).
    void CloseEdit();

private:
    bool inside(int col, int row) const;

    bool m_created = false;
    int m_rows = 0;
    int m_cols = 0;
    int m_rowHeight = 20;
    int m_thHeight = 20;
    int m_shWidth = 0;
    int m_shCols = 0;
    int m_windowWidth = 0;
    int m_windowHeight = 0;
    std::vector<int> m_colWidths;
    std::map<std::pair<int, int>, CUGCell> m_cells;  // (col, row)
    std::map<int, CUGCell> m_colDefaults;
    std::vector<RECT> m_joins;  // left/top/right/bottom as start col/row, end col/row
    std::vector<std::pair<bool, LOGFONTA>> m_fonts;  // removed fonts keep their index
    int m_defFont = -1;
    std::vector<CString> m_cellTypes;
    int m_currentCol = 0;
    int m_currentRow = -1;
    int m_currentCellMode = 1;
    bool m_excelBorders = false;
    bool m_hints = false;
    unsigned m_redraws = 0;
    bool m_editing = false;
    int m_editCol = -1;
    int m_editRow = -1;
    CEdit m_defaultEdit;
    CEdit* m_editWnd = nullptr;
};
