#include "zevcore/frame/Folders.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "zevcore/frame/Ini.h"
#include "zevcore/platform/services/ShellFolders.h"

namespace {

struct FolderRow {
    const char* valueName;  // the setting that moves it, or null
    int csidl;
    const char* relative;
};

constexpr FolderRow kFolders[] = {
    {"UserDocuments", CSIDL_PERSONAL, "ZEV"},
    {"UserData", CSIDL_LOCAL_APPDATA, "ZEV/Data"},
    {"UserMaterials", CSIDL_LOCAL_APPDATA, "ZEV/Data/Materials"},
    {"UserShapes", CSIDL_LOCAL_APPDATA, "ZEV/Data/Shapes"},
    {"UserCFS", CSIDL_LOCAL_APPDATA, "ZEV/Data/CFS"},
    {"UserSettings", CSIDL_APPDATA, "ZEV/Settings"},
    {nullptr, CSIDL_COMMON_APPDATA, "ZEV"},
};
constexpr int kFolderCount = sizeof kFolders / sizeof kFolders[0];

char gFolderCache[kFolderCount][ZEV_MAX_PATH];
char gPathRing[3][ZEV_MAX_PATH];
int gRingIndex = -1;
char gProgramFile[ZEV_MAX_PATH];
char gProjectFolder[ZEV_MAX_PATH];

void copyInto(char (&buffer)[ZEV_MAX_PATH], const char* text) {
    std::snprintf(buffer, sizeof buffer, "%s", text ? text : "");
}

// A folder's entries other than "." and "..", in byte order of their names so that every
// walk is the same on every file system.
std::vector<std::string> entriesOf(const std::string& folder) {
    std::vector<std::string> names;
    if (DIR* dir = opendir(folder.c_str())) {
        while (dirent* entry = readdir(dir)) {
            if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
                names.emplace_back(entry->d_name);
        }
        closedir(dir);
    }
    std::sort(names.begin(), names.end());
    return names;
}

// A real folder, not a link to one: walks never follow links, so they cannot loop.
bool isPlainFolder(const std::string& path, dev_t* device = nullptr) {
    struct stat st {};
    if (lstat(path.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) return false;
    if (device) *device = st.st_dev;
    return true;
}

bool programWalk(const std::string& folder, const std::string& name) {
    for (const std::string& entry : entriesOf(folder)) {
        std::string path = folder + "/" + entry;
        if (isPlainFolder(path) && chdir(path.c_str()) == 0 && programWalk(path, name)) return true;
        if (entry == name) {
            copyInto(gProgramFile, path.c_str());
            return true;
        }
    }
    return false;
}

bool modifiedTime(const std::string& path, timespec& time) {
    struct stat st {};
    if (stat(path.c_str(), &st) != 0) return false;
    time = st.st_mtim;
    return true;
}

// Copies a file with its modification time, as the seeding compares times afterwards.
void copyFile(const std::string& source, const std::string& target) {
    std::error_code error;
    std::filesystem::copy_file(source, target, std::filesystem::copy_options::overwrite_existing,
                               error);
    timespec time{};
    if (!error && modifiedTime(source, time)) {
        timespec times[2] = {{0, UTIME_OMIT}, time};
        utimensat(AT_FDCWD, target.c_str(), times, 0);
    }
}

bool later(const timespec& a, const timespec& b) {
    return a.tv_sec != b.tv_sec ? a.tv_sec > b.tv_sec : a.tv_nsec > b.tv_nsec;
}

// Copies one file unless the target is as new as the source; an older target is put aside
// as ".backup" first. True when a target was put aside.
bool copyFileIfNewer(const char* source, const char* target) {
    if (!source || !target) return false;
    if (access(target, F_OK) != 0) {
        copyFile(source, target);
        return false;
    }
    timespec sourceTime{}, targetTime{};
    if (!modifiedTime(source, sourceTime)) return false;
    modifiedTime(target, targetTime);
    if (!later(sourceTime, targetTime)) return false;
    std::string backup = std::string(target) + ".backup";
    if (access(backup.c_str(), F_OK) != 0) std::rename(target, backup.c_str());
    copyFile(source, target);
    return true;
}

bool copyDataFolder(const std::string& source, const std::string& target) {
    ZEVCreateFolders(target.c_str());
    bool putAside = false;
    for (const std::string& entry : entriesOf(source)) {
        std::string from = source + "/" + entry;
        std::string to = target + "/" + entry;
        if (isPlainFolder(from)) {
            copyDataFolder(from, to);
            continue;
        }
        struct stat st {};
        if (stat(from.c_str(), &st) == 0 && S_ISREG(st.st_mode))
            putAside = copyFileIfNewer(from.c_str(), to.c_str()) || putAside;
    }
    return putAside;
}

int search(const std::string& folder, const std::string& name, CString& found,
           const dev_t* device) {
    for (const std::string& entry : entriesOf(folder)) {
        std::string path = folder == "/" ? "/" + entry : folder + "/" + entry;
        if (entry == name) {
            found = path.c_str();
            return 1;
        }
        dev_t entryDevice = 0;
        if (isPlainFolder(path, &entryDevice) && (!device || entryDevice == *device) &&
            search(path, name, found, device))
            return 1;
    }
    return 0;
}

}  // namespace

const char* GetZEVFolder(ETZEVFolder folder) {
    const int index = static_cast<int>(folder);
    if (index < 0 || index >= kFolderCount) return "";
    char(&slot)[ZEV_MAX_PATH] = gFolderCache[index];
    if (slot[0]) return slot;
    const FolderRow& row = kFolders[index];
    if (row.valueName) {
        setIniBase("Software\\ZEV\\Paths", HKEY_CURRENT_USER);
        CString stored;
        if (readIniString(row.valueName, stored) == ERROR_SUCCESS && !stored.IsEmpty()) {
            copyInto(slot, stored);
            return slot;
        }
    }
    CString base;
    ZEVGetFolderPath(row.csidl | CSIDL_FLAG_CREATE, base);
    copyInto(slot, ZEVAppendPath(base, row.relative));
    if (row.valueName) writeIniString(row.valueName, slot);
    // Only a real location is made: a bare relative path would land wherever the process
    // happens to stand.
    if (slot[0] == '/') ZEVCreateFolders(slot);
    return slot;
}

const char* MakeZEVFilePath(ETZEVFolder folder, const char* name) {
    if (!name) return GetZEVFolder(folder);
    gRingIndex = (gRingIndex + 1) % 3;
    char(&buffer)[ZEV_MAX_PATH] = gPathRing[gRingIndex];
    copyInto(buffer, ZEVAppendPath(GetZEVFolder(folder), name));
    return buffer;
}

const char* GetZEVProgramFile(const char* name, bool x86) {
    CString base;
    ZEVGetFolderPath(x86 ? CSIDL_PROGRAM_FILESX86 : CSIDL_PROGRAM_FILES, base);
    std::string folder = ZEVAppendPath(base, "ZEV").str();
    gProgramFile[0] = '\0';
    if (!name || chdir(folder.c_str()) != 0) return gProgramFile;
    programWalk(folder, name);
    return gProgramFile;
}

const char* CurrentProjectFilePath() {
    return gProjectFolder;
}

void SetCurrentProjectFilePath(const char* path) {
    std::string folder = path ? path : "";
    size_t slash = folder.rfind('/');
    if (slash == std::string::npos)
        folder.clear();
    else
        folder.erase(slash == 0 ? 1 : slash);
    copyInto(gProjectFolder, folder.c_str());
}

namespace {

void seedFrom(const std::string& source) {
    CString local;
    if (ZEVGetFolderPath(CSIDL_LOCAL_APPDATA, local)) ZEVCreateFolders(ZEVAppendPath(local, "ZEV"));
    copyDataFolder(source, GetZEVFolder(ZEVUserData));
}

}  // namespace

void SetupZEVDataFiles() {
    seedFrom(std::string(GetZEVFolder(ZEVCommonData)) + "/Data");
}

void SetupZEVDemoDataFiles(const CString& root) {
    seedFrom(root.str() + "/Data");
}

int FindFileInDirectory(const CString& dir, const CString& name, CString& found) {
    return search(dir.str(), name.str(), found, nullptr);
}

int FindFileOnLocalDrive(const CString& name, CString& found) {
    char* cwd = getcwd(nullptr, 0);
    std::string current = cwd ? cwd : "";
    std::free(cwd);
    CString mount = ZEVMountPointOf(current.c_str());
    struct stat st {};
    if (mount.IsEmpty() || stat(mount, &st) != 0) return 0;
    return search(mount.str(), name.str(), found, &st.st_dev);
}
