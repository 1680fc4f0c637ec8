#include "zevcore-qt/QtHost.h"

#include <QApplication>
#include <QCheckBox>
#include <QColorDialog>
#include <QFileDialog>
#include <QFontDialog>
#include <QMessageBox>
#include <QStringList>
#include <QTimer>
#include <QWidget>
#include <vector>

#include "zevcore-qt/QtConvert.h"
#include "zevcore-qt/QtGLView.h"
#include "zevcore-qt/QtGdi.h"
#include "zevcore-qt/QtProgressView.h"
#include "zevcore-qt/UnitStyleDialog.h"
#include "zevcore/platform/Registry.h"
#include "zevcore/platform/services/ProgressView.h"
#include "zevcore/quantities/UnitStyleDlg.h"

// ---- Windows ----------------------------------------------------------------------------

CZEVQtWindows::CZEVQtWindows() = default;

CZEVQtWindows::~CZEVQtWindows() {
    for (auto& [handle, target] : m_targets) QObject::disconnect(target.destroyed);
}

HWND CZEVQtWindows::Register(QObject* target, Handler handler) {
    const HWND handle = HandleOf(target);
    auto found = m_targets.find(handle);
    if (found != m_targets.end()) {
        found->second.handler = std::move(handler);
        return handle;
    }
    Target entry;
    entry.object = target;
    entry.handler = std::move(handler);
    entry.destroyed =
        QObject::connect(target, &QObject::destroyed, [this, handle] { m_targets.erase(handle); });
    m_targets.emplace(handle, std::move(entry));
    return handle;
}

void CZEVQtWindows::Unregister(QObject* target) {
    auto found = m_targets.find(HandleOf(target));
    if (found == m_targets.end()) return;
    QObject::disconnect(found->second.destroyed);
    m_targets.erase(found);
}

void CZEVQtWindows::SetMainWindow(QWidget* window) {
    m_main = window;
}

LRESULT CZEVQtWindows::SendMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto found = m_targets.find(window);
    if (found == m_targets.end() || !found->second.object || !found->second.handler) return 0;
    // A copy: the handler may register or unregister targets.
    const Handler handler = found->second.handler;
    return handler(message, wParam, lParam);
}

bool CZEVQtWindows::PostMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto found = m_targets.find(window);
    if (found == m_targets.end() || !found->second.object) return false;
    QObject* object = found->second.object;
    QMetaObject::invokeMethod(
        object,
        [this, window, message, wParam, lParam] { SendMessage(window, message, wParam, lParam); },
        Qt::QueuedConnection);
    return true;
}

HWND CZEVQtWindows::MainWindow() {
    return m_main ? HandleOf(m_main.data()) : nullptr;
}

void CZEVQtWindows::PumpMessages() {
    QCoreApplication::processEvents(QEventLoop::AllEvents);
}

// ---- Timers -----------------------------------------------------------------------------

CZEVQtTimers::CZEVQtTimers() = default;

CZEVQtTimers::~CZEVQtTimers() {
    for (auto& [id, timer] : m_timers) delete timer->timer;
}

UINT_PTR CZEVQtTimers::SetTimer(UINT_PTR id, UINT elapseMs, Callback callback) {
    if (id == 0) return 0;
    auto& slot = m_timers[id];
    if (!slot) {
        slot = std::make_unique<Timer>();
        slot->timer = new QTimer();
        Timer* raw = slot.get();
        QObject::connect(raw->timer, &QTimer::timeout, [raw, id] {
            // The callback may kill or reset its own timer; run a copy.
            const Callback callback = raw->callback;
            if (callback) callback(id);
        });
    }
    slot->callback = std::move(callback);
    slot->timer->start(static_cast<int>(elapseMs));
    return id;
}

bool CZEVQtTimers::KillTimer(UINT_PTR id) {
    auto found = m_timers.find(id);
    if (found == m_timers.end()) return false;
    // A timer may be killed from its own callback: let Qt delete it once that returns.
    found->second->timer->stop();
    found->second->timer->deleteLater();
    m_timers.erase(found);
    return true;
}

bool CZEVQtTimers::IsRunning(UINT_PTR id) const {
    auto found = m_timers.find(id);
    return found != m_timers.end() && found->second->timer->isActive();
}

// ---- Dialogs ----------------------------------------------------------------------------

