#include "vel/types/VelRecTypeAssociationMember.h"

#include "types/VelRecTypeRepr.h"
#include "vel/core/VelAssert.h"

namespace {

template <class T>
int Order(T a, T b) {
    return a < b ? -1 : (b < a ? 1 : 0);
}

VelRecTypeAssociationMemberRepr* NewMember(const cow_String& roleName,
                                           VelRecTypeAssociationMemberOption option, int kind,
                                           int minOccurs, int maxOccurs) {
    VelRecTypeAssociationMemberRepr* repr = new VelRecTypeAssociationMemberRepr;
    repr->m_RoleName = roleName;
    repr->m_Option = option;
    repr->m_Kind = kind;
    repr->m_MinOccurs = minOccurs;
    repr->m_MaxOccurs = maxOccurs;
    return repr;
}

}  // namespace

// ---- entity types -----------------------------------------------------------------------------

void VelRecTypeEntityTypes::Append(const VelTypeID& typeID) {
    if (!m_Repr) m_Repr = VelRecHandle<VelRecTypeEntityTypesRepr>(new VelRecTypeEntityTypesRepr);
    VelArray<VelTypeID>& typeIDs = m_Repr->m_TypeIDs;
    typeIDs.SetSize(typeIDs.Size() + 1);
    typeIDs[typeIDs.Size() - 1] = typeID;
}

int VelRecTypeEntityTypes::Count() const {
    return m_Repr ? m_Repr->m_TypeIDs.Size() : 0;
}

const VelTypeID& VelRecTypeEntityTypes::Get(int i) const {
    static const VelArray<VelTypeID> none;
    return (m_Repr ? m_Repr->m_TypeIDs : none)[i];
}

// ---- association members ----------------------------------------------------------------------

VelRecTypeAssociationMember::VelRecTypeAssociationMember(const cow_String& roleName,
                                                         VelRecTypeAssociationMemberOption option,
                                                         const VelRecTypeEntityTypes& entityTypes,
                                                         int minOccurs, int maxOccurs)
    : m_Repr(NewMember(roleName, option, VelEntityDataRecord, minOccurs, maxOccurs)) {
    // The member keeps its own copy: appending to the caller's list later changes nothing here.
    VelArray<VelTypeID>& types = m_Repr->m_EntityTypes;
    types.SetSize(entityTypes.Count());
    for (int i = 0; i < types.Size(); ++i) types[i] = entityTypes.Get(i);
}

VelRecTypeAssociationMember::VelRecTypeAssociationMember(const cow_String& roleName,
                                                         VelRecTypeAssociationMemberOption option,
                                                         int kind, int minOccurs, int maxOccurs)
    : m_Repr(NewMember(roleName, option, kind, minOccurs, maxOccurs)) {}

VelRecTypeAssociationMember::VelRecTypeAssociationMember(VelRecTypeAssociationMemberOption option,
                                                         const VelRecTypeEntityTypes& entityTypes,
                                                         int minOccurs, int maxOccurs)
    : VelRecTypeAssociationMember(cow_String(), option, entityTypes, minOccurs, maxOccurs) {}

VelRecTypeAssociationMember::VelRecTypeAssociationMember(VelRecTypeAssociationMemberOption option,
                                                         int kind, int minOccurs, int maxOccurs)
    : VelRecTypeAssociationMember(cow_String(), option, kind, minOccurs, maxOccurs) {}

namespace {
const VelRecTypeAssociationMemberRepr& Bound(
    const VelRecHandle<VelRecTypeAssociationMemberRepr>& m) {
    VelVALIDATE(m && "the member describes nothing");
    return *m.Get();
}
}  // namespace

const cow_String& VelRecTypeAssociationMember::RoleName() const {
    return Bound(m_Repr).m_RoleName;
}
VelRecTypeAssociationMemberOption VelRecTypeAssociationMember::Option() const {
    return Bound(m_Repr).m_Option;
}
int VelRecTypeAssociationMember::Category() const {
    return Bound(m_Repr).m_Kind;
}
int VelRecTypeAssociationMember::EntityTypeCount() const {
    return Bound(m_Repr).m_EntityTypes.Size();
}
const VelTypeID& VelRecTypeAssociationMember::EntityType(int i) const {
    return Bound(m_Repr).m_EntityTypes[i];
}
int VelRecTypeAssociationMember::MinOccurs() const {
    return Bound(m_Repr).m_MinOccurs;
}
int VelRecTypeAssociationMember::MaxOccurs() const {
    return Bound(m_Repr).m_MaxOccurs;
}

int VelRecTypeAssociationMember::IDSize() const {
    switch (Category()) {
        case VelEntityCollection:
        case VelEntityDistribution:
        case VelEntityDSet:
        case VelEntityCollectionMember:
        case VelEntityGrid:
        case VelEntityIndexSet:
        case VelEntityPermutation:
            return 4;
        case VelEntityCSet:
        case VelEntityOrderedCSet:
        case VelEntityDrawer:
        case VelEntityCompartment:
            return 8;
        default:
            return VelDynamicID::e_PersistentSize;
    }
}

int VelRecTypeAssociationMember::KeySize() const {
    const VelRecTypeAssociationMemberOption option = Option();
    return option == VelRecTypeOrdered || option == VelRecTypeStringKey ? 4 : 0;
}

int VelRecTypeAssociationMember::Compare(const VelRecTypeAssociationMember& other) const {
    const VelRecTypeAssociationMemberRepr& a = Bound(m_Repr);
    const VelRecTypeAssociationMemberRepr& b = Bound(other.m_Repr);
    if (int order = Order<int>(a.m_Option, b.m_Option)) return order;
    if (int order = Order(a.m_Kind, b.m_Kind)) return order;
    if (int order = Order(a.m_EntityTypes.Size(), b.m_EntityTypes.Size())) return order;
    for (int i = 0; i < a.m_EntityTypes.Size(); ++i) {
        if (int order = a.m_EntityTypes[i].Compare(b.m_EntityTypes[i])) return order;
    }
    if (int order = Order(a.m_MinOccurs, b.m_MinOccurs)) return order;
    return Order(a.m_MaxOccurs, b.m_MaxOccurs);
}
