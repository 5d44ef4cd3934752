#ifndef VEL_HDF_HDF_DIMSPACE_H
#define VEL_HDF_HDF_DIMSPACE_H

#include <hdf5.h>

#include <cstdint>

#include "vel/VelExport.h"

// A rank (0 to 7) and as many extents in HDF5's 64-bit unsigned form: the shape of a dataspace,
// a hyperslab start or stride, an extension.  Extents past the rank are kept at zero, so the
// whole array can be handed to HDF5 whatever rank HDF5 expects.
class VEL_API hdf_DimSpace {
public:
    static constexpr int MaxRank = 7;

    hdf_DimSpace() = default;
    // The first `rank` values of `extents`; the rank must lie in 0..MaxRank.
    hdf_DimSpace(int rank, const hsize_t* extents);

    int Rank() const { return m_rank; }
    hsize_t operator[](int i) const;
    hsize_t& operator[](int i);
    const hsize_t* dimensions() const { return m_extents; }
    hsize_t* dimensions() { return m_extents; }

    // 0 for rank 0, else the product of the extents (an overflow raises the assertion exception).
    hsize_t Product() const;
    // True when an extent does not fit a signed 32-bit integer.
    bool IsHuge() const;

    friend bool operator==(const hdf_DimSpace& a, const hdf_DimSpace& b);
    friend bool operator!=(const hdf_DimSpace& a, const hdf_DimSpace& b) { return !(a == b); }

protected:
    void SetRank(int rank);

    int m_rank = 0;
    hsize_t m_extents[MaxRank] = {};
};

// hdf_DimSpace built from its extents in place: hdf_DimSpaceInput(10, 20).
class VEL_API hdf_DimSpaceInput : public hdf_DimSpace {
public:
    explicit hdf_DimSpaceInput(hsize_t d0);
    hdf_DimSpaceInput(hsize_t d0, hsize_t d1);
    hdf_DimSpaceInput(hsize_t d0, hsize_t d1, hsize_t d2);
    hdf_DimSpaceInput(hsize_t d0, hsize_t d1, hsize_t d2, hsize_t d3);
    hdf_DimSpaceInput(hsize_t d0, hsize_t d1, hsize_t d2, hsize_t d3, hsize_t d4);
    hdf_DimSpaceInput(hsize_t d0, hsize_t d1, hsize_t d2, hsize_t d3, hsize_t d4, hsize_t d5);
    hdf_DimSpaceInput(hsize_t d0, hsize_t d1, hsize_t d2, hsize_t d3, hsize_t d4, hsize_t d5,
                      hsize_t d6);
    // From `count` values of int32_t, int64_t or hsize_t; negative values raise the assertion
    // exception.  (A template, so that hdf_DimSpaceInput(n, 0) means two extents.)
    template <class Extent>
    hdf_DimSpaceInput(int count, const Extent* extents);
};

#endif
