// Drawer transfers against raw HDF5 moving the same bytes into datasets of the same shape, in the
// same run.  Each iteration runs both, in alternating order so that neither always finds the
// page cache warmed by the other; "ratio" is the median raw time over the median library time
// (1.0: the library costs nothing on top of HDF5).  The library's time includes everything a caller
// pays: the transfer's construction, its checks, buffer setting and the drawer lookup.
//
//   DenseCreate   ExecWrite of a new drawer of 10^7 doubles   vs  H5Dcreate + H5Dwrite
//   DenseWrite    ExecWrite into that existing drawer         vs  H5Dwrite
//   DenseRead     ExecRead of the whole drawer                vs  H5Dread
//   SparseCreate  a new CSR drawer, 10^6 rows x 27 nonzeros   vs  two H5Dcreate + three H5Dwrite
//   SparseWrite   ExecWrite of the same arrays into it        vs  three H5Dwrite
//   SparseRead    ExecRead of its arrays                      vs  three H5Dread
//   PoolSteps     one pool-mode transfer stepped through 100 ordinal ranges of 10^5 values of a
//                 10^7-value drawer                           vs  100 hyperslab H5Dread
//                 with the heap's peak growth over the steps, counted by the allocator below, less
//                 one range's buffer: what the transfer holds beyond the buffer it needs.
//
// The raw side writes datasets of its own, but reads the drawer's own datasets, opened through
// the C API: where a dataset lies in its file decides how the kernel's copy out of the page
// cache is aligned, which moves a read of this size by more than 10 % either way and would
// otherwise swamp what the library itself adds.
#include <benchmark/benchmark.h>
#include <hdf5.h>
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "VelBenchSupport.h"
#include "vel/UTI_VelDynamicAPI.h"
#include "vel/context/VelCollectionRef.h"
#include "vel/context/VelContextRef.h"
#include "vel/context/VelDistributionRef.h"
#include "vel/context/VelManager.h"
#include "vel/core/VelIdAsString.h"
#include "vel/transfer/VelTransfer.h"

// ---- heap accounting: every allocation of the process, HDF5's included, goes through here ----

extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);
void __libc_free(void*);
}

namespace {
std::atomic<int64_t> g_heap{0};
std::atomic<int64_t> g_peak{0};

void* Counted(void* p) {
    if (p) {
        const int64_t now = g_heap += static_cast<int64_t>(malloc_usable_size(p));
        int64_t peak = g_peak.load();
        while (now > peak && !g_peak.compare_exchange_weak(peak, now)) {
        }
    }
    return p;
}
void Uncount(void* p) {
    if (p) g_heap -= static_cast<int64_t>(malloc_usable_size(p));
}
}  // namespace

extern "C" {
void* malloc(size_t n) {
    return Counted(__libc_malloc(n));
}
void* calloc(size_t n, size_t size) {
    return Counted(__libc_calloc(n, size));
}
void* realloc(void* p, size_t n) {
    Uncount(p);
    return Counted(__libc_realloc(p, n));
}
void free(void* p) {
    Uncount(p);
    __libc_free(p);
}
void* memalign(size_t alignment, size_t n) {
    return Counted(__libc_memalign(alignment, n));
}
void* aligned_alloc(size_t alignment, size_t n) {
    return Counted(__libc_memalign(alignment, n));
}
int posix_memalign(void** out, size_t alignment, size_t n) {
    void* p = Counted(__libc_memalign(alignment, n));
    if (!p) return 12;  // ENOMEM
    *out = p;
    return 0;
}
}

