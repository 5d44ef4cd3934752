#include "vel/transfer/VelTransferArgs.h"

#include "VelTestIDs.h"
#include "VelTestSupport.h"

namespace {

VelDrawerID TestDrawer(int number) {
    return VelIDAccess::MakeDrawerID(
        VelIDAccess::MakeDistributionID(VelIDAccess::MakeContextID(4, false), 2), number);
}

TEST(VelOptionalFlagDeathTest, ReadingAnUndefinedValue) {
    ExpectValidateFailure(VelOptionalFlag().Value(), "m_defined");
    const VelTransferArgs args;
    ExpectValidateFailure(args.MakeNewDrawer().Value(), "m_defined");
}

TEST(VelTransferArgsTest, AHintOrADrawerAndANewDrawerSetWhatTheyImply) {
    VelTransferArgs args;
    args.SetDrawerHint(TestDrawer(3));
    EXPECT_FALSE(args.LookInOnlyOneDrawer().IsDefined()) << "a hint does not restrict the search";
    args.SetDrawer(TestDrawer(5));
    EXPECT_EQ(args.IndicatedDrawer().Compare(TestDrawer(5)), 0);
    EXPECT_TRUE(args.LookInOnlyOneDrawer().IsTrue());

    VelTransferArgs make;
    make.SetMakeNewDrawerChunked(TestArray({8, 2}));
    EXPECT_TRUE(make.Write());
    EXPECT_TRUE(make.MakeNewDrawer().IsTrue());
    EXPECT_TRUE(make.WriteNewDomainMake().IsTrue());
}

TEST(VelTransferArgsTest, PrintForm) {
    VelTransferArgs args;
    args.SetMakeNewDrawerChunked(TestArray({8, 2}))
        .SetSparseNNonzero(12)
        .SetOldDomainOverwrite(false)
        .SetDrawerHint(TestDrawer(7));
    EXPECT_EQ(TestText(args),
              "Is writing: 1\n"
              "Is reading: 0\n"
              "Is extending: 0\n"
              "oldDomainOverwrite: false\n"
              "makeNewDrawer: true\n"
              "writeNewDomainError: undefined\n"
              "writeNewDomainMake: true\n"
              "writeNewDomainIgnore: undefined\n"
              "indicatedDrawer: 4/2/7\n"
              "lookInOnlyOneDrawer: undefined\n"
              "requireReadCoverage: undefined\n"
              " Is chunkSizesGiven: 1\n"
              "chunkSizes: ( 8 2 )\n"
              "sparseNNonzero: 12\n");
    EXPECT_NE(TestText(VelTransferArgs()).find("indicatedDrawer: *NULL*/*NULL*/*NULL*\n"),
              std::string::npos);
}

}  // namespace
