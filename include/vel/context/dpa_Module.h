#ifndef VEL_CONTEXT_DPA_MODULE_H
#define VEL_CONTEXT_DPA_MODULE_H

#include "vel/VelExport.h"

// Start and stop of the data module.  The first start creates the process-wide manager; the
// last stop has it close every context still open.
VEL_API void dpa_initialize(int& count);
VEL_API void dpa_finalize(int& count);

#endif
