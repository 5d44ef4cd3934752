#include "views/VelStoreIO.h"

#include <algorithm>

#include "hdf/hdf_TypeMatch.h"
#include "vel/core/VelAssert.h"
#include "vel/hdf/hdf_DimArray.h"
#include "vel/hdf/hdf_DimSpace.h"

namespace {

hdf_Dataspace RowSelection(const hdf_Dataset& table, int64_t first, int64_t count) {
    hdf_Dataspace space = table.GetSpace();
    space.SelectHyperslab(hdf_Dataspace::SeloperSet, hdf_DimSpaceInput(static_cast<hsize_t>(first)),
                          hdf_DimSpace(), hdf_DimArrayInput(static_cast<int32_t>(count)),
                          hdf_DimArray());
    return space;
}

hdf_Dataspace Vector(int64_t count) {
    return hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(static_cast<hsize_t>(count)),
                                       hdf_DimSpace());
}

// Whole tables of at most this many bytes are moved with buffers of their own size.
constexpr int64_t e_MaxSizedTransfer = int64_t(1) << 20;

hdf_PropListTransfer SizedTransfer(int64_t bytes) {
    hdf_PropListTransfer transfer;
    transfer.SetBuffer(static_cast<int>(bytes), nullptr, nullptr);
    return transfer;
}

// A single selection names at most 2^31 - 1 rows (the storage layer's counts are 32-bit), so
// larger transfers go in pieces.
constexpr int64_t e_MaxSelectedRows = 0x40000000;

void ReadSelected(const hdf_Dataset& table, const hdf_Datatype& type, int64_t first, int64_t count,
                  void* buffer) {
    const size_t width = type.GetSize();
    for (int64_t done = 0; done < count; done += e_MaxSelectedRows) {
        const int64_t n = std::min(count - done, e_MaxSelectedRows);
        table.Read(type, Vector(n), RowSelection(table, first + done, n),
                   static_cast<unsigned char*>(buffer) + static_cast<size_t>(done) * width);
    }
}

void WriteSelected(const hdf_Dataset& table, const hdf_Datatype& type, int64_t first, int64_t count,
                   const void* buffer) {
    const size_t width = type.GetSize();
    for (int64_t done = 0; done < count; done += e_MaxSelectedRows) {
        const int64_t n = std::min(count - done, e_MaxSelectedRows);
        table.Write(type, Vector(n), RowSelection(table, first + done, n),
                    static_cast<const unsigned char*>(buffer) + static_cast<size_t>(done) * width);
    }
}

// The rows of one chunk of `table` when its chunks may be moved whole as the file stores them:
// a one-dimensional chunked table without filters whose stored rows are rows of `type` byte for
// byte (the record store's tables are).  0 when they may not, and in a parallel build, whose
// MPI-IO driver moves no chunk directly.
int64_t DirectChunkRows(const hdf_Dataset& table, const hdf_Datatype& type) {
#ifdef VEL_PARALLEL
    (void)table;
    (void)type;
    return 0;
#else
    const hdf_PropListDatasetCreation creation = table.GetCreatePlist();
    if (creation.GetLayout() != hdf_PropListDatasetCreation::LayoutChunked ||
        creation.FilterCount() != 0 || !table.GetType().Equal(type))
        return 0;
    const hdf_DimArray chunk = creation.GetChunk();
    return chunk.Rank() == 1 && chunk[0] > 0 ? chunk[0] : 0;
#endif
}

// Asking a table for its chunking copies its creation properties, which costs more than moving
// a few hundred rows through a selection: shorter transfers (a view's first block of a small
// table, a string block) do not ask.
constexpr int64_t e_DirectFromRows = 1024;

int64_t DirectChunkRowsFor(const hdf_Dataset& table, const hdf_Datatype& type, int64_t count) {
    return count >= e_DirectFromRows ? DirectChunkRows(table, type) : 0;
}

