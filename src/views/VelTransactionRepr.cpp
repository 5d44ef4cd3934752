#include "views/VelTransactionRepr.h"

#include <algorithm>
#include <cstring>

#include "vel/core/VelAssert.h"
#include "vel/types/VelRecTypeFactory.h"
#include "views/VelRecordStore.h"
#include "views/VelStoreIO.h"
#include "views/VelTypeRecords.h"

namespace {

// Pairs are encoded for writing this many entries at a time.
constexpr size_t e_EncodedEntries = 65536;

VelRecType RecordTypeOf(const VelTypeSchemaSnapshot& snapshot, int i, const char* unrecognized) {
    const VelRecTypeFactory factory;
    switch (snapshot.TypeCategory(i)) {
        case VelCategoryDataRecord:
            return factory.CreateDataRecordType(snapshot.TypeAsDataRecord(i));
        case VelCategoryAssociation:
            return factory.CreateAssociationType(snapshot.TypeAsAssociation(i));
    }
    VelAssert::FailValidation(unrecognized);
}

}  // namespace

VelTransactionRepr::VelTransactionRepr(const VelRecHandle<VelViewRepr>& view)
    : m_View(view), m_Token(new VelTransactionToken) {
    View().BeginTransaction();
}

VelTransactionRepr::~VelTransactionRepr() {
    if (m_Token->m_Active) Drop();
}

void VelTransactionRepr::CheckActive() const {
    VelVALIDATE(m_Token->m_Active && "The transaction has ended");
    View().Store();
}

void VelTransactionRepr::End() {
    m_Token->m_Active = false;
    m_Recent = nullptr;
    m_RecentSlot = -1;
    m_Changes.clear();
    View().EndTransaction();
}

// Whatever the transaction changed in memory goes back: the registry, the catalogue and the
// schema it set.  Nothing of it reached the file.
void VelTransactionRepr::Drop() {
    if (m_SavedTypes) {
        View().ReplaceRegistry(std::move(m_SavedRegistry));
        View().TruncateSlots(m_SavedSlots);
        for (const SavedSlot& saved : m_EmptiedSlots) {
            VelSlot& slot = View().Slot(saved.slot);
            slot.m_Rows = saved.rows;
            slot.m_Stored = saved.stored;
            slot.m_Table = saved.table;
            slot.m_Owned = saved.owned;
        }
        if (m_SetSchema) View().ResetSchema();
    }
    End();
}

// ---- types ------------------------------------------------------------------------------------

void VelTransactionRepr::SaveTypes() {
    if (m_SavedTypes) return;
    m_SavedRegistry = VelViewRepr::CopyRegistry(View().Registry());
    m_SavedSlots = View().SlotCount();
    m_SavedTypes = true;
}

void VelTransactionRepr::SetViewSchema(const VelTypeSchemaSnapshot& snapshot) {
    const VelTypeFormSchema schema = snapshot.FormSchema(0);
    VelVALIDATE(schema.FormName() == View().FormName() && schema.Level() == View().Level() &&
                "The snapshot is not of the view's form and level");
    SaveTypes();
    View().SetSchema(snapshot);
    m_SetSchema = true;
    m_snapshot = snapshot;
}

void VelTransactionRepr::Register(const VelRecType& type) {
    VelVALIDATE(!VelTypeRecords::IsBuiltIn(type.TypeID()) &&
                "The built-in Types form cannot be registered in a view");
    SaveTypes();
    const VelDynamicID record = VelTypeRecords::CreateTypeRecord(*this, type);
    View().Registry().AddType(type, record);
    if (View().SlotOf(type.TypeID()) < 0) View().AddSlot(type.TypeID(), type.Category());
    m_NewTypes.push_back(type.TypeID());
}

// The condition texts below keep the wording and the grouping the checks are known by.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wparentheses"
void VelTransactionRepr::CreateTypes(const VelTypeSchemaSnapshot& snapshot) {
    CheckActive();
    VelViewRepr* m_view = m_View.Get();
    VelVALIDATE(snapshot && "Cannot create types for an empty snapshot!");
    VelVALIDATE(!m_snapshot && "A schema snapshot has already been specified for the transaction.");
    VelVALIDATE(!m_view->Schema() &&
                "A schema snapshot has already been specified for the transaction.");
    VelVALIDATE(
        !m_view->AncestorSchema() ||
        snapshot.Includes(m_view->AncestorSchema()) &&
            "Schema for the new view must extend or be the same as the view ancestor's schema.");
    std::vector<VelRecType> types;
    for (int i = 0; i < snapshot.TypeCount(); ++i)
        types.push_back(RecordTypeOf(
            snapshot, i, "!\"VelTransactionRepr::CreateTypes: Unrecognized type category!\""));
    m_view->CheckRegisteredTypes(snapshot);
    SetViewSchema(snapshot);
    for (const VelRecType& type : types) {
        if (m_view->Registry().FindType(type.TypeID()) < 0) Register(type);
    }
}

