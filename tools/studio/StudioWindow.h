#pragma once

// ZEVCore Studio's main window: a region opened from a boundary file or a project, the mesh
// options in a property grid, meshing with a progress window that can stop the paver, the
// mesh drawn with its elements coloured by quality, the quality summary, saving (project,
// MSH, SVG), preferences kept in the settings store, and the timed backup of the open
// project with the offer to recover it after a crash.

#include <QMainWindow>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

#include "tools/studio/GLMeshView.h"
#include "tools/studio/History.h"
#include "tools/studio/MeshOptions.h"
#include "tools/studio/Project.h"
#include "tools/zevcore/MeshIo.h"
#include "zevcore/platform/Types.h"

class CZEVQtHost;
class CZEVQtGridView;
class CPropertyGrid;
class CPreferenceManager;
class CFileRecovery;
class CGridManager;
class QAction;
class QLabel;
class QMenu;
class QPlainTextEdit;
class QPushButton;
class QStackedWidget;
class QUndoStack;

namespace studio {

class MeshView;
class GLMeshView;
class ProgressEstimate;

/// The studio's key under "Software\ZEV\" (shared with the command-line tool's preferences).
inline constexpr const char* kStudioRegistryBase = "Software\\ZEV\\ZEVCore Studio";

/// The message number of the paver's progress lines sent to the main window.
inline constexpr UINT kProgressLineMessage = 0x8400;

class StudioWindow : public QMainWindow {
    Q_OBJECT
public:
    enum class MeshOutcome { Meshed, Stopped, Failed };

    explicit StudioWindow(CZEVQtHost& host, QWidget* parent = nullptr);
    ~StudioWindow() override;

    /// Opens a boundary file, a project (the mesh options of a project come with it), a DXF
    /// drawing or a mesh (MSH, with the region its boundary outlines); false, with a message
    /// box, when the file cannot be read.
    bool OpenFile(const QString& path);
    /// Writes the open region, the options and the mesh as a project.
    bool SaveProject(const QString& path);
    /// Writes the mesh as MSH, SVG or DXF, by the name's extension.
    bool SaveMesh(const QString& path);
    /// Meshes the open region with the options shown.
    MeshOutcome MeshNow();
    /// When timed backups of an earlier run are found, offers each, newest first, naming its
    /// project and time: Yes opens it, No deletes it, Cancel keeps the rest (at start-up).
    void OfferRecovery();
    void ShowPreferences();
    /// Takes the preferences' unit style, colours and defaults.
    void ApplyPreferences();

    bool HasRegion() const { return m_hasRegion; }
    const zevtool::meshio::Region& Region() const { return m_region; }
    const zevtool::meshio::Mesh& CurrentMesh() const { return m_mesh; }
    MeshOptions& Options() { return m_options; }
    CPropertyGrid& Grid() { return *m_grid; }
    CZEVQtGridView* GridView() const { return m_gridView; }
    MeshView* View() const { return m_view; }
    /// The OpenGL view, or null where OpenGL cannot be had (Qt's offscreen platform).
    GLMeshView* GLView() const { return m_glView; }
    /// Whether the OpenGL view is the one shown.
    bool ShowingGL() const;
    void ShowGL(bool on);
    /// The OpenGL view's draw mode, kept for the next start.
    void SetDrawMode(GLMeshScene::DrawMode mode);
    GLMeshScene::DrawMode DrawMode() const { return m_drawMode; }
    QPlainTextEdit* Summary() const { return m_summary; }
    QPlainTextEdit* Log() const { return m_log; }
    CPreferenceManager& Preferences() { return *m_preferences; }
    CFileRecovery& Recovery() { return *m_recovery; }
    CGridManager& Grids() { return *m_grids; }
    /// The steps that Edit > Undo and Redo walk (option edits, loading, meshing).
    QUndoStack& UndoStack() { return *m_undo; }
    /// The pointer's snapped position as the status bar shows it.
    QString CoordinatesText() const;
    const QString& ProjectPath() const { return m_projectPath; }
    QStringList RecentFiles() const;
    /// The text the status bar shows last.
    QString StatusText() const;

