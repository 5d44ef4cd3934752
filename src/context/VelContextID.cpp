#include "vel/context/VelContextID.h"

#include <string>

#include "context/VelIDAccess.h"
#include "vel/context/VelDynamicID.h"

int VelIDMinor::Compare(const VelIDMinor& other) const {
    return VelCompareSigned(m_value, other.m_value);
}

int VelContextID::Compare(const VelContextID& other) const {
    return VelCompareSigned(static_cast<int>(m_value), static_cast<int>(other.m_value));
}

VelDynamicID VelContextID::DynamicID() const {
    return VelDynamicID(VelIDCategoryContext, m_value, 0, 0);
}

bool VelContextID::CanBeConverted(const VelDynamicID& did) {
    return did.Category() == VelIDCategoryContext;
}

void VelContextID::WriteToOstream(aio_ostream& os) const {
    if (m_isTemp) os << "T:";
    if (IsNull())
        os << "*NULL*";
    else
        os << std::to_string(m_value);
}

aio_ostream& operator<<(aio_ostream& os, const VelContextID& id) {
    id.WriteToOstream(os);
    return os;
}
