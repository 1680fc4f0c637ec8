// The one way the zevcore tool writes a file.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

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

// The whole output was written into a named temporary file beside the target, which a writer
// killed while writing left behind.
TEST(OutputRegression, AWriterKilledWhileWritingLeavesNothingBehind) {
    zevtest::TempDir dir;
    const std::string path = dir.file("out.bin");
    zevtest::writeFile(path, "old");
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // The file-size limit stops the writer halfway with SIGXFSZ, which ends it.
        rlimit limit{1 << 20, 1 << 20};
        setrlimit(RLIMIT_FSIZE, &limit);
        try {
            writeOutput(path, std::string(4 << 20, 'x'));
        } catch (...) {
        }
        _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGXFSZ);
    EXPECT_EQ(zevtest::readFile(path), "old");
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(dir.path()))
        names.push_back(entry.path().filename().string());
    EXPECT_EQ(names, std::vector<std::string>{"out.bin"});
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
