#include "vel/transfer/VelNormalizeArgs.h"

#include "VelTestIDs.h"
#include "VelTestSupport.h"

namespace {

const VelCollectionID kA = TestCollection(1, 1);
const VelCollectionID kB = TestCollection(1, 2);
const VelCollectionID kC = TestCollection(1, 3);

VelGrid Grid(std::initializer_list<VelCollectionID> collections) {
    return VelGrid(TestArray(collections));
}

// A view of one ascending CSet per collection, in the order given.
VelRangeViewArgs View(std::initializer_list<VelCollectionID> collections) {
    VelRangeViewArgs view;
    view.SetSize(static_cast<int>(collections.size()));
    int d = 0;
    for (const VelCollectionID& c : collections) view.SetDim(d++, TestCSet(c, 0));
    return view;
}

// The checks on copies, so that a case can be written in one expression.
VelArgsErrorKey Mode(VelTransferArgs args) {
    return VelNormalizeArgs(args);
}
VelArgsErrorKey ViewCheck(VelRangeViewArgs view, const VelGrid& grid) {
    return VelNormalizeArgs(view, grid);
}
VelArgsErrorKey Complete(VelRangeViewArgs view, VelTransferArgs args, const VelGrid& grid) {
    return VelNormalizeArgs(view, args, grid);
}

TEST(VelNormalizeArgsTest, WriteAloneGetsTheDefaults) {
    EXPECT_EQ(Mode(VelTransferArgs()), VelArgsNoReadOrWrite);

    VelTransferArgs args;
    args.SetWrite();
    ASSERT_EQ(VelNormalizeArgs(args), VelArgsNoError);
    EXPECT_TRUE(args.WriteNewDomainError().IsFalse());
    EXPECT_TRUE(args.WriteNewDomainMake().IsTrue());
    EXPECT_TRUE(args.WriteNewDomainIgnore().IsFalse());
    EXPECT_TRUE(args.OldDomainOverwrite().IsTrue());
    EXPECT_TRUE(args.MakeNewDrawer().IsFalse());
    EXPECT_TRUE(args.LookInOnlyOneDrawer().IsFalse());
    EXPECT_FALSE(args.RequireReadCoverage().IsDefined());
}

TEST(VelNormalizeArgsTest, ReadClearsWritePoliciesAndRequiresCoverage) {
    VelTransferArgs args;
    args.SetRead().SetWriteNewDomainIgnore();
    ASSERT_EQ(VelNormalizeArgs(args), VelArgsNoError);
    EXPECT_FALSE(args.WriteNewDomainIgnore().IsDefined());
    EXPECT_FALSE(args.WriteNewDomainMake().IsDefined());
    EXPECT_TRUE(args.RequireReadCoverage().IsTrue());
    EXPECT_TRUE(args.LookInOnlyOneDrawer().IsFalse());

    // A write that also reads: each side gets its own defaults.
    VelTransferArgs both;
    both.SetRead().SetWrite().SetWriteNewDomainError().SetLookInOnlyOneDrawer();
    ASSERT_EQ(VelNormalizeArgs(both), VelArgsNoError);
    EXPECT_TRUE(both.WriteNewDomainMake().IsFalse()) << "a chosen policy replaces the default";
    EXPECT_TRUE(both.RequireReadCoverage().IsTrue());
    EXPECT_TRUE(both.LookInOnlyOneDrawer().IsTrue());
}

TEST(VelNormalizeArgsTest, NewDrawerForgetsTheOldDomainAndTheDrawerToSearch) {
    const VelDrawerID drawer = VelIDAccess::MakeDrawerID(
        VelIDAccess::MakeDistributionID(VelIDAccess::MakeContextID(1, false), 0), 3);
    VelTransferArgs args;
    args.SetDrawer(drawer).SetOldDomainOverwrite(true).SetMakeNewDrawer();
    ASSERT_EQ(VelNormalizeArgs(args), VelArgsNoError);
    EXPECT_TRUE(args.IndicatedDrawer().IsNull());
    EXPECT_FALSE(args.LookInOnlyOneDrawer().IsDefined());
    EXPECT_FALSE(args.OldDomainOverwrite().IsDefined());
    EXPECT_TRUE(args.WriteNewDomainMake().IsTrue());
}

TEST(VelNormalizeArgsTest, ModeKeysInRuleOrder) {
    EXPECT_EQ(Mode(VelTransferArgs().SetMakeNewDrawer().SetRead()), VelArgsNewDrawerWithRead);
    EXPECT_EQ(Mode(VelTransferArgs().SetWrite().SetSparseNNonzero(5)),
              VelArgsSparseNNZeroWithoutNewDrawer);
    EXPECT_EQ(Mode(VelTransferArgs().SetMakeNewDrawer().SetSparseNNonzero(5)), VelArgsNoError);
    EXPECT_EQ(
        Mode(VelTransferArgs().SetWrite().SetWriteNewDomainError().SetOldDomainOverwrite(false)),
        VelArgsWriteWithNothingAllowed);
    EXPECT_EQ(
        Mode(VelTransferArgs().SetWrite().SetWriteNewDomainIgnore().SetOldDomainOverwrite(false)),
        VelArgsWriteWithNothingAllowed);
    // Two policies are refused before the write's own defaults are looked at.
    EXPECT_EQ(Mode(VelTransferArgs()
                       .SetWrite()
                       .SetWriteNewDomainError()
                       .SetWriteNewDomainIgnore()
                       .SetOldDomainOverwrite(false)),
              VelArgsConflictingNewDomainPolicy);
    EXPECT_EQ(Mode(VelTransferArgs().SetMakeNewDrawerChunked(TestArray({4, 0}))),
              VelArgsBadChunkSize);
    EXPECT_EQ(Mode(VelTransferArgs().SetMakeNewDrawerChunked(VelArray<int>())), VelArgsNoError);

    // A failure leaves what was filled in before it.
    VelTransferArgs partial;
    partial.SetWrite().SetWriteNewDomainIgnore().SetOldDomainOverwrite(false);
    ASSERT_EQ(VelNormalizeArgs(partial), VelArgsWriteWithNothingAllowed);
    EXPECT_TRUE(partial.WriteNewDomainError().IsFalse());
    EXPECT_FALSE(partial.MakeNewDrawer().IsDefined());
}

TEST(VelNormalizeArgsTest, ViewKeys) {
    const VelGrid grid = Grid({kB, kA});
    // The view's dimension order need not be the grid's.
    EXPECT_EQ(ViewCheck(View({kB, kA}), grid), VelArgsNoError);
    EXPECT_EQ(ViewCheck(View({kA}), grid), VelArgsOCompartmentSizeMismatch);
    EXPECT_EQ(ViewCheck(View({}), Grid({})), VelArgsNoError);
    EXPECT_EQ(ViewCheck(View({kA, kC}), grid), VelArgsDimensionsNotSet);
    EXPECT_EQ(ViewCheck(View({kA, kA.AltColor(1)}), grid), VelArgsDimensionsNotSet)
        << "a color variant is another collection";
    EXPECT_EQ(ViewCheck(VelRangeViewArgs().SetSize(2).SetDim(1, TestCSet(kA, 0)), grid),
              VelArgsDimensionsNotSet)
        << "an unset dimension";
    EXPECT_EQ(ViewCheck(View({kA, kA}), grid), VelArgsRepeatedCollection);

    VelRangeViewArgs range = View({kA, kB});
    EXPECT_EQ(ViewCheck(range.SetDimOrdinalRange(1, kB, 0, 0), grid), VelArgsNoError);
    EXPECT_EQ(ViewCheck(range.SetDimOrdinalRange(1, kB, 3, 2), grid), VelArgsBadOrdinalRange);
    EXPECT_EQ(ViewCheck(range.SetDimOrdinalRange(1, kB, -1, 4), grid), VelArgsBadOrdinalRange);
    // The range is checked where it stands, before a later dimension repeats a collection.
    EXPECT_EQ(ViewCheck(range.SetDimOrdinalRange(0, kB, 3, 2), grid), VelArgsBadOrdinalRange);
}

TEST(VelNormalizeArgsTest, CompleteCheckKeysInRuleOrder) {
    const VelGrid grid = Grid({kA, kB, kC});
    const VelRangeViewArgs standard = View({kA, kB, kC});
    VelSerializationType sparseType;
    sparseType.SetSparse();
    VelRangeViewArgs sparse = standard;
    sparse.SetSerialization(sparseType);

    // The view is checked first, then the mode.
    EXPECT_EQ(Complete(View({kA}), VelTransferArgs(), grid), VelArgsOCompartmentSizeMismatch);
    EXPECT_EQ(Complete(standard, VelTransferArgs(), grid), VelArgsNoReadOrWrite);

    const VelTransferArgs nonzeros = VelTransferArgs().SetMakeNewDrawer().SetSparseNNonzero(5);
    EXPECT_EQ(Complete(standard, nonzeros, grid), VelArgsSparseNNonzeroNotSparse);
    EXPECT_EQ(Complete(sparse, nonzeros, grid), VelArgsNoError);

    const VelTransferArgs chunked = VelTransferArgs().SetMakeNewDrawerChunked(TestArray({4, 4}));
    EXPECT_EQ(Complete(standard, chunked, grid), VelArgsChunkSizesMismatch);
    EXPECT_EQ(Complete(sparse, chunked, grid), VelArgsChunkSizesWithSparse);
    EXPECT_EQ(
        Complete(standard, VelTransferArgs().SetMakeNewDrawerChunked(TestArray({4, 4, 1})), grid),
        VelArgsNoError);

    VelRangeViewArgs range = standard;
    range.SetDimOrdinalRange(2, kC, 0, 10);
    EXPECT_EQ(Complete(range, VelTransferArgs().SetMakeNewDrawer(), grid),
              VelArgsOrdinalRangeOnNewDrawer);
    EXPECT_EQ(Complete(range, VelTransferArgs().SetWrite(), grid), VelArgsNoError);

    // The complete check fills in the mode as the mode normalisation does.
    VelRangeViewArgs view = standard;
    VelTransferArgs args;
    args.SetRead();
    ASSERT_EQ(VelNormalizeArgs(view, args, grid), VelArgsNoError);
    EXPECT_TRUE(args.RequireReadCoverage().IsTrue());
}

}  // namespace
