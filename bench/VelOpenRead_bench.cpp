// Opening and reading against raw HDF5 doing the same work on the same data in the same run.
//
//   open + read one step   a fresh process opens the database, reads the first n nodes x 3
//                          doubles of one step and closes it; raw HDF5 opens its own file,
//                          opens the step's dataset, reads the same hyperslab and closes.  Files
//                          of 10^4 nodes with 10, 1,000 and 10,000 steps (the largest 2.4 GB per
//                          side) read 10^3 nodes of their middle step, a file of 10^6 nodes with
//                          10 steps reads 10^4.  Each side's library is started before its clock.
//   read every step        10^6 nodes x 3 doubles x 10 steps into the caller's buffer, open and
//                          close included, against H5Dread of a default-layout file
//   write every step       the same data written, a drawer per step (library) or a contiguous
//                          dataset per step (raw), file creation and close included
//   steps one by one       10^4 steps of 10^4 nodes written a drawer (a dataset) each: the mean
//                          cost of the last 1,000 steps over the first 1,000, for both sides
//                          (the median of two runs each, each side writing first once)
//
// The library writes as a solver would: a distribution over (steps, nodes, components), a CSet
// per step, SetMakeNewDrawer.  Raw HDF5 writes one dataset "step%08d" per step in the root of a
// default file.  Times are medians over the repetitions, the sides alternating their order; the
// table gives raw / library for throughput and library / raw for the open, so that the
// targets read as the requirements state them.
//
//   vel_bench_VelOpenRead [--repetitions=5] [--largest=10000]
//
// The files are written in the working directory and removed at the end.  Arguments of the other
// benchmark programs (--benchmark_*) are accepted and ignored.

#include <hdf5.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "VelBenchSupport.h"
#include "vel/vel.h"

namespace {

constexpr int kComponents = 3;

double Now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// The process's time in user mode: what the library and HDF5 compute, without the kernel's
// copying into the page cache and its write-back, which slow any writer of gigabytes.
double UserSeconds() {
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_utime.tv_sec) + 1e-6 * double(usage.ru_utime.tv_usec);
}

// Per step, the wall time and the user time at its end (user time is counted in ticks, so only
// sums over many steps mean anything).
struct StepTimes {
    std::vector<double> wall;
    std::vector<double> userAtEnd;
    void Add(double wallStart) {
        wall.push_back(Now() - wallStart);
        userAtEnd.push_back(UserSeconds());
    }
};

// The value of node i, component c at step s: every read is checked against it.
double ValueAt(int s, int64_t i, int c) {
    return s + 1e-7 * double(i) + 0.25 * c;
}

void FillStep(int s, std::vector<double>& values) {
    const int64_t nodes = int64_t(values.size()) / kComponents;
    for (int64_t i = 0; i < nodes; ++i)
        for (int c = 0; c < kComponents; ++c)
            values[size_t(i * kComponents + c)] = ValueAt(s, i, c);
}

void Require(bool held, const char* what) {
    if (held) return;
    std::fprintf(stderr, "vel_bench_VelOpenRead: %s\n", what);
    std::exit(1);
}

bool Holds(const std::vector<double>& values, int s, int64_t nodes) {
    for (int64_t i : {int64_t(0), nodes / 2, nodes - 1})
        for (int c = 0; c < kComponents; ++c)
            if (values[size_t(i * kComponents + c)] != ValueAt(s, i, c)) return false;
    return true;
}

std::string DatasetName(int s) {
    char name[32];
    std::snprintf(name, sizeof name, "step%08d", s);
    return name;
}

// ---- the library ------------------------------------------------------------------------------

