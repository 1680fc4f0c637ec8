#pragma once

#include <charconv>
#include <string>

namespace zevtool {

/// The shortest text that reads back as the same double ("39.37007874015748", "1e+20").
inline std::string shortestNumber(double value) {
    char buffer[64];
    auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value);
    return error == std::errc() ? std::string(buffer, end) : std::string("?");
}

}  // namespace zevtool
