#include "vel/context/VelCSet.h"

#include <algorithm>
#include <vector>

#include "context/VelCollection.h"
#include "context/VelCollectionAccess.h"
#include "context/VelIndexSet.h"
#include "vel/core/VelAssert.h"

VelCSet::VelCSet(const VelCSetID& id)
    : m_permutationIndex(-1), m_space(0), m_storageIndex(-1), m_deferredCount(-1) {
    VelVALIDATE(!id.IsNull());
    VelCollection& collection = VelFindCollection(id.CollectionID());
    VelCollection::Resolved resolved = collection.Resolve(id, true);
    m_id = id;
    m_collection = id.CollectionID();
    m_ascendingID = resolved.ascendingID;
    m_permutationIndex = resolved.permutationIndex;
    m_space = collection.Space();
    m_set = std::move(resolved.set);
    m_storageIndex = resolved.storageIndex;
    m_deferredCount = resolved.deferredCount;
    // An ID without the ascending flag must name a stored permutation.
    if (!id.IsAscending()) VelASSERT(!IsAscending() && m_permutationIndex != -1);
}

VelCSet::VelCSet(const VelCollectionID& collection, int space, che_RefPtr<VelIndexSet> set)
    : m_collection(collection),
      m_permutationIndex(-1),
      m_space(space),
      m_set(std::move(set)),
      m_storageIndex(-1),
      m_deferredCount(-1) {}

VelCSet::VelCSet(const VelCSet& other) = default;
VelCSet& VelCSet::operator=(const VelCSet& other) = default;
VelCSet::~VelCSet() = default;

const VelIndexSet& VelCSet::Set() const {
    if (!m_set) m_set = VelFindCollection(m_collection).Resolve(m_id, false).set;
    return *m_set;
}

int VelCSet::Size() const {
    return m_set ? m_set->Size() : m_deferredCount;
}

bool VelCSet::IsMember(int member) const {
    return Set().IsMember(member);
}

void VelCSet::Members(int* out) const {
    if (m_set)
        m_set->Members(out);
    else
        VelFindCollection(m_collection).ReadListMembers(m_storageIndex, m_deferredCount, out);
}

// The ascending twin of a permutation CSet shares the permutation's decoded set: only a CSet
// with a permutation index of its own follows the set's order.
void VelCSet::OrderedMembers(int* out) const {
    if (IsAscending())
        Members(out);
    else
        Set().OrderedMembers(out);
}

void VelCSet::Permutation(int* out) const {
    if (IsAscending()) {
        for (int i = 0; i < Size(); ++i) out[i] = i;
        return;
    }
    Set().Permutation(out);
}

void VelCSet::Permute(const omi_BlkBitVect& selected, cow_1DArrayList<int>& out) const {
    std::vector<int> picked;
    Set().SelectMembers(selected, !IsAscending(), picked);
    out.SetSize(static_cast<int>(picked.size()));
    std::copy(picked.begin(), picked.end(), out.Data());
}

void VelCSet::AsBitVector(omi_BlkBitVect& bits) const {
    Set().AsBitVector(bits, m_space);
}

VelCSetBounds VelCSet::Bounds() const {
    VelCSetBounds bounds = {0, -1};
    Set().Bounds(bounds.lowest, bounds.highest);
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
    VelIndexSet* result = unite ? VelIndexSet::Union(Set(), other.Set())
                                : VelIndexSet::Intersection(Set(), other.Set());
    return VelCSet(m_collection, std::max(m_space, other.m_space), che_RefPtr<VelIndexSet>(result));
}

VelCSetID VelCSet::RegisterWithCollection() {
    if (!m_id.IsNull()) return m_id;
    m_id = VelFindCollection(m_collection).Register(*m_set, m_collection.Color());
    m_ascendingID = m_id;
    return m_id;
}
