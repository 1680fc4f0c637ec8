#include "zevcore/settings/PreferenceItem.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "support/ExpectMessage.h"
#include "support/ScopedStore.h"
#include "zevcore/platform/Registry.h"
#include "zevcore/platform/framework/Archive.h"
#include "zevcore/platform/framework/Array.h"
#include "zevcore/platform/framework/Exception.h"
#include "zevcore/platform/framework/File.h"
#include "zevcore/platform/services/Host.h"
#include "zevcore/settings/PreferenceManager.h"

namespace {

std::string bytesOf(const CPreferenceItem& item) {
    return std::string(reinterpret_cast<const char*>(item.GetRegData()), item.GetRegDataSize());
}

std::string archived(const std::function<void(CArchive&)>& write) {
    CMemFile file;
    CArchive ar(&file, CArchive::store);
    write(ar);
    ar.Close();
    return file.Contents();
}

void load(const std::string& bytes, const std::function<void(CArchive&)>& read) {
    CMemFile file(bytes.data(), bytes.size());
    CArchive ar(&file, CArchive::load);
    read(ar);
}

TEST(PreferenceItem, StoredBytesToTheByte) {
    CBoolPreference flag("Snap", 0, 2);
    EXPECT_EQ(flag.GetRegValueType(), REG_DWORD);
    EXPECT_EQ(bytesOf(flag), std::string("\x02\x00\x00\x00", 4));  // kept as it is
    flag.PutValueInPropGridItem();
    EXPECT_EQ(static_cast<CCheckBoxProperty*>(flag.GetProperty())->state(), CHECK_ON);

    CDoublePreference ratio("Ratio", 0, 0.5, 0.1, 0.0, 1.0);
    EXPECT_EQ(ratio.GetRegValueType(), REG_BINARY);
    EXPECT_EQ(bytesOf(ratio), std::string("\x00\x00\x00\x00\x00\x00\xe0\x3f", 8));

    CStringPreference empty("User", 0, "");
    EXPECT_EQ(empty.GetRegValueType(), REG_SZ);
    EXPECT_EQ(empty.GetRegDataSize(), 1u);
    EXPECT_EQ(bytesOf(CStringPreference("User", 0, "ab")), std::string("ab\0", 3));

    LOGFONTA font{};
    font.lfHeight = -13;
    font.lfWeight = 700;
    std::strcpy(font.lfFaceName, "Mono");
    const std::string f = bytesOf(CFontPreference("Font", 0, &font));
    ASSERT_EQ(f.size(), 60u);
    EXPECT_EQ(f.substr(0, 4), std::string("\xf3\xff\xff\xff", 4));
    EXPECT_EQ(f.substr(16, 4), std::string("\xbc\x02\x00\x00", 4));
    EXPECT_EQ(f.substr(28, 5), std::string("Mono\0", 5));

    EXPECT_EQ(bytesOf(CColorPreference("Back", 0, RGB(1, 2, 3))),
              std::string("\x01\x02\x03\x00", 4));
}

TEST(PreferenceItem, ShortOrUnendedStoredDataIsNeverOverread) {
    CIntPreference count("Count", 0, 7, 10, 0);
    unsigned char two[2] = {1, 1};
    count.SetupValueFromRegData(two, 2);
    EXPECT_EQ(count.GetValue(), 7);
    unsigned char text[3] = {'a', 'b', 'c'};  // no NUL
    CStringPreference name("Name", 0, "");
    name.SetupValueFromRegData(text, 3);
    EXPECT_EQ(name.GetString(), "abc");
}

TEST(PreferenceItem, ConstructionRules) {
    CIntPreference bays("x", 0, 0, 10, 1);  // the upper limit comes first
    auto* p = static_cast<CIntegerProperty*>(bays.GetProperty());
    EXPECT_EQ(p->lower_limit(), 1);
    EXPECT_EQ(p->upper_limit(), 10);
    EXPECT_EQ(p->spin_delta(), 1);

    CBoolPreference flag("Snap", 0, 1);
    auto* box = static_cast<CCheckBoxProperty*>(flag.GetProperty());
    box->state(CHECK_INDETERMINATE);
    flag.GetValueFromPropGridItem();
    EXPECT_EQ(flag.GetValue(), 0);

    CStringArray grades;
    for (const char* g : {"S235", "S275"}) grades.Add(g);
    CListPreference grade("Grade", 0, grades, 1);
    grade.SetSelection(-1);
    grade.SetSelection(2);
    EXPECT_EQ(grade.GetSelection(), 1);
    EXPECT_FALSE(grade.GetProperty()->can_edit_text());
    grade.Disable(1);
    EXPECT_EQ(static_cast<CListProperty*>(grade.GetProperty())->selected_index(), 0);
    EXPECT_EQ(grade.GetSelection(), 1);

    CQuantityPreference span("Span", 0, 120.0, 1.0, 0.0, 1000.0);
    EXPECT_EQ(span.GetProperty(), nullptr);
    span.SetQuantity(UNIT_LENGTH_SMALL);
    ASSERT_NE(span.GetProperty(), nullptr);
    span.PutValueInPropGridItem();
    EXPECT_EQ(static_cast<CPhysicalProperty*>(span.GetProperty())->value(), 120.0);
}

TEST(PreferenceItem, ArchivesRoundTripThroughTheObjectForm) {
    CStringArray grades;
    for (const char* g : {"S235", "S275"}) grades.Add(g);
    LOGFONTA font{};
    font.lfHeight = 11;
    std::strcpy(font.lfFaceName, "Serif");
    CBoolPreference flag("Snap", 3, 1);
    CDoublePreference ratio("Ratio", 4, 0.25, 0.1, 0.0, 1.0);
    CListPreference grade("Grade", 5, grades, 1);
    CQuantityPreference span("Span", 6, UNIT_LENGTH_SMALL, 150.0, 1.0, 0.0, 900.0);
    CFontPreference face("Face", 7, &font);
    CFolderPreference folder("Out", 8, "/srv/out");
    CObArray items;
    for (CObject* o : std::initializer_list<CObject*>{&flag, &ratio, &grade, &span, &face, &folder})
        items.Add(o);
    const std::string bytes = archived([&](CArchive& ar) { items.Serialize(ar); });

    CObArray back;
    load(bytes, [&](CArchive& ar) { back.Serialize(ar); });
    ASSERT_EQ(back.GetSize(), 6);
    auto* flag2 = dynamic_cast<CBoolPreference*>(back[0]);
    auto* ratio2 = dynamic_cast<CDoublePreference*>(back[1]);
    auto* grade2 = dynamic_cast<CListPreference*>(back[2]);
    auto* span2 = dynamic_cast<CQuantityPreference*>(back[3]);
    auto* face2 = dynamic_cast<CFontPreference*>(back[4]);
    auto* folder2 = dynamic_cast<CFolderPreference*>(back[5]);
    ASSERT_TRUE(flag2 && ratio2 && grade2 && span2 && face2 && folder2);
    EXPECT_EQ(flag2->GetName(), "Snap");
    EXPECT_EQ(flag2->GetValue(), 1);
    EXPECT_EQ(flag2->GetProperty()->name(), "Snap");
    EXPECT_EQ(ratio2->GetValue(), 0.25);
    EXPECT_EQ(static_cast<CDoubleProperty*>(ratio2->GetProperty())->upper_limit(), 1.0);
    EXPECT_EQ(grade2->GetSelection(), 1);
    EXPECT_EQ(static_cast<CListProperty*>(grade2->GetProperty())->get_item_text(1), "S275");
    EXPECT_EQ(span2->GetQuantity(), UNIT_LENGTH_SMALL);
    EXPECT_EQ(span2->GetValue(), 150.0);
    EXPECT_EQ(span2->GetProperty(), nullptr);  // until SetQuantity
    EXPECT_EQ(std::memcmp(&face2->GetFont(), &font, sizeof font), 0);
    EXPECT_EQ(folder2->GetName(), "Name not set");  // the folder form has no base
    EXPECT_EQ(folder2->GetFolder(), "/srv/out");
    for (CObject* o : back) delete o;
}

TEST(PreferenceItem, OldAndUnknownVersions) {
    // A list of version 1 holds its selection and nothing else.
    CListPreference* list = nullptr;
    const std::string v1 = archived([](CArchive& ar) { ar << 1 << 2 << 99; });
    CMemFile file(v1.data(), v1.size());
    {
        CArchive ar(&file, CArchive::load);
        CObject* made = RUNTIME_CLASS(CListPreference)->CreateObject();
        list = static_cast<CListPreference*>(made);
        list->Serialize(ar);
        int next = 0;
        ar >> next;
        EXPECT_EQ(next, 99);
    }
    EXPECT_EQ(list->GetSelection(), 2);
    EXPECT_EQ(static_cast<CListProperty*>(list->GetProperty())->list_size(), 0);
    delete list;

    CQuantityPreference* q =
        static_cast<CQuantityPreference*>(RUNTIME_CLASS(CQuantityPreference)->CreateObject());
    load(archived(
             [](CArchive& ar) { ar << 1 << 5.0 << 1.0 << 0.0 << 9.0 << 1 << CString("Q") << 0; }),
         [&](CArchive& ar) { q->Serialize(ar); });
    EXPECT_EQ(q->GetQuantity(), UNIT_UNITLESS);
    EXPECT_EQ(q->GetProperty(), nullptr);
    EXPECT_EQ(q->GetValue(), 5.0);
    delete q;

    CZEVScriptedDialogs dialogs;
    IZEVDialogService* previous = ZEVInstallDialogs(&dialogs);
    CObject* folder = RUNTIME_CLASS(CFolderPreference)->CreateObject();
    try {
        load(archived([](CArchive& ar) { ar << 3; }), [&](CArchive& ar) { folder->Serialize(ar); });
        ADD_FAILURE() << "an unknown version was accepted";
    } catch (const CArchiveException& e) {
        EXPECT_EQ(e.m_cause, CArchiveException::badSchema);
    }
    ASSERT_EQ(dialogs.Asked().size(), 1u);
    EXPECT_EQ(dialogs.Asked()[0].text,
              "Warning:  Unknown version of CFolderPreference encountered in folder");
    delete folder;
    ZEVInstallDialogs(previous);
}

// ---- The manager ------------------------------------------------------------------------

class CountingManager : public CPreferenceManager {
public:
    using CPreferenceManager::CPreferenceManager;
    void OnInitialRegistryRead() override { ++initialReads; }
    void OnInitialRegistryReadFinished() override { ++finished; }
    int initialReads = 0;
    int finished = 0;
};

struct Tree {
    explicit Tree(const char* key) : manager(0, key) {
        const int units = manager.AddCategory("Units", 0);
        const int display = manager.AddCategory("Display", 0);
        const int style = manager.AddGroup("Style", 0, units);
        const int colours = manager.AddGroup("Colours", 0, display);
        manager.AddPreference(1, new CIntPreference("Decimals", 0, 2, 7, 0), style);
        manager.AddPreference(
            2, new CQuantityPreference("Span", 0, UNIT_LENGTH_SMALL, 120.0, 1.0, 0.0, 1e4), style);
        manager.AddPreference(3, new CColorPreference("Background", 0, RGB(255, 255, 255)),
                              colours);
        manager.AddPreference(4, new CStringPreference("Title", 0, "Frame"), colours);
    }
    CIntPreference& decimals() { return *static_cast<CIntPreference*>(manager.GetPreference(1)); }
    CQuantityPreference& span() {
        return *static_cast<CQuantityPreference*>(manager.GetPreference(2));
    }
    CStringPreference& title() {
        return *static_cast<CStringPreference*>(manager.GetPreference(4));
    }
    CountingManager manager;
};

TEST(PreferenceManager, TreeRules) {
    Tree t("App");
    CIntPreference second("Other", 0, 0, 1, 0);
    t.manager.AddPreference(1, &second, 0);  // a taken key: the first stays, the item is ours
    EXPECT_TRUE(t.manager.IsValid());
    EXPECT_EQ(t.manager.GetPreference(1)->GetName(), "Decimals");
    t.manager.AddPreference(9, &second, -1);
    EXPECT_TRUE(t.manager.IsValid());
    t.manager.AddPreference(9, &second, 2);
    EXPECT_TRUE(t.manager.IsValid());
    EXPECT_EQ(t.manager.GetPreference(9), nullptr);
    EXPECT_EQ(t.manager.AddGroup("Lost", 0, 2), -1);
    EXPECT_TRUE(t.manager.IsValid());
    EXPECT_EQ(t.manager.GetNumGroups(-1), 0);
    EXPECT_EQ(t.manager.GetNumPreferences(9999), 0);
    EXPECT_EQ(t.manager.GetNumPreferences(0), 2);
    EXPECT_EQ(t.manager.GetCategoryImageList().GetImageCount(), 0);  // no bitmap headless
    EXPECT_TRUE(t.manager.IsValid());
}

TEST(PreferenceManager, StoreReadAndWrite) {
    zevtest::ScopedStore store;
    Tree t("Frame Designer");
    EXPECT_EQ(t.manager.ReadPreferencesFromRegistry(), 1);  // nothing stored yet
    EXPECT_TRUE(t.manager.IsValid());
    EXPECT_EQ(t.manager.ReadPreferencesFromRegistry(), 1);
    EXPECT_TRUE(t.manager.IsValid());
    EXPECT_EQ(t.manager.initialReads, 2);
    EXPECT_EQ(t.manager.finished, 0);

    t.decimals().SetValue(4);
    t.span().SetValue(150.0);
    t.title().SetString("Portal");
    ASSERT_EQ(t.manager.WritePreferencesToRegistry(), 1);
    EXPECT_TRUE(t.manager.IsValid());

    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\ZEV\\Frame Designer\\Units\\Style", 0,
                            KEY_ALL_ACCESS, &key),
              ERROR_SUCCESS);
    DWORD type = 0;
    BYTE data[16];
    DWORD size = sizeof data;
    ASSERT_EQ(RegQueryValueExA(key, "Span", nullptr, &type, data, &size), ERROR_SUCCESS);
    EXPECT_EQ(type, REG_BINARY);
    EXPECT_EQ(size, 8u);
    const BYTE stray[4] = {1, 2, 3, 4};
    RegSetValueExA(key, "Retired", 0, REG_DWORD, stray, 4);
    RegCloseKey(key);

    Tree fresh("Frame Designer");
    EXPECT_EQ(fresh.manager.ReadPreferencesFromRegistry(), 1);
    EXPECT_TRUE(fresh.manager.IsValid());
    EXPECT_EQ(fresh.manager.finished, 1);
    EXPECT_EQ(fresh.decimals().GetValue(), 4);
    EXPECT_EQ(fresh.span().GetValue(), 150.0);
    EXPECT_EQ(fresh.title().GetString(), "Portal");
    fresh.manager.WritePreferencesToRegistry();
    EXPECT_TRUE(fresh.manager.IsValid());
    RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\ZEV\\Frame Designer\\Units\\Style", 0, KEY_READ,
                  &key);
    EXPECT_EQ(RegQueryValueExA(key, "Retired", nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
    RegCloseKey(key);
}

TEST(PreferenceManager, AnArchiveKeepsTheShapeAndNeverAValue) {
    Tree t("App");
    const std::string bytes = archived([&](CArchive& ar) { t.manager.Serialize(ar); });
    // Version, 2 categories, 2 groups, then the keys 1..4 in the array form.
    EXPECT_EQ(bytes.substr(0, 8), std::string("\x02\0\0\0\x02\0\0\0", 8));
    EXPECT_EQ(bytes.substr(bytes.size() - 18),
              std::string("\x04\0\x01\0\0\0\x02\0\0\0\x03\0\0\0\x04\0\0\0", 18));

    Tree other("App");
    other.decimals().SetValue(6);
    load(bytes, [&](CArchive& ar) { other.manager.Serialize(ar); });
    EXPECT_EQ(other.decimals().GetValue(), 6);
    EXPECT_EQ(other.manager.GetNumCategories(), 2);

    CZEVScriptedDialogs dialogs;
    IZEVDialogService* previous = ZEVInstallDialogs(&dialogs);
    EXPECT_THROW(load(archived([](CArchive& ar) { ar << 7; }),
                      [&](CArchive& ar) { other.manager.Serialize(ar); }),
                 CArchiveException);
    EXPECT_EQ(dialogs.Asked().at(0).text,
              "Warning:  Unknown version of CPreferenceManager encountered in file");
    ZEVInstallDialogs(previous);
}

TEST(PreferenceManager, AnotherProcessSeesAnAcceptedChange) {
    zevtest::ScopedStore store;
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        CZEVFileSettingsStore own(store.path().c_str());
        ZEVInstallSettingsStore(&own);
        Tree t("Shared");
        t.decimals().SetValue(5);
        _exit(t.manager.WritePreferencesToRegistry() == 1 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    Tree t("Shared");
    t.manager.ReadPreferencesFromRegistry();
    EXPECT_TRUE(t.manager.IsValid());
    EXPECT_EQ(t.decimals().GetValue(), 5);
}

TEST(PreferenceManager, AWriterKilledMidwayLeavesAWholeTree) {
    zevtest::ScopedStore store;
    {
        Tree first("Killed");  // a whole tree before any writer is killed
        first.decimals().SetValue(0);
        first.span().SetValue(0);
        first.title().SetString("zero");
        ASSERT_EQ(first.manager.WritePreferencesToRegistry(), 1);
        EXPECT_TRUE(first.manager.IsValid());
    }
    for (int round = 0; round < 5; ++round) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            CZEVFileSettingsStore own(store.path().c_str());
            ZEVInstallSettingsStore(&own);
            Tree t("Killed");
            for (int v = 0;; v = 1 - v) {
                t.decimals().SetValue(v);
                t.span().SetValue(v);
                t.title().SetString(v ? "one" : "zero");
                t.manager.WritePreferencesToRegistry();
            }
        }
        usleep(static_cast<useconds_t>(20000 + round * 7000));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        Tree t("Killed");
        ASSERT_EQ(t.manager.ReadPreferencesFromRegistry(), 1);
        EXPECT_TRUE(t.manager.IsValid());
        const int v = t.decimals().GetValue();
        EXPECT_EQ(t.span().GetValue(), v) << "round " << round;
        EXPECT_EQ(t.title().GetString(), v ? "one" : "zero") << "round " << round;
    }
}

}  // namespace

