#include "zevcore/files/dxf/Drawing.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <set>
#include <vector>

#include "zevcore/frame/Progress.h"

namespace {

constexpr DWORD kHeaderSize = sizeof(tag_ENTITYHEADER);
constexpr DWORD kModelSpaceSize = 65536;
constexpr DWORD kBlockListSize = 16384;
constexpr DWORD kGrowth = 65536;
constexpr double kPi = 3.14159265358979323846;

template <std::size_t N>
void copyName(char (&to)[N], const char* from) {
    std::size_t n = from ? std::strlen(from) : 0;
    if (n >= N) n = N - 1;
    if (n) std::memcpy(to, from, n);
    to[n] = '\0';
}

bool allocList(ENTITIES_DATA& list, DWORD size) {
    std::free(list.hMemory);
    list = {};
    list.hMemory = static_cast<unsigned char*>(std::calloc(size, 1));
    if (!list.hMemory) return false;
    list.TotalSize = size;
    return true;
}

// A polyline as a list holds it: its vertices stay with the drawing, by number.
struct StoredPolyline {
    DWORD VertexArray;  // from 1; 0 for none
    DWORD nVertex;
    DWORD Flag;
};
static_assert(sizeof(StoredPolyline) == 12);

tag_ENTVERTEX* vertexArray(const tag_DRAWING* d, DWORD number) {
    return number >= 1 && number <= d->VertexArrayCount ? d->VertexArrays[number - 1] : nullptr;
}

// Copies a caller's vertices into the drawing; false when out of memory.
bool storePolyline(tag_DRAWING* d, const tag_ENTPOLYLINE& p, StoredPolyline& stored) {
    stored = {0, p.nVertex, p.Flag};
    if (p.nVertex == 0) return true;
    if (d->VertexArrayCount == d->VertexArrayCapacity) {
        const DWORD grown = d->VertexArrayCapacity ? d->VertexArrayCapacity * 2 : 64;
        void* more = std::realloc(d->VertexArrays, grown * sizeof(tag_ENTVERTEX*));
        if (!more) return false;
        d->VertexArrays = static_cast<tag_ENTVERTEX**>(more);
        d->VertexArrayCapacity = grown;
    }
    auto* copy = static_cast<tag_ENTVERTEX*>(std::malloc(p.nVertex * sizeof(tag_ENTVERTEX)));
    if (!copy) return false;
    std::memcpy(copy, p.pVertex, p.nVertex * sizeof(tag_ENTVERTEX));
    d->VertexArrays[d->VertexArrayCount++] = copy;
    stored.VertexArray = d->VertexArrayCount;
    return true;
}

// Copies the record at `pos` out: its header, and its data in the caller's form.
void readRecord(const tag_DRAWING* d, const ENTITIES_DATA& list, DWORD pos, tag_ENTITYHEADER& h,
                void* data) {
    std::memcpy(&h, list.hMemory + pos, kHeaderSize);
    const DWORD size = h.NextEntityPos - pos - kHeaderSize;
    if (h.EntityType == ENT_POLYLINE && size == sizeof(StoredPolyline)) {
        StoredPolyline s;
        std::memcpy(&s, list.hMemory + pos + kHeaderSize, sizeof s);
        const tag_ENTPOLYLINE p{vertexArray(d, s.VertexArray), s.nVertex, s.Flag};
        std::memcpy(data, &p, sizeof p);
        return;
    }
    std::memcpy(data, list.hMemory + pos + kHeaderSize, size);
}

// Frees a list and the vertices of its polylines.
void freeList(tag_DRAWING* d, ENTITIES_DATA& list) {
    for (DWORD pos = 0; list.hMemory && pos < list.FreePos;) {
        tag_ENTITYHEADER h;
        std::memcpy(&h, list.hMemory + pos, kHeaderSize);
        if (h.EntityType == ENT_POLYLINE) {
            StoredPolyline s;
            std::memcpy(&s, list.hMemory + pos + kHeaderSize, sizeof s);
            if (s.VertexArray >= 1 && s.VertexArray <= d->VertexArrayCount) {
                std::free(d->VertexArrays[s.VertexArray - 1]);
                d->VertexArrays[s.VertexArray - 1] = nullptr;
            }
        }
        if (h.NextEntityPos <= pos) break;
        pos = h.NextEntityPos;
    }
    std::free(list.hMemory);
    list = {};
}

// The tables as one walk: pointers to a table's count, cursor and records, by type.
struct Table {
    unsigned long type;
    DWORD* count;
    DWORD* cursor;
    unsigned char* records;
    std::size_t size;
    DWORD limit;
};

bool tableOf(tag_DRAWING* d, unsigned long type, Table& t) {
    switch (type) {
        case TAB_DIMSTYLE:
            t = {type,
                 &d->DimStyleCount,
                 &d->DimStyleCursor,
                 reinterpret_cast<unsigned char*>(d->DimStyles),
                 sizeof(tag_DIMSTYLE),
                 DRW_MAX_DIMSTYLES};
            return true;
        case TAB_LAYER:
            t = {type,
                 &d->LayerCount,
                 &d->LayerCursor,
                 reinterpret_cast<unsigned char*>(d->Layers),
                 sizeof(tag_LAYER),
                 DRW_MAX_LAYERS};
            return true;
        case TAB_LTYPE:
            t = {type,
                 &d->LTypeCount,
                 &d->LTypeCursor,
                 reinterpret_cast<unsigned char*>(d->LTypes),
                 sizeof(tag_LTYPE),
                 DRW_MAX_LTYPES};
            return true;
        case TAB_STYLE:
            t = {type,
                 &d->StyleCount,
                 &d->StyleCursor,
                 reinterpret_cast<unsigned char*>(d->Styles),
                 sizeof(tag_STYLE),
                 DRW_MAX_STYLES};
            return true;
        default:
            return false;
    }
}

constexpr unsigned long kTableOrder[] = {TAB_DIMSTYLE, TAB_LAYER, TAB_LTYPE, TAB_STYLE};

// Every record starts with its object number and name.
DWORD handleAt(const Table& t, DWORD i) {
    DWORD h;
    std::memcpy(&h, t.records + i * t.size, sizeof h);
    return h;
}
const char* nameAt(const Table& t, DWORD i) {
    return reinterpret_cast<const char*>(t.records + i * t.size + sizeof(DWORD));
}

unsigned long copyOut(const Table& t, DWORD i, void* record) {
    std::memcpy(record, t.records + i * t.size, t.size);
    return handleAt(t, i);
}

unsigned long findInTable(tag_DRAWING* d, const Table& t, unsigned long flags, void* record) {
    const DWORD count = *t.count;
    if (flags & (FIND_BYNAME | FIND_BYHANDLE)) {
        DWORD wantHandle;
        std::memcpy(&wantHandle, record, sizeof wantHandle);
        const char* wantName = static_cast<const char*>(record) + sizeof(DWORD);
        for (DWORD i = 0; i < count; ++i) {
            bool byName = (flags & FIND_BYNAME) && strncmp(nameAt(t, i), wantName, 512) == 0;
            bool byHandle = (flags & FIND_BYHANDLE) && handleAt(t, i) == wantHandle;
            if (byName || byHandle) return copyOut(t, i, record);
        }
        return 0;
    }
    (void)d;
    if (flags & FIND_FIRST) *t.cursor = 0;
    if (flags & FIND_LAST) {
        if (count == 0) return 0;
        *t.cursor = count;
        return copyOut(t, count - 1, record);
    }
    if (!(flags & (FIND_FIRST | FIND_NEXT)) || *t.cursor >= count) return 0;
    return copyOut(t, (*t.cursor)++, record);
}

// The name of a table record by object number, "" when there is none.
const char* nameOf(tag_DRAWING* d, unsigned long type, DWORD handle) {
    Table t{};
    if (handle == 0 || !tableOf(d, type, t)) return "";
    for (DWORD i = 0; i < *t.count; ++i)
        if (handleAt(t, i) == handle) return nameAt(t, i);
    return "";
}

DWORD handleOf(tag_DRAWING* d, unsigned long type, const char* name) {
    Table t{};
    if (!name || !*name || !tableOf(d, type, t)) return 0;
    for (DWORD i = 0; i < *t.count; ++i)
        if (strncmp(nameAt(t, i), name, 512) == 0) return handleAt(t, i);
    return 0;
}

tag_BLOCKHEADER* blockByHandle(tag_DRAWING* d, DWORD handle) {
    for (DWORD i = 0; i < d->BlockCount; ++i)
        if (d->Blocks[i].Objhandle == handle) return &d->Blocks[i];
    return nullptr;
}

tag_BLOCKHEADER* blockByName(tag_DRAWING* d, const char* name) {
    for (DWORD i = 0; i < d->BlockCount; ++i)
        if (strncmp(d->Blocks[i].Name, name, sizeof d->Blocks[i].Name) == 0) return &d->Blocks[i];
    return nullptr;
}

bool live(HDRAWING h) {
    return h && h->Initialized;
}

}  // namespace

