#include "zevcore/graphics/GridManager.h"

#include <cstdint>
#include <limits>
#include <memory>

#include "zevcore/frame/Math.h"

CGridManager theGridManager;

CGridManager::CGridManager() : grids(25, 0) {}

CGridManager::CGridManager(const CGridManager& other) : grids(25, 0) {
    for (int i = 1; i <= other.gridCount(); ++i)
        if (const CGraphicGrid* g = other.grid(i)) grids.add(new CGraphicGrid(*g));
}

CGridManager& CGridManager::operator=(const CGridManager& other) {
    if (this == &other) return *this;
    grids.clear();
    for (int i = 1; i <= other.gridCount(); ++i)
        if (const CGraphicGrid* g = other.grid(i)) grids.add(new CGraphicGrid(*g));
    return *this;
}

CGridManager::~CGridManager() = default;

void CGridManager::addGrid(CGraphicGrid& grid) {
    grids.add(&grid);
}

void CGridManager::addGrid(ETGraphicGridType type, const CString& name) {
    const CPoint3D origin(0, 0, 0);
    std::unique_ptr<CGraphicGrid> made;
    switch (type) {
        case gtPolar:
            made = std::make_unique<CPolarGrid>();
            break;
        case gtXYPlane:
        case gtYZPlane:
        case gtXZPlane: {
            auto g = std::make_unique<CRectangularGrid>();
            const auto plane = static_cast<CRectangularGrid::ETGridPlane>(type - gtXYPlane);
            g->setupRegularGrid(name, plane, 1200, 1200, 24, 24, origin);
            made = std::move(g);
            break;
        }
        case gtLineX:
        case gtLineY:
        case gtLineZ: {
            auto g = std::make_unique<CRectangularGrid>();
            g->setupLineGrid(name, type - gtLineX, 1200, 24, origin);
            made = std::move(g);
            break;
        }
        case gtXYLines:
        case gtYZLines:
        case gtXZLines: {
            // The spacings of the plane's two directions: a wide horizontal and a lower
            // vertical module in the front and side views, 240 both ways from the top.
            static const double kSpacings[3][2] = {{240, 144}, {144, 240}, {240, 240}};
            const int row = type - gtXYLines;
            auto g = std::make_unique<CIrregularGrid>();
            g->setupPlanarGrid(name, static_cast<CIrregularGrid::ETGridPlane>(row), 1200, 1200,
                               kSpacings[row][0], kSpacings[row][1], origin);
            made = std::move(g);
            break;
        }
        case gt3DLines: {
            auto g = std::make_unique<CIrregularGrid>();
            g->setupCubeGrid(name, 1200, 1200, 1200, 240, 144, 240, origin);
            made = std::move(g);
            break;
        }
        case gt3DRectangular: {
            auto g = std::make_unique<CRectangularGrid>();
            g->setupCubeGrid(name, 1200, 1200, 1200, 120, 120, 120, origin);
            made = std::move(g);
            break;
        }
        case gtSpherical:
            made = std::make_unique<CSphericalGrid>();
            break;
        default:
            return;
    }
    grids.add(made.release());
}

void CGridManager::modifyGrid(int index, CGraphicGrid& grid) {
    if (index < 1 || index > gridCount()) return;
    delete grids.replace(index, &grid);
}

void CGridManager::removeGrid(int index) {
    grids.removeAt(index);
}

ETGraphicGridType CGridManager::getGridType(int index) const {
    const CGraphicGrid* g = grid(index);
    if (!g) return gtUnknown;
    if (dynamic_cast<const CRectangularGrid*>(g) || dynamic_cast<const CIrregularGrid*>(g))
        return g->gridType();
    if (dynamic_cast<const CPolarGrid*>(g)) return gtPolar;
    if (dynamic_cast<const CSphericalGrid*>(g)) return gtSpherical;
    return gtUnknown;
}

CString CGridManager::getGridTypeString(int index, int style) const {
    return getGridTypeName(getGridType(index), style);
}

namespace {

// The nearest lattice point to a point or a line over the visible grids, the earlier grid on
// a tie.
template <typename Target>
CPoint3D closestAcross(const CGridManager& manager, const Target& target, double& distance) {
    CPoint3D best(0, 0, 0);
    distance = BIG;
    for (int i = 1; i <= manager.gridCount(); ++i) {
        CGraphicGrid* g = manager.grid(i);
        if (!g || !g->isVisible()) continue;
        double d = BIG;
        const CPoint3D q = g->closestGridPoint(target, d);
        if (d < distance) distance = d, best = q;
    }
    return best;
}

}  // namespace

CPoint3D CGridManager::closestGridPoint(const CPoint3D& p, double& distance) {
    return closestAcross(*this, p, distance);
}

CPoint3D CGridManager::closestGridPoint(const CLine3D& line, double& distance) {
    return closestAcross(*this, line, distance);
}

void CGridManager::snapToGrid(CPoint3D& p) {
    double distance = BIG;
    p = closestGridPoint(p, distance);
}

