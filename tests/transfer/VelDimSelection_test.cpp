#include "vel/transfer/VelDimSelection.h"

#include "VelTestIDs.h"
#include "VelTestSupport.h"

namespace {

TEST(VelDimSelectionTest, KindsCollectionsAndPrintForms) {
    const VelCollectionID c = TestCollection(3, 7, 2);
    const VelDimSelection none;
    const VelDimSelection cset(TestCSet(c, 5, false));
    const VelDimSelection range(c, 2, 5);

    EXPECT_TRUE(none.CollectionID().IsNull());
    EXPECT_EQ(TestText(none), "DimSelNone");

    EXPECT_EQ(cset.CollectionID().Compare(c), 0) << "the CSet's collection, color included";
    EXPECT_EQ(TestText(cset), "CSet=3/7/5*_clr2");

    EXPECT_EQ(range.CollectionID().Compare(c), 0);
    EXPECT_EQ(TestText(range), "OrdinalRange,Collection=3/7_clr2,first=2,last=5");
}

TEST(VelDimSelectionDeathTest, FieldsOfTheOtherKind) {
    const VelDimSelection cset(TestCSet(TestCollection(1, 1), 0));
    const VelDimSelection range(TestCollection(1, 1), 0, 3);
    ExpectValidateFailure(range.CSetID(), "IsCSet()");
    ExpectValidateFailure(VelDimSelection().CSetID(), "IsCSet()");
    ExpectValidateFailure(cset.First(), "IsOrdinalRange()");
    ExpectValidateFailure(cset.Last(), "IsOrdinalRange()");
}

}  // namespace
