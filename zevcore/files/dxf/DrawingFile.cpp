#include <cmath>
#include <cstring>
#include <string>

#include "zevcore/files/dxf/Drawing.h"
#include "zevcore/files/dxf/DrawingStore.hpp"
#include "zevcore/frame/Progress.h"

using namespace Drawing::detail;

namespace {

DWORD countEntities(const tag_DRAWING* d) {
    DWORD n = d->Entities.EntitiesNumber;
    for (DWORD i = 0; i < d->BlockCount; ++i) n += d->Blocks[i].Entities.EntitiesNumber;
    return n;
}

int writeEntity(tag_DRAWING* d, HDXF f, const tag_ENTITYHEADER& h, const DRWENTITYDATA& e) {
    const char* layer = nameOf(d, TAB_LAYER, h.LayerObjhandle);
    dxfSetCurrentLayer(f, *layer ? layer : "0", nameOf(d, TAB_LTYPE, h.LTypeObjhandle));
    dxfSetCurrentColor(f, h.Color);
    switch (h.EntityType) {
        case ENT_LINE: {
            const tag_ENTLINE& l = e.Line;
            return dxfLine(f, l.Point0.x, l.Point0.y, l.Point1.x, l.Point1.y, l.Point0.z,
                           l.Point1.z);
        }
        case ENT_POINT:
            return dxfPoint(f, e.Point.Point0.x, e.Point.Point0.y, e.Point.Point0.z);
        case ENT_CIRCLE:
            return dxfCircle(f, e.Circle.Point0.x, e.Circle.Point0.y, e.Circle.Radius,
                             e.Circle.Point0.z);
        case ENT_ELLIPSE: {
            const tag_ENTELLIPSE& el = e.Ellipse;
            return dxfEllipse(f, el.CenterPoint.x, el.CenterPoint.y, el.MajorAxisEndPoint.x,
                              el.MajorAxisEndPoint.y, el.MinorToMajorRatio, el.StartParam,
                              el.EndParam);
        }
        case ENT_TEXT: {
            const tag_ENTTEXT& t = e.Text;
            return dxfText(f, t.strText, t.Point0.x, t.Point0.y, t.SecondAlignmentPoint.x,
                           t.SecondAlignmentPoint.y, t.Height, t.RotationAngle, t.Justification,
                           t.WidthFactor, nameOf(d, TAB_STYLE, t.TextStyleObjhandle));
        }
        case ENT_ARC: {
            const tag_ENTARC& a = e.Arc;
            return dxfArc(f, a.Point0.x, a.Point0.y, a.Radius, a.StartAngle, a.EndAngle,
                          h.Thickness, a.Point0.z);
        }
        case ENT_SOLID:
            return dxfSolid(f, 4, &e.Solid.Point0);
        case ENT_FACE3D: {
            const tag_REALPOINT corners[4] = {e.Face3D.Point0, e.Face3D.Point1, e.Face3D.Point2,
                                              e.Face3D.Point3};
            return dxf3DFace(f, corners);
        }
        case ENT_INSERT: {
            const tag_ENTINSERT& in = e.Insert;
            const tag_BLOCKHEADER* b = blockByHandle(d, in.BlockHeaderObjhandle);
            return dxfInsertBlock(f, b ? b->Name : nullptr, in.Point0.x, in.Point0.y, in.XScale,
                                  in.YScale, in.RotationAngle);
        }
        case ENT_POLYLINE:
            return dxfPolyLine(f, e.PolyLine.pVertex, static_cast<int>(e.PolyLine.nVertex),
                               e.PolyLine.Flag);
        case ENT_DIMENSION: {
            const tag_ENTDIMENSION& dim = e.Dimension;
            dxfSetCurrentDimStyle(f, nameOf(d, TAB_DIMSTYLE, dim.DimStyleObjhandle));
            for (DWORD i = 0; i < d->DimStyleCount; ++i)
                if (d->DimStyles[i].Objhandle == dim.DimStyleObjhandle)
                    dxfSetCurrentTextStyle(f,
                                           nameOf(d, TAB_STYLE, d->DimStyles[i].DIMTXSTYObjhandle));
            return dxfDimLinear(f, dim.DefPoint1.x, dim.DefPoint1.y, dim.DefPoint2.x,
                                dim.DefPoint2.y, dim.DimLinePoint.x, dim.DimLinePoint.y,
                                dim.DimLineAngle, dim.strText);
        }
        default:
            return 0;
    }
}

int writeList(tag_DRAWING* d, HDXF f, const ENTITIES_DATA& list, DWORD& done, DWORD total) {
    int ok = 1;
    for (DWORD pos = 0; list.hMemory && pos < list.FreePos;) {
        tag_ENTITYHEADER h;
        DRWENTITYDATA e;
        readRecord(d, list, pos, h, &e);
        ok &= writeEntity(d, f, h, e);
        pos = h.NextEntityPos;
        ++done;
        UpdateProgressDialog(total ? static_cast<double>(done) / total : 1.0, nullptr, 0);
    }
    return ok;
}

}  // namespace

