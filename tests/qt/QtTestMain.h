#pragma once

// The main of the Qt test programs: an isolated home, settings store and temporary folder
// (timed backups are looked for there), Qt's offscreen platform unless a display is asked
// for, the library started and the Qt host services installed around the tests.

#include <QApplication>
#include <QDir>
#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <QTest>
#include <QWidget>
#include <cstdlib>
#include <filesystem>
#include <utility>
#include <vector>

#include "support/TestEnv.h"
#include "zevcore-qt/QtHost.h"
#include "zevcore/frame/Frame.h"

namespace zevqttest {

/// Where screenshots go: the build tree always, and the docs' image folder that the README
/// shows when ZEV_UPDATE_SCREENSHOTS is set (a run of the tests leaves the sources as they are:
/// the same picture encodes to slightly different bytes from one run to the next).
inline QStringList screenshotFolders() {
    QStringList folders{QString(ZEV_BINARY_SCREENSHOT_DIR)};
    if (qEnvironmentVariableIsSet("ZEV_UPDATE_SCREENSHOTS"))
        folders.append(QString(ZEV_SCREENSHOT_DIR));
    return folders;
}

/// Saves a picture of the widget's window, with the balloons, lists and dialogs that stand
/// over it, so that the README shows what the tests saw.
inline void screenshot(QWidget* widget, const char* name) {
    QApplication::processEvents();
    if (!widget->isWindow()) {
        // A part of a window: that widget alone, with its children.
        const QImage part = widget->grab().toImage();
        for (const QString& folder : screenshotFolders()) {
            QDir().mkpath(folder);
            part.save(folder + "/" + name);
        }
        return;
    }
    QWidget* window = widget;
    const QPoint origin = window->pos();
    QRect area(QPoint(0, 0), window->size());
    std::vector<std::pair<QPoint, QPixmap>> over;
    for (QWidget* top : QApplication::topLevelWidgets()) {
        if (top == window || !top->isVisible() || top->parentWidget() == nullptr) continue;
        const QPoint at = top->pos() - origin;
        over.emplace_back(at, top->grab());
        area |= QRect(at, top->size());
    }
    QImage image(area.size(), QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        painter.translate(-area.topLeft());
        painter.drawPixmap(0, 0, window->grab());
        for (const auto& [at, pixmap] : over) painter.drawPixmap(at, pixmap);
    }
    for (const QString& folder : screenshotFolders()) {
        QDir().mkpath(folder);
        image.save(folder + "/" + name);
    }
}

}  // namespace zevqttest

#define ZEV_QTEST_MAIN(TestClass)                                                       \
    int main(int argc, char** argv) {                                                   \
        const std::filesystem::path home = zevtest::isolateFromUser();                  \
        const std::filesystem::path tmp = home / "tmp";                                 \
        std::filesystem::create_directories(tmp);                                       \
        setenv("TMPDIR", tmp.c_str(), 1);                                               \
        if (!std::getenv("QT_QPA_PLATFORM")) setenv("QT_QPA_PLATFORM", "offscreen", 1); \
        int result = 1;                                                                 \
        {                                                                               \
            QApplication app(argc, argv);                                               \
            InitCoreDLL();                                                              \
            CZEVQtHost host;                                                            \
            TestClass tests(host);                                                      \
            result = QTest::qExec(&tests, argc, argv);                                  \
        }                                                                               \
        std::error_code ignored;                                                        \
        if (!home.empty()) std::filesystem::remove_all(home, ignored);                  \
        return result;                                                                  \
    }
