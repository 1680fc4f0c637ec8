#pragma once

// What the interface pieces take from the desktop's drawing layer: the system colours, the
// message font and a font's metrics, font objects (which may normalise a description), and
// bitmaps found by resource id. A binding installs a service over its toolkit; the headless
// default answers with a fixed light palette, a 12-pixel sans-serif message font, metrics
// from the height alone and empty images, so that everything built on it runs without a
// display.

#include <cstdint>
#include <vector>

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"

// System colour indices, with the numbers callers know.
inline constexpr int COLOR_WINDOW = 5;
inline constexpr int COLOR_WINDOWTEXT = 8;
inline constexpr int COLOR_HIGHLIGHT = 13;
inline constexpr int COLOR_HIGHLIGHTTEXT = 14;
inline constexpr int COLOR_GRAYTEXT = 17;
inline constexpr int COLOR_INFOBK = 24;

inline constexpr LONG FW_NORMAL = 400;
inline constexpr LONG FW_BOLD = 700;

/// A picture: `width` x `height` pixels, rows top first, each pixel 0x00BBGGRR as a COLORREF.
/// Empty when no picture could be had.
struct ZEVImage {
    int width = 0;
    int height = 0;
    std::vector<COLORREF> pixels;
    bool empty() const { return width <= 0 || height <= 0; }
};

/// A font as drawn: its cell height and the part of it above the characters, in pixels.
struct ZEVFontMetrics {
    LONG height = 0;
    LONG internalLeading = 0;
};

class ZEVCORE_API IZEVGdiService {
public:
    virtual ~IZEVGdiService();
    /// The colour of a COLOR_ index; black for an index the service does not know.
    virtual COLORREF SysColor(int index) = 0;
    /// The font the desktop uses for messages and controls.
    virtual LOGFONTA MessageFont() = 0;
    virtual ZEVFontMetrics Metrics(const LOGFONTA& font) = 0;
    /// What a font object made from `font` reports back: the description as the desktop
    /// would realise it. Must at least end the face name within its 32 bytes.
    virtual LOGFONTA Realise(const LOGFONTA& font) = 0;
    /// The bitmap resource `id` of `module`; an empty image when there is none.
    virtual ZEVImage LoadBitmap(HINSTANCE module, UINT id) = 0;
    /// The pixel width of `text` in `font`, for fitting columns.
    virtual int TextWidth(const LOGFONTA& font, const char* text) = 0;
};

/// The default: no desktop. Characters are 0.6 of the character height wide; a font with a
/// positive height (a cell height) has a fifth of it as internal leading, one with a negative
/// height (a character height) gets a cell a quarter taller.
class ZEVCORE_API CZEVHeadlessGdi : public IZEVGdiService {
public:
    COLORREF SysColor(int index) override;
    LOGFONTA MessageFont() override;
    ZEVFontMetrics Metrics(const LOGFONTA& font) override;
    LOGFONTA Realise(const LOGFONTA& font) override;
    ZEVImage LoadBitmap(HINSTANCE, UINT) override { return {}; }
    int TextWidth(const LOGFONTA& font, const char* text) override;
};

ZEVCORE_API IZEVGdiService& ZEVGdi();
ZEVCORE_API IZEVGdiService* ZEVInstallGdi(IZEVGdiService* service);

ZEVCORE_API COLORREF GetSysColor(int index);

/// A font object. Made from a description, it keeps what the desktop realised.
class ZEVCORE_API CFont {
public:
    BOOL CreateFontIndirect(const LOGFONTA* font);
    /// Copies the realised description; 0 when the object holds no font.
    int GetLogFont(LOGFONTA* font) const;
    BOOL DeleteObject();
    bool IsCreated() const { return m_created; }

private:
    LOGFONTA m_font{};
    bool m_created = false;
};

/// A bitmap loaded from the current resource source.
class ZEVCORE_API CBitmap {
public:
    /// True when the resource gave a picture; a failed load leaves the bitmap empty.
    BOOL LoadBitmap(UINT id);
    const ZEVImage& Image() const { return m_image; }
    bool IsEmpty() const { return m_image.empty(); }

private:
    ZEVImage m_image;
};

/// Images of equal width cut from one bitmap, for tabs and tree rows.
class ZEVCORE_API CImageList {
public:
    /// Cuts bitmap `id` into images `cx` pixels wide; pixels of colour `mask` become
    /// transparent. True even for an empty bitmap (the list is then empty), false when
    /// `cx` is not positive or the list was made already.
    BOOL Create(UINT id, int cx, int grow, COLORREF mask);
    bool IsCreated() const { return m_created; }
    int GetImageCount() const { return static_cast<int>(m_images.size()); }
    /// Image `index`, with transparent pixels as 0xFFFFFFFF; empty for an index out of range.
    ZEVImage GetImage(int index) const;
    int Grow() const { return m_grow; }

private:
    std::vector<ZEVImage> m_images;
    int m_grow = 0;
    bool m_created = false;
};
