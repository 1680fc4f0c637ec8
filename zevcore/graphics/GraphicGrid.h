#pragma once

// Graphic grids: named lattices of points in model space that an application shows behind its
// model and snaps the cursor to. Each kind supplies only `gridPoint`, the map from three
// parameters to a point; the base does the rest once: looping, rotation, translation, line
// building, the flat vertex buffer, persistence, snapping and growing to cover a box.
//
// A grid is valid or stale (`dataValid`). setParameterLimits, setOrigin and operator= make it
// stale without regenerating; every other setter regenerates at once; the generating getters
// and closestGridPoint make a stale grid valid.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "zevcore/Export.h"
#include "zevcore/files/BinaryStream.h"
#include "zevcore/frame/TArray.h"
#include "zevcore/geometry/Line3D.h"
#include "zevcore/geometry/Matrix44.h"
#include "zevcore/geometry/Point3D.h"
#include "zevcore/geometry/Vector3D.h"
#include "zevcore/graphics/PointerArray.h"
#include "zevcore/platform/framework/String.h"

/// A grid's kind; written to files as 16 bits, and the index of the name table. Its type is
/// fixed so that any value a caller or a file brings is a value of it, named or not.
enum ETGraphicGridType : int {
    gtAddNew = 0,
    gtPolar = 1,
    gtXYPlane = 2,
    gtYZPlane = 3,
    gtXZPlane = 4,
    gtLineX = 5,
    gtLineY = 6,
    gtLineZ = 7,
    gtXYLines = 8,
    gtYZLines = 9,
    gtXZLines = 10,
    gt3DLines = 11,
    gt3DRectangular = 12,
    gtSpherical = 13,
    gtUnknown = 14,
};

/// The kind's name: the default table's row, or with `style` 1 the view-style name of the
/// plane and architectural kinds. A type outside 0 to 14 gives "Unknown Type" (the table has
/// no more rows).
ZEVCORE_API const char* getGridTypeName(ETGraphicGridType type, int style);

class ZEVCORE_API CGraphicGrid {
public:
    /// The most lattice points a grid generates. Parameters from a file or a user can ask for
    /// any number (or for a step too small to move the accumulated value at all); past this the
    /// grid generates nothing rather than take the host's memory or time.
    static constexpr std::size_t kMaxLatticePoints = 4'000'000;

    CGraphicGrid();
    /// Copies the parameters and the vertex buffer, never the point and line lists: the copy
    /// keeps the source's `dataValid` with empty lists, so it must regenerate before use.
    CGraphicGrid(const CGraphicGrid& other);
    virtual ~CGraphicGrid();
    /// As the copy, but the copy is stale.
    virtual CGraphicGrid& operator=(const CGraphicGrid& other);
    virtual ETFileError read(ibfstream& in);
    virtual ETFileError write(obfstream& out, int unused);
    /// A new grid of the same parameters. Every kind but the irregular one inherits this,
    /// which makes a plain CGraphicGrid: its lattice collapses to the origin.
    virtual CGraphicGrid* clone() const;
    virtual void setParameterLimits(double min1, double max1, int div1, double min2, double max2,
                                    int div2, double min3, double max3, int div3);
    virtual void setExtentsAndSpacing(const CPoint3D& extents, const CPoint3D& spacing);
    /// Regenerates the lattice; `x`, `y`, `z` choose the line families copied into the vertex
    /// buffer (lines are built when `x` or `z` is set; `y` alone builds none).
    virtual void UpdateGridData(bool x, bool y, bool z);
    /// The point of the parameters (a, b, c) before rotation and translation.
    virtual CPoint3D gridPoint(double a, double b, double c) const;
    /// The number of lattice points the present parameters generate, without generating them.
    std::size_t latticePointCount() const;
    /// The invariants: no null element in the lists; no more points than the bound; a vertex
    /// buffer where there is a count; and, for a generated lattice that holds points, the
    /// points are the generation's and the buffer holds two vertices a line.
    bool IsValid() const;

    const CString& name() const { return m_name; }
    const CPoint3D origin() const { return originPoint; }
    bool isVisible() const { return visible; }
    bool isBigDots() const { return bigDots; }
    bool isExpandable() const { return expandable; }
    bool isRotated() const { return rotated; }
    bool isDataValid() const { return dataValid; }
    /// The kind the grid says it is; gtUnknown when its `type` field, which a file may set to
    /// any 16-bit value, names no kind.
    ETGraphicGridType gridType() const {
        return type >= gtAddNew && type <= gtUnknown ? static_cast<ETGraphicGridType>(type)
                                                     : gtUnknown;
    }
    CPoint3D extents() const;
    CPoint3D divisions() const;
    /// Extents over divisions, 0 on an axis of exactly 0 divisions.
    CPoint3D spacing() const;
    CPoint3D rotation() const;
    CPoint3D parameterMin() const { return {paramMin[0], paramMin[1], paramMin[2]}; }
    CPoint3D parameterMax() const { return {paramMax[0], paramMax[1], paramMax[2]}; }
    const CMatrix44& rotationMatrixOf() const { return rotationMatrix; }

