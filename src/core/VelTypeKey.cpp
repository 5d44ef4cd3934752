#include "vel/core/VelTypeKey.h"

#include "vel/core/VelAssert.h"

int VelElementSizeOf(VelTypeKey key) {
    switch (key) {
        case VelTypeKeyInt:
            return 4;
        case VelTypeKeyDouble:
            return 8;
        case VelTypeKeyFloat:
            return 4;
        case VelTypeKeyBool:
            return 1;
        case VelTypeKeyCMember:
        case VelTypeKeyCSet:
        case VelTypeKeyOCSet:
            // Members and CSets travel as their 32-bit numbers.
            return 4;
    }
    VelASSERT(!"Illegal VelTypeKey");
}
