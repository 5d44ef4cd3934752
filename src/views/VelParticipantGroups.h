#ifndef VEL_SRC_VIEWS_VELPARTICIPANTGROUPS_H
#define VEL_SRC_VIEWS_VELPARTICIPANTGROUPS_H

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "vel/context/VelDynamicID.h"
#include "vel/types/VelTypeCategories.h"
#include "views/VelChunkedVector.h"

// The chain of an association's entries whose member k is one participant: its first and last
// entry, its length, and how many of its entries are live.  A group exists once an entry has
// been linked to it, so its length is never 0.
struct VelParticipantGroup {
    int head = -1;
    int tail = -1;
    int length = 0;
    int live = 0;
};

// The groups of one member of an association, by participant.
//
// Most participants are data records of the view, whose identifiers address a table and a row
// directly: their groups are kept in one array per table, by row, so that the pairs of records
// taken in table order are grouped without hashing and in memory order.  The array of a table
// grows only as far as four times the number of groups (plus a margin), so its memory follows the
// number of pairs, whatever rows a damaged file names; the serial kept with each group tells two
// identifiers of one row apart.  Every other participant (a focus, a bulk-data identifier, a row
// beyond the arrays, an identifier whose row is taken) has its group in a hash map.  A
// participant is found where it was added: the arrays are searched first, and a row is taken in
// them only by a participant that the map does not hold.
class VelParticipantGroups {
public:
    // The groups of identifiers of context `context` in a view of `tables` tables.
    VelParticipantGroups(unsigned context, int tables) : m_Context(context), m_Rows(tables) {}

    // Inline up to the arrays, since every pair inserted or read looks up two participants.
    VelParticipantGroup* Find(const VelDynamicID& id) {
        if (m_Last && Same(id, m_LastID)) return m_Last;
        Row* row = RowOf(id);
        if (row && row->group.length > 0 && row->serial == id.First())
            return Remember(id, &row->group);
        return m_Others.empty() ? nullptr : FindOther(id);
    }
    // The participant's group, made empty if it has none yet; the caller links an entry to it.
    // The reference lasts until the next call to Add.
    VelParticipantGroup& Add(const VelDynamicID& id);
    // The same for a participant that Find has just not found.
    VelParticipantGroup& AddNew(const VelDynamicID& id);
    // Calls `act(group)` for every group.
    template <class Act>
    void ForEach(Act act) const {
        for (const VelChunkedVector<Row>& rows : m_Rows) {
            for (size_t i = 0; i < rows.size(); ++i) {
                if (rows[i].group.length > 0) act(rows[i].group);
            }
        }
        for (const auto& other : m_Others) act(other.second);
    }
    void Clear();

private:
    struct Row {
        int64_t serial = 0;
        VelParticipantGroup group;
    };
    struct Hash {
        size_t operator()(const VelDynamicID& id) const;
    };

    static bool Same(const VelDynamicID& a, const VelDynamicID& b) {
        return a.First() == b.First() && a.Second() == b.Second() && a.Category() == b.Category() &&
               a.Context() == b.Context();
    }
    // The array of tables a data record's identifier addresses, or null for any other identifier.
    VelChunkedVector<Row>* TableOf(const VelDynamicID& id) {
        const int64_t address = id.Second();
        if (id.Category() != VelCategoryDataRecord || id.Context() != m_Context || address < 0 ||
            (address >> 32) >= static_cast<int64_t>(m_Rows.size()))
            return nullptr;
        return &m_Rows[static_cast<size_t>(address >> 32)];
    }
    // The row a data record's identifier addresses, or null for any other identifier and for a
    // row beyond its table's array.
    Row* RowOf(const VelDynamicID& id) {
        VelChunkedVector<Row>* rows = TableOf(id);
        const size_t row = static_cast<size_t>(id.Second() & 0xFFFFFFFFll);
        return rows && row < rows->size() ? &(*rows)[row] : nullptr;
    }
    // The same, the array grown to hold the row when the bound allows.
    Row* GrowRowOf(const VelDynamicID& id);
    VelParticipantGroup* FindOther(const VelDynamicID& id);

    // Remembers `group` as the group of `id`.
    VelParticipantGroup* Remember(const VelDynamicID& id, VelParticipantGroup* group) {
        m_LastID = id;
        m_Last = group;
        return group;
    }

    unsigned m_Context;
    // The group found last, which the next search often asks for again (neighbouring pairs tend
    // to share a participant, as every pair shares the focus); null after an array has moved.
    VelDynamicID m_LastID;
    VelParticipantGroup* m_Last = nullptr;
    // In chunks, so that the array of a table of millions of records grows without copying.
    std::vector<VelChunkedVector<Row>> m_Rows;
    size_t m_Capacity = 0;
    size_t m_Count = 0;
    std::unordered_map<VelDynamicID, VelParticipantGroup, Hash> m_Others;
};

#endif
