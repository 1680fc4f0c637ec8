#pragma once

// The services the library asks of the application's window system, each behind a small
// interface. The library never owns a window system: an application (or the Qt binding)
// installs its implementations once at start-up; until it does, headless defaults stand in,
// so the library and its tests run without a display.
//
// Every service is called on the interface thread only. Installing a service does not pass
// ownership: the object must outlive its installation. Installing null puts the headless
// default back. Each installer answers the service that was installed before.

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"
#include "zevcore/platform/framework/String.h"

// Message box styles and answers, with the numbers callers and stored settings know.
inline constexpr UINT MB_OK = 0x0;
inline constexpr UINT MB_OKCANCEL = 0x1;
inline constexpr UINT MB_ABORTRETRYIGNORE = 0x2;
inline constexpr UINT MB_YESNOCANCEL = 0x3;
inline constexpr UINT MB_YESNO = 0x4;
inline constexpr UINT MB_RETRYCANCEL = 0x5;
inline constexpr UINT MB_TYPEMASK = 0xF;
inline constexpr UINT MB_ICONERROR = 0x10;
inline constexpr UINT MB_ICONSTOP = 0x10;
inline constexpr UINT MB_ICONQUESTION = 0x20;
inline constexpr UINT MB_ICONWARNING = 0x30;
inline constexpr UINT MB_ICONEXCLAMATION = 0x30;
inline constexpr UINT MB_ICONINFORMATION = 0x40;
inline constexpr UINT MB_ICONMASK = 0xF0;

inline constexpr int IDOK = 1;
inline constexpr int IDCANCEL = 2;
inline constexpr int IDABORT = 3;
inline constexpr int IDRETRY = 4;
inline constexpr int IDIGNORE = 5;
inline constexpr int IDYES = 6;
inline constexpr int IDNO = 7;

/// Windows as message targets.
class ZEVCORE_API IZEVWindowService {
public:
    virtual ~IZEVWindowService();
    /// Delivers a message and waits until the window has handled it; 0 when there is no such
    /// window.
    virtual LRESULT SendMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) = 0;
    /// Queues a message for the window; false when there is no such window.
    virtual bool PostMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) = 0;
    /// The application's main window, or null.
    virtual HWND MainWindow() = 0;
    /// Handles what is waiting in the queue (the original's PeekMessage loop), so that a long
    /// operation on the interface thread lets the interface breathe.
    virtual void PumpMessages() = 0;
};

/// Repeating timers on the interface thread.
class ZEVCORE_API IZEVTimerService {
public:
    using Callback = std::function<void(UINT_PTR id)>;
    virtual ~IZEVTimerService();
    /// Starts (or restarts) timer `id`, firing every `elapseMs` milliseconds; answers `id`, or
    /// 0 when no timer could be made.
    virtual UINT_PTR SetTimer(UINT_PTR id, UINT elapseMs, Callback callback) = 0;
    /// Stops timer `id`; false when there was none.
    virtual bool KillTimer(UINT_PTR id) = 0;
};

/// A file chooser's question.
struct ZEVFileDialogRequest {
    CString title;
    CString initialPath;   // a folder, or a file to preselect
    CString filter;        // "Description|*.ext;*.ext2|..." pairs
    bool forSave = false;  // choose a name to write rather than a file to read
};

/// Questions to the user and modal choosers. A chooser answers false when the user cancels or
/// when it cannot ask; the out-argument is then unchanged.
class ZEVCORE_API IZEVDialogService {
public:
    virtual ~IZEVDialogService();
    /// Shows `text` under `caption` with the buttons and icon of `type` (MB_...); answers the
    /// button pressed (IDOK, IDYES, ...).
    virtual int MessageBox(HWND owner, const char* text, const char* caption, UINT type) = 0;
    virtual bool ChooseFile(const ZEVFileDialogRequest& request, CString& path) = 0;
    virtual bool ChooseFolder(const char* title, CString& folder) = 0;
    virtual bool ChooseColor(COLORREF& color) = 0;
    virtual bool ChooseFont(LOGFONTA& font, COLORREF& color) = 0;
};

/// The busy pointer. Calls nest: the pointer is busy while begins outnumber ends.
class ZEVCORE_API IZEVCursorService {
public:
    virtual ~IZEVCursorService();
    virtual void BeginWaitCursor() = 0;
    virtual void EndWaitCursor() = 0;
};

/// A monotonic clock, so that cadences can be driven by tests.
class ZEVCORE_API IZEVClock {
public:
    virtual ~IZEVClock();
    /// Milliseconds since an arbitrary start; never goes back.
    virtual std::uint64_t NowMs() = 0;
};

ZEVCORE_API IZEVWindowService& ZEVWindows();
ZEVCORE_API IZEVTimerService& ZEVTimers();
ZEVCORE_API IZEVDialogService& ZEVDialogs();
ZEVCORE_API IZEVCursorService& ZEVCursor();
ZEVCORE_API IZEVClock& ZEVClock();

ZEVCORE_API IZEVWindowService* ZEVInstallWindows(IZEVWindowService* service);
ZEVCORE_API IZEVTimerService* ZEVInstallTimers(IZEVTimerService* service);
ZEVCORE_API IZEVDialogService* ZEVInstallDialogs(IZEVDialogService* service);
ZEVCORE_API IZEVCursorService* ZEVInstallCursor(IZEVCursorService* service);
ZEVCORE_API IZEVClock* ZEVInstallClock(IZEVClock* clock);

/// What the headless window service has been sent or posted, in order.
struct ZEVRecordedMessage {
    HWND window;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    bool posted;
    /// For messages whose lParam carries a text, a copy of it taken at delivery.
    std::string text;
};

