#pragma once

// The library's host services over Qt: windows as message targets, timers, message boxes
// and choosers, the busy pointer, the progress view, the desktop's colours and fonts, and
// the unit style dialog. CZEVQtHost installs all of them for its lifetime; an application
// makes one after its QApplication and before it touches the library's interface pieces.
//
// Interface thread only, like the services themselves.

#include <QObject>
#include <QPointer>
#include <QString>
#include <functional>
#include <map>
#include <memory>

#include "zevcore/platform/services/Host.h"

class QTimer;
class QWidget;
class IZEVGdiService;
class IZEVGLPlatform;
class CZEVQtGLPlatform;
class IZEVProgressViewFactory;
namespace Units {
class IUnitStyleDialogRunner;
}

/// Windows are QObjects registered with a handler: the handle is the object's address, and
/// it stops being a target when the object is destroyed.
class CZEVQtWindows : public IZEVWindowService {
public:
    using Handler = std::function<LRESULT(UINT message, WPARAM wParam, LPARAM lParam)>;

    CZEVQtWindows();
    ~CZEVQtWindows() override;
    CZEVQtWindows(const CZEVQtWindows&) = delete;
    CZEVQtWindows& operator=(const CZEVQtWindows&) = delete;

    /// Makes `target` a message target; answers its handle. Registering again replaces the
    /// handler.
    HWND Register(QObject* target, Handler handler);
    void Unregister(QObject* target);
    static HWND HandleOf(const QObject* target) {
        return reinterpret_cast<HWND>(const_cast<QObject*>(target));
    }
    void SetMainWindow(QWidget* window);

    LRESULT SendMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) override;
    /// Delivered from the event loop, if the target still lives then.
    bool PostMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) override;
    HWND MainWindow() override;
    void PumpMessages() override;

private:
    struct Target {
        QPointer<QObject> object;
        Handler handler;
        QMetaObject::Connection destroyed;
    };
    std::map<HWND, Target> m_targets;
    QPointer<QWidget> m_main;
};

/// Each timer a QTimer on the interface thread.
class CZEVQtTimers : public IZEVTimerService {
public:
    CZEVQtTimers();
    ~CZEVQtTimers() override;
    CZEVQtTimers(const CZEVQtTimers&) = delete;
    CZEVQtTimers& operator=(const CZEVQtTimers&) = delete;

    UINT_PTR SetTimer(UINT_PTR id, UINT elapseMs, Callback callback) override;
    bool KillTimer(UINT_PTR id) override;
    bool IsRunning(UINT_PTR id) const;

private:
    struct Timer {
        QTimer* timer;
        Callback callback;
    };
    std::map<UINT_PTR, std::unique_ptr<Timer>> m_timers;
};

/// QMessageBox, QFileDialog, QColorDialog and QFontDialog.
class CZEVQtDialogs : public IZEVDialogService {
public:
    int MessageBox(HWND owner, const char* text, const char* caption, UINT type) override;
    bool ChooseFile(const ZEVFileDialogRequest& request, CString& path) override;
    bool ChooseFolder(const char* title, CString& folder) override;
    bool ChooseColor(COLORREF& color) override;
    bool ChooseFont(LOGFONTA& font, COLORREF& color) override;

    /// A message box with a "Don't ask me again" box. Once the user ticks it, later calls
    /// with the same `key` answer the remembered button without asking; the answer is kept
    /// in the settings store under `storeKey` (a key below HKEY_CURRENT_USER), value `key`.
    int MessageBoxDontAsk(HWND owner, const char* storeKey, const char* key, const char* text,
                          const char* caption, UINT type);
    /// Forgets every remembered answer under `storeKey`.
    static void ForgetAnswers(const char* storeKey);

    /// The Qt filter ("Text (*.txt);;All (*)") of a "Description|*.ext;*.ext2|..." filter.
    static QString QtFilter(const char* filter);
};

/// QApplication's override cursor, nesting as the interface says.
class CZEVQtCursor : public IZEVCursorService {
public:
    void BeginWaitCursor() override;
    void EndWaitCursor() override;
    int Depth() const { return m_depth; }

private:
    int m_depth = 0;
};

/// Every service above, the progress views, the desktop's colours and fonts, the OpenGL
/// platform of the views and the unit style dialog, installed for the object's lifetime;
/// what was installed before comes back when it goes.
class CZEVQtHost {
public:
    CZEVQtHost();
    ~CZEVQtHost();
    CZEVQtHost(const CZEVQtHost&) = delete;
    CZEVQtHost& operator=(const CZEVQtHost&) = delete;

    CZEVQtWindows& Windows() { return m_windows; }
    CZEVQtTimers& Timers() { return m_timers; }
    CZEVQtDialogs& Dialogs() { return m_dialogs; }
    CZEVQtCursor& Cursor() { return m_cursor; }
    CZEVQtGLPlatform& GL() { return *m_gl; }

private:
    CZEVQtWindows m_windows;
    CZEVQtTimers m_timers;
    CZEVQtDialogs m_dialogs;
    CZEVQtCursor m_cursor;
    std::unique_ptr<IZEVProgressViewFactory> m_progress;
    std::unique_ptr<IZEVGdiService> m_gdi;
    std::unique_ptr<Units::IUnitStyleDialogRunner> m_unitStyle;
    std::unique_ptr<CZEVQtGLPlatform> m_gl;

    IZEVWindowService* m_oldWindows;
    IZEVTimerService* m_oldTimers;
    IZEVDialogService* m_oldDialogs;
    IZEVCursorService* m_oldCursor;
    IZEVProgressViewFactory* m_oldProgress;
    IZEVGdiService* m_oldGdi;
    Units::IUnitStyleDialogRunner* m_oldUnitStyle;
    IZEVGLPlatform* m_oldGL;
};
