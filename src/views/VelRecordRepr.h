#ifndef VEL_SRC_VIEWS_VELRECORDREPR_H
#define VEL_SRC_VIEWS_VELRECORDREPR_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "vel/context/VelDynamicID.h"
#include "vel/types/VelRecHandle.h"
#include "vel/types/VelRecType.h"
#include "vel/views/VelAssociationID.h"
#include "views/VelRecordTable.h"
#include "views/VelViewRepr.h"

class VelTransactionRepr;
class VelStringTable;

// Shared by a transaction and every record and association it hands out: whether the
// transaction is still active.  It holds nothing else, so handles that outlive their
// transaction keep no transaction alive and find out that it has ended.
class VelTransactionToken : public VelRecShared {
public:
    bool m_Active = true;
};

// A data record in memory: its identifier, its row format (the flattened type) and its bytes,
// each member at its offset in the store's byte order.  A record handed out by a transaction
// carries the transaction's token and may be written while the token is active.
class VelDataRecordRepr : public VelRecShared {
public:
    VelDataRecordRepr(const VelDynamicID& id, const VelRecHandle<VelRowLayout>& layout,
                      const VelRecHandle<VelViewRepr>& view);

    const VelRecTypeExpandedDataRecord& Record() const { return m_Layout->Record(); }
    unsigned char* Slot(int member) { return m_Bytes.data() + Record().MemberOffset(member); }
    // Fills every member with its default; strings are interned in the string table.
    void SetDefaults();
    // Validates that the record was handed out by a transaction that is still active.
    void CheckWritable() const;
    VelStringTable& Strings() const;

    VelDynamicID m_ID;
    VelRecHandle<VelRowLayout> m_Layout;
    std::vector<unsigned char> m_Bytes;
    VelRecHandle<VelViewRepr> m_View;
    VelRecHandle<VelTransactionToken> m_Token;
};

// The key of a string-key member in a pair.
struct VelAssociationKey {
    cow_String m_Text;
    const cow_String& String() const { return m_Text; }
};

// One member of a pair: the participant, and its key or position when the member has one.
struct VelAssociationMemberEntry {
    VelDynamicID m_ID;
    VelAssociationKey m_Key;
    int m_Position = -1;
};

struct VelAssociationEntry {
    bool m_Live = true;
    VelAssociationMemberEntry m_Members[2];
};

// A participant as an Insert names it, before it becomes part of an entry.
struct VelParticipant {
    VelDynamicID id;
    bool hasPosition = false;
    int position = -1;
    bool hasKey = false;
    cow_String key;
};

// The pairs of an association in memory, as read from its table and changed by a transaction.
// Removed pairs stay in the list with their live flag cleared.  Two indexes, one per member,
// group the entries by participant, so that an insertion is compared only with the entries
// that share its other participant, and occurrences are counted per participant.
class VelAssociationRepr : public VelRecShared {
public:
    VelAssociationRepr(const VelAssociationID& id, const VelRecHandle<VelRowLayout>& layout,
                       VelViewRepr& view);

    const VelRecTypeAssociation& Type() const { return m_Type; }
    int LiveCount() const { return m_LiveCount; }
    const std::vector<VelAssociationEntry>& Entries() const { return m_Entries; }
    // The entries, in list order, whose member `whichMember` is `id`.
    const std::vector<int>* EntriesOf(int whichMember, const VelDynamicID& id) const;

    // Decodes `count` rows of the table format and appends them as stored entries.
    void AppendRows(const unsigned char* rows, int64_t count, VelStringTable& strings);
    // The rows to write at commit: every live entry when the table is rewritten, otherwise the
    // entries added since it was read.  Keys are interned in the string table.
    std::vector<unsigned char> EncodeRows(bool all, VelStringTable& strings) const;
    bool NeedsRewrite() const { return m_Rewrite; }
    // Drops every stored entry: the table is rewritten from the entries inserted from now on.
    void DropStored();

    void CheckWritable() const;
    void Insert(const VelParticipant& first, const VelParticipant& second);
    // The forms of Remove; `form` is the option the other member must have.
    void Remove(int whichMember, const VelDynamicID& id, VelRecTypeAssociationMemberOption form,
                const VelDynamicID& other, int position, const cow_String& key);
    void RemoveAll(int whichMember, const VelDynamicID& id);
    void CheckOccurrences() const;

    VelAssociationID m_ID;
    VelRecHandle<VelRowLayout> m_Layout;
    VelRecHandle<VelTransactionToken> m_Token;
    // The view and the transaction that handed the association out, used only while the token
    // is active (the transaction keeps the view alive until then).  A view caches the pairs it
    // reads, so the pairs must not keep their view alive.
    VelViewRepr* m_View;
    VelTransactionRepr* m_Transaction = nullptr;

private:
    struct IDKey {
        VelDynamicID id;
        bool operator<(const IDKey& other) const { return id.Compare(other.id) < 0; }
    };
    // The entries whose member k is one participant, and, among the live ones, the other
    // member's participants and keys (with the entries that hold them).
    struct Group {
        std::vector<int> entries;
        int live = 0;
        std::multimap<IDKey, int> others;
        std::map<std::string, int> otherKeys;
    };

    void Prepare(int k, const VelParticipant& given, VelAssociationMemberEntry& entry) const;
    void CheckParticipant(int k, const VelDynamicID& id) const;
    Group* FindGroup(int k, const VelDynamicID& id);
    const Group* FindGroup(int k, const VelDynamicID& id) const;
    void Add(const VelAssociationEntry& entry);
    void Kill(int index);
    void RemoveEntry(int index);
    // Moves by `delta` the positions of member k at or after `from` among the live entries of
    // `group` (entries sharing one participant of the other member).
    void Shift(const Group& group, int k, int from, int delta);
    void Touch(int index) {
        if (static_cast<size_t>(index) < m_Stored) m_Rewrite = true;
    }

    VelRecTypeAssociation m_Type;
    unsigned m_Context;
    VelDynamicID m_Focus;
    std::vector<VelAssociationEntry> m_Entries;
    size_t m_Stored = 0;
    int m_LiveCount = 0;
    bool m_Rewrite = false;
    std::map<IDKey, Group> m_Groups[2];
};

#endif
