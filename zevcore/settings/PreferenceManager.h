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
#include <vector>

#include "zevcore/Export.h"
#include "zevcore/platform/Gdi.h"
#include "zevcore/platform/Object.h"
#include "zevcore/platform/String.h"

class CArchive;
class CPreferenceItem;

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
    int ReadPreferencesFromRegistry();
    /// 0 when the application's key cannot be made, else 1.
    int WritePreferencesToRegistry();
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
};
