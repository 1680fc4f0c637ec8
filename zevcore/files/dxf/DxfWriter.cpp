#include <charconv>
#include <cstdio>
#include <cstring>

#include "zevcore/files/dxf/Dxf.h"
#include "zevcore/files/dxf/DxfHandle.hpp"

using namespace Dxf::detail;

namespace {

void flushOut(tag_DXF* d) {
    if (d->Out.empty()) return;
    if (!d->Failed && std::fwrite(d->Out.data(), 1, d->Out.size(), d->pStream) != d->Out.size())
        d->Failed = true;
    d->Out.clear();
}

void append(tag_DXF* d, const char* text, std::size_t n) {
    if (d->Out.size() + n > tag_DXF::kWriteBuffer) flushOut(d);
    if (n > tag_DXF::kWriteBuffer) {
        if (!d->Failed && std::fwrite(text, 1, n, d->pStream) != n) d->Failed = true;
        return;
    }
    d->Out.insert(d->Out.end(), text, text + n);
}

// The code line and the value's line end around a value already formatted.
int putGroup(tag_DXF* d, int code, const char* value, std::size_t n) {
    char head[16];
    char* end = std::to_chars(head, head + sizeof head - 1, code).ptr;
    *end++ = '\n';
    append(d, head, static_cast<std::size_t>(end - head));
    append(d, value, n);
    append(d, "\n", 1);
    return d->Failed ? 0 : 1;
}

int putInt(tag_DXF* d, int code, int value) {
    char text[16];
    char* end = std::to_chars(text, text + sizeof text, value).ptr;
    return putGroup(d, code, text, static_cast<std::size_t>(end - text));
}

// As "%f" in the C locale: fixed, six decimals, "inf" and "nan" spelled as printf does.
int putReal(tag_DXF* d, int code, double value) {
    char text[400];
    auto result = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 6);
    std::size_t n = result.ec == std::errc() ? static_cast<std::size_t>(result.ptr - text) : 0;
    return putGroup(d, code, text, n);
}

int putStr(tag_DXF* d, int code, const char* value) {
    return putGroup(d, code, value, std::strlen(value));
}

// A name from a caller's fixed array, which need not end within it.
template <std::size_t N>
int putArray(tag_DXF* d, int code, const char (&value)[N]) {
    return putGroup(d, code, value, strnlen(value, N));
}

// The groups every entity opens with.
int entityStart(tag_DXF* d, const char* name) {
    int ok = putStr(d, 0, name) & putStr(d, 8, d->CurrentLayer);
    if (d->CurrentColor >= 1 && d->CurrentColor <= 255) ok &= putInt(d, 62, d->CurrentColor);
    if (d->CurrentLineType[0]) ok &= putStr(d, 6, d->CurrentLineType);
    return ok;
}

}  // namespace

const char* dxfSectionName(unsigned long section) {
    switch (section) {
        case SEC_HEADER:
            return "HEADER";
        case SEC_TABLES:
            return "TABLES";
        case SEC_BLOCKS:
            return "BLOCKS";
        case SEC_ENTITIES:
            return "ENTITIES";
        default:
            return nullptr;
    }
}

HDXF dxfCreateFile(const char* fileName) {
    if (!fileName) return nullptr;
    std::FILE* f = std::fopen(fileName, "w");
    if (!f) return nullptr;
    auto* d = new tag_DXF;
    d->pStream = f;
    d->Write = true;
    d->Out.reserve(tag_DXF::kWriteBuffer);
    return d;
}

int dxfCloseFile(HDXF d) {
    if (!d) return 0;
    int ok = 1;
    if (d->Write) {
        // A file that could not be written is closed whatever its state.
        if (d->CurrentSection != 0 && !d->Failed) return 0;
        if (!d->Failed) putStr(d, 0, "EOF");
        flushOut(d);
        ok = d->Failed ? 0 : 1;
    }
    if (d->pStream && std::fclose(d->pStream) != 0) ok = 0;
    delete d;
    return ok;
}

int dxfSetScale(HDXF d, double widthScale, double heightScale) {
    if (!d) return 0;
    d->WidthScale = widthScale;
    d->HeightScale = heightScale;
    return 1;
}
double dxfGetHeightScale(HDXF d) {
    return d ? d->HeightScale : 0.0;
}
double dxfGetWidthScale(HDXF d) {
    return d ? d->WidthScale : 0.0;
}