void VelTransactionRepr::UpdateTypes(const VelTypeSchemaSnapshot& snapshot) {
    CheckActive();
    VelViewRepr* m_view = m_View.Get();
    VelVALIDATE(snapshot && "Cannot update types for an empty snapshot!");
    VelVALIDATE(!m_snapshot && "A schema snapshot has already been specified for the transaction.");
    VelVALIDATE(!m_view->Schema() &&
                "A schema snapshot has already been specified for the transaction.");
    VelVALIDATE(m_view->AncestorSchema() && "Ancestor view must have a schema");
    const VelTypeFormSchema ancestor = m_view->AncestorSchema().FormSchema(0);
    const VelTypeFormSchema update = snapshot.FormSchema(0);
    if (ancestor.Form() != update.Form())
        VelVALIDATE(!"The ancestor schema snapshot must be the same form as the update snapshot");
    if (ancestor.Level() == update.Level()) {
        VelVALIDATE(
            !"The ancestor schema snapshot must have a different level from the update snapshot");
    }
    std::vector<VelRecType> types;
    for (int i = 0; i < snapshot.TypeCount(); ++i)
        types.push_back(RecordTypeOf(
            snapshot, i, "!\"VelTransactionRepr::UpdateTypes: Unrecognized type category!\""));
    SetViewSchema(snapshot);

    // Changed types first: updating a locked one is refused before anything else moves.
    VelTypeRegistry& registry = m_view->Registry();
    std::vector<VelRecType> added;
    for (const VelRecType& type : types) {
        const int index = registry.FindType(type.TypeID());
        if (index < 0) {
            added.push_back(type);
            continue;
        }
        const VelRecType registered = registry.GetType(index);
        const bool same = type.Category() != registered.Category() ? false
                          : type.Category() == VelCategoryDataRecord
                              ? VelRecTypeDataRecord(type) == VelRecTypeDataRecord(registered)
                              : VelRecTypeAssociation(type) == VelRecTypeAssociation(registered);
        if (same) continue;
        registry.UpdateType(index, type);
        m_ChangedTypes.push_back(type.TypeID());
    }

    // Types the snapshot no longer holds (a lower level) leave the view with their records.
    std::unique_ptr<VelTypeRegistry> kept(new VelTypeRegistry);
    for (int i = 0; i < registry.TypeCount(); ++i) {
        const VelRecType type = registry.GetType(i);
        if (snapshot.GetTypePositionByID(type.TypeID()) >= 0) {
            kept->AddType(type, registry.RecordID(i));
            if (registry.IsTypeLocked(i)) kept->LockType(kept->TypeCount() - 1);
            continue;
        }
        m_DroppedTypes.push_back(registry.RecordID(i));
        const int index = m_view->SlotOf(type.TypeID());
        VelASSERT(index >= 0);
        VelSlot& slot = m_view->Slot(index);
        m_EmptiedSlots.push_back(
            SavedSlot{index, slot.m_Rows, slot.m_Stored, slot.m_Table, slot.m_Owned});
        slot.m_Rows = 0;
        slot.m_Stored = VelStoredTable();
        slot.m_Table = hdf_Dataset();
        slot.m_Owned = true;
    }
    if (!m_DroppedTypes.empty()) m_view->ReplaceRegistry(std::move(kept));
    for (const VelRecType& type : added) Register(type);
    m_view->ResetLayouts();
}
#pragma GCC diagnostic pop

void VelTransactionRepr::CreateType(const VelRecType& type) {
    CheckActive();
    const VelTypeRegistry& registry = View().Registry();
    if (type.Category() == VelCategoryDataRecord) {
        const VelTypeID& base = VelRecTypeDataRecord(type).BaseTypeID();
        VelVALIDATE((base.IsNull() || registry.FindType(base) >= 0) &&
                    "The base type must be registered first");
    } else {
        VelVALIDATE(type.Category() == VelCategoryAssociation &&
                    "A record type is a data record or an association");
        const VelRecTypeAssociation association(type);
        for (int k = 0; k < 2; ++k) {
            const VelRecTypeAssociationMember& member = association.Member(k);
            for (int i = 0; i < member.EntityTypeCount(); ++i)
                VelVALIDATE(registry.FindType(member.EntityType(i)) >= 0 &&
                            "The target types must be registered first");
        }
    }
    Register(type);
}

