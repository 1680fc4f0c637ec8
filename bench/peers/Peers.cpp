// ZEVCore and its peers on the same work, one side at a time, for bench/compare.
//
//   compare_peers list                  the cases, one "work side" a line
//   compare_peers run WORK SIDE COUNT   does the work COUNT times (0: only prepares it) and
//                                       prints "cpu_ns_per_op <n>" on stdout
//
// The repeated work runs inside zev_compare_measured, so that valgrind's callgrind can count
// that function alone (--toggle-collect=zev_compare_measured); what a case prepares beforehand
// is not counted. A side whose peer was not found when this was built is not listed.

#include <sys/resource.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "peers/Cases.h"

namespace {

double cpuSeconds() {
    // The children count too: a side that runs a program pays for it.
    double total = 0.0;
    for (int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage{};
        getrusage(who, &usage);
        total += static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                 static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
    }
    return total;
}

}  // namespace

// Kept out of line and unmangled so that callgrind can be told to count it alone.
extern "C" __attribute__((noinline)) void zev_compare_measured(const std::function<void()>& work,
                                                               long count) {
    for (long i = 0; i < count; ++i) work();
}

int main(int argc, char** argv) {
    std::vector<peers::Case> cases = peers::allCases();
    if (argc == 2 && std::strcmp(argv[1], "list") == 0) {
        for (const peers::Case& c : cases) std::printf("%s %s\n", c.work, c.side);
        return 0;
    }
    if (argc != 5 || std::strcmp(argv[1], "run") != 0) {
        std::fprintf(stderr, "usage: compare_peers list | run WORK SIDE COUNT\n");
        return 2;
    }
    const long count = std::strtol(argv[4], nullptr, 10);
    for (const peers::Case& c : cases) {
        if (c.work != std::string(argv[2]) || c.side != std::string(argv[3])) continue;
        // The work may send standard output elsewhere (Triangle's chatter); the answer goes to
        // the standard output the driver was given.
        const int answer = dup(1);
        std::function<void()> work = c.prepare();
        if (!work) {
            std::fprintf(stderr, "compare_peers: %s %s could not be prepared\n", c.work, c.side);
            return 1;
        }
        const double start = cpuSeconds();
        zev_compare_measured(work, count);
        const double seconds = cpuSeconds() - start;
        dprintf(answer, "cpu_ns_per_op %.1f\n",
                count > 0 ? seconds * 1e9 / static_cast<double>(count) : 0.0);
        close(answer);
        return 0;
    }
    std::fprintf(stderr, "compare_peers: no case %s %s\n", argv[2], argv[3]);
    return 2;
}
