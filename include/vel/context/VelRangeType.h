#ifndef VEL_CONTEXT_VELRANGETYPE_H
#define VEL_CONTEXT_VELRANGETYPE_H

#include "vel/VelExport.h"
#include "vel/context/VelCollectionID.h"
#include "vel/core/VelTypeKey.h"
#include "vel/platform/aio_Stream.h"

// The type of the values a distribution holds at each point of its grid: an element type key
// and, for the keys whose values name something of a collection (CMember a member, CSet and
// OCSet a CSet), that collection.  The flag says whether the values refer to the collection.
// It follows from the key, but it is stored beside the key in the file, so that a reader of the
// file needs no table of keys to know whether the stored collection means anything; loading
// checks that the two agree.
//
// A number range (Int, Double, Float, Bool) has a null collection; a collection range has a
// non-null one.  The default range type has key 0 and stands for "not yet known" (a transfer's
// drawer before it has a view); no distribution has it.
class VEL_API VelRangeType {
public:
    VelRangeType();
    // `key` must be one of the seven keys, and `collection` non-null exactly when the key's
    // values refer to a collection (both validations).
    explicit VelRangeType(VelTypeKey key, const VelCollectionID& collection = VelCollectionID());

    VelTypeKey TypeKey() const { return m_key; }
    bool RefersToCollection() const { return m_refersToCollection; }
    // The collection of a CMember, CSet or OCSet range; null for a number range.
    const VelCollectionID& CollectionID() const { return m_collection; }
    // The bytes of one value (VelElementSizeOf of the key).
    int ElementSize() const;

    // Whether values of `key` refer to a collection: CMember, CSet and OCSet.
    static bool KeyRefersToCollection(VelTypeKey key);
    // Whether `key` is one of the seven keys.
    static bool IsKnownKey(int key);

    // Same key, flag and collection (context value and minor word; the temp flag takes no part).
    bool operator==(const VelRangeType& other) const;
    bool operator!=(const VelRangeType& other) const { return !(*this == other); }

    // The key's name, then for a collection range " of " and the collection: "Double",
    // "CMember of 0/3".
    void WriteToOstream(aio_ostream& os) const;

private:
    // The library's own constructor for a range type read back from a file, which has checked
    // key, flag and collection itself.
    friend class VelDistribution;
    VelRangeType(VelTypeKey key, bool refersToCollection, const VelCollectionID& collection);

    VelTypeKey m_key;
    bool m_refersToCollection;
    VelCollectionID m_collection;
};

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelRangeType& rangeType);

#endif
