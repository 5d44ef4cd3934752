// hdf_Dataset::Write and Read of 10^7 doubles against bare H5Dwrite and H5Dread on the same
// dataset, in the same run.  Each iteration moves the data once through each path, in
// alternating order so that neither always finds the page cache warmed by the other; the
// "ratio" counter is the median bare time ("raw_ms") over the median wrapper time ("vel_ms"):
// 1.0 means the wrapper costs nothing.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <vector>

#include "VelBenchSupport.h"
#include "vel/hdf/hdf_File.h"
#include "vel/hdf/hdf_Module.h"

namespace {

constexpr hsize_t kCount = 10000000;
const char kFileName[] = "hdf_Dataset_bench.h5";

struct Fixture {
    Fixture()
        : file(hdf_File::Create(kFileName, hdf_File::CreateFlagsTruncate)),
          type(hdf_Datatype::NATIVE_DOUBLE()),
          dataset(file.DatasetCreate(
              "values", type,
              hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(kCount), hdf_DimSpace()))),
          values(kCount),
          back(kCount) {
        for (hsize_t i = 0; i < kCount; ++i) values[i] = 0.25 * static_cast<double>(i);
    }

    hdf_File file;
    hdf_Datatype type;
    hdf_Dataset dataset;
    std::vector<double> values;
    std::vector<double> back;
};

std::unique_ptr<Fixture> g_fixture;

void BM_WriteWrapperVsBare(benchmark::State& state) {
    Fixture& f = *g_fixture;
    const hid_t dataset = f.dataset.GetID();
    VelPaired(
        state, static_cast<int64_t>(kCount * sizeof(double)), 0,
        [&] {
            if (H5Dwrite(dataset, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT,
                         f.values.data()) < 0)
                state.SkipWithError("H5Dwrite failed");
        },
        [&] { f.dataset.Write(f.type, hdf_Dataspace(), f.values.data()); });
}

void BM_ReadWrapperVsBare(benchmark::State& state) {
    Fixture& f = *g_fixture;
    const hid_t dataset = f.dataset.GetID();
    f.dataset.Write(f.type, hdf_Dataspace(), f.values.data());
    VelPaired(
        state, static_cast<int64_t>(kCount * sizeof(double)), 0,
        [&] {
            if (H5Dread(dataset, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, f.back.data()) <
                0)
                state.SkipWithError("H5Dread failed");
            benchmark::DoNotOptimize(f.back.data());
        },
        [&] {
            f.dataset.Read(f.type, hdf_Dataspace(), f.back.data());
            benchmark::DoNotOptimize(f.back.data());
        });
    if (f.back != f.values) state.SkipWithError("read back differs from what was written");
}

BENCHMARK(BM_WriteWrapperVsBare)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadWrapperVsBare)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    int started = 0;
    hdf_initialize(started);
    g_fixture = std::make_unique<Fixture>();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    g_fixture.reset();
    hdf_finalize(started);
    std::remove(kFileName);
    return 0;
}
