#include "zevcore/quantities/UnitStyleDlg.h"

#include <algorithm>

#include "zevcore/platform/services/Host.h"
#include "zevcore/quantities/UnitsInternal.hpp"

namespace Units {
namespace {

class HeadlessRunner : public IUnitStyleDialogRunner {
public:
    int Run(CUnitStyleDlg&, CWinApp*) override { return IDCANCEL; }
};

HeadlessRunner gHeadlessRunner;
IUnitStyleDialogRunner* gRunner = &gHeadlessRunner;
CWinApp* gApp = nullptr;  // the application of the dialog being run

bool hasList(int c) {
    return c >= 0 && c <= UNIT_WARPING_CONSTANT;
}

}  // namespace

IUnitStyleDialogRunner::~IUnitStyleDialogRunner() = default;

IUnitStyleDialogRunner* installUnitStyleDialogRunner(IUnitStyleDialogRunner* runner) {
    IUnitStyleDialogRunner* previous = gRunner == &gHeadlessRunner ? nullptr : gRunner;
    gRunner = runner ? runner : &gHeadlessRunner;
    return previous;
}

CUnitStyleDlg::CUnitStyleDlg() : CUnitStyleDlg(-1, true, nullptr) {}

CUnitStyleDlg::CUnitStyleDlg(int style) : CUnitStyleDlg(style, true, nullptr) {}

CUnitStyleDlg::CUnitStyleDlg(int style, bool allowStyleChange)
    : CUnitStyleDlg(style, allowStyleChange, nullptr) {}

CUnitStyleDlg::CUnitStyleDlg(int style, bool allowStyleChange, HWND parent)
    : m_allowStyleChange(allowStyleChange), m_parent(parent) {
    readStyles();
    const detail::SUnitState& s = detail::state();
    std::copy(&s.table[0][0], &s.table[0][0] + kStyleCount * kCategoryCount, &m_table[0][0]);
    m_decimals = s.precision[0];
    m_feetInches = s.feetInches;
    m_style = static_cast<unsigned>(style) < kStyleCount ? style : s.style;
    // A current style out of range (setStyle does not check) opens the dialog on the first.
    if (static_cast<unsigned>(m_style) >= kStyleCount) m_style = UNIT_STYLE_USA;
    showStyle();
}

CUnitStyleDlg::~CUnitStyleDlg() = default;

int CUnitStyleDlg::DoModal() {
    return gRunner->Run(*this, gApp);
}

void CUnitStyleDlg::SelectStyle(int style) {
    if (!m_allowStyleChange || static_cast<unsigned>(style) >= kStyleCount) return;
    readBack();
    m_style = style;
    showStyle();
}

void CUnitStyleDlg::SetDecimals(int decimals) {
    if (decimals >= 0 && decimals <= 7) m_decimals = decimals;
}

bool CUnitStyleDlg::CategoryEnabled(ETUnit u) const {
    if (!hasList(u)) return false;
    return m_style == UNIT_STYLE_CUSTOM || u == UNIT_AREA_SMALL || u == UNIT_AREA_LARGE ||
           u == UNIT_LENGTH_SMALL || u == UNIT_LENGTH_LARGE;
}

int CUnitStyleDlg::Selection(ETUnit u) const {
    return hasList(u) ? m_selection[u] : -1;
}

void CUnitStyleDlg::Select(ETUnit u, int index) {
    if (CategoryEnabled(u) && index >= 0 && index < units(u)) m_selection[u] = index;
}

int CUnitStyleDlg::TableEntry(int s, ETUnit u) const {
    if (static_cast<unsigned>(s) >= kStyleCount || static_cast<unsigned>(u) >= kCategoryCount)
        return -1;
    return m_table[s][u];
}

void CUnitStyleDlg::readBack() {
    for (int c = 0; hasList(c); ++c)
        if (CategoryEnabled(static_cast<ETUnit>(c))) m_table[m_style][c] = m_selection[c];
    // "Linear-Rot-Stiffness" has no list: it follows "Rotational Stiffness", whose units
    // stand in the same order.
    m_table[m_style][UNIT_LINEAR_ROT_STIFFNESS] = m_table[m_style][UNIT_ROTATIONAL_STIFFNESS];
}

void CUnitStyleDlg::showStyle() {
    for (int c = 0; hasList(c); ++c) m_selection[c] = m_table[m_style][c];
}

void CUnitStyleDlg::OnOK() {
    readBack();
    detail::SUnitState& s = detail::state();
    s.feetInches = m_feetInches;
    std::fill(std::begin(s.precision), std::end(s.precision), m_decimals);
    std::copy(&m_table[0][0], &m_table[0][0] + kStyleCount * kCategoryCount, &s.table[0][0]);
    setStyle(static_cast<ETUnitStyle>(m_style), true);
    decimalPlaces(m_decimals);
    detail::saveStyles();
}

int customizeDialog() {
    return customizeDialog(-1, true);
}

int customizeDialog(int style) {
    return customizeDialog(style, true);
}

int customizeDialog(int style, bool allowStyleChange) {
    readStyles();
    CUnitStyleDlg dialog(style, allowStyleChange);
    return dialog.DoModal();
}

int customizeDialog(int style, bool allowStyleChange, CWinApp* app) {
    if (!app) return 0;
    CWinApp* previous = gApp;
    gApp = app;
    int result = customizeDialog(style, allowStyleChange);
    gApp = previous;
    return result;
}

}  // namespace Units
