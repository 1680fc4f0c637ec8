#pragma once

// The paver as the tool and the studio run it: a region in, a mesh out, the mesher's
// progress lines sent to a window through the installed window service. Also the defaults
// and checks both front ends share.

#include "tools/zevcore/MeshIo.h"
#include "zevcore/platform/Types.h"

namespace zevtool::meshio {

struct PaverResult {
    Mesh mesh;
    int missedInteriorPoints = 0;
    /// False when the mesher stopped with a front still open.
    bool complete = true;
    /// The region as the mesher divided its outline (extended mode divides a polyline drawn
    /// for a curve afresh, with every node on the drawn outline): the region the elements
    /// cover. No loops when it meshed the region as drawn.
    Region meshed;
};

/// The region a mesh is to cover: what the mesher meshed when it says so, else the drawn one.
inline const Region& coveredRegion(const Region& drawn, const PaverResult& result) {
    return result.meshed.loops.empty() ? drawn : result.meshed;
}

struct PaverOptions {
    double size = 1.0;
    int divisions = 0;
    int limit = 1;
    bool extended = false;
    /// Where the progress lines go (as message `message`, wParam 0, lParam the text); null
    /// for the application's main window.
    HWND progressWindow = nullptr;
    UINT message = 0x8400;
};

/// Runs the paver over the region. Whatever a progress handler throws leaves the mesher and
/// comes out of here, the model freed: that is how a front end stops it.
PaverResult meshWithPaver(const Region& region, const PaverOptions& options);

/// Built-in shape `n` (1 to 5) of the paver.
Region builtInShape(int n);

/// A sixteenth of the larger side of the region's bounding box (1 for an empty region).
double defaultSize(const Region& region);

/// Why meshing the region at `size` would take too long: "" when it would not, else the
/// reason, as "would need 2.4e+05 boundary segments (at most 100000; give a larger size)".
/// A size needing more than 100000 boundary segments or 10000 rows is refused. With `gaps`
/// (the paver), a line near another loop counts at the paver's finer size there: a fifth of
/// the gap.
std::string sizeProblem(const Region& region, double size, bool gaps = true);

/// Coordinates beyond this many units are refused: past it a double no longer tells whole
/// units apart, and the paver's single-precision geometry overflows long before the largest
/// double.
constexpr double kMaxCoordinate = 1e15;
/// Why the region cannot be meshed where it lies: "" when it can, else the reason, as "has a
/// coordinate of 1e+307 (at most 1e+15: move it nearer 0)".
std::string coordinateProblem(const Region& region);

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
    bool joined() const;
    bool covered() const;
};

Coverage measureCoverage(const Region& region, const Mesh& mesh);

}  // namespace zevtool::meshio
