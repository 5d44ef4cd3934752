#include "vel/context/VelContextRef.h"

#include "context/VelContext.h"
#include "context/VelManagerAccess.h"

VelContext& VelContextRef::Target() const {
    return VelManagerAccess::Get(m_id.Value());
}

VelArray<VelCollectionID> VelContextRef::Collections() const {
    return Target().Collections();
}

VelArray<VelDistributionID> VelContextRef::Distributions() const {
    return Target().Distributions();
}

VelArray<VelDSetID> VelContextRef::DSets() const {
    return Target().DSets();
}

VelCollectionID VelContextRef::CreateCollection(int size) const {
    return Target().CreateCollection(size);
}

VelDistributionID VelContextRef::CreateDistribution(const VelGrid& grid,
                                                    const VelRangeType& rangeType) const {
    return Target().CreateDistribution(grid, rangeType);
}

VelDSetID VelContextRef::CreateDSet(const VelCtation& ctation) const {
    return Target().CreateDSet(ctation);
}

VelCtation VelContextRef::DSetRep(const VelDSetID& id) const {
    return Target().DSetRep(id);
}

hdf_File VelContextRef::File() const {
    return Target().File();
}

mem_CachePool* VelContextRef::Pool() const {
    return Target().Pool();
}

void VelContextRef::SetDefaultCompression(const VelCompression& compression) const {
    compression.RequireAvailable();
    Target().SetDefaultCompression(compression);
}

VelCompression VelContextRef::DefaultCompression() const {
    return Target().DefaultCompression();
}
