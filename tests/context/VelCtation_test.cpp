#include "vel/context/VelCtation.h"

#include "VelTestIDs.h"
#include "VelTestSupport.h"

namespace {

const VelCollectionID kA = TestCollection(3, 1);
const VelCollectionID kB = TestCollection(3, 2);

VelCompartment Block(int a, int b) {
    return VelCompartment(TestArray({TestCSet(kB, b), TestCSet(kA, a)}));
}

TEST(VelCtationTest, SortsCompartmentsAndComparesThemInOrder) {
    const VelCtation ctation(TestArray({Block(2, 0), Block(1, 5), Block(1, 4)}));
    ASSERT_EQ(ctation.Size(), 3);
    EXPECT_EQ(ctation[0], Block(1, 4));
    EXPECT_EQ(ctation[2], Block(2, 0));
    EXPECT_EQ(TestText(ctation), "{\n  { 3/1/1 3/2/4 }\n  { 3/1/1 3/2/5 }\n  { 3/1/2 3/2/0 }\n}");

    EXPECT_EQ(ctation, VelCtation(TestArray({Block(1, 4), Block(2, 0), Block(1, 5)})));
    EXPECT_NE(ctation, VelCtation(TestArray({Block(1, 4), Block(2, 0)})));
    EXPECT_NE(ctation, VelCtation(TestArray({Block(1, 4), Block(2, 0), Block(1, 6)})));
}

TEST(VelCtationDeathTest, NeedsOneGridAndAtLeastOneCompartment) {
    ExpectValidateFailure(VelCtation(VelArray<VelCompartment>()), "i >=0 && i < m_Size");
    const VelCompartment onlyA(TestArray({TestCSet(kA, 0)}));
    ExpectValidateFailure(VelCtation(TestArray({Block(0, 0), onlyA})),
                          "first.SameGrid(compartment)");
    const VelCtation one(TestArray({Block(0, 0)}));
    ExpectValidateFailure(one[1], "i >=0 && i < m_Size");
}

}  // namespace
