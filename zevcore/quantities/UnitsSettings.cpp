#include <map>
#include <string>

#include "zevcore/quantities/UnitsInternal.hpp"

// Until the settings store is wired in, the style settings live for the life of the process.
namespace Units::detail {
namespace {
std::map<std::string, int>& store() {
    static std::map<std::string, int> values;
    return values;
}
}  // namespace

void beginSettings() {}

bool readSetting(const char* key, int& value) {
    auto found = store().find(key);
    if (found == store().end()) return false;
    value = found->second;
    return true;
}

void writeSetting(const char* key, int value) { store()[key] = value; }

}  // namespace Units::detail
