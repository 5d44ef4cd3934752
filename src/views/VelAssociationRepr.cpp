#include <algorithm>

#include "vel/core/VelAssert.h"
#include "views/VelRecordRepr.h"
#include "views/VelRecordStore.h"
#include "views/VelTransactionRepr.h"

namespace {

bool FitsInt32(int64_t value) {
    return value == static_cast<int64_t>(static_cast<int32_t>(value));
}

// A participant's 20-byte identifier in a pair's row, in the store's byte order: category, first,
// second.  One of the category its member takes (`expected`) is decoded in place; any other goes
// through the identifier's own reading, so that it is refused as it always was.
void ReadParticipant(const unsigned char* at, int expected, unsigned context,
                     VelAssociationMemberEntry& member) {
    if (expected < VelCategoryLimit &&
        static_cast<int32_t>(VelRecordBytes::Get32(at)) == expected) {
        member.m_First = static_cast<int64_t>(VelRecordBytes::Get64(at + 4));
        member.m_Second = static_cast<int64_t>(VelRecordBytes::Get64(at + 12));
        return;
    }
    const VelDynamicID id = VelDynamicID::ReadPersistent(at, context, VelByteOrderBigEndian);
    VelVALIDATE(id.Category() == expected &&
                "Damaged record store: a pair's participant is of another kind");
    member.m_First = id.First();
    member.m_Second = id.Second();
}

void WriteParticipant(unsigned char* at, int category, const VelAssociationMemberEntry& member) {
    VelRecordBytes::Put32(at, static_cast<uint32_t>(category));
    VelRecordBytes::Put64(at + 4, static_cast<uint64_t>(member.m_First));
    VelRecordBytes::Put64(at + 12, static_cast<uint64_t>(member.m_Second));
}

// Whether an entry's member is the participant `id`, an identifier of the member's category and
// of the association's context.
bool IsParticipant(const VelAssociationMemberEntry& member, const VelDynamicID& id) {
    return member.m_First == id.First() && member.m_Second == id.Second();
}

}  // namespace

VelAssociationRepr::VelAssociationRepr(const VelAssociationID& id,
                                       const VelRecHandle<VelRowLayout>& layout, VelViewRepr& view)
    : m_ID(id),
      m_Layout(layout),
      m_View(&view),
      m_Type(layout->Association()),
      m_Context(view.Context()),
      m_Focus(view.FocusID()),
      m_Groups{{view.Context(), view.SlotCount()}, {view.Context(), view.SlotCount()}} {
    for (int k = 0; k < 2; ++k) {
        m_Options[k] = m_Type.Member(k).Option();
        m_Kinds[k] = m_Type.Member(k).Category();
        // A focus is a data record; every other participant's category is its member's kind.
        m_Categories[k] = m_Kinds[k] == VelEntityViewFocus ? VelCategoryDataRecord : m_Kinds[k];
    }
}

int32_t VelAssociationRepr::AddKey(const cow_String& key) {
    VelVALIDATE(m_Keys.size() < 0x7FFFFFFF && "An association holds at most 2^31 - 1 keys");
    m_Keys.push_back(key);
    return static_cast<int32_t>(m_Keys.size() - 1);
}

VelAssociationMember VelAssociationRepr::Member(int k,
                                                const VelAssociationMemberEntry& member) const {
    VelAssociationMember spelled;
    spelled.m_ID = ID(k, member);
    spelled.m_Key.m_Text = member.m_Key < 0 ? nullptr : &Key(member);
    spelled.m_Position = member.m_Position;
    return spelled;
}

VelAssociationMemberEntry VelAssociationRepr::Kept(const VelAssociationMember& member,
                                                   int32_t key) {
    VelAssociationMemberEntry kept;
    kept.m_First = member.m_ID.First();
    kept.m_Second = member.m_ID.Second();
    kept.m_Position = member.m_Position;
    kept.m_Key = key;
    return kept;
}

