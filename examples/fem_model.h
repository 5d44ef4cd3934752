// The small finite-element model of the results examples: a plate of 5 x 4 nodes and 4 x 3
// quadrilateral elements, loaded at its right edge in four steps.  fem_writer.cpp stores its
// results through the layers below the results layer, fem_reader.cpp reads them back, and
// demo.cpp runs both; fem_results.cpp stores and reads the same results by name.
//
// What the database holds, in the order it is made (a reader finds each object by its place in
// VelContextRef::Collections() and Distributions()):
//
//   collections     nodes (20), elements (12), components x y z (3), load steps (4), stress
//                   components xx yy xy (3), stiffness rows and columns (60 each: 3 per node)
//   CSets           of the nodes: the clamped left edge and the loaded right edge; of the
//                   elements: the column at the clamped edge; of the steps: one per step
//   distributions   coordinates (Double, nodes x components), one drawer
//                   displacement (Double, steps x nodes x components), one drawer per step
//                   stress (Double, steps x elements x stress components), one drawer per step
//                   stiffness (Double, rows x columns), one sparse-symmetric drawer
//   records         the published view of form "Analysis" at level 1 (records_schema.h): one
//                   LoadCase per load step, numbered 1 .. kSteps (number - 1 is the step's
//                   ordinal in the steps collection), in step order under the view's focus;
//                   one Material under the key "plate"; and each load case associated with
//                   the distributions holding its results, displacement and stress
#ifndef VEL_EXAMPLES_FEM_MODEL_H
#define VEL_EXAMPLES_FEM_MODEL_H

#include <vector>

namespace fem {

constexpr int kNodesX = 5;
constexpr int kNodesY = 4;
constexpr int kNodes = kNodesX * kNodesY;
constexpr int kElementsX = kNodesX - 1;
constexpr int kElementsY = kNodesY - 1;
constexpr int kElements = kElementsX * kElementsY;
constexpr int kComponents = 3;
constexpr int kSteps = 4;
constexpr int kStressComponents = 3;
constexpr int kDofs = kComponents * kNodes;

// The plate's steel, in N/mm^2 and kg/m^3.
constexpr double kYoungsModulus = 210000.0;
constexpr double kPoisson = 0.3;
constexpr float kDensity = 7850.0f;

// The fraction of the full tip load applied in step s (from 0).
inline double LoadFactor(int s) {
    return (s + 1.0) / kSteps;
}

enum Collection { Nodes, Elements, Components, Steps, StressComponents, DofRows, DofColumns };
enum Distribution { Coordinates, Displacement, Stress, Stiffness };

// Node (i, j) of the plate, i along x.
inline int Node(int i, int j) {
    return j * kNodesX + i;
}
// The four corner nodes of element (i, j), counter-clockwise from its lower left.
inline void ElementNodes(int i, int j, int nodes[4]) {
    nodes[0] = Node(i, j);
    nodes[1] = Node(i + 1, j);
    nodes[2] = Node(i + 1, j + 1);
    nodes[3] = Node(i, j + 1);
}

// The node's coordinates, x y z.
inline void NodeCoordinates(int n, double xyz[3]) {
    xyz[0] = n % kNodesX * 1.0;
    xyz[1] = n / kNodesX * 0.5;
    xyz[2] = 0.0;
}

// A cantilever bending under a growing tip load: x-stretch and a downward deflection that grows
// with the square of the distance from the clamped edge; 3 components per node.
inline std::vector<double> StepDisplacement(double load) {
    std::vector<double> u;
    for (int n = 0; n < kNodes; ++n) {
        const double x = n % kNodesX;
        u.push_back(load * 0.001 * x);
        u.push_back(-load * 0.02 * x * x / 16.0);
        u.push_back(0.0);
    }
    return u;
}

// The bending stress of a step, xx yy xy per element: largest at the clamped edge, zero at the
// tip, in proportion to the load.
inline std::vector<double> StepStress(double load) {
    std::vector<double> sigma;
    for (int e = 0; e < kElements; ++e) {
        const double xc = e % kElementsX + 0.5;
        const double yc = (e / kElementsX + 0.5) * 0.5 - 0.75;
        const double arm = (kElementsX - xc) / kElementsX;
        sigma.push_back(load * kYoungsModulus * (0.001 - 0.0025 * yc * arm));
        sigma.push_back(0.0);
        sigma.push_back(load * kYoungsModulus * 0.0001 * (kElementsX - xc));
    }
    return sigma;
}

// Writes the model's results into a new database `file`; 0 on success.
int WriteResults(const char* file);
// Reads them back and prints a summary; 0 when the results are whole and consistent.
int ReadResults(const char* file);

}  // namespace fem

#endif
