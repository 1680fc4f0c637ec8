// ZEVCore Studio driven as a user would: open a sample, edit the options, mesh, stop, save,
// reopen, preferences, and the recovery of a timed backup.

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QTabBar>
#include <QTimer>
#include <QUndoStack>
#include <cmath>

#include "QtTestMain.h"
#include "tools/studio/MeshProgress.h"
#include "tools/studio/MeshView.h"
#include "tools/studio/Recovery.h"
#include "tools/studio/StudioWindow.h"
#include "zevcore-qt/GridView.h"
#include "zevcore-qt/PreferencesDialog.h"
#include "zevcore-qt/QtProgressView.h"
#include "zevcore/files/FileRecovery.h"
#include "zevcore/graphics/GridManager.h"
#include "zevcore/platform/Registry.h"
#include "zevcore/platform/services/Desktop.h"
#include "zevcore/quantities/Units.h"
#include "zevcore/settings/PreferenceItem.h"
#include "zevcore/settings/PreferenceManager.h"
#include "zevcore/settings/PropertyGrid.h"

using studio::StudioWindow;

namespace {

const QString kSample = QString(ZEV_SAMPLES_DIR) + "/plate_with_hole.txt";

QString scratch(const char* name) {
    return QString::fromUtf8(qgetenv("TMPDIR")) + "/" + name;
}

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The value column's rectangle of the row whose name is `name`.
QRect valueCell(CZEVQtGridView& view, const char* name) {
    CUGCtrl& grid = view.Model();
    for (int row = 0; row < grid.GetNumberRows(); ++row)
        if (grid.DrawnCell(grid.GetNumberCols() - 2, row).GetText() == name)
            return view.CellRect(grid.GetNumberCols() - 1, row);
    return {};
}

void typeInto(CZEVQtGridView& view, const char* row, const char* text) {
    QTest::mouseClick(&view, Qt::LeftButton, {}, valueCell(view, row).center() - QPoint(20, 0));
    QVERIFY(view.Editor());
    view.Editor()->selectAll();
    QTest::keyClicks(view.Editor(), text);
    QTest::keyClick(view.Editor(), Qt::Key_Return);
}

bool sameMesh(const zevtool::meshio::Mesh& a, const zevtool::meshio::Mesh& b) {
    if (a.nodes.size() != b.nodes.size() || a.elements.size() != b.elements.size()) return false;
    for (size_t i = 0; i < a.nodes.size(); ++i)
        if (a.nodes[i].x != b.nodes[i].x || a.nodes[i].y != b.nodes[i].y) return false;
    for (size_t i = 0; i < a.elements.size(); ++i)
        if (a.elements[i].count != b.elements[i].count || a.elements[i].v != b.elements[i].v)
            return false;
    return true;
}

}  // namespace

class TestStudio : public QObject {
    Q_OBJECT
public:
    explicit TestStudio(CZEVQtHost& host) : m_host(host) {}

private Q_SLOTS:
    void projectFilesKeepTheRegionAndOptionsExactly() {
        zevtest::ScopedDecimalCommaLocale comma;  // numbers in files never follow it
        zevtool::meshio::Region region = zevtool::meshio::readBoundaryFile(kSample.toStdString());
        region.solid = {false, true};
        studio::MeshSettings settings;
        settings.size = 0.1 + 0.2;  // no short decimal: only an exact writer keeps it
        settings.divisions = 3;
        settings.method = "triangle";
        settings.maxArea = 1.0 / 3.0;
        settings.extended = false;
        const std::string text = studio::projectText(region, settings);
        const zevtool::meshio::Region back = zevtool::meshio::parseBoundaryText(text);
        QCOMPARE(back.loops.size(), region.loops.size());
        for (size_t i = 0; i < back.loops.size(); ++i)
            for (size_t k = 0; k < back.loops[i].size(); ++k) {
                QCOMPARE(back.loops[i][k].x, region.loops[i][k].x);
                QCOMPARE(back.loops[i][k].y, region.loops[i][k].y);
            }
        QCOMPARE(back.solid, region.solid);
        QCOMPARE(back.interiorPoints.size(), size_t(4));
        QCOMPARE(back.boundaryPoints.size(), size_t(2));
        studio::MeshSettings read;
        QVERIFY(studio::readProjectSettings(text, read));
        QCOMPARE(read.size, settings.size);
        QCOMPARE(read.divisions, 3);
        QCOMPARE(read.method, std::string("triangle"));
        QCOMPARE(read.maxArea, settings.maxArea);
        QCOMPARE(read.extended, false);

        // A line with a value it cannot take changes nothing.
        for (const char* bad : {"size=-1", "size=1e400", "size=0,5", "divisions=2.5",
                                "method=quads", "max-area=-2", "extended=2", "size"}) {
            studio::MeshSettings kept = read;
            const std::string line = std::string("# zevcore-studio options: ") + bad + "\n";
            QVERIFY2(!studio::readProjectSettings(line, kept), bad);
            QCOMPARE(kept.size, read.size);
            QCOMPARE(kept.method, read.method);
        }
        QVERIFY(!studio::readProjectSettings("0 0\n1 0\n1 1\n0 0\n", read));
    }

