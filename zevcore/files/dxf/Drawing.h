#pragma once

// A drawing held in memory in the shape of a DXF file: four tables of fixed size, up to 256
// blocks, and entity lists of byte-packed records (an 80-byte header followed by its data),
// each list one growing buffer walked by byte position.
//
// Invariants, which drwIsValid checks:
// - every table holds at most its limit (128 layers, line types and text styles, 64
//   dimension styles), every record has a non-zero object number, and no two objects
//   (records, blocks, entities) share one; all are at most LastObjhandle;
// - a layer's line type and a dimension style's text style exist when it was added;
// - in each list the records lie end to end from position 0 to FreePos, each one's
//   NextEntityPos is the position after its data and its data size is that of its type;
//   LastEntityPos is the last record's position and EntitiesNumber counts them;
// - a polyline record's vertex array exists and belongs to the drawing.
//
// Object numbers run from 16 (LastObjhandle starts at 15) and are shared by table records,
// blocks and entities; a failed add uses none. Every function answers 0 (or null) for a
// failure and says nothing more.
//
// The C-style functions work on the handle; CDrawing wraps them with current settings (layer,
// line type, styles, colour, the open block) that its entity makers pass on.

#include <cstddef>

#include "zevcore/Export.h"
#include "zevcore/files/dxf/Dxf.h"
#include "zevcore/platform/Types.h"
#include "zevcore/platform/services/Painter.h"

inline constexpr int DRW_MAX_LAYERS = 128;
inline constexpr int DRW_MAX_LTYPES = 128;
inline constexpr int DRW_MAX_STYLES = 128;
inline constexpr int DRW_MAX_DIMSTYLES = 64;
inline constexpr int DRW_MAX_BLOCKS = 256;

// Search flags of the drwFind functions.
inline constexpr unsigned long FIND_FIRST = 0x0001;
inline constexpr unsigned long FIND_LAST = 0x0002;
inline constexpr unsigned long FIND_NEXT = 0x0004;
inline constexpr unsigned long FIND_BYNAME = 0x0200;
inline constexpr unsigned long FIND_BYHANDLE = 0x0400;

struct tag_LAYER {
    DWORD Objhandle;
    char Name[512];
    DWORD StandardFlags;
    DWORD LineTypeObjhandle;
    short Color;
};

struct tag_LTYPE {
    DWORD Objhandle;
    char Name[512];
    DWORD StandardFlags;
    char DescriptiveText[512];
    DWORD ElementsNumber;
    double TotalPatternLength;
    double Elements[DXF_MAX_LTYPE_ELEMENTS];
};

struct tag_STYLE {
    DWORD Objhandle;
    char Name[512];
    char PrimaryFontFilename[512];
    DWORD StandardFlags;
    DWORD TextGenerationFlags;
    double FixedTextHeight;
    double WidthFactor;
    double Height;
    double ObliqueAngle;
};

/// As tag_DXFDIMSTYLE, with the text style's object number where the file has its name.
struct tag_DIMSTYLE {
    DWORD Objhandle;
    char Name[512];
    DWORD StandardFlags;
    int DIMCLRD;
    double DIMDLE;
    int DIMCLRE;
    double DIMEXE;
    double DIMEXO;
    char DIMBLK1[512];
    char DIMBLK2[512];
    double DIMASZ;
    DWORD DIMTXSTYObjhandle;
    int DIMCLRT;
    double DIMTXT;
    int DIMTAD;
    double DIMGAP;
};

/// Any table record, for finds over all tables.
union DRWTABLERECORD {
    tag_LAYER Layer;
    tag_LTYPE LType;
    tag_STYLE Style;
    tag_DIMSTYLE DimStyle;
};

/// An entity list: one buffer of records, positions in bytes.
struct ENTITIES_DATA {
    unsigned char* hMemory;
    DWORD TotalSize;
    DWORD FreePos;
    DWORD LastEntityPos;
    DWORD CurrentEntityPos;
    DWORD EntitiesNumber;
};

