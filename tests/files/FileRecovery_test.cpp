// Timed backups and history copies, driven by a timer the test fires and a window that saves.

#include "zevcore/files/FileRecovery.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>

#include "support/ScopedStore.h"
#include "support/TestEnv.h"
#include "zevcore/frame/Ini.h"

namespace fs = std::filesystem;

namespace {

const HWND kWindow = reinterpret_cast<HWND>(0x2023);

// The application's side: on the backup message it saves "the project" to the path given.
class SavingWindow : public CZEVHeadlessWindows {
public:
    LRESULT SendMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) override {
        if (message == WM_ZEV_TIMED_BACKUP)
            zevtest::writeFile(reinterpret_cast<const char*>(wParam), "project");
        return CZEVHeadlessWindows::SendMessage(window, message, wParam, lParam);
    }
};

class FileRecoveryTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_windows = ZEVInstallWindows(&windows);
        m_timers = ZEVInstallTimers(&timers);
        m_dialogs = ZEVInstallDialogs(&dialogs);
        zevtest::writeFile(project, "v1");
    }
    void TearDown() override {
        ZEVInstallWindows(m_windows);
        ZEVInstallTimers(m_timers);
        ZEVInstallDialogs(m_dialogs);
    }
    void setting(const char* key, int value) {
        setIniBase("Software\\ZEV\\App", HKEY_CURRENT_USER);
        writeIniInt(key, value);
    }
    static std::string todayText() {
        const std::time_t now = std::time(nullptr);
        std::tm local{};
        localtime_r(&now, &local);
        char text[16];
        std::strftime(text, sizeof text, "%m-%d-%y", &local);
        return text;
    }

    zevtest::ScopedStore store;
    zevtest::TempDir tmp;
    zevtest::ScopedEnv tmpdir{"TMPDIR", tmp.path()};
    zevtest::TempDir work;
    const std::string project = work.file("Bridge.prj");
    SavingWindow windows;
    CZEVHeadlessTimers timers;
    CZEVScriptedDialogs dialogs;
    IZEVWindowService* m_windows = nullptr;
    IZEVTimerService* m_timers = nullptr;
    IZEVDialogService* m_dialogs = nullptr;
};

TEST_F(FileRecoveryTest, SettingsAreBoundedAndAMissingFolderFallsBack) {
    setting("Recovery\\HistoryLevels", 0);
    setting("Recovery\\TimedBackupFrequency", 90);
    writeIniString("Recovery\\HistoryPath", work.file("no such folder").c_str());
    CFileRecovery recovery("Software\\ZEV\\App", kWindow, ".prj");
    EXPECT_EQ(recovery.historyLevelCount(), 1);
    EXPECT_EQ(recovery.backupMinutes(), 60);
    EXPECT_STREQ(recovery.historyFolder(), tmp.path().c_str());
    recovery.newProject();
    EXPECT_EQ(timers.Interval(reinterpret_cast<UINT_PTR>(&recovery)), 3'600'000u);
}

TEST_F(FileRecoveryTest, TheTimerAsksForBackupsAndAnOrderlyEndRemovesThem) {
    const std::string backup = tmp.file("Bridge_Timed_Backup.prj");
    {
        CFileRecovery recovery("Software\\ZEV\\App", kWindow, ".prj");
        const auto id = reinterpret_cast<UINT_PTR>(&recovery);
        recovery.openProject(project.c_str());
        EXPECT_STREQ(recovery.timedBackupPath(), backup.c_str());
        EXPECT_EQ(timers.Interval(id), 15u * 60000u);
        ASSERT_TRUE(timers.Fire(id));
        EXPECT_EQ(zevtest::readFile(backup), "project");
        EXPECT_TRUE(timers.IsRunning(id));  // stopped for the save, started again

        recovery.projectWasSaved(project.c_str());
        EXPECT_FALSE(fs::exists(backup));  // none until the next tick
        {
            CDisableTemporarily quiet(recovery.timedBackupFlag());
            timers.Fire(id);
            EXPECT_FALSE(fs::exists(backup));
        }
        timers.Fire(id);
        EXPECT_TRUE(fs::exists(backup));
        recovery.closeProject();
        EXPECT_FALSE(fs::exists(backup));
        EXPECT_FALSE(timers.IsRunning(id));

        CZEVTimer* timer = recovery.backupTimer();
        timer->modifyTimer(1000);
        EXPECT_FALSE(timer->isRunning());  // a stopped timer only remembers the period
        EXPECT_EQ(timer->period(), 1000u);
        recovery.newProject();
        timers.Fire(id);
        EXPECT_TRUE(fs::exists(tmp.file("Untitled_Timed_Backup.prj")));
    }
    EXPECT_FALSE(fs::exists(tmp.file("Untitled_Timed_Backup.prj")));
}

TEST_F(FileRecoveryTest, HistoryCopiesOfTheDayAndTheOldOnesThatStay) {
    setting("Recovery\\HistoryLevels", 2);
    writeIniString("Recovery\\HistoryPath", work.path().c_str());
    zevtest::writeFile(work.file("Bridge Version 01-02-20.prj"), "old");
    zevtest::writeFile(work.file("Bridge Version 03-04-21.prj"), "older");
    zevtest::writeFile(work.file("Bridge Version 0304.prj"), "not a dated copy");
    CFileRecovery recovery("Software\\ZEV\\App", kWindow, ".prj");
    recovery.openProject(project.c_str());
    const std::string todays = work.file("Bridge Version " + todayText() + ".prj");
    EXPECT_EQ(zevtest::readFile(todays), "v1");
    zevtest::writeFile(project, "v2");
    recovery.openProject(project.c_str());
    EXPECT_EQ(zevtest::readFile(todays), "v2");  // the day's copy is overwritten
    // Two levels, three dated copies: the oldest is named for removal with a doubled blank,
    // so it stays, as it always has.
    EXPECT_TRUE(fs::exists(work.file("Bridge Version 01-02-20.prj")));
    EXPECT_TRUE(fs::exists(work.file("Bridge Version 03-04-21.prj")));
}

TEST_F(FileRecoveryTest, AKilledSessionsBackupIsOfferedAtTheNextStart) {
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
        CFileRecovery recovery("Software\\ZEV\\App", kWindow, ".prj");
        recovery.openProject(project.c_str());
        timers.Fire(reinterpret_cast<UINT_PTR>(&recovery));
        (void)!write(ready[1], "x", 1);
        pause();
        _exit(0);
    }
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const std::string backup = tmp.file("Bridge_Timed_Backup.prj");
    ASSERT_TRUE(fs::exists(backup));

    char found[260] = {};
    dialogs.AnswerMessage(IDYES);
    dialogs.AnswerFile(backup.c_str());
    EXPECT_TRUE(CrashFileExists(found, ".prj"));
    EXPECT_STREQ(found, backup.c_str());
    ASSERT_EQ(dialogs.Asked().size(), 2u);
    EXPECT_EQ(dialogs.Asked()[0].caption, "File Recovery!");
    EXPECT_EQ(dialogs.Asked()[0].text,
              "There are timed backup recovery files as a result of abnormal program "
              "termination.  Would you like the opportunity to open one?");
    EXPECT_EQ(dialogs.Asked()[1].text, "Select a Backup File to Open");

    dialogs.AnswerMessage(IDNO);
    EXPECT_FALSE(CrashFileExists(found, ".prj"));
    EXPECT_FALSE(fs::exists(backup));  // No deletes every backup of the extension
    EXPECT_FALSE(CrashFileExists(found, ".prj"));
    EXPECT_FALSE(CrashFileExists(nullptr, ".prj"));
}

}  // namespace
