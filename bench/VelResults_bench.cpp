// The results layer against the layer below it, on the same work in the same run: 10^6 nodes x
// 3 doubles x 10 steps written (a field's step per drawer, a checkpoint at the end) and read
// back step by step.  The layer below is driven the way a careful user of it would: one
// distribution over steps, nodes and components, a stored CSet per step, buffers without padding.
#include <cstdio>
#include <string>
#include <vector>

#include "VelBenchSupport.h"
#include "vel/vel.h"

namespace {

constexpr int kNodes = 1000000;
constexpr int kSteps = 10;

const std::vector<double>& Values() {
    static const std::vector<double> values = [] {
        std::vector<double> v(static_cast<size_t>(kNodes) * 3);
        for (size_t k = 0; k < v.size(); ++k) v[k] = 1e-3 * static_cast<double>(k % 9973);
        return v;
    }();
    return values;
}

VelGrid GridOf(std::initializer_list<VelCollectionID> collections) {
    VelArray<VelCollectionID> array(static_cast<int>(collections.size()));
    int k = 0;
    for (const VelCollectionID& c : collections) array[k++] = c;
    return VelGrid(array);
}

void WriteBelow(const char* path) {
    const VelContextID id = VelManager::CreateContext(path, hdf_File::CreateFlagsTruncate, 1);
    const VelContextRef context(id);
    const VelCollectionID steps = context.CreateCollection(kSteps);
    const VelCollectionID nodes = context.CreateCollection(kNodes);
    const VelCollectionID axes = context.CreateCollection(3);
    const VelDistributionID field =
        context.CreateDistribution(GridOf({steps, nodes, axes}), VelRangeType(VelTypeKeyDouble));
    for (int s = 0; s < kSteps; ++s) {
        const VelCSetID step = VelCollectionRef(steps).CreateCSetStrided(s, 1, 1, 1);
        VelTransfer transfer{VelDistributionRef(field)};
        transfer.SetMakeNewDrawer().SetBufferPadding(false);
        transfer.SetDims(step, VelCollectionRef(nodes).BiggestCSetID(),
                         VelCollectionRef(axes).BiggestCSetID());
        transfer.CheckView();
        transfer.SetBuffer(VelbufMain, const_cast<double*>(Values().data()),
                           transfer.RequiredBufferSize(VelbufMain));
        transfer.ExecWrite();
        transfer.RelinquishBuffers();
    }
    VelManager::FlushContext(id);
    VelManager::CloseContext(id);
}

void ReadBelow(const char* path, std::vector<double>& values) {
    const VelContextID id = VelManager::OpenContext(path, hdf_File::OpenFlagsReadOnly, 1);
    const VelContextRef context(id);
    const VelArray<VelCollectionID> c = context.Collections();
    const VelDistributionID field = context.Distributions()[0];
    values.resize(Values().size());
    VelTransfer transfer{VelDistributionRef(field)};
    transfer.SetRead().SetBufferPadding(false);
    transfer.SetDim(1, VelCollectionRef(c[1]).BiggestCSetID());
    transfer.SetDim(2, VelCollectionRef(c[2]).BiggestCSetID());
    for (int s = 0; s < kSteps; ++s) {
        transfer.SetDimOrdinalRange(0, c[0], s, s).CheckView();
        transfer.SetBuffer(VelbufMain, values.data(), transfer.RequiredBufferSize(VelbufMain));
        transfer.ExecRead();
        transfer.RelinquishBuffers();
    }
    VelManager::CloseContext(id);
}

}  // namespace

static void BM_WriteBelow(benchmark::State& state) {
    for (auto _ : state) WriteBelow("bench-below.vel");
}
BENCHMARK(BM_WriteBelow)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5);

// The mesh's coordinates, which the layer below is not asked to write, are written while the
// clock is paused.
void WriteResults(const char* path, benchmark::State* state) {
    static const std::vector<double> xyz(static_cast<size_t>(kNodes) * 3, 0.0);
    VelResultsWriter out = VelResultsWriter::Create(path);
    if (state) state->PauseTiming();
    out.AddNodes(kNodes, xyz.data());
    if (state) state->ResumeTiming();
    VelResultsField u = out.AddNodalField("displacement", {"x", "y", "z"});
    for (int s = 0; s < kSteps; ++s) u.Write(out.AddStep(s), Values());
    out.Checkpoint();
    out.Close();
}

static void BM_WriteResults(benchmark::State& state) {
    for (auto _ : state) WriteResults("bench-results.vel", &state);
}
BENCHMARK(BM_WriteResults)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5);

static void BM_ReadBelow(benchmark::State& state) {
    WriteBelow("bench-below.vel");
    std::vector<double> values;
    for (auto _ : state) ReadBelow("bench-below.vel", values);
}
BENCHMARK(BM_ReadBelow)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5);

// Each side reads a file it has just written, so that both start from the same state of the
// kernel's page cache: how a file's pages were last cached moves a 24 MB read by a third.
static void BM_ReadResults(benchmark::State& state) {
    WriteResults("bench-results.vel", nullptr);
    std::vector<double> values;
    for (auto _ : state) {
        VelResultsReader in = VelResultsReader::Open("bench-results.vel");
        const VelResultsField u = in.Field("displacement");
        for (int s = 0; s < kSteps; ++s) u.Read(s, values);
    }
}
BENCHMARK(BM_ReadResults)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5);

int main(int argc, char** argv) {
    return VelRunBenchmarks(
        argc, argv, {{"BM_WriteBelow", "BM_WriteResults"}, {"BM_ReadBelow", "BM_ReadResults"}});
}
