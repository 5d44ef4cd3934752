// What a results file holds beside its records: the XDMF description's virtual datasets read the
// database's own values, and records that contradict the data are refused when the file opens.
#include <gtest/gtest.h>
#include <hdf5.h>

#include <cmath>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "VelTestSupport.h"
#include "results/VelResultsSchema.h"
#include "vel/vel.h"

namespace {

constexpr int kNodes = 8;

// Two blocks (two quads and a triangle) over eight nodes, a node set, a nodal field of two
// components and an element field of the triangle, over two steps.
void WriteSmall(const std::string& path) {
    VelResultsWriter out = VelResultsWriter::Create(path);
    std::vector<double> xyz;
    for (int n = 0; n < kNodes; ++n)
        for (double c : {n % 4 * 1.0, n / 4 * 1.0, 0.0}) xyz.push_back(c);
    out.AddNodes(xyz);
    out.AddElementBlock("quads", VelCellType::Quad4, {0, 1, 5, 4, 1, 2, 6, 5});
    out.AddElementBlock("corner", VelCellType::Tri3, {2, 3, 7});
    out.AddNodeSet("edge", {3, 7});
    VelResultsField u = out.AddNodalField("u", {"x", "y"});
    VelResultsField t = out.AddElementField("t", "corner", {"value"});
    for (int step = 0; step < 2; ++step) {
        out.AddStep(step);
        std::vector<double> values;
        for (int k = 0; k < 2 * kNodes; ++k) values.push_back(100 * step + k);
        u.Write(step, values);
        t.Write(step, {-1.0 - step});
    }
}

std::vector<double> ReadDoubles(hid_t file, const char* path, size_t count) {
    std::vector<double> values(count, 0.0);
    const hid_t dataset = H5Dopen2(file, path, H5P_DEFAULT);
    EXPECT_GE(dataset, 0) << path;
    if (dataset < 0) return {};
    const hid_t space = H5Dget_space(dataset);
    const size_t stored = static_cast<size_t>(H5Sget_simple_extent_npoints(space));
    H5Sclose(space);
    EXPECT_EQ(stored, count) << path;
    if (stored == count)
        H5Dread(dataset, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data());
    H5Dclose(dataset);
    return values;
}

class VelResultsFilesTest : public ::testing::Test {
protected:
    void SetUp() override { UTI_VelDynamicAPI_initialize(m_modules); }
    void TearDown() override { UTI_VelDynamicAPI_finalize(m_modules); }
    int m_modules = 0;
};
using VelResultsFilesDeathTest = VelResultsFilesTest;

TEST_F(VelResultsFilesTest, TheXdmfCompanionMapsTheDatabaseValuesWithoutCopies) {
    VelTempFile database("xdmf.vel");
    VelTempFile xmf("xdmf.xmf");
    VelTempFile companion(xmf, ".h5");
    WriteSmall(database.str());
    VelResultsReader::Open(database.str()).WriteXdmf(xmf.str());

    std::ifstream text(xmf.str());
    std::stringstream content;
    content << text.rdbuf();
    EXPECT_NE(content.str().find("<Topology TopologyType=\"Mixed\" NumberOfElements=\"3\">"),
              std::string::npos);
    EXPECT_NE(content.str().find("<Time Value=\"1\"/>"), std::string::npos);

    const hid_t file = H5Fopen(companion.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT);
    ASSERT_GE(file, 0);
    // Two quads (code 5, four nodes) and a triangle (code 4, three nodes).
    std::vector<int> cells(14);
    const hid_t mixed = H5Dopen2(file, "/cells/mixed", H5P_DEFAULT);
    H5Dread(mixed, H5T_NATIVE_INT, H5S_ALL, H5S_ALL, H5P_DEFAULT, cells.data());
    H5Dclose(mixed);
    EXPECT_EQ(cells, (std::vector<int>{5, 0, 1, 5, 4, 5, 1, 2, 6, 5, 4, 2, 3, 7}));
    std::vector<double> u1;
    for (int k = 0; k < 2 * kNodes; ++k) u1.push_back(100 + k);
    // Fields are numbered in name order: "t", then "u".
    EXPECT_EQ(ReadDoubles(file, "/fields/1/1", 2 * kNodes), u1);
    // The triangle's field covers the quads too, as no value.
    const std::vector<double> t1 = ReadDoubles(file, "/fields/0/1", 3);
    ASSERT_EQ(t1.size(), 3u);
    EXPECT_TRUE(std::isnan(t1[0]) && std::isnan(t1[1]));
    EXPECT_EQ(t1[2], -2.0);
    // The companion holds mappings only: far smaller than the values it maps.
    hsize_t size = 0;
    H5Fget_filesize(file, &size);
    H5Fclose(file);
    EXPECT_LT(size, 64u * 1024u);
}

// Rewrites the records of a results file through a new view: `change` gets the open transaction,
// the view and the schema.
void ChangeRecords(const std::string& path,
                   const std::function<void(VelTransactionExtend&, const VelView&,
                                            const VelResultsSchema&)>& change) {
    const VelResultsSchema schema;
    const VelContextID id = VelManager::OpenContext(path.c_str(), hdf_File::OpenFlagsReadWrite, 1);
    ASSERT_FALSE(id.IsNull());
    const VelContextRef context(id);
    const VelViewRead last = context.View(schema.snapshot);
    const VelViewUpdateForm view = context.NewForm(schema.snapshot, last);
    {
        VelTransactionExtend t(view);
        t.CreateTypes(schema.snapshot);
        change(t, view, schema);
        t.Commit();
    }
    view.Publish();
    VelManager::CloseContext(id);
}

// The record of the named field or node set.
VelDynamicID Named(const VelView& view, const VelTypeID& association, const char* name) {
    return VelSelectionMap(view.Association(view.AssociationID(association)), 0, view.FocusID())
        .Get(name);
}

TEST_F(VelResultsFilesDeathTest, RecordsThatContradictTheirDataAreRefused) {
    VelTempFile path("contradicted.vel");
    using Change =
        std::function<void(VelTransactionExtend&, const VelView&, const VelResultsSchema&)>;
    const auto setInt = [](VelTypeID VelResultsSchema::*association, const char* name, int member,
                           int value) -> Change {
        return [=](VelTransactionExtend& t, const VelView& view, const VelResultsSchema& s) {
            t.ModifyDataRecord(Named(view, s.*association, name)).SetInt(member, value);
        };
    };
    // The field's values moved to a distribution the file does not hold.
    const Change moved = [](VelTransactionExtend& t, const VelView& view,
                            const VelResultsSchema& s) {
        const VelDynamicID field = Named(view, s.fields, "u");
        const VelAssociationUpdate storage =
            t.UpdateAssociation(view.AssociationID(s.distributions));
        const VelDynamicID values =
            VelSelectionMap(view.Association(view.AssociationID(s.distributions)), 0, field)
                .Get("values");
        storage.Remove(0, field, cow_String("values"));
        storage.Insert(field, VelDynamicID(values.Category(), values.Context(), 999, 0),
                       cow_String("values"));
    };
    const std::vector<std::pair<Change, std::string>> cases = {
        {setInt(&VelResultsSchema::nodeSets, "edge", VelResultsSchema::kSetSize, 9),
         "node set \"edge\" says it has 9 members, its collection 8"},
        {setInt(&VelResultsSchema::nodeSets, "edge", VelResultsSchema::kSetSize, 3),
         "node set \"edge\" says it has 3 members, its CSet 2"},
        {setInt(&VelResultsSchema::fields, "u", VelResultsSchema::kFieldComponentCount, 3),
         "field \"u\" says it has 3 components; it names 2 and its values have 2"},
        {moved, "field \"u\" names a distribution the file does not hold"},
    };
    for (const auto& [change, reason] : cases) {
        WriteSmall(path.str());
        ChangeRecords(path.str(), change);
        ExpectValidateFailure(VelResultsReader::Open(path.str()),
                              "VelResults: \"" + path.str() + "\" is refused: " + reason);
    }
}

// The times and the coordinates are loaded when first used: a file whose steps name the
// coordinates as their times, and whose mesh names the times as its coordinates, opens and reads
// its fields, and is refused when either is read.
TEST_F(VelResultsFilesDeathTest, TimesAndCoordinatesAreRefusedWhereTheyAreRead) {
    VelTempFile path("swapped.vel");
    WriteSmall(path.str());
    ChangeRecords(
        path.str(), [](VelTransactionExtend& t, const VelView& view, const VelResultsSchema& s) {
            const auto one = [&](const VelTypeID& association) {
                return VelSelectionSet(view.Association(view.AssociationID(association)), 0,
                                       view.FocusID())
                    .Get(0);
            };
            const VelDynamicID steps = one(s.stepSeries), mesh = one(s.meshes);
            const VelAssociation stored = view.Association(view.AssociationID(s.distributions));
            const VelDynamicID times = VelSelectionMap(stored, 0, steps).Get("times");
            const VelDynamicID xyz = VelSelectionMap(stored, 0, mesh).Get("coordinates");
            const VelAssociationUpdate storage =
                t.UpdateAssociation(view.AssociationID(s.distributions));
            storage.Remove(0, steps, cow_String("times"));
            storage.Remove(0, mesh, cow_String("coordinates"));
            storage.Insert(steps, xyz, cow_String("times"));
            storage.Insert(mesh, times, cow_String("coordinates"));
        });
    const std::string refused = "VelResults: \"" + path.str() + "\" is refused: ";
    VelResultsReader in = VelResultsReader::Open(path.str());
    EXPECT_EQ(in.StepCount(), 2);
    std::vector<double> values;
    in.Field("u").Read(1, values);
    EXPECT_EQ(values[3], 103.0);
    ExpectValidateFailure(in.Time(0), refused + "the times are not one double per step");
    ExpectValidateFailure(in.Coordinates(),
                          refused + "the mesh's coordinates are not 3 doubles per node");
    ExpectValidateFailure(VelResultsWriter::Open(path.str()).AddStep(2.0),
                          refused + "the times are not one double per step");
}

// Each thread parses the results schema once; a file keeps the one it was opened with, so a
// writer opened on a thread that has ended still publishes what it adds.
TEST_F(VelResultsFilesTest, AWriterOpenedOnAnEndedThreadStillPublishes) {
    VelTempFile path("threaded.vel");
    WriteSmall(path.str());
    std::unique_ptr<VelResultsWriter> out;
    std::thread([&] {
        out.reset(new VelResultsWriter(VelResultsWriter::Open(path.str())));
    }).join();
    out->AddNodeSet("corner", {2});
    out->Close();
    EXPECT_EQ(VelResultsReader::Open(path.str()).NodeSet("corner"), std::vector<int>{2});
}

}  // namespace