int drwSaveDXFFile(HDRAWING h, const char* fileName) {
    if (!live(h) || !fileName) return 0;
    const DWORD total = countEntities(h);
    DWORD done = 0;
    HDXF f = dxfCreateFile(fileName);
    if (!f) return 0;
    int ok = dxfSetScale(f, h->WidthScale, h->HeightScale);
    ok &= dxfSectionBegin(f, SEC_HEADER) & dxfSectionEnd(f);
    ok &= dxfSectionBegin(f, SEC_TABLES);
    ok &= dxfTableTypeBegin(f, TAB_LTYPE);
    for (DWORD i = 0; i < h->LTypeCount; ++i) {
        const tag_LTYPE& s = h->LTypes[i];
        tag_DXFLTYPE t{};
        copyName(t.Name, s.Name);
        copyName(t.DescriptiveText, s.DescriptiveText);
        t.StandardFlags = s.StandardFlags;
        t.ElementsNumber = s.ElementsNumber;
        t.TotalPatternLength = s.TotalPatternLength;
        std::memcpy(t.Elements, s.Elements, sizeof t.Elements);
        ok &= dxfAddLinetype(f, &t);
    }
    ok &= dxfTableTypeEnd(f) & dxfTableTypeBegin(f, TAB_LAYER);
    for (DWORD i = 0; i < h->LayerCount; ++i) {
        const tag_LAYER& l = h->Layers[i];
        ok &= dxfAddLayer(f, l.Name, l.Color, nameOf(h, TAB_LTYPE, l.LineTypeObjhandle));
    }
    ok &= dxfTableTypeEnd(f) & dxfTableTypeBegin(f, TAB_STYLE);
    for (DWORD i = 0; i < h->StyleCount; ++i) {
        const tag_STYLE& s = h->Styles[i];
        tag_DXFSTYLE t{};
        copyName(t.Name, s.Name);
        copyName(t.PrimaryFontFilename, s.PrimaryFontFilename);
        t.StandardFlags = s.StandardFlags;
        t.TextGenerationFlags = s.TextGenerationFlags;
        t.FixedTextHeight = s.FixedTextHeight;
        t.WidthFactor = s.WidthFactor;
        t.Height = s.Height;
        t.ObliqueAngle = s.ObliqueAngle;
        ok &= dxfAddTextStyle(f, &t);
    }
    ok &= dxfTableTypeEnd(f) & dxfTableTypeBegin(f, TAB_DIMSTYLE);
    for (DWORD i = 0; i < h->DimStyleCount; ++i) {
        const tag_DIMSTYLE& s = h->DimStyles[i];
        tag_DXFDIMSTYLE t{};
        copyName(t.Name, s.Name);
        t.StandardFlags = s.StandardFlags;
        t.DIMCLRD = s.DIMCLRD, t.DIMDLE = s.DIMDLE, t.DIMCLRE = s.DIMCLRE;
        t.DIMEXE = s.DIMEXE, t.DIMEXO = s.DIMEXO, t.DIMASZ = s.DIMASZ;
        copyName(t.DIMBLK1, s.DIMBLK1);
        copyName(t.DIMBLK2, s.DIMBLK2);
        copyName(t.DIMTXSTY, nameOf(h, TAB_STYLE, s.DIMTXSTYObjhandle));
        t.DIMTXSTYObjhandle = s.DIMTXSTYObjhandle;
        t.DIMCLRT = s.DIMCLRT, t.DIMTXT = s.DIMTXT, t.DIMTAD = s.DIMTAD, t.DIMGAP = s.DIMGAP;
        ok &= dxfAddDimStyle(f, &t);
    }
    ok &= dxfTableTypeEnd(f) & dxfSectionEnd(f);

    ok &= dxfSectionBegin(f, SEC_BLOCKS);
    for (DWORD i = 0; i < h->BlockCount; ++i) {
        const tag_BLOCKHEADER& b = h->Blocks[i];
        const char* layer = nameOf(h, TAB_LAYER, b.LayerObjhandle);
        ok &= dxfBlockBegin(f, b.Name, *layer ? layer : "0", b.BasePoint.x, b.BasePoint.y, b.Flags);
        ok &= writeList(h, f, b.Entities, done, total);
        ok &= dxfBlockEnd(f);
    }
    ok &= dxfSectionEnd(f) & dxfSectionBegin(f, SEC_ENTITIES);
    ok &= writeList(h, f, h->Entities, done, total);
    ok &= dxfSectionEnd(f);
    ok &= dxfCloseFile(f);
    return ok ? 1 : 0;
}