DWORD drwEntityDataSize(unsigned type) {
    switch (type) {
        case ENT_LINE:
            return sizeof(tag_ENTLINE);
        case ENT_POINT:
            return sizeof(tag_ENTPOINT);
        case ENT_CIRCLE:
            return sizeof(tag_ENTCIRCLE);
        case ENT_ELLIPSE:
            return sizeof(tag_ENTELLIPSE);
        case ENT_TEXT:
            return sizeof(tag_ENTTEXT);
        case ENT_ARC:
            return sizeof(tag_ENTARC);
        case ENT_SOLID:
            return sizeof(tag_ENTSOLID);
        case ENT_INSERT:
            return sizeof(tag_ENTINSERT);
        case ENT_POLYLINE:
            return sizeof(StoredPolyline);
        case ENT_DIMENSION:
            return sizeof(tag_ENTDIMENSION);
        case ENT_FACE3D:
            return sizeof(tag_ENT3DFACE);
        default:
            return 0;
    }
}

HDRAWING drwCreate() {
    auto* d = static_cast<tag_DRAWING*>(std::calloc(1, sizeof(tag_DRAWING)));
    if (!d) return nullptr;
    d->HeightScale = d->WidthScale = 1.0;
    d->LastObjhandle = 15;
    if (!allocList(d->Entities, kModelSpaceSize)) {
        std::free(d);
        return nullptr;
    }
    d->View.ZoomLevel = d->View.PPU = 1.0;
    d->Initialized = 1;
    return d;
}

tag_DRAWING* InitilizePDRAWING(HDRAWING h) {
    return h;
}

int UnInitilizePDRAWING(HDRAWING) {
    return 1;
}

int drwDestroy(HDRAWING h) {
    if (!live(h)) return 0;
    h->Initialized = 0;
    freeList(h, h->Entities);
    // Every slot, since a deleted block's slot can hide the block after it.
    for (tag_BLOCKHEADER& b : h->Blocks) freeList(h, b.Entities);
    for (DWORD i = 0; i < h->VertexArrayCount; ++i) std::free(h->VertexArrays[i]);
    std::free(h->VertexArrays);
    std::free(h);
    return 1;
}

int drwSetScale(HDRAWING h, double widthScale, double heightScale) {
    if (!live(h)) return 0;
    h->WidthScale = widthScale;
    h->HeightScale = heightScale;
    return 1;
}
double drwGetHeightScale(HDRAWING h) {
    return live(h) ? h->HeightScale : 0.0;
}
double drwGetWidthScale(HDRAWING h) {
    return live(h) ? h->WidthScale : 0.0;
}