    void theProgressBarOnlyMovesForward() {
        studio::ProgressEstimate bar(10.0);
        double last = 0.0;
        QStringList lines = {"Mesh element size is ~0.5", "Preparing shape for mesher..."};
        for (int i = 0; i < 5000; ++i)
            lines << "."
                  << "  ";
        lines << "Smoothing the mesh..."
              << "Meshing boundaries..."
              << "Finishing the mesh..."
              << "Preparing shape for mesher..."
              << "Cleaning up the mesh...";
        for (const QString& line : lines) {
            const double shown = bar.Line(line);
            QVERIFY2(shown >= last && shown < 1.0, qPrintable(line));
            last = shown;
        }
        QVERIFY(last >= 0.95);

        Units::setStyle(UNIT_STYLE_NEWTONS_METERS, false);
        const QString metres = QString::fromUtf8(Units::show(UNIT_LENGTH_SMALL, 0.5, UNIT_SHOW));
        const struct {
            const char* line;
            QString shown;
        } cases[] = {
            {"Mesh element size is ~0.5", "Mesh element size is ~" + metres},
            {"Mesh element size is ~x", "Mesh element size is ~x"},
            {"Smoothing the mesh...", "Smoothing the mesh..."},
        };
        for (const auto& c : cases) QCOMPARE(studio::withLengthUnits(c.line), c.shown);
        QVERIFY(metres.endsWith(" mm") || metres.endsWith(" m"));
    }

    // The status bar said "Meshed: N nodes, M elements" for a mesh over part of the region.
    void aMeshThatDoesNotCoverIsSaidToInTheStatusBar() {
        StudioWindow window(m_host);
        QVERIFY(window.OpenFile(kSample));
        studio::MeshSettings settings = window.Options().Settings();
        settings.method = "paver";
        settings.extended = false;  // the rows alone leave the plate open here
        settings.size = 0.6;
        window.Options().Load(settings);
        QCOMPARE(window.MeshNow(), StudioWindow::MeshOutcome::Failed);
        QVERIFY2(window.StatusText().startsWith("Meshed: ") &&
                     window.StatusText().contains(" - the mesh does NOT cover the region: "),
                 qPrintable(window.StatusText()));
        settings.extended = true;
        window.Options().Load(settings);
        QCOMPARE(window.MeshNow(), StudioWindow::MeshOutcome::Meshed);
        QVERIFY2(!window.StatusText().contains("NOT"), qPrintable(window.StatusText()));
    }

