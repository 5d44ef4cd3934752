#ifndef VEL_CORE_VELTYPEKEY_H
#define VEL_CORE_VELTYPEKEY_H

#include "vel/VelExport.h"

// The element type of ranges and buffers.
enum VelTypeKey : int {
    VelTypeKeyInt = 1,
    VelTypeKeyDouble = 2,
    VelTypeKeyFloat = 3,
    VelTypeKeyBool = 4,
    VelTypeKeyCMember = 5,
    VelTypeKeyCSet = 6,
    VelTypeKeyOCSet = 7
};

// "Int", "Double", ... ; "<? bad VelTypeKey ?>" for any other value.
VEL_API const char* VelstringNameOf(VelTypeKey key);

// The bytes of one element: Int 4, Double 8, Float 4, Bool 1, CMember 4, CSet 4, OCSet 4.  Any
// other key is an assertion failure (!"Illegal VelTypeKey").
VEL_API int VelElementSizeOf(VelTypeKey key);

#endif
