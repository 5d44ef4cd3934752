// A checkpointing writer killed at random moments, inside checkpoints too, and one stopped by a
// full disk: every file reopens with every checkpointed step, value for value, and a writable
// reopen goes on from there.  scripts/crash-trials.sh runs the same trials by the hundred.

#include "VelCrashTrial.h"
#include "VelTestSupport.h"
#include "vel/UTI_VelDynamicAPI.h"

namespace {

class VelCheckpointCrashTest : public ::testing::Test {
protected:
    void SetUp() override { UTI_VelDynamicAPI_initialize(m_modules); }
    void TearDown() override { UTI_VelDynamicAPI_finalize(m_modules); }

    int m_modules = 0;
    VelTempFile m_file{"crash"};
};

// Twelve plain writers, then eight that compress their drawers and rewrite them in place.
TEST_F(VelCheckpointCrashTest, EveryKilledWriterLeavesItsCheckpoints) {
    int inCheckpoint = 0;
    int checkpointed[2] = {0, 0};
    for (unsigned trial = 0; trial < 20; ++trial) {
        const bool compressed = trial >= 12;
        const VelCrashTrial::Outcome outcome = VelCrashTrial::KillTrial(
            m_file.c_str(), (compressed ? 1988 : 1000) + trial, trial % 2 == 1,
            compressed ? VelCompression::ShuffleDeflate(1) : VelCompression());
        EXPECT_TRUE(outcome.Good()) << "trial " << trial << ": " << outcome.failure << ", "
                                    << outcome.wrongValues << " wrong values";
        EXPECT_EQ(outcome.verified, outcome.checkpointed) << "trial " << trial;
        inCheckpoint += outcome.killedInCheckpoint;
        checkpointed[compressed] += outcome.checkpointed;
    }
    // The trials must have aimed where it matters.
    EXPECT_GT(inCheckpoint, 0);
    EXPECT_GT(checkpointed[0], 0);
    EXPECT_GT(checkpointed[1], 0);
}

TEST_F(VelCheckpointCrashTest, AFullDiskStopsTheWriterAndKeepsTheLastCheckpoint) {
    const VelCrashTrial::Outcome outcome =
        VelCrashTrial::DiskFullTrial(m_file.c_str(), 3 * 1024 * 1024);
    EXPECT_TRUE(outcome.Good()) << outcome.failure << ", " << outcome.wrongValues
                                << " wrong values";
    EXPECT_GT(outcome.checkpointed, 0);
    EXPECT_LT(outcome.checkpointed, VelCrashTrial::e_Steps);
    EXPECT_EQ(outcome.verified, outcome.checkpointed);
}

}  // namespace
