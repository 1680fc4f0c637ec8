#include "zevcore/settings/PropertyGrid.h"

#include <algorithm>

#include "zevcore/platform/services/Gdi.h"
#include "zevcore/settings/BaseProperty.h"
#include "zevcore/settings/PropertyGroup.h"

bool CPropertyGrid::smInEdit = false;
bool CPropertyGrid::smInGroupSetup = false;

namespace {

// Raised for the length of a rebuild: cell-change hints are not computed meanwhile.
class SetupFlag {
public:
    explicit SetupFlag(bool& flag) : m_flag(flag) { m_flag = true; }
    ~SetupFlag() { m_flag = false; }
    SetupFlag(const SetupFlag&) = delete;
    SetupFlag& operator=(const SetupFlag&) = delete;

private:
    bool& m_flag;
};

}  // namespace

CPropertyGrid::CPropertyGrid() : CPropertyGrid(nullptr) {}

CPropertyGrid::CPropertyGrid(CPropertyGroup* group) : m_group(group) {
    m_colors[PGC_TITLE_BACK] = GetSysColor(COLOR_HIGHLIGHT);
    m_colors[PGC_TITLE_TEXT] = GetSysColor(COLOR_HIGHLIGHTTEXT);
    m_colors[PGC_SECTION_BACK] = GetSysColor(COLOR_INFOBK);
    m_colors[PGC_SECTION_TEXT] = GetSysColor(COLOR_WINDOWTEXT);
    m_colors[PGC_CELL_BACK] = GetSysColor(COLOR_WINDOW);
    m_colors[PGC_CELL_TEXT] = GetSysColor(COLOR_WINDOWTEXT);
    m_colors[PGC_SELECTED_BACK] = GetSysColor(COLOR_HIGHLIGHT);
    m_colors[PGC_SELECTED_TEXT] = GetSysColor(COLOR_HIGHLIGHTTEXT);
    m_colors[PGC_ERROR_BACK] = 0x00FFFF;
    m_colors[PGC_ERROR_TEXT] = 0x0000FF;
    m_colors[PGC_READ_ONLY_BACK] = GetSysColor(COLOR_WINDOW);
    m_colors[PGC_READ_ONLY_TEXT] = GetSysColor(COLOR_GRAYTEXT);
    std::fill(std::begin(m_cellTypes), std::end(m_cellTypes), -1);
}

CPropertyGrid::~CPropertyGrid() {
    if (IsEditing()) smInEdit = false;
}

COLORREF CPropertyGrid::GetColor(ETPropertyGridColor role) const {
    return role >= 0 && role < PGC_COLOR_COUNT ? m_colors[role] : 0;
}

void CPropertyGrid::SetColor(ETPropertyGridColor role, COLORREF color) {
    if (role >= 0 && role < PGC_COLOR_COUNT) m_colors[role] = color;
}

int CPropertyGrid::GetCellTypeIndex(ETUGCellType type) const {
    return type >= 0 && type < UGCT_TYPE_COUNT ? m_cellTypes[type] : -1;
}

void CPropertyGrid::SetGroup(CPropertyGroup* group, int force) {
    if (group == m_group && !force) return;
    m_group = group;
    if (m_group) OnGroupSetup();
}

int CPropertyGrid::shownRows() const {
    return m_group ? m_group->properties(true) : 0;
}

bool CPropertyGrid::isHintRow(int row) const {
    return m_hintRow && row == shownRows();
}

// ---- Building ----------------------------------------------------------------------------

void CPropertyGrid::OnSetup() {
    static constexpr const char* kTypeNames[UGCT_TYPE_COUNT] = {
        "expand box", "check box", "drop list", "spin button", "ellipsis", "hint"};
    for (int t = 0; t < UGCT_TYPE_COUNT; ++t) m_cellTypes[t] = AddCellType(kTypeNames[t]);
    const LOGFONTA message = ZEVGdi().MessageFont();
    m_unitsEdit.SetupControl(kUnitsEditId, nullptr, UNIT_UNITLESS, UNIT_RANGE_ANY);
    m_unitsEdit.EnableWindow(true);
    m_normalFont = AddFont(message);
    LOGFONTA bold = message;
    bold.lfWeight = FW_BOLD;
    m_boldFont = AddFont(bold);
    LOGFONTA title = message;
    title.lfHeight -= 2;
    m_titleFont = AddFont(title);
    SetDefFont(m_normalFont);
    m_errorWindow.Init(nullptr);
    SetSH_Width(0);
    SetCurrentCellMode(2);
    EnableExcelBorders(true);
    UseHints(true);
    OnGroupSetup();
}