    void aProjectKeepsItsMeshExactlyAndRefusesADamagedOne() {
        zevtool::meshio::Mesh mesh;
        mesh.nodes = {{0.1 + 0.2, 0.0}, {1.0 / 3.0, 0.0}, {1.0, 2.0 / 3.0}, {0.0, 1e-300}};
        mesh.elements = {{4, {0, 1, 2, 3}}, {3, {0, 2, 3, -1}}};
        const std::string text =
            studio::projectText(zevtool::meshio::Region(), {}) + studio::projectMeshText(mesh);
        zevtool::meshio::Mesh back;
        QCOMPARE(studio::readProjectMesh(text, back), std::string());
        QVERIFY(sameMesh(back, mesh));
        QCOMPARE(studio::readProjectMesh("0 0\n1 0\n1 1\n", back), std::string());
        QVERIFY(back.elements.empty());
        QCOMPARE(studio::projectMeshText({}), std::string());

        const std::string head = "# zevcore-studio mesh: version=1 nodes=3 elements=1\n";
        const std::string nodes = "# n 0 0\n# n 1 0\n# n 0 1\n";
        const struct {
            std::string text;
            std::string problem;
        } cases[] = {
            {"# zevcore-studio mesh: version=2 nodes=3 elements=1\n" + nodes + "# e 3 0 1 2\n",
             "its mesh is of version 2, which this studio does not read"},
            {"# zevcore-studio mesh:\n", "its mesh has no version (line 1)"},
            {head + nodes + "# e 3 0 1 3\n",
             "its mesh is damaged: an element names a node the mesh does not have (line 5)"},
            {head + nodes + "# e 5 0 1 2\n",
             "its mesh is damaged: an element has neither 3 nor 4 corners (line 5)"},
            {head + "# n 0 0\n# n 1 x\n",
             "its mesh is damaged: a node is not two numbers (line 3)"},
            {head + nodes, "its mesh is damaged: it ends before its last node or element (line 4)"},
            {"# zevcore-studio mesh: version=1 nodes=3 elements=999999999999\n",
             "its mesh is damaged: the counts are wrong (line 1)"},
        };
        for (const auto& c : cases) {
            QCOMPARE(studio::readProjectMesh(c.text, back), c.problem);
            QVERIFY(back.elements.empty());
        }

        // Opened in the studio: the region without the mesh, and the reason said.
        const QString damaged = scratch("damaged.zevp");
        {
            QFile file(damaged);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(readAll(kSample) + "\n" + QByteArray::fromStdString(cases[0].text));
        }
        CZEVScriptedDialogs dialogs;
        IZEVDialogService* old = ZEVInstallDialogs(&dialogs);
        StudioWindow window(m_host);
        QVERIFY(window.OpenFile(damaged));
        ZEVInstallDialogs(old);
        QVERIFY(window.HasRegion());
        QVERIFY(window.CurrentMesh().elements.empty());
        QCOMPARE(window.StatusText(),
                 QString("damaged.zevp opened without its mesh: its mesh is of version 2, which "
                         "this studio does not read."));
        QCOMPARE(dialogs.Asked().size(), size_t(1));
    }

    // The OpenGL view's draw mode went back to solid and wireframe at every start.
    void theDrawModeIsKeptForTheNextStart() {
        {
            StudioWindow window(m_host);
            QCOMPARE(window.DrawMode(), studio::GLMeshScene::DrawMode::SolidAndWireframe);
            window.SetDrawMode(studio::GLMeshScene::DrawMode::Wireframe);
        }
        StudioWindow next(m_host);
        QCOMPARE(next.DrawMode(), studio::GLMeshScene::DrawMode::Wireframe);
    }

    void init() {
        RegDeleteTreeA(HKEY_CURRENT_USER, "Software\\ZEV");
        Units::resetStyles();
        Units::readStyles();
        Units::setStyle(UNIT_STYLE_USA, false);
    }

