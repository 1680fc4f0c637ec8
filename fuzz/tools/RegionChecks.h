#pragma once

// What every region the tool's readers accept must satisfy, and the boundary-file text that
// gives it back: the fuzz targets trap when a region breaks it.

#include <cmath>
#include <cstdio>
#include <string>

#include "tools/zevcore/MeshIo.h"

namespace zevfuzz {

inline void require(bool holds) {
    if (!holds) __builtin_trap();
}

/// Loops of three or more finite corners, the outer one counter-clockwise and the holes
/// clockwise, no two sides meeting but at a corner they share, every hole directly in the
/// outer loop.
inline void checkRegion(const zevtool::meshio::Region& region) {
    using namespace zevtool::meshio;
    require(!region.loops.empty());
    require(region.solid.size() == region.loops.size());
    for (size_t l = 0; l < region.loops.size(); ++l) {
        require(region.loops[l].size() >= 3);
        for (const Point& p : region.loops[l]) require(std::isfinite(p.x) && std::isfinite(p.y));
        require(l == 0 ? signedArea(region.loops[l]) > 0.0 : signedArea(region.loops[l]) < 0.0);
    }
    const LoopLayout layout = layOutLoops(region.loops);
    require(!layout.meet);
    require(layout.parent[0] == -1);
    for (size_t l = 1; l < region.loops.size(); ++l) require(layout.parent[l] == 0);
}

/// The region as a boundary file, every number to the bit.
inline std::string boundaryText(const zevtool::meshio::Region& region) {
    std::string text;
    char line[80];
    auto point = [&](const zevtool::meshio::Point& p) {
        std::snprintf(line, sizeof line, "%.17g %.17g\n", p.x, p.y);
        text += line;
    };
    for (size_t l = 0; l < region.loops.size(); ++l) {
        if (region.solid[l]) text += "solid\n";
        for (const auto& p : region.loops[l]) point(p);
        point(region.loops[l].front());
        text += "\n";
    }
    if (!region.interiorPoints.empty()) text += "interior\n";
    for (const auto& p : region.interiorPoints) point(p);
    text += "\n";
    if (!region.boundaryPoints.empty()) text += "boundary\n";
    for (const auto& p : region.boundaryPoints) point(p);
    return text;
}

inline bool samePoints(const std::vector<zevtool::meshio::Point>& a,
                       const std::vector<zevtool::meshio::Point>& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (a[i].x != b[i].x || a[i].y != b[i].y) return false;
    return true;
}

/// Read again from its own boundary text, the region comes back the same.
inline void checkRoundTrip(const zevtool::meshio::Region& region) {
    const zevtool::meshio::Region again = zevtool::meshio::parseBoundaryText(boundaryText(region));
    require(again.loops.size() == region.loops.size() && again.solid == region.solid);
    for (size_t l = 0; l < region.loops.size(); ++l)
        require(samePoints(again.loops[l], region.loops[l]));
    require(samePoints(again.interiorPoints, region.interiorPoints));
    require(samePoints(again.boundaryPoints, region.boundaryPoints));
}

}  // namespace zevfuzz
