#include "zevcore/settings/PreferencesGrid.h"

#include "zevcore/settings/BaseProperty.h"
#include "zevcore/settings/PreferenceItem.h"
#include "zevcore/settings/PreferenceManager.h"

CPreferencesGrid::CPreferencesGrid(CPreferenceManager* manager, int category)
    : CPropertyGroup("Name you'll never see"), m_manager(manager), m_category(category) {
    SetShowTitle(false);
    SetSH_NumberCols(0);
    SetGroup(this, 0);
    if (m_manager) LoadPreferenceItems();
}

CPreferencesGrid::~CPreferencesGrid() {
    // The items own their properties: the list must not delete them.
    remove_all_properties(false);
}

template <typename Each>
void CPreferencesGrid::forEachItem(Each each) {
    if (!m_manager) return;
    const TPreferenceCategory* category = m_manager->GetCategory(m_category);
    if (!category) return;
    for (int groupIndex : category->members) {
        const TPreferenceGroup* group = m_manager->GetGroup(groupIndex);
        if (!group) continue;
        for (int key : group->members) {
            if (CPreferenceItem* item = m_manager->GetPreference(key)) each(*item);
        }
    }
}

void CPreferencesGrid::SetPrefSource(CPreferenceManager* manager, int category) {
    if (!manager || category < 0 || category >= manager->GetNumCategories()) return;
    if (manager == m_manager && category == m_category) return;
    m_manager = manager;
    m_category = category;
    LoadPreferenceItems();
    if (IsCreated()) OnGroupSetup();
}

void CPreferencesGrid::CleanupHeaderItems() {
    m_headers.clear();
}

void CPreferencesGrid::LoadPreferenceItems() {
    remove_all_properties(false);
    CleanupHeaderItems();
    const TPreferenceCategory* category = m_manager ? m_manager->GetCategory(m_category) : nullptr;
    if (!category) return;
    for (int groupIndex : category->members) {
        const TPreferenceGroup* group = m_manager->GetGroup(groupIndex);
        if (!group) continue;
        m_headers.push_back(std::make_unique<CBaseProperty>(
            group->name, m_manager->GetNumPreferences(groupIndex), true, CString()));
        add_property(m_headers.back().get());
        for (int key : group->members) {
            if (CPreferenceItem* item = m_manager->GetPreference(key))
                add_property(item->GetProperty());
        }
    }
}

void CPreferencesGrid::reset() {
    forEachItem([](CPreferenceItem& item) { item.PutValueInPropGridItem(); });
    CPropertyGroup::reset();
}

const char* CPreferencesGrid::applyChange(int row) {
    forEachItem([](CPreferenceItem& item) { item.GetValueFromPropGridItem(); });
    OnPreferencesApplied();
    CPropertyGroup::applyChange(row);
    return nullptr;
}

// ---- CPreferencesDlg ---------------------------------------------------------------------

CPreferencesDlg::CPreferencesDlg(CPreferenceManager& manager, CWnd* parent)
    : m_manager(manager), m_parent(parent) {}

CPreferencesDlg::~CPreferencesDlg() = default;

RECT CPreferencesDlg::GridRect() const {
    RECT r = m_placeholder;
    r.left += 3 + 1;
    r.top += 3 + 1;
    r.right += -3 + 1;
    r.bottom += -3 + 1;
    return r;
}

bool CPreferencesDlg::OnInitDialog() {
    CImageList& images = m_manager.GetCategoryImageList();
    m_tabs.clear();
    m_grids.clear();
    const RECT rect = GridRect();
    for (int c = 0; c < m_manager.GetNumCategories(); ++c) {
        Tab tab;
        tab.name = m_manager.GetCategory(c)->name;
        tab.image = c < images.GetImageCount() ? c : -1;
        m_tabs.push_back(tab);
        auto grid = std::make_unique<CPreferencesGrid>(&m_manager, c);
        grid->CreateGrid();
        grid->SetWindowSize(rect.right - rect.left, rect.bottom - rect.top);
        m_grids[c] = std::move(grid);
    }
    m_currentTab = m_tabs.empty() ? -1 : 0;
    OnTabChange();
    return true;
}

void CPreferencesDlg::OnTabChange() {
    for (Tab& tab : m_tabs) tab.shown = false;
    CPreferencesGrid* grid = GetGrid(m_currentTab);
    if (!grid) return;
    m_tabs[static_cast<std::size_t>(m_currentTab)].shown = true;
    grid->OnGroupSetup();
    grid->RedrawAll();
}

void CPreferencesDlg::SelectTab(int tab) {
    if (tab < 0 || tab >= GetTabCount() || tab == m_currentTab) return;
    m_currentTab = tab;
    OnTabChange();
}

const CString& CPreferencesDlg::GetTabName(int tab) const {
    static const CString none;
    return tab >= 0 && tab < GetTabCount() ? m_tabs[static_cast<std::size_t>(tab)].name : none;
}

int CPreferencesDlg::GetTabImage(int tab) const {
    return tab >= 0 && tab < GetTabCount() ? m_tabs[static_cast<std::size_t>(tab)].image : -1;
}

CPreferencesGrid* CPreferencesDlg::GetGrid(int tab) const {
    const auto it = m_grids.find(tab);
    return it == m_grids.end() ? nullptr : it->second.get();
}

bool CPreferencesDlg::IsGridShown(int tab) const {
    return tab >= 0 && tab < GetTabCount() && m_tabs[static_cast<std::size_t>(tab)].shown;
}
