// Reads the plate model's results (fem_model.h) back and prints a summary: what the database
// holds, the displacement of every load step (one view stepped through the steps, its buffer
// taken from a pool), the loaded edge and the clamped elements through their CSets, and the
// stiffness matrix, checked for the rigid translation it must not resist.
#include <vel/vel.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <vector>

#include "fem_model.h"

namespace {

// A CSet stored in `collection`, by its place: CSets are numbered in the order they were made,
// after the empty set (0) and the full set (1).
VelCSetID StoredCSet(const VelContextID& context, const VelCollectionID& collection, int index) {
    const int64_t ascending = int64_t(uint32_t(index) | 0x80000000u);
    return VelCSetID(VelDynamicID(5, context.Value(), collection.Minor().Value(), ascending));
}

VelCSetID All(const VelCollectionID& collection) {
    return VelCollectionRef(collection).BiggestCSetID();
}

// The values of a checked transfer's view, read into a buffer of the caller's.
std::vector<double> Read(VelTransfer& transfer) {
    transfer.CheckView();
    std::vector<double> values(static_cast<size_t>(transfer.RequiredBufferSize(VelbufMain)) /
                               sizeof(double));
    transfer.SetBuffer(VelbufMain, values.data(), transfer.RequiredBufferSize(VelbufMain));
    transfer.ExecRead();
    transfer.RelinquishBuffers();
    return values;
}

void PrintContents(const VelContextRef& context) {
    static const char* const names[] = {
        "nodes",          "elements",         "components", "steps", "stress components",
        "stiffness rows", "stiffness columns"};
    const VelArray<VelCollectionID> collections = context.Collections();
    std::printf("  collections:");
    for (int c = 0; c < collections.Size() && c < 7; ++c)
        std::printf(" %s %d%s", names[c], VelCollectionRef(collections[c]).Space(),
                    c + 1 < collections.Size() ? "," : "\n");
    const VelArray<VelDistributionID> distributions = context.Distributions();
    for (int d = 0; d < distributions.Size(); ++d) {
        const VelArray<VelDrawerID> drawers = VelDistributionRef(distributions[d]).Drawers();
        for (int k = 0; k < drawers.Size(); ++k)
            std::cout << "  " << VelDrawerRef(drawers[k]).Description() << "\n";
    }
}

// The largest displacement of each step, found by stepping one view through the steps; the
// pool gives the buffer once and the transfer keeps it.  False unless it grows with the load.
bool SummarizeSteps(const VelDistributionID& displacement, const VelCollectionID& steps,
                    const VelCollectionID& nodes, const VelCollectionID& components) {
    VelSysPool pool;
    VelTransfer transfer{VelDistributionRef(displacement)};
    transfer.SetPool(pool).SetRead().SetDim(1, All(nodes)).SetDim(2, All(components));
    double previous = 0.0;
    bool growing = true;
    for (int s = 0; s < fem::kSteps; ++s) {
        transfer.SetDimOrdinalRange(0, steps, s, s).CheckView();
        const double* u =
            static_cast<const double*>(transfer.ExecRead().Data(VelbufMain).Address());
        double largest = 0.0;
        int where = 0;
        for (int n = 0; n < fem::kNodes; ++n) {
            const double* un = u + fem::kComponents * n;
            const double size = std::sqrt(un[0] * un[0] + un[1] * un[1] + un[2] * un[2]);
            if (size > largest) {
                largest = size;
                where = n;
            }
        }
        std::printf("  step %d: largest displacement %.6f at node %d\n", s + 1, largest, where);
        growing = growing && largest > previous;
        previous = largest;
    }
    return growing;
}

// K times a rigid translation must vanish: each row's diagonal and off-diagonal terms cancel.
bool CheckStiffness(const VelDistributionID& stiffness, const VelCollectionID& rows,
                    const VelCollectionID& columns) {
    VelSerializationType symmetric;
    symmetric.SetSparseSym();
    VelTransfer transfer{VelDistributionRef(stiffness)};
    transfer.SetRead().SetBufferPadding(false).SetDims(All(rows), All(columns));
    transfer.SetSerialization(symmetric).CheckView();
    const int n = fem::kDofs;
    const int nonzeros = transfer.RequiredBufferSize(VelbufIndicesNZ) / int(sizeof(int));
    std::vector<double> values(static_cast<size_t>(nonzeros)), diagonal(static_cast<size_t>(n));
    std::vector<int> columnsOf(static_cast<size_t>(nonzeros)), starts(static_cast<size_t>(n) + 1);
    void* arrays[] = {values.data(), columnsOf.data(), starts.data(), diagonal.data()};
    for (int e = 0; e < VelTransfer::BufferCount(); ++e)
        transfer.SetBuffer(e, arrays[e], transfer.RequiredBufferSize(e));
    transfer.ExecRead();
    transfer.RelinquishBuffers();

    std::vector<double> product(diagonal);
    double trace = 0.0;
    for (int r = 0; r < n; ++r) {
        trace += diagonal[static_cast<size_t>(r)];
        for (int k = starts[static_cast<size_t>(r)]; k < starts[static_cast<size_t>(r) + 1]; ++k) {
            const size_t kk = static_cast<size_t>(k);
            product[static_cast<size_t>(r)] += values[kk];
            product[static_cast<size_t>(columnsOf[kk])] += values[kk];
        }
    }
    double residual = 0.0;
    for (double p : product) residual = std::max(residual, std::fabs(p));
    std::printf(
        "  stiffness: %d rows, %d nonzeros above the diagonal, trace %.0f, "
        "largest term of K * (1 ... 1) %.3g\n",
        n, nonzeros, trace, residual);
    return residual < 1e-9 * trace;
}

}  // namespace

