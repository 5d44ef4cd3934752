#ifndef VEL_CONTEXT_VELDISTRIBUTIONACCESS_H
#define VEL_CONTEXT_VELDISTRIBUTIONACCESS_H

#include "context/VelDistribution.h"
#include "vel/context/VelDistributionRef.h"

// The library's own entries into distributions: the drawer layer finds a distribution's
// catalogue here and closes drawers through its handle's private CloseDrawer.
struct VelDistributionAccess {
    // The distribution `id` names; its context must be open and hold it (validations).
    static VelDistribution& Get(const VelDistributionID& id);
    static void CloseDrawer(const VelDistributionRef& distribution, const VelDrawerID& drawer) {
        distribution.CloseDrawer(drawer);
    }
};

#endif
