// Drawings in the zevcore tool: units, text, curves, blocks and layers on the way to a region,
// and the MSH file's groups on the way out.

#include "tools/zevcore/MeshDxf.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "support/TestEnv.h"

using namespace zevtool::meshio;

namespace {

const std::string kData = ZEV_TOOL_TEST_DATA "/dxf/";

std::string errorOf(const std::string& path, const std::vector<std::string>& layers) {
    try {
        readDxfOutlines(path, layers);
    } catch (const InputError& e) {
        return e.what();
    }
    return "";
}

bool near(const Point& p, double x, double y) {
    return std::fabs(p.x - x) < 1e-9 && std::fabs(p.y - y) < 1e-9;
}

}  // namespace

TEST(MeshDxf, LengthsAreTakenInTheDrawingsUnitOrTheirOwn) {
    LengthUnit mm;
    mm.label = "mm", mm.inches = 1.0 / 25.4, mm.insUnits = 4;
    const struct {
        const char* text;
        bool ok;
        double length;
    } cases[] = {
        {"15", true, 15.0},     {"15 mm", true, 15.0},    {"1.5 cm", true, 15.0},
        {"0.5 in", true, 12.7}, {"2*3 mm", true, 6.0},    {"1e-3", true, 1e-3},
        {"", false, 0},         {"0", false, 0},          {"-3 mm", false, 0},
        {"abc", false, 0},      {"15 parsecs", false, 0}, {"nan", false, 0},
        {"1e400", false, 0},
    };
    for (const auto& c : cases) {
        double length = -1.0;
        EXPECT_EQ(parseLength(c.text, mm, length), c.ok) << c.text;
        if (c.ok) {
            EXPECT_NEAR(length, c.length, 1e-9) << c.text;
        }
    }
}

TEST(MeshDxf, TheUnitComesFromInsUnitsThenMeasurementThenTheStyle) {
    const struct {
        int insUnits, measurement;
        const char* label;
        const char* source;
    } cases[] = {
        {4, -1, "mm", "$INSUNITS 4"},   {6, 0, "m", "$INSUNITS 6"},
        {2, 1, "ft", "$INSUNITS 2"},    {0, 1, "mm", "$MEASUREMENT 1"},
        {0, 0, "in", "$MEASUREMENT 0"}, {99, 1, "mm", "$MEASUREMENT 1"},
    };
    for (const auto& c : cases) {
        tag_DXFHEADERVARS vars;
        vars.InsUnits = c.insUnits, vars.Measurement = c.measurement;
        const LengthUnit u = drawingUnit(vars);
        EXPECT_EQ(u.label, c.label) << c.insUnits << ' ' << c.measurement;
        EXPECT_EQ(u.source, c.source);
    }
    tag_DXFHEADERVARS none;
    const LengthUnit style = drawingUnit(none);
    EXPECT_EQ(style.source, "");
    EXPECT_EQ(style.label, styleSmallLength().label);
    EXPECT_NEAR(drawingUnit([] {
                    tag_DXFHEADERVARS v;
                    v.InsUnits = 5;
                    return v;
                }())
                    .inches,
                1.0 / 2.54, 1e-15);
}

TEST(MeshDxf, TextBecomesUtf8InTheFilesCodePage) {
    auto header = [](const char* version, const char* page) {
        tag_DXFHEADERVARS v;
        std::snprintf(v.AcadVer, sizeof v.AcadVer, "%s", version);
        std::snprintf(v.CodePage, sizeof v.CodePage, "%s", page);
        return v;
    };
    EXPECT_EQ(drawingText("L\xF6"
                          "cher",
                          header("AC1015", "")),
              "L\xC3\xB6"
              "cher");
    EXPECT_EQ(drawingText("L\xF6"
                          "cher",
                          header("AC1015", "ANSI_1252")),
              "L\xC3\xB6"
              "cher");
    EXPECT_EQ(drawingText("\xCA\xEE", header("AC1015", "ANSI_1251")), "\xD0\x9A\xD0\xBE");
    EXPECT_EQ(drawingText("\xC3\x96"
                          "ffnung",
                          header("AC1032", "ANSI_1252")),
              "\xC3\x96"
              "ffnung");
    EXPECT_EQ(drawingText("\xF6", header("AC1032", "")), "\xC3\xB6");  // not UTF-8 after all
    EXPECT_EQ(drawingText("\\U+00D8 20 %%c %%d %%p 100%", header("AC1009", "")),
              "\xC3\x98 20 \xC3\x98 \xC2\xB0 \xC2\xB1 100%");
    EXPECT_EQ(drawingText("\\U+zz", header("", "")), "\\U+zz");
    EXPECT_EQ(plainMText("{\\fArial;Plate}\\Pline"), "Plate\nline");
}

