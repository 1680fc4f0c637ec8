#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "zevcore/files/dxf/Dxf.h"
#include "zevcore/files/dxf/DxfHandle.hpp"
#include "zevcore/platform/Locale.h"

using namespace Dxf::detail;

namespace {

int g_paperSpace = 0;

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

// ---------------------------------------------------------------------------------------
// Group codes as tables: each row names a code and where its value goes in a record.

template <class Record>
struct GroupRow {
    int code;
    void (*store)(Record& record, int code, const char* value);
};

void assign(double& to, int, const char* value) {
    to = parseReal(value);
}
void assign(int& to, int, const char* value) {
    to = parseInt(value);
}
void assign(short& to, int, const char* value) {
    to = static_cast<short>(parseInt(value));
}
void assign(char& to, int, const char* value) {
    to = static_cast<char>(parseInt(value));
}
void assign(DWORD& to, int, const char* value) {
    to = static_cast<DWORD>(parseInt(value));
}
template <std::size_t N>
void assign(char (&to)[N], int, const char* value) {
    copyName(to, value);
}
// A point takes x from group 1n, y from 2n and z from 3n.
void assign(tag_REALPOINT& to, int code, const char* value) {
    const int axis = code / 10 - 1;
    (axis == 0 ? to.x : axis == 1 ? to.y : to.z) = parseReal(value);
}

template <class Member>
struct MemberOf;
template <class Class, class Field>
struct MemberOf<Field Class::*> {
    using type = Class;
};
template <auto Member>
using OwnerOf = typename MemberOf<decltype(Member)>::type;

// The field at the end of a path of members, as in `&Outer::Inner, &Inner::Field`.
template <auto First, auto... Rest>
auto& fieldAt(OwnerOf<First>& record) {
    if constexpr (sizeof...(Rest) == 0)
        return record.*First;
    else
        return fieldAt<Rest...>(record.*First);
}

template <auto First, auto... Rest>
void set(OwnerOf<First>& record, int code, const char* value) {
    assign(fieldAt<First, Rest...>(record), code, value);
}

template <auto Member>
void setHex(OwnerOf<Member>& record, int, const char* value) {
    record.*Member = static_cast<DWORD>(hexValue(value));
}

// Stores a group through the first row of its code; a y or z coordinate (2n, 3n) goes where
// its x (1n) goes. False when no row takes the code.
template <class Record, std::size_t N>
bool storeGroup(const GroupRow<Record> (&rows)[N], Record& record, int code, const char* value) {
    for (const GroupRow<Record>& row : rows) {
        const bool point = row.code >= 10 && row.code <= 18;
        if (row.code == code || (point && (code == row.code + 10 || code == row.code + 20))) {
            row.store(record, code, value);
            return true;
        }
    }
    return false;
}

// Clears the record and reads groups into it up to the next code 0 (put back); a group no row
// takes goes to `other`.
template <class Record, std::size_t N, class Other>
void readGroups(tag_DXF* d, Record& record, const GroupRow<Record> (&rows)[N], Other other) {
    std::memset(&record, 0, sizeof record);
    while (readGroup(d)) {
        if (d->Code == 0) {
            putBack(d);
            return;
        }
        if (!storeGroup(rows, record, d->Code, d->Value)) other(d->Code, d->Value);
    }
}

template <class Record, std::size_t N>
void readGroups(tag_DXF* d, Record& record, const GroupRow<Record> (&rows)[N]) {
    readGroups(d, record, rows, [](int, const char*) {});
}

// ---- Table records

void ltypeElementCount(tag_DXFLTYPE& t, int, const char* value) {
    const int count = parseInt(value);
    t.ElementsNumber = static_cast<DWORD>(
        count < 0 ? 0 : (count > DXF_MAX_LTYPE_ELEMENTS ? DXF_MAX_LTYPE_ELEMENTS : count));
}

constexpr GroupRow<tag_DXFLTYPE> kLTypeGroups[] = {
    {2, set<&tag_DXFLTYPE::Name>},
    {3, set<&tag_DXFLTYPE::DescriptiveText>},
    {40, set<&tag_DXFLTYPE::TotalPatternLength>},
    {70, set<&tag_DXFLTYPE::StandardFlags>},
    {73, ltypeElementCount},
};

constexpr GroupRow<tag_DXFLAYER> kLayerGroups[] = {
    {2, set<&tag_DXFLAYER::Name>},
    {6, set<&tag_DXFLAYER::LineType>},
    {62, set<&tag_DXFLAYER::Color>},
    {70, set<&tag_DXFLAYER::StandardFlags>},
};

constexpr GroupRow<tag_DXFSTYLE> kStyleGroups[] = {
    {2, set<&tag_DXFSTYLE::Name>},
    {3, set<&tag_DXFSTYLE::PrimaryFontFilename>},
    {40, set<&tag_DXFSTYLE::FixedTextHeight>},
    {41, set<&tag_DXFSTYLE::WidthFactor>},
    {42, set<&tag_DXFSTYLE::Height>},
    {50, set<&tag_DXFSTYLE::ObliqueAngle>},
    {70, set<&tag_DXFSTYLE::StandardFlags>},
    {71, set<&tag_DXFSTYLE::TextGenerationFlags>},
};

constexpr GroupRow<tag_DXFDIMSTYLE> kDimStyleGroups[] = {
    {2, set<&tag_DXFDIMSTYLE::Name>},
    {6, set<&tag_DXFDIMSTYLE::DIMBLK1>},
    {7, set<&tag_DXFDIMSTYLE::DIMBLK2>},
    {41, set<&tag_DXFDIMSTYLE::DIMASZ>},
    {42, set<&tag_DXFDIMSTYLE::DIMEXO>},
    {44, set<&tag_DXFDIMSTYLE::DIMEXE>},
    {46, set<&tag_DXFDIMSTYLE::DIMDLE>},
    {70, set<&tag_DXFDIMSTYLE::StandardFlags>},
    {77, set<&tag_DXFDIMSTYLE::DIMTAD>},
    {140, set<&tag_DXFDIMSTYLE::DIMTXT>},
    {147, set<&tag_DXFDIMSTYLE::DIMGAP>},
    {176, set<&tag_DXFDIMSTYLE::DIMCLRD>},
    {177, set<&tag_DXFDIMSTYLE::DIMCLRE>},
    {178, set<&tag_DXFDIMSTYLE::DIMCLRT>},
    {340, setHex<&tag_DXFDIMSTYLE::DIMTXSTYObjhandle>},
};

constexpr GroupRow<tag_DXFBLOCKHEADER> kBlockGroups[] = {
    {2, set<&tag_DXFBLOCKHEADER::Name>},      {3, set<&tag_DXFBLOCKHEADER::Name>},
    {8, set<&tag_DXFBLOCKHEADER::LayerName>}, {10, set<&tag_DXFBLOCKHEADER::BasePoint>},
    {70, set<&tag_DXFBLOCKHEADER::Flags>},
};

void readTableRecord(tag_DXF* d, unsigned long table, void* record) {
    auto* r = static_cast<DXFTABLERECORD*>(record);
    switch (table) {
        case TAB_LTYPE: {
            // Pattern elements (49) come one group each, in order.
            tag_DXFLTYPE& t = r->LType;
            DWORD elements = 0;
            readGroups(d, t, kLTypeGroups, [&](int code, const char* value) {
                if (code == 49 && elements < DXF_MAX_LTYPE_ELEMENTS)
                    t.Elements[elements++] = parseReal(value);
            });
            if (t.ElementsNumber > elements) t.ElementsNumber = elements;
            break;
        }
        case TAB_LAYER:
            readGroups(d, r->Layer, kLayerGroups);
            break;
        case TAB_STYLE:
            readGroups(d, r->Style, kStyleGroups);
            break;
        default:
            readGroups(d, r->DimStyle, kDimStyleGroups);
            break;
    }
}

// ---- Entities

template <int Axis>
void extrusion(tag_DXFENTITYHEADER& h, int, const char* value) {
    h.ExtrusionDirection[Axis] = parseReal(value);
}

// The groups common to every entity.
constexpr GroupRow<tag_DXFENTITYHEADER> kCommonGroups[] = {
    {6, set<&tag_DXFENTITYHEADER::LTypeName>},
    {8, set<&tag_DXFENTITYHEADER::LayerName>},
    {39, set<&tag_DXFENTITYHEADER::Thickness>},
    {48, set<&tag_DXFENTITYHEADER::LineTypeScale>},
    {62, set<&tag_DXFENTITYHEADER::Color>},
    {210, extrusion<0>},
    {220, extrusion<1>},
    {230, extrusion<2>},
};

// Reads an entity's groups up to the next code 0 (put back), the entity's own through `own`.
template <class Own>
void readEntityGroups(tag_DXF* d, tag_DXFENTITYHEADER* h, Own own) {
    while (readGroup(d)) {
        if (d->Code == 0) {
            putBack(d);
            return;
        }
        // The entity's own handle; a polyline's vertices come later with theirs.
        if (d->Code == 5 && !d->Extra.Handle[0]) {
            copyName(d->Extra.Handle, d->Value);
            continue;
        }
        if (!storeGroup(kCommonGroups, *h, d->Code, d->Value)) own(d->Code, d->Value);
    }
}

// Justification: group 72 in the low byte, 73 in the second.
void justification72(tag_DXFENTTEXT& t, int, const char* value) {
    DWORD& j = t.Text.Justification;
    j = (j & ~0xffu) | (static_cast<DWORD>(parseInt(value)) & 0xffu);
}
void justification73(tag_DXFENTTEXT& t, int, const char* value) {
    DWORD& j = t.Text.Justification;
    j = (j & ~0xff00u) | ((static_cast<DWORD>(parseInt(value)) & 0xffu) << 8);
}

constexpr GroupRow<tag_ENTLINE> kLineGroups[] = {
    {10, set<&tag_ENTLINE::Point0>},
    {11, set<&tag_ENTLINE::Point1>},
};

constexpr GroupRow<tag_ENTPOINT> kPointGroups[] = {
    {10, set<&tag_ENTPOINT::Point0>},
};

constexpr GroupRow<tag_ENTCIRCLE> kCircleGroups[] = {
    {10, set<&tag_ENTCIRCLE::Point0>},
    {40, set<&tag_ENTCIRCLE::Radius>},
};

constexpr GroupRow<tag_ENTARC> kArcGroups[] = {
    {10, set<&tag_ENTARC::Point0>},
    {40, set<&tag_ENTARC::Radius>},
    {50, set<&tag_ENTARC::StartAngle>},
    {51, set<&tag_ENTARC::EndAngle>},
};

constexpr GroupRow<tag_ENTELLIPSE> kEllipseGroups[] = {
    {10, set<&tag_ENTELLIPSE::CenterPoint>},       {11, set<&tag_ENTELLIPSE::MajorAxisEndPoint>},
    {40, set<&tag_ENTELLIPSE::MinorToMajorRatio>}, {41, set<&tag_ENTELLIPSE::StartParam>},
    {42, set<&tag_ENTELLIPSE::EndParam>},
};

constexpr GroupRow<tag_DXFENTTEXT> kTextGroups[] = {
    {1, set<&tag_DXFENTTEXT::Text, &tag_ENTTEXT::strText>},
    {7, set<&tag_DXFENTTEXT::TextStyleName>},
    {10, set<&tag_DXFENTTEXT::Text, &tag_ENTTEXT::Point0>},
    {11, set<&tag_DXFENTTEXT::Text, &tag_ENTTEXT::SecondAlignmentPoint>},
    {40, set<&tag_DXFENTTEXT::Text, &tag_ENTTEXT::Height>},
    {41, set<&tag_DXFENTTEXT::Text, &tag_ENTTEXT::WidthFactor>},
    {50, set<&tag_DXFENTTEXT::Text, &tag_ENTTEXT::RotationAngle>},
    {51, set<&tag_DXFENTTEXT::Text, &tag_ENTTEXT::Oblique>},
    {72, justification72},
    {73, justification73},
};

// SOLID and 3DFACE alike.
constexpr GroupRow<tag_ENTSOLID> kSolidGroups[] = {
    {10, set<&tag_ENTSOLID::Point0>},
    {11, set<&tag_ENTSOLID::Point1>},
    {12, set<&tag_ENTSOLID::Point2>},
    {13, set<&tag_ENTSOLID::Point3>},
};

constexpr GroupRow<tag_DXFENTINSERT> kInsertGroups[] = {
    {2, set<&tag_DXFENTINSERT::BlockName>},
    {10, set<&tag_DXFENTINSERT::Insert, &tag_ENTINSERT::Point0>},
    {41, set<&tag_DXFENTINSERT::Insert, &tag_ENTINSERT::XScale>},
    {42, set<&tag_DXFENTINSERT::Insert, &tag_ENTINSERT::YScale>},
    {50, set<&tag_DXFENTINSERT::Insert, &tag_ENTINSERT::RotationAngle>},
};

constexpr GroupRow<tag_DXFENTDIMENSION> kDimensionGroups[] = {
    {1, set<&tag_DXFENTDIMENSION::Dimension, &tag_ENTDIMENSION::strText>},
    {2, set<&tag_DXFENTDIMENSION::BlockName>},
    {3, set<&tag_DXFENTDIMENSION::DimStyleName>},
    {10, set<&tag_DXFENTDIMENSION::Dimension, &tag_ENTDIMENSION::DimLinePoint>},
    {13, set<&tag_DXFENTDIMENSION::Dimension, &tag_ENTDIMENSION::DefPoint1>},
    {14, set<&tag_DXFENTDIMENSION::Dimension, &tag_ENTDIMENSION::DefPoint2>},
    {50, set<&tag_DXFENTDIMENSION::Dimension, &tag_ENTDIMENSION::DimLineAngle>},
};

// A POLYLINE's VERTEX.
constexpr GroupRow<tag_ENTVERTEX> kVertexGroups[] = {
    {10, set<&tag_ENTVERTEX::Point>},
    {40, set<&tag_ENTVERTEX::StartWidth>},
    {41, set<&tag_ENTVERTEX::EndWidth>},
    {42, set<&tag_ENTVERTEX::Bulge>},
    {50, set<&tag_ENTVERTEX::TangentDirection>},
    {70, set<&tag_ENTVERTEX::Flag>},
};

// An LWPOLYLINE's vertex: 70 is the polyline's, the elevation (38) the z of every vertex.
constexpr GroupRow<tag_ENTVERTEX> kLwVertexGroups[] = {
    {10, set<&tag_ENTVERTEX::Point>},
    {40, set<&tag_ENTVERTEX::StartWidth>},
    {41, set<&tag_ENTVERTEX::EndWidth>},
    {42, set<&tag_ENTVERTEX::Bulge>},
};

// Entities whose groups all go to fields of their data.
template <auto Member, const auto& Rows>
void readFields(tag_DXF* d, tag_DXFENTITYHEADER* h, DXFENTITYDATA& e) {
    auto& record = e.*Member;
    std::memset(&record, 0, sizeof record);
    readEntityGroups(d, h,
                     [&](int code, const char* value) { storeGroup(Rows, record, code, value); });
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

void readPolyline(tag_DXF* d, tag_DXFENTITYHEADER* h, DXFENTITYDATA& e) {
    tag_ENTPOLYLINE& p = e.PolyLine;
    std::memset(&p, 0, sizeof p);
    readEntityGroups(d, h, [&](int code, const char* value) {
        if (code == 70) p.Flag = static_cast<DWORD>(parseInt(value));
    });
    VertexList list;
    while (readGroup(d)) {
        if (isZero(d, "VERTEX")) {
            tag_ENTVERTEX* vertex = list.add();
            tag_DXFENTITYHEADER ignored{};
            readEntityGroups(d, &ignored, [&](int code, const char* value) {
                if (vertex) storeGroup(kVertexGroups, *vertex, code, value);
            });
            continue;
        }
        if (isZero(d, "SEQEND"))
            skipToNextZero(d);
        else
            putBack(d);
        break;
    }
    p.pVertex = list.items;
    p.nVertex = list.count;
}

void readLwPolyline(tag_DXF* d, tag_DXFENTITYHEADER* h, DXFENTITYDATA& e) {
    tag_ENTPOLYLINE& p = e.PolyLine;
    std::memset(&p, 0, sizeof p);
    VertexList list;
    tag_ENTVERTEX* last = nullptr;
    double elevation = 0.0;
    readEntityGroups(d, h, [&](int code, const char* value) {
        if (code == 10) last = list.add();  // each vertex opens with its x
        if (code == 38)
            elevation = parseReal(value);
        else if (code == 70)
            p.Flag = static_cast<DWORD>(parseInt(value));
        else if (last)
            storeGroup(kLwVertexGroups, *last, code, value);
    });
    for (DWORD i = 0; i < list.count; ++i) list.items[i].Point.z = elevation;
    p.pVertex = list.items;
    p.nVertex = list.count;
}

// An INSERT, with the rows and columns of an array insert kept aside.
void readInsert(tag_DXF* d, tag_DXFENTITYHEADER* h, DXFENTITYDATA& e) {
    tag_DXFENTINSERT& record = e.Insert;
    std::memset(&record, 0, sizeof record);
    readEntityGroups(d, h, [&](int code, const char* value) {
        if (storeGroup(kInsertGroups, record, code, value)) return;
        if (code == 70) d->Extra.Columns = parseInt(value);
        if (code == 71) d->Extra.Rows = parseInt(value);
        if (code == 44) d->Extra.ColumnSpacing = parseReal(value);
        if (code == 45) d->Extra.RowSpacing = parseReal(value);
    });
}

void readMText(tag_DXF* d, tag_DXFENTITYHEADER* h, DXFENTITYDATA& e) {
    tag_DXFENTMTEXT& m = e.MText;
    std::memset(&m, 0, sizeof m);
    std::size_t length = 0;
    std::size_t lastStart = 0;  // where the 1 group goes: after the 3s read so far
    double dx = 0.0, dy = 0.0;
    auto append = [&](const char* value) {
        const std::size_t n = std::strlen(value);
        const std::size_t room = sizeof m.strText - 1 - length;
        const std::size_t take = n < room ? n : room;
        std::memcpy(m.strText + length, value, take);
        length += take;
        m.strText[length] = '\0';
    };
    readEntityGroups(d, h, [&](int code, const char* value) {
        switch (code) {
            case 1:
                length = lastStart;
                append(value);
                break;
            case 3:
                append(value);
                lastStart = length;
                break;
            case 7:
                copyName(m.TextStyleName, value);
                break;
            case 10:
            case 20:
            case 30:
                assign(m.Point0, code, value);
                break;
            case 11:
                dx = parseReal(value);
                break;
            case 21:
                dy = parseReal(value);
                break;
            case 40:
                m.Height = parseReal(value);
                break;
            case 41:
                m.RectangleWidth = parseReal(value);
                break;
            case 50:
                m.RotationAngle = parseReal(value);
                break;
            case 71:
                m.Attachment = static_cast<DWORD>(parseInt(value));
                break;
            default:
                break;
        }
    });
    if (dx != 0.0 || dy != 0.0)
        m.RotationAngle = std::atan2(dy, dx) * 180.0 / 3.14159265358979323846;
}

// The boundary paths of a HATCH: a polyline path gives its vertices and bulges, an edge path
// its edges joined end to start. What follows the paths (pattern lines, seed points) reuses
// the point codes and is passed over.
class HatchReader {
public:
    explicit HatchReader(tag_DXFENTHATCH& h) : m_h(h) {}
    ~HatchReader() { std::free(m_list.items); }

    void group(int code, const char* value) {
        if (m_pathsLeft < 0) {  // before the paths
            if (code == 2) copyName(m_h.PatternName, value);
            if (code == 70) m_h.SolidFill = static_cast<DWORD>(parseInt(value));
            if (code == 91) m_pathsLeft = parseInt(value);
            return;
        }
        if (m_done) return;
        if (code == 92) return startPath(parseInt(value));
        if (code == 97 || code == 330) {  // the path's source objects end it
            if (code == 97) endPath();
            return;
        }
        if (m_polyline) return polylineGroup(code, value);
        edgeGroup(code, value);
    }

    void finish(tag_DXFENTHATCH& h) {
        endPath();
        h.pVertex = m_list.items;
        h.nVertex = m_list.count;
        m_list.items = nullptr;
    }

private:
    void startPath(int flags) {
        endPath();
        if (m_pathsLeft-- <= 0) {
            m_done = true;
            return;
        }
        m_inPath = true;
        m_polyline = (flags & 2) != 0;
        m_pathStart = m_list.count;
        m_edge = 0;
    }
    void endPath() {
        if (!m_inPath) return;
        flushEdge();
        m_inPath = false;
        if (m_list.count > m_pathStart) {
            m_list.items[m_pathStart].Flag |= 1;
            ++m_h.nPaths;
        }
        if (m_pathsLeft == 0) m_done = true;
    }
    tag_ENTVERTEX* add(double x, double y, double bulge) {
        tag_ENTVERTEX* v = m_list.add();
        if (v) v->Point = {x, y, 0.0}, v->Bulge = bulge;
        return v;
    }
    void polylineGroup(int code, const char* value) {
        if (code == 10) m_last = add(parseReal(value), 0.0, 0.0);
        if (code == 20 && m_last) m_last->Point.y = parseReal(value);
        if (code == 42 && m_last) m_last->Bulge = parseReal(value);
    }
    void edgeGroup(int code, const char* value) {
        if (code == 72) {
            flushEdge();
            m_edge = parseInt(value);
            m_e = Edge{};
            return;
        }
        const double v = parseReal(value);
        switch (code) {
            case 10:
                m_e.x0 = v;
                if (m_edge == 4 && m_e.control.size() < kMostControl)
                    m_e.control.push_back({v, 0.0});
                break;
            case 20:
                m_e.y0 = v;
                if (m_edge == 4 && !m_e.control.empty()) m_e.control.back().second = v;
                break;
            case 11:
                m_e.x1 = v;
                break;
            case 21:
                m_e.y1 = v;
                break;
            case 40:
                m_e.r = v;
                break;
            case 50:
                m_e.a0 = v;
                break;
            case 51:
                m_e.a1 = v;
                break;
            case 73:
                m_e.ccw = parseInt(value) != 0;
                break;
            default:
                break;
        }
    }
    void flushEdge() {
        constexpr double kPi = 3.14159265358979323846;
        const int edge = m_edge;
        m_edge = 0;
        if (edge == 1) {
            add(m_e.x0, m_e.y0, 0.0);
        } else if (edge == 2) {
            // Angles in degrees, counter-clockwise; a clockwise edge (73 0) stores them
            // mirrored.
            double sweep = std::fmod(m_e.a1 - m_e.a0, 360.0);
            if (!(sweep > 0.0)) sweep += 360.0;
            const double start = (m_e.ccw ? m_e.a0 : -m_e.a0) * kPi / 180.0;
            if (!m_e.ccw) sweep = -sweep;
            add(m_e.x0 + m_e.r * std::cos(start), m_e.y0 + m_e.r * std::sin(start),
                std::tan(sweep * kPi / 180.0 / 4.0));
        } else if (edge == 3) {
            // The major axis end (11, 21) from the centre, the ratio (40), the parameters
            // (50, 51) in degrees.
            const double ratio = m_e.r;
            double sweep = std::fmod(m_e.a1 - m_e.a0, 360.0) * kPi / 180.0;
            if (!(sweep > 0.0)) sweep += 2 * kPi;
            const double start = (m_e.ccw ? m_e.a0 : -m_e.a0) * kPi / 180.0;
            if (!m_e.ccw) sweep = -sweep;
            for (int k = 0; k < 32; ++k) {
                const double t = start + sweep * k / 32;
                const double c = std::cos(t), sn = std::sin(t);
                add(m_e.x0 + m_e.x1 * c - ratio * m_e.y1 * sn,
                    m_e.y0 + m_e.y1 * c + ratio * m_e.x1 * sn, 0.0);
            }
        } else if (edge == 4) {
            for (std::size_t k = 0; k + 1 < m_e.control.size(); ++k)
                add(m_e.control[k].first, m_e.control[k].second, 0.0);
        }
    }

    struct Edge {
        double x0 = 0, y0 = 0, x1 = 0, y1 = 0, r = 0, a0 = 0, a1 = 0;
        bool ccw = true;
        std::vector<std::pair<double, double>> control;
    };
    static constexpr std::size_t kMostControl = 100000;

    tag_DXFENTHATCH& m_h;
    VertexList m_list;
    tag_ENTVERTEX* m_last = nullptr;
    int m_pathsLeft = -1;
    bool m_done = false, m_inPath = false, m_polyline = false;
    DWORD m_pathStart = 0;
    int m_edge = 0;
    Edge m_e;
};

void readHatch(tag_DXF* d, tag_DXFENTITYHEADER* h, DXFENTITYDATA& e) {
    tag_DXFENTHATCH& hatch = e.Hatch;
    std::memset(&hatch, 0, sizeof hatch);
    HatchReader reader(hatch);
    readEntityGroups(d, h, [&](int code, const char* value) { reader.group(code, value); });
    reader.finish(hatch);
}

// The entities read, by their name in a file; any other is passed over.
struct EntityKind {
    const char* name;
    WORD type;
    void (*read)(tag_DXF* d, tag_DXFENTITYHEADER* h, DXFENTITYDATA& e);
};
constexpr EntityKind kEntityKinds[] = {
    {"LINE", ENT_LINE, readFields<&DXFENTITYDATA::Line, kLineGroups>},
    {"POINT", ENT_POINT, readFields<&DXFENTITYDATA::Point, kPointGroups>},
    {"CIRCLE", ENT_CIRCLE, readFields<&DXFENTITYDATA::Circle, kCircleGroups>},
    {"ELLIPSE", ENT_ELLIPSE, readFields<&DXFENTITYDATA::Ellipse, kEllipseGroups>},
    {"TEXT", ENT_TEXT, readFields<&DXFENTITYDATA::Text, kTextGroups>},
    {"ARC", ENT_ARC, readFields<&DXFENTITYDATA::Arc, kArcGroups>},
    {"SOLID", ENT_SOLID, readFields<&DXFENTITYDATA::Solid, kSolidGroups>},
    {"INSERT", ENT_INSERT, readInsert},
    {"POLYLINE", ENT_POLYLINE, readPolyline},
    {"LWPOLYLINE", ENT_POLYLINE, readLwPolyline},
    {"3DFACE", ENT_FACE3D, readFields<&DXFENTITYDATA::Solid, kSolidGroups>},
    {"DIMENSION", ENT_DIMENSION, readFields<&DXFENTITYDATA::Dimension, kDimensionGroups>},
    {"MTEXT", ENT_MTEXT, readMText},
    {"HATCH", ENT_HATCH, readHatch},
};

}  // namespace

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
    readGroups(d, *b, kBlockGroups);
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
            if ((kind.type == ENT_MTEXT || kind.type == ENT_HATCH) && !d->MoreKinds) break;
            d->Extra = tag_DXFENTITYEXTRA{};
            d->Extra.Columns = d->Extra.Rows = 1;
            std::memset(header, 0, sizeof *header);
            header->EntityType = kind.type;
            header->ExtrusionDirection[2] = 1.0;
            kind.read(d, header, *static_cast<DXFENTITYDATA*>(data));
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
    if (header && data && header->EntityType == ENT_HATCH) {
        auto* h = static_cast<tag_DXFENTHATCH*>(data);
        std::free(h->pVertex);
        h->pVertex = nullptr;
        h->nVertex = h->nPaths = 0;
        return;
    }
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

int dxfReadHeaderVars(HDXF d, tag_DXFHEADERVARS* vars) {
    if (!reading(d) || !vars || d->ReadSection != SEC_HEADER) return 0;
    enum { None, AcadVer, InsUnits, Measurement, CodePage } variable = None;
    while (readGroup(d)) {
        if (d->Code == 0) {
            // A section cut short leaves what follows to dxfFindNextSection.
            if (!isZero(d, "ENDSEC")) putBack(d);
            d->ReadSection = 0;
            return 1;
        }
        if (d->Code == 9) {
            variable = valueIs(d, "$ACADVER")       ? AcadVer
                       : valueIs(d, "$INSUNITS")    ? InsUnits
                       : valueIs(d, "$MEASUREMENT") ? Measurement
                       : valueIs(d, "$DWGCODEPAGE") ? CodePage
                                                    : None;
            continue;
        }
        switch (variable) {
            case AcadVer:
                copyName(vars->AcadVer, d->Value);
                break;
            case InsUnits:
                vars->InsUnits = parseInt(d->Value);
                break;
            case Measurement:
                vars->Measurement = parseInt(d->Value);
                break;
            case CodePage:
                copyName(vars->CodePage, d->Value);
                break;
            case None:
                break;
        }
        variable = None;
    }
    d->ReadSection = 0;
    return 1;
}

int dxfGetEntityExtra(HDXF d, tag_DXFENTITYEXTRA* extra) {
    if (!reading(d) || !extra) return 0;
    *extra = d->Extra;
    return 1;
}

int dxfReadMoreKinds(HDXF d, int on) {
    if (!reading(d)) return 0;
    d->MoreKinds = on != 0;
    return 1;
}
