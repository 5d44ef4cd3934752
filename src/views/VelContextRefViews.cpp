// The view entry points of VelContextRef.  They belong to the views area, which builds on the
// contexts: the context area only declares them.
#include "vel/context/VelContextRef.h"
#include "vel/core/VelAssert.h"
#include "vel/views/VelView.h"
#include "vel/views/VelViewEntry.h"
#include "views/VelRecordStore.h"
#include "views/VelViewRepr.h"
#include "views/VelViewsAccess.h"

namespace {

VelViewRepr* AncestorOf(const VelView& ancestor) {
    return VelViewsAccess::Handle(ancestor).Get();
}

int LevelOf(const VelTypeSchemaSnapshot& snapshot) {
    VelVALIDATE(snapshot && snapshot.FormSchemaCount() > 0);
    return snapshot.FormSchema(0).Level();
}

}  // namespace

VelViewRead VelContextRef::View(const cow_String& formName, int level) const {
    VelRecordStore& store = VelRecordStore::Of(m_id);
    return VelViewsAccess::MakeView<VelViewRead>(VelViewRepr::Open(store, formName, level));
}

bool VelContextRef::HasView(const cow_String& formName, int level) const {
    return VelRecordStore::Of(m_id).LatestPublishedEdition(formName, level) != -1;
}

VelArray<VelViewEntry> VelContextRef::ViewEntries() const {
    const std::vector<VelViewEntry> entries = VelRecordStore::Of(m_id).ViewEntries();
    VelArray<VelViewEntry> out(static_cast<int>(entries.size()));
    for (size_t i = 0; i < entries.size(); ++i) out[static_cast<int>(i)] = entries[i];
    return out;
}

VelViewRead VelContextRef::View(const VelTypeSchemaSnapshot& snapshot) const {
    VelRecordStore& store = VelRecordStore::Of(m_id);
    const VelTypeFormSchema schema = snapshot.FormSchema(0);
    const VelRecHandle<VelViewRepr> view =
        VelViewRepr::Open(store, schema.FormName(), schema.Level());
    view->SetSchema(snapshot);
    view->ValidateSchema(snapshot);
    return VelViewsAccess::MakeView<VelViewRead>(view);
}

VelViewUpdateForm VelContextRef::NewForm(const VelTypeSchemaSnapshot& snapshot) const {
    VelRecordStore& store = VelRecordStore::Of(m_id);
    return VelViewsAccess::MakeView<VelViewUpdateForm>(
        VelViewRepr::Create(store, VelViewRepr::FORM, snapshot, nullptr));
}

VelViewUpdateForm VelContextRef::NewForm(const VelTypeSchemaSnapshot& snapshot,
                                         const VelView& ancestor) const {
    VelRecordStore& store = VelRecordStore::Of(m_id);
    return VelViewsAccess::MakeView<VelViewUpdateForm>(
        VelViewRepr::Create(store, VelViewRepr::FORM, snapshot, AncestorOf(ancestor)));
}

VelViewUpdateEdition VelContextRef::NewEdition(const VelTypeSchemaSnapshot& snapshot,
                                               const VelView& ancestor) const {
    VelRecordStore& store = VelRecordStore::Of(m_id);
    return VelViewsAccess::MakeView<VelViewUpdateEdition>(
        VelViewRepr::Create(store, VelViewRepr::EDITION, snapshot, AncestorOf(ancestor)));
}

VelViewUpdateLevel VelContextRef::NewLevel(const VelTypeSchemaSnapshot& snapshot,
                                           const VelView& ancestor) const {
    VelRecordStore& store = VelRecordStore::Of(m_id);
    return VelViewsAccess::MakeView<VelViewUpdateLevel>(
        VelViewRepr::Create(store, VelViewRepr::LEVEL, snapshot, AncestorOf(ancestor)));
}

VelViewUpdateLevel VelContextRef::UpgradeLevel(const VelTypeSchemaSnapshot& snapshot,
                                               const VelView& ancestor) const {
    VelVALIDATE(LevelOf(snapshot) > ancestor.Level() &&
                "UpgradeLevel: the new level must be above the ancestor's");
    return NewLevel(snapshot, ancestor);
}

VelViewUpdateLevel VelContextRef::DowngradeLevel(const VelTypeSchemaSnapshot& snapshot,
                                                 const VelView& ancestor) const {
    VelVALIDATE(LevelOf(snapshot) < ancestor.Level() &&
                "DowngradeLevel: the new level must be below the ancestor's");
    return NewLevel(snapshot, ancestor);
}
