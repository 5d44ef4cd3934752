#ifndef VEL_SRC_VIEWS_VELVIEWREPR_H
#define VEL_SRC_VIEWS_VELVIEWREPR_H

#include <hdf5.h>

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "vel/context/VelDynamicID.h"
#include "vel/core/VelArray.h"
#include "vel/core/VelAssert.h"
#include "vel/hdf/hdf_Dataset.h"
#include "vel/hdf/hdf_Group.h"
#include "vel/types/VelRecHandle.h"
#include "vel/types/VelRecType.h"
#include "vel/types/VelTypeRegistry.h"
#include "vel/types/VelTypeSchemaSnapshot.h"
#include "vel/views/VelAssociationID.h"
#include "views/VelRecordTable.h"

class VelRecordStore;
class VelDataRecordRepr;
class VelAssociationRepr;

// One row of a view's catalogue ("slots"), as it is written and read.
struct VelSlotRow {
    static constexpr int e_FormSize = 64;
    char form[e_FormSize];
    int32_t ordinal;
    int32_t category;
    int64_t serial;
    int64_t rows;
    int32_t owned;
    int32_t reserved;
    hobj_ref_t table;
};

// A slot's table as the catalogue names it: the object reference, and the rows the catalogue
// counted when the slot was loaded.  The table is opened from the reference on first use and
// checked then to hold those rows.
struct VelStoredTable {
    hobj_ref_t table = 0;
    int64_t rows = 0;
};

// What a view knows of one of its tables.
struct VelSlot {
    VelTypeID m_Type;
    int m_Category = 0;
    // The serial of the association a table of pairs holds; 0 for data records.
    int64_t m_Serial = 0;
    // Whether the table was written by this view (otherwise it is an ancestor's, read only).
    bool m_Owned = false;
    int64_t m_Rows = 0;
    // A table of the built-in Types form, whose type is no registry's.
    bool m_BuiltIn = false;
    // Whether the slot's type has been locked since the registry last changed.
    bool m_Locked = false;
    // No reference until a first row is written.
    VelStoredTable m_Stored;
    // Empty until the table is first used (see VelViewRepr::Table).
    hdf_Dataset m_Table;
    // Null until needed, and for a type the view's registry does not hold (a type dropped by a
    // level change): the rows of such a slot are not readable in this view.
    VelRecHandle<VelRowLayout> m_Layout;
    bool m_LayoutChecked = false;
    // Whether the table has passed VelStoreIO::CheckTable, which is made before its rows are
    // first read and again whenever the layout is checked again.
    bool m_RowsChecked = false;
    VelTableCache m_Cache;
    // The committed pairs, once read for reading.
    VelRecHandle<VelAssociationRepr> m_Pairs;
};

// A view: the unit in which typed records are stored and read, bound to one schema snapshot.
// It holds the state the view kinds are defined by (the schema, the ancestor schema, whether a
// transaction is active and whether the view may still change) and the view's part of the
// record store: its catalogue of tables, its type registry and its focus.
//
// A view is opened or created on an open context and registers itself with the context's record
// store; when the context closes, the view is detached and every later use is refused.
class VelViewRepr : public VelRecShared {
public:
    enum Kind { FORM = 1, EDITION = 2, LEVEL = 3 };

    ~VelViewRepr() override;

    // The checks made when a view of a kind is created, in this order.
    static void CheckCreation(int type, const VelTypeSchemaSnapshot& snapshot,
                              const VelTypeSchemaSnapshot& ancestorSnapshot);
    // A new mutable view of `kind` with the schema `snapshot`.  Without an ancestor it starts
    // empty with a focus of its own; with one it starts as a copy of the ancestor's records and
    // registry and keeps the ancestor's focus.  An EDITION view takes its schema at once, the
    // others take it from their first transaction.
    static VelRecHandle<VelViewRepr> Create(VelRecordStore& store, int kind,
                                            const VelTypeSchemaSnapshot& snapshot,
                                            VelViewRepr* ancestor);
    // The latest published edition of that form and level, read-only.
    static VelRecHandle<VelViewRepr> Open(VelRecordStore& store, const cow_String& formName,
                                          int level);
    static bool IsPublishedGroup(const hdf_Group& group);

    // ---- schemas and the kind's rules -------------------------------------------------------
    const VelTypeSchemaSnapshot& Schema() const { return m_schema; }
    const VelTypeSchemaSnapshot& AncestorSchema() const { return m_ancestorSchema; }
    void SetSchema(const VelTypeSchemaSnapshot& snapshot);
    void SetAncestorSchema(const VelTypeSchemaSnapshot& snapshot);
    // Forgets the schema a dropped transaction set.
    void ResetSchema() { m_schema = VelTypeSchemaSnapshot(); }
    void ValidateSchema(const VelTypeSchemaSnapshot& snapshot) const;
    // The types of the snapshot that the registry holds already must be the ones it holds.
    void CheckRegisteredTypes(const VelTypeSchemaSnapshot& snapshot) const;

    int Kind() const { return m_kind; }
    bool IsMutable() const { return m_mutable; }
    bool IsPublished() const { return m_published; }
    void BeginTransaction();
    void EndTransaction() { m_activeTransaction = false; }
    void Publish();

    // ---- identity -------------------------------------------------------------------------
    const cow_String& Name() const { return m_name; }
    const cow_String& FormName() const { return m_formName; }
    int Level() const { return m_level; }
    int Edition() const { return m_edition; }
    VelDynamicID FocusID() const;
    unsigned Context() const { return m_context; }

