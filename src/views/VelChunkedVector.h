#ifndef VEL_SRC_VIEWS_VELCHUNKEDVECTOR_H
#define VEL_SRC_VIEWS_VELCHUNKEDVECTOR_H

#include <algorithm>
#include <cstddef>
#include <vector>

// A sequence that grows at its end in chunks of e_ChunkSize values: growing never copies more
// than one chunk, and no block of memory larger than a chunk is asked for.  Large blocks are
// handed out by the allocator as fresh pages, each of which costs a fault at first touch, so a
// sequence of millions of values held in one block costs more to fill than its values do.
// Only the last chunk grows; every other chunk is full.  The first chunk grows by doubling, as a
// vector does, so that a short sequence stays small; a sequence that has filled one chunk is a
// long one, and each later chunk is made at its full size at once instead of being copied (and
// its pages touched) again at every doubling.
template <class T>
class VelChunkedVector {
public:
    static constexpr size_t e_ChunkBits = 16;
    static constexpr size_t e_ChunkSize = size_t(1) << e_ChunkBits;

    size_t size() const { return m_Size; }
    bool empty() const { return m_Size == 0; }
    T& operator[](size_t i) { return m_Chunks[i >> e_ChunkBits][i & (e_ChunkSize - 1)]; }
    const T& operator[](size_t i) const {
        return m_Chunks[i >> e_ChunkBits][i & (e_ChunkSize - 1)];
    }
    void push_back(const T& value) {
        LastChunkWithRoom().push_back(value);
        ++m_Size;
    }
    // Appends default values until the sequence holds `size` (a smaller size changes nothing).
    void extend_to(size_t size) {
        while (m_Size < size) {
            std::vector<T>& chunk = LastChunkWithRoom();
            const size_t added = std::min(size - m_Size, e_ChunkSize - chunk.size());
            chunk.resize(chunk.size() + added);
            m_Size += added;
        }
    }
    void clear() {
        m_Chunks.clear();
        m_Size = 0;
    }

private:
    std::vector<T>& LastChunkWithRoom() {
        if (m_Chunks.empty() || m_Chunks.back().size() == e_ChunkSize) {
            m_Chunks.emplace_back();
            if (m_Chunks.size() > 1) m_Chunks.back().reserve(e_ChunkSize);
        }
        return m_Chunks.back();
    }

    std::vector<std::vector<T>> m_Chunks;
    size_t m_Size = 0;
};

#endif
