// Parallel contexts under mpirun (any number of ranks): drawers the ranks write together, each
// its own ordinal range, are the one drawer a single process writes; reads and writes of each
// rank's own block go collectively; collective calls that differ between ranks are refused on
// every rank; the file reads back in one process, with the library and with HDF5 directly.
#include <gtest/gtest.h>
#include <mpi.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "vel/vel.h"

namespace {

int Rank() {
    int rank = 0;
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    return rank;
}

int Size() {
    int size = 1;
    MPI_Comm_size(MPI_COMM_WORLD, &size);
    return size;
}

// Every rank the same path, made by rank 0.
std::string SharedPath(const char* name) {
    char path[256] = {0};
    if (Rank() == 0)
        std::snprintf(path, sizeof path, "/tmp/vel_parallel_%d_%s.vel", static_cast<int>(getpid()),
                      name);
    MPI_Bcast(path, sizeof path, MPI_CHAR, 0, MPI_COMM_WORLD);
    return path;
}

VelGrid GridOf(const VelCollectionID& rows, const VelCollectionID& columns) {
    VelArray<VelCollectionID> collections(2);
    collections[0] = rows;
    collections[1] = columns;
    return VelGrid(collections);
}

double ValueAt(int row, int column) {
    return row * 10.0 + column;
}

// Rows `first` .. `last` of the grid's values.
std::vector<double> RowsOfValues(int first, int last) {
    std::vector<double> values;
    for (int r = first; r <= last; ++r)
        for (int c = 0; c < 3; ++c) values.push_back(ValueAt(r, c));
    return values;
}

// Rank `rank`'s rows of `count` rows that start at `offset`.
std::pair<int, int> BlockOf(int rank, int count, int offset = 0) {
    const int size = Size();
    const int base = count / size;
    const int extra = count % size;
    const int first = offset + rank * base + (rank < extra ? rank : extra);
    return {first, first + base + (rank < extra ? 1 : 0) - 1};
}

// Moves rows `first` .. `last` of the distribution, all three columns.
void Move(const VelDistributionID& distribution, const VelCollectionID& rows,
          const VelCollectionID& columns, int first, int last, std::vector<double>& values,
          bool write, bool newDrawer) {
    VelTransfer transfer{VelDistributionRef(distribution)};
    if (newDrawer) {
        transfer.SetMakeNewDrawer();
    } else if (write) {
        transfer.SetWrite();
    } else {
        transfer.SetRead();
    }
    transfer.SetBufferPadding(false);
    transfer.SetDimOrdinalRange(0, rows, first, last);
    transfer.SetDim(1, VelCollectionRef(columns).BiggestCSetID());
    transfer.CheckView();
    values.resize(static_cast<size_t>(last - first + 1) * 3);
    transfer.SetBuffer(VelbufMain, values.data(), transfer.RequiredBufferSize(VelbufMain));
    if (write) {
        transfer.ExecWrite();
    } else {
        transfer.ExecRead();
    }
    transfer.RelinquishBuffers();
}

class VelParallelContext : public ::testing::Test {
protected:
    void SetUp() override { UTI_VelDynamicAPI_initialize(m_modules); }
    void TearDown() override {
        UTI_VelDynamicAPI_finalize(m_modules);
        VelAssert::SetFailurePolicy(VelStopOnFailure);
    }
    int m_modules = 0;
};

TEST_F(VelParallelContext, RanksWriteOneDrawerAndReadEachOthersBlocks) {
    const std::string path = SharedPath("drawers");
    const int count = 10 * Size() + 3;
    const VelContextID id = VelManager::CreateContextParallel(
        path.c_str(), hdf_File::CreateFlagsTruncate, 1, MPI_COMM_WORLD);
    ASSERT_FALSE(id.IsNull());
    const VelContextRef context(id);
    const VelCollectionID rows = context.CreateCollection(count);
    const VelCollectionID columns = context.CreateCollection(3);
    const VelDistributionID whole =
        context.CreateDistribution(GridOf(rows, columns), VelRangeType(VelTypeKeyDouble));
    const VelDistributionID part =
        context.CreateDistribution(GridOf(rows, columns), VelRangeType(VelTypeKeyDouble));

    const auto mine = BlockOf(Rank(), count);
    std::vector<double> values = RowsOfValues(mine.first, mine.second);
    Move(whole, rows, columns, mine.first, mine.second, values, true, true);
    // Rows 2 .. count - 2 only: the drawer holds the ranks' union, a CSet of its own.
    const auto inner = BlockOf(Rank(), count - 3, 2);
    values = RowsOfValues(inner.first, inner.second);
    Move(part, rows, columns, inner.first, inner.second, values, true, true);
    EXPECT_EQ(VelDistributionRef(whole).NumDrawers(), 1);
    EXPECT_EQ(VelDistributionRef(part).NumDrawers(), 1);
    const VelDrawerDescription partDrawer =
        VelDrawerRef(VelDistributionRef(part).Drawers()[0]).Description();
    EXPECT_EQ(partDrawer.Sizes()[0], count - 3);

    // Each rank reads its neighbour's block, then every rank the whole grid.
    const auto next = BlockOf((Rank() + 1) % Size(), count);
    Move(whole, rows, columns, next.first, next.second, values, false, false);
    EXPECT_EQ(values, RowsOfValues(next.first, next.second));
    Move(whole, rows, columns, 0, count - 1, values, false, false);
    EXPECT_EQ(values, RowsOfValues(0, count - 1));

    // Written again in place, each rank its own block: the values change sign.
    values = RowsOfValues(mine.first, mine.second);
    for (double& v : values) v = -v;
    Move(whole, rows, columns, mine.first, mine.second, values, true, false);
    VelManager::FlushContext(id);
    VelManager::CloseContext(id);
    MPI_Barrier(MPI_COMM_WORLD);

    // One process reads the file: through the library, and straight through HDF5.
    if (Rank() == 0) {
        const VelContextID serial =
            VelManager::OpenContext(path.c_str(), hdf_File::OpenFlagsReadOnly, 1);
        ASSERT_FALSE(serial.IsNull());
        const VelContextRef reopened(serial);
        const VelDistributionID stored = reopened.Distributions()[0];
        Move(stored, reopened.Collections()[0], reopened.Collections()[1], 0, count - 1, values,
             false, false);
        std::vector<double> expected = RowsOfValues(0, count - 1);
        for (double& v : expected) v = -v;
        EXPECT_EQ(values, expected);
        const std::string dataset =
            VelDrawerRef(VelDistributionRef(stored).Drawers()[0]).ValuesPath().c_str();
        VelManager::CloseContext(serial);

        const hid_t file = H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT);
        const hid_t data = H5Dopen2(file, dataset.c_str(), H5P_DEFAULT);
        std::vector<double> raw(expected.size());
        EXPECT_GE(H5Dread(data, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, raw.data()), 0);
        EXPECT_EQ(raw, expected);
        H5Dclose(data);
        H5Fclose(file);
        std::remove(path.c_str());
    }
}

