#ifndef VEL_CONTEXT_VELCSET_H
#define VEL_CONTEXT_VELCSET_H

#include "vel/VelExport.h"
#include "vel/cache/che_RefPtr.h"
#include "vel/context/VelCSetID.h"
#include "vel/context/VelCollectionID.h"
#include "vel/platform/cow_1DArray.h"
#include "vel/platform/omi_BlkBitVect.h"

class VelIndexSet;

// The smallest and largest member of a CSet; the empty set has lowest 0 and highest -1.
struct VEL_API VelCSetBounds {
    int lowest;
    int highest;
};

// The members of one CSet, as a value.  Copies share one decoded, immutable member set (the
// collection's cache keeps it while any VelCSet refers to it), so copying is cheap and a VelCSet
// stays usable after its context is closed.  One exception: a stored explicit list of more
// members than the cache keeps unreferenced (5000) is decoded only when something other than
// Size(), Members() or OrderedMembers() first needs it (those two read the list straight into
// the caller's array), and until then its context must stay open.
//
// A persistent CSet has an ID; a volatile one (from VelCollectionRef::CreateVolatileCSet...,
// Union or Intersection) has none until RegisterWithCollection stores it.  A CSet is ascending,
// or a permutation CSet with a member order of its own: the order its creator gave.  Members()
// is always ascending; OrderedMembers() follows the CSet's own order.
class VEL_API VelCSet {
public:
    // The CSet of a persistent ID; its context must be open.
    explicit VelCSet(const VelCSetID& id);
    VelCSet(const VelCSet& other);
    VelCSet& operator=(const VelCSet& other);
    ~VelCSet();

    // Null for a volatile CSet.
    const VelCSetID& ID() const { return m_id; }
    const VelCollectionID& CollectionID() const { return m_collection; }
    int Size() const;
    bool IsMember(int member) const;
    bool IsAscending() const { return m_permutationIndex == -1; }
    // The ascending CSet of the same members (the CSet itself when it is ascending); null for a
    // volatile CSet.
    const VelCSetID& AscendingID() const { return m_ascendingID; }

    // Size() members each, ascending and in the CSet's own order.
    void Members(int* out) const;
    void OrderedMembers(int* out) const;
    // For each position i of the CSet's own order, the position of that member in ascending
    // order: OrderedMembers()[i] == Members()[out[i]].  The identity for an ascending CSet.
    void Permutation(int* out) const;
    // Replaces `out` with the members of this CSet that are set in `selected` (a bit per member
    // of the collection; bits past its size count as clear), in the CSet's own order.
    void Permute(const omi_BlkBitVect& selected, cow_1DArrayList<int>& out) const;
    // Replaces `bits` with a vector of one bit per member of the collection (its size when this
    // CSet was made), set for the CSet's members.
    void AsBitVector(omi_BlkBitVect& bits) const;
    VelCSetBounds Bounds() const;

    // Volatile, ascending CSets of the same collection, color included; a CSet's own order
    // has no meaning for the result, so permutation operands count by their members.  Time is
    // linear in the runs and members of the operands.
    VelCSet Union(const VelCSet& other) const;
    VelCSet Intersection(const VelCSet& other) const;

    // Stores a volatile CSet in its collection and returns its new ID; a persistent CSet
    // returns its ID.  The collection must be writable.
    VelCSetID RegisterWithCollection();

private:
    friend class VelCollectionRef;
    // The drawer layer maps CSets onto drawer positions run by run.
    friend struct VelCSetAccess;
    VelCSet(const VelCollectionID& collection, int space, che_RefPtr<VelIndexSet> set);
    VelCSet Combine(const VelCSet& other, bool unite) const;
    // The decoded set, decoded now if it was deferred.
    const VelIndexSet& Set() const;

    VelCSetID m_id;
    VelCollectionID m_collection;
    VelCSetID m_ascendingID;
    // The index of the stored permutation for a permutation CSet; -1 for an ascending one.
    int m_permutationIndex;
    // The collection's size when the CSet was made.
    int m_space;
    // Null while a large stored list is deferred: then its entry and member count.
    mutable che_RefPtr<VelIndexSet> m_set;
    int m_storageIndex;
    int m_deferredCount;
};

#endif
