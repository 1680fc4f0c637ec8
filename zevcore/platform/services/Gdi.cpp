#include "zevcore/platform/services/Gdi.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "zevcore/platform/services/Module.h"

IZEVGdiService::~IZEVGdiService() = default;

namespace {

IZEVGdiService* gInstalled = nullptr;

}  // namespace

IZEVGdiService& ZEVGdi() {
    static CZEVHeadlessGdi fallback;
    return gInstalled ? *gInstalled : fallback;
}

IZEVGdiService* ZEVInstallGdi(IZEVGdiService* service) {
    IZEVGdiService* previous = gInstalled;
    gInstalled = service;
    return previous;
}

COLORREF GetSysColor(int index) {
    return ZEVGdi().SysColor(index);
}

COLORREF CZEVHeadlessGdi::SysColor(int index) {
    switch (index) {
        case COLOR_WINDOW:
            return RGB(255, 255, 255);
        case COLOR_WINDOWTEXT:
            return RGB(0, 0, 0);
        case COLOR_HIGHLIGHT:
            return RGB(0, 120, 215);
        case COLOR_HIGHLIGHTTEXT:
            return RGB(255, 255, 255);
        case COLOR_GRAYTEXT:
            return RGB(109, 109, 109);
        case COLOR_INFOBK:
            return RGB(255, 255, 225);
        default:
            return 0;
    }
}

LOGFONTA CZEVHeadlessGdi::MessageFont() {
    LOGFONTA font{};
    font.lfHeight = -12;
    font.lfWeight = FW_NORMAL;
    std::strcpy(font.lfFaceName, "Sans");
    return font;
}

ZEVFontMetrics CZEVHeadlessGdi::Metrics(const LOGFONTA& font) {
    ZEVFontMetrics m;
    if (font.lfHeight >= 0) {
        m.height = font.lfHeight;
        m.internalLeading = font.lfHeight / 5;
    } else {
        // -2^31 has no positive twin; clamp before negating.
        const LONG character = font.lfHeight == INT32_MIN ? INT32_MAX : -font.lfHeight;
        m.internalLeading = character / 4;
        m.height =
            character > INT32_MAX - m.internalLeading ? INT32_MAX : character + m.internalLeading;
    }
    return m;
}

LOGFONTA CZEVHeadlessGdi::Realise(const LOGFONTA& font) {
    LOGFONTA realised = font;
    realised.lfFaceName[LF_FACESIZE - 1] = '\0';
    return realised;
}

int CZEVHeadlessGdi::TextWidth(const LOGFONTA& font, const char* text) {
    if (!text) return 0;
    const ZEVFontMetrics m = Metrics(font);
    const double character = static_cast<double>(m.height - m.internalLeading);
    const double width = 0.6 * character * static_cast<double>(std::strlen(text));
    return static_cast<int>(std::min(width, 1e9));
}

BOOL CFont::CreateFontIndirect(const LOGFONTA* font) {
    if (!font) return 0;
    m_font = ZEVGdi().Realise(*font);
    m_created = true;
    return 1;
}

int CFont::GetLogFont(LOGFONTA* font) const {
    if (!font || !m_created) return 0;
    *font = m_font;
    return static_cast<int>(sizeof(LOGFONTA));
}

BOOL CFont::DeleteObject() {
    const bool had = m_created;
    m_created = false;
    m_font = LOGFONTA{};
    return had ? 1 : 0;
}

BOOL CBitmap::LoadBitmap(UINT id) {
    m_image = ZEVGdi().LoadBitmap(ZEVGetResourceHandle(), id);
    return m_image.empty() ? 0 : 1;
}

BOOL CImageList::Create(UINT id, int cx, int grow, COLORREF mask) {
    if (cx <= 0 || m_created) return 0;
    CBitmap bitmap;
    bitmap.LoadBitmap(id);
    const ZEVImage& whole = bitmap.Image();
    m_grow = grow;
    m_created = true;
    for (int left = 0; !whole.empty() && left + cx <= whole.width; left += cx) {
        ZEVImage cell;
        cell.width = cx;
        cell.height = whole.height;
        cell.pixels.reserve(static_cast<std::size_t>(cx) * static_cast<std::size_t>(whole.height));
        for (int y = 0; y < whole.height; ++y) {
            for (int x = left; x < left + cx; ++x) {
                const COLORREF p = whole.pixels[static_cast<std::size_t>(y) *
                                                    static_cast<std::size_t>(whole.width) +
                                                static_cast<std::size_t>(x)];
                cell.pixels.push_back(p == mask ? 0xFFFFFFFFu : p);
            }
        }
        m_images.push_back(std::move(cell));
    }
    return 1;
}

ZEVImage CImageList::GetImage(int index) const {
    if (index < 0 || index >= GetImageCount()) return {};
    return m_images[static_cast<std::size_t>(index)];
}
