#include "vel/context/VelIDExternal.h"

#include <string>

#include "VelTestSupport.h"
#include "context/VelIDAccess.h"

namespace {

const VelContextID kContext = VelIDAccess::MakeContextID(3, false);

std::string Bytes(const VelIDExternal& e) {
    return std::string(e.Data(), e.Length());
}

// The external form: its length, version 1, the kind's letter and a zero, then each word in eight
// lower-case hex digits.
std::string Form(char letter, const std::string& words) {
    return std::string{char(4 + words.size()), 1, letter, 0} + words;
}

// The collection word keeps its color bits.
TEST(VelIDExternalTest, EveryKindHasItsLetterAndWords) {
    const VelDistributionID dist = VelIDAccess::MakeDistributionID(kContext, 255);
    const VelCollectionID coll = VelIDAccess::MakeCollectionID(kContext, 0xC0000001);
    const VelCSetID cset = VelIDAccess::MakeCSetID(coll, 6).SetAscending(true);
    const VelIDExternal c(VelIDAccess::MakeCollectionID(kContext, 0x0400000A)), d(dist),
        e(VelIDAccess::MakeDSetID(kContext, 0x7FFFFFFF)), s(cset),
        w(VelIDAccess::MakeDrawerID(dist, 17));
    const std::pair<const VelIDExternal*, std::string> forms[] = {
        {&c, Form('C', "0400000a")},
        {&d, Form('D', "000000ff")},
        {&e, Form('E', "7fffffff")},
        {&s, Form('S', "c000000180000006")},
        {&w, Form('W', "000000ff00000011")}};
    for (const auto& [external, bytes] : forms) {
        EXPECT_EQ(external->Length(), int(bytes.size()));
        EXPECT_EQ(Bytes(*external), bytes);
    }
    EXPECT_EQ(VelIDAccess::CollectionIDMinor(c).Value(), 0x0400000A);
    EXPECT_EQ(VelIDAccess::DistributionIDMinor(d).Value(), 255);
    EXPECT_EQ(VelIDAccess::DSetIDMinor(e).Value(), 0x7FFFFFFF);
    EXPECT_EQ(VelIDAccess::CollectionIDMinor(s).Value(), coll.Minor().Value());
    EXPECT_EQ(VelIDAccess::CSetIDMinor(s).Value(), cset.Minor().Value());
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
