#include "vel/types/VelRecTypeExpandedDataRecord.h"

#include <vector>

#include "vel/core/VelAssert.h"

VelRecTypeExpandedDataRecord::VelRecTypeExpandedDataRecord(const VelRecTypeDataRecord& type,
                                                           const VelTypeRegistry& registry)
    : m_Type(type) {
    std::vector<VelRecTypeDataRecord> chain{type};
    for (int depth = 1; !chain.back().BaseTypeID().IsNull(); ++depth) {
        VelVALIDATE(depth < 1024 && "The inheritance depth limit of 1024 exceeded");
        const int baseIndex = registry.FindType(chain.back().BaseTypeID());
        VelVALIDATE(baseIndex >= 0 && registry.TypeCount());
        chain.push_back(VelRecTypeDataRecord(registry.GetType(baseIndex)));
    }

    const int length = static_cast<int>(chain.size());
    m_Chain.SetSize(length);
    int memberCount = 0;
    for (int k = 0; k < length; ++k) {
        m_Chain[k] = chain[static_cast<size_t>(k)].TypeID();
        memberCount += chain[static_cast<size_t>(k)].MemberCount();
    }
    m_Members.SetSize(memberCount);
    m_Offsets.SetSize(memberCount);
    int position = 0;
    for (int k = length - 1; k >= 0; --k) {
        const VelRecTypeDataRecord& level = chain[static_cast<size_t>(k)];
        for (int i = 0; i < level.MemberCount(); ++i, ++position) {
            m_Members[position] = level.Member(i);
            m_Offsets[position] = m_RecordSize;
            m_RecordSize += m_Members[position].Size();
        }
    }
}

bool VelRecTypeExpandedDataRecord::IsA(const VelTypeID& typeID) const {
    for (int k = 0; k < m_Chain.Size(); ++k) {
        if (m_Chain[k] == typeID) return true;
    }
    return false;
}
