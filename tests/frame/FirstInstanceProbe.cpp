// Exits 0 when FirstInstance(argv[1]) is true, 1 when false: another process for the
// single-instance tests.
#include "zevcore/frame/Frame.h"

int main(int argc, char** argv) {
    return argc == 2 && FirstInstance(argv[1]) ? 0 : 1;
}
