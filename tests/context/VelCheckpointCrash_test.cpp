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

TEST_F(VelCheckpointCrashTest, EveryKilledWriterLeavesItsCheckpoints) {
    int inCheckpoint = 0;
    int checkpointed = 0;
    for (unsigned trial = 0; trial < 12; ++trial) {
        const VelCrashTrial::Outcome outcome =
            VelCrashTrial::KillTrial(m_file.c_str(), 1000 + trial, trial % 2 == 1);
        EXPECT_TRUE(outcome.Good()) << "trial " << trial << ": " << outcome.failure << ", "
                                    << outcome.wrongValues << " wrong values";
        EXPECT_EQ(outcome.verified, outcome.checkpointed) << "trial " << trial;
        inCheckpoint += outcome.killedInCheckpoint;
        checkpointed += outcome.checkpointed;
    }
    // The trials must have aimed where it matters.
    EXPECT_GT(inCheckpoint, 0);
    EXPECT_GT(checkpointed, 0);
}

TEST_F(VelCheckpointCrashTest, EveryKilledCompressingWriterLeavesItsCheckpoints) {
    int checkpointed = 0;
    for (unsigned trial = 0; trial < 8; ++trial) {
        const VelCrashTrial::Outcome outcome = VelCrashTrial::KillTrial(
            m_file.c_str(), 2000 + trial, trial % 2 == 1, VelCompression::ShuffleDeflate(1));
        EXPECT_TRUE(outcome.Good()) << "trial " << trial << ": " << outcome.failure << ", "
                                    << outcome.wrongValues << " wrong values";
        EXPECT_EQ(outcome.verified, outcome.checkpointed) << "trial " << trial;
        checkpointed += outcome.checkpointed;
    }
    EXPECT_GT(checkpointed, 0);
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