    const TPointerArray<CPoint3D>& getGridPoints();
    const TPointerArray<CLine3D>& getXGridLines();
    const TPointerArray<CLine3D>& getYGridLines();
    const TPointerArray<CLine3D>& getZGridLines();
    /// The same array as getXGridLines.
    const TPointerArray<CLine3D>& getGridLines();
    /// Three floats a vertex, `lineVertexCount()` vertices: what a draw call reads.
    const float* vertexBuffer() const { return lineVertices.get(); }
    std::int32_t vertexCount() const { return lineVertexCount; }
    /// Draws the vertex buffer as points, in the current context. The names are crossed, and
    /// callers rely on it: DrawLines draws points and DrawPoints draws segments.
    void DrawLines() const;
    /// Draws the vertex buffer as segments, two vertices each.
    void DrawPoints() const;

    void setName(const CString& name) { m_name = name; }
    void setVisibility(bool on) { visible = on; }
    void setBigDots(bool on) { bigDots = on; }
    void setExpandable(bool on) { expandable = on; }
    void setNoRotation() { rotated = false; }
    /// Stores the point; the grid goes stale.
    void setOrigin(const CPoint3D& origin);

    void setExtents(const CPoint3D& extents);
    void setSpacing(const CPoint3D& spacing);
    void setDivisions(const CPoint3D& divisions);
    /// Replaces the rotation by the one of three angles; does not regenerate.
    void setRotationUsingAngles(double a, double b, double c);
    /// Replaces the rotation by Euler angles; regenerates, and leaves `rotated` as it is.
    void setRotationUsingAngles(const CPoint3D& angles);
    void setRotationUsingAxis(double angle, CVector3D axis);
    /// Local x from a to b, local y towards c; regenerates.
    void setRotationUsingPoints(const CPoint3D& a, const CPoint3D& b, const CPoint3D& c);

    /// The nearest lattice point and its distance; (0, 0, 0) and BIG for an empty grid. Among
    /// equally near points the first generated wins.
    CPoint3D closestGridPoint(const CPoint3D& p, double& distance);
    CPoint3D closestGridPoint(const CLine3D& line, double& distance);
    /// The lattice points' box as they stand; (1e20, -1e20) on every axis when there are none.
    void gridVolume(CPoint3D& low, CPoint3D& high) const;
    /// Grows the parameter ranges by whole steps until the lattice covers the box scaled by
    /// `factor` about its centre, or no step helps, in at most min(maxPasses, 10) passes.
    void expandExtents(const CPoint3D& boxLow, const CPoint3D& boxHigh, double factor,
                       int maxPasses);

protected:
    /// The record as `read` takes it, without generating: feBadFormat for a version it does
    /// not know (nothing more is read), feReadError when the stream failed, else feSuccess.
    virtual ETFileError readRecord(ibfstream& in);
    bool doesGridVolumeImprove(const CPoint3D& targetLow, const CPoint3D& targetHigh,
                               bool& lowBetter, bool& highBetter);
    /// The kinds whose lattice is a product of three evenly stepped ranges under a rigid
    /// motion answer the nearest point from the parameters instead of a scan of every point;
    /// the answer is the scan's. False when the kind or the present rotation does not allow it.
    virtual bool closestByArithmetic(const CPoint3D& p, CPoint3D& best, double& distance);
    /// The point of (a, b, c) in world coordinates, as the lattice holds it.
    CPoint3D worldPoint(double a, double b, double c) const;
    /// What the generation loops over: each parameter's step and the values its loop visits,
    /// accumulated as the loop accumulates them. A collapsed parameter has one value, its
    /// minimum; a collapsed second parameter collapses the third as well. A lattice past the
    /// bound on its size has no values on the first parameter.
    struct Lattice {
        double step[3];
        std::vector<double> values[3];
        bool collapsed1, collapsed2;
    };
    Lattice lattice() const;
    /// The lattice the last generation looped over, kept so that snapping need not loop again;
    /// its values describe `gridPoints` only while their counts multiply to its count.
    const Lattice& generatedLattice() const { return generated; }
    void copyParameters(const CGraphicGrid& other);

    std::int32_t type = gtUnknown;
    CString m_name;
    TPointerArray<CPoint3D> gridPoints;
    TPointerArray<CLine3D> xLines;
    TPointerArray<CLine3D> yLines;
    TPointerArray<CLine3D> zLines;
    bool dataValid = false;
    bool visible = false;
    bool bigDots = false;
    double divisionCount[3] = {0, 0, 0};
    double paramMin[3] = {0, 0, 0};
    double paramMax[3] = {0, 0, 0};
    CPoint3D originPoint;
    bool rotated = false;
    CMatrix44 rotationMatrix;
    bool expandable = false;
    bool axisFlags[3] = {false, false, false};
    std::unique_ptr<float[]> lineVertices;
    std::int32_t lineVertexCount = 0;

private:
    Lattice generated{};

