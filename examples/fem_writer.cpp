// Stores the results of the plate model (fem_model.h): the mesh as collections, node and element
// sets as CSets, the coordinates, a displacement field and the element stresses per load step,
// and the assembled stiffness matrix; then, as typed records in the same file, a load case per
// step, the plate's material, and which distributions hold each load case's results.
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
#include "records_schema.h"

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

// The records of the results: the analysis schema's types registered in a new view, a load
// case per step in step order, the plate's material under its key, and each load case paired
// with the two distributions its step wrote into.  The records reach the file at the commit;
// readers find the view only once it is published.
void WriteRecords(const VelContextRef& context, const VelDistributionID& displacement,
                  const VelDistributionID& stress) {
    const VelTypeFormManagerHolder forms = VelTypeFormManager::New();
    forms.Get().ParseQARN(AnalysisSchema());
    const VelTypeForm form = forms.Get().GetForm("Analysis");
    const VelTypeSchemaSnapshot schema = forms.Get().GetSchemaSnapshot(form, 1);

    const VelViewUpdateForm view = context.NewForm(schema);
    {
        VelTransactionExtend t(view);
        t.CreateTypes(schema);
        const AnalysisAssociations associations = UpdateAnalysisAssociations(t, view, form);
        const VelAssociationUpdate& cases = associations.cases;
        const VelAssociationUpdate& materials = associations.materials;
        const VelAssociationUpdate& results = associations.results;

        for (int s = 0; s < fem::kSteps; ++s) {
            const VelDataRecordUpdate loadCase = t.CreateDataRecord(form.GetTypeID("LoadCase"));
            char name[32];
            std::snprintf(name, sizeof name, "tip load, step %d", s + 1);
            loadCase.SetString(kCaseName, name);
            loadCase.SetInt(kCaseNumber, s + 1);
            loadCase.SetDouble(kCaseFactor, fem::LoadFactor(s));
            loadCase.SetSymb(kCaseKind, kStatic);
            cases.Insert(t.FocusID(), loadCase.ID(), s);
            results.Insert(loadCase.ID(), displacement.DynamicID());
            results.Insert(loadCase.ID(), stress.DynamicID());
        }

        const VelDataRecordUpdate steel = t.CreateDataRecord(form.GetTypeID("Material"));
        steel.SetString(kMatName, "S355 steel plate");
        steel.SetDouble(kMatYoungsModulus, fem::kYoungsModulus);
        steel.SetDouble(kMatPoisson, fem::kPoisson);
        steel.SetFloat(kMatDensity, fem::kDensity);
        steel.SetShort(kMatLayer, 1);
        materials.Insert(t.FocusID(), steel.ID(), "plate");
        t.Commit();
    }
    view.Publish();
    std::printf("  records: view %s with %d load cases and the plate's material\n",
                view.Name().c_str(), fem::kSteps);
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
        GridOf({steps, elements, stressComponents}), VelRangeType(VelTypeKeyDouble));
    const VelDistributionID stiffness =
        context.CreateDistribution(GridOf({dofRows, dofColumns}), VelRangeType(VelTypeKeyDouble));

    {
        std::vector<double> xyz(kNodes * kComponents);
        for (int n = 0; n < kNodes; ++n) NodeCoordinates(n, &xyz[size_t(n) * kComponents]);
        VelTransfer transfer{VelDistributionRef(coordinates)};
        transfer.SetMakeNewDrawer().SetBufferPadding(false).SetDims(allNodes, allComponents);
        Write(transfer, xyz);
    }

    const VelCSetID allElements = VelCollectionRef(elements).BiggestCSetID();
    const VelCSetID allStressComponents = VelCollectionRef(stressComponents).BiggestCSetID();
    for (int s = 0; s < kSteps; ++s) {
        const double load = LoadFactor(s);
        const VelCSetID step = VelCollectionRef(steps).CreateCSetStrided(s, 1, 1, 1);
        WriteDrawer(displacement, step, allNodes, allComponents, StepDisplacement(load));
        WriteDrawer(stress, step, allElements, allStressComponents, StepStress(load));
        // A checkpoint per load step: killed from here on, the run keeps every step so far.
        VelManager::FlushContext(id);
    }
    std::printf("  displacement and stress: %d steps of %d x %d and %d x %d values\n", kSteps,
                kNodes, kComponents, kElements, kStressComponents);

    WriteStiffness(stiffness, VelCollectionRef(dofRows).BiggestCSetID(),
                   VelCollectionRef(dofColumns).BiggestCSetID());
    WriteRecords(context, displacement, stress);
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
