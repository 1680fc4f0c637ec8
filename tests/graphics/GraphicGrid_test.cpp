// Graphic grids: lattices against hand-computed values, snapping against a scan, growth,
// persistence and the manager's rules.

#include "zevcore/graphics/GraphicGrid.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "support/TestEnv.h"
#include "zevcore/frame/Math.h"
#include "zevcore/graphics/GridManager.h"

namespace {

void expectPoint(const CPoint3D& p, double x, double y, double z) {
    EXPECT_NEAR(p.x, x, 1e-9);
    EXPECT_NEAR(p.y, y, 1e-9);
    EXPECT_NEAR(p.z, z, 1e-9);
}

bool hasPoint(CGraphicGrid& grid, double x, double y, double z) {
    const auto& points = grid.getGridPoints();
    EXPECT_TRUE(grid.IsValid());
    for (int i = 1; i <= points.getCount(); ++i)
        if (points[i]->distance_to(CPoint3D(x, y, z)) < 1e-9) return true;
    return false;
}

TEST(GraphicGrid, TypeNamesFollowTheStyle) {
    EXPECT_STREQ(getGridTypeName(gtXYPlane, 1), "Front View (XY)");
    EXPECT_STREQ(getGridTypeName(gtXYPlane, 0), "XY Plane Grid");
    EXPECT_STREQ(getGridTypeName(gtXZLines, 1), "Architectural Grid - Top View");
    EXPECT_STREQ(getGridTypeName(gtPolar, 1), "Polar");
    EXPECT_STREQ(getGridTypeName(static_cast<ETGraphicGridType>(99), 0), "Unknown Type");
}

TEST(GraphicGrid, DefaultRectangularLatticeLinesAndVertexBuffer) {
    CRectangularGrid grid;
    EXPECT_TRUE(grid.isRotated());  // the identity rotation counts as a rotation
    EXPECT_FALSE(grid.isDataValid());
    EXPECT_EQ(grid.getGridPoints().getCount(), 51 * 51);
    EXPECT_EQ(grid.getXGridLines().getCount(), 50 * 51);
    EXPECT_EQ(grid.getYGridLines().getCount(), 51 * 50);
    EXPECT_EQ(grid.getZGridLines().getCount(), 0);
    EXPECT_EQ(grid.vertexCount(), 2 * (50 * 51 + 51 * 50));
    expectPoint(*grid.getGridPoints()[1], -600, -600, 0);
    const float* v = grid.vertexBuffer();
    EXPECT_EQ(v[0], -600.0f);  // the first x line runs from (-600, -600) to (-576, -600)
    EXPECT_EQ(v[3], -576.0f);
    EXPECT_EQ(v[4], -600.0f);

    // Only the first parameter's negative divisions empty the lattice; the others collapse.
    grid.setParameterLimits(0, 10, 2, 0, 10, -1, 0, 10, 2);
    EXPECT_EQ(grid.getGridPoints().getCount(), 3);
    grid.setParameterLimits(0, 10, -1, 0, 10, 2, 0, 10, 2);
    double distance = 0;
    expectPoint(grid.closestGridPoint(CPoint3D(3, 3, 3), distance), 0, 0, 0);
    EXPECT_EQ(distance, BIG);
    // A step that no longer moves its parameter, or too many points, generates nothing.
    grid.setParameterLimits(1e20, 1e20 + 1e6, 1000, 0, 0, 0, 0, 0, 0);
    EXPECT_EQ(grid.getGridPoints().getCount(), 0);
    grid.setParameterLimits(0, 1e6, 1000000, 0, 1e6, 1000000, 0, 0, 0);
    EXPECT_EQ(grid.getGridPoints().getCount(), 0);
}

TEST(GraphicGrid, KindsMapTheirParameters) {
    CPolarGrid polar;
    EXPECT_TRUE(hasPoint(polar, 0, 120, 0));  // radius 120 at a quarter turn
    EXPECT_TRUE(hasPoint(polar, -60, 0, 0));
    CSphericalGrid sphere;
    EXPECT_TRUE(hasPoint(sphere, 0, 0, -120));  // the south pole at polar angle pi
    EXPECT_EQ(sphere.vertexCount(),
              2 * (sphere.getXGridLines().getCount() + sphere.getYGridLines().getCount() +
                   sphere.getZGridLines().getCount()));
    CHelicalGrid helix;
    EXPECT_EQ(helix.gridType(), gtUnknown);
    EXPECT_TRUE(hasPoint(helix, 0, 120, zev::PI / 2 * 12));

    CIrregularGrid lines;
    lines.setupPlanarGrid("Front", CIrregularGrid::gpXY, 1200, 1200, 240, 144, CPoint3D());
    EXPECT_EQ(lines.gridType(), gtXYLines);
    expectPoint(lines.getNumberOfLines(), 6, 9, 1);
    EXPECT_EQ(lines.getGridPoints().getCount(), 6 * 9);
    expectPoint(lines.gridPoint(2, 3, 1), 240, 288, 0);
    expectPoint(lines.gridPoint(7, 0, 1), 0, 0, 0);  // outside the coordinates: 0
}

TEST(GraphicGrid, RotationAndTranslationThroughThreeCorners) {
    CRectangularGrid grid;
    grid.setupGridThroughCorners({10, 0, 0}, {10, 10, 0}, {0, 0, 0}, 5, 5);
    EXPECT_EQ(grid.getGridPoints().getCount(), 9);
    expectPoint(*grid.getGridPoints()[1], 10, 0, 0);  // parameters (0, 0): corner a
    expectPoint(*grid.getGridPoints()[4], 10, 5, 0);  // (5, 0): along a to b
    expectPoint(*grid.getGridPoints()[5], 5, 5, 0);   // (5, 5): towards c as well
    grid.setOrigin({0, 0, 7});
    EXPECT_FALSE(grid.isDataValid());
    EXPECT_TRUE(hasPoint(grid, -5, 5, 7));
}

TEST(GraphicGrid, SnappingByArithmeticAnswersAsTheScanDoes) {
    CRectangularGrid grid;
    grid.setupCubeGrid("Box", 100, 60, 30, 10, 6, 5, CPoint3D(3, -2, 1));
    grid.setRotationUsingAxis(0.3, CVector3D(1, 2, 3));
    const auto& points = grid.getGridPoints();
    std::mt19937 random(7);
    std::uniform_real_distribution<double> coordinate(-80, 80);
    for (int trial = 0; trial < 500; ++trial) {
        // Random points, lattice points and points midway between two of them.
        CPoint3D p(coordinate(random), coordinate(random), coordinate(random));
        if (trial % 5 == 1) p = *points[1 + trial % points.getCount()];
        if (trial % 5 == 2) p = (*points[1 + trial % 50] + *points[2 + trial % 50]) * 0.5;
        CPoint3D scanned(0, 0, 0);
        double scanDistance = BIG;
        for (int i = 1; i <= points.getCount(); ++i)
            if (p.distance_to(*points[i]) < scanDistance)
                scanDistance = p.distance_to(*points[i]), scanned = *points[i];
        double distance = 0;
        const CPoint3D snapped = grid.closestGridPoint(p, distance);
        ASSERT_EQ(distance, scanDistance) << trial;
        ASSERT_TRUE(snapped.x == scanned.x && snapped.y == scanned.y && snapped.z == scanned.z);
    }
}

TEST(GraphicGrid, ExpansionGrowsByWholeStepsUntilTheBoxIsCovered) {
    CRectangularGrid grid;
    grid.expandExtents({-700, -610, 0}, {650, 0, 0}, 1.0, 20);
    CPoint3D low, high;
    grid.gridVolume(low, high);
    expectPoint(low, -720, -624, 0);
    expectPoint(high, 672, 600, 0);
    expectPoint(grid.divisions(), 50 + 5 + 3, 50 + 1, 0);

    CRectangularGrid unchanged;
    unchanged.expandExtents({-700, 0, 0}, {0, 0, 0}, 1.0, 0);
    EXPECT_TRUE(unchanged.isDataValid());
    expectPoint(unchanged.parameterMin(), -600, -600, 0);
}

TEST(GridManager, CreatesAddressesAndSnapsAcrossVisibleGrids) {
    CGridManager manager;
    manager.reset();
    ASSERT_EQ(manager.gridCount(), 1);
    EXPECT_STREQ(manager.grid(1)->name(), "Default Grid");
    EXPECT_EQ(manager.grid(0), nullptr);
    EXPECT_EQ(manager.grid(2), nullptr);
    manager.addGrid(gtPolar, "X");
    EXPECT_EQ(std::string(manager.grid(2)->name()).rfind("Polar Grid ", 0), 0u);
    manager.addGrid(gtXYPlane, "Front");
    CGraphicGrid& front = *manager.grid(3);
    EXPECT_EQ(std::string(front.name()).rfind("Front ", 0), 0u);
    expectPoint(front.divisions(), 50, 50, 1);
    expectPoint(front.extents(), 1200, 1200, 0);
    EXPECT_EQ(manager.getGridTypeString(3, 1), CString("Front View (XY)"));
    manager.addGrid(gtAddNew, "nothing");
    EXPECT_EQ(manager.gridCount(), 3);

    CPoint3D p(13, -35, 4);
    manager.snapToGrid(p);
    expectPoint(p, 24, -24, 0);  // only the default grid (24 apart) is visible
    manager.grid(1)->setVisibility(false);
    p = CPoint3D(13, -35, 4);
    manager.snapToGrid(p);
    expectPoint(p, 0, 0, 0);  // nothing visible: the origin, with no capture radius
}

TEST(GridManager, TheProjectBlockRoundTripsAndStopsAtAHelix) {
    zevtest::TempDir dir;
    CGridManager manager;
    for (ETGraphicGridType type :
         {gtPolar, gtYZPlane, gtLineZ, gtXZLines, gt3DLines, gt3DRectangular, gtSpherical})
        manager.addGrid(type, "G");
    manager.grid(2)->setVisibility(true);
    {
        obfstream out(dir.file("grids.bin").c_str());
        EXPECT_EQ(manager.write(out, 0), feSuccess);
    }
    CGridManager loaded;
    {
        ibfstream in(dir.file("grids.bin").c_str());
        ASSERT_EQ(loaded.read(in), feSuccess);
    }
    ASSERT_EQ(loaded.gridCount(), manager.gridCount());
    for (int i = 1; i <= manager.gridCount(); ++i) {
        EXPECT_EQ(loaded.getGridType(i), manager.getGridType(i));
        EXPECT_STREQ(loaded.grid(i)->name(), manager.grid(i)->name());
        EXPECT_EQ(loaded.grid(i)->getGridPoints().getCount(),
                  manager.grid(i)->getGridPoints().getCount());
    }
    EXPECT_TRUE(loaded.grid(2)->isVisible());

    manager.addGrid(*new CHelicalGrid);
    manager.addGrid(gtPolar, "after");
    {
        obfstream out(dir.file("helix.bin").c_str());
        EXPECT_EQ(manager.write(out, 0), feSuccess);
    }
    ibfstream in(dir.file("helix.bin").c_str());
    EXPECT_EQ(loaded.read(in), feReadError);
    EXPECT_EQ(loaded.gridCount(), 7);  // the grids before the helix stay
}

TEST(GridManager, ACopyHoldsPlainGridsAtTheOrigin) {
    CGridManager manager;
    manager.reset();
    manager.addGrid(gtXYLines, "Lines");
    CGridManager copy(manager);
    ASSERT_EQ(copy.gridCount(), 2);
    for (int i = 1; i <= 2; ++i) {
        EXPECT_EQ(copy.getGridType(i), gtUnknown);
        EXPECT_STREQ(copy.grid(i)->name(), manager.grid(i)->name());
    }
    // The default grid was valid: its copy says so with no points until it goes stale.
    EXPECT_TRUE(copy.grid(1)->isDataValid());
    EXPECT_EQ(copy.grid(1)->getGridPoints().getCount(), 0);
    EXPECT_EQ(copy.grid(1)->vertexCount(), manager.grid(1)->vertexCount());
    copy.grid(1)->setOrigin({5, 5, 0});
    const auto& points = copy.grid(1)->getGridPoints();
    ASSERT_GT(points.getCount(), 0);
    expectPoint(*points[points.getCount()], 5, 5, 0);
    EXPECT_TRUE(copy.IsValid());
    EXPECT_TRUE(manager.IsValid());
}

}  // namespace
