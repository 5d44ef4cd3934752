// Checkpointed writing against raw HDF5 in the same run.  A solver's loop: every step writes
// 10^4 nodes x 3 doubles and makes them durable before the next.
//
//   library     a new drawer per step over the grid (steps, nodes, components), made by
//               SetMakeNewDrawer over a CSet of that one step, then VelManager::FlushContext
//   raw HDF5    a contiguous 10^4 x 3 dataset per step (create, write, close) in a file of the
//               default driver with a 512-byte user block like the library's, then
//               H5Fflush(file, H5F_SCOPE_LOCAL)
//
// and, with the same loop, what the durability choices cost:
//
//   raw HDF5 without evictions   the metadata cache neither evicts nor resizes (the other way
//                                of keeping metadata from reaching the file between flushes)
//   library, SyncContext         fsync per step, over fewer steps (a disk's pace)
//   raw HDF5 with fsync          H5Fflush and fsync of the file's descriptor per step
//
// Each step is timed from the start of its write to the end of its checkpoint, in wall time and
// in the process's CPU time: the wall time is what a solver waits for, the CPU time leaves out
// the waits for the disk (the kernel holds back writers once the dirty pages of these files
// outgrow the disk's pace, and an fsync waits for the device), which the two sides share.  The
// values of a step are made before its clock starts.  A checkpoint must cost what changed, not
// what the file holds: the mean of the first and of the last tenth of the steps (1,000 steps of
// the full 10,000) shows whether it grows with the file.
//
//   vel_bench_VelCheckpoint [--steps=10000] [--synced-steps=500] [--repetitions=3]
//
// Every side writes a fresh file in the working directory, deleted after it; the file system
// is synced between sides so that none starts while another's pages are still going to the disk.
// The sides run in the opposite order every other repetition, and the ratios pair the two sides
// of one repetition before taking the median over the repetitions.  Arguments of the other
// benchmark programs (--benchmark_*) are accepted and ignored.

#include <hdf5.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "VelBenchSupport.h"
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
constexpr double kStepBytes = double(kNodes) * kComponents * sizeof(double);
constexpr hsize_t kUserBlock = 512;

// ---- clocks ------------------------------------------------------------------------------------

struct Instant {
    std::chrono::steady_clock::time_point wall;
    double cpu;
};

Instant Now() {
    timespec cpu;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &cpu);
    return {std::chrono::steady_clock::now(), double(cpu.tv_sec) + 1e-9 * double(cpu.tv_nsec)};
}

struct Cost {
    double wall = 0;
    double cpu = 0;
};

Cost Between(const Instant& from, const Instant& to) {
    return {std::chrono::duration<double>(to.wall - from.wall).count(), to.cpu - from.cpu};
}

// ---- the loop both sides share ----------------------------------------------------------------

// What a run of one side cost: each step (checkpoint included), each checkpoint alone, and the
// close of the file after the last step.
struct StepCosts {
    std::vector<Cost> step;
    std::vector<Cost> checkpoint;
    Cost close;
};

// The values of step `s`: different in every step, as a solver's are.
void FillStep(int s, std::vector<double>& values) {
    for (size_t i = 0; i < values.size(); ++i) values[i] = s + 1e-6 * static_cast<double>(i);
}

// `write(s, values)` writes step s, `checkpoint()` makes it durable, `close()` closes the file.
template <class Write, class Checkpoint, class Close>
StepCosts TimeSteps(int steps, Write write, Checkpoint checkpoint, Close close) {
    StepCosts costs;
    costs.step.reserve(static_cast<size_t>(steps));
    costs.checkpoint.reserve(static_cast<size_t>(steps));
    std::vector<double> values(static_cast<size_t>(kNodes) * kComponents);
    for (int s = 0; s < steps; ++s) {
        FillStep(s, values);
        const Instant start = Now();
        write(s, values);
        const Instant written = Now();
        checkpoint();
        const Instant done = Now();
        costs.step.push_back(Between(start, done));
        costs.checkpoint.push_back(Between(written, done));
    }
    const Instant start = Now();
    close();
    costs.close = Between(start, Now());
    return costs;
}

// ---- the library ------------------------------------------------------------------------------

StepCosts LibrarySide(const std::string& file, int steps, bool sync) {
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
    return TimeSteps(
        steps,
        [&](int s, std::vector<double>& values) {
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
        },
        [&] { VelManager::CloseContext(id); });
}

// ---- raw HDF5 ---------------------------------------------------------------------------------

