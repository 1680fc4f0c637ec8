// The main of every test program: before any test runs, the process gets a home, XDG folders
// and a settings store of its own in a fresh temporary folder, so that no test reads or
// writes the settings or files of the person running it.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;

fs::path isolateFromUser() {
    std::string pattern = (fs::temp_directory_path() / "zevhome-XXXXXX").string();
    if (!mkdtemp(pattern.data())) return {};
    const fs::path home(pattern);
    for (const char* sub : {".config", ".local/share", ".cache", "Documents", "runtime"})
        fs::create_directories(home / sub);
    fs::permissions(home / "runtime", fs::perms::owner_all, fs::perm_options::replace);
    setenv("HOME", home.c_str(), 1);
    setenv("XDG_CONFIG_HOME", (home / ".config").c_str(), 1);
    setenv("XDG_DATA_HOME", (home / ".local/share").c_str(), 1);
    setenv("XDG_CACHE_HOME", (home / ".cache").c_str(), 1);
    setenv("XDG_RUNTIME_DIR", (home / "runtime").c_str(), 1);
    setenv("ZEV_REGISTRY", (home / ".config/registry.db").c_str(), 1);
    setenv("ZEV_COMMON_DATA", (home / "common").c_str(), 1);
    setenv("ZEV_TEST_HOME", home.c_str(), 1);
    return home;
}

}  // namespace

int main(int argc, char** argv) {
    const fs::path home = isolateFromUser();
    ::testing::InitGoogleTest(&argc, argv);
    int result = RUN_ALL_TESTS();
    std::error_code ignored;
    if (!home.empty()) fs::remove_all(home, ignored);
    return result;
}
