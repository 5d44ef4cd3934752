#include "vel/hdf/hdf_Dataspace.h"

#include "hdf/hdf_Here.h"

namespace {

const char kHdfUnit[] = "hdf_Dataspace";

H5S_seloper_t SelectionOperator(hdf_Dataspace::Seloper op) {
    switch (op) {
        case hdf_Dataspace::SeloperSet:
            return H5S_SELECT_SET;
        case hdf_Dataspace::SeloperOr:
            return H5S_SELECT_OR;
        case hdf_Dataspace::SeloperAnd:
            return H5S_SELECT_AND;
        case hdf_Dataspace::SeloperXor:
            return H5S_SELECT_XOR;
        case hdf_Dataspace::SeloperNotB:
            return H5S_SELECT_NOTB;
        case hdf_Dataspace::SeloperNotA:
            return H5S_SELECT_NOTA;
    }
    throw nex_AssertException(HDF_HERE, "Illegal hdf_Dataspace::Seloper value.");
}

// HDF5 reads a maximum for every dimension of `dims`; rank 0 hands it none (fixed size).
const hsize_t* MaximumOrNone(const hdf_DimSpace& dims, const hdf_DimSpace& maxDims) {
    if (maxDims.Rank() == 0) return nullptr;
    HDF_REQUIRE(maxDims.Rank() == dims.Rank(),
                "maxDims.Rank() == 0 || maxDims.Rank() == dims.Rank()");
    return maxDims.dimensions();
}

// A 32-bit count or block widened for HDF5, all seven entries.
struct Widened {
    explicit Widened(const hdf_DimArray& sizes) {
        for (int i = 0; i < sizes.Rank(); ++i) {
            HDF_REQUIRE(sizes[i] >= 0, "sizes[i] >= 0");
            values[i] = static_cast<hsize_t>(sizes[i]);
        }
    }
    hsize_t values[hdf_DimSpace::MaxRank] = {};
};

}  // namespace

hdf_Dataspace hdf_Dataspace::CreateSimple(const hdf_DimSpace& dims, const hdf_DimSpace& maxDims) {
    return CreateSimpleImpl(dims, maxDims, false);
}

hdf_Dataspace hdf_Dataspace::CreateSimple_NoThrow(const hdf_DimSpace& dims,
                                                  const hdf_DimSpace& maxDims) {
    return CreateSimpleImpl(dims, maxDims, true);
}

hdf_Dataspace hdf_Dataspace::CreateSimpleImpl(const hdf_DimSpace& dims, const hdf_DimSpace& maxDims,
                                              bool noThrow) {
    hdf_Dataspace space;
    space.SetNoThrow(noThrow);
    const hid_t id = H5Screate_simple(dims.Rank(), dims.dimensions(), MaximumOrNone(dims, maxDims));
    if (space.Succeeded(id, HDF_HERE)) space.m_ObjectID = id;
    return space;
}

void hdf_Dataspace::SetExtentSimple(const hdf_DimSpace& dims, const hdf_DimSpace& maxDims) {
    Succeeded(
        H5Sset_extent_simple(ID(), dims.Rank(), dims.dimensions(), MaximumOrNone(dims, maxDims)),
        HDF_HERE);
}

void hdf_Dataspace::OffsetSimple(const hdf_DimSpace& offsets) {
    hssize_t signedOffsets[hdf_DimSpace::MaxRank] = {};
    for (int i = 0; i < offsets.Rank(); ++i) signedOffsets[i] = static_cast<hssize_t>(offsets[i]);
    Succeeded(H5Soffset_simple(ID(), signedOffsets), HDF_HERE);
}

hdf_Dataspace hdf_Dataspace::Copy() const {
    const hid_t id = H5Scopy(ID());
    return Succeeded(id, HDF_HERE) ? hdf_Dataspace(id) : hdf_Dataspace();
}

hdf_DimSpace hdf_Dataspace::GetDims() const {
    return Extent(false);
}

hdf_DimSpace hdf_Dataspace::GetMaxDims() const {
    return Extent(true);
}

int hdf_Dataspace::GetRank() const {
    const int rank = H5Sget_simple_extent_ndims(ID());
    return Succeeded(rank, HDF_HERE) ? rank : -1;
}

hdf_DimSpace hdf_Dataspace::Extent(bool maximum) const {
    const int rank = GetRank();
    if (rank < 0) return hdf_DimSpace();
    // A dataspace read from a file may have up to 32 dimensions; ours hold 7.
    if (rank > hdf_DimSpace::MaxRank) {
        Fail(hdf_Exception(HDF_HERE, hdf_ErrorCode::MajorDataspace, hdf_ErrorCode::MinorBadRange,
                           "Dataspace has more than 7 dimensions."));
        return hdf_DimSpace();
    }
    hsize_t extents[hdf_DimSpace::MaxRank] = {};
    if (!Succeeded(H5Sget_simple_extent_dims(ID(), maximum ? nullptr : extents,
                                             maximum ? extents : nullptr),
                   HDF_HERE))
        return hdf_DimSpace();
    return hdf_DimSpace(rank, extents);
}

void hdf_Dataspace::SelectNone() {
    Succeeded(H5Sselect_none(ID()), HDF_HERE);
}

void hdf_Dataspace::SelectElements(Seloper op, const hdf_CoordArray& coords) {
    const H5S_seloper_t h5Op = SelectionOperator(op);
    // HDF5 reads as many coordinates per point as the dataspace has dimensions.
    const int rank = GetRank();
    if (rank < 0) return;
    HDF_REQUIRE(coords.Rank() == rank, "coords.Rank() == rank");
    Succeeded(H5Sselect_elements(ID(), h5Op, static_cast<size_t>(coords.Points()), coords.Data()),
              HDF_HERE);
}

void hdf_Dataspace::SelectHyperslab(Seloper op, const hdf_DimSpace& start,
                                    const hdf_DimSpace& stride, const hdf_DimArray& count,
                                    const hdf_DimArray& block) {
    const H5S_seloper_t h5Op = SelectionOperator(op);
    HDF_REQUIRE(count.Rank() == start.Rank(), "count.Rank() == start.Rank()");
    HDF_REQUIRE(stride.Rank() == 0 || stride.Rank() == start.Rank(),
                "stride.Rank() == 0 || stride.Rank() == start.Rank()");
    HDF_REQUIRE(block.Rank() == 0 || block.Rank() == start.Rank(),
                "block.Rank() == 0 || block.Rank() == start.Rank()");
    const Widened counts(count);
    const Widened blocks(block);
    Succeeded(H5Sselect_hyperslab(ID(), h5Op, start.dimensions(),
                                  stride.Rank() ? stride.dimensions() : nullptr, counts.values,
                                  block.Rank() ? blocks.values : nullptr),
              HDF_HERE);
}