// A failed HDF5 call or fsync would leave a side that skipped its work and looks fast.
template <class Result>
Result Checked(Result result, const char* call) {
    if (result < 0) {
        std::fprintf(stderr, "vel_bench_VelCheckpoint: %s failed\n", call);
        std::exit(1);
    }
    return result;
}

enum class RawMode { Flush, FlushNoEvictions, FlushAndSync };

// The metadata cache keeps every entry until a flush writes it and never changes its size.
void KeepMetadataCached(hid_t file) {
    H5AC_cache_config_t config;
    std::memset(&config, 0, sizeof config);
    config.version = H5AC__CURR_CACHE_CONFIG_VERSION;
    Checked(H5Fget_mdc_config(file, &config), "H5Fget_mdc_config");
    config.evictions_enabled = 0;
    config.incr_mode = H5C_incr__off;
    config.flash_incr_mode = H5C_flash_incr__off;
    config.decr_mode = H5C_decr__off;
    Checked(H5Fset_mdc_config(file, &config), "H5Fset_mdc_config");
}

StepCosts RawSide(const std::string& file, int steps, RawMode mode) {
    const hid_t creation = Checked(H5Pcreate(H5P_FILE_CREATE), "H5Pcreate");
    Checked(H5Pset_userblock(creation, kUserBlock), "H5Pset_userblock");
    const hid_t f =
        Checked(H5Fcreate(file.c_str(), H5F_ACC_TRUNC, creation, H5P_DEFAULT), "H5Fcreate");
    H5Pclose(creation);
    if (mode == RawMode::FlushNoEvictions) KeepMetadataCached(f);
    // The default (sec2) driver's handle is its file descriptor.
    int* descriptor = nullptr;
    Checked(H5Fget_vfd_handle(f, H5P_DEFAULT, reinterpret_cast<void**>(&descriptor)),
            "H5Fget_vfd_handle");
    const hsize_t dims[2] = {kNodes, kComponents};
    const hid_t space = Checked(H5Screate_simple(2, dims, nullptr), "H5Screate_simple");
    return TimeSteps(
        steps,
        [&](int s, std::vector<double>& values) {
            char name[16];
            std::snprintf(name, sizeof name, "%08X", s);
            const hid_t dataset = Checked(H5Dcreate2(f, name, H5T_NATIVE_DOUBLE, space, H5P_DEFAULT,
                                                     H5P_DEFAULT, H5P_DEFAULT),
                                          "H5Dcreate2");
            Checked(
                H5Dwrite(dataset, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data()),
                "H5Dwrite");
            Checked(H5Dclose(dataset), "H5Dclose");
        },
        [&] {
            Checked(H5Fflush(f, H5F_SCOPE_LOCAL), "H5Fflush");
            if (mode == RawMode::FlushAndSync) Checked(fsync(*descriptor), "fsync");
        },
        [&] {
            H5Sclose(space);
            Checked(H5Fclose(f), "H5Fclose");
        });
}

// ---- summaries --------------------------------------------------------------------------------

// What one run of a side reports: totals, and the mean cost per step of its first and last
// stretch of steps, checkpoint included, and of the checkpoint alone.
struct Summary {
    Cost total, first, last, firstCheckpoint, lastCheckpoint, close;
    double bytesOnDisk = 0;
};

// The tenth of the steps at each end: at least one step, at most 1,000.
size_t Stretch(size_t steps) {
    return std::min<size_t>(1000, std::max<size_t>(1, steps / 10));
}

Cost Sum(const std::vector<Cost>& costs, size_t from, size_t to) {
    Cost sum;
    for (size_t i = from; i < to; ++i) {
        sum.wall += costs[i].wall;
        sum.cpu += costs[i].cpu;
    }
    return sum;
}

Cost Mean(const std::vector<Cost>& costs, size_t from, size_t to) {
    const Cost sum = Sum(costs, from, to);
    const double n = double(to - from);
    return {sum.wall / n, sum.cpu / n};
}

Summary Summarize(const StepCosts& c) {
    const size_t n = c.step.size();
    const size_t k = Stretch(n);
    Summary s;
    s.total = Sum(c.step, 0, n);
    s.first = Mean(c.step, 0, k);
    s.last = Mean(c.step, n - k, n);
    s.firstCheckpoint = Mean(c.checkpoint, 0, k);
    s.lastCheckpoint = Mean(c.checkpoint, n - k, n);
    s.close = c.close;
    return s;
}

