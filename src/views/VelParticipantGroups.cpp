#include "views/VelParticipantGroups.h"

#include <algorithm>

#include "vel/types/VelTypeCategories.h"

namespace {

// The arrays hold at most this many rows per group, plus the margin.
constexpr size_t e_RowsPerGroup = 4;
constexpr size_t e_RowMargin = 4096;

}  // namespace

size_t VelParticipantGroups::Hash::operator()(const VelDynamicID& id) const {
    uint64_t h = static_cast<uint64_t>(id.Category()) * 0x9E3779B97F4A7C15ull;
    h ^= static_cast<uint64_t>(id.First()) + 0x9E3779B97F4A7C15ull + (h << 6) + (h >> 2);
    h ^= static_cast<uint64_t>(id.Second()) + 0x9E3779B97F4A7C15ull + (h << 6) + (h >> 2);
    return static_cast<size_t>(h);
}

VelParticipantGroups::Row* VelParticipantGroups::GrowRowOf(const VelDynamicID& id) {
    VelChunkedVector<Row>* rows = TableOf(id);
    if (!rows) return nullptr;
    const size_t row = static_cast<size_t>(id.Second() & 0xFFFFFFFFll);
    if (row < rows->size()) return &(*rows)[row];
    const size_t bound = e_RowsPerGroup * m_Count + e_RowMargin;
    const size_t size = std::max(row + 1, std::min(2 * rows->size(), bound));
    if (m_Capacity - rows->size() + size > bound) return nullptr;
    m_Capacity += size - rows->size();
    m_Last = nullptr;
    rows->extend_to(size);
    return &(*rows)[row];
}

VelParticipantGroup* VelParticipantGroups::FindOther(const VelDynamicID& id) {
    const auto found = m_Others.find(id);
    return found == m_Others.end() ? nullptr : Remember(id, &found->second);
}

VelParticipantGroup& VelParticipantGroups::Add(const VelDynamicID& id) {
    if (VelParticipantGroup* group = Find(id)) return *group;
    return AddNew(id);
}

VelParticipantGroup& VelParticipantGroups::AddNew(const VelDynamicID& id) {
    ++m_Count;
    Row* row = GrowRowOf(id);
    if (row && row->group.length == 0) {
        row->serial = id.First();
        return *Remember(id, &row->group);
    }
    return *Remember(id, &m_Others[id]);
}

void VelParticipantGroups::Clear() {
    for (VelChunkedVector<Row>& rows : m_Rows) rows.clear();
    m_Capacity = 0;
    m_Count = 0;
    m_Last = nullptr;
    m_Others.clear();
}
