#ifndef VEL_PLATFORM_OMI_SWAPPER_H
#define VEL_PLATFORM_OMI_SWAPPER_H

#include <cstddef>
#include <cstdint>

#include "vel/VelExport.h"

// Byte-order conversion between the machine's order and a fixed file order.
class VEL_API omi_Swapper {
public:
    static bool MachineIsLittleEndian() {
        const uint16_t probe = 1;
        return *reinterpret_cast<const unsigned char*>(&probe) == 1;
    }
    static uint16_t Swap(uint16_t v) { return __builtin_bswap16(v); }
    static uint32_t Swap(uint32_t v) { return __builtin_bswap32(v); }
    static uint64_t Swap(uint64_t v) { return __builtin_bswap64(v); }
    // Reverses the bytes of each of `count` items of `width` bytes in place.
    static void SwapInPlace(void* data, size_t width, size_t count);

    // Big-endian (network order) stores and loads of fixed-width integers.
    static void PutBigEndian32(unsigned char* out, uint32_t v);
    static uint32_t GetBigEndian32(const unsigned char* in);
    static void PutBigEndian64(unsigned char* out, uint64_t v);
    static uint64_t GetBigEndian64(const unsigned char* in);
};

#endif
