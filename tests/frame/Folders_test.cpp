#include "zevcore/frame/Folders.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/ScopedStore.h"
#include "support/TestEnv.h"
#include "zevcore/frame/Ini.h"
#include "zevcore/platform/services/ShellFolders.h"

namespace {

namespace fs = std::filesystem;
using zevtest::readFile;
using zevtest::ScopedEnv;
using zevtest::ScopedStore;
using zevtest::TempDir;
using zevtest::writeFile;

std::string env(const char* name) {
    return std::getenv(name) ? std::getenv(name) : "";
}

// The stored "Software\ZEV\Paths" setting of a folder, or "<none>".
std::string storedPath(const char* valueName) {
    setIniBase("Software\\ZEV\\Paths");
    CString text("<none>");
    readIniString(valueName, text);
    return text.str();
}

void setTime(const std::string& path, time_t seconds) {
    timespec times[2] = {{seconds, 0}, {seconds, 0}};
    utimensat(AT_FDCWD, path.c_str(), times, 0);
}

time_t timeOf(const std::string& path) {
    struct stat st {};
    stat(path.c_str(), &st);
    return st.st_mtim.tv_sec;
}

// Every test program runs under a home of its own (see TestMain.cpp), so the defaults
// below point into it.
TEST(Folders, FirstUseStoresTheDefaultAndMakesTheFolderLaterUseTouchesNothing) {
    ScopedStore store;
    const std::string expected = env("XDG_DATA_HOME") + "/ZEV/Data";
    const char* first = GetZEVFolder(ZEVUserData);
    EXPECT_EQ(std::string(first), expected);
    EXPECT_TRUE(fs::is_directory(expected));
    EXPECT_EQ(storedPath("UserData"), expected);

    fs::remove_all(expected);
    writeIniString("UserData", "/moved/elsewhere");
    EXPECT_EQ(GetZEVFolder(ZEVUserData), first);  // the cache: same buffer, same text
    EXPECT_EQ(std::string(first), expected);
    EXPECT_FALSE(fs::exists(expected));
}

TEST(Folders, AStoredFolderIsTakenAsItIs) {
    ScopedStore store;
    setIniBase("Software\\ZEV\\Paths");
    writeIniString("UserShapes", "/nowhere/shapes");
    EXPECT_STREQ(GetZEVFolder(ZEVUserShapes), "/nowhere/shapes");
    EXPECT_FALSE(fs::exists("/nowhere/shapes"));
}

TEST(Folders, CommonDataIsMadeWithoutTouchingTheStore) {
    ScopedStore store;
    setIniBase("Somewhere\\Else");
    const std::string expected = env("ZEV_COMMON_DATA") + "/ZEV";
    EXPECT_EQ(std::string(GetZEVFolder(ZEVCommonData)), expected);
    EXPECT_TRUE(fs::is_directory(expected));
    EXPECT_STREQ(getIniBase(), "Somewhere\\Else");
    HKEY software = nullptr;
    EXPECT_EQ(RegOpenKeyA(HKEY_CURRENT_USER, "Software", &software), ERROR_FILE_NOT_FOUND);
}

TEST(Folders, ResolvingLeavesTheIniBaseAtPaths) {
    ScopedStore store;
    setIniBase("Software\\ZEV\\Units2010");
    GetZEVFolder(ZEVUserMaterials);
    writeIniInt("Stray", 1);
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyA(HKEY_CURRENT_USER, "Software\\ZEV\\Paths\\Stray", &key), ERROR_SUCCESS);
    RegCloseKey(key);
}

TEST(Folders, DocumentsAndSettingsFollowTheFreedesktopPlaces) {
    ScopedStore store;
    writeFile(env("XDG_CONFIG_HOME") + "/user-dirs.dirs",
              "# written by xdg-user-dirs-update\n"
              "XDG_DESKTOP_DIR=\"$HOME/Desktop\"\n"
              "XDG_DOCUMENTS_DIR=\"$HOME/My \\\"Docs\\\"\"\n");
    EXPECT_EQ(std::string(GetZEVFolder(ZEVUserDocuments)), env("HOME") + "/My \"Docs\"/ZEV");
    EXPECT_EQ(std::string(GetZEVFolder(ZEVUserSettings)), env("XDG_CONFIG_HOME") + "/ZEV/Settings");
    EXPECT_EQ(std::string(GetZEVFolder(ZEVUserCFS)), env("XDG_DATA_HOME") + "/ZEV/Data/CFS");
    EXPECT_STREQ(GetZEVFolder(static_cast<ETZEVFolder>(7)), "");
    EXPECT_STREQ(GetZEVFolder(static_cast<ETZEVFolder>(-1)), "");
}

