#include "zevcore/platform/services/ShellFolders.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/TestEnv.h"

namespace {

using zevtest::ScopedEnv;
using zevtest::TempDir;

TEST(ShellFolders, MapToTheFreedesktopPlaces) {
    TempDir home;
    ScopedEnv h("HOME", home.path());
    ScopedEnv config("XDG_CONFIG_HOME", "");
    ScopedEnv data("XDG_DATA_HOME", "not/absolute");
    ScopedEnv state("XDG_STATE_HOME", "/state/");
    ScopedEnv common("ZEV_COMMON_DATA", "/srv/common");
    ScopedEnv programs("ZEV_PROGRAM_FILES", "/opt/programs");
    struct {
        int csidl;
        std::string path;
    } cases[] = {
        {CSIDL_PERSONAL, home.path() + "/Documents"},  // no user-dirs.dirs
        {CSIDL_LOCAL_APPDATA, home.path() + "/.local/share"},
        {CSIDL_APPDATA, home.path() + "/.config"},
        {CSIDL_COMMON_APPDATA, "/srv/common"},
        {CSIDL_PROGRAM_FILES, "/opt/programs"},
        {CSIDL_PROGRAM_FILESX86, "/opt/programs"},
    };
    for (const auto& c : cases) {
        CString path;
        EXPECT_TRUE(ZEVGetFolderPath(c.csidl, path)) << c.csidl;
        EXPECT_EQ(path.str(), c.path) << c.csidl;
    }
    CString path("x");
    EXPECT_FALSE(ZEVGetFolderPath(0x7777, path));
    EXPECT_STREQ(path, "");

    EXPECT_FALSE(std::filesystem::exists(home.path() + "/.config"));
    EXPECT_TRUE(ZEVGetFolderPath(CSIDL_APPDATA | CSIDL_FLAG_CREATE, path));
    EXPECT_TRUE(std::filesystem::is_directory(home.path() + "/.config"));
}

TEST(ShellFolders, WithoutAHomeThereIsNoUserFolder) {
    ScopedEnv h("HOME", "");
    ScopedEnv data("XDG_DATA_HOME", "");
    CString path;
    EXPECT_FALSE(ZEVGetFolderPath(CSIDL_LOCAL_APPDATA, path));
    EXPECT_STREQ(path, "");
}

TEST(ShellFolders, CommonDataFallsBackToTheUsersStateFolder) {
    if (std::filesystem::is_directory("/var/lib/ZEV"))
        GTEST_SKIP() << "the machine-wide folder exists here";
    ScopedEnv common("ZEV_COMMON_DATA", "");
    ScopedEnv state("XDG_STATE_HOME", "/state");
    // Run as a user who may not write /var/lib, in a child so that root's tests can drop
    // their rights without dropping them for the rest of the suite.
    auto asUser = [] {
        if (geteuid() == 0 &&
            (setresgid(65534, 65534, 65534) != 0 || setresuid(65534, 65534, 65534) != 0))
            std::_Exit(3);
        CString path;
        std::_Exit(ZEVGetFolderPath(CSIDL_COMMON_APPDATA, path) && path == "/state" ? 0 : 1);
    };
    EXPECT_EXIT(asUser(), testing::ExitedWithCode(0), "");
}

TEST(ShellFolders, MountPoints) {
    EXPECT_STREQ(ZEVMountPointOf("/"), "/");
    EXPECT_STREQ(ZEVMountPointOf("/no/such/place"), "");
    std::string cwd = std::filesystem::current_path().string();
    std::string mount = ZEVMountPointOf(cwd.c_str()).str();
    ASSERT_FALSE(mount.empty());
    EXPECT_EQ(cwd.compare(0, mount.size(), mount), 0);
}

}  // namespace