namespace {

// A store that fails on demand, as a full disk would: a write answers ERROR_DISK_FULL and
// changes nothing, or a batch's commit does and keeps nothing.
class FailingStore : public IZEVSettingsStore {
public:
    explicit FailingStore(IZEVSettingsStore& inner) : m_inner(inner) {}
    bool failWrites = false;
    bool failCommit = false;

    KeyId RootKey(HKEY root) override { return m_inner.RootKey(root); }
    bool IsWritable(KeyId key) override { return m_inner.IsWritable(key); }
    LSTATUS OpenKey(KeyId parent, const std::vector<std::string>& parts, bool create, KeyId& key,
                    bool& created) override {
        return m_inner.OpenKey(parent, parts, create, key, created);
    }
    LSTATUS QueryValue(KeyId key, const std::string& name, ZEVStoredValue& value) override {
        return m_inner.QueryValue(key, name, value);
    }
    LSTATUS SetValue(KeyId key, const ZEVStoredValue& value) override {
        return failWrites ? ERROR_DISK_FULL : m_inner.SetValue(key, value);
    }
    LSTATUS DeleteValue(KeyId key, const std::string& name) override {
        return m_inner.DeleteValue(key, name);
    }
    LSTATUS DeleteKey(KeyId key, bool tree, bool keepKey) override {
        return m_inner.DeleteKey(key, tree, keepKey);
    }
    LSTATUS SubKeys(KeyId key, std::vector<std::string>& names) override {
        return m_inner.SubKeys(key, names);
    }
    LSTATUS Values(KeyId key, std::vector<ZEVStoredValue>& values) override {
        return m_inner.Values(key, values);
    }
    LSTATUS WriteTime(KeyId key, std::int64_t& ms) override { return m_inner.WriteTime(key, ms); }
    LSTATUS BeginBatch() override { return m_inner.BeginBatch(); }
    LSTATUS EndBatch(bool commit) override {
        if (!commit || !failCommit) return m_inner.EndBatch(commit);
        m_inner.EndBatch(false);
        return ERROR_DISK_FULL;
    }

private:
    IZEVSettingsStore& m_inner;
};

// A manager that read the store, then wrote every item back, undid what other processes had
// stored in between: a write now stores what changed here, and what the store lacks.
TEST(PreferenceManagerRegression, AWriteStoresOnlyWhatChangedHere) {
    zevtest::ScopedStore store;
    Tree first("Shared"), second("Shared");
    ASSERT_EQ(first.manager.ReadPreferencesFromRegistry(), 1);
    EXPECT_TRUE(first.manager.IsValid());
    ASSERT_EQ(second.manager.ReadPreferencesFromRegistry(), 1);
    EXPECT_TRUE(second.manager.IsValid());
    first.decimals().SetValue(5);
    ASSERT_EQ(first.manager.WritePreferencesToRegistry(), 1);
    EXPECT_TRUE(first.manager.IsValid());
    second.title().SetString("Portal");
    ASSERT_EQ(second.manager.WritePreferencesToRegistry(), 1);
    EXPECT_TRUE(second.manager.IsValid());

    Tree fresh("Shared");
    ASSERT_EQ(fresh.manager.ReadPreferencesFromRegistry(), 1);
    EXPECT_TRUE(fresh.manager.IsValid());
    EXPECT_EQ(fresh.decimals().GetValue(), 5);
    EXPECT_EQ(fresh.title().GetString(), "Portal");
    EXPECT_EQ(fresh.span().GetValue(), 120.0);  // every item is in the store after a write

    // A value that went missing is put back even when unchanged here.
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\ZEV\\Shared\\Units\\Style", 0,
                            KEY_ALL_ACCESS, &key),
              ERROR_SUCCESS);
    ASSERT_EQ(RegDeleteValueA(key, "Span"), ERROR_SUCCESS);
    ASSERT_EQ(second.manager.WritePreferencesToRegistry(), 1);
    EXPECT_TRUE(second.manager.IsValid());
    DWORD size = 0;
    EXPECT_EQ(RegQueryValueExA(key, "Span", nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
    RegCloseKey(key);
}

TEST(PreferenceManager, WritersSideBySideLoseNothing) {
    zevtest::ScopedStore store;
    constexpr int kWriters = 4, kRounds = 8;
    std::vector<pid_t> children;
    for (int w = 0; w < kWriters; ++w) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            CZEVFileSettingsStore own(store.path().c_str());
            ZEVInstallSettingsStore(&own);
            Tree t("Busy");
            bool ok = t.manager.ReadPreferencesFromRegistry() == 1;
            for (int round = 1; round <= kRounds; ++round) {
                // Each writer owns one item and writes it as the studio does, tree and all.
                if (w == 0) t.decimals().SetValue(round % 8);
                if (w == 1) t.span().SetValue(round);
                if (w == 2) t.title().SetString(CString("round ") + std::to_string(round).c_str());
                if (w == 3)
                    static_cast<CColorPreference*>(t.manager.GetPreference(3))
                        ->SetupValueFromRegData(reinterpret_cast<unsigned char*>(&round), 4);
                ok = t.manager.WritePreferencesToRegistry() == 1 && ok;
            }
            _exit(ok ? 0 : 1);
        }
        children.push_back(child);
    }
    for (pid_t child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    Tree t("Busy");
    ASSERT_EQ(t.manager.ReadPreferencesFromRegistry(), 1);
    EXPECT_TRUE(t.manager.IsValid());
    EXPECT_EQ(t.decimals().GetValue(), kRounds % 8);
    EXPECT_EQ(t.span().GetValue(), kRounds);
    EXPECT_EQ(t.title().GetString(), "round 8");
    EXPECT_EQ(static_cast<CColorPreference*>(t.manager.GetPreference(3))->GetColor(),
              static_cast<COLORREF>(kRounds));
}