// Writes `steps` steps of `nodes` nodes; `perStep` gets each step's seconds when given.
void LibraryWrite(const std::string& file, int steps, int64_t nodes, StepTimes* perStep = nullptr) {
    const VelContextID id =
        VelManager::CreateContext(file.c_str(), hdf_File::CreateFlagsTruncate, 1);
    Require(!id.IsNull(), "the library could not create its file");
    const VelContextRef context(id);
    VelArray<VelCollectionID> grid(3);
    grid[0] = context.CreateCollection(steps);
    grid[1] = context.CreateCollection(int(nodes));
    grid[2] = context.CreateCollection(kComponents);
    const VelDistributionID d =
        context.CreateDistribution(VelGrid(grid), VelRangeType(VelTypeKeyDouble));
    const VelCSetID allNodes = VelCollectionRef(grid[1]).BiggestCSetID();
    const VelCSetID allComponents = VelCollectionRef(grid[2]).BiggestCSetID();
    std::vector<double> values(size_t(nodes) * kComponents);
    for (int s = 0; s < steps; ++s) {
        FillStep(s, values);
        const double start = Now();
        const VelCSetID step = VelCollectionRef(grid[0]).CreateCSetStrided(s, 1, 1, 1);
        VelTransfer transfer{VelDistributionRef(d)};
        transfer.SetMakeNewDrawer().SetBufferPadding(false).SetDims(step, allNodes, allComponents);
        transfer.CheckView();
        transfer.SetBuffer(VelbufMain, values.data(), transfer.RequiredBufferSize(VelbufMain));
        transfer.ExecWrite();
        transfer.RelinquishBuffers();
        if (perStep) perStep->Add(start);
    }
    VelManager::CloseContext(id);
}

// Reads the first `nodes` nodes of step `s` of an open database into `values`.
void LibraryReadStep(const VelContextID& id, int s, int64_t nodes, std::vector<double>& values) {
    const VelDistributionID d = VelContextRef(id).Distributions()[0];
    const VelGrid& grid = VelDistributionRef(d).Grid();
    VelTransfer transfer{VelDistributionRef(d)};
    transfer.SetRead().SetBufferPadding(false).SetDimOrdinalRange(0, grid[0], s, s);
    transfer.SetDimOrdinalRange(1, grid[1], 0, int(nodes) - 1);
    transfer.SetDim(2, VelCollectionRef(grid[2]).BiggestCSetID());
    transfer.CheckView();
    transfer.SetBuffer(VelbufMain, values.data(), transfer.RequiredBufferSize(VelbufMain));
    transfer.ExecRead();
    transfer.RelinquishBuffers();
}

double LibraryOpenRead(const std::string& file, int s, int64_t nodes) {
    std::vector<double> values(size_t(nodes) * kComponents);
    const double start = Now();
    const VelContextID id = VelManager::OpenContext(file.c_str(), hdf_File::OpenFlagsReadOnly, 1);
    Require(!id.IsNull(), "the library could not open its file");
    LibraryReadStep(id, s, nodes, values);
    VelManager::CloseContext(id);
    const double seconds = Now() - start;
    Require(Holds(values, s, nodes), "the library read wrong values");
    return seconds;
}

double LibraryReadAll(const std::string& file, int steps, int64_t nodes) {
    std::vector<double> values(size_t(nodes) * kComponents);
    const double start = Now();
    const VelContextID id = VelManager::OpenContext(file.c_str(), hdf_File::OpenFlagsReadOnly, 1);
    Require(!id.IsNull(), "the library could not open its file");
    bool right = true;
    for (int s = 0; s < steps; ++s) {
        LibraryReadStep(id, s, nodes, values);
        right = right && Holds(values, s, nodes);
    }
    VelManager::CloseContext(id);
    const double seconds = Now() - start;
    Require(right, "the library read wrong values");
    return seconds;
}

// ---- raw HDF5 ---------------------------------------------------------------------------------

template <class Result>
Result Checked(Result result, const char* call) {
    Require(result >= 0, call);
    return result;
}

