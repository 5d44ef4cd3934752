// Under VelThrowOnFailure a program catches every kind of failure and goes on: a caller's
// mistake, a damaged file, a storage failure while writing, checkpointing or reading.  Nothing
// leaks, other contexts keep working, and a context whose write failed refuses every use but
// CloseContext while its file keeps the last checkpoint.

#include <hdf5.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "VelRowDrawersTest.h"
#include "hdf/hdf_Journal.h"
#include "vel/context/VelCSet.h"
#include "vel/core/VelAssert.h"

namespace {

using Ints = std::vector<int>;

const char kUnusable[] =
    "!context.IsAbandoned() && \"The context is unusable after a failed write: only CloseContext "
    "is allowed\"";

class VelFailurePolicyTest : public VelRowDrawersTest {
protected:
    void SetUp() override {
        VelRowDrawersTest::SetUp();
        VelAssert::SetFailurePolicy(VelThrowOnFailure);
        ::testing::internal::CaptureStderr();
        ::testing::internal::CaptureStdout();
    }
    void TearDown() override {
        m_stderr = ::testing::internal::GetCapturedStderr();
        ::testing::internal::GetCapturedStdout();
        VelAssert::SetFailurePolicy(VelStopOnFailure);
        VelRowDrawersTest::TearDown();
    }

    // Runs `f`, which must throw a VelFailure, and gives its condition text.
    template <class F>
    std::string FailureOf(F&& f) {
        try {
            f();
        } catch (const VelFailure& failure) {
            return failure.what();
        }
        ADD_FAILURE() << "no VelFailure";
        return std::string();
    }

    void WriteRow(const VelDistributionID& distribution, int row, double value) {
        VelRowDrawersTest::WriteRow(distribution, row, std::vector<double>(e_RowLength, value));
    }

    hid_t FileID() const { return Ref().File().GetFileID(); }

