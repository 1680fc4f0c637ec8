#pragma once

// Fixed-width names for the scalar and record types that stored data and the library's
// interface are written in. Their sizes are those of the platform the data was first
// written on (a `long` there is 32 bits), so byte forms stay the same on every machine.

#include <cstddef>
#include <cstdint>

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using BOOL = std::int32_t;
using UINT = std::uint32_t;
using UINT_PTR = std::uintptr_t;
/// A red, green, blue value: red in the low byte, then green, then blue.
using COLORREF = std::uint32_t;
/// The status of a settings-store call: 0 is success.
using LSTATUS = std::int32_t;
/// Message parameters are as wide as a pointer, as they carry pointers.
using WPARAM = std::uintptr_t;
using LPARAM = std::intptr_t;
using LRESULT = std::intptr_t;

/// A point in time in 100-nanosecond steps since 1601-01-01 UTC.
struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

constexpr COLORREF RGB(BYTE r, BYTE g, BYTE b) {
    return static_cast<COLORREF>(r) | (static_cast<COLORREF>(g) << 8) |
           (static_cast<COLORREF>(b) << 16);
}
constexpr BYTE GetRValue(COLORREF c) {
    return static_cast<BYTE>(c & 0xff);
}
constexpr BYTE GetGValue(COLORREF c) {
    return static_cast<BYTE>((c >> 8) & 0xff);
}
constexpr BYTE GetBValue(COLORREF c) {
    return static_cast<BYTE>((c >> 16) & 0xff);
}

/// A rectangle and a point in window pixels.
struct RECT {
    LONG left = 0;
    LONG top = 0;
    LONG right = 0;
    LONG bottom = 0;
};

struct POINT {
    LONG x = 0;
    LONG y = 0;
};

/// Opaque handles. A handle is a pointer-sized token whose meaning belongs to the service
/// that issued it; the library never dereferences one it did not make.
using HINSTANCE = struct HINSTANCE__*;
using HWND = struct HWND__*;
using HKEY = struct HKEY__*;
using HICON = struct HICON__*;
/// A device context (a surface to draw on) and an OpenGL rendering context, both issued by
/// the installed OpenGL platform (`platform/gl/GLPlatform.h`).
using HDC = struct HDC__*;
using HGLRC = struct HGLRC__*;

/// A position in pixels, x to the right and y down from the window's top left.
struct CPoint {
    LONG x = 0;
    LONG y = 0;
    constexpr CPoint() = default;
    constexpr CPoint(LONG px, LONG py) : x(px), y(py) {}
    constexpr bool operator==(const CPoint&) const = default;
};

// The roots of the settings store, with the numbers the stored data and callers know.
#define HKEY_CLASSES_ROOT (reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x80000000u)))
#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x80000001u)))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x80000002u)))
#define HKEY_USERS (reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x80000003u)))

constexpr int LF_FACESIZE = 32;

/// A font description as stored in settings and files: exactly 60 bytes, 32-bit fields.
struct LOGFONTA {
    LONG lfHeight;
    LONG lfWidth;
    LONG lfEscapement;
    LONG lfOrientation;
    LONG lfWeight;
    BYTE lfItalic;
    BYTE lfUnderline;
    BYTE lfStrikeOut;
    BYTE lfCharSet;
    BYTE lfOutPrecision;
    BYTE lfClipPrecision;
    BYTE lfQuality;
    BYTE lfPitchAndFamily;
    char lfFaceName[LF_FACESIZE];
};
using LOGFONT = LOGFONTA;

static_assert(sizeof(LOGFONTA) == 60, "LOGFONTA must keep its stored size");
static_assert(offsetof(LOGFONTA, lfFaceName) == 28, "LOGFONTA field layout");
