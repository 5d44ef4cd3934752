#ifndef VEL_TYPES_VELTYPESFORM_H
#define VEL_TYPES_VELTYPESFORM_H

#include "vel/VelExport.h"
#include "vel/types/VelRecTypeAssociationMember.h"
#include "vel/types/VelTypeCategories.h"
#include "vel/types/VelTypeID.h"
#include "vel/types/VelTypeSchemaSnapshot.h"

// The built-in form "Types": the record types whose records describe record types, so that a
// type registry can store its types as ordinary records.  A data record type is a DataRecordType
// record with one member record per member (BoolMember ... SymConstMember) and, for a base, a
// DataRecordBaseType pair; an association type is an AssociationType record with two member
// records (CollectionRef ... ViewFocusRef, each an AssociationMember) and, for data-record
// members, DataRecordRefTargetTypes pairs.
//
// The mappings below translate between record types and those records, in both directions.
class VEL_API VelTypesForm {
public:
    // The form as QARN text.
    static const char* Text();
    // The form's snapshot at level 1.  It is parsed into a manager of its own on the first call
    // and kept for the life of the process.
    static VelTypeSchemaSnapshot Snapshot();

    // The type records: "DataRecordType" for VelCategoryDataRecord, "AssociationType" for
    // VelCategoryAssociation.
    static VelTypeID TypeRecordOf(int category);
    // Asserts "Unrecognized type category!" for any other record type.
    static int CategoryOfTypeRecord(const VelTypeID& recordType);

    // The member records of data record types, BoolMember for VelRecTypeCategoryBoolean and so
    // on.
    static VelTypeID MemberRecordOf(VelRecTypeDataCategory category);
    // Asserts "Unrecognized data record member category!" for any other record type.
    static VelRecTypeDataCategory CategoryOfMemberRecord(const VelTypeID& recordType);

    // The eleven member-reference records of association types, CollectionRef for
    // VelEntityCollection and so on; the null identifier for the two kinds no record names.
    static VelTypeID ReferenceRecordOf(int entityKind);
    // Asserts "Unrecognized association member category" for any other record type.
    static int EntityKindOfReferenceRecord(const VelTypeID& recordType);

    // The keyType and ordered values of an AssociationMember record for an option.
    static void StoredOption(VelRecTypeAssociationMemberOption option, int& keyType, bool& ordered);
    // The option of an AssociationMember record: keyType 0 gives unordered, or ordered when the
    // record is ordered; keyType 1 gives the string-key option and may not be ordered.  Other
    // combinations assert "Invalid combination of keyType and ordered attributes".
    static VelRecTypeAssociationMemberOption OptionOfStored(int keyType, bool ordered);
};

#endif
