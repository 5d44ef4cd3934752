#include "vel/views/VelAssociation.h"

#include <set>
#include <vector>

#include "vel/core/VelAssert.h"
#include "views/VelRecordRepr.h"

namespace {

VelParticipant Bare(const VelDynamicID& id) {
    VelParticipant participant;
    participant.id = id;
    return participant;
}

VelParticipant At(const VelDynamicID& id, int position) {
    VelParticipant participant = Bare(id);
    participant.hasPosition = true;
    participant.position = position;
    return participant;
}

VelParticipant Keyed(const VelDynamicID& id, const cow_String& key) {
    VelParticipant participant = Bare(id);
    participant.hasKey = true;
    participant.key = &key;
    return participant;
}

}  // namespace

VelAssociation::VelAssociation(const VelRecHandle<VelAssociationRepr>& target) : m_Target(target) {}

VelAssociationRepr& VelAssociation::Target() const {
    VelASSERT(m_Target);
    return *m_Target.Get();
}

VelAssociationID VelAssociation::ID() const {
    return Target().m_ID;
}

VelTypeID VelAssociation::TypeID() const {
    return Target().Type().TypeID();
}

int VelAssociation::MemberCount() const {
    return Target().Type().MemberCount();
}

VelRecTypeAssociationMember VelAssociation::Member(int whichMember) const {
    return Target().Type().Member(whichMember);
}

int VelAssociation::MemberCategory(int whichMember) const {
    return Target().Type().Member(whichMember).Category();
}

int VelAssociation::PairCount() const {
    return Target().LiveCount();
}

VelArray<VelDynamicID> VelAssociation::Participants(int whichMember) const {
    VelASSERT(0 == whichMember || 1 == whichMember);
    const VelAssociationRepr& pairs = Target();
    const auto before = [](const VelDynamicID& a, const VelDynamicID& b) {
        return a.Compare(b) < 0;
    };
    std::set<VelDynamicID, decltype(before)> seen(before);
    std::vector<VelDynamicID> participants;
    for (size_t i = 0; i < pairs.Entries().size(); ++i) {
        const VelAssociationEntry& entry = pairs.Entries()[i];
        if (!entry.m_Live) continue;
        const VelDynamicID id = pairs.ID(whichMember, entry.m_Members[whichMember]);
        if (seen.insert(id).second) participants.push_back(id);
    }
    VelArray<VelDynamicID> out(static_cast<int>(participants.size()));
    for (size_t i = 0; i < participants.size(); ++i) out[static_cast<int>(i)] = participants[i];
    return out;
}

// ---- the eighteen forms of Insert -------------------------------------------------------------

