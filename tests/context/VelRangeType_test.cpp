// Range types and range values: their rules, the element bytes a drawer is filled with, and print
// forms.
#include "vel/context/VelRangeType.h"

#include <cmath>
#include <cstdint>
#include <cstring>

#include "VelTestIDs.h"
#include "VelTestSupport.h"
#include "vel/context/VelRangeValue.h"

namespace {

TEST(VelRangeTypeTest, CollectionRangesNameTheirCollectionAndNumberRangesNone) {
    const VelCollectionID c = TestCollection(3, 2);
    const VelRangeType members(VelTypeKeyCMember, c);
    EXPECT_TRUE(members.RefersToCollection());
    EXPECT_EQ(members.ElementSize(), 4);
    EXPECT_EQ(TestText(members), "CMember of 3/2");
    EXPECT_EQ(TestText(VelRangeType(VelTypeKeyOCSet, c.AltColor(5))), "OCSet of 3/2_clr5");
    EXPECT_NE(members, VelRangeType(VelTypeKeyCSet, c));
    EXPECT_NE(members, VelRangeType(VelTypeKeyCMember, TestCollection(3, 1)));

    const VelRangeType numbers(VelTypeKeyDouble);
    EXPECT_FALSE(numbers.RefersToCollection());
    EXPECT_TRUE(numbers.CollectionID().IsNull());
    EXPECT_EQ(numbers.ElementSize(), 8);
    EXPECT_EQ(TestText(numbers), "Double");
    EXPECT_EQ(TestText(VelRangeType()), "<? bad VelTypeKey ?>");
}

// The element a value stands for must be byte for byte what a dataset of the key's type holds.
template <class T>
void ExpectElement(const VelRangeValue& value, T native) {
    ASSERT_NE(value.Element(), nullptr);
    EXPECT_EQ(VelElementSizeOf(value.TypeKey()), static_cast<int>(sizeof(T)));
    EXPECT_EQ(std::memcmp(value.Element(), &native, sizeof(T)), 0);
}

TEST(VelRangeValueTest, ElementsHoldTheValueInItsKeysStoredFormAndPrint) {
    ExpectElement(VelRangeValue(-7), int32_t(-7));
    ExpectElement(VelRangeValue(2.5), 2.5);
    ExpectElement(VelRangeValue(0.25f), 0.25f);
    ExpectElement(VelRangeValue(true), uint8_t(1));
    ExpectElement(VelRangeValue(VelTypeKeyCSet, INT32_MIN | 4), int32_t(INT32_MIN | 4));
    EXPECT_EQ(VelRangeValue().Element(), nullptr);
    EXPECT_NE(VelRangeValue(3), VelRangeValue(VelTypeKeyCMember, 3));
    EXPECT_EQ(VelRangeValue(std::nan("")), VelRangeValue(std::nan("")));

    EXPECT_EQ(TestText(VelRangeValue(7)), "Int(7)");
    EXPECT_EQ(TestText(VelRangeValue(2.5)), "Double(2.5)");
    EXPECT_EQ(TestText(VelRangeValue(false)), "Bool(false)");
    EXPECT_EQ(TestText(VelRangeValue(VelTypeKeyOCSet, 12)), "OCSet(12)");
    EXPECT_EQ(TestText(VelRangeValue()), "<? range value unknown type key?>");
}

TEST(VelRangeTypeDeathTest, KeysCollectionsAndValuesMustAgree) {
    const char* agree =
        "m_refersToCollection != collection.IsNull() && \"a member or CSet range names its "
        "collection, a number range none\"";
    ExpectValidateFailure(VelRangeType{VelTypeKeyCSet}, agree);
    ExpectValidateFailure(VelRangeType(VelTypeKeyInt, TestCollection(1, 1)), agree);
    ExpectValidateFailure(VelRangeType(static_cast<VelTypeKey>(8)), "IsKnownKey(key)");
    ExpectValidateFailure(VelRangeValue(VelTypeKeyDouble, 1), "HoldsInt(key)");
    ExpectValidateFailure(VelRangeValue(1.0).IntValue(), "HoldsInt(m_key)");
    ExpectValidateFailure(VelRangeValue(1).DoubleValue(), "m_key == VelTypeKeyDouble");
}

}  // namespace