void CPropertyGrid::OnGroupSetup() {
    if (!m_group) return;
    SetupFlag flag(smInGroupSetup);
    m_group->reset();
    const int rows = m_group->properties(true);
    bool headers = false;
    for (int row = 0; row < rows; ++row) {
        const CBaseProperty* p = m_group->property(row, true);
        if (p && p->header_items() > 0) headers = true;
    }
    const int cols = headers ? 3 : 2;
    UnjoinAll();
    for (int col = 0; col < GetNumberCols(); ++col) {
        for (int row = -1; row < GetNumberRows(); ++row) DeleteCell(col, row);
    }
    SetNumberRows(rows + (m_hintRow ? 1 : 0));
    SetNumberCols(cols);
    if (cols == 3) {
        SetColWidth(0, GetRowHeight(0));
        CUGCell box;
        box.SetReadOnly(true);
        SetColDefault(0, &box);
    }
    JoinCells(0, -1, cols - 1, -1);
    SetTH_Height(m_showTitle ? GetRowHeight(0) * 5 / 4 : 0);
    CUGCell nameDefault;
    nameDefault.SetFont(m_normalFont);
    SetColDefault(GetNameColumn(), &nameDefault);
    ColorsHaveChanged();
    CUGCell title;
    GetCell(0, -1, &title);
    title.SetText(m_group->name());
    title.SetFont(m_titleFont);
    SetCell(0, -1, &title);
    for (int row = 0; row < rows; ++row) {
        if (const CBaseProperty* p = m_group->property(row, true)) p->setup(*this, row);
    }
    if (m_hintRow) {
        JoinCells(0, rows, cols - 1, rows);
        CUGCell hint;
        hint.SetReadOnly(true);
        hint.SetBackColor(kHintBack);
        hint.SetCellType(m_cellTypes[UGCT_HINT]);
        SetCell(0, rows, &hint);
    }
    RedrawAll();
    OnSize(0, WindowWidth(), WindowHeight());
}

void CPropertyGrid::ColorsHaveChanged() {
    if (GetNumberCols() == 0) return;
    CUGCell title;
    GetCell(0, -1, &title);
    title.SetBackColor(m_colors[PGC_TITLE_BACK]);
    title.SetTextColor(m_colors[PGC_TITLE_TEXT]);
    SetCell(0, -1, &title);
    if (!m_group) return;
    for (int row = 0; row < shownRows(); ++row) {
        const CBaseProperty* p = m_group->property(row, true);
        if (!p || p->header_items() == 0) continue;
        for (int col = 0; col < GetNumberCols(); ++col) {
            CUGCell cell;
            GetCell(col, row, &cell);
            cell.SetBackColor(m_colors[PGC_SECTION_BACK]);
            cell.SetTextColor(m_colors[PGC_SECTION_TEXT]);
            SetCell(col, row, &cell);
        }
    }
    RedrawAll();
}

// ---- Geometry ----------------------------------------------------------------------------

void CPropertyGrid::SizeToFitWindow(ETUGDrawMode mode) {
    const int cols = GetNumberCols();
    if (cols < 2) return;
    const int nameCol = GetNameColumn();
    const int valueCol = GetPropertyColumn();
    if (m_sizeMode == 1) {
        BestFit(nameCol, valueCol);
    } else if (m_sizeMode == 2) {
        const int nameFit = BestFitWidth(nameCol);
        const int valueFit = BestFitWidth(valueCol);
        const int room = WindowWidth() - GetSH_Width() - (cols == 3 ? GetColWidth(0) : 0);
        if (room <= 0 || nameFit + valueFit <= 0) {
            SetColWidth(nameCol, nameFit);
            SetColWidth(valueCol, valueFit);
        } else {
            const long long share = static_cast<long long>(room) * nameFit / (nameFit + valueFit);
            SetColWidth(nameCol, static_cast<int>(share));
            SetColWidth(valueCol, room - static_cast<int>(share));
        }
    }
    if (mode == UG_REDRAW) RedrawAll();
}

