#pragma once

// Conversions between the library's stand-in types and Qt's, shared by every widget of the
// binding.

#include <QColor>
#include <QFont>
#include <QString>

#include "zevcore/platform/Types.h"
#include "zevcore/platform/framework/String.h"

class QWidget;

namespace zevqt {

inline QColor toQColor(COLORREF c) {
    return QColor(GetRValue(c), GetGValue(c), GetBValue(c));
}

inline COLORREF toColorRef(const QColor& c) {
    return RGB(static_cast<BYTE>(c.red()), static_cast<BYTE>(c.green()),
               static_cast<BYTE>(c.blue()));
}

inline QString toQString(const char* text) {
    return QString::fromUtf8(text ? text : "");
}

inline QString toQString(const CString& text) {
    return QString::fromUtf8(text.GetString(), text.GetLength());
}

inline CString toCString(const QString& text) {
    const QByteArray bytes = text.toUtf8();
    return CString(bytes.constData());
}

/// A font description as Qt draws it: a negative height is the characters' height in
/// pixels, a positive one the cell's, of which the characters take four fifths.
QFont toQFont(const LOGFONTA& font);
/// The description of a Qt font, with the characters' height in pixels (negative).
LOGFONTA toLogFont(const QFont& font);
/// The live widget whose handle (its address, as CZEVQtWindows issues them) this is; null
/// for any other handle.
QWidget* liveWidget(HWND handle);

}  // namespace zevqt