struct tag_ENTITYHEADER {
    WORD EntityType;
    DWORD Objhandle;
    DWORD LayerObjhandle;
    DWORD LTypeObjhandle;  // 0 for none (by layer)
    short Color;           // ACI; 256 by layer
    double Thickness;
    double LineTypeScale;
    double ExtrusionDirection[3];
    int PaperSpace;
    DWORD PreviousEntityPos;
    DWORD NextEntityPos;
};
static_assert(sizeof(tag_ENTITYHEADER) == 80);
static_assert(offsetof(tag_ENTITYHEADER, Thickness) == 24);
static_assert(offsetof(tag_ENTITYHEADER, PaperSpace) == 64);
static_assert(offsetof(tag_ENTITYHEADER, NextEntityPos) == 72);

/// Any entity's data, for finds.
union DRWENTITYDATA {
    tag_ENTLINE Line;
    tag_ENTPOINT Point;
    tag_ENTCIRCLE Circle;
    tag_ENTELLIPSE Ellipse;
    tag_ENTTEXT Text;
    tag_ENTARC Arc;
    tag_ENTSOLID Solid;
    tag_ENT3DFACE Face3D;
    tag_ENTINSERT Insert;
    tag_ENTPOLYLINE PolyLine;
    tag_ENTDIMENSION Dimension;
};

struct tag_BLOCKHEADER {
    DWORD Objhandle;
    char Name[512];
    char Flags;
    tag_REALPOINT BasePoint;
    DWORD LayerObjhandle;
    ENTITIES_DATA Entities;
};

/// Where painting goes: the window's rectangle in device units, the drawing point at its
/// left and bottom edges, the zoom and the device units per drawing unit at zoom 1.
struct tag_VIEW {
    int Viewable;
    int WindowLeft;
    int WindowTop;
    int WindowRight;
    int WindowBottom;
    double ViewLeft;
    double ViewBottom;
    double ZoomLevel;
    double PPU;
};

struct tag_DRAWING {
    tag_LAYER Layers[DRW_MAX_LAYERS];
    tag_LTYPE LTypes[DRW_MAX_LTYPES];
    tag_STYLE Styles[DRW_MAX_STYLES];
    tag_DIMSTYLE DimStyles[DRW_MAX_DIMSTYLES];
    DWORD LayerCount;
    DWORD LTypeCount;
    DWORD StyleCount;
    DWORD DimStyleCount;
    DWORD LayerCursor;
    DWORD LTypeCursor;
    DWORD StyleCursor;
    DWORD DimStyleCursor;
    ENTITIES_DATA Entities;
    tag_BLOCKHEADER Blocks[DRW_MAX_BLOCKS];
    DWORD BlockCount;
    DWORD BlockCursor;
    DWORD LastObjhandle;
    double HeightScale;
    double WidthScale;
    int Initialized;
    tag_VIEW View;
    /// The polylines' vertices, which their 12-byte records name by number from 1.
    tag_ENTVERTEX** VertexArrays;
    DWORD VertexArrayCount;
    DWORD VertexArrayCapacity;
};

using HDRAWING = tag_DRAWING*;

/// The data size of an entity type's record in a list, 0 for a type the database does not
/// hold. A polyline's record is 12 bytes (the number of its vertex array, the count, the
/// flags); finds hand it out as a tag_ENTPOLYLINE with a pointer to the drawing's vertices.
ZEVCORE_API DWORD drwEntityDataSize(unsigned type);

/// A new, empty drawing; null when out of memory.
ZEVCORE_API HDRAWING drwCreate();
/// The record behind the handle (null for null), and the matching release (always 1).
ZEVCORE_API tag_DRAWING* InitilizePDRAWING(HDRAWING hDrawing);
ZEVCORE_API int UnInitilizePDRAWING(HDRAWING hDrawing);
/// Frees the drawing with every list and polyline's vertices.
ZEVCORE_API int drwDestroy(HDRAWING hDrawing);
/// Whether the invariants above hold.
ZEVCORE_API bool drwIsValid(HDRAWING hDrawing);

