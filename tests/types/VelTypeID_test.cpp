#include "vel/types/VelTypeID.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "VelTestSupport.h"

namespace {

TEST(VelTypeID, OrderIsFormNameThenOrdinal) {
    const VelTypeID null;
    EXPECT_TRUE(null.IsNull());
    EXPECT_EQ(null.Ordinal(), -1);
    EXPECT_EQ(null.Compare(VelTypeID("A", 0)), -1);
    EXPECT_EQ(VelTypeID("A", 7).Compare(VelTypeID("B", 0)), -1);
    EXPECT_EQ(VelTypeID("B", 0).Compare(VelTypeID("AB", 9)), 1);
    // A name sorts before its extensions, and bytes compare unsigned.
    EXPECT_EQ(VelTypeID("A", 3).Compare(VelTypeID("AB", 0)), -1);
    EXPECT_EQ(VelTypeID("\xe9", 0).Compare(VelTypeID("z", 0)), 1);
    EXPECT_EQ(VelTypeID("A", 2).Compare(VelTypeID("A", 10)), -1);
    EXPECT_EQ(VelTypeID("A", 2), VelTypeID("A", 2));
    EXPECT_EQ(VelTypeID("A", 2).FormName(), cow_String("A"));
}

TEST(VelTypeID, TextFormRoundTripsAndRefusesJunk) {
    const VelTypeID id("Mechanics#2", 41);
    EXPECT_EQ(id.ToString(), cow_String("Mechanics#2#41"));
    EXPECT_EQ(VelTypeID::FromString(id.ToString()), id);
    std::ostringstream text;
    text << id << ' ' << VelTypeID();
    EXPECT_EQ(text.str(), "Mechanics#2#41 *NULL*");

    const std::string longest(VelTypeID::e_MaxFormNameLength, 'f');
    EXPECT_EQ(VelTypeID::FromString(cow_String(longest + "#0")), VelTypeID(cow_String(longest), 0));
    for (const char* junk : {"", "*NULL*", "Types", "Types#", "#3", "Types#-1", "Types#3x",
                             "Types# 3", "Types#99999999999", "Types#2147483648"}) {
        EXPECT_TRUE(VelTypeID::FromString(junk).IsNull()) << junk;
    }
    EXPECT_TRUE(VelTypeID::FromString(cow_String(longest + "f#0")).IsNull());
}

TEST(VelTypeIDDeathTest, FormNamesMustFit) {
    const char* message =
        "!formName.IsEmpty() && formName.Length() <= e_MaxFormNameLength && \"A form name must "
        "have 1 to 59 bytes to name a type\"";
    ExpectValidateFailure(VelTypeID("", 0), message);
    ExpectValidateFailure(VelTypeID(cow_String(std::string(60, 'f')), 0), message);
    ExpectValidateFailure(VelTypeID("F", -1), "ordinal >= 0");
}

}  // namespace
