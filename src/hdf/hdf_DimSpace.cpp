#include "vel/hdf/hdf_DimSpace.h"

#include <climits>

#include "hdf/hdf_Here.h"

namespace {
const char kHdfUnit[] = "hdf_DimSpace";
}

hdf_DimSpace::hdf_DimSpace(int rank, const hsize_t* extents) {
    SetRank(rank);
    for (int i = 0; i < rank; ++i) m_extents[i] = extents[i];
}

void hdf_DimSpace::SetRank(int rank) {
    HDF_REQUIRE(rank >= 0 && rank <= MaxRank, "rank >= 0 && rank <= MaxRank");
    m_rank = rank;
    for (int i = rank; i < MaxRank; ++i) m_extents[i] = 0;
}

hsize_t hdf_DimSpace::operator[](int i) const {
    HDF_REQUIRE(i >= 0 && i < m_rank, "i >= 0 && i < m_rank");
    return m_extents[i];
}

hsize_t& hdf_DimSpace::operator[](int i) {
    HDF_REQUIRE(i >= 0 && i < m_rank, "i >= 0 && i < m_rank");
    return m_extents[i];
}

hsize_t hdf_DimSpace::Product() const {
    if (m_rank < 1) return 0;
    hsize_t product = 1;
    for (int i = 0; i < m_rank; ++i)
        HDF_REQUIRE(!__builtin_mul_overflow(product, m_extents[i], &product),
                    "Product() does not overflow");
    return product;
}

bool hdf_DimSpace::IsHuge() const {
    for (int i = 0; i < m_rank; ++i)
        if (m_extents[i] > static_cast<hsize_t>(INT_MAX)) return true;
    return false;
}

bool operator==(const hdf_DimSpace& a, const hdf_DimSpace& b) {
    if (a.m_rank != b.m_rank) return false;
    for (int i = 0; i < a.m_rank; ++i)
        if (a.m_extents[i] != b.m_extents[i]) return false;
    return true;
}

hdf_DimSpaceInput::hdf_DimSpaceInput(hsize_t d0) {
    const hsize_t d[] = {d0};
    *this = hdf_DimSpaceInput(1, d);
}

hdf_DimSpaceInput::hdf_DimSpaceInput(hsize_t d0, hsize_t d1) {
    const hsize_t d[] = {d0, d1};
    *this = hdf_DimSpaceInput(2, d);
}

hdf_DimSpaceInput::hdf_DimSpaceInput(hsize_t d0, hsize_t d1, hsize_t d2) {
    const hsize_t d[] = {d0, d1, d2};
    *this = hdf_DimSpaceInput(3, d);
}

hdf_DimSpaceInput::hdf_DimSpaceInput(hsize_t d0, hsize_t d1, hsize_t d2, hsize_t d3) {
    const hsize_t d[] = {d0, d1, d2, d3};
    *this = hdf_DimSpaceInput(4, d);
}

hdf_DimSpaceInput::hdf_DimSpaceInput(hsize_t d0, hsize_t d1, hsize_t d2, hsize_t d3, hsize_t d4) {
    const hsize_t d[] = {d0, d1, d2, d3, d4};
    *this = hdf_DimSpaceInput(5, d);
}

hdf_DimSpaceInput::hdf_DimSpaceInput(hsize_t d0, hsize_t d1, hsize_t d2, hsize_t d3, hsize_t d4,
                                     hsize_t d5) {
    const hsize_t d[] = {d0, d1, d2, d3, d4, d5};
    *this = hdf_DimSpaceInput(6, d);
}

hdf_DimSpaceInput::hdf_DimSpaceInput(hsize_t d0, hsize_t d1, hsize_t d2, hsize_t d3, hsize_t d4,
                                     hsize_t d5, hsize_t d6) {
    const hsize_t d[] = {d0, d1, d2, d3, d4, d5, d6};
    *this = hdf_DimSpaceInput(7, d);
}

template <class Extent>
hdf_DimSpaceInput::hdf_DimSpaceInput(int count, const Extent* extents) {
    SetRank(count);
    for (int i = 0; i < count; ++i) {
        HDF_REQUIRE(extents[i] >= 0, "extents[i] >= 0");
        m_extents[i] = static_cast<hsize_t>(extents[i]);
    }
}

template hdf_DimSpaceInput::hdf_DimSpaceInput(int, const int32_t*);
template hdf_DimSpaceInput::hdf_DimSpaceInput(int, const int64_t*);
template hdf_DimSpaceInput::hdf_DimSpaceInput(int, const hsize_t*);
