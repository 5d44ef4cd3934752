#ifndef VEL_CONTEXT_VELSTORAGEGUARD_H
#define VEL_CONTEXT_VELSTORAGEGUARD_H

#include "vel/hdf/hdf_Exception.h"

// The bulk-data layers have no error return for storage failures: the exception's message goes
// to standard output with a line break, then the assertion "0" (or the operation's own, such as
// `!"Write sparse failed"`) fails.  Under VelThrowOnFailure the writable context being worked on
// is given up first (its file keeps its last commit), and the failure is thrown.  Every storage
// failure of the bulk-data layers comes through here.

// Prints the message only, for callers that must release something before they fail.
void VelPrintStorageFailure(const hdf_Exception& e);

// Prints the message and fails `condition`.
[[noreturn]] void VelStorageFailure(const hdf_Exception& e, const char* condition = "0");

// Runs `f`, failing as above when a storage failure escapes it.
template <class F>
auto VelGuardStorage(F&& f) -> decltype(f()) {
    try {
        return f();
    } catch (const hdf_Exception& e) {
        VelStorageFailure(e);
    }
}

// The same, failing the operation's own `condition`.
template <class F>
auto VelGuardStorage(const char* condition, F&& f) -> decltype(f()) {
    try {
        return f();
    } catch (const hdf_Exception& e) {
        VelStorageFailure(e, condition);
    }
}

#endif