// ---- the table format -------------------------------------------------------------------------

// The members' kinds and options are looked up once per call, not once per row; the entries
// grow geometrically, since a whole table comes in many calls.
void VelAssociationRepr::AppendRows(const unsigned char* rows, int64_t count,
                                    VelStringTable& strings) {
    const VelRowLayout& layout = *m_Layout.Get();
    const unsigned context = m_Context;
    const VelRecTypeAssociationMemberOption* options = m_Options;
    for (int64_t r = 0; r < count; ++r) {
        const unsigned char* row = rows + r * layout.Width();
        VelAssociationEntry entry;
        for (int k = 0; k < 2; ++k) {
            const unsigned char* at = row + layout.IDOffset(k);
            VelAssociationMemberEntry& member = entry.m_Members[k];
            if (layout.IDSize(k) == 4) {
                member.m_First = static_cast<int32_t>(VelRecordBytes::Get32(at));
            } else if (layout.IDSize(k) == 8) {
                member.m_First = static_cast<int32_t>(VelRecordBytes::Get32(at));
                member.m_Second = static_cast<int32_t>(VelRecordBytes::Get32(at + 4));
            } else {
                ReadParticipant(at, m_Categories[k], context, member);
            }
            const unsigned char* key = row + layout.KeyOffset(k);
            if (options[k] == VelRecTypeOrdered) {
                member.m_Position = static_cast<int32_t>(VelRecordBytes::Get32(key));
                VelVALIDATE(entry.m_Members[k].m_Position >= 0 &&
                            "Damaged record store: a pair's position is negative");
            } else if (options[k] == VelRecTypeStringKey) {
                member.m_Key = AddKey(strings.Lookup(VelRecordBytes::Get32(key)));
            }
        }
        Add(entry);
    }
    m_Stored = m_Entries.size();
}

size_t VelAssociationRepr::EncodeRows(size_t begin, size_t end, VelStringTable& strings,
                                      unsigned char* rows) const {
    const VelRowLayout& layout = *m_Layout.Get();
    const VelRecTypeAssociationMemberOption* options = m_Options;
    const size_t width = static_cast<size_t>(layout.Width());
    size_t written = 0;
    for (size_t i = begin; i < end; ++i) {
        const VelAssociationEntry& entry = m_Entries[i];
        if (!entry.m_Live) continue;
        unsigned char* row = rows + written * width;
        ++written;
        for (int k = 0; k < 2; ++k) {
            const VelAssociationMemberEntry& member = entry.m_Members[k];
            unsigned char* at = row + layout.IDOffset(k);
            if (layout.IDSize(k) == 4) {
                VelRecordBytes::Put32(at, static_cast<uint32_t>(member.m_First));
            } else if (layout.IDSize(k) == 8) {
                VelRecordBytes::Put32(at, static_cast<uint32_t>(member.m_First));
                VelRecordBytes::Put32(at + 4, static_cast<uint32_t>(member.m_Second));
            } else {
                WriteParticipant(at, m_Categories[k], member);
            }
            unsigned char* key = row + layout.KeyOffset(k);
            const VelRecTypeAssociationMemberOption option = options[k];
            if (option == VelRecTypeOrdered) {
                VelRecordBytes::Put32(key, static_cast<uint32_t>(member.m_Position));
            } else if (option == VelRecTypeStringKey) {
                VelRecordBytes::Put32(key, strings.Intern(Key(member)));
            }
        }
    }
    return written;
}

void VelAssociationRepr::DropStored() {
    m_Entries.clear();
    m_Keys.clear();
    for (int k = 0; k < 2; ++k) {
        m_Groups[k].Clear();
        m_OtherKeys[k].clear();
    }
    m_Stored = 0;
    m_LiveCount = 0;
    m_Rewrite = true;
}

// ---- the indexes ------------------------------------------------------------------------------

