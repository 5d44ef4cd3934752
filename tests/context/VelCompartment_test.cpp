#include "vel/context/VelCompartment.h"

#include "VelTestIDs.h"
#include "VelTestSupport.h"

namespace {

TEST(VelCompartmentTest, StoresTheCSetsInCollectionOrder) {
    const VelCollectionID a = TestCollection(1, 1), b = TestCollection(1, 2);
    const VelCompartment ba(TestArray({TestCSet(b, 7), TestCSet(a, 3)}));
    EXPECT_EQ(TestText(ba), "{ 1/1/3 1/2/7 }");
    EXPECT_EQ(ba, VelCompartment(TestArray({TestCSet(a, 3), TestCSet(b, 7)})));
    EXPECT_NE(ba, VelCompartment(TestArray({TestCSet(a, 4), TestCSet(b, 7)})));

    // A high color sets the sign bit of the minor word: that variant sorts first.
    const VelCollectionID high = TestCollection(1, 1, 40);
    const VelCompartment withHigh(TestArray({TestCSet(a, 0), TestCSet(high, 0)}));
    EXPECT_EQ(withHigh[0].CollectionID().Compare(high), 0);

    EXPECT_EQ(TestText(VelCompartment()), "{ }");
}

TEST(VelCompartmentTest, SameGridComparesCollectionsNotCSets) {
    const VelCollectionID a = TestCollection(1, 1), b = TestCollection(1, 2);
    const VelCompartment ab(TestArray({TestCSet(a, 0), TestCSet(b, 0)}));
    EXPECT_TRUE(ab.SameGrid(VelCompartment(TestArray({TestCSet(b, 5), TestCSet(a, 9)}))));
    EXPECT_FALSE(ab.SameGrid(VelCompartment(TestArray({TestCSet(a, 0)}))));
    EXPECT_FALSE(
        ab.SameGrid(VelCompartment(TestArray({TestCSet(a, 0), TestCSet(b.AltColor(1), 0)}))));
    // The temp flag is not part of a collection's identity.
    const VelCollectionID tempB =
        VelIDAccess::MakeCollectionID(VelIDAccess::MakeContextID(1, true), 2);
    EXPECT_TRUE(ab.SameGrid(VelCompartment(TestArray({TestCSet(a, 0), TestCSet(tempB, 0)}))));
}

TEST(VelCompartmentDeathTest, RefusesNullPermutationAndRepeatedCollections) {
    const VelCollectionID a = TestCollection(1, 1), b = TestCollection(1, 2);
    ExpectValidateFailure(VelCompartment(TestArray({TestCSet(a, 0), TestCSet(b, 3, false)})),
                          "!id.IsNull() && id.IsAscending()");
    ExpectValidateFailure(VelCompartment(TestArray({VelIDAccess::MakeCSetID(a, -1)})),
                          "!id.IsNull() && id.IsAscending()");
    ExpectValidateFailure(
        VelCompartment(TestArray({TestCSet(a, 0), TestCSet(b, 0), TestCSet(a, 1)})),
        "id->CollectionID().Compare(prev->CollectionID()) != 0");
}

}  // namespace