ZEVCORE_API int drwSetScale(HDRAWING hDrawing, double widthScale, double heightScale);
ZEVCORE_API double drwGetHeightScale(HDRAWING hDrawing);
ZEVCORE_API double drwGetWidthScale(HDRAWING hDrawing);

/// Adds a copy of `record` (a tag_LAYER, tag_LTYPE, tag_STYLE or tag_DIMSTYLE by the table
/// type) with a new object number, which is the answer.
ZEVCORE_API unsigned long drwAddTableType(HDRAWING hDrawing, unsigned long tableType, void* record);
ZEVCORE_API unsigned long drwAddTableType_Direct(tag_DRAWING* drawing, unsigned long tableType,
                                                 void* record);
/// Finds a record by the flags (FIND_...); type 0 walks all tables in the order of their
/// values. The record is copied into `record`; the answer is its object number.
ZEVCORE_API unsigned long drwFindTableType(HDRAWING hDrawing, unsigned long tableType,
                                           unsigned long searchFlags, void* record);
ZEVCORE_API unsigned long drwFindTableType_Direct(tag_DRAWING* drawing, unsigned long tableType,
                                                  unsigned long searchFlags, void* record);
ZEVCORE_API int drwDeleteTableType(HDRAWING hDrawing, unsigned long tableType,
                                   unsigned long objhandle);

/// Adds a block with an empty list; refused beyond 256 blocks and for a name in use.
ZEVCORE_API unsigned long drwAddBlock(HDRAWING hDrawing, tag_BLOCKHEADER* blockHeader);
ZEVCORE_API unsigned long drwFindBlock(HDRAWING hDrawing, unsigned long searchFlags,
                                       tag_BLOCKHEADER* blockHeader);
ZEVCORE_API unsigned long drwFindBlock_Direct(tag_DRAWING* drawing, unsigned long searchFlags,
                                              tag_BLOCKHEADER* blockHeader);
/// Empties the block's list and lowers the count; the block's slot is not closed up, so the
/// last block falls out of reach while the emptied one keeps its name.
ZEVCORE_API int drwDeleteBlock(HDRAWING hDrawing, unsigned long objhandle);
ZEVCORE_API int drwGetBlocksNum(HDRAWING hDrawing);

/// Appends an entity to a block's list (model space for 0). The header gets the new object
/// number and the reader's paper-space flag; a polyline's vertices are copied.
ZEVCORE_API unsigned long drwAddEntity(HDRAWING hDrawing, unsigned long blockObjhandle,
                                       tag_ENTITYHEADER* header, void* data);
ZEVCORE_API unsigned long drwAddEntity_Direct(tag_DRAWING* drawing, unsigned long blockObjhandle,
                                              tag_ENTITYHEADER* header, void* data);
/// Walks a block's list (model space for a null name) by FIND_FIRST, FIND_LAST, FIND_NEXT;
/// copies the header and the data (a DRWENTITYDATA is large enough for any).
ZEVCORE_API unsigned long drwFindEntity(HDRAWING hDrawing, const char* blockName,
                                        tag_ENTITYHEADER* header, void* data,
                                        unsigned long searchFlags);
ZEVCORE_API unsigned long drwFindEntity_Direct(tag_DRAWING* drawing, const char* blockName,
                                               tag_ENTITYHEADER* header, void* data,
                                               unsigned long searchFlags);

/// Writes the drawing as a DXF file; reports progress on report 0.
ZEVCORE_API int drwSaveDXFFile(HDRAWING hDrawing, const char* fileName);
/// Reads a DXF file into the drawing: its tables and blocks, and its entities into the block
/// `blockObjhandle` (model space for 0). A layer whose line type is missing stops the load.
ZEVCORE_API int drwLoadDXFFile(HDRAWING hDrawing, const char* fileName,
                               unsigned long blockObjhandle = 0);

