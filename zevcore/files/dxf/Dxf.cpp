#include "zevcore/files/dxf/Dxf.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "zevcore/platform/Locale.h"

// One record for both directions; `Write` tells which. The write side buffers its text and
// hands it to the stream in large pieces, so that a drawing of a million lines costs little
// more than formatting the numbers.
struct tag_DXF {
    DWORD Size = sizeof(tag_DXF);
    std::FILE* pStream = nullptr;
    char CurrentLayer[32] = "0";
    char CurrentLineType[32] = "";
    char CurrentTextStyle[32] = "";
    char CurrentDimStyle[32] = "ClosedFilled";
    int CurrentColor = 256;
    double HeightScale = 1.0;
    double WidthScale = 1.0;
    DWORD WrittenSections = 0;
    DWORD CurrentSection = 0;
    DWORD WrittenTables = 0;
    DWORD CurrentTable = 0;
    DWORD DimStyleCount = 0;
    bool Write = false;
    bool Failed = false;
    std::vector<tag_DXFDIMSTYLE> DimStyles;

    // Writing: the text not yet handed to the stream.
    static constexpr std::size_t kWriteBuffer = 1 << 16;
    std::vector<char> Out;

    // Reading.
    static constexpr std::size_t kReadBuffer = 32768;
    std::size_t FileSize = 0;
    unsigned long ReadSection = 0;
    unsigned long ReadTable = 0;
    int BlockOpen = 0;
    std::vector<char> Buffer;     // the bytes of the file from BufferStart on
    std::size_t BufferStart = 0;  // file position of Buffer[0]
    std::size_t BufferLength = 0;
    std::size_t BufferPos = 0;   // the reader's position within Buffer
    std::size_t GroupStart = 0;  // file position of the group last read, to put it back
    int Code = 0;
    std::size_t ValueLength = 0;
    char Value[4096] = "";
};

