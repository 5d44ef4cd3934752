#ifndef VEL_CONTEXT_VELSTORAGEGUARD_H
#define VEL_CONTEXT_VELSTORAGEGUARD_H

#include "vel/hdf/hdf_Exception.h"

// The bulk-data layers have no error return for storage failures: the exception's message goes
// to standard output with a line break, then the process stops with the assertion "0".

// Prints the message only, for callers that must release something before they stop.
void VelPrintStorageFailure(const hdf_Exception& e);

// Prints the message and stops.
[[noreturn]] void VelStorageFailure(const hdf_Exception& e);

// Runs `f`, stopping as above when a storage failure escapes it.
template <class F>
auto VelGuardStorage(F&& f) -> decltype(f()) {
    try {
        return f();
    } catch (const hdf_Exception& e) {
        VelStorageFailure(e);
    }
}

#endif
