#include "zevcore/frame/Progress.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "zevcore/platform/services/Host.h"

namespace {

// What a scripted view was told, shared with the test after the view is gone.
struct ViewLog {
    std::vector<int> bars;
    std::vector<std::string> percents;
    std::vector<std::string> statuses;
    std::string title;
    std::string button = "Stop";
    bool buttonEnabled = true;
    bool captured = false;
    bool destroyed = false;
    bool arrow = false;
    std::pair<int, int> moved{-1, -1};
    HWND focused = nullptr;
    std::deque<std::pair<int, int>> clicks;  // waiting left-button presses
};

class ScriptedView : public IZEVProgressView {
public:
    ScriptedView(ViewLog& log, ZEVRect screen, bool hasMain)
        : m_log(log), m_screen(screen), m_hasMain(hasMain) {}
    ~ScriptedView() override { m_log.destroyed = true; }
    HWND Window() override { return reinterpret_cast<HWND>(this); }
    bool CreateBar() override { return true; }
    ZEVRect DialogRect() override { return {0, 0, 300, 120}; }
    ZEVRect ScreenRect() override { return m_screen; }
    bool WindowRect(HWND, ZEVRect& rect) override {
        rect = {100, 50, 900, 650};
        return m_hasMain;
    }
    void MoveTo(int x, int y) override { m_log.moved = {x, y}; }
    void SetTitle(const char* title) override { m_log.title = title; }
    void SetBar(int percent) override { m_log.bars.push_back(percent); }
    void SetPercentText(const char* text) override { m_log.percents.push_back(text); }
    void SetStatusText(const char* text) override { m_log.statuses.push_back(text); }
    void SetButton(const char* text, bool enabled) override {
        if (text) m_log.button = text;
        m_log.buttonEnabled = enabled;
    }
    void Redraw() override {}
    void CaptureMouse(bool capture) override { m_log.captured = capture; }
    bool TakeClick(int& x, int& y) override {
        if (m_log.clicks.empty()) return false;
        std::tie(x, y) = m_log.clicks.front();
        m_log.clicks.pop_front();
        return true;
    }
    // The stop button covers (10,10)-(90,30).
    bool ButtonContains(int x, int y) override { return x >= 10 && x < 90 && y >= 10 && y < 30; }
    void ClientSize(int& width, int& height) override {
        width = 200;
        height = 100;
    }
    void ShowArrowCursor(bool arrow) override { m_log.arrow = arrow; }
    void GiveFocusTo(HWND window) override { m_log.focused = window; }

private:
    ViewLog& m_log;
    ZEVRect m_screen;
    bool m_hasMain;
};

class ScriptedViews : public IZEVProgressViewFactory {
public:
    std::unique_ptr<IZEVProgressView> CreateProgressView(HWND, int) override {
        logs.emplace_back();
        return std::make_unique<ScriptedView>(logs.back(), screen, hasMain);
    }
    std::deque<ViewLog> logs;  // a deque keeps each log where it is
    ZEVRect screen{0, 0, 1280, 1024};
    bool hasMain = false;
};

class Progress : public ::testing::Test {
protected:
    CZEVManualClock clock;
    CZEVHeadlessWindows windows;
    ScriptedViews views;
    HWND mainWindow = reinterpret_cast<HWND>(0x100);
    HWND owner = reinterpret_cast<HWND>(0x200);

