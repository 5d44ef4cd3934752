#ifndef VEL_HDF_HDF_DATASPACE_H
#define VEL_HDF_HDF_DATASPACE_H

#include <hdf5.h>

#include "vel/VelExport.h"
#include "vel/hdf/hdf_CoordArray.h"
#include "vel/hdf/hdf_DimArray.h"
#include "vel/hdf/hdf_DimSpace.h"
#include "vel/hdf/hdf_Object.h"

// An HDF5 dataspace (simple, rank 1 to 7) and its selection.
class VEL_API hdf_Dataspace : public hdf_Object {
public:
    // How a new selection combines with the current one; an illegal value raises
    // "Illegal hdf_Dataspace::Seloper value."
    enum Seloper {
        SeloperSet = 0,
        SeloperOr = 1,
        SeloperAnd = 2,
        SeloperXor = 3,
        SeloperNotB = 4,
        SeloperNotA = 5
    };

    // An empty object: given as a memory space it stands for the whole dataset (H5S_ALL).
    hdf_Dataspace() = default;
    explicit hdf_Dataspace(hid_t id) : hdf_Object(id) {}

    // A simple dataspace of extents `dims`.  `maxDims` of rank 0 fixes the size; otherwise it
    // has the rank of `dims` and H5S_UNLIMITED marks an extent that may grow.  Failure throws;
    // the _NoThrow form returns an empty object holding the error instead.
    static hdf_Dataspace CreateSimple(const hdf_DimSpace& dims, const hdf_DimSpace& maxDims);
    static hdf_Dataspace CreateSimple_NoThrow(const hdf_DimSpace& dims,
                                              const hdf_DimSpace& maxDims);

    void SetExtentSimple(const hdf_DimSpace& dims, const hdf_DimSpace& maxDims);
    void OffsetSimple(const hdf_DimSpace& offsets);
    hdf_Dataspace Copy() const;
    // The number of dimensions (-1 after a failure parked in no-throw mode).
    int GetRank() const;
    // The current and maximum extents.  A rank above 7 (possible in a foreign file) throws.
    hdf_DimSpace GetDims() const;
    hdf_DimSpace GetMaxDims() const;

    void SelectNone();
    // The points of `coords`, whose rank must be the dataspace's.
    void SelectElements(Seloper op, const hdf_CoordArray& coords);
    // An empty (rank 0) `stride` or `block` means unit stride or unit block.
    void SelectHyperslab(Seloper op, const hdf_DimSpace& start, const hdf_DimSpace& stride,
                         const hdf_DimArray& count, const hdf_DimArray& block);

private:
    static hdf_Dataspace CreateSimpleImpl(const hdf_DimSpace& dims, const hdf_DimSpace& maxDims,
                                          bool noThrow);
    hdf_DimSpace Extent(bool maximum) const;
};

#endif
