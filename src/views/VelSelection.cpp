#include "vel/views/VelSelection.h"

#include <algorithm>
#include <vector>

#include "vel/core/VelAssert.h"
#include "views/VelRecordRepr.h"
#include "views/VelViewsAccess.h"

namespace {

// The other members of the live pairs in which `id` is the participant of `whichMember`, in list
// order.
std::vector<const VelAssociationMemberEntry*> Partners(const VelAssociationRepr& pairs,
                                                       int whichMember, const VelDynamicID& id) {
    VelASSERT(0 == whichMember || 1 == whichMember);
    std::vector<const VelAssociationMemberEntry*> partners;
    pairs.ForEachEntryOf(whichMember, id, [&](const VelAssociationEntry& entry) {
        if (entry.m_Live) partners.push_back(&entry.m_Members[1 - whichMember]);
    });
    return partners;
}

VelArray<VelDynamicID> IdentifiersOf(
    const VelAssociationRepr& pairs, int member,
    const std::vector<const VelAssociationMemberEntry*>& partners) {
    VelArray<VelDynamicID> records(static_cast<int>(partners.size()));
    for (size_t i = 0; i < partners.size(); ++i)
        records[static_cast<int>(i)] = pairs.ID(member, *partners[i]);
    return records;
}

}  // namespace

// The ordering number is the other participant's position when its member is ordered, and the
// pair's place in the association's list otherwise: then the identifiers are taken in list order
// straight into an array of the participant's live count.
VelSelectionList::VelSelectionList(const VelAssociation& association, int whichMember,
                                   const VelDynamicID& id) {
    VelASSERT(0 == whichMember || 1 == whichMember);
    const VelAssociationRepr& pairs = VelViewsAccess::Repr(association);
    if (pairs.Type().Member(1 - whichMember).Option() == VelRecTypeOrdered) {
        auto partners = Partners(pairs, whichMember, id);
        std::stable_sort(partners.begin(), partners.end(), [](const auto& a, const auto& b) {
            return a->m_Position < b->m_Position;
        });
        m_Records = IdentifiersOf(pairs, 1 - whichMember, partners);
        return;
    }
    m_Records = VelArray<VelDynamicID>(pairs.LiveCountOf(whichMember, id));
    int next = 0;
    pairs.ForEachEntryOf(whichMember, id, [&](const VelAssociationEntry& entry) {
        if (entry.m_Live)
            m_Records[next++] = pairs.ID(1 - whichMember, entry.m_Members[1 - whichMember]);
    });
}

VelSelectionSet::VelSelectionSet(const VelAssociation& association, int whichMember,
                                 const VelDynamicID& id) {
    const VelAssociationRepr& pairs = VelViewsAccess::Repr(association);
    const int other = 1 - whichMember;
    auto partners = Partners(pairs, whichMember, id);
    std::stable_sort(partners.begin(), partners.end(), [&](const auto& a, const auto& b) {
        return pairs.ID(other, *a).Compare(pairs.ID(other, *b)) < 0;
    });
    m_Records = IdentifiersOf(pairs, other, partners);
}

// The name of each entry is the other participant's key.
VelSelectionMap::VelSelectionMap(const VelAssociation& association, int whichMember,
                                 const VelDynamicID& id) {
    const VelAssociationRepr& pairs = VelViewsAccess::Repr(association);
    const auto partners = Partners(pairs, whichMember, id);
    VelVALIDATE(pairs.Type().Member(1 - whichMember).Option() == VelRecTypeStringKey &&
                "A selection map needs the other member to be keyed by string");
    for (const auto& partner : partners)
        m_Map.Insert(pairs.Key(*partner), pairs.ID(1 - whichMember, *partner), false);
}

VelDynamicID VelSelectionMap::Get(const cow_String& key) const {
    const VelDynamicID* record = m_Map.Find(key);
    if (!record) VelVALIDATE(!"Key not found.");
    return *record;
}