std::vector<int> VelAssociationRepr::EntriesOf(int whichMember, const VelDynamicID& id) const {
    std::vector<int> entries;
    const Group* group = FindGroup(whichMember, id);
    for (int i = group ? group->head : -1; i >= 0;
         i = m_Entries[static_cast<size_t>(i)].m_Next[whichMember])
        entries.push_back(i);
    return entries;
}

VelAssociationRepr::Group* VelAssociationRepr::FindGroup(int k, const VelDynamicID& id) {
    EnsureIndex(k);
    return m_Groups[k].Find(id);
}

const VelAssociationRepr::Group* VelAssociationRepr::FindGroup(int k,
                                                               const VelDynamicID& id) const {
    EnsureIndex(k);
    return m_Groups[k].Find(id);
}

int VelAssociationRepr::ChainPartner(int k, const Group* mine, const Group* theirs,
                                     const VelDynamicID& id, const VelDynamicID& other) const {
    const int chain = mine->length <= theirs->length ? k : 1 - k;
    const VelDynamicID& far = chain == k ? other : id;
    for (int i = (chain == k ? mine : theirs)->head; i >= 0;
         i = m_Entries[static_cast<size_t>(i)].m_Next[chain]) {
        const VelAssociationEntry& entry = m_Entries[static_cast<size_t>(i)];
        if (entry.m_Live && IsParticipant(entry.m_Members[1 - chain], far)) return i;
    }
    return -1;
}

int VelAssociationRepr::KeyedPartner(int k, const VelDynamicID& id, const cow_String& key) const {
    const auto found = m_OtherKeys[k].find(KeyKey{id, key.str()});
    return found == m_OtherKeys[k].end() ? -1 : found->second;
}

// Appends entry `index` to the chain of its participant of member k, whose group is `known`
// when the caller has found it already.  Inline: every pair is linked twice.
inline void VelAssociationRepr::Link(int k, int index, Group* known) const {
    VelAssociationEntry& entry = m_Entries[static_cast<size_t>(index)];
    Group& group = known ? *known : m_Groups[k].Add(ID(k, entry.m_Members[k]));
    if (group.tail >= 0) {
        m_Entries[static_cast<size_t>(group.tail)].m_Next[k] = index;
    } else {
        group.head = index;
    }
    group.tail = index;
    ++group.length;
    if (!entry.m_Live) return;
    ++group.live;
    if (m_Token && m_Options[1 - k] == VelRecTypeStringKey) IndexOtherKey(k, index);
}

void VelAssociationRepr::Add(const VelAssociationEntry& entry, Group* const known[2]) {
    const int index = static_cast<int>(m_Entries.size());
    m_Entries.push_back(entry);
    for (int k = 0; k < 2; ++k) {
        if (m_Indexed[k]) Link(k, index, known ? known[k] : nullptr);
    }
    ++m_LiveCount;
}

void VelAssociationRepr::IndexOtherKey(int k, int index) const {
    const VelAssociationEntry& entry = m_Entries[static_cast<size_t>(index)];
    m_OtherKeys[k].emplace(KeyKey{ID(k, entry.m_Members[k]), Key(entry.m_Members[1 - k]).str()},
                           index);
}

// Pairs read for reading are indexed by a member only when they are first looked up by it: a
// selection from one participant needs the chains of one member only.
void VelAssociationRepr::EnsureIndex(int k) const {
    if (m_Indexed[k]) return;
    for (size_t i = 0; i < m_Entries.size(); ++i) Link(k, static_cast<int>(i), nullptr);
    m_Indexed[k] = true;
}

void VelAssociationRepr::MakeWritable(const VelRecHandle<VelTransactionToken>& token,
                                      VelTransactionRepr* transaction) {
    m_Token = token;
    m_Transaction = transaction;
    EnsureIndex(0);
    EnsureIndex(1);
}

