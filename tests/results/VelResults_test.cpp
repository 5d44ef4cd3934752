// Results files written and read by name: round trips through close and reopen of every cell
// type, sets, fields and steps, appending after reopen, and the refusals of mistakes.
#include <gtest/gtest.h>
#include <hdf5.h>

#include <cmath>
#include <string>
#include <vector>

#include "VelTestSupport.h"
#include "vel/vel.h"

namespace {

const VelCellType kAllCellTypes[] = {
    VelCellType::Vertex, VelCellType::Line2,   VelCellType::Line3,    VelCellType::Tri3,
    VelCellType::Tri6,   VelCellType::Quad4,   VelCellType::Quad8,    VelCellType::Quad9,
    VelCellType::Tet4,   VelCellType::Tet10,   VelCellType::Pyramid5, VelCellType::Pyramid13,
    VelCellType::Wedge6, VelCellType::Wedge15, VelCellType::Wedge18,  VelCellType::Hex8,
    VelCellType::Hex20,  VelCellType::Hex27};

constexpr int kNodes = 60;

std::vector<double> Coordinates() {
    std::vector<double> xyz;
    for (int n = 0; n < kNodes; ++n) {
        xyz.push_back(n % 5);
        xyz.push_back(n / 5 % 4);
        xyz.push_back(n / 20 + 0.25);
    }
    return xyz;
}

// `count` elements of `type` whose node numbers run through the mesh from `seed`.
std::vector<int> Connectivity(VelCellType type, int count, int seed) {
    std::vector<int> nodes;
    for (int e = 0; e < count; ++e)
        for (int k = 0; k < VelCellTypeNodeCount(type); ++k)
            nodes.push_back((seed + 7 * e + k) % kNodes);
    return nodes;
}

// Values that tell a step, a row and a component apart.
std::vector<double> StepValues(int step, int rows, int components, double scale) {
    std::vector<double> values;
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < components; ++c) values.push_back(scale * (1000.0 * step + 10 * r + c));
    return values;
}

class VelResultsTest : public ::testing::Test {
protected:
    void SetUp() override { UTI_VelDynamicAPI_initialize(m_modules); }
    void TearDown() override { UTI_VelDynamicAPI_finalize(m_modules); }

    int m_modules = 0;
};

using VelResultsDeathTest = VelResultsTest;

// A file with every cell type as a block of its own, node and element sets, a nodal and an
// element field over `steps` steps.
void WriteEveryKind(const std::string& path, int steps) {
    VelResultsWriter out = VelResultsWriter::Create(path);
    const std::vector<double> xyz = Coordinates();
    out.AddNodes(kNodes, xyz.data());
    int b = 0;
    for (VelCellType type : kAllCellTypes) {
        const std::vector<int> nodes = Connectivity(type, 2 + b % 3, b);
        out.AddElementBlock(std::string("block ") + VelCellTypeName(type), type, nodes);
        ++b;
    }
    out.AddNodeSet("clamped", {7, 3, 11, 0});
    out.AddNodeSet("empty", std::vector<int>());
    out.AddElementSet("bricks", "block vertex", {1, 0});
    VelResultsField u = out.AddNodalField("displacement", {"ux", "uy", "uz"}, "mm");
    VelResultsField s = out.AddElementField("stress", "block vertex", {"sxx", "syy"}, "MPa");
    for (int k = 0; k < steps; ++k) {
        const int step = out.AddStep(0.5 * k);
        EXPECT_EQ(step, k);
        u.Write(step, StepValues(step, kNodes, 3, 1.0));
        s.Write(step, StepValues(step, s.EntityCount(), 2, -1.0));
        if (k % 2 == 1) out.Checkpoint();
    }
    out.Close();
}

