#include "vel/types/VelRecType.h"

#include "types/VelRecTypeRepr.h"
#include "vel/core/VelAssert.h"

VelRecType::VelRecType(int category, const VelTypeID& typeID,
                       const VelRecHandle<VelRecTypeRepr>& repr)
    : m_Category(category), m_TypeID(typeID), m_Repr(repr) {
    VelVALIDATE(repr && repr->m_Category == category &&
                "The representation does not describe a type of that category");
}

// ---- data record types ------------------------------------------------------------------------

namespace {
const VelRecTypeDataRecordRepr& DataRecordRepr(const VelRecHandle<VelRecTypeRepr>& repr) {
    return *static_cast<const VelRecTypeDataRecordRepr*>(repr.Get());
}
const VelRecTypeAssociationRepr& AssociationRepr(const VelRecHandle<VelRecTypeRepr>& repr) {
    return *static_cast<const VelRecTypeAssociationRepr*>(repr.Get());
}

VelRecHandle<VelRecTypeRepr> NewDataRecord(const VelTypeID& baseTypeID,
                                           const VelRecTypeDataRecordMembers& members) {
    VelRecTypeDataRecordRepr* repr = new VelRecTypeDataRecordRepr;
    VelRecHandle<VelRecTypeRepr> handle(repr);
    repr->m_BaseTypeID = baseTypeID;
    repr->m_Members.SetSize(members.Count());
    for (int i = 0; i < members.Count(); ++i) {
        repr->m_Members[i] = members.Get(i);
        repr->m_MemberIndex.Insert(members.Get(i).Name(), i, false);
    }
    return handle;
}

VelRecHandle<VelRecTypeRepr> NewAssociation(const VelRecTypeAssociationMember& first,
                                            const VelRecTypeAssociationMember& second) {
    VelRecTypeAssociationRepr* repr = new VelRecTypeAssociationRepr;
    VelRecHandle<VelRecTypeRepr> handle(repr);
    repr->m_Members[0] = first;
    repr->m_Members[1] = second;
    return handle;
}
}  // namespace

VelRecTypeDataRecord::VelRecTypeDataRecord(const VelRecType& type) : VelRecType(type) {
    VelVALIDATE(type.Category() == VelCategoryDataRecord);
}

VelRecTypeDataRecord::VelRecTypeDataRecord(const VelTypeID& typeID, const VelTypeID& baseTypeID,
                                           const VelRecTypeDataRecordMembers& members)
    : VelRecType(VelCategoryDataRecord, typeID, NewDataRecord(baseTypeID, members)) {}

const VelTypeID& VelRecTypeDataRecord::BaseTypeID() const {
    return DataRecordRepr(Repr()).m_BaseTypeID;
}

int VelRecTypeDataRecord::MemberCount() const {
    return DataRecordRepr(Repr()).m_Members.Size();
}

const VelRecTypeDataRecordMember& VelRecTypeDataRecord::Member(int i) const {
    return DataRecordRepr(Repr()).m_Members[i];
}

int VelRecTypeDataRecord::MemberIndex(const cow_String& name) const {
    const int* pindex = DataRecordRepr(Repr()).m_MemberIndex.Find(name);
    VelVALIDATE(pindex);
    return *pindex;
}

bool VelRecTypeDataRecord::operator==(const VelRecTypeDataRecord& other) const {
    if (TypeID() != other.TypeID() || BaseTypeID() != other.BaseTypeID()) return false;
    if (MemberCount() != other.MemberCount()) return false;
    for (int i = 0; i < MemberCount(); ++i) {
        if (Member(i).Compare(other.Member(i)) != 0) return false;
    }
    return true;
}

// ---- association types ------------------------------------------------------------------------

VelRecTypeAssociation::VelRecTypeAssociation(const VelRecType& type) : VelRecType(type) {
    VelVALIDATE(type.Category() == VelCategoryAssociation);
}

VelRecTypeAssociation::VelRecTypeAssociation(const VelTypeID& typeID,
                                             const VelRecTypeAssociationMember& first,
                                             const VelRecTypeAssociationMember& second)
    : VelRecType(VelCategoryAssociation, typeID, NewAssociation(first, second)) {}

const VelRecTypeAssociationMember& VelRecTypeAssociation::Member(int whichMember) const {
    VelVALIDATE(0 == whichMember || 1 == whichMember);
    return AssociationRepr(Repr()).m_Members[whichMember];
}

bool VelRecTypeAssociation::operator==(const VelRecTypeAssociation& other) const {
    return TypeID() == other.TypeID() && Member(0).Compare(other.Member(0)) == 0 &&
           Member(1).Compare(other.Member(1)) == 0;
}
