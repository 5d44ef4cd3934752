#ifndef VEL_SRC_HDF_HDF_HERE_H
#define VEL_SRC_HDF_HDF_HERE_H

#include "vel/platform/nex_Exception.h"

// Every exception of the storage layer names the unit and line that raised it.  Each unit
// defines `kHdfUnit` (its class name) in an unnamed namespace and passes HDF_HERE.
#define HDF_HERE kHdfUnit, __LINE__

// Raises the assertion exception with `text` unless `condition` holds.
#define HDF_REQUIRE(condition, text)                                 \
    do {                                                             \
        if (!(condition)) throw nex_AssertException(HDF_HERE, text); \
    } while (0)

#endif
