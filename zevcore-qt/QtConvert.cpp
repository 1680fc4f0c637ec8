#include "zevcore-qt/QtConvert.h"

#include "zevcore/platform/services/Gdi.h"

#include <QApplication>
#include <QFontInfo>
#include <QWidget>
#include <cstring>

namespace zevqt {

QFont toQFont(const LOGFONTA& font) {
    char face[LF_FACESIZE + 1] = {};
    std::memcpy(face, font.lfFaceName, LF_FACESIZE);
    QFont q(QString::fromUtf8(face));
    LONG height = font.lfHeight;
    if (height > 0) height = height * 4 / 5;
    if (height < 0) height = -height;
    if (height > 0) q.setPixelSize(static_cast<int>(height));
    q.setWeight(font.lfWeight >= FW_BOLD ? QFont::Bold : QFont::Normal);
    q.setItalic(font.lfItalic != 0);
    q.setUnderline(font.lfUnderline != 0);
    q.setStrikeOut(font.lfStrikeOut != 0);
    return q;
}

LOGFONTA toLogFont(const QFont& font) {
    LOGFONTA f{};
    const QFontInfo info(font);
    f.lfHeight = -static_cast<LONG>(info.pixelSize());
    f.lfWeight = info.bold() ? FW_BOLD : FW_NORMAL;
    f.lfItalic = info.italic() ? 1 : 0;
    f.lfUnderline = font.underline() ? 1 : 0;
    f.lfStrikeOut = font.strikeOut() ? 1 : 0;
    const QByteArray face = info.family().toUtf8();
    std::strncpy(f.lfFaceName, face.constData(), LF_FACESIZE - 1);
    return f;
}

QWidget* liveWidget(HWND handle) {
    const QObject* object = reinterpret_cast<const QObject*>(handle);
    if (!object) return nullptr;
    // A handle is an address: compare it with the live widgets rather than dereference it.
    for (QWidget* w : QApplication::allWidgets())
        if (w == object) return w;
    return nullptr;
}

}  // namespace zevqt
