#include "vel/transfer/VelRangeViewArgs.h"

#include "VelTestIDs.h"
#include "VelTestSupport.h"

namespace {

TEST(VelRangeViewArgsTest, SelectionsAndPrintForm) {
    const VelCollectionID a = TestCollection(1, 1), b = TestCollection(1, 2);
    VelRangeViewArgs view;
    view.SetSize(3).SetDim(0, TestCSet(a, 4)).SetDimOrdinalRange(1, b, 0, 9);
    EXPECT_EQ(
        TestText(view),
        "dimSelections: ( CSet=1/1/4 OrdinalRange,Collection=1/2,first=0,last=9 DimSelNone )\n"
        "serializationType: StandardSerialization\n");

    VelSerializationType sparse;
    view.SetForTransientDrawer(VelOCompartment(TestArray({TestCSet(b, 1, false), TestCSet(a, 2)})))
        .SetSerialization(sparse.SetSparse());
    ASSERT_EQ(view.Size(), 2);
    EXPECT_EQ(TestText(view),
              "dimSelections: ( CSet=1/2/1* CSet=1/1/2 )\n"
              "serializationType: SparseSerialization\n");
}

// A selection is one kind at a time: a CSet's collection, colour included, or a range's.
TEST(VelDimSelectionDeathTest, KindsCollectionsAndTheFieldsOfTheOtherKind) {
    const VelCollectionID c = TestCollection(3, 7, 2);
    const VelDimSelection cset(TestCSet(c, 5, false));
    const VelDimSelection range(c, 2, 5);
    EXPECT_TRUE(VelDimSelection().CollectionID().IsNull());
    EXPECT_EQ(cset.CollectionID().Compare(c), 0);
    EXPECT_EQ(range.CollectionID().Compare(c), 0);
    EXPECT_EQ(TestText(cset), "CSet=3/7/5*_clr2");
    ExpectValidateFailure(range.CSetID(), "IsCSet()");
    ExpectValidateFailure(VelDimSelection().CSetID(), "IsCSet()");
    ExpectValidateFailure(cset.First(), "IsOrdinalRange()");
    ExpectValidateFailure(cset.Last(), "IsOrdinalRange()");
}

}  // namespace
