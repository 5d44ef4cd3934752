#include "vel/platform/omi_BlkBitVect.h"

void omi_BlkBitVect::Resize(int64_t size) {
    m_size = size < 0 ? 0 : size;
    m_blocks.assign(static_cast<size_t>((m_size + 63) >> 6), 0);
}

void omi_BlkBitVect::SetRange(int64_t first, int64_t count) {
    for (int64_t i = first; i < first + count;) {
        if ((i & 63) == 0 && i + 64 <= first + count) {
            m_blocks[Block(i)] = ~uint64_t(0);
            i += 64;
        } else {
            Set(i++);
        }
    }
}

int64_t omi_BlkBitVect::Count() const {
    int64_t n = 0;
    for (uint64_t b : m_blocks) n += __builtin_popcountll(b);
    return n;
}

int64_t omi_BlkBitVect::NextSet(int64_t from) const {
    if (from < 0) from = 0;
    if (from >= m_size) return -1;
    size_t b = Block(from);
    uint64_t word = m_blocks[b] & (~uint64_t(0) << (from & 63));
    while (true) {
        if (word) return static_cast<int64_t>(b) * 64 + __builtin_ctzll(word);
        if (++b >= m_blocks.size()) return -1;
        word = m_blocks[b];
    }
}
