#include "zevcore/files/dxf/Drawing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "support/TestEnv.h"

namespace {

using zevtest::readFile;
using zevtest::TempDir;
using zevtest::writeFile;

// A prefix and a number (built without "literal" + std::string, which GCC 12 at -O3 warns
// about wrongly).
std::string named(const char* prefix, int n) {
    std::string name = prefix;
    name += std::to_string(n);
    return name;
}

tag_LTYPE lineType(const char* name) {
    tag_LTYPE t{};
    std::strcpy(t.Name, name);
    return t;
}
tag_LAYER layer(const char* name, DWORD lineType, short color = 7) {
    tag_LAYER l{};
    std::strcpy(l.Name, name);
    l.LineTypeObjhandle = lineType;
    l.Color = color;
    return l;
}
tag_STYLE style(const char* name) {
    tag_STYLE s{};
    std::strcpy(s.Name, name);
    s.WidthFactor = 1.0;
    return s;
}
tag_DIMSTYLE dimStyle(const char* name, DWORD textStyle) {
    tag_DIMSTYLE s{};
    std::strcpy(s.Name, name);
    s.DIMTXSTYObjhandle = textStyle;
    s.DIMASZ = 0.2, s.DIMTXT = 0.25, s.DIMGAP = 0.1, s.DIMEXO = 0.1, s.DIMEXE = 0.1;
    std::strcpy(s.DIMBLK1, "ClosedFilled");
    std::strcpy(s.DIMBLK2, "ClosedFilled");
    return s;
}

class DrawingTest : public ::testing::Test {
protected:
    void SetUp() override {
        dxfSetPaperSpace(0);
        ASSERT_TRUE(dwg.Create());
        h = dwg.Handle();
    }
    void TearDown() override {
        EXPECT_TRUE(drwIsValid(h));
        dxfSetPaperSpace(0);
    }
    CDrawing dwg;
    HDRAWING h = nullptr;
};

TEST_F(DrawingTest, TablesHoldTheirLimitsAndCheckTheirReferences) {
    tag_LTYPE cont = lineType("CONTINUOUS");
    EXPECT_EQ(dwg.AddLinetype(&cont), 16u);  // the first object of a drawing
    tag_LAYER orphan = layer("Orphan", 999);
    EXPECT_EQ(dwg.AddLayer(&orphan), 0u);
    for (int i = 0; i < DRW_MAX_LAYERS; ++i) {
        tag_LAYER l = layer(named("L", i).c_str(), 16);
        ASSERT_EQ(dwg.AddLayer(&l), 17u + i);
    }
    tag_LAYER extra = layer("Extra", 16);
    EXPECT_EQ(dwg.AddLayer(&extra), 0u);  // the 129th
    tag_DIMSTYLE noStyle = dimStyle("NoStyle", 12345);
    EXPECT_EQ(dwg.AddDimStyle(&noStyle), 0u);
    tag_STYLE st = style("Standard");
    const unsigned long standard = dwg.AddTextStyle(&st);
    EXPECT_EQ(standard, 17u + DRW_MAX_LAYERS);  // failures used no numbers
    for (int i = 0; i < DRW_MAX_DIMSTYLES; ++i) {
        tag_DIMSTYLE s = dimStyle(named("D", i).c_str(), standard);
        ASSERT_NE(dwg.AddDimStyle(&s), 0u);
    }
    tag_DIMSTYLE s65 = dimStyle("D64", standard);
    EXPECT_EQ(dwg.AddDimStyle(&s65), 0u);
    EXPECT_EQ(drwAddTableType(h, 64, &st), 0u);  // no such table
    EXPECT_EQ(drwAddTableType(nullptr, TAB_LAYER, &extra), 0u);
}

TEST_F(DrawingTest, FindsWalkTablesByCursorNameAndNumber) {
    tag_LTYPE cont = lineType("CONTINUOUS");
    const unsigned long lt = dwg.AddLinetype(&cont);
    tag_LAYER a = layer("A", lt), b = layer("B", lt), c = layer("C", lt);
    dwg.AddLayer(&a), dwg.AddLayer(&b), dwg.AddLayer(&c);
    tag_STYLE st = style("S");
    const unsigned long s = dwg.AddTextStyle(&st);
    tag_DIMSTYLE ds = dimStyle("DS", s);
    dwg.AddDimStyle(&ds);

    tag_LAYER found{};
    std::vector<std::string> walk;
    for (unsigned long flags = FIND_FIRST; dwg.FindLayer(flags, &found); flags = FIND_NEXT)
        walk.push_back(found.Name);
    EXPECT_EQ(walk, (std::vector<std::string>{"A", "B", "C"}));
    EXPECT_EQ(dwg.FindLayer(FIND_NEXT, &found), 0u);
    EXPECT_EQ(dwg.FindLayer(FIND_LAST, &found), 19u);
    EXPECT_STREQ(found.Name, "C");
    std::strcpy(found.Name, "B");
    EXPECT_EQ(dwg.FindLayer(FIND_BYNAME, &found), 18u);
    found.Objhandle = 17;
    EXPECT_EQ(dwg.FindLayer(FIND_BYHANDLE, &found), 17u);
    EXPECT_STREQ(found.Name, "A");
    std::strcpy(found.Name, "Nope");
    EXPECT_EQ(dwg.FindLayer(FIND_BYNAME, &found), 0u);

    // Type 0 walks every table in the order of their values.
    DRWTABLERECORD any;
    std::vector<unsigned long> all;
    for (unsigned long flags = FIND_FIRST; unsigned long n = drwFindTableType(h, 0, flags, &any);
         flags = FIND_NEXT)
        all.push_back(n);
    EXPECT_EQ(all, (std::vector<unsigned long>{21, 17, 18, 19, 16, 20}));

    EXPECT_TRUE(dwg.DeleteLayer(17));
    EXPECT_FALSE(dwg.DeleteLayer(17));
    walk.clear();
    for (unsigned long flags = FIND_FIRST; dwg.FindLayer(flags, &found); flags = FIND_NEXT)
        walk.push_back(found.Name);
    EXPECT_EQ(walk, (std::vector<std::string>{"B", "C"}));
}

TEST_F(DrawingTest, BlocksRefuseDuplicatesAndDeletionLeavesTheGap) {
    tag_BLOCKHEADER b{};
    std::strcpy(b.Name, "First");
    EXPECT_EQ(dwg.AddBlock(&b), 16u);
    EXPECT_EQ(dwg.AddBlock(&b), 0u);
    std::strcpy(b.Name, "Second");
    EXPECT_EQ(dwg.AddBlock(&b), 17u);
    EXPECT_TRUE(dwg.SetActiveBlock("Second"));
    EXPECT_NE(dwg.Line(0, 0, 1, 1), 0u);
    EXPECT_FALSE(dwg.SetActiveBlock("Third"));
    EXPECT_EQ(dwg.ActiveBlock(), 17u);
    EXPECT_TRUE(dwg.SetActiveBlock(nullptr));
    EXPECT_EQ(dwg.ActiveBlock(), 0u);

    // Deleting the first lowers the count without closing up: the first's emptied slot stays
    // in reach under its name, and the second falls out of it.
    EXPECT_TRUE(dwg.DeleteBlock(16));
    EXPECT_EQ(drwGetBlocksNum(h), 1);
    tag_BLOCKHEADER found{};
    EXPECT_EQ(dwg.FindBlock(FIND_FIRST, &found), 16u);
    EXPECT_STREQ(found.Name, "First");
    EXPECT_EQ(dwg.FindBlock(FIND_NEXT, &found), 0u);
    tag_ENTITYHEADER eh;
    DRWENTITYDATA ed;
    EXPECT_EQ(drwFindEntity(h, "First", &eh, &ed, FIND_FIRST), 0u);
    eh.EntityType = ENT_LINE;
    EXPECT_EQ(drwAddEntity(h, 16, &eh, &ed), 0u);  // an emptied block takes nothing
    std::strcpy(b.Name, "Third");
    EXPECT_EQ(dwg.AddBlock(&b), 19u);

    for (int i = drwGetBlocksNum(h); i < DRW_MAX_BLOCKS; ++i) {
        std::strcpy(b.Name, named("B", i).c_str());
        ASSERT_NE(dwg.AddBlock(&b), 0u);
    }
    std::strcpy(b.Name, "Overflow");
    EXPECT_EQ(dwg.AddBlock(&b), 0u);
}

TEST_F(DrawingTest, EntitiesArePackedEndToEndAndWalkedByPosition) {
    tag_ENTITYHEADER header{};
    header.EntityType = 4;  // no such type
    tag_ENTLINE line{{1, 2, 0}, {3, 4, 0}};
    EXPECT_EQ(drwAddEntity(h, 0, &header, &line), 0u);
    EXPECT_EQ(dwg.Line(1, 2, 3, 4), 16u);  // the failure used no number
    EXPECT_EQ(dwg.Circle(0, 0, 5), 17u);
    tag_ENTVERTEX v[2]{};
    v[1].Point = {7, 8, 0};
    EXPECT_EQ(dwg.PolyLine(v, 2, 1), 18u);
    v[1].Point.x = -1;  // the drawing holds its own copy
    dxfSetPaperSpace(1);
    EXPECT_EQ(dwg.Text("t", 0, 0, 1), 19u);

    tag_ENTITYHEADER eh;
    DRWENTITYDATA ed;
    struct Seen {
        unsigned long handle;
        WORD type;
        DWORD previous, next;
        int paper;
    };
    std::vector<Seen> seen;
    for (unsigned long flags = FIND_FIRST;
         unsigned long n = drwFindEntity(h, nullptr, &eh, &ed, flags); flags = FIND_NEXT) {
        seen.push_back({n, eh.EntityType, eh.PreviousEntityPos, eh.NextEntityPos, eh.PaperSpace});
        if (eh.EntityType == ENT_POLYLINE) {
            ASSERT_EQ(ed.PolyLine.nVertex, 2u);
            EXPECT_EQ(ed.PolyLine.pVertex[1].Point.x, 7.0);
        }
    }
    ASSERT_EQ(seen.size(), 4u);
    // 80 bytes of header and the type's data each.
    EXPECT_EQ(seen[0].next, 128u);
    EXPECT_EQ(seen[1].previous, 0u);
    EXPECT_EQ(seen[1].next, 128u + 112);
    EXPECT_EQ(seen[2].previous, 128u);
    EXPECT_EQ(seen[2].next, 240u + 80 + 12);  // vertices by number, not by pointer
    EXPECT_EQ(seen[3].type, ENT_TEXT);
    EXPECT_EQ(seen[3].paper, 1);
    EXPECT_EQ(seen[2].paper, 0);
    EXPECT_EQ(drwFindEntity(h, nullptr, &eh, &ed, FIND_NEXT), 0u);
    EXPECT_EQ(drwFindEntity(h, nullptr, &eh, &ed, FIND_LAST), 19u);
    EXPECT_EQ(drwFindEntity(h, nullptr, &eh, &ed, FIND_NEXT), 0u);
    EXPECT_EQ(drwFindEntity(h, "NoBlock", &eh, &ed, FIND_FIRST), 0u);
    EXPECT_EQ(drwFindEntity(h, nullptr, nullptr, &ed, FIND_FIRST), 0u);

    EXPECT_EQ(drwEntityDataSize(ENT_POLYLINE), 12u);
    EXPECT_EQ(drwEntityDataSize(ENT_TEXT), 1112u);
    EXPECT_EQ(drwEntityDataSize(ENT_DIMENSION), 2144u);

    // The list grows by 64 KiB steps past its first 64 KiB.
    for (int i = 0; i < 2000; ++i) ASSERT_NE(dwg.Line(i, 0, i, 1), 0u);
    EXPECT_EQ(h->Entities.EntitiesNumber, 2004u);
    EXPECT_EQ(h->Entities.TotalSize % 65536, 0u);
    EXPECT_GT(h->Entities.TotalSize, h->Entities.FreePos);
}

TEST_F(DrawingTest, CurrentSettingsGoIntoEveryEntity) {
    tag_LTYPE cont = lineType("CONTINUOUS"), dash = lineType("DASH");
    dwg.AddLinetype(&cont);
    const unsigned long dashed = dwg.AddLinetype(&dash);
    tag_LAYER l = layer("Walls", 16, 1);
    const unsigned long walls = dwg.AddLayer(&l);
    EXPECT_TRUE(dwg.SetLineType("DASH"));
    EXPECT_FALSE(dwg.SetLineType("NoSuch"));
    dwg.SetColor(3);
    dwg.SetThickness(2.5);
    dwg.Line(0, 0, 1, 0);
    EXPECT_TRUE(dwg.SetLayer("Walls"));  // back to by-layer line type
    EXPECT_FALSE(dwg.SetLayer("Roof"));
    dwg.Line(0, 0, 1, 0);
    tag_ENTITYHEADER eh;
    DRWENTITYDATA ed;
    drwFindEntity(h, nullptr, &eh, &ed, FIND_FIRST);
    EXPECT_EQ(eh.LTypeObjhandle, dashed);
    EXPECT_EQ(eh.Color, 3);
    EXPECT_EQ(eh.Thickness, 2.5);
    EXPECT_EQ(eh.ExtrusionDirection[2], 1.0);
    drwFindEntity(h, nullptr, &eh, &ed, FIND_NEXT);
    EXPECT_EQ(eh.LayerObjhandle, walls);
    EXPECT_EQ(eh.LTypeObjhandle, 0u);
}

// A drawing with something of every kind.
void fill(CDrawing& dwg) {
    tag_LTYPE cont = lineType("CONTINUOUS");
    dwg.AddLinetype(&cont);
    tag_LAYER zero = layer("0", 16), mesh = layer("Mesh", 16, 3);
    dwg.AddLayer(&zero);
    dwg.AddLayer(&mesh);
    tag_STYLE st = style("Standard");
    const unsigned long standard = dwg.AddTextStyle(&st);
    tag_DIMSTYLE ds = dimStyle("Dims", standard);
    dwg.AddDimStyle(&ds);
    tag_BLOCKHEADER b{};
    std::strcpy(b.Name, "Tick");
    b.BasePoint = {1, 1, 0};
    dwg.AddBlock(&b);
    dwg.SetActiveBlock("Tick");
    dwg.Line(0, 0, 2, 2);
    dwg.SetActiveBlock(nullptr);
    dwg.SetLayer("Mesh");
    dwg.Line(0, 0, 10, 0);
    dwg.Point(1, 1);
    dwg.Circle(5, 5, 2);
    dwg.Arc(5, 5, 3, 0, 90);
    dwg.SetTextStyle("Standard");
    dwg.Text("label", 1, 2, 0.5);
    dwg.Solid({0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0});
    dwg.Face3D({0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0});
    dwg.InsertBlock("Tick", 4, 4, 2, 2, 90);
    tag_ENTVERTEX v[3]{};
    v[1].Point = {4, 0, 0};
    v[2].Point = {4, 3, 0};
    dwg.PolyLine(v, 3, 1);
    dwg.SetDimStyle("Dims");
    dwg.DimLinear(0, 0, 10, 0, 5, -2, 0, "10");
}

std::vector<int> types(HDRAWING h, const char* block = nullptr) {
    std::vector<int> out;
    tag_ENTITYHEADER eh;
    DRWENTITYDATA ed;
    for (unsigned long flags = FIND_FIRST; drwFindEntity(h, block, &eh, &ed, flags);
         flags = FIND_NEXT)
        out.push_back(eh.EntityType);
    return out;
}

TEST_F(DrawingTest, SavesAndLoadsThroughTheFileLayer) {
    TempDir dir;
    fill(dwg);
    const std::string path = dir.file("d.dxf");
    ASSERT_TRUE(dwg.SaveDXFFile(path.c_str()));
    const std::string text = readFile(path);
    EXPECT_EQ(text.rfind("0\nEOF\n"), text.size() - 6);
    EXPECT_NE(text.find("0\nTABLE\n2\nDIMSTYLE\n0\nENDTAB\n"), std::string::npos);

    CDrawing back;
    ASSERT_TRUE(back.Create());
    ASSERT_TRUE(back.LoadDXFFile(path.c_str()));
    EXPECT_TRUE(drwIsValid(back.Handle()));
    // The dimension comes back as what it was drawn in: two points, lines, a text, arrows.
    EXPECT_EQ(
        types(back.Handle()),
        (std::vector<int>{ENT_LINE, ENT_POINT, ENT_CIRCLE, ENT_ARC, ENT_TEXT, ENT_SOLID, ENT_FACE3D,
                          ENT_INSERT, ENT_POLYLINE, ENT_POINT, ENT_POINT, ENT_LINE, ENT_LINE,
                          ENT_TEXT, ENT_SOLID, ENT_SOLID, ENT_LINE, ENT_LINE}));
    EXPECT_EQ(types(back.Handle(), "Tick"), (std::vector<int>{ENT_LINE}));
    tag_LAYER found{};
    std::strcpy(found.Name, "Mesh");
    ASSERT_NE(back.FindLayer(FIND_BYNAME, &found), 0u);
    EXPECT_EQ(found.Color, 3);
    tag_ENTITYHEADER eh;
    DRWENTITYDATA ed;
    drwFindEntity(back.Handle(), nullptr, &eh, &ed, FIND_FIRST);
    EXPECT_EQ(eh.LayerObjhandle, found.Objhandle);
    while (eh.EntityType != ENT_INSERT) drwFindEntity(back.Handle(), nullptr, &eh, &ed, FIND_NEXT);
    tag_BLOCKHEADER tick{};
    std::strcpy(tick.Name, "Tick");
    EXPECT_EQ(ed.Insert.BlockHeaderObjhandle, back.FindBlock(FIND_BYNAME, &tick));
    EXPECT_EQ(tick.BasePoint.x, 1.0);
    drwFindEntity(back.Handle(), nullptr, &eh, &ed, FIND_NEXT);
    ASSERT_EQ(eh.EntityType, ENT_POLYLINE);
    EXPECT_EQ(ed.PolyLine.nVertex, 3u);
    EXPECT_EQ(ed.PolyLine.Flag, 1u);
    EXPECT_EQ(ed.PolyLine.pVertex[2].Point.y, 3.0);

    // A block made from a file takes the file's entities.
    tag_BLOCKHEADER b{};
    std::strcpy(b.Name, "Whole");
    const unsigned long whole = back.AddBlock(&b, path.c_str());
    EXPECT_NE(whole, 0u);
    EXPECT_EQ(types(back.Handle(), "Whole").size(), 18u);
    EXPECT_TRUE(drwIsValid(back.Handle()));
}

TEST_F(DrawingTest, ALayerWithoutItsLineTypeStopsTheLoad) {
    TempDir dir;
    const std::string path = dir.file("bad.dxf");
    writeFile(path,
              "0\nSECTION\n2\nTABLES\n0\nTABLE\n2\nLAYER\n0\nLAYER\n2\nA\n62\n1\n6\nDASHED\n"
              "0\nENDTAB\n0\nENDSEC\n0\nSECTION\n2\nENTITIES\n0\nLINE\n8\nA\n0\nENDSEC\n0\nEOF\n");
    EXPECT_FALSE(dwg.LoadDXFFile(path.c_str()));
    EXPECT_TRUE(types(h).empty());
    EXPECT_FALSE(dwg.LoadDXFFile(dir.file("missing.dxf").c_str()));
}

TEST_F(DrawingTest, PaintsIntoTheViewThroughThePainter) {
    CZEVRecordingPainter painter;
    IZEVPainter* before = ZEVInstallPainter(&painter);
    tag_LTYPE cont = lineType("CONTINUOUS");
    dwg.AddLinetype(&cont);
    tag_LAYER red = layer("Red", 16, 1);
    dwg.AddLayer(&red);
    dwg.SetLayer("Red");
    dwg.Line(0, 0, 10, 5);
    dwg.SetColor(5);
    dwg.Circle(5, 5, 1);
    ASSERT_TRUE(dwg.InitView(10, 20, 200, 100));
    tag_VIEW v{};
    dwg.GetViewProperties(&v);
    v.PPU = 2.0;
    ASSERT_TRUE(dwg.SetViewProperties(&v));
    ASSERT_TRUE(dwg.SetZoomLevel(2.0));  // the centre (50, 25) stays
    dwg.GetViewProperties(&v);
    EXPECT_DOUBLE_EQ(v.ViewLeft, 25.0);
    EXPECT_DOUBLE_EQ(v.ViewBottom, 12.5);
    EXPECT_FALSE(dwg.SetZoomLevel(0.0));
    v.ViewLeft = v.ViewBottom = 0.0;
    dwg.SetViewProperties(&v);
    const HDC dc = reinterpret_cast<HDC>(0x1234);
    ASSERT_TRUE(dwg.Paint(dc));
    ZEVInstallPainter(before);

    const auto& calls = painter.Calls();
    ASSERT_EQ(calls.size(), 5u);
    EXPECT_EQ(calls[0].kind, "FillRect");
    EXPECT_EQ(calls[0].values, (std::vector<double>{10, 20, 210, 120}));
    EXPECT_EQ(calls[0].color, RGB(255, 255, 255));
    EXPECT_EQ(calls[1].kind, "SetClip");
    EXPECT_EQ(calls[2].kind, "Line");  // 4 device units a drawing unit, y up from the bottom
    EXPECT_EQ(calls[2].values, (std::vector<double>{10, 120, 50, 100}));
    EXPECT_EQ(calls[2].color, RGB(255, 0, 0));  // by layer
    EXPECT_EQ(calls[2].dc, dc);
    EXPECT_EQ(calls[3].kind, "Arc");
    EXPECT_EQ(calls[3].values[2], 4.0);
    EXPECT_EQ(calls[3].color, RGB(0, 0, 255));
    EXPECT_EQ(calls[4].kind, "SetClip");
    EXPECT_EQ(calls[4].values, (std::vector<double>{0, 0, 0, 0}));
}

class CountingPainter : public IZEVPainter {
public:
    long calls = 0;
    void FillRect(HDC, int, int, int, int, COLORREF) override { ++calls; }
    void SetClip(HDC, int, int, int, int) override { ++calls; }
    void Line(HDC, double, double, double, double, COLORREF) override { ++calls; }
    void Polyline(HDC, const ZEVPaintPoint*, int, bool, COLORREF) override { ++calls; }
    void Arc(HDC, double, double, double, double, double, COLORREF) override { ++calls; }
    void Text(HDC, double, double, double, double, const char*, COLORREF) override { ++calls; }
};

TEST(Drawing, NullAndDestroyedHandlesAnswerZero) {
    EXPECT_EQ(drwDestroy(nullptr), 0);
    EXPECT_EQ(drwGetBlocksNum(nullptr), 0);
    EXPECT_EQ(drwPaint(nullptr, nullptr), 0);
    EXPECT_EQ(InitilizePDRAWING(nullptr), nullptr);
    CDrawing d;
    EXPECT_FALSE(d.isOpen());
    EXPECT_EQ(d.Line(0, 0, 1, 1), 0u);
    EXPECT_FALSE(d.SaveDXFFile("x.dxf"));
    ASSERT_TRUE(d.Create());
    EXPECT_FALSE(d.Create());
    EXPECT_EQ(d.GetWidthScale(), 1.0);
    EXPECT_TRUE(d.Destroy());
    EXPECT_FALSE(d.Destroy());
}

}  // namespace

