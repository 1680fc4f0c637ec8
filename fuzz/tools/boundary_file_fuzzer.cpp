// Boundary files of any bytes: the reader answers with a region or an InputError, never a
// crash or undefined behaviour, and the regions it accepts are sound and read back the same.

#include <cstddef>
#include <cstdint>
#include <string>

#include "RegionChecks.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    zevtool::meshio::Region region;
    try {
        region = zevtool::meshio::parseBoundaryText(text);
    } catch (const zevtool::meshio::InputError&) {
        return 0;
    }
    zevfuzz::checkRegion(region);
    zevfuzz::checkRoundTrip(region);
    return 0;
}
