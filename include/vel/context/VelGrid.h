#ifndef VEL_CONTEXT_VELGRID_H
#define VEL_CONTEXT_VELGRID_H

#include "vel/VelExport.h"
#include "vel/context/VelCollectionID.h"
#include "vel/core/VelArray.h"
#include "vel/platform/aio_Stream.h"

// The grid of a distribution: the collections its values are laid over, one per dimension.  The
// collections are kept sorted by their own order (so a grid does not remember the order it was
// given in), none is null and none appears twice.  The empty grid is valid: a distribution of
// one value.
class VEL_API VelGrid {
public:
    VelGrid() = default;
    explicit VelGrid(const VelArray<VelCollectionID>& collections);

    int Size() const { return m_collections.Size(); }
    const VelCollectionID& operator[](int i) const { return m_collections[i]; }

    // The first position, from 0, holding `collection` (equal by the IDs' Compare), or -1.
    int Position(const VelCollectionID& collection) const;

    // "{", then " " and each collection ID, then " }".
    void WriteToOstream(aio_ostream& os) const;

private:
    VelArray<VelCollectionID> m_collections;
};

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelGrid& grid);

#endif
