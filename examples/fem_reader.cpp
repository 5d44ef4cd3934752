// Reads the plate model's results (fem_model.h) back and prints a summary: what the database
// holds, the displacement of every load step (one view stepped through the steps, its buffer
// taken from a pool), the loaded edge and the clamped elements through their CSets, the
// stiffness matrix, checked for the rigid translation it must not resist, and the typed records:
// the published view found by its form name and level, its material, and each load case's
// results read through the distributions it is associated with.
#include <vel/vel.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <vector>

#include "fem_model.h"
#include "records_schema.h"

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

// The largest value of one step of a result laid over the steps, `entities` (nodes or elements)
// and a collection of components: the largest vector length for a displacement, the largest
// |sxx| for a stress.  A grid keeps its collections in their own order, not in the order they
// were given in, so the components are the collection that is neither of the other two.
double LargestOfStep(const VelDistributionID& result, const VelCollectionID& steps, int step,
                     const VelCollectionID& entities, bool isDisplacement) {
    const VelGrid& grid = VelDistributionRef(result).Grid();
    VelCollectionID components;
    for (int k = 0; k < grid.Size(); ++k)
        if (grid[k].Compare(steps) != 0 && grid[k].Compare(entities) != 0) components = grid[k];
    VelTransfer transfer{VelDistributionRef(result)};
    transfer.SetRead().SetBufferPadding(false).SetDimOrdinalRange(0, steps, step, step);
    transfer.SetDim(1, All(entities)).SetDim(2, All(components));
    const std::vector<double> values = Read(transfer);
    const size_t width = static_cast<size_t>(VelCollectionRef(components).Space());
    double largest = 0.0;
    for (size_t k = 0; k + width <= values.size(); k += width) {
        double size = std::fabs(values[k]);
        if (isDisplacement) {
            size = 0.0;
            for (size_t c = 0; c < width; ++c) size += values[k + c] * values[k + c];
            size = std::sqrt(size);
        }
        largest = std::max(largest, size);
    }
    return largest;
}

// The stored type of a record must be the schema's, member for member, before its members are
// read by the positions records_schema.h gives.
bool StoredAsInSchema(const VelView& view, const VelTypeSchemaSnapshot& schema,
                      const VelTypeID& type) {
    const VelRecTypeDataRecord expected = VelRecTypeFactory().CreateDataRecordType(
        schema.TypeAsDataRecord(schema.GetTypePositionByID(type)));
    if (VelRecTypeDataRecord(view.Type(type)) == expected) return true;
    std::cout << "  the stored type " << type << " is not the schema's\n";
    return false;
}

enum ResultKind { kNotAResult = -1, kDisplacement, kStress };

// What a distribution holds, told by its grid: the steps, the nodes and a third collection
// make a displacement, the steps, the elements and a third a stress.
ResultKind KindOf(const VelDistributionID& result, const VelCollectionID& steps,
                  const VelCollectionID& nodes, const VelCollectionID& elements) {
    const VelGrid& grid = VelDistributionRef(result).Grid();
    if (grid.Size() != 3 || grid.Position(steps) < 0) return kNotAResult;
    if (grid.Position(nodes) >= 0 && grid.Position(elements) < 0) return kDisplacement;
    if (grid.Position(elements) >= 0 && grid.Position(nodes) < 0) return kStress;
    return kNotAResult;
}

// One load case: its record, then each distribution it is associated with, read at the case's
// step.  The largest displacement and stress divided by the case's load factor go to
// `perUnitLoad`.  False if what the records say does not fit the bulk data.
bool ReadLoadCase(const VelView& view, const VelDynamicID& id, const VelAssociation& results,
                  const VelCollectionID& steps, const VelCollectionID& nodes,
                  const VelCollectionID& elements, double perUnitLoad[2]) {
    const VelDataRecord loadCase = view.DataRecord(id);
    const auto [number, kind, factor] = ReadLoadCaseFields(loadCase);
    // The number comes from the file: it indexes the steps only once it is known to be one.
    if (number < 1 || number > VelCollectionRef(steps).Space() || kind != kStatic ||
        !(factor > 0)) {
        std::printf("  load case %d is not a static step of this model\n", number);
        return false;
    }
    const int step = number - 1;

    const VelSelectionSet distributions(results, 0, id);
    double largest[2] = {-1.0, -1.0};
    for (int i = 0; i < distributions.Count(); ++i) {
        if (!VelDistributionID::CanBeConverted(distributions.Get(i))) {
            std::printf("  load case %d has a result that is not a distribution\n", number);
            return false;
        }
        const VelDistributionID result(distributions.Get(i));
        const ResultKind what = KindOf(result, steps, nodes, elements);
        if (what == kNotAResult) {
            std::cout << "  load case " << number << ": distribution " << result
                      << " is not a result over the steps\n";
            return false;
        }
        largest[what] = LargestOfStep(result, steps, step, what == kDisplacement ? nodes : elements,
                                      what == kDisplacement);
    }
    if (largest[kDisplacement] < 0 || largest[kStress] < 0) {
        std::printf("  load case %d lacks a displacement or a stress\n", number);
        return false;
    }
    std::printf(
        "  load case %d \"%s\", factor %.2f: largest displacement %.6f, largest |sxx| %.1f\n",
        number, loadCase.ReturnString(kCaseName).c_str(), factor, largest[kDisplacement],
        largest[kStress]);
    for (int r = 0; r < 2; ++r) perUnitLoad[r] = largest[r] / factor;
    return true;
}

