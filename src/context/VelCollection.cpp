#include "context/VelCollection.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "context/VelContextLayout.h"
#include "context/VelIDAccess.h"
#include "context/VelStorageGuard.h"
#include "hdf/hdf_Journal.h"
#include "vel/core/VelAssert.h"
#include "vel/core/VelIdAsString.h"

namespace {

using Layout = VelCollectionLayout;

// Encodings up to this many ints wait in the pending buffer; longer ones are written at once.
constexpr int64_t kPendingLimit = Layout::e_IndexSetsChunk;
// The pending buffer is written out when it reaches this many ints.
constexpr size_t kPendingFlush = 64 * 1024;

// A stored set that does not decode: the file is damaged.
[[noreturn]] void RefuseStoredSet(const char* reason) {
    const std::string text = std::string("stored index set refused: ") + reason;
    VelAssert::FailAssertion(text.c_str());
}

bool IsSorted(const int* membership, int size) {
    return std::is_sorted(membership, membership + size);
}

}  // namespace

// ---- life cycle --------------------------------------------------------------------------------

VelCollection::VelCollection(const VelCollectionID& id, mem_CachePool* pool)
    : m_id(id),
      m_pool(pool),
      m_fullSetID(MakeID(e_FullSetIndex, true, 0)),
      m_cache("VelTstISCache", e_CacheIdleItems, e_CacheIdleWeight) {
    m_colors[0] = true;
}

VelCollection::~VelCollection() {
    m_cache.Clear();
    ReleaseEntries();
}

VelAutoPtr<VelCollection> VelCollection::Create(const hdf_Group& root, const VelCollectionID& id,
                                                int size, bool readOnly, mem_CachePool* pool) {
    VelVALIDATE(size >= 0);
    VelAutoPtr<VelCollection> collection(new VelCollection(id, pool));
    collection->m_readOnly = readOnly;
    VelGuardStorage([&] { collection->CreateIn(root, size); });
    return collection;
}

void VelCollection::CreateIn(const hdf_Group& root, int size) {
    VelASSERT(!ReadOnly());
    const int minor = m_id.Minor().Value();
    m_group = root.GroupCreate(VelIdAsString(minor).c_str(), 0);
    VelContextLayout::WriteType(m_group, VelObjectKindCollection, minor);
    m_size = size;
    ReserveEntries(Layout::e_TableChunk);
    m_indexSets = Layout::CreateIndexSets(m_group);
    m_extentInts = Layout::e_IndexSetsChunk;
    m_new = true;
    StoreNewSet(VelIndexSet::FromStrided(0, 0, 1), 0);
    // The full set's index is taken now; its set is made by the first flush.
    NewEntry();
}

VelAutoPtr<VelCollection> VelCollection::Open(const hdf_Group& group, const VelCollectionID& id,
                                              bool readOnly, mem_CachePool* pool) {
    VelAutoPtr<VelCollection> collection(new VelCollection(id, pool));
    VelGuardStorage([&] { collection->Load(group, readOnly); });
    return collection;
}

void VelCollection::Load(const hdf_Group& group, bool readOnly) {
    m_group = group;
    m_readOnly = readOnly;
    int attributes[3] = {0, 0, 0};
    Layout::ReadAttributes(m_group, attributes);
    const int size = attributes[0], numCSets = attributes[1], fullSetIndex = attributes[2];
    // Files always hold the empty set at 0 and the full set at 1.
    VelASSERT(size >= 0 && numCSets >= 2 && fullSetIndex == e_FullSetIndex);
    m_size = size;
    m_numCSets = m_numWritten = numCSets;
    m_fullSetMade = true;
    if (m_readOnly) return;
    OpenTable();
    ReadEveryEntry();
}

// The table and "IndexSets", their types and extents checked; no entry is read yet.  A reader
// whose attempt failed tries again from the start at the next use.
void VelCollection::OpenTable() {
    m_table = m_group.DatasetOpen(Layout::e_IndexTable);
    m_entryType = Layout::EntryType();
    VelASSERT(Layout::HoldsEntries(m_table, m_entryType) &&
              "the index table does not hold six-int entries");
    m_tableRecords = Layout::Extent(m_table);
    const int numCSets = m_numCSets;
    VelASSERT(numCSets <= m_tableRecords && "more CSets than index table records");
    // The chunk lengths are what a writer extends the datasets by; a reader never needs them.
    if (!m_readOnly) m_tableChunk = Layout::ChunkLength(m_table);

    m_indexSets = m_group.DatasetOpen(Layout::e_IndexSets);
    VelASSERT(Layout::HoldsInts(m_indexSets) && "\"IndexSets\" does not hold ints");
    m_extentInts = Layout::Extent(m_indexSets);
    if (!m_readOnly) m_indexSetsChunk = Layout::ChunkLength(m_indexSets);
    if (m_readOnly) {
        AllocateEntriesForReading();
        // Every entry is checked to lie inside the extent before its ints are read.
        m_fileInts = m_usedInts = m_extentInts;
    }
    m_tableOpen = true;
}

