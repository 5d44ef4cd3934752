#include "views/VelViewRepr.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <set>
#include <string>

#include "hdf/hdf_TypeMatch.h"
#include "vel/core/VelAssert.h"
#include "vel/core/VelIdAsString.h"
#include "vel/hdf/hdf_CompoundBuilder.h"
#include "vel/types/VelRecTypeFactory.h"
#include "views/VelRecordRepr.h"
#include "views/VelRecordStore.h"
#include "views/VelStoreIO.h"
#include "views/VelTypeRecords.h"

namespace {

constexpr const char* e_ViewAttribute = "view";
constexpr const char* e_Records = "record";
constexpr const char* e_RecordCounts = "recordCounts";
constexpr const char* e_Catalogue = "slots";
constexpr int e_ViewFields = 6;
// Pairs are read in pieces of this many rows when a whole association is loaded.
constexpr int64_t e_LoadRows = 65536;

}  // namespace

VelViewRepr::VelViewRepr(VelRecordStore& store, int kind)
    : m_store(&store), m_context(store.ContextID().Value()), m_kind(kind) {}

VelViewRepr::~VelViewRepr() {
    if (m_store) m_store->Detach(this);
}

// ---- creation and opening ---------------------------------------------------------------------

void VelViewRepr::CheckCreation(int type, const VelTypeSchemaSnapshot& snapshot,
                                const VelTypeSchemaSnapshot& ancestorSnapshot) {
    VelVALIDATE(snapshot && snapshot.FormSchemaCount() > 0);
    VelVALIDATE(!ancestorSnapshot || ancestorSnapshot.FormSchemaCount() > 0);
    VelVALIDATE(type != VelViewRepr::EDITION || snapshot == ancestorSnapshot);
    const VelTypeFormSchema schema = snapshot.FormSchema(0);
    const VelTypeFormSchema ancestorSchema =
        ancestorSnapshot ? ancestorSnapshot.FormSchema(0) : VelTypeFormSchema();
    VelVALIDATE(type != VelViewRepr::LEVEL || schema.Form() == ancestorSchema.Form());
    VelVALIDATE(type != VelViewRepr::FORM || !ancestorSnapshot ||
                snapshot.Includes(ancestorSnapshot));
}

VelRecHandle<VelViewRepr> VelViewRepr::Create(VelRecordStore& store, int kind,
                                              const VelTypeSchemaSnapshot& snapshot,
                                              VelViewRepr* ancestor) {
    VelVALIDATE(store.IsWritable() && "The database is open read-only");
    const VelTypeSchemaSnapshot ancestorSnapshot =
        ancestor ? ancestor->Schema() : VelTypeSchemaSnapshot();
    CheckCreation(kind, snapshot, ancestorSnapshot);
    if (ancestor) {
        VelVALIDATE(&ancestor->Store() == &store && "The ancestor view is of another context");
        // Its catalogue and registry would carry the changes of a transaction still under way.
        VelVALIDATE(!ancestor->m_activeTransaction &&
                    "A view with an active transaction cannot be an ancestor");
    }

    VelRecHandle<VelViewRepr> view(new VelViewRepr(store, kind));
    VelViewRepr& repr = *view.Get();
    repr.m_mutable = true;
    if (ancestorSnapshot) repr.SetAncestorSchema(ancestorSnapshot);
    store.ViewsChanged();
    VelGuardStorage([&] {
        store.BeginCommit();
        repr.CreateGroup(snapshot);
        if (ancestor) {
            repr.InheritFrom(*ancestor);
        } else {
            repr.m_focus = store.NextSerial();
            repr.m_registry.reset(new VelTypeRegistry);
        }
        repr.WriteViewAttribute(true);
        repr.m_catalogue =
            VelStoreIO::CreateTable(repr.m_records, e_Catalogue, repr.CatalogueType(), 64);
        const int64_t counts[3] = {0, 0, 0};
        VelStoreIO::CreateInt64Attribute(repr.m_records, e_RecordCounts, counts, 3);
        repr.WriteCatalogue();
        store.CommitSerials();
        store.Flush();
        return 0;
    });
    store.Attach(&repr);
    if (kind == EDITION) {
        repr.SetSchema(snapshot);
        repr.ValidateSchema(snapshot);
    }
    return view;
}

