#ifndef VEL_TYPES_VELTYPEFORM_H
#define VEL_TYPES_VELTYPEFORM_H

#include "vel/VelExport.h"
#include "vel/core/VelHolder.h"
#include "vel/platform/cow_String.h"
#include "vel/types/VelTypeID.h"

class VelTypeFormRepr;
class VelTypeDataRecord;
class VelTypeAssociation;
struct VelTypesAccess;

// A named family of record types that grows in levels.  Every declaration carries a level, and a
// later level may redeclare a type of an earlier one; all declarations of one name share one
// VelTypeID.  A form takes declarations until it is first read by position (or asked for a type
// identifier or its current level): it then sorts its declarations by name and level, assigns
// the identifiers, and is closed.  Reading an empty form is an assertion failure.
//
// An observer of a form owned by a VelTypeFormManager; every operation asserts "repr".
class VEL_API VelTypeForm : public VelWeakReference<VelTypeFormRepr> {
public:
    VelTypeForm() = default;

    cow_String FormName() const;
    // The number of declarations, every level counted.
    int TypeCount() const;
    // VelCategoryDataRecord or VelCategoryAssociation.
    int TypeCategory(int i) const;
    // The declaration at position i, which must be of that category.
    VelTypeDataRecord TypeAsDataRecord(int i) const;
    VelTypeAssociation TypeAsAssociation(int i) const;

    // The identifier of the type of that name; the null identifier when the form declares none.
    VelTypeID GetTypeID(const cow_String& name) const;
    // The position of the latest declaration of that type at or below `level` (0: the current
    // level); -1 when there is none.
    int GetTypePositionByID(const VelTypeID& typeID, int level) const;
    // The greatest level of any declaration, 0 if none exceeds 0.
    int CurrentLevel() const;

    // Bound to a form that still exists.
    explicit operator bool() const { return IsAlive(); }
    // Both observe the same form.
    bool operator==(const VelTypeForm& other) const;
    bool operator!=(const VelTypeForm& other) const { return !(*this == other); }

private:
    friend struct VelTypesAccess;
};

#endif
