#include "vel/context/VelDistributionID.h"

#include <string>

#include "context/VelIDAccess.h"

namespace {
void WriteMinor(aio_ostream& os, int minor) {
    if (minor == -1)
        os << "/*NULL*";
    else
        os << "/" << std::to_string(minor);
}
}  // namespace

int VelDistributionID::Compare(const VelDistributionID& other) const {
    if (int c = m_context.Compare(other.m_context)) return c;
    return VelCompareSigned(m_minor, other.m_minor);
}

VelDynamicID VelDistributionID::DynamicID() const {
    return VelDynamicID(VelIDCategoryDistribution, m_context.Value(), m_minor, 0);
}

bool VelDistributionID::CanBeConverted(const VelDynamicID& did) {
    return did.Category() == VelIDCategoryDistribution;
}

void VelDistributionID::WriteToOstream(aio_ostream& os) const {
    m_context.WriteToOstream(os);
    WriteMinor(os, m_minor);
}

aio_ostream& operator<<(aio_ostream& os, const VelDistributionID& id) {
    id.WriteToOstream(os);
    return os;
}

int VelDrawerID::Compare(const VelDrawerID& other) const {
    if (int c = m_distribution.Compare(other.m_distribution)) return c;
    return VelCompareSigned(m_drawer, other.m_drawer);
}

VelDynamicID VelDrawerID::DynamicID() const {
    return VelDynamicID(VelIDCategoryDrawer, m_distribution.ContextID().Value(),
                        m_distribution.Minor().Value(), m_drawer);
}

bool VelDrawerID::CanBeConverted(const VelDynamicID& did) {
    return did.Category() == VelIDCategoryDrawer;
}

void VelDrawerID::WriteToOstream(aio_ostream& os) const {
    m_distribution.WriteToOstream(os);
    WriteMinor(os, m_drawer);
}

aio_ostream& operator<<(aio_ostream& os, const VelDrawerID& id) {
    id.WriteToOstream(os);
    return os;
}
