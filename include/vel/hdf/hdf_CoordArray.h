#ifndef VEL_HDF_HDF_COORDARRAY_H
#define VEL_HDF_HDF_COORDARRAY_H

#include <hdf5.h>

#include "vel/VelExport.h"

// The coordinates of the points of an element selection: `Points()` rows of `Rank()` 64-bit
// coordinates, row after row, as HDF5 takes them.
class VEL_API hdf_CoordArray {
public:
    hdf_CoordArray() = default;
    hdf_CoordArray(int points, int rank) { Allocate(points, rank); }
    hdf_CoordArray(const hdf_CoordArray& other);
    hdf_CoordArray(hdf_CoordArray&& other) noexcept;
    hdf_CoordArray& operator=(hdf_CoordArray other) noexcept;
    ~hdf_CoordArray();

    // Replaces the buffer by one of points x rank coordinates, all zero, from the throwing
    // allocator.  A size that does not fit the address space fails as an allocation of the
    // largest size would, with std::bad_alloc, instead of wrapping around to a small buffer.
    void Allocate(int points, int rank);

    int Points() const { return m_points; }
    int Rank() const { return m_rank; }
    hsize_t& At(int point, int dimension);
    hsize_t At(int point, int dimension) const;
    const hsize_t* Data() const { return m_coords; }
    hsize_t* Data() { return m_coords; }

private:
    int m_points = 0;
    int m_rank = 0;
    hsize_t* m_coords = nullptr;
};

#endif
