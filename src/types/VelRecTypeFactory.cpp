#include "vel/types/VelRecTypeFactory.h"

#include "vel/core/VelAssert.h"

VelRecTypeDataRecord VelRecTypeFactory::CreateDataRecordType(const VelTypeDataRecord& type) const {
    VelRecTypeDataRecordMembers members;
    for (int i = 0; i < type.MemberCount(); ++i) members.Append(DataRecordMemberOf(type.Member(i)));
    return VelRecTypeDataRecord(type.ID(), type.BaseTypeID(), members);
}

VelRecTypeDataRecord VelRecTypeFactory::CreateDataRecordType(const VelTypeID& typeID) const {
    return VelRecTypeDataRecord(typeID, VelTypeID(), VelRecTypeDataRecordMembers());
}

VelRecTypeDataRecord VelRecTypeFactory::CreateDataRecordType(
    const VelTypeID& typeID, const VelRecTypeDataRecordMembers& members) const {
    return VelRecTypeDataRecord(typeID, VelTypeID(), members);
}

VelRecTypeDataRecord VelRecTypeFactory::CreateDataRecordType(const VelTypeID& typeID,
                                                             const VelTypeID& baseTypeID) const {
    return VelRecTypeDataRecord(typeID, baseTypeID, VelRecTypeDataRecordMembers());
}

VelRecTypeDataRecord VelRecTypeFactory::CreateDataRecordType(
    const VelTypeID& typeID, const VelTypeID& baseTypeID,
    const VelRecTypeDataRecordMembers& members) const {
    return VelRecTypeDataRecord(typeID, baseTypeID, members);
}

VelRecTypeAssociation VelRecTypeFactory::CreateAssociationType(
    const VelTypeAssociation& type) const {
    VelVALIDATE(type.MemberCount() == 2);
    return VelRecTypeAssociation(type.ID(), AssociationMemberOf(type.Member(0)),
                                 AssociationMemberOf(type.Member(1)));
}

VelRecTypeAssociation VelRecTypeFactory::CreateAssociationType(
    const VelTypeID& typeID, const VelRecTypeAssociationMember& first,
    const VelRecTypeAssociationMember& second) const {
    return VelRecTypeAssociation(typeID, first, second);
}

VelRecTypeAssociationMemberOption VelRecTypeFactory::OptionOf(int keyType, bool ordered) {
    if (keyType != VelTypeAssociationKeyNone && keyType != VelTypeAssociationKeyString) {
        VelVALIDATE(!"Invalid key type");
    }
    VelVALIDATE(keyType == VelTypeAssociationKeyNone ||
                (keyType == VelTypeAssociationKeyString && !ordered));
    if (keyType == VelTypeAssociationKeyNone)
        return ordered ? VelRecTypeOrdered : VelRecTypeUnordered;
    return VelRecTypeStringKey;
}

VelRecTypeAssociationMember VelRecTypeFactory::AssociationMemberOf(
    const VelTypeAssociationMember& member) {
    const VelRecTypeAssociationMemberOption option = OptionOf(member.KeyType(), member.Ordered());
    if (member.Category() != VelEntityDataRecord) {
        return VelRecTypeAssociationMember(member.RoleName(), option, member.Category(),
                                           member.MinOccurs(), member.MaxOccurs());
    }
    VelRecTypeEntityTypes entityTypes;
    for (int i = 0; i < member.TargetTypeCount(); ++i) entityTypes.Append(member.TargetTypeID(i));
    return VelRecTypeAssociationMember(member.RoleName(), option, entityTypes, member.MinOccurs(),
                                       member.MaxOccurs());
}

VelRecTypeDataRecordMember VelRecTypeFactory::DataRecordMemberOf(
    const VelTypeDataRecordMember& member) {
    const cow_String& name = member.MemberName();
    switch (member.Category()) {
        case VelDataCategoryBool:
            return VelRecTypeBoolean(name, VelTypeBoolMember(member).DefaultValue());
        case VelDataCategoryOctet:
            return VelRecTypeChar(name, VelTypeOctetMember(member).DefaultValue());
        case VelDataCategoryShort:
            return VelRecTypeShort(name, VelTypeShortMember(member).DefaultValue());
        case VelDataCategoryInt:
            return VelRecTypeInteger(name, VelTypeIntMember(member).DefaultValue());
        case VelDataCategoryInt64:
            return VelRecTypeInt64(name, VelTypeInt64Member(member).DefaultValue());
        case VelDataCategoryFloat:
            return VelRecTypeFloat(name, VelTypeFloatMember(member).DefaultValue());
        case VelDataCategoryDouble:
            return VelRecTypeDouble(name, VelTypeDoubleMember(member).DefaultValue());
        case VelDataCategoryString:
            return VelRecTypeString(name, VelTypeStringMember(member).DefaultValue());
        case VelDataCategorySymConst: {
            const VelTypeSymConstMember symConst(member);
            return VelRecTypeSymConst(name, symConst.LimitValue(), symConst.DefaultValue());
        }
    }
    VelASSERT(!"Unrecognized data record member category!");
    return VelRecTypeDataRecordMember();
}
