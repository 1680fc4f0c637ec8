// zevcore prefs: an application's preferences, read and changed as its preferences dialog
// would, through the settings store.

#include <strings.h>

#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/zevcore/Args.h"
#include "tools/zevcore/Command.h"
#include "tools/zevcore/Output.h"
#include "tools/zevcore/PrefsTree.h"
#include "tools/zevcore/StoreOption.h"
#include "zevcore/platform/Registry.h"
#include "zevcore/platform/framework/Archive.h"
#include "zevcore/platform/framework/Exception.h"
#include "zevcore/platform/framework/File.h"
#include "zevcore/platform/services/Host.h"
#include "zevcore/settings/PreferenceItem.h"
#include "zevcore/settings/PreferenceManager.h"

namespace {

using namespace zevtool;

const char* const kHelp =
    "Usage: zevcore prefs [--app KEY] [--store FILE] list\n"
    "       zevcore prefs [--app KEY] [--store FILE] get NAME\n"
    "       zevcore prefs [--app KEY] [--store FILE] set NAME VALUE\n"
    "       zevcore prefs [--app KEY] [--store FILE] export FILE\n"
    "       zevcore prefs [--app KEY] [--store FILE] import FILE\n"
    "\n"
    "Reads and changes the preferences of the library's applications, stored under\n"
    "HKEY_CURRENT_USER\\Software\\ZEV\\KEY\\CATEGORY\\GROUP. A change is in the store, for\n"
    "every other process, when the command ends; set and import change only what they\n"
    "name, in one transaction, so commands run side by side lose nothing of each other's.\n"
    "\n"
    "list prints each preference as PATH, TAB, KIND, TAB, VALUE, where PATH is\n"
    "CATEGORY\\GROUP\\NAME and a quantity shows in the current unit style. get prints the\n"
    "value alone. NAME is an item's name (case does not matter) or its whole PATH.\n"
    "\n"
    "set checks VALUE as the preferences grid does, with the item's own rules and\n"
    "messages: an integer takes a whole number only; a quantity takes what a units field takes "
    "(\"12'6\\\"\", \"3.5 m\", \"2*6 in\")\n"
    "and is stored in the internal unit; a list takes one of its items, exactly; bools take\n"
    "on/off, yes/no, true/false or 1/0; colours R:r G:g B:b, r,g,b or #rrggbb; fonts\n"
    "\"FACE, SIZE pt[, bold][, italic]\".\n"
    "\n"
    "export writes the preferences in the archive form: the tree's shape, then every item\n"
    "with its value. import reads such a file and stores the values of the items whose key\n"
    "and kind match; the tree itself never changes.\n"
    "\n"
    "Options:\n"
    "  --app KEY     the application's key (default \"ZEVCore Studio\")\n"
    "  --store FILE  use this store file instead of the user's\n"
    "  -h, --help    show this help and exit\n"
    "\n"
    "Exit status: 0 on success, 1 when the store or a file fails (a store that is a folder\n"
    "or no store, a full disk: nothing is changed then), 2 on bad usage or a value the\n"
    "preference refuses.\n";

std::string pathOf(const CPreferenceManager& m, int key) {
    for (int c = 0; c < m.GetNumCategories(); ++c) {
        const TPreferenceCategory* category = m.GetCategory(c);
        for (int g : category->members) {
            const TPreferenceGroup* group = m.GetGroup(g);
            for (int k : group->members) {
                if (k == key) {
                    std::string path = category->name.GetString();
                    path += '\\';
                    path += group->name.GetString();
                    path += '\\';
                    path += m.Preferences().at(key)->GetName().GetString();
                    return path;
                }
            }
        }
    }
    return "";
}

CPreferenceItem& find(const CPreferenceManager& m, const std::string& name) {
    for (const auto& [key, item] : m.Preferences()) {
        if (strcasecmp(item->GetName(), name.c_str()) == 0 ||
            strcasecmp(pathOf(m, key).c_str(), name.c_str()) == 0)
            return *item;
    }
    throw UsageError("no preference named '" + name + "'");
}

int list(const CPreferenceManager& m) {
    for (const auto& [key, item] : m.Preferences())
        std::cout << pathOf(m, key) << '\t' << preferenceKind(*item) << '\t'
                  << showPreference(*item) << '\n';
    return kSuccess;
}

std::string exported(CPreferenceManager& m) {
    CMemFile file;
    CArchive ar(&file, CArchive::store);
    m.Serialize(ar);
    CObArray items;
    for (const auto& [key, item] : m.Preferences()) items.Add(item);
    items.Serialize(ar);
    ar.Close();
    return file.Contents();
}

[[noreturn]] void storeFailed(const char* doing, LSTATUS status) {
    throw std::runtime_error(std::string("the store cannot be ") + doing + ": " +
                             storeStatusText(status) + "; nothing was changed");
}

// Stores what changed and commits the command's transaction; throws when either fails.
void write(CPreferenceManager& m, CZEVSettingsBatch& batch) {
    if (!m.WritePreferencesToRegistry()) storeFailed("written", m.LastStoreStatus());
    if (const LSTATUS committed = batch.Commit(); committed != ERROR_SUCCESS)
        storeFailed("written", committed);
}

// The objects an archive was read into, freed at the end of the scope.
struct ArchivedItems {
    CObArray items;
    ArchivedItems() = default;
    ~ArchivedItems() { DeleteArchivedObjects(items); }
    ArchivedItems(const ArchivedItems&) = delete;
    ArchivedItems& operator=(const ArchivedItems&) = delete;
};

// Reads the preferences archive at `path`: the tree's shape, which is passed over, then the
// items.
void readArchive(const std::string& path, const CString& app, ArchivedItems& read) {
    CFile file;
    CFileException error;
    if (!file.Open(path.c_str(), CFile::modeRead, &error))
        throw std::runtime_error("cannot read '" + path + "': " + error.ErrorMessage().GetString());
    CArchive ar(&file, CArchive::load);
    // The failure is reported once, in the error; the archive's warning box stays silent.
    CZEVHeadlessDialogs quiet;
    quiet.SetQuiet(true);
    struct Restore {
        IZEVDialogService* previous;
        ~Restore() { ZEVInstallDialogs(previous); }
    } restore{ZEVInstallDialogs(&quiet)};
    auto shape = makeStudioPreferences(app);
    try {
        shape->Serialize(ar);
        ReadArchivedPreferences(ar, read.items);
    } catch (const CException& e) {
        throw std::runtime_error("'" + path +
                                 "' holds no preferences: " + e.ErrorMessage().GetString());
    }
}

// Gives the tree's items the values of the archive's items of the same key and kind.
int import(CPreferenceManager& m, const ArchivedItems& read, CZEVSettingsBatch& batch) {
    std::vector<int> keys;
    for (const auto& [key, item] : m.Preferences()) keys.push_back(key);
    int taken = 0;
    for (int i = 0; i < read.items.GetSize() && i < static_cast<int>(keys.size()); ++i) {
        auto* loaded = dynamic_cast<CPreferenceItem*>(read.items[i]);
        CPreferenceItem* mine = m.GetPreference(keys[static_cast<std::size_t>(i)]);
        if (!loaded || !mine || loaded->GetRuntimeClass() != mine->GetRuntimeClass()) continue;
        std::vector<unsigned char> bytes(loaded->GetRegData(),
                                         loaded->GetRegData() + loaded->GetRegDataSize());
        mine->SetupValueFromRegData(bytes.data(), static_cast<DWORD>(bytes.size()));
        ++taken;
    }
    write(m, batch);
    std::cout << "imported " << taken << " of " << keys.size() << " preferences\n";
    return kSuccess;
}

int run(const std::vector<std::string>& args) {
    std::string app = kStudioKey, store;
    const std::vector<std::string> words =
        ArgReader(args).text("--app", app).text("--store", store).parse(3);
    if (words.empty()) throw UsageError("no action given");
    if (app.empty()) throw UsageError("--app needs a key name");
    const std::string& action = words[0];
    const std::size_t wanted = action == "list" ? 1 : action == "set" ? 3 : 2;
    if (action != "list" && action != "get" && action != "set" && action != "export" &&
        action != "import")
        throw UsageError("unknown action '" + action + "'");
    if (words.size() != wanted) throw UsageError("wrong number of arguments for '" + action + "'");

    const StoreOverride storeOverride(store);
    requireReadableStore();

    // What can be refused is refused before the store is touched, so that a command that
    // fails writes nothing, not even an empty store: the value is checked on a tree of
    // defaults (its rules do not depend on what is stored), the archive read whole.
    if (action == "set") {
        auto defaults = makeStudioPreferences(app.c_str());
        CPreferenceItem& item = find(*defaults, words[1]);
        const std::string refused = setPreference(item, words[2]);
        if (!refused.empty()) {
            std::cerr << "zevcore prefs: " << item.GetName().GetString() << ": " << refused << '\n';
            return kUsage;
        }
    }
    ArchivedItems imported;
    if (action == "import") readArchive(words[1], app.c_str(), imported);

    // A change is read, made and written in one transaction: a command run beside this one
    // neither loses its own change to this one nor makes this one lose it.
    std::optional<CZEVSettingsBatch> batch;
    if (action == "set" || action == "import") {
        batch.emplace();
        if (batch->Status() != ERROR_SUCCESS) storeFailed("written", batch->Status());
    }
    auto prefs = makeStudioPreferences(app.c_str());
    if (!prefs->ReadPreferencesFromRegistry() || prefs->LastStoreStatus() != ERROR_SUCCESS)
        storeFailed("read", prefs->LastStoreStatus());
    if (action == "list") return list(*prefs);
    if (action == "get") {
        std::cout << showPreference(find(*prefs, words[1])) << '\n';
        return kSuccess;
    }
    if (action == "set") {
        CPreferenceItem& item = find(*prefs, words[1]);
        // Accepted on the defaults above, and a value's rules do not change with the store.
        if (!setPreference(item, words[2]).empty())
            throw std::logic_error("a value accepted once was refused again");
        write(*prefs, *batch);
        std::cout << showPreference(item) << '\n';
        return kSuccess;
    }
    if (action == "export") {
        writeOutput(words[1], exported(*prefs));
        return kSuccess;
    }
    return import(*prefs, imported, *batch);
}

}  // namespace

ZEV_COMMAND("prefs", "read and change an application's preferences", kHelp, run);
