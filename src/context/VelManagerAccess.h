#ifndef VEL_CONTEXT_VELMANAGERACCESS_H
#define VEL_CONTEXT_VELMANAGERACCESS_H

#include "context/VelContext.h"
#include "vel/context/VelManager.h"

// The library's own entries into the manager: start and shut-down for the dpa module, and the
// lookup of open contexts for reference objects and identifier conversions.
struct VelManagerAccess {
    // Makes the manager on the first call; later calls reopen a manager that was shut.
    static void Start();
    // Closes every context still open and marks the manager shut; a shut manager (or none) is
    // left alone.
    static void Shut();
    // The open context with this value (persistent or temporary), or null.
    static VelContext* Find(unsigned value);
    // The open context with this value; validates that there is one and that it is usable.
    static VelContext& Get(unsigned value);
    // Validates that the context has not been given up after a failure.
    static void RequireUsable(const VelContext& context);
    // Gives up the writable context of the latest lookup: a storage failure under the throw
    // policy leaves it half written.
    static void AbandonCurrent();
    // The number of open contexts, 0 when the manager is not running.
    static int OpenCount();
};

#endif