void RawWrite(const std::string& file, int steps, int64_t nodes, StepTimes* perStep = nullptr) {
    const hid_t f = Checked(H5Fcreate(file.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT),
                            "H5Fcreate failed");
    const hsize_t dims[2] = {hsize_t(nodes), kComponents};
    const hid_t space = H5Screate_simple(2, dims, nullptr);
    std::vector<double> values(size_t(nodes) * kComponents);
    for (int s = 0; s < steps; ++s) {
        FillStep(s, values);
        const double start = Now();
        const hid_t ds = Checked(H5Dcreate2(f, DatasetName(s).c_str(), H5T_NATIVE_DOUBLE, space,
                                            H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT),
                                 "H5Dcreate failed");
        Checked(H5Dwrite(ds, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data()),
                "H5Dwrite failed");
        H5Dclose(ds);
        if (perStep) perStep->Add(start);
    }
    H5Sclose(space);
    Checked(H5Fclose(f), "H5Fclose failed");
}

void RawReadStep(hid_t f, int s, int64_t nodes, std::vector<double>& values) {
    const hid_t ds = Checked(H5Dopen2(f, DatasetName(s).c_str(), H5P_DEFAULT), "H5Dopen failed");
    const hid_t fileSpace = H5Dget_space(ds);
    const hsize_t start[2] = {0, 0};
    const hsize_t count[2] = {hsize_t(nodes), kComponents};
    H5Sselect_hyperslab(fileSpace, H5S_SELECT_SET, start, nullptr, count, nullptr);
    const hid_t memory = H5Screate_simple(2, count, nullptr);
    Checked(H5Dread(ds, H5T_NATIVE_DOUBLE, memory, fileSpace, H5P_DEFAULT, values.data()),
            "H5Dread failed");
    H5Sclose(memory);
    H5Sclose(fileSpace);
    H5Dclose(ds);
}

double RawOpenRead(const std::string& file, int s, int64_t nodes) {
    std::vector<double> values(size_t(nodes) * kComponents);
    const double start = Now();
    const hid_t f = Checked(H5Fopen(file.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT), "H5Fopen failed");
    RawReadStep(f, s, nodes, values);
    H5Fclose(f);
    const double seconds = Now() - start;
    Require(Holds(values, s, nodes), "raw HDF5 read wrong values");
    return seconds;
}

double RawReadAll(const std::string& file, int steps, int64_t nodes) {
    std::vector<double> values(size_t(nodes) * kComponents);
    const double start = Now();
    const hid_t f = Checked(H5Fopen(file.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT), "H5Fopen failed");
    bool right = true;
    for (int s = 0; s < steps; ++s) {
        RawReadStep(f, s, nodes, values);
        right = right && Holds(values, s, nodes);
    }
    H5Fclose(f);
    const double seconds = Now() - start;
    Require(right, "raw HDF5 read wrong values");
    return seconds;
}

// ---- fresh processes --------------------------------------------------------------------------

// The child's side of an open: the library (or HDF5) is started, then the clock runs.
int Measure(const char* side, const char* file, int step, int64_t nodes) {
    double seconds = 0;
    if (std::strcmp(side, "vel") == 0) {
        int modules = 0;
        UTI_VelDynamicAPI_initialize(modules);
        seconds = LibraryOpenRead(file, step, nodes);
        UTI_VelDynamicAPI_finalize(modules);
    } else {
        H5open();
        seconds = RawOpenRead(file, step, nodes);
    }
    std::printf("%.9f\n", seconds);
    return 0;
}

double InFreshProcess(const std::string& self, const char* side, const std::string& file, int step,
                      int64_t nodes) {
    const std::string command = self + " --measure=" + side + " " + file + " " +
                                std::to_string(step) + " " + std::to_string(nodes);
    std::FILE* pipe = popen(command.c_str(), "r");
    Require(pipe != nullptr, "could not start a measuring process");
    double seconds = -1;
    const int read = std::fscanf(pipe, "%lf", &seconds);
    Require(pclose(pipe) == 0 && read == 1 && seconds > 0, "a measuring process failed");
    return seconds;
}

// ---- the table --------------------------------------------------------------------------------

struct Row {
    std::string what;
    double raw;      // seconds, or a growth ratio
    double library;  // seconds, or a growth ratio
    double ratio;
    const char* bound;
    double target;
};

