#ifndef VEL_CONTEXT_VELINDEXSET_H
#define VEL_CONTEXT_VELINDEXSET_H

#include <cstdint>
#include <vector>

#include "vel/cache/che_RefPtr.h"
#include "vel/platform/omi_BlkBitVect.h"

// The decoded, immutable member set of one CSet, as the collection layer keeps it in its cache.
//
// An ascending set is held in the smallest of three forms:
//   strided      blocks of `block` consecutive members, `stride` apart, from `start`: constant
//                space whatever the count.  Block 1 is the plain stride (every third member);
//                a single block is a range (the full set of a collection is the range 0..size-1).
//                Chosen for evenly spaced members, one run, or runs of one length evenly spaced;
//   runs         maximal runs of consecutive members, when there are fewer than half as many runs
//                as members;
//   list         the sorted members otherwise.
// A permutation set keeps its member order and, beside it, its members sorted.
//
// The same forms are the stored encoding in a collection's "IndexSets" dataset, a sequence of
// native ints (count is always the number of members):
//   strided      [1, count, start, stride], or [1, count, start, stride, block] for block > 1
//   runs         [2, count, number of runs, first member of run 1, length of run 1, ...]
//   list         [3, count, member 1, member 2, ...]
//   permutation  [4, count, member in order 1, member in order 2, ...]
// Decode accepts only what Encode can produce: every member inside the collection, lists and runs
// strictly ascending, no member twice.
class VelIndexSet : public che_Item {
public:
    enum Form { FormStrided = 1, FormRuns = 2, FormList = 3, FormPermutation = 4 };

    struct Run {
        int first;
        int length;
    };

    // What one pass over members that should be strictly ascending found.
    struct AscendingScan {
        bool strictlyAscending = true;
        // Maximal runs of consecutive members (meaningful when strictly ascending).
        int64_t runs = 0;
        // Every member the same distance after the one before it.
        bool evenlySpaced = true;
    };
    static AscendingScan ScanAscending(const int* members, int count);
    // True when FromAscending keeps members of this scan as an explicit list: then the list is
    // stored exactly as given, and a caller can write it from its own buffer.
    static bool KeepsExplicitList(const AscendingScan& scan, int count);

    // Checks the members of a stored list (strictly ascending, inside a collection of
    // `collectionSize`), scanning them once: null when they are sound, else the reason Decode
    // would give.
    static const char* CheckStoredList(const int* members, int count, int collectionSize,
                                       AscendingScan& scan);

    // `members` must be strictly ascending.
    static VelIndexSet* FromAscending(const int* members, int count);
    // The same when the caller has scanned them already.
    static VelIndexSet* FromAscending(const int* members, int count, const AscendingScan& scan);
    // Members start, start + stride, ... (count of them); stride must be at least 1.
    static VelIndexSet* FromStrided(int start, int count, int stride);
    // `blocks` blocks of `block` consecutive members, the first at `start`, each `stride` after
    // the one before; blocks must not overlap (stride >= block unless there is one block).
    static VelIndexSet* FromBlocks(int start, int stride, int blocks, int block);
    // Ascending, non-empty, non-touching runs.
    static VelIndexSet* FromRuns(std::vector<Run> runs);
    // `order` must hold distinct members; they keep their order.
    static VelIndexSet* FromPermutation(const int* order, int count);
    // The same when the caller already has the members sorted: `sorted` is `order` sorted.
    static VelIndexSet* FromPermutation(std::vector<int> order, std::vector<int> sorted);
    static VelIndexSet* FromBitVector(const omi_BlkBitVect& bits);

    // Both results are ascending, whatever the order of the operands; time is linear in the runs
    // and members of the two operands.
    static VelIndexSet* Union(const VelIndexSet& a, const VelIndexSet& b);
    static VelIndexSet* Intersection(const VelIndexSet& a, const VelIndexSet& b);

    // Null with a reason in `*error` when the ints do not encode a set of a collection of
    // `collectionSize` members.
    static VelIndexSet* Decode(const int* data, int64_t length, int collectionSize,
                               const char** error);
    // The same for a list or permutation whose members (the ints after the two-int header) the
    // caller has read into `members`; they are taken over, not copied.
    static VelIndexSet* DecodeMembers(Form form, std::vector<int> members, int collectionSize,
                                      const char** error);
    int EncodedLength() const;
    void Encode(int* out) const;

    Form GetForm() const { return m_form; }
    int Size() const { return m_count; }
    bool IsAscending() const { return m_form != FormPermutation; }
    bool IsMember(int member) const;
    // Smallest and largest member; false for the empty set.
    bool Bounds(int& lowest, int& highest) const;
    // The members in ascending order, Size() of them.
    void Members(int* out) const;
    // The members in the set's own order (ascending unless a permutation).
    void OrderedMembers(int* out) const;
    // For each position of the set's own order, the position of that member in ascending order:
    // OrderedMembers()[i] == Members()[out[i]].  The identity for an ascending set.
    void Permutation(int* out) const;
    // Appends the members set in `bits`, in the set's own order (`ownOrder`) or ascending;
    // members at or past bits.Size() count as not set.
    void SelectMembers(const omi_BlkBitVect& bits, bool ownOrder, std::vector<int>& out) const;
    // Bits of the members set in a vector of `size` bits.
    void AsBitVector(omi_BlkBitVect& bits, int64_t size) const;
    // The ascending members as maximal runs.
    std::vector<Run> Runs() const;
    // No fewer than the number of maximal runs of the members.
    size_t RunCountBound() const;

    // The ints the decoded set holds (its cost to the cache while idle).
    int64_t Weight() const override;

private:
    friend class VelIndexSetRunCursor;
    VelIndexSet() = default;
    static VelIndexSet* FromRunsChoosingForm(std::vector<Run> runs);
    static VelIndexSet* FromSortedMembers(std::vector<int> members);
    static VelIndexSet* FromSortedMembers(std::vector<int> members, const AscendingScan& scan);
    bool HasExplicitMembers() const;
    static VelIndexSet* IntersectRuns(const std::vector<Run>& a, const std::vector<Run>& b);
    int Blocks() const { return m_count / m_block; }

    Form m_form = FormStrided;
    int m_count = 0;
    // FormStrided: m_count is a whole number of blocks.  A block of more than one member only
    // with two blocks or more that neither touch nor overlap (m_stride > m_block); a single
    // block is kept as stride 1, block 1.
    int m_start = 0;
    int m_stride = 1;
    int m_block = 1;
    // FormRuns: run starts ascending.
    std::vector<Run> m_runs;
    // FormList: the members; FormPermutation: the members sorted.
    std::vector<int> m_sorted;
    // FormPermutation: the members in order.
    std::vector<int> m_order;
};

#endif
