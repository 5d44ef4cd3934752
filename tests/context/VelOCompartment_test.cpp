#include "vel/context/VelOCompartment.h"

#include "VelTestIDs.h"
#include "VelTestSupport.h"

namespace {

VelArray<VelCSetID> DistinctCSets(int n) {
    VelArray<VelCSetID> ids(n);
    for (int k = 0; k < n; ++k) ids[k] = TestCSet(TestCollection(1, k), 0);
    return ids;
}

TEST(VelOCompartmentTest, KeepsTheCallersOrderAndAllowsNullIndices) {
    const VelCollectionID a = TestCollection(1, 1), b = TestCollection(1, 2);
    // A dimension selected by ordinal range contributes its collection with a null index.
    const VelOCompartment oc(TestArray({TestCSet(b, 4, false), VelIDAccess::MakeCSetID(a, -1)}));
    ASSERT_TRUE(oc.IsCreated());
    EXPECT_EQ(oc.Size(), 2);
    EXPECT_EQ(oc[0].CollectionID().Compare(b), 0);
    EXPECT_TRUE(oc[1].IsNull());
    EXPECT_EQ(TestText(oc), "( 1/2/4* 1/1/*NULL* )");
    EXPECT_EQ(TestText(VelOCompartment(VelArray<VelCSetID>())), "( )");

    EXPECT_EQ(VelOCompartment(DistinctCSets(VelMAX_DIMENSIONS - 1)).Size(), 6);

    VelOCompartment later;
    EXPECT_FALSE(later.IsCreated());
    later = DistinctCSets(3);
    EXPECT_EQ(later.Size(), 3);
    VelOCompartment copy;
    copy = oc;
    EXPECT_EQ(TestText(copy), TestText(oc));
}

TEST(VelOCompartmentDeathTest, InvariantsAndCreation) {
    ExpectAssertFailure(VelOCompartment(DistinctCSets(VelMAX_DIMENSIONS)),
                        "sz < VelMAX_DIMENSIONS");
    // Two CSets of one collection, even of different kinds, are not distinct dimensions.
    const VelCollectionID c = TestCollection(2, 5, 3);
    ExpectValidateFailure(
        VelOCompartment(
            TestArray({TestCSet(c, 1), TestCSet(TestCollection(2, 6), 0), TestCSet(c, 2, false)})),
        "colID != m_Array[j].CollectionID()");

    VelOCompartment built(DistinctCSets(2));
    ExpectValidateFailure(built = DistinctCSets(2), "!m_created");
    const VelOCompartment unbuilt;
    ExpectValidateFailure(unbuilt.Size(), "m_created");
    ExpectValidateFailure(unbuilt[0], "m_created");
}

}  // namespace
