// Compressed drawers against raw HDF5 with the same filters and chunks, on the same data in the
// same run.  The data are the finite-element example's fields (examples/fem_model.h) on a plate
// of 1000 x 1000 nodes: the displacement of a cantilever under a growing tip load (stretch,
// deflection and the rotation of its sections, node by node) and the bending stress of its
// 998,001 elements, over 4 load steps, so smooth in space and in time like a solver's output.
//
// Per pipeline (none, shuffle+deflate at levels 1 and 4, and LZ4 alone and after shuffle when
// the machine has the plugin):
//   Write   every step of both fields, a drawer each (the library) or a chunked dataset each
//           (raw HDF5, the library's chunk shape), then a checkpoint / flush and close
//   Read    every step of both fields back into the caller's memory after a fresh open
// The counters give raw_ms, vel_ms and ratio (raw time over the library's, at least 0.95 is the
// goal), the uncompressed megabytes a second of the library, and the compression ratio of each
// file (uncompressed values over file size).
#include <hdf5.h>
#include <sys/stat.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "VelBenchSupport.h"
#include "vel/vel.h"

namespace {

constexpr int kNodesX = 1000;
constexpr int kNodesY = 1000;
constexpr int kNodes = kNodesX * kNodesY;
constexpr int kElements = (kNodesX - 1) * (kNodesY - 1);
constexpr int kSteps = 4;
constexpr int kComponents = 3;
// The example's plate is 4 long and 1.5 high; its material is steel.
constexpr double kLength = 4.0;
constexpr double kHeight = 1.5;
constexpr double kYoungsModulus = 210000.0;

const std::string kVelFile = "/tmp/vel_bench_compression.vel";
const std::string kRawFile = "/tmp/vel_bench_compression.h5";

double LoadFactor(int s) {
    return (s + 1.0) / kSteps;
}

// Node by node: x-stretch, the deflection growing with the square of the distance from the
// clamped edge, and the sections' rotation that moves x with the height.
std::vector<double> Displacement(int step) {
    const double load = LoadFactor(step);
    std::vector<double> u(static_cast<size_t>(kNodes) * kComponents);
    for (int n = 0; n < kNodes; ++n) {
        const double x = kLength * (n % kNodesX) / (kNodesX - 1);
        const double y = kHeight * (n / kNodesX) / (kNodesY - 1) - kHeight / 2;
        const size_t k = static_cast<size_t>(n) * kComponents;
        u[k] = load * (0.001 * x - 0.02 * x * y / 8.0);
        u[k + 1] = -load * 0.02 * x * x / 16.0;
        u[k + 2] = -load * 1e-4 * std::sin(x) * y;
    }
    return u;
}

// Element by element, at its centre: the bending stress of the example, largest at the clamped
// edge and zero at the tip, the shear, and the axial stress.
std::vector<double> Stress(int step) {
    const double load = LoadFactor(step);
    std::vector<double> sigma(static_cast<size_t>(kElements) * kComponents);
    for (int e = 0; e < kElements; ++e) {
        const double xc = kLength * (e % (kNodesX - 1) + 0.5) / (kNodesX - 1);
        const double yc = kHeight * (e / (kNodesX - 1) + 0.5) / (kNodesY - 1) - kHeight / 2;
        const double arm = (kLength - xc) / kLength;
        const size_t k = static_cast<size_t>(e) * kComponents;
        sigma[k] = load * kYoungsModulus * (0.001 - 0.0025 * yc * arm);
        sigma[k + 1] = load * kYoungsModulus * 1e-4 * (1 - 4 * yc * yc / (kHeight * kHeight));
        sigma[k + 2] = load * kYoungsModulus * 0.0001 * (kLength - xc);
    }
    return sigma;
}

struct Fields {
    std::vector<std::vector<double>> displacement;
    std::vector<std::vector<double>> stress;
};

const Fields& Data() {
    static const Fields fields = [] {
        Fields f;
        for (int s = 0; s < kSteps; ++s) {
            f.displacement.push_back(Displacement(s));
            f.stress.push_back(Stress(s));
        }
        return f;
    }();
    return fields;
}

int64_t UncompressedBytes() {
    return int64_t(kSteps) * (kNodes + kElements) * kComponents * int64_t(sizeof(double));
}

// The chunk shape the library gives a step of a field: whole rows of components, as many as fit
// in 256 KiB.
int ChunkRows() {
    return 256 * 1024 / int(sizeof(double)) / kComponents;
}

double FileBytes(const std::string& path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0 ? static_cast<double>(st.st_size) : 0.0;
}

// ---- raw HDF5

hid_t RawCreation(const VelCompression& compression, hsize_t rows) {
    const hid_t dcpl = H5Pcreate(H5P_DATASET_CREATE);
    if (compression.IsNone()) return dcpl;
    const hsize_t chunk[3] = {1, std::min<hsize_t>(rows, static_cast<hsize_t>(ChunkRows())),
                              kComponents};
    H5Pset_chunk(dcpl, 3, chunk);
    const unsigned level = static_cast<unsigned>(compression.Level());
    switch (compression.GetKind()) {
        case VelCompression::e_ShuffleDeflate:
            H5Pset_shuffle(dcpl);
            H5Pset_deflate(dcpl, level);
            break;
        case VelCompression::e_ShuffleLz4:
            H5Pset_shuffle(dcpl);
            H5Pset_filter(dcpl, VelCompression::e_Lz4Filter, H5Z_FLAG_MANDATORY, 0, nullptr);
            break;
        case VelCompression::e_Lz4:
            H5Pset_filter(dcpl, VelCompression::e_Lz4Filter, H5Z_FLAG_MANDATORY, 0, nullptr);
            break;
        case VelCompression::e_None:
            break;
    }
    return dcpl;
}

void RawWriteField(hid_t file, const char* name, const std::vector<std::vector<double>>& steps,
                   hsize_t rows, const VelCompression& compression) {
    const hid_t group = H5Gcreate2(file, name, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
    const hsize_t dims[3] = {1, rows, kComponents};
    const hid_t space = H5Screate_simple(3, dims, nullptr);
    const hid_t dcpl = RawCreation(compression, rows);
    for (int s = 0; s < kSteps; ++s) {
        const hid_t ds = H5Dcreate2(group, std::to_string(s).c_str(), H5T_NATIVE_DOUBLE, space,
                                    H5P_DEFAULT, dcpl, H5P_DEFAULT);
        H5Dwrite(ds, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT,
                 steps[static_cast<size_t>(s)].data());
        H5Dclose(ds);
    }
    H5Pclose(dcpl);
    H5Sclose(space);
    H5Gclose(group);
}

void RawWrite(const VelCompression& compression) {
    const hid_t file = H5Fcreate(kRawFile.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
    RawWriteField(file, "displacement", Data().displacement, kNodes, compression);
    RawWriteField(file, "stress", Data().stress, kElements, compression);
    H5Fflush(file, H5F_SCOPE_GLOBAL);
    H5Fclose(file);
}

void RawRead(std::vector<double>& values) {
    const hid_t file = H5Fopen(kRawFile.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT);
    for (const char* field : {"displacement", "stress"}) {
        for (int s = 0; s < kSteps; ++s) {
            const std::string path = std::string(field) + "/" + std::to_string(s);
            const hid_t ds = H5Dopen2(file, path.c_str(), H5P_DEFAULT);
            H5Dread(ds, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data());
            H5Dclose(ds);
        }
    }
    H5Fclose(file);
}

// ---- the library

VelGrid GridOf(const VelCollectionID& a, const VelCollectionID& b, const VelCollectionID& c) {
    VelArray<VelCollectionID> array(3);
    array[0] = a;
    array[1] = b;
    array[2] = c;
    return VelGrid(array);
}

void WriteStep(const VelDistributionID& field, const VelCSetID& step, const VelCSetID& rows,
               const VelCSetID& components, const std::vector<double>& values) {
    VelTransfer transfer{VelDistributionRef(field)};
    transfer.SetMakeNewDrawer().SetBufferPadding(false);
    transfer.SetDims(step, rows, components);
    transfer.CheckView();
    transfer.SetBuffer(VelbufMain, const_cast<double*>(values.data()),
                       transfer.RequiredBufferSize(VelbufMain));
    transfer.ExecWrite();
    transfer.RelinquishBuffers();
}

// The compression is the context's default: what a solver sets once for its whole output.
void VelWrite(const VelCompression& compression) {
    const VelContextID id =
        VelManager::CreateContext(kVelFile.c_str(), hdf_File::CreateFlagsTruncate, 1);
    const VelContextRef context(id);
    context.SetDefaultCompression(compression);
    const VelCollectionID steps = context.CreateCollection(kSteps);
    const VelCollectionID nodes = context.CreateCollection(kNodes);
    const VelCollectionID elements = context.CreateCollection(kElements);
    const VelCollectionID axes = context.CreateCollection(kComponents);
    const VelCollectionID stressAxes = context.CreateCollection(kComponents);
    const VelRangeType doubles(VelTypeKeyDouble);
    const VelDistributionID displacement =
        context.CreateDistribution(GridOf(steps, nodes, axes), doubles);
    const VelDistributionID stress =
        context.CreateDistribution(GridOf(steps, elements, stressAxes), doubles);
    for (int s = 0; s < kSteps; ++s) {
        const VelCSetID step = VelCollectionRef(steps).CreateCSetStrided(s, 1, 1, 1);
        WriteStep(displacement, step, VelCollectionRef(nodes).BiggestCSetID(),
                  VelCollectionRef(axes).BiggestCSetID(),
                  Data().displacement[static_cast<size_t>(s)]);
        WriteStep(stress, step, VelCollectionRef(elements).BiggestCSetID(),
                  VelCollectionRef(stressAxes).BiggestCSetID(),
                  Data().stress[static_cast<size_t>(s)]);
    }
    VelManager::FlushContext(id);
    VelManager::CloseContext(id);
}

void VelRead(std::vector<double>& values) {
    const VelContextID id =
        VelManager::OpenContext(kVelFile.c_str(), hdf_File::OpenFlagsReadOnly, 1);
    const VelContextRef context(id);
    const VelArray<VelCollectionID> c = context.Collections();
    const VelArray<VelDistributionID> fields = context.Distributions();
    for (int f = 0; f < fields.Size(); ++f) {
        const VelGrid grid = VelDistributionRef(fields[f]).Grid();
        for (int s = 0; s < kSteps; ++s) {
            VelTransfer transfer{VelDistributionRef(fields[f])};
            transfer.SetRead().SetBufferPadding(false).SetDimOrdinalRange(0, grid[0], s, s);
            transfer.SetDim(1, VelCollectionRef(grid[1]).BiggestCSetID());
            transfer.SetDim(2, VelCollectionRef(grid[2]).BiggestCSetID());
            transfer.CheckView();
            transfer.SetBuffer(VelbufMain, values.data(), transfer.RequiredBufferSize(VelbufMain));
            transfer.ExecRead();
            transfer.RelinquishBuffers();
        }
    }
    VelManager::CloseContext(id);
}

// The chunk shape the library chose must be the raw side's, or the comparison is not fair.
bool SameChunks(const VelCompression& compression) {
    const VelContextID id =
        VelManager::OpenContext(kVelFile.c_str(), hdf_File::OpenFlagsReadOnly, 1);
    const VelArray<VelDistributionID> fields = VelContextRef(id).Distributions();
    const VelDrawerDescription desc =
        VelDrawerRef(VelDistributionRef(fields[0]).Drawers()[0]).Description();
    const VelArray<int>& chunks = desc.ChunkSizes();
    const bool same = compression.IsNone()
                          ? chunks.Size() == 0
                          : chunks.Size() == 3 && chunks[0] == 1 && chunks[1] == ChunkRows() &&
                                chunks[2] == kComponents && desc.Compression() == compression;
    VelManager::CloseContext(id);
    return same;
}

void Counters(benchmark::State& state) {
    const double bytes = static_cast<double>(UncompressedBytes());
    state.counters["vel_MBps"] = bytes / 1e6 / (state.counters["vel_ms"] / 1e3);
    state.counters["raw_MBps"] = bytes / 1e6 / (state.counters["raw_ms"] / 1e3);
    state.counters["vel_x"] = bytes / FileBytes(kVelFile);
    state.counters["raw_x"] = bytes / FileBytes(kRawFile);
}

void BM_Write(benchmark::State& state, VelCompression compression) {
    Data();
    VelPaired(
        state, UncompressedBytes(), 1, [&] { RawWrite(compression); },
        [&] { VelWrite(compression); });
    if (!SameChunks(compression)) state.SkipWithError("the chunk shapes differ");
    Counters(state);
}

void BM_Read(benchmark::State& state, VelCompression compression) {
    RawWrite(compression);
    VelWrite(compression);
    std::vector<double> values(static_cast<size_t>(kNodes) * kComponents);
    VelPaired(
        state, UncompressedBytes(), 1, [&] { RawRead(values); }, [&] { VelRead(values); });
    Counters(state);
    std::remove(kVelFile.c_str());
    std::remove(kRawFile.c_str());
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<VelCompression> pipelines = {VelCompression::None(),
                                             VelCompression::ShuffleDeflate(1),
                                             VelCompression::ShuffleDeflate(4)};
    H5open();
    if (VelCompression::Lz4().IsAvailable()) {
        pipelines.push_back(VelCompression::Lz4());
        pipelines.push_back(VelCompression::ShuffleLz4());
    } else {
        std::printf("LZ4 left out: no HDF5 plugin for filter 32004 (hdf5-filter-plugin)\n");
    }
    for (const VelCompression& p : pipelines) {
        for (const bool write : {true, false}) {
            const std::string name = std::string(write ? "Write/" : "Read/") + p.Name().c_str();
            benchmark::RegisterBenchmark(name.c_str(), write ? BM_Write : BM_Read, p)
                ->UseManualTime()
                ->Iterations(write ? 3 : 7)
                ->Unit(benchmark::kMillisecond);
        }
    }
    return VelRunBenchmarks(argc, argv, {});
}
