#include "zevcore/files/dxf/DxfFileWrite.h"

CDxfFileWrite::~CDxfFileWrite() {
    if (!m_hDxf) return;
    // A section left open would make the close refuse; end it so the file is complete.
    if (dxfGetBlockOpen(m_hDxf)) dxfBlockEnd(m_hDxf);
    if (dxfGetCurrentTableType(m_hDxf)) dxfTableTypeEnd(m_hDxf);
    if (dxfGetCurrentSection(m_hDxf)) dxfSectionEnd(m_hDxf);
    dxfCloseFile(m_hDxf);
}

bool CDxfFileWrite::Create(const char* fileName, bool) {
    if (m_hDxf) Close();
    m_hDxf = dxfCreateFile(fileName);
    return m_hDxf != nullptr;
}

bool CDxfFileWrite::Create(const CString& fileName, bool unused) {
    return Create(static_cast<const char*>(fileName), unused);
}

bool CDxfFileWrite::Close() {
    if (!m_hDxf || !dxfCloseFile(m_hDxf)) return false;
    m_hDxf = nullptr;
    return true;
}