void VelViewRepr::CreateGroup(const VelTypeSchemaSnapshot& snapshot) {
    const VelTypeFormSchema schema = snapshot.FormSchema(0);
    m_formName = schema.FormName();
    m_level = schema.Level();
    m_edition = m_store->NextEdition(m_formName, m_level);
    m_name = VelRecordStore::ViewName(m_formName, m_level, m_edition);
    m_group = m_store->Root().GroupCreate(m_name.c_str(), 0);
    m_records = m_group.GroupCreate(e_Records, 0);
}

// The new view refers to every table of its ancestor; the tables become its own when it first
// changes them.
void VelViewRepr::InheritFrom(VelViewRepr& ancestor) {
    m_focus = ancestor.m_focus;
    m_registry = CopyRegistry(ancestor.Registry());
    m_slots.reserve(ancestor.m_slots.size());
    for (const VelSlot& inherited : ancestor.m_slots) {
        VelSlot slot;
        slot.m_Type = inherited.m_Type;
        slot.m_Category = inherited.m_Category;
        slot.m_Serial = inherited.m_Serial;
        slot.m_Rows = inherited.m_Rows;
        slot.m_Stored = inherited.m_Stored;
        slot.m_Table = inherited.m_Table;
        slot.m_Owned = false;
        slot.m_BuiltIn = inherited.m_BuiltIn;
        m_slotOf.emplace(slot.m_Type, static_cast<int>(m_slots.size()));
        m_slots.push_back(slot);
    }
    LockStoredTypes();
}

VelRecHandle<VelViewRepr> VelViewRepr::Open(VelRecordStore& store, const cow_String& formName,
                                            int level) {
    const int edition = store.LatestPublishedEdition(formName, level);
    VelVALIDATE(edition != -1 &&
                "A view with the specified form name and schema level was not found");
    VelRecHandle<VelViewRepr> view(new VelViewRepr(store, 0));
    VelViewRepr& repr = *view.Get();
    repr.m_formName = formName;
    repr.m_level = level;
    repr.m_edition = edition;
    repr.m_name = VelRecordStore::ViewName(formName, level, edition);
    store.Attach(&repr);
    VelGuardStorage([&] {
        repr.Load(store.Root().GroupOpen(repr.m_name.c_str()));
        return 0;
    });
    return view;
}

bool VelViewRepr::IsPublishedGroup(const hdf_Group& group) {
    int64_t fields[e_ViewFields] = {};
    VelStoreIO::ReadInt64Attribute(group, e_ViewAttribute, fields, e_ViewFields);
    return fields[2] == 1;
}

void VelViewRepr::Load(const hdf_Group& group) {
    m_group = group;
    int64_t fields[e_ViewFields] = {};
    VelStoreIO::ReadInt64Attribute(m_group, e_ViewAttribute, fields, e_ViewFields);
    VelVALIDATE(fields[0] == VelRecordStore::e_Format &&
                "Damaged record store: a view of an unknown format");
    VelVALIDATE(fields[1] >= FORM && fields[1] <= LEVEL && fields[2] == 1 && fields[3] == m_level &&
                fields[4] == m_edition &&
                "Damaged record store: a view's attribute disagrees with its name");
    VelVALIDATE(fields[5] >= 0 && fields[5] < m_store->SerialLimit() &&
                "Damaged record store: a view's focus is out of range");
    m_kind = static_cast<int>(fields[1]);
    m_published = true;
    m_focus = fields[5];
    m_records = m_group.GroupOpen(e_Records);
    LoadCatalogue();
    LoadRegistry();
}