// The records: the latest published view of the analysis form at level 1, its plate material,
// and the load cases in step order with their results.
bool ReadRecords(const VelContextRef& context, const VelCollectionID& steps,
                 const VelCollectionID& nodes, const VelCollectionID& elements) {
    const VelTypeFormManagerHolder forms = VelTypeFormManager::New();
    forms.Get().ParseQARN(AnalysisSchema());
    const VelTypeForm form = forms.Get().GetForm("Analysis");
    const VelTypeSchemaSnapshot schema = forms.Get().GetSchemaSnapshot(form, 1);
    const VelTypeID loadCaseType = form.GetTypeID("LoadCase");
    const VelTypeID materialType = form.GetTypeID("Material");

    const VelViewRead view = context.View(form.FormName(), 1);
    std::printf("  records: view %s\n", view.Name().c_str());
    if (!StoredAsInSchema(view, schema, loadCaseType) ||
        !StoredAsInSchema(view, schema, materialType))
        return false;

    const VelSelectionMap materials(
        view.Association(view.AssociationID(form.GetTypeID("Materials"))), 0, view.FocusID());
    if (!materials.Contains("plate")) {
        std::printf("  the plate has no material\n");
        return false;
    }
    const VelDataRecord plate = view.DataRecord(materials.Get("plate"));
    double modulus = 0.0, poisson = 0.0;
    float density = 0.0f;
    plate.GetDouble(kMatYoungsModulus, modulus);
    plate.GetDouble(kMatPoisson, poisson);
    plate.GetFloat(kMatDensity, density);
    std::printf("  plate material \"%s\": E %.0f N/mm^2, nu %.2f, rho %.0f kg/m^3\n",
                plate.ReturnString(kMatName).c_str(), modulus, poisson, double(density));

    const VelSelectionList cases(
        view.Association(view.AssociationID(form.GetTypeID("AnalysisCases"))), 0, view.FocusID());
    const VelAssociation results =
        view.Association(view.AssociationID(form.GetTypeID("CaseResults")));
    if (cases.Count() != VelCollectionRef(steps).Space()) {
        std::printf("  %d load cases for %d steps\n", cases.Count(),
                    VelCollectionRef(steps).Space());
        return false;
    }
    // The model is linear: every case's results per unit load factor are the first case's.
    double first[2] = {0.0, 0.0};
    double spread = 0.0;
    for (int i = 0; i < cases.Count(); ++i) {
        double perUnitLoad[2];
        if (!ReadLoadCase(view, cases.Get(i), results, steps, nodes, elements, perUnitLoad))
            return false;
        for (int r = 0; r < 2; ++r) {
            if (i == 0) first[r] = perUnitLoad[r];
            spread = std::max(spread, std::fabs(perUnitLoad[r] - first[r]) / first[r]);
        }
    }
    std::printf("  results per unit load factor: relative spread %.1e over the load cases\n",
                spread);
    return first[kDisplacement] > 0 && first[kStress] > 0 && spread < 1e-12;
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
    root.SetRead().SetBufferPadding(false).SetDimOrdinalRange(0, c[Steps], kSteps - 1, kSteps - 1);
    root.SetDim(1, StoredCSet(id, c[Elements], 2)).SetDim(2, All(c[StressComponents]));
    const std::vector<double> sigma = Read(root);
    double largest = 0.0;
    for (size_t e = 0; e < sigma.size(); e += kStressComponents)
        largest = std::max(largest, std::fabs(sigma[e]));
    std::printf("  clamped elements, last step: largest |sxx| %.1f\n", largest);

    const bool rigid = CheckStiffness(d[Stiffness], c[DofRows], c[DofColumns]);
    const bool linear = ReadRecords(context, c[Steps], c[Nodes], c[Elements]);
    VelManager::CloseContext(id);
    if (!growing) std::printf("  the displacement does not grow with the load\n");
    if (!rigid) std::printf("  the stiffness resists a rigid translation\n");
    if (!linear) std::printf("  the load cases' results do not follow their load factors\n");
    return growing && rigid && linear ? 0 : 1;
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
