#pragma once

// One way in to the meshers for every front end (the command-line tool, the studio, the Python
// package): a checked region and the method in; nodes, elements, the quality report and the
// mesher's messages out. Progress lines go to a callback, and a flag stops the paver.
//
//     zev::mesh::Options options;
//     options.method = zev::mesh::Method::Paver;
//     options.size = 0.5;
//     zev::mesh::Result result = zev::mesh::meshRegion(zev::mesh::readBoundaryFile(path), options);
//     if (!result.failure.empty()) ...  // the mesh is there, but not usable
//
// Like the rest of the library this runs on one thread at a time: the paver reports through the
// process-wide window service, which meshRegion replaces while it runs.

#include <array>
#include <atomic>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "zevcore/Export.h"
#include "zevcore/mesh/MeshRegion.h"

namespace zev::mesh {

/// An element of three or four corners, as indices into Mesh::nodes.
struct Element {
    int count = 4;
    std::array<int, 4> v{-1, -1, -1, -1};
};

struct Mesh {
    std::vector<Point> nodes;
    std::vector<Element> elements;
};

/// Every element of three or four corners, each a node of the mesh, and every node finite.
ZEVCORE_API bool IsValid(const Mesh& mesh);

enum class Method {
    Paver,     ///< quadrilaterals, in the paver's default mode
    Stated,    ///< quadrilaterals, the paver exactly as stated (its extended mode off)
    Extended,  ///< quadrilaterals, the paver's extended mode
    Triangle,  ///< triangles, by the Triangle library
};

/// "paver", "stated", "extended", "triangle".
ZEVCORE_API const char* methodName(Method method);
/// The method of a name above; false when the name is none of them.
ZEVCORE_API bool methodOfName(const std::string& name, Method& method);

/// The paver mode Method::Paver means: the extended mode, as in the tools.
constexpr Method kDefaultPaverMode = Method::Extended;

struct Options {
    Method method = Method::Paver;
    /// Element size; 0 for defaultSize(region). Must not need more than 100000 boundary
    /// segments or 10000 rows (see sizeProblem).
    double size = 0.0;
    /// The paver: divisions per boundary line (accepted, no effect) and its iteration limit
    /// (1 to 9999).
    int divisions = 0;
    int limit = 1;
    /// Triangle: the largest area of a triangle (0: an equilateral triangle of side `size`),
    /// and a conforming Delaunay mesh instead of the quality mesh (minimum angle 20 degrees).
    double maxArea = 0.0;
    bool conforming = false;
    /// Called with each progress line of the paver, on the calling thread. Whatever it throws
    /// stops the paver and comes out of meshRegion.
    std::function<void(const std::string& line)> progress;
    /// Read at each progress line: when it is set the paver stops and meshRegion throws
    /// Stopped. The paver reports at least every five rows, so a stop takes effect within
    /// five rows or one stage.
    const std::atomic<bool>* stop = nullptr;
};

/// What meshRegion throws when the stop flag was found set.
class ZEVCORE_API Stopped : public std::runtime_error {
public:
    Stopped() : std::runtime_error("meshing was stopped") {}
};

struct Quality {
    // Angles and aspect ratios are taken over the elements without a zero-length edge.
    double minAngle = 0.0;  // degrees
    double maxAngle = 0.0;
    int concave = 0;         // elements with a corner of 180 degrees or more, or turned over
    int degenerate = 0;      // elements with an edge of zero length (also counted concave)
    double maxAspect = 0.0;  // longest over shortest edge
    double meanAspect = 0.0;
};

/// Whether the elements cover the region: their summed area against the region's, no element
/// folded (turned over, or with two sides crossing), since a fold can hide a gap, and the
/// elements joined side to side: every side that no other element shares lies on the region's
/// outline, so their lengths add up to the outline's, and no side is shared the wrong way (twice
/// in one direction, or by more than two elements). A gap, an overlap, two nodes at one place
/// or a node on another element's side each leave sides open inside the region.
struct Coverage {
    double regionArea = 0.0;
    double elementArea = 0.0;
    int folded = 0;
    double openLength = 0.0;
    double outlineLength = 0.0;
    int misjoined = 0;
    ZEVCORE_API bool joined() const;
    ZEVCORE_API bool covered() const;
};

struct Result {
    Method method = Method::Paver;
    double size = 0.0;  // the size used
    Mesh mesh;
    Quality quality;
    Coverage coverage;
    int interiorPoints = 0;
    /// Interior constraint points with no node of the mesh on them.
    int missedInteriorPoints = 0;
    /// False when the paver stopped with a front still open.
    bool complete = true;
    /// Why the mesh is not usable ("the mesher stopped before every front was closed",
    /// "3 folded element(s)", "the elements do not join side to side", "the elements do not
    /// cover the region"); "" when it is.
    std::string failure;
    /// The paver's progress lines, each ended by "\n".
    std::string messages;
    /// The region as the mesher divided its outline (extended mode divides a polyline drawn
    /// for a curve afresh, with every node on the drawn outline): the region the elements
    /// cover. No loops when it meshed the region as given.
    Region meshed;
};

/// The region a mesh is to cover: what the mesher meshed when it says so, else the given one.
inline const Region& coveredRegion(const Region& given, const Result& result) {
    return result.meshed.loops.empty() ? given : result.meshed;
}

/// A triangle run is refused when the region's meshed area over the largest triangle area
/// asked for (the fewest triangles that can cover it) exceeds this.
constexpr double kMaxTriangles = 500000;
/// Why meshing the region with triangles of at most `maxArea` would take too long: "" when it
/// would not, else the reason, as "would need at least 1e+06 triangles (at most 500000; give a
/// larger area)".
ZEVCORE_API std::string triangleCountProblem(const Region& region, double maxArea);

/// Meshes the region. Throws std::invalid_argument for a region with a coordinate beyond
/// kMaxCoordinate ("the region has a coordinate of ...") or a size that is not a positive
/// number or needs too much work ("the size 0.001 would need ...", "the largest area 1e-06
/// would need at least 1e+06 triangles ..."); std::runtime_error with
/// Triangle's diagnostic when it made no triangles; Stopped, or what the progress callback
/// threw, when the paver was stopped. A mesh that fails its checks is answered, with
/// `failure` saying why.
ZEVCORE_API Result meshRegion(const Region& region, const Options& options);

/// Three or four corners, each a node of a mesh with `nodes` nodes.
ZEVCORE_API bool validElement(const Element& e, int nodes);

struct ElementShape {
    double minAngle = 360.0, maxAngle = 0.0, aspect = 0.0;
    bool concave = false;
};

/// The angles, aspect ratio and concavity of a valid element.
ZEVCORE_API ElementShape measureElement(const Mesh& mesh, const Element& e);
ZEVCORE_API Quality measureQuality(const Mesh& mesh);
ZEVCORE_API Coverage measureCoverage(const Region& region, const Mesh& mesh);

/// The report `zevcore mesh` prints: method, counts, missed points, angles, concave elements,
/// aspect, the triangle line for triangles, and whether the elements are joined and cover
/// the region.
ZEVCORE_API std::string summaryText(const Result& result, bool conforming = false);

}  // namespace zev::mesh
