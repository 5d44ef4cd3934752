#ifndef VEL_SRC_VIEWS_VELRECORDREPR_H
#define VEL_SRC_VIEWS_VELRECORDREPR_H

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "vel/context/VelDynamicID.h"
#include "vel/types/VelRecHandle.h"
#include "vel/types/VelRecType.h"
#include "vel/views/VelAssociationID.h"
#include "views/VelChunkedVector.h"
#include "views/VelParticipantGroups.h"
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
// each member at its offset in the store's byte order.  The bytes are those of the record's row
// in a shared block (a block of the table cache, or of the transaction that creates or changes
// the record), which the record keeps alive.  A record handed out by a transaction carries the
// transaction's token and may be written while the token is active; a record read from a table
// is never written, so records may share the cache's rows.
class VelDataRecordRepr : public VelRecShared {
public:
    // The record whose row (serial first) is `row`, in `block`.
    VelDataRecordRepr(const VelDynamicID& id, const VelRecHandle<VelRowLayout>& layout,
                      const VelRecHandle<VelViewRepr>& view, const VelRecHandle<VelRowBlock>& block,
                      unsigned char* row)
        : m_ID(id),
          m_Layout(layout),
          m_View(view),
          m_Block(block),
          m_Bytes(row + VelRowLayout::e_SerialSize) {}

    // Records are made and dropped one after another by the million: the memory of a dropped
    // record is kept on a short list of the thread's and given to the next one made.
    static void* operator new(size_t size);
    static void operator delete(void* data, size_t size) noexcept;

    const VelRecTypeExpandedDataRecord& Record() const { return m_Layout->Record(); }
    unsigned char* Slot(int member) { return m_Bytes + Record().MemberOffset(member); }
    // Fills every member with its default; strings are interned in the string table.
    void SetDefaults();
    // Validates that the record was handed out by a transaction that is still active.
    void CheckWritable() const {
        VelVALIDATE(m_Token && m_Token->m_Active && "The record's transaction has ended");
        m_View->Store();
    }
    VelStringTable& Strings() const;

    VelDynamicID m_ID;
    VelRecHandle<VelRowLayout> m_Layout;
    VelRecHandle<VelViewRepr> m_View;
    VelRecHandle<VelRowBlock> m_Block;
    unsigned char* m_Bytes;
    VelRecHandle<VelTransactionToken> m_Token;
};

// The key of a string-key member in a pair: its text is kept once by the association (or, while
// a pair is being inserted, by the caller), so that an entry holds no text of its own.  A member
// without a key has the empty string.
struct VelAssociationKey {
    const cow_String* m_Text = nullptr;
    const cow_String& String() const {
        static const cow_String none;
        return m_Text ? *m_Text : none;
    }
};

// One member of a pair as the association keeps it: the words of the participant's identifier,
// its position when the member is ordered, and the index of its key among the association's keys
// when the member is keyed by string (-1 otherwise).  The identifier's category follows from the
// member's kind and its context is the association's: both are checked before a pair is kept, so
// an entry holds neither, and a million pairs take a third less memory to build.
struct VelAssociationMemberEntry {
    int64_t m_First = 0;
    int64_t m_Second = 0;
    int32_t m_Position = -1;
    int32_t m_Key = -1;
};

// One member of a pair spelled out: the participant, and its key or position when the member has
// one.
struct VelAssociationMember {
    VelDynamicID m_ID;
    VelAssociationKey m_Key;
    int m_Position = -1;
};

struct VelAssociationEntry {
    VelAssociationMemberEntry m_Members[2];
    // Per member, the next entry (in list order) with the same participant of that member, or
    // -1: the entries of one participant form a chain through the list.
    int m_Next[2] = {-1, -1};
    bool m_Live = true;
};

// A participant as an Insert names it, before it becomes part of an entry.
struct VelParticipant {
    VelDynamicID id;
    bool hasPosition = false;
    int position = -1;
    bool hasKey = false;
    // The caller's key, which lasts as long as the insertion (the association keeps a copy).
    const cow_String* key = nullptr;
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
    // The identifier of member k's participant in an entry, and the member spelled out.
    VelDynamicID ID(int k, const VelAssociationMemberEntry& member) const {
        return VelDynamicID(m_Categories[k], m_Context, member.m_First, member.m_Second);
    }
    VelAssociationMember Member(int k, const VelAssociationMemberEntry& member) const;
    // A member's key; the empty string for a member without one.
    const cow_String& Key(const VelAssociationMemberEntry& member) const {
        static const cow_String none;
        return member.m_Key < 0 ? none : m_Keys[static_cast<size_t>(member.m_Key)];
    }
    int LiveCount() const { return m_LiveCount; }
    const VelChunkedVector<VelAssociationEntry>& Entries() const { return m_Entries; }
    // The entries, in list order, whose member `whichMember` is `id`.
    std::vector<int> EntriesOf(int whichMember, const VelDynamicID& id) const;
    // How many of them are live.
    int LiveCountOf(int whichMember, const VelDynamicID& id) const {
        const Group* group = FindGroup(whichMember, id);
        return group ? group->live : 0;
    }
    // Calls `act(entry)` for each of them.
    template <class Act>
    void ForEachEntryOf(int whichMember, const VelDynamicID& id, Act act) const {
        const Group* group = FindGroup(whichMember, id);
        for (int i = group ? group->head : -1; i >= 0;
             i = m_Entries[static_cast<size_t>(i)].m_Next[whichMember])
            act(m_Entries[static_cast<size_t>(i)]);
    }

