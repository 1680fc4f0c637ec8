// The main of every test program: before any test runs, the process gets a home, XDG folders
// and a settings store of its own in a fresh temporary folder, so that no test reads or
// writes the settings or files of the person running it.

#include <gtest/gtest.h>

#include <filesystem>

#include "support/TestEnv.h"

int main(int argc, char** argv) {
    const std::filesystem::path home = zevtest::isolateFromUser();
    ::testing::InitGoogleTest(&argc, argv);
    int result = RUN_ALL_TESTS();
    std::error_code ignored;
    if (!home.empty()) std::filesystem::remove_all(home, ignored);
    return result;
}
