// The grid block of a project file as a reader of outside input: what it accepts it writes back
// so that it reads the same again, odd type fields have a defined answer, and the work a block
// can ask for is bounded. Also snapping by the lattice's parameters against a scan.

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "support/TestEnv.h"
#include "zevcore/frame/Math.h"
#include "zevcore/graphics/GridManager.h"

namespace {

struct Record {
    short blockCode;  // the class the reader builds
    short ownType;    // the record's own type field
    double divisions[3];
    double max[3];
    int spacings = -1;  // an irregular record's steps on each axis; none for the others
};

// One grid entry written field by field, as a file from elsewhere may hold it.
void writeEntry(obfstream& out, const Record& r) {
    out << r.blockCode << static_cast<short>(2) << "Odd" << r.ownType;
    out << true << true << false;
    for (double d : r.divisions) out << d;
    for (int i = 0; i < 3; ++i) out << 0.0;
    for (double m : r.max) out << m;
    for (int i = 0; i < 3; ++i) out << 0.0;
    out << true;
    for (int i = 0; i < 16; ++i) out << (i % 5 == 0 ? 1.0 : 0.0);
    out << false << false << false << false;
    if (r.spacings < 0) return;
    for (int axis = 0; axis < 3; ++axis) {
        out << r.spacings;
        for (int k = 0; k < r.spacings; ++k) out << 12.0;
    }
}

std::string bytesOf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

ETFileError readBlock(CGridManager& manager, const std::string& path) {
    ibfstream in(path.c_str());
    const ETFileError result = manager.read(in);
    EXPECT_TRUE(manager.IsValid());
    return result;
}

ETFileError writeBlock(CGridManager& manager, const std::string& path) {
    obfstream out(path.c_str());
    const ETFileError result = manager.write(out, 0);
    EXPECT_TRUE(manager.IsValid());
    return result;
}

void expectSameGrids(CGridManager& a, CGridManager& b) {
    ASSERT_EQ(a.gridCount(), b.gridCount());
    for (int i = 1; i <= a.gridCount(); ++i) {
        EXPECT_EQ(a.getGridType(i), b.getGridType(i)) << i;
        EXPECT_EQ(a.grid(i)->gridType(), b.grid(i)->gridType()) << i;
        const auto& pa = a.grid(i)->getGridPoints();
        const auto& pb = b.grid(i)->getGridPoints();
        ASSERT_EQ(pa.getCount(), pb.getCount()) << i;
        for (int k = 1; k <= pa.getCount(); ++k)
            ASSERT_EQ(pa[k]->distance_to(*pb[k]), 0.0) << i << " point " << k;
    }
}

TEST(GridManagerRegression, WriteKeepsTheBlocksOwnTypeCode) {
    // The block wrote each grid's own type field as the code that picks the class, and a
    // record whose type names another class made the reader build that class and misread it.
    const Record cases[] = {
        {gtYZPlane, gtXYLines, {4, 4, 0}, {4, 4, 0}},     // rectangular, type of the irregular
        {gtPolar, gtSpherical, {2, 6, 0}, {9, 6, 0}},     // polar, type of the spherical
        {gtXYLines, gtXYPlane, {0, 0, 0}, {0, 0, 0}, 3},  // irregular, type of the rectangular
        {gtSpherical, -7, {1, 4, 3}, {5, 6, 3}},          // spherical, a type of no kind
        {gt3DRectangular, gtUnknown, {2, 2, 2}, {2, 2, 2}},
    };
    zevtest::TempDir dir;
    for (const Record& r : cases) {
        SCOPED_TRACE(r.blockCode * 100 + r.ownType);
        {
            obfstream out(dir.file("odd.bin").c_str());
            out << static_cast<short>(1) << static_cast<short>(2);
            writeEntry(out, r);
            writeEntry(out, {gtLineX, gtLineX, {3, 0, 0}, {3, 0, 0}});
        }
        CGridManager first, second;
        ASSERT_EQ(readBlock(first, dir.file("odd.bin")), feSuccess);
        ASSERT_EQ(writeBlock(first, dir.file("again.bin")), feSuccess);
        ASSERT_EQ(readBlock(second, dir.file("again.bin")), feSuccess);
        expectSameGrids(first, second);
        ASSERT_EQ(writeBlock(second, dir.file("third.bin")), feSuccess);
        EXPECT_EQ(bytesOf(dir.file("third.bin")), bytesOf(dir.file("again.bin")));
    }
}

TEST(GridManagerRegression, ATypeFieldOfNoKindReadsAsUnknown) {
    // A 16-bit type field of 512 was cast straight into ETGraphicGridType, past its values.
    zevtest::TempDir dir;
    {
        obfstream out(dir.file("512.bin").c_str());
        out << static_cast<short>(1) << static_cast<short>(1);
        writeEntry(out, {gtXYPlane, 512, {4, 4, 0}, {4, 4, 0}});
    }
    CGridManager manager;
    ASSERT_EQ(readBlock(manager, dir.file("512.bin")), feSuccess);
    EXPECT_EQ(manager.grid(1)->gridType(), gtUnknown);
    EXPECT_EQ(manager.getGridType(1), gtUnknown);
    EXPECT_EQ(manager.getGridTypeString(1, 1), CString("Unknown Type"));
    EXPECT_EQ(manager.grid(1)->getGridPoints().getCount(), 25);
}

TEST(GridManagerRegression, ABlockAsksForNoMoreLatticePointsThanOneGridMayHold) {
    // Each grid of a small block could ask for millions of points, so a block of a few
    // hundred bytes could make the reader generate without end. The bound is tested before
    // the grid that would pass it generates anything.
    const double most = CGraphicGrid::kMaxLatticePoints - 10;  // steps: one point more
    zevtest::TempDir dir;
    {
        obfstream out(dir.file("big.bin").c_str());
        out << static_cast<short>(1) << static_cast<short>(3);
        writeEntry(out, {gtXYPlane, gtXYPlane, {4, 4, 0}, {4, 4, 0}});
        writeEntry(out, {gtLineX, gtLineX, {most, 0, 0}, {most, 0, 0}});
        writeEntry(out, {gtLineX, gtLineX, {most, 0, 0}, {most, 0, 0}});
    }
    CGridManager manager;
    EXPECT_EQ(readBlock(manager, dir.file("big.bin")), feReadError);
    ASSERT_EQ(manager.gridCount(), 1);  // the grids before the one that passed the bound stay

    // What the reader refuses is never written: the save fails and writes nothing.
    auto* line = new CRectangularGrid;
    manager.addGrid(*line);
    line->setParameterLimits(0, most, static_cast<int>(most), 0, 0, 0, 0, 0, 0);
    EXPECT_EQ(line->latticePointCount(), CGraphicGrid::kMaxLatticePoints - 9);
    EXPECT_EQ(writeBlock(manager, dir.file("refused.bin")), feWriteError);
    EXPECT_EQ(bytesOf(dir.file("refused.bin")), "");
    line->setParameterLimits(0, 1000, 1000, 0, 0, 0, 0, 0, 0);
    EXPECT_EQ(writeBlock(manager, dir.file("kept.bin")), feSuccess);
    CGridManager again;
    EXPECT_EQ(readBlock(again, dir.file("kept.bin")), feSuccess);
    EXPECT_EQ(again.grid(2)->getGridPoints().getCount(), 1001);
}

TEST(GridManagerRegression, MoreGridsThanTheCountHoldsAreNotWritten) {
    // The count is 16 bits: 32,768 grids wrote as a negative count, which reads as none.
    CGridManager manager;
    const CGraphicGrid plain;
    for (int i = 0; i < 32768; ++i) manager.addGrid(*new CGraphicGrid(plain));
    zevtest::TempDir dir;
    EXPECT_EQ(writeBlock(manager, dir.file("many.bin")), feWriteError);
    EXPECT_EQ(bytesOf(dir.file("many.bin")), "");
}

TEST(PointerArrayRegression, FillingMovesTheElementsLogarithmicallyOften) {
    // The array reserved its fixed step of 1,000 more each time it was full, so a lattice of
    // millions of points was copied thousands of times while it was generated.
    TPointerArray<int> a(1000, 1000);
    int growths = 0;
    for (int i = 1; i <= 1'000'000; ++i) {
        const std::size_t before = a.capacity();
        a.add(new int(i));
        growths += a.capacity() != before;
    }
    EXPECT_LE(growths, 12);
    EXPECT_EQ(*a[1'000'000], 1'000'000);
    EXPECT_EQ(a[1'000'001], nullptr);
}

// The nearest lattice point by a scan of every point, as the stated algorithm walks them.
CPoint3D scan(const TPointerArray<CPoint3D>& points, const CPoint3D& p, double& distance) {
    CPoint3D best(0, 0, 0);
    distance = BIG;
    for (int i = 1; i <= points.getCount(); ++i)
        if (const double d = p.distance_to(*points[i]); d < distance)
            distance = d, best = *points[i];
    return best;
}

TEST(GraphicGrid, SnappingAnswersBitForBitAsTheScanOnManyPoints) {
    CRectangularGrid plane, turned, line;
    plane.setupRegularGrid("Plane", CRectangularGrid::gpXY, 142.8, 214.2, 1.2, 1.2 * 3,
                           CPoint3D(5, -3, 0.25));
    turned.setupCubeGrid("Box", 90, 70, 30, 3, 7, 2.5, CPoint3D(-1, 2, 3));
    turned.setRotationUsingAxis(0.7, CVector3D(0.2, -1, 0.4));
    line.setupLineGrid("Line", 1, 300, 0.1, CPoint3D(0, 0, 0));
    std::mt19937 random(2024);
    for (CRectangularGrid* grid : {&plane, &turned, &line}) {
        SCOPED_TRACE(grid->name().GetString());
        const auto& points = grid->getGridPoints();
        std::uniform_int_distribution<int> pick(1, points.getCount());
        std::uniform_real_distribution<double> near(-200, 200), far(-1e9, 1e9), offset(-1, 1);
        for (int trial = 0; trial < 3000; ++trial) {
            CPoint3D p(near(random), near(random), near(random) / 20);
            if (trial % 6 == 1) p = *points[pick(random)];  // on the lattice
            if (trial % 6 == 2) p = (*points[pick(random)] + *points[pick(random)]) * 0.5;
            if (trial % 6 == 3)
                p = *points[pick(random)] + CPoint3D(0.6, 0.6, 0.6) * offset(random);
            if (trial % 6 == 4) p = CPoint3D(far(random), far(random), far(random));
            double scanned = 0, snapped = 0;
            const CPoint3D expected = scan(points, p, scanned);
            const CPoint3D got = grid->closestGridPoint(p, snapped);
            ASSERT_TRUE(grid->IsValid());
            ASSERT_EQ(snapped, scanned) << trial;
            ASSERT_TRUE(got.x == expected.x && got.y == expected.y && got.z == expected.z) << trial;
        }
        // So far off that no point measures below BIG: the stated empty answer, as the scan.
        double distance = 0;
        const CPoint3D got = grid->closestGridPoint(CPoint3D(1e31, 0, 0), distance);
        EXPECT_EQ(distance, BIG);
        EXPECT_TRUE(got.x == 0 && got.y == 0 && got.z == 0);
    }
}

}  // namespace
