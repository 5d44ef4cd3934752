#ifndef VEL_CONTEXT_VELCOLLECTIONACCESS_H
#define VEL_CONTEXT_VELCOLLECTIONACCESS_H

#include "vel/context/VelCollectionID.h"

class VelCollection;

// The collection an ID names, whatever its color, found through the manager: validates that the
// context is open and holds the collection.
VelCollection& VelFindCollection(const VelCollectionID& id);

#endif
