#ifndef VEL_TYPES_VELTYPEDATARECORDFLAT_H
#define VEL_TYPES_VELTYPEDATARECORDFLAT_H

#include "vel/VelExport.h"
#include "vel/core/VelHolder.h"
#include "vel/types/VelTypeAssociation.h"
#include "vel/types/VelTypeDataRecord.h"

class VelTypeDataRecordFlatRepr;
struct VelTypesAccess;

// A data record type of a schema snapshot seen with its inheritance: the members of the deepest
// base first, then those of each derived type in turn, and the associations of the snapshot in
// which records of the type may take part.  Owned by its snapshot; every operation asserts
// "repr".
class VEL_API VelTypeDataRecordFlat : public VelWeakReference<VelTypeDataRecordFlatRepr> {
public:
    VelTypeDataRecordFlat() = default;

    VelTypeDataRecord DataRecordType() const;

    int MemberCount() const;
    VelTypeDataRecordMember Member(int i) const;
    // The position of the member of that name, or -1.  When a derived type repeats a base
    // member's name, the derived type's member is found.
    int GetMemberPositionByName(const cow_String& name) const;

    // The associations of the snapshot with a member that this type may fill, in snapshot order.
    int AssociationCount() const;
    VelTypeAssociation Association(int i) const;

    // Whether the type is `typeID` or derives from it.
    bool IsA(const VelTypeID& typeID) const;
    // Whether a record of this type may be a participant of `member`: a data-record member one
    // of whose target types this type is or derives from.
    bool CheckType(const VelTypeAssociationMember& member) const;

    explicit operator bool() const { return IsAlive(); }

private:
    friend struct VelTypesAccess;
};

#endif
