// A 500-item preference tree read from and written to the settings store, as an
// application does at start and after each accepted change.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "zevcore/platform/Registry.h"
#include "zevcore/settings/PreferenceItem.h"
#include "zevcore/settings/PreferenceManager.h"

namespace {

class BenchStore {
public:
    BenchStore() : m_path(makePath()), m_store(m_path.c_str()) {
        m_previous = ZEVInstallSettingsStore(&m_store);
    }
    ~BenchStore() {
        ZEVInstallSettingsStore(m_previous);
        for (const char* suffix : {"", "-wal", "-shm"}) unlink((m_path + suffix).c_str());
    }
    BenchStore(const BenchStore&) = delete;
    BenchStore& operator=(const BenchStore&) = delete;

private:
    static std::string makePath() {
        const char* tmp = std::getenv("TMPDIR");
        std::string path = tmp && *tmp ? tmp : "/tmp";
        path += "/zev-prefs-bench-";
        path += std::to_string(getpid());
        path += ".db";
        return path;
    }
    std::string m_path;
    CZEVFileSettingsStore m_store;
    IZEVSettingsStore* m_previous = nullptr;
};

// 10 categories of 5 groups of 10 items, the kinds in turn.
std::unique_ptr<CPreferenceManager> tree() {
    auto m = std::make_unique<CPreferenceManager>(0, "Bench");
    int key = 0;
    for (int c = 0; c < 10; ++c) {
        const int category = m->AddCategory(CString("Category ") + CString(std::to_string(c)), 0);
        for (int g = 0; g < 5; ++g) {
            const int group =
                m->AddGroup(CString("Group ") + CString(std::to_string(g)), 0, category);
            for (int i = 0; i < 10; ++i, ++key) {
                const CString name = CString("Item ") + CString(std::to_string(i));
                CPreferenceItem* item = nullptr;
                switch (key % 4) {
                    case 0:
                        item = new CIntPreference(name, 0, key, 1 << 20, 0);
                        break;
                    case 1:
                        item = new CQuantityPreference(name, 0, UNIT_LENGTH_SMALL, key * 0.5, 1.0,
                                                       0.0, 1e9);
                        break;
                    case 2:
                        item = new CStringPreference(name, 0, "a value of some length");
                        break;
                    default:
                        item = new CBoolPreference(name, 0, key & 1);
                        break;
                }
                m->AddPreference(key, item, group);
            }
        }
    }
    return m;
}

void BM_WritePreferenceTree500(benchmark::State& state) {
    BenchStore store;
    auto m = tree();
    for (auto _ : state) benchmark::DoNotOptimize(m->WritePreferencesToRegistry());
    state.SetItemsProcessed(state.iterations() * 500);
}
BENCHMARK(BM_WritePreferenceTree500)->Unit(benchmark::kMillisecond);

void BM_ReadPreferenceTree500(benchmark::State& state) {
    BenchStore store;
    auto m = tree();
    m->WritePreferencesToRegistry();
    for (auto _ : state) benchmark::DoNotOptimize(m->ReadPreferencesFromRegistry());
    state.SetItemsProcessed(state.iterations() * 500);
}
BENCHMARK(BM_ReadPreferenceTree500)->Unit(benchmark::kMillisecond);

}  // namespace