    friend class CGridManager;
};

/// Points (a, b, c): a plane, a line or a box of evenly spaced points.
class ZEVCORE_API CRectangularGrid : public CGraphicGrid {
public:
    enum ETGridPlane { gpXY = 0, gpYZ = 1, gpZX = 2 };

    CRectangularGrid();
    CPoint3D gridPoint(double a, double b, double c) const override;
    void setupRegularGrid(const CString& name, ETGridPlane plane, double extentA, double extentB,
                          double spacingA, double spacingB, const CPoint3D& origin);
    void setupLineGrid(const CString& name, int axis, double length, double spacing,
                       const CPoint3D& origin);
    void setupCubeGrid(const CString& name, double extentX, double extentY, double extentZ,
                       double spacingX, double spacingY, double spacingZ, const CPoint3D& origin);
    void setupGridThroughCorners(const CPoint3D& a, const CPoint3D& b, const CPoint3D& c,
                                 double spacingA, double spacingB);

protected:
    bool closestByArithmetic(const CPoint3D& p, CPoint3D& best, double& distance) override;

private:
    static int ngrid;
};

/// Points (a cos b, a sin b, c): radius, angle, height.
class ZEVCORE_API CPolarGrid : public CGraphicGrid {
public:
    CPolarGrid();
    CPoint3D gridPoint(double a, double b, double c) const override;
    void setExtentsAndSpacing(const CPoint3D& extents, const CPoint3D& spacing) override;
    void setExtents(const CPoint3D& extents);
    void setSpacing(const CPoint3D& spacing);
    void setDivisions(const CPoint3D& divisions);
};

/// Points (a cos b, a sin b, b c): radius, angle, rise per radian. It has no kind of its own
/// (type 14), so a project can save one but not load it again.
class ZEVCORE_API CHelicalGrid : public CGraphicGrid {
public:
    CHelicalGrid();
    CPoint3D gridPoint(double a, double b, double c) const override;
    void setExtentsAndSpacing(const CPoint3D& extents, const CPoint3D& spacing) override;
    void setExtents(const CPoint3D& extents);
};

/// Points (a sin c cos b, a sin c sin b, a cos c): radius, azimuth, polar angle.
class ZEVCORE_API CSphericalGrid : public CGraphicGrid {
public:
    CSphericalGrid();
    CPoint3D gridPoint(double a, double b, double c) const override;
    void setExtentsAndSpacing(const CPoint3D& extents, const CPoint3D& spacing) override;
    /// Builds the radial lines when asked for z, but never copies them into the buffer.
    void UpdateGridData(bool x, bool y, bool z) override;
    void setExtents(const CPoint3D& extents);
    void setSpacing(const CPoint3D& spacing);
    void setDivisions(const CPoint3D& divisions);
};

/// Lines at given steps along each axis: the parameters are 1-based indices into the running
/// sums of the steps.
class ZEVCORE_API CIrregularGrid : public CGraphicGrid {
public:
    enum ETGridPlane { gpXY = 0, gpYZ = 1, gpZX = 2 };

    CIrregularGrid();
    CIrregularGrid(const CIrregularGrid& other);
    virtual CIrregularGrid& operator=(const CIrregularGrid& other);
    ETFileError read(ibfstream& in) override;
    ETFileError write(obfstream& out, int unused) override;
    CGraphicGrid* clone() const override;
    /// Ignores its arguments: the ranges come from the coordinate counts.
    void setParameterLimits(double min1, double max1, int div1, double min2, double max2, int div2,
                            double min3, double max3, int div3) override;
    CPoint3D gridPoint(double a, double b, double c) const override;

    void setupPlanarGrid(const CString& name, ETGridPlane plane, double extentA, double extentB,
                         double spacingA, double spacingB, const CPoint3D& origin);
    void setupCubeGrid(const CString& name, double extentX, double extentY, double extentZ,
                       double spacingX, double spacingY, double spacingZ, const CPoint3D& origin);
    /// The coordinates become 0 and the running sums of the steps; `origin` is not used.
    void setPointSpacings(CTArray<double> dx, CTArray<double> dy, CTArray<double> dz,
                          const CPoint3D& origin);
    const CTArray<double>& getXSpacings() const { return xSpacings; }
    const CTArray<double>& getYSpacings() const { return ySpacings; }
    const CTArray<double>& getZSpacings() const { return zSpacings; }
    CPoint3D getNumberOfLines() const;

protected:
    ETFileError readRecord(ibfstream& in) override;

private:
    CTArray<double> xCoords, yCoords, zCoords;
    CTArray<double> xSpacings, ySpacings, zSpacings;
    static int ngrid;
};