ZEVCORE_API int drwInitView(HDRAWING hDrawing, int x, int y, int width, int height);
ZEVCORE_API int drwGetViewProperties(HDRAWING hDrawing, tag_VIEW* view);
ZEVCORE_API int drwSetViewProperties(HDRAWING hDrawing, const tag_VIEW* view);
ZEVCORE_API double drwGetZoomLevel(HDRAWING hDrawing);
/// Zooms about the centre of the view's rectangle; refused for a zoom that is not above 0.
ZEVCORE_API int drwSetZoomLevel(HDRAWING hDrawing, double zoomLevel);
/// Paints model space into the view's rectangle of `dc` through ZEVPainter(): white
/// background, clipped, outlines only.
ZEVCORE_API int drwPaint(HDRAWING hDrawing, HDC dc);

/// The ACI colour's RGB value (7 and by-block paint black on the white background).
ZEVCORE_API COLORREF drwColorOf(int aci);

class ZEVCORE_API CDrawing {
public:
    CDrawing();
    ~CDrawing();
    CDrawing(const CDrawing&) = delete;
    CDrawing& operator=(const CDrawing&) = delete;

    bool Create();
    bool Destroy();
    bool isOpen() const { return m_hDrawing != nullptr; }
    HDRAWING Handle() const { return m_hDrawing; }

    unsigned long AddLayer(tag_LAYER* layer) {
        return drwAddTableType(m_hDrawing, TAB_LAYER, layer);
    }
    unsigned long AddLinetype(tag_LTYPE* lineType) {
        return drwAddTableType(m_hDrawing, TAB_LTYPE, lineType);
    }
    unsigned long AddTextStyle(tag_STYLE* style) {
        return drwAddTableType(m_hDrawing, TAB_STYLE, style);
    }
    unsigned long AddDimStyle(tag_DIMSTYLE* style) {
        return drwAddTableType(m_hDrawing, TAB_DIMSTYLE, style);
    }
    bool DeleteLayer(unsigned long objhandle) {
        return drwDeleteTableType(m_hDrawing, TAB_LAYER, objhandle) != 0;
    }
    bool DeleteLinetype(unsigned long objhandle) {
        return drwDeleteTableType(m_hDrawing, TAB_LTYPE, objhandle) != 0;
    }
    bool DeleteTextStyle(unsigned long objhandle) {
        return drwDeleteTableType(m_hDrawing, TAB_STYLE, objhandle) != 0;
    }
    bool DeleteDimStyle(unsigned long objhandle) {
        return drwDeleteTableType(m_hDrawing, TAB_DIMSTYLE, objhandle) != 0;
    }
    unsigned long FindLayer(unsigned long searchFlags, tag_LAYER* layer) {
        return drwFindTableType(m_hDrawing, TAB_LAYER, searchFlags, layer);
    }
    unsigned long FindLinetype(unsigned long searchFlags, tag_LTYPE* lineType) {
        return drwFindTableType(m_hDrawing, TAB_LTYPE, searchFlags, lineType);
    }
    unsigned long FindTextStyle(unsigned long searchFlags, tag_STYLE* style) {
        return drwFindTableType(m_hDrawing, TAB_STYLE, searchFlags, style);
    }
    unsigned long FindDimStyle(unsigned long searchFlags, tag_DIMSTYLE* style) {
        return drwFindTableType(m_hDrawing, TAB_DIMSTYLE, searchFlags, style);
    }

    /// Adds a block, and reads the DXF file into it when a name is given (the block stays
    /// when the file cannot be read; the answer is then 0).
    unsigned long AddBlock(tag_BLOCKHEADER* blockHeader, const char* fileName = nullptr);
    bool DeleteBlock(unsigned long objhandle) { return drwDeleteBlock(m_hDrawing, objhandle) != 0; }
    unsigned long FindBlock(unsigned long searchFlags, tag_BLOCKHEADER* blockHeader) {
        return drwFindBlock(m_hDrawing, searchFlags, blockHeader);
    }
    /// The block that the entity makers fill: null selects model space; an unknown name
    /// changes nothing and answers false.
    bool SetActiveBlock(const char* name);
    unsigned long ActiveBlock() const { return m_ActiveBlock; }

