#include "vel/views/VelView.h"

#include "vel/core/VelAssert.h"
#include "views/VelRecordStore.h"
#include "views/VelViewRepr.h"
#include "views/VelViewsAccess.h"

VelViewRepr& VelView::Repr() const {
    VelASSERT(m_Repr);
    return *m_Repr.Get();
}

VelTypeSchemaSnapshot VelView::Schema() const {
    return Repr().Schema();
}

VelTypeSchemaSnapshot VelView::AncestorSchema() const {
    return Repr().AncestorSchema();
}

VelRecType VelView::Type(const VelTypeID& typeID) const {
    const VelViewRepr& view = Repr();
    return view.Registry().GetType(view.RegisteredType(typeID));
}

VelRecType VelView::Type(const VelDynamicID& id) const {
    VelViewRepr& view = Repr();
    if (id.Category() == VelCategoryAssociation) {
        const int64_t slot = id.Second();
        VelVALIDATE(id.Context() == view.Context() && slot >= 0 && slot < view.SlotCount() &&
                    view.Slot(static_cast<int>(slot)).m_Serial == id.First() &&
                    "The association is not part of this view");
        return Type(view.Slot(static_cast<int>(slot)).m_Type);
    }
    int slot = 0;
    int64_t row = 0;
    view.Locate(id, slot, row);
    view.CommittedRecord(id, slot, row);
    return Type(view.Slot(slot).m_Type);
}

// A type registered by a transaction under way has no committed rows yet, and may have no
// slot either.
VelArray<VelViewTypeEntry> VelView::TypeEntries() const {
    VelViewRepr& view = Repr();
    view.Store();
    const VelTypeRegistry& registry = view.Registry();
    const VelTypeSchemaSnapshot& schema = view.Schema();
    VelArray<VelViewTypeEntry> entries(registry.TypeCount());
    for (int i = 0; i < registry.TypeCount(); ++i) {
        const VelRecType type = registry.GetType(i);
        const int slot = view.SlotOf(type.TypeID());
        const int64_t count = slot < 0 ? 0 : view.Slot(slot).m_Rows;
        const int position = schema ? schema.GetTypePositionByID(type.TypeID()) : -1;
        entries[i] = VelViewTypeEntry(type.TypeID(), type.Category(), count,
                                      position < 0 ? cow_String() : schema.TypeName(position));
    }
    return entries;
}

cow_String VelView::Name() const {
    return Repr().Name();
}

cow_String VelView::FormName() const {
    return Repr().FormName();
}

int VelView::Level() const {
    return Repr().Level();
}

int VelView::Edition() const {
    return Repr().Edition();
}

bool VelView::IsMutable() const {
    return Repr().IsMutable();
}

bool VelView::IsPublished() const {
    return Repr().IsPublished();
}

VelDynamicID VelView::FocusID() const {
    return Repr().FocusID();
}

VelDataRecord VelView::DataRecord(const VelDynamicID& id) const {
    return VelViewsAccess::Record(Repr().ReadDataRecord(id));
}

VelArray<VelDynamicID> VelView::DataRecordIDs(const VelTypeID& typeID) const {
    return Repr().DataRecordIDs(typeID);
}

VelAssociationID VelView::AssociationID(const VelTypeID& associationType) const {
    return Repr().AssociationIDOf(associationType);
}

VelAssociation VelView::Association(const VelAssociationID& id) const {
    VelViewRepr& view = Repr();
    const int slot = view.AssociationSlot(id);
    view.LockType(id.TypeID());
    return VelViewsAccess::Association(view.ReadAssociation(slot));
}

void VelViewUpdateEdition::Publish() const {
    Repr().Publish();
}

void VelViewUpdateForm::Publish() const {
    Repr().Publish();
}

void VelViewUpdateLevel::Publish() const {
    Repr().Publish();
}
