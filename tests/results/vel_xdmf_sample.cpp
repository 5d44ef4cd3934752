// Writes the results files the XDMF check reads (scripts/check-xdmf.sh): one with two element
// blocks (a mixed topology), one with a single block, and beside them, as JSON, every array
// written, for the check to compare what XDMF readers see with.
#include <vel/vel.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace {

template <class T>
void JsonArray(std::ofstream& out, const char* name, const std::vector<T>& values) {
    out << "\"" << name << "\": [";
    for (size_t k = 0; k < values.size(); ++k) {
        char text[40];
        std::snprintf(text, sizeof text, "%.17g", static_cast<double>(values[k]));
        out << (k ? ", " : "") << text;
    }
    out << "]";
}

// A 3 x 3 x 3 grid of nodes: eight bricks and, over the top layer, six tetrahedra.
void WriteSample(const std::string& path, bool twoBlocks) {
    std::vector<double> xyz;
    for (int k = 0; k < 3; ++k)
        for (int j = 0; j < 3; ++j)
            for (int i = 0; i < 3; ++i) {
                xyz.push_back(i);
                xyz.push_back(j * 1.5);
                xyz.push_back(k * 0.5);
            }
    auto node = [](int i, int j, int k) { return i + 3 * j + 9 * k; };
    std::vector<int> bricks;
    for (int k = 0; k < 2; ++k)
        for (int j = 0; j < 2; ++j)
            for (int i = 0; i < 2; ++i)
                for (int n : {node(i, j, k), node(i + 1, j, k), node(i + 1, j + 1, k),
                              node(i, j + 1, k), node(i, j, k + 1), node(i + 1, j, k + 1),
                              node(i + 1, j + 1, k + 1), node(i, j + 1, k + 1)})
                    bricks.push_back(n);
    std::vector<int> tets;
    for (int t = 0; t < 6; ++t)
        for (int n : {node(t % 2, t / 2 % 2, 2), node(t % 2 + 1, t / 2 % 2, 2),
                      node(t % 2, t / 2 % 2 + 1, 2), node(1, 1, 1)})
            tets.push_back(n);

    const std::vector<double> times = {0.0, 0.1, 0.25};
    VelResultsWriter out = VelResultsWriter::Create(path);
    out.AddNodes(xyz);
    out.AddElementBlock("bricks", VelCellType::Hex8, bricks);
    if (twoBlocks) out.AddElementBlock("tets", VelCellType::Tet4, tets);
    out.AddNodeSet("bottom", {0, 1, 2, 3, 4, 5, 6, 7, 8});
    VelResultsField u = out.AddNodalField("displacement", {"x", "y", "z"}, "m");
    VelResultsField p = out.AddElementField("pressure", "bricks", {"p"}, "Pa");
    VelResultsField s = out.AddElementField("stress", twoBlocks ? "tets" : "bricks",
                                            {"xx", "yy", "zz", "xy", "yz", "zx"}, "Pa");
    std::ofstream json(path + ".json");
    json << "{\n";
    JsonArray(json, "points", xyz);
    json << ",\n";
    JsonArray(json, "bricks", bricks);
    json << ",\n";
    JsonArray(json, "tets", twoBlocks ? tets : std::vector<int>());
    json << ",\n";
    JsonArray(json, "times", times);
    for (size_t step = 0; step < times.size(); ++step) {
        out.AddStep(times[step]);
        std::vector<double> displacement, pressure, stress;
        for (size_t k = 0; k < xyz.size(); ++k)
            displacement.push_back(times[step] * xyz[k] * xyz[k]);
        for (int e = 0; e < p.EntityCount(); ++e) pressure.push_back(1e5 * (1 + step) + e);
        for (int e = 0; e < s.EntityCount() * 6; ++e) stress.push_back(step * 100.0 + e);
        u.Write(static_cast<int>(step), displacement);
        p.Write(static_cast<int>(step), pressure);
        s.Write(static_cast<int>(step), stress);
        const std::string suffix = std::to_string(step);
        json << ",\n";
        JsonArray(json, ("displacement" + suffix).c_str(), displacement);
        json << ",\n";
        JsonArray(json, ("pressure" + suffix).c_str(), pressure);
        json << ",\n";
        JsonArray(json, ("stress" + suffix).c_str(), stress);
    }
    json << "\n}\n";
    out.Close();
}

}  // namespace

int main(int argc, char** argv) {
    const std::string folder = argc > 1 ? argv[1] : ".";
    WriteSample(folder + "/two-blocks.vel", true);
    WriteSample(folder + "/one-block.vel", false);
    std::printf("wrote %s/two-blocks.vel and %s/one-block.vel\n", folder.c_str(), folder.c_str());
    return 0;
}
