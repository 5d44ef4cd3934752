#ifndef VEL_CONTEXT_VELCOLLECTIONLAYOUT_H
#define VEL_CONTEXT_VELCOLLECTIONLAYOUT_H

#include <cstdint>

#include "vel/hdf/hdf_Attribute.h"
#include "vel/hdf/hdf_Dataset.h"
#include "vel/hdf/hdf_Group.h"

// The file layout of one collection: a group under the root named by the collection's minor word
// (eight upper-case hex digits), "type" [0, minor], and in it
//
//   "Collection attributes"  attribute, native int, one dimension of 3:
//                            [size, number of CSets, index of the full set]
//   "IndexSets"              dataset of native ints, one dimension, chunks of 5000 ints,
//                            extendible; created with 5000 elements.  The stored forms of all
//                            CSets back to back (the encoding is VelIndexSet's).  The extent is
//                            a whole number of chunks; the ints in use end where the last
//                            CSet's end.
//   "IndexSet index table"   dataset of VelIndexEntry records, one dimension, chunks of 256
//                            records, extendible; 256 * (n / 256 + 1) records for n CSets.
//
// Nothing read here is trusted: shapes and counts are checked before they size a buffer.
struct VelIndexEntry {
    // The data dataset that holds the CSet's stored ints; a collection has one, "IndexSets",
    // number 0.  Kept so that a collection could spread its sets over several datasets.
    int dataset;
    // The CSet's stored ints: "length" of them from "start".
    int start;
    int length;
    // CSets have no names: always -1.
    int nameIndex;
    // The entry whose stored ints hold this CSet's set: its own index, except for the ascending
    // twin of a permutation CSet, which reads its permutation's ints (the same members sorted)
    // instead of storing them twice.  Decoded sets are cached under this index, so a
    // permutation and its twin share one decoded set.
    int indexSetIndex;
    // For a permutation CSet, the index of its ascending twin; -1 for every ascending CSet.
    int linkedId;
};
static_assert(sizeof(VelIndexEntry) == 6 * sizeof(int), "an entry is written as it stands");

struct VelCollectionLayout {
    static constexpr const char* e_Attributes = "Collection attributes";
    static constexpr const char* e_IndexSets = "IndexSets";
    static constexpr const char* e_IndexTable = "IndexSet index table";
    static constexpr int e_IndexSetsChunk = 5000;
    static constexpr int e_TableChunk = 256;
    static constexpr int e_IndexSetsDataset = 0;
    static constexpr int e_NoName = -1;
    static constexpr int e_NoLink = -1;

    // Records the table has for `count` CSets: chunk * (count / chunk + 1), with chunks of 256
    // records in the files this library writes.
    static int64_t TableRecordsFor(int64_t count, int chunk);

    // "Collection attributes" [size, number of CSets, full-set index].
    static void CreateAttributes(const hdf_Group& group, const int values[3]);
    static void WriteAttributes(const hdf_Group& group, const int values[3]);
    // Refuses (assertion) an attribute that is not one dimension of 3.
    static void ReadAttributes(const hdf_Group& group, int values[3]);

    static hdf_Dataset CreateIndexSets(const hdf_Group& group);
    // An empty one-dimensional dataset of native ints that grows in chunks of `chunk`.
    static hdf_Dataset CreateGrowingInts(const hdf_Group& group, const char* name, int chunk);
    // Creates the table with `records` records and writes the first `count` entries.
    static hdf_Dataset CreateIndexTable(const hdf_Group& group, int64_t records,
                                        const VelIndexEntry* entries, int count);
    // Writes entries [first, first + count) of an existing table; `entryType` is EntryType(),
    // which a collection that writes at every checkpoint makes once.
    static void WriteEntries(const hdf_Dataset& table, const hdf_Datatype& entryType, int first,
                             int count, const VelIndexEntry* entries);
    // The memory type of an index-table record: six native ints in file order.
    static hdf_Datatype EntryType();
    // Reads records [first, first + count) into `entries`; the caller has checked the extent.
    static void ReadEntries(const hdf_Dataset& table, const hdf_Datatype& entryType, int first,
                            int count, VelIndexEntry* entries);

    // Whether the stored types are the layout's: the six-int compound of the index table, the
    // ints of "IndexSets".
    static bool HoldsEntries(const hdf_Dataset& table, const hdf_Datatype& entryType);
    static bool HoldsInts(const hdf_Dataset& indexSets);

    // One-dimensional extent of a dataset; refuses (assertion) any other rank.
    static int64_t Extent(const hdf_Dataset& dataset);
    // The chunk length of a one-dimensional chunked dataset; refuses (assertion) any other.
    static int ChunkLength(const hdf_Dataset& dataset);
    static void Extend(const hdf_Dataset& dataset, int64_t extent);

    // `count` native ints at `start` of "IndexSets", from or into a buffer of exactly that many.
    static void WriteInts(const hdf_Dataset& indexSets, int64_t start, int64_t count,
                          const int* data);
    static void ReadInts(const hdf_Dataset& indexSets, int64_t start, int64_t count, int* data);
};

#endif
