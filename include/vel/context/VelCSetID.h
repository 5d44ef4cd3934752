#ifndef VEL_CONTEXT_VELCSETID_H
#define VEL_CONTEXT_VELCSETID_H

#include "vel/VelExport.h"
#include "vel/context/VelCollectionID.h"

// Names a CSet (a subset of one collection's members): the collection, then an index word whose
// bit 31 says the CSet is stored ascending and whose bits 0-30 are its index in the collection.
// The ID is null when the index word is 0xFFFFFFFF; that word has bit 31 set, so a null ID counts
// as ascending.  The color is the collection part's: a CSet ID obtained through a color variant
// carries that color.
//
// Order: collection, then the index word compared signed, so ascending CSets (and null) sort
// before the permutation CSets of the same collection.
class VEL_API VelCSetID {
public:
    VelCSetID() : m_index(-1) {}
    // From a dynamic ID of the CSet category; the context must be open and hold the
    // collection ("m_collectionMap.IsMember(cid)").
    explicit VelCSetID(const VelDynamicID& did);

    bool IsNull() const { return m_index == -1; }
    // -1 for a null ID, otherwise the index word with bit 31 cleared.
    int Index() const;
    // The raw index word, ascending bit included.
    VelIDMinor Minor() const { return VelIDMinor(m_index); }
    bool IsAscending() const { return m_index < 0; }
    VelCSetID& SetAscending(bool ascending);

    const VelCollectionID& CollectionID() const { return m_collection; }
    int Color() const { return m_collection.Color(); }
    VelCSetID& SetColor(int color);
    VelCSetID AltColor(int color) const;

    int Compare(const VelCSetID& other) const;
    VelDynamicID DynamicID() const;
    static bool CanBeConverted(const VelDynamicID& did);

    // The collection form without its color, "/" and the index (or "/*NULL*"), "*" for a
    // permutation CSet, then "_clr" and the color when it is not 0: "3/7/5*_clr2".
    void WriteToOstream(aio_ostream& os) const;

private:
    friend struct VelIDAccess;
    VelCSetID(const VelCollectionID& collection, int indexWord)
        : m_collection(collection), m_index(indexWord) {}

    VelCollectionID m_collection;
    int m_index;
};

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelCSetID& id);
// The key order of the ordered maps (VelBtree, VelAutoBtree): the identifier's own order.
inline int VelCompareKeys(const VelCSetID& a, const VelCSetID& b) {
    return a.Compare(b);
}

#endif
