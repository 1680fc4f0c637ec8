#include "zevcore/platform/services/Host.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

IZEVWindowService::~IZEVWindowService() = default;
IZEVTimerService::~IZEVTimerService() = default;
IZEVDialogService::~IZEVDialogService() = default;
IZEVCursorService::~IZEVCursorService() = default;
IZEVClock::~IZEVClock() = default;

namespace {

// The defaults live as long as the process, so a service reference handed out stays valid.
template <typename Interface, typename Default>
struct Slot {
    Interface* installed = nullptr;
    Interface& get() {
        static Default fallback;
        return installed ? *installed : fallback;
    }
    Interface* install(Interface* service) {
        Interface* previous = installed;
        installed = service;
        return previous;
    }
};

Slot<IZEVWindowService, CZEVHeadlessWindows> gWindows;
Slot<IZEVTimerService, CZEVHeadlessTimers> gTimers;
Slot<IZEVDialogService, CZEVHeadlessDialogs> gDialogs;
Slot<IZEVCursorService, CZEVHeadlessCursor> gCursor;
Slot<IZEVClock, CZEVSteadyClock> gClock;

// The buttons of each message box type, in the order they stand; the first is the answer
// when the configured one is not among them.
std::vector<int> buttonsOf(UINT type) {
    switch (type & MB_TYPEMASK) {
        case MB_OKCANCEL:
            return {IDOK, IDCANCEL};
        case MB_ABORTRETRYIGNORE:
            return {IDABORT, IDRETRY, IDIGNORE};
        case MB_YESNOCANCEL:
            return {IDYES, IDNO, IDCANCEL};
        case MB_YESNO:
            return {IDYES, IDNO};
        case MB_RETRYCANCEL:
            return {IDRETRY, IDCANCEL};
        default:
            return {IDOK};
    }
}

}  // namespace

IZEVWindowService& ZEVWindows() {
    return gWindows.get();
}
IZEVTimerService& ZEVTimers() {
    return gTimers.get();
}
IZEVDialogService& ZEVDialogs() {
    return gDialogs.get();
}
IZEVCursorService& ZEVCursor() {
    return gCursor.get();
}
IZEVClock& ZEVClock() {
    return gClock.get();
}

IZEVWindowService* ZEVInstallWindows(IZEVWindowService* s) {
    return gWindows.install(s);
}
IZEVTimerService* ZEVInstallTimers(IZEVTimerService* s) {
    return gTimers.install(s);
}
IZEVDialogService* ZEVInstallDialogs(IZEVDialogService* s) {
    return gDialogs.install(s);
}
IZEVCursorService* ZEVInstallCursor(IZEVCursorService* s) {
    return gCursor.install(s);
}
IZEVClock* ZEVInstallClock(IZEVClock* c) {
    return gClock.install(c);
}

LRESULT CZEVHeadlessWindows::SendMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    record(window, message, wParam, lParam, false);
    return 0;
}

bool CZEVHeadlessWindows::PostMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    record(window, message, wParam, lParam, true);
    return false;
}

void CZEVHeadlessWindows::record(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                                 bool posted) {
    ZEVRecordedMessage entry{window, message, wParam, lParam, posted, {}};
    bool carriesText =
        std::find(m_textMessages.begin(), m_textMessages.end(), message) != m_textMessages.end();
    if (carriesText && lParam != 0) entry.text = reinterpret_cast<const char*>(lParam);
    m_recorded.push_back(std::move(entry));
}

UINT_PTR CZEVHeadlessTimers::SetTimer(UINT_PTR id, UINT elapseMs, Callback callback) {
    if (id == 0) return 0;
    for (Timer& timer : m_timers) {
        if (timer.id == id) {
            timer.elapseMs = elapseMs;
            timer.callback = std::move(callback);
            return id;
        }
    }
    m_timers.push_back(Timer{id, elapseMs, std::move(callback)});
    return id;
}

bool CZEVHeadlessTimers::KillTimer(UINT_PTR id) {
    auto at =
        std::find_if(m_timers.begin(), m_timers.end(), [id](const Timer& t) { return t.id == id; });
    if (at == m_timers.end()) return false;
    m_timers.erase(at);
    return true;
}

bool CZEVHeadlessTimers::Fire(UINT_PTR id) {
    for (const Timer& timer : m_timers) {
        if (timer.id == id) {
            Callback callback = timer.callback;  // the callback may kill or reset its timer
            if (callback) callback(id);
            return true;
        }
    }
    return false;
}

void CZEVHeadlessTimers::FireAll() {
    std::vector<UINT_PTR> ids;
    for (const Timer& timer : m_timers) ids.push_back(timer.id);
    for (UINT_PTR id : ids) Fire(id);
}

bool CZEVHeadlessTimers::IsRunning(UINT_PTR id) const {
    return std::any_of(m_timers.begin(), m_timers.end(),
                       [id](const Timer& t) { return t.id == id; });
}

UINT CZEVHeadlessTimers::Interval(UINT_PTR id) const {
    for (const Timer& timer : m_timers)
        if (timer.id == id) return timer.elapseMs;
    return 0;
}

int CZEVHeadlessDialogs::MessageBox(HWND, const char* text, const char* caption, UINT type) {
    if (!m_quiet) std::fprintf(stderr, "%s: %s\n", caption ? caption : "", text ? text : "");
    std::vector<int> buttons = buttonsOf(type);
    if (std::find(buttons.begin(), buttons.end(), m_answer) != buttons.end()) return m_answer;
    return buttons.front();
}

std::uint64_t CZEVSteadyClock::NowMs() {
    using namespace std::chrono;
    return static_cast<std::uint64_t>(
        duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

namespace {

// Takes the first element of a script, if there is one.
template <typename T>
bool takeNext(std::vector<T>& script, T& next) {
    if (script.empty()) return false;
    next = script.front();
    script.erase(script.begin());
    return true;
}

}  // namespace

int CZEVScriptedDialogs::MessageBox(HWND, const char* text, const char* caption, UINT type) {
    m_asked.push_back({"message", text ? text : "", caption ? caption : "", type});
    int answer = 0;
    return takeNext(m_answers, answer) ? answer : buttonsOf(type).front();
}

bool CZEVScriptedDialogs::ChooseFile(const ZEVFileDialogRequest& request, CString& path) {
    m_asked.push_back({"file", request.title.str(), request.initialPath.str(), 0});
    CString next;
    if (!takeNext(m_paths, next) || next.IsEmpty()) return false;
    path = next;
    return true;
}

bool CZEVScriptedDialogs::ChooseFolder(const char* title, CString& folder) {
    m_asked.push_back({"folder", title ? title : "", "", 0});
    CString next;
    if (!takeNext(m_paths, next) || next.IsEmpty()) return false;
    folder = next;
    return true;
}

bool CZEVScriptedDialogs::ChooseColor(COLORREF& color) {
    m_asked.push_back({"color", "", "", 0});
    return takeNext(m_colors, color);
}

bool CZEVScriptedDialogs::ChooseFont(LOGFONTA& font, COLORREF& color) {
    m_asked.push_back({"font", "", "", 0});
    std::pair<LOGFONTA, COLORREF> next{};
    if (!takeNext(m_fonts, next)) return false;
    font = next.first;
    color = next.second;
    return true;
}
