// A collection's largest explicit CSets against the bare HDF5 calls that move the same ints in
// the same run:
//   create + flush:  VelCollectionRef::CreateCSet of 10^7 ascending members (an explicit list:
//                    gaps of 1 to 3) and Flush(true)
//                vs  H5Dset_extent + H5Dwrite of the same ints into a dataset of the same shape
//                    (one dimension, chunks of 5000, unlimited) + H5Fflush;
//   read back:       VelCSet of that CSet's ID after reopen, then Members()
//                vs  H5Dread of the same ints from that dataset.
// Each iteration starts from a new file (or an open file) prepared outside the timing.  The
// ratios printed after the table are reference time / library time: 1 means as fast as HDF5.

#include <benchmark/benchmark.h>
#include <hdf5.h>
#include <unistd.h>

#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "VelBenchSupport.h"
#include "vel/UTI_VelDynamicAPI.h"
#include "vel/context/VelCSet.h"
#include "vel/context/VelCollectionRef.h"
#include "vel/context/VelContextRef.h"
#include "vel/context/VelManager.h"

namespace {

constexpr int kMembers = 10000000;
constexpr int kCollectionSize = 3 * kMembers;

const std::string& FileName(const char* stem) {
    static std::map<std::string, std::string> names;
    std::string& name = names[stem];
    if (name.empty()) name = std::string("vel_bench_") + stem + "_" + std::to_string(getpid());
    return name;
}

const std::vector<int>& Members() {
    static std::vector<int> members;
    if (members.empty()) {
        std::mt19937 rng(17);
        members.reserve(kMembers);
        for (int m = 0; static_cast<int>(members.size()) < kMembers; m += 1 + int(rng() % 3))
            members.push_back(m);
    }
    return members;
}

// A new database with one collection large enough for the members.
VelCollectionID NewDatabase(const std::string& file, VelContextID& context) {
    context = VelManager::CreateContext(file.c_str(), hdf_File::CreateFlagsTruncate, 1);
    return VelContextRef(context).CreateCollection(kCollectionSize);
}

void BM_VelCreateFlushList(benchmark::State& state) {
    const std::vector<int>& members = Members();
    const std::string& file = FileName("create");
    for (auto _ : state) {
        state.PauseTiming();
        VelContextID context;
        const VelCollectionRef coll(NewDatabase(file, context));
        coll.Flush(true);
        state.ResumeTiming();
        benchmark::DoNotOptimize(coll.CreateCSet(members.data(), kMembers));
        coll.Flush(true);
        state.PauseTiming();
        VelManager::CloseContext(context);
        state.ResumeTiming();
    }
    std::remove(file.c_str());
    state.SetBytesProcessed(int64_t(state.iterations()) * kMembers * int64_t(sizeof(int)));
}
BENCHMARK(BM_VelCreateFlushList)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(8);

hid_t NewChunkedIntDataset(hid_t file) {
    hsize_t initial = 5000, unlimited = H5S_UNLIMITED, chunk = 5000;
    hid_t space = H5Screate_simple(1, &initial, &unlimited);
    hid_t dcpl = H5Pcreate(H5P_DATASET_CREATE);
    H5Pset_chunk(dcpl, 1, &chunk);
    hid_t ds = H5Dcreate2(file, "IndexSets", H5T_NATIVE_INT, space, H5P_DEFAULT, dcpl, H5P_DEFAULT);
    H5Pclose(dcpl);
    H5Sclose(space);
    return ds;
}

void BM_Hdf5WriteList(benchmark::State& state) {
    const std::vector<int>& members = Members();
    const std::string& file = FileName("write");
    for (auto _ : state) {
        state.PauseTiming();
        hid_t f = H5Fcreate(file.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
        hid_t ds = NewChunkedIntDataset(f);
        H5Fflush(f, H5F_SCOPE_LOCAL);
        state.ResumeTiming();
        hsize_t extent = (kMembers + 4999) / 5000 * 5000, count = kMembers;
        H5Dset_extent(ds, &extent);
        hid_t fileSpace = H5Dget_space(ds);
        hsize_t start = 0;
        H5Sselect_hyperslab(fileSpace, H5S_SELECT_SET, &start, nullptr, &count, nullptr);
        hid_t memSpace = H5Screate_simple(1, &count, nullptr);
        if (H5Dwrite(ds, H5T_NATIVE_INT, memSpace, fileSpace, H5P_DEFAULT, members.data()) < 0)
            state.SkipWithError("H5Dwrite failed");
        H5Sclose(memSpace);
        H5Sclose(fileSpace);
        H5Fflush(f, H5F_SCOPE_LOCAL);
        state.PauseTiming();
        H5Dclose(ds);
        H5Fclose(f);
        state.ResumeTiming();
    }
    std::remove(file.c_str());
    state.SetBytesProcessed(int64_t(state.iterations()) * kMembers * int64_t(sizeof(int)));
}
BENCHMARK(BM_Hdf5WriteList)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(8);

// Every iteration builds the CSet's decoded set anew: the 10^7 decoded ints are far beyond the
// cache's idle bound, so the set leaves the cache with the last VelCSet on it.
void BM_VelMembersAfterReopen(benchmark::State& state) {
    const std::string& file = FileName("read");
    VelContextID context;
    const VelCollectionRef made(NewDatabase(file, context));
    const VelCSetID written = made.CreateCSet(Members().data(), kMembers);
    VelManager::CloseContext(context);
    context = VelManager::OpenContext(file.c_str(), hdf_File::OpenFlagsReadOnly, 1);
    const VelDynamicID d = written.DynamicID();
    const VelCSetID id(VelDynamicID(d.Category(), context.Value(), d.First(), d.Second()));
    std::vector<int> out(kMembers);
    for (auto _ : state) {
        const VelCSet cset(id);
        cset.Members(out.data());
        benchmark::DoNotOptimize(out.data());
    }
    if (out != Members()) state.SkipWithError("members differ");
    VelManager::CloseContext(context);
    std::remove(file.c_str());
    state.SetBytesProcessed(int64_t(state.iterations()) * kMembers * int64_t(sizeof(int)));
}
BENCHMARK(BM_VelMembersAfterReopen)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Hdf5ReadList(benchmark::State& state) {
    const std::string& file = FileName("readraw");
    hid_t f = H5Fcreate(file.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
    hid_t ds = NewChunkedIntDataset(f);
    hsize_t extent = (kMembers + 4999) / 5000 * 5000, count = kMembers, start = 0;
    H5Dset_extent(ds, &extent);
    hid_t fileSpace = H5Dget_space(ds);
    H5Sselect_hyperslab(fileSpace, H5S_SELECT_SET, &start, nullptr, &count, nullptr);
    hid_t memSpace = H5Screate_simple(1, &count, nullptr);
    H5Dwrite(ds, H5T_NATIVE_INT, memSpace, fileSpace, H5P_DEFAULT, Members().data());
    H5Dclose(ds);
    H5Fclose(f);
    f = H5Fopen(file.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT);
    ds = H5Dopen2(f, "IndexSets", H5P_DEFAULT);
    std::vector<int> out(kMembers);
    for (auto _ : state) {
        if (H5Dread(ds, H5T_NATIVE_INT, memSpace, fileSpace, H5P_DEFAULT, out.data()) < 0)
            state.SkipWithError("H5Dread failed");
        benchmark::DoNotOptimize(out.data());
    }
    if (out != Members()) state.SkipWithError("members differ");
    H5Sclose(memSpace);
    H5Sclose(fileSpace);
    H5Dclose(ds);
    H5Fclose(f);
    std::remove(file.c_str());
    state.SetBytesProcessed(int64_t(state.iterations()) * kMembers * int64_t(sizeof(int)));
}
BENCHMARK(BM_Hdf5ReadList)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
    return VelRunBenchmarks(argc, argv,
                            {{"BM_Hdf5WriteList", "BM_VelCreateFlushList"},
                             {"BM_Hdf5ReadList", "BM_VelMembersAfterReopen"}});
}
