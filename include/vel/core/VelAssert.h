#ifndef VEL_CORE_VELASSERT_H
#define VEL_CORE_VELASSERT_H

// Contract checks, compiled into every build.  VelASSERT guards the library's own invariants,
// VelVALIDATE what a caller passed in.  A failed check writes two lines to standard error and
// stops the process at once: it never returns and never throws.
class VelAssert {
public:
    // "VelASSERT failed: <condition>" and the "Put Stop in" line, flushed.
    static void ReportAssertionFailure(const char* condition);
    // "VelVALIDATE failed: <condition>" and the "Put Stop in" line, flushed.
    static void ReportValidationFailure(const char* condition);
    // Stores a zero byte at address zero; std::abort() backs it up should the store not fault.
    [[noreturn]] static void Stop();
};

#define VelASSERT(cond)                                  \
    do {                                                 \
        if (!(cond)) {                                   \
            VelAssert::ReportAssertionFailure(#cond);    \
            VelAssert::Stop();                           \
        }                                                \
    } while (0)

#define VelVALIDATE(cond)                                \
    do {                                                 \
        if (!(cond)) {                                   \
            VelAssert::ReportValidationFailure(#cond);   \
            VelAssert::Stop();                           \
        }                                                \
    } while (0)

#endif
