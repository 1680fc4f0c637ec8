#pragma once

// Look-ups into the drawing database shared by its tables, file, paint and CDrawing files. Not
// part of the interface: nothing here is exported, and the header (.hpp) is not installed.

#include "zevcore/files/dxf/Drawing.h"
#include "zevcore/files/dxf/DxfHandle.hpp"

namespace Drawing::detail {

using Dxf::detail::copyName;

/// Whether the handle is a drawing not yet destroyed.
bool live(HDRAWING h);

/// Copies the record at `pos` out: its header, and its data in the caller's form (a
/// polyline's vertices stay the drawing's).
void readRecord(const tag_DRAWING* d, const ENTITIES_DATA& list, DWORD pos, tag_ENTITYHEADER& h,
                void* data);

/// The name of a table record by object number, "" when there is none.
const char* nameOf(tag_DRAWING* d, unsigned long type, DWORD handle);
/// The object number of a table record by name, 0 when there is none.
DWORD handleOf(tag_DRAWING* d, unsigned long type, const char* name);

tag_BLOCKHEADER* blockByHandle(tag_DRAWING* d, DWORD handle);
tag_BLOCKHEADER* blockByName(tag_DRAWING* d, const char* name);

}  // namespace Drawing::detail
