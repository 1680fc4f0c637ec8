#pragma once

// Plain-text DXF files, both ways, through a handle.
//
// The writer is a state machine over sections, tables and blocks:
//
//     created --dxfSectionBegin(TABLES)--> in TABLES --dxfTableTypeBegin--> in a table
//       in a table --dxfTableTypeEnd--> in TABLES --dxfSectionEnd--> created
//     created --dxfSectionBegin(BLOCKS)--> in BLOCKS --dxfBlockBegin--> in a block (entities
//       go in) --dxfBlockEnd--> in BLOCKS
//     created --dxfSectionBegin(ENTITIES)--> entities go in --dxfSectionEnd--> created
//     created --dxfCloseFile--> gone (writes EOF)
//
// A call the state does not allow answers 0 and writes nothing. Each section and each table
// is written at most once. The files carry no version marker, no handles and an empty
// HEADER: the record structure is that of the oldest text form, which every reader takes.
//
// The reader walks a file by group pairs (a code line, a value line) with one group of look
// back, so that a group that belongs to the next record can be put back. It keeps the current
// section, table and whether a block is open; each call moves on from there. Any byte sequence
// is accepted: what is not understood is skipped, and a file that ends early ends the walk.
//
// Numbers are written as "%f" would in the C locale (six decimals) and read as `atof` would
// in the C locale, whatever locale the process has set. Texts pass through as bytes.

#include <cstddef>
#include <cstdint>

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"

struct tag_DXF;
/// A file being written or read; null is no file.
using HDXF = tag_DXF*;

// Section values (dxfSectionBegin, dxfFindNextSection, dxfGetCurrentSection).
inline constexpr unsigned long SEC_NOTSET = 0x00;
inline constexpr unsigned long SEC_HEADER = 0x01;
inline constexpr unsigned long SEC_TABLES = 0x04;
inline constexpr unsigned long SEC_BLOCKS = 0x08;
inline constexpr unsigned long SEC_ENTITIES = 0x10;
/// A section of a name the reader does not know.
inline constexpr unsigned long SEC_UNKNOWN = 0x40;

// Table values; also the table types of the drawing database.
inline constexpr unsigned long TAB_NOTSET = 0x00;
inline constexpr unsigned long TAB_DIMSTYLE = 0x04;
inline constexpr unsigned long TAB_LAYER = 0x08;
inline constexpr unsigned long TAB_LTYPE = 0x10;
inline constexpr unsigned long TAB_STYLE = 0x20;

// Entity types, as the database stores them.
inline constexpr WORD ENT_LINE = 1;
inline constexpr WORD ENT_POINT = 2;
inline constexpr WORD ENT_CIRCLE = 3;
inline constexpr WORD ENT_ELLIPSE = 5;
inline constexpr WORD ENT_TEXT = 7;
inline constexpr WORD ENT_ARC = 8;
inline constexpr WORD ENT_SOLID = 11;
inline constexpr WORD ENT_INSERT = 14;
inline constexpr WORD ENT_POLYLINE = 19;
inline constexpr WORD ENT_DIMENSION = 23;
inline constexpr WORD ENT_FACE3D = 37;
/// Kinds the reader yields only when asked (dxfReadMoreKinds); the database has no such
/// records.
inline constexpr WORD ENT_MTEXT = 200;
inline constexpr WORD ENT_HATCH = 201;

/// The most pattern elements a line type holds; more in a file are not kept.
inline constexpr int DXF_MAX_LTYPE_ELEMENTS = 30;

struct tag_REALPOINT {
    double x;
    double y;
    double z;
};

/// A polyline's vertex: the point, then its widths and bulge, within 64 bytes.
struct tag_ENTVERTEX {
    tag_REALPOINT Point;
    double StartWidth;
    double EndWidth;
    double Bulge;
    DWORD Flag;
    DWORD Reserved;
    double TangentDirection;
};
using tag_DXFENTVERTEX = tag_ENTVERTEX;
static_assert(sizeof(tag_ENTVERTEX) == 64);

// Entity data, the records that follow an entity header. The database stores these as they
// stand; the reader fills them, except where a name stands for an object number (text,
// insert, dimension), which have their file-side forms below.