    /// Called with each progress line's number while the paver runs (tests stop it here).
    std::function<void(int line)> onProgressLine;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    LRESULT handleMessage(UINT message, WPARAM wParam, LPARAM lParam);
    void buildMenus();
    void logLine(const QString& line);
    /// Writes the open project to `path`; false (said in the status bar) when it cannot.
    bool writeBackup(const char* path);
    /// The open project as its file keeps it: region, options and mesh.
    std::string documentText() const;
    /// Has the recovery write its backup now, after a change.
    void backUpNow();
    StudioState captureState() const;
    /// Shows `state` as the document, after an undo or redo; `said` goes to the status bar.
    void restoreState(const StudioState& state, const QString& said);
    /// Pushes the step just done, from `before` to what shows now.
    void record(const QString& text, StudioState before);
    /// Undo and redo wait while the mesher runs.
    void enableUndo(bool on);
    void chooseAndOpen();
    void chooseAndSaveProject();
    void chooseAndSaveMesh();
    void chooseUnits();
    void showRegion();
    void addRecent(const QString& path);
    /// Stores the preferences changed here; a store that fails is reported, never ignored.
    void savePreferences();
    void storeFailed(const QString& what, LSTATUS status);
    void rebuildRecentMenu();
    void setStatus(const QString& text);
    void error(const QString& text);
    /// The report of a mesh, `source` standing in the method's place when given; answers how far
    /// the mesh covers the region.
    zev::mesh::Coverage showSummary(const zev::mesh::Result& result, const QString& failure,
                                    const char* source = nullptr);
    /// A progress line of the paver: logged, counted, the interface given time; throws out of
    /// the paver when the user stopped it.
    void progressLine(const std::string& line);
    MeshSettings defaultSettings() const;

    CZEVQtHost& m_host;
    HWND m_handle = nullptr;
    std::unique_ptr<CPreferenceManager> m_preferences;
    MeshOptions m_options;
    std::unique_ptr<CPropertyGrid> m_grid;
    CZEVQtGridView* m_gridView = nullptr;
    MeshView* m_view = nullptr;
    GLMeshView* m_glView = nullptr;
    QStackedWidget* m_views = nullptr;
    QAction* m_glAction = nullptr;
    QPlainTextEdit* m_summary = nullptr;
    QPlainTextEdit* m_log = nullptr;
    QPushButton* m_meshButton = nullptr;
    QMenu* m_recentMenu = nullptr;
    QLabel* m_status = nullptr;
    QLabel* m_coordinates = nullptr;
    std::unique_ptr<CGridManager> m_grids;
    std::unique_ptr<CFileRecovery> m_recovery;
    QUndoStack* m_undo = nullptr;
    QAction* m_undoAction = nullptr;
    QAction* m_redoAction = nullptr;
    /// The options as the last step left them: an edit's undo goes back to these.
    MeshSettings m_shownSettings;

    zevtool::meshio::Region m_region;
    /// The region the last paver run covered, when it divided a curve afresh; else no loops.
    zevtool::meshio::Region m_meshedRegion;
    zevtool::meshio::Mesh m_mesh;
    bool m_hasRegion = false;
    QString m_sourcePath;
    QString m_projectPath;
    bool m_meshing = false;
    bool m_quietBackup = false;
    GLMeshScene::DrawMode m_drawMode = GLMeshScene::DrawMode::SolidAndWireframe;
    bool m_stopRequested = false;
    int m_lines = 0;
    /// The bar of the paver run under way.
    std::unique_ptr<ProgressEstimate> m_progress;
    QString m_lastLine;
    int m_repeats = 0;
};

}  // namespace studio