// A failed value write or commit was ignored and the write answered 1 with nothing stored.
TEST(PreferenceManagerRegression, AFailedCommitIsReportedAndStoresNothing) {
    zevtest::ScopedStore scoped;
    FailingStore failing(scoped.store());
    IZEVSettingsStore* previous = ZEVInstallSettingsStore(&failing);
    Tree t("Full");
    ASSERT_EQ(t.manager.WritePreferencesToRegistry(), 1);
    EXPECT_TRUE(t.manager.IsValid());
    const struct { bool failWrites, failCommit; } cases[] = {{true, false}, {false, true}};
    for (const auto& c : cases) {
        failing.failWrites = c.failWrites;
        failing.failCommit = c.failCommit;
        t.decimals().SetValue(6);
        t.title().SetString("lost?");
        EXPECT_EQ(t.manager.WritePreferencesToRegistry(), 0);
        EXPECT_TRUE(t.manager.IsValid());
        EXPECT_EQ(t.manager.LastStoreStatus(), ERROR_DISK_FULL);
        Tree reader("Full");
        ASSERT_EQ(reader.manager.ReadPreferencesFromRegistry(), 1);
        EXPECT_TRUE(reader.manager.IsValid());
        EXPECT_EQ(reader.decimals().GetValue(), 2) << "nothing of a failed write lands";
        EXPECT_EQ(reader.title().GetString(), "Frame");
    }
    // Once the store works again, the next write stores the changes the failed one held.
    failing.failWrites = failing.failCommit = false;
    EXPECT_EQ(t.manager.WritePreferencesToRegistry(), 1);
    EXPECT_TRUE(t.manager.IsValid());
    EXPECT_EQ(t.manager.LastStoreStatus(), ERROR_SUCCESS);
    Tree reader("Full");
    reader.manager.ReadPreferencesFromRegistry();
    EXPECT_TRUE(reader.manager.IsValid());
    EXPECT_EQ(reader.decimals().GetValue(), 6);
    EXPECT_EQ(reader.title().GetString(), "lost?");
    ZEVInstallSettingsStore(previous);
}