bool CGridManager::IsValid() const {
    for (int i = 1; i <= gridCount(); ++i)
        if (!grid(i) || !grid(i)->IsValid()) return false;
    return true;
}

void CGridManager::CreateDefaultGrid() {
    auto g = std::make_unique<CRectangularGrid>();
    g->setName("Default Grid");
    g->setVisibility(true);
    g->getGridPoints();
    grids.add(g.release());
}

void CGridManager::reset() {
    grids.clear();
    CreateDefaultGrid();
}

namespace {

// A block of a few hundred bytes can ask for a full-sized lattice in each of its grids: the
// block as a whole holds no more lattice points than one grid may, so that loading it costs
// time and memory in proportion to what one grid may hold.
constexpr std::size_t kMaxBlockLatticePoints = CGraphicGrid::kMaxLatticePoints;

// The classes a block's type code builds, in the order the reader tells them apart.
enum class GridClass { none, polar, rectangular, irregular, spherical };

GridClass classOfCode(int code) {
    if (code == gtPolar) return GridClass::polar;
    if ((code >= gtXYPlane && code <= gtLineZ) || code == gt3DRectangular)
        return GridClass::rectangular;
    if (code >= gtXYLines && code <= gt3DLines) return GridClass::irregular;
    if (code == gtSpherical) return GridClass::spherical;
    return GridClass::none;
}

GridClass classOfGrid(const CGraphicGrid& g) {
    if (dynamic_cast<const CRectangularGrid*>(&g)) return GridClass::rectangular;
    if (dynamic_cast<const CIrregularGrid*>(&g)) return GridClass::irregular;
    if (dynamic_cast<const CPolarGrid*>(&g)) return GridClass::polar;
    if (dynamic_cast<const CSphericalGrid*>(&g)) return GridClass::spherical;
    return GridClass::none;
}

// The code that tells the reader which class to build. A grid's own `type` can name another
// class than the grid is (a block may pair any record with any code of the class it builds,
// and the record's `type` is kept as read); writing that `type` would make the reader build
// the wrong class and misread the record, so the class's own first code is written instead.
// A grid of a class the reader cannot build (a helix, a plain copy) gets gtUnknown unless its
// own `type` already says so: the reader then stops there, with the grids before it loaded.
short blockCode(const CGraphicGrid& g, std::int32_t ownType) {
    const GridClass cls = classOfGrid(g);
    if (classOfCode(ownType) == cls) return static_cast<short>(ownType);
    switch (cls) {
        case GridClass::polar:
            return gtPolar;
        case GridClass::rectangular:
            return gtXYPlane;
        case GridClass::irregular:
            return gtXYLines;
        case GridClass::spherical:
            return gtSpherical;
        case GridClass::none:
            break;
    }
    return gtUnknown;
}

std::unique_ptr<CGraphicGrid> makeForCode(int code) {
    switch (classOfCode(code)) {
        case GridClass::polar:
            return std::make_unique<CPolarGrid>();
        case GridClass::rectangular:
            return std::make_unique<CRectangularGrid>();
        case GridClass::irregular:
            return std::make_unique<CIrregularGrid>();
        case GridClass::spherical:
            return std::make_unique<CSphericalGrid>();
        case GridClass::none:
            break;
    }
    return nullptr;
}

}  // namespace

ETFileError CGridManager::write(obfstream& out, int unused) {
    // The count is 16 bits and a negative one reads as no grid at all: a block that cannot
    // say how many grids it holds is not begun.
    if (gridCount() > std::numeric_limits<short>::max()) return feWriteError;
    // Nor is a block the reader would refuse for the lattice points it asks for.
    std::size_t points = 0;
    for (int i = 1; i <= gridCount(); ++i) {
        points += grid(i)->latticePointCount();
        if (points > kMaxBlockLatticePoints) return feWriteError;
    }
    out << static_cast<short>(1);
    out << static_cast<short>(gridCount());
    for (int i = 1; i <= gridCount(); ++i) {
        CGraphicGrid* g = grid(i);
        out << blockCode(*g, g->type);
        g->write(out, unused);
    }
    return !out ? feReadError : feSuccess;
}

ETFileError CGridManager::read(ibfstream& in) {
    grids.clear();
    short version = 0;
    in >> version;
    if (version != 1) return feReadError;
    short count = 0;
    in >> count;
    std::size_t points = 0;
    for (int i = 0; i < count; ++i) {
        short type = 0;
        in >> type;
        std::unique_ptr<CGraphicGrid> g = makeForCode(type);
        if (!g) return feReadError;
        // The grid's read, with the block's bound tested between the record and the lattice
        // it asks for. A grid that fails is not added; it is freed here rather than lost.
        if (const ETFileError result = g->readRecord(in); result != feSuccess) return result;
        points += g->latticePointCount();
        if (points > kMaxBlockLatticePoints) return feReadError;
        g->UpdateGridData(true, true, true);
        grids.add(g.release());
    }
    return !in ? feReadError : feSuccess;
}