void VelAssociationUpdate::Insert(const VelDynamicID& first, const VelDynamicID& second) const {
    Target().Insert(Bare(first), Bare(second));
}
void VelAssociationUpdate::Insert(const VelDynamicID& first, const VelDynamicID& second,
                                  int secondPosition) const {
    Target().Insert(Bare(first), At(second, secondPosition));
}
void VelAssociationUpdate::Insert(const VelDynamicID& first, const VelDynamicID& second,
                                  const cow_String& secondKey) const {
    Target().Insert(Bare(first), Keyed(second, secondKey));
}
void VelAssociationUpdate::Insert(const VelDynamicID& first, int firstPosition,
                                  const VelDynamicID& second) const {
    Target().Insert(At(first, firstPosition), Bare(second));
}
void VelAssociationUpdate::Insert(const VelDynamicID& first, int firstPosition,
                                  const VelDynamicID& second, int secondPosition) const {
    Target().Insert(At(first, firstPosition), At(second, secondPosition));
}
void VelAssociationUpdate::Insert(const VelDynamicID& first, int firstPosition,
                                  const VelDynamicID& second, const cow_String& secondKey) const {
    Target().Insert(At(first, firstPosition), Keyed(second, secondKey));
}
void VelAssociationUpdate::Insert(const VelDynamicID& first, const cow_String& firstKey,
                                  const VelDynamicID& second) const {
    Target().Insert(Keyed(first, firstKey), Bare(second));
}
void VelAssociationUpdate::Insert(const VelDynamicID& first, const cow_String& firstKey,
                                  const VelDynamicID& second, int secondPosition) const {
    Target().Insert(Keyed(first, firstKey), At(second, secondPosition));
}
void VelAssociationUpdate::Insert(const VelDynamicID& first, const cow_String& firstKey,
                                  const VelDynamicID& second, const cow_String& secondKey) const {
    Target().Insert(Keyed(first, firstKey), Keyed(second, secondKey));
}
void VelAssociationUpdate::Insert(int firstPosition, const VelDynamicID& first,
                                  const VelDynamicID& second) const {
    Target().Insert(At(first, firstPosition), Bare(second));
}
void VelAssociationUpdate::Insert(int firstPosition, const VelDynamicID& first,
                                  const VelDynamicID& second, int secondPosition) const {
    Target().Insert(At(first, firstPosition), At(second, secondPosition));
}
void VelAssociationUpdate::Insert(int firstPosition, const VelDynamicID& first,
                                  const VelDynamicID& second, const cow_String& secondKey) const {
    Target().Insert(At(first, firstPosition), Keyed(second, secondKey));
}
void VelAssociationUpdate::Insert(int firstPosition, const VelDynamicID& first, int secondPosition,
                                  const VelDynamicID& second) const {
    Target().Insert(At(first, firstPosition), At(second, secondPosition));
}
void VelAssociationUpdate::Insert(int firstPosition, const VelDynamicID& first,
                                  const cow_String& secondKey, const VelDynamicID& second) const {
    Target().Insert(At(first, firstPosition), Keyed(second, secondKey));
}
void VelAssociationUpdate::Insert(const VelDynamicID& first, int firstPosition, int secondPosition,
                                  const VelDynamicID& second) const {
    Target().Insert(At(first, firstPosition), At(second, secondPosition));
}
void VelAssociationUpdate::Insert(const VelDynamicID& first, int firstPosition,
                                  const cow_String& secondKey, const VelDynamicID& second) const {
    Target().Insert(At(first, firstPosition), Keyed(second, secondKey));
}
void VelAssociationUpdate::Insert(const VelDynamicID& first, const cow_String& firstKey,
                                  int secondPosition, const VelDynamicID& second) const {
    Target().Insert(Keyed(first, firstKey), At(second, secondPosition));
}
void VelAssociationUpdate::Insert(const VelDynamicID& first, const cow_String& firstKey,
                                  const cow_String& secondKey, const VelDynamicID& second) const {
    Target().Insert(Keyed(first, firstKey), Keyed(second, secondKey));
}

// ---- removal ----------------------------------------------------------------------------------

void VelAssociationUpdate::Remove(int whichMember, const VelDynamicID& id,
                                  const VelDynamicID& other) const {
    Target().Remove(whichMember, id, VelRecTypeUnordered, other, -1, cow_String());
}

void VelAssociationUpdate::Remove(int whichMember, const VelDynamicID& id, int position) const {
    Target().Remove(whichMember, id, VelRecTypeOrdered, VelDynamicID(), position, cow_String());
}

void VelAssociationUpdate::Remove(int whichMember, const VelDynamicID& id,
                                  const cow_String& key) const {
    Target().Remove(whichMember, id, VelRecTypeStringKey, VelDynamicID(), -1, key);
}

void VelAssociationUpdate::Remove(int whichMember, int position, const VelDynamicID& id) const {
    Remove(whichMember, id, position);
}

void VelAssociationUpdate::Remove(int whichMember, const cow_String& key,
                                  const VelDynamicID& id) const {
    Remove(whichMember, id, key);
}

void VelAssociationUpdate::RemoveAll(int whichMember, const VelDynamicID& id) const {
    Target().RemoveAll(whichMember, id);
}
