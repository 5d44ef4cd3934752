#ifndef VEL_PLATFORM_UTI_MODULES_H
#define VEL_PLATFORM_UTI_MODULES_H

#include "vel/VelExport.h"

// Start and stop entries of the utility services.  Each keeps a start counter, acts only on its
// first start and last stop, and raises or lowers the caller's `count` by one when it does.
VEL_API void UTI_CoreUtils_initialize(int& count);
VEL_API void UTI_CoreUtils_finalize(int& count);
VEL_API void UTI_BasicUtils_initialize(int& count);
VEL_API void UTI_BasicUtils_finalize(int& count);
VEL_API void UTI_XmlParser_initialize(int& count);
VEL_API void UTI_XmlParser_finalize(int& count);

// The pattern every module entry follows: read the module's own counter, store it raised (or
// lowered) by one, and act only when the value read was 0 (or exactly 1).  When the module
// really starts or stops, the caller's counter moves by one.  A finalise without an initialise
// drives the module counter negative and does nothing.
inline bool UTI_ModuleStarting(int& moduleCounter, int& count) {
    const int before = moduleCounter;
    moduleCounter = before + 1;
    if (before != 0) return false;
    ++count;
    return true;
}

inline bool UTI_ModuleStopping(int& moduleCounter, int& count) {
    const int before = moduleCounter;
    moduleCounter = before - 1;
    if (before != 1) return false;
    --count;
    return true;
}

#endif
