#ifndef VEL_TYPES_VELTYPEASSOCIATION_H
#define VEL_TYPES_VELTYPEASSOCIATION_H

#include "vel/VelExport.h"
#include "vel/core/VelHolder.h"
#include "vel/platform/cow_String.h"
#include "vel/types/VelTypeCategories.h"
#include "vel/types/VelTypeRef.h"

class VelTypeAssociationMemberRepr;
struct VelTypesAccess;

// An observer of one member of a schema association type.  Every operation asserts "repr".
class VEL_API VelTypeAssociationMember : public VelWeakReference<VelTypeAssociationMemberRepr> {
public:
    VelTypeAssociationMember() = default;

    // The entity kind (VelEntityKind).
    int Category() const;
    const cow_String& RoleName() const;
    int MinOccurs() const;
    // VelTypeAssociationUnbounded for no upper bound.
    int MaxOccurs() const;
    bool Ordered() const;
    VelTypeAssociationKeyEnm KeyType() const;

    // The record types a data-record member may point at, as the schema named them.
    int TargetTypeCount() const;
    VelTypeQualifiedName TargetTypeName(int i) const;
    // The identifier of target i.  The targets are resolved all at once on first use; each must
    // name a type of its form ("Target type not found").
    VelTypeID TargetTypeID(int i) const;

    explicit operator bool() const { return IsAlive(); }

private:
    friend struct VelTypesAccess;
};

// An association type declaration of a form.  Its members are sorted once, on the first read by
// position, by byte-wise order of their role names.
class VEL_API VelTypeAssociation : public VelTypeRef {
public:
    VelTypeAssociation() = default;
    // Asserts that `type` is an association.
    explicit VelTypeAssociation(const VelTypeRef& type);

    int MemberCount() const;
    VelTypeAssociationMember Member(int i) const;
    // The position of the member with that role name, or -1.
    int GetMemberPositionByRoleName(const cow_String& roleName) const;
};

#endif
