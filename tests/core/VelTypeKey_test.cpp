#include "vel/core/VelTypeKey.h"

#include "VelTestSupport.h"

namespace {

TEST(VelTypeKeyTest, ElementSizes) {
    const int expected[] = {4, 8, 4, 1, 4, 4, 4};
    for (int k = VelTypeKeyInt; k <= VelTypeKeyOCSet; ++k)
        EXPECT_EQ(VelElementSizeOf(VelTypeKey(k)), expected[k - 1])
            << VelstringNameOf(VelTypeKey(k));
}

TEST(VelTypeKeyDeathTest, OtherKeysHaveNoSize) {
    ExpectAssertFailure(VelElementSizeOf(VelTypeKey(0)), "!\"Illegal VelTypeKey\"");
    ExpectAssertFailure(VelElementSizeOf(VelTypeKey(8)), "!\"Illegal VelTypeKey\"");
}

}  // namespace
