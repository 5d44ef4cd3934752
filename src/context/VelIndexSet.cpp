#include "context/VelIndexSet.h"

#include <algorithm>
#include <iterator>

#include "vel/core/VelAssert.h"

// Walks the ascending members of any form as maximal runs, without materialising them.
class VelIndexSetRunCursor {
public:
    explicit VelIndexSetRunCursor(const VelIndexSet& set) : m_set(set) {}

    bool Next(VelIndexSet::Run& run) {
        switch (m_set.m_form) {
            case VelIndexSet::FormStrided:
                if (m_next >= m_set.Blocks()) return false;
                if (m_set.m_block == m_set.m_stride) {
                    run = {m_set.m_start, m_set.m_count};
                    m_next = m_set.Blocks();
                } else {
                    run = {static_cast<int>(m_set.m_start + m_next * m_set.m_stride),
                           m_set.m_block};
                    ++m_next;
                }
                return true;
            case VelIndexSet::FormRuns:
                if (m_next >= static_cast<int64_t>(m_set.m_runs.size())) return false;
                run = m_set.m_runs[static_cast<size_t>(m_next++)];
                return true;
            case VelIndexSet::FormList:
            case VelIndexSet::FormPermutation: {
                const std::vector<int>& sorted = m_set.m_sorted;
                const int64_t n = static_cast<int64_t>(sorted.size());
                if (m_next >= n) return false;
                int64_t end = m_next + 1;
                while (end < n && sorted[size_t(end)] == sorted[size_t(end - 1)] + 1) ++end;
                run = {sorted[size_t(m_next)], static_cast<int>(end - m_next)};
                m_next = end;
                return true;
            }
        }
        return false;
    }

private:
    const VelIndexSet& m_set;
    int64_t m_next = 0;
};

namespace {

int64_t RunEnd(const VelIndexSet::Run& r) {
    return int64_t(r.first) + r.length;
}

// No more runs than this can come out of a merge of `a` and `b`.
size_t MergedRunBound(const VelIndexSet& a, const VelIndexSet& b) {
    return a.RunCountBound() + b.RunCountBound();
}

// Appends a run, joining it to the last one when they touch or overlap.
void AppendRun(std::vector<VelIndexSet::Run>& runs, int64_t first, int64_t end) {
    if (!runs.empty() && first <= RunEnd(runs.back())) {
        if (end > RunEnd(runs.back()))
            runs.back().length = static_cast<int>(end - runs.back().first);
        return;
    }
    runs.push_back({static_cast<int>(first), static_cast<int>(end - first)});
}

}  // namespace

VelIndexSet* VelIndexSet::FromStrided(int start, int count, int stride) {
    VelASSERT(start >= 0 && count >= 0 && stride >= 1);
    return FromBlocks(start, stride, count, 1);
}

VelIndexSet* VelIndexSet::FromBlocks(int start, int stride, int blocks, int block) {
    VelASSERT(start >= 0 && stride >= 1 && blocks >= 0 && block >= 1);
    VelASSERT(blocks <= 1 || stride >= block);
    VelASSERT(int64_t(blocks) * block <= INT32_MAX);
    VelIndexSet* set = new VelIndexSet();
    set->m_form = FormStrided;
    set->m_count = blocks * block;
    if (set->m_count == 0) return set;
    set->m_start = start;
    // Blocks that touch make one range, kept as stride 1.
    if (blocks > 1 && stride != block) {
        set->m_stride = stride;
        set->m_block = block;
    }
    return set;
}

VelIndexSet::AscendingScan VelIndexSet::ScanAscending(const int* members, int count) {
    AscendingScan scan;
    scan.runs = count > 0 ? 1 : 0;
    if (count < 2) return scan;
    // 32-bit counters and unsigned differences rather than early exits: the loop stays
    // branch-free and vectorises, which matters for lists of tens of millions of members.  A
    // difference taken modulo 2^32 is exact whenever the members ascend, and the other counts
    // are only read then.
    const uint32_t step = uint32_t(members[1]) - uint32_t(members[0]);
    uint32_t steps = 0, breaks = 0, evenSteps = 0;
    for (int i = 1; i < count; ++i) {
        const uint32_t gap = uint32_t(members[i]) - uint32_t(members[i - 1]);
        steps += members[i] > members[i - 1];
        breaks += gap != 1;
        evenSteps += gap == step;
    }
    const uint32_t last = uint32_t(count - 1);
    scan.strictlyAscending = steps == last;
    scan.runs = int64_t(breaks) + 1;
    scan.evenlySpaced = evenSteps == last;
    return scan;
}