void PrintTable(const std::vector<Row>& rows) {
    std::printf("\n%-58s %11s %11s %7s   %-9s\n", "workload", "raw HDF5", "library", "ratio",
                "target");
    for (const Row& r : rows) {
        const bool atLeast = std::strcmp(r.bound, ">=") == 0;
        const bool held = atLeast ? r.ratio >= r.target : r.ratio <= r.target;
        std::printf("%-58s %11.4g %11.4g %7.2f   %s %.2f %s\n", r.what.c_str(), r.raw, r.library,
                    r.ratio, r.bound, r.target, held ? "met" : "missed");
    }
}

// Mean wall time of the last `k` steps over the first `k`.
double Growth(const StepTimes& perStep, size_t k) {
    double first = 0, last = 0;
    const size_t n = perStep.wall.size();
    for (size_t i = 0; i < k; ++i) {
        first += perStep.wall[i];
        last += perStep.wall[n - k + i];
    }
    return last / first;
}

// The same in user time: the user time the last `k` steps took over the first `k`'s.  The first
// window starts where step 0 ended, so it spans steps 1 to k.
double UserGrowth(const StepTimes& perStep, size_t k) {
    const std::vector<double>& at = perStep.userAtEnd;
    const size_t n = at.size();
    return (at[n - 1] - at[n - 1 - k]) / (at[k] - at[0]);
}

struct Arguments {
    int repetitions = 5;
    int largest = 10000;
};