// ---- records ----------------------------------------------------------------------------------

int VelTransactionRepr::SlotFor(const VelTypeID& typeID, int category) {
    const int slot = View().SlotOf(typeID);
    if (slot >= 0) return slot;
    SaveTypes();
    return View().AddSlot(typeID, category);
}

VelTransactionRepr::SlotChanges& VelTransactionRepr::ChangesOf(int slot, int width) {
    if (m_RecentSlot != slot) {
        m_Recent = &m_Changes.try_emplace(slot, width).first->second;
        m_RecentSlot = slot;
    }
    return *m_Recent;
}

VelRecHandle<VelDataRecordRepr> VelTransactionRepr::WritableRecord(
    const VelDynamicID& id, int slot, const VelRecHandle<VelRowBlock>& block, unsigned char* row) {
    VelRecHandle<VelDataRecordRepr> record(
        new VelDataRecordRepr(id, View().Slot(slot).m_Layout, m_View, block, row));
    record->m_Token = m_Token;
    return record;
}

// The new record's row is added to the transaction's rows of its table, serial first, every
// member at its default.
VelRecHandle<VelDataRecordRepr> VelTransactionRepr::CreateRecordOf(const VelTypeID& typeID) {
    const int slot = m_LastSlot >= 0 && m_LastSlot < View().SlotCount() &&
                             View().Slot(m_LastSlot).m_Type == typeID
                         ? m_LastSlot
                         : SlotFor(typeID, VelCategoryDataRecord);
    return CreateRecordIn(slot);
}

// The new record's row is added to the transaction's rows of its table, serial first, every
// member at its default.
VelRecHandle<VelDataRecordRepr> VelTransactionRepr::CreateRecordIn(int slot) {
    VelViewRepr& view = View();
    const VelRowLayout* layout = view.Layout(slot);
    VelVALIDATE(layout && "The type is not registered in the view");
    SlotChanges& changes = ChangesOf(slot, layout->Width());
    const int64_t row = view.Slot(slot).m_Rows + changes.created.Count();
    const VelDynamicID id = view.RecordID(view.Store().NextSerial(), slot, row);
    const VelRecHandle<VelRowBlock>* block = nullptr;
    unsigned char* bytes = changes.created.Append(block);
    VelRecordBytes::Put64(bytes, static_cast<uint64_t>(id.First()));
    VelRecHandle<VelDataRecordRepr> record = WritableRecord(id, slot, *block, bytes);
    record->SetDefaults();
    return record;
}

// Records come in long runs of one type: the last type's slot is kept, so that the registry is
// searched and the type locked once per run.
VelRecHandle<VelDataRecordRepr> VelTransactionRepr::CreateDataRecord(const VelTypeID& typeID) {
    CheckActive();
    VelViewRepr& view = View();
    if (m_LastSlot < 0 || m_LastSlot >= view.SlotCount() ||
        view.Slot(m_LastSlot).m_Type != typeID) {
        const int index = view.RegisteredType(typeID);
        VelVALIDATE(view.Registry().GetType(index).Category() == VelCategoryDataRecord &&
                    "The type is not a data record type");
        m_LastSlot = SlotFor(typeID, VelCategoryDataRecord);
    }
    view.LockSlot(m_LastSlot);
    return CreateRecordIn(m_LastSlot);
}

