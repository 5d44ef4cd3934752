#include "vel/transfer/VelDrawerRef.h"

#include "context/VelDistributionAccess.h"
#include "transfer/VelPersistentDrawer.h"

VelDrawerDescription VelDrawerRef::Description() const {
    VelDistribution& distribution = VelDistributionAccess::Get(m_id.DistributionID());
    return VelPersistentDrawer::Get(distribution, m_id).Desc();
}

cow_String VelDrawerRef::ValuesPath() const {
    VelDistribution& distribution = VelDistributionAccess::Get(m_id.DistributionID());
    return VelPersistentDrawer::Get(distribution, m_id).Values().Path();
}

void VelDrawerRef::Close() const {
    VelDistributionAccess::CloseDrawer(VelDistributionRef(m_id.DistributionID()), m_id);
}