// Calls `move(row, n, whole)` for the pieces rows [first, first + count) fall into: each chunk of
// `chunkRows` rows they cover whole is a piece of its own (`whole` true), and so is each run of
// rows covering part of a chunk, at either end.  Without chunks to move whole (chunkRows 0) the
// rows are one piece.
template <class Move>
void ForEachPiece(int64_t first, int64_t count, int64_t chunkRows, Move move) {
    if (chunkRows == 0) {
        if (count > 0) move(first, count, false);
        return;
    }
    const int64_t end = first + count;
    for (int64_t row = first; row < end;) {
        const int64_t boundary = (row / chunkRows + 1) * chunkRows;
        const int64_t next = std::min(end, boundary);
        move(row, next - row, next - row == chunkRows);
        row = next;
    }
}

}  // namespace

hdf_Dataset VelStoreIO::CreateTable(const hdf_Group& group, const char* name,
                                    const hdf_Datatype& type, int chunkRows) {
    const hdf_Dataspace space =
        hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(0), hdf_DimSpaceInput(H5S_UNLIMITED));
    hdf_PropListDatasetCreation creation;
    creation.SetChunk(hdf_DimArrayInput(chunkRows));
    return group.DatasetCreate(name, type, space, creation);
}

int64_t VelStoreIO::Rows(const hdf_Dataset& table) {
    const hdf_DimSpace dims = table.GetSpace().GetDims();
    VelVALIDATE(dims.Rank() == 1 && "Damaged record store: a table is not one-dimensional");
    VelVALIDATE(dims[0] < (static_cast<hsize_t>(1) << 62) &&
                "Damaged record store: a table is too long");
    return static_cast<int64_t>(dims[0]);
}

void VelStoreIO::ReadRows(const hdf_Dataset& table, const hdf_Datatype& type, int64_t first,
                          int64_t count, void* buffer) {
    CheckTable(table, type);
    ReadCheckedRows(table, type, first, count, buffer);
}

void VelStoreIO::CheckTable(const hdf_Dataset& table, const hdf_Datatype& type) {
    VelVALIDATE(hdf_MatchesType(table.GetType(), type) &&
                "Damaged record store: a table does not hold the rows its catalogue says");
    VelVALIDATE(hdf_HasStoredLayout(table) && "Damaged record store: a table stores no rows");
}

// Whole chunks move straight between the caller's rows and the file; HDF5's chunk cache would
// clear each new chunk, copy the rows into it and out again.  A chunk the file does not store at
// its full size is read through a selection, as the rest are.
void VelStoreIO::ReadCheckedRows(const hdf_Dataset& table, const hdf_Datatype& type, int64_t first,
                                 int64_t count, void* buffer) {
    unsigned char* const rows = static_cast<unsigned char*>(buffer);
    const size_t width = type.GetSize();
    ForEachPiece(first, count, DirectChunkRowsFor(table, type, count),
                 [&](int64_t row, int64_t n, bool whole) {
                     unsigned char* at = rows + static_cast<size_t>(row - first) * width;
                     const hsize_t offset = static_cast<hsize_t>(row);
                     if (!whole || !table.ReadChunk(&offset, static_cast<size_t>(n) * width, at))
                         ReadSelected(table, type, row, n, at);
                 });
}

void VelStoreIO::WriteRows(const hdf_Dataset& table, const hdf_Datatype& type, int64_t first,
                           int64_t count, const void* buffer) {
    if (count == 0) return;
    if (Rows(table) < first + count)
        table.Extend(hdf_DimSpaceInput(static_cast<hsize_t>(first + count)));
    const unsigned char* const rows = static_cast<const unsigned char*>(buffer);
    const size_t width = type.GetSize();
    ForEachPiece(first, count, DirectChunkRowsFor(table, type, count),
                 [&](int64_t row, int64_t n, bool whole) {
                     const unsigned char* at = rows + static_cast<size_t>(row - first) * width;
                     const hsize_t offset = static_cast<hsize_t>(row);
                     if (whole)
                         table.WriteChunk(&offset, static_cast<size_t>(n) * width, at);
                     else
                         WriteSelected(table, type, row, n, at);
                 });
}