int dxfSectionBegin(HDXF d, unsigned long section) {
    const char* name = dxfSectionName(section);
    if (!writing(d) || !name || d->CurrentSection != 0 || (d->WrittenSections & section)) return 0;
    int ok = putStr(d, 0, "SECTION") & putStr(d, 2, name);
    d->CurrentSection = static_cast<DWORD>(section);
    return ok;
}

int dxfSectionEnd(HDXF d) {
    // A block left open would carry its bit into the written sections; it must end first.
    if (!writing(d) || d->CurrentSection == 0 || d->CurrentTable != 0) return 0;
    if (d->CurrentSection == (SEC_BLOCKS | SEC_ENTITIES)) return 0;
    int ok = putStr(d, 0, "ENDSEC");
    d->WrittenSections |= d->CurrentSection;
    d->CurrentSection = 0;
    return ok;
}

unsigned long dxfGetCurrentSection(HDXF d) {
    return d ? d->CurrentSection : 0;
}

int dxfTableTypeBegin(HDXF d, unsigned long table) {
    const char* name = tableName(table);
    if (!writing(d) || !name || d->CurrentSection != SEC_TABLES || d->CurrentTable != 0 ||
        (d->WrittenTables & table))
        return 0;
    int ok = putStr(d, 0, "TABLE") & putStr(d, 2, name);
    d->CurrentTable = static_cast<DWORD>(table);
    return ok;
}

int dxfTableTypeEnd(HDXF d) {
    if (!writing(d) || d->CurrentTable == 0) return 0;
    int ok = putStr(d, 0, "ENDTAB");
    d->WrittenTables |= d->CurrentTable;
    d->CurrentTable = 0;
    return ok;
}

unsigned long dxfGetCurrentTableType(HDXF d) {
    return d ? d->CurrentTable : 0;
}

int dxfAddLayer(HDXF d, const char* name, int color, const char* lineType) {
    if (!writing(d) || !name || !lineType || d->CurrentTable != TAB_LAYER) return 0;
    return putStr(d, 0, "LAYER") & putStr(d, 2, name) & putInt(d, 70, 0) & putInt(d, 62, color) &
           putStr(d, 6, lineType);
}

int dxfAddLinetype(HDXF d, const tag_DXFLTYPE* t) {
    if (!writing(d) || !t || d->CurrentTable != TAB_LTYPE) return 0;
    const DWORD n =
        t->ElementsNumber < DXF_MAX_LTYPE_ELEMENTS ? t->ElementsNumber : DXF_MAX_LTYPE_ELEMENTS;
    int ok = putStr(d, 0, "LTYPE") & putArray(d, 2, t->Name) &
             putInt(d, 70, static_cast<int>(t->StandardFlags)) &
             putArray(d, 3, t->DescriptiveText) & putInt(d, 72, 65) &
             putInt(d, 73, static_cast<int>(n)) & putReal(d, 40, t->TotalPatternLength);
    for (DWORD i = 0; i < n; ++i) ok &= putReal(d, 49, t->Elements[i]);
    return ok;
}

int dxfAddTextStyle(HDXF d, const tag_DXFSTYLE* s) {
    if (!writing(d) || !s || d->CurrentTable != TAB_STYLE) return 0;
    return putStr(d, 0, "STYLE") & putArray(d, 2, s->Name) &
           putArray(d, 3, s->PrimaryFontFilename) &
           putInt(d, 70, static_cast<int>(s->StandardFlags)) &
           putInt(d, 71, static_cast<int>(s->TextGenerationFlags)) &
           putReal(d, 40, s->FixedTextHeight) & putReal(d, 41, s->WidthFactor) &
           putReal(d, 42, s->Height) & putReal(d, 50, s->ObliqueAngle);
}

int dxfAddDimStyle(HDXF d, const tag_DXFDIMSTYLE* s) {
    if (!d || !d->Write || !s) return 0;
    d->DimStyles.push_back(*s);
    tag_DXFDIMSTYLE& kept = d->DimStyles.back();
    kept.Name[sizeof kept.Name - 1] = kept.DIMBLK1[sizeof kept.DIMBLK1 - 1] = '\0';
    kept.DIMBLK2[sizeof kept.DIMBLK2 - 1] = kept.DIMTXSTY[sizeof kept.DIMTXSTY - 1] = '\0';
    d->DimStyleCount = static_cast<DWORD>(d->DimStyles.size());
    return 1;
}

