#ifndef VEL_CONTEXT_VELIDACCESS_H
#define VEL_CONTEXT_VELIDACCESS_H

#include <cstdint>

#include "vel/context/VelCSetID.h"
#include "vel/context/VelCollectionID.h"
#include "vel/context/VelContextID.h"
#include "vel/context/VelDSetID.h"
#include "vel/context/VelDistributionID.h"
#include "vel/context/VelIDExternal.h"

// The library's own way to make identifiers from their parts and to read external forms back.
// Callers never assemble identifiers: they receive them from the manager, contexts and
// collections, so these entries stay out of the public headers.
struct VelIDAccess {
    static VelContextID MakeContextID(unsigned value, bool isTemp) {
        return VelContextID(value, isTemp);
    }
    static VelCollectionID MakeCollectionID(const VelContextID& context, int minorWord) {
        return VelCollectionID(context, minorWord);
    }
    static VelCSetID MakeCSetID(const VelCollectionID& collection, int indexWord) {
        return VelCSetID(collection, indexWord);
    }
    static VelDistributionID MakeDistributionID(const VelContextID& context, int minor) {
        return VelDistributionID(context, minor);
    }
    static VelDSetID MakeDSetID(const VelContextID& context, int minor) {
        return VelDSetID(context, minor);
    }
    static VelDrawerID MakeDrawerID(const VelDistributionID& distribution, int drawer) {
        return VelDrawerID(distribution, drawer);
    }

    static VelIDMinor CollectionIDMinor(const VelIDExternal& e) { return e.CollectionIDMinor(); }
    static VelIDMinor DistributionIDMinor(const VelIDExternal& e) {
        return e.DistributionIDMinor();
    }
    static VelIDMinor DSetIDMinor(const VelIDExternal& e) { return e.DSetIDMinor(); }
    static VelIDMinor CSetIDMinor(const VelIDExternal& e) { return e.CSetIDMinor(); }
    static VelIDMinor DrawerIDMinor(const VelIDExternal& e) { return e.DrawerIDMinor(); }
};

// -1, 0 or 1: the three-way result every identifier's Compare returns.
inline int VelCompareSigned(int64_t a, int64_t b) {
    return a < b ? -1 : (a > b ? 1 : 0);
}

#endif
