#pragma once

// The progress window over Qt: a bar, its percentage, a status line and the stop button.
// The library polls for a press of stop (TProgressDlg::CheckButton); a press is queued here
// as a click at the button's centre until the poll takes it.

#include <QDialog>
#include <deque>
#include <utility>

#include "zevcore/platform/services/ProgressView.h"

class QLabel;
class QProgressBar;
class QPushButton;

class CZEVQtProgressView : public QDialog, public IZEVProgressView {
public:
    CZEVQtProgressView(QWidget* owner, int id);
    ~CZEVQtProgressView() override;

    HWND Window() override { return reinterpret_cast<HWND>(static_cast<QObject*>(this)); }
    bool CreateBar() override;
    ZEVRect DialogRect() override;
    ZEVRect ScreenRect() override;
    bool WindowRect(HWND window, ZEVRect& rect) override;
    void MoveTo(int x, int y) override;
    void SetTitle(const char* title) override;
    void SetBar(int percent) override;
    void SetPercentText(const char* text) override;
    void SetStatusText(const char* text) override;
    void SetButton(const char* text, bool enabled) override;
    void Redraw() override;
    void CaptureMouse(bool capture) override { m_captured = capture; }
    bool TakeClick(int& x, int& y) override;
    bool ButtonContains(int x, int y) override;
    void ClientSize(int& width, int& height) override;
    void ShowArrowCursor(bool arrow) override;
    void GiveFocusTo(HWND window) override;

    int ReportId() const { return m_id; }
    bool MouseCaptured() const { return m_captured; }
    QPushButton* StopButton() const { return m_stop; }
    QProgressBar* Bar() const { return m_bar; }
    QLabel* PercentLabel() const { return m_percent; }
    QLabel* StatusLabel() const { return m_status; }

    /// The live view of report `id` (0 to 3), or null: for tests and the application's
    /// own look at the window.
    static CZEVQtProgressView* Live(int id);

private:
    int m_id;
    bool m_captured = false;
    QProgressBar* m_bar;
    QLabel* m_percent;
    QLabel* m_status;
    QPushButton* m_stop;
    std::deque<std::pair<int, int>> m_clicks;
};

class CZEVQtProgressViews : public IZEVProgressViewFactory {
public:
    std::unique_ptr<IZEVProgressView> CreateProgressView(HWND owner, int id) override;
};
