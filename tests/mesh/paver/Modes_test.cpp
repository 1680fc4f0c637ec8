// Every region through both modes with the invariants checked after every operation: the
// extended mode must keep them and cover the region every time; the stated mode's runs that
// break an invariant or leave a gap are listed by name, so that a change either way shows.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "Regions.h"
#include "TestModel.h"

namespace paver_test {
namespace {

struct Shape {
    std::string name;
    std::function<void(Paver::CMeshModel&)> load;
};

std::vector<Shape> shapes() {
    std::vector<Shape> all;
    for (int n = 1; n <= 5; ++n)
        all.push_back({"shape" + std::to_string(n), [n](Paver::CMeshModel& m) { m.DrawShape(n); }});
    all.push_back({"S3", [](Paver::CMeshModel& m) { addLoops(m, {octagonS3()}); }});
    all.push_back({"S4", [](Paver::CMeshModel& m) { addLoops(m, squareWithRoundHole()); }});
    for (unsigned seed : {3u, 9u, 14u}) {
        const Region region = starRegion(seed);
        all.push_back({region.name, [region](Paver::CMeshModel& m) { addLoops(m, region.loops); }});
    }
    return all;
}

double loopsArea(const std::vector<std::vector<Paver::CPoint2D>>& loops) {
    double twice = 0.0;
    for (const auto& loop : loops)
        for (std::size_t i = 0; i < loop.size(); ++i) {
            const auto& a = loop[i];
            const auto& b = loop[(i + 1) % loop.size()];
            twice += a.x * b.y - b.x * a.y;
        }
    return 0.5 * twice;
}

// The stated mode's runs that break an invariant or do not cover their region (see
// docs/mesh.md, Invariants: the clean-up's removed element, rows that fold onto their edge,
// seams joining two corners of one element).
const std::set<std::string> kStatedFailures = {
    "S3@0.3",     "S3@0.5",     "S4@0.3",     "S4@0.5",     "shape1@0.3",
    "shape1@0.5", "shape3@0.3", "shape3@0.5", "shape4@0.3", "shape4@0.5",
    "shape5@0.5", "star14@0.5", "star3@0.5",  "star9@0.5",
};

TEST(PaverModes, EveryRegionInBothModesWithTheInvariantsChecked) {
    std::set<std::string> statedFailures;
    for (const Shape& shape : shapes()) {
        for (double size : {0.5, 0.3}) {
            if (size < 0.5 && shape.name.rfind("star", 0) == 0) continue;  // time under asan
            char at[16];
            std::snprintf(at, sizeof at, "@%g", size);
            const std::string name = shape.name + at;
            for (bool extended : {false, true}) {
                Paver::CMeshModel model;
                shape.load(model);
                std::vector<std::vector<Paver::CPoint2D>> drawn;
                for (const auto& boundary : model.boundaries) {
                    drawn.emplace_back();
                    for (const Paver::CLine2D& line : boundary) drawn.back().push_back(line.start);
                }
                model.SetExtended(extended);
                model.SetCheckInvariants(true);
                const bool answered = model.Mesh(1, size, 0, false);
                double covered = 0.0;
                for (const Quad* q : model.quads) covered += signedArea(q);
                const double region = std::fabs(loopsArea(extended ? model.MeshedLoops() : drawn));
                // The stated mode's boundary nodes stand on float-stepped positions.
                const double tolerance = extended ? 1e-9 : 1e-5;
                const bool whole = answered && model.fronts.empty() &&
                                   std::fabs(covered - region) <= tolerance * region;
                const bool sound = model.FirstInvalidStep().empty() && model.IsValid();
                if (extended) {
                    EXPECT_TRUE(whole) << name;
                    EXPECT_TRUE(sound) << name << ": " << model.FirstInvalidStep();
                } else if (!whole || !sound) {
                    statedFailures.insert(name);
                }
            }
        }
    }
    EXPECT_EQ(statedFailures, kStatedFailures);
}

}  // namespace
}  // namespace paver_test
