// Reading boundary files: the crossing and nesting checks over every side of every loop. A
// wavy ring of n corners with a hundred small square holes inside, as text; the time grows
// as n log n.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <string>

#include "tools/zevcore/MeshIo.h"

namespace {

std::string ringText(int corners) {
    std::string text;
    char line[256];
    for (int i = 0; i <= corners; ++i) {
        const double a = 2 * M_PI * (i % corners) / corners;
        const double r = 1000.0 + 20.0 * std::sin(37 * a);
        std::snprintf(line, sizeof line, "%.17g %.17g\n", r * std::cos(a), r * std::sin(a));
        text += line;
    }
    for (int h = 0; h < 100; ++h) {
        const double x = -450.0 + 90.0 * (h % 10), y = -450.0 + 90.0 * (h / 10);
        std::snprintf(line, sizeof line, "\n%g %g\n%g %g\n%g %g\n%g %g\n%g %g\n", x, y, x + 10, y,
                      x + 10, y + 10, x, y + 10, x, y);
        text += line;
    }
    return text;
}

void BM_ReadBoundary(benchmark::State& state) {
    const std::string text = ringText(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        const zevtool::meshio::Region region = zevtool::meshio::parseBoundaryText(text);
        benchmark::DoNotOptimize(region.loops.size());
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_ReadBoundary)
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oNLogN);

}  // namespace