void VelCollection::ReadEveryEntry() {
    ReserveEntries(m_numCSets);
    Layout::ReadEntries(m_table, m_entryType, 0, m_numCSets, m_entries);
    for (int i = 0; i < m_numCSets; ++i) {
        CheckEntry(i, m_extentInts);
        m_usedInts = std::max(m_usedInts, int64_t(m_entries[i].start) + m_entries[i].length);
    }
    m_fileInts = m_usedInts;
}

// A read-only table never grows: room for its entries, none of them read.
void VelCollection::AllocateEntriesForReading() {
    ReleaseEntries();
    const size_t bytes = static_cast<size_t>(m_numCSets) * sizeof(VelIndexEntry);
    m_entriesFromPool = m_pool && bytes <= m_pool->BlockSize();
    m_entries =
        static_cast<VelIndexEntry*>(m_entriesFromPool ? m_pool->Allocate() : mem_Malloc(bytes));
    m_capacity = m_numCSets;
    const int blocks = (m_numCSets + Layout::e_TableChunk - 1) / Layout::e_TableChunk;
    m_blocks.assign(static_cast<size_t>(blocks), e_BlockUnread);
}

void VelCollection::ReadBlock(int block) {
    const int first = block * Layout::e_TableChunk;
    const int count = std::min(Layout::e_TableChunk, m_numCSets - first);
    Layout::ReadEntries(m_table, m_entryType, first, count, m_entries + first);
    m_blocks[static_cast<size_t>(block)] = e_BlockRead;
}

// An entry as the file holds it, for the checks of the entries that link to it.
const VelIndexEntry& VelCollection::StoredEntry(int index) {
    if (!m_blocks.empty()) {
        const int block = index / Layout::e_TableChunk;
        if (m_blocks[static_cast<size_t>(block)] == e_BlockUnread) ReadBlock(block);
    }
    return m_entries[index];
}

// An entry whose numbers may be used: read and checked, with the rest of its block, on first
// use.  The caller has checked that `index` names a CSet.
const VelIndexEntry& VelCollection::Entry(int index) {
    if (m_readOnly && !m_tableOpen) OpenTable();
    if (m_blocks.empty()) return m_entries[index];
    const int block = index / Layout::e_TableChunk;
    BlockState& state = m_blocks[static_cast<size_t>(block)];
    if (state == e_BlockChecked) return m_entries[index];
    if (state == e_BlockUnread) ReadBlock(block);
    const int first = block * Layout::e_TableChunk;
    const int end = std::min(first + Layout::e_TableChunk, m_numCSets);
    for (int i = first; i < end; ++i) CheckEntry(i, m_extentInts);
    state = e_BlockChecked;
    return m_entries[index];
}

// An entry read from the file, checked before its numbers address anything.
void VelCollection::CheckEntry(int index, int64_t extent) {
    const VelIndexEntry& e = m_entries[index];
    const bool knownDataset =
        e.dataset == Layout::e_IndexSetsDataset && e.nameIndex == Layout::e_NoName;
    VelASSERT(knownDataset && "index table entry of an unknown dataset");
    const bool insideIndexSets =
        e.start >= 0 && e.length >= 2 && int64_t(e.start) + e.length <= extent;
    VelASSERT(insideIndexSets && "index table entry points outside IndexSets");
    const bool linksInside = e.indexSetIndex >= 0 && e.indexSetIndex < m_numCSets &&
                             e.linkedId >= Layout::e_NoLink && e.linkedId < m_numCSets;
    VelASSERT(linksInside && "index table entry links outside the table");
    if (e.linkedId != Layout::e_NoLink) {
        const VelIndexEntry& twin = StoredEntry(e.linkedId);
        const bool twinReadsThis = e.indexSetIndex == index && twin.indexSetIndex == index &&
                                   twin.linkedId == Layout::e_NoLink;
        VelASSERT(twinReadsThis && "permutation CSet without its ascending twin");
    }
    if (e.indexSetIndex != index) {
        const VelIndexEntry& owner = StoredEntry(e.indexSetIndex);
        const bool ownerLinksHere =
            owner.linkedId == index && owner.start == e.start && owner.length == e.length;
        VelASSERT(ownerLinksHere && "ascending twin without its permutation CSet");
    }
}