TEST(MeshDxfRegression, CirclesAreDividedByTheElementSizeNotAFixedCount) {
    // Arcs were 10-degree chords whatever the size asked.
    Piece circle;
    circle.curve = true;
    circle.c = {5, 5}, circle.u = {10, 0}, circle.v = {0, 10};
    circle.t0 = 0, circle.sweep = 2 * M_PI;
    size_t last = 0;
    for (double size : {1000.0, 15.0, 1.0, 0.1}) {
        std::vector<Point> points;
        appendPiece(points, circle, size);
        EXPECT_GE(points.size(), 24u) << size;
        if (last) {
            EXPECT_GE(points.size(), last) << size;
        }
        last = points.size();
        for (size_t i = 0; i < points.size(); ++i) {
            const Point& a = points[i];
            const Point& b = points[(i + 1) % points.size()];
            EXPECT_NEAR(std::hypot(a.x - 5, a.y - 5), 10.0, 1e-9);
            const double side = std::hypot(b.x - a.x, b.y - a.y);
            EXPECT_LE(side, kLongestSide * size + 1e-9);
            EXPECT_LE(side, 2 * 10 * std::sin(kMostTurnDegrees * M_PI / 360) + 1e-9);
            const double stray = 10 - std::sqrt(100 - side * side / 4);
            EXPECT_LE(stray, kChordTolerance * size + 1e-9);
        }
    }
    std::vector<Point> straight;
    Piece line;
    line.a = {0, 0}, line.b = {100, 0};
    appendPiece(straight, line, 1.0);
    EXPECT_EQ(straight.size(), 1u);  // a straight side is divided by the mesher
}

TEST(MeshDxfRegression, GeometryInsideAnInsertedBlockIsMeshed) {
    // Model space was read, never the blocks its INSERTs place.
    for (const char* file : {"blocks_r12.dxf", "blocks_r2000.dxf"}) {
        SCOPED_TRACE(file);
        const Drawing d = readDrawing(kData + file, false);
        std::vector<std::pair<Point, double>> circles;
        int sides = 0;
        for (const Shape& s : d.shapes) {
            EXPECT_EQ(s.layer, "OUTLINE");  // layer 0 in a block takes the insert's
            ASSERT_EQ(s.pieces.size(), 1u);
            const Piece& p = s.pieces[0];
            if (p.curve)
                circles.push_back({p.c, std::hypot(p.u.x, p.u.y)});
            else
                ++sides;
        }
        EXPECT_EQ(sides, 4);
        // Two holes of a nested, scaled block; four of an array of two rows and columns.
        const struct {
            double x, y, r;
        } expected[] = {{30, 35, 8}, {30, 60, 8}, {60, 30, 3},
                        {80, 30, 3}, {60, 50, 3}, {80, 50, 3}};
        ASSERT_EQ(circles.size(), 6u);
        for (const auto& e : expected)
            EXPECT_TRUE(std::any_of(circles.begin(), circles.end(),
                                    [&](const auto& c) {
                                        return near(c.first, e.x, e.y) &&
                                               std::fabs(c.second - e.r) < 1e-9;
                                    }))
                << e.x << ' ' << e.y;
        const DxfRegion region = readDxfOutlines(kData + file, {});
        ASSERT_EQ(region.loops.size(), 7u);
        EXPECT_EQ(region.names[0], "OUTLINE outer");
        EXPECT_EQ(region.names[6], "OUTLINE hole 6");
        EXPECT_EQ(region.points.size(), 1u);
        ASSERT_EQ(region.notes.size(), 1u);
        EXPECT_EQ(region.notes[0].rfind("the drawing gives no units; its lengths are taken as ", 0),
                  0u);
        const Region r = region.region(5.0);
        EXPECT_NEAR(signedArea(r.loops[0]), 100.0 * 100.0, 1e-6);
    }
}

