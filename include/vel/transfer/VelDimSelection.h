#ifndef VEL_TRANSFER_VELDIMSELECTION_H
#define VEL_TRANSFER_VELDIMSELECTION_H

#include "vel/VelExport.h"
#include "vel/context/VelCSetID.h"
#include "vel/context/VelCollectionID.h"
#include "vel/platform/aio_Stream.h"

// What a transfer selects in one dimension of a distribution's grid: nothing yet, one CSet, or
// the positions first to last (both included) of a collection.  The fields of one kind may only
// be read when the selection is of that kind ("IsCSet()", "IsOrdinalRange()").  An ordinal range
// is taken as given: whether its bounds make sense is decided when the transfer's arguments are
// normalised against the grid.
class VEL_API VelDimSelection {
public:
    enum Kind { KindNone = 0, KindCSet = 1, KindOrdinalRange = 2 };

    VelDimSelection() = default;
    explicit VelDimSelection(const VelCSetID& cset) : m_kind(KindCSet), m_cset(cset) {}
    VelDimSelection(const VelCollectionID& collection, int first, int last)
        : m_kind(KindOrdinalRange), m_collection(collection), m_first(first), m_last(last) {}

    int GetKind() const { return m_kind; }
    bool IsNone() const { return m_kind == KindNone; }
    bool IsCSet() const { return m_kind == KindCSet; }
    bool IsOrdinalRange() const { return m_kind == KindOrdinalRange; }

    const VelCSetID& CSetID() const;
    int First() const;
    int Last() const;

    // The collection the selection refers to: null for no selection, the CSet's collection, or
    // the range's collection.
    VelCollectionID CollectionID() const;

    // "DimSelNone", "CSet=3/7/5", "OrdinalRange,Collection=3/7,first=2,last=5".
    void WriteToOstream(aio_ostream& os) const;

private:
    int m_kind = KindNone;
    VelCSetID m_cset;
    VelCollectionID m_collection;
    int m_first = 0;
    int m_last = 0;
};

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelDimSelection& selection);

#endif
