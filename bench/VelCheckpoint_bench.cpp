// Checkpointed writing against raw HDF5 in the same run: a step of 10^4 nodes x 3 doubles per
// drawer with VelManager::FlushContext after every step, against a dataset per step with
// H5Fflush after every step.  Besides the totals it reports the mean cost of the first and the
// last tenth of the steps (a checkpoint must cost what changed, not what the file holds), and
// what the durability choices cost: raw HDF5 with its metadata cache's evictions off (the other
// way of keeping metadata from reaching the file between flushes), and fsync per step on both
// sides.
//
//   vel_bench_VelCheckpoint [steps=10000] [repetitions=1] [synced steps=200]
//
// Each side writes a fresh file, deleted afterwards; the sides alternate their order between
// repetitions so that neither always finds the page cache warmed by the other.

#include <hdf5.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "vel/UTI_VelDynamicAPI.h"
#include "vel/context/VelCollectionRef.h"
#include "vel/context/VelContextRef.h"
#include "vel/context/VelDistributionRef.h"
#include "vel/context/VelGrid.h"
#include "vel/context/VelManager.h"
#include "vel/context/VelRangeType.h"
#include "vel/transfer/VelTransfer.h"

namespace {

constexpr int kNodes = 10000;
constexpr int kComponents = 3;
using Clock = std::chrono::steady_clock;

std::vector<double> StepValues(int step) {
    std::vector<double> values(static_cast<size_t>(kNodes) * kComponents);
    for (size_t i = 0; i < values.size(); ++i) values[i] = step + 1e-6 * static_cast<double>(i);
    return values;
}

double Since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// The seconds each step took, checkpoint included, and its checkpoint alone.
struct StepTimes {
    std::vector<double> step;
    std::vector<double> checkpoint;
};

// `write` writes step s, `checkpoint` makes it durable.
template <class Write, class Checkpoint>
StepTimes TimeSteps(int steps, Write write, Checkpoint checkpoint) {
    StepTimes times;
    for (int s = 0; s < steps; ++s) {
        const Clock::time_point start = Clock::now();
        write(s);
        const Clock::time_point written = Clock::now();
        checkpoint();
        times.checkpoint.push_back(Since(written));
        times.step.push_back(Since(start));
    }
    return times;
}

StepTimes LibrarySide(const std::string& file, int steps, bool sync) {
    const VelContextID id =
        VelManager::CreateContext(file.c_str(), hdf_File::CreateFlagsTruncate, 1);
    const VelContextRef context(id);
    const VelCollectionID stepCollection = context.CreateCollection(steps);
    const VelCollectionID nodes = context.CreateCollection(kNodes);
    const VelCollectionID components = context.CreateCollection(kComponents);
    VelArray<VelCollectionID> grid(3);
    grid[0] = stepCollection;
    grid[1] = nodes;
    grid[2] = components;
    const VelDistributionID d =
        context.CreateDistribution(VelGrid(grid), VelRangeType(VelTypeKeyDouble));
    const VelCSetID allNodes = VelCollectionRef(nodes).BiggestCSetID();
    const VelCSetID allComponents = VelCollectionRef(components).BiggestCSetID();
    VelManager::FlushContext(id);
    std::vector<double> values = StepValues(0);
    const StepTimes times = TimeSteps(
        steps,
        [&](int s) {
            values[0] = s;
            const VelCSetID step = VelCollectionRef(stepCollection).CreateCSetStrided(s, 1, 1, 1);
            VelTransfer transfer{VelDistributionRef(d)};
            transfer.SetMakeNewDrawer().SetBufferPadding(false).SetDims(step, allNodes,
                                                                        allComponents);
            transfer.CheckView();
            transfer.SetBuffer(VelbufMain, values.data(), transfer.RequiredBufferSize(VelbufMain));
            transfer.ExecWrite();
            transfer.RelinquishBuffers();
        },
        [&] {
            if (sync) {
                VelManager::SyncContext(id);
            } else {
                VelManager::FlushContext(id);
            }
        });
    VelManager::CloseContext(id);
    return times;
}

enum class Raw { Flush, FlushNoEvictions, FlushAndSync };

StepTimes RawSide(const std::string& file, int steps, Raw mode) {
    const hid_t creation = H5Pcreate(H5P_FILE_CREATE);
    H5Pset_userblock(creation, 512);
    const hid_t f = H5Fcreate(file.c_str(), H5F_ACC_TRUNC, creation, H5P_DEFAULT);
    H5Pclose(creation);
    if (mode == Raw::FlushNoEvictions) {
        H5AC_cache_config_t config;
        config.version = H5AC__CURR_CACHE_CONFIG_VERSION;
        H5Fget_mdc_config(f, &config);
        config.evictions_enabled = 0;
        config.incr_mode = H5C_incr__off;
        config.flash_incr_mode = H5C_flash_incr__off;
        config.decr_mode = H5C_decr__off;
        H5Fset_mdc_config(f, &config);
    }
    int* descriptor = nullptr;
    H5Fget_vfd_handle(f, H5P_DEFAULT, reinterpret_cast<void**>(&descriptor));
    const hsize_t dims[2] = {kNodes, kComponents};
    const hid_t space = H5Screate_simple(2, dims, nullptr);
    std::vector<double> values = StepValues(0);
    const StepTimes times = TimeSteps(
        steps,
        [&](int s) {
            values[0] = s;
            char name[16];
            std::snprintf(name, sizeof name, "%08X", s);
            const hid_t dataset = H5Dcreate2(f, name, H5T_NATIVE_DOUBLE, space, H5P_DEFAULT,
                                             H5P_DEFAULT, H5P_DEFAULT);
            H5Dwrite(dataset, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data());
            H5Dclose(dataset);
        },
        [&] {
            H5Fflush(f, H5F_SCOPE_LOCAL);
            if (mode == Raw::FlushAndSync) fsync(*descriptor);
        });
    H5Sclose(space);
    H5Fclose(f);
    return times;
}

double Sum(const std::vector<double>& t, size_t from, size_t to) {
    double sum = 0;
    for (size_t i = from; i < to; ++i) sum += t[i];
    return sum;
}

// Total seconds, and the mean seconds per step and per checkpoint at each end.
struct Summary {
    double total = 0, first = 0, last = 0, firstCheckpoint = 0, lastCheckpoint = 0;
};

// The tenth of the steps at each end, at least one and at most 1,000 steps.
Summary Summarize(const StepTimes& t) {
    const size_t n = t.step.size();
    const size_t tenth = std::min<size_t>(1000, std::max<size_t>(1, n / 10));
    Summary s;
    s.total = Sum(t.step, 0, n);
    s.first = Sum(t.step, 0, tenth) / tenth;
    s.last = Sum(t.step, n - tenth, n) / tenth;
    s.firstCheckpoint = Sum(t.checkpoint, 0, tenth) / tenth;
    s.lastCheckpoint = Sum(t.checkpoint, n - tenth, n) / tenth;
    return s;
}

// The run of median total time.
Summary Median(std::vector<Summary> runs) {
    std::sort(runs.begin(), runs.end(),
              [](const Summary& a, const Summary& b) { return a.total < b.total; });
    return runs[runs.size() / 2];
}

void Report(const char* name, const std::vector<Summary>& runs, int steps) {
    const Summary m = Median(runs);
    const double bytes = double(steps) * kNodes * kComponents * sizeof(double);
    std::printf("%-36s %6d steps %8.3f s %7.1f MB/s\n", name, steps, m.total,
                bytes / m.total / 1e6);
    std::printf(
        "    per step: first %7.1f us, last %7.1f us (x %.2f); checkpoint alone: first "
        "%7.1f us, last %7.1f us (x %.2f)\n",
        m.first * 1e6, m.last * 1e6, m.last / m.first, m.firstCheckpoint * 1e6,
        m.lastCheckpoint * 1e6, m.lastCheckpoint / m.firstCheckpoint);
}

}  // namespace

