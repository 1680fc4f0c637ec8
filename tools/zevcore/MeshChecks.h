#pragma once

// The checks that make `zevcore mesh` and the studio honest about a mesh: the shape of each
// element (for the quality summary and the picture) and whether the elements cover the region.
// measureQuality is declared with Quality in MeshIo.h and measureCoverage with Coverage in
// MeshPaver.h; both are defined here.

#include "tools/zevcore/MeshIo.h"

namespace zevtool::meshio {

/// Three or four corners, each a node of a mesh with `nodes` nodes.
bool validElement(const Element& e, int nodes);

struct ElementShape {
    double minAngle = 360.0, maxAngle = 0.0, aspect = 0.0;
    bool concave = false;
};

/// The angles, aspect ratio and concavity of a valid element.
ElementShape measureElement(const Mesh& mesh, const Element& e);

}  // namespace zevtool::meshio
