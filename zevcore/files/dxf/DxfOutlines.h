#pragma once

// The outlines of a planar region drawn in a DXF file, for a mesher to take: which closed
// shapes there are, which one holds the others, and the points marked inside.

#include <string>
#include <vector>

#include "zevcore/Export.h"

namespace zev::dxf {

struct OutlinePoint {
    double x = 0.0;
    double y = 0.0;
};

struct Outlines {
    /// loops[0] is the outer loop, the others the holes in it; each open (its closing side
    /// implied), in the drawing's direction.
    std::vector<std::vector<OutlinePoint>> loops;
    /// The drawing's POINTs.
    std::vector<OutlinePoint> points;
};

/// The outlines in the ENTITIES of a DXF file: closed polylines (POLYLINE with flag 1,
/// LWPOLYLINE) and CIRCLEs, and closed chains of LINEs, ARCs and open polylines' segments
/// (ends meet within a billionth of the drawing's extent) are loops; arcs and bulges become
/// chords of at most 10 degrees. The loop that lies in no other is the outer loop, the loops
/// inside it holes, whatever their order in the file; POINTs are points. With `layers`, only
/// the entities on those layers count (names matched blind to case). Throws
/// std::runtime_error for anything that is no single region: "cannot read the file", "the
/// chain of lines is open at (0, 0)", "the drawing holds 2 loops that lie in no other (give
/// one region)".
ZEVCORE_API Outlines readDxfOutlines(const std::string& path,
                                     const std::vector<std::string>& layers = {});

}  // namespace zev::dxf
