#include "vel/core/VelAssert.h"

#include <cstdio>
#include <cstdlib>

namespace {
VelFailurePolicy g_policy = VelStopOnFailure;
}  // namespace

void VelAssert::SetFailurePolicy(VelFailurePolicy policy) {
    g_policy = policy == VelThrowOnFailure ? VelThrowOnFailure : VelStopOnFailure;
}

VelFailurePolicy VelAssert::FailurePolicy() {
    return g_policy;
}

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

void VelAssert::FailAssertion(const char* condition) {
    ReportAssertionFailure(condition);
    if (g_policy == VelThrowOnFailure) throw VelFailure(condition, false);
    Stop();
}

void VelAssert::FailValidation(const char* condition) {
    ReportValidationFailure(condition);
    if (g_policy == VelThrowOnFailure) throw VelFailure(condition, true);
    Stop();
}

// The store must reach the machine as written: no sanitizer instrumentation, no optimisation
// that could drop it.
__attribute__((no_sanitize("address", "undefined"))) void VelAssert::Stop() {
    volatile char* volatile nowhere = nullptr;
    *nowhere = 0;
    std::abort();
}
