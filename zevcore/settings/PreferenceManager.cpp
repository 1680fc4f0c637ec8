#include "zevcore/settings/PreferenceManager.h"

#include <vector>

#include "zevcore/platform/Archive.h"
#include "zevcore/platform/Array.h"
#include "zevcore/platform/Exception.h"
#include "zevcore/platform/Host.h"
#include "zevcore/platform/Registry.h"
#include "zevcore/settings/PreferenceItem.h"

IMPLEMENT_DYNAMIC(CPreferenceManager, CObject)

namespace {

// Closes a key when it goes out of scope; null holds nothing.
class OpenKey {
public:
    OpenKey() = default;
    ~OpenKey() {
        if (m_key) RegCloseKey(m_key);
    }
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;
    HKEY* put() { return &m_key; }
    HKEY get() const { return m_key; }
    explicit operator bool() const { return m_key != nullptr; }

private:
    HKEY m_key = nullptr;
};

bool openForRead(HKEY parent, const char* name, OpenKey& key) {
    return RegOpenKeyExA(parent, name, 0, KEY_READ, key.put()) == ERROR_SUCCESS;
}

bool openForWrite(HKEY parent, const char* name, OpenKey& key) {
    return RegCreateKeyExA(parent, name, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS,
                           nullptr, key.put(), nullptr) == ERROR_SUCCESS;
}

void serializeRecords(CArchive& ar, std::vector<TPreferenceCategory>& records) {
    if (ar.IsStoring()) {
        ar << static_cast<int>(records.size());
        for (const TPreferenceCategory& r : records) {
            ar << r.name << static_cast<int>(r.id) << static_cast<int>(r.members.size());
            for (int m : r.members) ar << m;
        }
        return;
    }
    int count = 0;
    ar >> count;
    records.clear();
    // Grown as read: a count larger than the data ends in endOfFile, not one huge allocation.
    for (int i = 0; i < count; ++i) {
        TPreferenceCategory r;
        int id = 0;
        int members = 0;
        ar >> r.name >> id >> members;
        r.id = static_cast<unsigned int>(id);
        for (int m = 0; m < members; ++m) {
            int member = 0;
            ar >> member;
            r.members.push_back(member);
        }
        records.push_back(std::move(r));
    }
}

}  // namespace

CPreferenceManager::CPreferenceManager(unsigned int imageResource, CString key)
    : m_imageResource(imageResource), m_key(std::move(key)) {}

CPreferenceManager::~CPreferenceManager() {
    for (auto& [key, item] : m_preferences) delete item;
}

int CPreferenceManager::AddCategory(CString name, unsigned int id) {
    m_categories.push_back({std::move(name), id, {}});
    return GetNumCategories() - 1;
}

int CPreferenceManager::AddGroup(CString name, unsigned int id, int category) {
    if (category < 0 || category >= GetNumCategories()) return -1;
    m_groups.push_back({std::move(name), id, {}});
    const int index = static_cast<int>(m_groups.size()) - 1;
    m_categories[static_cast<std::size_t>(category)].members.push_back(index);
    return index;
}

void CPreferenceManager::AddPreference(int key, CPreferenceItem* item, int group) {
    if (group < 0 || group >= static_cast<int>(m_groups.size()) || !item ||
        m_preferences.count(key))
        return;
    m_preferences[key] = item;
    m_groups[static_cast<std::size_t>(group)].members.push_back(key);
}

CPreferenceItem* CPreferenceManager::GetPreference(int key) {
    const auto it = m_preferences.find(key);
    return it == m_preferences.end() ? nullptr : it->second;
}

const TPreferenceCategory* CPreferenceManager::GetCategory(int index) const {
    if (index < 0 || index >= GetNumCategories()) return nullptr;
    return &m_categories[static_cast<std::size_t>(index)];
}

const TPreferenceGroup* CPreferenceManager::GetGroup(int index) const {
    if (index < 0 || index >= static_cast<int>(m_groups.size())) return nullptr;
    return &m_groups[static_cast<std::size_t>(index)];
}

int CPreferenceManager::GetNumGroups(int category) const {
    const TPreferenceCategory* c = GetCategory(category);
    return c ? static_cast<int>(c->members.size()) : 0;
}

