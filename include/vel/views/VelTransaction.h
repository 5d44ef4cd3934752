#ifndef VEL_VIEWS_VELTRANSACTION_H
#define VEL_VIEWS_VELTRANSACTION_H

#include "vel/VelExport.h"
#include "vel/context/VelDynamicID.h"
#include "vel/types/VelRecHandle.h"
#include "vel/types/VelRecType.h"
#include "vel/types/VelRecTypeFactory.h"
#include "vel/types/VelTypeSchemaSnapshot.h"
#include "vel/views/VelAssociation.h"
#include "vel/views/VelAssociationID.h"
#include "vel/views/VelDataRecord.h"
#include "vel/views/VelView.h"

class VelTransactionRepr;

// The changes to a mutable view.  A view has at most one transaction at a time: the transaction
// is active from its construction until Commit() or its destruction.  Commit() checks the
// occurrence bounds of every association it changed, writes every change to the file (when it
// returns, the records are in the file) and ends the transaction; a transaction destroyed
// without Commit() leaves the view and the file as they were before it began.  Every operation
// of an ended transaction, and every setter of a record or association it handed out, is
// refused.
class VEL_API VelTransaction {
public:
    VelTransaction(const VelTransaction&) = delete;
    VelTransaction& operator=(const VelTransaction&) = delete;
    ~VelTransaction();

    void Commit() const;
    bool IsActive() const;

    // The identifier of the view's focus.
    VelDynamicID FocusID() const;
    // A type registered in the view (validated).
    VelRecType Type(const VelTypeID& typeID) const;
    VelRecTypeFactory TypeFactory() const { return VelRecTypeFactory(); }

protected:
    // Asserts that the view is mutable and has no active transaction.
    explicit VelTransaction(const VelView& view);
    VelTransactionRepr& Repr() const;

private:
    VelRecHandle<VelTransactionRepr> m_Repr;
};

// Edits the records of a new edition.
class VEL_API VelTransactionEdit : public VelTransaction {
public:
    explicit VelTransactionEdit(const VelViewUpdateEdition& view);

    // An existing data record, for writing.
    VelDataRecordUpdate UpdateDataRecord(const VelDynamicID& id) const;
    // An association, for inserting and removing pairs.
    VelAssociationUpdate UpdateAssociation(const VelAssociationID& id) const;
};

// Extends a view of a form: its types, then its records.
class VEL_API VelTransactionExtend : public VelTransaction {
public:
    explicit VelTransactionExtend(const VelViewUpdateForm& view);

    // Gives the view its schema and registers every type of the snapshot, in snapshot order.
    // The snapshot must be the one the view was made with; types the view inherited must be
    // registered as the snapshot has them.
    void CreateTypes(const VelTypeSchemaSnapshot& snapshot) const;
    // Registers one record type, made by the factory, that the view's schema need not hold
    // (a view with such types is read by name; a snapshot without them does not validate).
    // Its base and target types must be registered.
    void CreateType(const VelRecType& type) const;

    VelDataRecordUpdate CreateDataRecord(const VelTypeID& typeID) const;
    VelDataRecordUpdate ModifyDataRecord(const VelDynamicID& id) const;
    // An association, for inserting and removing pairs.
    VelAssociationUpdate UpdateAssociation(const VelAssociationID& id) const;
    // An association whose stored pairs are all dropped: the pairs inserted replace them.
    VelAssociationUpdate ModifyAssociation(const VelAssociationID& id) const;
};

// Moves a view to another level of its ancestor's form.
class VEL_API VelTransactionUpgrade : public VelTransaction {
public:
    explicit VelTransactionUpgrade(const VelViewUpdateLevel& view);

    // Gives the view its schema: types of the snapshot that are new are registered, types that
    // changed are updated (a type used for records is locked and cannot be), and types the
    // snapshot no longer holds are dropped with their records.
    void UpdateTypes(const VelTypeSchemaSnapshot& snapshot) const;

    VelDataRecordUpdate CreateDataRecord(const VelTypeID& typeID) const;
    VelDataRecordUpdate ModifyDataRecord(const VelDynamicID& id) const;
    VelAssociationUpdate UpdateAssociation(const VelAssociationID& id) const;
};

#endif