int fem::ReadResults(const char* file) {
    const VelContextID id = VelManager::OpenContext(file, hdf_File::OpenFlagsReadOnly, 1);
    if (id.IsNull()) {
        std::printf("  %s is not a results database\n", file);
        return 1;
    }
    const VelContextRef context(id);
    PrintContents(context);
    const VelArray<VelCollectionID> c = context.Collections();
    const VelArray<VelDistributionID> d = context.Distributions();

    const bool growing = SummarizeSteps(d[Displacement], c[Steps], c[Nodes], c[Components]);

    // The loaded edge at the last step, through its CSet.
    VelTransfer tip{VelDistributionRef(d[Displacement])};
    tip.SetRead().SetBufferPadding(false).SetDimOrdinalRange(0, c[Steps], kSteps - 1, kSteps - 1);
    tip.SetDim(1, StoredCSet(id, c[Nodes], 3)).SetDim(2, All(c[Components]));
    const std::vector<double> edge = Read(tip);
    double deflection = 0.0;
    for (size_t n = 0; n < edge.size(); n += kComponents) deflection += edge[n + 1];
    std::printf("  loaded edge, last step: mean deflection %.6f over %zu nodes\n",
                deflection / double(edge.size() / kComponents), edge.size() / kComponents);

    // The elements along the clamped edge carry the largest bending stress.
    VelTransfer root{VelDistributionRef(d[Stress])};
    root.SetRead().SetBufferPadding(false).SetDims(StoredCSet(id, c[Elements], 2),
                                                   All(c[StressComponents]));
    const std::vector<double> sigma = Read(root);
    double largest = 0.0;
    for (size_t e = 0; e < sigma.size(); e += kStressComponents)
        largest = std::max(largest, std::fabs(sigma[e]));
    std::printf("  clamped elements: largest |sxx| %.1f\n", largest);

    const bool rigid = CheckStiffness(d[Stiffness], c[DofRows], c[DofColumns]);
    VelManager::CloseContext(id);
    if (!growing) std::printf("  the displacement does not grow with the load\n");
    if (!rigid) std::printf("  the stiffness resists a rigid translation\n");
    return growing && rigid ? 0 : 1;
}

#ifdef VEL_FEM_STANDALONE
int main(int argc, char** argv) {
    const char* const file = argc > 1 ? argv[1] : "fem.vel";
    int modules = 0;
    UTI_VelDynamicAPI_initialize(modules);
    std::printf("reading %s\n", file);
    const int status = fem::ReadResults(file);
    UTI_VelDynamicAPI_finalize(modules);
    return status;
}
#endif
