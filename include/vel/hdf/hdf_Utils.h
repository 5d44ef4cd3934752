#ifndef VEL_HDF_HDF_UTILS_H
#define VEL_HDF_HDF_UTILS_H

#include <cstdint>

#include "vel/VelExport.h"

class VEL_API hdf_Utils {
public:
    // The bytes free to the caller on the volume that holds `path`.  A path that does not exist
    // yet (a file about to be created) is answered for the directory that would hold it.  A
    // failing query throws an hdf_Exception with the system's reason.
    static uint64_t GetFreeDiskSpace(const char* path);
};

#endif