void CPropertyGrid::OnSize(UINT, int, int) {
    SizeToFitWindow(UG_NO_REDRAW);
}

void CPropertyGrid::OnAdjustComponentSizes() {
    SizeToFitWindow(UG_NO_REDRAW);
}

int CPropertyGrid::OnCanMove(int, int, int, int newRow) {
    return newRow >= 0 && newRow < GetNumberRows();
}

int CPropertyGrid::OnCanViewMove(int, int, int, int) {
    return 1;
}

COLORREF CPropertyGrid::OnGetDefBackColor(int) {
    return m_colors[PGC_CELL_BACK];
}

// ---- Editing -----------------------------------------------------------------------------

int CPropertyGrid::OnEditStart(int col, int row, CEdit** edit) {
    if (!m_group || col != GetPropertyColumn()) return 0;
    if (!m_group->OnEditStart(*this, row, edit)) return 0;
    smInEdit = true;
    return 1;
}

const char* CPropertyGrid::notify(int col, int row, int msg, long param) {
    const char* message = m_group->OnChangeNotification(*this, col, row, msg, param);
    if (!message && m_group->isDirty()) message = m_group->applyChange(row);
    return message;
}

int CPropertyGrid::OnEditFinish(int col, int row, CEdit*, const char* text, int cancelled) {
    if (!m_group || row < 0 || row >= shownRows() || cancelled) {
        // A cancelled entry changes nothing: the value the row had stays.
        HideErrorMessage();
        RedrawRow(row);
        smInEdit = false;
        return 1;
    }
    if (const char* message = notify(col, row, CN_EDIT_FINISH, reinterpret_cast<long>(text))) {
        DisplayErrorMessage(col, row, message);
        return 0;
    }
    bool rebuild = false;
    CBaseProperty* p = m_group->property(row, true);
    if (p && p->is_reset_after_use()) {
        p->reset();
        p->setup(*this, row);
        rebuild = true;
    }
    const bool dirty = m_group->isDirty();
    HideErrorMessage();
    CloseEdit();
    if (dirty || rebuild) OnGroupSetup();
    smInEdit = false;
    return 1;
}

int CPropertyGrid::OnEditContinue(int oldCol, int oldRow, int* newCol, int* newRow) {
    if (!newCol || !newRow) return 0;
    *newCol = oldCol;
    *newRow = oldRow + 1 < shownRows() ? oldRow + 1 : 0;
    return 1;
}

int CPropertyGrid::OnCellTypeNotify(long, int col, int row, long msg, long param) {
    if (!m_group) return 0;
    if (isHintRow(row)) return 1;
    if (IsEditing() && EditRow() != row && m_errorRow >= 0) return 0;
    const CBaseProperty* p = m_group->property(row, true);
    const bool toggles = p && p->header_items() > 0 && msg == CN_CHECK;
    if (const char* message = notify(col, row, static_cast<int>(msg), param)) {
        DisplayErrorMessage(col, row, message);
        return 0;
    }
    HideErrorMessage();
    if (toggles) m_group->determine_visibility();
    if (toggles || m_group->isDirty()) OnGroupSetup();
    return 1;
}

void CPropertyGrid::DisplayErrorMessage(int col, int row, const char* text) {
    if (col > 0) {
        CUGCell cell;
        GetCell(col - 1, row, &cell);
        cell.SetBackColor(m_colors[PGC_ERROR_BACK]);
        cell.SetTextColor(m_colors[PGC_ERROR_TEXT]);
        SetCell(col - 1, row, &cell);
        RedrawCell(col - 1, row);
    }
    m_errorCol = col;
    m_errorRow = row;
    m_errorWindow.Off();
    RECT rect;
    if (GetCellRect(col, row, &rect)) m_errorWindow.SetPosition(POINT{rect.left, rect.top});
    m_errorWindow.SetText(text);
    m_errorWindow.On();
}

void CPropertyGrid::HideErrorMessage() {
    m_errorWindow.Off();
    if (m_errorCol > 0 && m_errorRow >= 0 && m_errorRow < GetNumberRows()) {
        CUGCell cell;
        GetCell(m_errorCol - 1, m_errorRow, &cell);
        cell.SetBackColor(m_colors[PGC_CELL_BACK]);
        cell.SetTextColor(m_colors[PGC_CELL_TEXT]);
        SetCell(m_errorCol - 1, m_errorRow, &cell);
        RedrawRow(m_errorRow);
    }
    m_errorCol = -100;
    m_errorRow = -100;
}

