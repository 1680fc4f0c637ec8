#pragma once

#include <filesystem>
#include <string>

namespace zevtest {

/// Gives the process a home, XDG folders and a settings store of its own in a fresh
/// temporary folder (ZEV_TEST_HOME names it), so that no test reads or writes the settings
/// or files of the person running it. Answers the folder; empty when none could be made.
std::filesystem::path isolateFromUser();

/// A fresh folder under the build tree's temporary area, removed when the object goes.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return m_path; }
    std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

/// Sets an environment variable for the life of the object, then puts back what was there.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const std::string& value);
    ~ScopedEnv();
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    std::string m_name;
    bool m_had = false;
    std::string m_old;
};

/// Writes a whole file; throws on failure.
void writeFile(const std::string& path, const std::string& contents);
/// Reads a whole file; throws on failure.
std::string readFile(const std::string& path);

}  // namespace zevtest

namespace zevtest {

/// For its lifetime the process runs in a decimal-comma locale (de_DE.UTF-8, generated under
/// the build tree with localedef when the system has none), as a host application that calls
/// setlocale(LC_ALL, "") would. `active()` is false where no such locale can be had; tests
/// then skip.
class ScopedDecimalCommaLocale {
public:
    ScopedDecimalCommaLocale();
    ~ScopedDecimalCommaLocale();
    ScopedDecimalCommaLocale(const ScopedDecimalCommaLocale&) = delete;
    ScopedDecimalCommaLocale& operator=(const ScopedDecimalCommaLocale&) = delete;
    bool active() const { return m_active; }

private:
    bool m_active = false;
};

}  // namespace zevtest
