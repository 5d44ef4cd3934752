// The new user's job, written: 1,000 nodes with coordinates, a node set of 50 nodes and a
// 3-component displacement over 5 time steps, all by name.
#include <vel/vel.h>

#include <vector>

int main(int argc, char** argv) {
    const char* path = argc > 1 ? argv[1] : "beam.vel";
    std::vector<double> xyz;
    for (int n = 0; n < 1000; ++n) xyz.insert(xyz.end(), {n * 0.01, 0.0, 0.0});
    std::vector<int> clamped;
    for (int n = 0; n < 50; ++n) clamped.push_back(n);

    VelResultsWriter out = VelResultsWriter::Create(path);
    out.AddNodes(xyz);
    out.AddNodeSet("clamped", clamped);
    VelResultsField u = out.AddNodalField("displacement", {"x", "y", "z"}, "m");
    for (int step = 0; step < 5; ++step) {
        std::vector<double> values;
        for (int n = 0; n < 1000; ++n) values.insert(values.end(), {0.0, -step * 1e-3 * n, 0.0});
        u.Write(out.AddStep(0.1 * step), values);
        out.Checkpoint();
    }
}
