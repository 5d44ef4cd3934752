#ifndef VEL_TRANSFER_VELDRAWERGUARD_H
#define VEL_TRANSFER_VELDRAWERGUARD_H

#include "context/VelManagerAccess.h"
#include "context/VelStorageGuard.h"
#include "vel/core/VelAssert.h"
#include "vel/hdf/hdf_Exception.h"

// Drawer operations have no error return: a storage failure prints the exception's message on
// standard output with a line break and then fails the assertion `failure`, which names the
// operation (`!"Write sparse failed"`).
template <class F>
auto VelGuardDrawer(const char* failure, F&& f) -> decltype(f()) {
    try {
        return f();
    } catch (const hdf_Exception& e) {
        VelPrintStorageFailure(e);
        if (VelAssert::FailurePolicy() == VelThrowOnFailure) VelManagerAccess::AbandonCurrent();
        VelAssert::FailAssertion(failure);
    }
}

#endif