    void SetUp() override {
        windows.SetMainWindow(mainWindow);
        ZEVInstallClock(&clock);
        ZEVInstallWindows(&windows);
        ZEVInstallProgressViews(&views);
        SetProgressBatchMode(false);
    }
    void TearDown() override {
        for (int id = 0; id < 4; ++id) KillProgressDialog(id);
        SetProgressBatchMode(false);
        ZEVInstallProgressViews(nullptr);
        ZEVInstallWindows(nullptr);
        ZEVInstallClock(nullptr);
    }
    ViewLog& view() { return views.logs.back(); }
    // Moves the host's clock on and updates, so that a poll is due.
    bool updateAfter(std::uint64_t ms, double fraction, const char* text, int id = 0) {
        clock.Advance(ms);
        return UpdateProgressDialog(fraction, text, id);
    }
};

TEST_F(Progress, StartingPreparesTheWindowAndTheData) {
    ProgressData[1].increment = 5.0;
    StartProgressDialog("Meshing", true, false, false, owner, 1);
    ASSERT_TRUE(IsProgressDialogActive(1));
    EXPECT_NE(ProgressData[1].window, nullptr);
    EXPECT_EQ(view().title, "Meshing");
    EXPECT_EQ(view().bars, std::vector<int>{0});
    EXPECT_TRUE(view().captured);
    EXPECT_TRUE(view().buttonEnabled);
    EXPECT_EQ(ProgressData[1].increment, 0.0);  // reset clears it
    EXPECT_EQ(ProgressData[1].data2, 0.0);
    // No measurable main window: centred a quarter of the way into the 1280 x 1024 screen.
    EXPECT_EQ(view().moved, std::make_pair(320 - 150, 256 - 60));
}

TEST_F(Progress, PlacementBesideTheMainWindowAndNeverNegative) {
    views.hasMain = true;
    StartProgressDialog("A", true, false, false, owner, 0);
    EXPECT_EQ(view().moved, std::make_pair(900 - 300, 50));
    views.hasMain = false;
    views.screen = {0, 0, 400, 200};
    StartProgressDialog("B", true, false, false, owner, 0);
    EXPECT_EQ(view().moved, std::make_pair(0, 0));  // 100 - 150 and 50 - 60 become 0
}

TEST_F(Progress, FractionsAreStoredOnlyBelowOnePointZeroOne) {
    StartProgressDialog("F", true, false, false, owner, 0);
    EXPECT_FALSE(UpdateProgressDialog(0.25, "quarter", 0));
    EXPECT_EQ(ProgressData[0].fraction, 0.25);
    UpdateProgressDialog(1.005, "nearly", 0);
    EXPECT_EQ(ProgressData[0].fraction, 1.005);
    EXPECT_EQ(view().bars.back(), 100);
    EXPECT_EQ(view().percents.back(), "100%");
    for (double ignored : {1.01, -1.0, 7.0}) {
        UpdateProgressDialog(ignored, "text only", 0);
        EXPECT_EQ(ProgressData[0].fraction, 1.005);
    }
    EXPECT_STREQ(ProgressData[0].text, "text only");
    EXPECT_EQ(view().statuses.back(), "text only");
    UpdateProgressDialog(0.5, nullptr, 0);  // a null text keeps the stored one
    EXPECT_STREQ(ProgressData[0].text, "text only");
    EXPECT_EQ(view().bars.back(), 50);
}

TEST_F(Progress, UnchangedPercentAndTextLeaveTheWindowAlone) {
    StartProgressDialog("U", true, false, false, owner, 0);
    UpdateProgressDialog(0.421, "rows", 0);
    UpdateProgressDialog(0.429, "rows", 0);  // still 42 %
    EXPECT_EQ(view().bars, (std::vector<int>{0, 42}));
    EXPECT_EQ(view().statuses.size(), 1u);
    UpdateProgressDialog(0.429, "seams", 0);
    EXPECT_EQ(view().statuses.back(), "seams");
    EXPECT_EQ(view().percents.back(), "42%");
}

TEST_F(Progress, IncrementsGoRoundPastOne) {
    StartProgressDialog("I", true, false, false, owner, 2);
    IncrementProgressDialog(2, nullptr);
    EXPECT_EQ(ProgressData[2].fraction, 0.0);  // the start cleared the increment
    SetProgressDialogIncrement(0.3, 2);
    std::vector<int> bars;
    for (int i = 0; i < 4; ++i) {
        IncrementProgressDialog(2, "counting");
        bars.push_back(view().bars.back());
    }
    // 0.3, 0.6, 0.3 + 0.3 + 0.3 (just below 0.9 in binary, so 89 %), then 1.2 starts at 0.1.
    EXPECT_EQ(bars, (std::vector<int>{30, 60, 89, 10}));
    EXPECT_DOUBLE_EQ(ProgressData[2].fraction, 0.1);

    SetProgressDialogIncrement(-0.001, 2);  // below -0.0001: ignored
    EXPECT_EQ(ProgressData[2].increment, 0.3);
    SetProgressDialogIncrement(-0.00005, 2);
    IncrementProgressDialog(2, nullptr);
    EXPECT_DOUBLE_EQ(ProgressData[2].fraction, 0.1 - 0.00005);
}

TEST_F(Progress, AStopIsNoticedOnlyByThePollAndTellsTheOwner) {
    StartProgressDialog("S", true, true, false, owner, 0);
    view().clicks.push_back({50, 20});              // on the button
    EXPECT_FALSE(updateAfter(3999, 0.1, nullptr));  // 3 whole seconds: too soon
    EXPECT_EQ(view().clicks.size(), 1u);
    EXPECT_TRUE(updateAfter(1, 0.2, nullptr));  // 4 seconds
    EXPECT_EQ(view().button, "Stopping!");
    EXPECT_TRUE(ProgressDialogWasCancelled(0));
    ASSERT_EQ(windows.Recorded().size(), 1u);
    const ZEVRecordedMessage& sent = windows.Recorded().front();
    EXPECT_EQ(sent.window, owner);
    EXPECT_EQ(sent.message, WM_ZEV_PROGRESS_STOP);
    EXPECT_EQ(sent.wParam, 0u);
    EXPECT_EQ(sent.lParam, 0);
    EXPECT_FALSE(sent.posted);
    EXPECT_TRUE(UpdateProgressDialog(0.3, nullptr, 0));  // stays stopped

    KillProgressDialog(0);
    EXPECT_TRUE(ProgressData[0].stop);
    EXPECT_FALSE(ProgressDialogWasCancelled(0));  // asked too late
}

TEST_F(Progress, PollingCountsWholeSecondsModuloSixty) {
    StartProgressDialog("P", true, false, false, owner, 0);
    updateAfter(10000, 0.1, nullptr);  // a poll: nothing waiting
    view().clicks.push_back({0, 0});   // a click beside the button
    updateAfter(61000, 0.1, nullptr);  // 61 s counts as 1: no poll
    EXPECT_EQ(view().clicks.size(), 1u);
    updateAfter(2999, 0.1, nullptr);  // 63.999 s counts as 3: still none
    EXPECT_EQ(view().clicks.size(), 1u);
    view().clicks.push_back({20, 20});
    EXPECT_FALSE(updateAfter(1, 0.1, nullptr));  // 64 s: the click beside is taken, no stop
    EXPECT_EQ(view().clicks.size(), 1u);
    EXPECT_TRUE(updateAfter(4000, 0.1, nullptr));
    EXPECT_TRUE(windows.Recorded().empty());  // notify was off
}

TEST_F(Progress, WithoutStopTheButtonSaysPatienceAndClicksDoNothing) {
    StartProgressDialog("N", false, true, false, owner, 0);
    EXPECT_EQ(view().button, "Patience");
    EXPECT_FALSE(view().buttonEnabled);
    view().clicks.push_back({50, 20});
    EXPECT_FALSE(updateAfter(5000, 0.5, nullptr));
    EXPECT_TRUE(view().clicks.empty());  // taken from the queue, and ignored
    EXPECT_TRUE(windows.Recorded().empty());
}

TEST_F(Progress, StartingOnABusyIdClosesTheOldReport) {
    StartProgressDialog("first", true, false, false, owner, 3);
    ViewLog& first = view();
    StartProgressDialog("second", true, false, false, owner, 3);
    // The old window's handle may come back for the new one (the allocator reuses it): its
    // closing and the new title are what tell the two apart.
    EXPECT_TRUE(first.destroyed);
    EXPECT_FALSE(first.captured);
    EXPECT_EQ(first.focused, mainWindow);
    EXPECT_NE(ProgressData[3].window, nullptr);
    EXPECT_EQ(view().title, "second");
}

TEST_F(Progress, BadIdsMissingOwnersAndBatchModeAreIgnored) {
    KillProgressDialog(4);
    EXPECT_FALSE(UpdateProgressDialog(0.5, nullptr, 4));
    EXPECT_FALSE(UpdateProgressDialog(0.5, nullptr, -1));
    EXPECT_FALSE(IncrementProgressDialog(7, nullptr));
    StartProgressDialog("x", true, false, false, owner, 4);
    EXPECT_TRUE(views.logs.empty());
    EXPECT_FALSE(UpdateProgressDialog(0.5, "nobody", 0));  // no report on 0
    EXPECT_FALSE(IsProgressDialogActive(0));

    windows.SetMainWindow(nullptr);
    StartProgressDialog("orphan", true, false, false, nullptr, 0);
    EXPECT_FALSE(IsProgressDialogActive(0));
    windows.SetMainWindow(mainWindow);
    StartProgressDialog("main", true, false, false, nullptr, 0);  // the main window owns it
    EXPECT_TRUE(IsProgressDialogActive(0));
    KillProgressDialog(0);

    SetProgressBatchMode(true);
    StartProgressDialog("batch", true, false, false, owner, 1);
    EXPECT_EQ(ProgressData[1].window, nullptr);
    EXPECT_FALSE(IsProgressDialogActive(1));
    EXPECT_FALSE(UpdateProgressDialog(0.5, "quiet", 1));
    SetProgressDialogData(2.5, 7.5, 1);
    double a = 0, b = 0;
    GetProgressDialogData(&a, &b, 1);
    EXPECT_EQ(a, 2.5);
    EXPECT_EQ(b, 7.5);
    GetProgressDialogData(nullptr, &b, 1);  // ignored, no crash
    SetProgressBatchMode(false);
}

TEST_F(Progress, OwnCursorShowsTheArrowInsideTheClientArea) {
    TProgressDlg dialog("C", true, false, true, owner, 9);
    EXPECT_EQ(dialog.id, 0);  // out of range becomes 0
    ASSERT_TRUE(dialog.Create());
    ViewLog& log = view();
    struct {
        int x, y;
        bool arrow;
    } moves[] = {{1, 1, true}, {0, 50, false}, {199, 99, true}, {200, 50, false}, {50, 100, false}};
    for (const auto& m : moves) {
        dialog.OnMouseMove(m.x, m.y);
        EXPECT_EQ(log.arrow, m.arrow) << m.x << "," << m.y;
        EXPECT_EQ(dialog.mouseInside, m.arrow);
    }
}

TEST(ProgressText, DrawsOneLineInPlaceAndClearsItAtTheEnd) {
    std::FILE* out = std::tmpfile();
    ASSERT_NE(out, nullptr);
    {
        CZEVTextProgressView view(out, true, 40);
        view.SetTitle("Mesh");
        view.SetBar(50);
        view.SetStatusText("row\t3");
    }
    std::rewind(out);
    char buffer[512] = {};
    size_t n = std::fread(buffer, 1, sizeof buffer - 1, out);
    std::fclose(out);
    std::string written(buffer, n);
    const std::string last = "\rMesh [##########          ]  50% row 3";
    EXPECT_NE(written.find(last + std::string(39 - (last.size() - 1), ' ')), std::string::npos);
    EXPECT_EQ(written.substr(written.size() - 41), "\r" + std::string(39, ' ') + "\r");

    std::FILE* silent = std::tmpfile();
    {
        CZEVTextProgressView view(silent, false);
        view.SetBar(10);
    }
    EXPECT_EQ(std::ftell(silent), 0);
    std::fclose(silent);
}

TEST(ProgressText, TheDefaultViewsStaySilentOffATerminal) {
    if (isatty(STDERR_FILENO)) GTEST_SKIP() << "stderr is a terminal here";
    CZEVHeadlessWindows windows;
    windows.SetMainWindow(reinterpret_cast<HWND>(0x100));
    ZEVInstallWindows(&windows);
    testing::internal::CaptureStderr();
    StartProgressDialog("Quiet", true, false, false, nullptr, 0);
    EXPECT_TRUE(IsProgressDialogActive(0));
    UpdateProgressDialog(0.5, "half", 0);
    KillProgressDialog(0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    ZEVInstallWindows(nullptr);
}

}  // namespace
