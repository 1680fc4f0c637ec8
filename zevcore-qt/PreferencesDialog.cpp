#include "zevcore-qt/PreferencesDialog.h"

#include <QDialogButtonBox>
#include <QStackedWidget>
#include <QTabBar>
#include <QVBoxLayout>

#include "zevcore-qt/GridView.h"
#include "zevcore-qt/QtConvert.h"
#include "zevcore-qt/QtHost.h"
#include "zevcore/settings/PreferenceManager.h"

CZEVQtPreferencesDialog::CZEVQtPreferencesDialog(CPreferenceManager& manager, QWidget* parent)
    : QDialog(parent),
      m_manager(manager),
      m_tabs(new QTabBar(this)),
      m_pages(new QStackedWidget(this)) {
    setObjectName("zevPreferences");
    setWindowTitle(tr("Preferences"));
    m_window.m_hWnd = CZEVQtWindows::HandleOf(this);
    m_logic = std::make_unique<CPreferencesDlg>(manager, &m_window);
    m_logic->SetPlaceholderRect(RECT{0, 0, 460, 320});
    m_logic->OnInitDialog();
    for (int tab = 0; tab < m_logic->GetTabCount(); ++tab) {
        m_tabs->addTab(zevqt::toQString(m_logic->GetTabName(tab)));
        auto* view = new CZEVQtGridView(*m_logic->GetGrid(tab), m_pages);
        view->setObjectName(QString("zevPreferencesGrid%1").arg(tab));
        m_pages->addWidget(view);
        m_views.push_back(view);
    }
    connect(m_tabs, &QTabBar::currentChanged, this, [this](int tab) { SelectTab(tab); });
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::accept);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_tabs);
    layout->addWidget(m_pages, 1);
    layout->addWidget(buttons);
    resize(500, 400);
    if (m_logic->GetTabCount() > 0) SelectTab(0);
}

CZEVQtPreferencesDialog::~CZEVQtPreferencesDialog() {
    // The views go before the grids they show.
    for (CZEVQtGridView* view : m_views) delete view;
    m_views.clear();
}

CZEVQtGridView* CZEVQtPreferencesDialog::View(int tab) const {
    return tab >= 0 && static_cast<size_t>(tab) < m_views.size() ? m_views[static_cast<size_t>(tab)]
                                                                 : nullptr;
}

void CZEVQtPreferencesDialog::SelectTab(int tab) {
    if (tab < 0 || tab >= m_logic->GetTabCount()) return;
    m_logic->SelectTab(tab);
    if (m_tabs->currentIndex() != tab) m_tabs->setCurrentIndex(tab);
    m_pages->setCurrentIndex(tab);
    m_views[static_cast<size_t>(tab)]->Refresh();
}

void CZEVQtPreferencesDialog::done(int result) {
    // An entry still open is finished first, as leaving the grid would.
    for (CZEVQtGridView* view : m_views)
        if (view->Model().IsEditing()) view->Model().FinishEdit(false);
    m_manager.WritePreferencesToRegistry();
    QDialog::done(result);
}