// A record created here is handed out again at its row; a committed one gets a copy of its row,
// made once, which the commit writes back.  The serial in the row must be the identifier's.
VelRecHandle<VelDataRecordRepr> VelTransactionRepr::ModifyDataRecord(const VelDynamicID& id) {
    CheckActive();
    VelViewRepr& view = View();
    int slot = 0;
    int64_t row = 0;
    view.Locate(id, slot, row);
    const int64_t committed = view.Slot(slot).m_Rows;
    const VelRecHandle<VelRowBlock>* block = nullptr;
    if (row >= committed) {
        const auto changes = m_Changes.find(slot);
        const int64_t created = row - committed;
        VelVALIDATE(changes != m_Changes.end() && created < changes->second.created.Count() &&
                    "Record not found");
        unsigned char* bytes = changes->second.created.Row(created, block);
        VelVALIDATE(static_cast<int64_t>(VelRecordBytes::Get64(bytes)) == id.First() &&
                    "Record not found");
        return WritableRecord(id, slot, *block, bytes);
    }
    const VelRecHandle<VelRowBlock>& stored = view.CommittedRecord(id, slot, row);
    const VelRowLayout& layout = *view.Slot(slot).m_Layout.Get();
    SlotChanges& changes = ChangesOf(slot, layout.Width());
    const auto copied = changes.modifiedRows.find(row);
    unsigned char* bytes = nullptr;
    if (copied != changes.modifiedRows.end()) {
        bytes = changes.modified.Row(copied->second, block);
    } else {
        changes.modifiedRows.emplace(row, changes.modified.Count());
        bytes = changes.modified.Append(block);
        std::memcpy(bytes, stored->Row(row), static_cast<size_t>(layout.Width()));
    }
    view.LockSlot(slot);
    return WritableRecord(id, slot, *block, bytes);
}

const VelRecHandle<VelRowLayout>& VelTransactionRepr::RecordLayout(const VelDynamicID& id) {
    VelViewRepr& view = View();
    int slot = 0;
    int64_t row = 0;
    view.Locate(id, slot, row);
    const int64_t committed = view.Slot(slot).m_Rows;
    if (row < committed) {
        view.CommittedRecord(id, slot, row);
        return view.Slot(slot).m_Layout;
    }
    const auto changes = m_Changes.find(slot);
    const int64_t created = row - committed;
    VelVALIDATE(changes != m_Changes.end() && created < changes->second.created.Count() &&
                "Record not found");
    const VelRecHandle<VelRowBlock>* block = nullptr;
    const unsigned char* bytes = changes->second.created.Row(created, block);
    VelVALIDATE(static_cast<int64_t>(VelRecordBytes::Get64(bytes)) == id.First() &&
                "Record not found");
    return view.Slot(slot).m_Layout;
}

VelRecHandle<VelAssociationRepr> VelTransactionRepr::PairsOf(int slot, bool replace) {
    VelViewRepr& view = View();
    const VelRowLayout* layout = view.Layout(slot);
    VelVALIDATE(layout && "The association's type is not part of this view");
    SlotChanges& changes = ChangesOf(slot, layout->Width());
    if (!changes.pairs) {
        const VelSlot& s = view.Slot(slot);
        const VelAssociationID id(
            VelDynamicID(VelCategoryAssociation, view.Context(), s.m_Serial, slot), s.m_Type);
        VelRecHandle<VelAssociationRepr> pairs(new VelAssociationRepr(id, s.m_Layout, view));
        pairs->MakeWritable(m_Token, this);
        if (!replace) view.LoadPairs(slot, *pairs.Get());
        changes.pairs = pairs;
    }
    if (replace) changes.pairs->DropStored();
    return changes.pairs;
}

VelRecHandle<VelAssociationRepr> VelTransactionRepr::UpdateAssociation(const VelAssociationID& id,
                                                                       bool replace) {
    CheckActive();
    const int slot = View().AssociationSlot(id);
    View().LockType(id.TypeID());
    return PairsOf(slot, replace);
}

VelRecHandle<VelAssociationRepr> VelTransactionRepr::UpdateAssociation(const VelTypeID& typeID) {
    return PairsOf(SlotFor(typeID, VelCategoryAssociation), false);
}

// ---- commit -----------------------------------------------------------------------------------

