#include "views/VelRowBlock.h"

unsigned char* VelRowArena::Append(const VelRecHandle<VelRowBlock>*& block) {
    if (m_Blocks.empty() || m_Count == m_Blocks.back()->First() + m_Blocks.back()->Rows()) {
        const int64_t last = m_Blocks.empty() ? e_FirstBlockRows / 2 : m_Blocks.back()->Rows();
        const int64_t rows = std::max<int64_t>(1, std::min(2 * last, e_MaxBlockBytes / m_Width));
        m_Blocks.emplace_back(new VelRowBlock(m_Count, rows, m_Width));
    }
    block = &m_Blocks.back();
    return m_Blocks.back()->Row(m_Count++);
}

// The blocks' first rows ascend, and there are few of them.
unsigned char* VelRowArena::Row(int64_t index, const VelRecHandle<VelRowBlock>*& block) const {
    const auto after = std::upper_bound(
        m_Blocks.begin(), m_Blocks.end(), index,
        [](int64_t row, const VelRecHandle<VelRowBlock>& b) { return row < b->First(); });
    block = &*(after - 1);
    return (*block)->Row(index);
}