// An archive may refer to an object it holds already; the cleanup deleted such an item twice.
TEST(PreferenceManagerRegression, AnItemReferredToTwiceIsDeletedOnce) {
    Tree t("App");
    const std::string bytes = archived([&](CArchive& ar) {
        ar << 1;  // the old form, whose items are read and dropped
        ar << 0 << 0;
        CArray<int, int> keys;
        keys.Serialize(ar);
        CObArray items;
        items.Add(t.manager.GetPreference(1));
        items.Add(t.manager.GetPreference(1));
        items.Serialize(ar);
    });
    load(bytes, [&](CArchive& ar) { t.manager.Serialize(ar); });
    EXPECT_EQ(t.manager.GetPreference(1)->GetName(), "Decimals");

    // An array among the items would hold objects nobody frees: it is refused, and what
    // was read before it is freed.
    const std::string nested = archived([&](CArchive& ar) {
        CObArray inner, items;
        items.Add(t.manager.GetPreference(2));
        items.Add(&inner);
        items.Serialize(ar);
    });
    CObArray read;
    EXPECT_THROW(load(nested, [&](CArchive& ar) { ReadArchivedPreferences(ar, read); }),
                 CArchiveException);
    EXPECT_EQ(read.GetSize(), 0);

    CObArray twice;
    twice.Add(new CIntPreference("Once", 0, 0, 1, 0));
    twice.Add(twice[0]);
    twice.Add(nullptr);
    DeleteArchivedObjects(twice);
    EXPECT_EQ(twice.GetSize(), 0);
}

}  // namespace
