// Snapping to a rectangular grid of 1,000 by 1,000 lattice points: the grid's answer from its
// parameters against a scan of every point, in the same run, on the same points (the ratio of
// the two times is the gain). Loading a grid block of n by n lattice points: the time per
// point should not grow with n.

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "zevcore/frame/Math.h"
#include "zevcore/graphics/GraphicGrid.h"
#include "zevcore/graphics/GridManager.h"

namespace {

CRectangularGrid& millionPointGrid() {
    // Built in place: a copy of a grid holds no lattice until it goes stale.
    static CRectangularGrid grid;
    static const bool ready = [] {
        // 999 steps of 1.2 each way: 1,000 values on x and on y.
        grid.setupRegularGrid("Snap", CRectangularGrid::gpXY, 1198.8, 1198.8, 1.2, 1.2,
                              CPoint3D(5, -3, 0));
        return grid.getGridPoints().getCount() > 0;
    }();
    (void)ready;
    return grid;
}

std::vector<CPoint3D> probes() {
    std::mt19937 random(42);
    std::uniform_real_distribution<double> coordinate(-700, 700);
    std::vector<CPoint3D> points;
    for (int i = 0; i < 64; ++i) points.emplace_back(coordinate(random), coordinate(random), 3.0);
    return points;
}

void BM_SnapByParameters(benchmark::State& state) {
    CRectangularGrid& grid = millionPointGrid();
    const std::vector<CPoint3D> points = probes();
    std::size_t i = 0;
    for (auto _ : state) {
        double distance = 0;
        benchmark::DoNotOptimize(grid.closestGridPoint(points[i++ % points.size()], distance));
    }
    state.counters["lattice points"] = grid.getGridPoints().getCount();
}
BENCHMARK(BM_SnapByParameters);

void BM_SnapByScan(benchmark::State& state) {
    CRectangularGrid& grid = millionPointGrid();
    const auto& lattice = grid.getGridPoints();
    const std::vector<CPoint3D> points = probes();
    std::size_t i = 0, differ = 0;
    for (auto _ : state) {
        const CPoint3D& p = points[i++ % points.size()];
        CPoint3D best(0, 0, 0);
        double distance = BIG;
        for (int k = 1; k <= lattice.getCount(); ++k)
            if (p.distance_to(*lattice[k]) < distance)
                distance = p.distance_to(*lattice[k]), best = *lattice[k];
        double byParameters = 0;
        const CPoint3D q = grid.closestGridPoint(p, byParameters);
        differ += q.x != best.x || q.y != best.y || byParameters != distance;
        benchmark::DoNotOptimize(best);
    }
    state.counters["answers that differ"] = static_cast<double>(differ);
}
BENCHMARK(BM_SnapByScan)->Unit(benchmark::kMillisecond);

// A block of one rectangular grid of n by n lattice points, as a project file holds it.
std::string blockFile(int n) {
    const std::string path =
        "/tmp/zev-grid-bench-" + std::to_string(getpid()) + "-" + std::to_string(n) + ".bin";
    CGridManager manager;
    auto* grid = new CRectangularGrid;
    grid->setParameterLimits(0, n - 1, n - 1, 0, n - 1, n - 1, 0, 0, 0);
    manager.addGrid(*grid);
    obfstream out(path.c_str());
    manager.write(out, 0);
    return path;
}

void BM_LoadBlock(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const std::string path = blockFile(n);
    for (auto _ : state) {
        CGridManager manager;
        ibfstream in(path.c_str());
        if (manager.read(in) != feSuccess) state.SkipWithError("the block did not load");
        benchmark::DoNotOptimize(manager.grid(1));
    }
    std::remove(path.c_str());
    state.SetComplexityN(static_cast<std::int64_t>(n) * n);
    state.counters["lattice points"] = static_cast<double>(n) * n;
}
BENCHMARK(BM_LoadBlock)
    ->Arg(250)
    ->Arg(500)
    ->Arg(1000)
    ->Arg(1999)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);

}  // namespace
