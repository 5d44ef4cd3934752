#include "vel/context/VelGrid.h"

#include "VelTestIDs.h"
#include "VelTestSupport.h"

namespace {

TEST(VelGridTest, SortedUniqueCollections) {
    const VelCollectionID a = TestCollection(1, 1), b = TestCollection(1, 2);
    const VelCollectionID other = TestCollection(2, 0);
    const VelGrid grid(TestArray({other, b, a}));
    EXPECT_EQ(TestText(grid), "{ 1/1 1/2 2/0 }");
    EXPECT_EQ(grid.Position(a), 0);
    EXPECT_EQ(grid.Position(other), 2);
    EXPECT_EQ(grid.Position(a.AltColor(1)), -1);
    EXPECT_EQ(grid.Position(VelCollectionID()), -1);

    const VelGrid empty((VelArray<VelCollectionID>()));
    EXPECT_EQ(empty.Size(), 0);
    EXPECT_EQ(TestText(empty), "{ }");
}

TEST(VelGridDeathTest, RefusesNullAndRepeatedCollections) {
    const VelCollectionID a = TestCollection(1, 1);
    ExpectValidateFailure(VelGrid(TestArray({a, VelCollectionID()})), "!id.IsNull()");
    ExpectValidateFailure(VelGrid(TestArray({a, TestCollection(1, 2), a})),
                          "id->Compare(*prev) != 0");
}

}  // namespace