namespace {

QWidget* ownerWidget(HWND owner) {
    QWidget* w = zevqt::liveWidget(owner);
    return w ? w : QApplication::activeWindow();
}

struct Buttons {
    std::vector<std::pair<QMessageBox::StandardButton, int>> list;
};

Buttons buttonsOf(UINT type) {
    using B = QMessageBox;
    switch (type & MB_TYPEMASK) {
        case MB_OKCANCEL:
            return {{{B::Ok, IDOK}, {B::Cancel, IDCANCEL}}};
        case MB_ABORTRETRYIGNORE:
            return {{{B::Abort, IDABORT}, {B::Retry, IDRETRY}, {B::Ignore, IDIGNORE}}};
        case MB_YESNOCANCEL:
            return {{{B::Yes, IDYES}, {B::No, IDNO}, {B::Cancel, IDCANCEL}}};
        case MB_YESNO:
            return {{{B::Yes, IDYES}, {B::No, IDNO}}};
        case MB_RETRYCANCEL:
            return {{{B::Retry, IDRETRY}, {B::Cancel, IDCANCEL}}};
        default:
            return {{{B::Ok, IDOK}}};
    }
}

QMessageBox::Icon iconOf(UINT type) {
    switch (type & MB_ICONMASK) {
        case MB_ICONERROR:
            return QMessageBox::Critical;
        case MB_ICONQUESTION:
            return QMessageBox::Question;
        case MB_ICONWARNING:
            return QMessageBox::Warning;
        case MB_ICONINFORMATION:
            return QMessageBox::Information;
        default:
            return QMessageBox::NoIcon;
    }
}

int runBox(QMessageBox& box, const Buttons& buttons) {
    box.exec();
    const auto pressed = box.standardButton(box.clickedButton());
    for (const auto& [button, answer] : buttons.list)
        if (button == pressed) return answer;
    // Closed by the window's frame or Escape: the box's way out, else its only button.
    for (const auto& [button, answer] : buttons.list)
        if (answer == IDCANCEL || answer == IDNO) return answer;
    return buttons.list.front().second;
}

void setupBox(QMessageBox& box, const char* text, const char* caption, UINT type,
              const Buttons& buttons) {
    box.setText(zevqt::toQString(text));
    box.setWindowTitle(zevqt::toQString(caption));
    box.setIcon(iconOf(type));
    QMessageBox::StandardButtons set;
    for (const auto& [button, answer] : buttons.list) set |= button;
    box.setStandardButtons(set);
    box.setDefaultButton(buttons.list.front().first);
}

}  // namespace

int CZEVQtDialogs::MessageBox(HWND owner, const char* text, const char* caption, UINT type) {
    QMessageBox box(ownerWidget(owner));
    const Buttons buttons = buttonsOf(type);
    setupBox(box, text, caption, type, buttons);
    return runBox(box, buttons);
}

int CZEVQtDialogs::MessageBoxDontAsk(HWND owner, const char* storeKey, const char* key,
                                     const char* text, const char* caption, UINT type) {
    HKEY store = nullptr;
    DWORD remembered = 0;
    DWORD size = sizeof remembered;
    if (storeKey && key && RegOpenKeyA(HKEY_CURRENT_USER, storeKey, &store) == ERROR_SUCCESS) {
        const LSTATUS status = RegQueryValueExA(store, key, nullptr, nullptr,
                                                reinterpret_cast<BYTE*>(&remembered), &size);
        RegCloseKey(store);
        if (status == ERROR_SUCCESS && size == sizeof remembered && remembered != 0)
            return static_cast<int>(remembered);
    }
    QMessageBox box(ownerWidget(owner));
    const Buttons buttons = buttonsOf(type);
    setupBox(box, text, caption, type, buttons);
    auto* dontAsk = new QCheckBox(QObject::tr("Don't ask me again"), &box);
    box.setCheckBox(dontAsk);
    const int answer = runBox(box, buttons);
    // A cancelled question is never remembered: the user did not decide.
    if (dontAsk->isChecked() && answer != IDCANCEL && storeKey && key &&
        RegCreateKeyA(HKEY_CURRENT_USER, storeKey, &store) == ERROR_SUCCESS) {
        const DWORD value = static_cast<DWORD>(answer);
        RegSetValueExA(store, key, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value),
                       sizeof value);
        RegCloseKey(store);
    }
    return answer;
}