unsigned long drwAddTableType_Direct(tag_DRAWING* d, unsigned long type, void* record) {
    Table t{};
    if (!d || !record || !tableOf(d, type, t) || *t.count >= t.limit) return 0;
    if (type == TAB_LAYER) {
        const DWORD lt = static_cast<tag_LAYER*>(record)->LineTypeObjhandle;
        bool found = false;
        for (DWORD i = 0; i < d->LTypeCount; ++i) found = found || d->LTypes[i].Objhandle == lt;
        if (!found) return 0;
    }
    if (type == TAB_DIMSTYLE) {
        const DWORD st = static_cast<tag_DIMSTYLE*>(record)->DIMTXSTYObjhandle;
        bool found = false;
        for (DWORD i = 0; i < d->StyleCount; ++i) found = found || d->Styles[i].Objhandle == st;
        if (!found) return 0;
    }
    unsigned char* at = t.records + *t.count * t.size;
    std::memcpy(at, record, t.size);
    at[sizeof(DWORD) + 511] = '\0';  // the name ends within its array
    const DWORD handle = ++d->LastObjhandle;
    std::memcpy(at, &handle, sizeof handle);
    ++*t.count;
    return handle;
}

unsigned long drwAddTableType(HDRAWING h, unsigned long type, void* record) {
    tag_DRAWING* d = InitilizePDRAWING(h);
    if (!live(d)) return 0;
    unsigned long result = drwAddTableType_Direct(d, type, record);
    UnInitilizePDRAWING(h);
    return result;
}

unsigned long drwFindTableType_Direct(tag_DRAWING* d, unsigned long type, unsigned long flags,
                                      void* record) {
    if (!d || !record) return 0;
    Table t{};
    if (type != TAB_NOTSET) return tableOf(d, type, t) ? findInTable(d, t, flags, record) : 0;
    // All tables, one after the other.
    if (flags & (FIND_BYNAME | FIND_BYHANDLE)) {
        for (unsigned long each : kTableOrder) {
            tableOf(d, each, t);
            DRWTABLERECORD probe;
            std::memcpy(&probe, record, sizeof(DWORD) + 512);
            if (unsigned long found = findInTable(d, t, flags, &probe)) {
                std::memcpy(record, &probe, t.size);
                return found;
            }
        }
        return 0;
    }
    if (flags & FIND_LAST) {
        for (int i = 3; i >= 0; --i) {
            tableOf(d, kTableOrder[i], t);
            if (*t.count) return findInTable(d, t, FIND_LAST, record);
        }
        return 0;
    }
    if (flags & FIND_FIRST)
        for (unsigned long each : kTableOrder) *(tableOf(d, each, t), t.cursor) = 0;
    if (!(flags & (FIND_FIRST | FIND_NEXT))) return 0;
    for (unsigned long each : kTableOrder) {
        tableOf(d, each, t);
        if (*t.cursor < *t.count) return findInTable(d, t, FIND_NEXT, record);
    }
    return 0;
}

unsigned long drwFindTableType(HDRAWING h, unsigned long type, unsigned long flags, void* record) {
    tag_DRAWING* d = InitilizePDRAWING(h);
    if (!live(d)) return 0;
    unsigned long result = drwFindTableType_Direct(d, type, flags, record);
    UnInitilizePDRAWING(h);
    return result;
}

int drwDeleteTableType(HDRAWING h, unsigned long type, unsigned long objhandle) {
    if (!live(h)) return 0;
    for (unsigned long each : kTableOrder) {
        Table t{};
        if ((type != TAB_NOTSET && each != type) || !tableOf(h, each, t)) continue;
        for (DWORD i = 0; i < *t.count; ++i) {
            if (handleAt(t, i) != objhandle) continue;
            std::memmove(t.records + i * t.size, t.records + (i + 1) * t.size,
                         (*t.count - i - 1) * t.size);
            --*t.count;
            std::memset(t.records + *t.count * t.size, 0, t.size);
            if (*t.cursor > i) --*t.cursor;
            return 1;
        }
    }
    return 0;
}

unsigned long drwAddBlock(HDRAWING h, tag_BLOCKHEADER* b) {
    if (!live(h) || !b || h->BlockCount >= DRW_MAX_BLOCKS) return 0;
    char name[512];
    copyName(name, b->Name);
    if (blockByName(h, name)) return 0;
    tag_BLOCKHEADER& slot = h->Blocks[h->BlockCount];
    ENTITIES_DATA list = slot.Entities;  // a block hidden by a deletion before
    freeList(h, list);
    slot = *b;
    copyName(slot.Name, name);
    slot.Entities = {};
    if (!allocList(slot.Entities, kBlockListSize)) return 0;
    slot.Objhandle = ++h->LastObjhandle;
    ++h->BlockCount;
    return slot.Objhandle;
}

unsigned long drwFindBlock_Direct(tag_DRAWING* d, unsigned long flags, tag_BLOCKHEADER* b) {
    if (!d || !b) return 0;
    const tag_BLOCKHEADER* found = nullptr;
    if (flags & FIND_BYNAME) {
        char name[512];
        copyName(name, b->Name);
        found = blockByName(d, name);
    } else if (flags & FIND_BYHANDLE) {
        found = blockByHandle(d, b->Objhandle);
    } else if (flags & FIND_LAST) {
        if (d->BlockCount == 0) return 0;
        d->BlockCursor = d->BlockCount;
        found = &d->Blocks[d->BlockCount - 1];
    } else if (flags & (FIND_FIRST | FIND_NEXT)) {
        if (flags & FIND_FIRST) d->BlockCursor = 0;
        if (d->BlockCursor >= d->BlockCount) return 0;
        found = &d->Blocks[d->BlockCursor++];
    }
    if (!found) return 0;
    *b = *found;
    return found->Objhandle;
}

