#include "tools/zevcore/Output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <stdexcept>

namespace zevtool {
namespace {

[[noreturn]] void fail(const std::string& path, const std::string& reason) {
    throw std::runtime_error("cannot write '" + path + "': " + reason);
}

// The file a path finally names, through any chain of links; the path itself when it does not
// exist yet or is no link.
std::string finalTarget(const std::string& path) {
    struct stat link {};
    if (lstat(path.c_str(), &link) != 0 || !S_ISLNK(link.st_mode)) return path;
    char resolved[PATH_MAX];
    if (realpath(path.c_str(), resolved)) return resolved;
    // A dangling link: write where it points, as the shell's redirection would.
    std::string target(PATH_MAX, '\0');
    ssize_t n = readlink(path.c_str(), target.data(), target.size() - 1);
    if (n <= 0) fail(path, std::strerror(errno));
    target.resize(static_cast<size_t>(n));
    if (target[0] != '/') {
        size_t slash = path.rfind('/');
        if (slash != std::string::npos) target = path.substr(0, slash + 1) + target;
    }
    return target;
}

void writeAll(int fd, std::string_view bytes, const std::string& path) {
    while (!bytes.empty()) {
        ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) fail(path, std::strerror(n < 0 ? errno : EIO));
        bytes.remove_prefix(static_cast<size_t>(n));
    }
}

// Closes the written file (the descriptor is gone either way) and renames it over the target.
void closeAndRename(int& fd, const std::string& from, const std::string& target,
                    const std::string& path) {
    const int closed = close(fd);
    fd = -1;
    if (closed != 0 || std::rename(from.c_str(), target.c_str()) != 0)
        fail(path, std::strerror(errno));
}

// A name beside `target` that nothing has yet: target.XXXXXX, as mkstemp makes them.
std::string freshName(const std::string& target) {
    static unsigned long long counter = 0;
    const unsigned long long seed =
        (static_cast<unsigned long long>(getpid()) << 32) ^ ++counter ^
        static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(&counter));
    static const char kLetters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    std::string name = target + ".";
    unsigned long long bits = seed * 6364136223846793005ULL + 1442695040888963407ULL;
    for (int i = 0; i < 6; ++i, bits /= 62) name += kLetters[bits % 62];
    return name;
}

// Writes the bytes into a file of no name in the target's folder, and only when they are all
// there gives it a name beside the target, which is then renamed over it: a writer killed
// before that leaves nothing behind (the kernel frees the file), and the name lives only from
// one call to the next. False, with nothing written, where the filesystem has no unnamed
// files or they cannot be named through /proc; true when written.
bool writeUnnamed(const std::string& path, const std::string& target, std::string_view bytes,
                  mode_t mode) {
    const size_t slash = target.rfind('/');
    const std::string folder = slash == std::string::npos ? "."
                               : slash == 0               ? "/"
                                                          : target.substr(0, slash);
    int fd = ::open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
    if (fd < 0) return false;
    std::string named;
    try {
        writeAll(fd, bytes, path);
        if (fchmod(fd, mode) != 0 || fsync(fd) != 0) fail(path, std::strerror(errno));
        const std::string self = "/proc/self/fd/" + std::to_string(fd);
        for (int attempt = 0; named.empty(); ++attempt) {
            std::string name = freshName(target);
            if (linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0)
                named = name;
            else if (errno != EEXIST || attempt == 100)
                break;
        }
        if (named.empty()) {
            close(fd);
            return false;
        }
        closeAndRename(fd, named, target, path);
    } catch (...) {
        if (fd >= 0) close(fd);
        if (!named.empty()) std::remove(named.c_str());
        throw;
    }
    return true;
}

}  // namespace

void writeOutput(const std::string& path, std::string_view bytes) {
    if (path == "-") {
        std::cout.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        std::cout.flush();
        if (!std::cout) fail(path, "standard output failed");
        return;
    }
    if (path.empty()) fail(path, "no file name");
    const std::string target = finalTarget(path);
    struct stat existing {};
    mode_t mode = 0666 & ~[] {
        mode_t mask = umask(0);
        umask(mask);
        return mask;
    }();
    if (stat(target.c_str(), &existing) == 0) {
        if (!S_ISREG(existing.st_mode)) fail(path, "not a regular file");
        mode = existing.st_mode & 07777;
    }

    if (writeUnnamed(path, target, bytes, mode)) return;
    std::string temp = target + ".XXXXXX";
    int fd = mkstemp(temp.data());
    if (fd < 0) fail(path, std::strerror(errno));
    try {
        writeAll(fd, bytes, path);
        if (fchmod(fd, mode) != 0 || fsync(fd) != 0) fail(path, std::strerror(errno));
        closeAndRename(fd, temp, target, path);
    } catch (...) {
        if (fd >= 0) close(fd);
        std::remove(temp.c_str());
        throw;
    }
}

void PendingOutputs::add(std::string path, std::string bytes) {
    m_outputs.emplace_back(std::move(path), std::move(bytes));
}

void PendingOutputs::commit() const {
    for (const auto& [path, bytes] : m_outputs) writeOutput(path, bytes);
}

}  // namespace zevtool
