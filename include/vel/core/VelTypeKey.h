#ifndef VEL_CORE_VELTYPEKEY_H
#define VEL_CORE_VELTYPEKEY_H

// The element type of ranges and buffers.
enum VelTypeKey {
    VelTypeKeyInt = 1,
    VelTypeKeyDouble = 2,
    VelTypeKeyFloat = 3,
    VelTypeKeyBool = 4,
    VelTypeKeyCMember = 5,
    VelTypeKeyCSet = 6,
    VelTypeKeyOCSet = 7
};

// "Int", "Double", ... ; "<? bad VelTypeKey ?>" for any other value.
const char* VelstringNameOf(VelTypeKey key);

#endif