unsigned long drwFindBlock(HDRAWING h, unsigned long flags, tag_BLOCKHEADER* b) {
    tag_DRAWING* d = InitilizePDRAWING(h);
    if (!live(d)) return 0;
    unsigned long result = drwFindBlock_Direct(d, flags, b);
    UnInitilizePDRAWING(h);
    return result;
}

int drwDeleteBlock(HDRAWING h, unsigned long objhandle) {
    if (!live(h)) return 0;
    tag_BLOCKHEADER* b = blockByHandle(h, static_cast<DWORD>(objhandle));
    if (!b) return 0;
    freeList(h, b->Entities);
    --h->BlockCount;
    if (h->BlockCursor > h->BlockCount) h->BlockCursor = h->BlockCount;
    return 1;
}

int drwGetBlocksNum(HDRAWING h) {
    return live(h) ? static_cast<int>(h->BlockCount) : 0;
}

unsigned long drwAddEntity_Direct(tag_DRAWING* d, unsigned long blockObjhandle,
                                  tag_ENTITYHEADER* header, void* data) {
    if (!d || !header || !data) return 0;
    const DWORD size = drwEntityDataSize(header->EntityType);
    if (size == 0) return 0;
    ENTITIES_DATA* list = &d->Entities;
    if (blockObjhandle != 0) {
        tag_BLOCKHEADER* b = blockByHandle(d, static_cast<DWORD>(blockObjhandle));
        if (!b) return 0;
        list = &b->Entities;
    }
    if (!list->hMemory) return 0;  // a deleted block
    const unsigned long long end = 0ull + list->FreePos + kHeaderSize + size;
    if (end >= list->TotalSize) {
        if (0ull + list->TotalSize + kGrowth > 0xffffffffull) return 0;
        void* grown = std::realloc(list->hMemory, list->TotalSize + kGrowth);
        if (!grown) return 0;
        list->hMemory = static_cast<unsigned char*>(grown);
        std::memset(list->hMemory + list->TotalSize, 0, kGrowth);
        list->TotalSize += kGrowth;
        if (end >= list->TotalSize) return 0;
    }

    unsigned char body[sizeof(DRWENTITYDATA)];
    if (header->EntityType == ENT_POLYLINE) {
        tag_ENTPOLYLINE p;
        std::memcpy(&p, data, sizeof p);
        StoredPolyline stored;
        if ((p.nVertex > 0 && !p.pVertex) || !storePolyline(d, p, stored)) return 0;
        std::memcpy(body, &stored, sizeof stored);
    } else {
        std::memcpy(body, data, size);
    }
    if (header->EntityType == ENT_TEXT) reinterpret_cast<tag_ENTTEXT*>(body)->strText[1023] = '\0';
    if (header->EntityType == ENT_DIMENSION)
        reinterpret_cast<tag_ENTDIMENSION*>(body)->strText[sizeof(tag_ENTDIMENSION::strText) - 1] =
            '\0';

    header->PaperSpace = dxfGetPaperSpace();
    header->Objhandle = ++d->LastObjhandle;
    header->PreviousEntityPos = list->LastEntityPos;
    header->NextEntityPos = list->FreePos + kHeaderSize + size;
    std::memcpy(list->hMemory + list->FreePos, header, kHeaderSize);
    std::memcpy(list->hMemory + list->FreePos + kHeaderSize, body, size);
    list->LastEntityPos = list->FreePos;
    list->FreePos = header->NextEntityPos;
    ++list->EntitiesNumber;
    return header->Objhandle;
}

unsigned long drwAddEntity(HDRAWING h, unsigned long blockObjhandle, tag_ENTITYHEADER* header,
                           void* data) {
    tag_DRAWING* d = InitilizePDRAWING(h);
    if (!live(d)) return 0;
    unsigned long result = drwAddEntity_Direct(d, blockObjhandle, header, data);
    UnInitilizePDRAWING(h);
    return result;
}

unsigned long drwFindEntity_Direct(tag_DRAWING* d, const char* blockName, tag_ENTITYHEADER* header,
                                   void* data, unsigned long flags) {
    if (!d || !header || !data) return 0;
    ENTITIES_DATA* list = &d->Entities;
    if (blockName) {
        tag_BLOCKHEADER* b = blockByName(d, blockName);
        if (!b) return 0;
        list = &b->Entities;
    }
    if (!list->hMemory || list->EntitiesNumber == 0) return 0;
    DWORD pos;
    if (flags & FIND_FIRST) {
        pos = 0;
    } else if (flags & FIND_LAST) {
        pos = list->LastEntityPos;
    } else if (flags & FIND_NEXT) {
        if (list->CurrentEntityPos >= list->FreePos) return 0;
        pos = list->CurrentEntityPos;
    } else {
        return 0;
    }
    readRecord(d, *list, pos, *header, data);
    list->CurrentEntityPos =
        (flags & FIND_LAST) && !(flags & FIND_FIRST) ? list->FreePos : header->NextEntityPos;
    return header->Objhandle;
}

unsigned long drwFindEntity(HDRAWING h, const char* blockName, tag_ENTITYHEADER* header, void* data,
                            unsigned long flags) {
    tag_DRAWING* d = InitilizePDRAWING(h);
    if (!live(d)) return 0;
    unsigned long result = drwFindEntity_Direct(d, blockName, header, data, flags);
    UnInitilizePDRAWING(h);
    return result;
}

