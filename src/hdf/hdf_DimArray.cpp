#include "vel/hdf/hdf_DimArray.h"

#include "hdf/hdf_Here.h"

namespace {
const char kHdfUnit[] = "hdf_DimArray";
}

hdf_DimensionedArrayWithSizes::hdf_DimensionedArrayWithSizes(int rank, const int32_t* sizes) {
    SetRank(rank);
    for (int i = 0; i < rank; ++i) m_sizes[i] = sizes[i];
}

void hdf_DimensionedArrayWithSizes::SetRank(int rank) {
    HDF_REQUIRE(rank >= 0 && rank <= MaxRank, "rank >= 0 && rank <= MaxRank");
    m_rank = rank;
    for (int i = rank; i < MaxRank; ++i) m_sizes[i] = 0;
}

int32_t hdf_DimensionedArrayWithSizes::operator[](int i) const {
    HDF_REQUIRE(i >= 0 && i < m_rank, "i >= 0 && i < m_rank");
    return m_sizes[i];
}

int32_t& hdf_DimensionedArrayWithSizes::operator[](int i) {
    HDF_REQUIRE(i >= 0 && i < m_rank, "i >= 0 && i < m_rank");
    return m_sizes[i];
}

int64_t hdf_DimensionedArrayWithSizes::sizeInData() const {
    if (m_rank < 1 || m_rank > MaxRank) return 0;
    int64_t product = 1;
    for (int i = 0; i < m_rank; ++i)
        HDF_REQUIRE(!__builtin_mul_overflow(product, int64_t{m_sizes[i]}, &product),
                    "sizeInData() does not overflow");
    return product;
}

hdf_DimArray::hdf_DimArray(const hdf_DimSpace& space) {
    SetRank(space.Rank());
    for (int i = 0; i < m_rank; ++i) m_sizes[i] = static_cast<int32_t>(space[i]);
}

hdf_DimSpace hdf_DimArray::DimSpace() const {
    hsize_t extents[MaxRank] = {};
    for (int i = 0; i < m_rank; ++i) {
        HDF_REQUIRE(m_sizes[i] >= 0, "m_sizes[i] >= 0");
        extents[i] = static_cast<hsize_t>(m_sizes[i]);
    }
    return hdf_DimSpace(m_rank, extents);
}

hdf_DimArrayInput::hdf_DimArrayInput(int32_t d0) {
    const int32_t d[] = {d0};
    *this = hdf_DimArrayInput(1, d);
}

hdf_DimArrayInput::hdf_DimArrayInput(int32_t d0, int32_t d1) {
    const int32_t d[] = {d0, d1};
    *this = hdf_DimArrayInput(2, d);
}

hdf_DimArrayInput::hdf_DimArrayInput(int32_t d0, int32_t d1, int32_t d2) {
    const int32_t d[] = {d0, d1, d2};
    *this = hdf_DimArrayInput(3, d);
}

hdf_DimArrayInput::hdf_DimArrayInput(int32_t d0, int32_t d1, int32_t d2, int32_t d3) {
    const int32_t d[] = {d0, d1, d2, d3};
    *this = hdf_DimArrayInput(4, d);
}

hdf_DimArrayInput::hdf_DimArrayInput(int32_t d0, int32_t d1, int32_t d2, int32_t d3, int32_t d4) {
    const int32_t d[] = {d0, d1, d2, d3, d4};
    *this = hdf_DimArrayInput(5, d);
}

hdf_DimArrayInput::hdf_DimArrayInput(int32_t d0, int32_t d1, int32_t d2, int32_t d3, int32_t d4,
                                     int32_t d5) {
    const int32_t d[] = {d0, d1, d2, d3, d4, d5};
    *this = hdf_DimArrayInput(6, d);
}

hdf_DimArrayInput::hdf_DimArrayInput(int32_t d0, int32_t d1, int32_t d2, int32_t d3, int32_t d4,
                                     int32_t d5, int32_t d6) {
    const int32_t d[] = {d0, d1, d2, d3, d4, d5, d6};
    *this = hdf_DimArrayInput(7, d);
}