// The type records go in first, since they are records and pairs like any other; then every
// association changed is checked against its occurrence bounds, before anything is written.
// Keys are interned while the pairs are encoded, so the pairs of an association keyed by string
// are encoded before the string table is written, and written after it; the catalogue and its
// counts come last.
void VelTransactionRepr::Commit() {
    CheckActive();
    VelViewRepr& view = View();
    VelRecordStore& store = view.Store();
    VelTypeRecords::WritePending(*this);
    for (auto& changed : m_Changes) {
        if (changed.second.pairs) changed.second.pairs->CheckOccurrences();
    }
    VelVALIDATE(store.IsWritable() && "The database is open read-only");
    VelGuardStorage([&] {
        store.BeginCommit();
        std::map<int, std::vector<unsigned char>> keyedRows;
        for (auto& changed : m_Changes) {
            const VelRecHandle<VelAssociationRepr>& pairs = changed.second.pairs;
            if (pairs && pairs->HasStringKeys()) {
                const size_t first = pairs->FirstToWrite(), end = pairs->Entries().size();
                std::vector<unsigned char>& rows = keyedRows[changed.first];
                rows.resize((end - first) * static_cast<size_t>(pairs->m_Layout->Width()));
                rows.resize(pairs->EncodeRows(first, end, store.Strings(), rows.data()) *
                            static_cast<size_t>(pairs->m_Layout->Width()));
            }
        }
        store.Strings().Commit();
        for (auto& changed : m_Changes) {
            if (changed.second.pairs) {
                const auto keyed = keyedRows.find(changed.first);
                WritePairSlot(changed.first, changed.second,
                              keyed == keyedRows.end() ? nullptr : &keyed->second);
            } else {
                WriteDataSlot(changed.first, changed.second);
            }
        }
        view.WriteCatalogue();
        store.CommitSerials();
        store.Flush();
        return 0;
    });
    view.Registry().CommitChanges();
    for (auto& changed : m_Changes) {
        VelSlot& slot = view.Slot(changed.first);
        slot.m_Cache.Clear();
        slot.m_Pairs = VelRecHandle<VelAssociationRepr>();
    }
    m_SavedRegistry.reset();
    m_SavedTypes = false;
    End();
}

// The changed committed rows go back a run of neighbouring rows at a time; the new rows follow
// the committed ones, one HDF5 call per block of them.
void VelTransactionRepr::WriteDataSlot(int slot, SlotChanges& changes) {
    if (changes.created.Count() == 0 && changes.modifiedRows.empty()) return;
    VelViewRepr& view = View();
    const hdf_Dataset& table = view.OwnTable(slot, true);
    const VelRowLayout& layout = *view.Slot(slot).m_Layout.Get();
    const size_t width = static_cast<size_t>(layout.Width());
    std::vector<unsigned char> rows;
    const VelRecHandle<VelRowBlock>* block = nullptr;
    for (auto it = changes.modifiedRows.begin(); it != changes.modifiedRows.end();) {
        const int64_t first = it->first;
        int64_t next = first;
        rows.clear();
        for (; it != changes.modifiedRows.end() && it->first == next; ++it, ++next) {
            const unsigned char* row = changes.modified.Row(it->second, block);
            rows.insert(rows.end(), row, row + width);
        }
        VelStoreIO::WriteRows(table, layout.Type(), first, next - first, rows.data());
    }

    VelSlot& s = view.Slot(slot);
    changes.created.ForEachRun([&](int64_t first, int64_t count, const unsigned char* bytes) {
        VelStoreIO::WriteRows(table, layout.Type(), s.m_Rows + first, count, bytes);
    });
    s.m_Rows += changes.created.Count();
}

// A rewritten table is made anew, even when no pair is left; otherwise the new pairs follow the
// stored ones.  Pairs without string keys are encoded and written a piece at a time.
void VelTransactionRepr::WritePairSlot(int slot, SlotChanges& changes,
                                       const std::vector<unsigned char>* encoded) {
    VelViewRepr& view = View();
    VelSlot& s = view.Slot(slot);
    const VelRowLayout& layout = *s.m_Layout.Get();
    const VelAssociationRepr& pairs = *changes.pairs.Get();
    const bool rewrite = pairs.NeedsRewrite();
    if (rewrite) view.OwnTable(slot, false);
    int64_t next = rewrite ? 0 : s.m_Rows;
    const auto write = [&](const unsigned char* rows, int64_t count) {
        if (count == 0) return;
        VelStoreIO::WriteRows(view.OwnTable(slot, true), layout.Type(), next, count, rows);
        next += count;
    };
    if (encoded) {
        write(encoded->data(), static_cast<int64_t>(encoded->size()) / layout.Width());
    } else {
        const size_t first = pairs.FirstToWrite(), end = pairs.Entries().size();
        // Every byte of a piece's rows is encoded before it is written, so the buffer is not
        // cleared first.
        const std::unique_ptr<unsigned char[]> rows(
            new unsigned char[std::min(end - first, e_EncodedEntries) *
                              static_cast<size_t>(layout.Width())]);
        for (size_t begin = first; begin < end; begin += e_EncodedEntries) {
            const size_t count = pairs.EncodeRows(begin, std::min(end, begin + e_EncodedEntries),
                                                  View().Store().Strings(), rows.get());
            write(rows.get(), static_cast<int64_t>(count));
        }
    }
    s.m_Rows = next;
}
