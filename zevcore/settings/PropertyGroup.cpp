#include "zevcore/settings/PropertyGroup.h"

#include "zevcore/settings/BaseProperty.h"
#include "zevcore/settings/PropertyGrid.h"

CPropertyGroup::CPropertyGroup(const char* name) : m_name(name) {}
CPropertyGroup::~CPropertyGroup() = default;

void CPropertyGroup::reset() {
    determine_visibility();
    for (CBaseProperty* p : m_properties) p->clear_dirty_flag();
}

const char* CPropertyGroup::applyChange(int) {
    determine_visibility();
    return nullptr;
}

void CPropertyGroup::add_property(CBaseProperty* property) {
    if (!property) return;
    m_properties.push_back(property);
    m_shown.push_back(property->visible());
    ++m_shownCount;
}

void CPropertyGroup::remove_all_properties(bool destroy) {
    if (destroy) {
        for (CBaseProperty* p : m_properties) delete p;
    }
    m_properties.clear();
    m_shown.clear();
    m_shownCount = 0;
}

int CPropertyGroup::properties(bool shownOnly) const {
    return shownOnly ? m_shownCount : static_cast<int>(m_properties.size());
}

CBaseProperty* CPropertyGroup::property(int index, bool byRow) const {
    if (byRow) index = get_real_index(index);
    if (index < 0 || index >= static_cast<int>(m_properties.size())) return nullptr;
    return m_properties[static_cast<std::size_t>(index)];
}

CBaseProperty* CPropertyGroup::edit_property(int index, bool) const {
    return property(index, true);
}

int CPropertyGroup::get_real_index(int row) const {
    if (row < 0 || row >= static_cast<int>(m_properties.size())) return -1;
    int seen = -1;
    for (std::size_t i = 0; i < m_properties.size(); ++i) {
        if (m_shown[i] && ++seen == row) return static_cast<int>(i);
    }
    return -1;
}

void CPropertyGroup::determine_visibility() {
    m_shownCount = 0;
    int skip = 0;
    int skipped = 0;
    for (std::size_t i = 0; i < m_properties.size(); ++i) {
        const CBaseProperty* p = m_properties[i];
        if (skipped < skip) {
            m_shown[i] = false;
            ++skipped;
            continue;
        }
        if (p->header_items() > 0 && (!p->expanded() || !p->visible())) {
            skip = p->header_items();
            skipped = 0;
        }
        m_shown[i] = p->visible();
        if (m_shown[i]) ++m_shownCount;
    }
}

void CPropertyGroup::toggle_header(int row) {
    CBaseProperty* p = property(row, false);
    if (p && p->header_items() > 0) p->toggle_expanded();
    determine_visibility();
}

bool CPropertyGroup::isDirty() const {
    for (const CBaseProperty* p : m_properties) {
        if (p->dirty()) return true;
    }
    return false;
}

bool CPropertyGroup::OnEditStart(CPropertyGrid& grid, int row, CEdit** edit) {
    CBaseProperty* p = edit_property(row, true);
    if (!p) return false;
    if (edit) {
        if (!p->can_edit_text()) return false;
        p->setup_edit(grid, edit);
    }
    return true;
}

const char* CPropertyGroup::OnChangeNotification(CPropertyGrid& grid, int col, int row, int msg,
                                                 long param) {
    CBaseProperty* p = property(row, true);
    if (!p) return kProgrammerError;
    return p->change_notice(grid, col, row, msg, param);
}
