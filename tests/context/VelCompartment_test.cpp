// The value types of a distribution's shape: grids of collections, compartments of CSets (sorted
// or in the caller's order) and ctations of compartments.
#include "vel/context/VelCompartment.h"

#include "VelTestIDs.h"
#include "VelTestSupport.h"
#include "vel/context/VelCtation.h"
#include "vel/context/VelGrid.h"
#include "vel/context/VelOCompartment.h"

namespace {

const VelCollectionID kA = TestCollection(1, 1);
const VelCollectionID kB = TestCollection(1, 2);

VelCompartment Block(int a, int b) {
    return VelCompartment(TestArray({TestCSet(kB, b), TestCSet(kA, a)}));
}

VelArray<VelCSetID> DistinctCSets(int n) {
    VelArray<VelCSetID> ids(n);
    for (int k = 0; k < n; ++k) ids[k] = TestCSet(TestCollection(1, k), 0);
    return ids;
}

TEST(VelGridTest, SortedUniqueCollections) {
    const VelCollectionID other = TestCollection(2, 0);
    const VelGrid grid(TestArray({other, kB, kA}));
    EXPECT_EQ(TestText(grid), "{ 1/1 1/2 2/0 }");
    EXPECT_EQ(grid.Position(kA), 0);
    EXPECT_EQ(grid.Position(other), 2);
    EXPECT_EQ(grid.Position(kA.AltColor(1)), -1);
    EXPECT_EQ(grid.Position(VelCollectionID()), -1);
    const VelGrid empty((VelArray<VelCollectionID>()));
    EXPECT_EQ(empty.Size(), 0);
    EXPECT_EQ(TestText(empty), "{ }");
}

TEST(VelCompartmentTest, StoresTheCSetsInCollectionOrderAndComparesGrids) {
    const VelCompartment ba(TestArray({TestCSet(kB, 7), TestCSet(kA, 3)}));
    EXPECT_EQ(TestText(ba), "{ 1/1/3 1/2/7 }");
    EXPECT_EQ(ba, VelCompartment(TestArray({TestCSet(kA, 3), TestCSet(kB, 7)})));
    EXPECT_NE(ba, VelCompartment(TestArray({TestCSet(kA, 4), TestCSet(kB, 7)})));
    EXPECT_EQ(TestText(VelCompartment()), "{ }");
    // A high color sets the sign bit of the minor word: that variant sorts first.
    const VelCollectionID high = TestCollection(1, 1, 40);
    const VelCompartment withHigh(TestArray({TestCSet(kA, 0), TestCSet(high, 0)}));
    EXPECT_EQ(withHigh[0].CollectionID().Compare(high), 0);

    // SameGrid compares collections, not CSets; the temp flag is no part of a collection.
    EXPECT_TRUE(ba.SameGrid(VelCompartment(TestArray({TestCSet(kB, 5), TestCSet(kA, 9)}))));
    EXPECT_FALSE(ba.SameGrid(VelCompartment(TestArray({TestCSet(kA, 0)}))));
    EXPECT_FALSE(
        ba.SameGrid(VelCompartment(TestArray({TestCSet(kA, 0), TestCSet(kB.AltColor(1), 0)}))));
    const VelCollectionID tempB =
        VelIDAccess::MakeCollectionID(VelIDAccess::MakeContextID(1, true), 2);
    EXPECT_TRUE(ba.SameGrid(VelCompartment(TestArray({TestCSet(kA, 0), TestCSet(tempB, 0)}))));
}

TEST(VelCtationTest, SortsCompartmentsAndComparesThemInOrder) {
    const VelCtation ctation(TestArray({Block(2, 0), Block(1, 5), Block(1, 4)}));
    ASSERT_EQ(ctation.Size(), 3);
    EXPECT_EQ(ctation[0], Block(1, 4));
    EXPECT_EQ(ctation[2], Block(2, 0));
    EXPECT_EQ(TestText(ctation), "{\n  { 1/1/1 1/2/4 }\n  { 1/1/1 1/2/5 }\n  { 1/1/2 1/2/0 }\n}");
    EXPECT_EQ(ctation, VelCtation(TestArray({Block(1, 4), Block(2, 0), Block(1, 5)})));
    EXPECT_NE(ctation, VelCtation(TestArray({Block(1, 4), Block(2, 0)})));
    EXPECT_NE(ctation, VelCtation(TestArray({Block(1, 4), Block(2, 0), Block(1, 6)})));
}

TEST(VelOCompartmentTest, KeepsTheCallersOrderAndAllowsNullIndices) {
    // A dimension selected by ordinal range contributes its collection with a null index.
    const VelOCompartment oc(TestArray({TestCSet(kB, 4, false), VelIDAccess::MakeCSetID(kA, -1)}));
    ASSERT_TRUE(oc.IsCreated());
    EXPECT_EQ(oc.Size(), 2);
    EXPECT_EQ(oc[0].CollectionID().Compare(kB), 0);
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

TEST(VelCompartmentDeathTest, NullRepeatedAndMisplacedMembersAreRefused) {
    ExpectValidateFailure(VelGrid(TestArray({kA, VelCollectionID()})), "!id.IsNull()");
    ExpectValidateFailure(VelGrid(TestArray({kA, kB, kA})), "id->Compare(*prev) != 0");

    ExpectValidateFailure(VelCompartment(TestArray({TestCSet(kA, 0), TestCSet(kB, 3, false)})),
                          "!id.IsNull() && id.IsAscending()");
    ExpectValidateFailure(VelCompartment(TestArray({VelIDAccess::MakeCSetID(kA, -1)})),
                          "!id.IsNull() && id.IsAscending()");
    ExpectValidateFailure(
        VelCompartment(TestArray({TestCSet(kA, 0), TestCSet(kB, 0), TestCSet(kA, 1)})),
        "id->CollectionID().Compare(prev->CollectionID()) != 0");

    ExpectValidateFailure(VelCtation(VelArray<VelCompartment>()), "i >=0 && i < m_Size");
    const VelCompartment onlyA(TestArray({TestCSet(kA, 0)}));
    ExpectValidateFailure(VelCtation(TestArray({Block(0, 0), onlyA})),
                          "first.SameGrid(compartment)");
    ExpectValidateFailure(VelCtation(TestArray({Block(0, 0)}))[1], "i >=0 && i < m_Size");

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
