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
                if (m_next >= m_set.m_count) return false;
                if (m_set.m_stride == 1) {
                    run = {m_set.m_start, m_set.m_count};
                    m_next = m_set.m_count;
                } else {
                    run = {static_cast<int>(m_set.m_start + int64_t(m_next) * m_set.m_stride), 1};
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
    VelIndexSet* set = new VelIndexSet();
    set->m_form = FormStrided;
    set->m_start = count ? start : 0;
    set->m_count = count;
    set->m_stride = count > 1 ? stride : 1;
    return set;
}

VelIndexSet* VelIndexSet::FromAscending(const int* members, int count) {
    if (count == 0) return FromStrided(0, 0, 1);
    if (count >= 2) {
        const int64_t step = int64_t(members[1]) - members[0];
        bool uniform = step >= 1;
        for (int i = 2; uniform && i < count; ++i)
            uniform = int64_t(members[i]) - members[i - 1] == step;
        if (uniform) return FromStrided(members[0], count, static_cast<int>(step));
    }
    std::vector<Run> runs;
    for (int i = 0; i < count; ++i) {
        VelASSERT(i == 0 || members[i] > members[i - 1]);
        AppendRun(runs, members[i], int64_t(members[i]) + 1);
    }
    return FromRunsChoosingForm(std::move(runs));
}

VelIndexSet* VelIndexSet::FromRuns(std::vector<Run> runs) {
    for (size_t i = 0; i < runs.size(); ++i)
        VelASSERT(runs[i].length > 0 && (i == 0 || runs[i].first > RunEnd(runs[i - 1])));
    return FromRunsChoosingForm(std::move(runs));
}

VelIndexSet* VelIndexSet::FromRunsChoosingForm(std::vector<Run> runs) {
    int64_t count = 0;
    bool singletons = true;
    for (const Run& r : runs) {
        count += r.length;
        singletons = singletons && r.length == 1;
    }
    VelASSERT(count <= INT32_MAX);
    if (runs.empty()) return FromStrided(0, 0, 1);
    if (runs.size() == 1) return FromStrided(runs[0].first, runs[0].length, 1);
    if (singletons) {
        const int64_t step = int64_t(runs[1].first) - runs[0].first;
        bool uniform = true;
        for (size_t i = 2; uniform && i < runs.size(); ++i)
            uniform = int64_t(runs[i].first) - runs[i - 1].first == step;
        if (uniform) return FromStrided(runs[0].first, static_cast<int>(count), int(step));
    }
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
    VelIndexSet* set = new VelIndexSet();
    set->m_form = FormPermutation;
    set->m_count = count;
    set->m_order.assign(order, order + count);
    set->m_sorted = set->m_order;
    std::sort(set->m_sorted.begin(), set->m_sorted.end());
    VelASSERT(std::adjacent_find(set->m_sorted.begin(), set->m_sorted.end()) ==
              set->m_sorted.end());
    return set;
}

VelIndexSet* VelIndexSet::FromBitVector(const omi_BlkBitVect& bits) {
    std::vector<Run> runs;
    for (int64_t i = bits.NextSet(0); i >= 0; i = bits.NextSet(i + 1)) AppendRun(runs, i, i + 1);
    return FromRunsChoosingForm(std::move(runs));
}

// Takes over strictly ascending members and picks the form in one pass over them.
VelIndexSet* VelIndexSet::FromSortedMembers(std::vector<int> members) {
    const size_t n = members.size();
    if (n < 2) return FromAscending(members.data(), static_cast<int>(n));
    VelASSERT(n <= size_t(INT32_MAX));
    const int64_t step = int64_t(members[1]) - members[0];
    bool uniform = true;
    size_t runs = 1;
    for (size_t i = 1; i < n; ++i) {
        const int64_t gap = int64_t(members[i]) - members[i - 1];
        uniform = uniform && gap == step;
        runs += gap != 1;
    }
    if (uniform) return FromStrided(members[0], static_cast<int>(n), static_cast<int>(step));
    if (runs * 2 < n) return FromAscending(members.data(), static_cast<int>(n));
    VelIndexSet* set = new VelIndexSet();
    set->m_form = FormList;
    set->m_count = static_cast<int>(n);
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
            return offset >= 0 && offset % m_stride == 0 && offset / m_stride < m_count;
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
            highest = static_cast<int>(m_start + int64_t(m_count - 1) * m_stride);
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
            for (int i = 0; i < m_count; ++i)
                out[i] = static_cast<int>(m_start + int64_t(i) * m_stride);
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
            return m_stride == 1 ? 1 : static_cast<size_t>(m_count);
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
            return 3;
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
            return 4;
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
            if (length != 4) return Refuse(error, "strided index set of the wrong length");
            const int start = data[2], stride = data[3];
            if (stride < 1 || start < 0) return Refuse(error, "strided index set with bad step");
            if (count > 0 && start + int64_t(count - 1) * stride >= collectionSize)
                return Refuse(error, "strided index set reaches past the collection");
            return FromStrided(start, count, stride);
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
        case FormPermutation: {
            if (length != 2 + int64_t(count))
                return Refuse(error, "member index set of the wrong length");
            std::vector<int> members(data + 2, data + 2 + count);
            for (int m : members)
                if (m < 0 || m >= collectionSize)
                    return Refuse(error, "member outside the collection");
            VelIndexSet* set = new VelIndexSet();
            set->m_form = static_cast<Form>(form);
            set->m_count = count;
            if (form == FormPermutation) {
                set->m_order = members;
                std::sort(members.begin(), members.end());
            } else if (!std::is_sorted(members.begin(), members.end())) {
                delete set;
                return Refuse(error, "listed members not ascending");
            }
            if (std::adjacent_find(members.begin(), members.end()) != members.end()) {
                delete set;
                return Refuse(error, "member listed twice");
            }
            set->m_sorted = std::move(members);
            return set;
        }
        default:
            return Refuse(error, "unknown index set form");
    }
}
