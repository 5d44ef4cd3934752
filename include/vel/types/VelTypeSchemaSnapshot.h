#ifndef VEL_TYPES_VELTYPESCHEMASNAPSHOT_H
#define VEL_TYPES_VELTYPESCHEMASNAPSHOT_H

#include "vel/VelExport.h"
#include "vel/core/VelHolder.h"
#include "vel/platform/cow_String.h"
#include "vel/types/VelTypeAssociation.h"
#include "vel/types/VelTypeDataRecord.h"
#include "vel/types/VelTypeDataRecordFlat.h"
#include "vel/types/VelTypeForm.h"
#include "vel/types/VelTypeFormSchema.h"
#include "vel/types/VelTypeID.h"

class VelTypeSchemaSnapshotRepr;
struct VelTypesAccess;

// The frozen set of types that one form presents at one level, with the forms it depends on,
// each at one fixed level.  Its form schemas are its own first, then one per form it depends on.
// Its types are, per form schema, the latest declaration of each type name at or below the
// level, ordered by VelTypeID.  Base types and target types are resolved when the snapshot is
// built.  Snapshots are made, cached and owned by a VelTypeFormManager and never change; every
// operation asserts "repr".
class VEL_API VelTypeSchemaSnapshot : public VelWeakReference<VelTypeSchemaSnapshotRepr> {
public:
    VelTypeSchemaSnapshot() = default;

    int FormSchemaCount() const;
    VelTypeFormSchema FormSchema(int i) const;
    // The position of the form schema of that form, or -1.
    int GetFormSchemaPosition(const cow_String& formName) const;

    int TypeCount() const;
    VelTypeID TypeID(int i) const;
    const cow_String& TypeName(int i) const;
    int TypeLevel(int i) const;
    // VelCategoryDataRecord or VelCategoryAssociation.
    int TypeCategory(int i) const;
    VelTypeForm TypeForm(int i) const;
    // The type at position i, which must be of that category.
    VelTypeDataRecord TypeAsDataRecord(int i) const;
    VelTypeAssociation TypeAsAssociation(int i) const;
    VelTypeDataRecordFlat TypeAsDataRecordFlat(int i) const;

    // The position of the type, negative when it is not in the snapshot.
    int GetTypePositionByID(const VelTypeID& typeID) const;
    // The position of the type of that name of `form`, negative when it is not in the snapshot.
    int GetTypePositionByName(const VelTypeForm& form, const cow_String& name) const;

    // Whether this snapshot extends `other`: every form schema of `other` is a form schema of
    // this one, at the same level.  A snapshot includes itself.
    bool Includes(const VelTypeSchemaSnapshot& other) const;

    // Bound to a snapshot that still exists.
    explicit operator bool() const { return IsAlive(); }
    // Both observe the same snapshot.
    bool operator==(const VelTypeSchemaSnapshot& other) const;
    bool operator!=(const VelTypeSchemaSnapshot& other) const { return !(*this == other); }

private:
    friend struct VelTypesAccess;
};

#endif
