#include <sstream>
#include <string>

#include "VelTestIDs.h"
#include "VelTestSupport.h"
#include "vel/context/VelCSetID.h"
#include "vel/context/VelCollectionID.h"
#include "vel/context/VelDSetID.h"
#include "vel/context/VelDistributionID.h"

namespace {

VelContextID Context(unsigned value, bool temp = false) {
    return VelIDAccess::MakeContextID(value, temp);
}

TEST(VelIdentifiersTest, AscendingBitAndColorLiveInTheirBitsOfTheMinorWord) {
    const VelCSetID null;
    EXPECT_TRUE(null.IsNull());
    EXPECT_EQ(null.Index(), -1);
    EXPECT_TRUE(null.IsAscending());
    EXPECT_TRUE(null.CollectionID().IsNull());

    // The ascending flag is bit 31 of the index word.
    VelCSetID cset = VelIDAccess::MakeCSetID(TestCollection(1, 2), 5);
    EXPECT_FALSE(cset.IsAscending());
    cset.SetAscending(true);
    EXPECT_EQ(static_cast<unsigned>(cset.Minor().Value()), 0x80000005u);
    EXPECT_EQ(cset.Index(), 5);
    cset.SetAscending(false);
    EXPECT_EQ(cset.Minor().Value(), 5);
    EXPECT_FALSE(cset.IsNull());

    // The color is the top six bits of a collection's word.
    VelCollectionID id = TestCollection(1, 0x3FFFFFF);
    id.SetColor(63);
    EXPECT_EQ(id.Color(), 63);
    EXPECT_EQ(static_cast<unsigned>(id.Minor().Value()), 0xFFFFFFFFu);
    EXPECT_TRUE(id.IsNull()) << "serial 0x3FFFFFF of color 63 is the null word";
    const VelCollectionID plain = TestCollection(1, 10);
    const VelCollectionID variant = plain.AltColor(1);
    EXPECT_EQ(plain.Color(), 0) << "AltColor leaves the original alone";
    EXPECT_EQ(variant.Minor().Value(), 0x0400000A);
    EXPECT_EQ(variant.AltColor(0).Compare(plain), 0);
    // The shift is logical: a word with the sign bit set still has a color of 32-63.
    EXPECT_EQ(VelCollectionID::ColorOf(static_cast<int>(0x80000000u)), 32);
    int word = -1;
    VelCollectionID::SetColor(word, 5);
    EXPECT_EQ(word, 0x17FFFFFF);
    const VelCSetID colored = TestCSet(plain, 3).AltColor(7);
    EXPECT_EQ(colored.Color(), 7);
    EXPECT_EQ(colored.Index(), 3);
    EXPECT_TRUE(colored.IsAscending());
}

TEST(VelIdentifiersDeathTest, ColorMustBeBelowTheLimit) {
    VelCollectionID id = TestCollection(1, 1);
    ExpectAssertFailure(id.SetColor(64), "color < e_MaxColor");
}

TEST(VelIdentifiersTest, OrderIsSignedAndIgnoresTheTempFlag) {
    EXPECT_EQ(Context(4, true).Compare(Context(4, false)), 0);
    EXPECT_EQ(Context(3).Compare(Context(4)), -1);
    EXPECT_EQ(Context(4).Compare(Context(3)), 1);
    EXPECT_EQ(VelContextID().Compare(Context(0)), -1) << "null is -1 as a signed value";

    // High colors sort before color zero.
    const VelCollectionID color0 = TestCollection(2, 1);
    EXPECT_EQ(TestCollection(2, 1, 32).Compare(color0), -1);
    EXPECT_EQ(color0.Compare(TestCollection(2, 1, 31)), -1);
    EXPECT_EQ(color0.Compare(TestCollection(2, 2)), -1);
    EXPECT_EQ(TestCollection(1, 9).Compare(color0), -1) << "context decides first";
    EXPECT_EQ(color0.Compare(TestCollection(2, 1)), 0);

    // Ascending CSets sort before permutations.
    const VelCSetID ascending9 = TestCSet(color0, 9);
    const VelCSetID permutation0 = TestCSet(color0, 0, false);
    EXPECT_EQ(ascending9.Compare(permutation0), -1);
    EXPECT_EQ(TestCSet(color0, 1, false).Compare(permutation0), 1);
    EXPECT_EQ(VelIDAccess::MakeCSetID(color0, -1).Compare(TestCSet(color0, 0)), 1)
        << "null is the greatest ascending word";
    EXPECT_EQ(TestCSet(TestCollection(2, 0), 9, false).Compare(ascending9), -1)
        << "collection decides first";

    const VelDistributionID d1 = VelIDAccess::MakeDistributionID(Context(1), 1);
    const VelDistributionID d2 = VelIDAccess::MakeDistributionID(Context(1), 2);
    EXPECT_EQ(VelIDAccess::MakeDrawerID(d1, 7).Compare(VelIDAccess::MakeDrawerID(d2, 0)), -1);
    EXPECT_EQ(VelIDAccess::MakeDrawerID(d2, 3).Compare(VelIDAccess::MakeDrawerID(d2, 2)), 1);
}

TEST(VelIdentifiersTest, TextForms) {
    EXPECT_EQ(TestText(Context(3)), "3");
    EXPECT_EQ(TestText(Context(3, true)), "T:3");
    EXPECT_EQ(TestText(VelContextID()), "*NULL*");
    EXPECT_EQ(TestText(Context(4000000000u)), "4000000000");

    EXPECT_EQ(TestText(TestCollection(3, 7)), "3/7");
    EXPECT_EQ(TestText(TestCollection(3, 7, 2)), "3/7_clr2");
    EXPECT_EQ(TestText(VelCollectionID()), "*NULL*/67108863_clr63");

    EXPECT_EQ(TestText(TestCSet(TestCollection(3, 7, 2), 5, false)), "3/7/5*_clr2");
    EXPECT_EQ(TestText(TestCSet(TestCollection(3, 7), 5)), "3/7/5");
    EXPECT_EQ(TestText(VelCSetID()), "*NULL*/67108863/*NULL*_clr63");

    const VelDistributionID dist = VelIDAccess::MakeDistributionID(Context(3, true), 4);
    EXPECT_EQ(TestText(dist), "T:3/4");
    EXPECT_EQ(TestText(VelIDAccess::MakeDistributionID(Context(3), -1)), "3/*NULL*");
    EXPECT_EQ(TestText(VelIDAccess::MakeDrawerID(dist, 2)), "T:3/4/2");
    EXPECT_EQ(TestText(VelIDAccess::MakeDrawerID(dist, -1)), "T:3/4/*NULL*");
    EXPECT_EQ(TestText(VelIDAccess::MakeDSetID(Context(3), 12)), "3/12");
    EXPECT_EQ(TestText(VelDSetID()), "*NULL*/*NULL*");

    // The stream's own number base does not leak into the forms.
    std::ostringstream os;
    os << std::hex << TestCollection(3, 26, 2);
    EXPECT_EQ(os.str(), "3/26_clr2");
}

TEST(VelIdentifiersTest, ToDynamicID) {
    const VelCollectionID coll = TestCollection(6, 10, 33);
    EXPECT_EQ(coll.DynamicID(), VelDynamicID(1, 6, coll.Minor().Value(), 0));
    EXPECT_LT(coll.DynamicID().First(), 0) << "color 33 sets the sign bit of the word";

    const VelCSetID cset = TestCSet(coll, 4);
    EXPECT_EQ(cset.DynamicID(), VelDynamicID(5, 6, coll.Minor().Value(), cset.Minor().Value()));

    const VelDistributionID dist = VelIDAccess::MakeDistributionID(Context(6), 2);
    EXPECT_EQ(dist.DynamicID(), VelDynamicID(2, 6, 2, 0));
    EXPECT_EQ(VelIDAccess::MakeDSetID(Context(6), 8).DynamicID(), VelDynamicID(3, 6, 8, 0));
    EXPECT_EQ(VelIDAccess::MakeDrawerID(dist, 11).DynamicID(), VelDynamicID(7, 6, 2, 11));
    EXPECT_EQ(Context(6, true).DynamicID(), VelDynamicID(66, 6, 0, 0));

    EXPECT_TRUE(VelCSetID::CanBeConverted(cset.DynamicID()));
    EXPECT_FALSE(VelCollectionID::CanBeConverted(cset.DynamicID()));
}

}  // namespace
