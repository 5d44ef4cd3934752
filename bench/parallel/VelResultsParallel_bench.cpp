// Writing and reading a nodal field of 10^6 nodes x 3 doubles x 10 steps with every rank of the
// job, each rank its own block of rows, through the results layer (VelResultsWriter::
// CreateParallel, VelResultsField::WriteRows / ReadRows) and through raw parallel HDF5 doing
// the same collective work: per step one contiguous dataset of 1 x nodes x 3 doubles, written
// collectively (H5FD_MPIO_COLLECTIVE) and flushed, as the library's checkpoint does; read back
// collectively.  Both run in the same job, in alternating rounds; the best round of each is
// reported with the ratio raw / library (1.0: as fast as raw HDF5).
//
//   mpirun -np N vel_bench_VelResultsParallel [NODES STEPS ROUNDS DIR]
//
// A plain MPI program rather than a Google Benchmark: a measurement is a collective act of
// every rank, timed from a barrier to the slowest rank's end.
#include <hdf5.h>
#include <mpi.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "vel/vel.h"

namespace {

int g_rank = 0;
int g_size = 1;

struct Rows {
    int first;
    int count;
};

Rows MyRows(int nodes) {
    const int base = nodes / g_size;
    const int extra = nodes % g_size;
    return {g_rank * base + std::min(g_rank, extra), base + (g_rank < extra ? 1 : 0)};
}

std::vector<double> Values(int step, Rows rows) {
    std::vector<double> values(static_cast<size_t>(rows.count) * 3);
    for (size_t k = 0; k < values.size(); ++k)
        values[k] = step + 1e-6 * static_cast<double>(rows.first * 3 + k);
    return values;
}

// Seconds from a common start to the slowest rank's end.
double Timed(const std::function<void()>& work) {
    MPI_Barrier(MPI_COMM_WORLD);
    const double start = MPI_Wtime();
    work();
    double elapsed = MPI_Wtime() - start;
    MPI_Allreduce(MPI_IN_PLACE, &elapsed, 1, MPI_DOUBLE, MPI_MAX, MPI_COMM_WORLD);
    return elapsed;
}

void Check(bool ok, const char* what) {
    if (ok) return;
    std::fprintf(stderr, "rank %d: %s\n", g_rank, what);
    MPI_Abort(MPI_COMM_WORLD, 1);
}

void LibraryWrite(const std::string& path, int nodes, int steps) {
    const Rows rows = MyRows(nodes);
    VelResultsWriter out = VelResultsWriter::CreateParallel(path, MPI_COMM_WORLD);
    const std::vector<double> xyz = Values(-1, rows);
    out.AddNodes(nodes, rows.first, rows.count, xyz.data());
    const VelResultsField u = out.AddNodalField("u", {"x", "y", "z"});
    for (int step = 0; step < steps; ++step) {
        out.AddStep(step);
        u.WriteRows(step, rows.first, rows.count, Values(step, rows).data());
        out.Checkpoint();
    }
    out.Close();
}

void LibraryRead(const std::string& path, int nodes, int steps) {
    const Rows rows = MyRows(nodes);
    VelResultsReader in = VelResultsReader::OpenParallel(path, MPI_COMM_WORLD);
    const VelResultsField u = in.Field("u");
    std::vector<double> values(static_cast<size_t>(rows.count) * 3);
    for (int step = 0; step < steps; ++step) {
        u.ReadRows(step, rows.first, rows.count, values.data());
        Check(values == Values(step, rows), "the library read other values");
    }
    in.Close();
}

hid_t RawAccess() {
    const hid_t access = H5Pcreate(H5P_FILE_ACCESS);
    H5Pset_fapl_mpio(access, MPI_COMM_WORLD, MPI_INFO_NULL);
    return access;
}

hid_t CollectiveTransfer() {
    const hid_t transfer = H5Pcreate(H5P_DATASET_XFER);
    H5Pset_dxpl_mpio(transfer, H5FD_MPIO_COLLECTIVE);
    return transfer;
}

// The rank's rows of a rank-3 dataset of 1 x nodes x 3, and the memory they come from.
void SelectRows(hid_t fileSpace, hid_t& memorySpace, Rows rows) {
    const hsize_t start[3] = {0, static_cast<hsize_t>(rows.first), 0};
    const hsize_t count[3] = {1, static_cast<hsize_t>(rows.count), 3};
    H5Sselect_hyperslab(fileSpace, H5S_SELECT_SET, start, nullptr, count, nullptr);
    memorySpace = H5Screate_simple(3, count, nullptr);
}

void WriteRows(hid_t group, const char* name, int nodes, Rows rows,
               const std::vector<double>& values, hid_t transfer) {
    const hsize_t extents[3] = {1, static_cast<hsize_t>(nodes), 3};
    const hid_t fileSpace = H5Screate_simple(3, extents, nullptr);
    const hid_t dataset = H5Dcreate2(group, name, H5T_NATIVE_DOUBLE, fileSpace, H5P_DEFAULT,
                                     H5P_DEFAULT, H5P_DEFAULT);
    hid_t memorySpace = -1;
    SelectRows(fileSpace, memorySpace, rows);
    Check(H5Dwrite(dataset, H5T_NATIVE_DOUBLE, memorySpace, fileSpace, transfer, values.data()) >=
              0,
          "raw write");
    H5Sclose(memorySpace);
    H5Dclose(dataset);
    H5Sclose(fileSpace);
}

void RawWrite(const std::string& path, int nodes, int steps) {
    const Rows rows = MyRows(nodes);
    const hid_t access = RawAccess();
    const hid_t transfer = CollectiveTransfer();
    const hid_t file = H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, access);
    WriteRows(file, "coordinates", nodes, rows, Values(-1, rows), transfer);
    for (int step = 0; step < steps; ++step) {
        WriteRows(file, std::to_string(step).c_str(), nodes, rows, Values(step, rows), transfer);
        H5Fflush(file, H5F_SCOPE_LOCAL);
    }
    H5Fclose(file);
    H5Pclose(transfer);
    H5Pclose(access);
}

