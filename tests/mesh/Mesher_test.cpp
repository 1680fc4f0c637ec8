#include "zevcore/mesh/Mesher.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

#include "zevcore/platform/services/Host.h"

namespace zm = zev::mesh;

namespace {

const std::vector<zm::Point> kSquare{{0, 0}, {10, 0}, {10, 10}, {0, 10}};
const std::vector<zm::Point> kHole{{4, 4}, {6, 4}, {6, 6}, {4, 6}};

std::string refusal(const std::vector<std::vector<zm::Point>>& loops,
                    const std::vector<zm::Point>& points = {}) {
    try {
        zm::regionFromLoops(loops, points);
    } catch (const zm::InputError& e) {
        EXPECT_EQ(e.line(), 0);
        return e.what();
    }
    return "";
}

TEST(RegionFromLoops, OrientsTheLoopsAndDropsARepeatedFirstPoint) {
    std::vector<zm::Point> clockwise(kSquare.rbegin(), kSquare.rend());
    clockwise.push_back(clockwise.front());
    const zm::Region region = zm::regionFromLoops({clockwise, kHole}, {{1, 1}});
    EXPECT_TRUE(zm::IsValid(region));
    ASSERT_EQ(region.loops.size(), 2u);
    EXPECT_EQ(region.loops[0].size(), 4u);
    EXPECT_GT(zm::signedArea(region.loops[0]), 0.0);
    EXPECT_LT(zm::signedArea(region.loops[1]), 0.0);
    EXPECT_EQ(region.interiorPoints.size(), 1u);
}

TEST(RegionFromLoops, NamesTheLoopThatIsRefused) {
    const double nan = std::nan("");
    const struct {
        std::vector<std::vector<zm::Point>> loops;
        std::vector<zm::Point> points;
        const char* message;
    } cases[] = {
        {{}, {}, "no boundary loop"},
        {{{{0, 0}, {1, 0}}},
         {},
         "the outer boundary: a loop needs at least three different points"},
        {{{{0, 0}, {2, 2}, {2, 0}, {0, 2}}}, {}, "the outer boundary: the loop crosses itself"},
        {{{{0, 0}, {1, 0}, {2, 0}}}, {}, "the outer boundary: the loop encloses no area"},
        {{kSquare, {{20, 20}, {21, 20}, {21, 21}}},
         {},
         "hole 1: a hole must lie inside the outer boundary"},
        {{kSquare, kHole, {{5, 5}, {7, 5}, {7, 7}}},
         {},
         "hole 2: the loop crosses an earlier loop"},
        {{{{0, 0}, {nan, 0}, {1, 1}}},
         {},
         "the outer boundary: a coordinate is not a finite number"},
        {{kSquare}, {{nan, 1}}, "a constraint point is not a finite number"},
    };
    for (const auto& c : cases) EXPECT_EQ(refusal(c.loops, c.points), c.message);
}

TEST(MeshRegion, AnswersAMeshThatCoversTheRegionInEveryMethod) {
    const zm::Region region = zm::regionFromLoops({kSquare, kHole});
    for (zm::Method method : {zm::Method::Stated, zm::Method::Extended, zm::Method::Triangle}) {
        zm::Options options;
        options.method = method;
        options.size = 1.0;
        const zm::Result result = zm::meshRegion(region, options);
        SCOPED_TRACE(zm::methodName(method));
        EXPECT_TRUE(zm::IsValid(result.mesh));
        EXPECT_EQ(result.failure, "");
        EXPECT_TRUE(result.coverage.covered());
        EXPECT_NEAR(result.coverage.elementArea, 96.0, 1e-6);
        const int corners = method == zm::Method::Triangle ? 3 : 4;
        for (const zm::Element& e : result.mesh.elements) EXPECT_EQ(e.count, corners);
        EXPECT_NE(zm::summaryText(result).find("covered:           yes (elements 96 of region 96"),
                  std::string::npos);
    }
}

TEST(MeshRegion, RefusesWhatWouldTakeTooLongOrLiesTooFar) {
    const struct {
        std::vector<zm::Point> outer;
        double size;
        const char* message;
    } cases[] = {
        {kSquare, 1e-4,
         "the size 0.0001 would need 4e+05 boundary segments (at most 100000; give a larger size)"},
        {kSquare, -1.0, "the size -1 is not a positive number"},
        {{{0, 0}, {1e300, 0}, {1, 1}},
         1.0,
         "the region has a coordinate of 1e+300 (at most 1e+15: move it nearer 0)"},
    };
    for (const auto& c : cases) {
        zm::Options options;
        options.size = c.size;
        try {
            zm::meshRegion(zm::regionFromLoops({c.outer}), options);
            ADD_FAILURE() << c.message;
        } catch (const std::invalid_argument& e) {
            EXPECT_STREQ(e.what(), c.message);
        }
    }
}

TEST(MeshRegion, TheStopFlagStopsThePaverAndTheWindowServiceIsPutBack) {
    IZEVWindowService* before = &ZEVWindows();
    std::atomic<bool> stop{false};
    std::vector<std::string> lines;
    zm::Options options;
    options.method = zm::Method::Stated;
    options.size = 0.5;
    options.stop = &stop;
    options.progress = [&](const std::string& line) {
        lines.push_back(line);
        stop = true;
    };
    EXPECT_THROW(zm::meshRegion(zm::regionFromLoops({kSquare}), options), zm::Stopped);
    EXPECT_EQ(lines, std::vector<std::string>{"Preparing shape for mesher..."});
    EXPECT_EQ(&ZEVWindows(), before);
}

TEST(MeshRegion, WhatTheProgressCallbackThrowsComesOut) {
    IZEVWindowService* before = &ZEVWindows();
    zm::Options options;
    options.method = zm::Method::Stated;
    options.progress = [](const std::string&) { throw std::out_of_range("enough"); };
    EXPECT_THROW(zm::meshRegion(zm::regionFromLoops({kSquare}), options), std::out_of_range);
    EXPECT_EQ(&ZEVWindows(), before);
    options.progress = nullptr;
    EXPECT_EQ(zm::meshRegion(zm::regionFromLoops({kSquare}), options).failure, "");
}

TEST(MeshMethods, NamesGoBothWays) {
    for (zm::Method m :
         {zm::Method::Paver, zm::Method::Stated, zm::Method::Extended, zm::Method::Triangle}) {
        zm::Method back = zm::Method::Triangle;
        EXPECT_TRUE(zm::methodOfName(zm::methodName(m), back));
        EXPECT_EQ(back, m);
    }
    zm::Method unchanged = zm::Method::Stated;
    EXPECT_FALSE(zm::methodOfName("quad", unchanged));
    EXPECT_EQ(unchanged, zm::Method::Stated);
}

}  // namespace
