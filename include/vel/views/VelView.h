#ifndef VEL_VIEWS_VELVIEW_H
#define VEL_VIEWS_VELVIEW_H

#include "vel/VelExport.h"
#include "vel/context/VelDynamicID.h"
#include "vel/core/VelArray.h"
#include "vel/platform/cow_String.h"
#include "vel/types/VelRecHandle.h"
#include "vel/types/VelRecType.h"
#include "vel/types/VelRecTypeFactory.h"
#include "vel/types/VelTypeSchemaSnapshot.h"
#include "vel/views/VelAssociation.h"
#include "vel/views/VelAssociationID.h"
#include "vel/views/VelDataRecord.h"
#include "vel/views/VelViewTypeEntry.h"

class VelViewRepr;
struct VelViewsAccess;

// A view: the unit in which typed records are stored and read, bound to one schema snapshot
// (its schema).  A view made from an earlier one also knows that view's snapshot (its ancestor
// schema) and starts with a copy of its records.  Views are made and opened through
// VelContextRef (View, NewForm, NewEdition, NewLevel, UpgradeLevel, DowngradeLevel); in the file
// each is named by its form, its schema level and its edition joined with "-".
//
// A mutable view changes through one transaction at a time, of the class its kind calls for,
// and is finished by Publish(); readers find the latest published edition of a form and level.
// Handles share the view; a view whose context has been closed refuses every use.
class VEL_API VelView {
public:
    // Bound to nothing.
    VelView() = default;
    explicit operator bool() const { return static_cast<bool>(m_Repr); }

    // The schema; unbound for a view opened by name only, or for a new view whose first
    // transaction has not set it yet.
    VelTypeSchemaSnapshot Schema() const;
    VelTypeSchemaSnapshot AncestorSchema() const;
    // A registered type (validated), and the type of a data record or an association.
    VelRecType Type(const VelTypeID& typeID) const;
    VelRecType Type(const VelDynamicID& id) const;
    VelRecTypeFactory TypeFactory() const { return VelRecTypeFactory(); }
    // The registered types in the order they were registered, with their committed counts
    // (vel/views/VelViewTypeEntry.h).  The built-in Types form's records, which hold the
    // registry, are not among them.
    VelArray<VelViewTypeEntry> TypeEntries() const;

    // "<form>-<level>-<edition>"
    cow_String Name() const;
    cow_String FormName() const;
    int Level() const;
    int Edition() const;
    bool IsMutable() const;
    bool IsPublished() const;

    // The view's focus: the participant of the focus members of its associations.
    VelDynamicID FocusID() const;
    // A committed data record; reading it locks its type.
    VelDataRecord DataRecord(const VelDynamicID& id) const;
    // The committed records of exactly that type, in the order they were created.
    VelArray<VelDynamicID> DataRecordIDs(const VelTypeID& typeID) const;
    // The association of a registered association type.
    VelAssociationID AssociationID(const VelTypeID& associationType) const;
    // Its committed pairs.
    VelAssociation Association(const VelAssociationID& id) const;

protected:
    friend struct VelViewsAccess;
    explicit VelView(const VelRecHandle<VelViewRepr>& repr) : m_Repr(repr) {}
    VelViewRepr& Repr() const;

    VelRecHandle<VelViewRepr> m_Repr;
};

// A published view, opened for reading.
class VEL_API VelViewRead : public VelView {
public:
    VelViewRead() = default;

private:
    friend struct VelViewsAccess;
    explicit VelViewRead(const VelRecHandle<VelViewRepr>& repr) : VelView(repr) {}
};

// A new edition of a view: the same schema, its records edited through VelTransactionEdit.
class VEL_API VelViewUpdateEdition : public VelView {
public:
    VelViewUpdateEdition() = default;
    // Makes the view readable by form name and level and ends its changes: publishing a view
    // that is not mutable (already published) fails with "This view cannot be published.".
    void Publish() const;

private:
    friend struct VelViewsAccess;
    explicit VelViewUpdateEdition(const VelRecHandle<VelViewRepr>& repr) : VelView(repr) {}
};

// A view of a form, extended through VelTransactionExtend.
class VEL_API VelViewUpdateForm : public VelView {
public:
    VelViewUpdateForm() = default;
    void Publish() const;

private:
    friend struct VelViewsAccess;
    explicit VelViewUpdateForm(const VelRecHandle<VelViewRepr>& repr) : VelView(repr) {}
};

// A view at another level of its ancestor's form, through VelTransactionUpgrade.
class VEL_API VelViewUpdateLevel : public VelView {
public:
    VelViewUpdateLevel() = default;
    void Publish() const;

private:
    friend struct VelViewsAccess;
    explicit VelViewUpdateLevel(const VelRecHandle<VelViewRepr>& repr) : VelView(repr) {}
};

#endif
