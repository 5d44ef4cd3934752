#ifndef VEL_SRC_VIEWS_VELSTOREIO_H
#define VEL_SRC_VIEWS_VELSTOREIO_H

// The few storage shapes the record store is made of, over the storage layer: one-dimensional
// chunked datasets that grow at the end, read and written by row ranges, and small int64
// attributes and datasets of a fixed length.  Every extent read back is checked by the caller
// against the counts that say how much of it is committed.

#include <cstdint>

#include "vel/hdf/hdf_Dataset.h"
#include "vel/hdf/hdf_Group.h"

struct VelStoreIO {
    // A one-dimensional dataset of `type` with no rows, growing without limit in chunks of
    // `chunkRows` rows.
    static hdf_Dataset CreateTable(const hdf_Group& group, const char* name,
                                   const hdf_Datatype& type, int chunkRows);
    // The number of rows of a one-dimensional dataset; a dataset of any other rank is a damaged
    // store.
    static int64_t Rows(const hdf_Dataset& table);
    // Rows [first, first + count) from or to `buffer`, `type` being the memory type of a row.
    // Writing grows the dataset when the rows reach past its end.  Reading validates first that
    // the table stores rows of `type` (CheckTable).  The chunks the rows cover whole move as the
    // file stores them, with no HDF5 buffer between the caller's rows and the file.
    static void ReadRows(const hdf_Dataset& table, const hdf_Datatype& type, int64_t first,
                         int64_t count, void* buffer);
    // Validates that the table stores its rows in the file, as rows of `type`: a damaged store
    // is refused before anything is read from it.
    static void CheckTable(const hdf_Dataset& table, const hdf_Datatype& type);
    // ReadRows of a table that has passed CheckTable, for callers that read one table often.
    static void ReadCheckedRows(const hdf_Dataset& table, const hdf_Datatype& type, int64_t first,
                                int64_t count, void* buffer);
    static void WriteRows(const hdf_Dataset& table, const hdf_Datatype& type, int64_t first,
                          int64_t count, const void* buffer);
    // The same for rows that hold object references, which HDF5 converts even between equal
    // types (so they always go through a selection): the conversion buffers are sized to the rows
    // instead of HDF5's default megabyte, which it would allocate and clear on every call.
    static void ReadReferenceRows(const hdf_Dataset& table, const hdf_Datatype& type, int64_t count,
                                  void* buffer);
    static void WriteReferenceRows(const hdf_Dataset& table, const hdf_Datatype& type,
                                   int64_t count, const void* buffer);

    // A fixed-length array of int64 kept as an attribute of a group.
    static void CreateInt64Attribute(const hdf_Group& group, const char* name,
                                     const int64_t* values, int count);
    static void WriteInt64Attribute(const hdf_Group& group, const char* name, const int64_t* values,
                                    int count);
    // Validates that the attribute holds exactly `count` values.
    static void ReadInt64Attribute(const hdf_Group& group, const char* name, int64_t* values,
                                   int count);

    // The same kept as a small dataset, for values that may be missing from an older store.
    static void WriteInt64Dataset(const hdf_Group& group, const char* name, const int64_t* values,
                                  int count);
    // False when the group has no such dataset; validates the count otherwise.
    static bool ReadInt64Dataset(const hdf_Group& group, const char* name, int64_t* values,
                                 int count);
};

#endif
