// A 500-item preference tree read from and written to the settings store, as an
// application does at start and after each accepted change. The tree read and a write of
// every value, beside raw SQLite doing the same, are in store_bench.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "support/BenchStore.h"
#include "support/BenchTree.h"
#include "zevcore/platform/Registry.h"
#include "zevcore/settings/PreferenceItem.h"
#include "zevcore/settings/PreferenceManager.h"

namespace {

using zevbench::BenchStore;

// An unchanged tree written again: only the store's check that every item is there.
void BM_WriteUnchangedPreferenceTree500(benchmark::State& state) {
    BenchStore store;
    auto m = zevbench::benchTree();
    m->WritePreferencesToRegistry();
    for (auto _ : state) benchmark::DoNotOptimize(m->WritePreferencesToRegistry());
    state.SetItemsProcessed(state.iterations() * 500);
}
BENCHMARK(BM_WriteUnchangedPreferenceTree500)->Unit(benchmark::kMillisecond);

}  // namespace
