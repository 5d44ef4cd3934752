// Checkpoints as the file on disk shows them: what a checkpoint makes durable is in the file
// while the context stays open, what came after it is not, a checkpointed and closed file is the
// same database as one never checkpointed, and loading passes over objects beyond the state the
// file records.  Kills at random moments are VelCheckpointCrash_test's.

#include <hdf5.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "VelRowDrawersTest.h"
#include "context/VelDistribution.h"
#include "context/VelIDAccess.h"
#include "vel/context/VelCSet.h"

namespace {

using Ints = std::vector<int>;

class VelCheckpointTest : public VelRowDrawersTest {
protected:
    // A row holding step + column / 100.
    void WriteStep(const VelDistributionID& distribution, int row, double step) {
        std::vector<double> values(e_RowLength);
        for (int c = 0; c < e_RowLength; ++c) values[static_cast<size_t>(c)] = step + c / 100.0;
        WriteRow(distribution, row, values);
    }

    // The same database written twice, with and without checkpoints.
    void WriteSteps(bool checkpoint) {
        const VelDistributionID d = MakeDistribution();
        for (int s = 0; s < 6; ++s) {
            WriteStep(d, s, s);
            if (s == 2) Ref().CreateCollection(7 + s);
            if (checkpoint && s % 2 == 0) VelManager::FlushContext(m_context);
            if (checkpoint && s == 3) VelManager::SyncContext(m_context);
        }
        VelCollectionRef(Collection(2)).ExtendSpace(5);
    }
};
using VelCheckpointDeathTest = VelCheckpointTest;

TEST_F(VelCheckpointTest, TheFileHoldsTheLastCheckpointWhileTheContextStaysOpen) {
    const VelDistributionID d = MakeDistribution();
    WriteStep(d, 0, 10);
    VelManager::FlushContext(m_context);
    // Made after the checkpoint: in the context, not in the file.
    WriteStep(d, 1, 11);
    const VelCollectionID late = Ref().CreateCollection(4);
    {
        RawFile raw(m_file.str(), H5F_ACC_RDONLY);
        EXPECT_EQ(raw.ReadInts("Context attributes"), (Ints{4, 12}));
        EXPECT_EQ(raw.ReadIntAttribute("00000003", "Distribution attributes"), (Ints{2}));
        EXPECT_EQ(H5Lexists(raw.id(), "00000003/00000002", H5P_DEFAULT), 0);
        EXPECT_EQ(H5Lexists(raw.id(), "00000004", H5P_DEFAULT), 0);
    }
    VelManager::SyncContext(m_context);
    {
        RawFile raw(m_file.str(), H5F_ACC_RDONLY);
        EXPECT_EQ(raw.ReadInts("Context attributes"), (Ints{5, 13}));
        EXPECT_EQ(raw.ReadIntAttribute("00000004", "Collection attributes"), (Ints{4, 2, 1}));
        EXPECT_GT(H5Lexists(raw.id(), "00000003/00000002", H5P_DEFAULT), 0);
    }
    // A checkpoint with nothing changed writes nothing.
    const std::string synced = ReadFileBytes(m_file.str());
    VelManager::FlushContext(m_context);
    VelManager::SyncContext(m_context);
    EXPECT_EQ(ReadFileBytes(m_file.str()), synced);
    Reopen(hdf_File::OpenFlagsReadOnly);
    EXPECT_EQ(ReadRow(First(), 0)[19], 10.19);
    EXPECT_EQ(ReadRow(First(), 1)[3], 11.03);
    EXPECT_EQ(VelCollectionRef(Again(late)).Space(), 4);
}

// Every CSet of every collection of the open context, as its members.
std::vector<std::vector<int>> AllCSets(const VelContextRef& context) {
    std::vector<std::vector<int>> sets;
    const VelArray<VelCollectionID> collections = context.Collections();
    for (int k = 0; k < collections.Size(); ++k) {
        const VelCollectionID& c = collections[k];
        for (int i = 0; i < VelCollectionRef(c).NumCSets(); ++i) {
            const VelCSet set(TestCSet(c, i));
            std::vector<int> members(static_cast<size_t>(set.Size()));
            set.Members(members.data());
            sets.push_back(members);
        }
    }
    return sets;
}

// A writer that makes a drawer per step keeps a bounded number of them open across checkpoints
// (HDF5 visits every open dataset at every flush), and reading an old step opens it again.
TEST_F(VelCheckpointTest, CheckpointsLetGoOfDrawersNotInUse) {
    const VelDistributionID d = MakeDistribution();
    std::vector<ssize_t> openDatasets;
    for (int s = 0; s < 10; ++s) {
        WriteStep(d, s, s);
        VelManager::FlushContext(m_context);
        openDatasets.push_back(H5Fget_obj_count(H5F_OBJ_ALL, H5F_OBJ_DATASET));
    }
    EXPECT_EQ(openDatasets.back(), openDatasets[VelDistribution::e_OpenDrawersKept - 1]);
    EXPECT_GT(openDatasets.back(), openDatasets.front());
    EXPECT_EQ(ReadRow(d, 0)[5], 0.05);
    EXPECT_EQ(ReadRow(d, 9)[5], 9.05);
}

// A writer that never checkpoints holds a bounded number of drawers open: a transfer that finds
// more open lets go of those not recently used before it starts.
TEST_F(VelCheckpointTest, TransfersBoundTheDrawersHeldOpen) {
    const VelDistributionID d = MakeDistribution();
    const int bound = static_cast<int>(VelDistribution::e_OpenDrawersBound);
    const ssize_t before = H5Fget_obj_count(H5F_OBJ_ALL, H5F_OBJ_DATASET);
    ssize_t most = 0;
    for (int s = 0; s < bound + 20; ++s) {
        WriteStep(d, s % 10, s);
        most = std::max(most, H5Fget_obj_count(H5F_OBJ_ALL, H5F_OBJ_DATASET) - before);
    }
    EXPECT_EQ(most, bound + 1);
    EXPECT_LT(H5Fget_obj_count(H5F_OBJ_ALL, H5F_OBJ_DATASET) - before, 30);
    EXPECT_EQ(ReadRow(d, 0)[5], 80.05);
    EXPECT_EQ(ReadRow(d, 9)[5], 79.05);
}

// The database a checkpointed writer leaves at its close is the one it would have left without
// checkpoints, object for object and value for value, and the signature block is untouched.
// Only where an index set lies inside "IndexSets" may differ: a collection's full set is stored
// by its first write-back, which a checkpoint brings forward.
TEST_F(VelCheckpointTest, CheckpointsLeaveTheSameDatabaseAtClose) {
    WriteSteps(true);
    const std::vector<std::vector<int>> checkpointedSets = AllCSets(Ref());
    Close();
    VelTempFile plain("plain");
    m_context = VelManager::CreateContext(plain.c_str(), hdf_File::CreateFlagsTruncate, 3);
    m_collections.clear();
    for (int size : {10, 20, 30}) m_collections.push_back(Ref().CreateCollection(size));
    WriteSteps(false);
    EXPECT_EQ(AllCSets(Ref()), checkpointedSets);
    Close();
    std::string command = "h5diff -q";
    for (const char* collection : {"00000000", "00000001", "00000002", "00000004"})
        for (const char* dataset : {"IndexSets", "IndexSet index table"})
            command += std::string(" --exclude-path '/") + collection + "/" + dataset + "'";
    command += " " + m_file.str() + " " + plain.str();
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
    const std::string checkpointed = ReadFileBytes(m_file.str());
    ASSERT_GE(checkpointed.size(), 512u);
    EXPECT_EQ(checkpointed.substr(0, 512), ReadFileBytes(plain.str()).substr(0, 512));
}

// Objects named by serials the stored counter never handed out were made after the state the
// file records (by a writer that committed HDF5 objects without writing the context back).  They
// are passed over without being opened, whatever they hold, and a writable open removes them so
// that their serials can be handed out again.
TEST_F(VelCheckpointTest, ObjectsBeyondTheStoredCounterArePassedOverAndRemoved) {
    Close();
    {
        RawFile raw(m_file.str(), H5F_ACC_RDWR);
        // A collection without its attributes, and a member that is not even a group.
        raw.MakeTypedGroup("00000003", {0, 3});
        raw.WriteInts("00000005", {1, 2, 3});
    }
    Reopen(hdf_File::OpenFlagsReadOnly);
    EXPECT_EQ(Ref().Collections().Size(), 3);
    Close();
    {
        RawFile raw(m_file.str(), H5F_ACC_RDONLY);
        EXPECT_GT(H5Lexists(raw.id(), "00000003", H5P_DEFAULT), 0);
    }
    Reopen();
    EXPECT_EQ(Ref().Collections().Size(), 3);
    const VelCollectionID reused = Ref().CreateCollection(6);
    EXPECT_EQ(reused.Minor().Value(), 3);
    Close();
    {
        RawFile raw(m_file.str(), H5F_ACC_RDONLY);
        EXPECT_EQ(raw.ReadIntAttribute("00000003", "Collection attributes"), (Ints{6, 2, 1}));
        EXPECT_EQ(H5Lexists(raw.id(), "00000005", H5P_DEFAULT), 0);
    }
}

// ExtendSpace rewrites the full set's stored range in place, and that write may reach the file
// before the checkpoint that stores the new size: the full set is every member of the stored
// size, whatever its stored range says.
TEST_F(VelCheckpointTest, TheFullSetFollowsTheStoredSize) {
    VelCollectionRef(Collection(0)).ExtendSpace(15);
    Close();
    WriteIntAttribute("00000000", "Collection attributes", {10, 2, 1});
    Reopen(hdf_File::OpenFlagsReadOnly);
    const VelCSet full(VelCollectionRef(Collection(0)).BiggestCSetID());
    EXPECT_EQ(full.Size(), 10);
    EXPECT_FALSE(full.IsMember(10));
}

TEST_F(VelCheckpointDeathTest, OnlyAnOpenWritableContextIsCheckpointed) {
    ExpectValidateFailure(
        VelManager::FlushContext(VelContextID()),
        "!id.IsNull() && \"A checkpoint needs the ID of an open context, not the null ID\"");
    const VelContextID unknown = VelIDAccess::MakeContextID(m_context.Value() + 5, false);
    const std::string notOpen =
        "found && \"A checkpoint needs an open context: this one is closed or unknown\"";
    ExpectValidateFailure(VelManager::SyncContext(unknown), notOpen);
    ExpectValidateFailure(
        VelManager::FlushContext(VelIDAccess::MakeContextID(m_context.Value(), true)), notOpen);
    const VelContextID closed = m_context;
    Close();
    ExpectValidateFailure(VelManager::FlushContext(closed), notOpen);

    Reopen(hdf_File::OpenFlagsReadOnly);
    const std::string before = ReadFileBytes(m_file.str());
    const std::string readOnly =
        "!context.IsReadOnly() && \"A context opened read-only cannot be checkpointed\"";
    ExpectValidateFailure(VelManager::FlushContext(m_context), readOnly);
    ExpectValidateFailure(VelManager::SyncContext(m_context), readOnly);
    EXPECT_EQ(ReadFileBytes(m_file.str()), before);
}

}  // namespace