    std::string m_stderr;
};

// A caller's mistake is a validation, a failed invariant (here the one the design keeps for an
// operation it does not provide) an assertion; the work goes on after either.
TEST_F(VelFailurePolicyTest, ACallersMistakeOrAFailedInvariantIsCaughtAndTheWorkGoesOn) {
    const VelCollectionRef collection(Collection(0));
    const int outside[2] = {3, 12};
    EXPECT_EQ(FailureOf([&] { collection.CreateCSet(outside, 2); }),
              "inCollection && \"CSet members must lie in 0 .. size-1 of their collection\"");
    const int members[2] = {3, 7};
    try {
        collection.CreateTempCSet(members, 1);
        ADD_FAILURE() << "no VelFailure";
    } catch (const VelFailure& failure) {
        EXPECT_STREQ(failure.what(), "!\"VelCollection::CreateTempCSet is not yet impelemented\"");
        EXPECT_FALSE(failure.IsValidation());
    }
    const VelCSetID made = collection.CreateCSet(members, 2);
    VelManager::FlushContext(m_context);
    Reopen();
    EXPECT_EQ(VelCSet(Again(made)).Size(), 2);
}

// A file that contradicts itself is refused with a VelFailure; the process keeps every HDF5
// object count it had, the other open context works, and a good file opens afterwards.
TEST_F(VelFailurePolicyTest, ADamagedFileIsRefusedAndNothingLeaks) {
    VelTempFile other("other");
    const VelContextID second =
        VelManager::CreateContext(other.c_str(), hdf_File::CreateFlagsTruncate, 3);
    Close();
    {
        RawFile raw(m_file.str(), H5F_ACC_RDWR);
        raw.WriteInts("Context attributes", {3, 11, 0});
    }
    const ssize_t objects = OpenHdf5Objects();
    EXPECT_EQ(FailureOf([&] { OpenAndRead(); }), "contextDims.Rank() == 1 && contextDims[0] == 2");
    EXPECT_EQ(OpenHdf5Objects(), objects);
    EXPECT_EQ(VelContextRef(second).CreateCollection(4).Minor().Value(), 0);
    VelManager::CloseContext(second);
    {
        RawFile raw(m_file.str(), H5F_ACC_RDWR);
        raw.WriteInts("Context attributes", {3, 11});
    }
    m_context = Open();
    ASSERT_FALSE(m_context.IsNull());
    EXPECT_EQ(Ref().Collections().Size(), 3);
}

// Replaces the dataset or attribute `name` of the object at `path` by one of `count` elements
// of `type`, zero-filled.
void Retype(const std::string& file, const char* path, const char* name, hid_t type, bool attribute,
            hsize_t count) {
    RawFile raw(file, H5F_ACC_RDWR);
    const hid_t object = H5Oopen(raw.id(), path, H5P_DEFAULT);
    const hid_t space = H5Screate_simple(1, &count, nullptr);
    std::vector<unsigned char> zeros(count * H5Tget_size(type), 0);
    if (attribute) {
        H5Adelete(object, name);
        const hid_t a = H5Acreate2(object, name, type, space, H5P_DEFAULT, H5P_DEFAULT);
        H5Awrite(a, type, zeros.data());
        H5Aclose(a);
    } else {
        H5Ldelete(object, name, H5P_DEFAULT);
        const hid_t d =
            H5Dcreate2(object, name, type, space, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
        H5Dwrite(d, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, zeros.data());
        H5Dclose(d);
    }
    H5Sclose(space);
    H5Oclose(object);
}

// Every stored type is compared with the layout's before a read: HDF5 would convert a float, a
// wider integer or a compound of other members into something, or not survive the attempt.
TEST_F(VelFailurePolicyTest, StoredTypesThatAreNotTheLayoutsAreRefused) {
    MakeDistribution();
    Close();
    const std::string original = m_file.str() + ".original";
    std::system(("cp " + m_file.str() + " " + original).c_str());
    const ssize_t objects = OpenHdf5Objects();
    const auto refusal = [&](const char* path, const char* name, hid_t type, bool attribute,
                             hsize_t count) {
        std::system(("cp " + original + " " + m_file.str()).c_str());
        Retype(m_file.str(), path, name, type, attribute, count);
        return FailureOf([&] { OpenAndRead(); });
    };
    EXPECT_EQ(refusal("/", "Context attributes", H5T_NATIVE_LLONG, false, 2),
              "hdf_MatchesType(attributes.GetType(), hdf_Datatype::NATIVE_INT()) && "
              "\"\\\"Context attributes\\\" does not hold ints\"");
    EXPECT_EQ(refusal("00000001", "IndexSets", H5T_NATIVE_FLOAT, false, 5000),
              "Layout::HoldsInts(m_indexSets) && \"\\\"IndexSets\\\" does not hold ints\"");
    EXPECT_EQ(refusal("00000003", "Grid", H5T_NATIVE_DOUBLE, true, 2),
              "stored distribution /00000003 refused: \"Grid\" does not hold ints");
    EXPECT_EQ(refusal("00000002", "type", H5T_NATIVE_SHORT, true, 2),
              "hdf_MatchesType(type.GetType(), hdf_Datatype::NATIVE_INT()) && \"a \\\"type\\\" "
              "attribute does not hold ints\"");
    // An index table whose entries name their members differently.
    const hid_t renamed = H5Tcreate(H5T_COMPOUND, 24);
    const char* names[6] = {"dataset", "start", "length", "nameIndex", "setIndex", "linkedId"};
    for (size_t m = 0; m < 6; ++m) H5Tinsert(renamed, names[m], 4 * m, H5T_NATIVE_INT);
    EXPECT_EQ(refusal("00000000", "IndexSet index table", renamed, false, 256),
              "Layout::HoldsEntries(m_table, m_entryType) && \"the index table does not hold "
              "six-int entries\"");
    H5Tclose(renamed);
    EXPECT_EQ(OpenHdf5Objects(), objects);
    std::remove(original.c_str());
}

// An open finds the objects and reads each at its first use: a damaged collection does not
// stop the open nor the use of the others, and it is refused at every use, as the open refused
// it when it read everything.
TEST_F(VelFailurePolicyTest, DamagedObjectsAreRefusedAtTheirFirstUseAndTheOthersWork) {
    const VelDistributionID d = MakeDistribution();
    WriteRow(d, 2, 0.5);
    Close();
    Retype(m_file.str(), "00000002", "IndexSets", H5T_NATIVE_FLOAT, false, 5000);
    const ssize_t objects = OpenHdf5Objects();
    Reopen();
    const VelArray<VelCollectionID> collections = Ref().Collections();
    ASSERT_EQ(collections.Size(), 3);
    const std::string refusal =
        "Layout::HoldsInts(m_indexSets) && \"\\\"IndexSets\\\" does not hold ints\"";
    for (int attempt = 0; attempt < 2; ++attempt)
        EXPECT_EQ(FailureOf([&] { VelCollectionRef(collections[2]).Space(); }), refusal);
    EXPECT_EQ(VelCollectionRef(collections[0]).Space(), 10);
    EXPECT_EQ(ReadRow(First(), 2), std::vector<double>(e_RowLength, 0.5));
    Close();
    EXPECT_EQ(OpenHdf5Objects(), objects);
}

// A datatype message damaged inside a field keeps its class and size: a double whose exponent
// bias changed would convert faithfully into wrong numbers, and is refused instead.  A "type"
// that names another object's serial is refused as well.
TEST_F(VelFailurePolicyTest, ShiftedFloatsAndMisnamedObjectsAreRefused) {
    const VelDistributionID d = MakeDistribution();
    WriteRow(d, 2, 0.5);
    Close();
    const hid_t shifted = H5Tcopy(H5T_NATIVE_DOUBLE);
    H5Tset_ebias(shifted, 1000);
    Retype(m_file.str(), "00000003/00000001", "00000001", shifted, false, 0);
    H5Tclose(shifted);
    Reopen();
    EXPECT_EQ(FailureOf([&] { ReadRow(First(), 2); }),
              "stored drawer /00000003/00000001 refused: dataset \"00000001\" does not hold Double "
              "values");
    // Values kept in the dataset's header (a layout the library never writes, and one a damaged
    // layout message can fake with nothing stored) are refused before HDF5 reads them.
    Close();
    const hid_t compact = H5Pcreate(H5P_DATASET_CREATE);
    H5Pset_layout(compact, H5D_COMPACT);
    RawFile(m_file.str(), H5F_ACC_RDWR).WriteInts("Context attributes", {4, 12}, compact);
    H5Pclose(compact);
    EXPECT_EQ(FailureOf([&] { OpenAndRead(); }),
              "hdf_HasStoredLayout(attributes) && \"\\\"Context attributes\\\" stores no values\"");
    {
        RawFile raw(m_file.str(), H5F_ACC_RDWR);
        raw.WriteInts("Context attributes", {4, 12});
    }
    WriteIntAttribute("00000003", "type", {1, 2});
    EXPECT_EQ(FailureOf([&] { OpenAndRead(); }),
              "namedBySerial && \"an object's group is not named by the serial of its "
              "\\\"type\\\"\"");
}

// A write that fails at the disk gives the context up: every later use but CloseContext is
// refused, and the file keeps the last checkpoint, which a reopen finds whole.
TEST_F(VelFailurePolicyTest, AFailedWriteGivesTheContextUpAndKeepsTheLastCheckpoint) {
    const VelDistributionID d = MakeDistribution();
    WriteRow(d, 0, 1.5);
    VelManager::FlushContext(m_context);
    hdf_Journal::InjectFault(FileID(), hdf_Journal::e_Write, 1);
    EXPECT_FALSE(FailureOf([&] {
                     WriteRow(d, 1, 2.5);
                     VelManager::FlushContext(m_context);
                 }).empty());
    EXPECT_EQ(FailureOf([&] { Ref().Collections(); }), kUnusable);
    EXPECT_EQ(FailureOf([&] { VelManager::FlushContext(m_context); }), kUnusable);
    EXPECT_EQ(FailureOf([&] { ReadRow(d, 0); }), kUnusable);
    Reopen();
    EXPECT_EQ(ReadRow(First(), 0), std::vector<double>(20, 1.5));
    EXPECT_EQ(VelDistributionRef(First()).Drawers().Size(), 1);
    WriteRow(First(), 1, 3.5);
    Reopen(hdf_File::OpenFlagsReadOnly);
    EXPECT_EQ(ReadRow(First(), 1), std::vector<double>(20, 3.5));
}

TEST_F(VelFailurePolicyTest, AFailedCheckpointKeepsThePreviousOne) {
    const VelDistributionID d = MakeDistribution();
    WriteRow(d, 0, 1.5);
    VelManager::FlushContext(m_context);
    WriteRow(d, 1, 2.5);
    hdf_Journal::InjectFault(FileID(), hdf_Journal::e_Commit, 1);
    EXPECT_EQ(FailureOf([&] { VelManager::SyncContext(m_context); }), "0");
    EXPECT_EQ(FailureOf([&] { WriteRow(d, 2, 3.5); }), kUnusable);
    Reopen(hdf_File::OpenFlagsReadOnly);
    EXPECT_EQ(VelDistributionRef(First()).Drawers().Size(), 1);
    EXPECT_EQ(ReadRow(First(), 0), std::vector<double>(20, 1.5));
}

// A read that fails leaves a read-only context usable: the next read succeeds.
TEST_F(VelFailurePolicyTest, AFailedReadIsThrownAndTheReaderGoesOn) {
    const VelDistributionID d = MakeDistribution();
    WriteRow(d, 4, 4.5);
    Reopen(hdf_File::OpenFlagsReadOnly);
    hdf_Journal::InjectFault(FileID(), hdf_Journal::e_Read, 1);
    EXPECT_FALSE(FailureOf([&] { ReadRow(First(), 4); }).empty());
    EXPECT_EQ(ReadRow(First(), 4), std::vector<double>(20, 4.5));
    const ssize_t objects = OpenHdf5Objects();
    Close();
    EXPECT_LT(OpenHdf5Objects(), objects);
}

}  // namespace
