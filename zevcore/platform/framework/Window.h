#pragma once

// The smallest stand-ins for the framework's window classes that the interface logic passes
// around: a window is a handle a binding gave it; an edit field is a window that takes text.

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"
#include "zevcore/platform/framework/String.h"

class ZEVCORE_API CWnd {
public:
    virtual ~CWnd();
    HWND GetSafeHwnd() const { return m_hWnd; }

    /// The handle of the binding's window, or null while there is none.
    HWND m_hWnd = nullptr;
};

class ZEVCORE_API CEdit : public CWnd {
public:
    virtual void SetWindowText(const char* text) { m_text = text ? text : ""; }
    virtual const CString& GetWindowText() const { return m_text; }

private:
    CString m_text;
};