namespace {

// Converts an entity as read to the database's records and adds it.
void addReadEntity(tag_DRAWING* d, unsigned long block, const tag_DXFENTITYHEADER& fh,
                   DXFENTITYDATA& fe) {
    tag_ENTITYHEADER h{};
    h.EntityType = fh.EntityType;
    h.LayerObjhandle = handleOf(d, TAB_LAYER, fh.LayerName);
    h.LTypeObjhandle = handleOf(d, TAB_LTYPE, fh.LTypeName);
    h.Color = fh.Color;
    h.Thickness = fh.Thickness;
    h.LineTypeScale = fh.LineTypeScale;
    std::memcpy(h.ExtrusionDirection, fh.ExtrusionDirection, sizeof h.ExtrusionDirection);
    DRWENTITYDATA e;
    std::memset(&e, 0, sizeof e);
    switch (fh.EntityType) {
        case ENT_TEXT:
            e.Text = fe.Text.Text;
            e.Text.TextStyleObjhandle = handleOf(d, TAB_STYLE, fe.Text.TextStyleName);
            break;
        case ENT_INSERT: {
            e.Insert = fe.Insert.Insert;
            const tag_BLOCKHEADER* b = blockByName(d, fe.Insert.BlockName);
            e.Insert.BlockHeaderObjhandle = b ? b->Objhandle : 0;
            break;
        }
        case ENT_DIMENSION:
            e.Dimension = fe.Dimension.Dimension;
            e.Dimension.DimStyleObjhandle = handleOf(d, TAB_DIMSTYLE, fe.Dimension.DimStyleName);
            break;
        case ENT_POLYLINE:
            e.PolyLine = fe.PolyLine;
            break;
        default:
            std::memcpy(&e, &fe, drwEntityDataSize(fh.EntityType));
            break;
    }
    drwAddEntity_Direct(d, block, &h, &e);
}

// The database has no MTEXT, HATCH or array insert: an MTEXT comes in as a TEXT for each of
// its lines, a HATCH as a closed polyline for each boundary path, an array insert as an
// INSERT for each of its places.
// A file of a few bytes an array could otherwise fill the memory with inserts: a load places
// at most this many beyond each array's first.
constexpr long kMostArrayPlaces = 10000;

void addOtherEntity(tag_DRAWING* d, HDXF f, unsigned long block, tag_DXFENTITYHEADER& fh,
                    DXFENTITYDATA& fe, long& arrayPlaces) {
    constexpr double kPi = 3.14159265358979323846;
    if (fh.EntityType == ENT_MTEXT) {
        const tag_DXFENTMTEXT m = fe.MText;
        std::string words(sizeof m.strText, '\0');
        words.resize(dxfMTextPlain(m.strText, words.data(), words.size()));
        const double r = m.RotationAngle * kPi / 180;
        // Lines run down from the top of the first, five thirds of the height apart.
        std::size_t from = 0;
        for (int line = 0; from <= words.size() && line < 1000; ++line) {
            std::size_t end = words.find('\n', from);
            if (end == std::string::npos) end = words.size();
            const double down = m.Height * (1.0 + line * 5.0 / 3.0);
            std::memset(&fe.Text, 0, sizeof fe.Text);
            tag_ENTTEXT& t = fe.Text.Text;
            t.Point0 = {m.Point0.x + std::sin(r) * down, m.Point0.y - std::cos(r) * down, 0.0};
            t.Height = m.Height;
            t.RotationAngle = m.RotationAngle;
            copyName(t.strText, words.substr(from, end - from).c_str());
            copyName(fe.Text.TextStyleName, m.TextStyleName);
            fh.EntityType = ENT_TEXT;
            if (end > from) addReadEntity(d, block, fh, fe);
            from = end + 1;
        }
        return;
    }
    if (fh.EntityType == ENT_HATCH) {
        const tag_DXFENTHATCH hatch = fe.Hatch;
        fh.EntityType = ENT_POLYLINE;
        for (DWORD i = 0; i < hatch.nVertex;) {
            DWORD end = i + 1;
            while (end < hatch.nVertex && !(hatch.pVertex[end].Flag & 1)) ++end;
            fe.PolyLine = {hatch.pVertex + i, end - i, 1};
            addReadEntity(d, block, fh, fe);
            i = end;
        }
        fh.EntityType = ENT_HATCH;
        fe.Hatch = hatch;  // released by the caller
        return;
    }
    // An array insert: its spacing runs along the insert's turned axes.
    tag_DXFENTITYEXTRA extra{};
    dxfGetEntityExtra(f, &extra);
    const tag_ENTINSERT in = fe.Insert.Insert;
    const double r = in.RotationAngle * kPi / 180;
    const int columns = extra.Columns < 1 ? 1 : (extra.Columns > 1000 ? 1000 : extra.Columns);
    const int rows = extra.Rows < 1 ? 1 : (extra.Rows > 1000 ? 1000 : extra.Rows);
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column) {
            if ((row || column) && arrayPlaces-- <= 0) return;
            const double dx = column * extra.ColumnSpacing, dy = row * extra.RowSpacing;
            fe.Insert.Insert.Point0.x = in.Point0.x + std::cos(r) * dx - std::sin(r) * dy;
            fe.Insert.Insert.Point0.y = in.Point0.y + std::sin(r) * dx + std::cos(r) * dy;
            addReadEntity(d, block, fh, fe);
        }
}

