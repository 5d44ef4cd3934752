// The system pool's count of live blocks and its once-per-process leak warning, and the print
// forms of the buffer records and qualified pointers that the transfer tests do not reach.
#include "vel/transfer/VelPool.h"

#include <unistd.h>

#include <vector>

#include "VelTestIDs.h"
#include "VelTestSupport.h"
#include "vel/platform/mem_Memory.h"
#include "vel/transfer/VelBufferSet.h"
#include "vel/transfer/VelQualPointer.h"

namespace {

// Run in a child process of its own, so that no other test has used up the one warning.
void DestroyTwoLeakingPools() {
    std::vector<void*> leaked;
    for (int k = 0; k < 2; ++k) {
        VelSysPool pool;
        pool.free(nullptr);
        pool.free(pool.malloc(16));
        leaked.push_back(pool.malloc(8));
        if (pool.LiveBlocks() != 1) _exit(1);
    }
    for (void* block : leaked) mem_Free(block);
    _exit(0);
}

TEST(VelSysPoolTest, WarnsOnceWhenDestroyedWithLiveBlocksDeathTest) {
    EXPECT_EXIT(DestroyTwoLeakingPools(), ::testing::ExitedWithCode(0),
                "^" +
                    VelLiteralRegex("??? a VelSysPool is being destructed without being empty.  "
                                    "A stop in VelSysPool::Report will show where\n") +
                    "$");
}

TEST(VelBufferSetTest, PrintForms) {
    VelBufferSet set;
    EXPECT_EQ(TestText(set), "(BufSet      )");
    double value = 0;
    set[VelbufDiagonal] = &value;
    const std::string address = TestText(static_cast<const void*>(&value));
    EXPECT_EQ(TestText(set), "(BufSet       bufDiagonal-->" + address + "  )");
    set.Init();
    EXPECT_EQ(set[VelbufDiagonal], nullptr);
    EXPECT_STREQ(VelstringNameOf(static_cast<VelBufferType>(-1)), "?BadBufferType?");

    EXPECT_EQ(TestText(VelQualPointer(&value, VelTypeKeyDouble, true)),
              "(QualPointer " + address + " Double 1)");
}

}  // namespace
