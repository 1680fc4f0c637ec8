#pragma once

// The pieces of `zevcore mesh` that do not depend on the mesher: reading regions (built-in
// shapes, boundary files), measuring element quality, and writing the summary, the SVG
// picture and the Gmsh MSH 2.2 file. A mesh here is nodes plus elements of three or four
// corners, so that any mesher's result goes through the same writers.

#include <array>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace zevtool::meshio {

struct Point {
    double x = 0.0;
    double y = 0.0;
};

/// What is to be meshed. loops[0] is the outer boundary, counter-clockwise; later loops are
/// holes, clockwise. Loops are stored open: the closing edge is implied.
struct Region {
    std::vector<std::vector<Point>> loops;
    /// One flag a loop: a solid hole is meshed through (its outline becomes edges of the mesh)
    /// instead of being left empty. Only the triangle mesher honours it.
    std::vector<bool> solid;
    std::vector<Point> interiorPoints;
    std::vector<Point> boundaryPoints;
};

/// An element of three or four corners, as indices into Mesh::nodes.
struct Element {
    int count = 4;
    std::array<int, 4> v{-1, -1, -1, -1};
};

struct Mesh {
    std::vector<Point> nodes;
    std::vector<Element> elements;
};

/// Bad input, with the line it was found on (0 when it concerns the file as a whole).
class InputError : public std::runtime_error {
public:
    InputError(int line, const std::string& message) : std::runtime_error(message), m_line(line) {}
    int line() const { return m_line; }

private:
    int m_line;
};

/// Whether the closed segments a-b and c-d touch or cross.
bool segmentsMeet(const Point& a, const Point& b, const Point& c, const Point& d);

/// How closed loops lie (each a list of corners, the closing side implied). With `meet`, two
/// sides meet (touch, cross or overlap; the two sides of a corner excepted): `first` and
/// `second` name one such pair, `first` in the earlier loop (or the earlier side of one loop).
/// Without, `parent` gives the innermost loop around each loop (-1 for none) and `depth` how
/// many loops hold it. An n log n sweep.
struct LoopLayout {
    struct Place {
        int loop = -1, side = -1;
    };
    bool meet = false;
    Place first, second;
    std::vector<int> parent, depth;
};
LoopLayout layOutLoops(const std::vector<std::vector<Point>>& loops);

/// Parses the text of a boundary file (see docs/mesh.md). Throws InputError on anything that
/// is not a valid region: non-numbers, too few points, a loop not closed, a loop crossing
/// itself or another, a hole outside the outer boundary. Orients the outer loop
/// counter-clockwise and the holes clockwise.
Region parseBoundaryText(const std::string& text);
/// Throws the InputError on line 0 that a path naming a folder gets from every reader.
void refuseFolder(const std::string& path);
/// Input files larger than this are refused, with `kTooLarge`, before they are read whole.
constexpr std::size_t kMaxInputBytes = std::size_t{64} << 20;
inline constexpr const char* kTooLarge = "cannot read the file: it is larger than 64 MiB";
/// Throws the InputError on line 0 that a file larger than kMaxInputBytes gets.
void refuseLargeFile(const std::string& path);
/// The whole text of an input file; an unreadable file (or a folder, or one larger than
/// kMaxInputBytes) is an InputError on line 0.
std::string readInputFile(const std::string& path);

/// Reads and parses a boundary file; an unreadable file is an InputError on line 0.
Region readBoundaryFile(const std::string& path);

/// The paver lays at least one boundary segment on every line of the outline, and is not
/// given more lines than this: "the region has 150000 boundary lines (the paver takes at most
/// 100000; --method triangle takes more)".
constexpr std::size_t kMaxPaverLines = 100000;
/// That refusal for the region, or "" when its lines are few enough.
std::string paverLineProblem(const Region& region);

/// Signed area of a closed loop; positive when counter-clockwise.
double signedArea(const std::vector<Point>& loop);

struct Quality {
    // Angles and aspect ratios are taken over the elements without a zero-length edge.
    double minAngle = 0.0;  // degrees
    double maxAngle = 0.0;
    int concave = 0;         // elements with a corner of 180 degrees or more, or turned over
    int degenerate = 0;      // elements with an edge of zero length (also counted concave)
    double maxAspect = 0.0;  // longest over shortest edge
    double meanAspect = 0.0;
};

Quality measureQuality(const Mesh& mesh);

/// The summary block printed by `zevcore mesh`.
std::string summaryText(const std::string& method, const Mesh& mesh, const Quality& quality,
                        int missedInteriorPoints, int interiorPoints);

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
