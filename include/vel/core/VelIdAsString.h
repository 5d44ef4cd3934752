#ifndef VEL_CORE_VELIDASSTRING_H
#define VEL_CORE_VELIDASSTRING_H

#include "vel/VelExport.h"
#include "vel/platform/cow_String.h"

// The identifier as exactly eight upper-case hexadecimal digits of its 32 bits taken as unsigned:
// the name of a persistent group (42 gives "0000002A", -1 gives "FFFFFFFF").
VEL_API cow_String VelIdAsString(int id);

#endif
