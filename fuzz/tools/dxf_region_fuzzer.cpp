// DXF drawings of any bytes as regions for the mesher: the reader answers with a region or an
// InputError, never a crash or undefined behaviour, and the regions it accepts are sound.

#include <cstddef>
#include <cstdint>

#include "FuzzFile.h"
#include "RegionChecks.h"
#include "tools/zevcore/MeshDxf.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (!writeFuzzFile(data, size)) return 0;
    zevtool::meshio::Region region;
    try {
        region = zevtool::meshio::readDxfRegion(fuzzFilePath());
    } catch (const zevtool::meshio::InputError&) {
        return 0;
    }
    zevfuzz::checkRegion(region);
    zevfuzz::checkRoundTrip(region);
    return 0;
}
