#ifndef VEL_CONTEXT_VELCOLLECTION_H
#define VEL_CONTEXT_VELCOLLECTION_H

#include <cstdint>
#include <vector>

#include "context/VelCollectionLayout.h"
#include "context/VelIndexSet.h"
#include "vel/cache/che_Cache.h"
#include "vel/context/VelCSetID.h"
#include "vel/context/VelCollectionID.h"
#include "vel/core/VelAutoPtr.h"
#include "vel/hdf/hdf_Dataset.h"
#include "vel/hdf/hdf_Group.h"
#include "vel/platform/mem_Memory.h"
#include "vel/platform/omi_BlkBitVect.h"

// One collection of a context, owned by the context's collection map: members 0 .. size-1 and
// the CSets stored for them (see VelCollectionLayout for the file).
//
// Every CSet has an entry in the index table; its members are stored in "IndexSets" in
// VelIndexSet's encoding.  Index 0 is the empty set, made with the collection; index 1 is
// reserved for the full set, which the first flush (or the first request for it) makes as the
// range 0 .. size-1.  A permutation CSet takes two entries: its own, whose stored ints are its
// member order, and an ascending twin that reads the same ints (VelIndexEntry).
//
// Small encodings collect in a buffer and go to the file in one write at the next flush (or when
// the buffer fills); an encoding longer than one chunk is written at once, straight from where
// it lies, so a large explicit list goes from the caller's array to HDF5 without a copy.  The
// index table and "Collection attributes" are written by Flush; a table entry never reaches the
// file before the ints it points at.
//
// A writable open reads and checks the whole index table when the collection is first used: a
// writer appends to it.  A read-only open reads "Collection attributes" alone; the table and
// "IndexSets" are opened when a stored CSet other than the empty and the full set is first
// needed (those two follow from the size), and the table is read a block of 256 entries at a
// time, each entry checked as loading checks it before any of its numbers is used.  A reader
// that wants one step's CSet of a collection of 10,000 then reads one block, not the table.
//
// Decoded sets live in the cache under the index of the entry that stores them: each is decoded
// once and shared by every VelCSet on it.  A set is made when a CSet is created (unless it is an
// explicit list too large for the idle bound, which is read back when first asked for), and
// replaced when a write changes it (ExtendSpace and the full set), so a lookup never sees a
// stale set.
//
// Every method that touches the file turns an hdf_Exception into its message on standard output
// and the assertion "0".
class VelCollection : public mem_AllocationOperators {
public:
    // The cache keeps every decoded set that a VelCSet references; of the unreferenced ones it
    // keeps at most 256, of at most 5000 decoded ints in all, evicting the least recently used.
    static constexpr int e_CacheIdleItems = 256;
    static constexpr int64_t e_CacheIdleWeight = 5000;
    static constexpr int e_EmptySetIndex = 0;
    static constexpr int e_FullSetIndex = 1;

    // What a VelCSet needs to know of one of the collection's CSets.
    struct Resolved {
        // Null when the set is a deferred list (below).
        che_RefPtr<VelIndexSet> set;
        // The CSet's own entry when it is a permutation CSet, -1 when it is ascending.
        int permutationIndex = -1;
        VelCSetID ascendingID;
        // The entry that stores the set.
        int storageIndex = -1;
        // The member count of a deferred list, -1 otherwise.
        int deferredCount = -1;
    };

    // Makes the collection's group under `root` with its "type" attribute and "IndexSets"; the
    // file must be writable (`readOnly` false).
    static VelAutoPtr<VelCollection> Create(const hdf_Group& root, const VelCollectionID& id,
                                            int size, bool readOnly, mem_CachePool* pool);
    // Loads a stored collection from its group; everything read is checked first.
    static VelAutoPtr<VelCollection> Open(const hdf_Group& group, const VelCollectionID& id,
                                          bool readOnly, mem_CachePool* pool);
    ~VelCollection();
    VelCollection(const VelCollection&) = delete;
    VelCollection& operator=(const VelCollection&) = delete;

    const VelCollectionID& ID() const { return m_id; }
    int Space() const { return m_size; }
    int NumCSets() const { return m_numCSets; }
    bool ReadOnly() const { return m_readOnly; }
    // Adds `count` members at the end; the full set grows with them.
    void ExtendSpace(int count);
    VelCollectionID CreateColorVariant(int color);
    bool HasColor(int color) const { return m_colors[color]; }

    // Persistent CSets; the IDs returned carry `color`.
    VelCSetID CreateCSet(const int* members, int count, int color);
    VelCSetID CreateCSet(const omi_BlkBitVect& members, int color);
    VelCSetID CreateCSetStrided(int start, int stride, int count, int block, int color);
    VelCSetID CreateOrderedCSet(const int* order, int count, int color);
    // Stores an ascending set made for this collection (a volatile CSet) under a new index.
    VelCSetID Register(VelIndexSet& set, int color);
    VelCSetID EmptyCSetID(int color) const;
    VelCSetID BiggestCSetID(int color);
    // The ID of the CSet stored at `index`, with the ascending flag its entry calls for.
    VelCSetID StoredCSetID(int index, int color);