struct Side {
    const char* name;
    int steps;
    std::function<StepCosts(const std::string&)> run;
    std::vector<Summary> runs{};
};

// The median over the repetitions of each figure of a side.
Summary MedianRun(const Side& side) {
    Summary m;
    for (Cost Summary::*figure :
         {&Summary::total, &Summary::first, &Summary::last, &Summary::firstCheckpoint,
          &Summary::lastCheckpoint, &Summary::close}) {
        std::vector<double> wall, cpu;
        for (const Summary& s : side.runs) {
            wall.push_back((s.*figure).wall);
            cpu.push_back((s.*figure).cpu);
        }
        m.*figure = {VelBenchMedian(wall), VelBenchMedian(cpu)};
    }
    std::vector<double> bytes;
    for (const Summary& s : side.runs) bytes.push_back(s.bytesOnDisk);
    m.bytesOnDisk = VelBenchMedian(bytes);
    return m;
}

// The last stretch's cost per step over the first's, in wall or CPU time, in each repetition.
std::vector<double> Growth(const Side& side, double Cost::*clock) {
    std::vector<double> ratios;
    for (const Summary& s : side.runs) ratios.push_back(s.last.*clock / s.first.*clock);
    return ratios;
}

void PrintRun(const char* name, int steps, const Summary& s) {
    const size_t k = Stretch(size_t(steps));
    std::printf(
        "  %-36s %5d steps %8.3f s %7.1f MB/s (cpu %7.3f s), close %6.1f ms, file %.2f GB\n", name,
        steps, s.total.wall, kStepBytes * steps / s.total.wall / 1e6, s.total.cpu,
        1e3 * s.close.wall, s.bytesOnDisk / 1e9);
    std::printf(
        "  %36s per step, first %zu: %7.1f us (cpu %6.1f), last %zu: %7.1f us (cpu %6.1f),"
        " last/first %.2f (cpu %.2f)\n",
        "", k, 1e6 * s.first.wall, 1e6 * s.first.cpu, k, 1e6 * s.last.wall, 1e6 * s.last.cpu,
        s.last.wall / s.first.wall, s.last.cpu / s.first.cpu);
    std::printf(
        "  %36s checkpoint alone, first: %7.1f us (cpu %6.1f), last: %7.1f us (cpu "
        "%6.1f)\n",
        "", 1e6 * s.firstCheckpoint.wall, 1e6 * s.firstCheckpoint.cpu, 1e6 * s.lastCheckpoint.wall,
        1e6 * s.lastCheckpoint.cpu);
}

// `over`'s total wall time over `under`'s, paired within each repetition.
std::vector<double> PairedRatio(const Side& over, const Side& under) {
    std::vector<double> ratios;
    for (size_t r = 0; r < over.runs.size(); ++r)
        ratios.push_back(over.runs[r].total.wall / under.runs[r].total.wall);
    return ratios;
}

// A bound the library is held to, or none.
enum class Bound { None, AtLeast, AtMost };

// The median of the repetitions' ratios, each repetition's, and whether the median keeps `bound`.
void PrintRatio(const char* what, const std::vector<double>& ratios, Bound kind = Bound::None,
                double bound = 0) {
    const double median = VelBenchMedian(ratios);
    std::string each;
    for (double r : ratios) {
        char one[16];
        std::snprintf(one, sizeof one, "%s%.2f", each.empty() ? "" : " ", r);
        each += one;
    }
    std::printf("  %-64s %5.2f  [%s]", what, median, each.c_str());
    if (kind != Bound::None) {
        const bool held = kind == Bound::AtLeast ? median >= bound : median <= bound;
        std::printf("  target %s %.2f: %s", kind == Bound::AtLeast ? ">=" : "<=", bound,
                    held ? "met" : "missed");
    }
    std::printf("\n");
}

// ---- arguments --------------------------------------------------------------------------------

struct Arguments {
    int steps = 10000;
    int syncedSteps = 500;
    int repetitions = 3;
};

bool ReadCount(const char* argument, const char* flag, int& count) {
    const size_t length = std::strlen(flag);
    if (std::strncmp(argument, flag, length) != 0) return false;
    char* end = nullptr;
    const long value = std::strtol(argument + length, &end, 10);
    if (*end != '\0' || value < 1 || value > 1000000) {
        std::fprintf(stderr, "vel_bench_VelCheckpoint: %s wants a count from 1 to 10^6\n", flag);
        std::exit(2);
    }
    count = int(value);
    return true;
}

