#include "zevcore/controls/UGCtrl.h"

#include <algorithm>

#include "zevcore/platform/services/Gdi.h"

// ---- CUGCell -----------------------------------------------------------------------------

void CUGCell::SetText(const char* text) {
    m_text = text ? text : "";
    m_set |= kText;
}
void CUGCell::SetLabelText(const char* text) {
    m_label = text ? text : "";
    m_set |= kLabel;
}
void CUGCell::SetNumber(double number) {
    m_number = number;
    m_set |= kNumber;
}
void CUGCell::SetReadOnly(bool readOnly) {
    m_readOnly = readOnly;
    m_set |= kReadOnly;
}
void CUGCell::SetCellType(int type) {
    m_cellType = type;
    m_set |= kType;
}
void CUGCell::SetCellTypeEx(long style) {
    m_cellTypeEx = style;
    m_set |= kTypeEx;
}
void CUGCell::SetFont(int font) {
    m_font = font;
    m_set |= kFont;
}
void CUGCell::SetBackColor(COLORREF color) {
    m_back = color;
    m_set |= kBack;
}
void CUGCell::SetTextColor(COLORREF color) {
    m_textColor = color;
    m_set |= kTextColor;
}
void CUGCell::SetHBackColor(COLORREF color) {
    m_hBack = color;
    m_set |= kHBack;
}
void CUGCell::SetHTextColor(COLORREF color) {
    m_hText = color;
    m_set |= kHText;
}
void CUGCell::SetBorder(short border) {
    m_border = border;
    m_set |= kBorder;
}

void CUGCell::ClearAll() {
    *this = CUGCell();
}

CUGCell CUGCell::Over(const CUGCell& under) const {
    CUGCell c = under;
    if (m_set & kText) c.SetText(m_text);
    if (m_set & kLabel) c.SetLabelText(m_label);
    if (m_set & kNumber) c.SetNumber(m_number);
    if (m_set & kReadOnly) c.SetReadOnly(m_readOnly);
    if (m_set & kType) c.SetCellType(m_cellType);
    if (m_set & kTypeEx) c.SetCellTypeEx(m_cellTypeEx);
    if (m_set & kFont) c.SetFont(m_font);
    if (m_set & kBack) c.SetBackColor(m_back);
    if (m_set & kTextColor) c.SetTextColor(m_textColor);
    if (m_set & kHBack) c.SetHBackColor(m_hBack);
    if (m_set & kHText) c.SetHTextColor(m_hText);
    if (m_set & kBorder) c.SetBorder(m_border);
    return c;
}

// ---- CUGCtrl: structure ------------------------------------------------------------------

CUGCtrl::CUGCtrl() = default;
CUGCtrl::~CUGCtrl() = default;

void CUGCtrl::CreateGrid() {
    if (m_created) return;
    m_created = true;
    OnSetup();
}

bool CUGCtrl::inside(int col, int row) const {
    return col >= 0 && col < m_cols && row >= -1 && row < m_rows;
}

void CUGCtrl::SetNumberRows(int rows) {
    m_rows = std::max(rows, 0);
    std::erase_if(m_cells, [&](const auto& kv) { return kv.first.second >= m_rows; });
    std::erase_if(m_joins, [&](const RECT& j) { return j.bottom >= m_rows; });
    if (m_currentRow >= m_rows) m_currentRow = m_rows - 1;
    ++m_redraws;
}

void CUGCtrl::SetNumberCols(int cols) {
    m_cols = std::max(cols, 0);
    m_colWidths.resize(static_cast<std::size_t>(m_cols), 75);
    std::erase_if(m_cells, [&](const auto& kv) { return kv.first.first >= m_cols; });
    std::erase_if(m_colDefaults, [&](const auto& kv) { return kv.first >= m_cols; });
    std::erase_if(m_joins, [&](const RECT& j) { return j.right >= m_cols; });
    if (m_currentCol >= m_cols) m_currentCol = std::max(m_cols - 1, 0);
    ++m_redraws;
}

bool CUGCtrl::JoinCells(int startCol, int startRow, int endCol, int endRow) {
    if (!inside(startCol, startRow) || !inside(endCol, endRow) || endCol < startCol ||
        endRow < startRow)
        return false;
    for (const RECT& j : m_joins) {
        if (startCol <= j.right && j.left <= endCol && startRow <= j.bottom && j.top <= endRow)
            return false;
    }
    m_joins.push_back(RECT{startCol, startRow, endCol, endRow});
    ++m_redraws;
    return true;
}

RECT CUGCtrl::GetJoinRange(int col, int row) const {
    for (const RECT& j : m_joins) {
        if (j.left <= col && col <= j.right && j.top <= row && row <= j.bottom) return j;
    }
    return RECT{col, row, col, row};
}