namespace {

bool listIsValid(const tag_DRAWING* d, const ENTITIES_DATA& list, std::set<DWORD>& handles,
                 DWORD last) {
    if (!list.hMemory) return list.FreePos == 0 && list.EntitiesNumber == 0;
    if (list.FreePos >= list.TotalSize && list.FreePos != 0) return false;
    DWORD pos = 0, count = 0, previousPos = 0;
    while (pos < list.FreePos) {
        if (0ull + pos + kHeaderSize > list.FreePos) return false;
        tag_ENTITYHEADER h;
        std::memcpy(&h, list.hMemory + pos, kHeaderSize);
        const DWORD size = drwEntityDataSize(h.EntityType);
        if (size == 0 || h.NextEntityPos != pos + kHeaderSize + size) return false;
        if (h.Objhandle == 0 || h.Objhandle > last || !handles.insert(h.Objhandle).second)
            return false;
        if (count > 0 && h.PreviousEntityPos != previousPos) return false;
        if (h.EntityType == ENT_POLYLINE) {
            StoredPolyline s;
            std::memcpy(&s, list.hMemory + pos + kHeaderSize, sizeof s);
            if (s.nVertex > 0 && !vertexArray(d, s.VertexArray)) return false;
        }
        previousPos = pos;
        pos = h.NextEntityPos;
        ++count;
    }
    return pos == list.FreePos && count == list.EntitiesNumber &&
           (count == 0 || list.LastEntityPos == previousPos);
}

}  // namespace

bool drwIsValid(HDRAWING h) {
    if (!live(h) || h->LastObjhandle < 15) return false;
    std::set<DWORD> handles;
    for (unsigned long type : kTableOrder) {
        Table t{};
        tableOf(h, type, t);
        if (*t.count > t.limit) return false;
        for (DWORD i = 0; i < *t.count; ++i) {
            const DWORD handle = handleAt(t, i);
            if (handle == 0 || handle > h->LastObjhandle || !handles.insert(handle).second)
                return false;
            if (std::memchr(nameAt(t, i), '\0', 512) == nullptr) return false;
        }
    }
    if (h->BlockCount > DRW_MAX_BLOCKS) return false;
    for (DWORD i = 0; i < h->BlockCount; ++i) {
        const tag_BLOCKHEADER& b = h->Blocks[i];
        if (b.Objhandle == 0 || b.Objhandle > h->LastObjhandle ||
            !handles.insert(b.Objhandle).second)
            return false;
        if (!listIsValid(h, b.Entities, handles, h->LastObjhandle)) return false;
    }
    return h->Entities.hMemory && listIsValid(h, h->Entities, handles, h->LastObjhandle);
}

// ---------------------------------------------------------------------------------------
// Saving and loading

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

// Reads the entities of the section or block, into `block` when `keep`.
void readEntities(tag_DRAWING* d, HDXF f, unsigned long block, bool keep = true) {
    tag_DXFENTITYHEADER fh;
    auto* fe = new DXFENTITYDATA;
    while (dxfReadEntityData(f, &fh, fe)) {
        if (keep) addReadEntity(d, block, fh, *fe);
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
                readEntities(h, f, added, added != 0);
            }
        } else if (section == SEC_ENTITIES) {
            readEntities(h, f, blockObjhandle);
        }
    }
    delete record;
    dxfCloseFile(f);
    return ok;
}

// ---------------------------------------------------------------------------------------
// The view and painting

int drwInitView(HDRAWING h, int x, int y, int width, int height) {
    if (!live(h)) return 0;
    tag_VIEW& v = h->View;
    v.Viewable = 1;
    v.WindowLeft = x, v.WindowTop = y, v.WindowRight = x + width, v.WindowBottom = y + height;
    v.ViewLeft = v.ViewBottom = 0.0;
    v.ZoomLevel = 1.0;
    if (!(v.PPU > 0.0)) v.PPU = 1.0;
    return 1;
}

int drwGetViewProperties(HDRAWING h, tag_VIEW* view) {
    if (!live(h) || !view) return 0;
    *view = h->View;
    return 1;
}

int drwSetViewProperties(HDRAWING h, const tag_VIEW* view) {
    if (!live(h) || !view || !(view->ZoomLevel > 0.0) || !(view->PPU > 0.0)) return 0;
    h->View = *view;
    return 1;
}

double drwGetZoomLevel(HDRAWING h) {
    return live(h) ? h->View.ZoomLevel : 0.0;
}

int drwSetZoomLevel(HDRAWING h, double zoom) {
    if (!live(h) || !(zoom > 0.0) || !std::isfinite(zoom)) return 0;
    tag_VIEW& v = h->View;
    const double hx = (v.WindowRight - v.WindowLeft) / 2.0;
    const double hy = (v.WindowBottom - v.WindowTop) / 2.0;
    const double a = 1.0 / (v.ZoomLevel * v.PPU), b = 1.0 / (zoom * v.PPU);
    v.ViewLeft += hx * a - hx * b;
    v.ViewBottom += hy * a - hy * b;
    v.ZoomLevel = zoom;
    return 1;
}