    void editingARowCommitsItOrShowsItsMessage() {
        StudioWindow window(m_host);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QVERIFY(window.OpenFile(kSample));
        QCOMPARE(window.Region().loops.size(), size_t(2));

        // The pointer snaps to the region's grid (half-inch steps for the 12 by 8 plate).
        QCOMPARE(window.Grids().gridCount(), 1);
        studio::MeshView& drawing = *window.View();
        QTest::mouseMove(&drawing, drawing.ToView(6.1, 3.8).toPoint());
        QCOMPARE(drawing.SnapPoint(drawing.ToView(6.1, 3.8)), QPointF(6.0, 4.0));
        QCOMPARE(drawing.SnapPoint(drawing.ToView(-1.2, 0.3)), QPointF(-1.0, 0.5));
        QCOMPARE(window.CoordinatesText(), QString("x 6 in   y 4 in"));
        zevqttest::screenshot(&window, "studio-main-window.png");

        CZEVQtGridView& view = *window.GridView();
        typeInto(view, "Element size", "0.6");
        QVERIFY(!view.Editor());
        QCOMPARE(window.Options().Settings().size, 0.6);
        QVERIFY(window.Options().Modified());
        QCOMPARE(window.StatusText(), QString("Mesh options changed"));

        // An entry the row refuses stays open with the row's own message.
        typeInto(view, "Element size", "-1");
        QVERIFY(view.Editor());
        QVERIFY(view.ErrorPopup()->isVisible());
        QCOMPARE(view.ErrorPopup()->text(),
                 QString::fromUtf8(window.Grid().ErrorWindow().Text().GetString()));
        QVERIFY(!view.ErrorPopup()->text().isEmpty());
        zevqttest::screenshot(&view, "property-grid.png");
        QTest::keyClick(view.Editor(), Qt::Key_Escape);
        QVERIFY(!view.Editor());
        QCOMPARE(window.Options().Settings().size, 0.6);

        // A list row: the method, picked from its list.
        const QRect method = valueCell(view, "Method");
        QTest::mouseClick(&view, Qt::LeftButton, {},
                          QPoint(method.right() - 4, method.center().y()));
        QVERIFY(view.OpenList());
        view.OpenList()->actions().at(1)->trigger();
        QCOMPARE(window.Options().Settings().method, std::string("triangle"));
    }

    void meshingCanBeStoppedHalfway() {
        StudioWindow window(m_host);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QVERIFY(window.OpenFile(kSample));
        int lines = 0, percent = 0, backwards = 0;
        window.onProgressLine = [&](int line) {
            lines = line;
            if (CZEVQtProgressView* progress = CZEVQtProgressView::Live(0)) {
                backwards += progress->Bar()->value() < percent;
                percent = progress->Bar()->value();
            }
        };
        window.MeshNow();
        QVERIFY(!window.CurrentMesh().elements.empty());
        QVERIFY(lines > 4);
        QCOMPARE(backwards, 0);
        QVERIFY(percent > 20);
        // The mesher's lengths come with their unit.
        QVERIFY2(window.Log()->toPlainText().contains(QRegularExpression("size is ~[0-9.]+ in\\b")),
                 qPrintable(window.Log()->toPlainText()));
        const int full = lines;

        CZEVManualClock clock;
        IZEVClock* before = ZEVInstallClock(&clock);
        bool clicked = false;
        window.onProgressLine = [&](int line) {
            lines = line;
            clock.Advance(5000);  // the library looks for a press of stop every few seconds
            if (line == full / 2 && !clicked) {
                CZEVQtProgressView* progress = CZEVQtProgressView::Live(0);
                QVERIFY(progress && progress->isVisible());
                zevqttest::screenshot(&window, "studio-meshing-progress.png");
                QTest::mouseClick(progress->StopButton(), Qt::LeftButton);
                clicked = true;
            }
        };
        QCOMPARE(window.MeshNow(), StudioWindow::MeshOutcome::Stopped);
        ZEVInstallClock(before);
        QVERIFY(clicked);
        QVERIFY(lines < full);
        QVERIFY(window.CurrentMesh().elements.empty());
        QCOMPARE(window.Summary()->toPlainText(), QString("Meshing stopped by the user."));
        QVERIFY(!CZEVQtProgressView::Live(0));
        // The window works on: the next run meshes again.
        window.onProgressLine = nullptr;
        window.MeshNow();
        QVERIFY(!window.CurrentMesh().elements.empty());
    }