class DrawingRegression : public DrawingTest {};

// Cause: a paint followed every insert, so blocks inserting themselves, or each the next ten
// times over, painted for ever or for hours; it now stops at a block already open and at a
// million entities.
TEST_F(DrawingRegression, NestedInsertsPaintWithinABudget) {
    tag_BLOCKHEADER b{};
    std::strcpy(b.Name, "Self");
    dwg.AddBlock(&b);
    dwg.SetActiveBlock("Self");
    dwg.Line(0, 0, 1, 1);
    EXPECT_NE(dwg.InsertBlock("Self", 1, 1), 0u);
    for (int level = 7; level >= 0; --level) {
        std::strcpy(b.Name, named("Level", level).c_str());
        dwg.AddBlock(&b);
        dwg.SetActiveBlock(b.Name);
        dwg.Line(0, 0, 1, 0);
        for (int i = 0; i < 10 && level < 7; ++i)
            dwg.InsertBlock(named("Level", level + 1).c_str(), i, 0);
    }
    dwg.SetActiveBlock(nullptr);
    dwg.InsertBlock("Self", 0, 0);
    CountingPainter painter;
    IZEVPainter* before = ZEVInstallPainter(&painter);
    dwg.InitView(0, 0, 100, 100);
    dwg.Paint(nullptr);
    const long selfOnly = painter.calls;
    dwg.InsertBlock("Level0", 0, 0);
    dwg.Paint(nullptr);
    ZEVInstallPainter(before);
    EXPECT_EQ(selfOnly, 2 + 1 + 1);  // fill, clip, the line once, unclip
    EXPECT_LE(painter.calls - selfOnly, 1000000 + 10);
    EXPECT_GT(painter.calls - selfOnly, 500000);
}

