#include "zevcore/Version.h"

const char* ZEVCoreVersion() {
    return ZEVCORE_VERSION_STRING;
}
