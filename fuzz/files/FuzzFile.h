#pragma once

// Writes a fuzz input to a file of this process's own, for readers that take a path.

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>

inline const std::string& fuzzFilePath() {
    static const std::string path =
        "/tmp/zev-fuzz-" + std::to_string(static_cast<long>(getpid())) + ".in";
    return path;
}

inline bool writeFuzzFile(const std::uint8_t* data, std::size_t size) {
    std::FILE* f = std::fopen(fuzzFilePath().c_str(), "wb");
    if (!f) return false;
    const bool ok = std::fwrite(data, 1, size, f) == size;
    return std::fclose(f) == 0 && ok;
}
