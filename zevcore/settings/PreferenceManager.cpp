#include "zevcore/settings/PreferenceManager.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <unordered_set>
#include <vector>

#include "zevcore/platform/Registry.h"
#include "zevcore/platform/framework/Archive.h"
#include "zevcore/platform/framework/Array.h"
#include "zevcore/platform/framework/Exception.h"
#include "zevcore/platform/services/Host.h"
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

LSTATUS openForRead(HKEY parent, const char* name, OpenKey& key) {
    return RegOpenKeyExA(parent, name, 0, KEY_READ, key.put());
}

LSTATUS openForWrite(HKEY parent, const char* name, OpenKey& key) {
    return RegCreateKeyExA(parent, name, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS,
                           nullptr, key.put(), nullptr);
}

// A name the store cannot hold fails the one key or value it names, which is skipped; any
// other failure is the store's own and ends the write.
bool isStoreFailure(LSTATUS status) {
    return status != ERROR_SUCCESS && status != ERROR_INVALID_PARAMETER &&
           status != ERROR_BAD_PATHNAME && status != ERROR_ACCESS_DENIED;
}

bool sameBytes(const std::string& synced, const CPreferenceItem& item) {
    const DWORD size = item.GetRegDataSize();
    return synced.size() == size &&
           (size == 0 || std::memcmp(synced.data(), item.GetRegData(), size) == 0);
}