void VelViewRepr::LoadCatalogue() {
    int64_t counts[3] = {};
    VelStoreIO::ReadInt64Attribute(m_records, e_RecordCounts, counts, 3);
    VelVALIDATE(counts[0] >= 0 && counts[0] < INT32_MAX && counts[1] >= 0 && counts[2] >= 0 &&
                "Damaged record store: the view's record counts are out of range");
    m_catalogue = m_records.DatasetOpen(e_Catalogue);
    VelVALIDATE(m_catalogue.GetType().Equal(CatalogueType()) &&
                "Damaged record store: the view's catalogue has an unknown format");
    VelVALIDATE(VelStoreIO::Rows(m_catalogue) >= counts[0] &&
                "Damaged record store: the view's catalogue is shorter than its record counts");
    std::vector<VelSlotRow> rows(static_cast<size_t>(counts[0]));
    VelStoreIO::ReadReferenceRows(m_catalogue, CatalogueType(), counts[0], rows.data());

    int64_t records = 0;
    int64_t pairs = 0;
    // Associations and the focus draw their serials from one counter: no two share one.
    std::set<int64_t> serials = {m_focus};
    for (const VelSlotRow& row : rows) {
        VelVALIDATE(std::memchr(row.form, 0, sizeof row.form) &&
                    "Damaged record store: a table's form name is not terminated");
        VelSlot slot;
        slot.m_Type =
            VelTypeID::FromString(std::string(row.form) + "#" + std::to_string(row.ordinal));
        VelVALIDATE(!slot.m_Type.IsNull() && "Damaged record store: a table names no record type");
        VelVALIDATE(
            (row.category == VelCategoryDataRecord || row.category == VelCategoryAssociation) &&
            "Damaged record store: a table of an unknown category");
        VelVALIDATE(row.rows >= 0 && row.rows <= 0xFFFFFFFFll &&
                    (row.owned == 0 || row.owned == 1) &&
                    "Damaged record store: a table's count is out of range");
        VelVALIDATE((row.category == VelCategoryDataRecord ||
                     (row.serial >= 0 && row.serial < m_store->SerialLimit())) &&
                    "Damaged record store: an association's serial is out of range");
        VelVALIDATE((row.category == VelCategoryDataRecord || serials.insert(row.serial).second) &&
                    "Damaged record store: an association's serial is taken twice");
        VelVALIDATE((row.rows == 0 || row.table != 0) &&
                    "Damaged record store: a table with rows is missing");
        slot.m_Category = row.category;
        slot.m_BuiltIn = VelTypeRecords::IsBuiltIn(slot.m_Type);
        slot.m_Serial = row.serial;
        slot.m_Rows = row.rows;
        slot.m_Owned = row.owned == 1;
        slot.m_Stored.table = row.table;
        slot.m_Stored.rows = row.rows;
        (row.category == VelCategoryDataRecord ? records : pairs) += row.rows;
        VelVALIDATE(m_slotOf.emplace(slot.m_Type, static_cast<int>(m_slots.size())).second &&
                    "Damaged record store: two tables of one record type");
        m_slots.push_back(slot);
    }
    VelVALIDATE(records == counts[1] && pairs == counts[2] &&
                "Damaged record store: the record counts disagree with the catalogue");
}

void VelViewRepr::LoadRegistry() {
    m_registry.reset(new VelTypeRegistry);
    VelTypeRecords::Read(*this, *m_registry);
    ResetLayouts();
    LockStoredTypes();
}

void VelViewRepr::LockStoredTypes() {
    for (int slot = 0; slot < SlotCount(); ++slot) {
        if (Slot(slot).m_Rows > 0) LockSlot(slot);
    }
}

hdf_Datatype VelViewRepr::CatalogueType() const {
    hdf_Datatype form = hdf_Datatype::C_S1().Copy();
    form.SetSize(VelSlotRow::e_FormSize);
    hdf_CompoundBuilder row(sizeof(VelSlotRow));
    row.Insert("form", offsetof(VelSlotRow, form), form);
    row.Insert("ordinal", offsetof(VelSlotRow, ordinal), hdf_Datatype::NATIVE_INT32());
    row.Insert("category", offsetof(VelSlotRow, category), hdf_Datatype::NATIVE_INT32());
    row.Insert("serial", offsetof(VelSlotRow, serial), hdf_Datatype::NATIVE_INT64());
    row.Insert("rows", offsetof(VelSlotRow, rows), hdf_Datatype::NATIVE_INT64());
    row.Insert("owned", offsetof(VelSlotRow, owned), hdf_Datatype::NATIVE_INT32());
    row.Insert("table", offsetof(VelSlotRow, table), hdf_Datatype::STD_REF_OBJ());
    return hdf_Datatype(row);
}

