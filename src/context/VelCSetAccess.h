#ifndef VEL_CONTEXT_VELCSETACCESS_H
#define VEL_CONTEXT_VELCSETACCESS_H

#include <vector>

#include "context/VelIndexSet.h"
#include "vel/context/VelCSet.h"

// The library's own view of a CSet's decoded members.
struct VelCSetAccess {
    // The ascending members as maximal runs, taken from the decoded set without listing every
    // member: the full set of a collection is one run whatever its size.
    static std::vector<VelIndexSet::Run> Runs(const VelCSet& cset) { return cset.Set().Runs(); }
};

#endif
