#include "support/TestEnv.h"

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace zevtest {

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

TempDir::TempDir() {
    std::string pattern = (fs::temp_directory_path() / "zevtest-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
    m_path = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

ScopedEnv::ScopedEnv(const char* name, const std::string& value) : m_name(name) {
    if (const char* old = std::getenv(name)) {
        m_had = true;
        m_old = old;
    }
    setenv(name, value.c_str(), 1);
}

ScopedEnv::~ScopedEnv() {
    if (m_had)
        setenv(m_name.c_str(), m_old.c_str(), 1);
    else
        unsetenv(m_name.c_str());
}

void writeFile(const std::string& path, const std::string& contents) {
    std::ofstream out(path, std::ios::binary);
    out << contents;
    if (!out) throw std::runtime_error("cannot write " + path);
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

}  // namespace zevtest

namespace zevtest {
namespace {

bool decimalCommaLocaleLoads() {
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8")) return false;
    bool comma = std::localeconv()->decimal_point[0] == ',';
    std::setlocale(LC_ALL, "C");
    return comma;
}

// Makes de_DE.UTF-8 loadable, generated once under the build tree and found through
// LOCPATH. The C library remembers a locale it failed to find, so the path is set before the
// first attempt rather than after a miss.
bool provideDecimalCommaLocale() {
    static const bool provided = [] {
        const std::string root = std::string(ZEV_BINARY_DIR) + "/test-locales";
        if (!std::filesystem::exists(root + "/de_DE.UTF-8/LC_NUMERIC")) {
            std::filesystem::create_directories(root);
            const std::string command =
                "localedef -c -i de_DE -f UTF-8 '" + root + "/de_DE.UTF-8' >/dev/null 2>&1";
            if (std::system(command.c_str()) == -1) return false;
        }
        setenv("LOCPATH", root.c_str(), 1);
        return decimalCommaLocaleLoads();
    }();
    return provided;
}

}  // namespace

ScopedDecimalCommaLocale::ScopedDecimalCommaLocale() {
    m_active = provideDecimalCommaLocale() && std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
}

ScopedDecimalCommaLocale::~ScopedDecimalCommaLocale() {
    std::setlocale(LC_ALL, "C");
}

}  // namespace zevtest
