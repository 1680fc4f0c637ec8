// Placeholders filled by later families.
#include "peers/Cases.h"

namespace peers {
std::vector<Case> otherCases() {
    return {};
}
}  // namespace peers
