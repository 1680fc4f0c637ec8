// Triangle's work in a child process: whatever the work does, the host gets an answer.

#include "zevcore/mesh/TriangleProcess.hpp"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

using zevtriangle::Output;

TEST(TriangleProcess, TheResultComesBackWhole) {
    Output output;
    std::string failure;
    ASSERT_TRUE(zevtriangle::runIsolated(
        [](Output& o) {
            o.points = {0.1, 0.2, 1e300, -0.0};
            o.pointMarkers = {1, 2};
            o.triangles = {0, 1, 0, 9, 9, 9};
            o.corners = 3;
        },
        output, failure))
        << failure;
    EXPECT_EQ(output.points, (std::vector<double>{0.1, 0.2, 1e300, -0.0}));
    EXPECT_TRUE(std::signbit(output.points[3]));
    EXPECT_EQ(output.pointMarkers, (std::vector<int>{1, 2}));
    EXPECT_EQ(output.triangles.size(), 6u);
}

TEST(TriangleProcess, ExitsCrashesAndRunawaysEndInAFailureTheHostSurvives) {
    const struct {
        const char* name;
        void (*work)(Output&);
        const char* failure;
    } cases[] = {
        {"exit", [](Output&) { std::exit(1); }, "The triangulation failed (exit status 1)."},
        {"crash", [](Output&) { raise(SIGSEGV); },
         "The triangulation stopped on signal 11 (Segmentation fault)."},
        {"runaway",
         [](Output&) {
             static volatile unsigned long turns = 0;
             for (;;) {
                 turns = turns + 1;
             }
         },
         "The triangulation ran past its limit of 1 seconds."},
    };
    const zevtriangle::Limits before = zevtriangle::limits();
    zevtriangle::setLimits(1, before.memoryBytes);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Output output;
        std::string failure;
        EXPECT_FALSE(zevtriangle::runIsolated(c.work, output, failure));
        EXPECT_EQ(failure, c.failure);
    }
    zevtriangle::setLimits(before.cpuSeconds, before.memoryBytes);
}

// The child wrote Triangle's error messages to the host's standard output (where they would
// corrupt a mesh file written there), and its exit() ran the host's exit handlers.
TEST(TriangleProcessRegression, TheChildsWordsAndExitStayOutOfTheHost) {
    // An exit handler of the host's that leaves a mark where the host can see it.
    static const int marks = memfd_create("exit-marks", 0);
    ASSERT_GE(marks, 0);
    std::atexit([] { (void)!::write(marks, "x", 1); });
    Output output;
    std::string failure;
    testing::internal::CaptureStdout();
    const bool finished = zevtriangle::runIsolated(
        [](Output&) {
            std::printf("Error:  Maximum area\n  must be greater than zero.\n");
            std::exit(1);
        },
        output, failure);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_FALSE(finished);
    EXPECT_EQ(failure, "Error: Maximum area must be greater than zero.");
    EXPECT_EQ(::lseek(marks, 0, SEEK_END), 0) << "the host's exit handler ran in the child";

    // Words of a run that succeeds are dropped.
    testing::internal::CaptureStdout();
    EXPECT_TRUE(zevtriangle::runIsolated(
        [](Output& o) {
            std::printf("Constructing Delaunay triangulation.\n");
            o.corners = 3;
        },
        output, failure));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

}  // namespace
