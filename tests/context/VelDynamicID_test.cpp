#include "vel/context/VelDynamicID.h"

#include <cstring>

#include "VelTestSupport.h"

namespace {

TEST(VelDynamicIDTest, OrderIsCategoryContextFirstSecond) {
    const VelDynamicID base(5, 2, 10, 20);
    EXPECT_EQ(base.Compare(VelDynamicID(5, 2, 10, 20)), 0);
    EXPECT_EQ(base.Compare(VelDynamicID(6, 0, 0, 0)), -1);
    EXPECT_EQ(base.Compare(VelDynamicID(-1, 9, 99, 99)), 1);
    EXPECT_EQ(base.Compare(VelDynamicID(5, 3, 0, 0)), -1);
    EXPECT_EQ(base.Compare(VelDynamicID(5, 0xFFFFFFFFu, 99, 99)), 1) << "context compared signed";
    EXPECT_EQ(base.Compare(VelDynamicID(5, 2, 11, 0)), -1);
    EXPECT_EQ(base.Compare(VelDynamicID(5, 2, 10, -1)), 1);
    EXPECT_EQ(VelDynamicID(1, 1, INT64_MIN, 0).Compare(VelDynamicID(1, 1, INT64_MAX, 0)), -1);

    EXPECT_TRUE(base == VelDynamicID(5, 2, 10, 20));
    EXPECT_TRUE(base != VelDynamicID(5, 2, 10, 21));
    EXPECT_TRUE(base != VelDynamicID(5, 1, 10, 20));
}

TEST(VelDynamicIDTest, PersistentFormIsCategoryFirstSecondInTheStoredOrder) {
    const VelDynamicID id(0x12, 7, 0x0102030405060708LL, -2);
    unsigned char big[VelDynamicID::e_PersistentSize];
    id.WritePersistent(big, VelByteOrderBigEndian);
    const unsigned char expectBig[20] = {0, 0, 0,    0x12, 1,    2,    3,    4,    5,    6,
                                         7, 8, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE};
    EXPECT_EQ(std::memcmp(big, expectBig, 20), 0);

    unsigned char little[VelDynamicID::e_PersistentSize];
    id.WritePersistent(little, VelByteOrderLittleEndian);
    const unsigned char expectLittle[20] = {
        0x12, 0, 0, 0, 8, 7, 6, 5, 4, 3, 2, 1, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_EQ(std::memcmp(little, expectLittle, 20), 0);

    // The context is not stored: the reader supplies it.
    EXPECT_EQ(VelDynamicID::ReadPersistent(big, 7, VelByteOrderBigEndian), id);
    EXPECT_EQ(VelDynamicID::ReadPersistent(little, 7, VelByteOrderLittleEndian), id);
    EXPECT_EQ(VelDynamicID::ReadPersistent(big, 9, VelByteOrderBigEndian).Context(), 9u);
}

TEST(VelDynamicIDDeathTest, CategoryMustBeBelowTheLimit) {
    ExpectValidateFailure(VelDynamicID(1024, 0, 0, 0), "cat < VelCategoryLimit");
    unsigned char stored[VelDynamicID::e_PersistentSize] = {0, 0, 4, 0};  // 1024, big-endian
    ExpectValidateFailure(VelDynamicID::ReadPersistent(stored, 0, VelByteOrderBigEndian),
                          "tempCategory < VelCategoryLimit");
    EXPECT_EQ(VelDynamicID(1023, 0, 0, 0).Category(), 1023);
}

}  // namespace
