#include "vel/context/VelCSetID.h"

#include <string>

#include "context/VelIDAccess.h"

namespace {
constexpr unsigned kAscendingBit = 0x80000000u;
}

int VelCSetID::Index() const {
    if (IsNull()) return -1;
    return static_cast<int>(static_cast<unsigned>(m_index) & ~kAscendingBit);
}

VelCSetID& VelCSetID::SetAscending(bool ascending) {
    const unsigned word = static_cast<unsigned>(m_index);
    m_index = static_cast<int>(ascending ? (word | kAscendingBit) : (word & ~kAscendingBit));
    return *this;
}

VelCSetID& VelCSetID::SetColor(int color) {
    m_collection.SetColor(color);
    return *this;
}

VelCSetID VelCSetID::AltColor(int color) const {
    VelCSetID copy(*this);
    return copy.SetColor(color);
}

int VelCSetID::Compare(const VelCSetID& other) const {
    if (int c = m_collection.Compare(other.m_collection)) return c;
    return VelCompareSigned(m_index, other.m_index);
}

VelDynamicID VelCSetID::DynamicID() const {
    return VelDynamicID(VelIDCategoryCSet, m_collection.ContextID().Value(),
                        m_collection.Minor().Value(), m_index);
}

bool VelCSetID::CanBeConverted(const VelDynamicID& did) {
    return did.Category() == VelIDCategoryCSet;
}

void VelCSetID::WriteToOstream(aio_ostream& os) const {
    m_collection.AltColor(0).WriteToOstream(os);
    if (IsNull())
        os << "/*NULL*";
    else
        os << "/" << std::to_string(Index());
    if (!IsAscending()) os << "*";
    if (Color() != 0) os << "_clr" << std::to_string(Color());
}

aio_ostream& operator<<(aio_ostream& os, const VelCSetID& id) {
    id.WriteToOstream(os);
    return os;
}
