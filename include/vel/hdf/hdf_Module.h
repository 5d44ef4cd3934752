#ifndef VEL_HDF_HDF_MODULE_H
#define VEL_HDF_HDF_MODULE_H

#include "vel/VelExport.h"

// Start and stop of the storage layer.  hdf_initialize opens HDF5 without its exit hook and
// switches its automatic error printing off; hdf_finalize closes it.  hdfN only counts.
VEL_API void hdf_initialize(int& count);
VEL_API void hdf_finalize(int& count);
VEL_API void hdfN_initialize(int& count);
VEL_API void hdfN_finalize(int& count);

#endif
