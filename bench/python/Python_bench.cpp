// What the Python package adds to a mesh: the same region meshed by the library's entry point
// and by zevcore.mesh in an embedded interpreter, which hands the nodes and elements over as
// numpy arrays. Compare the two times of each method.

#include <benchmark/benchmark.h>
#include <pybind11/embed.h>

#include <chrono>
#include <memory>

#include "zevcore/mesh/Mesher.h"

namespace py = pybind11;
namespace zm = zev::mesh;

namespace {

// A square that meshes in about 100000 elements with either method.
constexpr double kSide = 1000.0;
constexpr double kTriangleSize = 6.0;
constexpr double kPaverSize = 3.2;

zm::Options optionsFor(zm::Method method) {
    zm::Options options;
    options.method = method;
    options.size = method == zm::Method::Triangle ? kTriangleSize : kPaverSize;
    return options;
}

zm::Method methodOf(const benchmark::State& state) {
    return state.range(0) == 0 ? zm::Method::Triangle : zm::Method::Extended;
}

void BM_MeshInCpp(benchmark::State& state) {
    const zm::Region region =
        zm::regionFromLoops({{{0, 0}, {kSide, 0}, {kSide, kSide}, {0, kSide}}});
    const zm::Options options = optionsFor(methodOf(state));
    size_t elements = 0;
    for (auto _ : state) {
        const zm::Result result = zm::meshRegion(region, options);
        elements = result.mesh.elements.size();
        benchmark::DoNotOptimize(result.mesh.nodes.data());
    }
    state.counters["elements"] = static_cast<double>(elements);
}

py::module_& zevcore() {
    static std::unique_ptr<py::scoped_interpreter> interpreter;
    static py::module_ module;
    if (!interpreter) {
        interpreter = std::make_unique<py::scoped_interpreter>();
        py::module_::import("sys").attr("path").attr("insert")(0, ZEV_PYTHON_DIR);
        module = py::module_::import("zevcore");
    }
    return module;
}

// Besides the time, the share of each call spent outside the library's meshRegion (reading
// the arguments, handing the arrays over), from the library's own time in the same call.
void BM_MeshFromPython(benchmark::State& state) {
    py::module_& module = zevcore();
    const zm::Method method = methodOf(state);
    const zm::Options options = optionsFor(method);
    py::list outer;
    for (auto [x, y] : {std::pair{0.0, 0.0}, {kSide, 0.0}, {kSide, kSide}, {0.0, kSide}})
        outer.append(py::make_tuple(x, y));
    size_t elements = 0;
    double total = 0.0, mesher = 0.0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        py::object mesh = module.attr("mesh")(outer, py::arg("size") = options.size,
                                              py::arg("method") = zm::methodName(method));
        total += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        mesher += mesh.attr("mesher_seconds").cast<double>();
        elements = py::len(mesh.attr("elements"));
        benchmark::DoNotOptimize(mesh.ptr());
    }
    state.counters["elements"] = static_cast<double>(elements);
    state.counters["outside_percent"] = mesher > 0.0 ? 100.0 * (total - mesher) / mesher : 0.0;
}

// Argument 0: triangles; 1: the paver.
BENCHMARK(BM_MeshInCpp)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_MeshFromPython)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
