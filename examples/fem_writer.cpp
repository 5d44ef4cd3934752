// Stores the results of the plate model (fem_model.h): the mesh as collections, node and element
// sets as CSets, the coordinates, a displacement field per load step, the element stresses and
// the assembled stiffness matrix.
//
// Values go from the program's own arrays straight to the file: with buffer padding off, the
// array itself is the transfer's buffer and nothing is copied on the way.
#include <vel/vel.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <utility>
#include <vector>

#include "fem_model.h"

namespace {

VelGrid GridOf(std::initializer_list<VelCollectionID> collections) {
    VelArray<VelCollectionID> array(static_cast<int>(collections.size()));
    int k = 0;
    for (const VelCollectionID& c : collections) array[k++] = c;
    return VelGrid(array);
}

// Hands `values` to a checked transfer as its main buffer and writes.
void Write(VelTransfer& transfer, std::vector<double>& values) {
    transfer.CheckView();
    transfer.SetBuffer(VelbufMain, values.data(), transfer.RequiredBufferSize(VelbufMain));
    transfer.ExecWrite();
    transfer.RelinquishBuffers();
}

// A new drawer over three CSets, from `values` laid out row-major over them.
void WriteDrawer(const VelDistributionID& distribution, const VelCSetID& a, const VelCSetID& b,
                 const VelCSetID& c, std::vector<double> values) {
    VelTransfer transfer{VelDistributionRef(distribution)};
    transfer.SetMakeNewDrawer().SetBufferPadding(false).SetDims(a, b, c);
    Write(transfer, values);
}

// The stiffness of a network of springs along the element edges, three uncoupled directions
// per node: symmetric, singular (a rigid translation costs nothing), in compressed rows of its
// upper triangle with the diagonal apart.
struct UpperCsr {
    std::vector<double> diagonal;
    std::vector<double> values;
    std::vector<int> columns;
    std::vector<int> starts;
};

UpperCsr AssembleStiffness() {
    std::map<std::pair<int, int>, double> upper;
    std::vector<double> diagonal(fem::kDofs, 0.0);
    for (int j = 0; j < fem::kElementsY; ++j) {
        for (int i = 0; i < fem::kElementsX; ++i) {
            int nodes[4];
            fem::ElementNodes(i, j, nodes);
            for (int e = 0; e < 4; ++e) {
                const int a = nodes[e];
                const int b = nodes[(e + 1) % 4];
                // Edges inside the plate belong to two elements and get both springs.
                const double k = 1000.0;
                for (int c = 0; c < fem::kComponents; ++c) {
                    const int p = fem::kComponents * a + c;
                    const int q = fem::kComponents * b + c;
                    diagonal[p] += k;
                    diagonal[q] += k;
                    upper[{std::min(p, q), std::max(p, q)}] -= k;
                }
            }
        }
    }
    UpperCsr csr;
    csr.diagonal = diagonal;
    int row = 0;
    csr.starts.push_back(0);
    for (const auto& entry : upper) {
        while (row < entry.first.first) {
            csr.starts.push_back(static_cast<int>(csr.values.size()));
            ++row;
        }
        csr.columns.push_back(entry.first.second);
        csr.values.push_back(entry.second);
    }
    while (row < fem::kDofs) {
        csr.starts.push_back(static_cast<int>(csr.values.size()));
        ++row;
    }
    return csr;
}

void WriteStiffness(const VelDistributionID& distribution, const VelCSetID& rows,
                    const VelCSetID& columns) {
    UpperCsr k = AssembleStiffness();
    VelSerializationType symmetric;
    symmetric.SetSparseSym();
    VelTransfer transfer{VelDistributionRef(distribution)};
    transfer.SetMakeNewDrawer().SetSparseNNonzero(static_cast<int>(k.values.size()));
    transfer.SetBufferPadding(false).SetDims(rows, columns).SetSerialization(symmetric);
    transfer.CheckView();
    void* arrays[] = {k.values.data(), k.columns.data(), k.starts.data(), k.diagonal.data()};
    for (int e = 0; e < VelTransfer::BufferCount(); ++e)
        transfer.SetBuffer(e, arrays[e], transfer.RequiredBufferSize(e));
    transfer.ExecWrite();
    transfer.RelinquishBuffers();
    std::printf("  stiffness: %d rows, %zu nonzeros above the diagonal\n", fem::kDofs,
                k.values.size());
}

}  // namespace