    void aMeshIsSavedAndTheProjectReopened() {
        StudioWindow window(m_host);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QVERIFY(window.OpenFile(kSample));
        QVERIFY(!window.CurrentMesh().elements.size());
        window.MeshNow();
        QVERIFY(window.CurrentMesh().elements.size() > 100);
        QVERIFY(window.Summary()->toPlainText().contains("method:            paver"));
        zevqttest::screenshot(&window, "studio-meshed-sample.png");

        studio::MeshSettings triangles = window.Options().Settings();
        triangles.method = "triangle";
        triangles.size = 0.5;
        window.Options().Load(triangles);
        QCOMPARE(window.MeshNow(), StudioWindow::MeshOutcome::Meshed);
        const size_t elements = window.CurrentMesh().elements.size();
        const QString msh = scratch("plate.msh"), svg = scratch("plate.svg"),
                      dxf = scratch("plate.dxf");
        QVERIFY(window.SaveMesh(msh));
        QVERIFY(window.SaveMesh(svg));
        QVERIFY(window.SaveMesh(dxf));
        QVERIFY(readAll(msh).startsWith("$MeshFormat"));
        QVERIFY(readAll(svg).contains("<svg"));
        QVERIFY(readAll(dxf).contains("ENTITIES"));
        QVERIFY(readAll(dxf).contains("MESH"));

        const QString project = scratch("plate.zevp");
        const zevtool::meshio::Mesh saved = window.CurrentMesh();
        QVERIFY(window.SaveProject(project));
        QVERIFY(!window.Options().Modified());
        QVERIFY(window.OpenFile(kSample));
        QCOMPARE(window.Options().Settings().method, std::string("paver"));
        QVERIFY(window.OpenFile(project));
        QCOMPARE(window.ProjectPath(), project);
        QCOMPARE(window.Options().Settings().method, std::string("triangle"));
        QCOMPARE(window.Options().Settings().size, 0.5);
        QCOMPARE(window.Region().loops.size(), size_t(2));
        QCOMPARE(window.Region().interiorPoints.size(), size_t(4));
        QCOMPARE(window.RecentFiles().front(), QFileInfo(project).absoluteFilePath());
        // The mesh comes back with the project, node for node.
        QVERIFY(sameMesh(window.CurrentMesh(), saved));
        QVERIFY(window.Summary()->toPlainText().contains("method:            triangle"));
        QCOMPARE(window.MeshNow(), StudioWindow::MeshOutcome::Meshed);

        // A bad file is refused with its line and the reader's message.
        CZEVScriptedDialogs dialogs;
        IZEVDialogService* old = ZEVInstallDialogs(&dialogs);
        const QString bad = scratch("bad.txt");
        QFile file(bad);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("0 0\n1 0\n1 x\n");
        file.close();
        QVERIFY(!window.OpenFile(bad));
        ZEVInstallDialogs(old);
        QCOMPARE(dialogs.Asked().size(), size_t(1));
        QVERIFY(QString::fromStdString(dialogs.Asked()[0].text).startsWith(bad + ":3: "));
        QCOMPARE(window.ProjectPath(), project);  // the open project stays

        // The mesh file opens again: the same elements, and the region its boundary outlines.
        QVERIFY(window.OpenFile(msh));
        QCOMPARE(window.CurrentMesh().elements.size(), elements);
        QCOMPARE(window.Region().loops.size(), size_t(2));
        QVERIFY(std::fabs(zevtool::meshio::signedArea(window.Region().loops[0]) +
                          zevtool::meshio::signedArea(window.Region().loops[1]) - 85.0) < 1e-9);
        QVERIFY(window.Summary()->toPlainText().contains("covered:           yes"));
    }