    /// The current layer; the line type goes back to by-layer. False for an unknown name.
    bool SetLayer(const char* name);
    /// The current line type; null means none (by layer). False for an unknown name.
    bool SetLineType(const char* name);
    bool SetTextStyle(const char* name);
    bool SetDimStyle(const char* name);
    bool SetColor(short color);
    bool SetThickness(double thickness);

    bool SetScale(double widthScale, double heightScale) {
        return drwSetScale(m_hDrawing, widthScale, heightScale) != 0;
    }
    double GetHeightScale() const { return drwGetHeightScale(m_hDrawing); }
    double GetWidthScale() const { return drwGetWidthScale(m_hDrawing); }

    bool InitView(int x, int y, int width, int height) {
        return drwInitView(m_hDrawing, x, y, width, height) != 0;
    }
    bool SetViewProperties(const tag_VIEW* view) {
        return drwSetViewProperties(m_hDrawing, view) != 0;
    }
    bool GetViewProperties(tag_VIEW* view) const {
        return drwGetViewProperties(m_hDrawing, view) != 0;
    }
    bool SetZoomLevel(double zoomLevel) { return drwSetZoomLevel(m_hDrawing, zoomLevel) != 0; }
    double GetZoomLevel() const { return drwGetZoomLevel(m_hDrawing); }
    bool Paint(HDC dc) { return drwPaint(m_hDrawing, dc) != 0; }

    bool SaveDXFFile(const char* fileName) { return drwSaveDXFFile(m_hDrawing, fileName) != 0; }
    bool LoadDXFFile(const char* fileName) { return drwLoadDXFFile(m_hDrawing, fileName) != 0; }

    unsigned long AddEntity(unsigned long blockObjhandle, tag_ENTITYHEADER* header, void* data) {
        return drwAddEntity(m_hDrawing, blockObjhandle, header, data);
    }

    // Entity makers: each answers the new entity's object number, 0 on failure.
    unsigned long Line(double x1, double y1, double x2, double y2);
    unsigned long Point(double x, double y);
    unsigned long Circle(double cx, double cy, double radius);
    unsigned long Arc(double cx, double cy, double radius, double startAngle, double endAngle);
    unsigned long Text(const char* text, double x, double y, double height);
    unsigned long Text(const char* text, double x1, double y1, double x2, double y2, double height,
                       double rotation, DWORD justification, double widthFactor);
    unsigned long Solid(const tag_REALPOINT& p0, const tag_REALPOINT& p1, const tag_REALPOINT& p2,
                        const tag_REALPOINT& p3);
    unsigned long Face3D(const tag_REALPOINT& p0, const tag_REALPOINT& p1, const tag_REALPOINT& p2,
                         const tag_REALPOINT& p3);
    unsigned long InsertBlock(const char* blockName, double x, double y, double xScale = 1.0,
                              double yScale = 1.0, double rotation = 0.0);
    unsigned long PolyLine(const tag_ENTVERTEX* vertices, int count, unsigned flags = 0);
    unsigned long DimLinear(double x1, double y1, double x2, double y2, double x3, double y3,
                            double angle, const char* text);

private:
    unsigned long make(WORD type, void* data);
    void syncTemplate();

    HDRAWING m_hDrawing = nullptr;
    DWORD LayerObjhandle = 0;
    DWORD LTypeObjhandle = 0;
    DWORD StyleObjhandle = 0;
    DWORD DimStyleObjhandle = 0;
    short Color = 256;
    double Thickness = 0.0;
    DWORD m_ActiveBlock = 0;
    tag_ENTITYHEADER m_EntityHeader{};
};
