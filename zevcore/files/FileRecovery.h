#pragma once

// Timed backup and history copies of the open project.
//
// The history keeps a dated copy of a project as it is opened. The timed backup asks the
// application, at an interval, to save the open project to a scratch file in the temporary
// folder; every orderly end removes that file, so finding it at the next start proves an
// abnormal end, and CrashFileExists offers it. The library never saves a project: it names the
// file and sends WM_ZEV_TIMED_BACKUP at the right moments.
//
// States of the project and the calls that move between them:
//
//     none open --openProject / newProject--> open --closeProject / ~CFileRecovery--> none
//     open --projectWasSaved--> open (the backup removed, the period started anew)
//
// The timer runs only while a project is open and timed backups are on; each tick stops it,
// has the application save, and starts it again, so a slow save never piles up ticks.

#include <cstddef>
#include <memory>

#include "zevcore/Export.h"
#include "zevcore/platform/services/Host.h"

/// Sent to the application's window on each tick: wParam points to the backup's path,
/// lParam to a cleared 260-byte buffer for the application's use. The application saves the
/// open project to that path.
inline constexpr UINT WM_ZEV_TIMED_BACKUP = 2023;

class CFileRecovery;

/// The repeating tick of a CFileRecovery, through the host's timer service; the recovery
/// object is the timer's id.
class ZEVCORE_API CZEVTimer {
public:
    /// The third argument is not used.
    CZEVTimer(CFileRecovery* recovery, HWND window, unsigned int unused);
    ~CZEVTimer();
    CZEVTimer(const CZEVTimer&) = delete;
    CZEVTimer& operator=(const CZEVTimer&) = delete;

    /// Stops any running timer; with `ms` 0 nothing more, else starts one of that period.
    void startTimer(unsigned int ms);
    /// Stops the timer; the period is remembered.
    void endTimer();
    /// Starts the remembered period anew.
    void resetTimer();
    /// Restarts a running timer with `ms`; a stopped one only remembers it.
    void modifyTimer(unsigned int ms);
    /// The tick: stop, back up, start again.
    void backupFile();

    bool isRunning() const { return running; }
    unsigned int period() const { return interval; }

private:
    HWND window;
    int reserved = 0;
    bool running = false;
    CFileRecovery* recovery;
    unsigned int interval = 0;
    UINT_PTR handle = 0;
};

/// Sets a flag false for its lifetime, then true: keeps a tick from acting during a block.
class CDisableTemporarily {
public:
    explicit CDisableTemporarily(bool& flag) : m_flag(flag) { m_flag = false; }
    ~CDisableTemporarily() { m_flag = true; }
    CDisableTemporarily(const CDisableTemporarily&) = delete;
    CDisableTemporarily& operator=(const CDisableTemporarily&) = delete;

private:
    bool& m_flag;
};

class ZEVCORE_API CFileRecovery {
public:
    /// `registryBase` is the application's settings key (the ini base of "Recovery\..."),
    /// `window` receives WM_ZEV_TIMED_BACKUP, `extension` is the project files' with its dot.
    CFileRecovery(const char* registryBase, HWND window, const char* extension);
    /// Removes the timed backup (an orderly end leaves none) and the timer.
    virtual ~CFileRecovery();
    CFileRecovery(const CFileRecovery&) = delete;
    CFileRecovery& operator=(const CFileRecovery&) = delete;

    void setupRecovery(const char* registryBase, HWND window, const char* extension);
    /// Reads the settings again, after the user changed them.
    void newRegistry();
    void openProject(const char* path);
    void newProject();
    void projectWasSaved(const char* path);
    void closeProject();
    /// The tick's work: asks the window to save to the backup's path.
    void doTimedBackupEvent();
    CZEVTimer* backupTimer() { return timer.get(); }

    const char* timedBackupPath() const { return timedBackupFile; }
    const char* historyFolder() const { return historyPath; }
    int historyLevelCount() const { return historyLevels; }
    int backupMinutes() const { return timedBackupFrequency; }
    bool historyOn() const { return doHistory; }
    bool timedBackupOn() const { return doTimedBackup; }
    /// The flags, for a CDisableTemporarily around a block.
    bool& historyFlag() { return doHistory; }
    bool& timedBackupFlag() { return doTimedBackup; }

protected:
    void setupTimedBackupFile(const char* path);
    /// The date part of a history copy's name, with its leading blank, or "".
    const char* historyVersion(const char* name);
    const char* createHistoryName(const char* baseName, const char* extension, const char* version);

private:
    char registryBase[512] = {};
    char projectExtension[260] = {};
    char historyPath[260] = {};
    int historyLevels = 2;
    int timedBackupFrequency = 15;
    bool doHistory = true;
    bool doTimedBackup = true;
    char timedBackupFile[260] = {};
    char secondName[260] = {};
    HWND window = nullptr;
    std::unique_ptr<CZEVTimer> timer;
    bool projectOpen = false;
    char nameBuffer[1024] = {};
};

/// At start, before anything is opened: when a timed backup with `extension` lies in the
/// temporary folder, asks the user whether to open one. Yes and a file chosen: its path in
/// `found` (260 bytes) and true. No: every such backup is deleted, false. Cancel: false, the
/// backups stay for the next start. False when either argument is null or there is none.
ZEVCORE_API bool CrashFileExists(char* found, const char* extension);
