#pragma once

// The one reader of a subcommand's arguments, so that every command takes its options, numbers
// and errors the same way.
//
//   ArgReader reader(args);
//   reader.flag("-q|--quiet", quiet).number("--size", size, Bound::Positive);
//   std::vector<std::string> files = reader.parse(1);
//
// Options take their value as the next word or after '=' ("--size 2", "--size=2"). A word
// that starts with '-' and then a digit or a point is a value, not an option, so negative
// numbers pass as positional arguments; "-" alone is positional too (standard input or output),
// and "--" ends the options. Numbers are read independently of the process locale.

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace zevtool {

/// Bad usage or bad input: main prints "zevcore CMD: <what> (try 'zevcore CMD --help')" and
/// the command exits with 2.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The range a number option must fall in.
enum class Bound { Any, Positive, NonNegative };

/// The whole of `text` as a finite number, read as in the C locale; nullopt when it is not one
/// (empty, trailing characters, out of range, inf or nan).
std::optional<double> parseNumber(std::string_view text);

/// The whole of `text` as a decimal integer; nullopt when it is not one or does not fit.
std::optional<long long> parseWhole(std::string_view text);

class ArgReader {
public:
    explicit ArgReader(std::vector<std::string> args);

    /// `names` lists an option's spellings, separated by '|': "-q|--quiet".
    ArgReader& flag(const char* names, bool& out);
    ArgReader& text(const char* names, std::string& out);
    ArgReader& text(const char* names, std::optional<std::string>& out);
    /// An option that may be given more than once; each value is appended.
    ArgReader& texts(const char* names, std::vector<std::string>& out);
    ArgReader& number(const char* names, double& out, Bound bound = Bound::Any);
    ArgReader& number(const char* names, std::optional<double>& out, Bound bound = Bound::Any);
    /// A whole number from `min` to `max`.
    ArgReader& whole(const char* names, int& out, int min, int max);
    ArgReader& whole(const char* names, std::optional<int>& out, int min, int max);

    /// Reads every argument into the options declared above and answers the positional ones,
    /// in order. Throws UsageError on an unknown option, a missing or malformed value, or more
    /// than `maxPositional` positional arguments.
    std::vector<std::string> parse(size_t maxPositional = static_cast<size_t>(-1));

private:
    struct Option {
        std::vector<std::string> names;
        bool takesValue;
        // Called with the spelling used and, for an option with a value, the value.
        std::function<void(const std::string& name, const std::string& value)> take;
    };
    ArgReader& declare(const char* names, bool takesValue,
                       std::function<void(const std::string&, const std::string&)> take);

    std::vector<std::string> m_args;
    std::vector<Option> m_options;
};

}  // namespace zevtool
