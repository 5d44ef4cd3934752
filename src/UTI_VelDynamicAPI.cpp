#include "vel/UTI_VelDynamicAPI.h"

#include "vel/cache/che_Module.h"
#include "vel/context/dpa_Module.h"
#include "vel/hdf/hdf_Module.h"
#include "vel/platform/UTI_Modules.h"

namespace {
int g_velStarts = 0;
}

// The library's own counter does not move the caller's: only the modules it starts do.
void UTI_VelDynamicAPI_initialize(int& count) {
    int ignored = 0;
    if (!UTI_ModuleStarting(g_velStarts, ignored)) return;
    UTI_CoreUtils_initialize(count);
    UTI_BasicUtils_initialize(count);
    UTI_XmlParser_initialize(count);
    che_initialize(count);
    hdfN_initialize(count);
    hdf_initialize(count);
    dpa_initialize(count);
}

void UTI_VelDynamicAPI_finalize(int& count) {
    int ignored = 0;
    if (!UTI_ModuleStopping(g_velStarts, ignored)) return;
    dpa_finalize(count);
    hdf_finalize(count);
    hdfN_finalize(count);
    che_finalize(count);
    UTI_XmlParser_finalize(count);
    UTI_BasicUtils_finalize(count);
    UTI_CoreUtils_finalize(count);
}
