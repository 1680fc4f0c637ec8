#pragma once

// `zevcore mesh --method triangle`: a region meshed in triangles by ZEVTriangleMesher.

#include <string>

#include "tools/zevcore/MeshIo.h"

namespace zevtool::meshio {

struct TriangleResult {
    Mesh mesh;
    /// Interior constraint points with no node of the mesh on them.
    int missedInteriorPoints = 0;
    /// The mesher's diagnostic when it made no triangles, else "".
    std::string error;
};

/// Meshes the region: loops[0] is the boundary, the other loops holes (void unless the
/// region marks them solid), interior points fixed, boundary points folded into the outline
/// they lie on. `maxArea` bounds every triangle; `conforming` asks for a conforming Delaunay
/// mesh instead of the quality mesh (minimum angle 20 degrees).
TriangleResult meshWithTriangle(const Region& region, double maxArea, bool conforming);

/// A run is refused when the region's meshed area over the largest triangle area asked for
/// (the fewest triangles that can cover it) exceeds this.
constexpr double kMaxTriangles = 500000;
/// Why meshing the region with triangles of at most `maxArea` would take too long: "" when it
/// would not, else the reason, as "would need at least
/// 1e+06 triangles (at most 500000; give a larger area)".
std::string triangleCountProblem(const Region& region, double maxArea);

/// The lines the summary adds for triangles: count, smallest angle and the bound.
std::string triangleSummaryText(const Mesh& mesh, const Quality& quality, bool conforming);

}  // namespace zevtool::meshio
