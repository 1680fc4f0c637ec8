// The option reader shared by every subcommand of the zevcore tool.

#include <gtest/gtest.h>

#include <clocale>

#include "support/ExpectMessage.h"
#include "tools/zevcore/Args.h"

using namespace zevtool;

namespace {

struct Options {
    bool quiet = false;
    std::string out;
    std::optional<double> size;
    double offset = 0.0;
    int limit = 1;
    std::vector<std::string> vars;
};

std::vector<std::string> read(Options& o, std::vector<std::string> args) {
    return ArgReader(std::move(args))
        .flag("-q|--quiet", o.quiet)
        .text("--out", o.out)
        .number("--size", o.size, Bound::Positive)
        .number("--offset", o.offset)
        .whole("--limit", o.limit, 1, 9999)
        .texts("--var", o.vars)
        .parse(2);
}

TEST(ArgReader, ReadsOptionsInEveryForm) {
    Options o;
    auto positional = read(o, {"a.txt", "-q", "--out=x.svg", "--size", "2.5", "--offset", "-1e-3",
                               "--limit=+12", "--var", "x=1", "--var", "y=-2", "-4"});
    EXPECT_EQ(positional, (std::vector<std::string>{"a.txt", "-4"}));
    EXPECT_TRUE(o.quiet);
    EXPECT_EQ(o.out, "x.svg");
    EXPECT_EQ(o.size, 2.5);
    EXPECT_EQ(o.offset, -1e-3);
    EXPECT_EQ(o.limit, 12);
    EXPECT_EQ(o.vars, (std::vector<std::string>{"x=1", "y=-2"}));

    Options p;
    EXPECT_EQ(read(p, {"--", "--quiet", "-"}), (std::vector<std::string>{"--quiet", "-"}));
    EXPECT_FALSE(p.quiet);
}

TEST(ArgReader, RefusesBadUsageWithOneShapeOfMessage) {
    const struct {
        std::vector<std::string> args;
        const char* message;
    } cases[] = {
        {{"--frob"}, "unknown option '--frob'"},
        {{"-x"}, "unknown option '-x'"},
        {{"--size"}, "option '--size' needs a value"},
        {{"--quiet=1"}, "option '--quiet' takes no value"},
        {{"--size", "0"}, "--size must be a number above 0"},
        {{"--size", "1,5"}, "--size must be a number above 0"},
        {{"--offset", "nan"}, "--offset must be a number"},
        {{"--offset", "1e999"}, "--offset must be a number"},
        {{"--offset", ""}, "--offset must be a number"},
        {{"--limit", "0"}, "--limit must be a whole number from 1 to 9999"},
        {{"--limit", "2.5"}, "--limit must be a whole number from 1 to 9999"},
        {{"--limit", "99999999999999999999"}, "--limit must be a whole number from 1 to 9999"},
        {{"a", "b", "c"}, "unexpected argument 'c'"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        Options o;
        EXPECT_THROW_MSG(read(o, c.args), UsageError, c.message);
    }
}

TEST(ArgReader, NumbersIgnoreTheProcessLocale) {
    // Whatever locale the host sets, a point is the decimal separator and a comma is not.
    const char* locales[] = {"de_DE.UTF-8", "fr_FR.UTF-8", "de_DE", "C"};
    std::string before = std::setlocale(LC_ALL, nullptr);
    for (const char* name : locales)
        if (std::setlocale(LC_ALL, name)) break;
    EXPECT_EQ(parseNumber("12.5"), 12.5);
    EXPECT_EQ(parseNumber("12,5"), std::nullopt);
    std::setlocale(LC_ALL, before.c_str());
}

}  // namespace
