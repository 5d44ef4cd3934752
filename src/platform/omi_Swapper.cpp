#include "vel/platform/omi_Swapper.h"

void omi_Swapper::SwapInPlace(void* data, size_t width, size_t count) {
    unsigned char* bytes = static_cast<unsigned char*>(data);
    for (size_t k = 0; k < count; ++k, bytes += width)
        for (size_t i = 0, j = width - 1; i < j; ++i, --j) {
            const unsigned char t = bytes[i];
            bytes[i] = bytes[j];
            bytes[j] = t;
        }
}

void omi_Swapper::PutBigEndian32(unsigned char* out, uint32_t v) {
    for (int i = 3; i >= 0; --i, v >>= 8) out[i] = static_cast<unsigned char>(v & 0xff);
}

uint32_t omi_Swapper::GetBigEndian32(const unsigned char* in) {
    uint32_t v = 0;
    for (int i = 0; i < 4; ++i) v = (v << 8) | in[i];
    return v;
}

void omi_Swapper::PutBigEndian64(unsigned char* out, uint64_t v) {
    for (int i = 7; i >= 0; --i, v >>= 8) out[i] = static_cast<unsigned char>(v & 0xff);
}

uint64_t omi_Swapper::GetBigEndian64(const unsigned char* in) {
    uint64_t v = 0;
    for (int i = 0; i < 8; ++i) v = (v << 8) | in[i];
    return v;
}
