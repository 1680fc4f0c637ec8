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

/// The lines the summary adds for triangles: count, smallest angle and the bound.
std::string triangleSummaryText(const Mesh& mesh, const Quality& quality, bool conforming);

}  // namespace zevtool::meshio
