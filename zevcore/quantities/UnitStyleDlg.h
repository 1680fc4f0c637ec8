#pragma once

// The decisions of the unit style dialog, apart from any window toolkit. The dialog works on
// a private copy of the style table, of the decimal places and of the feet-and-inches flag,
// and changes nothing until OK. Its controls are a list of the 11 styles, a list of decimal
// places "0" to "7", the "FtIn16ths" check box, and one list of unit labels for each of the
// categories 0 to 25 ("Unitless" and "Linear-Rot-Stiffness" have none: the latter follows
// "Rotational Stiffness").
//
// A widget binding shows the dialog from these functions and feeds the user's choices back;
// it is installed as the runner of Units::customizeDialog. Interface thread only.

#include <cstdint>

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"
#include "zevcore/quantities/Units.h"

namespace Units {

class ZEVCORE_API CUnitStyleDlg {
public:
    /// Opens on the current style, with style changes allowed.
    CUnitStyleDlg();
    /// Opens on `style` (the current one when out of range).
    explicit CUnitStyleDlg(int style);
    CUnitStyleDlg(int style, bool allowStyleChange);
    CUnitStyleDlg(int style, bool allowStyleChange, HWND parent);
    virtual ~CUnitStyleDlg();

    /// Runs the dialog through the installed runner: IDOK after OK, IDCANCEL otherwise.
    int DoModal();

    int Style() const { return m_style; }
    bool StyleListEnabled() const { return m_allowStyleChange; }
    /// Keeps the shown style's selections and shows `style`; ignored when style changes are
    /// not allowed or `style` is out of range.
    void SelectStyle(int style);

    int Decimals() const { return m_decimals; }
    /// 0 to 7; other values are ignored.
    void SetDecimals(int decimals);
    bool FeetInches16ths() const { return m_feetInches; }
    void SetFeetInches16ths(bool on) { m_feetInches = on; }

    /// True for the categories 0 to 25 that may change in the shown style: all in "Custom
    /// Units", only the areas and lengths (2, 3, 7, 8) in a built-in one.
    bool CategoryEnabled(ETUnit u) const;
    /// The index the category's list shows; -1 for a category without a list.
    int Selection(ETUnit u) const;
    /// The user picks unit `index` of `u`; ignored for a disabled list or an index outside
    /// the category's units.
    void Select(ETUnit u, int index);

    /// The dialog's private table entry for style `s` and category `u` (-1 out of range).
    int TableEntry(int s, ETUnit u) const;
    HWND Parent() const { return m_parent; }

    /// Reads the selections back, gives every precision slot the chosen decimals, replaces
    /// the global table with the private one, makes the shown style current, takes the
    /// decimals and the flag, and saves everything under "Software\ZEV\Units2010".
    void OnOK();

private:
    void readBack();
    void showStyle();

    std::int32_t m_table[kStyleCount][kCategoryCount];
    std::int32_t m_selection[UNIT_WARPING_CONSTANT + 1];
    int m_style = 0;
    int m_decimals = 3;
    bool m_feetInches = false;
    bool m_allowStyleChange = true;
    HWND m_parent = nullptr;
};

/// Shows a CUnitStyleDlg modally: the Qt binding installs one. The headless default shows
/// nothing and answers IDCANCEL.
class ZEVCORE_API IUnitStyleDialogRunner {
public:
    virtual ~IUnitStyleDialogRunner();
    /// Runs the dialog until it closes; calls dialog.OnOK() for OK. `app` is the application
    /// object given to customizeDialog, or null. Answers IDOK or IDCANCEL.
    virtual int Run(CUnitStyleDlg& dialog, CWinApp* app) = 0;
};

/// Installs the runner (null puts the headless default back); answers the previous one. The
/// runner must outlive its installation.
ZEVCORE_API IUnitStyleDialogRunner* installUnitStyleDialogRunner(IUnitStyleDialogRunner* runner);

}  // namespace Units