// Reads the entities of the section or block, into `block` when `keep`.
void readEntities(tag_DRAWING* d, HDXF f, unsigned long block, long& arrayPlaces,
                  bool keep = true) {
    tag_DXFENTITYHEADER fh;
    auto* fe = new DXFENTITYDATA;
    dxfReadMoreKinds(f, 1);
    while (dxfReadEntityData(f, &fh, fe)) {
        tag_DXFENTITYEXTRA extra{};
        dxfGetEntityExtra(f, &extra);
        const bool array = fh.EntityType == ENT_INSERT && (extra.Columns > 1 || extra.Rows > 1);
        if (keep && (fh.EntityType == ENT_MTEXT || fh.EntityType == ENT_HATCH || array))
            addOtherEntity(d, f, block, fh, *fe, arrayPlaces);
        else if (keep)
            addReadEntity(d, block, fh, *fe);
        dxfFreeEntityData(&fh, fe);
        const std::size_t size = dxfGetFileSize(f);
        UpdateProgressDialog(size ? static_cast<double>(dxfGetReadPosition(f)) / size : 1.0,
                             nullptr, 0);
    }
    delete fe;
}

// A table record as read, into the database; false only for a layer whose line type is
// missing, which ends the load.
bool addReadRecord(tag_DRAWING* d, unsigned long type, const DXFTABLERECORD& r) {
    DRWTABLERECORD x;
    std::memset(&x, 0, sizeof x);
    switch (type) {
        case TAB_LTYPE: {
            tag_LTYPE& t = x.LType;
            copyName(t.Name, r.LType.Name);
            copyName(t.DescriptiveText, r.LType.DescriptiveText);
            t.StandardFlags = r.LType.StandardFlags;
            t.ElementsNumber = r.LType.ElementsNumber;
            t.TotalPatternLength = r.LType.TotalPatternLength;
            std::memcpy(t.Elements, r.LType.Elements, sizeof t.Elements);
            break;
        }
        case TAB_LAYER: {
            tag_LAYER& t = x.Layer;
            copyName(t.Name, r.Layer.Name);
            t.StandardFlags = r.Layer.StandardFlags;
            t.Color = static_cast<short>(r.Layer.Color);
            t.LineTypeObjhandle = handleOf(d, TAB_LTYPE, r.Layer.LineType);
            if (t.LineTypeObjhandle == 0) return false;
            break;
        }
        case TAB_STYLE: {
            tag_STYLE& t = x.Style;
            copyName(t.Name, r.Style.Name);
            copyName(t.PrimaryFontFilename, r.Style.PrimaryFontFilename);
            t.StandardFlags = r.Style.StandardFlags;
            t.TextGenerationFlags = r.Style.TextGenerationFlags;
            t.FixedTextHeight = r.Style.FixedTextHeight;
            t.WidthFactor = r.Style.WidthFactor;
            t.Height = r.Style.Height;
            t.ObliqueAngle = r.Style.ObliqueAngle;
            break;
        }
        case TAB_DIMSTYLE: {
            const tag_DXFDIMSTYLE& s = r.DimStyle;
            tag_DIMSTYLE& t = x.DimStyle;
            copyName(t.Name, s.Name);
            t.StandardFlags = s.StandardFlags;
            t.DIMCLRD = s.DIMCLRD, t.DIMDLE = s.DIMDLE, t.DIMCLRE = s.DIMCLRE;
            t.DIMEXE = s.DIMEXE, t.DIMEXO = s.DIMEXO, t.DIMASZ = s.DIMASZ;
            copyName(t.DIMBLK1, s.DIMBLK1);
            copyName(t.DIMBLK2, s.DIMBLK2);
            t.DIMTXSTYObjhandle = s.DIMTXSTY[0] ? handleOf(d, TAB_STYLE, s.DIMTXSTY) : 0;
            t.DIMCLRT = s.DIMCLRT, t.DIMTXT = s.DIMTXT, t.DIMTAD = s.DIMTAD, t.DIMGAP = s.DIMGAP;
            break;
        }
        default:
            return true;
    }
    drwAddTableType_Direct(d, type, &x);
    return true;
}

}  // namespace

