#ifndef VEL_TYPES_VELTYPEDATARECORD_H
#define VEL_TYPES_VELTYPEDATARECORD_H

#include "vel/VelExport.h"
#include "vel/types/VelTypeDataRecordMember.h"
#include "vel/types/VelTypeRef.h"

// A data record type declaration of a form: a name, a level, an optional base type named by form
// and type name, and its own members.  Members are kept in a list sorted once, on the first read
// by position, by byte-wise order of their names; positions are positions in that sorted list,
// and appending after the sort is a validation failure.
class VEL_API VelTypeDataRecord : public VelTypeRef {
public:
    VelTypeDataRecord() = default;
    // Asserts that `type` is a data record.
    explicit VelTypeDataRecord(const VelTypeRef& type);

    // The identifier of the base type; the null identifier without a base, or when the base's
    // form declares no type of that name.
    VelTypeID BaseTypeID() const;
    // The base as declared; an empty type name without a base.
    VelTypeQualifiedName BaseTypeName() const;

    int MemberCount() const;
    VelTypeDataRecordMember Member(int i) const;
    // The position of the member of that name, or -1.
    int GetMemberPositionByName(const cow_String& name) const;
};

#endif
