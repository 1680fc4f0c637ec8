#include <benchmark/benchmark.h>

#include <vector>

#include "zevcore/frame/Math.h"

namespace {

std::vector<double> sampleValues() {
    std::vector<double> values;
    for (int i = 0; i < 1024; ++i) values.push_back((i - 512) * 977.123 / (1 + i % 7));
    return values;
}

// equal() sits in the geometry's innermost loops.
void BM_Equal(benchmark::State& state) {
    const std::vector<double> values = sampleValues();
    for (auto _ : state) {
        int hits = 0;
        for (size_t i = 1; i < values.size(); ++i) hits += equal(values[i - 1], values[i]);
        benchmark::DoNotOptimize(hits);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(values.size() - 1));
}
BENCHMARK(BM_Equal);

void BM_Nice(benchmark::State& state) {
    const std::vector<double> values = sampleValues();
    for (auto _ : state) {
        for (double v : values) benchmark::DoNotOptimize(nice(v));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(values.size()));
}
BENCHMARK(BM_Nice);

}  // namespace
