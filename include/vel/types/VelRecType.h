#ifndef VEL_TYPES_VELRECTYPE_H
#define VEL_TYPES_VELRECTYPE_H

#include "vel/VelExport.h"
#include "vel/types/VelRecHandle.h"
#include "vel/types/VelRecTypeAssociationMember.h"
#include "vel/types/VelRecTypeDataRecordMember.h"
#include "vel/types/VelTypeCategories.h"
#include "vel/types/VelTypeID.h"

class VelRecTypeRepr;
class VelRecTypeFactory;

// A record type as the type registry stores it and records are written with: a category
// (VelCategoryDataRecord or VelCategoryAssociation), a type identifier and a shared description.
// VelRecTypeDataRecord and VelRecTypeAssociation view it by category.
class VEL_API VelRecType {
public:
    // A type of category 0 with the null identifier; only for filling arrays.
    VelRecType() = default;
    VelRecType(int category, const VelTypeID& typeID, const VelRecHandle<VelRecTypeRepr>& repr);

    int Category() const { return m_Category; }
    const VelTypeID& TypeID() const { return m_TypeID; }

protected:
    const VelRecHandle<VelRecTypeRepr>& Repr() const { return m_Repr; }

private:
    int m_Category = 0;
    VelTypeID m_TypeID;
    VelRecHandle<VelRecTypeRepr> m_Repr;
};

// A data record type: its identifier, the identifier of its base type (null without one) and its
// own members, in schema position order (so in name order for a type made from a schema).
// The factory makes them.
class VEL_API VelRecTypeDataRecord : public VelRecType {
public:
    // Validates "type.Category() == VelCategoryDataRecord".
    explicit VelRecTypeDataRecord(const VelRecType& type);

    const VelTypeID& BaseTypeID() const;
    int MemberCount() const;
    // Validates the position.
    const VelRecTypeDataRecordMember& Member(int i) const;
    // The position of the member of that name; validates that there is one ("pindex").
    int MemberIndex(const cow_String& name) const;

    // Same identifier, same base, and members that compare equal one by one.
    bool operator==(const VelRecTypeDataRecord& other) const;
    bool operator!=(const VelRecTypeDataRecord& other) const { return !(*this == other); }

private:
    friend class VelRecTypeFactory;
    VelRecTypeDataRecord(const VelTypeID& typeID, const VelTypeID& baseTypeID,
                         const VelRecTypeDataRecordMembers& members);
};

// An association type: its identifier and exactly two members.
class VEL_API VelRecTypeAssociation : public VelRecType {
public:
    // Validates "type.Category() == VelCategoryAssociation".
    explicit VelRecTypeAssociation(const VelRecType& type);

    int MemberCount() const { return 2; }
    // Validates "0 == whichMember || 1 == whichMember".
    const VelRecTypeAssociationMember& Member(int whichMember) const;

    // Same identifier and members that compare equal one by one.
    bool operator==(const VelRecTypeAssociation& other) const;
    bool operator!=(const VelRecTypeAssociation& other) const { return !(*this == other); }

private:
    friend class VelRecTypeFactory;
    VelRecTypeAssociation(const VelTypeID& typeID, const VelRecTypeAssociationMember& first,
                          const VelRecTypeAssociationMember& second);
};

#endif