COLORREF drwColorOf(int aci) {
    aci = std::abs(aci);
    static const COLORREF kFirst[10] = {
        RGB(0, 0, 0),   RGB(255, 0, 0),   RGB(255, 255, 0), RGB(0, 255, 0),     RGB(0, 255, 255),
        RGB(0, 0, 255), RGB(255, 0, 255), RGB(0, 0, 0),     RGB(128, 128, 128), RGB(192, 192, 192)};
    if (aci < 10 || aci > 255) return aci < 10 ? kFirst[aci] : kFirst[0];
    if (aci >= 250) {
        const BYTE g = static_cast<BYTE>(51 + (aci - 250) * 40);
        return RGB(g, g, g);
    }
    // Hues every 15 degrees; within each ten, five shades, full and half saturated.
    const double hue = ((aci / 10) - 1) * 15.0;
    const int shade = (aci % 10) / 2;
    const bool half = aci % 2 == 1;
    const double value = (shade == 0   ? 1.0
                          : shade == 1 ? 0.8
                          : shade == 2 ? 0.6
                          : shade == 3 ? 0.5
                                       : 0.3);
    const double saturation = half ? 0.5 : 1.0;
    const double c = value * saturation, hp = hue / 60.0;
    const double x = c * (1 - std::fabs(std::fmod(hp, 2.0) - 1));
    double r = 0, g = 0, b = 0;
    if (hp < 1)
        r = c, g = x;
    else if (hp < 2)
        r = x, g = c;
    else if (hp < 3)
        g = c, b = x;
    else if (hp < 4)
        g = x, b = c;
    else if (hp < 5)
        r = x, b = c;
    else
        r = c, b = x;
    const double m = value - c;
    auto byte = [&](double v) { return static_cast<BYTE>(std::lround((v + m) * 255.0)); };
    return RGB(byte(r), byte(g), byte(b));
}

namespace {

// A transform from a block's drawing units to the drawing's, then to the device.
struct Placement {
    double ox = 0, oy = 0, xs = 1, ys = 1, c = 1, s = 0;
    double apply_x(double x, double y) const { return ox + c * xs * x - s * ys * y; }
    double apply_y(double x, double y) const { return oy + s * xs * x + c * ys * y; }
};

// Inserted blocks may nest (up to 8 deep, never through a block already being painted) and
// may be inserted many times; the budget bounds the work a drawing can ask of one paint.
constexpr long kPaintBudget = 1000000;

struct Painter {
    tag_DRAWING* d;
    HDC dc;
    IZEVPainter& out;
    double k;  // device units per drawing unit
    mutable long budget = kPaintBudget;
    mutable std::vector<DWORD> open;  // the blocks being painted, outermost first

    ZEVPaintPoint device(const Placement& p, double x, double y) const {
        const tag_VIEW& v = d->View;
        const double wx = p.apply_x(x, y), wy = p.apply_y(x, y);
        return {v.WindowLeft + (wx - v.ViewLeft) * k, v.WindowBottom - (wy - v.ViewBottom) * k};
    }

    COLORREF colorOf(const tag_ENTITYHEADER& h) const {
        int aci = h.Color;
        // Model space has no block to take a colour from: by block paints as by layer.
        if (aci == 256 || aci == 0)
            for (DWORD i = 0; i < d->LayerCount; ++i)
                if (d->Layers[i].Objhandle == h.LayerObjhandle) aci = d->Layers[i].Color;
        return drwColorOf(aci == 256 ? 7 : aci);
    }

    void arc(const Placement& p, double cx, double cy, double r, double a0, double a1,
             COLORREF color) const {
        const ZEVPaintPoint c = device(p, cx, cy);
        const double scale = std::sqrt(std::fabs(p.xs * p.ys));
        const double turn = std::atan2(p.s, p.c);
        out.Arc(dc, c.x, c.y, r * k * scale, a0 + turn, a1 + turn, color);
    }

