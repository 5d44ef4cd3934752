#include "vel/hdf/hdf_CoordArray.h"

#include <cstring>
#include <new>
#include <utility>

#include "hdf/hdf_Here.h"
#include "vel/platform/mem_Memory.h"

namespace {
const char kHdfUnit[] = "hdf_CoordArray";
}

hdf_CoordArray::hdf_CoordArray(const hdf_CoordArray& other) {
    Allocate(other.m_points, other.m_rank);
    if (m_coords)
        std::memcpy(m_coords, other.m_coords,
                    static_cast<size_t>(m_points) * static_cast<size_t>(m_rank) * sizeof(hsize_t));
}

hdf_CoordArray::hdf_CoordArray(hdf_CoordArray&& other) noexcept
    : m_points(other.m_points), m_rank(other.m_rank), m_coords(other.m_coords) {
    other.m_points = 0;
    other.m_rank = 0;
    other.m_coords = nullptr;
}

hdf_CoordArray& hdf_CoordArray::operator=(hdf_CoordArray other) noexcept {
    std::swap(m_points, other.m_points);
    std::swap(m_rank, other.m_rank);
    std::swap(m_coords, other.m_coords);
    return *this;
}

hdf_CoordArray::~hdf_CoordArray() {
    mem_Free(m_coords);
}

void hdf_CoordArray::Allocate(int points, int rank) {
    HDF_REQUIRE(points >= 0 && rank >= 0, "points >= 0 && rank >= 0");
    size_t bytes = 0;
    if (__builtin_mul_overflow(static_cast<size_t>(points), static_cast<size_t>(rank), &bytes) ||
        __builtin_mul_overflow(bytes, sizeof(hsize_t), &bytes))
        throw std::bad_alloc();
    hsize_t* coords = bytes ? static_cast<hsize_t*>(mem_Calloc(1, bytes)) : nullptr;
    mem_Free(m_coords);
    m_coords = coords;
    m_points = points;
    m_rank = rank;
}

hsize_t& hdf_CoordArray::At(int point, int dimension) {
    HDF_REQUIRE(point >= 0 && point < m_points && dimension >= 0 && dimension < m_rank,
                "point >= 0 && point < m_points && dimension >= 0 && dimension < m_rank");
    return m_coords[static_cast<size_t>(point) * static_cast<size_t>(m_rank) +
                    static_cast<size_t>(dimension)];
}

hsize_t hdf_CoordArray::At(int point, int dimension) const {
    return const_cast<hdf_CoordArray*>(this)->At(point, dimension);
}
