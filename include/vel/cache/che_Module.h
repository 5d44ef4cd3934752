#ifndef VEL_CACHE_CHE_MODULE_H
#define VEL_CACHE_CHE_MODULE_H

#include "vel/VelExport.h"

// Start and stop of the object cache module; it needs no set-up of its own and only counts.
VEL_API void che_initialize(int& count);
VEL_API void che_finalize(int& count);

#endif
