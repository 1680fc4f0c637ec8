#include "zevcore/platform/services/Desktop.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

extern char** environ;

namespace {

CString envOr(const char* name, const char* fallback) {
    const char* value = std::getenv(name);
    return CString(value && *value ? value : fallback);
}

// Lock file names carry the claimed name; anything but letters, digits, '-' and '_' is
// written as %XX so that every name maps to one plain file name.
std::string encodeName(const char* name) {
    static const char* hex = "0123456789ABCDEF";
    std::string out;
    for (const char* p = name; *p; ++p) {
        unsigned char ch = static_cast<unsigned char>(*p);
        if (std::isalnum(ch) || ch == '-' || ch == '_') {
            out += static_cast<char>(ch);
        } else {
            out += '%';
            out += hex[ch >> 4];
            out += hex[ch & 15];
        }
    }
    return out;
}

std::string trimmed(const std::string& s) {
    size_t first = s.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return "";
    size_t last = s.find_last_not_of(" \t\r\n");
    return s.substr(first, last - first + 1);
}

std::vector<std::string> dataDirs() {
    std::vector<std::string> dirs;
    const char* home = std::getenv("HOME");
    const char* dataHome = std::getenv("XDG_DATA_HOME");
    if (dataHome && *dataHome)
        dirs.emplace_back(dataHome);
    else if (home && *home)
        dirs.push_back(std::string(home) + "/.local/share");
    std::stringstream list(envOr("XDG_DATA_DIRS", "/usr/local/share:/usr/share").GetString());
    for (std::string dir; std::getline(list, dir, ':');)
        if (!dir.empty()) dirs.push_back(dir);
    return dirs;
}

// The MIME type of the longest glob "*.ext" in the freedesktop glob lists that matches.
std::string mimeTypeByExtension(const std::string& fileName) {
    std::string lower;
    for (char ch : fileName)
        lower += static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    std::string best;
    size_t bestLength = 0;
    for (const std::string& dir : dataDirs()) {
        std::ifstream globs(dir + "/mime/globs2");
        for (std::string line; std::getline(globs, line);) {
            // weight:type:glob
            size_t a = line.find(':');
            size_t b = a == std::string::npos ? a : line.find(':', a + 1);
            if (line.empty() || line[0] == '#' || b == std::string::npos) continue;
            std::string glob = line.substr(b + 1);
            glob = glob.substr(0, glob.find(':'));
            if (glob.size() < 2 || glob[0] != '*' ||
                glob.find_first_of("*?[", 1) != std::string::npos)
                continue;
            std::string tail = glob.substr(1);
            if (lower.size() >= tail.size() && tail.size() > bestLength &&
                lower.compare(lower.size() - tail.size(), tail.size(), tail) == 0) {
                best = line.substr(a + 1, b - a - 1);
                bestLength = tail.size();
            }
        }
    }
    return best;
}

// The program of a desktop entry's Exec line: its first word, unquoted.
std::string execProgram(const std::string& desktopId) {
    for (const std::string& dir : dataDirs()) {
        std::ifstream entry(dir + "/applications/" + desktopId);
        if (!entry) continue;
        bool inMainGroup = false;
        for (std::string line; std::getline(entry, line);) {
            line = trimmed(line);
            if (!line.empty() && line[0] == '[') {
                inMainGroup = line == "[Desktop Entry]";
            } else if (inMainGroup && line.rfind("Exec", 0) == 0) {
                std::string value = trimmed(line.substr(line.find('=') + 1));
                if (line.find('=') == std::string::npos || value.empty()) return "";
                if (value[0] == '"') {
                    size_t close = value.find('"', 1);
                    return value.substr(1, close == std::string::npos ? close : close - 1);
                }
                return value.substr(0, value.find_first_of(" \t"));
            }
        }
        return "";
    }
    return "";
}

std::string resolveOnPath(const std::string& program) {
    if (program.empty()) return "";
    if (program.find('/') != std::string::npos)
        return access(program.c_str(), X_OK) == 0 ? program : "";
    std::stringstream path(envOr("PATH", "/usr/local/bin:/usr/bin:/bin").GetString());
    for (std::string dir; std::getline(path, dir, ':');) {
        if (dir.empty()) continue;
        std::string candidate = dir + "/" + program;
        struct stat info {};
        if (stat(candidate.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
            access(candidate.c_str(), X_OK) == 0)
            return candidate;
    }
    return "";
}

}  // namespace

CString ZEVTempFolder() {
    std::string dir = envOr("TMPDIR", "/tmp").GetString();
    while (dir.size() > 1 && dir.back() == '/') dir.pop_back();
    return CString(dir);
}

CString ZEVMakeTempFile(const char* prefix, const char* suffix) {
    std::string suffixText = suffix ? suffix : "";
    std::string pattern = std::string(ZEVTempFolder().GetString()) + "/" + (prefix ? prefix : "") +
                          "XXXXXX" + suffixText;
    int fd = mkstemps(pattern.data(), static_cast<int>(suffixText.size()));
    if (fd < 0) return CString();
    close(fd);
    return CString(pattern);
}

bool ZEVClaimSingleInstance(const char* name) {
    static std::map<std::string, int> held;  // name -> descriptor kept open for the claim
    if (!name) return false;
    std::string key = encodeName(name);
    if (held.count(key)) return true;

    std::string dir = envOr("XDG_RUNTIME_DIR", "").GetString();
    if (dir.empty()) dir = ZEVTempFolder().GetString();
    std::string path = dir + "/zev-instance-" + std::to_string(getuid()) + "-" + key + ".lock";
    int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) return true;  // nowhere to record a claim: nobody else can have one either
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        close(fd);
        return false;
    }
    held[key] = fd;
    return true;
}

bool ZEVRunProgram(const std::vector<CString>& argv, CString& output) {
    output.Empty();
    if (argv.empty()) return false;
    int pipeFds[2];
    if (pipe2(pipeFds, O_CLOEXEC) != 0) return false;

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);

    std::vector<char*> args;
    for (const CString& arg : argv) args.push_back(const_cast<char*>(arg.GetString()));
    args.push_back(nullptr);

    pid_t pid = 0;
    int spawned = posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeFds[1]);
    if (spawned != 0) {
        close(pipeFds[0]);
        return false;
    }

    std::string text;
    char buffer[4096];
    for (;;) {
        ssize_t n = read(pipeFds[0], buffer, sizeof buffer);
        if (n > 0) {
            text.append(buffer, static_cast<size_t>(n));
        } else if (n == 0 || errno != EINTR) {
            break;
        }
    }
    close(pipeFds[0]);

    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    output = CString(text);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

CString ZEVDefaultApplicationFor(const char* path) {
    if (!path || !*path) return CString();
    CString answer;
    std::string mime;
    if (ZEVRunProgram({"xdg-mime", "query", "filetype", path}, answer))
        mime = trimmed(answer.GetString());
    if (mime.empty() || mime == "application/octet-stream") {
        std::string name = path;
        mime = mimeTypeByExtension(name.substr(name.find_last_of('/') + 1));
    }
    if (mime.empty()) return CString();

    if (!ZEVRunProgram({"xdg-mime", "query", "default", mime.c_str()}, answer)) return CString();
    std::string desktopId = trimmed(answer.GetString());
    desktopId = desktopId.substr(0, desktopId.find_first_of(";\n"));
    if (desktopId.empty() || desktopId.find('/') != std::string::npos) return CString();
    return CString(resolveOnPath(execProgram(desktopId)));
}
