#ifndef VEL_CONTEXT_VELCOLLECTIONREF_H
#define VEL_CONTEXT_VELCOLLECTIONREF_H

#include "vel/VelExport.h"
#include "vel/context/VelCSet.h"
#include "vel/context/VelCSetID.h"
#include "vel/context/VelCollectionID.h"
#include "vel/platform/omi_BlkBitVect.h"

class VelCollection;

// A light handle on a collection (or one of its color variants).  It holds only the ID and finds
// the collection through the manager on every call; every CSet ID it returns carries the ID's
// color.
//
// Members are numbers 0 .. Space()-1.  Persistent CSets are stored in the collection and named
// by ID; volatile CSets are values that are never stored unless registered.  Members given for a
// CSet must lie in the collection and be distinct, and for an ascending CSet strictly ascending.
// Writing needs a collection opened for writing.
class VEL_API VelCollectionRef {
public:
    explicit VelCollectionRef(const VelCollectionID& id) : m_id(id) {}

    const VelCollectionID& ID() const { return m_id; }

    // An ascending CSet of `count` members, given ascending or as the set bits of `members`.
    VelCSetID CreateCSet(const int* members, int count) const;
    VelCSetID CreateCSet(const omi_BlkBitVect& members) const;
    // `count` blocks of `block` consecutive members, the first block at `start` and each block
    // `stride` after the one before, as an HDF5 hyperslab counts them: (0, 3, 4, 1) is 0 3 6 9,
    // (10, 5, 2, 2) is 10 11 15 16.  Blocks may touch but not overlap.  Stored in constant space.
    VelCSetID CreateCSetStrided(int start, int stride, int count, int block) const;
    // A permutation CSet whose own order is `order`; an order that is already ascending gives
    // an ascending CSet.
    VelCSetID CreateOrderedCSet(const int* order, int count) const;

    VelCSet CreateVolatileCSet(const int* members, int count) const;
    VelCSet CreateVolatileCSet(const omi_BlkBitVect& members) const;
    VelCSet CreateVolatileCSetStrided(int start, int stride, int count, int block) const;
    // Temporary CSets are not provided: an assertion failure.
    VelCSetID CreateTempCSet(const int* members, int count) const;

    // The empty CSet is index 0 and the full CSet (every member, ascending) index 1 of every
    // collection.
    VelCSetID EmptyCSetID() const;
    VelCSetID BiggestCSetID() const;
    // The CSet stored at `index` (0 .. NumCSets() - 1, in the order they were made), ascending
    // or a permutation as stored: a permutation CSet and its ascending twin are two indices.  An
    // index with no CSet is a validation failure.
    VelCSetID StoredCSetID(int index) const;

    // The ID of this collection in color `color` (0 .. 63): the same members, another identity.
    VelCollectionID CreateColorVariant(int color) const;
    // Adds `count` members after the last one; the full CSet grows with them.
    void ExtendSpace(int count) const;
    // The number of members.
    int Space() const;
    // The number of CSets stored, the empty and full CSets included.
    int NumCSets() const;
    // Writes what the collection holds that is not yet in the file; with `toDisk` the file's
    // buffers are written out too.  Contexts flush their collections when they close.
    void Flush(bool toDisk) const;

private:
    VelCollection& Target() const;

    VelCollectionID m_id;
};

#endif