void VelCollection::Close() {
    if (m_closed) return;
    Flush(false);
    m_closed = true;
    m_cache.Clear();
}

// ---- the index table ---------------------------------------------------------------------------

// A table of up to 256 entries is one block of the context's pool; beyond that the capacity
// doubles in blocks of the collection's own.  New capacity is zero-filled.
void VelCollection::ReserveEntries(int64_t needed) {
    if (needed <= m_capacity) return;
    int64_t capacity = std::max<int64_t>(m_capacity, Layout::e_TableChunk);
    while (capacity < needed) capacity *= 2;
    const size_t bytes = static_cast<size_t>(capacity) * sizeof(VelIndexEntry);
    const bool fromPool = m_pool && bytes <= m_pool->BlockSize();
    void* block = fromPool ? m_pool->Allocate() : mem_Malloc(bytes);
    std::memset(block, 0, bytes);
    if (m_entries && m_numCSets > 0)
        std::memcpy(block, m_entries, static_cast<size_t>(m_numCSets) * sizeof(VelIndexEntry));
    ReleaseEntries();
    m_entries = static_cast<VelIndexEntry*>(block);
    m_capacity = capacity;
    m_entriesFromPool = fromPool;
}

void VelCollection::ReleaseEntries() {
    if (!m_entries) return;
    if (m_entriesFromPool)
        m_pool->Release(m_entries);
    else
        mem_Free(m_entries);
    m_entries = nullptr;
    m_capacity = 0;
}

int VelCollection::NewEntry() {
    // Bit 31 of a CSet's index word is its ascending flag.
    VelASSERT(m_numCSets < INT32_MAX && "the collection can index no more CSets");
    ReserveEntries(int64_t(m_numCSets) + 1);
    const int index = m_numCSets++;
    m_entries[index] = {Layout::e_IndexSetsDataset, 0,     0,
                        Layout::e_NoName,           index, Layout::e_NoLink};
    m_dirty = true;
    return index;
}

VelCSetID VelCollection::MakeID(int index, bool ascending, int color) const {
    const uint32_t word = ascending ? uint32_t(index) | 0x80000000u : uint32_t(index);
    return VelIDAccess::MakeCSetID(m_id.AltColor(color), static_cast<int>(word));
}

che_Key VelCollection::KeyOf(int storageIndex) const {
    return che_Key{static_cast<uint32_t>(m_id.Minor().Value()),
                   static_cast<uint64_t>(storageIndex)};
}

// ---- "IndexSets" -------------------------------------------------------------------------------

// Gives entry `index` the next `length` ints of "IndexSets".
void VelCollection::Place(int index, int64_t length) {
    VelASSERT(m_usedInts + length <= INT32_MAX && "IndexSets can hold no more ints");
    m_entries[index].start = static_cast<int>(m_usedInts);
    m_entries[index].length = static_cast<int>(length);
    m_usedInts += length;
}

// The pending ints are the tail of "IndexSets": [m_fileInts, m_usedInts).
void VelCollection::WritePending() {
    if (m_pending.empty()) return;
    const int64_t count = static_cast<int64_t>(m_pending.size());
    EnsureExtent(m_fileInts + count);
    Layout::WriteInts(m_indexSets, m_fileInts, count, m_pending.data());
    m_fileInts += count;
    m_pending.clear();
}

// The extent stays a whole number of chunks.
void VelCollection::EnsureExtent(int64_t ints) {
    if (ints <= m_extentInts) return;
    const int64_t chunk = m_indexSetsChunk;
    const int64_t extent = (ints + chunk - 1) / chunk * chunk;
    Layout::Extend(m_indexSets, extent);
    m_extentInts = extent;
}

