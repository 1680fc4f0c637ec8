#include "tools/studio/StudioWindow.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QDockWidget>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QMenuBar>
#include <QOpenGLContext>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSplitter>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTextCursor>
#include <QUndoStack>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>

#include "tools/studio/GLMeshView.h"
#include "tools/studio/MeshProgress.h"
#include "tools/studio/MeshView.h"
#include "tools/studio/Recovery.h"
#include "tools/zevcore/MeshDxf.h"
#include "tools/zevcore/Output.h"
#include "tools/zevcore/PrefsTree.h"
#include "tools/zevcore/RenderIo.h"
#include "tools/zevcore/StoreOption.h"
#include "zevcore-qt/GridView.h"
#include "zevcore-qt/PreferencesDialog.h"
#include "zevcore-qt/QtConvert.h"
#include "zevcore-qt/QtHost.h"
#include "zevcore/files/FileRecovery.h"
#include "zevcore/frame/Ini.h"
#include "zevcore/frame/Progress.h"
#include "zevcore/graphics/GraphicGrid.h"
#include "zevcore/graphics/GridManager.h"
#include "zevcore/platform/Registry.h"
#include "zevcore/quantities/Units.h"
#include "zevcore/settings/PreferenceItem.h"
#include "zevcore/settings/PreferenceManager.h"
#include "zevcore/settings/PropertyGrid.h"