// Records the item's stored form in `synced`, in the room it had (a read of the whole tree
// then allocates nothing for it).
void remember(std::string& synced, const CPreferenceItem& item) {
    const auto* data = reinterpret_cast<const char*>(item.GetRegData());
    synced.assign(data ? data : "", data ? item.GetRegDataSize() : 0);
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

void DeleteArchivedObjects(CObArray& objects) {
    // An archive may refer to one object from several places: each is deleted once.
    std::unordered_set<CObject*> deleted;
    for (CObject* o : objects)
        if (o && deleted.insert(o).second) delete o;
    objects.RemoveAll();
}

void ReadArchivedPreferences(CArchive& ar, CObArray& items) {
    try {
        const std::uint64_t count = ar.ReadCount();
        // Grown as read: a count larger than the data ends in endOfFile, not one huge block.
        for (std::uint64_t i = 0; i < count; ++i)
            items.Add(ar.ReadObject(RUNTIME_CLASS(CPreferenceItem)));
    } catch (...) {
        DeleteArchivedObjects(items);
        throw;
    }
}

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

bool CPreferenceManager::IsValid() const {
    std::vector<int> groupOwners(m_groups.size(), 0);
    for (const TPreferenceCategory& category : m_categories)
        for (int g : category.members) {
            if (g < 0 || g >= static_cast<int>(m_groups.size())) return false;
            ++groupOwners[static_cast<std::size_t>(g)];
        }
    for (int owners : groupOwners)
        if (owners != 1) return false;
    std::map<int, int> itemOwners;
    for (const TPreferenceGroup& group : m_groups)
        for (int key : group.members) {
            if (!m_preferences.count(key)) return false;
            ++itemOwners[key];
        }
    if (itemOwners.size() != m_preferences.size()) return false;
    for (const auto& [key, owners] : itemOwners)
        if (owners != 1 || !m_preferences.at(key)) return false;
    for (const auto& [key, bytes] : m_synced)
        if (!m_preferences.count(key)) return false;
    return true;
}

CImageList& CPreferenceManager::GetCategoryImageList() {
    if (!m_images.IsCreated()) m_images.Create(m_imageResource, 14, 1, 0xFFFFFF);
    return m_images;
}

int CPreferenceManager::ReadPreferencesFromRegistry() {
    if (!m_initialReadDone) OnInitialRegistryRead();
    m_storeStatus = ERROR_SUCCESS;
    // One snapshot: a change another process commits meanwhile is read whole or not at all.
    CZEVSettingsSnapshot snapshot;
    OpenKey app;
    const CString path = "Software\\ZEV\\" + m_key;
    const LSTATUS opened = openForRead(HKEY_CURRENT_USER, path, app);
    if (opened != ERROR_SUCCESS) {
        if (opened == ERROR_FILE_NOT_FOUND) {
            // Nothing stored yet: the defaults are what this manager and the store agree on.
            for (const auto& [key, item] : m_preferences) remember(m_synced[key], *item);
        } else {
            m_storeStatus = opened;
        }
        return 1;
    }
    bool failed = false;
    // One buffer for every value, grown for a larger one; a byte to spare past the data
    // ends a text that was stored without its NUL.
    std::vector<unsigned char> data(256);
    for (const TPreferenceCategory& category : m_categories) {
        OpenKey categoryKey;
        const bool categoryThere =
            openForRead(app.get(), category.name, categoryKey) == ERROR_SUCCESS;
        for (int groupIndex : category.members) {
            const TPreferenceGroup* group = GetGroup(groupIndex);
            OpenKey groupKey;
            const bool groupThere =
                categoryThere && group &&
                openForRead(categoryKey.get(), group->name, groupKey) == ERROR_SUCCESS;
            for (int key : group ? group->members : std::vector<int>()) {
                CPreferenceItem* item = GetPreference(key);
                if (!item) continue;
                if (!groupThere) {
                    remember(m_synced[key], *item);
                    continue;
                }
                // One query for most values; a value larger than the buffer is asked again.
                DWORD got = static_cast<DWORD>(data.size() - 1);
                LSTATUS status = RegQueryValueExA(groupKey.get(), item->GetName(), nullptr, nullptr,
                                                  data.data(), &got);
                if (status == ERROR_MORE_DATA) {
                    data.resize(static_cast<std::size_t>(got) + 1);
                    status = RegQueryValueExA(groupKey.get(), item->GetName(), nullptr, nullptr,
                                              data.data(), &got);
                }
                if (status == ERROR_FILE_NOT_FOUND) {  // not stored yet
                    remember(m_synced[key], *item);
                    continue;
                }
                if (status != ERROR_SUCCESS) {
                    failed = true;
                    m_storeStatus = status;
                    continue;
                }
                data[got] = 0;
                item->SetupValueFromRegData(data.data(), got);
                remember(m_synced[key], *item);
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
    // and a writer killed midway, or a commit that fails, leaves the store as it was.
    CZEVSettingsBatch batch;
    m_storeStatus = batch.Status();
    if (m_storeStatus != ERROR_SUCCESS) return 0;
    OpenKey app;
    const CString path = "Software\\ZEV\\" + m_key;
    if ((m_storeStatus = openForWrite(HKEY_CURRENT_USER, path, app)) != ERROR_SUCCESS) return 0;
    std::vector<int> written;
    for (const TPreferenceCategory& category : m_categories) {
        OpenKey categoryKey;
        LSTATUS status = openForWrite(app.get(), category.name, categoryKey);
        if (isStoreFailure(status)) return m_storeStatus = status, 0;
        if (status != ERROR_SUCCESS) continue;
        for (int groupIndex : category.members) {
            const TPreferenceGroup* group = GetGroup(groupIndex);
            if (!group) continue;
            OpenKey groupKey;
            status = openForWrite(categoryKey.get(), group->name, groupKey);
            if (isStoreFailure(status)) return m_storeStatus = status, 0;
            if (status != ERROR_SUCCESS) continue;
            for (int key : group->members) {
                const CPreferenceItem* item = GetPreference(key);
                if (!item) continue;
                const auto synced = m_synced.find(key);
                if (synced != m_synced.end() && sameBytes(synced->second, *item)) {
                    // Unchanged here since this manager and the store last agreed: what
                    // another process stored since then stays. Only a missing value is put.
                    DWORD size = 0;
                    status = RegQueryValueExA(groupKey.get(), item->GetName(), nullptr, nullptr,
                                              nullptr, &size);
                    if (status == ERROR_SUCCESS) continue;
                    if (status != ERROR_FILE_NOT_FOUND && isStoreFailure(status))
                        return m_storeStatus = status, 0;
                }
                status = RegSetValueExA(groupKey.get(), item->GetName(), 0, item->GetRegValueType(),
                                        item->GetRegData(), item->GetRegDataSize());
                if (isStoreFailure(status)) return m_storeStatus = status, 0;
                if (status == ERROR_SUCCESS) written.push_back(key);
            }
        }
    }
    if ((m_storeStatus = batch.Commit()) != ERROR_SUCCESS) return 0;
    for (int key : written) remember(m_synced[key], *GetPreference(key));
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
        ReadArchivedPreferences(ar, items);
        DeleteArchivedObjects(items);
    }
    OnFinishedLoadingFromSerialize();
}
