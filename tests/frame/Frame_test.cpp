#include "zevcore/frame/Frame.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "support/TestEnv.h"
#include "zevcore/platform/services/Module.h"

namespace {

using zevtest::ScopedEnv;
using zevtest::TempDir;
using zevtest::writeFile;

TEST(StartUp, ResourcesBecomeTheLibrarysModule) {
    HINSTANCE module = GetCoreDLLResourceHandle();
    ASSERT_NE(module, nullptr);
    EXPECT_NE(std::string(ZEVModulePath(module)).find("libzevcore"), std::string::npos);
    EXPECT_TRUE(SetCoreResources());
    EXPECT_EQ(ZEVGetResourceHandle(), module);
}

TEST(StartUp, InitJoinsTheModuleChainOnce) {
    InitCoreDLL();
    int length = ZEVModuleChainLength();
    InitCoreDLL();
    EXPECT_EQ(ZEVModuleChainLength(), length);
    EXPECT_TRUE(ZEVIsInModuleChain(GetCoreDLLResourceHandle()));
}

// Asks FirstInstance in another process, a fresh one that holds no claims of ours.
bool firstInstanceInChild(const char* name) {
    pid_t pid = fork();
    if (pid == 0) {
        execl(ZEV_FIRST_INSTANCE_PROBE, ZEV_FIRST_INSTANCE_PROBE, name, nullptr);
        _exit(127);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) <= 1);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST(FirstInstance, TheFirstClaimsAndOthersSeeIt) {
    EXPECT_TRUE(firstInstanceInChild("ZEV.Claim.Test"));  // the child's claim ended with it
    EXPECT_TRUE(FirstInstance("ZEV.Claim.Test"));
    EXPECT_TRUE(FirstInstance("ZEV.Claim.Test"));  // asking again for our own claim
    EXPECT_FALSE(firstInstanceInChild("ZEV.Claim.Test"));
    EXPECT_TRUE(firstInstanceInChild("ZEV.Claim.Other"));
    EXPECT_TRUE(firstInstanceInChild("ZEV/Claim Test"));  // odd characters are a name too
    EXPECT_FALSE(FirstInstance(nullptr));
}

class ExecutableNameTest : public ::testing::Test {
protected:
    // A desktop with one association: text files open with "viewer".
    void SetUp() override {
        namespace fs = std::filesystem;
        fs::create_directories(dir.file("bin"));
        fs::create_directories(dir.file("share/applications"));
        writeFile(dir.file("bin/xdg-mime"),
                  "#!/bin/sh\n"
                  "echo \"$@\" >> " +
                      dir.file("calls") +
                      "\n"
                      "case \"$3\" in\n"
                      "  *.txt) echo text/plain ;;\n"
                      "  text/plain) echo viewer.desktop ;;\n"
                      "  *) echo application/octet-stream ;;\n"
                      "esac\n");
        writeFile(dir.file("bin/viewer"), "#!/bin/sh\n");
        chmod(dir.file("bin/xdg-mime").c_str(), 0755);
        chmod(dir.file("bin/viewer").c_str(), 0755);
        writeFile(dir.file("share/applications/viewer.desktop"),
                  "[Desktop Entry]\nName=Viewer\nExec=viewer %f\n");
    }

    TempDir dir;
    TempDir tmp;
    ScopedEnv path{"PATH", dir.file("bin") + ":/usr/bin:/bin"};
    ScopedEnv data{"XDG_DATA_HOME", dir.file("share")};
    ScopedEnv dataDirs{"XDG_DATA_DIRS", dir.file("none")};
    ScopedEnv tmpdir{"TMPDIR", tmp.path()};
};

TEST_F(ExecutableNameTest, FindsTheAssociatedProgramAndCleansUp) {
    EXPECT_EQ(std::string(ExecutableName(".txt")), dir.file("bin/viewer"));
    EXPECT_TRUE(std::filesystem::is_empty(tmp.path()));
    std::string calls = zevtest::readFile(dir.file("calls"));
    EXPECT_NE(calls.find("query filetype " + tmp.path() + "/tmp"), std::string::npos);
}

TEST_F(ExecutableNameTest, NoAssociationGivesEmpty) {
    EXPECT_STREQ(ExecutableName(".unknownext"), "");
}

TEST_F(ExecutableNameTest, WithoutTheDotNothingHappens) {
    const char* before = ExecutableName(".txt");
    std::string kept = before;
    const char* after = ExecutableName("txt");
    EXPECT_EQ(after, before);
    EXPECT_EQ(std::string(after), kept);
    EXPECT_EQ(ExecutableName(nullptr), before);
    EXPECT_EQ(zevtest::readFile(dir.file("calls")).find("query filetype ", 1000),
              std::string::npos);
}

}  // namespace
