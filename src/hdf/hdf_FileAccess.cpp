#include "hdf/hdf_FileAccess.h"

#include "hdf/hdf_Here.h"
#include "vel/hdf/hdf_Exception.h"

namespace {

const char kHdfUnit[] = "hdf_FileAccess";

constexpr hsize_t kAlignedFrom = 64 << 10;
constexpr hsize_t kAlignment = 512;

}  // namespace

H5AC_cache_config_t hdf_FixMetadataCache(hid_t access, size_t bytes) {
    H5AC_cache_config_t config;
    config.version = H5AC__CURR_CACHE_CONFIG_VERSION;
    if (H5Pget_mdc_config(access, &config) < 0) throw hdf_Exception(HDF_HERE, true);
    config.set_initial_size = 1;
    config.initial_size = bytes;
    config.min_size = bytes;
    config.max_size = bytes;
    config.incr_mode = H5C_incr__off;
    config.flash_incr_mode = H5C_flash_incr__off;
    config.decr_mode = H5C_decr__off;
    if (H5Pset_mdc_config(access, &config) < 0) throw hdf_Exception(HDF_HERE, true);
    return config;
}

void hdf_AlignBulkData(hid_t access) {
    if (H5Pset_alignment(access, kAlignedFrom, kAlignment) < 0) throw hdf_Exception(HDF_HERE, true);
}