void VelViewRepr::WriteViewAttribute(bool create) {
    const int64_t fields[e_ViewFields] = {
        VelRecordStore::e_Format, m_kind, m_published ? 1 : 0, m_level, m_edition, m_focus};
    if (create) {
        VelStoreIO::CreateInt64Attribute(m_group, e_ViewAttribute, fields, e_ViewFields);
    } else {
        VelStoreIO::WriteInt64Attribute(m_group, e_ViewAttribute, fields, e_ViewFields);
    }
}

void VelViewRepr::WriteCatalogue() {
    std::vector<VelSlotRow> rows(m_slots.size());
    int64_t records = 0;
    int64_t pairs = 0;
    for (size_t i = 0; i < m_slots.size(); ++i) {
        const VelSlot& slot = m_slots[i];
        VelSlotRow& row = rows[i];
        std::memset(&row, 0, sizeof row);
        const std::string form = slot.m_Type.FormName().str();
        std::memcpy(row.form, form.c_str(), form.size() + 1);
        row.ordinal = slot.m_Type.Ordinal();
        row.category = slot.m_Category;
        row.serial = slot.m_Serial;
        row.rows = slot.m_Rows;
        row.owned = slot.m_Owned ? 1 : 0;
        row.table = slot.m_Stored.table;
        (slot.m_Category == VelCategoryDataRecord ? records : pairs) += slot.m_Rows;
    }
    const hdf_Datatype type = CatalogueType();
    VelStoreIO::WriteReferenceRows(m_catalogue, type, static_cast<int64_t>(rows.size()),
                                   rows.data());
    const int64_t counts[3] = {static_cast<int64_t>(rows.size()), records, pairs};
    VelStoreIO::WriteInt64Attribute(m_records, e_RecordCounts, counts, 3);
}

// ---- schemas ----------------------------------------------------------------------------------

void VelViewRepr::SetSchema(const VelTypeSchemaSnapshot& snapshot) {
    VelVALIDATE(!m_schema &&
                "VelViewRepr::SetSchema: schema has already been specified for the view.");
    m_schema = snapshot;
}

// The texts are kept whole: they are what the checks are known by.
// clang-format off
void VelViewRepr::SetAncestorSchema(const VelTypeSchemaSnapshot& snapshot) {
    VelVALIDATE(!m_ancestorSchema && "VelViewRepr::SetAncestorSchema: ancestor schema has already been specified for the view.");
    VelVALIDATE(!m_schema && "VelViewRepr::SetAncestorSchema: ancestor schema cannot be set after the schema has been set for the view");
    m_ancestorSchema = snapshot;
}
// clang-format on

void VelViewRepr::ValidateSchema(const VelTypeSchemaSnapshot& snapshot) const {
    // Named as the condition texts name the registry.
    const VelTypeRegistry& m_typeReg = *m_registry;
    for (int i = 0; i < m_typeReg.TypeCount(); ++i)
        VelVALIDATE(snapshot.GetTypePositionByID(m_typeReg.GetType(i).TypeID()) >= 0);
    CheckRegisteredTypes(snapshot);
}

