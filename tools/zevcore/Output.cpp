#include "tools/zevcore/Output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
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

    std::string temp = target + ".XXXXXX";
    int fd = mkstemp(temp.data());
    if (fd < 0) fail(path, std::strerror(errno));
    try {
        writeAll(fd, bytes, path);
        if (fchmod(fd, mode) != 0 || fsync(fd) != 0) fail(path, std::strerror(errno));
        if (close(fd) != 0) {
            fd = -1;
            fail(path, std::strerror(errno));
        }
        fd = -1;
        if (std::rename(temp.c_str(), target.c_str()) != 0) fail(path, std::strerror(errno));
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