    // Decodes `count` rows of the table format and appends them as stored entries.
    void AppendRows(const unsigned char* rows, int64_t count, VelStringTable& strings);
    // Writes the rows of the live entries among [begin, end) to `rows`, which has room for
    // end - begin rows, in the table format, and returns how many it wrote; keys are interned in
    // the string table.  The entries to write at commit are those from FirstToWrite() on: every
    // entry when the table is rewritten, otherwise those added since it was read.
    size_t EncodeRows(size_t begin, size_t end, VelStringTable& strings, unsigned char* rows) const;
    size_t FirstToWrite() const { return m_Rewrite ? 0 : m_Stored; }
    bool NeedsRewrite() const { return m_Rewrite; }
    // Whether a member is keyed by string, so that encoding the rows adds to the string table.
    bool HasStringKeys() const {
        return m_Type.Member(0).Option() == VelRecTypeStringKey ||
               m_Type.Member(1).Option() == VelRecTypeStringKey;
    }
    // Drops every stored entry: the table is rewritten from the entries inserted from now on.
    void DropStored();

    // Hands the association to a transaction: it indexes both members, as the insertion rules
    // need them.
    void MakeWritable(const VelRecHandle<VelTransactionToken>& token,
                      VelTransactionRepr* transaction);
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
    // A participant of one member with a key of the other.
    struct KeyKey {
        VelDynamicID id;
        std::string key;
        bool operator==(const KeyKey& o) const { return id == o.id && key == o.key; }
    };
    struct KeyHash {
        size_t operator()(const KeyKey& k) const {
            return static_cast<size_t>(k.id.First() * 31 + k.id.Second()) * 31 +
                   std::hash<std::string>()(k.key);
        }
    };
    using Group = VelParticipantGroup;

    void Prepare(int k, const VelParticipant& given, VelAssociationMember& member) const;
    // A key kept for the association's entries, and its index among them.
    int32_t AddKey(const cow_String& key);
    // The member as an entry keeps it, with the key of index `key`.
    static VelAssociationMemberEntry Kept(const VelAssociationMember& member, int32_t key);
    void CheckParticipant(int k, const VelDynamicID& id) const;
    Group* FindGroup(int k, const VelDynamicID& id);
    const Group* FindGroup(int k, const VelDynamicID& id) const;
    // The live entry whose member k is `id` and whose other member is `other` (or has `key`);
    // -1 when there is none.  `mine` and `theirs` are the groups of `id` in member k and of
    // `other` in the other member.  A pair lies on the chains of both its participants, so the
    // shorter of the two is walked.
    int Partner(int k, const Group* mine, const Group* theirs, const VelDynamicID& id,
                const VelDynamicID& other) const {
        return mine && theirs ? ChainPartner(k, mine, theirs, id, other) : -1;
    }
    int ChainPartner(int k, const Group* mine, const Group* theirs, const VelDynamicID& id,
                     const VelDynamicID& other) const;
    int KeyedPartner(int k, const VelDynamicID& id, const cow_String& key) const;
    // Appends an entry; `known`, when given, holds the group of each member's participant, or
    // null for one that has none yet.
    void Add(const VelAssociationEntry& entry, Group* const known[2] = nullptr);
    void Link(int k, int index, Group* known) const;
    // Indexes the key of the other member of live entry `index` under its participant of k.
    void IndexOtherKey(int k, int index) const;
    void EnsureIndex(int k) const;
    void Kill(int index);
    void RemoveEntry(int index);
    // Moves by `delta` the positions of member k at or after `from` among the live entries of
    // `group` (entries sharing one participant of the other member).
    void Shift(const Group& group, int k, int from, int delta);
    void Touch(int index) {
        if (static_cast<size_t>(index) < m_Stored) m_Rewrite = true;
    }

    VelRecTypeAssociation m_Type;
    // Each member's option and kind, looked up for every pair, and the category of its
    // participants' identifiers.
    VelRecTypeAssociationMemberOption m_Options[2];
    int m_Kinds[2];
    int m_Categories[2];
    unsigned m_Context;
    VelDynamicID m_Focus;
    // The chains and indexes are built when first needed, so they may change in a const
    // operation.
    mutable VelChunkedVector<VelAssociationEntry> m_Entries;
    size_t m_Stored = 0;
    int m_LiveCount = 0;
    bool m_Rewrite = false;
    mutable bool m_Indexed[2] = {false, false};
    mutable VelParticipantGroups m_Groups[2];
    // Per member, the row format of the last record found to be of one of the member's target
    // types: records come in runs of one type, which is checked once per run.
    mutable VelRecHandle<VelRowLayout> m_Allowed[2];
    std::deque<cow_String> m_Keys;
    // For an association being changed whose other member is keyed by string: per member k, the
    // live entry pairing a participant of k with a key of the other member.
    mutable std::unordered_map<KeyKey, int, KeyHash> m_OtherKeys[2];
};

#endif