void VelAssociationRepr::Kill(int index) {
    VelAssociationEntry& entry = m_Entries[static_cast<size_t>(index)];
    entry.m_Live = false;
    --m_LiveCount;
    Touch(index);
    for (int k = 0; k < 2; ++k) {
        const VelAssociationMemberEntry& other = entry.m_Members[1 - k];
        const VelDynamicID id = ID(k, entry.m_Members[k]);
        --FindGroup(k, id)->live;
        if (m_Options[1 - k] == VelRecTypeStringKey) {
            const auto found = m_OtherKeys[k].find(KeyKey{id, Key(other).str()});
            if (found != m_OtherKeys[k].end() && found->second == index)
                m_OtherKeys[k].erase(found);
        }
    }
}

void VelAssociationRepr::Shift(const Group& group, int k, int from, int delta) {
    for (int index = group.head; index >= 0;
         index = m_Entries[static_cast<size_t>(index)].m_Next[1 - k]) {
        VelAssociationEntry& entry = m_Entries[static_cast<size_t>(index)];
        if (!entry.m_Live || entry.m_Members[k].m_Position < from) continue;
        entry.m_Members[k].m_Position += delta;
        Touch(index);
    }
}

// ---- changes ----------------------------------------------------------------------------------

void VelAssociationRepr::CheckWritable() const {
    VelVALIDATE(m_Token && m_Token->m_Active && "The association's transaction has ended");
    m_View->Store();
}

void VelAssociationRepr::CheckParticipant(int k, const VelDynamicID& id) const {
    const int kind = m_Kinds[k];
    VelVALIDATE(id.Context() == m_Context && "The participant is of another context");
    if (kind == VelEntityDataRecord) {
        const VelRecHandle<VelRowLayout>& layout = m_Transaction->RecordLayout(id);
        if (layout.Get() == m_Allowed[k].Get()) return;
        const VelRecTypeAssociationMember& member = m_Type.Member(k);
        bool allowed = member.EntityTypeCount() == 0;
        for (int i = 0; i < member.EntityTypeCount() && !allowed; ++i)
            allowed = layout->Record().IsA(member.EntityType(i));
        VelVALIDATE(allowed && "The record's type is not a target type of the association member");
        m_Allowed[k] = layout;
        return;
    }
    if (kind == VelEntityViewFocus) {
        VelVALIDATE(id == m_Focus && "The participant is not the view's focus");
        return;
    }
    VelVALIDATE(id.Category() == kind && "The participant is not of the member's kind");
    const int size = m_Type.Member(k).IDSize();
    VelVALIDATE((size == 20 || (FitsInt32(id.First()) &&
                                (size == 8 ? FitsInt32(id.Second()) : id.Second() == 0))) &&
                "The participant's identifier does not fit the association member");
}

void VelAssociationRepr::Prepare(int k, const VelParticipant& given,
                                 VelAssociationMember& entry) const {
    const VelRecTypeAssociationMemberOption option = m_Options[k];
    VelVALIDATE((!given.hasPosition || option == VelRecTypeOrdered) &&
                "A position was given for a member that is not ordered");
    VelVALIDATE((!given.hasKey || option == VelRecTypeStringKey) &&
                "A key was given for a member that is not keyed by string");
    VelVALIDATE((option != VelRecTypeStringKey || given.hasKey) &&
                "A member keyed by string needs a key");
    CheckParticipant(k, given.id);
    entry.m_ID = given.id;
    entry.m_Position = given.hasPosition ? given.position : -1;
    // The caller's key until the pair is added (Insert keeps a copy then).
    entry.m_Key.m_Text = given.hasKey ? given.key : nullptr;
}