void VelCollection::StoreSet(int index, VelIndexSet* set) {
    const int64_t length = set->EncodedLength();
    if (length <= kPendingLimit) {
        Place(index, length);
        const size_t at = m_pending.size();
        m_pending.resize(at + static_cast<size_t>(length));
        set->Encode(m_pending.data() + at);
        if (m_pending.size() >= kPendingFlush) WritePending();
    } else {
        std::vector<int> ints(static_cast<size_t>(length));
        set->Encode(ints.data());
        WritePending();
        Place(index, length);
        EnsureExtent(m_usedInts);
        Layout::WriteInts(m_indexSets, m_fileInts, length, ints.data());
        m_fileInts = m_usedInts;
    }
    if (!set->IsCached()) m_cache.Insert(KeyOf(index), set);
}

// A list or permutation too large to keep decoded: its header and the caller's members go to
// the file as they are.
void VelCollection::StoreList(int index, int form, const int* members, int count) {
    const int header[2] = {form, count};
    WritePending();
    Place(index, 2 + int64_t(count));
    EnsureExtent(m_usedInts);
    Layout::WriteInts(m_indexSets, m_fileInts, 2, header);
    Layout::WriteInts(m_indexSets, m_fileInts + 2, count, members);
    m_fileInts = m_usedInts;
}

VelCSetID VelCollection::StoreNewSet(VelIndexSet* set, int color) {
    che_RefPtr<VelIndexSet> hold(set);
    const int index = NewEntry();
    StoreSet(index, set);
    return MakeID(index, true, color);
}

void VelCollection::RewriteStored(int64_t start, const int* ints, int64_t count) {
    if (start >= m_fileInts) {
        std::copy(ints, ints + count, m_pending.begin() + (start - m_fileInts));
        return;
    }
    Layout::WriteInts(m_indexSets, start, count, ints);
}

// A stored set lies wholly in the file or wholly in the pending buffer.
void VelCollection::ReadStored(int64_t start, int64_t count, int* out) const {
    if (start >= m_fileInts) {
        const auto from = m_pending.begin() + (start - m_fileInts);
        std::copy(from, from + count, out);
        return;
    }
    VelASSERT(start + count <= m_fileInts);
    Layout::ReadInts(m_indexSets, start, count, out);
}

// ---- checks ------------------------------------------------------------------------------------

void VelCollection::RequireWritable() const {
    VelASSERT(!m_closed && !ReadOnly());
}

void VelCollection::RequireMembersInCollection(bool inCollection) const {
    VelVALIDATE(inCollection && "CSet members must lie in 0 .. size-1 of their collection");
}

// Members that are not strictly ascending: duplicates are reported before disorder.
void VelCollection::RefuseUnsortedMembers(const int* members, int count) const {
    const auto range = std::minmax_element(members, members + count);
    RequireMembersInCollection(*range.first >= 0 && *range.second < m_size);
    std::vector<int> sorted(members, members + count);
    std::sort(sorted.begin(), sorted.end());
    const int numMembers = count;
    const int numUniqueMembers =
        static_cast<int>(std::unique(sorted.begin(), sorted.end()) - sorted.begin());
    VelASSERT(numUniqueMembers == numMembers);
    const int* membership = members;
    const int size = count;
    VelASSERT(IsSorted(membership, size));
}

void VelCollection::ValidateStrided(int start, int stride, int count, int block) const {
    const bool validShape = start >= 0 && stride >= 1 && count >= 0 && block >= 1 &&
                            (count <= 1 || stride >= block) && int64_t(count) * block <= INT32_MAX;
    VelVALIDATE(validShape && "invalid start, stride, count or block for a strided CSet");
    const int64_t last = int64_t(start) + int64_t(count - 1) * stride + block - 1;
    RequireMembersInCollection(count == 0 || last < m_size);
}

// ---- CSets -------------------------------------------------------------------------------------

VelCSetID VelCollection::CreateCSet(const int* members, int count, int color) {
    RequireWritable();
    VelVALIDATE(count >= 0 && (members || count == 0));
    const VelIndexSet::AscendingScan scan = VelIndexSet::ScanAscending(members, count);
    if (!scan.strictlyAscending) RefuseUnsortedMembers(members, count);
    RequireMembersInCollection(count == 0 || (members[0] >= 0 && members[count - 1] < m_size));
    return VelGuardStorage([&] {
        if (VelIndexSet::KeepsExplicitList(scan, count) && count > e_CacheIdleWeight) {
            const int index = NewEntry();
            StoreList(index, VelIndexSet::FormList, members, count);
            return MakeID(index, true, color);
        }
        return StoreNewSet(VelIndexSet::FromAscending(members, count, scan), color);
    });
}