const char* VelIndexSet::CheckStoredList(const int* members, int count, int collectionSize,
                                         AscendingScan& scan) {
    scan = ScanAscending(members, count);
    if (!scan.strictlyAscending) {
        const int* wrong =
            std::adjacent_find(members, members + count, [](int a, int b) { return a >= b; });
        return *wrong == *(wrong + 1) ? "member listed twice" : "listed members not ascending";
    }
    if (count > 0 && (members[0] < 0 || members[count - 1] >= collectionSize))
        return "member outside the collection";
    return nullptr;
}

bool VelIndexSet::KeepsExplicitList(const AscendingScan& scan, int count) {
    return scan.strictlyAscending && !scan.evenlySpaced && scan.runs * 2 > count;
}

VelIndexSet* VelIndexSet::FromAscending(const int* members, int count) {
    return FromAscending(members, count, ScanAscending(members, count));
}

VelIndexSet* VelIndexSet::FromAscending(const int* members, int count, const AscendingScan& scan) {
    VelASSERT(scan.strictlyAscending);
    if (count == 0) return FromStrided(0, 0, 1);
    if (scan.evenlySpaced)
        return FromStrided(members[0], count, count > 1 ? members[1] - members[0] : 1);
    if (KeepsExplicitList(scan, count)) {
        VelIndexSet* set = new VelIndexSet();
        set->m_form = FormList;
        set->m_count = count;
        set->m_sorted.assign(members, members + count);
        return set;
    }
    std::vector<Run> runs;
    runs.reserve(static_cast<size_t>(scan.runs));
    Run run = {members[0], 1};
    for (int i = 1; i < count; ++i) {
        if (int64_t(members[i]) == RunEnd(run)) {
            ++run.length;
        } else {
            runs.push_back(run);
            run = {members[i], 1};
        }
    }
    runs.push_back(run);
    return FromRunsChoosingForm(std::move(runs));
}

VelIndexSet* VelIndexSet::FromRuns(std::vector<Run> runs) {
    for (size_t i = 0; i < runs.size(); ++i)
        VelASSERT(runs[i].length > 0 && (i == 0 || runs[i].first > RunEnd(runs[i - 1])));
    return FromRunsChoosingForm(std::move(runs));
}

VelIndexSet* VelIndexSet::FromRunsChoosingForm(std::vector<Run> runs) {
    int64_t count = 0;
    for (const Run& r : runs) count += r.length;
    VelASSERT(count <= INT32_MAX);
    if (runs.empty()) return FromStrided(0, 0, 1);
    if (runs.size() == 1) return FromStrided(runs[0].first, runs[0].length, 1);
    // Runs of one length, evenly spaced: blocks in constant space.
    const int64_t step = int64_t(runs[1].first) - runs[0].first;
    bool even = true;
    for (size_t i = 1; even && i < runs.size(); ++i)
        even =
            runs[i].length == runs[0].length && int64_t(runs[i].first) - runs[i - 1].first == step;
    if (even)
        return FromBlocks(runs[0].first, static_cast<int>(step), static_cast<int>(runs.size()),
                          runs[0].length);
    VelIndexSet* set = new VelIndexSet();
    set->m_count = static_cast<int>(count);
    if (int64_t(runs.size()) * 2 < count) {
        set->m_form = FormRuns;
        set->m_runs = std::move(runs);
    } else {
        set->m_form = FormList;
        set->m_sorted.reserve(static_cast<size_t>(count));
        for (const Run& r : runs)
            for (int k = 0; k < r.length; ++k) set->m_sorted.push_back(r.first + k);
    }
    return set;
}

VelIndexSet* VelIndexSet::FromPermutation(const int* order, int count) {
    std::vector<int> sorted(order, order + count);
    std::sort(sorted.begin(), sorted.end());
    VelASSERT(std::adjacent_find(sorted.begin(), sorted.end()) == sorted.end());
    return FromPermutation(std::vector<int>(order, order + count), std::move(sorted));
}

VelIndexSet* VelIndexSet::FromPermutation(std::vector<int> order, std::vector<int> sorted) {
    VelASSERT(order.size() == sorted.size() && order.size() <= size_t(INT32_MAX));
    VelIndexSet* set = new VelIndexSet();
    set->m_form = FormPermutation;
    set->m_count = static_cast<int>(order.size());
    set->m_order = std::move(order);
    set->m_sorted = std::move(sorted);
    return set;
}

