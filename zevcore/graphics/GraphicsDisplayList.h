#pragma once

// One OpenGL display list that knows whether it is the one being compiled.

#include "zevcore/Export.h"

class ZEVCORE_API CGraphicsDisplayList {
public:
    CGraphicsDisplayList() = default;
    /// Deletes the list; the context it was made in must be current.
    ~CGraphicsDisplayList();
    CGraphicsDisplayList(const CGraphicsDisplayList&) = delete;
    CGraphicsDisplayList& operator=(const CGraphicsDisplayList&) = delete;

    /// Begins compiling, unless some list is being compiled already; the id is made once.
    void StartDef();
    /// Ends compiling, only if this list is the one being compiled.
    void EndDef();
    /// Calls the list; with `m_bSaveState` the matrix and all attributes are kept round it.
    void Execute();

    bool m_bSaveState = false;
    unsigned m_listID = 0;
};