VelCSetID VelCollection::CreateCSet(const omi_BlkBitVect& members, int color) {
    RequireWritable();
    RequireMembersInCollection(members.Size() <= m_size || members.NextSet(m_size) < 0);
    return VelGuardStorage([&] { return StoreNewSet(VelIndexSet::FromBitVector(members), color); });
}

VelCSetID VelCollection::CreateCSetStrided(int start, int stride, int count, int block, int color) {
    RequireWritable();
    ValidateStrided(start, stride, count, block);
    return VelGuardStorage(
        [&] { return StoreNewSet(VelIndexSet::FromBlocks(start, stride, count, block), color); });
}

// An order that is already ascending is no order of its own: it gives an ascending CSet.
// Otherwise the permutation takes an entry for its order and one for its ascending twin.
VelCSetID VelCollection::CreateOrderedCSet(const int* order, int count, int color) {
    RequireWritable();
    VelVALIDATE(count >= 0 && (order || count == 0));
    if (VelIndexSet::ScanAscending(order, count).strictlyAscending)
        return CreateCSet(order, count, color);
    const auto range = std::minmax_element(order, order + count);
    RequireMembersInCollection(*range.first >= 0 && *range.second < m_size);
    std::vector<int> sorted(order, order + count);
    std::sort(sorted.begin(), sorted.end());
    const int numMembers = count;
    const int numUniqueMembers =
        static_cast<int>(std::unique(sorted.begin(), sorted.end()) - sorted.begin());
    VelASSERT(numUniqueMembers == numMembers);
    return VelGuardStorage([&] {
        const int permutation = NewEntry();
        const int twin = NewEntry();
        if (2 * int64_t(count) > e_CacheIdleWeight) {
            StoreList(permutation, VelIndexSet::FormPermutation, order, count);
        } else {
            che_RefPtr<VelIndexSet> set(VelIndexSet::FromPermutation(
                std::vector<int>(order, order + count), std::move(sorted)));
            StoreSet(permutation, set.Get());
        }
        m_entries[permutation].linkedId = twin;
        m_entries[twin].start = m_entries[permutation].start;
        m_entries[twin].length = m_entries[permutation].length;
        m_entries[twin].indexSetIndex = permutation;
        return MakeID(permutation, false, color);
    });
}

VelCSetID VelCollection::Register(VelIndexSet& set, int color) {
    RequireWritable();
    VelASSERT(set.IsAscending());
    return VelGuardStorage([&] {
        const int index = NewEntry();
        StoreSet(index, &set);
        return MakeID(index, true, color);
    });
}

VelCSetID VelCollection::EmptyCSetID(int color) const {
    return MakeID(e_EmptySetIndex, true, color);
}

VelCSetID VelCollection::StoredCSetID(int index, int color) {
    const bool stored = index >= 0 && index < m_numCSets;
    VelVALIDATE(stored && "no CSet is stored at that index");
    if (KnownWithoutTable(index)) return MakeID(index, true, color);
    const bool ascending =
        VelGuardStorage([&] { return Entry(index).linkedId; }) == Layout::e_NoLink;
    return MakeID(index, ascending, color);
}

VelCSetID VelCollection::BiggestCSetID(int color) {
    VelGuardStorage([&] { EnsureFullSet(); });
    return m_fullSetID.AltColor(color);
}

void VelCollection::EnsureFullSet() {
    if (m_fullSetMade) return;
    RequireWritable();
    che_RefPtr<VelIndexSet> full(VelIndexSet::FromStrided(0, m_size, 1));
    StoreSet(e_FullSetIndex, full.Get());
    m_fullSetID = MakeID(e_FullSetIndex, true, 0);
    m_fullSetMade = true;
    m_dirty = true;
}

che_RefPtr<VelIndexSet> VelCollection::VolatileSet(const int* members, int count) const {
    VelVALIDATE(count >= 0 && (members || count == 0));
    const VelIndexSet::AscendingScan scan = VelIndexSet::ScanAscending(members, count);
    if (!scan.strictlyAscending) RefuseUnsortedMembers(members, count);
    RequireMembersInCollection(count == 0 || (members[0] >= 0 && members[count - 1] < m_size));
    return che_RefPtr<VelIndexSet>(VelIndexSet::FromAscending(members, count, scan));
}