VelIndexSet* VelIndexSet::FromBitVector(const omi_BlkBitVect& bits) {
    std::vector<Run> runs;
    for (int64_t i = bits.NextSet(0); i >= 0; i = bits.NextSet(i + 1)) AppendRun(runs, i, i + 1);
    return FromRunsChoosingForm(std::move(runs));
}

// Takes over strictly ascending members and picks the form in one pass over them (or none, when
// the caller has scanned them); a list is kept without a copy.
VelIndexSet* VelIndexSet::FromSortedMembers(std::vector<int> members) {
    VelASSERT(members.size() <= size_t(INT32_MAX));
    const AscendingScan scan = ScanAscending(members.data(), static_cast<int>(members.size()));
    return FromSortedMembers(std::move(members), scan);
}

VelIndexSet* VelIndexSet::FromSortedMembers(std::vector<int> members, const AscendingScan& scan) {
    const int n = static_cast<int>(members.size());
    if (!KeepsExplicitList(scan, n)) return FromAscending(members.data(), n, scan);
    VelIndexSet* set = new VelIndexSet();
    set->m_form = FormList;
    set->m_count = n;
    set->m_sorted = std::move(members);
    return set;
}

// Both operands held as explicit sorted members: the standard merges are the fastest road.
bool VelIndexSet::HasExplicitMembers() const {
    return m_form == FormList || m_form == FormPermutation;
}

VelIndexSet* VelIndexSet::Union(const VelIndexSet& a, const VelIndexSet& b) {
    if (a.HasExplicitMembers() && b.HasExplicitMembers()) {
        std::vector<int> out;
        out.reserve(a.m_sorted.size() + b.m_sorted.size());
        std::set_union(a.m_sorted.begin(), a.m_sorted.end(), b.m_sorted.begin(), b.m_sorted.end(),
                       std::back_inserter(out));
        return FromSortedMembers(std::move(out));
    }
    VelIndexSetRunCursor ca(a), cb(b);
    Run ra = {0, 0}, rb = {0, 0};
    bool hasA = ca.Next(ra), hasB = cb.Next(rb);
    std::vector<Run> out;
    out.reserve(MergedRunBound(a, b));
    while (hasA || hasB) {
        if (hasA && (!hasB || ra.first <= rb.first)) {
            AppendRun(out, ra.first, RunEnd(ra));
            hasA = ca.Next(ra);
        } else {
            AppendRun(out, rb.first, RunEnd(rb));
            hasB = cb.Next(rb);
        }
    }
    return FromRunsChoosingForm(std::move(out));
}

VelIndexSet* VelIndexSet::Intersection(const VelIndexSet& a, const VelIndexSet& b) {
    if (a.HasExplicitMembers() && b.HasExplicitMembers()) {
        std::vector<int> out;
        out.reserve(std::min(a.m_sorted.size(), b.m_sorted.size()));
        std::set_intersection(a.m_sorted.begin(), a.m_sorted.end(), b.m_sorted.begin(),
                              b.m_sorted.end(), std::back_inserter(out));
        return FromSortedMembers(std::move(out));
    }
    if (a.m_form == FormRuns && b.m_form == FormRuns) return IntersectRuns(a.m_runs, b.m_runs);
    VelIndexSetRunCursor ca(a), cb(b);
    Run ra = {0, 0}, rb = {0, 0};
    bool hasA = ca.Next(ra), hasB = cb.Next(rb);
    std::vector<Run> out;
    out.reserve(MergedRunBound(a, b));
    while (hasA && hasB) {
        const int64_t first = std::max<int64_t>(ra.first, rb.first);
        const int64_t end = std::min(RunEnd(ra), RunEnd(rb));
        if (first < end) AppendRun(out, first, end);
        if (RunEnd(ra) <= RunEnd(rb))
            hasA = ca.Next(ra);
        else
            hasB = cb.Next(rb);
    }
    return FromRunsChoosingForm(std::move(out));
}

// Pieces of maximal runs never touch, so no joining is needed here.
VelIndexSet* VelIndexSet::IntersectRuns(const std::vector<Run>& a, const std::vector<Run>& b) {
    std::vector<Run> out;
    out.reserve(a.size() + b.size());
    size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        const int64_t endA = RunEnd(a[i]), endB = RunEnd(b[j]);
        const int first = std::max(a[i].first, b[j].first);
        const int64_t end = std::min(endA, endB);
        if (first < end) out.push_back({first, static_cast<int>(end - first)});
        if (endA <= endB)
            ++i;
        else
            ++j;
    }
    return FromRunsChoosingForm(std::move(out));
}

