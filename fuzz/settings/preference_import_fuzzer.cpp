// Importing preferences from an archive of arbitrary bytes, as `zevcore prefs import` does:
// the manager's shape, then an object array of items, whose values go to the tree's items of
// the same key and kind. Every failure must be an archive exception; every item read must be
// freed once, however often the archive refers to it; and an item read must store and read
// back to the same value.

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "zevcore/platform/framework/Archive.h"
#include "zevcore/platform/framework/Array.h"
#include "zevcore/platform/framework/Exception.h"
#include "zevcore/platform/framework/File.h"
#include "zevcore/platform/services/Host.h"
#include "zevcore/platform/store/SettingsStore.h"
#include "zevcore/quantities/Units.h"
#include "zevcore/settings/PreferenceItem.h"
#include "zevcore/settings/PreferenceManager.h"

namespace {

// One item of every kind, keyed 1 to 10 in the order an export writes them.
CPreferenceManager& tree() {
    static CPreferenceManager* manager = [] {
        auto* m = new CPreferenceManager(0, "Fuzz");
        const int group = m->AddGroup("Group", 0, m->AddCategory("Category", 0));
        CStringArray choices;
        choices.Add("one");
        choices.Add("two");
        LOGFONTA font{};
        font.lfHeight = -12;
        std::strcpy(font.lfFaceName, "Sans");
        m->AddPreference(1, new CBoolPreference("Bool", 0, 1), group);
        m->AddPreference(2, new CColorPreference("Colour", 0, 0x808080), group);
        m->AddPreference(3, new CDoublePreference("Double", 0, 0.5, 0.1, 0.0, 1.0), group);
        m->AddPreference(4, new CFilePreference("File", 0, "a.txt"), group);
        m->AddPreference(5, new CFolderPreference("Folder", 0, "/tmp"), group);
        m->AddPreference(6, new CFontPreference("Font", 0, &font), group);
        m->AddPreference(7, new CIntPreference("Int", 0, 4, 100, 1), group);
        m->AddPreference(8, new CListPreference("List", 0, choices, 1), group);
        m->AddPreference(
            9, new CQuantityPreference("Quantity", 0, UNIT_LENGTH_SMALL, 6.0, 1.0, 0.0, 1e6),
            group);
        m->AddPreference(10, new CStringPreference("String", 0, "text"), group);
        return m;
    }();
    return *manager;
}

std::string storedBytes(const CPreferenceItem& item) {
    const auto* data = reinterpret_cast<const char*>(item.GetRegData());
    return data ? std::string(data, item.GetRegDataSize()) : std::string();
}

// An item stored in its archive form and read again keeps its class and stored value.
void roundTrip(CPreferenceItem& item) {
    CMemFile out;
    {
        CArchive ar(&out, CArchive::store);
        ar << &item;
        ar.Close();
    }
    const std::string bytes = out.Contents();
    CMemFile in(bytes.data(), bytes.size());
    CArchive ar(&in, CArchive::load);
    CObject* again = ar.ReadObject(RUNTIME_CLASS(CPreferenceItem));
    auto* copy = static_cast<CPreferenceItem*>(again);
    if (!copy || copy->GetRuntimeClass() != item.GetRuntimeClass() ||
        storedBytes(*copy) != storedBytes(item))
        __builtin_trap();
    delete again;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CZEVHeadlessDialogs quiet;
    // No settings store: the unit styles read their defaults, and no file of the user's is
    // opened.
    static CZEVFileSettingsStore noStore("");
    static const bool installed = [] {
        quiet.SetQuiet(true);
        ZEVInstallDialogs(&quiet);
        ZEVInstallSettingsStore(&noStore);
        return true;
    }();
    (void)installed;

    CPreferenceManager& m = tree();
    CMemFile file(reinterpret_cast<const char*>(data), size);
    CArchive ar(&file, CArchive::load);
    CObArray items;
    try {
        m.Serialize(ar);
        ReadArchivedPreferences(ar, items);
    } catch (const CException&) {
        return 0;  // the items read so far are freed already
    }
    std::vector<int> keys;
    for (const auto& [key, item] : m.Preferences()) keys.push_back(key);
    for (int i = 0; i < items.GetSize(); ++i) {
        auto* loaded = static_cast<CPreferenceItem*>(items[i]);
        if (!loaded) continue;
        try {
            roundTrip(*loaded);
        } catch (const CException&) {
            __builtin_trap();  // what was read must store and read again
        }
        if (i >= static_cast<int>(keys.size())) continue;
        CPreferenceItem* mine = m.GetPreference(keys[static_cast<std::size_t>(i)]);
        if (!mine || loaded->GetRuntimeClass() != mine->GetRuntimeClass()) continue;
        std::vector<unsigned char> bytes(loaded->GetRegData(),
                                         loaded->GetRegData() + loaded->GetRegDataSize());
        mine->SetupValueFromRegData(bytes.data(), static_cast<DWORD>(bytes.size()));
        // What the grid does with a value it is shown.
        mine->PutValueInPropGridItem();
        mine->GetValueFromPropGridItem();
    }
    DeleteArchivedObjects(items);
    return 0;
}
