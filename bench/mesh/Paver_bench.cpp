// Paving speed: Mesh on the built-in shapes and on a square with a hole. The caps of 100 row
// steps per front and pass and 20 passes stop a run at about 2,000 elements whatever the
// size, so the sizes here give about 1,000 elements and the capped run; finer sizes only
// cost more time for the same count (and leave fronts open: see the open_fronts counter).

#include <benchmark/benchmark.h>

#include "zevcore/mesh/paver/MeshModel.h"

namespace {

void load(Paver::CMeshModel& model, int shape) {
    switch (shape) {
        case 1:
            model.DrawShape1();
            break;
        case 2:
            model.DrawShape2();
            break;
        case 3:
            model.DrawShape3();
            break;
        case 4:
            model.DrawShape4();
            break;
        case 5:
            model.DrawShape5();
            break;
        default: {
            // A square 100 by 100 with a square hole 40 by 40 (clockwise) in the middle.
            auto loop = [&](std::initializer_list<Paver::CPoint2D> pts) {
                std::vector<Paver::CPoint2D> p(pts);
                for (size_t i = 0; i < p.size(); ++i)
                    model.AddBoundaryLine(Paver::CLine2D(p[i], p[(i + 1) % p.size()]));
                model.AddBoundary();
            };
            model.ClearAll();
            loop({{0, 0}, {100, 0}, {100, 100}, {0, 100}});
            loop({{30, 30}, {30, 70}, {70, 70}, {70, 30}});
        }
    }
}

// Arguments: shape (6 is the square with a hole), element size in thousandths.
void BM_Mesh(benchmark::State& state) {
    const int shape = static_cast<int>(state.range(0));
    const double size = static_cast<double>(state.range(1)) / 1000.0;
    int64_t elements = 0;
    for (auto _ : state) {
        Paver::CMeshModel model;
        load(model, shape);
        model.Mesh(1, size, 0, false);
        elements += model.NumQuads();
        state.counters["elements"] = model.NumQuads();
        state.counters["open_fronts"] = static_cast<double>(model.fronts.size());
    }
    state.counters["elements_per_second"] =
        benchmark::Counter(static_cast<double>(elements), benchmark::Counter::kIsRate);
}

}  // namespace

// Built-in shapes, about 8 units across: about 1,000 elements, and the capped run.
BENCHMARK(BM_Mesh)->ArgsProduct({{1, 2, 3, 4, 5}, {200, 65}})->Unit(benchmark::kMillisecond);
// The square with a hole, 100 units across.
BENCHMARK(BM_Mesh)->ArgsProduct({{6}, {3000, 950}})->Unit(benchmark::kMillisecond);
// Growth: the first shape from about 140 to about 1,100 elements; the slope of log time
// against log elements is the time exponent (about 1.4 here; see docs/mesh.md for why it
// stays above n log n).
BENCHMARK(BM_Mesh)->ArgsProduct({{1}, {600, 400, 300, 200}})->Unit(benchmark::kMillisecond);