bool VelIndexSet::IsMember(int member) const {
    switch (m_form) {
        case FormStrided: {
            const int64_t offset = int64_t(member) - m_start;
            return offset >= 0 && offset / m_stride < Blocks() && offset % m_stride < m_block;
        }
        case FormRuns: {
            auto after = std::upper_bound(m_runs.begin(), m_runs.end(), member,
                                          [](int m, const Run& r) { return m < r.first; });
            return after != m_runs.begin() && member < RunEnd(*(after - 1));
        }
        case FormList:
        case FormPermutation:
            return std::binary_search(m_sorted.begin(), m_sorted.end(), member);
    }
    return false;
}

bool VelIndexSet::Bounds(int& lowest, int& highest) const {
    if (m_count == 0) return false;
    switch (m_form) {
        case FormStrided:
            lowest = m_start;
            highest = static_cast<int>(m_start + int64_t(Blocks() - 1) * m_stride + m_block - 1);
            return true;
        case FormRuns:
            lowest = m_runs.front().first;
            highest = static_cast<int>(RunEnd(m_runs.back()) - 1);
            return true;
        case FormList:
        case FormPermutation:
            lowest = m_sorted.front();
            highest = m_sorted.back();
            return true;
    }
    return false;
}

void VelIndexSet::Members(int* out) const {
    switch (m_form) {
        case FormStrided:
            for (int k = 0; k < Blocks(); ++k) {
                const int first = static_cast<int>(m_start + int64_t(k) * m_stride);
                for (int j = 0; j < m_block; ++j) *out++ = first + j;
            }
            return;
        case FormRuns:
            for (const Run& r : m_runs)
                for (int k = 0; k < r.length; ++k) *out++ = r.first + k;
            return;
        case FormList:
        case FormPermutation:
            std::copy(m_sorted.begin(), m_sorted.end(), out);
            return;
    }
}

void VelIndexSet::OrderedMembers(int* out) const {
    if (m_form == FormPermutation)
        std::copy(m_order.begin(), m_order.end(), out);
    else
        Members(out);
}

void VelIndexSet::Permutation(int* out) const {
    if (m_form != FormPermutation) {
        for (int i = 0; i < m_count; ++i) out[i] = i;
        return;
    }
    for (int i = 0; i < m_count; ++i) {
        const int member = m_order[size_t(i)];
        out[i] = static_cast<int>(std::lower_bound(m_sorted.begin(), m_sorted.end(), member) -
                                  m_sorted.begin());
    }
}

void VelIndexSet::SelectMembers(const omi_BlkBitVect& bits, bool ownOrder,
                                std::vector<int>& out) const {
    const int64_t limit = bits.Size();
    if (ownOrder && m_form == FormPermutation) {
        for (int member : m_order)
            if (member < limit && bits.Test(member)) out.push_back(member);
        return;
    }
    VelIndexSetRunCursor cursor(*this);
    Run run;
    while (cursor.Next(run)) {
        const int64_t end = std::min(RunEnd(run), limit);
        for (int64_t m = run.first; m < end; ++m)
            if (bits.Test(m)) out.push_back(static_cast<int>(m));
    }
}

void VelIndexSet::AsBitVector(omi_BlkBitVect& bits, int64_t size) const {
    bits.Resize(size);
    VelIndexSetRunCursor cursor(*this);
    Run run;
    while (cursor.Next(run)) {
        VelASSERT(RunEnd(run) <= size);
        bits.SetRange(run.first, run.length);
    }
}

std::vector<VelIndexSet::Run> VelIndexSet::Runs() const {
    std::vector<Run> runs;
    VelIndexSetRunCursor cursor(*this);
    Run run;
    while (cursor.Next(run)) runs.push_back(run);
    return runs;
}

size_t VelIndexSet::RunCountBound() const {
    switch (m_form) {
        case FormStrided:
            return m_block == m_stride ? 1 : static_cast<size_t>(Blocks());
        case FormRuns:
            return m_runs.size();
        case FormList:
        case FormPermutation:
            return static_cast<size_t>(m_count);
    }
    return 0;
}

int64_t VelIndexSet::Weight() const {
    switch (m_form) {
        case FormStrided:
            return 4;
        case FormRuns:
            return 2 * int64_t(m_runs.size());
        case FormList:
            return m_count;
        case FormPermutation:
            return 2 * int64_t(m_count);
    }
    return 0;
}

// ---- stored encoding ---------------------------------------------------------------------------

