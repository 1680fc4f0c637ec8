#pragma once

// Regions the paving tests run on: the reference shapes, and star-shaped regions (optionally
// with a hole) drawn from a fixed seed, with a hash of a model's exact output.

#include <bit>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "zevcore/mesh/paver/MeshModel.h"

namespace paver_test {

using Loop = std::vector<Paver::CPoint2D>;

struct Region {
    std::string name;
    std::vector<Loop> loops;  // outer counter-clockwise, holes clockwise
};

inline void addLoops(Paver::CMeshModel& model, const std::vector<Loop>& loops) {
    for (const Loop& loop : loops) {
        for (size_t i = 0; i < loop.size(); ++i)
            model.AddBoundaryLine(Paver::CLine2D(loop[i], loop[(i + 1) % loop.size()]));
        model.AddBoundary();
    }
}

// An octagon of radius 4 with the corners of the boundary file S3 (its own rounding).
inline Loop octagonS3() {
    return {{4, 0},  {2.8284271247461903, 2.8284271247461898},
            {0, 4},  {-2.8284271247461898, 2.8284271247461903},
            {-4, 0}, {-2.8284271247461907, -2.8284271247461898},
            {0, -4}, {2.8284271247461894, -2.8284271247461907}};
}

// A square of side 10 with a hole of 16 sides and radius 2, clockwise.
inline std::vector<Loop> squareWithRoundHole() {
    Loop hole;
    for (int k = 16; k > 0; --k) {
        double a = 2.0 * M_PI * k / 16.0;
        hole.push_back({2.0 * std::cos(a), 2.0 * std::sin(a)});
    }
    return {{{-5, -5}, {5, -5}, {5, 5}, {-5, 5}}, hole};
}

// A star-shaped region about the origin with 8 to 60 corners at radii 2 to 4; some have a
// very short edge, and some a hole (a clockwise polygon well inside the smallest radius).
inline Region starRegion(unsigned seed) {
    std::mt19937 random(seed);
    auto unit = [&]() { return static_cast<double>(random() >> 8) / 16777216.0; };
    int corners = 8 + static_cast<int>(unit() * 53.0);
    bool shortEdge = unit() < 0.3;
    bool hole = unit() < 0.4;
    Loop outer;
    for (int k = 0; k < corners; ++k) {
        double a = 2.0 * M_PI * (k + 0.8 * unit()) / corners;
        double r = 2.0 + 2.0 * unit();
        outer.push_back({r * std::cos(a), r * std::sin(a)});
        if (shortEdge && k == corners / 2)
            outer.push_back({r * std::cos(a + 1e-3), r * std::sin(a + 1e-3)});
    }
    Region region{"star" + std::to_string(seed), {outer}};
    if (hole) {
        int sides = 4 + static_cast<int>(unit() * 5.0);
        double r = 0.6 + 0.6 * unit();
        Loop inner;
        for (int k = sides; k > 0; --k) {
            double a = 2.0 * M_PI * k / sides;
            inner.push_back({r * std::cos(a), r * std::sin(a)});
        }
        region.loops.push_back(inner);
    }
    return region;
}

// FNV-1a over the outcome, every coordinate bit for bit and the connectivity.
inline uint64_t meshHash(const Paver::CMeshModel& model, bool result) {
    uint64_t h = 1469598103934665603ULL;
    auto mix = [&](uint64_t value) {
        for (int i = 0; i < 8; ++i) {
            h ^= (value >> (8 * i)) & 0xFF;
            h *= 1099511628211ULL;
        }
    };
    mix(result ? 1 : 0);
    mix(model.fronts.size());
    mix(static_cast<uint64_t>(model.NumVertices()));
    for (int i = 0; i < model.NumVertices(); ++i) {
        mix(std::bit_cast<uint64_t>(model.GetX(i)));
        mix(std::bit_cast<uint64_t>(model.GetY(i)));
    }
    mix(static_cast<uint64_t>(model.NumQuads()));
    for (int q = 0; q < model.NumQuads(); ++q)
        for (int c = 0; c < 4; ++c) mix(static_cast<uint64_t>(model.GetQuadVertIndex(q, c)));
    return h;
}

}  // namespace paver_test
