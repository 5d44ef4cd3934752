#ifndef VEL_SRC_HDF_HDF_FILEACCESS_H
#define VEL_SRC_HDF_HDF_FILEACCESS_H

#include <hdf5.h>

#include <cstddef>

// What the database files' access property lists share, serial (journaled) and parallel alike.
//
// The metadata cache of `access` set to `bytes` that HDF5 neither grows nor shrinks; the
// configuration is returned after it is set, for a caller that changes more of it.
H5AC_cache_config_t hdf_FixMetadataCache(hid_t access, size_t bytes);

// Objects of 64 KiB and more (drawers' values) start at multiples of 512 bytes, so that copying
// them out of the page cache starts on an aligned address; small objects stay packed.  The
// 512-byte user block bounds the alignment HDF5 accepts.
void hdf_AlignBulkData(hid_t access);

#endif