TEST(MeshDxf, BlocksThatInsertThemselvesEndAndArraysTurnWithTheirInsert) {
    zevtest::TempDir dir;
    const std::string path = dir.file("b.dxf");
    zevtest::writeFile(path,
                       "0\nSECTION\n2\nBLOCKS\n"
                       "0\nBLOCK\n2\nA\n10\n0\n20\n0\n0\nINSERT\n2\nA\n10\n1\n20\n0\n"
                       "0\nLINE\n10\n0\n20\n0\n11\n1\n21\n0\n0\nENDBLK\n"
                       "0\nENDSEC\n0\nSECTION\n2\nENTITIES\n"
                       "0\nINSERT\n8\nL\n2\nA\n10\n0\n20\n0\n50\n90\n70\n2\n44\n10\n"
                       "0\nINSERT\n2\nMISSING\n10\n0\n20\n0\n0\nENDSEC\n0\nEOF\n");
    const Drawing d = readDrawing(path, false);
    // Each column's line once: the block's insert of itself is passed over.
    ASSERT_EQ(d.shapes.size(), 2u);
    EXPECT_TRUE(near(d.shapes[0].pieces[0].a, 0, 0));
    EXPECT_TRUE(near(d.shapes[0].pieces[0].b, 0, 1));
    EXPECT_TRUE(near(d.shapes[1].pieces[0].a, 0, 10));  // the column spacing turned too
    EXPECT_EQ(d.shapes[1].layer, "L");
}

TEST(MeshDxf, LayersChooseTheOutlinesAndAFailedChainSaysWhere) {
    const std::string plate = kData + "plate_mm.dxf";
    EXPECT_EQ(errorOf(plate, {"CENTER"}),
              "the chain of lines on layer CENTER is open at (50, 100) (entity 35); choose the "
              "boundary's layers with --layer");
    EXPECT_EQ(errorOf(plate, {"NOPE"}),
              "no outline of the drawing lies on layer 'NOPE' (its layers: 0, Defpoints, PLATE, "
              "CENTER, DIMS, Beschriftung_\xC3\xA4)");
    EXPECT_EQ(errorOf(kData + "two_regions.dxf", {}),
              "the drawing holds 2 loops that lie in no other (give one region, or choose the "
              "boundary's layers with --layer)");
    const DxfRegion all = readDxfOutlines(plate, {});
    EXPECT_EQ(all.notes, (std::vector<std::string>{
                             "layer CENTER passed over: its chain of lines is open at (50, 100) "
                             "(entity 35)"}));
    const DxfRegion chosen = readDxfOutlines(plate, {"plate"});
    EXPECT_TRUE(chosen.notes.empty());
    EXPECT_EQ(chosen.names, (std::vector<std::string>{"PLATE outer", "PLATE hole 1", "PLATE hole 2",
                                                      "PLATE hole 3"}));
    EXPECT_EQ(chosen.unit.label, "mm");
    EXPECT_EQ(chosen.unit.source, "$INSUNITS 4");
    // The outline: a 300 by 200 rectangle with corners rounded to 20, drawn by bulges; its
    // chords cut at most two thirds of the tolerance (0.15) along the arcs (126) off it.
    const Region r = chosen.region(15.0);
    EXPECT_NEAR(signedArea(r.loops[0]), 300 * 200 - (4 - M_PI) * 400, 13.0);
}

