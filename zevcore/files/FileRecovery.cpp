#include "zevcore/files/FileRecovery.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "zevcore/frame/Ini.h"
#include "zevcore/platform/services/Desktop.h"

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kPathSize = 260;

void copyText(char* target, std::size_t size, const char* text) {
    std::snprintf(target, size, "%s", text ? text : "");
}

void removeFile(const std::string& path) {
    if (!path.empty()) std::remove(path.c_str());
}

// Base name and extension (with its dot) of a path.
void splitPath(const std::string& path, std::string& base, std::string& extension) {
    const std::string name = fs::path(path).filename().string();
    const std::size_t dot = name.rfind('.');
    base = dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
    extension = dot == std::string::npos || dot == 0 ? "" : name.substr(dot);
}

// Whether `name` matches a pattern of literal text around one '*'.
bool matches(const std::string& name, const std::string& before, const std::string& after) {
    return name.size() >= before.size() + after.size() &&
           name.compare(0, before.size(), before) == 0 &&
           name.compare(name.size() - after.size(), after.size(), after) == 0;
}

// The entries of `folder` whose names match, in name order: the order a listing gives here,
// since the file system's own order is no order at all.
std::vector<fs::directory_entry> listing(const std::string& folder, const std::string& before,
                                         const std::string& after) {
    std::vector<fs::directory_entry> found;
    std::error_code error;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error))
        if (matches(it->path().filename().string(), before, after)) found.push_back(*it);
    std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) {
        return a.path().filename() < b.path().filename();
    });
    return found;
}

std::string today() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char text[32];
    std::strftime(text, sizeof text, "%m-%d-%y", &local);
    return text;
}

void timerTick(UINT_PTR id) {
    if (auto* recovery = reinterpret_cast<CFileRecovery*>(id))
        if (CZEVTimer* timer = recovery->backupTimer()) timer->backupFile();
}

}  // namespace

// --- CZEVTimer --------------------------------------------------------------------------------

CZEVTimer::CZEVTimer(CFileRecovery* owner, HWND owningWindow, unsigned int)
    : window(owningWindow), recovery(owner) {}

CZEVTimer::~CZEVTimer() {
    endTimer();
}

void CZEVTimer::startTimer(unsigned int ms) {
    const auto id = reinterpret_cast<UINT_PTR>(recovery);
    if (running) ZEVTimers().KillTimer(id);
    running = false;
    if (ms == 0) return;
    handle = ZEVTimers().SetTimer(id, ms, timerTick);
    if (handle != 0) {
        running = true;
        interval = ms;
    }
}

void CZEVTimer::endTimer() {
    if (running) ZEVTimers().KillTimer(reinterpret_cast<UINT_PTR>(recovery));
    running = false;
}

void CZEVTimer::resetTimer() {
    startTimer(interval);
}

void CZEVTimer::modifyTimer(unsigned int ms) {
    if (running) startTimer(ms);
    interval = ms;
}

void CZEVTimer::backupFile() {
    endTimer();
    if (recovery) recovery->doTimedBackupEvent();
    if (interval != 0) startTimer(interval);
}

// --- CFileRecovery ----------------------------------------------------------------------------

CFileRecovery::CFileRecovery(const char* base, HWND owningWindow, const char* extension) {
    copyText(historyPath, sizeof historyPath, ZEVTempFolder());
    setupRecovery(base, owningWindow, extension);
}

CFileRecovery::~CFileRecovery() {
    removeFile(timedBackupFile);
    timer.reset();
}

void CFileRecovery::setupRecovery(const char* base, HWND owningWindow, const char* extension) {
    window = owningWindow;
    timer = std::make_unique<CZEVTimer>(this, owningWindow, 0);
    copyText(registryBase, sizeof registryBase, base);
    copyText(projectExtension, sizeof projectExtension, extension);
    newRegistry();
}

void CFileRecovery::newRegistry() {
    if (registryBase[0] == '\0') return;
    setIniBase(registryBase, HKEY_CURRENT_USER);
    readIniBool("Recovery\\DoHistory", doHistory, false);
    readIniBool("Recovery\\DoTimedBackup", doTimedBackup, false);
    CString path;
    readIniString("Recovery\\HistoryPath", path);
    std::error_code error;
    if (path.IsEmpty() || !fs::is_directory(path.GetString(), error)) path = ZEVTempFolder();
    copyText(historyPath, sizeof historyPath, path);
    readIniInt("Recovery\\HistoryLevels", historyLevels);
    historyLevels = std::clamp(historyLevels, 1, 10);
    const int before = timedBackupFrequency;
    readIniInt("Recovery\\TimedBackupFrequency", timedBackupFrequency);
    timedBackupFrequency = std::clamp(timedBackupFrequency, 1, 60);
    if (timedBackupFrequency != before && timer)
        timer->modifyTimer(static_cast<unsigned int>(timedBackupFrequency) * 60000u);
}

const char* CFileRecovery::createHistoryName(const char* baseName, const char* extension,
                                             const char* version) {
    std::snprintf(nameBuffer, sizeof nameBuffer, "%s/%s Version %s%s", historyPath,
                  baseName ? baseName : "", version ? version : "", extension ? extension : "");
    return nameBuffer;
}