void VelViewRepr::CheckRegisteredTypes(const VelTypeSchemaSnapshot& snapshot) const {
    const VelTypeRegistry& m_typeReg = *m_registry;
    const VelRecTypeFactory factory;
    for (int i = 0; i < snapshot.TypeCount(); ++i) {
        const int index = m_typeReg.FindType(snapshot.TypeID(i));
        if (index < 0) continue;
        switch (snapshot.TypeCategory(i)) {
            case VelCategoryDataRecord:
                VelVALIDATE(factory.CreateDataRecordType(snapshot.TypeAsDataRecord(i)) ==
                            VelRecTypeDataRecord(m_typeReg.GetType(index)));
                break;
            case VelCategoryAssociation:
                VelVALIDATE(factory.CreateAssociationType(snapshot.TypeAsAssociation(i)) ==
                            VelRecTypeAssociation(m_typeReg.GetType(index)));
                break;
            default:
                VelVALIDATE(!"VelViewRepr::ValidateSchema: Invalid type category!");
        }
    }
}

// ---- transactions and publishing --------------------------------------------------------------

// clang-format off
void VelViewRepr::BeginTransaction() {
    if (m_activeTransaction) VelASSERT(!"The view already has an active transaction.  Creating another transaction is forbidden.");
    if (!m_mutable) VelASSERT(!"The view is not mutable.  Creating a transaction is forbidden.");
    Store();
    m_activeTransaction = true;
}
// clang-format on

void VelViewRepr::Publish() {
    if (!m_mutable) VelVALIDATE(!"This view cannot be published.");
    VelVALIDATE(!m_activeTransaction && "A view cannot be published while a transaction is active");
    VelRecordStore& store = Store();
    m_published = true;
    m_mutable = false;
    store.ViewsChanged();
    VelGuardStorage([&] {
        store.BeginCommit();
        WriteViewAttribute(false);
        store.Flush();
        return 0;
    });
}

// ---- the store --------------------------------------------------------------------------------

VelDynamicID VelViewRepr::FocusID() const {
    return VelDynamicID(VelCategoryDataRecord, m_context, m_focus, -1);
}

void VelViewRepr::Detach() {
    if (!m_store) return;
    m_store->Detach(this);
    m_store = nullptr;
    for (VelSlot& slot : m_slots) {
        slot.m_Table.Nullify();
        slot.m_Cache.Clear();
        slot.m_Pairs = VelRecHandle<VelAssociationRepr>();
    }
    m_catalogue.Nullify();
    m_records.Nullify();
    m_group.Nullify();
}

void VelViewRepr::ReplaceRegistry(std::unique_ptr<VelTypeRegistry> registry) {
    m_registry = std::move(registry);
    ResetLayouts();
}

std::unique_ptr<VelTypeRegistry> VelViewRepr::CopyRegistry(const VelTypeRegistry& registry) {
    std::unique_ptr<VelTypeRegistry> copy(new VelTypeRegistry);
    for (int i = 0; i < registry.TypeCount(); ++i) {
        copy->AddType(registry.GetType(i), registry.RecordID(i));
        if (registry.IsTypeLocked(i)) copy->LockType(i);
    }
    return copy;
}

int VelViewRepr::RegisteredType(const VelTypeID& typeID) const {
    const int index = m_registry->FindType(typeID);
    VelVALIDATE(index >= 0 && "The type is not registered in the view");
    return index;
}

// A derived type's records hold its bases' members, so the bases are locked with it.
void VelViewRepr::LockType(const VelTypeID& typeID) {
    VelTypeID current = typeID;
    for (int depth = 0; depth < 1024 && !current.IsNull(); ++depth) {
        const int index = m_registry->FindType(current);
        if (index < 0) return;
        m_registry->LockType(index);
        const VelRecType type = m_registry->GetType(index);
        if (type.Category() != VelCategoryDataRecord) return;
        current = VelRecTypeDataRecord(type).BaseTypeID();
    }
}

void VelViewRepr::LockSlot(int slot) {
    VelSlot& s = Slot(slot);
    if (s.m_BuiltIn || s.m_Locked) return;
    LockType(s.m_Type);
    s.m_Locked = true;
}

int VelViewRepr::SlotOf(const VelTypeID& typeID) const {
    const auto found = m_slotOf.find(typeID);
    return found == m_slotOf.end() ? -1 : found->second;
}