// ---- Moving, clicks and keys -------------------------------------------------------------

void CPropertyGrid::OnRowChange(int oldRow, int newRow) {
    if (!m_group || shownRows() == 0 || oldRow < 0 || newRow < 0 || oldRow >= shownRows() ||
        !IsCreated())
        return;
    for (const int row : {oldRow, newRow}) {
        const CBaseProperty* p = m_group->property(row, true);
        if (!p || p->header_items() > 0 || dynamic_cast<const CFontProperty*>(p) ||
            dynamic_cast<const CColorProperty*>(p))
            continue;
        for (const int col : {GetNameColumn(), GetPropertyColumn()}) {
            CUGCell cell;
            GetCell(col, row, &cell);
            cell.SetBackColor(m_colors[PGC_CELL_BACK]);
            cell.SetTextColor(m_colors[PGC_CELL_TEXT]);
            SetCell(col, row, &cell);
            RedrawCell(col, row);
        }
    }
}

void CPropertyGrid::OnDClicked(int col, int row, RECT*, POINT*, int) {
    if (!m_group || col <= 0 || row < 0 || row >= shownRows()) return;
    CBaseProperty* p = m_group->property(row, true);
    if (!p || p->header_items() == 0) return;
    p->toggle_expanded();
    m_group->determine_visibility();
    OnGroupSetup();
}

void CPropertyGrid::OnLClicked(int col, int row, int updn, RECT*, POINT*, int) {
    if (updn == 0 && !IsEditing()) StartEdit(col, row, 0);
}

void CPropertyGrid::OnKeyDown(UINT* key, int processed) {
    if (!key || processed || !m_group || shownRows() == 0) return;
    const bool editing = IsEditing();
    const UINT k = *key;
    const int row = GetCurrentRow();
    switch (k) {
        case VK_UP:
            GotoRow(std::max(row - 1, 0));
            return;
        case VK_DOWN:
            GotoRow(std::min(row + 1, shownRows() - 1));
            return;
        case VK_LEFT:
        case VK_RIGHT:
        case VK_TAB:
            if (!editing) GotoRow(std::max(row, 0));
            return;
        case VK_RETURN:
            if (!editing) StartEdit(GetPropertyColumn(), row, 0);
            return;
        case VK_ESCAPE:
            if (editing) {
                m_unitsEdit.SetLastGoodValue();
                FinishEdit(true);
            }
            return;
        default:
            break;
    }
    if (!editing && (k == 45 || k == 46 || (k >= 48 && k <= 57)))
        StartEdit(GetPropertyColumn(), row, static_cast<int>(k));
}

// ---- Help texts --------------------------------------------------------------------------

CString CPropertyGrid::hintFor(int col, int row) const {
    const CBaseProperty* p = m_group ? m_group->property(row, true) : nullptr;
    if (!p) return CString();
    CString text;
    if (p->header_items() < 2) {
        if (col == GetPropertyColumn() && !p->data_help().IsEmpty()) return p->data_help();
        return p->help();
    }
    if (col == 0 && GetNumberCols() == 3) {
        text.Format(
            p->expanded() ? "Click to hide the '%s' section." : "Click to show the '%s' section.",
            p->name().GetString());
    } else if (!p->help().IsEmpty()) {
        text = p->help();
    } else {
        text.Format(p->expanded() ? "Double-click to hide the '%s' section."
                                  : "Double-click to show the '%s' section.",
                    p->name().GetString());
    }
    return text;
}

int CPropertyGrid::OnHint(int col, int row, int, CString* text) {
    if (isHintRow(row)) return 1;
    const CString hint = hintFor(col, row);
    if (text) *text = hint;
    return hint.IsEmpty() ? 0 : 1;
}

void CPropertyGrid::OnCellChange(int, int newCol, int, int newRow) {
    if (!m_hintRow || newRow <= 0) return;
    QuickSetText(0, shownRows(), smInGroupSetup ? CString() : hintFor(newCol, newRow));
}
