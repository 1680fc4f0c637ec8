#pragma once

// The outline of a region as extended mode meshes it: each loop cut into chains at its real
// corners (and at constraint points), and each chain divided again by a size that follows the
// region: the spacing asked in the open, smaller where two parts of the outline come close,
// where a chain between corners is short or where a chain bends tightly, and graded along the
// outline so that neighbouring sides differ by about a quarter at most. A run of short sides
// turning a little at each node (a circle drawn as a 36-gon, a bulge) is one chain, so it is
// divided by the size rather than by its own sides. Every node lies on the input outline.

#include <vector>

namespace Paver::extended {

struct XY {
    double x = 0.0, y = 0.0;
};

/// A node whose sides turn by more than this many degrees is a real corner and stays.
constexpr double kCornerTurn = 20.0;
/// The most a divided side may span of a curve, in degrees of its turn.
constexpr double kArcSpan = 60.0;
/// How much larger the next side may be, less one: the grading along the outline.
constexpr double kGrading = 0.25;
/// A side is at most this many times the gap across the region beside it.
constexpr double kGapFactor = 1.5;

/// One loop as meshed: its nodes in order with the region on their left (the outer loop runs
/// counter-clockwise, holes clockwise), and for each side (node k to node k + 1) the point of
/// the input outline that divides it evenly by the size, where a split puts its middle node.
struct SampledLoop {
    std::vector<XY> nodes;
    std::vector<XY> middles;
    /// The node is an input corner or a constraint point, where it was given.
    std::vector<char> kept;
};

/// Divides every loop at about `spacing` (see above). Loops of fewer than three distinct
/// points are left out; `points` are constraint points, kept as nodes where they lie on an
/// outline. The largest loop is taken as the outer one.
std::vector<SampledLoop> sampleLoops(const std::vector<std::vector<XY>>& loops,
                                     const std::vector<XY>& points, double spacing);

}  // namespace Paver::extended
