#include "zevcore/frame/Progress.h"

#include <cstdio>
#include <cstring>
#include <memory>

#include "zevcore/frame/Frame.h"
#include "zevcore/platform/services/Host.h"

CProgressDialogData ProgressData[4];

namespace {

// Never destroyed: a dialog still open at exit must not reach into a host that is already
// gone, so the table outlives static destruction.
std::unique_ptr<TProgressDlg> (&gDialogs)[4] = *new std::unique_ptr<TProgressDlg>[1][4];
bool gBatch = false;
// The host clock's time of the last poll, shared by all reports.
std::uint64_t gLastPollMs = 0;

bool validId(int id) {
    return static_cast<unsigned>(id) < 4;
}

// The guards of every update: outside batch mode, a valid id and a live window.
bool live(int id) {
    return !gBatch && validId(id) && ProgressData[id].window != nullptr;
}

}  // namespace

CProgressDialogData::CProgressDialogData()
    : text{},
      fraction(0.0),
      stop(false),
      data1(0.0),
      data2(100.0),
      increment(1.0),
      window(nullptr) {}

void CProgressDialogData::reset() {
    text[0] = '\0';
    fraction = 0.0;
    stop = false;
    data1 = 0.0;
    data2 = 0.0;
    increment = 0.0;
}

TProgressDlg::TProgressDlg(const char* title_, bool canStop_, bool notifyOwner, bool ownCursor_,
                           HWND owner_, int id_)
    : title(title_),
      canStop(canStop_),
      notify(notifyOwner),
      ownCursor(ownCursor_),
      mainWindow(ZEVWindows().MainWindow()),
      owner(owner_),
      id(validId(id_) ? id_ : 0) {}

TProgressDlg::~TProgressDlg() {
    if (!m_view) return;
    m_view->CaptureMouse(false);
    if (mainWindow) m_view->GiveFocusTo(mainWindow);
}

bool TProgressDlg::Create() {
    m_view = ZEVProgressViews().CreateProgressView(owner, id);
    if (!m_view) return false;
    OnInitDialog();
    return true;
}

HWND TProgressDlg::Window() const {
    return m_view ? m_view->Window() : nullptr;
}

void TProgressDlg::OnInitDialog() {
    m_bar = m_view->CreateBar();

    // Beside the main window's upper right corner, or centred a quarter of the way across
    // and down the screen.
    const ZEVRect dialog = m_view->DialogRect();
    ZEVRect main;
    int x = 0, y = 0;
    if (mainWindow && m_view->WindowRect(mainWindow, main)) {
        x = main.right - dialog.Width();
        y = main.top;
    } else {
        const ZEVRect screen = m_view->ScreenRect();
        x = screen.Width() / 4 - dialog.Width() / 2;
        y = screen.Height() / 4 - dialog.Height() / 2;
    }
    m_view->MoveTo(x < 0 ? 0 : x, y < 0 ? 0 : y);

    m_view->SetBar(0);
    if (title) m_view->SetTitle(title);
    ProgressData[id].reset();
    if (canStop)
        m_view->SetButton(nullptr, true);
    else
        m_view->SetButton("Patience", false);
    mouseInside = false;
    m_view->CaptureMouse(true);
}

bool TProgressDlg::UpdateProgress(double fraction, const char* text) {
    if (!m_bar) return false;
    double scaled = fraction * 100.0;
    int now = scaled >= 100.0 ? 100 : scaled > 0.0 ? static_cast<int>(scaled) : 0;
    const bool newText = text && m_shownText != text;
    if (now != percent || newText) {
        percent = now;
        m_view->SetBar(percent);
        char shown[16];
        std::snprintf(shown, sizeof shown, "%d%%", percent);
        m_view->SetPercentText(shown);
        if (text) {
            m_view->SetStatusText(text);
            m_shownText = text;
        }
    }
    CheckButton();
    return stopped;
}

