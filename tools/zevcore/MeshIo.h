#pragma once

// The mesh files of the front ends: the SVG picture and the Gmsh MSH 2.2 file. Regions, meshes
// and their checks are the library's (zevcore/mesh/Mesher.h), named here as the tool names them.

#include <string>
#include <vector>

#include "zevcore/mesh/Mesher.h"

namespace zevtool::meshio {

using zev::mesh::builtInShape;
using zev::mesh::coordinateProblem;
using zev::mesh::Coverage;
using zev::mesh::defaultSize;
using zev::mesh::Element;
using zev::mesh::InputError;
using zev::mesh::kMaxInputBytes;
using zev::mesh::kMaxPaverLines;
using zev::mesh::kTooLarge;
using zev::mesh::layOutLoops;
using zev::mesh::LoopLayout;
using zev::mesh::measureCoverage;
using zev::mesh::measureElement;
using zev::mesh::measureQuality;
using zev::mesh::Mesh;
using zev::mesh::parseBoundaryText;
using zev::mesh::paverLineProblem;
using zev::mesh::Point;
using zev::mesh::Quality;
using zev::mesh::readBoundaryFile;
using zev::mesh::readInputFile;
using zev::mesh::refuseFolder;
using zev::mesh::refuseLargeFile;
using zev::mesh::Region;
using zev::mesh::segmentsMeet;
using zev::mesh::signedArea;
using zev::mesh::sizeProblem;
using zev::mesh::validElement;

/// The mesh as an SVG picture: elements (concave ones marked), the region's loops and its
/// constraint points.
std::string svgText(const Region& region, const Mesh& mesh);
/// The mesh as Gmsh MSH 2.2 ASCII: nodes (z = 0) and elements (type 3 for quadrilaterals,
/// 2 for triangles).
std::string mshText(const Mesh& mesh);
/// As above, with the boundary's sides (those of one element) as 2-node line elements and
/// physical groups: one of dimension 1 for each loop of the region, named by `names` (else
/// "outer", "hole 1", ...), its sides being those nearest it, and "surface" (dimension 2,
/// numbered after the loops) for the elements.
std::string mshText(const Mesh& mesh, const Region& region, const std::vector<std::string>& names);

}  // namespace zevtool::meshio
