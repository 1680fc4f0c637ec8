#include "zevcore/mesh/TriangleProcess.hpp"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace zevtriangle {
namespace {

Limits gLimits;

// The address-space limit cannot work under AddressSanitizer, which reserves terabytes of
// address space for its shadow; the time limit still holds there.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kLimitAddressSpace = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kLimitAddressSpace = false;
#else
constexpr bool kLimitAddressSpace = true;
#endif
#else
constexpr bool kLimitAddressSpace = true;
#endif

bool writeAll(int fd, const void* data, size_t size) {
    const char* at = static_cast<const char*>(data);
    while (size > 0) {
        ssize_t n = ::write(fd, at, size);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        at += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

template <typename T>
bool writeArray(int fd, const std::vector<T>& values) {
    const std::uint64_t count = values.size();
    return writeAll(fd, &count, sizeof count) &&
           writeAll(fd, values.data(), values.size() * sizeof(T));
}

// Reads what the child wrote, in the order writeArray wrote it.
class Reader {
public:
    explicit Reader(const std::string& bytes) : m_bytes(bytes) {}
    template <typename T>
    bool array(std::vector<T>& values) {
        std::uint64_t count = 0;
        if (!take(&count, sizeof count) || count > (m_bytes.size() - m_at) / sizeof(T))
            return false;
        values.resize(count);
        return take(values.data(), count * sizeof(T));
    }
    bool take(void* to, size_t size) {
        if (size > m_bytes.size() - m_at) return false;
        if (size == 0) return true;
        std::memcpy(to, m_bytes.data() + m_at, size);
        m_at += size;
        return true;
    }
    bool atEnd() const { return m_at == m_bytes.size(); }

private:
    const std::string& m_bytes;
    size_t m_at = 0;
};

// The child's exit() (Triangle ends with it on its own errors) flushes what Triangle said and
// ends there: the exit handlers the host registered (a fuzzer's, which would record the exit as
// a crash; a leak checker's) are not for this process.
void endChildNow(int status, void*) {
    std::fflush(stdout);
    _exit(status);
}

[[noreturn]] void runChild(const std::function<void(Output&)>& work, int fd, int words,
                           const Limits& limits) {
    // A crash ends the child by its signal: the host's own crash handlers (a sanitizer's, an
    // application's reporter) are not for this process.
    for (int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) std::signal(signal, SIG_DFL);
    on_exit(endChildNow, nullptr);
    // Triangle talks on standard output, which is the host's: what it says goes to the host as
    // words of the failure instead.
    if (words >= 0) ::dup2(words, STDOUT_FILENO);
    rlimit cpu{static_cast<rlim_t>(limits.cpuSeconds), static_cast<rlim_t>(limits.cpuSeconds + 1)};
    setrlimit(RLIMIT_CPU, &cpu);
    if (kLimitAddressSpace) {
        rlimit memory{static_cast<rlim_t>(limits.memoryBytes),
                      static_cast<rlim_t>(limits.memoryBytes)};
        setrlimit(RLIMIT_AS, &memory);
    }
    Output output;
    work(output);
    std::fflush(stdout);
    const std::int32_t corners = output.corners;
    bool sent = writeAll(fd, &corners, sizeof corners) && writeArray(fd, output.points) &&
                writeArray(fd, output.pointMarkers) && writeArray(fd, output.triangles);
    _exit(sent ? 0 : 3);
}

std::string describe(int status, const Limits& limits) {
    if (WIFSIGNALED(status)) {
        const int signal = WTERMSIG(status);
        if (signal == SIGXCPU || signal == SIGKILL)
            return "The triangulation ran past its limit of " + std::to_string(limits.cpuSeconds) +
                   " seconds.";
        return "The triangulation stopped on signal " + std::to_string(signal) + " (" +
               strsignal(signal) + ").";
    }
    return "The triangulation failed (exit status " + std::to_string(WEXITSTATUS(status)) + ").";
}

}  // namespace

void setLimits(int cpuSeconds, std::int64_t memoryBytes) {
    gLimits.cpuSeconds = cpuSeconds > 0 ? cpuSeconds : Limits().cpuSeconds;
    gLimits.memoryBytes =
        memoryBytes >= (std::int64_t{64} << 20) ? memoryBytes : Limits().memoryBytes;
}

Limits limits() {
    return gLimits;
}

std::string collapsedWords(int fd) {
    std::string text;
    if (fd < 0 || ::lseek(fd, 0, SEEK_SET) != 0) return text;
    char buffer[4096];
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    bool blank = true;
    for (ssize_t i = 0; i < n; ++i) {
        const bool space = std::isspace(static_cast<unsigned char>(buffer[i])) != 0;
        if (space && !blank) text += ' ';
        if (!space) text += buffer[i];
        blank = space;
    }
    while (!text.empty() && text.back() == ' ') text.pop_back();
    return text;
}

bool runIsolated(const std::function<void(Output&)>& work, Output& output, std::string& failure,
                 int cpuSeconds) {
    Limits limits = gLimits;
    if (cpuSeconds > 0) limits.cpuSeconds = std::min(limits.cpuSeconds, cpuSeconds);
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) {
        failure = std::string("The triangulation could not start: ") + std::strerror(errno);
        return false;
    }
    int words = memfd_create("triangle-words", MFD_CLOEXEC);
    if (words < 0) words = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    std::fflush(stdout);
    const pid_t pid = fork();
    if (pid < 0) {
        ::close(fds[0]);
        ::close(fds[1]);
        if (words >= 0) ::close(words);
        failure = std::string("The triangulation could not start: ") + std::strerror(errno);
        return false;
    }
    if (pid == 0) {
        ::close(fds[0]);
        runChild(work, fds[1], words, limits);
    }
    ::close(fds[1]);
    std::string bytes;
    char buffer[1 << 16];
    for (;;) {
        ssize_t n = ::read(fds[0], buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        bytes.append(buffer, static_cast<size_t>(n));
    }
    ::close(fds[0]);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    const std::string said = collapsedWords(words);
    if (words >= 0) ::close(words);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        failure = said.empty() ? describe(status, limits) : said;
        return false;
    }
    Reader reader(bytes);
    std::int32_t corners = 0;
    if (!reader.take(&corners, sizeof corners) || !reader.array(output.points) ||
        !reader.array(output.pointMarkers) || !reader.array(output.triangles) || !reader.atEnd() ||
        corners < 3) {
        failure = "The triangulation's result was cut short.";
        return false;
    }
    output.corners = corners;
    return true;
}

}  // namespace zevtriangle
