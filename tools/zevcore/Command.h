#pragma once

// The subcommands of the zevcore tool. Each lives in a file of its own and registers itself
// with a static ZEV_COMMAND(...) so that main knows nothing of them.

#include <functional>
#include <string>
#include <vector>

namespace zevtool {

/// Exit codes shared by every subcommand.
enum ExitCode { kSuccess = 0, kFailure = 1, kUsage = 2 };

struct Command {
    const char* name;
    const char* summary;  // one line for the tool's --help
    const char* help;     // the whole text of 'zevcore <name> --help'
    /// Runs with the arguments after the subcommand's name; answers the exit code. Throws
    /// UsageError (Args.h) for bad usage or bad input, anything else for failed work; main
    /// prints either in one shape.
    std::function<int(const std::vector<std::string>& args)> run;
};

/// The registered commands, sorted by name.
const std::vector<Command>& commands();
bool registerCommand(Command command);

}  // namespace zevtool

#define ZEV_COMMAND_CAT2(a, b) a##b
#define ZEV_COMMAND_CAT(a, b) ZEV_COMMAND_CAT2(a, b)
#define ZEV_COMMAND(...)                                                 \
    static const bool ZEV_COMMAND_CAT(zevCommandRegistered_, __LINE__) = \
        ::zevtool::registerCommand(::zevtool::Command{__VA_ARGS__})
