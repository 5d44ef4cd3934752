#ifndef VEL_CACHE_CHE_KEY_H
#define VEL_CACHE_CHE_KEY_H

#include <cstddef>
#include <cstdint>

#include "vel/VelExport.h"

// The key of a cached object: the space it belongs to (for example a collection) and the
// object's number inside that space.
struct VEL_API che_Key {
    uint64_t space = 0;
    uint64_t item = 0;

    friend bool operator==(const che_Key& a, const che_Key& b) {
        return a.space == b.space && a.item == b.item;
    }
    friend bool operator!=(const che_Key& a, const che_Key& b) { return !(a == b); }
};

struct VEL_API che_KeyHash {
    size_t operator()(const che_Key& k) const {
        // 64-bit mix of both words (splitmix finaliser): spaces and items are small integers.
        uint64_t h = k.space * 0x9E3779B97F4A7C15ull ^ (k.item + 0x632BE59BD9B4E019ull);
        h ^= h >> 30;
        h *= 0xBF58476D1CE4E5B9ull;
        h ^= h >> 27;
        h *= 0x94D049BB133111EBull;
        h ^= h >> 31;
        return static_cast<size_t>(h);
    }
};

#endif