int VelViewRepr::AddSlot(const VelTypeID& typeID, int category) {
    VelVALIDATE(m_slots.size() < 0x7FFFFFFF && "A view holds at most 2^31 - 1 tables");
    VelSlot slot;
    slot.m_Type = typeID;
    slot.m_Category = category;
    slot.m_Owned = true;
    slot.m_BuiltIn = VelTypeRecords::IsBuiltIn(typeID);
    if (category == VelCategoryAssociation) slot.m_Serial = Store().NextSerial();
    const int index = static_cast<int>(m_slots.size());
    m_slotOf.emplace(typeID, index);
    m_slots.push_back(slot);
    return index;
}

void VelViewRepr::TruncateSlots(int count) {
    while (static_cast<int>(m_slots.size()) > count) {
        m_slotOf.erase(m_slots.back().m_Type);
        m_slots.pop_back();
    }
}

const VelRowLayout* VelViewRepr::MakeLayout(int slot) {
    VelSlot& s = Slot(slot);
    if (!s.m_Layout) {
        const bool builtIn = s.m_BuiltIn;
        const VelTypeRegistry& registry = builtIn ? VelTypeRecords::BuiltIn() : *m_registry;
        const int index = registry.FindType(s.m_Type);
        if (index < 0) {
            VelVALIDATE(!builtIn && "Damaged record store: a table of an unknown built-in type");
            return nullptr;
        }
        const VelRecType type = registry.GetType(index);
        VelVALIDATE(type.Category() == s.m_Category &&
                    "Damaged record store: a table's category differs from its type's");
        // The row format is built from the stored type's members: HDF5 refuses one that a
        // damaged registry describes (a member without a name, say).
        s.m_Layout = VelGuardStorage([&] {
            return VelRecHandle<VelRowLayout>(
                type.Category() == VelCategoryDataRecord
                    ? new VelRowLayout(VelRecTypeDataRecord(type), registry)
                    : new VelRowLayout(VelRecTypeAssociation(type), Store().PairRowTypes()));
        });
        s.m_LayoutChecked = false;
        s.m_RowsChecked = false;
    }
    if (!s.m_LayoutChecked && s.m_Stored.table != 0) {
        Table(slot);
        VelGuardStorage([&] {
            VelVALIDATE(s.m_Table.GetType().Equal(s.m_Layout->Type()) &&
                        "Damaged record store: a table does not match its record type");
            return 0;
        });
        s.m_LayoutChecked = true;
    }
    return s.m_Layout.Get();
}

// Opening is left to the first use: a reader pays for the tables it reads, not for every table
// of the view.  The table is checked as it opens, as loading the catalogue once checked it.
const hdf_Dataset& VelViewRepr::Table(int index) {
    VelSlot& slot = Slot(index);
    if (slot.m_Table.IsEmpty() && slot.m_Stored.table != 0) {
        const VelStoredTable& row = slot.m_Stored;
        VelGuardStorage([&] {
            hdf_Reference reference;
            *reference.Data() = row.table;
            slot.m_Table = m_records.DatasetOpen(reference);
            VelVALIDATE(VelStoreIO::Rows(slot.m_Table) >= row.rows &&
                        "Damaged record store: a table holds fewer rows than its count");
            return 0;
        });
    }
    return slot.m_Table;
}

const hdf_Dataset& VelViewRepr::ReadableTable(int slot) {
    VelSlot& s = Slot(slot);
    if (!s.m_RowsChecked) {
        // Layout() has compared the stored row type with the layout's already, more strictly
        // than CheckTable would: what is left to check is where the rows are stored.
        if (s.m_LayoutChecked)
            VelVALIDATE(hdf_HasStoredLayout(Table(slot)) &&
                        "Damaged record store: a table stores no rows");
        else
            VelStoreIO::CheckTable(Table(slot), s.m_Layout->Type());
        s.m_RowsChecked = true;
    }
    return s.m_Table;
}

