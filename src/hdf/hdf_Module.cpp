#include "vel/hdf/hdf_Module.h"

#include <hdf5.h>

#include "vel/platform/UTI_Modules.h"

namespace {
int g_hdfStarts = 0;
int g_hdfNStarts = 0;
}  // namespace

void hdf_initialize(int& count) {
    if (!UTI_ModuleStarting(g_hdfStarts, count)) return;
    // The library, not the process's exit, decides when HDF5 closes.
    H5dont_atexit();
    H5open();
    // Failures reach the caller as hdf_Exceptions; HDF5 must never print its stack itself.
    H5Eset_auto(NULL, NULL);
}

void hdf_finalize(int& count) {
    if (!UTI_ModuleStopping(g_hdfStarts, count)) return;
    H5close();
}

void hdfN_initialize(int& count) { UTI_ModuleStarting(g_hdfNStarts, count); }
void hdfN_finalize(int& count) { UTI_ModuleStopping(g_hdfNStarts, count); }
