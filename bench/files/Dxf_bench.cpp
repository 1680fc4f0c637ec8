// Speed of the DXF writer and reader on a million LINEs, against the plainest C that does the
// same work: a fprintf loop writing the same text, and an fgets + strtod loop reading it.
// The writer should stay within 1.5 times its floor and the reader within 2 times its floor:
// bench/compare.py measures the same four (with dxflib and ezdxf) in one run and prints each
// ratio against that limit. The file's size is reported as a counter.

#include <benchmark/benchmark.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "zevcore/files/dxf/Dxf.h"

namespace {

constexpr int kLines = 1000000;

std::string scratch(const char* name) {
    std::string path = "/tmp/zev-bench-";
    path += std::to_string(static_cast<long>(getpid()));
    path += "-";
    return path + name;
}

// Coordinates with every digit of "%f" in use, different for every line.
double coordinate(int i, int k) {
    return (i % 100000) * 0.731 + k * 17.125 - 250.5;
}

double fileSize(const std::string& path) {
    struct stat s {};
    return stat(path.c_str(), &s) == 0 ? static_cast<double>(s.st_size) : 0.0;
}

void writeWithLibrary(const std::string& path) {
    HDXF h = dxfCreateFile(path.c_str());
    dxfSectionBegin(h, SEC_ENTITIES);
    for (int i = 0; i < kLines; ++i)
        dxfLine(h, coordinate(i, 0), coordinate(i, 1), coordinate(i, 2), coordinate(i, 3));
    dxfSectionEnd(h);
    dxfCloseFile(h);
}

void BM_DxfWriteLines(benchmark::State& state) {
    const std::string path = scratch("lines.dxf");
    for (auto _ : state) writeWithLibrary(path);
    state.counters["file_MB"] = fileSize(path) / 1e6;
    state.SetItemsProcessed(state.iterations() * kLines);
    std::remove(path.c_str());
}
BENCHMARK(BM_DxfWriteLines)->Unit(benchmark::kMillisecond)->Iterations(3);

// The floor: the same bytes through fprintf, group by group.
void BM_FprintfWriteLines(benchmark::State& state) {
    const std::string path = scratch("floor.dxf");
    for (auto _ : state) {
        std::FILE* f = std::fopen(path.c_str(), "w");
        std::fprintf(f, "%d\n%s\n%d\n%s\n", 0, "SECTION", 2, "ENTITIES");
        for (int i = 0; i < kLines; ++i) {
            std::fprintf(f, "%d\n%s\n", 0, "LINE");
            std::fprintf(f, "%d\n%s\n", 8, "0");
            std::fprintf(f, "%d\n%f\n", 10, coordinate(i, 0));
            std::fprintf(f, "%d\n%f\n", 20, coordinate(i, 1));
            std::fprintf(f, "%d\n%f\n", 30, 0.0);
            std::fprintf(f, "%d\n%f\n", 11, coordinate(i, 2));
            std::fprintf(f, "%d\n%f\n", 21, coordinate(i, 3));
            std::fprintf(f, "%d\n%f\n", 31, 0.0);
        }
        std::fprintf(f, "%d\n%s\n%d\n%s\n", 0, "ENDSEC", 0, "EOF");
        std::fclose(f);
    }
    state.counters["file_MB"] = fileSize(path) / 1e6;
    state.SetItemsProcessed(state.iterations() * kLines);
    std::remove(path.c_str());
}
BENCHMARK(BM_FprintfWriteLines)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_DxfReadLines(benchmark::State& state) {
    const std::string path = scratch("read.dxf");
    writeWithLibrary(path);
    tag_DXFENTITYHEADER header;
    DXFENTITYDATA data;
    for (auto _ : state) {
        HDXF h = dxfOpenFile(path.c_str());
        double sum = 0.0;
        int n = 0;
        while (unsigned long section = dxfFindNextSection(h)) {
            if (section != SEC_ENTITIES) continue;
            while (dxfReadEntityData(h, &header, &data)) {
                sum += data.Line.Point1.y;
                ++n;
            }
        }
        dxfCloseFile(h);
        if (n != kLines) state.SkipWithError("lines lost");
        benchmark::DoNotOptimize(sum);
    }
    state.counters["file_MB"] = fileSize(path) / 1e6;
    state.SetItemsProcessed(state.iterations() * kLines);
    std::remove(path.c_str());
}
BENCHMARK(BM_DxfReadLines)->Unit(benchmark::kMillisecond)->Iterations(3);

// The floor: every pair of lines through fgets, the code through atoi and the value through
// strtod, with nothing kept.
void BM_FgetsStrtodReadLines(benchmark::State& state) {
    const std::string path = scratch("readfloor.dxf");
    writeWithLibrary(path);
    for (auto _ : state) {
        std::FILE* f = std::fopen(path.c_str(), "r");
        char code[64], value[512];
        double sum = 0.0;
        long groups = 0;
        while (std::fgets(code, sizeof code, f) && std::fgets(value, sizeof value, f)) {
            groups += std::atoi(code);
            sum += std::strtod(value, nullptr);
        }
        std::fclose(f);
        benchmark::DoNotOptimize(sum);
        benchmark::DoNotOptimize(groups);
    }
    state.counters["file_MB"] = fileSize(path) / 1e6;
    state.SetItemsProcessed(state.iterations() * kLines);
    std::remove(path.c_str());
}
BENCHMARK(BM_FgetsStrtodReadLines)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