TEST_F(VelResultsTest, EveryKindOfObjectReadsBackByName) {
    VelTempFile file("results.vel");
    WriteEveryKind(file.str(), 4);

    VelResultsReader in = VelResultsReader::Open(file.str());
    EXPECT_EQ(in.NodeCount(), kNodes);
    EXPECT_EQ(in.Coordinates(), Coordinates());
    ASSERT_EQ(in.StepCount(), 4);
    EXPECT_EQ(in.Times(), (std::vector<double>{0.0, 0.5, 1.0, 1.5}));
    EXPECT_EQ(in.Time(3), 1.5);

    const std::vector<VelResultsBlock> blocks = in.ElementBlocks();
    ASSERT_EQ(blocks.size(), std::size(kAllCellTypes));
    for (size_t b = 0; b < blocks.size(); ++b) {
        const VelCellType type = kAllCellTypes[b];
        EXPECT_EQ(blocks[b].name, std::string("block ") + VelCellTypeName(type));
        EXPECT_EQ(blocks[b].cellType, type);
        EXPECT_EQ(blocks[b].count, 2 + static_cast<int>(b) % 3);
        EXPECT_EQ(blocks[b].nodesPerElement, VelCellTypeNodeCount(type));
        EXPECT_EQ(blocks[b].connectivity, Connectivity(type, blocks[b].count, static_cast<int>(b)));
    }

    EXPECT_EQ(in.NodeSetNames(), (std::vector<std::string>{"clamped", "empty"}));
    EXPECT_EQ(in.NodeSet("clamped"), (std::vector<int>{7, 3, 11, 0}));
    EXPECT_TRUE(in.NodeSet("empty").empty());
    EXPECT_EQ(in.ElementSetNames(), std::vector<std::string>{"bricks"});
    EXPECT_EQ(in.ElementSet("bricks").block, "block vertex");
    EXPECT_EQ(in.ElementSet("bricks").ids, (std::vector<int>{1, 0}));

    EXPECT_EQ(in.FieldNames(), (std::vector<std::string>{"displacement", "stress"}));
    const VelResultsField u = in.Field("displacement");
    EXPECT_EQ(u.Location(), VelResultsLocation::Node);
    EXPECT_EQ(u.Block(), "");
    EXPECT_EQ(u.ComponentNames(), (std::vector<std::string>{"ux", "uy", "uz"}));
    EXPECT_EQ(u.Units(), "mm");
    const VelResultsField s = in.Field("stress");
    EXPECT_EQ(s.Location(), VelResultsLocation::Element);
    EXPECT_EQ(s.Block(), "block vertex");
    EXPECT_EQ(s.ComponentNames(), (std::vector<std::string>{"sxx", "syy"}));
    EXPECT_EQ(s.EntityCount(), blocks[0].count);

    std::vector<double> values;
    for (int step = 0; step < 4; ++step) {
        u.Read(step, values);
        EXPECT_EQ(values, StepValues(step, kNodes, 3, 1.0)) << "step " << step;
        s.Read(step, values);
        EXPECT_EQ(values, StepValues(step, s.EntityCount(), 2, -1.0)) << "step " << step;
    }
    // A set's rows, in the set's own order.
    u.Read(2, "clamped", values);
    const std::vector<double> all = StepValues(2, kNodes, 3, 1.0);
    std::vector<double> expected;
    for (int node : {7, 3, 11, 0})
        for (int c = 0; c < 3; ++c) expected.push_back(all[static_cast<size_t>(3 * node + c)]);
    EXPECT_EQ(values, expected);
    u.Read(2, "empty", values);
    EXPECT_TRUE(values.empty());
    s.Read(1, "bricks", values);
    const std::vector<double> stress = StepValues(1, s.EntityCount(), 2, -1.0);
    EXPECT_EQ(values, (std::vector<double>{stress[2], stress[3], stress[0], stress[1]}));

    // One node's values over every step.
    u.History(11, values);
    expected.clear();
    for (int step = 0; step < 4; ++step)
        for (int c = 0; c < 3; ++c) expected.push_back(1000.0 * step + 110 + c);
    EXPECT_EQ(values, expected);
}