// A polyline's bulged sides were painted as straight chords.
TEST_F(DrawingRegression, BulgedSidesArePaintedAsArcs) {
    tag_ENTVERTEX v[4]{};
    v[0].Point = {0, 0, 0}, v[0].Bulge = 1.0;  // half a circle counter-clockwise to (4, 0)
    v[1].Point = {4, 0, 0};
    v[2].Point = {4, 4, 0}, v[2].Bulge = -1.0;  // half a circle clockwise to (0, 4)
    v[3].Point = {0, 4, 0};
    dwg.PolyLine(v, 4, 1);
    CZEVRecordingPainter painter;
    IZEVPainter* before = ZEVInstallPainter(&painter);
    ASSERT_TRUE(dwg.InitView(0, 0, 100, 100));
    dwg.Paint(nullptr);
    ZEVInstallPainter(before);
    std::vector<std::string> kinds;
    for (const ZEVPaintCall& c : painter.Calls()) kinds.push_back(c.kind);
    EXPECT_EQ(kinds, (std::vector<std::string>{"FillRect", "SetClip", "Arc", "Polyline", "Arc",
                                               "Polyline", "SetClip"}));
    const std::vector<double>& first = painter.Calls()[2].values;  // centre (2, 0), radius 2
    EXPECT_NEAR(first[2], 2.0, 1e-12);
    // From (0, 0) counter-clockwise through the bottom to (4, 0).
    EXPECT_NEAR(std::cos(first[3]), -1.0, 1e-12);
    EXPECT_NEAR(std::cos(first[4]), 1.0, 1e-12);
    const std::vector<double>& second = painter.Calls()[4].values;  // clockwise: run backwards
    EXPECT_NEAR(std::cos(second[3]), -1.0, 1e-12);
    EXPECT_NEAR(std::cos(second[4]), 1.0, 1e-12);
}

