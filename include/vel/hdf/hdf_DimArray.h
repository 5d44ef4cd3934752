#ifndef VEL_HDF_HDF_DIMARRAY_H
#define VEL_HDF_HDF_DIMARRAY_H

#include <cstdint>

#include "vel/VelExport.h"
#include "vel/hdf/hdf_DimSpace.h"

// A rank (0 to 7) and as many signed 32-bit sizes.  Sizes past the rank are kept at zero.
class VEL_API hdf_DimensionedArrayWithSizes {
public:
    static constexpr int MaxRank = hdf_DimSpace::MaxRank;

    int Rank() const { return m_rank; }
    int32_t operator[](int i) const;
    int32_t& operator[](int i);
    const int32_t* sizes() const { return m_sizes; }

    // The product of the sizes; 0 for a rank outside 1..7.  An overflow raises the assertion
    // exception.
    int64_t sizeInData() const;

protected:
    hdf_DimensionedArrayWithSizes() = default;
    hdf_DimensionedArrayWithSizes(int rank, const int32_t* sizes);
    void SetRank(int rank);

    int m_rank = 0;
    int32_t m_sizes[MaxRank] = {};
};

// The 32-bit form of a dataspace shape: chunk shapes, hyperslab counts and blocks.
class VEL_API hdf_DimArray : public hdf_DimensionedArrayWithSizes {
public:
    hdf_DimArray() = default;
    hdf_DimArray(int rank, const int32_t* sizes) : hdf_DimensionedArrayWithSizes(rank, sizes) {}
    // Each extent truncated to 32 bits; check IsHuge() first when that matters.
    explicit hdf_DimArray(const hdf_DimSpace& space);

    // Widened back; a negative size raises the assertion exception.
    hdf_DimSpace DimSpace() const;
    int64_t Product() const { return sizeInData(); }
};

// hdf_DimArray built from its sizes in place: hdf_DimArrayInput(10, 20).
class VEL_API hdf_DimArrayInput : public hdf_DimArray {
public:
    explicit hdf_DimArrayInput(int32_t d0);
    hdf_DimArrayInput(int32_t d0, int32_t d1);
    hdf_DimArrayInput(int32_t d0, int32_t d1, int32_t d2);
    hdf_DimArrayInput(int32_t d0, int32_t d1, int32_t d2, int32_t d3);
    hdf_DimArrayInput(int32_t d0, int32_t d1, int32_t d2, int32_t d3, int32_t d4);
    hdf_DimArrayInput(int32_t d0, int32_t d1, int32_t d2, int32_t d3, int32_t d4, int32_t d5);
    hdf_DimArrayInput(int32_t d0, int32_t d1, int32_t d2, int32_t d3, int32_t d4, int32_t d5,
                      int32_t d6);
    hdf_DimArrayInput(int count, const int32_t* sizes) : hdf_DimArray(count, sizes) {}
};

// The member counts of a set taken one per dimension (the selected indices of each dimension of
// a grid); sizeInData() is the number of elements of their cross product.
class VEL_API hdf_SetArray : public hdf_DimensionedArrayWithSizes {
public:
    hdf_SetArray() = default;
    hdf_SetArray(int count, const int32_t* sizes) : hdf_DimensionedArrayWithSizes(count, sizes) {}
};

#endif
