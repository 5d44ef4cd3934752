#ifndef VEL_CORE_VELARGSERRORKEY_H
#define VEL_CORE_VELARGSERRORKEY_H

#include "vel/VelExport.h"

// The ways a set of transfer arguments can be inconsistent; 0 means no error.
enum VelArgsErrorKey {
    VelArgsNoError = 0,
    VelArgsNoReadOrWrite = 1,
    VelArgsConflictingNewDomainPolicy = 2,
    VelArgsSparseNNZeroWithoutNewDrawer = 3,
    VelArgsNewDrawerWithRead = 4,
    VelArgsWriteWithNothingAllowed = 5,
    VelArgsSparseNNonzeroNotSparse = 6,
    VelArgsOCompartmentSizeMismatch = 7,
    VelArgsDimensionsNotSet = 8,
    VelArgsRepeatedCollection = 9,
    VelArgsBadOrdinalRange = 10,
    VelArgsNoSetFor = 11,
    VelArgsBadChunkSize = 12,
    VelArgsChunkSizesMismatch = 13,
    VelArgsChunkSizesWithSparse = 14,
    VelArgsOrdinalRangeOnNewDrawer = 15
};

// The text of a key; "<?unknown VelArgsErrorKey message?>" for any value outside 0..15.
VEL_API const char* VelMessageOf(VelArgsErrorKey key);

#endif