void CUGCtrl::UnjoinAll() {
    m_joins.clear();
    ++m_redraws;
}

void CUGCtrl::SetColWidth(int col, int width) {
    if (col < 0 || col >= m_cols) return;
    m_colWidths[static_cast<std::size_t>(col)] = std::max(width, 0);
    ++m_redraws;
}

int CUGCtrl::GetColWidth(int col) const {
    if (col < 0 || col >= m_cols) return 0;
    return m_colWidths[static_cast<std::size_t>(col)];
}

int CUGCtrl::GetRowHeight(int row) const {
    if (row == -1) return m_thHeight;
    return m_rowHeight;
}

void CUGCtrl::SetTH_Height(int height) {
    m_thHeight = std::max(height, 0);
}
void CUGCtrl::SetSH_Width(int width) {
    m_shWidth = std::max(width, 0);
}
void CUGCtrl::SetSH_NumberCols(int cols) {
    m_shCols = std::max(cols, 0);
}

int CUGCtrl::BestFitWidth(int col) const {
    if (col < 0 || col >= m_cols) return 0;
    int widest = 0;
    for (int row = 0; row < m_rows; ++row) {
        const RECT join = GetJoinRange(col, row);
        if (join.left != join.right) continue;  // a joined cell does not size one column
        const CUGCell cell = DrawnCell(col, row);
        const int fontIndex = cell.GetFont() >= 0 ? cell.GetFont() : m_defFont;
        const LOGFONTA* font = GetFont(fontIndex);
        const LOGFONTA fallback = ZEVGdi().MessageFont();
        widest = std::max(widest, ZEVGdi().TextWidth(font ? *font : fallback, cell.GetText()));
    }
    return widest + 2 * 5;
}

void CUGCtrl::BestFit(int startCol, int endCol) {
    for (int col = std::max(startCol, 0); col <= endCol && col < m_cols; ++col)
        SetColWidth(col, BestFitWidth(col));
}

void CUGCtrl::SetWindowSize(int width, int height) {
    m_windowWidth = std::max(width, 0);
    m_windowHeight = std::max(height, 0);
    OnSize(0, m_windowWidth, m_windowHeight);
    OnAdjustComponentSizes();
}

// ---- Cells -------------------------------------------------------------------------------

bool CUGCtrl::GetCell(int col, int row, CUGCell* cell) const {
    if (!cell || !inside(col, row)) return false;
    const auto it = m_cells.find({col, row});
    *cell = it == m_cells.end() ? CUGCell() : it->second;
    return true;
}

bool CUGCtrl::SetCell(int col, int row, const CUGCell* cell) {
    if (!cell || !inside(col, row)) return false;
    m_cells[{col, row}] = *cell;
    ++m_redraws;
    return true;
}

bool CUGCtrl::DeleteCell(int col, int row) {
    if (!inside(col, row)) return false;
    m_cells.erase({col, row});
    ++m_redraws;
    return true;
}

bool CUGCtrl::QuickSetText(int col, int row, const char* text) {
    if (!inside(col, row)) return false;
    m_cells[{col, row}].SetText(text);
    ++m_redraws;
    return true;
}

bool CUGCtrl::GetColDefault(int col, CUGCell* cell) const {
    if (!cell || col < 0 || col >= m_cols) return false;
    const auto it = m_colDefaults.find(col);
    *cell = it == m_colDefaults.end() ? CUGCell() : it->second;
    return true;
}

bool CUGCtrl::SetColDefault(int col, const CUGCell* cell) {
    if (!cell || col < 0 || col >= m_cols) return false;
    m_colDefaults[col] = *cell;
    ++m_redraws;
    return true;
}

CUGCell CUGCtrl::DrawnCell(int col, int row) const {
    CUGCell stored;
    CUGCell base;
    const RECT join = GetJoinRange(col, row);
    GetCell(join.left, join.top, &stored);
    GetColDefault(join.left, &base);
    return stored.Over(base);
}

// ---- Fonts and cell types ----------------------------------------------------------------

int CUGCtrl::AddFont(const LOGFONTA& font) {
    m_fonts.emplace_back(true, font);
    return static_cast<int>(m_fonts.size()) - 1;
}

bool CUGCtrl::RemoveFont(int index) {
    if (index < 0 || index >= static_cast<int>(m_fonts.size())) return false;
    auto& slot = m_fonts[static_cast<std::size_t>(index)];
    if (!slot.first) return false;
    slot.first = false;
    if (m_defFont == index) m_defFont = -1;
    return true;
}

const LOGFONTA* CUGCtrl::GetFont(int index) const {
    if (index < 0 || index >= static_cast<int>(m_fonts.size())) return nullptr;
    const auto& slot = m_fonts[static_cast<std::size_t>(index)];
    return slot.first ? &slot.second : nullptr;
}

