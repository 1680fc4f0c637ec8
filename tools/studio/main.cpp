// zevcore-studio: the desktop application over the library and its Qt binding.
//
//   zevcore-studio [FILE]        opens FILE (a boundary file or a project) at start
//   zevcore-studio --screenshot OUT.png FILE
//                                opens FILE, meshes it, writes a picture of the window
//                                and quits (for demos without a person at the screen)

#include <QApplication>
#include <QCommandLineParser>
#include <QTimer>

#include "tools/studio/StudioWindow.h"
#include "zevcore-qt/QtHost.h"
#include "zevcore/frame/Frame.h"
#include "zevcore/quantities/Units.h"

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName("ZEVCore Studio");
    InitCoreDLL();
    Units::readStyles();
    CZEVQtHost host;

    QCommandLineParser parser;
    parser.setApplicationDescription("Meshes planar regions with the ZEVCore library.");
    parser.addHelpOption();
    QCommandLineOption screenshot("screenshot", "Mesh FILE, save a picture of the window, quit.",
                                  "png");
    parser.addOption(screenshot);
    parser.addPositionalArgument("file", "A boundary file or a project to open.");
    parser.process(app);

    studio::StudioWindow window(host);
    window.show();
    const QStringList files = parser.positionalArguments();
    if (files.isEmpty())
        window.OfferRecovery();
    else if (!window.OpenFile(files.front()))
        return parser.isSet(screenshot) ? 1 : QApplication::exec();

    if (parser.isSet(screenshot)) {
        const QString out = parser.value(screenshot);
        QTimer::singleShot(200, &window, [&window, out] {
            window.MeshNow();
            QApplication::processEvents();
            const bool saved = window.grab().save(out);
            QApplication::exit(saved ? 0 : 1);
        });
    }
    return QApplication::exec();
}
