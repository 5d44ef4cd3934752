#include "vel/views/VelAssociationID.h"

// The identity an association identifier shares between its copies.
class VelAssociationIDRepr : public VelRecShared {
public:
    VelAssociationIDRepr(const VelDynamicID& id, const VelTypeID& typeID)
        : m_ID(id), m_TypeID(typeID) {}
    const VelDynamicID m_ID;
    const VelTypeID m_TypeID;
};

VelAssociationID::VelAssociationID() = default;

VelAssociationID::VelAssociationID(const VelDynamicID& id, const VelTypeID& typeID)
    : m_Handle(new VelAssociationIDRepr(id, typeID)) {}

bool VelAssociationID::IsNull() const {
    return !m_Handle;
}

VelDynamicID VelAssociationID::DynamicID() const {
    return m_Handle ? m_Handle->m_ID : VelDynamicID();
}

VelTypeID VelAssociationID::TypeID() const {
    return m_Handle ? m_Handle->m_TypeID : VelTypeID();
}

int VelAssociationID::Compare(const VelAssociationID& other) const {
    if (IsNull() || other.IsNull()) return IsNull() == other.IsNull() ? 0 : (IsNull() ? -1 : 1);
    const int order = m_Handle->m_ID.Compare(other.m_Handle->m_ID);
    return order != 0 ? order : m_Handle->m_TypeID.Compare(other.m_Handle->m_TypeID);
}
