// The small finite-element model of the results examples: a plate of 5 x 4 nodes and 4 x 3
// quadrilateral elements, loaded at its right edge in four steps.  fem_writer.cpp stores its
// results, fem_reader.cpp reads them back; demo.cpp runs both.
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

// Writes the model's results into a new database `file`; 0 on success.
int WriteResults(const char* file);
// Reads them back and prints a summary; 0 when the results are whole and consistent.
int ReadResults(const char* file);

}  // namespace fem

#endif