void RawRead(const std::string& path, int nodes, int steps) {
    const Rows rows = MyRows(nodes);
    const hid_t access = RawAccess();
    const hid_t transfer = CollectiveTransfer();
    const hid_t file = H5Fopen(path.c_str(), H5F_ACC_RDONLY, access);
    std::vector<double> values(static_cast<size_t>(rows.count) * 3);
    for (int step = 0; step < steps; ++step) {
        const hid_t dataset = H5Dopen2(file, std::to_string(step).c_str(), H5P_DEFAULT);
        const hid_t fileSpace = H5Dget_space(dataset);
        hid_t memorySpace = -1;
        SelectRows(fileSpace, memorySpace, rows);
        Check(H5Dread(dataset, H5T_NATIVE_DOUBLE, memorySpace, fileSpace, transfer,
                      values.data()) >= 0,
              "raw read");
        Check(values == Values(step, rows), "raw HDF5 read other values");
        H5Sclose(memorySpace);
        H5Sclose(fileSpace);
        H5Dclose(dataset);
    }
    H5Fclose(file);
    H5Pclose(transfer);
    H5Pclose(access);
}

}  // namespace

int main(int argc, char** argv) {
    MPI_Init(&argc, &argv);
    MPI_Comm_rank(MPI_COMM_WORLD, &g_rank);
    MPI_Comm_size(MPI_COMM_WORLD, &g_size);
    const int nodes = argc > 1 ? std::atoi(argv[1]) : 1000000;
    const int steps = argc > 2 ? std::atoi(argv[2]) : 10;
    const int rounds = argc > 3 ? std::atoi(argv[3]) : 3;
    const std::string dir = argc > 4 ? argv[4] : "/tmp";
    const std::string library = dir + "/vel_bench_parallel_library.vel";
    const std::string raw = dir + "/vel_bench_parallel_raw.h5";

    int modules = 0;
    UTI_VelDynamicAPI_initialize(modules);
    double best[4] = {1e300, 1e300, 1e300, 1e300};
    for (int round = 0; round < rounds; ++round) {
        // Alternating which goes first, so that neither always finds the caches the other left.
        const bool libraryFirst = round % 2 == 0;
        for (int k = 0; k < 2; ++k) {
            if ((k == 0) == libraryFirst) {
                best[0] = std::min(best[0], Timed([&] { LibraryWrite(library, nodes, steps); }));
                best[1] = std::min(best[1], Timed([&] { LibraryRead(library, nodes, steps); }));
            } else {
                best[2] = std::min(best[2], Timed([&] { RawWrite(raw, nodes, steps); }));
                best[3] = std::min(best[3], Timed([&] { RawRead(raw, nodes, steps); }));
            }
        }
    }
    UTI_VelDynamicAPI_finalize(modules);
    if (g_rank == 0) {
        std::remove(library.c_str());
        std::remove(raw.c_str());
        const double mib = nodes * 3.0 * 8.0 * steps / (1 << 20);
        std::printf("%d ranks, %d nodes x 3 doubles x %d steps (%.0f MiB), best of %d rounds\n",
                    g_size, nodes, steps, mib, rounds);
        std::printf("  write: library %.3f s  raw HDF5 %.3f s  raw/library %.2f\n", best[0],
                    best[2], best[2] / best[0]);
        std::printf("  read:  library %.3f s  raw HDF5 %.3f s  raw/library %.2f\n", best[1],
                    best[3], best[3] / best[1]);
    }
    MPI_Finalize();
    return 0;
}