int dxfSetCurrentLayer(HDXF d, const char* layer, const char* lineType) {
    if (!d || !layer) return 0;
    copyName(d->CurrentLayer, layer);
    copyName(d->CurrentLineType, lineType);
    return 1;
}

int dxfSetCurrentLinetype(HDXF d, const char* lineType) {
    if (!d) return 0;
    copyName(d->CurrentLineType, lineType);
    return 1;
}

int dxfSetCurrentTextStyle(HDXF d, const char* style) {
    if (!d) return 0;
    copyName(d->CurrentTextStyle, style);
    return 1;
}

int dxfSetCurrentDimStyle(HDXF d, const char* dimStyle) {
    if (!d || !dimStyle || !findDimStyle(d, dimStyle)) return 0;
    copyName(d->CurrentDimStyle, dimStyle);
    return 1;
}

int dxfSetCurrentColor(HDXF d, int color) {
    if (!d) return 0;
    d->CurrentColor = color;
    return 1;
}

int dxfBlockBegin(HDXF d, const char* name, const char* layer, double x, double y, char flags) {
    if (!writing(d) || !name || !layer || d->CurrentSection != SEC_BLOCKS) return 0;
    int ok = putStr(d, 0, "BLOCK") & putStr(d, 8, layer) & putStr(d, 2, name) &
             putInt(d, 70, static_cast<int>(flags)) & putReal(d, 10, x * d->WidthScale) &
             putReal(d, 20, y * d->HeightScale) & putStr(d, 3, name);
    d->CurrentSection |= SEC_ENTITIES;
    return ok;
}

int dxfBlockEnd(HDXF d) {
    if (!writing(d) || d->CurrentSection != (SEC_BLOCKS | SEC_ENTITIES)) return 0;
    int ok = putStr(d, 0, "ENDBLK");
    d->CurrentSection &= ~SEC_ENTITIES;
    return ok;
}

int dxfGetBlockOpen(HDXF d) {
    return d && d->CurrentSection == (SEC_BLOCKS | SEC_ENTITIES) ? 1 : 0;
}

int dxfInsertBlock(HDXF d, const char* name, double x, double y, double xScale, double yScale,
                   double rotation) {
    if (!entitiesAllowed(d) || !name) return 0;
    return entityStart(d, "INSERT") & putStr(d, 2, name) & putReal(d, 10, x * d->WidthScale) &
           putReal(d, 20, y * d->HeightScale) & putReal(d, 41, xScale) & putReal(d, 42, yScale) &
           putReal(d, 50, rotation);
}

int dxfLine(HDXF d, double x1, double y1, double x2, double y2, double z1, double z2) {
    if (!entitiesAllowed(d)) return 0;
    const double w = d->WidthScale, h = d->HeightScale;
    return entityStart(d, "LINE") & putReal(d, 10, x1 * w) & putReal(d, 20, y1 * h) &
           putReal(d, 30, z1) & putReal(d, 11, x2 * w) & putReal(d, 21, y2 * h) &
           putReal(d, 31, z2);
}

int dxfPoint(HDXF d, double x, double y, double z) {
    if (!entitiesAllowed(d)) return 0;
    return entityStart(d, "POINT") & putReal(d, 10, x * d->WidthScale) &
           putReal(d, 20, y * d->HeightScale) & putReal(d, 30, z);
}

int dxfCircle(HDXF d, double cx, double cy, double radius, double cz) {
    if (!entitiesAllowed(d)) return 0;
    const double h = d->HeightScale;
    return entityStart(d, "CIRCLE") & putReal(d, 10, cx * d->WidthScale) & putReal(d, 20, cy * h) &
           putReal(d, 30, cz * h) & putReal(d, 40, radius * h) & putReal(d, 210, 0.0) &
           putReal(d, 220, 0.0) & putReal(d, 230, 1.0);
}

int dxfEllipse(HDXF d, double cx, double cy, double majorX, double majorY, double ratio,
               double startParam, double endParam) {
    if (!entitiesAllowed(d)) return 0;
    const double w = d->WidthScale, h = d->HeightScale;
    return entityStart(d, "ELLIPSE") & putReal(d, 10, cx * w) & putReal(d, 20, cy * h) &
           putReal(d, 11, majorX * w) & putReal(d, 21, majorY * h) & putReal(d, 40, ratio) &
           putReal(d, 41, startParam) & putReal(d, 42, endParam);
}

