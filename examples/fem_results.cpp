// The plate model's results (fem_model.h) stored and read back by name through the results
// layer: the mesh as one block of quadrilaterals, its edges as node and element sets, the
// displacement per node and the stress per element at every load step, a step's time being its
// load factor.  The writer checkpoints after every load step, as a solver should.  The reader
// prints what the file holds, the tip's displacement over the steps and the clamped elements'
// stress at the last step, and checks every value it reads against the model.
//
//     vel_fem_results [plate.vel]
#include <vel/vel.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "fem_model.h"

namespace {

// The nodes of the edge at column i of the plate, bottom to top.
std::vector<int> EdgeNodes(int i) {
    std::vector<int> ids;
    for (int j = 0; j < fem::kNodesY; ++j) ids.push_back(fem::Node(i, j));
    return ids;
}

void WritePlate(const std::string& path) {
    std::vector<double> xyz(fem::kNodes * 3);
    for (int n = 0; n < fem::kNodes; ++n) fem::NodeCoordinates(n, &xyz[size_t(n) * 3]);
    std::vector<int> quads;
    for (int j = 0; j < fem::kElementsY; ++j) {
        for (int i = 0; i < fem::kElementsX; ++i) {
            int nodes[4];
            fem::ElementNodes(i, j, nodes);
            quads.insert(quads.end(), nodes, nodes + 4);
        }
    }
    std::vector<int> clampedElements;
    for (int j = 0; j < fem::kElementsY; ++j) clampedElements.push_back(j * fem::kElementsX);

    VelResultsWriter out = VelResultsWriter::Create(path);
    out.AddNodes(xyz);
    out.AddElementBlock("plate", VelCellType::Quad4, quads);
    out.AddNodeSet("clamped", EdgeNodes(0));
    out.AddNodeSet("loaded", EdgeNodes(fem::kNodesX - 1));
    out.AddElementSet("clamped edge", "plate", clampedElements);
    const VelResultsField u = out.AddNodalField("displacement", {"x", "y", "z"}, "mm");
    const VelResultsField sigma =
        out.AddElementField("stress", "plate", {"xx", "yy", "xy"}, "N/mm^2");
    for (int s = 0; s < fem::kSteps; ++s) {
        const double load = fem::LoadFactor(s);
        const int step = out.AddStep(load);
        u.Write(step, fem::StepDisplacement(load));
        sigma.Write(step, fem::StepStress(load));
        // Killed from here on, the run keeps every load step so far.
        out.Checkpoint();
    }
    out.Close();
    std::printf("wrote %s: %d nodes, %d quadrilaterals, %d load steps\n", path.c_str(), fem::kNodes,
                fem::kElements, fem::kSteps);
}

// The number of values in `read` that differ from `expected`, besides a size that differs.
int Mismatches(const std::vector<double>& read, const std::vector<double>& expected) {
    if (read.size() != expected.size()) return 1;
    int wrong = 0;
    for (size_t i = 0; i < read.size(); ++i) wrong += read[i] != expected[i];
    return wrong;
}

std::string Joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
    return text;
}

// Prints the plate's results and returns the number of values that are not the model's.
int ReadPlate(const std::string& path) {
    const VelResultsReader in = VelResultsReader::Open(path);
    std::printf("%s holds %d nodes, blocks:", path.c_str(), in.NodeCount());
    for (const VelResultsBlock& block : in.ElementBlocks())
        std::printf(" \"%s\" (%d %s)", block.name.c_str(), block.count,
                    VelCellTypeName(block.cellType));
    std::printf("\n  node sets: %s; element sets: %s\n", Joined(in.NodeSetNames()).c_str(),
                Joined(in.ElementSetNames()).c_str());
    for (const std::string& name : in.FieldNames()) {
        const VelResultsField field = in.Field(name);
        std::printf("  field \"%s\" [%s] per %s: %s\n", name.c_str(), field.Units().c_str(),
                    field.Location() == VelResultsLocation::Node ? "node" : "element",
                    Joined(field.ComponentNames()).c_str());
    }

    int wrong = 0;
    const VelResultsField u = in.Field("displacement");
    const int tip = fem::Node(fem::kNodesX - 1, fem::kNodesY - 1);
    std::vector<double> history;
    u.History(tip, history);
    std::printf("  displacement of the tip node %d:\n", tip);
    for (int s = 0; s < in.StepCount(); ++s) {
        const double* row = &history[size_t(s) * 3];
        std::printf("    load %.2f: %+.5f %+.5f %+.5f mm\n", in.Time(s), row[0], row[1], row[2]);
        const std::vector<double> model = fem::StepDisplacement(fem::LoadFactor(s));
        const double* expected = &model[size_t(tip) * 3];
        wrong += Mismatches(std::vector<double>(row, row + 3),
                            std::vector<double>(expected, expected + 3));
        std::vector<double> step;
        u.Read(s, step);
        wrong += Mismatches(step, model);
    }

    const int last = in.StepCount() - 1;
    std::vector<double> clamped;
    in.Field("stress").Read(last, "clamped edge", clamped);
    const std::vector<double> model = fem::StepStress(fem::LoadFactor(last));
    const std::vector<int> ids = in.ElementSet("clamped edge").ids;
    std::printf("  stress xx at the clamped edge, last step:");
    for (size_t k = 0; k < ids.size(); ++k) {
        std::printf(" %.1f", clamped[k * 3]);
        for (int c = 0; c < 3; ++c) wrong += clamped[k * 3 + c] != model[size_t(ids[k]) * 3 + c];
    }
    std::printf(" N/mm^2\n");
    return wrong;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string path = argc > 1 ? argv[1] : "plate.vel";
    WritePlate(path);
    const int wrong = ReadPlate(path);
    if (wrong != 0) std::printf("%d values read back differ from the model's\n", wrong);
    return wrong == 0 ? 0 : 1;
}
