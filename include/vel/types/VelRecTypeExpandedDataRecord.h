#ifndef VEL_TYPES_VELRECTYPEEXPANDEDDATARECORD_H
#define VEL_TYPES_VELRECTYPEEXPANDEDDATARECORD_H

#include "vel/VelExport.h"
#include "vel/core/VelArray.h"
#include "vel/types/VelRecType.h"
#include "vel/types/VelTypeRegistry.h"

// A data record type with its whole base chain flattened into one member list: the deepest
// base's members first, then each derived type's own, down to the type itself.  This is the
// layout of a stored record: each member occupies Size() bytes at its offset.
class VEL_API VelRecTypeExpandedDataRecord {
public:
    // Walks the base chain through `registry`.  Every base must be registered, and the chain
    // may not be 1024 or more bases deep (which also ends a cyclic chain).
    VelRecTypeExpandedDataRecord(const VelRecTypeDataRecord& type, const VelTypeRegistry& registry);

    const VelRecTypeDataRecord& DataRecordType() const { return m_Type; }
    // Whether the type is `typeID` or derives from it.
    bool IsA(const VelTypeID& typeID) const;

    int MemberCount() const { return m_Members.Size(); }
    const VelRecTypeDataRecordMember& Member(int i) const { return m_Members[i]; }
    // The byte offset of member i in a stored record.
    int MemberOffset(int i) const { return m_Offsets[i]; }
    // The bytes of a stored record.
    int RecordSize() const { return m_RecordSize; }

private:
    VelRecTypeDataRecord m_Type;
    // The type and its bases, the type first.
    VelArray<VelTypeID> m_Chain;
    VelArray<VelRecTypeDataRecordMember> m_Members;
    VelArray<int> m_Offsets;
    int m_RecordSize = 0;
};

#endif