int main(int argc, char** argv) {
    const int steps = argc > 1 ? std::atoi(argv[1]) : 10000;
    const int repetitions = argc > 2 ? std::atoi(argv[2]) : 1;
    const int syncedSteps = argc > 3 ? std::atoi(argv[3]) : 200;
    int modules = 0;
    UTI_VelDynamicAPI_initialize(modules);
    const std::string file = "checkpoint_bench_" + std::to_string(getpid()) + ".h5";

    struct Side {
        const char* name;
        int steps;
        std::function<StepTimes()> run;
        std::vector<Summary> results;
    };
    std::vector<Side> sides = {
        {"library, FlushContext per step", steps, [&] { return LibrarySide(file, steps, false); }},
        {"raw HDF5, H5Fflush per step", steps, [&] { return RawSide(file, steps, Raw::Flush); }},
        {"raw HDF5, no evictions, H5Fflush", steps,
         [&] { return RawSide(file, steps, Raw::FlushNoEvictions); }},
        {"library, SyncContext per step", syncedSteps,
         [&] { return LibrarySide(file, syncedSteps, true); }},
        {"raw HDF5, H5Fflush + fsync per step", syncedSteps,
         [&] { return RawSide(file, syncedSteps, Raw::FlushAndSync); }},
    };
    for (int r = 0; r < repetitions; ++r) {
        for (size_t k = 0; k < sides.size(); ++k) {
            // Every other repetition runs the sides in the opposite order.
            Side& side = sides[r % 2 == 0 ? k : sides.size() - 1 - k];
            side.results.push_back(Summarize(side.run()));
            std::remove(file.c_str());
        }
    }
    for (const Side& side : sides) Report(side.name, side.results, side.steps);
    const auto total = [&](size_t k) { return Median(sides[k].results).total; };
    std::printf("ratio raw HDF5 / library (throughput of the library relative to raw): %.2f\n",
                total(1) / total(0));
    std::printf("ratio raw HDF5 without evictions / raw HDF5: %.2f\n", total(1) / total(2));
    std::printf("ratio synced raw HDF5 / synced library: %.2f\n", total(4) / total(3));
    UTI_VelDynamicAPI_finalize(modules);
    return 0;
}
