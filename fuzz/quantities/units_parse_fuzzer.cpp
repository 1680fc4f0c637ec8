// Arbitrary text typed into a field of any category and range, in any style, then shown
// again: nothing may crash, hang or read out of bounds, and a refused entry must carry a
// message.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "zevcore/quantities/Units.h"

// The styles are read from the settings store at first use: a store of the fuzzer's own,
// never the user's.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    const char* tmp = std::getenv("TMPDIR");
    std::string store = std::string(tmp && *tmp ? tmp : "/tmp") + "/units_parse_fuzzer.db";
    setenv("ZEV_REGISTRY", store.c_str(), 1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    ETUnit u = static_cast<ETUnit>(data[0] % Units::kCategoryCount);
    ETUnitRange range = static_cast<ETUnitRange>((data[0] / Units::kCategoryCount) % 5);
    Units::setStyle(static_cast<ETUnitStyle>(data[1] % Units::kStyleCount), false);
    Units::suppressLeadingNegativeFix(data[1] & 0x80);
    CString text(reinterpret_cast<const char*>(data + 2), static_cast<int>(size - 2));

    double value = Units::parse(u, text, range);
    if (Units::lastParseError() != UNIT_OK && Units::lastParseMessage()[0] == '\0') std::abort();
    Units::show(u, value, UNIT_SHOW);
    Units::report(u, value, 12, data[1] % 9, UNIT_HIDE);
    Units::display_ft_in_16(value);
    double inches = 0.0;
    Units::parseFeetInches(text, inches);
    return 0;
}
