#pragma once

// Text in an OpenGL view, as the labelled symbols use it: an anchor on the screen, an angle,
// and the words. The library draws no text of its own; a host (or a test) supplies the text
// object.

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"
#include "zevcore/platform/framework/String.h"
#include "zevcore/platform/gl/GLPlatform.h"

class ZEVCORE_API CGLText {
public:
    /// Horizontal alignment of a label about its anchor: 0 left, 1 centred, 2 right.
    virtual void SetHAlignment(int alignment) { m_hAlignment = alignment; }
    /// Writes `text` at `anchor` (window pixels, y down), turned by `angle` degrees counter-
    /// clockwise, in `colour`; `size` is the caller's text size.
    virtual void DrawLabel(CDC* dc, const CPoint& anchor, double angle, const CString& text,
                           int size, unsigned long colour) = 0;
    virtual ~CGLText();

    int m_hAlignment = 0;
};
