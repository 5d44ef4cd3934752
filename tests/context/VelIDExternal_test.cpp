#include "vel/context/VelIDExternal.h"

#include <string>

#include "VelTestSupport.h"
#include "context/VelIDAccess.h"

namespace {

const VelContextID kContext = VelIDAccess::MakeContextID(3, false);

std::string Bytes(const VelIDExternal& e) {
    return std::string(e.Data(), e.Length());
}

TEST(VelIDExternalTest, CollectionFormKeepsTheColorBits) {
    const VelCollectionID id = VelIDAccess::MakeCollectionID(kContext, 0x0400000A);
    const VelIDExternal e(id);
    EXPECT_EQ(e.Length(), 12);
    EXPECT_EQ(Bytes(e), std::string("\x0c\x01"
                                    "C\0"
                                    "0400000a",
                                    12));
    EXPECT_EQ(VelIDAccess::CollectionIDMinor(e).Value(), 0x0400000A);
}

TEST(VelIDExternalTest, EveryKindHasItsLetterAndWords) {
    const VelDistributionID dist = VelIDAccess::MakeDistributionID(kContext, 255);
    const VelIDExternal d(dist);
    EXPECT_EQ(Bytes(d), std::string("\x0c\x01"
                                    "D\0"
                                    "000000ff",
                                    12));
    EXPECT_EQ(VelIDAccess::DistributionIDMinor(d).Value(), 255);

    const VelIDExternal e(VelIDAccess::MakeDSetID(kContext, 0x7FFFFFFF));
    EXPECT_EQ(Bytes(e), std::string("\x0c\x01"
                                    "E\0"
                                    "7fffffff",
                                    12));
    EXPECT_EQ(VelIDAccess::DSetIDMinor(e).Value(), 0x7FFFFFFF);

    const VelCollectionID coll = VelIDAccess::MakeCollectionID(kContext, 0xC0000001);
    const VelCSetID cset = VelIDAccess::MakeCSetID(coll, 6).SetAscending(true);
    const VelIDExternal s(cset);
    EXPECT_EQ(s.Length(), 20);
    EXPECT_EQ(Bytes(s), std::string("\x14\x01"
                                    "S\0"
                                    "c0000001"
                                    "80000006",
                                    20));
    EXPECT_EQ(VelIDAccess::CollectionIDMinor(s).Value(), coll.Minor().Value());
    EXPECT_EQ(VelIDAccess::CSetIDMinor(s).Value(), cset.Minor().Value());

    const VelIDExternal w(VelIDAccess::MakeDrawerID(dist, 17));
    EXPECT_EQ(Bytes(w), std::string("\x14\x01"
                                    "W\0"
                                    "000000ff"
                                    "00000011",
                                    20));
    EXPECT_EQ(VelIDAccess::DistributionIDMinor(w).Value(), 255);
    EXPECT_EQ(VelIDAccess::DrawerIDMinor(w).Value(), 17);
}

TEST(VelIDExternalDeathTest, ReadersCheckTheTypeLetter) {
    const VelIDExternal c(VelIDAccess::MakeCollectionID(kContext, 1));
    const VelIDExternal d(VelIDAccess::MakeDistributionID(kContext, 1));
    ExpectValidateFailure(VelIDAccess::DistributionIDMinor(c),
                          "type == TypeDistribution || type == TypeDrawer");
    ExpectValidateFailure(VelIDAccess::CollectionIDMinor(d),
                          "type == TypeCollection || type == TypeCSet");
    ExpectValidateFailure(VelIDAccess::DSetIDMinor(c), "type == TypeDSet");
    ExpectValidateFailure(VelIDAccess::CSetIDMinor(c), "type == TypeCSet");
    ExpectValidateFailure(VelIDAccess::DrawerIDMinor(d), "type == TypeDrawer");
}

}  // namespace
