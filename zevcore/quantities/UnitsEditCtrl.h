#pragma once

// The decisions of the edit field for a value with units, apart from any window toolkit.
// A widget binding feeds it the field's text, keys and focus changes, and shows what it
// answers: the text, the selection, the colour, the balloon, and where the focus goes. The
// field checks entries through Units::parse and tells its parent window by the message
// ZEV_UNITS_EDIT_CHECKED after each check at loss of focus, through ZEVWindows().
//
// Like all of the library's interface state, this runs on the interface thread only.

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"
#include "zevcore/platform/framework/String.h"
#include "zevcore/platform/framework/Window.h"
#include "zevcore/quantities/Units.h"

/// Sent (wParam and lParam 0) to the field's parent after each check at loss of focus.
inline constexpr UINT ZEV_UNITS_EDIT_CHECKED = 0x8064;

/// The balloon that shows a message beside a field.
class ZEVCORE_API IZEVBalloon {
public:
    virtual ~IZEVBalloon();
    virtual void SetText(const char* text) = 0;
    virtual void On() = 0;
    virtual void Off() = 0;
    virtual bool IsOn() const = 0;
};

/// A balloon that only remembers its text and whether it is up: the default of a field
/// without a window, and what tests look at.
class ZEVCORE_API CZEVBalloonState : public IZEVBalloon {
public:
    void SetText(const char* text) override { m_text = text ? text : ""; }
    void On() override { m_on = true; }
    void Off() override { m_on = false; }
    bool IsOn() const override { return m_on; }
    const CString& Text() const { return m_text; }

private:
    CString m_text;
    bool m_on = false;
};

/// The keys the field acts on.
enum ETUnitsEditKey {
    UEK_TAB,
    UEK_ENTER,
    UEK_ESCAPE,
    UEK_UP,
    UEK_DOWN,
    UEK_F2,
    UEK_OTHER,
};

/// Where the focus goes after a key or a check, for the widget binding to carry out.
enum ETUnitsEditMove {
    UEM_NONE,            // nothing to do
    UEM_KEEP_FOCUS,      // the entry failed: the focus stays on (or returns to) the field
    UEM_PREVIOUS,        // the previous control of the dialog
    UEM_NEXT,            // the next control of the dialog
    UEM_DEFAULT_BUTTON,  // click the dialog's default button, or the button with id 1
    UEM_SHEET_BUTTON,    // the property sheet presses the button SheetButton() names
};

class ZEVCORE_API CUnitsEditCtrl : public CEdit {
public:
    static constexpr COLORREF kRed = 0xFF;
    static constexpr COLORREF kBlack = 0;

    /// `useBalloon` 0 keeps failures out of the balloon (the field still turns red).
    explicit CUnitsEditCtrl(int useBalloon = 1);
    ~CUnitsEditCtrl() override;
    CUnitsEditCtrl(const CUnitsEditCtrl&) = delete;
    CUnitsEditCtrl& operator=(const CUnitsEditCtrl&) = delete;

    // ---- Set-up ----
    /// Takes the dialog item's id and its parent (which receives ZEV_UNITS_EDIT_CHECKED),
    /// the category and `ChangeRange(r)`.
    void SetupControl(unsigned id, HWND parent, ETUnit u, ETUnitRange r);
    /// Takes `r`, except UNIT_RANGE_CUSTOM, which only ChangeRange(a, b) sets.
    void ChangeRange(ETUnitRange r);
    /// A custom range, internal values, in either order.
    void ChangeRange(double a, double b);
    /// Takes `u` and shows the last good value anew.
    void ChangeUnit(ETUnit u);
    /// Another balloon (the widget's own); null puts the built-in state back. Not owned.
    void SetBalloon(IZEVBalloon* balloon);
    IZEVBalloon& Balloon() { return *m_balloon; }
    /// Where the field stands: within a property page, Enter presses a button of the sheet,
    /// 2 if the sheet has a button of id 2, else 1.
    void SetInPropertyPage(bool inPage, bool sheetHasButton2);
    void EnableWindow(bool enable) { m_enabled = enable; }
    bool IsWindowEnabled() const { return m_enabled; }