// MTEXT and HATCH were passed over when loading, and an array insert placed once.
TEST_F(DrawingRegression, MTextHatchesAndArrayInsertsComeInAsTheDatabasesKinds) {
    zevtest::TempDir dir;
    const std::string path = dir.file("m.dxf");
    zevtest::writeFile(
        path,
        "0\nSECTION\n2\nBLOCKS\n0\nBLOCK\n2\nB\n10\n0\n20\n0\n0\nPOINT\n10\n0\n20\n0\n"
        "0\nENDBLK\n0\nENDSEC\n0\nSECTION\n2\nENTITIES\n"
        "0\nMTEXT\n10\n0\n20\n10\n40\n2\n1\n{\\fArial;First}\\PSecond\n"
        "0\nHATCH\n2\nSOLID\n91\n1\n92\n2\n72\n1\n73\n1\n93\n3\n10\n0\n20\n0\n42\n0.5\n"
        "10\n4\n20\n0\n10\n4\n20\n3\n97\n0\n"
        "0\nINSERT\n2\nB\n10\n1\n20\n1\n70\n2\n71\n3\n44\n5\n45\n7\n0\nENDSEC\n0\nEOF\n");
    ASSERT_TRUE(dwg.LoadDXFFile(path.c_str()));
    EXPECT_TRUE(drwIsValid(h));
    EXPECT_EQ(types(h), (std::vector<int>{ENT_TEXT, ENT_TEXT, ENT_POLYLINE, ENT_INSERT, ENT_INSERT,
                                          ENT_INSERT, ENT_INSERT, ENT_INSERT, ENT_INSERT}));
    tag_ENTITYHEADER eh;
    DRWENTITYDATA ed;
    std::vector<std::string> texts;
    std::vector<std::pair<double, double>> places;
    for (unsigned long flags = FIND_FIRST; drwFindEntity(h, nullptr, &eh, &ed, flags);
         flags = FIND_NEXT) {
        if (eh.EntityType == ENT_TEXT) {
            texts.push_back(ed.Text.strText);
            EXPECT_EQ(ed.Text.Height, 2.0);
        }
        if (eh.EntityType == ENT_INSERT) places.push_back({ed.Insert.Point0.x, ed.Insert.Point0.y});
        if (eh.EntityType == ENT_POLYLINE) {
            EXPECT_EQ(ed.PolyLine.nVertex, 3u);
            EXPECT_EQ(ed.PolyLine.Flag & 1, 1u);
            EXPECT_EQ(ed.PolyLine.pVertex[0].Bulge, 0.5);
        }
    }
    EXPECT_EQ(texts, (std::vector<std::string>{"First", "Second"}));
    EXPECT_EQ(places, (std::vector<std::pair<double, double>>{
                          {1, 1}, {6, 1}, {1, 8}, {6, 8}, {1, 15}, {6, 15}}));
}

// An array insert of a few bytes became a million inserts when loaded.
TEST_F(DrawingRegression, ArrayInsertsOfAFewBytesStayBounded) {
    zevtest::TempDir dir;
    const std::string path = dir.file("a.dxf");
    std::string text =
        "0\nSECTION\n2\nBLOCKS\n0\nBLOCK\n2\nB\n0\nPOINT\n0\nENDBLK\n0\nENDSEC\n"
        "0\nSECTION\n2\nENTITIES\n";
    for (int i = 0; i < 3; ++i) text += "0\nINSERT\n2\nB\n70\n1000\n71\n1000\n44\n1\n45\n1\n";
    zevtest::writeFile(path, text + "0\nENDSEC\n0\nEOF\n");
    ASSERT_TRUE(dwg.LoadDXFFile(path.c_str()));
    EXPECT_EQ(types(h).size(), 3u + 10000u);
    EXPECT_TRUE(drwIsValid(h));
}
