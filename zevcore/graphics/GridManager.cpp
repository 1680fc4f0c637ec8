#include "zevcore/graphics/GridManager.h"

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

ETFileError CGridManager::write(obfstream& out, int unused) {
    out << static_cast<short>(1);
    out << static_cast<short>(gridCount());
    for (int i = 1; i <= gridCount(); ++i) {
        CGraphicGrid* g = grid(i);
        out << static_cast<short>(g->gridType());
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
    for (int i = 0; i < count; ++i) {
        short type = 0;
        in >> type;
        std::unique_ptr<CGraphicGrid> g;
        if (type == gtPolar)
            g = std::make_unique<CPolarGrid>();
        else if ((type >= gtXYPlane && type <= gtLineZ) || type == gt3DRectangular)
            g = std::make_unique<CRectangularGrid>();
        else if (type >= gtXYLines && type <= gt3DLines)
            g = std::make_unique<CIrregularGrid>();
        else if (type == gtSpherical)
            g = std::make_unique<CSphericalGrid>();
        else
            return feReadError;
        // A grid whose record fails is not added; it is freed here rather than lost.
        if (const ETFileError result = g->read(in); result != feSuccess) return result;
        grids.add(g.release());
    }
    return !in ? feReadError : feSuccess;
}