int drwLoadDXFFile(HDRAWING h, const char* fileName, unsigned long blockObjhandle) {
    if (!live(h) || !fileName) return 0;
    HDXF f = dxfOpenFile(fileName);
    if (!f) return 0;
    auto* record = new DXFTABLERECORD;
    int ok = 1;
    long arrayPlaces = kMostArrayPlaces;
    while (unsigned long section = dxfFindNextSection(f)) {
        if (section == SEC_TABLES) {
            while (unsigned long type = dxfReadTableType(f, record))
                if (!addReadRecord(h, type, *record)) {
                    ok = 0;
                    break;
                }
            if (!ok) break;
        } else if (section == SEC_BLOCKS) {
            dxfSetPaperSpace(0);
            tag_DXFBLOCKHEADER fb;
            while (dxfFindBlockHeader(f, &fb)) {
                auto* b = new tag_BLOCKHEADER{};
                copyName(b->Name, fb.Name);
                b->Flags = fb.Flags;
                b->BasePoint = fb.BasePoint;
                b->LayerObjhandle = handleOf(h, TAB_LAYER, fb.LayerName);
                const unsigned long added = drwAddBlock(h, b);
                delete b;
                // A block that cannot be added (a name in use, the table full) is read past.
                readEntities(h, f, added, arrayPlaces, added != 0);
            }
        } else if (section == SEC_ENTITIES) {
            readEntities(h, f, blockObjhandle, arrayPlaces);
        }
    }
    delete record;
    dxfCloseFile(f);
    return ok;
}
