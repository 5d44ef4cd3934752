#include "vel/context/VelCollectionRef.h"

#include "context/VelCollection.h"
#include "context/VelCollectionAccess.h"
#include "context/VelCollective.h"
#include "context/VelContext.h"
#include "context/VelManagerAccess.h"
#include "vel/core/VelAssert.h"

VelCollection& VelFindCollection(const VelCollectionID& id) {
    VelVALIDATE(!id.IsNull());
    return VelManagerAccess::Get(id.ContextID().Value()).Collection(id);
}

VelCollection& VelCollectionRef::Target() const {
    return VelFindCollection(m_id);
}

VelCSetID VelCollectionRef::CreateCSet(const int* members, int count) const {
    VelAgreeOnMembers(m_id.ContextID().Value(), "VelCollectionRef::CreateCSet", members, count);
    return Target().CreateCSet(members, count, m_id.Color());
}

VelCSetID VelCollectionRef::CreateCSet(const omi_BlkBitVect& members) const {
    return Target().CreateCSet(members, m_id.Color());
}

VelCSetID VelCollectionRef::CreateCSetStrided(int start, int stride, int count, int block) const {
    VelAgree(m_id.ContextID().Value(), "VelCollectionRef::CreateCSetStrided",
             {m_id.Minor().Value(), start, stride, count, block});
    return Target().CreateCSetStrided(start, stride, count, block, m_id.Color());
}

VelCSetID VelCollectionRef::CreateOrderedCSet(const int* order, int count) const {
    VelAgreeOnMembers(m_id.ContextID().Value(), "VelCollectionRef::CreateOrderedCSet", order,
                      count);
    return Target().CreateOrderedCSet(order, count, m_id.Color());
}

VelCSet VelCollectionRef::CreateVolatileCSet(const int* members, int count) const {
    VelCollection& collection = Target();
    return VelCSet(m_id, collection.Space(), collection.VolatileSet(members, count));
}

VelCSet VelCollectionRef::CreateVolatileCSet(const omi_BlkBitVect& members) const {
    VelCollection& collection = Target();
    return VelCSet(m_id, collection.Space(), collection.VolatileSet(members));
}

VelCSet VelCollectionRef::CreateVolatileCSetStrided(int start, int stride, int count,
                                                    int block) const {
    VelCollection& collection = Target();
    return VelCSet(m_id, collection.Space(),
                   collection.VolatileStrided(start, stride, count, block));
}

VelCSetID VelCollectionRef::CreateTempCSet(const int* members, int count) const {
    VelASSERT(!"VelCollection::CreateTempCSet is not yet impelemented");
    return VelCSetID();
}

VelCSetID VelCollectionRef::EmptyCSetID() const {
    return Target().EmptyCSetID(m_id.Color());
}

VelCSetID VelCollectionRef::BiggestCSetID() const {
    return Target().BiggestCSetID(m_id.Color());
}

VelCSetID VelCollectionRef::StoredCSetID(int index) const {
    return Target().StoredCSetID(index, m_id.Color());
}

VelCollectionID VelCollectionRef::CreateColorVariant(int color) const {
    return Target().CreateColorVariant(color);
}

void VelCollectionRef::ExtendSpace(int count) const {
    VelAgree(m_id.ContextID().Value(), "VelCollectionRef::ExtendSpace",
             {m_id.Minor().Value(), count});
    Target().ExtendSpace(count);
}

int VelCollectionRef::Space() const {
    return Target().Space();
}

int VelCollectionRef::NumCSets() const {
    return Target().NumCSets();
}

void VelCollectionRef::Flush(bool toDisk) const {
    Target().Flush(toDisk);
}