int dxfArc(HDXF d, double cx, double cy, double radius, double startAngle, double endAngle,
           double thickness, double cz) {
    if (!entitiesAllowed(d)) return 0;
    const double h = d->HeightScale;
    int ok = entityStart(d, "ARC");
    if (thickness > 0.0) ok &= putReal(d, 39, thickness);
    return ok & putReal(d, 10, cx * d->WidthScale) & putReal(d, 20, cy * h) &
           putReal(d, 30, cz * h) & putReal(d, 40, radius * h) & putReal(d, 50, startAngle) &
           putReal(d, 51, endAngle) & putReal(d, 210, 0.0) & putReal(d, 220, 0.0) &
           putReal(d, 230, 1.0);
}

int dxfText(HDXF d, const char* text, double x1, double y1, double x2, double y2, double height,
            double rotation, DWORD justification, double widthFactor, const char* style) {
    if (!entitiesAllowed(d) || !text) return 0;
    const double w = d->WidthScale, h = d->HeightScale;
    const char* styleName = style && *style ? style : d->CurrentTextStyle;
    int ok = entityStart(d, "TEXT");
    if (*styleName) ok &= putStr(d, 7, styleName);
    ok &= putReal(d, 10, x1 * w) & putReal(d, 20, y1 * h);
    if (justification != 0)
        ok &= putInt(d, 72, static_cast<int>(justification & 0xff)) &
              putInt(d, 73, static_cast<int>((justification >> 8) & 0xff)) &
              putReal(d, 11, x2 * w) & putReal(d, 21, y2 * h);
    ok &= putReal(d, 40, height * h);
    if (widthFactor != 0.0) ok &= putReal(d, 41, widthFactor);
    return ok & putReal(d, 50, rotation) & putStr(d, 1, text);
}

int dxfSolid(HDXF d, int corners, const tag_REALPOINT* p) {
    if (!entitiesAllowed(d) || !p || corners < 3 || corners > 4) return 0;
    const double w = d->WidthScale, h = d->HeightScale;
    int ok = entityStart(d, "SOLID");
    for (int i = 0; i < 4; ++i) {
        const tag_REALPOINT& c = p[i < corners ? i : corners - 1];
        ok &= putReal(d, 10 + i, c.x * w) & putReal(d, 20 + i, c.y * h) & putReal(d, 30 + i, c.z);
    }
    return ok;
}

int dxf3DFace(HDXF d, const tag_REALPOINT* p) {
    if (!entitiesAllowed(d) || !p) return 0;
    const double w = d->WidthScale, h = d->HeightScale;
    int ok = entityStart(d, "3DFACE");
    for (int i = 0; i < 4; ++i)
        ok &= putReal(d, 10 + i, p[i].x * w) & putReal(d, 20 + i, p[i].y * h) &
              putReal(d, 30 + i, p[i].z);
    return ok;
}

int dxfPolyLine(HDXF d, const tag_DXFENTVERTEX* vertices, int count, unsigned flags) {
    if (!entitiesAllowed(d) || count < 0 || (count > 0 && !vertices)) return 0;
    const double w = d->WidthScale, h = d->HeightScale;
    int ok = entityStart(d, "POLYLINE") & putInt(d, 70, static_cast<int>(flags)) &
             putStr(d, 66, " 1") & putStr(d, 10, "0.0") & putStr(d, 20, "0.0");
    for (int i = 0; i < count; ++i)
        ok &= putStr(d, 0, "VERTEX") & putStr(d, 8, d->CurrentLayer) &
              putReal(d, 10, vertices[i].Point.x * w) & putReal(d, 20, vertices[i].Point.y * h);
    return ok & putStr(d, 0, "SEQEND") & putStr(d, 8, "0");
}

int dxfWriteParamInteger(HDXF d, int code, int value) {
    return writing(d) ? putInt(d, code, value) : 0;
}
int dxfWriteParamDouble(HDXF d, int code, double value) {
    return writing(d) ? putReal(d, code, value) : 0;
}
int dxfWriteParamString(HDXF d, int code, const char* value) {
    return writing(d) && value ? putStr(d, code, value) : 0;
}

int dxfHeaderInteger(HDXF d, const char* name, int code, int value) {
    if (!writing(d) || !name || d->CurrentSection != SEC_HEADER) return 0;
    return putStr(d, 9, name) & putInt(d, code, value);
}
