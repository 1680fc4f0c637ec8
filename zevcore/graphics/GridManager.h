#pragma once

// The graphic grids of one project: created by kind with fixed default dimensions, addressed
// from index 1, read and written as one block of the project file, and asked together which
// lattice point lies nearest.

#include "zevcore/Export.h"
#include "zevcore/graphics/GraphicGrid.h"

class ZEVCORE_API CGridManager {
public:
    CGridManager();
    /// Copies every grid through the copy constructor of CGraphicGrid, so each copy is a plain
    /// grid whatever it was: it generates only its origin, and its kind is no longer known.
    CGridManager(const CGridManager& other);
    CGridManager& operator=(const CGridManager& other);
    ~CGridManager();

    int gridCount() const { return grids.getCount(); }
    /// The grid, or null for an index below 1 or above the count.
    CGraphicGrid* grid(int index) const { return grids[index]; }
    /// Appends a heap-allocated grid and takes it over.
    void addGrid(CGraphicGrid& grid);
    /// Creates a grid of the kind with the fixed default dimensions; other kinds add nothing.
    void addGrid(ETGraphicGridType type, const CString& name);
    /// Replaces the grid at `index`, deleting the old one; outside the range nothing happens
    /// and `grid` is not taken.
    void modifyGrid(int index, CGraphicGrid& grid);
    void removeGrid(int index);
    ETGraphicGridType getGridType(int index) const;
    CString getGridTypeString(int index, int style) const;

    /// The nearest lattice point of the visible grids, the earlier grid on a tie; (0, 0, 0)
    /// and BIG when no grid is visible.
    CPoint3D closestGridPoint(const CPoint3D& p, double& distance);
    CPoint3D closestGridPoint(const CLine3D& line, double& distance);
    /// Moves `p` to closestGridPoint(p): with no visible grid, to (0, 0, 0).
    void snapToGrid(CPoint3D& p);

    /// Appends "Default Grid": 1200 by 1200 in 50 steps each way about the origin, visible.
    void CreateDefaultGrid();
    /// Removes every grid, then creates the default one.
    void reset();

    /// Every grid is there (no null) and valid.
    bool IsValid() const;

    ETFileError read(ibfstream& in);
    ETFileError write(obfstream& out, int unused);

private:
    TPointerArray<CGraphicGrid> grids;
};

/// The application's grids.
ZEVCORE_API extern CGridManager theGridManager;
