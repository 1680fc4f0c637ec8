// Snapping to a rectangular grid of 1,000 by 1,000 lattice points: the grid's answer from its
// parameters against a scan of every point, in the same run, on the same points.

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "zevcore/frame/Math.h"
#include "zevcore/graphics/GraphicGrid.h"

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

}  // namespace