void VelViewRepr::ResetLayouts() {
    for (VelSlot& slot : m_slots) {
        if (slot.m_BuiltIn) continue;
        slot.m_Locked = false;
        slot.m_Layout = VelRecHandle<VelRowLayout>();
        slot.m_LayoutChecked = false;
        slot.m_RowsChecked = false;
        slot.m_Cache.Clear();
        slot.m_Pairs = VelRecHandle<VelAssociationRepr>();
    }
}

// ---- records ----------------------------------------------------------------------------------

VelDynamicID VelViewRepr::RecordID(int64_t serial, int slot, int64_t row) const {
    VelVALIDATE(row <= 0xFFFFFFFFll && "A table holds at most 2^32 records");
    return VelDynamicID(VelCategoryDataRecord, m_context, serial,
                        (static_cast<int64_t>(slot) << 32) | row);
}

const VelRecHandle<VelRowBlock>& VelViewRepr::CommittedRecord(const VelDynamicID& id, int slot,
                                                              int64_t row) {
    VelSlot& s = Slot(slot);
    VelVALIDATE(row < s.m_Rows && "Record not found");
    const VelRowLayout* layout = Layout(slot);
    VelVALIDATE(layout && "The record's type is not part of this view");
    const VelRecHandle<VelRowBlock>& block = VelGuardStorage([&]() -> decltype(auto) {
        return s.m_Cache.Block(ReadableTable(slot), *layout, s.m_Rows, row);
    });
    const unsigned char* bytes = block->Row(row);
    VelVALIDATE(static_cast<int64_t>(VelRecordBytes::Get64(bytes)) == id.First() &&
                "Record not found");
    return block;
}

VelRecHandle<VelDataRecordRepr> VelViewRepr::ReadDataRecord(const VelDynamicID& id) {
    Store();
    int slot = 0;
    int64_t row = 0;
    Locate(id, slot, row);
    const VelRecHandle<VelRowBlock>& block = CommittedRecord(id, slot, row);
    VelRecHandle<VelDataRecordRepr> record(new VelDataRecordRepr(
        id, Slot(slot).m_Layout, VelRecHandle<VelViewRepr>(this), block, block->Row(row)));
    LockSlot(slot);
    return record;
}

// The serials are read a block at a time through the cache that the records' reads use next,
// from the last block to the first: a caller that then reads the records in order finds the
// first blocks, as many as the cache holds, still there.
VelArray<VelDynamicID> VelViewRepr::DataRecordIDs(const VelTypeID& typeID) {
    Store();
    const int slot = SlotOf(typeID);
    if (slot < 0) return VelArray<VelDynamicID>();
    VelSlot& s = Slot(slot);
    VelVALIDATE(s.m_Category == VelCategoryDataRecord && "The type is not a data record type");
    const VelRowLayout* layout = Layout(slot);
    if (!layout) return VelArray<VelDynamicID>();
    VelArray<VelDynamicID> ids(static_cast<int>(s.m_Rows));
    const int64_t limit = m_store->SerialLimit();
    for (int64_t end = s.m_Rows; end > 0;) {
        const VelRecHandle<VelRowBlock> block = VelGuardStorage(
            [&] { return s.m_Cache.Block(ReadableTable(slot), *layout, s.m_Rows, end - 1); });
        for (int64_t row = block->First(); row < end; ++row) {
            const int64_t serial = static_cast<int64_t>(VelRecordBytes::Get64(block->Row(row)));
            VelVALIDATE(serial >= 0 && serial < limit &&
                        "Damaged record store: a record's serial is out of range");
            ids[static_cast<int>(row)] = RecordID(serial, slot, row);
        }
        end = block->First();
    }
    return ids;
}

VelAssociationID VelViewRepr::AssociationIDOf(const VelTypeID& typeID) const {
    const int index = RegisteredType(typeID);
    VelVALIDATE(m_registry->GetType(index).Category() == VelCategoryAssociation &&
                "The type is not an association type");
    const int slot = SlotOf(typeID);
    VelASSERT(slot >= 0);
    return VelAssociationID(VelDynamicID(VelCategoryAssociation, m_context,
                                         m_slots[static_cast<size_t>(slot)].m_Serial, slot),
                            typeID);
}

