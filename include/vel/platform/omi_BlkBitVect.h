#ifndef VEL_PLATFORM_OMI_BLKBITVECT_H
#define VEL_PLATFORM_OMI_BLKBITVECT_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "vel/VelExport.h"

// A bit vector stored in 64-bit blocks, with a traversal over the set bits in ascending order.
class VEL_API omi_BlkBitVect {
public:
    omi_BlkBitVect() = default;
    explicit omi_BlkBitVect(int64_t size) { Resize(size); }

    void Resize(int64_t size);
    int64_t Size() const { return m_size; }
    void Set(int64_t i) { m_blocks[Block(i)] |= Mask(i); }
    void Clear(int64_t i) { m_blocks[Block(i)] &= ~Mask(i); }
    bool Test(int64_t i) const { return (m_blocks[Block(i)] & Mask(i)) != 0; }
    void SetRange(int64_t first, int64_t count);
    int64_t Count() const;
    // The first set bit at or after `from`, or -1 when there is none.
    int64_t NextSet(int64_t from) const;
    const std::vector<uint64_t>& Blocks() const { return m_blocks; }

    friend bool operator==(const omi_BlkBitVect& a, const omi_BlkBitVect& b) {
        return a.m_size == b.m_size && a.m_blocks == b.m_blocks;
    }

private:
    static size_t Block(int64_t i) { return static_cast<size_t>(i >> 6); }
    static uint64_t Mask(int64_t i) { return uint64_t(1) << (i & 63); }
    int64_t m_size = 0;
    std::vector<uint64_t> m_blocks;
};

#endif
