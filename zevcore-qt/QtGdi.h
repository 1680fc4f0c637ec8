#pragma once

// The desktop's colours, message font and font metrics, as Qt's palette and font database
// give them.

#include "zevcore/platform/services/Gdi.h"

class CZEVQtGdi : public IZEVGdiService {
public:
    COLORREF SysColor(int index) override;
    LOGFONTA MessageFont() override;
    ZEVFontMetrics Metrics(const LOGFONTA& font) override;
    LOGFONTA Realise(const LOGFONTA& font) override;
    /// Qt applications carry no bitmap resources: always the empty image.
    ZEVImage LoadBitmap(HINSTANCE, UINT) override { return {}; }
    int TextWidth(const LOGFONTA& font, const char* text) override;
};