// The new pair is compared, for each member, with the live pairs that share its other
// participant: those are the participants (or keys, or positions) the member's rules are about.
// An ordered member given no position goes after the last one.
void VelAssociationRepr::Insert(const VelParticipant& first, const VelParticipant& second) {
    CheckWritable();
    VelAssociationMember newMembFirst, newMembSecond;
    Prepare(0, first, newMembFirst);
    Prepare(1, second, newMembSecond);
    const VelRecTypeAssociationMemberOption optionFirst = m_Options[0];
    const VelRecTypeAssociationMemberOption optionSecond = m_Options[1];
    Group* const sharingSecond = FindGroup(1, newMembSecond.m_ID);
    Group* const sharingFirst = FindGroup(0, newMembFirst.m_ID);

    if (optionFirst == VelRecTypeStringKey) {
        const int found = KeyedPartner(1, newMembSecond.m_ID, newMembFirst.m_Key.String());
        if (found >= 0) {
            const VelAssociationMember oldMembFirst =
                Member(0, m_Entries[static_cast<size_t>(found)].m_Members[0]);
            VelVALIDATE(newMembFirst.m_Key.String() != oldMembFirst.m_Key.String());
        }
    } else {
        const int found =
            Partner(1, sharingSecond, sharingFirst, newMembSecond.m_ID, newMembFirst.m_ID);
        if (found >= 0) {
            const VelAssociationMember oldMembFirst =
                Member(0, m_Entries[static_cast<size_t>(found)].m_Members[0]);
            VelVALIDATE(newMembFirst.m_ID != oldMembFirst.m_ID);
        }
    }
    const int maxPosFirst = (sharingSecond ? sharingSecond->live : 0) - 1;
    if (optionFirst == VelRecTypeOrdered) {
        if (!first.hasPosition) newMembFirst.m_Position = maxPosFirst + 1;
        VelVALIDATE(newMembFirst.m_Position >= 0 && newMembFirst.m_Position <= maxPosFirst + 1);
    }

    if (optionSecond == VelRecTypeStringKey) {
        const int found = KeyedPartner(0, newMembFirst.m_ID, newMembSecond.m_Key.String());
        if (found >= 0) {
            const VelAssociationMember oldMembSecond =
                Member(1, m_Entries[static_cast<size_t>(found)].m_Members[1]);
            VelVALIDATE(newMembSecond.m_Key.String() != oldMembSecond.m_Key.String());
        }
    } else {
        const int found =
            Partner(0, sharingFirst, sharingSecond, newMembFirst.m_ID, newMembSecond.m_ID);
        if (found >= 0) {
            const VelAssociationMember oldMembSecond =
                Member(1, m_Entries[static_cast<size_t>(found)].m_Members[1]);
            VelVALIDATE(newMembSecond.m_ID != oldMembSecond.m_ID);
        }
    }
    const int maxPosSecond = (sharingFirst ? sharingFirst->live : 0) - 1;
    if (optionSecond == VelRecTypeOrdered) {
        if (!second.hasPosition) newMembSecond.m_Position = maxPosSecond + 1;
        VelVALIDATE(newMembSecond.m_Position >= 0 && newMembSecond.m_Position <= maxPosSecond + 1);
    }

    if (optionFirst == VelRecTypeOrdered && sharingSecond && newMembFirst.m_Position <= maxPosFirst)
        Shift(*sharingSecond, 0, newMembFirst.m_Position, 1);
    if (optionSecond == VelRecTypeOrdered && sharingFirst &&
        newMembSecond.m_Position <= maxPosSecond)
        Shift(*sharingFirst, 1, newMembSecond.m_Position, 1);
    VelAssociationEntry entry;
    entry.m_Members[0] = Kept(newMembFirst, first.hasKey ? AddKey(*first.key) : -1);
    entry.m_Members[1] = Kept(newMembSecond, second.hasKey ? AddKey(*second.key) : -1);
    // Each member's group is the one found above (nothing has added a group since), or a new one.
    Group* const groups[2] = {
        sharingFirst ? sharingFirst : &m_Groups[0].AddNew(newMembFirst.m_ID),
        sharingSecond ? sharingSecond : &m_Groups[1].AddNew(newMembSecond.m_ID)};
    Add(entry, groups);
}