namespace {

int g_paperSpace = 0;

// ---------------------------------------------------------------------------------------
// Writing

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

void copyName(char* to, std::size_t capacity, const char* from) {
    std::size_t n = from ? std::strlen(from) : 0;
    if (n >= capacity) n = capacity - 1;
    if (n) std::memcpy(to, from, n);
    to[n] = '\0';
}

template <std::size_t N>
void copyName(char (&to)[N], const char* from) {
    copyName(to, N, from);
}

bool writing(const tag_DXF* d) {
    return d && d->Write && !d->Failed;
}
bool entitiesAllowed(const tag_DXF* d) {
    return writing(d) && (d->CurrentSection & SEC_ENTITIES);
}

const char* tableName(unsigned long table) {
    switch (table) {
        case TAB_DIMSTYLE:
            return "DIMSTYLE";
        case TAB_LAYER:
            return "LAYER";
        case TAB_LTYPE:
            return "LTYPE";
        case TAB_STYLE:
            return "STYLE";
        default:
            return nullptr;
    }
}

// The groups every entity opens with.
int entityStart(tag_DXF* d, const char* name) {
    int ok = putStr(d, 0, name) & putStr(d, 8, d->CurrentLayer);
    if (d->CurrentColor >= 1 && d->CurrentColor <= 255) ok &= putInt(d, 62, d->CurrentColor);
    if (d->CurrentLineType[0]) ok &= putStr(d, 6, d->CurrentLineType);
    return ok;
}

const tag_DXFDIMSTYLE* findDimStyle(const tag_DXF* d, const char* name) {
    for (const tag_DXFDIMSTYLE& s : d->DimStyles)
        if (std::strcmp(s.Name, name) == 0) return &s;
    return nullptr;
}

// ---------------------------------------------------------------------------------------
// Reading

bool refill(tag_DXF* d) {
    d->BufferStart += d->BufferLength;
    d->BufferPos = 0;
    d->BufferLength = std::fread(d->Buffer.data(), 1, d->Buffer.size(), d->pStream);
    return d->BufferLength > 0;
}

std::size_t readPosition(const tag_DXF* d) {
    return d->BufferStart + d->BufferPos;
}

void seekTo(tag_DXF* d, std::size_t position) {
    if (position >= d->BufferStart && position <= d->BufferStart + d->BufferLength) {
        d->BufferPos = position - d->BufferStart;
        return;
    }
    if (std::fseek(d->pStream, static_cast<long>(position), SEEK_SET) != 0) return;
    d->BufferStart = position;
    d->BufferPos = 0;
    d->BufferLength = std::fread(d->Buffer.data(), 1, d->Buffer.size(), d->pStream);
}

// One line into `out` (NUL-terminated, cut at `capacity` - 1 bytes; the rest of a long line
// is passed over so that lines stay paired). A line ends at "\n", "\r" or "\r\n". False at
// the end of the file with nothing read.
bool readLine(tag_DXF* d, char* out, std::size_t capacity, std::size_t& length) {
    length = 0;
    bool any = false;
    for (;;) {
        if (d->BufferPos >= d->BufferLength && !refill(d)) {
            out[length] = '\0';
            return any;
        }
        any = true;
        const char* start = d->Buffer.data() + d->BufferPos;
        const char* end = d->Buffer.data() + d->BufferLength;
        const char* p = start;
        while (p < end && *p != '\n' && *p != '\r') ++p;
        std::size_t n = static_cast<std::size_t>(p - start);
        std::size_t room = capacity - 1 - length;
        std::size_t take = n < room ? n : room;
        std::memcpy(out + length, start, take);
        length += take;
        d->BufferPos += n;
        if (p == end) continue;
        ++d->BufferPos;
        if (*p == '\r') {
            if (d->BufferPos >= d->BufferLength) refill(d);
            if (d->BufferPos < d->BufferLength && d->Buffer[d->BufferPos] == '\n') ++d->BufferPos;
        }
        out[length] = '\0';
        return true;
    }
}

// atoi in the C locale, with out-of-range values held at the ends of int.
int parseInt(const char* s) {
    while (*s == ' ' || *s == '\t' || *s == '\v' || *s == '\f') ++s;
    bool negative = *s == '-';
    if (*s == '-' || *s == '+') ++s;
    long long value = 0;
    for (; *s >= '0' && *s <= '9'; ++s) {
        value = value * 10 + (*s - '0');
        if (value > 2147483648LL) value = 2147483648LL;
    }
    if (negative) value = -value;
    if (value > 2147483647LL) value = 2147483647LL;
    return static_cast<int>(value);
}

// atof in the C locale.
double parseReal(const char* s) {
    while (*s == ' ' || *s == '\t' || *s == '\v' || *s == '\f') ++s;
    const char* begin = *s == '+' ? s + 1 : s;
    double value = 0.0;
    auto result = std::from_chars(begin, begin + std::strlen(begin), value);
    if (result.ec == std::errc()) return value;
    if (result.ec == std::errc::result_out_of_range) return ZEVStrtod(s, nullptr);
    return 0.0;
}

// Reads the next group into Code and Value; false at the end of the file (a code without its
// value line is an end too).
bool readGroup(tag_DXF* d) {
    d->GroupStart = readPosition(d);
    char codeLine[64];
    std::size_t n = 0;
    if (!readLine(d, codeLine, sizeof codeLine, n)) return false;
    d->Code = parseInt(codeLine);
    if (!readLine(d, d->Value, sizeof d->Value, d->ValueLength)) return false;
    if (d->Code == 67 && parseInt(d->Value) == 1) g_paperSpace = 1;
    return true;
}

void putBack(tag_DXF* d) {
    seekTo(d, d->GroupStart);
}

// Whether the value is `word`, blanks round it aside.
bool valueIs(const tag_DXF* d, std::string_view word) {
    std::string_view v(d->Value, d->ValueLength);
    while (!v.empty() && (v.front() == ' ' || v.front() == '\t')) v.remove_prefix(1);
    while (!v.empty() && (v.back() == ' ' || v.back() == '\t')) v.remove_suffix(1);
    return v == word;
}

bool isZero(const tag_DXF* d, std::string_view word) {
    return d->Code == 0 && valueIs(d, word);
}

// Passes over groups up to the next code 0, which is put back.
void skipToNextZero(tag_DXF* d) {
    while (readGroup(d))
        if (d->Code == 0) {
            putBack(d);
            return;
        }
}

bool reading(const tag_DXF* d) {
    return d && !d->Write && d->pStream;
}

// After a table record: the end of the table, and then of the section, close what is open.
void afterTableRecord(tag_DXF* d) {
    if (!readGroup(d)) return;
    if (!isZero(d, "ENDTAB")) {
        putBack(d);
        return;
    }
    d->ReadTable = 0;
    if (!readGroup(d)) return;
    if (isZero(d, "ENDSEC")) {
        d->ReadSection = 0;
        return;
    }
    putBack(d);
}

// After an entity: the end of the block, and then of the section, close what is open.
void afterEntity(tag_DXF* d) {
    if (!readGroup(d)) return;
    if (isZero(d, "ENDSEC")) {
        d->ReadSection = 0;
        d->BlockOpen = 0;
        return;
    }
    if (!isZero(d, "ENDBLK")) {
        putBack(d);
        return;
    }
    d->BlockOpen = 0;
    skipToNextZero(d);
    if (!readGroup(d)) return;
    if (isZero(d, "ENDSEC")) {
        d->ReadSection = 0;
        return;
    }
    putBack(d);
}

unsigned long tableOfName(const tag_DXF* d) {
    if (valueIs(d, "LTYPE")) return TAB_LTYPE;
    if (valueIs(d, "LAYER")) return TAB_LAYER;
    if (valueIs(d, "STYLE")) return TAB_STYLE;
    if (valueIs(d, "DIMSTYLE")) return TAB_DIMSTYLE;
    return TAB_NOTSET;
}

unsigned long hexValue(const char* s) {
    unsigned long v = 0;
    while (*s == ' ') ++s;
    for (int i = 0; i < 16 && *s; ++i, ++s) {
        int digit = (*s >= '0' && *s <= '9')   ? *s - '0'
                    : (*s >= 'a' && *s <= 'f') ? *s - 'a' + 10
                    : (*s >= 'A' && *s <= 'F') ? *s - 'A' + 10
                                               : -1;
        if (digit < 0) break;
        v = (v << 4) | static_cast<unsigned long>(digit);
    }
    return v;
}

void readTableRecord(tag_DXF* d, unsigned long table, void* record) {
    auto* r = static_cast<DXFTABLERECORD*>(record);
    switch (table) {
        case TAB_LTYPE:
            std::memset(&r->LType, 0, sizeof r->LType);
            break;
        case TAB_LAYER:
            std::memset(&r->Layer, 0, sizeof r->Layer);
            break;
        case TAB_STYLE:
            std::memset(&r->Style, 0, sizeof r->Style);
            break;
        default:
            std::memset(&r->DimStyle, 0, sizeof r->DimStyle);
            break;
    }
    DWORD elements = 0;
    while (readGroup(d)) {
        const int c = d->Code;
        const char* v = d->Value;
        if (c == 0) {
            putBack(d);
            break;
        }
        if (table == TAB_LTYPE) {
            tag_DXFLTYPE& t = r->LType;
            if (c == 2)
                copyName(t.Name, v);
            else if (c == 3)
                copyName(t.DescriptiveText, v);
            else if (c == 40)
                t.TotalPatternLength = parseReal(v);
            else if (c == 49 && elements < DXF_MAX_LTYPE_ELEMENTS)
                t.Elements[elements++] = parseReal(v);
            else if (c == 70)
                t.StandardFlags = static_cast<DWORD>(parseInt(v));
            else if (c == 73) {
                int count = parseInt(v);
                t.ElementsNumber = static_cast<DWORD>(
                    count < 0 ? 0
                              : (count > DXF_MAX_LTYPE_ELEMENTS ? DXF_MAX_LTYPE_ELEMENTS : count));
            }
        } else if (table == TAB_LAYER) {
            tag_DXFLAYER& t = r->Layer;
            if (c == 2)
                copyName(t.Name, v);
            else if (c == 6)
                copyName(t.LineType, v);
            else if (c == 62)
                t.Color = parseInt(v);
            else if (c == 70)
                t.StandardFlags = static_cast<DWORD>(parseInt(v));
        } else if (table == TAB_STYLE) {
            tag_DXFSTYLE& t = r->Style;
            if (c == 2)
                copyName(t.Name, v);
            else if (c == 3)
                copyName(t.PrimaryFontFilename, v);
            else if (c == 40)
                t.FixedTextHeight = parseReal(v);
            else if (c == 41)
                t.WidthFactor = parseReal(v);
            else if (c == 42)
                t.Height = parseReal(v);
            else if (c == 50)
                t.ObliqueAngle = parseReal(v);
            else if (c == 70)
                t.StandardFlags = static_cast<DWORD>(parseInt(v));
            else if (c == 71)
                t.TextGenerationFlags = static_cast<DWORD>(parseInt(v));
        } else {
            tag_DXFDIMSTYLE& t = r->DimStyle;
            switch (c) {
                case 2:
                    copyName(t.Name, v);
                    break;
                case 70:
                    t.StandardFlags = static_cast<DWORD>(parseInt(v));
                    break;
                case 176:
                    t.DIMCLRD = parseInt(v);
                    break;
                case 46:
                    t.DIMDLE = parseReal(v);
                    break;
                case 177:
                    t.DIMCLRE = parseInt(v);
                    break;
                case 44:
                    t.DIMEXE = parseReal(v);
                    break;
                case 42:
                    t.DIMEXO = parseReal(v);
                    break;
                case 6:
                    copyName(t.DIMBLK1, v);
                    break;
                case 7:
                    copyName(t.DIMBLK2, v);
                    break;
                case 41:
                    t.DIMASZ = parseReal(v);
                    break;
                case 340:
                    t.DIMTXSTYObjhandle = static_cast<DWORD>(hexValue(v));
                    break;
                case 178:
                    t.DIMCLRT = parseInt(v);
                    break;
                case 140:
                    t.DIMTXT = parseReal(v);
                    break;
                case 77:
                    t.DIMTAD = parseInt(v);
                    break;
                case 147:
                    t.DIMGAP = parseReal(v);
                    break;
                default:
                    break;
            }
        }
    }
    if (table == TAB_LTYPE && r->LType.ElementsNumber > elements)
        r->LType.ElementsNumber = elements;
}

// The groups common to every entity; false for a group the entity must read itself.
bool commonGroup(tag_DXF* d, tag_DXFENTITYHEADER* h) {
    switch (d->Code) {
        case 6:
            copyName(h->LTypeName, d->Value);
            return true;
        case 8:
            copyName(h->LayerName, d->Value);
            return true;
        case 39:
            h->Thickness = parseReal(d->Value);
            return true;
        case 48:
            h->LineTypeScale = parseReal(d->Value);
            return true;
        case 62:
            h->Color = static_cast<short>(parseInt(d->Value));
            return true;
        case 210:
            h->ExtrusionDirection[0] = parseReal(d->Value);
            return true;
        case 220:
            h->ExtrusionDirection[1] = parseReal(d->Value);
            return true;
        case 230:
            h->ExtrusionDirection[2] = parseReal(d->Value);
            return true;
        default:
            return false;
    }
}

// Coordinates of groups 10-13 (x), 20-23 (y) and 30-33 (z) into up to four points.
bool pointGroup(int code, const char* value, std::initializer_list<tag_REALPOINT*> points) {
    const int axis = code / 10 - 1, index = code % 10;
    if (code < 10 || code > 39 || index >= static_cast<int>(points.size())) return false;
    tag_REALPOINT& p = *points.begin()[index];
    (axis == 0 ? p.x : axis == 1 ? p.y : p.z) = parseReal(value);
    return true;
}

// Reads an entity's groups up to the next code 0 (put back), the entity's own through `own`.
template <class Own>
void readEntityGroups(tag_DXF* d, tag_DXFENTITYHEADER* h, Own own) {
    while (readGroup(d)) {
        if (d->Code == 0) {
            putBack(d);
            return;
        }
        if (!commonGroup(d, h)) own(d->Code, d->Value);
    }
}

// A growing vertex array made with malloc, so dxfFreeEntityData can free it.
struct VertexList {
    tag_ENTVERTEX* items = nullptr;
    DWORD count = 0;
    DWORD capacity = 0;
    tag_ENTVERTEX* add() {
        if (count == capacity) {
            DWORD grown = capacity ? capacity * 2 : 16;
            void* more = std::realloc(items, grown * sizeof(tag_ENTVERTEX));
            if (!more) return nullptr;
            items = static_cast<tag_ENTVERTEX*>(more);
            capacity = grown;
        }
        tag_ENTVERTEX* v = &items[count++];
        std::memset(v, 0, sizeof *v);
        return v;
    }
};

void readPolyline(tag_DXF* d, tag_DXFENTITYHEADER* h, tag_ENTPOLYLINE* p) {
    readEntityGroups(d, h, [&](int code, const char* v) {
        if (code == 70) p->Flag = static_cast<DWORD>(parseInt(v));
    });
    VertexList list;
    while (readGroup(d)) {
        if (isZero(d, "VERTEX")) {
            tag_ENTVERTEX* vertex = list.add();
            tag_DXFENTITYHEADER ignored{};
            readEntityGroups(d, &ignored, [&](int code, const char* v) {
                if (!vertex) return;
                if (code == 10)
                    vertex->Point.x = parseReal(v);
                else if (code == 20)
                    vertex->Point.y = parseReal(v);
                else if (code == 30)
                    vertex->Point.z = parseReal(v);
                else if (code == 40)
                    vertex->StartWidth = parseReal(v);
                else if (code == 41)
                    vertex->EndWidth = parseReal(v);
                else if (code == 42)
                    vertex->Bulge = parseReal(v);
                else if (code == 50)
                    vertex->TangentDirection = parseReal(v);
                else if (code == 70)
                    vertex->Flag = static_cast<DWORD>(parseInt(v));
            });
            continue;
        }
        if (isZero(d, "SEQEND"))
            skipToNextZero(d);
        else
            putBack(d);
        break;
    }
    p->pVertex = list.items;
    p->nVertex = list.count;
}

void readLwPolyline(tag_DXF* d, tag_DXFENTITYHEADER* h, tag_ENTPOLYLINE* p) {
    VertexList list;
    tag_ENTVERTEX* last = nullptr;
    double elevation = 0.0;
    readEntityGroups(d, h, [&](int code, const char* v) {
        switch (code) {
            case 10:
                last = list.add();
                if (last) last->Point.x = parseReal(v);
                break;
            case 20:
                if (last) last->Point.y = parseReal(v);
                break;
            case 38:
                elevation = parseReal(v);
                break;
            case 40:
                if (last) last->StartWidth = parseReal(v);
                break;
            case 41:
                if (last) last->EndWidth = parseReal(v);
                break;
            case 42:
                if (last) last->Bulge = parseReal(v);
                break;
            case 70:
                p->Flag = static_cast<DWORD>(parseInt(v));
                break;
            default:
                break;
        }
    });
    for (DWORD i = 0; i < list.count; ++i) list.items[i].Point.z = elevation;
    p->pVertex = list.items;
    p->nVertex = list.count;
}

struct EntityKind {
    const char* name;
    WORD type;
};
constexpr EntityKind kEntityKinds[] = {
    {"LINE", ENT_LINE},           {"POINT", ENT_POINT},   {"CIRCLE", ENT_CIRCLE},
    {"ELLIPSE", ENT_ELLIPSE},     {"TEXT", ENT_TEXT},     {"ARC", ENT_ARC},
    {"SOLID", ENT_SOLID},         {"INSERT", ENT_INSERT}, {"POLYLINE", ENT_POLYLINE},
    {"LWPOLYLINE", ENT_POLYLINE}, {"3DFACE", ENT_FACE3D}, {"DIMENSION", ENT_DIMENSION},
};

// Reads the entity whose opening group was just read.
void readEntity(tag_DXF* d, WORD type, bool lightweight, tag_DXFENTITYHEADER* h, void* data) {
    auto* e = static_cast<DXFENTITYDATA*>(data);
    switch (type) {
        case ENT_LINE: {
            tag_ENTLINE& l = e->Line;
            std::memset(&l, 0, sizeof l);
            readEntityGroups(d, h, [&](int c, const char* v) {
                pointGroup(c, v, {&l.Point0, &l.Point1});
            });
            break;
        }
        case ENT_POINT:
            std::memset(&e->Point, 0, sizeof e->Point);
            readEntityGroups(d, h,
                             [&](int c, const char* v) { pointGroup(c, v, {&e->Point.Point0}); });
            break;
        case ENT_CIRCLE: {
            tag_ENTCIRCLE& circle = e->Circle;
            std::memset(&circle, 0, sizeof circle);
            readEntityGroups(d, h, [&](int c, const char* v) {
                if (!pointGroup(c, v, {&circle.Point0}) && c == 40) circle.Radius = parseReal(v);
            });
            break;
        }
        case ENT_ARC: {
            tag_ENTARC& a = e->Arc;
            std::memset(&a, 0, sizeof a);
            readEntityGroups(d, h, [&](int c, const char* v) {
                if (pointGroup(c, v, {&a.Point0})) return;
                if (c == 40)
                    a.Radius = parseReal(v);
                else if (c == 50)
                    a.StartAngle = parseReal(v);
                else if (c == 51)
                    a.EndAngle = parseReal(v);
            });
            break;
        }
        case ENT_ELLIPSE: {
            tag_ENTELLIPSE& el = e->Ellipse;
            std::memset(&el, 0, sizeof el);
            readEntityGroups(d, h, [&](int c, const char* v) {
                if (c == 10 || c == 20 || c == 30)
                    pointGroup(c, v, {&el.CenterPoint});
                else if (c == 11 || c == 21 || c == 31)
                    pointGroup(c - 1, v, {&el.MajorAxisEndPoint});
                else if (c == 40)
                    el.MinorToMajorRatio = parseReal(v);
                else if (c == 41)
                    el.StartParam = parseReal(v);
                else if (c == 42)
                    el.EndParam = parseReal(v);
            });
            break;
        }
        case ENT_TEXT: {
            tag_DXFENTTEXT& t = e->Text;
            std::memset(&t, 0, sizeof t);
            readEntityGroups(d, h, [&](int c, const char* v) {
                tag_ENTTEXT& x = t.Text;
                if (c == 10 || c == 20 || c == 30)
                    pointGroup(c, v, {&x.Point0});
                else if (c == 11 || c == 21 || c == 31)
                    pointGroup(c - 1, v, {&x.SecondAlignmentPoint});
                else if (c == 1)
                    copyName(x.strText, v);
                else if (c == 7)
                    copyName(t.TextStyleName, v);
                else if (c == 40)
                    x.Height = parseReal(v);
                else if (c == 41)
                    x.WidthFactor = parseReal(v);
                else if (c == 50)
                    x.RotationAngle = parseReal(v);
                else if (c == 51)
                    x.Oblique = parseReal(v);
                else if (c == 72)
                    x.Justification =
                        (x.Justification & ~0xffu) | (static_cast<DWORD>(parseInt(v)) & 0xffu);
                else if (c == 73)
                    x.Justification = (x.Justification & ~0xff00u) |
                                      ((static_cast<DWORD>(parseInt(v)) & 0xffu) << 8);
            });
            break;
        }
        case ENT_SOLID:
        case ENT_FACE3D:
            std::memset(&e->Solid, 0, sizeof e->Solid);
            readEntityGroups(d, h, [&](int c, const char* v) {
                pointGroup(
                    c, v, {&e->Solid.Point0, &e->Solid.Point1, &e->Solid.Point2, &e->Solid.Point3});
            });
            break;
        case ENT_INSERT: {
            tag_DXFENTINSERT& in = e->Insert;
            std::memset(&in, 0, sizeof in);
            readEntityGroups(d, h, [&](int c, const char* v) {
                if (pointGroup(c, v, {&in.Insert.Point0})) return;
                if (c == 2)
                    copyName(in.BlockName, v);
                else if (c == 41)
                    in.Insert.XScale = parseReal(v);
                else if (c == 42)
                    in.Insert.YScale = parseReal(v);
                else if (c == 50)
                    in.Insert.RotationAngle = parseReal(v);
            });
            break;
        }
        case ENT_POLYLINE:
            std::memset(&e->PolyLine, 0, sizeof e->PolyLine);
            if (lightweight)
                readLwPolyline(d, h, &e->PolyLine);
            else
                readPolyline(d, h, &e->PolyLine);
            break;
        case ENT_DIMENSION: {
            tag_DXFENTDIMENSION& dim = e->Dimension;
            std::memset(&dim, 0, sizeof dim);
            readEntityGroups(d, h, [&](int c, const char* v) {
                tag_ENTDIMENSION& x = dim.Dimension;
                if (c == 10 || c == 20 || c == 30)
                    pointGroup(c, v, {&x.DimLinePoint});
                else if (c == 13 || c == 23 || c == 33)
                    pointGroup(c - 3, v, {&x.DefPoint1});
                else if (c == 14 || c == 24 || c == 34)
                    pointGroup(c - 4, v, {&x.DefPoint2});
                else if (c == 1)
                    copyName(x.strText, v);
                else if (c == 2)
                    copyName(dim.BlockName, v);
                else if (c == 3)
                    copyName(dim.DimStyleName, v);
                else if (c == 50)
                    x.DimLineAngle = parseReal(v);
            });
            break;
        }
        default:
            break;
    }
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

// ---------------------------------------------------------------------------------------
// Writing

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

namespace {

// The arrow heads, in units of the arrow size, tip at the origin, pointing along +x.
struct ArrowRow {
    const char* name;
    int side;
    bool solid;
    tag_REALPOINT points[4];
};
constexpr ArrowRow kArrows[] = {
    {"ClosedFilled", 1, true, {{0, 0, 0}, {-1, -1.0 / 6, 0}, {-1, 1.0 / 6, 0}, {-1, 1.0 / 6, 0}}},
    {"ClosedFilled", 2, true, {{0, 0, 0}, {-1, -1.0 / 6, 0}, {-1, 1.0 / 6, 0}, {-1, 1.0 / 6, 0}}},
    {"Oblique", 1, false, {{-0.5, -0.5, 0}, {0.5, 0.5, 0}, {0, 0, 0}, {0, 0, 0}}},
    {"Oblique", 2, false, {{-0.5, -0.5, 0}, {0.5, 0.5, 0}, {0, 0, 0}, {0, 0, 0}}},
};

int drawArrow(HDXF d, const char* name, int side, double angle, double size, double x, double y) {
    int ok = 1;
    const double c = std::cos(angle), s = std::sin(angle);
    for (const ArrowRow& row : kArrows) {
        if (row.side != side || std::strcmp(row.name, name) != 0) continue;
        tag_REALPOINT p[4];
        for (int i = 0; i < 4; ++i) {
            const tag_REALPOINT& q = row.points[i];
            p[i] = {x + size * (q.x * c - q.y * s), y + size * (q.x * s + q.y * c), 0.0};
        }
        ok &= row.solid ? dxfSolid(d, 4, p) : dxfLine(d, p[0].x, p[0].y, p[1].x, p[1].y);
    }
    return ok;
}

struct Vec {
    double x, y;
};
Vec unit(double x, double y) {
    double n = std::hypot(x, y);
    return n > 0.0 ? Vec{x / n, y / n} : Vec{0.0, 0.0};
}

}  // namespace

int dxfDimLinear(HDXF d, double x1, double y1, double x2, double y2, double x3, double y3,
                 double angle, const char* text) {
    if (!entitiesAllowed(d) || !text) return 0;
    const tag_DXFDIMSTYLE* found = findDimStyle(d, d->CurrentDimStyle);
    if (!found) return 0;
    const tag_DXFDIMSTYLE st = *found;

    // Everything the drawing changes below is put back at the end.
    const int savedColor = d->CurrentColor;
    const double savedWidth = d->WidthScale, savedHeight = d->HeightScale;
    char savedStyle[32];
    std::memcpy(savedStyle, d->CurrentTextStyle, sizeof savedStyle);

    const double pi = 3.1415926535;
    x1 *= d->WidthScale, x2 *= d->WidthScale, x3 *= d->WidthScale;
    y1 *= d->HeightScale, y2 *= d->HeightScale, y3 *= d->HeightScale;
    const double radians = angle * pi / 180.0;
    const double t = std::tan(radians);
    Vec f1, f2, u1, u2;
    if (t == 0.0) {
        f1 = {x1, y3};
        f2 = {x2, y3};
        u1 = {0.0, std::copysign(1.0, y3 - y1)};
        u2 = {0.0, std::copysign(1.0, y3 - y2)};
    } else {
        const double q = 1.0 / t + t;
        f1.x = ((y1 - y3) + x1 / t + t * x3) / q;
        f1.y = (f1.x - x3) * t + y3;
        f2.x = ((y2 - y3) + x2 / t + t * x3) / q;
        f2.y = (f2.x - x3) * t + y3;
        u1 = unit(f1.x - x1, f1.y - y1);
        u2 = unit(f2.x - x2, f2.y - y2);
    }

    int ok = dxfPoint(d, f1.x, f1.y) & dxfPoint(d, f2.x, f2.y);
    d->WidthScale = d->HeightScale = 1.0;
    d->CurrentColor = st.DIMCLRD;

    Vec mid{(f1.x + f2.x) / 2, (f1.y + f2.y) / 2};
    bool withText = true;
    if (st.DIMTAD == 0) {
        const double g = 2 * st.DIMGAP + static_cast<double>(std::strlen(text)) * st.DIMTXT * 0.3;
        Vec v1 = unit(mid.x - f1.x, mid.y - f1.y), v2 = unit(mid.x - f2.x, mid.y - f2.y);
        ok &= dxfLine(d, f1.x, f1.y, mid.x - v1.x * g, mid.y - v1.y * g);
        ok &= dxfLine(d, f2.x, f2.y, mid.x - v2.x * g, mid.y - v2.y * g);
    } else if (st.DIMTAD == 1) {
        ok &= dxfLine(d, f1.x, f1.y, f2.x, f2.y);
        const double shift = st.DIMTXT / 2 + st.DIMGAP;
        mid.x += shift * std::cos(radians + pi / 2);
        mid.y += shift * std::sin(radians + pi / 2);
    } else {
        withText = false;
    }
    if (withText) {
        d->CurrentColor = st.DIMCLRT;
        ok &= dxfText(d, text, mid.x, mid.y, mid.x, mid.y, st.DIMTXT, angle, 4, 0.0,
                      st.DIMTXSTY[0] ? st.DIMTXSTY : nullptr);
    }

    d->CurrentColor = st.DIMCLRD;
    const double dx = f2.x - f1.x, dy = f2.y - f1.y;
    const double base = dx != 0.0 ? std::atan(dy / dx) : pi / 2;
    const bool firstBelow = f1.x < f2.x || (f1.x == f2.x && f1.y < f2.y);
    const double a1 = firstBelow ? base + pi : base, a2 = firstBelow ? base : base + pi;
    ok &= drawArrow(d, st.DIMBLK1, 1, a1, st.DIMASZ, f1.x, f1.y);
    ok &= drawArrow(d, st.DIMBLK2, 2, a2, st.DIMASZ, f2.x, f2.y);

    d->CurrentColor = st.DIMCLRE;
    ok &= dxfLine(d, x1 + u1.x * st.DIMEXO, y1 + u1.y * st.DIMEXO, f1.x + u1.x * st.DIMEXE,
                  f1.y + u1.y * st.DIMEXE);
    ok &= dxfLine(d, x2 + u2.x * st.DIMEXO, y2 + u2.y * st.DIMEXO, f2.x + u2.x * st.DIMEXE,
                  f2.y + u2.y * st.DIMEXE);

    d->CurrentColor = savedColor;
    d->WidthScale = savedWidth, d->HeightScale = savedHeight;
    std::memcpy(d->CurrentTextStyle, savedStyle, sizeof savedStyle);
    return ok;
}

// ---------------------------------------------------------------------------------------
// Reading

HDXF dxfOpenFile(const char* fileName) {
    if (!fileName) return nullptr;
    std::FILE* f = std::fopen(fileName, "rb");
    if (!f) return nullptr;
    auto* d = new tag_DXF;
    d->pStream = f;
    d->Buffer.resize(tag_DXF::kReadBuffer);
    if (std::fseek(f, 0, SEEK_END) == 0) {
        long size = std::ftell(f);
        d->FileSize = size > 0 ? static_cast<std::size_t>(size) : 0;
    }
    std::rewind(f);
    d->BufferLength = std::fread(d->Buffer.data(), 1, d->Buffer.size(), f);
    return d;
}

unsigned long dxfFindNextSection(HDXF d) {
    if (!reading(d)) return 0;
    while (readGroup(d)) {
        if (!isZero(d, "SECTION")) continue;
        if (!readGroup(d)) break;
        unsigned long section = valueIs(d, "HEADER")     ? SEC_HEADER
                                : valueIs(d, "TABLES")   ? SEC_TABLES
                                : valueIs(d, "BLOCKS")   ? SEC_BLOCKS
                                : valueIs(d, "ENTITIES") ? SEC_ENTITIES
                                                         : SEC_UNKNOWN;
        if (d->Code != 2) {
            putBack(d);
            section = SEC_UNKNOWN;
        }
        d->ReadSection = section;
        d->ReadTable = 0;
        d->BlockOpen = 0;
        return section;
    }
    d->ReadSection = 0;
    return 0;
}

unsigned long dxfFindNextTableType(HDXF d) {
    if (!reading(d) || d->ReadSection != SEC_TABLES) return 0;
    while (readGroup(d)) {
        if (isZero(d, "ENDSEC")) break;
        if (!isZero(d, "TABLE")) continue;
        if (!readGroup(d)) break;
        if (d->Code != 2) putBack(d);
        if (unsigned long table = d->Code == 2 ? tableOfName(d) : TAB_NOTSET) {
            d->ReadTable = table;
            return table;
        }
    }
    d->ReadSection = 0;
    d->ReadTable = 0;
    return 0;
}

unsigned long dxfReadTableTypeName(HDXF d) {
    if (!reading(d) || d->ReadSection != SEC_TABLES) return 0;
    if (!readGroup(d)) return 0;
    bool opens = isZero(d, "TABLE");
    putBack(d);
    return opens ? dxfFindNextTableType(d) : 0;
}

unsigned long dxfReadTableType(HDXF d, void* record) {
    if (!reading(d) || !record) return 0;
    for (;;) {
        if (d->ReadTable == 0 && dxfFindNextTableType(d) == 0) return 0;
        const char* name = tableName(d->ReadTable);
        for (;;) {
            if (!readGroup(d)) {
                d->ReadSection = d->ReadTable = 0;
                return 0;
            }
            if (d->Code != 0) continue;
            if (valueIs(d, name)) {
                const unsigned long table = d->ReadTable;
                readTableRecord(d, table, record);
                afterTableRecord(d);
                return table;
            }
            if (valueIs(d, "ENDTAB")) {
                d->ReadTable = 0;
                break;
            }
            if (valueIs(d, "ENDSEC") || valueIs(d, "EOF")) {
                d->ReadSection = d->ReadTable = 0;
                return 0;
            }
        }
    }
}

int dxfReadBlockHeader(HDXF d, tag_DXFBLOCKHEADER* b) {
    if (!reading(d) || !b || d->ReadSection != SEC_BLOCKS) return 0;
    std::memset(b, 0, sizeof *b);
    while (readGroup(d)) {
        if (d->Code == 0) {
            putBack(d);
            break;
        }
        if (d->Code == 2 || d->Code == 3)
            copyName(b->Name, d->Value);
        else if (d->Code == 8)
            copyName(b->LayerName, d->Value);
        else if (d->Code == 70)
            b->Flags = static_cast<char>(parseInt(d->Value));
        else
            pointGroup(d->Code, d->Value, {&b->BasePoint});
    }
    d->BlockOpen = 1;
    return 1;
}

int dxfFindBlockHeader(HDXF d, tag_DXFBLOCKHEADER* b) {
    if (!reading(d) || !b || d->ReadSection != SEC_BLOCKS) return 0;
    while (readGroup(d)) {
        if (isZero(d, "BLOCK")) return dxfReadBlockHeader(d, b);
        if (isZero(d, "ENDSEC") || isZero(d, "EOF")) break;
    }
    d->ReadSection = 0;
    d->BlockOpen = 0;
    return 0;
}

int dxfReadEntityData(HDXF d, tag_DXFENTITYHEADER* header, void* data) {
    return dxfReadEntityData_Direct(d, header, data);
}

int dxfReadEntityData_Direct(tag_DXF* d, tag_DXFENTITYHEADER* header, void* data) {
    if (!reading(d) || !header || !data) return 0;
    for (;;) {
        if (!(d->ReadSection == SEC_ENTITIES || (d->ReadSection == SEC_BLOCKS && d->BlockOpen)))
            return 0;
        if (!readGroup(d)) {
            d->ReadSection = 0;
            d->BlockOpen = 0;
            return 0;
        }
        if (d->Code != 0) {
            putBack(d);
            return 0;
        }
        for (const EntityKind& kind : kEntityKinds) {
            if (!valueIs(d, kind.name)) continue;
            std::memset(header, 0, sizeof *header);
            header->EntityType = kind.type;
            header->ExtrusionDirection[2] = 1.0;
            readEntity(d, kind.type, std::strcmp(kind.name, "LWPOLYLINE") == 0, header, data);
            afterEntity(d);
            return kind.type;
        }
        if (valueIs(d, "ENDBLK")) {
            putBack(d);
            afterEntity(d);
            return 0;
        }
        if (valueIs(d, "ENDSEC") || valueIs(d, "EOF")) {
            d->ReadSection = 0;
            d->BlockOpen = 0;
            return 0;
        }
        skipToNextZero(d);
    }
}

void dxfFreeEntityData(const tag_DXFENTITYHEADER* header, void* data) {
    if (!header || !data || header->EntityType != ENT_POLYLINE) return;
    auto* p = static_cast<tag_ENTPOLYLINE*>(data);
    std::free(p->pVertex);
    p->pVertex = nullptr;
    p->nVertex = 0;
}

int dxfGetPaperSpace() {
    return g_paperSpace;
}
void dxfSetPaperSpace(int paperSpace) {
    g_paperSpace = paperSpace;
}

std::size_t dxfGetReadPosition(HDXF d) {
    return reading(d) ? readPosition(d) : 0;
}
std::size_t dxfGetFileSize(HDXF d) {
    return reading(d) ? d->FileSize : 0;
}