namespace studio {

namespace {

using namespace zevtool::meshio;

/// Thrown from the progress handler to leave the paver when the user stopped it.
struct MeshStopped {};

const char* const kRecentKey = "Software\\ZEV\\ZEVCore Studio\\Recent Files";
constexpr int kRecentCount = 4;
/// Where the "don't ask again" answers live.
const char* const kQuestionsKey = "Software\\ZEV\\ZEVCore Studio\\Questions";
/// The OpenGL view's draw mode, an ini setting under the studio's key.
const char* const kDrawModeKey = "View\\DrawMode";

std::string readText(const QString& path) {
    std::ifstream in(path.toStdString(), std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// OpenGL in a window: not on Qt's offscreen and minimal platforms, nor where no context can
// be made.
bool openGLAvailable() {
    const QString platform = QGuiApplication::platformName();
    if (platform == "offscreen" || platform == "minimal") return false;
    QOpenGLContext context;
    return context.create();
}

template <typename Item>
Item* preference(CPreferenceManager& manager, int key) {
    return dynamic_cast<Item*>(manager.GetPreference(key));
}

}  // namespace

StudioWindow::StudioWindow(CZEVQtHost& host, QWidget* parent)
    : QMainWindow(parent), m_host(host), m_grid(std::make_unique<CPropertyGrid>()) {
    setObjectName("zevStudio");
    setWindowTitle("ZEVCore Studio");
    m_handle = m_host.Windows().Register(this, [this](UINT message, WPARAM wParam, LPARAM lParam) {
        return handleMessage(message, wParam, lParam);
    });
    m_host.Windows().SetMainWindow(this);

    m_preferences = zevtool::makeStudioPreferences();
    m_preferences->ReadPreferencesFromRegistry();
    setDefaultBackupInterval(kStudioRegistryBase);
    addRecoveryPreferences(*m_preferences, kStudioRegistryBase);

    m_options.Load(defaultSettings());
    m_shownSettings = m_options.Settings();
    m_undo = new QUndoStack(this);
    // Each step keeps a copy of the region and the mesh.
    m_undo->setUndoLimit(50);
    m_grid->SetGroup(&m_options, 1);
    m_gridView = new CZEVQtGridView(*m_grid, this);
    m_gridView->setMinimumHeight(140);
    m_options.onChange = [this] {
        StudioState before = captureState();
        before.settings = m_shownSettings;
        m_shownSettings = m_options.Settings();
        record(tr("Edit the mesh options"), std::move(before));
        setStatus(tr("Mesh options changed"));
        backUpNow();
    };

    m_meshButton = new QPushButton(tr("Mesh"), this);
    m_meshButton->setObjectName("meshButton");
    connect(m_meshButton, &QPushButton::clicked, this, [this] { MeshNow(); });
    m_summary = new QPlainTextEdit(this);
    m_summary->setObjectName("summary");
    m_summary->setReadOnly(true);
    m_summary->setFont(QFont("Monospace", 9));
    m_summary->setPlaceholderText(tr("The quality summary appears here after meshing."));

    auto* side = new QWidget(this);
    auto* sideLayout = new QVBoxLayout(side);
    sideLayout->setContentsMargins(4, 4, 4, 4);
    sideLayout->addWidget(new QLabel(tr("<b>Mesh options</b>"), side));
    sideLayout->addWidget(m_gridView, 2);
    sideLayout->addWidget(m_meshButton);
    sideLayout->addWidget(new QLabel(tr("<b>Quality</b>"), side));
    sideLayout->addWidget(m_summary, 3);

    m_grids = std::make_unique<CGridManager>();
    m_view = new MeshView(this);
    connect(m_view, &MeshView::pointerMoved, this, [this](QPointF at) {
        const QString x = QString::fromUtf8(Units::show(UNIT_LENGTH_SMALL, at.x(), UNIT_SHOW));
        const QString y = QString::fromUtf8(Units::show(UNIT_LENGTH_SMALL, at.y(), UNIT_SHOW));
        m_coordinates->setText(QString("x %1   y %2").arg(x, y));
    });
    m_views = new QStackedWidget(this);
    m_views->addWidget(m_view);
    if (openGLAvailable()) {
        m_glView = new GLMeshView(m_host.GL(), this);
        m_views->addWidget(m_glView);
        m_views->setCurrentWidget(m_glView);
        connect(m_glView, &GLMeshView::pointerMoved, m_view, &MeshView::pointerMoved);
    }
    auto* splitter = new QSplitter(this);
    splitter->addWidget(side);
    splitter->addWidget(m_views);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({340, 700});
    setCentralWidget(splitter);

    m_log = new QPlainTextEdit(this);
    m_log->setObjectName("log");
    m_log->setReadOnly(true);
    m_log->setMaximumBlockCount(2000);
    auto* dock = new QDockWidget(tr("Mesher messages"), this);
    dock->setObjectName("logDock");
    dock->setWidget(m_log);
    addDockWidget(Qt::BottomDockWidgetArea, dock);

    m_status = new QLabel(this);
    statusBar()->addWidget(m_status, 1);
    m_coordinates = new QLabel(this);
    m_coordinates->setObjectName("coordinates");
    statusBar()->addPermanentWidget(m_coordinates);
    buildMenus();

    m_recovery = std::make_unique<CFileRecovery>(kStudioRegistryBase, m_handle, kProjectExtension);
    ApplyPreferences();
    resize(1100, 720);
    setStatus(tr("Ready"));
}

StudioWindow::~StudioWindow() {
    // The grid's view goes before the grid it shows.
    delete m_gridView;
    m_gridView = nullptr;
    m_host.Windows().Unregister(this);
}

void StudioWindow::buildMenus() {
    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->addAction(tr("&Open..."), QKeySequence::Open, this, [this] { chooseAndOpen(); });
    m_recentMenu = file->addMenu(tr("Open &recent"));
    file->addAction(tr("&Save project"), QKeySequence::Save, this, [this] {
        if (m_projectPath.isEmpty())
            chooseAndSaveProject();
        else
            SaveProject(m_projectPath);
    });
    file->addAction(tr("Save project &as..."), this, [this] { chooseAndSaveProject(); });
    file->addAction(tr("&Export mesh..."), this, [this] { chooseAndSaveMesh(); });
    file->addSeparator();
    file->addAction(tr("&Quit"), QKeySequence::Quit, this, [this] { close(); });
    QMenu* edit = menuBar()->addMenu(tr("&Edit"));
    m_undoAction = m_undo->createUndoAction(this, tr("&Undo"));
    m_undoAction->setShortcut(QKeySequence::Undo);
    m_redoAction = m_undo->createRedoAction(this, tr("&Redo"));
    m_redoAction->setShortcuts(
        {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), QKeySequence(Qt::CTRL | Qt::Key_Y)});
    edit->addAction(m_undoAction);
    edit->addAction(m_redoAction);
    // The keys work wherever the focus is in the window, the menu bar shown or not.
    addAction(m_undoAction);
    addAction(m_redoAction);
    QMenu* mesh = menuBar()->addMenu(tr("&Mesh"));
    mesh->addAction(tr("&Mesh now"), QKeySequence(Qt::Key_F5), this, [this] { MeshNow(); });
    mesh->addAction(tr("&Fit to window"), this, [this] {
        m_view->Fit();
        if (m_glView) m_glView->Fit();
    });
    m_glAction = mesh->addAction(tr("&OpenGL view"), this, [this](bool on) { ShowGL(on); });
    m_glAction->setCheckable(true);
    m_glAction->setEnabled(m_glView != nullptr);
    m_glAction->setChecked(m_glView != nullptr);
    // The OpenGL view's modes.
    auto* modes = new QActionGroup(this);
    const std::pair<const char*, GLMeshScene::DrawMode> modeNames[] = {
        {"Solid and wireframe", GLMeshScene::DrawMode::SolidAndWireframe},
        {"Solid", GLMeshScene::DrawMode::Solid},
        {"Wireframe", GLMeshScene::DrawMode::Wireframe}};
    QMenu* drawing = mesh->addMenu(tr("&Draw"));
    drawing->setEnabled(m_glView != nullptr);
    // The mode chosen last time, kept with the application's settings.
    setIniBase(kStudioRegistryBase);
    int stored = 0;
    if (readIniInt(kDrawModeKey, stored) == ERROR_SUCCESS && stored >= 0 && stored <= 2)
        m_drawMode = static_cast<GLMeshScene::DrawMode>(stored);
    if (m_glView) m_glView->SetMode(m_drawMode);
    for (const auto& [name, mode] : modeNames) {
        QAction* action =
            drawing->addAction(tr(name), this, [this, mode = mode] { SetDrawMode(mode); });
        action->setCheckable(true);
        action->setChecked(mode == m_drawMode);
        modes->addAction(action);
    }
    QMenu* tools = menuBar()->addMenu(tr("&Tools"));
    tools->addAction(tr("&Units..."), this, [this] { chooseUnits(); });
    tools->addAction(tr("&Preferences..."), this, [this] { ShowPreferences(); });
    rebuildRecentMenu();
}

void StudioWindow::progressLine(const std::string& text) {
    const QString line = withLengthUnits(QString::fromUtf8(text.c_str()).trimmed());
    ++m_lines;
    if (!line.isEmpty() && line != ".") logLine(line);
    if (onProgressLine) onProgressLine(m_lines);
    if (m_meshing) {
        m_host.Windows().PumpMessages();
        // The library's own increment starts again from a tenth when it passes the end.
        const bool stopped = UpdateProgressDialog(
            m_progress ? m_progress->Line(line) : 0.0,
            line.isEmpty() || line == "." ? nullptr : line.toUtf8().constData(), 0);
        if (stopped || m_stopRequested) throw MeshStopped();
    }
}

LRESULT StudioWindow::handleMessage(UINT message, WPARAM wParam, LPARAM) {
    if (message == WM_ZEV_PROGRESS_STOP) {
        m_stopRequested = true;
        return 0;
    }
    if (message == WM_ZEV_TIMED_BACKUP) {
        const char* path = reinterpret_cast<const char*>(wParam);
        if (path && writeBackup(path) && !m_quietBackup)
            setStatus(tr("Backed up to %1").arg(QString::fromUtf8(path)));
        return 0;
    }
    return 0;
}

bool StudioWindow::writeBackup(const char* path) {
    if (!m_hasRegion) return false;
    try {
        zevtool::writeOutput(path, documentText());
        return true;
    } catch (const std::exception& e) {
        setStatus(QString::fromUtf8(e.what()));
        return false;
    }
}

void StudioWindow::backUpNow() {
    // A change is in the backup at once, not a whole interval later: a crash soon after an
    // edit loses nothing. The status line keeps what the change itself said.
    m_quietBackup = true;
    m_recovery->doTimedBackupEvent();
    m_quietBackup = false;
}

void StudioWindow::logLine(const QString& line) {
    // A line the mesher repeats many times in a row is shown once, with its count.
    if (line == m_lastLine) {
        ++m_repeats;
        QTextCursor cursor = m_log->textCursor();
        cursor.movePosition(QTextCursor::End);
        cursor.select(QTextCursor::BlockUnderCursor);
        cursor.removeSelectedText();
        m_log->appendPlainText(QString("%1  (%2 times)").arg(line).arg(m_repeats + 1));
        return;
    }
    m_lastLine = line;
    m_repeats = 0;
    m_log->appendPlainText(line);
}

MeshSettings StudioWindow::defaultSettings() const {
    MeshSettings s;
    if (auto* size = preference<CQuantityPreference>(*m_preferences, zevtool::kPrefElementSize))
        s.size = size->GetValue();
    if (auto* method = preference<CListPreference>(*m_preferences, zevtool::kPrefMethod))
        s.method = method->GetSelection() == 1 ? "triangle" : "paver";
    if (auto* area = preference<CQuantityPreference>(*m_preferences, zevtool::kPrefMaxArea))
        s.maxArea = area->GetValue();
    // A preferred size that would make a handful of elements gives way to the region's own.
    if (m_hasRegion) {
        const double regional = defaultSize(m_region);
        if (!(s.size > 0.0) || s.size > 4.0 * regional) s.size = regional;
    }
    return s;
}

bool StudioWindow::OpenFile(const QString& path) {
    if (m_meshing) return false;
    StudioState before = captureState();
    zevtool::meshio::Region region;
    Mesh mesh;
    const QString suffix = QFileInfo(path).suffix().toLower();
    const bool drawing = suffix == "dxf", meshFile = suffix == "msh";
    try {
        if (meshFile) {
            // A mesh opens with the region its boundary edges outline, ready to mesh again.
            mesh = zevtool::render::readMshFile(path.toStdString());
            region = regionOfMesh(mesh);
        } else {
            region =
                drawing ? readDxfRegion(path.toStdString()) : readBoundaryFile(path.toStdString());
        }
    } catch (const InputError& e) {
        QString where = path;
        if (e.line() > 0) where += QString(":%1").arg(e.line());
        error(tr("%1: %2").arg(where, QString::fromUtf8(e.what())));
        return false;
    }
    const std::string text = drawing || meshFile ? std::string() : readText(path);
    m_region = std::move(region);
    m_hasRegion = true;
    m_mesh = std::move(mesh);
    m_meshedRegion = {};
    MeshSettings settings;
    if (!readProjectSettings(text, settings)) settings = defaultSettings();
    // A mesh the project cannot give back leaves the region opened, and says why.
    Mesh kept;
    const std::string meshProblem = readProjectMesh(text, kept);
    if (!kept.elements.empty()) m_mesh = std::move(kept);
    if (m_grid->IsEditing()) m_grid->FinishEdit(true);
    m_options.Load(settings);
    m_grid->OnGroupSetup();
    m_gridView->Refresh();
    m_sourcePath = path;
    m_projectPath = path.endsWith(kProjectExtension) ? path : QString();
    m_recovery->openProject(path.toUtf8().constData());
    m_summary->clear();
    m_log->clear();
    showRegion();
    if (!m_mesh.elements.empty()) {
        zev::mesh::Result read;
        read.mesh = m_mesh;
        read.quality = measureQuality(m_mesh);
        read.coverage = measureCoverage(m_region, m_mesh);
        read.interiorPoints = static_cast<int>(m_region.interiorPoints.size());
        showSummary(read, QString(), meshFile ? "msh file" : settings.method.c_str());
    }
    addRecent(path);
    if (auto* last = preference<CFilePreference>(*m_preferences, zevtool::kPrefLastFile)) {
        last->SetFile(zevqt::toCString(path));
        savePreferences();
    }
    setWindowTitle(QString("%1 - ZEVCore Studio").arg(QFileInfo(path).fileName()));
    m_shownSettings = m_options.Settings();
    record(tr("Open %1").arg(QFileInfo(path).fileName()), std::move(before));
    setStatus(tr("Opened %1: %2 loop(s), %3 constraint point(s)")
                  .arg(QFileInfo(path).fileName())
                  .arg(m_region.loops.size())
                  .arg(m_region.interiorPoints.size() + m_region.boundaryPoints.size()));
    if (!meshProblem.empty())
        error(tr("%1 opened without its mesh: %2.")
                  .arg(QFileInfo(path).fileName(), QString::fromUtf8(meshProblem.c_str())));
    return true;
}

std::string StudioWindow::documentText() const {
    return projectText(m_region, m_options.Settings()) + projectMeshText(m_mesh);
}

void StudioWindow::showRegion() {
    // One snap grid over the region, at a round spacing of about a twenty-fourth of its
    // larger side, reaching a quarter of it and a step beyond on every side.
    double minX = HUGE_VAL, minY = HUGE_VAL, maxX = -HUGE_VAL, maxY = -HUGE_VAL;
    for (const auto& loop : m_region.loops)
        for (const Point& p : loop) {
            minX = std::min(minX, p.x), maxX = std::max(maxX, p.x);
            minY = std::min(minY, p.y), maxY = std::max(maxY, p.y);
        }
    while (m_grids->gridCount() > 0) m_grids->removeGrid(1);
    const double extent = std::max(maxX - minX, maxY - minY);
    if (extent > 0.0) {
        const double target = extent / 24.0;
        const double power = std::pow(10.0, std::floor(std::log10(target)));
        double spacing = power;
        for (double f : {1.0, 2.0, 5.0, 10.0})
            if (power * f >= target) {
                spacing = power * f;
                break;
            }
        // An even count of steps each way about a round centre keeps the points on round
        // coordinates; the half step more keeps the count from rounding down.
        const double halfA = std::ceil((0.75 * (maxX - minX) + spacing) / spacing);
        const double halfB = std::ceil((0.75 * (maxY - minY) + spacing) / spacing);
        const CPoint3D centre(std::round((minX + maxX) / 2.0 / spacing) * spacing,
                              std::round((minY + maxY) / 2.0 / spacing) * spacing, 0.0);
        auto* grid = new CRectangularGrid();
        grid->setupRegularGrid("Snap grid", CRectangularGrid::gpXY, (2.0 * halfA + 0.5) * spacing,
                               (2.0 * halfB + 0.5) * spacing, spacing, spacing, centre);
        grid->setVisibility(true);
        m_grids->addGrid(*grid);
    }
    m_view->SetGrids(m_grids.get());
    m_view->SetRegion(m_region);
    m_view->SetMesh(m_mesh);
    if (m_glView) {
        m_glView->SetGrids(m_grids.get());
        m_glView->SetRegion(m_region);
        m_glView->SetMesh(m_mesh);
    }
}

bool StudioWindow::SaveProject(const QString& path) {
    if (!m_hasRegion) {
        error(tr("There is no region to save: open a boundary file first."));
        return false;
    }
    if (m_grid->IsEditing() && !m_grid->FinishEdit(false)) return false;
    try {
        zevtool::writeOutput(path.toStdString(), documentText());
    } catch (const std::exception& e) {
        error(QString::fromUtf8(e.what()));
        return false;
    }
    m_projectPath = path;
    m_recovery->projectWasSaved(path.toUtf8().constData());
    m_options.ClearModified();
    addRecent(path);
    setWindowTitle(QString("%1 - ZEVCore Studio").arg(QFileInfo(path).fileName()));
    setStatus(tr("Saved %1").arg(path));
    return true;
}

bool StudioWindow::SaveMesh(const QString& path) {
    if (m_mesh.elements.empty()) {
        error(tr("There is no mesh to save: mesh the region first."));
        return false;
    }
    const QString suffix = QFileInfo(path).suffix().toLower();
    std::string text;
    if (suffix == "msh")
        text = mshText(m_mesh);
    else if (suffix == "svg")
        text = svgText(m_region, m_mesh);
    else if (suffix == "dxf")
        text = dxfMeshText(m_region, m_mesh, false);
    else {
        error(
            tr("Cannot save a mesh as '%1': give a name ending in .msh, .svg or .dxf.").arg(path));
        return false;
    }
    const zevtool::meshio::Region& covered =
        m_meshedRegion.loops.empty() ? m_region : m_meshedRegion;
    if (!measureCoverage(covered, m_mesh).covered() &&
        m_host.Dialogs().MessageBoxDontAsk(
            m_handle, kQuestionsKey, "SavePartialMesh",
            "The mesh does not cover the region. Save it all the same?", "ZEVCore Studio",
            MB_YESNO | MB_ICONQUESTION) != IDYES)
        return false;
    try {
        zevtool::writeOutput(path.toStdString(), text);
    } catch (const std::exception& e) {
        error(QString::fromUtf8(e.what()));
        return false;
    }
    setStatus(tr("Saved the mesh to %1").arg(path));
    return true;
}

StudioWindow::MeshOutcome StudioWindow::MeshNow() {
    if (m_meshing) return MeshOutcome::Failed;
    if (!m_hasRegion) {
        error(tr("Open a boundary file before meshing."));
        return MeshOutcome::Failed;
    }
    // An entry still open in the grid counts, if the row takes it.
    if (m_grid->IsEditing() && !m_grid->FinishEdit(false)) {
        m_gridView->Refresh();
        return MeshOutcome::Failed;
    }
    const MeshSettings settings = m_options.Settings();
    if (const std::string where = coordinateProblem(m_region); !where.empty()) {
        error(tr("The region %1.").arg(QString::fromUtf8(where.c_str())));
        return MeshOutcome::Failed;
    }
    const std::string problem = sizeProblem(m_region, settings.size);
    if (!problem.empty()) {
        error(tr("An element size of %1 %2.")
                  .arg(QString::fromUtf8(Units::show(UNIT_LENGTH_SMALL, settings.size, UNIT_SHOW)),
                       QString::fromUtf8(problem.c_str())));
        return MeshOutcome::Failed;
    }

    StudioState before = captureState();
    m_log->clear();
    m_lastLine.clear();
    m_lines = 0;
    // The last mesh goes: what shows while the mesher runs is the region it works on.
    m_mesh = {};
    m_meshedRegion = {};
    m_view->SetMesh(m_mesh);
    if (m_glView) m_glView->SetMesh(m_mesh);
    m_summary->setPlainText(tr("Meshing..."));
    setStatus(tr("Meshing..."));
    m_stopRequested = false;
    zev::mesh::Options options;
    options.method = settings.method == "triangle" ? zev::mesh::Method::Triangle
                     : settings.extended           ? zev::mesh::Method::Extended
                                                   : zev::mesh::Method::Stated;
    options.size = settings.size;
    options.divisions = settings.divisions;
    options.maxArea = settings.maxArea;
    options.progress = [this](const std::string& line) { progressLine(line); };
    zev::mesh::Result result;
    bool stopped = false;
    QString failure;
    m_meshing = true;
    // The interface breathes while the paver runs: nothing may change what it works on.
    m_meshButton->setEnabled(false);
    m_gridView->setEnabled(false);
    menuBar()->setEnabled(false);
    enableUndo(false);
    m_host.Cursor().BeginWaitCursor();
    const bool paver = options.method != zev::mesh::Method::Triangle;
    if (paver) {
        StartProgressDialog("Meshing", true, true, false, m_handle, 0);
        m_progress =
            std::make_unique<ProgressEstimate>(expectedStageLines(m_region, settings.size));
    }
    try {
        result = zev::mesh::meshRegion(m_region, options);
        m_meshedRegion = result.meshed;
        if (!result.complete) failure = tr("the mesher stopped before every front was closed");
    } catch (const MeshStopped&) {
        stopped = true;
    } catch (const std::exception& e) {
        failure = QString::fromUtf8(e.what());
    }
    if (paver) KillProgressDialog(0);
    m_progress.reset();
    m_host.Cursor().EndWaitCursor();
    menuBar()->setEnabled(true);
    m_gridView->setEnabled(true);
    m_meshButton->setEnabled(true);
    m_meshing = false;
    enableUndo(true);

    if (stopped) {
        m_mesh = {};
        m_view->SetMesh(m_mesh);
        if (m_glView) m_glView->SetMesh(m_mesh);
        m_summary->setPlainText(tr("Meshing stopped by the user."));
        record(tr("Mesh"), std::move(before));
        setStatus(tr("Meshing stopped"));
        return MeshOutcome::Stopped;
    }
    m_mesh = result.mesh;
    m_view->SetMesh(m_mesh);
    if (m_glView) m_glView->SetMesh(m_mesh);
    if (m_mesh.elements.empty()) {
        m_summary->setPlainText(tr("No mesh: %1").arg(failure));
        record(tr("Mesh"), std::move(before));
        setStatus(tr("Meshing failed"));
        return MeshOutcome::Failed;
    }
    const zev::mesh::Coverage coverage = showSummary(result, failure);
    const bool covered = coverage.covered();
    record(tr("Mesh"), std::move(before));
    backUpNow();
    QString said =
        tr("Meshed: %1 nodes, %2 elements").arg(m_mesh.nodes.size()).arg(m_mesh.elements.size());
    if (!covered) {
        // Said with its reason: the area alone can look whole when elements overlap or fold.
        const double filled =
            coverage.regionArea > 0.0 ? coverage.elementArea / coverage.regionArea : 0.0;
        if (std::fabs(filled - 1.0) > 0.005)
            said += tr(" - the mesh does NOT cover the region: its elements fill %1% of it")
                        .arg(std::lround(100.0 * filled));
        else if (coverage.folded > 0)
            said += tr(" - the mesh does NOT cover the region: %1 element(s) folded")
                        .arg(coverage.folded);
        else
            said +=
                tr(" - the mesh does NOT cover the region: its elements leave gaps or "
                   "overlap");
    }
    setStatus(said);
    return failure.isEmpty() && covered ? MeshOutcome::Meshed : MeshOutcome::Failed;
}

StudioState StudioWindow::captureState() const {
    StudioState state;
    state.region = m_region;
    state.meshedRegion = m_meshedRegion;
    state.mesh = m_mesh;
    state.hasRegion = m_hasRegion;
    state.settings = m_options.Settings();
    state.sourcePath = m_sourcePath;
    state.projectPath = m_projectPath;
    state.summary = m_summary->toPlainText();
    state.title = windowTitle();
    return state;
}

void StudioWindow::record(const QString& text, StudioState before) {
    m_undo->push(new StateCommand(
        text, std::move(before), captureState(),
        [this](const StudioState& state, const QString& said) { restoreState(state, said); }));
}

void StudioWindow::restoreState(const StudioState& state, const QString& said) {
    if (m_grid->IsEditing()) m_grid->FinishEdit(true);
    const bool otherFile = state.sourcePath != m_sourcePath || state.hasRegion != m_hasRegion;
    m_region = state.region;
    m_meshedRegion = state.meshedRegion;
    m_mesh = state.mesh;
    m_hasRegion = state.hasRegion;
    m_options.Load(state.settings);
    m_shownSettings = state.settings;
    m_grid->OnGroupSetup();
    m_gridView->Refresh();
    m_sourcePath = state.sourcePath;
    m_projectPath = state.projectPath;
    if (otherFile) {
        // The backup follows the document shown; a file opened again gets no second copy.
        CDisableTemporarily noHistory(m_recovery->historyFlag());
        if (m_hasRegion)
            m_recovery->openProject(m_sourcePath.toUtf8().constData());
        else
            m_recovery->closeProject();
    }
    showRegion();
    m_summary->setPlainText(state.summary);
    setWindowTitle(state.title);
    backUpNow();
    setStatus(said);
}

void StudioWindow::enableUndo(bool on) {
    m_undoAction->setEnabled(on && m_undo->canUndo());
    m_redoAction->setEnabled(on && m_undo->canRedo());
}

zev::mesh::Coverage StudioWindow::showSummary(const zev::mesh::Result& result,
                                              const QString& failure, const char* source) {
    // The report `zevcore mesh` prints, with the coverage in one line.
    std::string summary = zev::mesh::summaryText(result);
    summary.erase(summary.find("joined:"));
    if (source) {
        const size_t from = summary.find_first_not_of(' ', summary.find(':') + 1);
        summary.replace(from, summary.find('\n') - from, source);
    }
    const zev::mesh::Coverage& coverage = result.coverage;
    char line[200];
    std::snprintf(line, sizeof line, "covered:           %s (folded elements: %d)\n",
                  coverage.covered() ? "yes" : "no", coverage.folded);
    summary += line;
    if (!failure.isEmpty()) summary += "note:              " + failure.toStdString() + "\n";
    m_summary->setPlainText(QString::fromUtf8(summary.c_str()));
    return coverage;
}

void StudioWindow::OfferRecovery() {
    for (const FoundBackup& backup : findBackups(kProjectExtension)) {
        const int answer =
            ZEVDialogs().MessageBox(m_handle, recoveryQuestion(backup).toUtf8().constData(),
                                    "File Recovery", MB_YESNOCANCEL | MB_ICONQUESTION);
        if (answer == IDNO) {
            QFile::remove(backup.path);
            continue;
        }
        if (answer != IDYES) return;
        {
            // A backup is no project of the user's: no dated copy of it.
            CDisableTemporarily noHistory(m_recovery->historyFlag());
            if (!OpenFile(backup.path)) return;
        }
        // The recovered project is new until the user names it; its backup moves to the new
        // project's name at once, so a second crash still finds it.
        m_projectPath.clear();
        m_recovery->newProject();
        const QString moved = QString::fromUtf8(m_recovery->timedBackupPath());
        if (writeBackup(m_recovery->timedBackupPath()) &&
            QFileInfo(moved).absoluteFilePath() != QFileInfo(backup.path).absoluteFilePath())
            QFile::remove(backup.path);
        setWindowTitle(tr("Recovered project - ZEVCore Studio"));
        setStatus(
            tr("Recovered the backup of %1 written %2")
                .arg(backup.project, QLocale().toString(backup.written, QLocale::ShortFormat)));
        return;
    }
}

void StudioWindow::ShowPreferences() {
    if (m_meshing) return;
    // Shown as they stand now: another program may have changed some since they were read.
    m_preferences->ReadPreferencesFromRegistry();
    loadRecoveryPreferences(*m_preferences, kStudioRegistryBase);
    CZEVQtPreferencesDialog dialog(*m_preferences, this);
    dialog.exec();
    // The dialog stores what changed as it closes.
    if (m_preferences->LastStoreStatus() != ERROR_SUCCESS)
        storeFailed(tr("The preferences"), m_preferences->LastStoreStatus());
    if (const int status =
            storeRecoveryPreferences(*m_preferences, kStudioRegistryBase, *m_recovery);
        status != ERROR_SUCCESS)
        storeFailed(tr("The recovery settings"), status);
    ApplyPreferences();
}

void StudioWindow::savePreferences() {
    if (!m_preferences->WritePreferencesToRegistry())
        storeFailed(tr("The preferences"), m_preferences->LastStoreStatus());
}

void StudioWindow::storeFailed(const QString& what, LSTATUS status) {
    error(tr("%1 could not be saved: %2.")
              .arg(what, QString::fromStdString(zevtool::storeStatusText(status))));
}

void StudioWindow::ApplyPreferences() {
    if (auto* style = preference<CListPreference>(*m_preferences, zevtool::kPrefUnitStyle))
        Units::setStyle(static_cast<ETUnitStyle>(style->GetSelection()), false);
    if (auto* decimals = preference<CIntPreference>(*m_preferences, zevtool::kPrefDecimals))
        Units::decimalPlaces(decimals->GetValue());
    QColor background = Qt::white, lines = QColor(0, 0, 128);
    if (auto* c = preference<CColorPreference>(*m_preferences, zevtool::kPrefBackground))
        background = zevqt::toQColor(c->GetColor());
    if (auto* c = preference<CColorPreference>(*m_preferences, zevtool::kPrefMeshLines))
        lines = zevqt::toQColor(c->GetColor());
    m_view->SetColors(background, lines);
    if (m_glView) m_glView->SetColors(background, lines);
    if (auto* grid = preference<CBoolPreference>(*m_preferences, zevtool::kPrefShowGrid)) {
        m_view->SetShowGrid(grid->GetValue() != 0);
        if (m_glView) m_glView->SetShowGrid(grid->GetValue() != 0);
    }
    if (auto* font = preference<CFontPreference>(*m_preferences, zevtool::kPrefLabelFont)) {
        m_view->setFont(zevqt::toQFont(font->GetFont()));
        if (m_glView) m_glView->SetLabelFont(font->GetFont());
    }
    // The rows show their values in the style now in force.
    if (!m_grid->IsEditing()) m_grid->OnGroupSetup();
    m_gridView->Refresh();
}

void StudioWindow::chooseUnits() {
    if (m_meshing) return;
    if (Units::customizeDialog() != IDOK) return;
    if (auto* style = preference<CListPreference>(*m_preferences, zevtool::kPrefUnitStyle))
        style->SetSelection(Units::currentStyle());
    savePreferences();
    ApplyPreferences();
}

void StudioWindow::chooseAndOpen() {
    ZEVFileDialogRequest request;
    request.title = "Open";
    request.filter =
        "Boundary files, projects, DXF drawings and meshes|*.txt;*.bnd;*.zevp;*.dxf;*.msh|"
        "All files|*";
    if (auto* folder = preference<CFolderPreference>(*m_preferences, zevtool::kPrefProjectFolder))
        request.initialPath = folder->GetFolder();
    CString path;
    if (ZEVDialogs().ChooseFile(request, path)) OpenFile(zevqt::toQString(path));
}

void StudioWindow::chooseAndSaveProject() {
    ZEVFileDialogRequest request;
    request.title = "Save project";
    request.filter = "Projects|*.zevp";
    request.forSave = true;
    CString path;
    if (!ZEVDialogs().ChooseFile(request, path)) return;
    QString name = zevqt::toQString(path);
    if (!name.endsWith(kProjectExtension)) name += kProjectExtension;
    SaveProject(name);
}

void StudioWindow::chooseAndSaveMesh() {
    ZEVFileDialogRequest request;
    request.title = "Export mesh";
    request.filter = "Gmsh meshes|*.msh|SVG pictures|*.svg|DXF drawings|*.dxf";
    request.forSave = true;
    CString path;
    if (ZEVDialogs().ChooseFile(request, path)) SaveMesh(zevqt::toQString(path));
}

QStringList StudioWindow::RecentFiles() const {
    QStringList files;
    HKEY key = nullptr;
    if (RegOpenKeyA(HKEY_CURRENT_USER, kRecentKey, &key) != ERROR_SUCCESS) return files;
    for (int i = 1; i <= kRecentCount; ++i) {
        char name[16];
        std::snprintf(name, sizeof name, "File%d", i);
        char value[1024] = {};
        DWORD size = sizeof value - 1;
        if (RegQueryValueExA(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(value), &size) ==
                ERROR_SUCCESS &&
            size > 0)
            files << QString::fromUtf8(value, static_cast<int>(std::strlen(value)));
    }
    RegCloseKey(key);
    return files;
}

void StudioWindow::addRecent(const QString& path) {
    // Read, changed and written in one transaction, so that a studio beside this one loses
    // no file it added meanwhile.
    CZEVSettingsBatch batch;
    QStringList files = RecentFiles();
    const QString full = QFileInfo(path).absoluteFilePath();
    files.removeAll(full);
    files.prepend(full);
    while (files.size() > kRecentCount) files.removeLast();
    HKEY key = nullptr;
    LSTATUS status = batch.Status();
    if (status == ERROR_SUCCESS) status = RegCreateKeyA(HKEY_CURRENT_USER, kRecentKey, &key);
    for (int i = 0; status == ERROR_SUCCESS && i < files.size(); ++i) {
        char name[16];
        std::snprintf(name, sizeof name, "File%d", i + 1);
        const QByteArray value = files[i].toUtf8();
        status =
            RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.constData()),
                           static_cast<DWORD>(value.size() + 1));
    }
    if (key) RegCloseKey(key);
    if (status == ERROR_SUCCESS) status = batch.Commit();
    if (status != ERROR_SUCCESS) storeFailed(tr("The list of recent files"), status);
    rebuildRecentMenu();
}