    // ---- Values ----
    /// Leaves list mode, shows `show(unit, v, UNIT_SHOW)` and keeps that text and v as the
    /// last good ones.
    void SetValue(double v);
    /// Outside list mode, shows the last good value without changing it.
    void SetLastGoodValue();
    /// Empties the text and allows a blank entry from now on.
    void SetGroup();
    /// The internal value of the text; see lastError() for whether it is good. A text equal
    /// to the last good text gives the last good value unparsed, at full precision. In list
    /// mode 0; a blank text in group mode 0 with no error.
    double GetValue();
    /// List mode: the values joined by ", ", then a blank and the current unit's label.
    void SetListValues(int n, const double* v);
    /// The values of a list, each piece parsed with the current label appended when it
    /// holds none; the first error ends it. Answers the count of good values, at most `max`.
    int GetListValues(int max, double* out);
    /// 1 when the entry is good (or the field disabled), else 0. With `show`, a failure shows
    /// its message, turns the text red and clears the selection; without, it is reported
    /// through `err` alone (which may be null).
    int HasValidData(ETUnitError* err, bool show);
    void ShowValueInRed();
    /// A copy of the parser's last message.
    CString ErrorMessage() const;
    int EscapePressed() const { return m_escapePressed; }
    /// Runs the check of the loss of focus now.
    ETUnitsEditMove CallKillFocus();

    // ---- What the widget feeds in ----
    /// The text changed (typed or set): the red goes off and the entry is checked without
    /// keeping anything; a good entry takes the balloon down.
    void SetWindowText(const char* text) override;
    /// A character: false for Tab and Enter, which the field drops; true passes it on.
    bool OnChar(char ch);
    /// A key press.
    ETUnitsEditMove OnKeyDown(ETUnitsEditKey key, bool shift);
    /// The focus left for the control with id `newFocusId` (0 for none or another window);
    /// `toWindow` is false when no window of the application took it.
    ETUnitsEditMove OnKillFocus(bool toWindow, unsigned newFocusId);
    /// The focus arrived: selects the number, or for a wrong unit the unit.
    void OnSetFocus();

    // ---- What the widget shows ----
    const CString& GetWindowText() const override { return m_text; }
    void GetSel(int& start, int& end) const {
        start = m_selStart;
        end = m_selEnd;
    }
    COLORREF TextColor() const { return m_red ? kRed : kBlack; }
    int SheetButton() const { return m_sheetHasButton2 ? 2 : 1; }

    // ---- State ----
    ETUnit Unit() const { return m_unit; }
    ETUnitRange Range() const { return m_range; }
    double LowerLimit() const { return m_lower; }
    double UpperLimit() const { return m_upper; }
    double LastGoodValue() const { return m_lastGoodValue; }
    const CString& LastGoodText() const { return m_lastGoodText; }
    ETUnitError LastError() const { return m_lastError; }
    bool InError() const { return m_inError != 0; }
    bool InListMode() const { return m_listMode != 0; }
    bool InGroupMode() const { return m_groupMode != 0; }

    /// Set while a change of the text is being checked, process-wide.
    static bool smInEdit;

private:
    bool blankInGroup() const;
    /// The check of the loss of focus; UEM_KEEP_FOCUS when the entry failed.
    ETUnitsEditMove checkOnLeaving();
    /// Shows the parser's message in the balloon (unless it is up already).
    void showMessage();
    /// Red text, the message, the caret at the start: a failed entry.
    void markFailed();
    void setText(const CString& text);

    CZEVBalloonState m_ownBalloon;
    IZEVBalloon* m_balloon = &m_ownBalloon;
    int m_groupMode = 0;
    int m_validateOnLeaving = 1;
    int m_red = 0;
    int m_useBalloon = 1;
    double m_lastGoodValue = 0.0;
    int m_escapePressed = 0;
    int m_inError = 0;
    int m_listMode = 0;
    CString m_lastGoodText;
    ETUnitError m_lastError = UNIT_OK;
    ETUnit m_unit = UNIT_LENGTH_SMALL;
    ETUnitRange m_range = UNIT_RANGE_ANY;
    double m_lower = -1e+30;
    double m_upper = 1e+30;
    bool m_notifying = false;

    unsigned m_id = 0;
    HWND m_parent = nullptr;
    bool m_enabled = true;
    bool m_inPropertyPage = false;
    bool m_sheetHasButton2 = false;
    CString m_text;
    int m_selStart = 0;
    int m_selEnd = 0;
};
