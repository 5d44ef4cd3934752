#include "vel/context/VelDSetID.h"

#include <string>

#include "context/VelIDAccess.h"

int VelDSetID::Compare(const VelDSetID& other) const {
    if (int c = m_context.Compare(other.m_context)) return c;
    return VelCompareSigned(m_minor, other.m_minor);
}

VelDynamicID VelDSetID::DynamicID() const {
    return VelDynamicID(VelIDCategoryDSet, m_context.Value(), m_minor, 0);
}

bool VelDSetID::CanBeConverted(const VelDynamicID& did) {
    return did.Category() == VelIDCategoryDSet;
}

void VelDSetID::WriteToOstream(aio_ostream& os) const {
    m_context.WriteToOstream(os);
    if (IsNull())
        os << "/*NULL*";
    else
        os << "/" << std::to_string(m_minor);
}

aio_ostream& operator<<(aio_ostream& os, const VelDSetID& id) {
    id.WriteToOstream(os);
    return os;
}
