#pragma once

// The preferences dialog: a tab a category of the manager, each a grid view over the
// category's CPreferencesGrid. Edits are committed by the grids as they are accepted;
// closing the dialog saves them to the settings store.

#include <QDialog>
#include <memory>
#include <vector>

#include "zevcore/platform/framework/Window.h"
#include "zevcore/settings/PreferencesGrid.h"

class QTabBar;
class QStackedWidget;
class CZEVQtGridView;
class CPreferenceManager;

class CZEVQtPreferencesDialog : public QDialog {
    Q_OBJECT
public:
    CZEVQtPreferencesDialog(CPreferenceManager& manager, QWidget* parent = nullptr);
    ~CZEVQtPreferencesDialog() override;

    CPreferencesDlg& Logic() { return *m_logic; }
    QTabBar* Tabs() const { return m_tabs; }
    /// The view of a tab; null out of range.
    CZEVQtGridView* View(int tab) const;
    void SelectTab(int tab);

    /// Saves the committed values (every tab's) to the settings store.
    void done(int result) override;

private:
    CPreferenceManager& m_manager;
    CWnd m_window;
    std::unique_ptr<CPreferencesDlg> m_logic;
    QTabBar* m_tabs;
    QStackedWidget* m_pages;
    std::vector<CZEVQtGridView*> m_views;
};
