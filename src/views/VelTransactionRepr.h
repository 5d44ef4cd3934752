#ifndef VEL_SRC_VIEWS_VELTRANSACTIONREPR_H
#define VEL_SRC_VIEWS_VELTRANSACTIONREPR_H

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "vel/types/VelRecHandle.h"
#include "vel/types/VelTypeRegistry.h"
#include "vel/types/VelTypeSchemaSnapshot.h"
#include "views/VelRecordRepr.h"
#include "views/VelViewRepr.h"

// The changes of one transaction, kept in memory until Commit writes them.
//
// Per table: the records created (their rows follow the committed ones, in creation order), the
// committed records opened for writing, and the association being changed.  Type changes go to
// the view's registry at once, after a copy of it has been kept, so that dropping the
// transaction can put the registry, the catalogue and the schema back as they were.
class VelTransactionRepr : public VelRecShared {
public:
    // Opens the transaction on the view; the public classes decide what it may do.
    explicit VelTransactionRepr(const VelRecHandle<VelViewRepr>& view);
    // Drops whatever was not committed.
    ~VelTransactionRepr() override;

    VelViewRepr& View() const { return *m_View.Get(); }
    // Validates that the transaction is active and its context open.
    void CheckActive() const;
    bool IsActive() const { return m_Token->m_Active; }

    void CreateTypes(const VelTypeSchemaSnapshot& snapshot);
    void UpdateTypes(const VelTypeSchemaSnapshot& snapshot);
    void CreateType(const VelRecType& type);

    VelRecHandle<VelDataRecordRepr> CreateDataRecord(const VelTypeID& typeID);
    VelRecHandle<VelDataRecordRepr> ModifyDataRecord(const VelDynamicID& id);
    VelRecHandle<VelAssociationRepr> UpdateAssociation(const VelAssociationID& id, bool replace);
    // The same for an association of a type known by identifier (the registry's own records).
    VelRecHandle<VelAssociationRepr> UpdateAssociation(const VelTypeID& typeID);
    // A new record of any type the view can lay out, the built-in Types form's included.
    VelRecHandle<VelDataRecordRepr> CreateRecordOf(const VelTypeID& typeID);

    // The row format of a data record this transaction can see (created here or committed);
    // validates that the record exists.
    const VelRecHandle<VelRowLayout>& RecordLayout(const VelDynamicID& id);

    void Commit();

private:
    // The rows a transaction writes to one table, in the table's format.  A record handed out
    // for writing points at its row here.
    struct SlotChanges {
        explicit SlotChanges(int width) : created(width), modified(width) {}
        // The new records, whose rows follow the committed ones in creation order.
        VelRowArena created;
        // Copies of the committed rows opened for writing, by row.
        VelRowArena modified;
        std::map<int64_t, int64_t> modifiedRows;
        VelRecHandle<VelAssociationRepr> pairs;
    };

    // The changes to a slot of rows `width` bytes wide, made on first use; the last slot's
    // are kept at hand.
    SlotChanges& ChangesOf(int slot, int width);
    // A new record in a slot of data records.
    VelRecHandle<VelDataRecordRepr> CreateRecordIn(int slot);
    // A record handed out for writing, whose row is `row` in `block`.
    VelRecHandle<VelDataRecordRepr> WritableRecord(const VelDynamicID& id, int slot,
                                                   const VelRecHandle<VelRowBlock>& block,
                                                   unsigned char* row);
    // The slot of a type, made for it if the view has none yet.
    int SlotFor(const VelTypeID& typeID, int category);
    // Keeps the registry, the catalogue size and the schema as they were before the first type
    // change.
    void SaveTypes();
    void SetViewSchema(const VelTypeSchemaSnapshot& snapshot);
    // Registers a type: a type record for it, the registry entry, its slot.
    void Register(const VelRecType& type);
    VelRecHandle<VelAssociationRepr> PairsOf(int slot, bool replace);
    void WriteDataSlot(int slot, SlotChanges& changes);
    // Writes the changed pairs of a slot: the rows in `encoded` when given (pairs with string
    // keys, encoded before the string table was written), otherwise those it encodes.
    void WritePairSlot(int slot, SlotChanges& changes, const std::vector<unsigned char>* encoded);
    void End();
    void Drop();

    VelRecHandle<VelViewRepr> m_View;
    VelRecHandle<VelTransactionToken> m_Token;
    VelTypeSchemaSnapshot m_snapshot;
    std::map<int, SlotChanges> m_Changes;
    // The slot of the last data record type created, or -1, and its changes.
    int m_LastSlot = -1;
    int m_RecentSlot = -1;
    SlotChanges* m_Recent = nullptr;

    bool m_SavedTypes = false;
    std::unique_ptr<VelTypeRegistry> m_SavedRegistry;
    int m_SavedSlots = 0;
    // Slots emptied because their type left the view, as they were.
    struct SavedSlot {
        int slot;
        int64_t rows;
        VelStoredTable stored;
        hdf_Dataset table;
        bool owned;
    };
    std::vector<SavedSlot> m_EmptiedSlots;
    bool m_SetSchema = false;
    // Types registered or changed here, whose type records are written at commit.
    std::vector<VelTypeID> m_NewTypes;
    std::vector<VelTypeID> m_ChangedTypes;
    std::vector<VelDynamicID> m_DroppedTypes;

    friend class VelTypeRecords;
};

#endif
