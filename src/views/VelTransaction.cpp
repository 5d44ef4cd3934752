#include "vel/views/VelTransaction.h"

#include "vel/core/VelAssert.h"
#include "views/VelTransactionRepr.h"
#include "views/VelViewsAccess.h"

VelTransaction::VelTransaction(const VelView& view)
    : m_Repr(new VelTransactionRepr(VelViewsAccess::Handle(view))) {}

VelTransaction::~VelTransaction() = default;

VelTransactionRepr& VelTransaction::Repr() const {
    return *m_Repr.Get();
}

void VelTransaction::Commit() const {
    Repr().Commit();
}

bool VelTransaction::IsActive() const {
    return Repr().IsActive();
}

VelDynamicID VelTransaction::FocusID() const {
    Repr().CheckActive();
    return Repr().View().FocusID();
}

VelRecType VelTransaction::Type(const VelTypeID& typeID) const {
    Repr().CheckActive();
    const VelViewRepr& view = Repr().View();
    return view.Registry().GetType(view.RegisteredType(typeID));
}

// ---- edit -------------------------------------------------------------------------------------

VelTransactionEdit::VelTransactionEdit(const VelViewUpdateEdition& view) : VelTransaction(view) {}

VelDataRecordUpdate VelTransactionEdit::UpdateDataRecord(const VelDynamicID& id) const {
    return VelViewsAccess::RecordUpdate(Repr().ModifyDataRecord(id));
}

VelAssociationUpdate VelTransactionEdit::UpdateAssociation(const VelAssociationID& id) const {
    return VelViewsAccess::AssociationUpdate(Repr().UpdateAssociation(id, false));
}

// ---- extend -----------------------------------------------------------------------------------

VelTransactionExtend::VelTransactionExtend(const VelViewUpdateForm& view) : VelTransaction(view) {}

void VelTransactionExtend::CreateTypes(const VelTypeSchemaSnapshot& snapshot) const {
    Repr().CreateTypes(snapshot);
}

void VelTransactionExtend::CreateType(const VelRecType& type) const {
    Repr().CreateType(type);
}

VelDataRecordUpdate VelTransactionExtend::CreateDataRecord(const VelTypeID& typeID) const {
    return VelViewsAccess::RecordUpdate(Repr().CreateDataRecord(typeID));
}

VelDataRecordUpdate VelTransactionExtend::ModifyDataRecord(const VelDynamicID& id) const {
    return VelViewsAccess::RecordUpdate(Repr().ModifyDataRecord(id));
}

VelAssociationUpdate VelTransactionExtend::UpdateAssociation(const VelAssociationID& id) const {
    return VelViewsAccess::AssociationUpdate(Repr().UpdateAssociation(id, false));
}

VelAssociationUpdate VelTransactionExtend::ModifyAssociation(const VelAssociationID& id) const {
    return VelViewsAccess::AssociationUpdate(Repr().UpdateAssociation(id, true));
}

// ---- upgrade ----------------------------------------------------------------------------------

VelTransactionUpgrade::VelTransactionUpgrade(const VelViewUpdateLevel& view)
    : VelTransaction(view) {}

void VelTransactionUpgrade::UpdateTypes(const VelTypeSchemaSnapshot& snapshot) const {
    Repr().UpdateTypes(snapshot);
}

VelDataRecordUpdate VelTransactionUpgrade::CreateDataRecord(const VelTypeID& typeID) const {
    return VelViewsAccess::RecordUpdate(Repr().CreateDataRecord(typeID));
}

VelDataRecordUpdate VelTransactionUpgrade::ModifyDataRecord(const VelDynamicID& id) const {
    return VelViewsAccess::RecordUpdate(Repr().ModifyDataRecord(id));
}

VelAssociationUpdate VelTransactionUpgrade::UpdateAssociation(const VelAssociationID& id) const {
    return VelViewsAccess::AssociationUpdate(Repr().UpdateAssociation(id, false));
}
