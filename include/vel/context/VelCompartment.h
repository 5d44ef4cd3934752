#ifndef VEL_CONTEXT_VELCOMPARTMENT_H
#define VEL_CONTEXT_VELCOMPARTMENT_H

#include "vel/VelExport.h"
#include "vel/context/VelCSetID.h"
#include "vel/core/VelArray.h"
#include "vel/platform/aio_Stream.h"

// An unordered compartment: a block of a grid given as one ascending CSet per collection.  The
// entries are kept sorted by their collections' order, so two compartments of the same CSets are
// equal whatever order they were given in, and position k of every compartment on one grid
// belongs to the same collection.  Every entry is a non-null ascending CSet ID, and no two
// entries share a collection.  The default compartment is empty (a block of the empty grid).
class VEL_API VelCompartment {
public:
    VelCompartment() = default;
    explicit VelCompartment(const VelArray<VelCSetID>& ids);

    int Size() const { return m_ids.Size(); }
    const VelCSetID& operator[](int i) const { return m_ids[i]; }

    // True when both lie on the same grid: the same number of entries and, position by
    // position, the same collection (context value and minor word, color included; the temp
    // flag takes no part).
    bool SameGrid(const VelCompartment& other) const;

    // Lexicographic over the CSet IDs in their stored order, with the CSet IDs' own order; a
    // proper prefix sorts first.  -1, 0 or 1.
    int Compare(const VelCompartment& other) const;
    bool operator==(const VelCompartment& other) const { return Compare(other) == 0; }
    bool operator!=(const VelCompartment& other) const { return Compare(other) != 0; }

    // "{", then " " and each CSet ID, then " }".
    void WriteToOstream(aio_ostream& os) const;

private:
    VelArray<VelCSetID> m_ids;
};

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelCompartment& compartment);

#endif
