#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "tools/zevcore/Args.h"
#include "tools/zevcore/Command.h"
#include "zevcore/Version.h"
#include "zevcore/platform/services/Host.h"

namespace zevtool {
namespace {

std::vector<Command>& registry() {
    static std::vector<Command> all;
    return all;
}

int usageError(const std::string& message, const char* command = nullptr) {
    std::string name = command ? std::string("zevcore ") + command : "zevcore";
    std::cerr << name << ": " << message << " (try '" << name << " --help')\n";
    return kUsage;
}

// Help is asked for by -h or --help among the options, that is before any "--".
bool wantsHelp(const std::vector<std::string>& args) {
    for (const std::string& a : args) {
        if (a == "--") return false;
        if (a == "-h" || a == "--help") return true;
    }
    return false;
}

int runCommand(const Command& command, const std::vector<std::string>& args) {
    if (wantsHelp(args)) {
        std::cout << command.help;
        return kSuccess;
    }
    try {
        return command.run(args);
    } catch (const UsageError& e) {
        return usageError(e.what(), command.name);
    } catch (const std::exception& e) {
        std::cerr << "zevcore " << command.name << ": " << e.what() << "\n";
        return kFailure;
    }
}

void printHelp() {
    std::cout << "Usage: zevcore [--version] [--help] <command> [<args>]\n"
                 "\n"
                 "The ZEVCore command-line tool.\n"
                 "\n"
                 "Commands:\n";
    for (const Command& command : commands())
        std::printf("  %-10s %s\n", command.name, command.summary);
    std::cout << "\n"
                 "Options:\n"
                 "  -h, --help     show this help and exit\n"
                 "  -V, --version  show the version and exit\n"
                 "\n"
                 "Run 'zevcore <command> --help' for a command's own options.\n"
                 "Exit status: 0 on success, 1 when the work failed, 2 on bad usage.\n";
}

}  // namespace

const std::vector<Command>& commands() {
    return registry();
}

bool registerCommand(Command command) {
    auto& all = registry();
    auto at = std::lower_bound(
        all.begin(), all.end(), command,
        [](const Command& a, const Command& b) { return std::strcmp(a.name, b.name) < 0; });
    all.insert(at, std::move(command));
    return true;
}

}  // namespace zevtool

int main(int argc, char** argv) {
    using namespace zevtool;
    if (argc < 2) return usageError("no command given");
    std::string first = argv[1];
    if (first == "-h" || first == "--help") {
        printHelp();
        return kSuccess;
    }
    if (first == "-V" || first == "--version") {
        std::cout << "zevcore " << ZEVCoreVersion() << "\n";
        return kSuccess;
    }
    if (!first.empty() && first[0] == '-') return usageError("unknown option '" + first + "'");

    // The console stands for the main window, so that progress reports of long work have an
    // owner and draw their bar on a terminal.
    static CZEVHeadlessWindows console;
    console.SetMainWindow(reinterpret_cast<HWND>(&console));
    ZEVInstallWindows(&console);

    for (const Command& command : commands()) {
        if (first == command.name)
            return runCommand(command, std::vector<std::string>(argv + 2, argv + argc));
    }
    return usageError("unknown command '" + first + "'");
}
