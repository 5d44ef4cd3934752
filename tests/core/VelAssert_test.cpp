#include "vel/core/VelAssert.h"

#include <string>

#include "VelTestSupport.h"
#include "vel/UTI_VelDynamicAPI.h"
#include "vel/core/VelArgsErrorKey.h"
#include "vel/core/VelIdAsString.h"
#include "vel/core/VelTypeKey.h"

namespace {

// The condition's spelling is what the report prints.
// clang-format off
int CheckedIndex(int i, int size) {
    VelVALIDATE(i >=0 && i < size);
    return i;
}
// clang-format on

TEST(VelAssertDeathTest, FailedChecksPrintTheirTwoLinesAndStop) {
    ExpectValidateFailure(CheckedIndex(5, 3), "i >=0 && i < size");
    ExpectAssertFailure(VelASSERT(!"Bad selection"), "!\"Bad selection\"");
}

// Under VelThrowOnFailure a failed check prints the same report and throws instead of stopping;
// the caller learns the condition and the kind, and the default comes back with the setter.
TEST(VelAssertTest, TheThrowPolicyReportsAndThrows) {
    EXPECT_EQ(VelAssert::FailurePolicy(), VelStopOnFailure);
    VelAssert::SetFailurePolicy(VelThrowOnFailure);
    EXPECT_EQ(VelAssert::FailurePolicy(), VelThrowOnFailure);
    ::testing::internal::CaptureStderr();
    try {
        CheckedIndex(5, 3);
        ADD_FAILURE() << "no VelFailure";
    } catch (const VelFailure& failure) {
        EXPECT_STREQ(failure.what(), "i >=0 && i < size");
        EXPECT_TRUE(failure.IsValidation());
    }
    try {
        VelASSERT(!"Bad selection");
        ADD_FAILURE() << "no VelFailure";
    } catch (const std::exception& failure) {
        EXPECT_STREQ(failure.what(), "!\"Bad selection\"");
        EXPECT_FALSE(dynamic_cast<const VelFailure&>(failure).IsValidation());
    }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              VelValidateText("i >=0 && i < size") + VelAssertText("!\"Bad selection\""));
    VelAssert::SetFailurePolicy(VelStopOnFailure);
    EXPECT_EQ(VelAssert::FailurePolicy(), VelStopOnFailure);
}

TEST(VelMessagesTest, ArgsErrorTextsAreKeptLetterForLetter) {
    EXPECT_STREQ(VelMessageOf(VelArgsErrorKey(0)), "");
    EXPECT_STREQ(VelMessageOf(VelArgsErrorKey(3)),
                 "SetSparseNNZero can only be used when when SetMakeNewDrawer is");
    EXPECT_STREQ(VelMessageOf(VelArgsErrorKey(5)),
                 "illegal to have writing specified in TransferArgs but writeNewDomainMake false "
                 "and oldDomainOverwrite false");
    EXPECT_STREQ(VelMessageOf(VelArgsErrorKey(10)),
                 "In a SetDimOrdinalRange(d,c,i,j),  i must be 0 or greater and j,  1 or greater");
    EXPECT_STREQ(VelMessageOf(VelArgsErrorKey(14)),
                 "the chunkSizes array on Transfer cannot be specified with Sparse serialization ");
    EXPECT_STREQ(VelMessageOf(VelArgsErrorKey(15)),
                 "SetDimOrdinalRange cannot be used on Transfer when a drawer is being created");
    EXPECT_STREQ(VelMessageOf(VelArgsErrorKey(16)), "<?unknown VelArgsErrorKey message?>");
    EXPECT_STREQ(VelMessageOf(VelArgsErrorKey(-1)), "<?unknown VelArgsErrorKey message?>");
}

TEST(VelMessagesTest, TypeKeyNamesAndIdentifierTexts) {
    const char* expected[] = {
        "<? bad VelTypeKey ?>", "Int", "Double", "Float", "Bool", "CMember", "CSet", "OCSet",
        "<? bad VelTypeKey ?>"};
    for (int k = 0; k <= 8; ++k) EXPECT_STREQ(VelstringNameOf(VelTypeKey(k)), expected[k]) << k;
    // Identifiers print as eight upper-case hex digits.
    EXPECT_EQ(VelIdAsString(42), cow_String("0000002A"));
    EXPECT_EQ(VelIdAsString(-1), cow_String("FFFFFFFF"));
}

TEST(VelLifecycleTest, NestedStartsActOnlyAtTheOutermostPair) {
    int count = 0;
    UTI_VelDynamicAPI_initialize(count);
    EXPECT_EQ(count, 7);
    UTI_VelDynamicAPI_initialize(count);
    EXPECT_EQ(count, 7);
    UTI_VelDynamicAPI_finalize(count);
    EXPECT_EQ(count, 7);
    UTI_VelDynamicAPI_finalize(count);
    EXPECT_EQ(count, 0);
}

}  // namespace