    void entity(const Placement& p, const tag_ENTITYHEADER& h, const DRWENTITYDATA& e,
                int depth) const {
        const COLORREF color = colorOf(h);
        switch (h.EntityType) {
            case ENT_LINE: {
                ZEVPaintPoint a = device(p, e.Line.Point0.x, e.Line.Point0.y);
                ZEVPaintPoint b = device(p, e.Line.Point1.x, e.Line.Point1.y);
                out.Line(dc, a.x, a.y, b.x, b.y, color);
                break;
            }
            case ENT_POINT: {
                ZEVPaintPoint a = device(p, e.Point.Point0.x, e.Point.Point0.y);
                out.Line(dc, a.x - 1, a.y, a.x + 1, a.y, color);
                out.Line(dc, a.x, a.y - 1, a.x, a.y + 1, color);
                break;
            }
            case ENT_CIRCLE:
                arc(p, e.Circle.Point0.x, e.Circle.Point0.y, e.Circle.Radius, 0.0, 2 * kPi, color);
                break;
            case ENT_ARC:
                arc(p, e.Arc.Point0.x, e.Arc.Point0.y, e.Arc.Radius, e.Arc.StartAngle * kPi / 180,
                    e.Arc.EndAngle * kPi / 180, color);
                break;
            case ENT_ELLIPSE: {
                const tag_ENTELLIPSE& el = e.Ellipse;
                double t0 = el.StartParam, t1 = el.EndParam;
                if (!(t1 > t0)) t1 += 2 * kPi;
                if (!std::isfinite(t0) || !std::isfinite(t1) || t1 - t0 > 2 * kPi + 1e-9)
                    t0 = 0, t1 = 2 * kPi;
                const double mx = el.MajorAxisEndPoint.x, my = el.MajorAxisEndPoint.y;
                const double ratio = el.MinorToMajorRatio;
                ZEVPaintPoint pts[65];
                for (int i = 0; i <= 64; ++i) {
                    const double t = t0 + (t1 - t0) * i / 64;
                    const double x = el.CenterPoint.x + mx * std::cos(t) - ratio * my * std::sin(t);
                    const double y = el.CenterPoint.y + my * std::cos(t) + ratio * mx * std::sin(t);
                    pts[i] = device(p, x, y);
                }
                out.Polyline(dc, pts, 65, false, color);
                break;
            }
            case ENT_TEXT:
            case ENT_DIMENSION: {
                const bool text = h.EntityType == ENT_TEXT;
                const tag_REALPOINT at =
                    text ? (e.Text.Justification ? e.Text.SecondAlignmentPoint : e.Text.Point0)
                         : e.Dimension.DimLinePoint;
                const double height = text ? e.Text.Height : 1.0;
                const double angle =
                    (text ? e.Text.RotationAngle : e.Dimension.DimLineAngle) * kPi / 180;
                const ZEVPaintPoint a = device(p, at.x, at.y);
                out.Text(dc, a.x, a.y, height * k * std::fabs(p.ys), angle + std::atan2(p.s, p.c),
                         text ? e.Text.strText : e.Dimension.strText, color);
                break;
            }
            case ENT_SOLID:
            case ENT_FACE3D: {
                const tag_ENTSOLID& s = e.Solid;
                // A solid's third and fourth corners run across, a face's round.
                const tag_REALPOINT* order[4] = {&s.Point0, &s.Point1,
                                                 h.EntityType == ENT_SOLID ? &s.Point3 : &s.Point2,
                                                 h.EntityType == ENT_SOLID ? &s.Point2 : &s.Point3};
                ZEVPaintPoint pts[4];
                for (int i = 0; i < 4; ++i) pts[i] = device(p, order[i]->x, order[i]->y);
                out.Polyline(dc, pts, 4, true, color);
                break;
            }
            case ENT_POLYLINE: {
                std::vector<ZEVPaintPoint> pts;
                for (DWORD i = 0; i < e.PolyLine.nVertex; ++i)
                    pts.push_back(
                        device(p, e.PolyLine.pVertex[i].Point.x, e.PolyLine.pVertex[i].Point.y));
                out.Polyline(dc, pts.data(), static_cast<int>(pts.size()),
                             (e.PolyLine.Flag & 1) != 0, color);
                break;
            }
            case ENT_INSERT: {
                const tag_ENTINSERT& in = e.Insert;
                const tag_BLOCKHEADER* b = blockByHandle(d, in.BlockHeaderObjhandle);
                if (!b || depth >= 8 ||
                    std::find(open.begin(), open.end(), b->Objhandle) != open.end())
                    break;
                Placement inner;
                const double r = in.RotationAngle * kPi / 180;
                inner.xs = in.XScale != 0.0 ? in.XScale : 1.0;
                inner.ys = in.YScale != 0.0 ? in.YScale : 1.0;
                inner.c = std::cos(r), inner.s = std::sin(r);
                inner.ox = in.Point0.x - (inner.c * inner.xs * b->BasePoint.x -
                                          inner.s * inner.ys * b->BasePoint.y);
                inner.oy = in.Point0.y - (inner.s * inner.xs * b->BasePoint.x +
                                          inner.c * inner.ys * b->BasePoint.y);
                // Compose: the block's placement inside the outer one.
                Placement both;
                both.c = p.c * inner.c - p.s * inner.s;
                both.s = p.s * inner.c + p.c * inner.s;
                both.xs = p.xs * inner.xs, both.ys = p.ys * inner.ys;
                both.ox = p.apply_x(inner.ox, inner.oy);
                both.oy = p.apply_y(inner.ox, inner.oy);
                open.push_back(b->Objhandle);
                list(both, b->Entities, depth + 1);
                open.pop_back();
                break;
            }
            default:
                break;
        }
    }

    void list(const Placement& p, const ENTITIES_DATA& l, int depth) const {
        for (DWORD pos = 0; l.hMemory && pos < l.FreePos && budget > 0; --budget) {
            tag_ENTITYHEADER h;
            DRWENTITYDATA e;
            readRecord(d, l, pos, h, &e);
            entity(p, h, e, depth);
            pos = h.NextEntityPos;
        }
    }
};

}  // namespace

int drwPaint(HDRAWING h, HDC dc) {
    if (!live(h)) return 0;
    const tag_VIEW& v = h->View;
    IZEVPainter& out = ZEVPainter();
    out.FillRect(dc, v.WindowLeft, v.WindowTop, v.WindowRight, v.WindowBottom, RGB(255, 255, 255));
    out.SetClip(dc, v.WindowLeft, v.WindowTop, v.WindowRight, v.WindowBottom);
    Painter painter{h, dc, out, v.ZoomLevel * v.PPU, kPaintBudget, {}};
    painter.list(Placement{}, h->Entities, 0);
    out.SetClip(dc, 0, 0, 0, 0);
    return 1;
}

// ---------------------------------------------------------------------------------------
// CDrawing

CDrawing::CDrawing() {
    syncTemplate();
}

CDrawing::~CDrawing() {
    Destroy();
}

void CDrawing::syncTemplate() {
    m_EntityHeader.LayerObjhandle = LayerObjhandle;
    m_EntityHeader.LTypeObjhandle = LTypeObjhandle;
    m_EntityHeader.Color = Color;
    m_EntityHeader.Thickness = Thickness;
    m_EntityHeader.LineTypeScale = 1.0;
    m_EntityHeader.ExtrusionDirection[0] = m_EntityHeader.ExtrusionDirection[1] = 0.0;
    m_EntityHeader.ExtrusionDirection[2] = 1.0;
}

bool CDrawing::Create() {
    if (m_hDrawing) return false;
    m_hDrawing = drwCreate();
    LayerObjhandle = LTypeObjhandle = StyleObjhandle = DimStyleObjhandle = 0;
    Color = 256;
    Thickness = 0.0;
    m_ActiveBlock = 0;
    syncTemplate();
    return m_hDrawing != nullptr;
}

bool CDrawing::Destroy() {
    if (!m_hDrawing) return false;
    drwDestroy(m_hDrawing);
    m_hDrawing = nullptr;
    return true;
}

unsigned long CDrawing::AddBlock(tag_BLOCKHEADER* blockHeader, const char* fileName) {
    const unsigned long block = drwAddBlock(m_hDrawing, blockHeader);
    if (!block || !fileName) return block;
    return drwLoadDXFFile(m_hDrawing, fileName, block) ? block : 0;
}

