#include "vel/context/VelDistributionRef.h"

#include "context/VelContext.h"
#include "context/VelDistributionAccess.h"
#include "context/VelManagerAccess.h"
#include "vel/core/VelAssert.h"

VelDistribution& VelDistributionAccess::Get(const VelDistributionID& id) {
    VelVALIDATE(!id.IsNull());
    return VelManagerAccess::Get(id.ContextID().Value()).Distribution(id);
}

VelDistribution& VelDistributionRef::Target() const {
    return VelDistributionAccess::Get(m_id);
}

const VelGrid& VelDistributionRef::Grid() const {
    return Target().Grid();
}

int VelDistributionRef::NumDimensions() const {
    return Target().NumDimensions();
}

const VelRangeType& VelDistributionRef::RangeType() const {
    return Target().RangeType();
}

VelArray<VelDrawerID> VelDistributionRef::Drawers() const {
    return Target().Drawers();
}

int VelDistributionRef::NumDrawers() const {
    return Target().NumDrawers();
}

void VelDistributionRef::CloseDrawer(const VelDrawerID& drawer) const {
    VelVALIDATE(drawer.DistributionID().Compare(m_id) == 0);
    Target().CloseDrawer(drawer);
}
