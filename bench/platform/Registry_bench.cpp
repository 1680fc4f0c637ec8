// The settings store's cost per call, with every commit flushed to the disk.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "support/BenchStore.h"
#include "zevcore/frame/Ini.h"
#include "zevcore/platform/Registry.h"

namespace {

using zevbench::BenchStore;

void BM_WriteIniInt(benchmark::State& state) {
    BenchStore store;
    setIniBase("Software\\ZEV\\Bench");
    int i = 0;
    for (auto _ : state) benchmark::DoNotOptimize(writeIniInt("Count", ++i));
}
BENCHMARK(BM_WriteIniInt);

// 2,000 settings written one transaction each, or in one batch.
void BM_Write2000Settings(benchmark::State& state) {
    BenchStore store;
    setIniBase("Software\\ZEV\\Bench");
    const bool batched = state.range(0) != 0;
    std::vector<std::string> keys;
    for (int i = 0; i < 50; ++i) keys.push_back(std::to_string(i));
    for (auto _ : state) {
        std::optional<CZEVSettingsBatch> batch;
        if (batched) batch.emplace();
        for (int i = 0; i < 2000; ++i) writeIniInt(keys[i % 50].c_str(), i);
        if (batch) batch->Commit();
    }
    state.SetLabel(batched ? "one batch" : "one transaction each");
}
BENCHMARK(BM_Write2000Settings)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_ReadIniInt(benchmark::State& state) {
    BenchStore store;
    setIniBase("Software\\ZEV\\Bench");
    writeIniInt("Count", 42);
    int value = 0;
    for (auto _ : state) benchmark::DoNotOptimize(readIniInt("Count", value));
}
BENCHMARK(BM_ReadIniInt);

void BM_QueryOpenKey(benchmark::State& state) {
    BenchStore store;
    HKEY key = nullptr;
    RegCreateKeyA(HKEY_CURRENT_USER, "Software\\ZEV\\Bench", &key);
    const DWORD word = 7;
    RegSetValueExA(key, "Word", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&word), 4);
    for (auto _ : state) {
        DWORD data = 0, size = 4;
        benchmark::DoNotOptimize(
            RegQueryValueExA(key, "Word", nullptr, nullptr, reinterpret_cast<BYTE*>(&data), &size));
    }
    RegCloseKey(key);
}
BENCHMARK(BM_QueryOpenKey);

}  // namespace