void VelStoreIO::ReadReferenceRows(const hdf_Dataset& table, const hdf_Datatype& type,
                                   int64_t count, void* buffer) {
    const int64_t bytes = count * static_cast<int64_t>(type.GetSize());
    CheckTable(table, type);
    if (count == 0 || bytes > e_MaxSizedTransfer) {
        ReadSelected(table, type, 0, count, buffer);
        return;
    }
    table.Read(type, Vector(count), RowSelection(table, 0, count), SizedTransfer(bytes), buffer);
}

void VelStoreIO::WriteReferenceRows(const hdf_Dataset& table, const hdf_Datatype& type,
                                    int64_t count, const void* buffer) {
    const int64_t bytes = count * static_cast<int64_t>(type.GetSize());
    if (count == 0) return;
    if (Rows(table) < count) table.Extend(hdf_DimSpaceInput(static_cast<hsize_t>(count)));
    if (bytes > e_MaxSizedTransfer) {
        WriteSelected(table, type, 0, count, buffer);
        return;
    }
    table.Write(type, Vector(count), RowSelection(table, 0, count), SizedTransfer(bytes), buffer);
}

void VelStoreIO::CreateInt64Attribute(const hdf_Group& group, const char* name,
                                      const int64_t* values, int count) {
    hdf_Attribute attribute =
        group.AttributeCreate(name, hdf_Datatype::NATIVE_INT64(), Vector(count));
    attribute.Write(hdf_Datatype::NATIVE_INT64(), values);
}

void VelStoreIO::WriteInt64Attribute(const hdf_Group& group, const char* name,
                                     const int64_t* values, int count) {
    hdf_Attribute attribute = group.AttributeOpen(name);
    const hdf_DimSpace dims = attribute.GetSpace().GetDims();
    VelASSERT(dims.Rank() == 1 && dims[0] == static_cast<hsize_t>(count));
    attribute.Write(hdf_Datatype::NATIVE_INT64(), values);
}

void VelStoreIO::ReadInt64Attribute(const hdf_Group& group, const char* name, int64_t* values,
                                    int count) {
    const hdf_Attribute attribute = group.AttributeOpen(name);
    const hdf_DimSpace dims = attribute.GetSpace().GetDims();
    VelVALIDATE(dims.Rank() == 1 && dims[0] == static_cast<hsize_t>(count) &&
                "Damaged record store: an attribute has the wrong length");
    VelVALIDATE(hdf_MatchesType(attribute.GetType(), hdf_Datatype::NATIVE_INT64()) &&
                "Damaged record store: an attribute does not hold 64-bit integers");
    attribute.Read(hdf_Datatype::NATIVE_INT64(), values);
}

void VelStoreIO::WriteInt64Dataset(const hdf_Group& group, const char* name, const int64_t* values,
                                   int count) {
    const hdf_Dataset dataset =
        group.GetObjinfoExists(name)
            ? group.DatasetOpen(name)
            : group.DatasetCreate(name, hdf_Datatype::NATIVE_INT64(), Vector(count));
    VelASSERT(Rows(dataset) == count);
    dataset.Write(hdf_Datatype::NATIVE_INT64(), hdf_Dataspace(), values);
}

bool VelStoreIO::ReadInt64Dataset(const hdf_Group& group, const char* name, int64_t* values,
                                  int count) {
    if (!group.GetObjinfoExists(name)) return false;
    const hdf_Dataset dataset = group.DatasetOpen(name);
    VelVALIDATE(Rows(dataset) == count && "Damaged record store: a count has the wrong length");
    VelVALIDATE(hdf_MatchesType(dataset.GetType(), hdf_Datatype::NATIVE_INT64()) &&
                "Damaged record store: a count does not hold 64-bit integers");
    VelVALIDATE(hdf_HasStoredLayout(dataset) && "Damaged record store: a count stores no values");
    dataset.Read(hdf_Datatype::NATIVE_INT64(), hdf_Dataspace(), values);
    return true;
}
