// The one way the zevcore tool writes a file.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/ExpectMessage.h"
#include "support/TestEnv.h"
#include "tools/zevcore/Output.h"

using namespace zevtool;
namespace fs = std::filesystem;

namespace {

TEST(Output, ReplacesARegularFileWholeAndKeepsItsMode) {
    zevtest::TempDir dir;
    std::string path = dir.file("out.txt");
    zevtest::writeFile(path, "old contents that are longer");
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    writeOutput(path, "new");
    EXPECT_EQ(zevtest::readFile(path), "new");
    struct stat st {};
    ASSERT_EQ(stat(path.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0640u);
    EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 1);
}

TEST(Output, WritesThroughLinksAndRefusesWhatIsNoPlainFile) {
    zevtest::TempDir dir;
    zevtest::writeFile(dir.file("target.txt"), "old");
    fs::create_symlink("target.txt", dir.file("link"));
    writeOutput(dir.file("link"), "through");
    EXPECT_TRUE(fs::is_symlink(dir.file("link")));
    EXPECT_EQ(zevtest::readFile(dir.file("target.txt")), "through");

    fs::create_symlink("made.txt", dir.file("dangling"));
    writeOutput(dir.file("dangling"), "made");
    EXPECT_EQ(zevtest::readFile(dir.file("made.txt")), "made");

    ASSERT_EQ(mkfifo(dir.file("fifo").c_str(), 0600), 0);
    EXPECT_THROW_MSG(writeOutput(dir.file("fifo"), "x"), std::runtime_error,
                     "cannot write '" + dir.file("fifo") + "': not a regular file");
    EXPECT_THROW_MSG(writeOutput("/dev/null", "x"), std::runtime_error,
                     "cannot write '/dev/null': not a regular file");
    fs::create_directory(dir.file("sub"));
    EXPECT_THROW_MSG(writeOutput(dir.file("sub"), "x"), std::runtime_error,
                     "cannot write '" + dir.file("sub") + "': not a regular file");
    EXPECT_THROW_MSG(writeOutput(dir.file("missing/x"), "x"), std::runtime_error,
                     "cannot write '" + dir.file("missing/x") + "': No such file or directory");
}

TEST(Output, PendingOutputsWriteOnlyOnCommit) {
    zevtest::TempDir dir;
    PendingOutputs outputs;
    outputs.add(dir.file("a"), "A");
    outputs.add("-", "to standard output\n");
    EXPECT_FALSE(fs::exists(dir.file("a")));
    testing::internal::CaptureStdout();
    outputs.commit();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "to standard output\n");
    EXPECT_EQ(zevtest::readFile(dir.file("a")), "A");
}

}  // namespace
