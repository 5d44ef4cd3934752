#include "transfer/VelDrawerRuns.h"

#include <algorithm>

namespace {

int64_t End(const VelMemberRun& run) {
    return int64_t(run.first) + run.length;
}

// Appends members first .. end - 1 to ascending runs, joining a run they touch.
void Append(VelMemberRuns& runs, int64_t first, int64_t end) {
    if (first >= end) return;
    if (!runs.empty() && first <= End(runs.back())) {
        runs.back().length = static_cast<int>(std::max(end, End(runs.back())) - runs.back().first);
        return;
    }
    runs.push_back({static_cast<int>(first), static_cast<int>(end - first)});
}

// A block of positions consecutive in both the view and the drawer.
struct Block {
    int view;
    int drawer;
    int length;
};

// Folds blocks into pieces: a piece grows while its blocks keep one length and one spacing on
// both sides.
std::vector<VelPositionPiece> Fold(const std::vector<Block>& blocks) {
    std::vector<VelPositionPiece> pieces;
    for (const Block& b : blocks) {
        if (!pieces.empty()) {
            VelPositionPiece& p = pieces.back();
            if (p.block == b.length) {
                if (p.count == 1) {
                    p.viewStride = b.view - p.view;
                    p.drawerStride = b.drawer - p.drawer;
                    p.count = 2;
                    continue;
                }
                const int64_t next = p.count;
                if (int64_t(p.view) + next * p.viewStride == b.view &&
                    int64_t(p.drawer) + next * p.drawerStride == b.drawer) {
                    ++p.count;
                    continue;
                }
            }
        }
        pieces.push_back({b.view, b.length, b.drawer, b.length, 1, b.length});
    }
    return pieces;
}

}  // namespace

int64_t VelCountMembers(const VelMemberRuns& runs) {
    int64_t n = 0;
    for (const VelMemberRun& run : runs) n += run.length;
    return n;
}

int64_t VelCountMembers(const VelMemberBox& box) {
    if (box.empty()) return 0;
    int64_t n = 1;
    for (const VelMemberRuns& runs : box) n *= VelCountMembers(runs);
    return n;
}

VelMemberRuns VelIntersectRuns(const VelMemberRuns& a, const VelMemberRuns& b) {
    VelMemberRuns out;
    size_t i = 0;
    size_t j = 0;
    while (i < a.size() && j < b.size()) {
        const int64_t lo = std::max(a[i].first, b[j].first);
        const int64_t hi = std::min(End(a[i]), End(b[j]));
        Append(out, lo, hi);
        if (End(a[i]) < End(b[j])) {
            ++i;
        } else {
            ++j;
        }
    }
    return out;
}

VelMemberRuns VelSubtractRuns(const VelMemberRuns& a, const VelMemberRuns& b) {
    VelMemberRuns out;
    size_t j = 0;
    for (const VelMemberRun& run : a) {
        int64_t first = run.first;
        const int64_t end = End(run);
        while (j < b.size() && End(b[j]) <= first) ++j;
        for (size_t k = j; k < b.size() && b[k].first < end; ++k) {
            Append(out, first, b[k].first);
            first = std::max(first, End(b[k]));
        }
        Append(out, first, end);
    }
    return out;
}

bool VelSameRuns(const VelMemberRuns& a, const VelMemberRuns& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (a[i].first != b[i].first || a[i].length != b[i].length) return false;
    return true;
}

std::vector<int> VelListMembers(const VelMemberRuns& runs) {
    std::vector<int> members;
    members.reserve(static_cast<size_t>(VelCountMembers(runs)));
    for (const VelMemberRun& run : runs)
        for (int k = 0; k < run.length; ++k) members.push_back(run.first + k);
    return members;
}

std::vector<VelMemberBox> VelSubtractBox(const VelMemberBox& from, const VelMemberBox& take) {
    VelMemberBox shared(from.size());
    for (size_t d = 0; d < from.size(); ++d) {
        shared[d] = VelIntersectRuns(from[d], take[d]);
        if (shared[d].empty()) return {from};
    }
    std::vector<VelMemberBox> out;
    for (size_t d = 0; d < from.size(); ++d) {
        VelMemberRuns outside = VelSubtractRuns(from[d], take[d]);
        if (outside.empty()) continue;
        VelMemberBox box(from.size());
        for (size_t e = 0; e < d; ++e) box[e] = shared[e];
        box[d] = std::move(outside);
        for (size_t e = d + 1; e < from.size(); ++e) box[e] = from[e];
        out.push_back(std::move(box));
    }
    return out;
}

std::vector<VelMemberBox> VelSubtractBoxes(const VelMemberBox& from,
                                           const std::vector<VelMemberBox>& takes) {
    std::vector<VelMemberBox> left;
    if (VelCountMembers(from) > 0) left.push_back(from);
    for (const VelMemberBox& take : takes) {
        std::vector<VelMemberBox> next;
        for (const VelMemberBox& box : left)
            for (VelMemberBox& rest : VelSubtractBox(box, take)) next.push_back(std::move(rest));
        left = std::move(next);
        if (left.empty()) break;
    }
    return left;
}

VelDimMapping VelMapDimension(const VelMemberRuns& view, const VelMemberRuns& drawer) {
    std::vector<Block> blocks;
    size_t i = 0;
    size_t j = 0;
    // The positions of the first member of view[i] and of drawer[j].
    int64_t viewAt = 0;
    int64_t drawerAt = 0;
    while (i < view.size() && j < drawer.size()) {
        const int64_t lo = std::max(view[i].first, drawer[j].first);
        const int64_t hi = std::min(End(view[i]), End(drawer[j]));
        if (lo < hi) {
            const int v = static_cast<int>(viewAt + (lo - view[i].first));
            const int d = static_cast<int>(drawerAt + (lo - drawer[j].first));
            const int length = static_cast<int>(hi - lo);
            Block* last = blocks.empty() ? nullptr : &blocks.back();
            if (last && int64_t(last->view) + last->length == v &&
                int64_t(last->drawer) + last->length == d) {
                last->length += length;
            } else {
                blocks.push_back({v, d, length});
            }
        }
        if (End(view[i]) < End(drawer[j])) {
            viewAt += view[i].length;
            ++i;
        } else {
            drawerAt += drawer[j].length;
            ++j;
        }
    }
    VelDimMapping mapping;
    for (const Block& b : blocks) mapping.positions += b.length;
    mapping.pieces = Fold(blocks);
    return mapping;
}

void VelAppendRunBounds(const VelMemberRuns& runs, std::vector<int>& place) {
    place.push_back(runs.empty() ? 0 : runs.front().first);
    place.push_back(runs.empty() ? -1 : runs.back().first + runs.back().length - 1);
}