bool CUGCtrl::SetDefFont(int index) {
    if (!GetFont(index)) return false;
    m_defFont = index;
    return true;
}

int CUGCtrl::AddCellType(const char* name) {
    m_cellTypes.emplace_back(name ? name : "");
    return static_cast<int>(m_cellTypes.size());
}

CString CUGCtrl::CellTypeName(int index) const {
    if (index < 1 || index > static_cast<int>(m_cellTypes.size())) return CString();
    return m_cellTypes[static_cast<std::size_t>(index - 1)];
}

// ---- Behaviour ---------------------------------------------------------------------------

bool CUGCtrl::StartEdit(int col, int row, int key) {
    if (m_editing || col < 0 || col >= m_cols || row < 0 || row >= m_rows) return false;
    CEdit* edit = &m_defaultEdit;
    if (!OnEditStart(col, row, &edit) || !edit) return false;
    m_editing = true;
    m_editCol = col;
    m_editRow = row;
    m_editWnd = edit;
    if (key > 0 && key < 256) {
        const char first[2] = {static_cast<char>(key), '\0'};
        m_editWnd->SetWindowText(first);
    } else if (m_editWnd == &m_defaultEdit) {
        // A field that a derived grid handed over was prepared by it.
        m_editWnd->SetWindowText(DrawnCell(col, row).GetText());
    }
    ++m_redraws;
    return true;
}

void CUGCtrl::CloseEdit() {
    m_editing = false;
    m_editCol = -1;
    m_editRow = -1;
    m_editWnd = nullptr;
    ++m_redraws;
}

bool CUGCtrl::GotoCell(int col, int row) {
    if (col < 0 || col >= m_cols || row < 0 || row >= m_rows) return false;
    if (!OnCanMove(m_currentCol, m_currentRow, col, row)) return false;
    const int oldCol = m_currentCol;
    const int oldRow = m_currentRow;
    m_currentCol = col;
    m_currentRow = row;
    if (oldRow != row) OnRowChange(oldRow, row);
    if (oldRow != row || oldCol != col) OnCellChange(oldCol, col, oldRow, row);
    ++m_redraws;
    return true;
}

bool CUGCtrl::GotoRow(int row) {
    return GotoCell(m_currentCol, row);
}

bool CUGCtrl::GetCellRect(int col, int row, RECT* rect) const {
    if (!rect || !inside(col, row)) return false;
    const RECT join = GetJoinRange(col, row);
    LONG left = m_shWidth;
    for (int c = 0; c < join.left; ++c) left += GetColWidth(c);
    LONG right = left;
    for (int c = join.left; c <= join.right; ++c) right += GetColWidth(c);
    LONG top = join.top < 0 ? 0 : m_thHeight + join.top * m_rowHeight;
    LONG bottom = join.bottom < 0 ? m_thHeight : m_thHeight + (join.bottom + 1) * m_rowHeight;
    *rect = RECT{left, top, right, bottom};
    return true;
}

// ---- Driving -----------------------------------------------------------------------------

void CUGCtrl::TypeText(const char* text) {
    if (m_editing && m_editWnd) m_editWnd->SetWindowText(text);
}

bool CUGCtrl::FinishEdit(bool cancelled) {
    if (!m_editing) return false;
    // The text is copied: the handler may rebuild the grid and retype the field.
    const CString text = m_editWnd->GetWindowText();
    if (!OnEditFinish(m_editCol, m_editRow, m_editWnd, text, cancelled ? 1 : 0)) return false;
    if (m_editing) CloseEdit();
    return true;
}

int CUGCtrl::NotifyCellType(int col, int row, long msg, long param) {
    if (!inside(col, row)) return 0;
    const long id = DrawnCell(col, row).GetCellType();
    return OnCellTypeNotify(id, col, row, msg, param);
}

void CUGCtrl::Click(int col, int row) {
    if (!inside(col, row)) return;
    if (row >= 0) GotoCell(col, row);
    RECT rect;
    GetCellRect(col, row, &rect);
    POINT point{(rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2};
    OnLClicked(col, row, 1, &rect, &point, 0);
    OnLClicked(col, row, 0, &rect, &point, 0);
}

void CUGCtrl::DoubleClick(int col, int row) {
    if (!inside(col, row)) return;
    RECT rect;
    GetCellRect(col, row, &rect);
    POINT point{(rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2};
    OnDClicked(col, row, &rect, &point, 0);
}

void CUGCtrl::KeyDown(UINT key) {
    OnKeyDown(&key, 0);
}

bool CUGCtrl::Hint(int col, int row, CString& text) {
    if (!m_hints || !inside(col, row)) return false;
    text.Empty();
    return OnHint(col, row, 0, &text) != 0;
}
