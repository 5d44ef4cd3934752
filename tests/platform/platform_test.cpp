#include <gtest/gtest.h>

#include <vector>

#include "vel/platform/UTI_Modules.h"
#include "vel/platform/atr_String.h"
#include "vel/platform/cow_String.h"
#include "vel/platform/mem_Memory.h"
#include "vel/platform/omi_BlkBitVect.h"
#include "vel/platform/omi_Swapper.h"

namespace {

TEST(OmiBlkBitVectTest, TraversalVisitsSetBitsInOrderAcrossBlocks) {
    omi_BlkBitVect bits(200);
    bits.SetRange(60, 70);  // spans a partial block, a whole block and a partial block
    bits.Set(199);
    bits.Clear(64);
    std::vector<int64_t> seen;
    for (int64_t i = bits.NextSet(0); i >= 0; i = bits.NextSet(i + 1)) seen.push_back(i);
    ASSERT_EQ(seen.size(), 70u);
    EXPECT_EQ(seen.front(), 60);
    EXPECT_EQ(seen[4], 65);
    EXPECT_EQ(seen[68], 129);
    EXPECT_EQ(seen.back(), 199);
    EXPECT_EQ(bits.Count(), 70);
    EXPECT_EQ(bits.NextSet(200), -1);
    // A size that fills its last block: nothing lies at or past the end.
    omi_BlkBitVect full(128);
    full.SetRange(0, 128);
    EXPECT_EQ(full.NextSet(127), 127);
    EXPECT_EQ(full.NextSet(128), -1);
    // Shrunk to whole blocks and filled again: the blocks it gave up are no longer looked at.
    full.Resize(64);
    full.SetRange(0, 64);
    EXPECT_EQ(full.NextSet(63), 63);
    EXPECT_EQ(full.NextSet(64), -1);
}

TEST(OmiSwapperTest, BigEndianRoundTripsAndInPlaceSwap) {
    unsigned char bytes[8];
    omi_Swapper::PutBigEndian32(bytes, 0x0400000Au);
    EXPECT_EQ(bytes[0], 0x04);
    EXPECT_EQ(bytes[3], 0x0A);
    EXPECT_EQ(omi_Swapper::GetBigEndian32(bytes), 0x0400000Au);
    omi_Swapper::PutBigEndian64(bytes, 0x0102030405060708ull);
    EXPECT_EQ(bytes[0], 1);
    EXPECT_EQ(bytes[7], 8);
    EXPECT_EQ(omi_Swapper::GetBigEndian64(bytes), 0x0102030405060708ull);
    uint32_t values[3] = {0x11223344u, 0xAABBCCDDu, 0x01020304u};
    omi_Swapper::SwapInPlace(values, 4, 2);
    EXPECT_EQ(values[0], 0x44332211u);
    EXPECT_EQ(values[1], 0xDDCCBBAAu);
    EXPECT_EQ(values[2], 0x01020304u) << "only `count` values are swapped";
}

TEST(PlatformTextTest, TranslateAppendsAndStringsCompareAsUnsignedBytes) {
    atr_String text("HDF5 Error stack:\n");
    atr_translate(text, "  HDF5 error: (%d)%s\n", 4, "File accessibilty");
    EXPECT_STREQ(text.c_str(), "HDF5 Error stack:\n  HDF5 error: (4)File accessibilty\n");
    EXPECT_LT(cow_String(""), cow_String("a"));
    EXPECT_LT(cow_String("z"), cow_String("\xc3\xa9"));  // 0xC3 sorts after ASCII
}

TEST(PlatformMemoryTest, CachePoolReusesReleasedBlocks) {
    mem_CacheManager manager("VelCacheManager");
    {
        mem_CachePool pool(manager, 48);
        void* a = pool.Allocate();
        pool.Release(a);
        EXPECT_EQ(pool.Allocate(), a);
        EXPECT_EQ(manager.Outstanding(), 1);
        pool.Release(a);
    }
    EXPECT_EQ(manager.Outstanding(), 0);
}

TEST(PlatformModulesTest, CounterPatternActsOnlyAtTheEdges) {
    int module = 0, caller = 0;
    EXPECT_TRUE(UTI_ModuleStarting(module, caller));
    EXPECT_FALSE(UTI_ModuleStarting(module, caller));
    EXPECT_EQ(caller, 1);
    EXPECT_FALSE(UTI_ModuleStopping(module, caller));
    EXPECT_TRUE(UTI_ModuleStopping(module, caller));
    EXPECT_EQ(caller, 0);
    EXPECT_FALSE(UTI_ModuleStopping(module, caller));  // unmatched stop: counter goes negative
    EXPECT_EQ(module, -1);
    EXPECT_EQ(caller, 0);
}

}  // namespace