Arguments Parse(int argc, char** argv) {
    Arguments a;
    for (int i = 1; i < argc; ++i) {
        const char* arg = argv[i];
        if (ReadCount(arg, "--steps=", a.steps) ||
            ReadCount(arg, "--synced-steps=", a.syncedSteps) ||
            ReadCount(arg, "--repetitions=", a.repetitions) ||
            std::strncmp(arg, "--benchmark_", 12) == 0)
            continue;
        std::fprintf(stderr,
                     "usage: vel_bench_VelCheckpoint [--steps=10000] [--synced-steps=500] "
                     "[--repetitions=3]\n");
        std::exit(2);
    }
    return a;
}

// The size of `file` on disk, which must hold at least every step's values.
double CheckedSize(const std::string& file, const char* side, int steps) {
    struct stat st;
    if (stat(file.c_str(), &st) != 0 || double(st.st_size) < kStepBytes * steps) {
        std::fprintf(stderr, "vel_bench_VelCheckpoint: %s left a file without its steps\n", side);
        std::exit(1);
    }
    return double(st.st_size);
}

}  // namespace

int main(int argc, char** argv) {
    const Arguments args = Parse(argc, argv);
    int modules = 0;
    UTI_VelDynamicAPI_initialize(modules);
    const std::string file = "VelCheckpoint_bench_" + std::to_string(getpid()) + ".h5";

    const int n = args.steps;
    const int synced = args.syncedSteps;
    std::vector<Side> sides = {
        {"library, FlushContext per step", n,
         [=](const std::string& f) { return LibrarySide(f, n, false); }},
        {"raw HDF5, H5Fflush per step", n,
         [=](const std::string& f) { return RawSide(f, n, RawMode::Flush); }},
        {"raw HDF5 without evictions, H5Fflush", n,
         [=](const std::string& f) { return RawSide(f, n, RawMode::FlushNoEvictions); }},
        {"library, SyncContext per step", synced,
         [=](const std::string& f) { return LibrarySide(f, synced, true); }},
        {"raw HDF5, H5Fflush + fsync per step", synced,
         [=](const std::string& f) { return RawSide(f, synced, RawMode::FlushAndSync); }},
    };
    enum { kLibrary, kRaw, kRawNoEvictions, kLibrarySynced, kRawSynced };

    std::printf(
        "checkpointed writing, %d nodes x %d doubles a step (%.0f kB), %d steps "
        "(%d synced), %d repetitions\n",
        kNodes, kComponents, kStepBytes / 1e3, n, synced, args.repetitions);
    sync();
    for (int r = 0; r < args.repetitions; ++r) {
        std::printf("repetition %d\n", r + 1);
        for (size_t k = 0; k < sides.size(); ++k) {
            Side& side = sides[r % 2 == 0 ? k : sides.size() - 1 - k];
            Summary s = Summarize(side.run(file));
            s.bytesOnDisk = CheckedSize(file, side.name, side.steps);
            std::remove(file.c_str());
            sync();
            PrintRun(side.name, side.steps, s);
            std::fflush(stdout);
            side.runs.push_back(s);
        }
    }

    std::printf("median over %d repetitions\n", args.repetitions);
    for (const Side& side : sides) PrintRun(side.name, side.steps, MedianRun(side));

    const size_t k = Stretch(size_t(n));
    std::printf("ratios: median [each repetition], the sides paired within a repetition\n");
    PrintRatio("raw HDF5 / library, time (library's throughput relative to raw)",
               PairedRatio(sides[kRaw], sides[kLibrary]), Bound::AtLeast, 0.9);
    for (int which : {kLibrary, kRaw}) {
        for (double Cost::*clock : {&Cost::wall, &Cost::cpu}) {
            char what[128];
            std::snprintf(what, sizeof what, "%s: last %zu steps / first %zu, per step%s",
                          which == kLibrary ? "library" : "raw HDF5", k, k,
                          clock == &Cost::cpu ? ", cpu" : "");
            const bool held = which == kLibrary && clock == &Cost::wall;
            PrintRatio(what, Growth(sides[which], clock), held ? Bound::AtMost : Bound::None, 1.2);
        }
    }
    PrintRatio("raw HDF5 / raw HDF5 without evictions, time",
               PairedRatio(sides[kRaw], sides[kRawNoEvictions]));
    PrintRatio("raw HDF5 with fsync / library with SyncContext, time",
               PairedRatio(sides[kRawSynced], sides[kLibrarySynced]));
    UTI_VelDynamicAPI_finalize(modules);
    return 0;
}