TEST(Folders, FilePathsRotateThroughThreeBuffers) {
    ScopedStore store;
    const std::string folder = GetZEVFolder(ZEVUserSettings);
    const char* a = MakeZEVFilePath(ZEVUserSettings, "a.ini");
    const char* b = MakeZEVFilePath(ZEVUserSettings, "/b.ini");
    const char* c = MakeZEVFilePath(ZEVUserSettings, "sub/c.ini");
    EXPECT_EQ(std::string(a), folder + "/a.ini");
    EXPECT_EQ(std::string(b), folder + "/b.ini");
    EXPECT_EQ(std::string(c), folder + "/sub/c.ini");
    EXPECT_EQ(std::string(MakeZEVFilePath(ZEVUserSettings, nullptr)), folder);  // no buffer
    const char* d = MakeZEVFilePath(ZEVUserSettings, "d.ini");
    EXPECT_EQ(d, a);  // the fourth overwrites the first
    EXPECT_EQ(std::string(a), folder + "/d.ini");
    EXPECT_EQ(std::string(b), folder + "/b.ini");
}

TEST(Folders, ProjectFolderIsThePathWithoutItsFile) {
    struct {
        const char* path;
        const char* folder;
    } cases[] = {
        {"/work/bridge/deck.zev", "/work/bridge"},
        {"/deck.zev", "/"},
        {"deck.zev", ""},
        {"", ""},
        {nullptr, ""},
    };
    for (const auto& c : cases) {
        SetCurrentProjectFilePath(c.path);
        EXPECT_STREQ(CurrentProjectFilePath(), c.folder) << (c.path ? c.path : "null");
    }
}

TEST(Folders, ProgramFilesAreSearchedFoldersFirstAndLeaveTheDirectoryThere) {
    TempDir programs;
    ScopedEnv where("ZEV_PROGRAM_FILES", programs.path());
    const std::string zev = programs.path() + "/ZEV";
    fs::create_directories(zev + "/alpha/deeper");
    fs::create_directories(zev + "/Tools");
    writeFile(zev + "/alpha/deeper/tool.cfg", "");
    writeFile(zev + "/tool.cfg", "");
    fs::create_directory_symlink(zev, zev + "/alpha/loop");  // never entered

    const fs::path before = fs::current_path();
    EXPECT_EQ(std::string(GetZEVProgramFile("tool.cfg", false)), zev + "/alpha/deeper/tool.cfg");
    EXPECT_EQ(fs::current_path(), fs::path(zev + "/alpha/deeper"));
    EXPECT_EQ(std::string(GetZEVProgramFile("Tools", true)), zev + "/Tools");  // a folder too
    EXPECT_STREQ(GetZEVProgramFile("TOOL.CFG", false), "");
    EXPECT_STREQ(GetZEVProgramFile(nullptr, false), "");
    fs::current_path(before);

    ScopedEnv nowhere("ZEV_PROGRAM_FILES", programs.path() + "/missing");
    EXPECT_STREQ(GetZEVProgramFile("tool.cfg", false), "");
    EXPECT_EQ(fs::current_path(), before);
}