namespace {

constexpr int kDense = 10000000;
constexpr int kRows = 1000000;
constexpr int kPerRow = 27;
constexpr int kNonzeros = kRows * kPerRow;
constexpr int kSteps = 100;
constexpr int kStep = kDense / kSteps;
const char kVelFile[] = "VelDrawer_bench.vel";
const char kRawFile[] = "VelDrawer_bench_raw.h5";

VelGrid GridOf(std::initializer_list<VelCollectionID> collections) {
    VelArray<VelCollectionID> array(static_cast<int>(collections.size()));
    int k = 0;
    for (const VelCollectionID& c : collections) array[k++] = c;
    return VelGrid(array);
}

hid_t Line(hsize_t n) {
    return H5Screate_simple(1, &n, nullptr);
}

struct Fixture {
    Fixture() {
        dense.resize(kDense);
        for (int i = 0; i < kDense; ++i) dense[static_cast<size_t>(i)] = 0.25 * i;
        // Every buffer is touched before it is timed, so that neither side pays the first
        // touch of the other's pages.
        denseBack.assign(kDense, -1.0);
        rawDenseBack.assign(kDense, -1.0);
        values.resize(kNonzeros);
        columns.resize(kNonzeros);
        starts.resize(kRows + 1);
        for (int r = 0; r < kRows; ++r) {
            starts[static_cast<size_t>(r)] = r * kPerRow;
            for (int k = 0; k < kPerRow; ++k) {
                const size_t at = static_cast<size_t>(r) * kPerRow + static_cast<size_t>(k);
                columns[at] = (r + k * 37) % kRows;
                values[at] = r + 0.001 * k;
            }
        }
        starts[kRows] = kNonzeros;
        valuesBack.assign(kNonzeros, -1.0);
        columnsBack.assign(kNonzeros, -1);
        startsBack.assign(kRows + 1, -1);
        rawValuesBack.assign(kNonzeros, -1.0);
        rawColumnsBack.assign(kNonzeros, -1);
        rawStartsBack.assign(kRows + 1, -1);

        context = VelManager::CreateContext(kVelFile, hdf_File::CreateFlagsTruncate, 1);
        const VelContextRef ref(context);
        line = ref.CreateCollection(kDense);
        single = ref.CreateCollection(1);
        rows = ref.CreateCollection(kRows);
        cols = ref.CreateCollection(kRows);
        denseDistribution =
            ref.CreateDistribution(GridOf({line, single}), VelRangeType(VelTypeKeyDouble));
        sparseDistribution =
            ref.CreateDistribution(GridOf({rows, cols}), VelRangeType(VelTypeKeyDouble));
        raw = H5Fcreate(kRawFile, H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
    }
    ~Fixture() {
        for (hid_t d : {rawDense, rawValues, rawIndex})
            if (d >= 0) H5Dclose(d);
        H5Fclose(raw);
        if (velFile >= 0) H5Fclose(velFile);
        VelManager::CloseContext(context);
        std::remove(kVelFile);
        std::remove(kRawFile);
    }

    VelCSetID All(const VelCollectionID& c) const { return VelCollectionRef(c).BiggestCSetID(); }

    std::vector<double> dense, denseBack, rawDenseBack;
    std::vector<double> values, valuesBack, rawValuesBack;
    std::vector<int> columns, columnsBack, starts, startsBack, rawColumnsBack, rawStartsBack;
    VelContextID context;
    VelCollectionID line, single, rows, cols;
    VelDistributionID denseDistribution, sparseDistribution;
    hid_t raw = -1;
    // The library's file, opened again through the C API for the raw reads.
    hid_t velFile = -1;
    hid_t rawDense = -1;
    hid_t rawValues = -1;
    hid_t rawIndex = -1;
    int rawCount = 0;
};

std::unique_ptr<Fixture> g_fixture;

// Dataset `offset` (0: values, 1: index) of the newest drawer of `distribution`, opened through
// the C API; closed by the caller.
hid_t DrawerDataset(const VelDistributionID& distribution, int offset) {
    Fixture& f = *g_fixture;
    if (f.velFile < 0) f.velFile = H5Fopen(kVelFile, H5F_ACC_RDONLY, H5P_DEFAULT);
    const VelArray<VelDrawerID> drawers = VelDistributionRef(distribution).Drawers();
    const int drawer = drawers[drawers.Size() - 1].Minor().Value();
    const std::string path =
        std::string("/") + VelIdAsString(distribution.Minor().Value()).c_str() + "/" +
        VelIdAsString(drawer).c_str() + "/" + VelIdAsString(drawer + offset).c_str();
    return H5Dopen2(f.velFile, path.c_str(), H5P_DEFAULT);
}

// ---- dense ------------------------------------------------------------------------------------

// A transfer of the whole dense drawer, over the caller's array (no padding: the array is the
// buffer).
void RunDense(VelTransfer& t, std::vector<double>& array, bool write) {
    Fixture& f = *g_fixture;
    t.SetBufferPadding(false).SetDims(f.All(f.line), f.All(f.single)).CheckView();
    t.SetBuffer(VelbufMain, array.data(), t.RequiredBufferSize(VelbufMain));
    if (write) {
        t.ExecWrite();
    } else {
        t.ExecRead();
    }
    t.RelinquishBuffers();
}

hid_t RawDenseCreate(const char* name) {
    Fixture& f = *g_fixture;
    const hsize_t dims[2] = {kDense, 1};
    const hid_t space = H5Screate_simple(2, dims, nullptr);
    const hid_t d =
        H5Dcreate2(f.raw, name, H5T_NATIVE_DOUBLE, space, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
    H5Sclose(space);
    return d;
}

void BM_DenseCreate(benchmark::State& state) {
    Fixture& f = *g_fixture;
    VelPaired(
        state, int64_t(kDense) * 8, 0,
        [&] {
            const std::string name = "dense" + std::to_string(f.rawCount++);
            const hid_t d = RawDenseCreate(name.c_str());
            H5Dwrite(d, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, f.dense.data());
            if (f.rawDense >= 0) H5Dclose(f.rawDense);
            f.rawDense = d;
        },
        [&] {
            VelTransfer t{VelDistributionRef(f.denseDistribution)};
            t.SetMakeNewDrawer();
            RunDense(t, f.dense, true);
        });
}

void BM_DenseWrite(benchmark::State& state) {
    Fixture& f = *g_fixture;
    VelPaired(
        state, int64_t(kDense) * 8, 2,
        [&] {
            H5Dwrite(f.rawDense, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, f.dense.data());
        },
        [&] {
            // Into the newest drawer through the drawer search, which overwrites every drawer
            // holding the values: the one the caller names is found without it.
            VelTransfer t{VelDistributionRef(f.denseDistribution)};
            const VelArray<VelDrawerID> drawers = VelDistributionRef(f.denseDistribution).Drawers();
            t.SetWrite().SetDrawer(drawers[drawers.Size() - 1]);
            RunDense(t, f.dense, true);
        });
}

void BM_DenseRead(benchmark::State& state) {
    Fixture& f = *g_fixture;
    const hid_t drawer = DrawerDataset(f.denseDistribution, 0);
    VelPaired(
        state, int64_t(kDense) * 8, 2,
        [&] {
            H5Dread(drawer, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT,
                    f.rawDenseBack.data());
            benchmark::DoNotOptimize(f.rawDenseBack.data());
        },
        [&] {
            VelTransfer t{VelDistributionRef(f.denseDistribution)};
            t.SetRead();
            RunDense(t, f.denseBack, false);
            benchmark::DoNotOptimize(f.denseBack.data());
        },
        // The sides take turns with the two buffers, so that neither keeps the one whose pages
        // happen to take a copy faster.
        [&] { f.denseBack.swap(f.rawDenseBack); });
    if (f.denseBack != f.dense || f.rawDenseBack != f.dense)
        state.SkipWithError("read back differs from what was written");
    H5Dclose(drawer);
}

// ---- sparse -----------------------------------------------------------------------------------

VelSerializationType Sparse() {
    VelSerializationType s;
    s.SetSparse();
    return s;
}

void RunSparse(VelTransfer& t, bool back) {
    Fixture& f = *g_fixture;
    t.SetBufferPadding(false).SetDims(f.All(f.rows), f.All(f.cols)).SetSerialization(Sparse());
    t.CheckView();
    void* arrays[] = {back ? f.valuesBack.data() : f.values.data(),
                      back ? f.columnsBack.data() : f.columns.data(),
                      back ? f.startsBack.data() : f.starts.data()};
    for (int e = 0; e < 3; ++e) t.SetBuffer(e, arrays[e], t.RequiredBufferSize(e));
    if (back) {
        t.ExecRead();
    } else {
        t.ExecWrite();
    }
    t.RelinquishBuffers();
}

// The raw form of the same drawer: values, then the column indices and row starts in one index
// dataset.  Three transfers, as the arrays are three caller arrays.
void RawSparse(bool write, hid_t valuesDataset, hid_t indexDataset) {
    Fixture& f = *g_fixture;
    struct Part {
        hid_t dataset;
        hid_t type;
        hsize_t start;
        hsize_t count;
        void* data;
    } parts[] = {{valuesDataset, H5T_NATIVE_DOUBLE, 0, kNonzeros,
                  write ? f.values.data() : f.rawValuesBack.data()},
                 {indexDataset, H5T_NATIVE_INT, 0, kNonzeros,
                  write ? f.columns.data() : f.rawColumnsBack.data()},
                 {indexDataset, H5T_NATIVE_INT, kNonzeros, kRows + 1,
                  write ? f.starts.data() : f.rawStartsBack.data()}};
    for (const Part& p : parts) {
        const hid_t file = H5Dget_space(p.dataset);
        H5Sselect_hyperslab(file, H5S_SELECT_SET, &p.start, nullptr, &p.count, nullptr);
        const hid_t memory = Line(p.count);
        if (write) {
            H5Dwrite(p.dataset, p.type, memory, file, H5P_DEFAULT, p.data);
        } else {
            H5Dread(p.dataset, p.type, memory, file, H5P_DEFAULT, p.data);
        }
        H5Sclose(memory);
        H5Sclose(file);
    }
}

void BM_SparseCreate(benchmark::State& state) {
    Fixture& f = *g_fixture;
    const int64_t bytes = int64_t(kNonzeros) * 12 + int64_t(kRows + 1) * 4;
    VelPaired(
        state, bytes, 0,
        [&] {
            const std::string name = "sparse" + std::to_string(f.rawCount++);
            for (hid_t d : {f.rawValues, f.rawIndex})
                if (d >= 0) H5Dclose(d);
            const hid_t values = Line(kNonzeros);
            const hid_t index = Line(kNonzeros + kRows + 1);
            f.rawValues = H5Dcreate2(f.raw, (name + "v").c_str(), H5T_NATIVE_DOUBLE, values,
                                     H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
            f.rawIndex = H5Dcreate2(f.raw, (name + "i").c_str(), H5T_NATIVE_INT, index, H5P_DEFAULT,
                                    H5P_DEFAULT, H5P_DEFAULT);
            H5Sclose(values);
            H5Sclose(index);
            RawSparse(true, f.rawValues, f.rawIndex);
        },
        [&] {
            // A sparse distribution holds one drawer: each new one goes into a new distribution.
            f.sparseDistribution = VelContextRef(f.context).CreateDistribution(
                GridOf({f.rows, f.cols}), VelRangeType(VelTypeKeyDouble));
            VelTransfer t{VelDistributionRef(f.sparseDistribution)};
            t.SetMakeNewDrawer().SetSparseNNonzero(kNonzeros);
            RunSparse(t, false);
        });
}

void BM_SparseWrite(benchmark::State& state) {
    Fixture& f = *g_fixture;
    VelPaired(
        state, int64_t(kNonzeros) * 12 + int64_t(kRows + 1) * 4, 2,
        [&] { RawSparse(true, f.rawValues, f.rawIndex); },
        [&] {
            VelTransfer t{VelDistributionRef(f.sparseDistribution)};
            t.SetWrite();
            RunSparse(t, false);
        });
}

void BM_SparseRead(benchmark::State& state) {
    Fixture& f = *g_fixture;
    const hid_t values = DrawerDataset(f.sparseDistribution, 0);
    const hid_t index = DrawerDataset(f.sparseDistribution, 1);
    VelPaired(
        state, int64_t(kNonzeros) * 12 + int64_t(kRows + 1) * 4, 2,
        [&] { RawSparse(false, values, index); },
        [&] {
            VelTransfer t{VelDistributionRef(f.sparseDistribution)};
            t.SetRead();
            RunSparse(t, true);
        },
        [&] {
            f.valuesBack.swap(f.rawValuesBack);
            f.columnsBack.swap(f.rawColumnsBack);
            f.startsBack.swap(f.rawStartsBack);
        });
    if (f.valuesBack != f.values || f.columnsBack != f.columns || f.startsBack != f.starts ||
        f.rawValuesBack != f.values || f.rawColumnsBack != f.columns || f.rawStartsBack != f.starts)
        state.SkipWithError("read back differs from what was written");
    H5Dclose(values);
    H5Dclose(index);
}

// ---- stepping a pool-mode view ----------------------------------------------------------------

constexpr int kPoolWarmups = 2;

void BM_PoolSteps(benchmark::State& state) {
    Fixture& f = *g_fixture;
    int64_t extra = 0;
    double sum = 0;
    const hid_t drawer = DrawerDataset(f.denseDistribution, 0);
    VelPaired(
        state, int64_t(kDense) * 8, kPoolWarmups,
        [&] {
            std::vector<double> buffer(kStep);
            const hid_t file = H5Dget_space(drawer);
            const hid_t memory = Line(kStep);
            for (int s = 0; s < kSteps; ++s) {
                const hsize_t start[2] = {hsize_t(s) * kStep, 0};
                const hsize_t count[2] = {kStep, 1};
                H5Sselect_hyperslab(file, H5S_SELECT_SET, start, nullptr, count, nullptr);
                H5Dread(drawer, H5T_NATIVE_DOUBLE, memory, file, H5P_DEFAULT, buffer.data());
                benchmark::DoNotOptimize(buffer.data());
            }
            H5Sclose(memory);
            H5Sclose(file);
        },
        [&] {
            const int64_t before = g_heap.load();
            g_peak = before;
            VelSysPool pool;
            {
                VelTransfer t{VelDistributionRef(f.denseDistribution)};
                t.SetPool(pool).SetRead().SetDim(1, f.All(f.single));
                for (int s = 0; s < kSteps; ++s) {
                    t.SetDimOrdinalRange(0, f.line, s * kStep, (s + 1) * kStep - 1).CheckView();
                    const double* data =
                        static_cast<const double*>(t.ExecRead().Data(VelbufMain).Address());
                    sum += data[kStep - 1];
                }
            }
            extra = std::max<int64_t>(extra, g_peak.load() - before - (int64_t(kStep) * 8 + 24));
        });
    // The last value of every range, as written.
    const double expected = 0.25 * (double(kStep) * kSteps * (kSteps + 1) / 2.0 - kSteps);
    if (sum != expected * double(state.iterations() + kPoolWarmups))
        state.SkipWithError("the stepped ranges do not hold what was written");
    H5Dclose(drawer);
    state.counters["range_kB"] = (kStep * 8 + 24) / 1024.0;
    state.counters["peak_over_range_kB"] = static_cast<double>(extra) / 1024.0;
}

BENCHMARK(BM_DenseCreate)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(8);
BENCHMARK(BM_DenseWrite)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(30);
BENCHMARK(BM_DenseRead)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(30);
BENCHMARK(BM_PoolSteps)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(30);
BENCHMARK(BM_SparseCreate)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(6);
BENCHMARK(BM_SparseWrite)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(15);
BENCHMARK(BM_SparseRead)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(30);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    int modules = 0;
    UTI_VelDynamicAPI_initialize(modules);
    g_fixture = std::make_unique<Fixture>();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    g_fixture.reset();
    UTI_VelDynamicAPI_finalize(modules);
    return 0;
}
