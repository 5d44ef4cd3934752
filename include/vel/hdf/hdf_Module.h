#ifndef VEL_HDF_HDF_MODULE_H
#define VEL_HDF_HDF_MODULE_H

// Start and stop of the storage layer.  hdf_initialize opens HDF5 without its exit hook and
// switches its automatic error printing off; hdf_finalize closes it.  hdfN only counts.
void hdf_initialize(int& count);
void hdf_finalize(int& count);
void hdfN_initialize(int& count);
void hdfN_finalize(int& count);

#endif