int VelViewRepr::AssociationSlot(const VelAssociationID& id) const {
    VelVALIDATE(!id.IsNull() && "The association identifier is null");
    const VelDynamicID did = id.DynamicID();
    const int64_t slot = did.Second();
    VelVALIDATE(did.Category() == VelCategoryAssociation && did.Context() == m_context &&
                slot >= 0 && slot < static_cast<int64_t>(m_slots.size()) &&
                m_slots[static_cast<size_t>(slot)].m_Category == VelCategoryAssociation &&
                m_slots[static_cast<size_t>(slot)].m_Serial == did.First() &&
                m_slots[static_cast<size_t>(slot)].m_Type == id.TypeID() &&
                "The association is not part of this view");
    return static_cast<int>(slot);
}

VelRecHandle<VelAssociationRepr> VelViewRepr::ReadAssociation(int slot) {
    Store();
    VelSlot& s = Slot(slot);
    if (!s.m_Pairs) {
        const VelRowLayout* layout = Layout(slot);
        VelVALIDATE(layout && "The association's type is not part of this view");
        const VelAssociationID id(VelDynamicID(VelCategoryAssociation, m_context, s.m_Serial, slot),
                                  s.m_Type);
        VelRecHandle<VelAssociationRepr> pairs(new VelAssociationRepr(id, s.m_Layout, *this));
        LoadPairs(slot, *pairs.Get());
        s.m_Pairs = pairs;
    }
    return s.m_Pairs;
}

void VelViewRepr::LoadPairs(int slot, VelAssociationRepr& pairs) {
    VelSlot& s = Slot(slot);
    const VelRowLayout* layout = Layout(slot);
    VelVALIDATE(layout && "The association's type is not part of this view");
    // The piece's bytes are read over whole, so they are left uninitialised.
    const std::unique_ptr<unsigned char[]> rows(
        new unsigned char[static_cast<size_t>(std::min(s.m_Rows, e_LoadRows) * layout->Width())]);
    for (int64_t first = 0; first < s.m_Rows; first += e_LoadRows) {
        const int64_t count = s.m_Rows - first < e_LoadRows ? s.m_Rows - first : e_LoadRows;
        VelGuardStorage([&] {
            VelStoreIO::ReadCheckedRows(ReadableTable(slot), layout->Type(), first, count,
                                        rows.get());
            return 0;
        });
        pairs.AppendRows(rows.get(), count, Store().Strings());
    }
}

const hdf_Dataset& VelViewRepr::OwnTable(int slot, bool keepRows) {
    VelSlot& s = Slot(slot);
    if (s.m_Owned && !Table(slot).IsEmpty()) return s.m_Table;
    const VelRowLayout* layout = Layout(slot);
    VelASSERT(layout);
    // A name left by a commit that did not finish is not reused: its rows may have another
    // format.
    std::string name = VelIdAsString(slot).str();
    for (int attempt = 1; m_records.GetObjinfoExists(name.c_str()); ++attempt)
        name = VelIdAsString(slot).str() + "-" + std::to_string(attempt);
    const hdf_Dataset table = VelStoreIO::CreateTable(m_records, name.c_str(), layout->Type(),
                                                      static_cast<int>(VelTableCache::e_ChunkRows));
    std::vector<unsigned char> rows;
    for (int64_t first = 0; keepRows && first < s.m_Rows; first += e_LoadRows) {
        const int64_t count = s.m_Rows - first < e_LoadRows ? s.m_Rows - first : e_LoadRows;
        rows.resize(static_cast<size_t>(count * layout->Width()));
        VelStoreIO::ReadCheckedRows(ReadableTable(slot), layout->Type(), first, count, rows.data());
        VelStoreIO::WriteRows(table, layout->Type(), first, count, rows.data());
    }
    s.m_Table = table;
    s.m_Stored.table = *table.ReferenceCreate().Data();
    s.m_Stored.rows = 0;
    s.m_Owned = true;
    s.m_LayoutChecked = true;
    s.m_RowsChecked = true;
    return s.m_Table;
}
