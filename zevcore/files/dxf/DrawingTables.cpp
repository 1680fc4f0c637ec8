#include <cstdlib>
#include <cstring>
#include <set>

#include "zevcore/files/dxf/Drawing.h"
#include "zevcore/files/dxf/DrawingStore.hpp"

using namespace Drawing::detail;

namespace {

constexpr DWORD kHeaderSize = sizeof(tag_ENTITYHEADER);
constexpr DWORD kModelSpaceSize = 65536;
constexpr DWORD kBlockListSize = 16384;
constexpr DWORD kGrowth = 65536;

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

}  // namespace

namespace Drawing::detail {

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

}  // namespace Drawing::detail

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
