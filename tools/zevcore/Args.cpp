#include "tools/zevcore/Args.h"

#include <cctype>
#include <charconv>
#include <climits>
#include <cmath>

namespace zevtool {
namespace {

// from_chars takes no leading '+', which people type.
std::string_view withoutPlus(std::string_view text) {
    if (text.size() > 1 && text[0] == '+' && text[1] != '-' && text[1] != '+')
        text.remove_prefix(1);
    return text;
}

bool looksLikeNumber(const std::string& word) {
    return word.size() > 1 && word[0] == '-' &&
           (std::isdigit(static_cast<unsigned char>(word[1])) || word[1] == '.');
}

std::string rangeText(int min, int max) {
    if (max == INT_MAX) return min == 0 ? ", 0 or more" : " from " + std::to_string(min) + " up";
    return " from " + std::to_string(min) + " to " + std::to_string(max);
}

}  // namespace

std::optional<double> parseNumber(std::string_view text) {
    text = withoutPlus(text);
    double value = 0.0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() ||
        !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<long long> parseWhole(std::string_view text) {
    text = withoutPlus(text);
    long long value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

namespace {

double boundedNumber(const std::string& name, const std::string& text, Bound bound) {
    std::optional<double> value = parseNumber(text);
    if (bound == Bound::Positive && !(value && *value > 0.0))
        throw UsageError(name + " must be a number above 0");
    if (bound == Bound::NonNegative && !(value && *value >= 0.0))
        throw UsageError(name + " must be a number, 0 or more");
    if (!value) throw UsageError(name + " must be a number");
    return *value;
}

int boundedWhole(const std::string& name, const std::string& text, int min, int max) {
    std::optional<long long> value = parseWhole(text);
    if (!value || *value < min || *value > max)
        throw UsageError(name + " must be a whole number" + rangeText(min, max));
    return static_cast<int>(*value);
}

}  // namespace

ArgReader::ArgReader(std::vector<std::string> args) : m_args(std::move(args)) {}

ArgReader& ArgReader::declare(const char* names, bool takesValue,
                              std::function<void(const std::string&, const std::string&)> take) {
    Option option{{}, takesValue, std::move(take)};
    std::string_view rest(names);
    while (!rest.empty()) {
        size_t bar = rest.find('|');
        option.names.emplace_back(rest.substr(0, bar));
        rest = bar == std::string_view::npos ? std::string_view() : rest.substr(bar + 1);
    }
    m_options.push_back(std::move(option));
    return *this;
}

ArgReader& ArgReader::flag(const char* names, bool& out) {
    return declare(names, false, [&out](const std::string&, const std::string&) { out = true; });
}

ArgReader& ArgReader::text(const char* names, std::string& out) {
    return declare(names, true, [&out](const std::string&, const std::string& v) { out = v; });
}

ArgReader& ArgReader::text(const char* names, std::optional<std::string>& out) {
    return declare(names, true, [&out](const std::string&, const std::string& v) { out = v; });
}

ArgReader& ArgReader::texts(const char* names, std::vector<std::string>& out) {
    return declare(names, true,
                   [&out](const std::string&, const std::string& v) { out.push_back(v); });
}

ArgReader& ArgReader::number(const char* names, double& out, Bound bound) {
    return declare(names, true, [&out, bound](const std::string& name, const std::string& v) {
        out = boundedNumber(name, v, bound);
    });
}

ArgReader& ArgReader::number(const char* names, std::optional<double>& out, Bound bound) {
    return declare(names, true, [&out, bound](const std::string& name, const std::string& v) {
        out = boundedNumber(name, v, bound);
    });
}

ArgReader& ArgReader::whole(const char* names, int& out, int min, int max) {
    return declare(names, true, [&out, min, max](const std::string& name, const std::string& v) {
        out = boundedWhole(name, v, min, max);
    });
}

ArgReader& ArgReader::whole(const char* names, std::optional<int>& out, int min, int max) {
    return declare(names, true, [&out, min, max](const std::string& name, const std::string& v) {
        out = boundedWhole(name, v, min, max);
    });
}

std::vector<std::string> ArgReader::parse(size_t maxPositional) {
    std::vector<std::string> positional;
    bool optionsEnded = false;
    for (size_t i = 0; i < m_args.size(); ++i) {
        const std::string& word = m_args[i];
        if (optionsEnded || word.size() < 2 || word[0] != '-' || looksLikeNumber(word)) {
            if (positional.size() == maxPositional)
                throw UsageError("unexpected argument '" + word + "'");
            positional.push_back(word);
            continue;
        }
        if (word == "--") {
            optionsEnded = true;
            continue;
        }
        size_t equals = word.rfind("--", 0) == 0 ? word.find('=') : std::string::npos;
        std::string name = word.substr(0, equals);
        const Option* option = nullptr;
        for (const Option& candidate : m_options)
            for (const std::string& spelling : candidate.names)
                if (spelling == name) option = &candidate;
        if (!option) throw UsageError("unknown option '" + name + "'");
        if (!option->takesValue) {
            if (equals != std::string::npos)
                throw UsageError("option '" + name + "' takes no value");
            option->take(name, std::string());
        } else if (equals != std::string::npos) {
            option->take(name, word.substr(equals + 1));
        } else if (i + 1 < m_args.size()) {
            option->take(name, m_args[++i]);
        } else {
            throw UsageError("option '" + name + "' needs a value");
        }
    }
    return positional;
}

}  // namespace zevtool