struct tag_ENTLINE {
    tag_REALPOINT Point0;
    tag_REALPOINT Point1;
};
struct tag_ENTPOINT {
    tag_REALPOINT Point0;
};
struct tag_ENTCIRCLE {
    tag_REALPOINT Point0;
    double Radius;
};
struct tag_ENTELLIPSE {
    tag_REALPOINT CenterPoint;
    tag_REALPOINT MajorAxisEndPoint;  // relative to the centre
    double MinorToMajorRatio;
    double StartParam;
    double EndParam;
};
struct tag_ENTARC {
    tag_REALPOINT Point0;
    double Radius;
    double StartAngle;  // degrees
    double EndAngle;
    double Reserved[3];  // zero; keeps the record's size
};
struct tag_ENTTEXT {
    tag_REALPOINT Point0;
    double Height;
    double RotationAngle;  // degrees
    double WidthFactor;
    double Oblique;
    tag_REALPOINT SecondAlignmentPoint;
    /// Group 72 in the low byte, 73 in the second.
    DWORD Justification;
    DWORD TextStyleObjhandle;
    char strText[1024];
};
struct tag_ENTSOLID {
    tag_REALPOINT Point0;
    tag_REALPOINT Point1;
    tag_REALPOINT Point2;
    tag_REALPOINT Point3;
};
using tag_ENT3DFACE = tag_ENTSOLID;
struct tag_ENTINSERT {
    tag_REALPOINT Point0;
    double XScale;
    double YScale;
    double RotationAngle;  // degrees
    DWORD BlockHeaderObjhandle;
    char Reserved[1028];  // zero; keeps the record's size
};
/// The vertices belong to whoever made the record: the database copies them in
/// drwAddEntity; the reader allocates them (free with dxfFreeEntityData).
struct tag_ENTPOLYLINE {
    tag_ENTVERTEX* pVertex;
    DWORD nVertex;
    DWORD Flag;  // 1: closed
};
struct tag_ENTDIMENSION {
    tag_REALPOINT DefPoint1;  // the first measured point
    tag_REALPOINT DefPoint2;  // the second
    tag_REALPOINT DimLinePoint;
    double DimLineAngle;  // degrees
    DWORD DimStyleObjhandle;
    DWORD Reserved;
    char strText[2056];
};

static_assert(sizeof(tag_ENTLINE) == 48 && sizeof(tag_ENTPOINT) == 24);
static_assert(sizeof(tag_ENTCIRCLE) == 32 && sizeof(tag_ENTELLIPSE) == 72);
static_assert(sizeof(tag_ENTTEXT) == 1112 && sizeof(tag_ENTARC) == 72);
static_assert(sizeof(tag_ENTSOLID) == 96 && sizeof(tag_ENTINSERT) == 1080);
static_assert(sizeof(tag_ENTDIMENSION) == 2144);

// File-side forms where the file names what the database numbers.
struct tag_DXFENTTEXT {
    tag_ENTTEXT Text;  // TextStyleObjhandle unused
    char TextStyleName[512];
};
struct tag_DXFENTINSERT {
    tag_ENTINSERT Insert;  // BlockHeaderObjhandle unused
    char BlockName[512];
};
struct tag_DXFENTDIMENSION {
    tag_ENTDIMENSION Dimension;  // DimStyleObjhandle unused
    char DimStyleName[512];
    char BlockName[512];
};

/// An MTEXT: its text as the file holds it (the 3 groups, then the 1), formatting codes and
/// all, cut at 2,047 bytes; see Dxf::plainMText for the words alone.
struct tag_DXFENTMTEXT {
    tag_REALPOINT Point0;
    double Height;
    double RectangleWidth;  // 41
    double RotationAngle;   // degrees: group 50, or the direction of 11/21
    DWORD Attachment;       // 71: 1 top left ... 9 bottom right
    DWORD Reserved;
    char strText[2048];
    char TextStyleName[512];
};
/// A HATCH's boundary paths as one vertex list, each path a closed run of vertices with
/// their bulges; a path's first vertex has bit 1 of its Flag set. Edges of lines and arcs
/// become vertices and bulges, ellipse edges 32 chords, spline edges their control points.
/// The vertices are allocated: release them with dxfFreeEntityData.
struct tag_DXFENTHATCH {
    tag_ENTVERTEX* pVertex;
    DWORD nVertex;
    DWORD nPaths;
    DWORD SolidFill;  // 70
    DWORD Reserved;
    char PatternName[512];
};

