#ifndef VEL_CORE_VELASSERT_H
#define VEL_CORE_VELASSERT_H

#include <exception>
#include <string>

#include "vel/VelExport.h"

// Contract checks, compiled into every build.  VelASSERT guards the library's own invariants,
// VelVALIDATE what a caller passed in.  A failed check writes two lines to standard error and
// then acts as the process-wide failure policy says: by default it stops the process at once
// (it never returns and never throws); under VelThrowOnFailure it throws a VelFailure.

// What a failed check does after its report.
enum VelFailurePolicy {
    // Stop the process: the library's designed behaviour, and the default.
    VelStopOnFailure,
    // Throw VelFailure, so that a program reading many files survives a damaged one.
    VelThrowOnFailure
};

// The exception of a failed check under VelThrowOnFailure.  A storage failure that the bulk-data
// layers turn into the assertion "0" throws it too, after its message on standard output.
class VEL_API VelFailure : public std::exception {
public:
    VelFailure(const char* condition, bool validation)
        : m_condition(condition), m_validation(validation) {}
    // The condition text, as the report printed it.
    const char* what() const noexcept override { return m_condition.c_str(); }
    // True for a failed VelVALIDATE (a caller's mistake), false for a failed VelASSERT.
    bool IsValidation() const { return m_validation; }

private:
    std::string m_condition;
    bool m_validation;
};

class VEL_API VelAssert {
public:
    static void SetFailurePolicy(VelFailurePolicy policy);
    static VelFailurePolicy FailurePolicy();

    // "VelASSERT failed: <condition>" and the "Put Stop in" line, flushed.
    static void ReportAssertionFailure(const char* condition);
    // "VelVALIDATE failed: <condition>" and the "Put Stop in" line, flushed.
    static void ReportValidationFailure(const char* condition);
    // The report, then the stop or the throw the policy asks for.
    [[noreturn]] static void FailAssertion(const char* condition);
    [[noreturn]] static void FailValidation(const char* condition);
    // Stores a zero byte at address zero; std::abort() backs it up should the store not fault.
    [[noreturn]] static void Stop();
};

#define VelASSERT(cond)                               \
    do {                                              \
        if (!(cond)) VelAssert::FailAssertion(#cond); \
    } while (0)

#define VelVALIDATE(cond)                              \
    do {                                               \
        if (!(cond)) VelAssert::FailValidation(#cond); \
    } while (0)

#endif
