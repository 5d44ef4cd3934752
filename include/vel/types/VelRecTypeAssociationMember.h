#ifndef VEL_TYPES_VELRECTYPEASSOCIATIONMEMBER_H
#define VEL_TYPES_VELRECTYPEASSOCIATIONMEMBER_H

#include "vel/VelExport.h"
#include "vel/platform/cow_String.h"
#include "vel/types/VelRecHandle.h"
#include "vel/types/VelTypeCategories.h"
#include "vel/types/VelTypeID.h"

class VelRecTypeEntityTypesRepr;
class VelRecTypeAssociationMemberRepr;

// The record types that a data-record member of an association may point at.  An ordered list
// shared by copying.
class VEL_API VelRecTypeEntityTypes {
public:
    VelRecTypeEntityTypes() = default;

    void Append(const VelTypeID& typeID);
    int Count() const;
    // Validates the position.
    const VelTypeID& Get(int i) const;

private:
    VelRecHandle<VelRecTypeEntityTypesRepr> m_Repr;
};

// One of the two members of a record-side association type: the role name (possibly empty),
// how its participants are kept (the option), what they are (an entity kind, or for data
// records the record types allowed) and how many of them one participant of the other member
// may have (minOccurs, and maxOccurs with VelTypeAssociationUnbounded for no limit).
class VEL_API VelRecTypeAssociationMember {
public:
    // A member that describes nothing; only for filling arrays.
    VelRecTypeAssociationMember() = default;
    // A member whose participants are data records of the given types (kind VelEntityDataRecord).
    VelRecTypeAssociationMember(const cow_String& roleName,
                                VelRecTypeAssociationMemberOption option,
                                const VelRecTypeEntityTypes& entityTypes, int minOccurs,
                                int maxOccurs);
    // A member whose participants are entities of `kind`.
    VelRecTypeAssociationMember(const cow_String& roleName,
                                VelRecTypeAssociationMemberOption option, int kind, int minOccurs,
                                int maxOccurs);
    VelRecTypeAssociationMember(VelRecTypeAssociationMemberOption option,
                                const VelRecTypeEntityTypes& entityTypes, int minOccurs,
                                int maxOccurs);
    VelRecTypeAssociationMember(VelRecTypeAssociationMemberOption option, int kind, int minOccurs,
                                int maxOccurs);

    const cow_String& RoleName() const;
    VelRecTypeAssociationMemberOption Option() const;
    // The entity kind (VelEntityKind).
    int Category() const;
    // The allowed record types of a data-record member (empty for the other kinds).
    int EntityTypeCount() const;
    const VelTypeID& EntityType(int i) const;
    int MinOccurs() const;
    int MaxOccurs() const;

    // The bytes of a participant's identifier in a stored pair: 4 for kinds 1, 2, 3, 4, 8, 10
    // and 11; 8 for kinds 5, 6, 7 and 9; 20 (a whole dynamic identifier) for any other kind.
    int IDSize() const;
    // The bytes of a participant's position or key in a stored pair: 4 for ordered and
    // string-key members, 0 otherwise.
    int KeySize() const;

    // An order in which role names take no part: option, kind, the entity types, minOccurs,
    // maxOccurs.
    int Compare(const VelRecTypeAssociationMember& other) const;

private:
    VelRecHandle<VelRecTypeAssociationMemberRepr> m_Repr;
};

#endif