/// What dxfReadEntityData fills: the data of any entity kind.
union DXFENTITYDATA {
    tag_ENTLINE Line;
    tag_ENTPOINT Point;
    tag_ENTCIRCLE Circle;
    tag_ENTELLIPSE Ellipse;
    tag_DXFENTTEXT Text;
    tag_ENTARC Arc;
    tag_ENTSOLID Solid;
    tag_ENT3DFACE Face3D;
    tag_DXFENTINSERT Insert;
    tag_ENTPOLYLINE PolyLine;
    tag_DXFENTDIMENSION Dimension;
    tag_DXFENTMTEXT MText;
    tag_DXFENTHATCH Hatch;
};
static_assert(sizeof(tag_DXFENTMTEXT) <= sizeof(tag_DXFENTDIMENSION));

struct tag_DXFLTYPE {
    char Name[512];
    DWORD StandardFlags;
    char DescriptiveText[512];
    DWORD ElementsNumber;
    double TotalPatternLength;
    double Elements[DXF_MAX_LTYPE_ELEMENTS];
};

struct tag_DXFLAYER {
    char Name[512];
    DWORD StandardFlags;
    int Color;
    char LineType[512];
};

struct tag_DXFSTYLE {
    char Name[512];
    char PrimaryFontFilename[512];
    DWORD StandardFlags;
    DWORD TextGenerationFlags;
    double FixedTextHeight;
    double WidthFactor;
    double Height;
    double ObliqueAngle;
};

struct tag_DXFDIMSTYLE {
    char Name[512];
    DWORD StandardFlags;
    int DIMCLRD;    // dimension line colour
    double DIMDLE;  // dimension line extension
    int DIMCLRE;    // extension line colour
    double DIMEXE;  // extension past the dimension line
    double DIMEXO;  // extension-line offset from the origin
    char DIMBLK1[512];
    char DIMBLK2[512];
    double DIMASZ;  // arrow size
    char DIMTXSTY[512];
    DWORD DIMTXSTYObjhandle;
    int DIMCLRT;    // text colour
    double DIMTXT;  // text height
    int DIMTAD;     // 0 centred in the line, 1 above it
    double DIMGAP;  // gap round the text
};
static_assert(sizeof(tag_DXFDIMSTYLE) == 2128);

/// Whichever table record dxfReadTableType fills.
union DXFTABLERECORD {
    tag_DXFLTYPE LType;
    tag_DXFLAYER Layer;
    tag_DXFSTYLE Style;
    tag_DXFDIMSTYLE DimStyle;
};

struct tag_DXFENTITYHEADER {
    WORD EntityType;
    char LayerName[512];
    char LTypeName[512];
    short Color;
    double Thickness;
    double LineTypeScale;
    double ExtrusionDirection[3];
};

struct tag_DXFBLOCKHEADER {
    char Name[512];
    char Flags;
    tag_REALPOINT BasePoint;
    char LayerName[512];
};

// ---- Writing. Each call answers non-zero on success, 0 when its state does not allow it,
// on a null handle, a null name where one is needed, or when the file could not be written.

/// "HEADER", "TABLES", "BLOCKS" or "ENTITIES" for a SEC_ value; null for any other.
ZEVCORE_API const char* dxfSectionName(unsigned long section);

/// Creates (or truncates) the file. The current layer is "0", the colour 256 (by layer),
/// the dimension style "ClosedFilled", both scales 1.
ZEVCORE_API HDXF dxfCreateFile(const char* fileName);
/// Writes EOF and closes a written file (refused while a section is open: the file stays
/// open); closes a read file. The handle is gone after a success.
ZEVCORE_API int dxfCloseFile(HDXF hDxf);

ZEVCORE_API int dxfSetScale(HDXF hDxf, double widthScale, double heightScale);
ZEVCORE_API double dxfGetHeightScale(HDXF hDxf);
ZEVCORE_API double dxfGetWidthScale(HDXF hDxf);

ZEVCORE_API int dxfSectionBegin(HDXF hDxf, unsigned long section);
ZEVCORE_API int dxfSectionEnd(HDXF hDxf);
ZEVCORE_API unsigned long dxfGetCurrentSection(HDXF hDxf);
ZEVCORE_API int dxfTableTypeBegin(HDXF hDxf, unsigned long table);
ZEVCORE_API int dxfTableTypeEnd(HDXF hDxf);
ZEVCORE_API unsigned long dxfGetCurrentTableType(HDXF hDxf);

