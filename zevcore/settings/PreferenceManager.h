#pragma once

// The store of an application's preferences: a tree of categories, groups and items that
// the application builds in code, and the one persistence of their values, the settings
// store. Item `name` of group `G` of category `C` lives at
//
//     HKEY_CURRENT_USER\Software\ZEV\<key>\<C>\<G>   value <name>
//
// in the item's stored form. Values rank: constructor defaults, then what the store holds
// (ReadPreferencesFromRegistry, value by value), then the preferences dialog's accepted
// edits, which WritePreferencesToRegistry saves. An archive records the tree's shape only and
// never changes a value.
//
// Interface thread only.

#include <map>
#include <string>
#include <vector>

#include "zevcore/Export.h"
#include "zevcore/platform/framework/Object.h"
#include "zevcore/platform/framework/String.h"
#include "zevcore/platform/services/Gdi.h"

class CArchive;
class CObArray;
class CPreferenceItem;

/// Deletes the objects an archive's object array was read into, each once however often the
/// archive referred to it, and empties the array.
ZEVCORE_API void DeleteArchivedObjects(CObArray& objects);
/// Reads an object array of preference items in the array's archive form (a count, then the
/// objects). An object of another class is refused with the archive's badClass, so that
/// nothing the caller cannot account for is made; on any failure the items read so far are
/// deleted before the exception goes on.
ZEVCORE_API void ReadArchivedPreferences(CArchive& ar, CObArray& items);

/// A category or a group: its name (also its key in the store), the resource id it was made
/// with, and its members (a category's group indices, a group's preference keys).
struct ZEVCORE_API TPreferenceCategory {
    CString name;
    unsigned int id = 0;
    std::vector<int> members;
};
using TPreferenceGroup = TPreferenceCategory;

class ZEVCORE_API CPreferenceManager : public CObject {
    DECLARE_DYNAMIC(CPreferenceManager)
public:
    /// `key` is the application's key under "Software\ZEV\".
    CPreferenceManager(unsigned int imageResource, CString key);
    /// Deletes every item.
    ~CPreferenceManager() override;
    CPreferenceManager(const CPreferenceManager&) = delete;
    CPreferenceManager& operator=(const CPreferenceManager&) = delete;

    int AddCategory(CString name, unsigned int id);
    /// -1, and no group, for a category out of range.
    int AddGroup(CString name, unsigned int id, int category);
    /// Takes `item` under `key` into `group`. Does nothing (the item stays the caller's) for
    /// a group out of range, a null item or a key that is taken.
    void AddPreference(int key, CPreferenceItem* item, int group);
    CPreferenceItem* GetPreference(int key);
    const TPreferenceCategory* GetCategory(int index) const;
    const TPreferenceGroup* GetGroup(int index) const;
    int GetNumCategories() const { return static_cast<int>(m_categories.size()); }
    int GetNumGroups(int category) const;
    int GetNumPreferences(int group) const;
    /// The categories' images: cells 14 pixels wide, white transparent.
    CImageList& GetCategoryImageList();
    const CString& GetKey() const { return m_key; }
    /// Every item in key order.
    const std::map<int, CPreferenceItem*>& Preferences() const { return m_preferences; }

    /// 1 when every stored value present could be read (or nothing is stored yet), else 0.
    /// The reads are one snapshot of the store.
    int ReadPreferencesFromRegistry();
    /// Stores, in one transaction, each item whose committed value changed since the last
    /// read or write, and each item the store does not hold: a value another process stored
    /// meanwhile for an item unchanged here stays. 1 when that is in the store; 0, with
    /// nothing of it stored, when the store failed (the application's key, the lock, a value
    /// or the commit); a key or value whose name the store cannot hold is skipped.
    int WritePreferencesToRegistry();
    /// What the store answered to the last read or write that failed, ERROR_SUCCESS when it
    /// went through.
    LSTATUS LastStoreStatus() const { return m_storeStatus; }
    /// The tree's rules hold: each group belongs to one category and each item to one group,
    /// every index and key names something there, and what is remembered of the store is
    /// about items there.
    bool IsValid() const;
    void Serialize(CArchive& ar) override;

    virtual void OnInitialRegistryRead() {}
    virtual void OnInitialRegistryReadFinished() {}
    virtual void OnFinishedLoadingFromSerialize() {}

private:
    std::vector<TPreferenceCategory> m_categories;
    std::vector<TPreferenceGroup> m_groups;
    std::map<int, CPreferenceItem*> m_preferences;
    CImageList m_images;
    unsigned int m_imageResource;
    CString m_key;
    int m_initialReadDone = 0;
    // Each item's stored form as this manager and the store last agreed on it (read, found
    // missing, or written): what tells a change made here from one made elsewhere.
    std::map<int, std::string> m_synced;
    LSTATUS m_storeStatus = 0;
};
