// What the mesher adds to Triangle: the same region meshed through mesh_it and by the same two
// triangulate calls made directly. The argument is ten times the maximum triangle area;
// smaller areas mean more triangles, so Triangle's share of the time grows.
//
// mesh_it runs Triangle in a child process, whose CPU time Google Benchmark's CPU column does
// not see: both are timed by the wall clock (compare the Time column), and the counter
// child_cpu_ms gives the child's CPU time per run. bench/compare.py counts both sides'
// instructions, the child's included.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "zevcore/mesh/TriangleMesher.h"

// Triangle's header defines macros (REAL, VOID) and global types, so it comes last.
#include <triangle.h>

namespace {

// A 100 by 60 plate with three square openings of 10, and a row of fixed points.
struct Plate {
    std::vector<double> boundary{0, 0, 100, 0, 100, 60, 0, 60};
    std::vector<double> interior{15, 50, 35, 50, 55, 50, 75, 50};
    std::vector<double> holes;
    std::vector<int> holeSizes;
    std::vector<double> holeInside;  // a point inside each opening, for the direct calls

    Plate() {
        for (double x : {10.0, 45.0, 80.0}) {
            holes.insert(holes.end(), {x, 20, x + 10, 20, x + 10, 30, x, 30});
            holeSizes.push_back(4);
            holeInside.insert(holeInside.end(), {x + 5, 25});
        }
    }
};

// CPU seconds used so far by the children that were waited for.
double childCpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
}

double areaOf(const benchmark::State& state) {
    return static_cast<double>(state.range(0)) / 10;
}

// Triangle prints its statistics on every run; both sides send them somewhere quiet so the
// terminal's speed is not measured.
class QuietStdout {
public:
    QuietStdout() {
        std::fflush(stdout);
        m_saved = dup(1);
        int null = open("/dev/null", O_WRONLY);
        dup2(null, 1);
        close(null);
    }
    ~QuietStdout() {
        std::fflush(stdout);
        dup2(m_saved, 1);
        close(m_saved);
    }

private:
    int m_saved;
};

void BM_MeshIt(benchmark::State& state) {
    Plate plate;
    const double maxArea = areaOf(state);
    ZEVTriangleMesher mesher;
    QuietStdout quiet;
    const double childStart = childCpuSeconds();
    for (auto _ : state) {
        std::vector<int> sizes = plate.holeSizes;  // mesh_it may add to them
        int n = mesher.mesh_it(plate.boundary.data(), 4, plate.interior.data(), 4, nullptr, 0, 3,
                               sizes.data(), plate.holes.data(), maxArea, false, nullptr);
        benchmark::DoNotOptimize(n);
    }
    state.counters["triangles"] = mesher.numberOfTriangles;
    state.counters["child_cpu_ms"] = benchmark::Counter((childCpuSeconds() - childStart) * 1e3 /
                                                        static_cast<double>(state.iterations()));
}

void BM_DirectTriangulate(benchmark::State& state) {
    Plate plate;
    const double maxArea = areaOf(state);
    // The input as the mesher builds it: points, markers, backward segments, hole points.
    std::vector<double> points = plate.boundary;
    points.insert(points.end(), plate.interior.begin(), plate.interior.end());
    points.insert(points.end(), plate.holes.begin(), plate.holes.end());
    std::vector<int> markers{1, 1, 1, 1, 2, 2, 2, 2}, segments, segmentMarkers;
    auto outline = [&](int first, int marker) {
        for (int i = 0; i < 4; ++i) {
            segments.insert(segments.end(), {first + (i + 1) % 4, first + i});
            segmentMarkers.push_back(marker);
        }
    };
    outline(0, 1);
    for (int h = 0; h < 3; ++h) {
        markers.insert(markers.end(), 4, 3 + h);
        outline(8 + 4 * h, 3 + h);
    }
    char first[] = "pzevn";
    std::string second = "prqzPa" + std::to_string(maxArea);
    int triangles = 0;

    QuietStdout quiet;
    for (auto _ : state) {
        triangulateio in{}, mid{}, vor{}, out{};
        in.pointlist = points.data();
        in.pointmarkerlist = markers.data();
        in.numberofpoints = static_cast<int>(markers.size());
        in.segmentlist = segments.data();
        in.segmentmarkerlist = segmentMarkers.data();
        in.numberofsegments = static_cast<int>(segmentMarkers.size());
        in.holelist = plate.holeInside.data();
        in.numberofholes = 3;
        triangulate(first, &in, &mid, &vor);
        std::vector<double> areas(static_cast<std::size_t>(mid.numberoftriangles), 0.0);
        mid.trianglearealist = areas.data();
        triangulate(second.data(), &mid, &out, nullptr);
        triangles = out.numberoftriangles;
        for (triangulateio* r : {&mid, &vor, &out}) {
            for (void* p :
                 {static_cast<void*>(r->pointlist), static_cast<void*>(r->pointattributelist),
                  static_cast<void*>(r->pointmarkerlist), static_cast<void*>(r->trianglelist),
                  static_cast<void*>(r->triangleattributelist), static_cast<void*>(r->neighborlist),
                  static_cast<void*>(r->segmentlist), static_cast<void*>(r->segmentmarkerlist),
                  static_cast<void*>(r->edgelist), static_cast<void*>(r->edgemarkerlist),
                  static_cast<void*>(r->normlist)})
                trifree(p);
        }
    }
    state.counters["triangles"] = triangles;
}

// Areas 50, 5 and 0.5: about 180, 1,800 and 18,000 triangles.
BENCHMARK(BM_MeshIt)->Arg(500)->Arg(50)->Arg(5)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_DirectTriangulate)
    ->Arg(500)
    ->Arg(50)
    ->Arg(5)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