int fem::WriteResults(const char* file) {
    const VelContextID id = VelManager::CreateContext(file, hdf_File::CreateFlagsTruncate, 1);
    if (id.IsNull()) return 1;
    const VelContextRef context(id);

    const VelCollectionID nodes = context.CreateCollection(kNodes);
    const VelCollectionID elements = context.CreateCollection(kElements);
    const VelCollectionID components = context.CreateCollection(kComponents);
    const VelCollectionID steps = context.CreateCollection(kSteps);
    const VelCollectionID stressComponents = context.CreateCollection(kStressComponents);
    const VelCollectionID dofRows = context.CreateCollection(kDofs);
    const VelCollectionID dofColumns = context.CreateCollection(kDofs);

    // The clamped and loaded edges, every kNodesX-th node; the elements along the clamped edge.
    const VelCollectionRef nodeSets(nodes);
    nodeSets.CreateCSetStrided(Node(0, 0), kNodesX, kNodesY, 1);
    const VelCSetID loaded = nodeSets.CreateCSetStrided(Node(kNodesX - 1, 0), kNodesX, kNodesY, 1);
    VelCollectionRef(elements).CreateCSetStrided(0, kElementsX, kElementsY, 1);
    std::printf("  %d nodes, %d elements, %d loaded nodes\n", kNodes, kElements,
                VelCSet(loaded).Size());

    const VelCSetID allNodes = nodeSets.BiggestCSetID();
    const VelCSetID allComponents = VelCollectionRef(components).BiggestCSetID();
    const VelDistributionID coordinates =
        context.CreateDistribution(GridOf({nodes, components}), VelRangeType(VelTypeKeyDouble));
    const VelDistributionID displacement = context.CreateDistribution(
        GridOf({steps, nodes, components}), VelRangeType(VelTypeKeyDouble));
    const VelDistributionID stress = context.CreateDistribution(
        GridOf({elements, stressComponents}), VelRangeType(VelTypeKeyDouble));
    const VelDistributionID stiffness =
        context.CreateDistribution(GridOf({dofRows, dofColumns}), VelRangeType(VelTypeKeyDouble));

    {
        std::vector<double> xyz;
        for (int n = 0; n < kNodes; ++n) {
            xyz.push_back(n % kNodesX * 1.0);
            xyz.push_back(n / kNodesX * 0.5);
            xyz.push_back(0.0);
        }
        VelTransfer transfer{VelDistributionRef(coordinates)};
        transfer.SetMakeNewDrawer().SetBufferPadding(false).SetDims(allNodes, allComponents);
        Write(transfer, xyz);
    }

    // A cantilever bending under a growing tip load: x-stretch and a downward deflection that
    // grows with the square of the distance from the clamped edge.
    for (int s = 0; s < kSteps; ++s) {
        const double load = (s + 1.0) / kSteps;
        std::vector<double> u;
        for (int n = 0; n < kNodes; ++n) {
            const double x = n % kNodesX;
            u.push_back(load * 0.001 * x);
            u.push_back(-load * 0.02 * x * x / 16.0);
            u.push_back(0.0);
        }
        const VelCSetID step = VelCollectionRef(steps).CreateCSetStrided(s, 1, 1, 1);
        WriteDrawer(displacement, step, allNodes, allComponents, u);
    }
    std::printf("  displacement: %d steps of %d x %d values\n", kSteps, kNodes, kComponents);

    {
        // Bending stress of the final step: largest at the clamped edge, zero at the tip.
        const double youngs = 210000.0;
        std::vector<double> sigma;
        for (int e = 0; e < kElements; ++e) {
            const double xc = e % kElementsX + 0.5;
            const double yc = (e / kElementsX + 0.5) * 0.5 - 0.75;
            sigma.push_back(youngs * (0.001 - 0.0025 * yc * (kElementsX - xc) / kElementsX));
            sigma.push_back(0.0);
            sigma.push_back(youngs * 0.0001 * (kElementsX - xc));
        }
        VelTransfer transfer{VelDistributionRef(stress)};
        transfer.SetMakeNewDrawer().SetBufferPadding(false);
        transfer.SetDims(VelCollectionRef(elements).BiggestCSetID(),
                         VelCollectionRef(stressComponents).BiggestCSetID());
        Write(transfer, sigma);
    }

    WriteStiffness(stiffness, VelCollectionRef(dofRows).BiggestCSetID(),
                   VelCollectionRef(dofColumns).BiggestCSetID());
    VelManager::CloseContext(id);
    return 0;
}

#ifdef VEL_FEM_STANDALONE
int main(int argc, char** argv) {
    const char* const file = argc > 1 ? argv[1] : "fem.vel";
    int modules = 0;
    UTI_VelDynamicAPI_initialize(modules);
    std::printf("writing %s\n", file);
    const int status = fem::WriteResults(file);
    UTI_VelDynamicAPI_finalize(modules);
    return status;
}
#endif