TEST_F(VelResultsTest, AWriterReopenedAddsStepsFieldsAndSets) {
    VelTempFile file("appended.vel");
    WriteEveryKind(file.str(), 2);
    {
        VelResultsWriter out = VelResultsWriter::Open(file.str());
        EXPECT_EQ(out.StepCount(), 2);
        EXPECT_EQ(out.NodeCount(), kNodes);
        VelResultsField u = out.Field("displacement");
        VelResultsField t = out.AddNodalField("temperature", {"T"}, "K");
        out.AddNodeSet("tip", {59, 58});
        // A field added now has no values at the earlier steps until they are written.
        t.Write(0, StepValues(0, kNodes, 1, 2.0));
        for (int k = 2; k < 4; ++k) {
            const int step = out.AddStep(10.0 + k);
            EXPECT_EQ(step, k);
            u.Write(step, StepValues(step, kNodes, 3, 1.0));
            t.Write(step, StepValues(step, kNodes, 1, 2.0));
        }
        out.Checkpoint();
        // A second session on top of the first.
    }
    {
        VelResultsWriter out = VelResultsWriter::Open(file.str());
        VelResultsField t = out.Field("temperature");
        t.Write(1, StepValues(1, kNodes, 1, 2.0));
        // Written again: the step reads as its newest values.
        out.Field("displacement").Write(0, StepValues(0, kNodes, 3, 3.0));
        t.Write(out.AddStep(20.0), StepValues(4, kNodes, 1, 2.0));
        out.Close();
    }
    VelResultsReader in = VelResultsReader::Open(file.str());
    EXPECT_EQ(in.Times(), (std::vector<double>{0.0, 0.5, 12.0, 13.0, 20.0}));
    EXPECT_EQ(in.FieldNames(), (std::vector<std::string>{"displacement", "stress", "temperature"}));
    EXPECT_EQ(in.NodeSet("tip"), (std::vector<int>{59, 58}));
    EXPECT_EQ(in.NodeSet("clamped"), (std::vector<int>{7, 3, 11, 0}));
    std::vector<double> values;
    for (int step = 0; step < 4; ++step) {
        in.Field("displacement").Read(step, values);
        EXPECT_EQ(values, StepValues(step, kNodes, 3, step == 0 ? 3.0 : 1.0)) << "step " << step;
        in.Field("temperature").Read(step, values);
        EXPECT_EQ(values, StepValues(step, kNodes, 1, 2.0)) << "step " << step;
    }
    in.Field("temperature").History(5, values);
    EXPECT_EQ(values, (std::vector<double>{100, 2100, 4100, 6100, 8100}));
}

// Counts the datasets of a file that carry the deflate filter, and those that carry none.
herr_t CountFiltered(hid_t root, const char* name, const H5O_info_t* info, void* counts) {
    if (info->type != H5O_TYPE_DATASET) return 0;
    const hid_t ds = H5Dopen2(root, name, H5P_DEFAULT);
    const hid_t dcpl = H5Dget_create_plist(ds);
    const int filters = H5Pget_nfilters(dcpl);
    bool deflate = false;
    for (int i = 0; i < filters; ++i) {
        unsigned flags = 0, config = 0;
        size_t values = 0;
        deflate = deflate || H5Pget_filter2(dcpl, static_cast<unsigned>(i), &flags, &values,
                                            nullptr, 0, nullptr, &config) == H5Z_FILTER_DEFLATE;
    }
    ++static_cast<int*>(counts)[deflate ? 0 : 1];
    H5Pclose(dcpl);
    H5Dclose(ds);
    return 0;
}

TEST_F(VelResultsTest, AWriterCompressesWhatItWritesAfterSetCompression) {
    VelTempFile file("compressed.vel");
    const VelCompression deflate = VelCompression::ShuffleDeflate(5);
    {
        VelResultsWriter out = VelResultsWriter::Create(file.str());
        EXPECT_TRUE(out.Compression().IsNone());
        out.SetCompression(deflate);
        EXPECT_EQ(out.Compression(), deflate);
        out.AddNodes(Coordinates());
        out.AddElementBlock("bricks", VelCellType::Hex8, Connectivity(VelCellType::Hex8, 5, 0));
        VelResultsField u = out.AddNodalField("u", {"x", "y"});
        for (int k = 0; k < 3; ++k) u.Write(out.AddStep(k), StepValues(k, kNodes, 2, 1.0));
        // Written again: the step's compressed drawer is rewritten in place.
        u.Write(1, StepValues(1, kNodes, 2, 3.0));
        out.Close();
    }
    hid_t raw = H5Fopen(file.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT);
    int counts[2] = {0, 0};
    H5Ovisit(raw, H5_INDEX_NAME, H5_ITER_NATIVE, CountFiltered, counts);
    H5Fclose(raw);
    // The coordinates, the connectivity and the three steps at least.
    EXPECT_GE(counts[0], 5);

    {
        VelResultsReader in = VelResultsReader::Open(file.str());
        std::vector<double> values;
        for (int k = 0; k < 3; ++k) {
            in.Field("u").Read(k, values);
            EXPECT_EQ(values, StepValues(k, kNodes, 2, k == 1 ? 3.0 : 1.0)) << "step " << k;
        }
        EXPECT_EQ(in.Coordinates(), Coordinates());
    }
    // The setting belongs to the writing session: a writer opened again starts with none.
    VelResultsWriter again = VelResultsWriter::Open(file.str());
    EXPECT_TRUE(again.Compression().IsNone());
}

