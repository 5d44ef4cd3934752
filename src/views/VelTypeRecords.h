#ifndef VEL_SRC_VIEWS_VELTYPERECORDS_H
#define VEL_SRC_VIEWS_VELTYPERECORDS_H

// A view's type registry, stored as records of the built-in Types form.
//
// Each registered type is a record: DataRecordType or AssociationType, whose "typeID" is the
// text form of the type's identifier, and whose identifier is the type's record ID in the
// registry.  AllTypes pairs it (member "forms") with the view's focus ("root"); a view reads
// back exactly the types its focus is paired with.
//
//   data record type   one member record per own member (BoolMember ... SymConstMember with the
//                      member's name, default and, for floats and doubles, dimension; for
//                      symbolic constants the limit), paired with the type record through
//                      DataRecordMembers at the member's position; a base through
//                      DataRecordBaseType.
//   association type   one reference record per member (CollectionRef ... ViewFocusRef, each an
//                      AssociationMember with roleName, keyType, ordered, minOccurs, maxOccurs),
//                      paired through AssociationFirstMember and AssociationSecondMember; the
//                      target types of a data-record member through DataRecordRefTargetTypes.
//
// A changed type keeps its record and gets new member records; a dropped type loses its
// AllTypes pair.  Reading checks what it reads: an unknown record type where a type, a member
// or a member reference is expected stops with the types area's messages.

#include "vel/context/VelDynamicID.h"
#include "vel/types/VelRecType.h"
#include "vel/types/VelTypeRegistry.h"

class VelTransactionRepr;
class VelViewRepr;

class VelTypeRecords {
public:
    // The built-in form's types as record types, for laying out their records.
    static const VelTypeRegistry& BuiltIn();
    static bool IsBuiltIn(const VelTypeID& typeID);

    // The type record of a type about to be registered; its content follows at commit.
    static VelDynamicID CreateTypeRecord(VelTransactionRepr& transaction, const VelRecType& type);
    // Writes the records of the types the transaction registered, changed or dropped.
    static void WritePending(VelTransactionRepr& transaction);

    // Fills `registry` with the types stored in the view.
    static void Read(VelViewRepr& view, VelTypeRegistry& registry);
};

#endif
