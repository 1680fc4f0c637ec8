#include "zevcore-qt/UnitStyleDialog.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QVBoxLayout>

#include "zevcore-qt/QtConvert.h"
#include "zevcore/platform/services/Host.h"

CZEVQtUnitStyleDialog::CZEVQtUnitStyleDialog(Units::CUnitStyleDlg& logic, QWidget* parent)
    : QDialog(parent),
      m_logic(logic),
      m_style(new QComboBox(this)),
      m_decimals(new QComboBox(this)),
      m_sixteenths(new QCheckBox(tr("Feet and inches to 1/16"), this)) {
    setObjectName("zevUnitStyle");
    setWindowTitle(tr("Units"));
    for (int s = 0; s < Units::kStyleCount; ++s)
        m_style->addItem(zevqt::toQString(Units::UnitStyleName[s]));
    m_style->setEnabled(logic.StyleListEnabled());
    for (int d = 0; d <= 7; ++d) m_decimals->addItem(QString::number(d));
    m_sixteenths->setObjectName("FtIn16ths");

    auto* top = new QFormLayout;
    top->addRow(tr("Style"), m_style);
    top->addRow(tr("Decimal places"), m_decimals);
    top->addRow(QString(), m_sixteenths);

    auto* box = new QGroupBox(tr("Units of each quantity"), this);
    auto* grid = new QGridLayout(box);
    m_categories.assign(UNIT_WARPING_CONSTANT + 1, nullptr);
    for (int u = UNIT_ACCELERATION; u <= UNIT_WARPING_CONSTANT; ++u) {
        auto* list = new QComboBox(box);
        const ETUnit unit = static_cast<ETUnit>(u);
        for (int i = 0; i < Units::units(unit); ++i)
            list->addItem(zevqt::toQString(Units::unitLabel(unit, i)));
        m_categories[static_cast<size_t>(u)] = list;
        const int row = u % 13, column = (u / 13) * 2;
        grid->addWidget(new QLabel(zevqt::toQString(Units::CategoryName[u]), box), row, column);
        grid->addWidget(list, row, column + 1);
        connect(list, &QComboBox::currentIndexChanged, this, [this, unit](int index) {
            if (m_refreshing) return;
            m_logic.Select(unit, index);
            refresh();
        });
    }

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(box);
    layout->addWidget(buttons);

    connect(m_style, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (m_refreshing) return;
        m_logic.SelectStyle(index);
        refresh();
    });
    connect(m_decimals, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (m_refreshing) return;
        m_logic.SetDecimals(index);
        refresh();
    });
    connect(m_sixteenths, &QCheckBox::toggled, this, [this](bool on) {
        if (m_refreshing) return;
        m_logic.SetFeetInches16ths(on);
    });
    refresh();
}

QComboBox* CZEVQtUnitStyleDialog::CategoryList(ETUnit u) const {
    return u >= 0 && static_cast<size_t>(u) < m_categories.size()
               ? m_categories[static_cast<size_t>(u)]
               : nullptr;
}

void CZEVQtUnitStyleDialog::refresh() {
    m_refreshing = true;
    m_style->setCurrentIndex(m_logic.Style());
    m_decimals->setCurrentIndex(m_logic.Decimals());
    m_sixteenths->setChecked(m_logic.FeetInches16ths());
    for (size_t u = 0; u < m_categories.size(); ++u) {
        const ETUnit unit = static_cast<ETUnit>(u);
        m_categories[u]->setCurrentIndex(m_logic.Selection(unit));
        m_categories[u]->setEnabled(m_logic.CategoryEnabled(unit));
    }
    m_refreshing = false;
}

void CZEVQtUnitStyleDialog::accept() {
    m_logic.OnOK();
    QDialog::accept();
}

int CZEVQtUnitStyleRunner::Run(Units::CUnitStyleDlg& dialog, CWinApp*) {
    QWidget* parent = zevqt::liveWidget(dialog.Parent());
    if (!parent) parent = QApplication::activeWindow();
    CZEVQtUnitStyleDialog window(dialog, parent);
    return window.exec() == QDialog::Accepted ? IDOK : IDCANCEL;
}