bool CDrawing::SetActiveBlock(const char* name) {
    if (!m_hDrawing) return false;
    if (!name) {
        m_ActiveBlock = 0;
        return true;
    }
    tag_BLOCKHEADER* b = blockByName(m_hDrawing, name);
    if (!b) return false;
    m_ActiveBlock = b->Objhandle;
    return true;
}

bool CDrawing::SetLayer(const char* name) {
    const DWORD handle = m_hDrawing ? handleOf(m_hDrawing, TAB_LAYER, name) : 0;
    if (!handle) return false;
    LayerObjhandle = handle;
    LTypeObjhandle = 0;
    syncTemplate();
    return true;
}

bool CDrawing::SetLineType(const char* name) {
    if (!m_hDrawing) return false;
    const DWORD handle = name ? handleOf(m_hDrawing, TAB_LTYPE, name) : 0;
    if (name && !handle) return false;
    LTypeObjhandle = handle;
    syncTemplate();
    return true;
}

bool CDrawing::SetTextStyle(const char* name) {
    const DWORD handle = m_hDrawing ? handleOf(m_hDrawing, TAB_STYLE, name) : 0;
    if (!handle) return false;
    StyleObjhandle = handle;
    return true;
}

bool CDrawing::SetDimStyle(const char* name) {
    const DWORD handle = m_hDrawing ? handleOf(m_hDrawing, TAB_DIMSTYLE, name) : 0;
    if (!handle) return false;
    DimStyleObjhandle = handle;
    return true;
}

bool CDrawing::SetColor(short color) {
    Color = color;
    syncTemplate();
    return true;
}

bool CDrawing::SetThickness(double thickness) {
    Thickness = thickness;
    syncTemplate();
    return true;
}

unsigned long CDrawing::make(WORD type, void* data) {
    m_EntityHeader.EntityType = type;
    return AddEntity(m_ActiveBlock, &m_EntityHeader, data);
}

unsigned long CDrawing::Line(double x1, double y1, double x2, double y2) {
    tag_ENTLINE l{{x1, y1, 0}, {x2, y2, 0}};
    return make(ENT_LINE, &l);
}

unsigned long CDrawing::Point(double x, double y) {
    tag_ENTPOINT p{{x, y, 0}};
    return make(ENT_POINT, &p);
}

unsigned long CDrawing::Circle(double cx, double cy, double radius) {
    tag_ENTCIRCLE c{{cx, cy, 0}, radius};
    return make(ENT_CIRCLE, &c);
}

unsigned long CDrawing::Arc(double cx, double cy, double radius, double startAngle,
                            double endAngle) {
    tag_ENTARC a{};
    a.Point0 = {cx, cy, 0};
    a.Radius = radius, a.StartAngle = startAngle, a.EndAngle = endAngle;
    return make(ENT_ARC, &a);
}

unsigned long CDrawing::Text(const char* text, double x, double y, double height) {
    return Text(text, x, y, x, y, height, 0.0, 0, 0.0);
}

unsigned long CDrawing::Text(const char* text, double x1, double y1, double x2, double y2,
                             double height, double rotation, DWORD justification,
                             double widthFactor) {
    if (!text) return 0;
    auto* t = new tag_ENTTEXT{};
    t->Point0 = {x1, y1, 0};
    t->SecondAlignmentPoint = {x2, y2, 0};
    t->Height = height, t->RotationAngle = rotation, t->WidthFactor = widthFactor;
    t->Justification = justification;
    t->TextStyleObjhandle = StyleObjhandle;
    copyName(t->strText, text);
    const unsigned long result = make(ENT_TEXT, t);
    delete t;
    return result;
}

unsigned long CDrawing::Solid(const tag_REALPOINT& p0, const tag_REALPOINT& p1,
                              const tag_REALPOINT& p2, const tag_REALPOINT& p3) {
    tag_ENTSOLID s{p0, p1, p2, p3};
    return make(ENT_SOLID, &s);
}

unsigned long CDrawing::Face3D(const tag_REALPOINT& p0, const tag_REALPOINT& p1,
                               const tag_REALPOINT& p2, const tag_REALPOINT& p3) {
    tag_ENT3DFACE s{p0, p1, p2, p3};
    return make(ENT_FACE3D, &s);
}

unsigned long CDrawing::InsertBlock(const char* blockName, double x, double y, double xScale,
                                    double yScale, double rotation) {
    tag_BLOCKHEADER* b = m_hDrawing && blockName ? blockByName(m_hDrawing, blockName) : nullptr;
    if (!b) return 0;
    auto* in = new tag_ENTINSERT{};
    in->Point0 = {x, y, 0};
    in->XScale = xScale, in->YScale = yScale, in->RotationAngle = rotation;
    in->BlockHeaderObjhandle = b->Objhandle;
    const unsigned long result = make(ENT_INSERT, in);
    delete in;
    return result;
}

unsigned long CDrawing::PolyLine(const tag_ENTVERTEX* vertices, int count, unsigned flags) {
    if (count < 0 || (count > 0 && !vertices)) return 0;
    tag_ENTPOLYLINE p{const_cast<tag_ENTVERTEX*>(vertices), static_cast<DWORD>(count), flags};
    return make(ENT_POLYLINE, &p);
}

unsigned long CDrawing::DimLinear(double x1, double y1, double x2, double y2, double x3, double y3,
                                  double angle, const char* text) {
    if (!text) return 0;
    auto* dim = new tag_ENTDIMENSION{};
    dim->DefPoint1 = {x1, y1, 0};
    dim->DefPoint2 = {x2, y2, 0};
    dim->DimLinePoint = {x3, y3, 0};
    dim->DimLineAngle = angle;
    dim->DimStyleObjhandle = DimStyleObjhandle;
    copyName(dim->strText, text);
    const unsigned long result = make(ENT_DIMENSION, dim);
    delete dim;
    return result;
}
