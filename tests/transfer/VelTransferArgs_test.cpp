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

// The print form shows every flag: what a chunked new drawer implies, and that a hint leaves the
// search unrestricted.
TEST(VelTransferArgsTest, PrintFormShowsWhatTheSettersImply) {
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