void CZEVQtDialogs::ForgetAnswers(const char* storeKey) {
    if (storeKey) RegDeleteTreeA(HKEY_CURRENT_USER, storeKey);
}

QString CZEVQtDialogs::QtFilter(const char* filter) {
    const QStringList parts = zevqt::toQString(filter).split('|', Qt::SkipEmptyParts);
    QStringList filters;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        QString patterns = parts[i + 1];
        patterns.replace(';', ' ');
        QString description = parts[i];
        // A description that already names its patterns keeps them once.
        const qsizetype open = description.indexOf('(');
        if (open >= 0) description = description.left(open).trimmed();
        filters << description + " (" + patterns + ")";
    }
    return filters.join(";;");
}

bool CZEVQtDialogs::ChooseFile(const ZEVFileDialogRequest& request, CString& path) {
    const QString title = zevqt::toQString(request.title);
    const QString start = zevqt::toQString(request.initialPath);
    const QString filter = QtFilter(request.filter);
    QWidget* parent = QApplication::activeWindow();
    const QString chosen = request.forSave
                               ? QFileDialog::getSaveFileName(parent, title, start, filter)
                               : QFileDialog::getOpenFileName(parent, title, start, filter);
    if (chosen.isEmpty()) return false;
    path = zevqt::toCString(chosen);
    return true;
}

bool CZEVQtDialogs::ChooseFolder(const char* title, CString& folder) {
    const QString chosen = QFileDialog::getExistingDirectory(
        QApplication::activeWindow(), zevqt::toQString(title), zevqt::toQString(folder));
    if (chosen.isEmpty()) return false;
    folder = zevqt::toCString(chosen);
    return true;
}

bool CZEVQtDialogs::ChooseColor(COLORREF& color) {
    const QColor chosen =
        QColorDialog::getColor(zevqt::toQColor(color), QApplication::activeWindow());
    if (!chosen.isValid()) return false;
    color = zevqt::toColorRef(chosen);
    return true;
}

bool CZEVQtDialogs::ChooseFont(LOGFONTA& font, COLORREF&) {
    bool ok = false;
    const QFont chosen =
        QFontDialog::getFont(&ok, zevqt::toQFont(font), QApplication::activeWindow());
    if (!ok) return false;
    font = zevqt::toLogFont(chosen);
    return true;
}

// ---- Cursor -----------------------------------------------------------------------------

void CZEVQtCursor::BeginWaitCursor() {
    if (m_depth++ == 0) QApplication::setOverrideCursor(Qt::WaitCursor);
}

void CZEVQtCursor::EndWaitCursor() {
    if (m_depth == 0) return;
    if (--m_depth == 0) QApplication::restoreOverrideCursor();
}

// ---- Host -------------------------------------------------------------------------------

CZEVQtHost::CZEVQtHost()
    : m_progress(std::make_unique<CZEVQtProgressViews>()),
      m_gdi(std::make_unique<CZEVQtGdi>()),
      m_unitStyle(std::make_unique<CZEVQtUnitStyleRunner>()),
      m_gl(std::make_unique<CZEVQtGLPlatform>()) {
    m_oldWindows = ZEVInstallWindows(&m_windows);
    m_oldTimers = ZEVInstallTimers(&m_timers);
    m_oldDialogs = ZEVInstallDialogs(&m_dialogs);
    m_oldCursor = ZEVInstallCursor(&m_cursor);
    m_oldProgress = ZEVInstallProgressViews(m_progress.get());
    m_oldGdi = ZEVInstallGdi(m_gdi.get());
    m_oldUnitStyle = Units::installUnitStyleDialogRunner(m_unitStyle.get());
    m_oldGL = ZEVInstallGL(m_gl.get());
}

CZEVQtHost::~CZEVQtHost() {
    ZEVInstallGL(m_oldGL);
    Units::installUnitStyleDialogRunner(m_oldUnitStyle);
    ZEVInstallGdi(m_oldGdi);
    ZEVInstallProgressViews(m_oldProgress);
    while (m_cursor.Depth() > 0) m_cursor.EndWaitCursor();
    ZEVInstallCursor(m_oldCursor);
    ZEVInstallDialogs(m_oldDialogs);
    ZEVInstallTimers(m_oldTimers);
    ZEVInstallWindows(m_oldWindows);
}