const char* CFileRecovery::historyVersion(const char* name) {
    nameBuffer[0] = '\0';
    const std::string text = name ? name : "";
    if (text.empty()) return nameBuffer;
    const std::size_t dot = text.rfind('.');
    const std::size_t end = dot == std::string::npos || dot == 0 ? text.size() - 1 : dot - 1;
    if (end < 2) return nameBuffer;
    const std::size_t n = text.rfind('n', end - 2);
    if (n == std::string::npos) return nameBuffer;
    const std::string candidate = text.substr(n + 1, end - n);
    if (candidate.size() < 2 || candidate[0] != ' ') return nameBuffer;
    if (std::count(candidate.begin(), candidate.end(), '-') != 2) return nameBuffer;
    copyText(nameBuffer, sizeof nameBuffer, candidate.c_str());
    return nameBuffer;
}

void CFileRecovery::openProject(const char* path) {
    projectOpen = true;
    if (doHistory && path) {
        std::string base, extension;
        splitPath(path, base, extension);
        std::vector<std::string> versions;
        for (const auto& entry : listing(historyPath, base, extension)) {
            const std::string version = historyVersion(entry.path().filename().c_str());
            if (!version.empty()) versions.push_back(version);
        }
        std::error_code error;
        fs::copy_file(path, createHistoryName(base.c_str(), extension.c_str(), today().c_str()),
                      fs::copy_options::overwrite_existing, error);
        // The surplus goes oldest first. The versions keep their leading blank, and the name
        // adds one of its own, so the file named for removal is never there: the old copy
        // stays, as it always has.
        int surplus = static_cast<int>(versions.size()) + 1 - historyLevels;
        while (surplus-- > 0 && !versions.empty()) {
            std::size_t oldest = 0;
            long oldestKey = 999999;
            for (std::size_t i = 0; i < versions.size(); ++i) {
                std::string numbers = versions[i];
                std::replace(numbers.begin(), numbers.end(), '-', ' ');
                long month = 0, day = 0, year = 0;
                std::sscanf(numbers.c_str(), "%ld %ld %ld", &month, &day, &year);
                const long key = year * 366 + month * 12 + day;
                if (key < oldestKey) oldestKey = key, oldest = i;
            }
            removeFile(
                createHistoryName(base.c_str(), extension.c_str(), versions[oldest].c_str()));
            versions.erase(versions.begin() + static_cast<std::ptrdiff_t>(oldest));
        }
    }
    setupTimedBackupFile(path);
    if (doTimedBackup && timer)
        timer->startTimer(static_cast<unsigned int>(timedBackupFrequency) * 60000u);
}

void CFileRecovery::setupTimedBackupFile(const char* path) {
    if (!path) return;
    removeFile(timedBackupFile);
    std::string base, extension;
    splitPath(path, base, extension);
    copyText(
        timedBackupFile, sizeof timedBackupFile,
        (std::string(ZEVTempFolder().GetString()) + "/" + base + "_Timed_Backup" + projectExtension)
            .c_str());
    removeFile(timedBackupFile);
}

void CFileRecovery::newProject() {
    projectOpen = true;
    copyText(
        timedBackupFile, sizeof timedBackupFile,
        (std::string(ZEVTempFolder().GetString()) + "/Untitled_Timed_Backup" + projectExtension)
            .c_str());
    removeFile(timedBackupFile);
    if (doTimedBackup && timer)
        timer->startTimer(static_cast<unsigned int>(timedBackupFrequency) * 60000u);
}

void CFileRecovery::projectWasSaved(const char* path) {
    removeFile(timedBackupFile);
    setupTimedBackupFile(path);
    if (timer) timer->resetTimer();
}

void CFileRecovery::closeProject() {
    projectOpen = false;
    removeFile(timedBackupFile);
    timedBackupFile[0] = '\0';
    if (timer) timer->endTimer();
}

void CFileRecovery::doTimedBackupEvent() {
    if (!doTimedBackup || !projectOpen || !window || timedBackupFile[0] == '\0') return;
    char scratch[kPathSize] = {};
    ZEVWindows().SendMessage(window, WM_ZEV_TIMED_BACKUP, reinterpret_cast<WPARAM>(timedBackupFile),
                             reinterpret_cast<LPARAM>(scratch));
}

bool CrashFileExists(char* found, const char* extension) {
    if (!found || !extension) return false;
    const std::string folder = ZEVTempFolder().GetString();
    const std::string suffix = std::string("_Timed_Backup") + extension;
    const auto backups = listing(folder, "", suffix);
    std::error_code error;
    if (backups.empty() || !backups.front().is_regular_file(error)) return false;
    const std::string first = backups.front().path().string();

    const int answer = ZEVDialogs().MessageBox(
        ZEVWindows().MainWindow(),
        "There are timed backup recovery files as a result of abnormal program termination.  "
        "Would you like the opportunity to open one?",
        "File Recovery!", MB_YESNO | MB_ICONINFORMATION);
    if (answer == IDYES) {
        ZEVFileDialogRequest request;
        request.title = "Select a Backup File to Open";
        request.initialPath = first.c_str();
        CString filter;
        filter.Format("Backup Projects (*_Timed_Backup%s)|*_Timed_Backup%s||", extension,
                      extension);
        request.filter = filter;
        CString chosen;
        if (!ZEVDialogs().ChooseFile(request, chosen)) return false;
        copyText(found, kPathSize, chosen);
        return true;
    }
    for (const auto& backup : backups) std::remove(backup.path().c_str());
    return false;
}
