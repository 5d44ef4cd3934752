#ifndef VEL_TYPES_VELRECTYPEFACTORY_H
#define VEL_TYPES_VELRECTYPEFACTORY_H

#include "vel/VelExport.h"
#include "vel/types/VelRecType.h"
#include "vel/types/VelTypeAssociation.h"
#include "vel/types/VelTypeDataRecord.h"

// Makes record types, from the schema types of a snapshot or directly from identifiers.  Views
// and extend transactions hand one out; it keeps no state.
class VEL_API VelRecTypeFactory {
public:
    // The record type of a schema data record: its identifier, its base's identifier and one
    // record member per schema member, in schema position (name) order.  A symbolic constant
    // whose default names none of its values fails the record member's range check.
    VelRecTypeDataRecord CreateDataRecordType(const VelTypeDataRecord& type) const;
    // A data record type without members or base.
    VelRecTypeDataRecord CreateDataRecordType(const VelTypeID& typeID) const;
    VelRecTypeDataRecord CreateDataRecordType(const VelTypeID& typeID,
                                              const VelRecTypeDataRecordMembers& members) const;
    VelRecTypeDataRecord CreateDataRecordType(const VelTypeID& typeID,
                                              const VelTypeID& baseTypeID) const;
    VelRecTypeDataRecord CreateDataRecordType(const VelTypeID& typeID, const VelTypeID& baseTypeID,
                                              const VelRecTypeDataRecordMembers& members) const;

    // The record type of a schema association, which must have exactly two members
    // ("type.MemberCount() == 2").
    VelRecTypeAssociation CreateAssociationType(const VelTypeAssociation& type) const;
    VelRecTypeAssociation CreateAssociationType(const VelTypeID& typeID,
                                                const VelRecTypeAssociationMember& first,
                                                const VelRecTypeAssociationMember& second) const;

    // The record member of a schema association member.  Its option follows from the key type
    // and the ordered flag: none gives unordered or ordered, a string key gives the string-key
    // option, and a string key on an ordered member is a validation failure.  A data-record
    // member's targets become its entity types.
    static VelRecTypeAssociationMember AssociationMemberOf(const VelTypeAssociationMember& member);
    static VelRecTypeAssociationMemberOption OptionOf(int keyType, bool ordered);
    // The record member of a schema data record member.
    static VelRecTypeDataRecordMember DataRecordMemberOf(const VelTypeDataRecordMember& member);
};

#endif
