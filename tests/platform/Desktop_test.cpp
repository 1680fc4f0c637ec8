#include "zevcore/platform/services/Desktop.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/TestEnv.h"

namespace {

TEST(Desktop, TempFilesAreNewAndNamedAsAsked) {
    zevtest::TempDir tmp;
    zevtest::ScopedEnv env("TMPDIR", tmp.path() + "//");
    EXPECT_EQ(std::string(ZEVTempFolder()), tmp.path());
    CString a = ZEVMakeTempFile("Msh", ".txt");
    CString b = ZEVMakeTempFile("Msh", ".txt");
    EXPECT_NE(std::string(a), std::string(b));
    std::string name = std::filesystem::path(a.GetString()).filename();
    EXPECT_EQ(name.substr(0, 3), "Msh");
    EXPECT_EQ(name.size(), 3u + 6 + 4);
    EXPECT_TRUE(std::filesystem::exists(a.GetString()));
}

TEST(Desktop, TempFileInAMissingFolderFails) {
    zevtest::ScopedEnv env("TMPDIR", "/nonexistent/zev");
    EXPECT_TRUE(ZEVMakeTempFile("tmp", ".x").IsEmpty());
}

TEST(Desktop, RunProgramCollectsOutputAndStatus) {
    CString out;
    EXPECT_TRUE(ZEVRunProgram({"sh", "-c", "printf 'a b'"}, out));
    EXPECT_EQ(out, "a b");
    EXPECT_FALSE(ZEVRunProgram({"sh", "-c", "echo partial; exit 3"}, out));
    EXPECT_EQ(out, "partial\n");
    EXPECT_FALSE(ZEVRunProgram({"zev-no-such-program"}, out));
    EXPECT_FALSE(ZEVRunProgram({}, out));
}

}  // namespace