Arguments Parse(int argc, char** argv) {
    Arguments a;
    for (int i = 1; i < argc; ++i) {
        if (std::sscanf(argv[i], "--repetitions=%d", &a.repetitions) == 1 && a.repetitions > 0)
            continue;
        if (std::sscanf(argv[i], "--largest=%d", &a.largest) == 1 && a.largest >= 1000) continue;
        if (std::strncmp(argv[i], "--benchmark_", 12) == 0) continue;
        std::fprintf(stderr, "usage: vel_bench_VelOpenRead [--repetitions=5] [--largest=10000]\n");
        std::exit(2);
    }
    return a;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 5 && std::strncmp(argv[1], "--measure=", 10) == 0)
        return Measure(argv[1] + 10, argv[2], std::atoi(argv[3]), std::atoll(argv[4]));
    const Arguments args = Parse(argc, argv);
    char self[4096];
    const ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
    Require(length > 0, "cannot find the program's own path");
    self[length] = '\0';

    int modules = 0;
    UTI_VelDynamicAPI_initialize(modules);
    const std::string tag = std::to_string(getpid());
    std::vector<Row> rows;
    std::vector<std::string> files;

    // Steps one by one: the largest files, kept for the opens below.
    struct OpenCase {
        int steps;
        int64_t nodes;
        int64_t read;
        std::string vel, raw;
    };
    std::vector<OpenCase> cases = {{10, 10000, 1000, "", ""},
                                   {1000, 10000, 1000, "", ""},
                                   {args.largest, 10000, 1000, "", ""},
                                   {10, 1000000, 10000, "", ""}};
    for (OpenCase& c : cases) {
        c.vel = "VelOpenRead_" + tag + "_" + std::to_string(c.steps) + "x" +
                std::to_string(c.nodes) + ".vel";
        c.raw = c.vel + ".raw.h5";
        files.push_back(c.vel);
        files.push_back(c.raw);
    }
    {
        // Twice, each side first once: the kernel slows whichever writer meets its write-back.
        std::vector<double> velGrowth, rawGrowth, velUser, rawUser;
        const size_t k = size_t(args.largest) / 10;
        for (int r = 0; r < 2; ++r) {
            for (int side = 0; side < 2; ++side) {
                const bool library = (side == 0) == (r == 0);
                std::printf("writing %d steps of 10^4 nodes, a %s each\n", args.largest,
                            library ? "drawer" : "dataset");
                std::fflush(stdout);
                StepTimes perStep;
                if (library) {
                    LibraryWrite(cases[2].vel, args.largest, cases[2].nodes, &perStep);
                } else {
                    RawWrite(cases[2].raw, args.largest, cases[2].nodes, &perStep);
                }
                (library ? velGrowth : rawGrowth).push_back(Growth(perStep, k));
                (library ? velUser : rawUser).push_back(UserGrowth(perStep, k));
                sync();
            }
        }
        const double v = VelBenchMedian(velGrowth), w = VelBenchMedian(rawGrowth);
        rows.push_back({std::to_string(args.largest) + " steps one by one: last " +
                            std::to_string(k) + " / first " + std::to_string(k),
                        w, v, v, "<=", 1.1});
        const double vu = VelBenchMedian(velUser), wu = VelBenchMedian(rawUser);
        rows.push_back({std::to_string(args.largest) + " steps one by one, user time: last " +
                            std::to_string(k) + " / first " + std::to_string(k),
                        wu, vu, vu, "<=", 1.1});
    }
    for (OpenCase& c : cases) {
        if (c.steps == args.largest && c.nodes == 10000) continue;
        LibraryWrite(c.vel, c.steps, c.nodes);
        RawWrite(c.raw, c.steps, c.nodes);
    }
    sync();

    // Opens, each a fresh process.
    for (const OpenCase& c : cases) {
        std::vector<double> vel, raw;
        for (int r = 0; r < args.repetitions; ++r) {
            const int step = c.steps / 2;
            if (r % 2 == 0) raw.push_back(InFreshProcess(self, "raw", c.raw, step, c.read));
            vel.push_back(InFreshProcess(self, "vel", c.vel, step, c.read));
            if (r % 2 == 1) raw.push_back(InFreshProcess(self, "raw", c.raw, step, c.read));
        }
        const double v = VelBenchMedian(vel), w = VelBenchMedian(raw);
        rows.push_back({"open, read " + std::to_string(c.read) + " nodes of 1 step, close (" +
                            std::to_string(c.steps) + " steps x " + std::to_string(c.nodes) +
                            " nodes), s",
                        w, v, v / w, "<=", 1.3});
    }

    // Every step of 10^6 nodes: read, then write, in this process.
    const OpenCase& big = cases[3];
    {
        std::vector<double> vel, raw;
        for (int r = 0; r < args.repetitions; ++r) {
            if (r % 2 == 0) raw.push_back(RawReadAll(big.raw, big.steps, big.nodes));
            vel.push_back(LibraryReadAll(big.vel, big.steps, big.nodes));
            if (r % 2 == 1) raw.push_back(RawReadAll(big.raw, big.steps, big.nodes));
        }
        const double v = VelBenchMedian(vel), w = VelBenchMedian(raw);
        rows.push_back(
            {"read every step of 10^6 nodes x 3 doubles (10 steps), s", w, v, w / v, ">=", 1.0});
    }
    // The files read above go first: the first writer after them would pay for the kernel
    // reclaiming their pages.  A round that is not timed precedes the timed ones.
    for (const std::string& file : files) std::remove(file.c_str());
    sync();
    {
        const std::string velFile = "VelOpenRead_" + tag + "_write.vel";
        const std::string rawFile = velFile + ".raw.h5";
        std::vector<double> vel, raw;
        for (int r = -1; r < args.repetitions; ++r) {
            for (int side = 0; side < 2; ++side) {
                const bool library = (side == 0) == (r % 2 == 0);
                const double start = Now();
                if (library) {
                    LibraryWrite(velFile, big.steps, big.nodes);
                } else {
                    RawWrite(rawFile, big.steps, big.nodes);
                }
                if (r >= 0) (library ? vel : raw).push_back(Now() - start);
                std::remove((library ? velFile : rawFile).c_str());
                sync();
            }
        }
        const double v = VelBenchMedian(vel), w = VelBenchMedian(raw);
        rows.push_back(
            {"write every step of 10^6 nodes x 3 doubles (10 steps), s", w, v, w / v, ">=", 0.95});
    }

    UTI_VelDynamicAPI_finalize(modules);
    std::printf(
        "medians over %d repetitions; ratio: library / raw for the opens and the growth,"
        " raw / library for the throughputs\n",
        args.repetitions);
    PrintTable(rows);
    return 0;
}
