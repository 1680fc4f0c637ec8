#pragma once

// The pop-up that shows a text beside a control, such as a rejected entry's message above
// its cell. No window of its own: a binding shows `Text()` at `Position()` while `IsOn()`.

#include "zevcore/platform/Types.h"
#include "zevcore/platform/framework/String.h"
#include "zevcore/platform/framework/Window.h"

class CMessage {
public:
    void Init(CWnd* parent) { m_parent = parent; }
    CWnd* Parent() const { return m_parent; }
    void SetText(const char* text) { m_text = text ? text : ""; }
    const CString& Text() const { return m_text; }
    /// The pop-up's bottom-left corner, in the parent's pixels.
    void SetPosition(POINT position) { m_position = position; }
    POINT Position() const { return m_position; }
    void On() { m_on = true; }
    void Off() { m_on = false; }
    bool IsOn() const { return m_on; }

private:
    CWnd* m_parent = nullptr;
    CString m_text;
    POINT m_position;
    bool m_on = false;
};
