// The run arithmetic that maps views onto drawers, in the cases the transfers seldom reach: a
// subtraction whose last run ends inside a run it is taken from, and a drawer with a gap that
// the view does not have.
#include "transfer/VelDrawerRuns.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

TEST(VelDrawerRunsTest, SubtractionStopsAtTheLastRun) {
    // The storage past the end of `taken` still holds runs: a read beyond its last run would
    // take members 6 and 7 too.
    VelMemberRuns taken = {{2, 3}, {6, 2}, {100, 1}};
    taken.resize(1);
    EXPECT_EQ(VelListMembers(VelSubtractRuns({{0, 10}}, taken)),
              (std::vector<int>{0, 1, 5, 6, 7, 8, 9}));
    EXPECT_EQ(VelListMembers(VelSubtractRuns({{0, 4}, {8, 4}}, {{2, 8}})),
              (std::vector<int>{0, 1, 10, 11}));
    EXPECT_TRUE(VelSubtractRuns({{3, 2}}, {{0, 10}}).empty());
}

TEST(VelDrawerRunsTest, ADrawerGapSplitsTheViewIntoSteppedBlocks) {
    // Members 0-9 in the view; the drawer holds 0-2 and 5-7, at its positions 0-2 and 3-5.
    const VelDimMapping gapped = VelMapDimension({{0, 10}}, {{0, 3}, {5, 3}});
    EXPECT_EQ(gapped.positions, 6);
    ASSERT_EQ(gapped.pieces.size(), 1u);
    const VelPositionPiece& p = gapped.pieces[0];
    EXPECT_EQ(std::make_tuple(p.view, p.viewStride, p.drawer, p.drawerStride, p.count, p.block),
              std::make_tuple(0, 5, 0, 3, 2, 3));
}

}  // namespace