ZEVCORE_API int dxfAddLayer(HDXF hDxf, const char* name, int color, const char* lineType);
ZEVCORE_API int dxfAddLinetype(HDXF hDxf, const tag_DXFLTYPE* lineType);
ZEVCORE_API int dxfAddTextStyle(HDXF hDxf, const tag_DXFSTYLE* style);
/// Keeps the style for dxfDimLinear; writes nothing (the DIMSTYLE table stays empty).
ZEVCORE_API int dxfAddDimStyle(HDXF hDxf, const tag_DXFDIMSTYLE* dimStyle);

/// The current names keep at most 31 bytes. A null line type means none.
ZEVCORE_API int dxfSetCurrentLayer(HDXF hDxf, const char* layer, const char* lineType);
ZEVCORE_API int dxfSetCurrentLinetype(HDXF hDxf, const char* lineType);
ZEVCORE_API int dxfSetCurrentTextStyle(HDXF hDxf, const char* style);
/// Refused for a name not added with dxfAddDimStyle.
ZEVCORE_API int dxfSetCurrentDimStyle(HDXF hDxf, const char* dimStyle);
/// 256 (by layer) and 0 (by block) write no colour group.
ZEVCORE_API int dxfSetCurrentColor(HDXF hDxf, int color);

ZEVCORE_API int dxfBlockBegin(HDXF hDxf, const char* name, const char* layer, double x, double y,
                              char flags);
ZEVCORE_API int dxfBlockEnd(HDXF hDxf);
ZEVCORE_API int dxfGetBlockOpen(HDXF hDxf);
ZEVCORE_API int dxfInsertBlock(HDXF hDxf, const char* name, double x, double y, double xScale,
                               double yScale, double rotation);

ZEVCORE_API int dxfLine(HDXF hDxf, double x1, double y1, double x2, double y2, double z1 = 0.0,
                        double z2 = 0.0);
ZEVCORE_API int dxfPoint(HDXF hDxf, double x, double y, double z = 0.0);
ZEVCORE_API int dxfCircle(HDXF hDxf, double cx, double cy, double radius, double cz = 0.0);
/// (majorX, majorY) is the major axis end relative to the centre; the parameters in radians.
ZEVCORE_API int dxfEllipse(HDXF hDxf, double cx, double cy, double majorX, double majorY,
                           double ratio, double startParam, double endParam);
/// Angles in degrees; a thickness above 0 is written.
ZEVCORE_API int dxfArc(HDXF hDxf, double cx, double cy, double radius, double startAngle,
                       double endAngle, double thickness = 0.0, double cz = 0.0);
/// A text at (x1, y1); with a non-zero justification (72 in the low byte, 73 in the second)
/// also the second point. A width factor of 0 is not written. The style is `style` when
/// given, else the current text style, else none.
ZEVCORE_API int dxfText(HDXF hDxf, const char* text, double x1, double y1, double x2, double y2,
                        double height, double rotation, DWORD justification, double widthFactor,
                        const char* style);
/// Three or four corners; three repeat the last.
ZEVCORE_API int dxfSolid(HDXF hDxf, int corners, const tag_REALPOINT* points);
/// A 3DFACE of four corners (groups as SOLID's); not in the original set, for meshes.
ZEVCORE_API int dxf3DFace(HDXF hDxf, const tag_REALPOINT* corners);
ZEVCORE_API int dxfPolyLine(HDXF hDxf, const tag_DXFENTVERTEX* vertices, int count, unsigned flags);
/// A linear dimension drawn out in points, lines, a text and arrows with the current
/// dimension style: measured points 1 and 2, (x3, y3) on the dimension line, `angle` its
/// direction in degrees.
ZEVCORE_API int dxfDimLinear(HDXF hDxf, double x1, double y1, double x2, double y2, double x3,
                             double y3, double angle, const char* text);

/// Raw group pairs, in the writer's formats, whatever the state.
ZEVCORE_API int dxfWriteParamInteger(HDXF hDxf, int code, int value);
ZEVCORE_API int dxfWriteParamDouble(HDXF hDxf, int code, double value);
ZEVCORE_API int dxfWriteParamString(HDXF hDxf, int code, const char* value);

// ---- Reading.

