// A program that only knows the installed library.
#include <zevcore/zevcore.h>

#include <cstdio>

int main() {
    InitCoreDLL();
    CTArray<double> values;
    values.add(1.0);
    values.add(2.0);
    bool ok = SetCoreResources() && equal(values[2], 2.0) && values.count == 2;
    std::printf("consumer: %s (%s, %s)\n", ok ? "ok" : "FAILED", ZEVCoreVersion(), nice(1.5));
    return ok ? 0 : 1;
}