TEST_F(VelParallelContext, CallsThatDifferBetweenRanksAreRefusedOnEveryRank) {
    if (Size() < 2) GTEST_SKIP() << "one rank cannot differ from the others";
    VelAssert::SetFailurePolicy(VelThrowOnFailure);
    const std::string path = SharedPath("differ");
    const VelContextID id = VelManager::CreateContextParallel(
        path.c_str(), hdf_File::CreateFlagsTruncate, 1, MPI_COMM_WORLD);
    const VelContextRef context(id);
    try {
        context.CreateCollection(5 + Rank());
        ADD_FAILURE() << "collections of different sizes were made";
    } catch (const VelFailure& failure) {
        EXPECT_NE(std::string(failure.what())
                      .find("this rank called "
                            "VelContextRef::CreateCollection"),
                  std::string::npos)
            << failure.what();
    }
    const VelCollectionID rows = context.CreateCollection(4 * Size());
    const VelCollectionID columns = context.CreateCollection(3);
    const VelDistributionID values =
        context.CreateDistribution(GridOf(rows, columns), VelRangeType(VelTypeKeyDouble));
    // Rank 0 leaves a gap after its block.
    const auto mine = BlockOf(Rank(), 4 * Size());
    const int first = mine.first + (Rank() == 1 ? 1 : 0);
    std::vector<double> buffer = RowsOfValues(first, mine.second);
    EXPECT_THROW(Move(values, rows, columns, first, mine.second, buffer, true, true), VelFailure);
    EXPECT_EQ(VelDistributionRef(values).NumDrawers(), 0);
    // Each rank a different order of calls: a checkpoint against a new collection.
    EXPECT_THROW(Rank() == 0 ? VelManager::FlushContext(id) : (void)context.CreateCollection(1),
                 VelFailure);
    // The context goes on: the calls agree again.
    buffer = RowsOfValues(mine.first, mine.second);
    Move(values, rows, columns, mine.first, mine.second, buffer, true, true);
    EXPECT_EQ(VelDistributionRef(values).NumDrawers(), 1);
    VelManager::CloseContext(id);
    MPI_Barrier(MPI_COMM_WORLD);
    if (Rank() == 0) std::remove(path.c_str());
}

}  // namespace

int main(int argc, char** argv) {
    MPI_Init(&argc, &argv);
    ::testing::InitGoogleTest(&argc, argv);
    // Only rank 0 reports passes; every rank reports failures.
    if (Rank() != 0) {
        ::testing::TestEventListeners& listeners = ::testing::UnitTest::GetInstance()->listeners();
        delete listeners.Release(listeners.default_result_printer());
    }
    int failed = RUN_ALL_TESTS();
    int anyFailed = 0;
    MPI_Allreduce(&failed, &anyFailed, 1, MPI_INT, MPI_MAX, MPI_COMM_WORLD);
    MPI_Finalize();
    return anyFailed;
}