/// Opens a file to read; null when it cannot be opened.
ZEVCORE_API HDXF dxfOpenFile(const char* fileName);
/// The next section's value (SEC_...; SEC_UNKNOWN for other names), 0 at the end of the file.
ZEVCORE_API unsigned long dxfFindNextSection(HDXF hDxf);
/// In TABLES: the next table of a known type (others are passed over), made current; 0 at
/// the end of the section or file.
ZEVCORE_API unsigned long dxfFindNextTableType(HDXF hDxf);
/// As dxfFindNextTableType when the next group opens a table; else 0 with the group put back.
ZEVCORE_API unsigned long dxfReadTableTypeName(HDXF hDxf);
/// The next record of the current table (moving to the next table when none is current, or
/// the current one ends) into `record` (a DXFTABLERECORD); the result is its table type, 0
/// when the section or the file ends.
ZEVCORE_API unsigned long dxfReadTableType(HDXF hDxf, void* record);
/// In BLOCKS: moves to the next block and reads its header; 0 at the end of the section.
ZEVCORE_API int dxfFindBlockHeader(HDXF hDxf, tag_DXFBLOCKHEADER* blockHeader);
ZEVCORE_API int dxfReadBlockHeader(HDXF hDxf, tag_DXFBLOCKHEADER* blockHeader);
/// The next entity of ENTITIES or of the open block into `header` and `data` (a
/// DXFENTITYDATA); the result is its ENT_ type, 0 at the end of the block, section or file.
/// Entities of other kinds are passed over. A polyline's vertices are allocated: release
/// them with dxfFreeEntityData.
ZEVCORE_API int dxfReadEntityData(HDXF hDxf, tag_DXFENTITYHEADER* header, void* data);
ZEVCORE_API int dxfReadEntityData_Direct(tag_DXF* dxf, tag_DXFENTITYHEADER* header, void* data);
/// Frees what dxfReadEntityData allocated for this entity (a polyline's vertices).
ZEVCORE_API void dxfFreeEntityData(const tag_DXFENTITYHEADER* header, void* data);

/// Set when the reader meets group 67 with the value 1 (an entity in paper space); stays set
/// until cleared. One flag for the process.
ZEVCORE_API int dxfGetPaperSpace();
ZEVCORE_API void dxfSetPaperSpace(int paperSpace);
/// The reader's progress: bytes consumed and the file's size.
ZEVCORE_API std::size_t dxfGetReadPosition(HDXF hDxf);
ZEVCORE_API std::size_t dxfGetFileSize(HDXF hDxf);

// ---- Beyond the original set: the header's variables, an entity's handle and array, more
// kinds, and header variables written.

/// What a file's HEADER says about its units and its text.
struct tag_DXFHEADERVARS {
    char AcadVer[16] = "";   // $ACADVER: "AC1009" is R12, "AC1015" R2000, "AC1032" R2018
    int InsUnits = 0;        // $INSUNITS: 0 none, 1 in, 2 ft, 4 mm, 5 cm, 6 m, ...
    int Measurement = -1;    // $MEASUREMENT: 0 imperial, 1 metric; -1 absent
    char CodePage[32] = "";  // $DWGCODEPAGE, as "ANSI_1252"
};
/// Reads the variables above to the end of the HEADER section that dxfFindNextSection has
/// just found; other variables are passed over. 0 (nothing read) outside HEADER.
ZEVCORE_API int dxfReadHeaderVars(HDXF hDxf, tag_DXFHEADERVARS* vars);

/// What the last entity dxfReadEntityData answered carried beyond its record.
struct tag_DXFENTITYEXTRA {
    char Handle[32];  // group 5; "" when none
    int Columns;      // an INSERT's array (MINSERT): 70 and 71, 1 when absent
    int Rows;
    double ColumnSpacing;  // 44
    double RowSpacing;     // 45
};
ZEVCORE_API int dxfGetEntityExtra(HDXF hDxf, tag_DXFENTITYEXTRA* extra);

/// With `on`, dxfReadEntityData also answers MTEXT (ENT_MTEXT, data.MText) and HATCH
/// (ENT_HATCH, data.Hatch) instead of passing them over.
ZEVCORE_API int dxfReadMoreKinds(HDXF hDxf, int on);

/// In an open HEADER section: the variable `name` with one integer group.
ZEVCORE_API int dxfHeaderInteger(HDXF hDxf, const char* name, int code, int value);

/// The words of an MTEXT's text into `out` (NUL-terminated, at most `capacity` - 1 bytes, never
/// a character cut in two), its formatting codes stripped: "\P" is a new line, "\~" a space,
/// "{\fArial;Plate}" is "Plate", "\S1^2;" is "1/2". "\U+XXXX" and "%%c" are kept, as in a
/// TEXT, for the caller who knows the file's code page. The length written.
ZEVCORE_API std::size_t dxfMTextPlain(const char* text, char* out, std::size_t capacity);
