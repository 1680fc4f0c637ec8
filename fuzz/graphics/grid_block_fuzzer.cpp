// The grid block of a project file on arbitrary bytes. What the reader accepts, the writer
// writes back, and the reader accepts that again: the same grids, written again to the same
// bytes.

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "FuzzFile.h"
#include "zevcore/graphics/GridManager.h"

namespace {

const std::string& secondPath() {
    static const std::string path = fuzzFilePath() + ".again";
    return path;
}

// Reads the block at `path`; on success writes it to secondPath() and answers those bytes.
bool readAndWrite(const std::string& path, std::string& written) {
    CGridManager grids;
    {
        ibfstream in(path.c_str());
        const ETFileError result = grids.read(in);
        if (!grids.IsValid()) std::abort();
        if (result != feSuccess) return false;
    }
    {
        obfstream out(secondPath().c_str());
        if (grids.write(out, 0) != feSuccess) std::abort();  // what was read can be written
    }
    if (!grids.IsValid()) std::abort();
    std::ifstream in(secondPath(), std::ios::binary);
    written.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (!writeFuzzFile(data, size)) return 0;
    std::string first, second;
    if (!readAndWrite(fuzzFilePath(), first)) return 0;
    {
        std::ofstream copy(fuzzFilePath(), std::ios::binary | std::ios::trunc);
        copy.write(first.data(), static_cast<std::streamsize>(first.size()));
    }
    if (!readAndWrite(fuzzFilePath(), second)) std::abort();  // its own block must read
    if (second != first) std::abort();                        // and read the same
    return 0;
}
