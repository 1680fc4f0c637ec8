#pragma once

// A property group shown in the grid control: one row a shown property, a value column and a
// name column before it, and a narrow expand-box column in front when a shown property heads
// a section. Every user action goes to the row's property; an answer other than null is
// shown in yellow and red beside the cell, with the text just above it, and the edit stays
// open. `OnGroupSetup` is the one way from the model to the cells: toggling a section, a
// change that left the group dirty and a reset after use each rebuild the whole grid.
//
// Interface thread only: `smInEdit` and the setup flag span all grids of the process.

#include "zevcore/Export.h"
#include "zevcore/controls/Message.h"
#include "zevcore/controls/UGCtrl.h"
#include "zevcore/quantities/UnitsEditCtrl.h"

class CPropertyGroup;

/// The cell types a property grid registers at setup.
enum ETUGCellType : int {
    UGCT_EXPAND_BOX = 0,  ///< a section's open/close box
    UGCT_CHECK_BOX,
    UGCT_DROP_LIST,
    UGCT_SPIN_BUTTON,
    UGCT_ELLIPSIS,  ///< a [...] button that opens a chooser
    UGCT_HINT,      ///< the hint row
    UGCT_TYPE_COUNT
};

enum ETUGDrawMode : int { UG_NO_REDRAW = 0, UG_REDRAW = 1 };

/// The roles of the grid's twelve colours.
enum ETPropertyGridColor : int {
    PGC_TITLE_BACK,
    PGC_TITLE_TEXT,
    PGC_SECTION_BACK,
    PGC_SECTION_TEXT,
    PGC_CELL_BACK,
    PGC_CELL_TEXT,
    PGC_SELECTED_BACK,
    PGC_SELECTED_TEXT,
    PGC_ERROR_BACK,
    PGC_ERROR_TEXT,
    PGC_READ_ONLY_BACK,
    PGC_READ_ONLY_TEXT,
    PGC_COLOR_COUNT
};

class ZEVCORE_API CPropertyGrid : public CUGCtrl {
public:
    /// The id of the hidden units field.
    static constexpr unsigned kUnitsEditId = 37;
    /// The hint row's background.
    static constexpr COLORREF kHintBack = 0xFAFAFA;

    CPropertyGrid();
    explicit CPropertyGrid(CPropertyGroup* group);
    ~CPropertyGrid() override;

    /// Takes the group if it is new or `force` is non-zero; rebuilds when it is not null.
    void SetGroup(CPropertyGroup* group, int force);
    CPropertyGroup* GetGroup() const { return m_group; }
    /// Rebuilds every cell from the group.
    virtual void OnGroupSetup();
    void SetShowTitle(bool show) { m_showTitle = show; }
    bool ShowTitle() const { return m_showTitle; }
    /// 1: columns at their best fit; 2: name and value share the window's width.
    void SetSizeMode(int mode) { m_sizeMode = mode; }
    int SizeMode() const { return m_sizeMode; }
    void SetHintRow(bool on) { m_hintRow = on; }
    bool HintRow() const { return m_hintRow; }
    void SizeToFitWindow(ETUGDrawMode mode);
    /// Applies the title and section colours to their cells.
    void ColorsHaveChanged();
    COLORREF GetColor(ETPropertyGridColor role) const;
    void SetColor(ETPropertyGridColor role, COLORREF color);
    int GetCellTypeIndex(ETUGCellType type) const;
    CUnitsEditCtrl& GetUnitsEditCtrl() { return m_unitsEdit; }
    int GetNameColumn() const { return GetNumberCols() - 2; }
    int GetPropertyColumn() const { return GetNumberCols() - 1; }
    int NormalFont() const { return m_normalFont; }
    int BoldFont() const { return m_boldFont; }
    int TitleFont() const { return m_titleFont; }
    /// The pop-up of the last rejected entry.
    const CMessage& ErrorWindow() const { return m_errorWindow; }
    int ErrorCol() const { return m_errorCol; }
    int ErrorRow() const { return m_errorRow; }
    void DisplayErrorMessage(int col, int row, const char* text);
    void HideErrorMessage();
    static bool EditControlHasFocus() { return smInEdit; }

    void OnSetup() override;
    int OnCanMove(int oldCol, int oldRow, int newCol, int newRow) override;
    int OnCanViewMove(int oldCol, int oldRow, int newCol, int newRow) override;
    void OnAdjustComponentSizes() override;
    COLORREF OnGetDefBackColor(int section) override;
    void OnSize(UINT type, int cx, int cy) override;
    int OnEditStart(int col, int row, CEdit** edit) override;
    int OnEditFinish(int col, int row, CEdit* edit, const char* text, int cancelled) override;
    int OnEditContinue(int oldCol, int oldRow, int* newCol, int* newRow) override;
    int OnCellTypeNotify(long id, int col, int row, long msg, long param) override;
    void OnRowChange(int oldRow, int newRow) override;
    void OnCellChange(int oldCol, int newCol, int oldRow, int newRow) override;
    void OnDClicked(int col, int row, RECT* rect, POINT* point, int processed) override;
    void OnLClicked(int col, int row, int updn, RECT* rect, POINT* point, int processed) override;
    void OnKeyDown(UINT* key, int processed) override;
    int OnHint(int col, int row, int section, CString* text) override;

protected:
    static bool smInEdit;
    static bool smInGroupSetup;

private:
    /// The help text of a cell, as the tooltip and the hint row show it.
    CString hintFor(int col, int row) const;
    int shownRows() const;
    bool isHintRow(int row) const;
    /// After an accepted action: rebuild when the group is dirty (or `rebuild`).
    const char* notify(int col, int row, int msg, long param);

    COLORREF m_colors[PGC_COLOR_COUNT];
    CPropertyGroup* m_group = nullptr;
    bool m_showTitle = true;
    int m_sizeMode = 2;
    bool m_hintRow = false;
    int m_cellTypes[UGCT_TYPE_COUNT];
    CUnitsEditCtrl m_unitsEdit{0};
    CMessage m_errorWindow;
    int m_errorCol = -100;
    int m_errorRow = -100;
    int m_normalFont = -1;
    int m_boldFont = -1;
    int m_titleFont = -1;
};