// The row forms a parallel writer's ranks use: in a file of one process they take every row,
// and any rows read back.
TEST_F(VelResultsDeathTest, RowsAreEveryRowInAFileOfOneProcessAndAnyRowsWhenRead) {
    VelTempFile file("rows.vel");
    const std::vector<double> xyz = Coordinates();
    const std::vector<int> bars = Connectivity(VelCellType::Line2, 4, 0);
    {
        VelResultsWriter out = VelResultsWriter::Create(file.str());
        ExpectValidateFailure(out.AddNodes(kNodes, 1, kNodes - 1, xyz.data() + 3),
                              "VelResultsWriter::AddNodes: the mesh's nodes: a file written by "
                              "one process takes all 60 rows at once");
        out.AddNodes(kNodes, 0, kNodes, xyz.data());
        ExpectValidateFailure(
            out.AddElementBlock("bars", VelCellType::Line2, 4, 2, 2, 3, bars.data()),
            "VelResultsWriter::AddElementBlock: block \"bars\": rows 2 to 4 "
            "are not among its 4");
        out.AddElementBlock("bars", VelCellType::Line2, 4, 2, 0, 4, bars.data());
        VelResultsField u = out.AddNodalField("u", {"x", "y"});
        out.AddStep(0.0);
        u.WriteRows(0, 0, kNodes, StepValues(0, kNodes, 2, 1.0).data());
        ExpectValidateFailure(u.WriteRows(0, 0, 10, StepValues(0, 10, 2, 1.0).data()),
                              "VelResultsField::WriteRows: field \"u\": a file written by one "
                              "process takes all 60 rows at once");
    }
    VelResultsReader in = VelResultsReader::Open(file.str());
    EXPECT_EQ(in.ElementBlocks()[0].connectivity, bars);
    const std::vector<double> all = StepValues(0, kNodes, 2, 1.0);
    std::vector<double> rows(2 * 7);
    in.Field("u").ReadRows(0, 13, 7, rows.data());
    EXPECT_EQ(rows, std::vector<double>(all.begin() + 2 * 13, all.begin() + 2 * 20));
    ExpectValidateFailure(in.Field("u").ReadRows(0, 55, 6, rows.data()),
                          "VelResultsField::ReadRows: field \"u\": rows 55 to 60 are not among "
                          "its 60");
}

TEST_F(VelResultsDeathTest, MistakesByNameAreRefusedWithTheirName) {
    VelTempFile file("mistakes.vel");
    WriteEveryKind(file.str(), 2);
    VelResultsReader in = VelResultsReader::Open(file.str());
    std::vector<double> values;
    ExpectValidateFailure(in.Field("velocity"), "VelResultsReader::Field: \"" + file.str() +
                                                    "\" has no field named \"velocity\"");
    ExpectValidateFailure(in.NodeSet("bricks"), "VelResultsReader::NodeSet: \"" + file.str() +
                                                    "\" has no node set named \"bricks\"");
    ExpectValidateFailure(in.Field("displacement").Read(2, values),
                          "VelResultsField::Read: field \"displacement\": step 2 does not exist; "
                          "the file has 2 steps");
    ExpectValidateFailure(in.Time(-1),
                          "VelResultsReader::Time: step -1 does not exist; the "
                          "file has 2 steps");
    values.resize(5);
    ExpectValidateFailure(in.Field("stress").Read(0, values.data(), values.size()),
                          "VelResultsField::Read: field \"stress\" has 4 values there, not 5");
    ExpectValidateFailure(in.Field("stress").Read(0, "clamped", values),
                          "VelResultsField::Read: field \"stress\" is over the elements; the "
                          "file has no element set named \"clamped\"");
    ExpectValidateFailure(in.Field("displacement").History(kNodes, values),
                          "VelResultsField::History: field \"displacement\" has no row 60; it "
                          "has 60");
    ExpectValidateFailure(
        in.Field("displacement").Write(0, values),
        "VelResultsField::Write: \"" + file.str() + "\" is open for reading only");
}

