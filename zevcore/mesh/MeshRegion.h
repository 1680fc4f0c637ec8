#pragma once

// A planar region to be meshed, as every front end gives it: an outer loop, holes and
// constraint points, read from a boundary file or built from points, and checked before any
// mesher sees it. See docs/mesh.md for the boundary file.

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "zevcore/Export.h"

namespace zev::mesh {

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

/// The region's invariants: an outer loop and any holes, each of three points or more, all
/// finite; the outer loop counter-clockwise, the holes clockwise; one solid flag a loop, the
/// outer loop's false.
ZEVCORE_API bool IsValid(const Region& region);

/// Bad input, with the line it was found on (0 when it concerns the input as a whole).
class ZEVCORE_API InputError : public std::runtime_error {
public:
    InputError(int line, const std::string& message) : std::runtime_error(message), m_line(line) {}
    int line() const { return m_line; }

private:
    int m_line;
};

/// Whether the closed segments a-b and c-d touch or cross.
ZEVCORE_API bool segmentsMeet(const Point& a, const Point& b, const Point& c, const Point& d);

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
ZEVCORE_API LoopLayout layOutLoops(const std::vector<std::vector<Point>>& loops);

/// Parses the text of a boundary file. Throws InputError on anything that is not a valid
/// region: non-numbers, too few points, a loop not closed, a loop crossing itself or another,
/// a hole outside the outer boundary. Orients the outer loop counter-clockwise and the holes
/// clockwise.
ZEVCORE_API Region parseBoundaryText(const std::string& text);
/// Throws the InputError on line 0 that a path naming a folder gets from every reader.
ZEVCORE_API void refuseFolder(const std::string& path);
/// Input files larger than this are refused, with `kTooLarge`, before they are read whole.
constexpr std::size_t kMaxInputBytes = std::size_t{64} << 20;
inline constexpr const char* kTooLarge = "cannot read the file: it is larger than 64 MiB";
/// Throws the InputError on line 0 that a file larger than kMaxInputBytes gets.
ZEVCORE_API void refuseLargeFile(const std::string& path);
/// The whole text of an input file; an unreadable file (or a folder, or one larger than
/// kMaxInputBytes) is an InputError on line 0.
ZEVCORE_API std::string readInputFile(const std::string& path);
/// Reads and parses a boundary file.
ZEVCORE_API Region readBoundaryFile(const std::string& path);

/// A region from loops of points, checked as a boundary file is: `loops[0]` the outer
/// boundary, the others holes, each open or closed (a last point repeating the first is
/// dropped), in either direction. Throws InputError (line 0) whose message names the loop:
/// "the outer boundary: the loop crosses itself", "hole 2: a hole must lie inside the outer
/// boundary".
ZEVCORE_API Region regionFromLoops(const std::vector<std::vector<Point>>& loops,
                                   const std::vector<Point>& interiorPoints = {},
                                   const std::vector<Point>& boundaryPoints = {});

/// The paver lays at least one boundary segment on every line of the outline, and is not
/// given more lines than this: "the region has 150000 boundary lines (the paver takes at most
/// 100000; --method triangle takes more)".
constexpr std::size_t kMaxPaverLines = 100000;
/// That refusal for the region, or "" when its lines are few enough.
ZEVCORE_API std::string paverLineProblem(const Region& region);

/// Signed area of a closed loop; positive when counter-clockwise.
ZEVCORE_API double signedArea(const std::vector<Point>& loop);

/// Built-in shape `n` (1 to 5) of the paver; an empty region for any other number.
ZEVCORE_API Region builtInShape(int n);

/// A sixteenth of the larger side of the region's bounding box (1 for an empty region).
ZEVCORE_API double defaultSize(const Region& region);

/// Why meshing the region at `size` would take too long: "" when it would not, else the
/// reason, as "would need 2.4e+05 boundary segments (at most 100000; give a larger size)".
/// A size needing more than 100000 boundary segments or 10000 rows is refused. With `gaps`
/// (the paver), a line near another loop counts at the paver's finer size there: a fifth of
/// the gap.
ZEVCORE_API std::string sizeProblem(const Region& region, double size, bool gaps = true);

/// Coordinates beyond this many units are refused: past it a double no longer tells whole
/// units apart, and the paver's single-precision geometry overflows long before the largest
/// double.
constexpr double kMaxCoordinate = 1e15;
/// Why the region cannot be meshed where it lies: "" when it can, else the reason, as "has a
/// coordinate of 1e+307 (at most 1e+15: move it nearer 0)".
ZEVCORE_API std::string coordinateProblem(const Region& region);

}  // namespace zev::mesh