che_RefPtr<VelIndexSet> VelCollection::VolatileSet(const omi_BlkBitVect& members) const {
    RequireMembersInCollection(members.Size() <= m_size || members.NextSet(m_size) < 0);
    return che_RefPtr<VelIndexSet>(VelIndexSet::FromBitVector(members));
}

che_RefPtr<VelIndexSet> VelCollection::VolatileStrided(int start, int stride, int count,
                                                       int block) const {
    ValidateStrided(start, stride, count, block);
    return che_RefPtr<VelIndexSet>(VelIndexSet::FromBlocks(start, stride, count, block));
}

// ---- reading sets back -------------------------------------------------------------------------

VelCollection::Resolved VelCollection::Resolve(const VelCSetID& id, bool deferLargeList) {
    const int index = id.Index();
    const bool known = !id.IsNull() && index < m_numCSets;
    VelVALIDATE(known && "the CSet ID names no CSet of its collection");
    return VelGuardStorage([&] {
        if (KnownWithoutTable(index)) return ResolveKnownSet(index, id.Color());
        if (index == e_FullSetIndex) EnsureFullSet();
        const VelIndexEntry& entry = Entry(index);
        const bool isPermutation = entry.linkedId != Layout::e_NoLink;
        const bool flagAgrees = !id.IsAscending() || !isPermutation;
        VelVALIDATE(flagAgrees && "an ascending CSet ID names a permutation CSet");
        Resolved r;
        r.permutationIndex = isPermutation ? index : -1;
        r.ascendingID = MakeID(isPermutation ? entry.linkedId : index, true, id.Color());
        r.storageIndex = entry.indexSetIndex;
        if (deferLargeList) r.deferredCount = DeferrableListCount(r.storageIndex);
        if (r.deferredCount < 0) r.set = IndexSet(r.storageIndex);
        return r;
    });
}

// The empty and the full set of a reader that has not opened the table: every file holds them
// at 0 and 1 as ascending sets, and their members follow from the size.
bool VelCollection::KnownWithoutTable(int index) const {
    return m_readOnly && !m_tableOpen && index <= e_FullSetIndex;
}

VelCollection::Resolved VelCollection::ResolveKnownSet(int index, int color) {
    Resolved r;
    r.ascendingID = MakeID(index, true, color);
    r.storageIndex = index;
    r.set = m_cache.Find<VelIndexSet>(KeyOf(index)).Ref();
    if (!r.set) {
        const int size = index == e_FullSetIndex ? m_size : 0;
        r.set = m_cache.Insert(KeyOf(index), VelIndexSet::FromStrided(0, size, 1)).Ref();
    }
    return r;
}

// A list is deferred when decoding it would only copy its members into a set that the cache
// drops as soon as it is unreferenced: reading them into the caller's array is all a one-off
// read needs.
int VelCollection::DeferrableListCount(int storageIndex) {
    const VelIndexEntry& entry = Entry(storageIndex);
    if (entry.length <= 2 + e_CacheIdleWeight) return -1;
    if (!m_cache.Find<VelIndexSet>(KeyOf(storageIndex)).IsNull()) return -1;
    int header[2] = {0, 0};
    ReadStored(entry.start, 2, header);
    const int form = header[0], count = header[1];
    const bool plainList = form == VelIndexSet::FormList && count >= 0 && count <= m_size &&
                           entry.length == 2 + int64_t(count);
    return plainList ? count : -1;
}

void VelCollection::ReadListMembers(int storageIndex, int count, int* out) const {
    const VelIndexEntry& entry = m_entries[storageIndex];
    VelASSERT(entry.length == 2 + int64_t(count));
    VelGuardStorage([&] { ReadStored(int64_t(entry.start) + 2, count, out); });
    VelIndexSet::AscendingScan scan;
    if (const char* wrong = VelIndexSet::CheckStoredList(out, count, m_size, scan))
        RefuseStoredSet(wrong);
}

che_RefPtr<VelIndexSet> VelCollection::IndexSet(int storageIndex) {
    const che_Handle<VelIndexSet> cached = m_cache.Find<VelIndexSet>(KeyOf(storageIndex));
    if (!cached.IsNull()) return cached.Ref();
    // The full set is every member, whatever its stored ints say: ExtendSpace rewrites them in
    // place, and a file may hold the rewritten range beside the size of its last write-back.
    if (storageIndex == e_FullSetIndex && m_fullSetMade)
        return m_cache.Insert(KeyOf(storageIndex), VelIndexSet::FromStrided(0, m_size, 1)).Ref();
    const VelIndexEntry& entry = Entry(storageIndex);
    VelIndexSet* set = ReadIndexSet(entry);
    const bool permutation = entry.linkedId != Layout::e_NoLink;
    const bool formAgrees = (set->GetForm() == VelIndexSet::FormPermutation) == permutation;
    VelASSERT(formAgrees && "stored index set disagrees with its index table entry");
    return m_cache.Insert(KeyOf(storageIndex), set).Ref();
}

