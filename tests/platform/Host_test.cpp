#include "zevcore/platform/services/Host.h"

#include <gtest/gtest.h>

namespace {

TEST(HeadlessHost, MessageBoxAnswersTheDefaultWhenItIsOneOfItsButtons) {
    CZEVHeadlessDialogs dialogs;
    dialogs.SetQuiet(true);
    EXPECT_EQ(dialogs.MessageBox(nullptr, "t", "c", MB_YESNO | MB_ICONQUESTION), IDYES);
    dialogs.SetDefaultAnswer(IDNO);
    EXPECT_EQ(dialogs.MessageBox(nullptr, "t", "c", MB_YESNOCANCEL), IDNO);
    EXPECT_EQ(dialogs.MessageBox(nullptr, "t", "c", MB_OK), IDOK);
    EXPECT_EQ(dialogs.MessageBox(nullptr, "t", "c", MB_RETRYCANCEL), IDRETRY);
    COLORREF color = RGB(1, 2, 3);
    EXPECT_FALSE(dialogs.ChooseColor(color));
    EXPECT_EQ(color, RGB(1, 2, 3));
}

TEST(HeadlessHost, MessageBoxWritesToStderr) {
    CZEVHeadlessDialogs dialogs;
    testing::internal::CaptureStderr();
    dialogs.MessageBox(nullptr, "Mesh failed", "Mesher", MB_OK);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Mesher: Mesh failed\n");
}

TEST(HeadlessHost, WindowsRecordMessagesAndCopyTheirText) {
    CZEVHeadlessWindows windows;
    windows.CopyTextOf(0x400);
    char line[] = "Row 1";
    HWND target = reinterpret_cast<HWND>(0x10);
    EXPECT_EQ(windows.SendMessage(target, 0x400, 0, reinterpret_cast<LPARAM>(line)), 0);
    line[0] = 'X';  // the record keeps the text as it was when sent
    EXPECT_FALSE(windows.PostMessage(target, 0x400, 1, 0));
    windows.SendMessage(target, 0x401, 0, reinterpret_cast<LPARAM>(line));
    const auto& seen = windows.Recorded();
    ASSERT_EQ(seen.size(), 3u);
    EXPECT_EQ(seen[0].text, "Row 1");
    EXPECT_FALSE(seen[0].posted);
    EXPECT_TRUE(seen[1].posted);
    EXPECT_EQ(seen[1].wParam, 1u);
    EXPECT_EQ(seen[1].text, "");
    EXPECT_EQ(seen[2].text, "");  // not a text message
}

TEST(HeadlessHost, TimersFireOnlyWhenPumpedAndMayKillThemselves) {
    CZEVHeadlessTimers timers;
    int ticks = 0;
    EXPECT_EQ(timers.SetTimer(0, 10, [](UINT_PTR) {}), 0u);
    EXPECT_EQ(timers.SetTimer(7, 1000,
                              [&](UINT_PTR id) {
                                  ++ticks;
                                  timers.KillTimer(id);
                              }),
              7u);
    EXPECT_TRUE(timers.IsRunning(7));
    EXPECT_EQ(timers.Interval(7), 1000u);
    EXPECT_EQ(ticks, 0);
    timers.FireAll();
    EXPECT_EQ(ticks, 1);
    EXPECT_FALSE(timers.IsRunning(7));
    EXPECT_FALSE(timers.Fire(7));
    EXPECT_FALSE(timers.KillTimer(7));
}

TEST(HeadlessHost, InstallingAndRestoringServices) {
    CZEVManualClock clock;
    clock.Advance(5000);
    IZEVClock* previous = ZEVInstallClock(&clock);
    EXPECT_EQ(ZEVClock().NowMs(), 5000u);
    clock.Set(1000);  // never goes back
    EXPECT_EQ(ZEVClock().NowMs(), 5000u);
    EXPECT_EQ(ZEVInstallClock(previous), &clock);
    std::uint64_t a = ZEVClock().NowMs();
    EXPECT_GE(ZEVClock().NowMs(), a);

    CZEVHeadlessCursor cursor;
    ZEVInstallCursor(&cursor);
    ZEVCursor().BeginWaitCursor();
    ZEVCursor().BeginWaitCursor();
    ZEVCursor().EndWaitCursor();
    EXPECT_EQ(cursor.Depth(), 1);
    ZEVInstallCursor(nullptr);
}

}  // namespace

namespace {

TEST(ScriptedHost, DialogsAnswerFromTheScriptAndRecordTheQuestions) {
    CZEVScriptedDialogs dialogs;
    dialogs.AnswerMessage(IDNO);
    dialogs.AnswerFile("/tmp/deck.zev");
    dialogs.AnswerFile("");  // the next chooser is cancelled
    dialogs.AnswerColor(RGB(1, 2, 3));
    EXPECT_EQ(dialogs.MessageBox(nullptr, "Save?", "Designer", MB_YESNOCANCEL), IDNO);
    EXPECT_EQ(dialogs.MessageBox(nullptr, "Again?", "Designer", MB_RETRYCANCEL), IDRETRY);
    CString path("unchanged");
    EXPECT_TRUE(dialogs.ChooseFile({"Open", "/tmp", "Projects|*.zev", false}, path));
    EXPECT_STREQ(path, "/tmp/deck.zev");
    EXPECT_FALSE(dialogs.ChooseFolder("Data", path));
    EXPECT_STREQ(path, "/tmp/deck.zev");
    COLORREF color = 0;
    EXPECT_TRUE(dialogs.ChooseColor(color));
    EXPECT_EQ(color, RGB(1, 2, 3));
    LOGFONTA font{};
    EXPECT_FALSE(dialogs.ChooseFont(font, color));
    ASSERT_EQ(dialogs.Asked().size(), 6u);
    EXPECT_EQ(dialogs.Asked()[0].text, "Save?");
    EXPECT_EQ(dialogs.Asked()[0].type, static_cast<UINT>(MB_YESNOCANCEL));
    EXPECT_EQ(dialogs.Asked()[2].kind, "file");
    EXPECT_EQ(dialogs.Asked()[3].text, "Data");
}

}  // namespace
