#ifndef VEL_TRANSFER_VELDRAWERGUARD_H
#define VEL_TRANSFER_VELDRAWERGUARD_H

#include <utility>

#include "context/VelStorageGuard.h"

// Drawer operations have no error return: a storage failure prints the exception's message on
// standard output with a line break and then fails the assertion `failure`, which names the
// operation (`!"Write sparse failed"`).
template <class F>
auto VelGuardDrawer(const char* failure, F&& f) -> decltype(f()) {
    return VelGuardStorage(failure, std::forward<F>(f));
}

#endif