// A list or permutation is read straight into the vector the decoded set keeps; other forms
// are short and are read whole, then decoded.
VelIndexSet* VelCollection::ReadIndexSet(const VelIndexEntry& entry) const {
    int header[2] = {0, 0};
    ReadStored(entry.start, 2, header);
    const int form = header[0], count = header[1];
    const char* error = "";
    VelIndexSet* set = nullptr;
    if ((form == VelIndexSet::FormList || form == VelIndexSet::FormPermutation) && count >= 0 &&
        count <= m_size && entry.length == 2 + int64_t(count)) {
        std::vector<int> members(static_cast<size_t>(count));
        ReadStored(int64_t(entry.start) + 2, count, members.data());
        set = VelIndexSet::DecodeMembers(static_cast<VelIndexSet::Form>(form), std::move(members),
                                         m_size, &error);
    } else {
        std::vector<int> ints(static_cast<size_t>(entry.length));
        ReadStored(entry.start, entry.length, ints.data());
        set = VelIndexSet::Decode(ints.data(), entry.length, m_size, &error);
    }
    if (!set) RefuseStoredSet(error);
    return set;
}

// ---- size, colors, flush -----------------------------------------------------------------------

void VelCollection::ExtendSpace(int count) {
    RequireWritable();
    const bool fits = count >= 0 && int64_t(m_size) + count <= INT32_MAX;
    VelVALIDATE(fits && "ExtendSpace needs a count >= 0 that keeps the size below 2^31");
    m_size += count;
    m_dirty = true;
    if (!m_fullSetMade) return;
    // The full set is a range of constant length: its stored ints are rewritten in place.
    VelGuardStorage([&] {
        const VelIndexEntry& entry = m_entries[m_fullSetID.Index()];
        che_RefPtr<VelIndexSet> full(VelIndexSet::FromStrided(0, m_size, 1));
        VelASSERT(full->EncodedLength() == entry.length);
        int ints[4] = {0, 0, 0, 0};
        full->Encode(ints);
        RewriteStored(entry.start, ints, entry.length);
        m_cache.Insert(KeyOf(m_fullSetID.Index()), full.Get());
    });
}

VelCollectionID VelCollection::CreateColorVariant(int color) {
    VelASSERT(!ReadOnly());
    VelASSERT(color < VelCollectionID::e_MaxColor);
    VelVALIDATE(color >= 0);
    m_colors[color] = true;
    return m_id.AltColor(color);
}

void VelCollection::Flush(bool toDisk) {
    if (m_closed || m_readOnly) return;
    VelGuardStorage([&] {
        // The table, the attributes and the sets they describe reach the file in one commit.
        if (toDisk) hdf_Journal::BeginCommit(m_group.GetID());
        EnsureFullSet();
        VelVALIDATE(!m_fullSetID.IsNull());
        WritePending();
        FlushTable();
        if (toDisk) m_group.Flush();
    });
}

void VelCollection::FlushTable() {
    const int attributes[3] = {m_size, m_numCSets, m_fullSetID.Index()};
    if (m_new) {
        Layout::CreateAttributes(m_group, attributes);
        m_tableRecords = Layout::TableRecordsFor(m_numCSets, m_tableChunk);
        m_table = Layout::CreateIndexTable(m_group, m_tableRecords, m_entries, m_numCSets);
        m_new = false;
    } else if (m_dirty) {
        if (m_tableRecords < m_numCSets) {
            m_tableRecords = Layout::TableRecordsFor(m_numCSets, m_tableChunk);
            Layout::Extend(m_table, m_tableRecords);
        }
        if (m_entryType.IsEmpty()) m_entryType = Layout::EntryType();
        Layout::WriteEntries(m_table, m_entryType, m_numWritten, m_numCSets - m_numWritten,
                             m_entries + m_numWritten);
        Layout::WriteAttributes(m_group, attributes);
    }
    m_numWritten = m_numCSets;
    m_dirty = false;
}