void StudioWindow::rebuildRecentMenu() {
    m_recentMenu->clear();
    const QStringList files = RecentFiles();
    for (const QString& file : files)
        m_recentMenu->addAction(file, this, [this, file] { OpenFile(file); });
    m_recentMenu->setEnabled(!files.isEmpty());
}

void StudioWindow::SetDrawMode(GLMeshScene::DrawMode mode) {
    m_drawMode = mode;
    if (m_glView) m_glView->SetMode(mode);
    setIniBase(kStudioRegistryBase);
    if (const int status = writeIniInt(kDrawModeKey, static_cast<int>(mode));
        status != ERROR_SUCCESS)
        storeFailed(tr("The draw mode"), status);
}

bool StudioWindow::ShowingGL() const {
    return m_glView && m_views->currentWidget() == m_glView;
}

void StudioWindow::ShowGL(bool on) {
    if (!m_glView) return;
    m_views->setCurrentWidget(on ? static_cast<QWidget*>(m_glView) : m_view);
    if (m_glAction->isChecked() != on) m_glAction->setChecked(on);
    if (on)
        m_glView->Fit();
    else
        m_view->Fit();
}

QString StudioWindow::CoordinatesText() const {
    return m_coordinates->text();
}

QString StudioWindow::StatusText() const {
    return m_status->text();
}

void StudioWindow::setStatus(const QString& text) {
    m_status->setText(text);
}

void StudioWindow::error(const QString& text) {
    setStatus(text);
    ZEVDialogs().MessageBox(m_handle, text.toUtf8().constData(), "ZEVCore Studio",
                            MB_OK | MB_ICONERROR);
}

void StudioWindow::closeEvent(QCloseEvent* event) {
    if (m_meshing) {
        // The paver is on the stack below this event: it ends first.
        m_stopRequested = true;
        event->ignore();
        return;
    }
    m_recovery->closeProject();
    QMainWindow::closeEvent(event);
}

}  // namespace studio
