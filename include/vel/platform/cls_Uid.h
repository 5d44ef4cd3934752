#ifndef VEL_PLATFORM_CLS_UID_H
#define VEL_PLATFORM_CLS_UID_H

#include <cstdint>

#include "vel/VelExport.h"

// A unique identifier of a class, used to tell exception kinds apart without RTTI.
struct VEL_API cls_Uid {
    uint32_t d1;
    uint16_t d2;
    uint16_t d3;
    uint8_t d4[8];

    friend bool operator==(const cls_Uid& a, const cls_Uid& b) {
        if (a.d1 != b.d1 || a.d2 != b.d2 || a.d3 != b.d3) return false;
        for (int i = 0; i < 8; ++i)
            if (a.d4[i] != b.d4[i]) return false;
        return true;
    }
    friend bool operator!=(const cls_Uid& a, const cls_Uid& b) { return !(a == b); }
};

#endif
