// Writes typed records into a new database: parses the analysis schema, opens a view of its
// form, registers the types, creates load cases and materials, relates them to the analysis and
// the load cases to result distributions, commits and publishes.  records_reader reads it back.
#include <vel/vel.h>

#include <cstdio>

#include "records_schema.h"

int main(int argc, char** argv) {
    const char* const fileName = argc > 1 ? argv[1] : "records.vel";
    int modules = 0;
    UTI_VelDynamicAPI_initialize(modules);
    {
        const VelTypeFormManagerHolder forms = VelTypeFormManager::New();
        forms.Get().ParseQARN(AnalysisSchema());
        const VelTypeForm form = forms.Get().GetForm("Analysis");
        const VelTypeSchemaSnapshot schema = forms.Get().GetSchemaSnapshot(form, 1);

        const VelContextID id =
            VelManager::CreateContext(fileName, hdf_File::CreateFlagsTruncate, 1);
        const VelContextRef context(id);

        // The bulk data the records point at: a node collection and one result distribution
        // of doubles over it per load case.
        const VelCollectionID nodes = context.CreateCollection(1000);
        VelArray<VelCollectionID> dimensions(1);
        dimensions[0] = nodes;
        const VelGrid grid(dimensions);

        const VelViewUpdateForm view = context.NewForm(schema);
        {
            VelTransactionExtend t(view);
            t.CreateTypes(schema);
            const AnalysisAssociations associations = UpdateAnalysisAssociations(t, view, form);
            const VelAssociationUpdate& cases = associations.cases;
            const VelAssociationUpdate& materials = associations.materials;
            const VelAssociationUpdate& results = associations.results;

            const char* const caseNames[] = {"dead load", "wind", "first mode"};
            const int kinds[] = {kStatic, kStatic, kModal};
            for (int i = 0; i < 3; ++i) {
                const VelDataRecordUpdate loadCase = t.CreateDataRecord(form.GetTypeID("LoadCase"));
                loadCase.SetString(kCaseName, caseNames[i]);
                loadCase.SetInt(kCaseNumber, 101 + i);
                loadCase.SetDouble(kCaseFactor, 1.0 + 0.25 * i);
                loadCase.SetSymb(kCaseKind, kinds[i]);
                // Load cases in their order for the analysis.
                cases.Insert(t.FocusID(), loadCase.ID(), i);
                for (int r = 0; r < 2; ++r) {
                    const VelDistributionID result =
                        context.CreateDistribution(grid, VelRangeType(VelTypeKeyDouble));
                    results.Insert(loadCase.ID(), result.DynamicID());
                }
            }

            const VelDataRecordUpdate steel = t.CreateDataRecord(form.GetTypeID("Material"));
            steel.SetString(kMatName, "S355 steel");
            steel.SetDouble(kMatYoungsModulus, 210e9);
            steel.SetDouble(kMatPoisson, 0.3);
            steel.SetFloat(kMatDensity, 7850.0f);
            steel.SetOctet(kMatColour, 12);
            steel.SetShort(kMatLayer, 1);
            steel.SetInt64(kMatCatalogNumber, 3550000000123ll);
            const VelDataRecordUpdate ply = t.CreateDataRecord(form.GetTypeID("Material"));
            ply.SetString(kMatName, "CFRP ply");
            ply.SetDouble(kMatYoungsModulus, 135e9);
            ply.SetDouble(kMatPoisson, 0.27);
            ply.SetFloat(kMatDensity, 1600.0f);
            ply.SetBool(kMatIsotropic, false);
            ply.SetOctet(kMatColour, 200);
            ply.SetShort(kMatLayer, -4);
            ply.SetInt64(kMatCatalogNumber, -7);
            // Materials under their names.
            materials.Insert(t.FocusID(), steel.ID(), "steel");
            materials.Insert(t.FocusID(), ply.ID(), "ply");

            t.Commit();
        }
        view.Publish();
        std::printf(
            "wrote view %s with 3 load cases, 6 result distributions and 2 materials to %s\n",
            view.Name().c_str(), fileName);
        VelManager::CloseContext(id);
    }
    UTI_VelDynamicAPI_finalize(modules);
    return 0;
}
