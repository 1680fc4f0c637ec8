#pragma once

// Runs the Triangle library where it cannot take the host down. Triangle ends the process
// with exit() on its own errors, crashes on some inputs and can refine without end; so its
// work runs in a child process with a processor-time and a memory limit, and only the result
// comes back. The work is the same code in the same order as in the host, so a run that
// succeeds gives the same numbers to the bit.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace zevtriangle {

/// What the host reads of Triangle's output record.
struct Output {
    std::vector<double> points;     // x, y in turn
    std::vector<int> pointMarkers;  // one a point, or empty when Triangle gave none
    std::vector<int> triangles;     // `corners` indices a triangle
    int corners = 3;
};

struct Limits {
    int cpuSeconds = 120;
    std::int64_t memoryBytes = std::int64_t{4} << 30;
};

/// The limits runs take from now on; out-of-range values keep the defaults above.
void setLimits(int cpuSeconds, std::int64_t memoryBytes);
Limits limits();

/// Runs `work` in a child process. `work` calls Triangle and answers its output record's
/// fields through `Output`. True with the output when the child finished; false with
/// `failure` saying why not: what the work printed on standard output, its white space
/// collapsed, else the child's exit status or signal, or a cut result. Nothing the work prints
/// reaches the host's standard output. `cpuSeconds`, when positive, lowers the
/// processor-time limit for this run.
bool runIsolated(const std::function<void(Output&)>& work, Output& output, std::string& failure,
                 int cpuSeconds = 0);

/// The first 4 KiB of the open file `fd`, from its start, on one line: runs of white space
/// made one blank. Empty when the file cannot be read.
std::string collapsedWords(int fd);

}  // namespace zevtriangle
