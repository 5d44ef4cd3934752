#ifndef VEL_TRANSFER_VELDRAWERRUNS_H
#define VEL_TRANSFER_VELDRAWERRUNS_H

#include <cstdint>
#include <vector>

// The arithmetic that maps a view onto drawers.  A view selects, in each dimension, a set of
// members of one collection; a drawer holds, in each dimension, the members of one ascending
// CSet.  Both are kept as runs of consecutive members, so a collection's full set or an ordinal
// range costs one run whatever its size.  A value's position along a dimension is the rank of
// its member in the set: in the view it indexes the caller's buffer, in the drawer the dataset.

// Members first .. first + length - 1.
struct VelMemberRun {
    int first;
    int length;
};
// Ascending runs that neither touch nor overlap.
using VelMemberRuns = std::vector<VelMemberRun>;
// One member set per dimension: the block of a grid they span.
using VelMemberBox = std::vector<VelMemberRuns>;

int64_t VelCountMembers(const VelMemberRuns& runs);
// The first and last member of the runs appended to `place`; 0 and -1 when there is none.
void VelAppendRunBounds(const VelMemberRuns& runs, std::vector<int>& place);
int64_t VelCountMembers(const VelMemberBox& box);
VelMemberRuns VelIntersectRuns(const VelMemberRuns& a, const VelMemberRuns& b);
// The members of `a` that are not in `b`.
VelMemberRuns VelSubtractRuns(const VelMemberRuns& a, const VelMemberRuns& b);
bool VelSameRuns(const VelMemberRuns& a, const VelMemberRuns& b);
// Every member of the runs, ascending.
std::vector<int> VelListMembers(const VelMemberRuns& runs);

// The part of `from` that `take` does not cover, as boxes that do not overlap.  Dimension by
// dimension: the members of `from` outside `take` in dimension d, crossed with the shared
// members in the dimensions before d and all of `from` in the dimensions after.
std::vector<VelMemberBox> VelSubtractBox(const VelMemberBox& from, const VelMemberBox& take);
// `from` less every box of `takes`.
std::vector<VelMemberBox> VelSubtractBoxes(const VelMemberBox& from,
                                           const std::vector<VelMemberBox>& takes);

// `count` blocks of `block` positions; block k starts at view position view + k * viewStride
// and at drawer position drawer + k * drawerStride.  This is the shape of one HDF5 hyperslab
// along one dimension, on each side.
struct VelPositionPiece {
    int view;
    int viewStride;
    int drawer;
    int drawerStride;
    int count;
    int block;
};

// One dimension of a view mapped onto one drawer: the members both hold, as pieces.  Regularly
// spaced blocks (every third node, one block per element of a regular mesh) fold into one piece,
// so that they cost one hyperslab rather than one per block.
struct VelDimMapping {
    std::vector<VelPositionPiece> pieces;
    int64_t positions = 0;
};

// The members of `view` that `drawer` holds, with their positions in each.
VelDimMapping VelMapDimension(const VelMemberRuns& view, const VelMemberRuns& drawer);

#endif