void TProgressDlg::CheckButton() {
    if (stopped || !m_view) return;
    const std::uint64_t now = ZEVClock().NowMs();
    // A clock that starts again below the last poll (another clock was installed) counts
    // from its own start.
    if (now < gLastPollMs) gLastPollMs = 0;
    const std::uint64_t seconds = (now - gLastPollMs) / 1000;
    if (seconds % 60 <= 3) return;
    gLastPollMs = now;
    int x = 0, y = 0;
    if (m_view->TakeClick(x, y) && canStop) OnLButtonDown(x, y);
}

void TProgressDlg::OnLButtonDown(int x, int y) {
    if (m_view && m_view->ButtonContains(x, y)) StopButton();
}

void TProgressDlg::OnMouseMove(int x, int y) {
    if (!ownCursor || !m_view) return;
    int width = 0, height = 0;
    m_view->ClientSize(width, height);
    const bool inside = x >= 1 && y >= 1 && x < width && y < height;
    if (inside == mouseInside) return;
    mouseInside = inside;
    m_view->ShowArrowCursor(inside);
}

void TProgressDlg::StopButton() {
    stopped = true;
    if (m_view) {
        m_view->SetButton("Stopping!", canStop);
        m_view->Redraw();
    }
    if (notify && owner) ZEVWindows().SendMessage(owner, WM_ZEV_PROGRESS_STOP, 0, 0);
}

void TProgressDlg::GetProgressDialogData(double* data1, double* data2) const {
    if (data1) *data1 = data[0];
    if (data2) *data2 = data[1];
}

void TProgressDlg::SetProgressDialogData(double data1, double data2) {
    data[0] = data1;
    data[1] = data2;
}

void StartProgressDialog(const char* title, bool canStop, bool notifyOwner, bool ownCursor,
                         HWND owner, int id) {
    if (gBatch) return;
    SetCoreResources();
    if (!validId(id)) return;
    KillProgressDialog(id);
    if (!owner) owner = ZEVWindows().MainWindow();
    if (!owner) return;
    auto dialog = std::make_unique<TProgressDlg>(title, canStop, notifyOwner, ownCursor, owner, id);
    if (!dialog->Create()) return;
    ProgressData[id].window = dialog->Window();
    gDialogs[id] = std::move(dialog);
}

bool UpdateProgressDialog(double fraction, const char* text, int id) {
    if (!live(id)) return false;
    CProgressDialogData& data = ProgressData[id];
    if (fraction >= 0.0 && fraction < 1.01) data.fraction = fraction;
    if (text) std::snprintf(data.text, sizeof data.text, "%s", text);
    if (gDialogs[id]) data.stop = gDialogs[id]->UpdateProgress(data.fraction, data.text);
    return data.stop;
}

bool IncrementProgressDialog(int id, const char* text) {
    if (!live(id)) return false;
    const CProgressDialogData& data = ProgressData[id];
    double fraction = data.fraction;
    if (data.increment > -0.01) {
        fraction += data.increment;
        if (fraction > 1.0) fraction = 0.1;
    }
    return UpdateProgressDialog(fraction, text, id);
}

void SetProgressDialogIncrement(double increment, int id) {
    if (gBatch || !validId(id)) return;
    if (increment >= -0.0001) ProgressData[id].increment = increment;
}

void KillProgressDialog(int id) {
    if (gBatch || !validId(id) || !gDialogs[id]) return;
    ProgressData[id].stop = true;
    gDialogs[id].reset();  // releases the mouse and destroys the view
    ProgressData[id].window = nullptr;
}

bool IsProgressDialogActive(int id) {
    return !gBatch && validId(id) && gDialogs[id] != nullptr;
}

bool ProgressDialogWasCancelled(int id) {
    return IsProgressDialogActive(id) && ProgressData[id].stop;
}

void SetProgressBatchMode(bool batch) {
    gBatch = batch;
}

void GetProgressDialogData(double* data1, double* data2, int id) {
    if (!validId(id) || !data1 || !data2) return;
    *data1 = ProgressData[id].data1;
    *data2 = ProgressData[id].data2;
}

void SetProgressDialogData(double data1, double data2, int id) {
    if (!validId(id)) return;
    ProgressData[id].data1 = data1;
    ProgressData[id].data2 = data2;
}
