#pragma once

// DXF drawings in the tool: a drawing read with its blocks placed in model space (units,
// layers, curves kept as curves), the region a drawing's outlines make for the mesher, and a
// mesh written as a drawing.

#include <string>
#include <vector>

#include "tools/zevcore/MeshIo.h"
#include "zevcore/files/dxf/Dxf.h"

namespace zevtool::meshio {

/// A drawing's length unit.
struct LengthUnit {
    std::string label = "in";
    double inches = 1.0;  // one unit, in inches
    int insUnits = 1;     // the $INSUNITS code of the unit; 0 when it has none
    std::string source;   // "$INSUNITS 4", "$MEASUREMENT 1", or "" when the drawing gives none
};

/// The unit a header names: $INSUNITS, else $MEASUREMENT (0 inches, 1 millimetres), else the
/// current unit style's small length (source "").
LengthUnit drawingUnit(const tag_DXFHEADERVARS& header);
/// The current unit style's small length.
LengthUnit styleSmallLength();
/// "15" (in `unit` as it stands) or "15 mm", "0.5 in", "2*3 cm": the length in `unit`. False
/// for text that is no length, a length not above 0, or one that is not finite.
bool parseLength(const std::string& text, const LengthUnit& unit, double& length);

/// A piece of an outline in model space: a straight side from `a` to `b`, or (curve) the
/// points c + u cos t + v sin t for t from t0 through t0 + sweep (radians; negative runs the
/// other way), which covers arcs, ellipses and either placed by any insert.
struct Piece {
    bool curve = false;
    Point a, b;
    Point c, u, v;
    double t0 = 0.0, sweep = 0.0;
    Point start() const;
    Point end() const;
    Point at(double t) const;
    Piece reversed() const;
};

/// One entity of the drawing placed in model space.
struct Shape {
    std::string layer;
    std::string handle;  // group 5 of the entity (of the outermost insert when placed)
    std::vector<Piece> pieces;
    bool closed = false;
    /// Drawn, never an outline of a region: solids, faces, hatches.
    bool drawnOnly = false;
};
struct Mark {
    std::string layer;
    Point at;
};
struct Label {
    std::string layer;
    Point at;
    double height = 0.0, angle = 0.0;  // angle in degrees
    std::string text;                  // UTF-8, formatting codes stripped
};

/// Layer names are the same whatever their case.
bool sameLayerName(const std::string& a, const std::string& b);

/// A drawing with every INSERT (and MINSERT array) expanded: blocks placed with their
/// insertion points, scales and rotations, nested up to 16 deep and never through a block
/// already being placed, at most 2,000,000 entities and places in all. Names and texts are UTF-8
/// ($DWGCODEPAGE honoured for files before R2007). Dimensions are drawn from their blocks when
/// `dimensions`.
struct Drawing {
    tag_DXFHEADERVARS header;
    LengthUnit unit;
    std::vector<std::string> layers;  // the LAYER table, in the file's order
    std::vector<Shape> shapes;  // lines, arcs, circles, ellipses, polylines; solids, faces, hatches
    std::vector<Mark> marks;    // POINTs
    std::vector<Label> labels;  // TEXT and MTEXT
    int hatches = 0;            // HATCH entities among the shapes
};
/// Throws InputError (line 0) for a file that cannot be read or holds no DXF sections.
Drawing readDrawing(const std::string& path, bool dimensions);

/// The sides of a curve as the mesher gets them: no side longer than a quarter of the element size,
/// turning by more than 15 degrees, or straying from the curve by more than a hundredth of
/// the element size (the chord tolerance).
constexpr double kLongestSide = 0.25;
constexpr double kMostTurnDegrees = 15.0;
constexpr double kChordTolerance = 0.01;

/// A curve has at most this many sides; a region at most this many in all.
constexpr int kMostCurveSides = 200000;
constexpr long long kMostRegionSides = 1000000;

/// The sides a piece is divided into for `size` (with size 0, by the turn alone): 1 for a
/// straight side, which the mesher divides; a curve's as above.
int sidesOf(const Piece& piece, double size);
/// The points of a piece from its start, its end left out: a straight side gives its start;
/// a curve the ends of its sides but the last.
void appendPiece(std::vector<Point>& out, const Piece& piece, double size);

/// The outlines of a drawing as a region for the mesher.
struct DxfRegion {
    LengthUnit unit;
    /// The loops as pieces: the outer first, then the holes (orientation as drawn).
    std::vector<std::vector<Piece>> loops;
    /// A name for each loop: its layer and its role ("PLATE outer", "PLATE hole 1").
    std::vector<std::string> names;
    std::vector<Point> points;
    /// What a user should know: layers passed over, units taken for granted.
    std::vector<std::string> notes;
    /// The region with curves divided for `size` (0: by their turn alone), checked as a
    /// boundary file is. Throws InputError (line 0), also for a size that would give the
    /// outlines more than kMostRegionSides sides.
    Region region(double size) const;
};

/// The region a drawing's outlines make. Closed polylines, circles and closed ellipses are
/// loops, and so are closed chains of lines, arcs, elliptical arcs and open polylines (ends
/// meeting within a billionth of the drawing's extent). With `layers`, only entities on those
/// layers count (names compared without case) and a chain that does not close is an error;
/// without, closed loops come from every layer and a layer whose open pieces close no loop
/// is passed over with a note. The loop that lies in no other is the outer boundary, the
/// loops inside it holes; POINTs are interior constraint points. Throws InputError (line 0).
DxfRegion readDxfOutlines(const std::string& path, const std::vector<std::string>& layers);
/// The region of every layer's outlines with curves divided for the default element size.
Region readDxfRegion(const std::string& path);

/// The mesh as a DXF file: the region's loops as closed polylines on layer "BOUNDARY", each
/// element a closed polyline (or with `faces` a 3DFACE, a triangle repeating its last
/// corner) on layer "MESH". With `insUnits` above 0 the header carries $INSUNITS.
std::string dxfMeshText(const Region& region, const Mesh& mesh, bool faces, int insUnits = 0);

/// Text of a drawing in UTF-8: bytes of a file before R2007 are taken in its $DWGCODEPAGE
/// (ANSI_1252 when it names none); "\U+XXXX" escapes are decoded, and "%%c", "%%d", "%%p"
/// are "Ø", "°" and "±".
std::string drawingText(const std::string& bytes, const tag_DXFHEADERVARS& header);
/// The words of an MTEXT, its formatting codes stripped (see dxfMTextPlain).
std::string plainMText(const std::string& text);

}  // namespace zevtool::meshio
