// The style settings in the settings store, under "Software\ZEV\Units2010", each a key of
// its own holding its number as text (the ini layer).

#include "zevcore/frame/Ini.h"
#include "zevcore/quantities/UnitsInternal.hpp"

namespace Units::detail {

void beginSettings() {
    setIniBase("Software\\ZEV\\Units2010", HKEY_CURRENT_USER);
}

bool readSetting(const char* key, int& value) {
    return readIniInt(key, value) == 0;
}

void writeSetting(const char* key, int value) {
    writeIniInt(key, value);
}

}  // namespace Units::detail
