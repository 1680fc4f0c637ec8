#pragma once

// The preferences of one category shown in a property grid: a section a group, a row an
// item. Each accepted edit is committed at once to every item of the category (there is no
// staging beyond the single edit), so closing the dialog never undoes anything; the
// application saves with CPreferenceManager::WritePreferencesToRegistry.
//
// CPreferencesDlg is the dialog's logic: a tab a category, each with its grid, for a
// binding to show.

#include <map>
#include <memory>
#include <vector>

#include "zevcore/Export.h"
#include "zevcore/platform/framework/Window.h"
#include "zevcore/settings/PropertyGrid.h"
#include "zevcore/settings/PropertyGroup.h"

class CPreferenceManager;

class ZEVCORE_API CPreferencesGrid : public CPropertyGrid, public CPropertyGroup {
public:
    /// Loads the category when `manager` is given.
    CPreferencesGrid(CPreferenceManager* manager, int category);
    ~CPreferencesGrid() override;

    /// Needs a manager and one of its categories; does nothing unless one of them changes.
    void SetPrefSource(CPreferenceManager* manager, int category);
    CPreferenceManager* GetManager() const { return m_manager; }
    int GetCategory() const { return m_category; }

    /// Committed values into the rows, then the group's reset.
    void reset() override;
    /// Every row's value committed, OnPreferencesApplied, then the group's applyChange.
    const char* applyChange(int row) override;
    /// After each commit, for the application (saving, redrawing what depends on it).
    virtual void OnPreferencesApplied() {}

protected:
    void LoadPreferenceItems();
    void CleanupHeaderItems();

private:
    template <typename Each>
    void forEachItem(Each each);

    CPreferenceManager* m_manager = nullptr;
    int m_category = -1;
    std::vector<std::unique_ptr<CBaseProperty>> m_headers;
};

class ZEVCORE_API CPreferencesDlg {
public:
    /// The control whose rectangle the grids take.
    static constexpr unsigned kPlaceholderId = 7501;

    CPreferencesDlg(CPreferenceManager& manager, CWnd* parent);
    ~CPreferencesDlg();
    CPreferencesDlg(const CPreferencesDlg&) = delete;
    CPreferencesDlg& operator=(const CPreferencesDlg&) = delete;

    /// The placeholder's rectangle in the dialog, as the binding laid it out.
    void SetPlaceholderRect(RECT rect) { m_placeholder = rect; }
    /// Makes a tab and a grid per category and shows the first.
    bool OnInitDialog();
    void OnTabChange();
    /// What the binding calls when the user picks a tab.
    void SelectTab(int tab);

    int GetTabCount() const { return static_cast<int>(m_tabs.size()); }
    int GetCurrentTab() const { return m_currentTab; }
    const CString& GetTabName(int tab) const;
    int GetTabImage(int tab) const;
    /// The grid of a tab; null out of range.
    CPreferencesGrid* GetGrid(int tab) const;
    bool IsGridShown(int tab) const;
    /// Where the grids stand: the placeholder less 3 on each side, moved 1 down and right.
    RECT GridRect() const;
    /// The id of a tab's grid window: its category + 1.
    static unsigned GridId(int tab) { return static_cast<unsigned>(tab) + 1u; }
    CWnd* GetParent() const { return m_parent; }

private:
    struct Tab {
        CString name;
        int image = -1;
        bool shown = false;
    };

    CPreferenceManager& m_manager;
    CWnd* m_parent;
    RECT m_placeholder{0, 0, 400, 300};
    std::vector<Tab> m_tabs;
    std::map<int, std::unique_ptr<CPreferencesGrid>> m_grids;
    int m_currentTab = -1;
};
