#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "zevcore/geometry/Line2D.h"
#include "zevcore/geometry/Line3D.h"
#include "zevcore/geometry/OrientedBox.h"
#include "zevcore/geometry/Quaternion.h"

namespace {

// Segments of a spiral, so neighbours cross at varied angles and some pairs miss.
std::vector<CLine3D> sampleLines3D() {
    std::vector<CLine3D> lines;
    for (int i = 0; i < 256; ++i) {
        const double a = i * 0.37, r = 1.0 + (i % 11);
        lines.emplace_back(r * std::cos(a), r * std::sin(a), 0.1 * (i % 5), -r * std::sin(a * 1.3),
                           r * std::cos(a * 0.7), 0.1 * (i % 3));
    }
    return lines;
}

// Runs `pair` over each line and its successor; the mesher's inner loops test every new edge
// against its neighbours this way.
template <typename Pair>
void runOverNeighbours(benchmark::State& state, Pair pair) {
    const std::vector<CLine3D> lines = sampleLines3D();
    for (auto _ : state) {
        double sum = 0.0;
        for (size_t i = 1; i < lines.size(); ++i) sum += pair(lines[i - 1], lines[i]);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(lines.size() - 1));
}

void BM_LinesCross(benchmark::State& state) {
    runOverNeighbours(state, [](const CLine3D& a, const CLine3D& b) {
        CPoint3D at;
        return a.lines_cross(b, at) ? 1.0 : 0.0;
    });
}
BENCHMARK(BM_LinesCross);

void BM_ParametricIntersection(benchmark::State& state) {
    runOverNeighbours(state, [](const CLine3D& a, const CLine3D& b) {
        CPoint3D at;
        return a.intersection(b, at, true) ? 1.0 : 0.0;
    });
}
BENCHMARK(BM_ParametricIntersection);

void BM_SegmentDistance(benchmark::State& state) {
    runOverNeighbours(state,
                      [](const CLine3D& a, const CLine3D& b) { return a.JL_Distance_to(b); });
}
BENCHMARK(BM_SegmentDistance);

void BM_IsOnSegment(benchmark::State& state) {
    runOverNeighbours(state, [](const CLine3D& a, const CLine3D& b) {
        return a.is_on_segment(b.p1, 1e-3) ? 1.0 : 0.0;
    });
}
BENCHMARK(BM_IsOnSegment);

// Construction runs the slope cache; intersect is the planar workhorse.
void BM_Line2DConstructAndIntersect(benchmark::State& state) {
    std::vector<CPoint2D> pts;
    for (int i = 0; i < 257; ++i) pts.emplace_back(std::cos(i * 1.1) * i, std::sin(i * 0.9) * i);
    for (auto _ : state) {
        double sum = 0.0;
        for (size_t i = 3; i < pts.size(); ++i) {
            const CLine2D a(pts[i - 3], pts[i - 2], true), b(pts[i - 1], pts[i], true);
            const CPoint2D p = a.intersect(b);
            if (p.exists()) sum += p.x;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(pts.size() - 3));
}
BENCHMARK(BM_Line2DConstructAndIntersect);

void BM_OrientedBoxIncludes(benchmark::State& state) {
    const COrientedBox box(CAABB(4, 2, 1), CPoint3D(0.3, 0.2, 0.1));
    std::vector<CPoint3D> pts;
    for (int i = 0; i < 256; ++i)
        pts.emplace_back(std::sin(i) * 3, std::cos(i * 1.7) * 2, 0.01 * i - 1);
    for (auto _ : state) {
        int in = 0;
        for (const CPoint3D& p : pts) in += box.includes(p);
        benchmark::DoNotOptimize(in);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(pts.size()));
}
BENCHMARK(BM_OrientedBoxIncludes);

void BM_OrientedBoxInitPlanes(benchmark::State& state) {
    COrientedBox box(CAABB(4, 2, 1), CPoint3D(0.3, 0.2, 0.1));
    for (auto _ : state) {
        box.init_planes();
        benchmark::DoNotOptimize(box.planes[5]);
    }
}
BENCHMARK(BM_OrientedBoxInitPlanes);

void BM_QuaternionProduct(benchmark::State& state) {
    const CQuaternion step(0.01, CVector3D(0.6, 0, 0.8));
    CQuaternion q(0, 0, 0, 1);
    for (auto _ : state) {
        q = q * step;
        benchmark::DoNotOptimize(q);
    }
}
BENCHMARK(BM_QuaternionProduct);

}  // namespace
