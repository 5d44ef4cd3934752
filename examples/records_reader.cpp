// Reads back what records_writer wrote: opens the database, finds the latest published view of
// the analysis form at level 1 (checking its stored types against the schema), and walks from
// the view's focus to the load cases, their result distributions and the materials.
#include <vel/vel.h>

#include <cstdio>

#include "records_schema.h"

namespace {

void PrintLoadCase(const VelView& view, const VelDynamicID& id, const VelAssociation& results) {
    const VelDataRecord loadCase = view.DataRecord(id);
    const auto [number, kind, factor] = ReadLoadCaseFields(loadCase);
    static const char* const kindNames[] = {"MODAL", "STATIC", "TRANSIENT"};
    // The kind comes from the file: it indexes the names only once it is known to be one.
    const char* const kindName = kind >= kModal && kind <= kTransient ? kindNames[kind] : "?";
    std::printf("  load case %d \"%s\": %s, factor %g, results:", number,
                loadCase.ReturnString(kCaseName).c_str(), kindName, factor);
    const VelSelectionSet distributions(results, 0, id);
    for (int i = 0; i < distributions.Count(); ++i)
        std::printf(" distribution %lld", static_cast<long long>(distributions.Get(i).First()));
    std::printf("\n");
}

void PrintMaterial(const VelView& view, const cow_String& key, const VelDynamicID& id) {
    const VelDataRecord material = view.DataRecord(id);
    double modulus = 0, poisson = 0;
    float density = 0;
    bool isotropic = false;
    unsigned char colour = 0;
    short layer = 0;
    int64_t catalog = 0;
    material.GetDouble(kMatYoungsModulus, modulus);
    material.GetDouble(kMatPoisson, poisson);
    material.GetFloat(kMatDensity, density);
    material.GetBool(kMatIsotropic, isotropic);
    material.GetOctet(kMatColour, colour);
    material.GetShort(kMatLayer, layer);
    material.GetInt64(kMatCatalogNumber, catalog);
    std::printf(
        "  material \"%s\" (%s): E %g, nu %g, rho %g, %s, colour %u, layer %d, catalog %lld\n",
        key.c_str(), material.ReturnString(kMatName).c_str(), modulus, poisson, density,
        isotropic ? "isotropic" : "anisotropic", colour, layer, static_cast<long long>(catalog));
}

}  // namespace

int main(int argc, char** argv) {
    const char* const fileName = argc > 1 ? argv[1] : "records.vel";
    int modules = 0;
    UTI_VelDynamicAPI_initialize(modules);
    int status = 0;
    {
        const VelTypeFormManagerHolder forms = VelTypeFormManager::New();
        forms.Get().ParseQARN(AnalysisSchema());
        const VelTypeForm form = forms.Get().GetForm("Analysis");
        const VelTypeSchemaSnapshot schema = forms.Get().GetSchemaSnapshot(form, 1);

        const VelContextID id = VelManager::OpenContext(fileName, hdf_File::OpenFlagsReadOnly, 1);
        if (id.IsNull()) {
            std::printf("%s is not a database of schema version 1\n", fileName);
            status = 1;
        } else {
            const VelContextRef context(id);
            const VelViewRead view = context.View(schema);
            std::printf("view %s of %s\n", view.Name().c_str(), fileName);

            const VelAssociation cases =
                view.Association(view.AssociationID(form.GetTypeID("AnalysisCases")));
            const VelAssociation results =
                view.Association(view.AssociationID(form.GetTypeID("CaseResults")));
            const VelSelectionList loadCases(cases, 0, view.FocusID());
            for (int i = 0; i < loadCases.Count(); ++i)
                PrintLoadCase(view, loadCases.Get(i), results);

            const VelSelectionMap materials(
                view.Association(view.AssociationID(form.GetTypeID("Materials"))), 0,
                view.FocusID());
            VelSelectionMapIter it(materials);
            for (it.First(); !it.IsDone(); it.Next())
                PrintMaterial(view, it.CurrentKey(), it.CurrentValue());
            VelManager::CloseContext(id);
        }
    }
    UTI_VelDynamicAPI_finalize(modules);
    return status;
}