/// The headless window service: there are no windows, so every message is recorded (with a
/// copy of lParam's text when `CopyTextOf(message)` says it carries one) and answered 0.
/// There is no main window unless one is named (a command-line program may name a token
/// for its console, so that progress reports, which need an owner, show).
class ZEVCORE_API CZEVHeadlessWindows : public IZEVWindowService {
public:
    LRESULT SendMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) override;
    bool PostMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) override;
    HWND MainWindow() override { return m_main; }
    void PumpMessages() override {}

    void SetMainWindow(HWND window) { m_main = window; }

    /// Messages whose lParam is a NUL-terminated text to copy when recorded.
    void CopyTextOf(UINT message) { m_textMessages.push_back(message); }
    const std::vector<ZEVRecordedMessage>& Recorded() const { return m_recorded; }
    void ClearRecorded() { m_recorded.clear(); }

private:
    void record(HWND window, UINT message, WPARAM wParam, LPARAM lParam, bool posted);
    std::vector<ZEVRecordedMessage> m_recorded;
    std::vector<UINT> m_textMessages;
    HWND m_main = nullptr;
};

/// The headless timer service: timers fire only when the application calls Fire or
/// FireAll, as its own loop sees fit.
class ZEVCORE_API CZEVHeadlessTimers : public IZEVTimerService {
public:
    UINT_PTR SetTimer(UINT_PTR id, UINT elapseMs, Callback callback) override;
    bool KillTimer(UINT_PTR id) override;
    /// Runs timer `id`'s callback once; false when there is no such timer.
    bool Fire(UINT_PTR id);
    /// Runs every timer's callback once, in the order they were set.
    void FireAll();
    bool IsRunning(UINT_PTR id) const;
    UINT Interval(UINT_PTR id) const;

private:
    struct Timer {
        UINT_PTR id;
        UINT elapseMs;
        Callback callback;
    };
    std::vector<Timer> m_timers;
};

/// The headless dialog service: a message box writes its caption and text to stderr and
/// answers the configured default (IDOK unless set; for a box without that button, its
/// first button); every chooser refuses.
class ZEVCORE_API CZEVHeadlessDialogs : public IZEVDialogService {
public:
    int MessageBox(HWND owner, const char* text, const char* caption, UINT type) override;
    bool ChooseFile(const ZEVFileDialogRequest&, CString&) override { return false; }
    bool ChooseFolder(const char*, CString&) override { return false; }
    bool ChooseColor(COLORREF&) override { return false; }
    bool ChooseFont(LOGFONTA&, COLORREF&) override { return false; }

    void SetDefaultAnswer(int answer) { m_answer = answer; }
    /// Stops the copy of each message box on stderr (the boxes are still answered).
    void SetQuiet(bool quiet) { m_quiet = quiet; }

private:
    int m_answer = IDOK;
    bool m_quiet = false;
};

/// A question put to a dialog service, as a scripted one records it.
struct ZEVAskedDialog {
    /// "message", "file", "folder", "color" or "font".
    std::string kind;
    std::string text;     // the message, or the file chooser's title, or the folder's title
    std::string caption;  // the message box's caption, or the file chooser's initial path
    UINT type = 0;        // the message box's MB_... style
};

/// A dialog service that answers from a script, for tests: each question takes the next
/// scripted answer of its kind. A message box without one answers its first button; a
/// chooser without one refuses. Every question is recorded.
class ZEVCORE_API CZEVScriptedDialogs : public IZEVDialogService {
public:
    int MessageBox(HWND owner, const char* text, const char* caption, UINT type) override;
    bool ChooseFile(const ZEVFileDialogRequest& request, CString& path) override;
    bool ChooseFolder(const char* title, CString& folder) override;
    bool ChooseColor(COLORREF& color) override;
    bool ChooseFont(LOGFONTA& font, COLORREF& color) override;

    void AnswerMessage(int answer) { m_answers.push_back(answer); }
    /// The next file or folder chooser answers `path`; an empty path is a refusal.
    void AnswerFile(const CString& path) { m_paths.push_back(path); }
    void AnswerColor(COLORREF color) { m_colors.push_back(color); }
    void AnswerFont(const LOGFONTA& font, COLORREF color) { m_fonts.push_back({font, color}); }

    const std::vector<ZEVAskedDialog>& Asked() const { return m_asked; }

private:
    std::vector<ZEVAskedDialog> m_asked;
    std::vector<int> m_answers;
    std::vector<CString> m_paths;
    std::vector<COLORREF> m_colors;
    std::vector<std::pair<LOGFONTA, COLORREF>> m_fonts;
};

/// The headless cursor: counts the nesting and shows nothing.
class ZEVCORE_API CZEVHeadlessCursor : public IZEVCursorService {
public:
    void BeginWaitCursor() override { ++m_depth; }
    void EndWaitCursor() override {
        if (m_depth > 0) --m_depth;
    }
    int Depth() const { return m_depth; }

private:
    int m_depth = 0;
};

/// The real monotonic clock (CLOCK_MONOTONIC).
class ZEVCORE_API CZEVSteadyClock : public IZEVClock {
public:
    std::uint64_t NowMs() override;
};

/// A clock that moves only when told, for tests and replays.
class ZEVCORE_API CZEVManualClock : public IZEVClock {
public:
    std::uint64_t NowMs() override { return m_now; }
    void Advance(std::uint64_t ms) { m_now += ms; }
    void Set(std::uint64_t ms) { m_now = ms < m_now ? m_now : ms; }

private:
    std::uint64_t m_now = 0;
};
