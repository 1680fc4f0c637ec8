#pragma once

#include <cstdint>

// The triangular mesher: a planar region with holes and fixed points, meshed in triangles by
// the Triangle library. Triangle itself stays behind the implementation; nothing here needs
// its header.

#include "zevcore/Export.h"

/// Selects one of the mesher's working arrays.
enum ETWhichArray { eBoundaryArray = 0, eHoleArray = 1, eInteriorArray = 2 };

/// Meshes a planar region in triangles.
///
/// The application fills nothing in directly: it calls `mesh_it`, then reads the public
/// result fields. The object owns every array it points to; copies are deep. Coordinates are
/// in the caller's units; the only length limit used is `TOLERANCE`.
///
/// Triangle prints to the process's standard output. During a run that output goes to a
/// temporary file named "Msh..." in the temporary folder, and the host's standard output is
/// given back on every path. Triangle's own fatal errors (such as running out of memory)
/// print and end the process; nothing here can stop that. Not thread-safe: the redirection
/// is process-wide, so use it from the interface thread only.
class ZEVCORE_API ZEVTriangleMesher {
public:
    ZEVTriangleMesher();
    ZEVTriangleMesher(const ZEVTriangleMesher& other);
    ZEVTriangleMesher& operator=(const ZEVTriangleMesher& other);
    virtual ~ZEVTriangleMesher();

    /// Meshes the region and answers `numberOfTriangles`, or 0 on every failure.
    ///
    /// All point lists are x, y pairs. `boundary` is the outer outline (at least 3 points,
    /// closed implicitly). `interior` points are kept as mesh vertices. `extra` points are
    /// sorted: one on an outline vertex (within `TOLERANCE`) is dropped, one on an outline
    /// segment joins that outline, any other becomes an interior point. The outlines of
    /// `holeCount` holes lie one after the other in `holePoints`, `holeSizes[h]` points each.
    /// **`holeSizes` is changed**: an entry grows by one for each point that joins that hole's
    /// outline. `holeIsVoid` may be null (every hole void); a false entry keeps that outline
    /// as a constraint inside the mesh instead of cutting a hole. `maxArea` bounds the area
    /// of every triangle; `conforming` asks for a conforming Delaunay mesh instead of the
    /// quality mesh (minimum angle 20 degrees).
    ///
    /// On a failure `errorText` says why (validation texts such as "Bad boundary data was
    /// entered."); fewer than 3 boundary points fail at once and touch nothing. An exception
    /// during the run is shown through the host's message box (ZEVDialogs) and answers 0.
    int mesh_it(double* boundary, int boundaryCount, double* interior, int interiorCount,
                double* extra, int extraCount, int holeCount, int* holeSizes, double* holePoints,
                double maxArea, bool conforming, bool* holeIsVoid);

    /// Triangle runs in a child process, so that its crashes, its exit() on internal errors
    /// and runaway refinement cannot take the host down; a run past these limits fails with
    /// its reason in `errorText`. Defaults: 120 s of processor time and 4 GiB of memory.
    /// Values out of range keep the defaults.
    static void SetRunLimits(int cpuSeconds, std::int64_t memoryBytes);

    int numberOfPoints;
    /// The result's points, x and y in turn.
    double* points;
    int numberOfTriangles;
    /// Three zero-based indices into `points` per triangle, counter-clockwise.
    int* triangles;
    /// Working copy of the outer boundary, x and y in turn.
    double* boundary;
    /// Working copy of all hole outlines, one after the other.
    double* holes;
    /// Working copy of the interior points.
    double* interior;
    /// The result's points that lie on the outer boundary (Triangle's marker 1).
    double* outlinePoints;
    int numberOfOutlinePoints;
    int numberOfHolePoints;
    int numberOfBoundaryPoints;
    int numberOfInteriorPoints;
    /// The last diagnostic; emptied when a mesh is about to be built.
    char errorText[1024];

private:
    bool CreateTriangleMesh(double* boundary, int boundaryCount, double* interior,
                            int interiorCount, int holeCount, int* holeSizes, double* holePoints,
                            double maxArea, bool conforming, bool* holeIsVoid);
    /// Inserts (x, y) before point `index` (clamped to the array) of that working array.
    void insertPointAt(ETWhichArray which, double x, double y, int index);
    /// Removes point `index`; an index outside the array changes nothing.
    void removePointAt(ETWhichArray which, int index);
    /// Frees the results and zeroes their counts.
    void CleanUp();
    /// Drops (x, y) when it lies on a boundary or hole vertex, or inserts it into the outline
    /// segment it lies on; false when it touches no outline. The closing segment of a hole
    /// is found by the hole's own size when `holesCloseOnOwnSize`, else by the boundary's.
    bool foldIntoOutline(double x, double y, int holeCount, int* holeSizes,
                         bool holesCloseOnOwnSize);
    void freeAll();
    void copyFrom(const ZEVTriangleMesher& other);
    void swapWith(ZEVTriangleMesher& other) noexcept;
};
