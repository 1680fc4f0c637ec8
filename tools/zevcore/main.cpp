#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "Command.h"
#include "zevcore/Version.h"
#include "zevcore/platform/Host.h"

namespace zevtool {
namespace {

std::vector<Command>& registry() {
    static std::vector<Command> all;
    return all;
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

int usageError(const std::string& message, const char* command) {
    std::cerr << "zevcore: " << message << " (try 'zevcore " << (command ? command : "")
              << (command ? " " : "") << "--help')\n";
    return kUsage;
}

bool wantsHelp(const std::vector<std::string>& args) {
    return std::any_of(args.begin(), args.end(),
                       [](const std::string& a) { return a == "-h" || a == "--help"; });
}

}  // namespace zevtool

int main(int argc, char** argv) {
    using namespace zevtool;
    if (argc < 2) {
        usageError("no command given");
        return kUsage;
    }
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
        if (first == command.name) {
            std::vector<std::string> args(argv + 2, argv + argc);
            try {
                return command.run(args);
            } catch (const std::exception& e) {
                std::cerr << "zevcore " << command.name << ": " << e.what() << "\n";
                return kFailure;
            }
        }
    }
    return usageError("unknown command '" + first + "'");
}
