#include "zevcore/files/dxf/Dxf.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "support/TestEnv.h"
#include "zevcore/files/dxf/DxfFileWrite.h"

namespace {

using zevtest::readFile;
using zevtest::TempDir;
using zevtest::writeFile;

// The groups of a text as "code value" lines, for comparisons that read well.
std::string groups(const std::string& text) {
    std::string out;
    size_t at = 0;
    bool code = true;
    while (at < text.size()) {
        size_t end = text.find('\n', at);
        if (end == std::string::npos) end = text.size();
        out += text.substr(at, end - at);
        out += code ? " " : "\n";
        code = !code;
        at = end + 1;
    }
    return out;
}

tag_DXFDIMSTYLE dimStyle(const char* name, int tad) {
    tag_DXFDIMSTYLE s{};
    std::strcpy(s.Name, name);
    s.DIMCLRD = 1, s.DIMCLRE = 2, s.DIMCLRT = 3;
    s.DIMEXE = 0.25, s.DIMEXO = 0.125, s.DIMASZ = 0.5, s.DIMTXT = 1.0, s.DIMGAP = 0.5;
    s.DIMTAD = tad;
    std::strcpy(s.DIMBLK1, "ClosedFilled");
    std::strcpy(s.DIMBLK2, "Oblique");
    return s;
}

struct Entity {
    tag_DXFENTITYHEADER header{};
    DXFENTITYDATA data{};
    std::vector<tag_ENTVERTEX> vertices;
};

// Everything a reader finds in a file: section values, table records, block names and the
// entities of blocks and model space.
struct ReadBack {
    std::vector<unsigned long> sections;
    std::vector<std::string> tableRecords;  // "TYPE:name"
    std::vector<std::string> blocks;
    std::vector<Entity> entities;
};

ReadBack readAll(const std::string& path) {
    ReadBack r;
    HDXF h = dxfOpenFile(path.c_str());
    if (!h) return r;
    while (unsigned long section = dxfFindNextSection(h)) {
        r.sections.push_back(section);
        if (section == SEC_TABLES) {
            DXFTABLERECORD record;
            while (unsigned long type = dxfReadTableType(h, &record))
                r.tableRecords.push_back(std::to_string(type) + ":" + record.Layer.Name);
        } else if (section == SEC_BLOCKS) {
            tag_DXFBLOCKHEADER block;
            while (dxfFindBlockHeader(h, &block)) {
                r.blocks.push_back(block.Name);
                Entity e;
                while (dxfReadEntityData(h, &e.header, &e.data)) {
                    dxfFreeEntityData(&e.header, &e.data);
                    r.entities.push_back(e);
                }
            }
        } else if (section == SEC_ENTITIES) {
            Entity e;
            while (dxfReadEntityData(h, &e.header, &e.data)) {
                if (e.header.EntityType == ENT_POLYLINE)
                    e.vertices.assign(e.data.PolyLine.pVertex,
                                      e.data.PolyLine.pVertex + e.data.PolyLine.nVertex);
                dxfFreeEntityData(&e.header, &e.data);
                r.entities.push_back(e);
            }
        }
    }
    EXPECT_EQ(dxfCloseFile(h), 1);
    return r;
}

TEST(DxfWriter, WritesTheSkeletonTablesBlocksAndEntitiesGroupByGroup) {
    TempDir dir;
    const std::string path = dir.file("a.dxf");
    HDXF h = dxfCreateFile(path.c_str());
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(dxfSectionBegin(h, SEC_HEADER), 1);
    EXPECT_EQ(dxfSectionEnd(h), 1);
    EXPECT_EQ(dxfSectionBegin(h, SEC_TABLES), 1);
    EXPECT_EQ(dxfTableTypeBegin(h, TAB_LTYPE), 1);
    tag_DXFLTYPE lt{};
    std::strcpy(lt.Name, "DASHED");
    std::strcpy(lt.DescriptiveText, "__ __");
    lt.ElementsNumber = 2, lt.TotalPatternLength = 0.75, lt.Elements[0] = 0.5,
    lt.Elements[1] = -0.25;
    EXPECT_EQ(dxfAddLinetype(h, &lt), 1);
    EXPECT_EQ(dxfTableTypeEnd(h), 1);
    EXPECT_EQ(dxfTableTypeBegin(h, TAB_LAYER), 1);
    EXPECT_EQ(dxfAddLayer(h, "Walls", 5, "DASHED"), 1);
    EXPECT_EQ(dxfTableTypeEnd(h), 1);
    EXPECT_EQ(dxfTableTypeBegin(h, TAB_STYLE), 1);
    tag_DXFSTYLE st{};
    std::strcpy(st.Name, "Plain");
    std::strcpy(st.PrimaryFontFilename, "txt");
    st.WidthFactor = 1.0;
    EXPECT_EQ(dxfAddTextStyle(h, &st), 1);
    EXPECT_EQ(dxfTableTypeEnd(h), 1);
    EXPECT_EQ(dxfTableTypeBegin(h, TAB_DIMSTYLE), 1);
    tag_DXFDIMSTYLE ds = dimStyle("ClosedFilled", 0);
    EXPECT_EQ(dxfAddDimStyle(h, &ds), 1);
    EXPECT_EQ(dxfTableTypeEnd(h), 1);
    EXPECT_EQ(dxfSectionEnd(h), 1);
    EXPECT_EQ(dxfSectionBegin(h, SEC_BLOCKS), 1);
    EXPECT_EQ(dxfBlockBegin(h, "Mark", "0", 1.0, 2.0, 0), 1);
    EXPECT_EQ(dxfGetBlockOpen(h), 1);
    EXPECT_EQ(dxfCircle(h, 0, 0, 1), 1);
    EXPECT_EQ(dxfBlockEnd(h), 1);
    EXPECT_EQ(dxfSectionEnd(h), 1);
    EXPECT_EQ(dxfSectionBegin(h, SEC_ENTITIES), 1);
    EXPECT_EQ(dxfLine(h, 0, 0, 1, 1), 1);  // colour 256: no group 62
    dxfSetCurrentColor(h, 0);
    EXPECT_EQ(dxfPoint(h, -1.5, 2), 1);  // colour 0: none either
    dxfSetCurrentColor(h, 3);
    dxfSetCurrentLayer(h, "Walls", "DASHED");
    tag_DXFENTVERTEX v[2]{};
    v[1].Point = {4, 5, 6};
    EXPECT_EQ(dxfPolyLine(h, v, 2, 1), 1);
    EXPECT_EQ(dxfText(h, "left", 1, 2, 9, 9, 0.5, 0, 0, 0, nullptr), 1);
    EXPECT_EQ(dxfText(h, "mid", 1, 2, 3, 4, 0.5, 90, 0x0201, 0.8, "Plain"), 1);
    EXPECT_EQ(dxfInsertBlock(h, "Mark", 3, 4, 2, 2, 45), 1);
    EXPECT_EQ(dxfSectionEnd(h), 1);
    EXPECT_EQ(dxfCloseFile(h), 1);

    EXPECT_EQ(groups(readFile(path)),
              "0 SECTION\n2 HEADER\n0 ENDSEC\n"
              "0 SECTION\n2 TABLES\n"
              "0 TABLE\n2 LTYPE\n0 LTYPE\n2 DASHED\n70 0\n3 __ __\n72 65\n73 2\n40 0.750000\n"
              "49 0.500000\n49 -0.250000\n0 ENDTAB\n"
              "0 TABLE\n2 LAYER\n0 LAYER\n2 Walls\n70 0\n62 5\n6 DASHED\n0 ENDTAB\n"
              "0 TABLE\n2 STYLE\n0 STYLE\n2 Plain\n3 txt\n70 0\n71 0\n40 0.000000\n"
              "41 1.000000\n42 0.000000\n50 0.000000\n0 ENDTAB\n"
              "0 TABLE\n2 DIMSTYLE\n0 ENDTAB\n"
              "0 ENDSEC\n"
              "0 SECTION\n2 BLOCKS\n"
              "0 BLOCK\n8 0\n2 Mark\n70 0\n10 1.000000\n20 2.000000\n3 Mark\n"
              "0 CIRCLE\n8 0\n10 0.000000\n20 0.000000\n30 0.000000\n40 1.000000\n"
              "210 0.000000\n220 0.000000\n230 1.000000\n"
              "0 ENDBLK\n0 ENDSEC\n"
              "0 SECTION\n2 ENTITIES\n"
              "0 LINE\n8 0\n10 0.000000\n20 0.000000\n30 0.000000\n11 1.000000\n21 1.000000\n"
              "31 0.000000\n"
              "0 POINT\n8 0\n10 -1.500000\n20 2.000000\n30 0.000000\n"
              "0 POLYLINE\n8 Walls\n62 3\n6 DASHED\n70 1\n66  1\n10 0.0\n20 0.0\n"
              "0 VERTEX\n8 Walls\n10 0.000000\n20 0.000000\n"
              "0 VERTEX\n8 Walls\n10 4.000000\n20 5.000000\n0 SEQEND\n8 0\n"
              "0 TEXT\n8 Walls\n62 3\n6 DASHED\n10 1.000000\n20 2.000000\n40 0.500000\n"
              "50 0.000000\n1 left\n"
              "0 TEXT\n8 Walls\n62 3\n6 DASHED\n7 Plain\n10 1.000000\n20 2.000000\n72 1\n73 2\n"
              "11 3.000000\n21 4.000000\n40 0.500000\n41 0.800000\n50 90.000000\n1 mid\n"
              "0 INSERT\n8 Walls\n62 3\n6 DASHED\n2 Mark\n10 3.000000\n20 4.000000\n"
              "41 2.000000\n42 2.000000\n50 45.000000\n"
              "0 ENDSEC\n0 EOF\n");
}

TEST(DxfWriter, ScalesXByWidthAndYAndLengthsByHeight) {
    TempDir dir;
    const std::string path = dir.file("s.dxf");
    HDXF h = dxfCreateFile(path.c_str());
    dxfSectionBegin(h, SEC_ENTITIES);
    EXPECT_EQ(dxfSetScale(h, 2.0, 10.0), 1);
    EXPECT_EQ(dxfGetWidthScale(h), 2.0);
    EXPECT_EQ(dxfGetHeightScale(h), 10.0);
    dxfLine(h, 1, 1, 2, 2, 3, 4);
    dxfArc(h, 1, 1, 0.5, 0, 90, 2.5, 1);
    dxfText(h, "t", 1, 1, 1, 1, 0.25, 0, 0, 0, nullptr);
    dxfSectionEnd(h);
    dxfCloseFile(h);
    EXPECT_EQ(groups(readFile(path)),
              "0 SECTION\n2 ENTITIES\n"
              "0 LINE\n8 0\n10 2.000000\n20 10.000000\n30 3.000000\n11 4.000000\n21 20.000000\n"
              "31 4.000000\n"
              "0 ARC\n8 0\n39 2.500000\n10 2.000000\n20 10.000000\n30 10.000000\n40 5.000000\n"
              "50 0.000000\n51 90.000000\n210 0.000000\n220 0.000000\n230 1.000000\n"
              "0 TEXT\n8 0\n10 2.000000\n20 10.000000\n40 2.500000\n50 0.000000\n1 t\n"
              "0 ENDSEC\n0 EOF\n");
}

TEST(DxfWriter, WritesEllipsesSolidsFacesAndCirclesGroupByGroup) {
    TempDir dir;
    const std::string path = dir.file("e.dxf");
    HDXF h = dxfCreateFile(path.c_str());
    dxfSectionBegin(h, SEC_ENTITIES);
    dxfSetScale(h, 2.0, 3.0);
    EXPECT_EQ(dxfEllipse(h, 1, 1, 2, 0, 0.5, 0, 6.25), 1);
    const tag_REALPOINT p[4] = {{0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
    EXPECT_EQ(dxfSolid(h, 3, p), 1);  // the third corner again as the fourth
    EXPECT_EQ(dxf3DFace(h, p), 1);
    dxfSetScale(h, 1.0, 1.0);
    dxfSetCurrentLinetype(h, "DOT");
    EXPECT_EQ(dxfCircle(h, 1, 2, 3, 4), 1);
    dxfSectionEnd(h);
    dxfCloseFile(h);
    EXPECT_EQ(groups(readFile(path)),
              "0 SECTION\n2 ENTITIES\n"
              "0 ELLIPSE\n8 0\n10 2.000000\n20 3.000000\n11 4.000000\n21 0.000000\n"
              "40 0.500000\n41 0.000000\n42 6.250000\n"
              "0 SOLID\n8 0\n10 0.000000\n20 0.000000\n30 1.000000\n11 2.000000\n21 0.000000\n"
              "31 1.000000\n12 2.000000\n22 3.000000\n32 1.000000\n13 2.000000\n23 3.000000\n"
              "33 1.000000\n"
              "0 3DFACE\n8 0\n10 0.000000\n20 0.000000\n30 1.000000\n11 2.000000\n21 0.000000\n"
              "31 1.000000\n12 2.000000\n22 3.000000\n32 1.000000\n13 0.000000\n23 3.000000\n"
              "33 1.000000\n"
              "0 CIRCLE\n8 0\n6 DOT\n10 1.000000\n20 2.000000\n30 4.000000\n40 3.000000\n"
              "210 0.000000\n220 0.000000\n230 1.000000\n"
              "0 ENDSEC\n0 EOF\n");
}

TEST(DxfWriter, RefusesWhatItsStateDoesNotAllow) {
    TempDir dir;
    const std::string path = dir.file("r.dxf");
    EXPECT_EQ(dxfCreateFile(dir.file("no/such/folder.dxf").c_str()), nullptr);
    EXPECT_EQ(dxfCreateFile(nullptr), nullptr);
    EXPECT_EQ(dxfLine(nullptr, 0, 0, 1, 1), 0);
    HDXF h = dxfCreateFile(path.c_str());
    EXPECT_EQ(dxfLine(h, 0, 0, 1, 1), 0);           // no section
    EXPECT_EQ(dxfTableTypeBegin(h, TAB_LAYER), 0);  // not in TABLES
    EXPECT_EQ(dxfSectionBegin(h, 2), 0);            // no such section
    EXPECT_EQ(dxfSectionEnd(h), 0);                 // none open
    EXPECT_EQ(dxfSectionBegin(h, SEC_TABLES), 1);
    EXPECT_EQ(dxfSectionBegin(h, SEC_ENTITIES), 0);      // one at a time
    EXPECT_EQ(dxfAddLayer(h, "A", 1, "CONTINUOUS"), 0);  // no table open
    EXPECT_EQ(dxfTableTypeBegin(h, TAB_LAYER), 1);
    EXPECT_EQ(dxfTableTypeBegin(h, TAB_STYLE), 0);
    EXPECT_EQ(dxfAddLayer(h, nullptr, 1, "CONTINUOUS"), 0);
    EXPECT_EQ(dxfAddTextStyle(h, nullptr), 0);
    EXPECT_EQ(dxfTableTypeEnd(h), 1);
    EXPECT_EQ(dxfTableTypeBegin(h, TAB_LAYER), 0);  // already written
    EXPECT_EQ(dxfCloseFile(h), 0);                  // TABLES still open: the file stays open
    EXPECT_EQ(dxfSectionEnd(h), 1);
    EXPECT_EQ(dxfSectionBegin(h, SEC_TABLES), 0);  // a file has one of each
    EXPECT_EQ(dxfSectionBegin(h, SEC_BLOCKS), 1);
    EXPECT_EQ(dxfLine(h, 0, 0, 1, 1), 0);  // no block open
    EXPECT_EQ(dxfBlockBegin(h, nullptr, "0", 0, 0, 0), 0);
    EXPECT_EQ(dxfBlockBegin(h, "B", "0", 0, 0, 0), 1);
    EXPECT_EQ(dxfBlockBegin(h, "C", "0", 0, 0, 0), 0);
    EXPECT_EQ(dxfSectionEnd(h), 0);  // the block first
    EXPECT_EQ(dxfBlockEnd(h), 1);
    EXPECT_EQ(dxfSectionEnd(h), 1);
    EXPECT_EQ(dxfSectionBegin(h, SEC_ENTITIES), 1);
    EXPECT_EQ(dxfText(h, nullptr, 0, 0, 0, 0, 1, 0, 0, 0, nullptr), 0);
    EXPECT_EQ(dxfInsertBlock(h, nullptr, 0, 0, 1, 1, 0), 0);
    tag_REALPOINT p[4]{};
    EXPECT_EQ(dxfSolid(h, 2, p), 0);
    EXPECT_EQ(dxfPolyLine(h, nullptr, 3, 0), 0);
    EXPECT_EQ(dxfSetCurrentDimStyle(h, "Nope"), 0);
    EXPECT_EQ(dxfDimLinear(h, 0, 0, 1, 0, 0, 1, 0, "1"), 0);  // "ClosedFilled" was never added
    EXPECT_EQ(dxfSectionEnd(h), 1);
    EXPECT_EQ(dxfCloseFile(h), 1);
    EXPECT_EQ(groups(readFile(path)),
              "0 SECTION\n2 TABLES\n0 TABLE\n2 LAYER\n0 ENDTAB\n0 ENDSEC\n"
              "0 SECTION\n2 BLOCKS\n0 BLOCK\n8 0\n2 B\n70 0\n10 0.000000\n20 0.000000\n3 B\n"
              "0 ENDBLK\n0 ENDSEC\n0 SECTION\n2 ENTITIES\n0 ENDSEC\n0 EOF\n");
}

// Counts of each entity name in a file's text.
int count(const std::string& text, const std::string& entity) {
    int n = 0;
    for (size_t at = text.find("\n0\n" + entity + "\n"); at != std::string::npos;
         at = text.find("\n0\n" + entity + "\n", at + 1))
        ++n;
    return n;
}

TEST(DxfWriter, DrawsALinearDimensionOutByItsStyle) {
    struct Case {
        int tad;
        int lines, texts;
    };
    // Two arrows of different kinds: a SOLID and a LINE. Extension lines: two LINEs.
    for (Case c : {Case{0, 2 + 1 + 2, 1}, Case{1, 1 + 1 + 2, 1}, Case{2, 0 + 1 + 2, 0}}) {
        TempDir dir;
        const std::string path = dir.file("d.dxf");
        HDXF h = dxfCreateFile(path.c_str());
        tag_DXFDIMSTYLE s = dimStyle("Arch", c.tad);
        dxfAddDimStyle(h, &s);
        EXPECT_EQ(dxfSetCurrentDimStyle(h, "Arch"), 1);
        dxfSetCurrentColor(h, 7);
        dxfSectionBegin(h, SEC_ENTITIES);
        EXPECT_EQ(dxfDimLinear(h, 0, 0, 10, 0, 5, 4, 0, "10"), 1) << c.tad;
        EXPECT_EQ(dxfLine(h, 0, 0, 1, 1), 1);  // the colour is the caller's again
        dxfSectionEnd(h);
        dxfCloseFile(h);
        const std::string text = readFile(path);
        EXPECT_EQ(count(text, "POINT"), 2) << c.tad;
        EXPECT_EQ(count(text, "SOLID"), 1) << c.tad;
        EXPECT_EQ(count(text, "LINE"), c.lines + 1) << c.tad;
        EXPECT_EQ(count(text, "TEXT"), c.texts) << c.tad;
        // Feet of a horizontal dimension line at y = 4; the extension lines rise from the
        // measured points' offset to past the feet.
        EXPECT_NE(text.find("0\nPOINT\n8\n0\n62\n7\n10\n10.000000\n20\n4.000000\n"),
                  std::string::npos);
        EXPECT_NE(text.find("62\n2\n10\n0.000000\n20\n0.125000\n30\n0.000000\n11\n0.000000\n21\n"
                            "4.250000\n"),
                  std::string::npos);
        EXPECT_NE(text.rfind("0\nLINE\n8\n0\n62\n7\n"), std::string::npos);
        if (c.tad == 1) {  // the text sits above the line by half its height and the gap
            EXPECT_NE(text.find("10\n5.000000\n20\n5.000000\n72\n4\n73\n0\n"), std::string::npos);
        }
        if (c.tad == 0) {  // the line stops 2 gaps + 2 characters x 0.3 x height short
            EXPECT_NE(text.find("11\n3.400000\n21\n4.000000\n"), std::string::npos);
        }
    }
}

// The feet's POINTs go out before the scales are set to 1, so under a scale they are scaled
// a second time; the lines drawn after them are not. Kept as it always was.
TEST(DxfWriter, ADimensionsFeetAreScaledTwice) {
    TempDir dir;
    const std::string path = dir.file("d2.dxf");
    HDXF h = dxfCreateFile(path.c_str());
    tag_DXFDIMSTYLE s = dimStyle("ClosedFilled", 2);
    dxfAddDimStyle(h, &s);
    dxfSectionBegin(h, SEC_ENTITIES);
    dxfSetScale(h, 2.0, 2.0);
    EXPECT_EQ(dxfDimLinear(h, 0, 0, 10, 0, 5, 4, 0, "10"), 1);
    EXPECT_EQ(dxfGetWidthScale(h), 2.0);  // put back
    dxfSectionEnd(h);
    dxfCloseFile(h);
    const std::string text = readFile(path);
    EXPECT_NE(text.find("0\nPOINT\n8\n0\n10\n40.000000\n20\n16.000000\n"), std::string::npos);
    // The second extension line: from (20, 0.125) up to the foot at y 8 and 0.25 past it.
    EXPECT_NE(text.find("10\n20.000000\n20\n0.125000\n30\n0.000000\n11\n20.000000\n21\n8.250000\n"),
              std::string::npos);
}

TEST(DxfWriter, NumbersIgnoreTheProcessLocale) {
    zevtest::ScopedDecimalCommaLocale comma;
    if (!comma.active()) GTEST_SKIP() << "no decimal-comma locale";
    TempDir dir;
    const std::string path = dir.file("l.dxf");
    CDxfFileWrite w;
    ASSERT_TRUE(w.Create(path.c_str()));
    w.BeginSection(SEC_ENTITIES);
    w.Line(1.5, -2.25, 1e6, 0.1234567);
    w.EndSection();
    ASSERT_TRUE(w.Close());
    const std::string text = readFile(path);
    EXPECT_NE(text.find("10\n1.500000\n20\n-2.250000\n"), std::string::npos);
    EXPECT_NE(text.find("11\n1000000.000000\n21\n0.123457\n"), std::string::npos);
    ReadBack r = readAll(path);
    ASSERT_EQ(r.entities.size(), 1u);
    EXPECT_EQ(r.entities[0].data.Line.Point0.y, -2.25);
    EXPECT_EQ(r.entities[0].data.Line.Point1.y, 0.123457);
}

// The writer formats without printf; its text must be printf's "%f" in the C locale, digit
// for digit, rounding and signs included.
TEST(DxfWriter, RealsAreWhatPrintfWouldWrite) {
    TempDir dir;
    const std::string path = dir.file("f.dxf");
    std::vector<double> values = {
        0.0,  -0.0,   0.5e-6, 0.4999999e-6, -0.5e-6, 1.0000005, 2.5e-7, 123456789.123456789,
        1e22, -1e300, 5e-324, 0.1,          0.7,     1.0 / 3,   2.675,  1e15 + 0.3};
    std::uint64_t seed = 12345;
    for (int i = 0; i < 20000; ++i) {
        seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
        std::uint64_t bits = seed >> 1;
        double v;
        std::memcpy(&v, &bits, sizeof v);
        if (std::isfinite(v) && std::fabs(v) < 1e30) values.push_back(v);
        values.push_back(static_cast<double>(static_cast<std::int64_t>(seed % 2000000000)) / 1e6 -
                         1000.0);
    }
    HDXF h = dxfCreateFile(path.c_str());
    std::string expected;
    char text[400];
    for (double v : values) {
        ASSERT_EQ(dxfWriteParamDouble(h, 40, v), 1);
        std::snprintf(text, sizeof text, "%d\n%f\n", 40, v);
        expected += text;
    }
    dxfCloseFile(h);
    EXPECT_EQ(readFile(path), expected + "0\nEOF\n");
}

TEST(DxfFileWrite, DestructorEndsWhatIsOpenAndCloses) {
    TempDir dir;
    const std::string path = dir.file("w.dxf");
    {
        CDxfFileWrite w;
        ASSERT_TRUE(w.Create(CString(path.c_str())));
        w.BeginSection(SEC_BLOCKS);
        w.BlockBegin("B", "0", 0, 0);
        EXPECT_TRUE(w.WriteParameter(999, "note"));
        EXPECT_TRUE(w.WriteParameter(70, 3));
        EXPECT_TRUE(w.WriteParameter(40, 0.5));
    }
    EXPECT_EQ(groups(readFile(path)),
              "0 SECTION\n2 BLOCKS\n0 BLOCK\n8 0\n2 B\n70 0\n10 0.000000\n20 0.000000\n3 B\n"
              "999 note\n70 3\n40 0.500000\n0 ENDBLK\n0 ENDSEC\n0 EOF\n");
}

// A file of each kind the writer makes, then read back.
std::string writeEveryKind(const TempDir& dir) {
    const std::string path = dir.file("all.dxf");
    CDxfFileWrite w;
    w.Create(path.c_str());
    w.BeginSection(SEC_TABLES);
    w.BeginTableType(TAB_LAYER);
    w.AddLayer("0", 7, "CONTINUOUS");
    w.AddLayer("Mesh", 3, "CONTINUOUS");
    w.EndTableType();
    w.EndSection();
    w.BeginSection(SEC_BLOCKS);
    w.BlockBegin("Tri", "0", 0, 0);
    w.Line(0, 0, 1, 0);
    w.BlockEnd();
    w.BlockBegin("Empty", "0", 0, 0);
    w.BlockEnd();
    w.EndSection();
    w.BeginSection(SEC_ENTITIES);
    w.SetCurrentLayer("Mesh");
    w.Line(1, 2, 3, 4);
    w.Point(5, 6);
    w.Circle(1, 1, 2);
    w.Arc(0, 0, 3, 10, 80);
    w.Text("hello", 1, 1, 0.5);
    tag_REALPOINT p[3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    w.Solid(3, p);
    w.InsertBlock("Tri", 2, 2);
    tag_DXFENTVERTEX v[3]{};
    v[1].Point = {4, 0, 0};
    v[2].Point = {4, 3, 0};
    w.PolyLine(3, v, 1);
    w.EndSection();
    w.Close();
    return path;
}

TEST(DxfReader, ReadsBackWhatTheWriterWrote) {
    TempDir dir;
    ReadBack r = readAll(writeEveryKind(dir));
    EXPECT_EQ(r.sections, (std::vector<unsigned long>{SEC_TABLES, SEC_BLOCKS, SEC_ENTITIES}));
    EXPECT_EQ(r.tableRecords, (std::vector<std::string>{"8:0", "8:Mesh"}));
    EXPECT_EQ(r.blocks, (std::vector<std::string>{"Tri", "Empty"}));
    std::vector<int> types;
    for (const Entity& e : r.entities) types.push_back(e.header.EntityType);
    EXPECT_EQ(types, (std::vector<int>{ENT_LINE, ENT_LINE, ENT_POINT, ENT_CIRCLE, ENT_ARC, ENT_TEXT,
                                       ENT_SOLID, ENT_INSERT, ENT_POLYLINE}));
    const Entity& line = r.entities[1];
    EXPECT_STREQ(line.header.LayerName, "Mesh");
    EXPECT_EQ(line.header.ExtrusionDirection[2], 1.0);
    EXPECT_EQ(line.data.Line.Point1.x, 3.0);
    EXPECT_EQ(line.data.Line.Point1.y, 4.0);
    EXPECT_EQ(r.entities[4].data.Arc.EndAngle, 80.0);
    EXPECT_STREQ(r.entities[5].data.Text.Text.strText, "hello");
    EXPECT_EQ(r.entities[6].data.Solid.Point3.y, 1.0);
    EXPECT_STREQ(r.entities[7].data.Insert.BlockName, "Tri");
    const Entity& poly = r.entities[8];
    EXPECT_EQ(poly.data.PolyLine.Flag, 1u);
    ASSERT_EQ(poly.vertices.size(), 3u);
    EXPECT_EQ(poly.vertices[2].Point.y, 3.0);
}

TEST(DxfReader, TakesOtherWritersFormsAndSkipsWhatItDoesNotKnow) {
    TempDir dir;
    const std::string path = dir.file("o.dxf");
    // Blank-padded codes, CR LF ends, a HEADER with variables, an unknown table and section,
    // an unknown entity, a lightweight polyline, a paper-space entity.
    writeFile(
        path,
        "  0\r\nSECTION\r\n  2\r\nHEADER\r\n  9\r\n$ACADVER\r\n  1\r\nAC1009\r\n"
        "  0\r\nENDSEC\r\n"
        "  0\r\nSECTION\r\n  2\r\nTABLES\r\n"
        "  0\r\nTABLE\r\n  2\r\nVPORT\r\n 70\r\n1\r\n  0\r\nVPORT\r\n  2\r\n*ACTIVE\r\n"
        "  0\r\nENDTAB\r\n"
        "  0\r\nTABLE\r\n  2\r\nLTYPE\r\n 70\r\n1\r\n  0\r\nLTYPE\r\n  2\r\nDOT\r\n"
        " 73\r\n2\r\n 49\r\n0.0\r\n 49\r\n-0.2\r\n 40\r\n0.2\r\n  0\r\nENDTAB\r\n"
        "  0\r\nENDSEC\r\n"
        "  0\r\nSECTION\r\n  2\r\nOBJECTS\r\n  0\r\nDICTIONARY\r\n  0\r\nENDSEC\r\n"
        "  0\r\nSECTION\r\n  2\r\nENTITIES\r\n"
        "  0\r\nHATCH\r\n  8\r\n0\r\n 10\r\n99\r\n"
        "  0\r\nLWPOLYLINE\r\n  8\r\nL\r\n 90\r\n3\r\n 70\r\n1\r\n 38\r\n2.5\r\n"
        " 10\r\n0\r\n 20\r\n0\r\n 10\r\n+1e1\r\n 20\r\n0\r\n 42\r\n0.5\r\n 10\r\n10\r\n 20\r\n5\r\n"
        "  0\r\nCIRCLE\r\n 67\r\n1\r\n 10\r\n1\r\n 20\r\n1\r\n 40\r\n2\r\n"
        "  0\r\nENDSEC\r\n  0\r\nEOF\r\n");
    dxfSetPaperSpace(0);
    ReadBack r = readAll(path);
    EXPECT_EQ(r.sections,
              (std::vector<unsigned long>{SEC_HEADER, SEC_TABLES, SEC_UNKNOWN, SEC_ENTITIES}));
    EXPECT_EQ(r.tableRecords, (std::vector<std::string>{"16:DOT"}));
    ASSERT_EQ(r.entities.size(), 2u);
    const Entity& lw = r.entities[0];
    EXPECT_EQ(lw.header.EntityType, ENT_POLYLINE);
    EXPECT_EQ(lw.data.PolyLine.Flag, 1u);
    ASSERT_EQ(lw.vertices.size(), 3u);
    EXPECT_EQ(lw.vertices[1].Point.x, 10.0);
    EXPECT_EQ(lw.vertices[1].Bulge, 0.5);
    EXPECT_EQ(lw.vertices[2].Point.z, 2.5);
    EXPECT_EQ(r.entities[1].data.Circle.Radius, 2.0);
    EXPECT_EQ(dxfGetPaperSpace(), 1);
    dxfSetPaperSpace(0);
}

TEST(DxfReader, EveryCutOfAFileEndsTheWalkWithoutHarm) {
    TempDir dir;
    const std::string whole = readFile(writeEveryKind(dir));
    const std::string cut = dir.file("cut.dxf");
    size_t most = 0;
    for (size_t n = 0; n <= whole.size(); n += 7) {
        writeFile(cut, whole.substr(0, n));
        ReadBack r = readAll(cut);
        EXPECT_LE(r.entities.size(), 9u);
        most = std::max(most, r.entities.size());
    }
    EXPECT_EQ(most, 9u);  // without its EOF (the last cut) the file still reads whole
    EXPECT_EQ(dxfOpenFile(dir.file("missing.dxf").c_str()), nullptr);
}

TEST(DxfReader, LinesAcrossTheBufferAndLongerThanTheValueBuffer) {
    TempDir dir;
    const std::string path = dir.file("big.dxf");
    std::string text = "0\nSECTION\n2\nENTITIES\n";
    const std::string longName(10000, 'n');
    for (int i = 0; i < 3000; ++i) {
        text += "0\nLINE\n8\n";
        text += i == 1500 ? longName : std::string("0");
        text += "\n10\n";
        text += std::to_string(i);
        text += ".5\n21\n7\n";
    }
    text += "0\nENDSEC\n0\nEOF\n";
    writeFile(path, text);
    ReadBack r = readAll(path);
    ASSERT_EQ(r.entities.size(), 3000u);
    for (int i = 0; i < 3000; ++i) EXPECT_EQ(r.entities[i].data.Line.Point0.x, i + 0.5) << i;
    EXPECT_EQ(std::strlen(r.entities[1500].header.LayerName), 511u);
}

}  // namespace

// ---- Beyond the original set: header variables, handles and arrays, MTEXT and HATCH.

TEST(DxfReader, ReadsTheHeadersUnitsCodePageAndVersionAndGoesOn) {
    TempDir dir;
    const std::string path = dir.file("h.dxf");
    writeFile(path,
              "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1015\n9\n$EXTMIN\n10\n0\n20\n0\n"
              "9\n$INSUNITS\n70\n4\n9\n$MEASUREMENT\n70\n1\n9\n$DWGCODEPAGE\n3\nANSI_1251\n"
              "0\nENDSEC\n0\nSECTION\n2\nENTITIES\n0\nLINE\n5\n2F\n10\n1\n20\n2\n11\n3\n21\n4\n"
              "0\nENDSEC\n0\nEOF\n");
    HDXF h = dxfOpenFile(path.c_str());
    ASSERT_NE(h, nullptr);
    tag_DXFHEADERVARS vars;
    EXPECT_EQ(dxfReadHeaderVars(h, &vars), 0);  // not in HEADER yet
    ASSERT_EQ(dxfFindNextSection(h), SEC_HEADER);
    EXPECT_EQ(dxfReadHeaderVars(h, &vars), 1);
    EXPECT_STREQ(vars.AcadVer, "AC1015");
    EXPECT_EQ(vars.InsUnits, 4);
    EXPECT_EQ(vars.Measurement, 1);
    EXPECT_STREQ(vars.CodePage, "ANSI_1251");
    ASSERT_EQ(dxfFindNextSection(h), SEC_ENTITIES);
    tag_DXFENTITYHEADER eh;
    DXFENTITYDATA e;
    ASSERT_EQ(dxfReadEntityData(h, &eh, &e), ENT_LINE);
    tag_DXFENTITYEXTRA extra{};
    ASSERT_EQ(dxfGetEntityExtra(h, &extra), 1);
    EXPECT_STREQ(extra.Handle, "2F");
    EXPECT_EQ(extra.Columns, 1);
    EXPECT_EQ(e.Line.Point1.y, 4.0);
    dxfCloseFile(h);
}

TEST(DxfReader, GivesMTextHatchAndInsertArraysOnlyWhenAsked) {
    TempDir dir;
    const std::string path = dir.file("m.dxf");
    // An MTEXT in two 3 groups and a 1; a HATCH with a polyline path (a bulge) and an edge
    // path (a line, a clockwise arc, a line), then seed points that reuse the point codes;
    // an array insert.
    writeFile(path,
              "0\nSECTION\n2\nENTITIES\n"
              "0\nMTEXT\n5\nA1\n8\nT\n10\n1\n20\n2\n40\n2.5\n71\n1\n11\n0\n21\n1\n"
              "3\n{\\fArial;Pla\n3\nte}\\Pline\n1\n two\n"
              "0\nHATCH\n8\nH\n10\n0\n20\n0\n2\nSOLID\n70\n1\n91\n2\n"
              "92\n2\n72\n1\n73\n1\n93\n3\n10\n0\n20\n0\n10\n4\n20\n0\n42\n1\n10\n4\n20\n3\n97\n0\n"
              "92\n1\n93\n3\n72\n1\n10\n10\n20\n0\n11\n12\n21\n0\n"
              "72\n2\n10\n12\n20\n1\n40\n1\n50\n90\n51\n270\n73\n0\n"
              "72\n1\n10\n12\n20\n2\n11\n10\n21\n0\n97\n0\n"
              "75\n1\n76\n1\n98\n1\n10\n55\n20\n55\n"
              "0\nINSERT\n2\nB\n10\n5\n20\n6\n70\n3\n71\n2\n44\n10\n45\n20\n"
              "0\nENDSEC\n0\nEOF\n");
    for (int more : {0, 1}) {
        SCOPED_TRACE(more);
        HDXF h = dxfOpenFile(path.c_str());
        ASSERT_NE(h, nullptr);
        ASSERT_EQ(dxfReadMoreKinds(h, more), 1);
        ASSERT_EQ(dxfFindNextSection(h), SEC_ENTITIES);
        tag_DXFENTITYHEADER eh;
        auto e = std::make_unique<DXFENTITYDATA>();
        if (more) {
            ASSERT_EQ(dxfReadEntityData(h, &eh, e.get()), ENT_MTEXT);
            EXPECT_STREQ(e->MText.strText, "{\\fArial;Plate}\\Pline two");
            EXPECT_EQ(e->MText.Height, 2.5);
            EXPECT_EQ(e->MText.Attachment, 1u);
            EXPECT_DOUBLE_EQ(e->MText.RotationAngle, 90.0);  // from the direction 11/21
            char words[64];
            EXPECT_EQ(dxfMTextPlain(e->MText.strText, words, sizeof words), 14u);
            EXPECT_STREQ(words, "Plate\nline two");

            ASSERT_EQ(dxfReadEntityData(h, &eh, e.get()), ENT_HATCH);
            const tag_DXFENTHATCH& hatch = e->Hatch;
            EXPECT_STREQ(hatch.PatternName, "SOLID");
            EXPECT_EQ(hatch.SolidFill, 1u);
            EXPECT_EQ(hatch.nPaths, 2u);
            ASSERT_EQ(hatch.nVertex, 6u);
            EXPECT_EQ(hatch.pVertex[0].Flag & 1, 1u);
            EXPECT_EQ(hatch.pVertex[1].Bulge, 1.0);
            EXPECT_EQ(hatch.pVertex[3].Flag & 1, 1u);
            // The clockwise arc from 90 degrees (stored mirrored): starts at (12, 0), turns
            // half a circle clockwise.
            EXPECT_NEAR(hatch.pVertex[4].Point.x, 12.0, 1e-12);
            EXPECT_NEAR(hatch.pVertex[4].Point.y, 0.0, 1e-12);
            EXPECT_NEAR(hatch.pVertex[4].Bulge, -1.0, 1e-12);
            dxfFreeEntityData(&eh, e.get());
            EXPECT_EQ(e->Hatch.pVertex, nullptr);
        }
        ASSERT_EQ(dxfReadEntityData(h, &eh, e.get()), ENT_INSERT);
        tag_DXFENTITYEXTRA extra{};
        dxfGetEntityExtra(h, &extra);
        EXPECT_EQ(extra.Columns, 3);
        EXPECT_EQ(extra.Rows, 2);
        EXPECT_EQ(extra.ColumnSpacing, 10.0);
        EXPECT_EQ(extra.RowSpacing, 20.0);
        EXPECT_STREQ(extra.Handle, "");
        EXPECT_EQ(dxfReadEntityData(h, &eh, e.get()), 0);
        dxfCloseFile(h);
    }
}

TEST(DxfText, MTextLosesItsFormattingAndNeverCutsACharacter) {
    const struct {
        const char* in;
        const char* out;
    } cases[] = {
        {"plain", "plain"},
        {"\\A1;{\\H2.5x;\\C1;big} \\Lunder\\l", "big under"},
        {"a\\Pb\\~c", "a\nb c"},
        {"\\S1^2; and \\S3#4;", "1/2 and 3/4"},
        {"\\\\ \\{ \\}", "\\ { }"},
        {"%%c20 \\U+00D8", "%%c20 \\U+00D8"},  // the caller's, who knows the code page
        {"\\fArial|b1;unended \\H", "unended "},
    };
    for (const auto& c : cases) {
        char out[64];
        dxfMTextPlain(c.in, out, sizeof out);
        EXPECT_STREQ(out, c.out) << c.in;
    }
    char small[4];
    EXPECT_EQ(dxfMTextPlain("ab\xC3\x98", small, sizeof small), 2u);
    EXPECT_STREQ(small, "ab");
    EXPECT_EQ(dxfMTextPlain(nullptr, small, sizeof small), 0u);
}

TEST(DxfWriter, WritesAHeaderVariableOnlyInTheHeader) {
    TempDir dir;
    const std::string path = dir.file("u.dxf");
    {
        CDxfFileWrite w;
        ASSERT_TRUE(w.Create(path.c_str()));
        EXPECT_FALSE(w.HeaderInteger("$INSUNITS", 70, 4));
        ASSERT_TRUE(w.BeginSection(SEC_HEADER));
        EXPECT_TRUE(w.HeaderInteger("$INSUNITS", 70, 4));
        EXPECT_FALSE(w.HeaderInteger(nullptr, 70, 4));
        EXPECT_TRUE(w.EndSection());
        EXPECT_TRUE(w.Close());
    }
    EXPECT_EQ(groups(readFile(path)), "0 SECTION\n2 HEADER\n9 $INSUNITS\n70 4\n0 ENDSEC\n0 EOF\n");
}