    void aMeshWhoseBoundaryIsNoRegionIsRefused() {
        // Two triangles touching at one corner: the boundary passes that node twice.
        const QString bowTie = scratch("bow_tie.msh");
        QFile file(bowTie);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(
            "$MeshFormat\n2.2 0 8\n$EndMeshFormat\n$Nodes\n5\n1 0 0 0\n2 1 0 0\n"
            "3 1 1 0\n4 2 1 0\n5 2 2 0\n$EndNodes\n$Elements\n2\n"
            "1 2 2 0 1 1 2 3\n2 2 2 0 1 3 4 5\n$EndElements\n");
        file.close();
        StudioWindow window(m_host);
        CZEVScriptedDialogs dialogs;
        IZEVDialogService* old = ZEVInstallDialogs(&dialogs);
        const bool opened = window.OpenFile(bowTie);
        ZEVInstallDialogs(old);
        QVERIFY(!opened);
        QCOMPARE(dialogs.Asked().size(), size_t(1));
        QCOMPARE(QString::fromStdString(dialogs.Asked()[0].text),
                 bowTie + ": the mesh's boundary passes a node twice");
    }

    void aDxfDrawingOpensAsARegion() {
        StudioWindow window(m_host);
        QVERIFY(window.OpenFile(QString(ZEV_SAMPLES_DIR) + "/plate_drawing.dxf"));
        QCOMPARE(window.Region().loops.size(), size_t(2));  // the plate and its hole
        QVERIFY(window.ProjectPath().isEmpty());
        QCOMPARE(window.MeshNow(), StudioWindow::MeshOutcome::Meshed);

        // A drawing that is no single region is refused with the reader's words.
        CZEVScriptedDialogs dialogs;
        IZEVDialogService* old = ZEVInstallDialogs(&dialogs);
        const bool opened = window.OpenFile(QString(ZEV_TOOL_DATA_DIR) + "/dxf/two_regions.dxf");
        ZEVInstallDialogs(old);
        QVERIFY(!opened);
        QCOMPARE(dialogs.Asked().size(), size_t(1));
        QVERIFY(QString::fromStdString(dialogs.Asked()[0].text).contains("two_regions.dxf: "));
        QCOMPARE(window.Region().loops.size(), size_t(2));  // what was open stays
    }

    void preferencesChangeTheUnitsShown() {
        StudioWindow window(m_host);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QVERIFY(window.OpenFile(kSample));
        QTimer::singleShot(0, [] {
            for (int tries = 0; tries < 200; ++tries) {
                if (auto* dialog =
                        qobject_cast<CZEVQtPreferencesDialog*>(QApplication::activeModalWidget())) {
                    CZEVQtGridView& units = *dialog->View(0);
                    const QRect style = valueCell(units, "Unit style");
                    QTest::mouseClick(&units, Qt::LeftButton, {},
                                      QPoint(style.right() - 4, style.center().y()));
                    QVERIFY(units.OpenList());
                    // The styles' ampersands are shown as written, not taken as mnemonics.
                    int ampersands = 0;
                    for (int i = 0; i < Units::unitStyleCount(); ++i) {
                        const QString name =
                            QString::fromUtf8(Units::unitStyleName(static_cast<ETUnitStyle>(i)));
                        ampersands += name.contains('&');
                        QCOMPARE(units.OpenList()->actions().at(i)->text(),
                                 QString(name).replace('&', "&&"));
                    }
                    QVERIFY(ampersands > 0);
                    units.OpenList()->actions().at(UNIT_STYLE_NEWTONS_METERS)->trigger();
                    dialog->accept();
                    return;
                }
                QTest::qWait(10);
            }
        });
        window.ShowPreferences();
        QCOMPARE(Units::currentStyle(), UNIT_STYLE_NEWTONS_METERS);
        const CUGCell size = window.Grid().DrawnCell(window.Grid().GetPropertyColumn(), 0);
        QVERIFY(QString::fromUtf8(size.GetText().GetString()).endsWith(" m"));

        // Kept in the settings store: the next start shows the same.
        Units::setStyle(UNIT_STYLE_USA, false);
        StudioWindow next(m_host);
        QCOMPARE(Units::currentStyle(), UNIT_STYLE_NEWTONS_METERS);
    }

