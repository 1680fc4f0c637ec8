#include "zevcore/quantities/UnitsEditCtrl.h"

#include <algorithm>

#include "zevcore/platform/services/Host.h"

bool CUnitsEditCtrl::smInEdit = false;

namespace {

// A list holds at most this many values when the field checks it itself.
constexpr int kListRoom = 100;

}  // namespace

IZEVBalloon::~IZEVBalloon() = default;

CUnitsEditCtrl::CUnitsEditCtrl(int useBalloon) : m_useBalloon(useBalloon) {}

CUnitsEditCtrl::~CUnitsEditCtrl() = default;

void CUnitsEditCtrl::SetupControl(unsigned id, HWND parent, ETUnit u, ETUnitRange r) {
    m_id = id;
    m_parent = parent;
    m_unit = u;
    ChangeRange(r);
}

void CUnitsEditCtrl::ChangeRange(ETUnitRange r) {
    if (r != UNIT_RANGE_CUSTOM) m_range = r;
}

void CUnitsEditCtrl::ChangeRange(double a, double b) {
    m_lower = std::min(a, b);
    m_upper = std::max(a, b);
    m_range = UNIT_RANGE_CUSTOM;
}

void CUnitsEditCtrl::ChangeUnit(ETUnit u) {
    m_unit = u;
    SetLastGoodValue();
}

void CUnitsEditCtrl::SetBalloon(IZEVBalloon* balloon) {
    m_balloon = balloon ? balloon : &m_ownBalloon;
}

void CUnitsEditCtrl::SetInPropertyPage(bool inPage, bool sheetHasButton2) {
    m_inPropertyPage = inPage;
    m_sheetHasButton2 = sheetHasButton2;
}

void CUnitsEditCtrl::SetValue(double v) {
    m_listMode = 0;
    m_lastGoodValue = v;
    SetLastGoodValue();
}

void CUnitsEditCtrl::SetLastGoodValue() {
    if (m_listMode) return;
    // The shown text stands for the value itself, so reading it back later gives the value
    // at full precision rather than what the text rounds it to.
    m_lastGoodText = Units::show(m_unit, m_lastGoodValue, UNIT_SHOW);
    setText(m_lastGoodText);
}

void CUnitsEditCtrl::SetGroup() {
    setText("");
    m_groupMode = 1;
}

bool CUnitsEditCtrl::blankInGroup() const {
    if (!m_groupMode) return false;
    CString trimmed = m_text;
    return trimmed.Trim().IsEmpty();
}

double CUnitsEditCtrl::GetValue() {
    if (m_listMode) return 0.0;
    if (blankInGroup()) {
        m_lastError = UNIT_OK;
        return 0.0;
    }
    if (m_text == m_lastGoodText) {
        m_lastError = UNIT_OK;
        m_inError = 0;
        return m_lastGoodValue;
    }
    double value = m_range == UNIT_RANGE_CUSTOM
                       ? Units::parseRange(m_unit, m_text, m_lower, m_upper)
                       : Units::parse(m_unit, m_text, m_range);
    m_lastError = Units::lastParseError();
    if (m_lastError != UNIT_OK) {
        m_inError = 1;
    } else if (!smInEdit) {
        m_lastGoodValue = value;
        m_lastGoodText = m_text;
        m_inError = 0;
    }
    return value;
}

void CUnitsEditCtrl::SetListValues(int n, const double* v) {
    m_listMode = 1;
    CString text;
    for (int i = 0; v && i < n; ++i) {
        if (i > 0) text += ", ";
        text += Units::show(m_unit, v[i], UNIT_HIDE);
    }
    text += " ";
    text += Units::showUnit(m_unit);
    setText(text);
}

int CUnitsEditCtrl::GetListValues(int max, double* out) {
    m_lastError = UNIT_OK;
    if (blankInGroup()) return 0;
    int good = 0;
    int start = 0;
    while (out && good < max && start <= m_text.GetLength()) {
        int comma = m_text.Find(',', start);
        int end = comma < 0 ? m_text.GetLength() : comma;
        CString piece = m_text.Mid(start, end - start);
        start = end + 1;
        // One label at the end of the list serves for all: a piece without a label of its
        // own (past its first character) gets the current one.
        bool labelled = false;
        for (int i = 0; i < Units::units(m_unit) && !labelled; ++i)
            labelled = piece.Find(Units::unitLabel(m_unit, i)) > 0;
        if (!labelled) {
            piece += " ";
            piece += Units::showUnit(m_unit);
        }
        double value = Units::parse(m_unit, piece, UNIT_RANGE_ANY);
        m_lastError = Units::lastParseError();
        if (m_lastError != UNIT_OK) break;
        out[good++] = value;
    }
    return good;
}

