#pragma once

// The pieces of `zevcore render` that do not draw: reading a mesh file, the picture size,
// the PNG file, and the hook where DXF drawings come in.

#include <array>
#include <string>
#include <vector>

#include "tools/zevcore/MeshIo.h"

namespace zevtool::render {

/// A mesh file in Gmsh MSH 2.2 ASCII: the nodes (z is dropped) and the triangles and
/// quadrilaterals; other element types are skipped. Node numbers may be any positive
/// integers. Throws meshio::InputError with the line on anything malformed, on an element
/// naming an unknown node, and on more than 10,000,000 nodes or elements.
meshio::Mesh parseMshText(const std::string& text);
/// Reads and parses a mesh file; an unreadable file is an InputError on line 0.
meshio::Mesh readMshFile(const std::string& path);

/// "WxH" with both whole numbers from 16 to 8192; false otherwise.
bool parseSize(const std::string& text, int& width, int& height);

/// An 8-bit RGB PNG of `width` by `height` pixels from RGBA rows given top row first.
std::string pngBytes(int width, int height, const std::vector<unsigned char>& rgbaTopDown);

/// Lines of a drawing, in model units.
struct Drawing {
    std::vector<std::array<meshio::Point, 2>> lines;
};

/// A DXF drawing's lines, arcs, circles, ellipses, polylines, solids, faces and hatch
/// outlines, its blocks placed (see meshio::readDrawing), curves as sides that stray from them
/// by at most a ten-thousandth of the drawing's extent; with `layers`, those layers' alone.
/// Throws meshio::InputError on line 0 for a file that cannot be read or holds no lines.
Drawing readDxfDrawing(const std::string& path, const std::vector<std::string>& layers = {});

}  // namespace zevtool::render
