#pragma once

// `zevcore mesh` and DXF drawings: a region read from a drawing's entities, and a mesh
// written as a drawing.

#include <string>

#include "tools/zevcore/MeshIo.h"

namespace zevtool::meshio {

/// A region from the ENTITIES of a DXF file: closed polylines (POLYLINE with flag 1,
/// LWPOLYLINE) and CIRCLEs, and closed chains of LINEs, ARCs and open polylines' segments
/// (ends meet within a billionth of the drawing's extent) are loops; arcs and bulges become
/// chords of at most 10 degrees. The loop that lies in no other is the outer boundary, the
/// loops inside it holes, whatever their order in the file; POINTs are interior constraint
/// points. The region is then checked as a boundary file is. Throws InputError (line 0) for
/// anything that is no single region.
Region readDxfRegion(const std::string& path);

/// The mesh as a DXF file: the region's loops as closed polylines on layer "BOUNDARY", each
/// element a closed polyline (or with `faces` a 3DFACE, a triangle repeating its last
/// corner) on layer "MESH".
std::string dxfMeshText(const Region& region, const Mesh& mesh, bool faces);

}  // namespace zevtool::meshio