    void undoAndRedoWalkEditsLoadingAndMeshing() {
        StudioWindow window(m_host);
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        // The progress window of a mesh takes the focus; a user clicks back into the window.
        auto press = [&](Qt::KeyboardModifiers modifiers) {
            window.activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&window));
            QTest::keyClick(&window, Qt::Key_Z, modifiers);
        };
        auto undo = [&] { press(Qt::ControlModifier); };
        auto redo = [&] { press(Qt::ControlModifier | Qt::ShiftModifier); };
        QVERIFY(window.OpenFile(kSample));
        const double opened = window.Options().Settings().size;
        typeInto(*window.GridView(), "Element size", "0.6");
        QCOMPARE(window.Options().Settings().size, 0.6);
        QCOMPARE(window.MeshNow(), StudioWindow::MeshOutcome::Meshed);
        const size_t elements = window.CurrentMesh().elements.size();
        const QString summary = window.Summary()->toPlainText();
        QVERIFY(window.OpenFile(QString(ZEV_SAMPLES_DIR) + "/plate_drawing.dxf"));
        QCOMPARE(window.UndoStack().count(), 4);

        undo();  // the drawing's loading
        QCOMPARE(window.StatusText(), QString("Undone: Open plate_drawing.dxf"));
        QCOMPARE(window.Region().interiorPoints.size(), size_t(4));
        QCOMPARE(window.CurrentMesh().elements.size(), elements);
        QCOMPARE(window.Summary()->toPlainText(), summary);
        QCOMPARE(window.windowTitle(), QString("plate_with_hole.txt - ZEVCore Studio"));
        undo();  // the mesh
        QVERIFY(window.CurrentMesh().elements.empty());
        QCOMPARE(window.Options().Settings().size, 0.6);
        undo();  // the edit, shown in the grid too
        QCOMPARE(window.Options().Settings().size, opened);
        QCOMPARE(window.Grid().DrawnCell(window.Grid().GetPropertyColumn(), 0).GetText(),
                 CString(Units::show(UNIT_LENGTH_SMALL, opened, UNIT_SHOW)));
        undo();  // the first loading: an empty window
        QVERIFY(!window.HasRegion());
        QVERIFY(!window.UndoStack().canUndo());
        undo();  // nothing more to undo: nothing happens
        QVERIFY(!window.HasRegion());

        for (int i = 0; i < 3; ++i) redo();
        QCOMPARE(window.StatusText(), QString("Redone: Mesh"));
        QCOMPARE(window.Options().Settings().size, 0.6);
        QCOMPARE(window.CurrentMesh().elements.size(), elements);
        // A new step after an undo drops what could have been redone.
        undo();
        typeInto(*window.GridView(), "Element size", "0.8");
        QVERIFY(!window.UndoStack().canRedo());
        QVERIFY(window.CurrentMesh().elements.empty());
    }

    void aTimedBackupIsOfferedAfterACrash() {
        auto window = std::make_unique<StudioWindow>(m_host);
        QVERIFY(window->OpenFile(kSample));
        // The studio's own interval, in the store for the library and the preferences alike.
        QCOMPARE(window->Recovery().backupMinutes(), studio::kDefaultBackupMinutes);
        QCOMPARE(window->Recovery().backupTimer()->period(), 5u * 60000u);
        window->Recovery().doTimedBackupEvent();
        const QString backup = QString::fromUtf8(window->Recovery().timedBackupPath());
        QVERIFY(backup.endsWith("plate_with_hole_Timed_Backup.zevp"));
        QVERIFY(readAll(backup).contains("# zevcore-studio options:"));
        // As after a kill: the window's orderly end would remove the backup.
        const QByteArray kept = readAll(backup);
        window.reset();
        QVERIFY(!QFile::exists(backup));
        {
            QFile file(backup);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(kept);
        }

        // The next start: the question names the project and the backup's time.
        CZEVScriptedDialogs dialogs;
        dialogs.AnswerMessage(IDYES);
        IZEVDialogService* old = ZEVInstallDialogs(&dialogs);
        StudioWindow next(m_host);
        next.OfferRecovery();
        ZEVInstallDialogs(old);
        QVERIFY(next.HasRegion());
        QCOMPARE(next.Region().interiorPoints.size(), size_t(4));
        QVERIFY(next.ProjectPath().isEmpty());  // saved under a name the user gives
        QCOMPARE(dialogs.Asked().size(), size_t(1));
        QCOMPARE(dialogs.Asked()[0].caption, std::string("File Recovery"));
        const QString question = QString::fromStdString(dialogs.Asked()[0].text);
        QVERIFY2(question.contains("\"plate_with_hole\"") && question.contains("today at "),
                 qPrintable(question));
        // The backup moved to the recovered project's own, so a second crash still finds it.
        QVERIFY(!QFile::exists(backup));
        const QString moved = QString::fromUtf8(next.Recovery().timedBackupPath());
        QVERIFY(moved.endsWith("Untitled_Timed_Backup.zevp"));
        QCOMPARE(readAll(moved), kept);
    }

    void aBackupAnsweredNoIsDeletedAndCancelKeepsIt() {
        const QString backup =
            QString::fromUtf8(ZEVTempFolder().GetString()) + "/beam_Timed_Backup.zevp";
        for (const int answer : {IDCANCEL, IDNO}) {
            QFile file(backup);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(readAll(kSample));
            file.close();
            CZEVScriptedDialogs dialogs;
            dialogs.AnswerMessage(answer);
            IZEVDialogService* old = ZEVInstallDialogs(&dialogs);
            StudioWindow next(m_host);
            next.OfferRecovery();
            ZEVInstallDialogs(old);
            QVERIFY(!next.HasRegion());
            QCOMPARE(QFile::exists(backup), answer == IDCANCEL);
        }
    }

    // Timed backups came every quarter of an hour, so a crash minutes after an edit lost it.
    void anEditIsBackedUpAtOnce() {
        StudioWindow window(m_host);
        window.show();
        QVERIFY(window.OpenFile(kSample));
        const QString backup = QString::fromUtf8(window.Recovery().timedBackupPath());
        QVERIFY(!QFile::exists(backup));
        typeInto(*window.GridView(), "Element size", "0.7");
        QVERIFY(readAll(backup).contains("size=0.7"));
        QCOMPARE(window.StatusText(), QString("Mesh options changed"));
    }

    void theRecoverySettingsAreRowsOfThePreferences() {
        StudioWindow window(m_host);
        CPreferenceManager& prefs = window.Preferences();
        auto* minutes =
            dynamic_cast<CIntPreference*>(prefs.GetPreference(studio::kPrefBackupMinutes));
        auto* copies =
            dynamic_cast<CIntPreference*>(prefs.GetPreference(studio::kPrefHistoryCopies));
        auto* folder =
            dynamic_cast<CFolderPreference*>(prefs.GetPreference(studio::kPrefHistoryFolder));
        QVERIFY(minutes && copies && folder);
        QCOMPARE(minutes->GetValue(), studio::kDefaultBackupMinutes);
        QCOMPARE(QString::fromUtf8(folder->GetFolder().GetString()),
                 QString::fromUtf8(ZEVTempFolder().GetString()));
        const QString history = scratch("history");
        QDir().mkpath(history);
        minutes->SetValue(2);
        copies->SetValue(7);
        folder->SetFolder(history.toUtf8().constData());
        QCOMPARE(
            studio::storeRecoveryPreferences(prefs, studio::kStudioRegistryBase, window.Recovery()),
            ERROR_SUCCESS);
        QCOMPARE(window.Recovery().backupMinutes(), 2);
        QCOMPARE(window.Recovery().historyLevelCount(), 7);
        QCOMPARE(QString::fromUtf8(window.Recovery().historyFolder()), history);
        QVERIFY(window.OpenFile(kSample));
        QCOMPARE(window.Recovery().backupTimer()->period(), 2u * 60000u);

        // Under the application's key, where the next start reads them.
        StudioWindow next(m_host);
        QCOMPARE(next.Recovery().backupMinutes(), 2);
        auto* shown = dynamic_cast<CIntPreference*>(
            next.Preferences().GetPreference(studio::kPrefHistoryCopies));
        QCOMPARE(shown->GetValue(), 7);
    }

private:
    CZEVQtHost& m_host;
};

ZEV_QTEST_MAIN(TestStudio)
#include "Studio_test.moc"
