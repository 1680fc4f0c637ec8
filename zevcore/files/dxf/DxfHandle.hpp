#pragma once

// The handle behind an HDXF, shared by the writer, the dimension drawing and the reader. Not
// part of the interface: nothing here is exported, and the header (.hpp) is not installed.

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <vector>

#include "zevcore/files/dxf/Dxf.h"

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
    bool MoreKinds = false;      // MTEXT and HATCH answered, not passed over
    tag_DXFENTITYEXTRA Extra{};  // of the entity last read
};

namespace Dxf::detail {

inline void copyName(char* to, std::size_t capacity, const char* from) {
    std::size_t n = from ? std::strlen(from) : 0;
    if (n >= capacity) n = capacity - 1;
    if (n) std::memcpy(to, from, n);
    to[n] = '\0';
}

template <std::size_t N>
void copyName(char (&to)[N], const char* from) {
    copyName(to, N, from);
}

inline bool writing(const tag_DXF* d) {
    return d && d->Write && !d->Failed;
}

inline bool entitiesAllowed(const tag_DXF* d) {
    return writing(d) && (d->CurrentSection & SEC_ENTITIES);
}

inline bool reading(const tag_DXF* d) {
    return d && !d->Write && d->pStream;
}

/// The name a table has in a file; null for a value that is no table.
inline const char* tableName(unsigned long table) {
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

inline const tag_DXFDIMSTYLE* findDimStyle(const tag_DXF* d, const char* name) {
    for (const tag_DXFDIMSTYLE& s : d->DimStyles)
        if (std::strcmp(s.Name, name) == 0) return &s;
    return nullptr;
}

}  // namespace Dxf::detail
