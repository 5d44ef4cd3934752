#include "vel/context/VelCSet.h"

#include <algorithm>
#include <vector>

#include "context/VelCollection.h"
#include "context/VelCollectionAccess.h"
#include "context/VelIndexSet.h"
#include "vel/core/VelAssert.h"

VelCSet::VelCSet(const VelCSetID& id) : m_permutationIndex(-1), m_space(0) {
    VelVALIDATE(!id.IsNull());
    VelCollection& collection = VelFindCollection(id.CollectionID());
    VelCollection::Resolved resolved = collection.Resolve(id);
    m_id = id;
    m_collection = id.CollectionID();
    m_ascendingID = resolved.ascendingID;
    m_permutationIndex = resolved.permutationIndex;
    m_space = collection.Space();
    m_set = std::move(resolved.set);
    // An ID without the ascending flag must name a stored permutation.
    if (!id.IsAscending()) VelASSERT(!IsAscending() && m_permutationIndex != -1);
}

VelCSet::VelCSet(const VelCollectionID& collection, int space, che_RefPtr<VelIndexSet> set)
    : m_collection(collection), m_permutationIndex(-1), m_space(space), m_set(std::move(set)) {}

VelCSet::VelCSet(const VelCSet& other) = default;
VelCSet& VelCSet::operator=(const VelCSet& other) = default;
VelCSet::~VelCSet() = default;

int VelCSet::Size() const {
    return m_set->Size();
}

bool VelCSet::IsMember(int member) const {
    return m_set->IsMember(member);
}

void VelCSet::Members(int* out) const {
    m_set->Members(out);
}

// The ascending twin of a permutation CSet shares the permutation's decoded set: only a CSet
// with a permutation index of its own follows the set's order.
void VelCSet::OrderedMembers(int* out) const {
    if (IsAscending())
        m_set->Members(out);
    else
        m_set->OrderedMembers(out);
}

void VelCSet::Permutation(int* out) const {
    if (IsAscending()) {
        for (int i = 0; i < Size(); ++i) out[i] = i;
        return;
    }
    m_set->Permutation(out);
}

void VelCSet::Permute(const omi_BlkBitVect& selected, cow_1DArrayList<int>& out) const {
    std::vector<int> picked;
    m_set->SelectMembers(selected, !IsAscending(), picked);
    out.SetSize(static_cast<int>(picked.size()));
    std::copy(picked.begin(), picked.end(), out.Data());
}

void VelCSet::AsBitVector(omi_BlkBitVect& bits) const {
    m_set->AsBitVector(bits, m_space);
}

VelCSetBounds VelCSet::Bounds() const {
    VelCSetBounds bounds = {0, -1};
    m_set->Bounds(bounds.lowest, bounds.highest);
    return bounds;
}

VelCSet VelCSet::Union(const VelCSet& other) const {
    return Combine(other, true);
}

VelCSet VelCSet::Intersection(const VelCSet& other) const {
    return Combine(other, false);
}

VelCSet VelCSet::Combine(const VelCSet& other, bool unite) const {
    const bool sameCollection = m_collection.Compare(other.m_collection) == 0;
    VelVALIDATE(sameCollection && "Union and Intersection need CSets of one collection");
    VelIndexSet* result = unite ? VelIndexSet::Union(*m_set, *other.m_set)
                                : VelIndexSet::Intersection(*m_set, *other.m_set);
    return VelCSet(m_collection, std::max(m_space, other.m_space), che_RefPtr<VelIndexSet>(result));
}

VelCSetID VelCSet::RegisterWithCollection() {
    if (!m_id.IsNull()) return m_id;
    m_id = VelFindCollection(m_collection).Register(*m_set, m_collection.Color());
    m_ascendingID = m_id;
    return m_id;
}
