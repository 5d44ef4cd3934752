#ifndef VEL_SRC_VIEWS_VELROWBLOCK_H
#define VEL_SRC_VIEWS_VELROWBLOCK_H

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "vel/types/VelRecHandle.h"

// Rows of one table in memory, in the file's format, shared by whoever reads them: the table
// cache, the records read from it (which point into the block instead of copying their bytes) and
// a transaction's new rows.  Its bytes are not initialised.
class VelRowBlock : public VelRecShared {
public:
    // `rows` rows of `width` bytes; `first` is the position of the first of them in its table
    // (or in the rows of a transaction).
    VelRowBlock(int64_t first, int64_t rows, int width)
        : m_First(first),
          m_Rows(rows),
          m_Width(width),
          m_Bytes(new unsigned char[static_cast<size_t>(rows * width)]) {}

    int64_t First() const { return m_First; }
    int64_t Rows() const { return m_Rows; }
    unsigned char* Data() const { return m_Bytes.get(); }
    // Row `row` of the table, which the block must hold.
    unsigned char* Row(int64_t row) const {
        return m_Bytes.get() + static_cast<size_t>((row - m_First) * m_Width);
    }

private:
    int64_t m_First;
    int64_t m_Rows;
    int m_Width;
    std::unique_ptr<unsigned char[]> m_Bytes;
};

// Rows added one at a time, each at an address that does not move while the rows are kept: a
// transaction's new rows, which its records point into while they are being set, and which its
// commit writes as they stand, a block per HDF5 call.  Each block holds twice the rows of the one
// before it, up to e_MaxBlockBytes.
class VelRowArena {
public:
    static constexpr int64_t e_FirstBlockRows = 256;
    static constexpr int64_t e_MaxBlockBytes = int64_t(16) << 20;

    explicit VelRowArena(int width) : m_Width(width) {}

    int Width() const { return m_Width; }
    int64_t Count() const { return m_Count; }
    // A new row at the end, its bytes not initialised; `block` is set to the block holding it.
    unsigned char* Append(const VelRecHandle<VelRowBlock>*& block);
    // Row `index` (below Count()), and the block that holds it.
    unsigned char* Row(int64_t index, const VelRecHandle<VelRowBlock>*& block) const;
    // Calls `act(first, count, bytes)` for each run of rows that lies in one block, in order.
    template <class Act>
    void ForEachRun(Act act) const {
        for (const VelRecHandle<VelRowBlock>& block : m_Blocks) {
            const int64_t count = std::min(block->Rows(), m_Count - block->First());
            if (count > 0) act(block->First(), count, block->Data());
        }
    }

private:
    int m_Width;
    int64_t m_Count = 0;
    std::vector<VelRecHandle<VelRowBlock>> m_Blocks;
};

#endif
