// Mesa's software rasteriser does not free the buffers of its feedback stage when a context
// that used feedback mode is destroyed. The leak is the driver's, not ours, and only the
// tests use feedback mode: leave it out of LeakSanitizer's report for this program.

extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() {
    return "leak:swrast_dri.so\n";
}