int CPreferenceManager::GetNumPreferences(int group) const {
    const TPreferenceGroup* g = GetGroup(group);
    return g ? static_cast<int>(g->members.size()) : 0;
}

CImageList& CPreferenceManager::GetCategoryImageList() {
    if (!m_images.IsCreated()) m_images.Create(m_imageResource, 14, 1, 0xFFFFFF);
    return m_images;
}

int CPreferenceManager::ReadPreferencesFromRegistry() {
    if (!m_initialReadDone) OnInitialRegistryRead();
    OpenKey app;
    const CString path = "Software\\ZEV\\" + m_key;
    if (!openForRead(HKEY_CURRENT_USER, path, app)) return 1;
    bool failed = false;
    for (const TPreferenceCategory& category : m_categories) {
        OpenKey categoryKey;
        if (!openForRead(app.get(), category.name, categoryKey)) continue;
        for (int groupIndex : category.members) {
            const TPreferenceGroup* group = GetGroup(groupIndex);
            OpenKey groupKey;
            if (!group || !openForRead(categoryKey.get(), group->name, groupKey)) continue;
            for (int key : group->members) {
                CPreferenceItem* item = GetPreference(key);
                if (!item) continue;
                DWORD size = 0;
                if (RegQueryValueExA(groupKey.get(), item->GetName(), nullptr, nullptr, nullptr,
                                     &size) != ERROR_SUCCESS)
                    continue;  // not stored yet
                std::vector<unsigned char> data(size + 1u, 0);
                DWORD got = size;
                if (RegQueryValueExA(groupKey.get(), item->GetName(), nullptr, nullptr, data.data(),
                                     &got) != ERROR_SUCCESS) {
                    failed = true;
                    continue;
                }
                item->SetupValueFromRegData(data.data(), got);
            }
        }
    }
    if (!m_initialReadDone) {
        OnInitialRegistryReadFinished();
        m_initialReadDone = 1;
    }
    return failed ? 0 : 1;
}

int CPreferenceManager::WritePreferencesToRegistry() {
    // One transaction: a reader in another process sees all of an accepted change or none,
    // and a writer killed midway leaves the store as it was.
    CZEVSettingsBatch batch;
    OpenKey app;
    const CString path = "Software\\ZEV\\" + m_key;
    if (!openForWrite(HKEY_CURRENT_USER, path, app)) return 0;
    for (const TPreferenceCategory& category : m_categories) {
        OpenKey categoryKey;
        if (!openForWrite(app.get(), category.name, categoryKey)) continue;
        for (int groupIndex : category.members) {
            const TPreferenceGroup* group = GetGroup(groupIndex);
            OpenKey groupKey;
            if (!group || !openForWrite(categoryKey.get(), group->name, groupKey)) continue;
            for (int key : group->members) {
                const CPreferenceItem* item = GetPreference(key);
                if (!item) continue;
                RegSetValueExA(groupKey.get(), item->GetName(), 0, item->GetRegValueType(),
                               item->GetRegData(), item->GetRegDataSize());
            }
        }
    }
    batch.Commit();
    return 1;
}

void CPreferenceManager::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        ar << 2;
        serializeRecords(ar, m_categories);
        serializeRecords(ar, m_groups);
        CArray<int, int> keys;
        for (const auto& [key, item] : m_preferences) keys.Add(key);
        keys.Serialize(ar);
        return;
    }
    int version = 0;
    ar >> version;
    if (version != 1 && version != 2) {
        const char* warning = "Warning:  Unknown version of CPreferenceManager encountered in file";
        ZEVDialogs().MessageBox(nullptr, warning, "Warning", MB_OK);
        throw CArchiveException(CArchiveException::badSchema, nullptr, warning);
    }
    // The shape is read to move past it; the tree stays as the application built it.
    std::vector<TPreferenceCategory> categories;
    std::vector<TPreferenceGroup> groups;
    serializeRecords(ar, categories);
    serializeRecords(ar, groups);
    CArray<int, int> keys;
    keys.Serialize(ar);
    if (version == 1) {
        CObArray items;
        // The old form's items are read and dropped; they own nothing of ours.
        try {
            items.Serialize(ar);
        } catch (...) {
            for (CObject* o : items) delete o;
            throw;
        }
        for (CObject* o : items) delete o;
    }
    OnFinishedLoadingFromSerialize();
}
