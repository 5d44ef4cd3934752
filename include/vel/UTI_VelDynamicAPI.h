#ifndef VEL_UTI_VELDYNAMICAPI_H
#define VEL_UTI_VELDYNAMICAPI_H

#include "vel/VelExport.h"

// Library start-up and shut-down.  The first initialise starts, in order, the core utilities,
// basic utilities, XML parser, object cache (che), the two storage modules (hdfN, hdf) and the
// data module (dpa); finalise stops them in reverse.  Nested pairs are allowed and only the
// outermost acts.  `count` rises (falls) by one for every module really started (stopped).
VEL_API void UTI_VelDynamicAPI_initialize(int& count);
VEL_API void UTI_VelDynamicAPI_finalize(int& count);

#endif