int CUnitsEditCtrl::HasValidData(ETUnitError* err, bool show) {
    if (!m_enabled) {
        if (err) *err = UNIT_OK;
        return 1;
    }
    if (m_listMode) {
        double values[kListRoom];
        GetListValues(kListRoom, values);
        if (err) *err = m_lastError;
        if (m_lastError == UNIT_OK || !show) return 1;
        m_balloon->Off();
        m_balloon->SetText(ErrorMessage() + " You must supply commas between data in the list.");
        if (m_useBalloon) m_balloon->On();
        return 0;
    }
    GetValue();
    if (err) *err = m_lastError;
    if (m_lastError == UNIT_OK || !show || m_balloon->IsOn()) return 1;
    markFailed();
    return 0;
}

void CUnitsEditCtrl::ShowValueInRed() {
    m_red = 1;
}

CString CUnitsEditCtrl::ErrorMessage() const {
    return Units::lastParseMessage();
}

ETUnitsEditMove CUnitsEditCtrl::CallKillFocus() {
    return checkOnLeaving();
}

void CUnitsEditCtrl::SetWindowText(const char* text) {
    setText(text ? text : "");
}

void CUnitsEditCtrl::setText(const CString& text) {
    m_text = text;
    m_selStart = m_selEnd = 0;
    m_red = 0;
    // Checked as it is typed, keeping nothing: only the balloon learns that it is good now.
    smInEdit = true;
    if (m_listMode) {
        double values[kListRoom];
        GetListValues(kListRoom, values);
    } else {
        GetValue();
    }
    smInEdit = false;
    if (m_lastError == UNIT_OK && m_balloon->IsOn()) m_balloon->Off();
}

bool CUnitsEditCtrl::OnChar(char ch) {
    return ch != '\t' && ch != '\r' && ch != '\n';
}

void CUnitsEditCtrl::showMessage() {
    if (m_balloon->IsOn() || !m_useBalloon) return;
    m_balloon->SetText(Units::lastParseMessage());
    m_balloon->On();
}

void CUnitsEditCtrl::markFailed() {
    showMessage();
    m_selStart = m_selEnd = 0;
    m_red = 1;
}

ETUnitsEditMove CUnitsEditCtrl::checkOnLeaving() {
    if (blankInGroup()) return UEM_NONE;
    ETUnitsEditMove move = UEM_NONE;
    if (!m_validateOnLeaving) {
        m_balloon->Off();
    } else {
        if (m_listMode) {
            double values[kListRoom];
            GetListValues(kListRoom, values);
        } else {
            GetValue();
        }
        if (m_lastError != UNIT_OK) {
            markFailed();
            move = UEM_KEEP_FOCUS;
        }
    }
    m_validateOnLeaving = 1;
    if (!m_notifying) {
        m_notifying = true;
        ZEVWindows().SendMessage(m_parent, ZEV_UNITS_EDIT_CHECKED, 0, 0);
        m_notifying = false;
    }
    return move;
}

ETUnitsEditMove CUnitsEditCtrl::OnKeyDown(ETUnitsEditKey key, bool shift) {
    switch (key) {
        case UEK_F2: {
            // Re-formats what was typed, keeping the last good value as it was.
            double values[kListRoom];
            int count = 0;
            double value = 0.0;
            smInEdit = true;
            if (m_listMode)
                count = GetListValues(kListRoom, values);
            else
                value = GetValue();
            smInEdit = false;
            if (m_lastError != UNIT_OK) {
                m_red = 1;
                showMessage();
                return UEM_KEEP_FOCUS;
            }
            m_balloon->Off();
            if (m_listMode)
                SetListValues(count, values);
            else
                setText(Units::show(m_unit, value, UNIT_SHOW));
            return UEM_NONE;
        }
        case UEK_ESCAPE:
            m_escapePressed = 1;
            SetLastGoodValue();
            m_balloon->Off();
            return checkOnLeaving();
        case UEK_TAB:
        case UEK_ENTER:
        case UEK_UP:
        case UEK_DOWN:
            if (m_balloon->IsOn()) return UEM_NONE;
            m_balloon->Off();
            if (checkOnLeaving() == UEM_KEEP_FOCUS) return UEM_KEEP_FOCUS;
            if (key == UEK_ENTER) return m_inPropertyPage ? UEM_SHEET_BUTTON : UEM_DEFAULT_BUTTON;
            return key == UEK_UP || (key == UEK_TAB && shift) ? UEM_PREVIOUS : UEM_NEXT;
        default:
            return UEM_NONE;
    }
}

ETUnitsEditMove CUnitsEditCtrl::OnKillFocus(bool toWindow, unsigned newFocusId) {
    if (toWindow && (newFocusId == IDCANCEL || m_escapePressed)) m_validateOnLeaving = 0;
    return checkOnLeaving();
}

void CUnitsEditCtrl::OnSetFocus() {
    int length = m_text.GetLength();
    int blank = m_text.Find(' ');
    m_selStart = 0;
    m_selEnd = length;
    if (m_lastError == UNIT_BAD_UNIT) {
        if (blank >= 0 && blank + 1 < length) m_selStart = blank + 1;  // the unit
    } else if (m_lastError == UNIT_OK || m_lastError == UNIT_BAD_VALUE ||
               m_lastError == UNIT_OUT_OF_RANGE) {
        if (blank > 0) m_selEnd = blank;  // the number
    }
}
