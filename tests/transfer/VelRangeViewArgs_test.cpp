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

}  // namespace