    // Sets that are checked like a persistent CSet's members but never stored.
    che_RefPtr<VelIndexSet> VolatileSet(const int* members, int count) const;
    che_RefPtr<VelIndexSet> VolatileSet(const omi_BlkBitVect& members) const;
    che_RefPtr<VelIndexSet> VolatileStrided(int start, int stride, int count, int block) const;

    // The decoded set of a CSet of this collection (validated: the index must exist and the ID's
    // ascending flag must agree with the CSet).  With `deferLargeList`, a stored explicit list
    // that is not in the cache and too large to stay there is not decoded: only its count is
    // read, and ReadListMembers reads its members when they are wanted.
    Resolved Resolve(const VelCSetID& id, bool deferLargeList);
    // The `count` members of the stored list of entry `storageIndex`, read straight into `out`
    // and checked there.
    void ReadListMembers(int storageIndex, int count, int* out) const;

    // Writes the pending index sets, the new table entries and "Collection attributes"; with
    // `toDisk` HDF5 also writes its buffers of the file out.
    void Flush(bool toDisk);
    // The last flush before the context lets the collection go; later writes are refused.
    void Close();

private:
    VelCollection(const VelCollectionID& id, mem_CachePool* pool);

    void RequireWritable() const;
    void RequireMembersInCollection(bool inCollection) const;
    void RefuseUnsortedMembers(const int* members, int count) const;
    void ValidateStrided(int start, int stride, int count, int block) const;

    VelCSetID MakeID(int index, bool ascending, int color) const;
    che_Key KeyOf(int storageIndex) const;
    int NewEntry();
    void ReserveEntries(int64_t needed);
    void ReleaseEntries();

    void EnsureFullSet();
    VelCSetID StoreNewSet(VelIndexSet* set, int color);
    void StoreSet(int index, VelIndexSet* set);
    void StoreList(int index, int form, const int* members, int count);
    void Place(int index, int64_t length);
    void WritePending();
    void EnsureExtent(int64_t ints);
    void RewriteStored(int64_t start, const int* ints, int64_t count);
    void ReadStored(int64_t start, int64_t count, int* out) const;

    che_RefPtr<VelIndexSet> IndexSet(int storageIndex);
    int DeferrableListCount(int storageIndex);
    VelIndexSet* ReadIndexSet(const VelIndexEntry& entry) const;

    void CreateIn(const hdf_Group& root, int size);
    void Load(const hdf_Group& group, bool readOnly);
    void OpenTable();
    void ReadEveryEntry();
    void AllocateEntriesForReading();
    bool KnownWithoutTable(int index) const;
    Resolved ResolveKnownSet(int index, int color);
    const VelIndexEntry& Entry(int index);
    const VelIndexEntry& StoredEntry(int index);
    void ReadBlock(int block);
    void CheckEntry(int index, int64_t extent);
    void FlushTable();

    VelCollectionID m_id;
    hdf_Group m_group;
    hdf_Dataset m_indexSets;
    hdf_Dataset m_table;
    hdf_Datatype m_entryType;  // made at the first write-back of a loaded or created table
    mem_CachePool* m_pool;
    int m_size = 0;

    // The index table: m_numCSets entries, m_numWritten of them in the file.  The first 256
    // entries' worth comes from the context's pool; a larger table lives in a block of its own.
    VelIndexEntry* m_entries = nullptr;
    int64_t m_capacity = 0;
    bool m_entriesFromPool = false;
    int m_numCSets = 0;
    int m_numWritten = 0;
    int64_t m_tableRecords = 0;
    int m_tableChunk = VelCollectionLayout::e_TableChunk;
    // Read-only: per block of e_TableChunk entries, whether it is read and whether its entries
    // are checked; empty once every entry is (a writable collection's table).
    enum BlockState : unsigned char { e_BlockUnread, e_BlockRead, e_BlockChecked };
    std::vector<BlockState> m_blocks;
    // Whether the table and "IndexSets" are open and checked.
    bool m_tableOpen = false;

    // "IndexSets": ints handed out so far, ints in the file (the rest are in m_pending), extent.
    int64_t m_usedInts = 0;
    int64_t m_fileInts = 0;
    int64_t m_extentInts = 0;
    int m_indexSetsChunk = VelCollectionLayout::e_IndexSetsChunk;
    std::vector<int> m_pending;

    VelCSetID m_fullSetID;
    bool m_fullSetMade = false;
    bool m_colors[VelCollectionID::e_MaxColor] = {};
    bool m_readOnly = false;
    bool m_closed = false;
    bool m_new = false;
    bool m_dirty = false;
    che_Cache m_cache;
};

#endif
