#include "zevcore-qt/QtGdi.h"

#include <QApplication>
#include <QFontMetrics>
#include <QPalette>

#include "zevcore-qt/QtConvert.h"

COLORREF CZEVQtGdi::SysColor(int index) {
    const QPalette palette = QApplication::palette();
    switch (index) {
        case COLOR_WINDOW:
            return zevqt::toColorRef(palette.color(QPalette::Base));
        case COLOR_WINDOWTEXT:
            return zevqt::toColorRef(palette.color(QPalette::Text));
        case COLOR_HIGHLIGHT:
            return zevqt::toColorRef(palette.color(QPalette::Highlight));
        case COLOR_HIGHLIGHTTEXT:
            return zevqt::toColorRef(palette.color(QPalette::HighlightedText));
        case COLOR_GRAYTEXT:
            return zevqt::toColorRef(palette.color(QPalette::Disabled, QPalette::Text));
        case COLOR_INFOBK:
            return zevqt::toColorRef(palette.color(QPalette::ToolTipBase));
        default:
            return 0;
    }
}

LOGFONTA CZEVQtGdi::MessageFont() {
    return zevqt::toLogFont(QApplication::font());
}

ZEVFontMetrics CZEVQtGdi::Metrics(const LOGFONTA& font) {
    const QFontMetrics metrics(zevqt::toQFont(font));
    ZEVFontMetrics m;
    m.height = metrics.height();
    // What lies above the characters' cap height within the ascent.
    const int leading = metrics.ascent() - metrics.capHeight();
    m.internalLeading = leading > 0 ? leading : 0;
    return m;
}

LOGFONTA CZEVQtGdi::Realise(const LOGFONTA& font) {
    LOGFONTA realised = zevqt::toLogFont(zevqt::toQFont(font));
    // The description keeps what it asked for where Qt has no say (width, angles, quality).
    realised.lfWidth = font.lfWidth;
    realised.lfEscapement = font.lfEscapement;
    realised.lfOrientation = font.lfOrientation;
    realised.lfCharSet = font.lfCharSet;
    realised.lfOutPrecision = font.lfOutPrecision;
    realised.lfClipPrecision = font.lfClipPrecision;
    realised.lfQuality = font.lfQuality;
    realised.lfPitchAndFamily = font.lfPitchAndFamily;
    if (font.lfHeight > 0) realised.lfHeight = font.lfHeight;
    return realised;
}

int CZEVQtGdi::TextWidth(const LOGFONTA& font, const char* text) {
    return QFontMetrics(zevqt::toQFont(font)).horizontalAdvance(zevqt::toQString(text));
}
