#pragma once

// The studio's project file: a boundary file (docs/mesh.md) whose first comment lines hold
// the mesh options, so that any boundary file opens as a project and every project is a
// boundary file the command-line tool reads.

#include <string>

#include "tools/zevcore/MeshIo.h"

namespace studio {

/// The options a project keeps. Lengths and areas in the internal units (inches).
struct MeshSettings {
    double size = 1.0;
    int divisions = 0;
    /// "paver" or "triangle".
    std::string method = "paver";
    /// The triangle mesher's largest area; 0 for the area of an equilateral triangle of side
    /// `size`.
    double maxArea = 0.0;
    /// The paver's extended mode: every front closed, so that the mesh covers the region.
    bool extended = true;
};

/// The file extension of a project, with its dot.
inline constexpr const char* kProjectExtension = ".zevp";

/// The project's text: the options line, then the loops, holes and constraint points.
std::string projectText(const zevtool::meshio::Region& region, const MeshSettings& settings);

/// The outline of a mesh: its boundary edges (those of one element only) chained into loops,
/// the largest the outer boundary, the others holes, checked as a boundary file is. Throws
/// zevtool::meshio::InputError (line 0) when the edges make no single region.
zevtool::meshio::Region regionOfMesh(const zevtool::meshio::Mesh& mesh);

/// The version of the mesh a project keeps; a reader refuses a mesh of a later one.
inline constexpr int kProjectMeshVersion = 1;

/// The mesh as comment lines after a project's text (a boundary reader skips them): a head
/// "# zevcore-studio mesh: version=1 nodes=N elements=M", then "# n X Y" for each node and
/// "# e COUNT A B C [D]" for each element, numbers written to read back exactly. "" for a
/// mesh with no elements.
std::string projectMeshText(const zevtool::meshio::Mesh& mesh);

/// Reads the mesh of a project's text into `mesh`: "" when it was read or the text has none
/// (`mesh` then empty), else why it cannot be (`mesh` then empty too).
std::string readProjectMesh(const std::string& text, zevtool::meshio::Mesh& mesh);

/// Reads the options line of a project's text into `settings`; false (nothing changed) when
/// the text has none, or a value in it is not a number it can take.
bool readProjectSettings(const std::string& text, MeshSettings& settings);

}  // namespace studio
