// The default mode's exact output on many regions, recorded before the speed work: any change
// of a coordinate bit or of the connectivity shows here. Set ZEV_PAVER_PRINT_REFERENCE=1 to
// print the table afresh (only when a change of output is intended, and say why).

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>

#include "Regions.h"

namespace paver_test {
namespace {

struct Case {
    std::string name;
    std::function<void(Paver::CMeshModel&)> load;
    double size;
};

std::vector<Case> cases() {
    std::vector<Case> all;
    auto sized = [](double s) {
        char text[32];
        std::snprintf(text, sizeof text, "@%g", s);
        return std::string(text);
    };
    for (int shape = 1; shape <= 5; ++shape)
        for (double size : {0.5, 0.3})
            all.push_back({"shape" + std::to_string(shape) + sized(size),
                           [shape](Paver::CMeshModel& m) { m.DrawShape(shape); }, size});
    all.push_back({"S1@0.2", [](Paver::CMeshModel& m) { m.DrawShape1(); }, 0.2});
    for (double size : {0.8, 0.4})
        all.push_back(
            {"S3" + sized(size), [](Paver::CMeshModel& m) { addLoops(m, {octagonS3()}); }, size});
    for (double size : {0.6, 0.45})
        all.push_back({"S4" + sized(size),
                       [](Paver::CMeshModel& m) { addLoops(m, squareWithRoundHole()); }, size});
    for (unsigned seed = 1; seed <= 24; ++seed) {
        Region region = starRegion(seed);
        all.push_back({region.name + sized(seed % 3 == 0 ? 0.3 : 0.5),
                       [region](Paver::CMeshModel& m) { addLoops(m, region.loops); },
                       seed % 3 == 0 ? 0.3 : 0.5});
    }
    // Regions where edges far apart on almost one line meet the crossing test.
    all.push_back({"shape4@0.25", [](Paver::CMeshModel& m) { m.DrawShape4(); }, 0.25});
    for (unsigned seed : {44u, 135u}) {
        Region region = starRegion(seed);
        double size = seed == 44 ? 0.5 : 0.2;
        all.push_back({region.name + sized(size),
                       [region](Paver::CMeshModel& m) { addLoops(m, region.loops); }, size});
    }
    return all;
}

// Recorded from the paver as it stood before the speed work (the last three from its walk over
// every pair of edges, which the first grid of nearby edges did not match).
const std::map<std::string, uint64_t> kReference = {
    {"shape1@0.5", 0xabee8e48b1e574eeULL},   // 204 elements
    {"shape1@0.3", 0x2781638ec0a2c5b3ULL},   // 525 elements
    {"shape2@0.5", 0xd6280947b020936aULL},   // 252 elements
    {"shape2@0.3", 0x39532e85ba3c288cULL},   // 673 elements
    {"shape3@0.5", 0x07096999ca588561ULL},   // 1212 elements
    {"shape3@0.3", 0x4a8cd3a4d248f688ULL},   // 1825 elements
    {"shape4@0.5", 0x6bc54fb9862a302cULL},   // 77 elements
    {"shape4@0.3", 0x7d2e7ea09146c98dULL},   // 203 elements
    {"shape5@0.5", 0xa1e55067e759b534ULL},   // 233 elements
    {"shape5@0.3", 0x7fed35e46e4e4346ULL},   // 611 elements
    {"S1@0.2", 0xa745d5e43cca5ffbULL},       // 1091 elements
    {"S3@0.8", 0x9e21ecb330b05ac6ULL},       // 440 elements
    {"S3@0.4", 0x851962c4f3449668ULL},       // 1212 elements
    {"S4@0.6", 0xd444be2930123435ULL},       // 883 elements
    {"S4@0.45", 0x899848f00f91fe36ULL},      // 935 elements
    {"star1@0.5", 0xad594f45094a8423ULL},    // 565 elements
    {"star2@0.5", 0x54742444ddeb0ea7ULL},    // 908 elements
    {"star3@0.3", 0x83bf0ae24f2febe7ULL},    // 953 elements
    {"star4@0.5", 0x7b5d4e9d298fa2b5ULL},    // 367 elements
    {"star5@0.5", 0xe27db3bf45a93581ULL},    // 450 elements
    {"star6@0.3", 0xb3f5779c095c01b8ULL},    // 1993 elements
    {"star7@0.5", 0xc66ea081357d784cULL},    // 342 elements
    {"star8@0.5", 0x5b19d772cdac8537ULL},    // 850 elements
    {"star9@0.3", 0xe69b2379f7f9eb92ULL},    // 421 elements
    {"star10@0.5", 0x3e09b44e82c55636ULL},   // 826 elements
    {"star11@0.5", 0x161e9c7e272b5951ULL},   // 1145 elements
    {"star12@0.3", 0xa5624b39fa9b48a6ULL},   // 578 elements
    {"star13@0.5", 0xfb18773d09ffffa4ULL},   // 1170 elements
    {"star14@0.5", 0x05d7e185cf22f6d0ULL},   // 593 elements
    {"star15@0.3", 0x4ab5cf2c7fb31184ULL},   // 980 elements
    {"star16@0.5", 0x30f64615aedb03a9ULL},   // 391 elements
    {"star17@0.5", 0x7ba1bbe93d9ba16eULL},   // 609 elements
    {"star18@0.3", 0x5d0657a1ca9a4ca9ULL},   // 1770 elements
    {"star19@0.5", 0xa2b51a91df7802deULL},   // 351 elements
    {"star20@0.5", 0x4b08e03e12fd07a0ULL},   // 2020 elements
    {"star21@0.3", 0x9bbee52d21651a28ULL},   // 396 elements
    {"star22@0.5", 0xc13d859d49107176ULL},   // 390 elements
    {"star23@0.5", 0xe2709236005a5e64ULL},   // 832 elements
    {"star24@0.3", 0xfdb57a9b7dd57ff4ULL},   // 573 elements
    {"shape4@0.25", 0x53489667d0409c9fULL},  // 242 elements
    {"star44@0.5", 0xe8e54195fa9f225fULL},   // 922 elements
    {"star135@0.2", 0xacfcd286d07486a1ULL},  // 931 elements
};

TEST(PavingReference, DefaultModeOutputIsUnchanged) {
    const bool print = std::getenv("ZEV_PAVER_PRINT_REFERENCE") != nullptr;
    for (const Case& c : cases()) {
        Paver::CMeshModel model;
        c.load(model);
        bool result = model.Mesh(1, c.size, 0, false);
        uint64_t hash = meshHash(model, result);
        if (print) {
            std::printf("    {\"%s\", 0x%016llxULL},  // %d elements\n", c.name.c_str(),
                        static_cast<unsigned long long>(hash), model.NumQuads());
            continue;
        }
        auto it = kReference.find(c.name);
        ASSERT_NE(it, kReference.end()) << c.name;
        EXPECT_EQ(it->second, hash) << c.name;
    }
}

}  // namespace
}  // namespace paver_test