TEST_F(VelResultsDeathTest, AWriterRefusesWhatCannotBeStored) {
    VelTempFile file("refused.vel");
    VelResultsWriter out = VelResultsWriter::Create(file.str());
    ExpectValidateFailure(out.AddNodeSet("a", {1}),
                          "VelResultsWriter::AddNodeSet: set \"a\": the mesh has no nodes yet");
    out.AddNodes(Coordinates());
    ExpectValidateFailure(out.AddNodes(Coordinates()),
                          "VelResultsWriter::AddNodes: the mesh already has its nodes");
    const int tri[] = {0, 1, 60};
    ExpectValidateFailure(out.AddElementBlock("t", VelCellType::Tri3, 1, 3, tri),
                          "VelResultsWriter::AddElementBlock: block \"t\": element 0 names node "
                          "60, the mesh has 60");
    ExpectValidateFailure(out.AddElementBlock("t", VelCellType::Tri3, 1, 4, tri),
                          "VelResultsWriter::AddElementBlock: block \"t\": a tri3 element has 3 "
                          "nodes, not 4");
    const int first[] = {0, 1, 2};
    out.AddElementBlock("t", VelCellType::Tri3, 1, 3, first);
    ExpectValidateFailure(out.AddElementSet("e", "t", {0, 0}),
                          "VelResultsWriter::AddElementSet: set \"e\": member 0 is given twice");
    ExpectValidateFailure(out.AddNodeSet("a", {1, 2, 1}),
                          "VelResultsWriter::AddNodeSet: set \"a\": member 1 is given twice");
    ExpectValidateFailure(out.AddNodeSet("a", {-1}),
                          "VelResultsWriter::AddNodeSet: set \"a\": member -1 is not among the "
                          "60 nodes");
    out.AddNodalField("u", {"x", "y"});
    ExpectValidateFailure(out.AddNodalField("u", {"x"}),
                          "VelResultsWriter::AddNodalField: the name \"u\" is taken");
    ExpectValidateFailure(out.AddElementField("s", "none", {"x"}),
                          "VelResultsWriter::AddElementField: \"" + file.str() +
                              "\" has no element block named \"none\"");
    ExpectValidateFailure(out.Field("u").Write(0, std::vector<double>(120)),
                          "VelResultsField::Write: field \"u\": step 0 does not exist; the file "
                          "has 0 steps");
    out.AddStep(0.0);
    ExpectValidateFailure(out.Field("u").Write(0, std::vector<double>(119)),
                          "VelResultsField::Write: field \"u\" takes 120 values per step, not 119");
    out.Close();
    ExpectValidateFailure(out.AddStep(1.0), "VelResultsWriter::AddStep: the results file \"" +
                                                file.str() + "\" is closed");
}

TEST_F(VelResultsDeathTest, ADatabaseWithoutResultsIsToldApart) {
    VelTempFile file("plain.vel");
    VelManager::CloseContext(
        VelManager::CreateContext(file.c_str(), hdf_File::CreateFlagsTruncate, 1));
    ExpectValidateFailure(VelResultsReader::Open(file.str()),
                          "VelResultsReader::Open: \"" + file.str() +
                              "\" holds no results: it is a database without a published view "
                              "of the results form \"VelResults\"");
    ExpectValidateFailure(VelResultsReader::Open(file.str() + ".missing"),
                          "VelResultsReader::Open: \"" + file.str() +
                              ".missing\" is not a database this library can open");
}

TEST(VelCellTypeTest, NamesAndNodeCountsMatchEachType) {
    const int nodes[] = {1, 2, 3, 3, 6, 4, 8, 9, 4, 10, 5, 13, 6, 15, 18, 8, 20, 27};
    int k = 0;
    for (VelCellType type : kAllCellTypes) {
        VelCellType back = VelCellType::Hex27;
        EXPECT_TRUE(VelCellTypeFromName(VelCellTypeName(type), back));
        EXPECT_EQ(back, type);
        EXPECT_EQ(VelCellTypeNodeCount(type), nodes[k++]) << VelCellTypeName(type);
    }
    VelCellType unchanged = VelCellType::Tet4;
    EXPECT_FALSE(VelCellTypeFromName("hex", unchanged));
    EXPECT_EQ(unchanged, VelCellType::Tet4);
}

}  // namespace
