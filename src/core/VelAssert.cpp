#include "vel/core/VelAssert.h"

#include <cstdio>
#include <cstdlib>

void VelAssert::ReportAssertionFailure(const char* condition) {
    std::fprintf(stderr, "VelASSERT failed: %s\n", condition);
    std::fprintf(stderr, "Put Stop in VelAssert::ReportAssertionFailure to find occurrence\n");
    std::fflush(stderr);
}

void VelAssert::ReportValidationFailure(const char* condition) {
    std::fprintf(stderr, "VelVALIDATE failed: %s\n", condition);
    std::fprintf(stderr, "Put Stop in VelAssert::ReportValidationFailure to find occurrence\n");
    std::fflush(stderr);
}

// The store must reach the machine as written: no sanitizer instrumentation, no optimisation
// that could drop it.
__attribute__((no_sanitize("address", "undefined"))) void VelAssert::Stop() {
    volatile char* volatile nowhere = nullptr;
    *nowhere = 0;
    std::abort();
}