    // ---- the store ----------------------------------------------------------------------
    // Validates that the view's context is still open.
    VelRecordStore& Store() const {
        VelVALIDATE(m_store && "The view's context has been closed");
        return *m_store;
    }
    // Releases every HDF5 object; the context is closing.
    void Detach();

    VelTypeRegistry& Registry() { return *m_registry; }
    const VelTypeRegistry& Registry() const { return *m_registry; }
    // Replaces the registry (a dropped transaction's changes are undone this way).
    void ReplaceRegistry(std::unique_ptr<VelTypeRegistry> registry);
    static std::unique_ptr<VelTypeRegistry> CopyRegistry(const VelTypeRegistry& registry);
    // The registry position of a type, which must be registered.
    int RegisteredType(const VelTypeID& typeID) const;
    // Locks a type and its bases: their records have been created or read.
    void LockType(const VelTypeID& typeID);
    // The same for the type of a slot, once per slot.
    void LockSlot(int slot);

    int SlotCount() const { return static_cast<int>(m_slots.size()); }
    VelSlot& Slot(int slot) { return m_slots[static_cast<size_t>(slot)]; }
    int SlotOf(const VelTypeID& typeID) const;
    // A new, empty slot, in memory until the next commit.
    int AddSlot(const VelTypeID& typeID, int category);
    void TruncateSlots(int count);
    // The row format of a slot; null for a slot whose type is not registered.  Inline once made
    // and checked: every record read or referred to asks for it.
    const VelRowLayout* Layout(int slot) {
        const VelSlot& s = Slot(slot);
        if (s.m_Layout && (s.m_LayoutChecked || s.m_Stored.table == 0)) return s.m_Layout.Get();
        return MakeLayout(slot);
    }
    // Forgets the formats of the view's own types (after the registry changed).
    void ResetLayouts();
    // The table of a slot, opened on first use; empty for a slot that has none yet.
    const hdf_Dataset& Table(int slot);
    // The table of a slot whose rows are about to be read, checked once to hold rows of the
    // slot's layout.
    const hdf_Dataset& ReadableTable(int slot);

    // ---- records --------------------------------------------------------------------------
    VelDynamicID RecordID(int64_t serial, int slot, int64_t row) const;
    // The slot and row an identifier addresses; validates that it names a data record of this
    // context in a live data record slot, with a row below `rows` of that slot (-1: the
    // committed rows).
    void Locate(const VelDynamicID& id, int& slot, int64_t& row) const {
        VelVALIDATE(id.Category() == VelCategoryDataRecord && id.Context() == m_context &&
                    "The identifier names no data record of this context");
        const int64_t address = id.Second();
        VelVALIDATE(address >= 0 && (address >> 32) < static_cast<int64_t>(m_slots.size()) &&
                    m_slots[static_cast<size_t>(address >> 32)].m_Category ==
                        VelCategoryDataRecord &&
                    "Record not found");
        slot = static_cast<int>(address >> 32);
        row = address & 0xFFFFFFFFll;
    }
    // The block that holds the committed row of a record, the row checked to hold the
    // identifier's serial.
    const VelRecHandle<VelRowBlock>& CommittedRecord(const VelDynamicID& id, int slot, int64_t row);
    VelRecHandle<VelDataRecordRepr> ReadDataRecord(const VelDynamicID& id);
    VelArray<VelDynamicID> DataRecordIDs(const VelTypeID& typeID);

    VelAssociationID AssociationIDOf(const VelTypeID& typeID) const;
    // The slot of an association this view holds.
    int AssociationSlot(const VelAssociationID& id) const;
    // The committed pairs of an association slot.
    VelRecHandle<VelAssociationRepr> ReadAssociation(int slot);
    // Reads the committed pairs of an association slot into `pairs`.
    void LoadPairs(int slot, VelAssociationRepr& pairs);

    // ---- persistence ----------------------------------------------------------------------
    // Rewrites the catalogue and then "recordCounts".
    void WriteCatalogue();
    // The table of a slot, made for this view if it is not the view's own yet; the committed
    // rows are copied into it when `keepRows` (they are about to be rewritten otherwise).
    const hdf_Dataset& OwnTable(int slot, bool keepRows);

private:
    VelViewRepr(VelRecordStore& store, int kind);

    // Layout's work when the slot's format is still to be made or checked against its table.
    const VelRowLayout* MakeLayout(int slot);
    void CreateGroup(const VelTypeSchemaSnapshot& snapshot);
    void InheritFrom(VelViewRepr& ancestor);
    void Load(const hdf_Group& group);
    void LoadCatalogue();
    void LoadRegistry();
    void LockStoredTypes();
    void WriteViewAttribute(bool create);
    hdf_Datatype CatalogueType() const;

    VelRecordStore* m_store;
    // The value of the view's context, part of every identifier the view hands out.
    unsigned m_context;
    int m_kind;
    VelTypeSchemaSnapshot m_schema;
    VelTypeSchemaSnapshot m_ancestorSchema;
    bool m_activeTransaction = false;
    bool m_mutable = false;
    bool m_published = false;

    cow_String m_name;
    cow_String m_formName;
    int m_level = 0;
    int m_edition = 0;
    int64_t m_focus = 0;
    hdf_Group m_group;
    hdf_Group m_records;
    hdf_Dataset m_catalogue;
    std::vector<VelSlot> m_slots;
    std::map<VelTypeID, int> m_slotOf;
    std::unique_ptr<VelTypeRegistry> m_registry;
};

#endif
