#include "context/VelCollectionLayout.h"

#include "hdf/hdf_TypeMatch.h"
#include "vel/core/VelAssert.h"
#include "vel/hdf/hdf_CompoundBuilder.h"
#include "vel/hdf/hdf_DimSpace.h"

namespace {

hdf_Dataspace FixedSpace(hsize_t extent) {
    return hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(extent), hdf_DimSpace());
}

hdf_Dataspace GrowingSpace(hsize_t extent) {
    return hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(extent), hdf_DimSpaceInput(H5S_UNLIMITED));
}

hdf_PropListDatasetCreation ChunkedBy(int chunk) {
    hdf_PropListDatasetCreation creation;
    creation.SetChunk(hdf_DimArrayInput(chunk));
    return creation;
}

// `dataset`'s file space with [start, start + count) selected, and a memory space of `count`.
struct Selection {
    hdf_Dataspace memory;
    hdf_Dataspace file;
};

Selection Select(const hdf_Dataset& dataset, int64_t start, int64_t count) {
    Selection s;
    s.memory = FixedSpace(static_cast<hsize_t>(count));
    s.file = dataset.GetSpace();
    s.file.SelectHyperslab(hdf_Dataspace::SeloperSet,
                           hdf_DimSpaceInput(static_cast<hsize_t>(start)), hdf_DimSpace(),
                           hdf_DimArrayInput(static_cast<int32_t>(count)), hdf_DimArray());
    return s;
}

}  // namespace

int64_t VelCollectionLayout::TableRecordsFor(int64_t count, int chunk) {
    return int64_t(chunk) * (count / chunk + 1);
}

void VelCollectionLayout::CreateAttributes(const hdf_Group& group, const int values[3]) {
    hdf_Attribute attributes =
        group.AttributeCreate(e_Attributes, hdf_Datatype::NATIVE_INT(), FixedSpace(3));
    attributes.Write(hdf_Datatype::NATIVE_INT(), values);
}

void VelCollectionLayout::WriteAttributes(const hdf_Group& group, const int values[3]) {
    hdf_Attribute attributes = group.AttributeOpen(e_Attributes);
    attributes.Write(hdf_Datatype::NATIVE_INT(), values);
}

void VelCollectionLayout::ReadAttributes(const hdf_Group& group, int values[3]) {
    const hdf_Attribute attributes = group.AttributeOpen(e_Attributes);
    // Checked before the read: HDF5 writes every element of the attribute into `values`.
    const hdf_DimSpace dims = attributes.GetSpace().GetDims();
    VelASSERT(dims.Rank() == 1 && dims[0] == 3);
    VelASSERT(hdf_MatchesType(attributes.GetType(), hdf_Datatype::NATIVE_INT()) &&
              "\"Collection attributes\" does not hold ints");
    attributes.Read(hdf_Datatype::NATIVE_INT(), values);
}

hdf_Dataset VelCollectionLayout::CreateIndexSets(const hdf_Group& group) {
    return group.DatasetCreate(e_IndexSets, hdf_Datatype::NATIVE_INT(),
                               GrowingSpace(e_IndexSetsChunk), ChunkedBy(e_IndexSetsChunk));
}

hdf_Dataset VelCollectionLayout::CreateGrowingInts(const hdf_Group& group, const char* name,
                                                   int chunk) {
    return group.DatasetCreate(name, hdf_Datatype::NATIVE_INT(), GrowingSpace(0), ChunkedBy(chunk));
}

// The six native ints of an entry, packed in file order.
hdf_Datatype VelCollectionLayout::EntryType() {
    hdf_CompoundBuilder builder(static_cast<int>(sizeof(int)));
    const hdf_Datatype native = hdf_Datatype::NATIVE_INT();
    for (const char* name :
         {"dataset", "start", "length", "nameIndex", "indexSetIndex", "linkedId"})
        builder.Insert(name, native);
    return hdf_Datatype(builder);
}

hdf_Dataset VelCollectionLayout::CreateIndexTable(const hdf_Group& group, int64_t records,
                                                  const VelIndexEntry* entries, int count) {
    hdf_Dataset table =
        group.DatasetCreate(e_IndexTable, EntryType(), GrowingSpace(static_cast<hsize_t>(records)),
                            ChunkedBy(e_TableChunk));
    WriteEntries(table, EntryType(), 0, count, entries);
    return table;
}

void VelCollectionLayout::WriteEntries(const hdf_Dataset& table, const hdf_Datatype& entryType,
                                       int first, int count, const VelIndexEntry* entries) {
    if (count == 0) return;
    const Selection s = Select(table, first, count);
    table.Write(entryType, s.memory, s.file, entries);
}

void VelCollectionLayout::ReadEntries(const hdf_Dataset& table, const hdf_Datatype& entryType,
                                      int first, int count, VelIndexEntry* entries) {
    if (count == 0) return;
    const Selection s = Select(table, first, count);
    table.Read(entryType, s.memory, s.file, entries);
}

bool VelCollectionLayout::HoldsEntries(const hdf_Dataset& table, const hdf_Datatype& entryType) {
    return hdf_MatchesType(table.GetType(), entryType);
}

bool VelCollectionLayout::HoldsInts(const hdf_Dataset& indexSets) {
    return hdf_MatchesType(indexSets.GetType(), hdf_Datatype::NATIVE_INT());
}

int64_t VelCollectionLayout::Extent(const hdf_Dataset& dataset) {
    const hdf_DimSpace dims = dataset.GetSpace().GetDims();
    VelASSERT(dims.Rank() == 1 && dims[0] <= hsize_t(INT32_MAX));
    return static_cast<int64_t>(dims[0]);
}

int VelCollectionLayout::ChunkLength(const hdf_Dataset& dataset) {
    const hdf_PropListDatasetCreation creation = dataset.GetCreatePlist();
    VelASSERT(creation.GetLayout() == hdf_PropListDatasetCreation::LayoutChunked);
    const hdf_DimArray chunk = creation.GetChunk();
    VelASSERT(chunk.Rank() == 1 && chunk[0] >= 1);
    return chunk[0];
}

void VelCollectionLayout::Extend(const hdf_Dataset& dataset, int64_t extent) {
    dataset.Extend(hdf_DimSpaceInput(static_cast<hsize_t>(extent)));
}

void VelCollectionLayout::WriteInts(const hdf_Dataset& indexSets, int64_t start, int64_t count,
                                    const int* data) {
    if (count == 0) return;
    const Selection s = Select(indexSets, start, count);
    indexSets.Write(hdf_Datatype::NATIVE_INT(), s.memory, s.file, data);
}

void VelCollectionLayout::ReadInts(const hdf_Dataset& indexSets, int64_t start, int64_t count,
                                   int* data) {
    if (count == 0) return;
    const Selection s = Select(indexSets, start, count);
    indexSets.Read(hdf_Datatype::NATIVE_INT(), s.memory, s.file, data);
}