TEST(Folders, SeedingCopiesOnceAndNeverOverwritesTheUsersNewerFiles) {
    ScopedStore store;
    const std::string source = std::string(GetZEVFolder(ZEVCommonData)) + "/Data";
    const std::string target = GetZEVFolder(ZEVUserData);
    fs::create_directories(source + "/Shapes");
    writeFile(source + "/steel.mat", "E=29000");
    writeFile(source + "/Shapes/w.shp", "W8x10");
    setTime(source + "/steel.mat", 1000000000);
    setTime(source + "/Shapes/w.shp", 1000000000);

    SetupZEVDataFiles();
    EXPECT_EQ(readFile(target + "/steel.mat"), "E=29000");
    EXPECT_EQ(readFile(target + "/Shapes/w.shp"), "W8x10");
    EXPECT_EQ(timeOf(target + "/steel.mat"), 1000000000);  // the time travels with the copy
    EXPECT_TRUE(fs::is_directory(env("XDG_DATA_HOME") + "/ZEV"));

    // Equal times are no change: a second seeding does nothing.
    writeFile(target + "/Shapes/w.shp", "edited");
    setTime(target + "/Shapes/w.shp", 1000000000);
    SetupZEVDataFiles();
    EXPECT_EQ(readFile(target + "/Shapes/w.shp"), "edited");
    EXPECT_FALSE(fs::exists(target + "/Shapes/w.shp.backup"));

    // The user's later edit wins over the shipped file.
    writeFile(target + "/steel.mat", "E=30000");
    setTime(target + "/steel.mat", 1000000500);
    SetupZEVDataFiles();
    EXPECT_EQ(readFile(target + "/steel.mat"), "E=30000");

    // A newer shipped file replaces an older one; an existing backup stays as it was.
    writeFile(target + "/steel.mat.backup", "oldest");
    setTime(source + "/steel.mat", 1000000900);
    SetupZEVDataFiles();
    EXPECT_EQ(readFile(target + "/steel.mat"), "E=29000");
    EXPECT_EQ(readFile(target + "/steel.mat.backup"), "oldest");

    // Without an existing backup, the replaced file is put aside.
    setTime(source + "/Shapes/w.shp", 1000000900);
    SetupZEVDataFiles();
    EXPECT_EQ(readFile(target + "/Shapes/w.shp"), "W8x10");
    EXPECT_EQ(readFile(target + "/Shapes/w.shp.backup"), "edited");
}

TEST(Folders, DemoSeedingTakesItsOwnRoot) {
    ScopedStore store;
    TempDir demo;
    fs::create_directories(demo.file("Data/Examples"));
    writeFile(demo.file("Data/Examples/demo.prj"), "frame");
    SetupZEVDemoDataFiles(demo.path().c_str());
    EXPECT_EQ(readFile(std::string(GetZEVFolder(ZEVUserData)) + "/Examples/demo.prj"), "frame");
}

TEST(Folders, FileSearchesVisitInNameOrderAndSurviveLoops) {
    TempDir tree;
    fs::create_directories(tree.path() + "/a/b");
    fs::create_directories(tree.path() + "/c");
    writeFile(tree.path() + "/a/b/target.txt", "");
    writeFile(tree.path() + "/c/target.txt", "");
    fs::create_directory_symlink(tree.path(), tree.path() + "/a/loop");

    CString found("unchanged");
    EXPECT_EQ(FindFileInDirectory(tree.path().c_str(), "target.txt", found), 1);
    EXPECT_EQ(found.str(), tree.path() + "/a/b/target.txt");
    found = "unchanged";
    EXPECT_EQ(FindFileInDirectory(tree.path().c_str(), "Target.txt", found), 0);
    EXPECT_STREQ(found, "unchanged");
    EXPECT_EQ(FindFileInDirectory((tree.path() + "/missing").c_str(), "target.txt", found), 0);
}

TEST(Folders, LocalDriveSearchStartsAtTheMountPoint) {
    if (std::string(ZEVMountPointOf("/dev/shm")) != "/dev/shm")
        GTEST_SKIP() << "/dev/shm is not a file system of its own here";
    char pattern[] = "/dev/shm/zevdrive-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    const std::string root = pattern;
    fs::create_directories(root + "/x/y");
    writeFile(root + "/x/y/zev-drive-probe.dat", "");
    const fs::path before = fs::current_path();
    fs::current_path(root + "/x");
    CString found;
    int result = FindFileOnLocalDrive("zev-drive-probe.dat", found);
    fs::current_path(before);
    fs::remove_all(root);
    EXPECT_EQ(result, 1);
    EXPECT_EQ(found.str(), root + "/x/y/zev-drive-probe.dat");
}

}  // namespace
