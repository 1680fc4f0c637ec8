#pragma once

// The unit style dialog over CUnitStyleDlg: the list of styles, the decimal places, the
// sixteenths box and one list of units for each category. Every choice goes to the logic,
// and the lists show what it answers; OK runs its OnOK.

#include <QDialog>
#include <vector>

#include "zevcore/quantities/UnitStyleDlg.h"

class QCheckBox;
class QComboBox;

class CZEVQtUnitStyleDialog : public QDialog {
    Q_OBJECT
public:
    CZEVQtUnitStyleDialog(Units::CUnitStyleDlg& logic, QWidget* parent = nullptr);

    QComboBox* StyleList() const { return m_style; }
    QComboBox* DecimalsList() const { return m_decimals; }
    QCheckBox* SixteenthsBox() const { return m_sixteenths; }
    /// The list of category `u`; null for a category without one.
    QComboBox* CategoryList(ETUnit u) const;

    void accept() override;

private:
    /// Shows the logic's state in every control.
    void refresh();

    Units::CUnitStyleDlg& m_logic;
    QComboBox* m_style;
    QComboBox* m_decimals;
    QCheckBox* m_sixteenths;
    std::vector<QComboBox*> m_categories;
    bool m_refreshing = false;
};

/// Shows CUnitStyleDlg::DoModal through the dialog above.
class CZEVQtUnitStyleRunner : public Units::IUnitStyleDialogRunner {
public:
    int Run(Units::CUnitStyleDlg& dialog, CWinApp* app) override;
};