int VelIndexSet::EncodedLength() const {
    switch (m_form) {
        case FormStrided:
            return m_block == 1 ? 4 : 5;
        case FormRuns:
            return 3 + 2 * static_cast<int>(m_runs.size());
        case FormList:
        case FormPermutation:
            return 2 + m_count;
    }
    return 0;
}

void VelIndexSet::Encode(int* out) const {
    *out++ = m_form;
    *out++ = m_count;
    switch (m_form) {
        case FormStrided:
            out[0] = m_start;
            out[1] = m_stride;
            if (m_block != 1) out[2] = m_block;
            return;
        case FormRuns:
            *out++ = static_cast<int>(m_runs.size());
            for (const Run& r : m_runs) {
                *out++ = r.first;
                *out++ = r.length;
            }
            return;
        case FormList:
            std::copy(m_sorted.begin(), m_sorted.end(), out);
            return;
        case FormPermutation:
            std::copy(m_order.begin(), m_order.end(), out);
            return;
    }
}

namespace {

VelIndexSet* Refuse(const char** error, const char* why) {
    *error = why;
    return nullptr;
}

}  // namespace

VelIndexSet* VelIndexSet::Decode(const int* data, int64_t length, int collectionSize,
                                 const char** error) {
    if (length < 2) return Refuse(error, "index set shorter than its header");
    const int form = data[0];
    const int count = data[1];
    if (count < 0 || count > collectionSize)
        return Refuse(error, "index set count outside the collection");
    switch (form) {
        case FormStrided: {
            if (length != 4 && length != 5)
                return Refuse(error, "strided index set of the wrong length");
            const int start = data[2], stride = data[3];
            const int block = length == 5 ? data[4] : 1;
            if (stride < 1 || start < 0) return Refuse(error, "strided index set with bad step");
            // Blocks are stored only in the shape FromBlocks keeps them.
            if (length == 5 &&
                (block < 2 || stride <= block || count % block != 0 || count / block < 2))
                return Refuse(error, "strided index set with bad blocks");
            const int blocks = count / block;
            if (count > 0 &&
                start + int64_t(blocks - 1) * stride + block - 1 >= int64_t(collectionSize))
                return Refuse(error, "strided index set reaches past the collection");
            return FromBlocks(start, stride, blocks, block);
        }
        case FormRuns: {
            if (length < 3) return Refuse(error, "run index set shorter than its header");
            const int64_t runCount = data[2];
            if (runCount < 0 || length != 3 + 2 * runCount)
                return Refuse(error, "run index set of the wrong length");
            std::vector<Run> runs(static_cast<size_t>(runCount));
            int64_t total = 0;
            for (int64_t i = 0; i < runCount; ++i) {
                Run r = {data[3 + 2 * i], data[4 + 2 * i]};
                if (r.first < 0 || r.length < 1 || RunEnd(r) > collectionSize)
                    return Refuse(error, "run outside the collection");
                if (i > 0 && r.first <= RunEnd(runs[size_t(i - 1)]))
                    return Refuse(error, "runs not strictly ascending");
                runs[size_t(i)] = r;
                total += r.length;
            }
            if (total != count) return Refuse(error, "run lengths disagree with the count");
            VelIndexSet* set = new VelIndexSet();
            set->m_form = FormRuns;
            set->m_count = count;
            set->m_runs = std::move(runs);
            return set;
        }
        case FormList:
        case FormPermutation:
            if (length != 2 + int64_t(count))
                return Refuse(error, "member index set of the wrong length");
            return DecodeMembers(static_cast<Form>(form), std::vector<int>(data + 2, data + length),
                                 collectionSize, error);
        default:
            return Refuse(error, "unknown index set form");
    }
}

VelIndexSet* VelIndexSet::DecodeMembers(Form form, std::vector<int> members, int collectionSize,
                                        const char** error) {
    VelASSERT(form == FormList || form == FormPermutation);
    if (members.size() > size_t(collectionSize))
        return Refuse(error, "index set count outside the collection");
    if (form == FormList) {
        AscendingScan scan;
        const char* wrong =
            CheckStoredList(members.data(), static_cast<int>(members.size()), collectionSize, scan);
        if (wrong) return Refuse(error, wrong);
        return FromSortedMembers(std::move(members), scan);
    }
    for (int m : members)
        if (m < 0 || m >= collectionSize) return Refuse(error, "member outside the collection");
    std::vector<int> sorted = members;
    std::sort(sorted.begin(), sorted.end());
    if (std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end())
        return Refuse(error, "member listed twice");
    return FromPermutation(std::move(members), std::move(sorted));
}