void VelAssociationRepr::Remove(int whichMember, const VelDynamicID& id,
                                VelRecTypeAssociationMemberOption form, const VelDynamicID& other,
                                int position, const cow_String& key) {
    VelASSERT(0 == whichMember || 1 == whichMember);
    CheckWritable();
    const int otherMember = 1 - whichMember;
    switch (form) {
        case VelRecTypeUnordered:
            VelVALIDATE(m_Type.Member(otherMember).Option() == VelRecTypeUnordered);
            break;
        case VelRecTypeOrdered:
            VelVALIDATE(m_Type.Member(otherMember).Option() == VelRecTypeOrdered);
            break;
        case VelRecTypeStringKey:
            VelVALIDATE(m_Type.Member(otherMember).Option() == VelRecTypeStringKey);
            break;
    }
    int found = -1;
    {
        for (const int index : EntriesOf(whichMember, id)) {
            const VelAssociationEntry& entry = m_Entries[static_cast<size_t>(index)];
            if (!entry.m_Live) continue;
            const VelAssociationMemberEntry& candidate = entry.m_Members[otherMember];
            const bool matches = form == VelRecTypeUnordered ? ID(otherMember, candidate) == other
                                 : form == VelRecTypeOrdered ? candidate.m_Position == position
                                                             : Key(candidate) == key;
            if (matches) {
                found = index;
                break;
            }
        }
    }
    if (found < 0) VelVALIDATE(!"Record for deletion not found.");
    RemoveEntry(found);
}

void VelAssociationRepr::RemoveAll(int whichMember, const VelDynamicID& id) {
    VelASSERT(0 == whichMember || 1 == whichMember);
    CheckWritable();
    for (const int index : EntriesOf(whichMember, id)) {
        if (m_Entries[static_cast<size_t>(index)].m_Live) RemoveEntry(index);
    }
}

// The positions of each ordered member close up over the removed pair, among the pairs that
// shared its other participant, so that they stay dense from 0.
void VelAssociationRepr::RemoveEntry(int index) {
    const VelAssociationEntry removed = m_Entries[static_cast<size_t>(index)];
    Kill(index);
    for (int k = 0; k < 2; ++k) {
        if (m_Type.Member(k).Option() != VelRecTypeOrdered) continue;
        const Group* sharing = FindGroup(1 - k, ID(1 - k, removed.m_Members[1 - k]));
        Shift(*sharing, k, removed.m_Members[k].m_Position + 1, -1);
    }
}

// A member's bounds say how many participants of that member one participant of the other
// member may have: the built-in Types form relies on it (a member record has exactly one owner,
// an owner any number of members).  So the pairs of each participant of the first member are
// counted against the bounds of the second, and the other way round; the names below are those
// of the groupings the bounds apply to.  Only participants that take part in a live pair are
// counted, and an unbounded maximum (all bits set) is not checked at all.
void VelAssociationRepr::CheckOccurrences() const {
    EnsureIndex(0);
    EnsureIndex(1);
    const int minOccursFirst = m_Type.Member(1).MinOccurs();
    const int maxOccursFirst = m_Type.Member(1).MaxOccurs();
    const int minOccursSecond = m_Type.Member(0).MinOccurs();
    const int maxOccursSecond = m_Type.Member(0).MaxOccurs();
    m_Groups[0].ForEach([&](const Group& participant) {
        const int count = participant.live;
        if (count == 0) return;
        VelVALIDATE(count >= minOccursFirst);
        if (maxOccursFirst != VelTypeAssociationUnbounded)
            VelVALIDATE(maxOccursFirst > 0 && count <= maxOccursFirst);
    });
    m_Groups[1].ForEach([&](const Group& participant) {
        const int count = participant.live;
        if (count == 0) return;
        VelVALIDATE(count >= minOccursSecond);
        if (maxOccursSecond != VelTypeAssociationUnbounded)
            VelVALIDATE(maxOccursSecond > 0 && count <= maxOccursSecond);
    });
}
