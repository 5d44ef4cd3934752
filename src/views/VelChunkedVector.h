#ifndef VEL_SRC_VIEWS_VELCHUNKEDVECTOR_H
#define VEL_SRC_VIEWS_VELCHUNKEDVECTOR_H

#include <cstddef>
#include <vector>

// A sequence that grows at its end in chunks of e_ChunkSize values: growing never copies more
// than one chunk, and no block of memory larger than a chunk is asked for.  Large blocks are
// handed out by the allocator as fresh pages, each of which costs a fault at first touch, so a
// sequence of millions of values held in one block costs more to fill than its values do.
// Only the last chunk grows (doubling, as a vector does); every other chunk is full.
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
        if (m_Chunks.empty() || m_Chunks.back().size() == e_ChunkSize) m_Chunks.emplace_back();
        m_Chunks.back().push_back(value);
        ++m_Size;
    }
    void clear() {
        m_Chunks.clear();
        m_Size = 0;
    }

private:
    std::vector<std::vector<T>> m_Chunks;
    size_t m_Size = 0;
};

#endif