TEST(MeshDxf, MshGroupsTheBoundarysSidesByLoop) {
    Region region;
    region.loops = {{{0, 0}, {2, 0}, {2, 2}, {0, 2}}};
    Mesh mesh;
    mesh.nodes = {{0, 0}, {2, 0}, {2, 2}, {0, 2}};
    Element a, b;
    a.count = b.count = 3;
    a.v = {0, 1, 2, -1}, b.v = {0, 2, 3, -1};
    mesh.elements = {a, b};
    const std::string text = mshText(mesh, region, {"PLATE \"outer\""});
    EXPECT_NE(text.find("$PhysicalNames\n2\n1 1 \"PLATE 'outer'\"\n2 2 \"surface\"\n"
                        "$EndPhysicalNames\n"),
              std::string::npos);
    EXPECT_NE(text.find("$Elements\n6\n1 1 2 1 1 1 2\n2 1 2 1 1 2 3\n3 1 2 1 1 3 4\n"
                        "4 1 2 1 1 4 1\n5 2 2 2 1 1 2 3\n6 2 2 2 1 1 3 4\n$EndElements\n"),
              std::string::npos)
        << text;
    // Names that do not fit the loops give way to "outer" and "hole N".
    EXPECT_NE(mshText(mesh, region, {}).find("1 1 \"outer\""), std::string::npos);
}

// Placing an empty block cost nothing, so arrays of arrays of it ran for ever.
TEST(MeshDxfRegression, ArraysOfEmptyBlocksEndWithinTheBudget) {
    zevtest::TempDir dir;
    const std::string path = dir.file("a.dxf");
    zevtest::writeFile(
        path,
        "0\nSECTION\n2\nBLOCKS\n0\nBLOCK\n2\nE\n0\nENDBLK\n"
        "0\nBLOCK\n2\nF\n0\nINSERT\n2\nE\n70\n10000\n71\n10000\n0\nENDBLK\n"
        "0\nENDSEC\n0\nSECTION\n2\nENTITIES\n"
        "0\nLINE\n11\n1\n0\nINSERT\n2\nF\n70\n10000\n71\n10000\n0\nENDSEC\n0\nEOF\n");
    const Drawing d = readDrawing(path, false);
    EXPECT_EQ(d.shapes.size(), 1u);
}

// Drawings cut anywhere (in a hatch's paths, an MTEXT, a block, an array) read without harm.
TEST(MeshDxf, EveryCutOfADrawingEndsWithoutHarm) {
    zevtest::TempDir dir;
    const std::string cut = dir.file("cut.dxf");
    for (const char* file : {"metres_2018.dxf", "blocks_r12.dxf", "plate_mm.dxf"}) {
        const std::string text = zevtest::readFile(kData + file);
        for (size_t at = 0; at < text.size(); at += 41) {
            zevtest::writeFile(cut, text.substr(0, at));
            try {
                const Drawing d = readDrawing(cut, true);
                EXPECT_LE(d.shapes.size(), 100u);
                readDxfOutlines(cut, {}).region(0.0);
            } catch (const InputError&) {
            }
        }
    }
}

// A tiny size made a million points of every circle before any check of the size.
TEST(MeshDxfRegression, ASizeTooSmallForTheCurvesIsRefusedBeforeTheyAreDivided) {
    const DxfRegion plate = readDxfOutlines(kData + "plate_mm.dxf", {"PLATE"});
    try {
        plate.region(1e-6);
        ADD_FAILURE() << "no error";
    } catch (const InputError& e) {
        EXPECT_STREQ(e.what(),
                     "the element size is too small for the drawing: its outlines would need "
                     "more than 1000000 sides");
    }
    Piece huge;
    huge.curve = true;
    huge.u = {1e300, 0}, huge.v = {0, 1e300};
    huge.sweep = 2 * M_PI;
    EXPECT_EQ(sidesOf(huge, 1.0), kMostCurveSides);
}
