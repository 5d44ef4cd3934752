// The results layer written and read by several MPI ranks, driven by scripts/test-parallel.sh:
//
//   write PATH NODES STEPS          every rank writes its rows of a mesh, two fields and STEPS
//                                   steps, checkpointing after each (a parallel file)
//   write-serial PATH NODES STEPS   the same calls in one process (a serial file)
//   read PATH NODES STEPS           every rank reads its rows of every step back and checks them
//   kill PATH NODES STEPS           as write, but the last rank kills itself in the middle of
//                                   step STEPS - 1, after the checkpoint of step STEPS - 2
//   check PATH NODES STEPS          one process: the serial reader finds STEPS steps, all right
//   differ PATH                     ranks making a collective call with different arguments,
//                                   and rows that overlap, are refused on every rank, and the
//                                   file is written on afterwards
//   straggler PATH                  rank 0 checkpoints, the others never do: rank 0 must abort
//                                   the job after the collective timeout
//
// Every value is a function of its step, row and component, so each check knows what to find.
#include <mpi.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "vel/vel.h"

namespace {

int g_rank = 0;
int g_size = 1;
int g_failures = 0;

struct Split {
    int first;
    int rows;
};

// Rank `rank` of `size`'s share of `count` rows: consecutive, the first ones one longer.
Split RowsOf(int count, int rank, int size) {
    const int base = count / size;
    const int extra = count % size;
    return {rank * base + (rank < extra ? rank : extra), base + (rank < extra ? 1 : 0)};
}

double Displacement(int step, int node, int c) {
    return step * 1e7 + node * 3.0 + c;
}
double Stress(int step, int element) {
    return -(step * 1e7 + element);
}
double Coordinate(int node, int c) {
    return node * 0.5 + c;
}
double TimeOf(int step) {
    return 0.25 * step;
}

void Expect(bool condition, const std::string& what) {
    if (condition) return;
    ++g_failures;
    std::fprintf(stderr, "rank %d: %s\n", g_rank, what.c_str());
}

std::vector<double> CoordinateRows(Split rows) {
    std::vector<double> xyz;
    for (int n = rows.first; n < rows.first + rows.rows; ++n)
        for (int c = 0; c < 3; ++c) xyz.push_back(Coordinate(n, c));
    return xyz;
}

std::vector<int> ChainRows(Split rows) {
    std::vector<int> nodes;
    for (int e = rows.first; e < rows.first + rows.rows; ++e) {
        nodes.push_back(e);
        nodes.push_back(e + 1);
    }
    return nodes;
}

std::vector<double> DisplacementRows(int step, Split rows) {
    std::vector<double> values;
    for (int n = rows.first; n < rows.first + rows.rows; ++n)
        for (int c = 0; c < 3; ++c) values.push_back(Displacement(step, n, c));
    return values;
}

std::vector<double> StressRows(int step, Split rows) {
    std::vector<double> values;
    for (int e = rows.first; e < rows.first + rows.rows; ++e) values.push_back(Stress(step, e));
    return values;
}

// The mesh is a chain: element e joins nodes e and e + 1.  `rank` and `size` split the rows.
void WriteResults(VelResultsWriter& out, int nodes, int steps, int rank, int size, int killAtStep) {
    const Split myNodes = RowsOf(nodes, rank, size);
    const Split myElements = RowsOf(nodes - 1, rank, size);
    const std::vector<double> xyz = CoordinateRows(myNodes);
    out.AddNodes(nodes, myNodes.first, myNodes.rows, xyz.data());
    const std::vector<int> chain = ChainRows(myElements);
    out.AddElementBlock("chain", VelCellType::Line2, nodes - 1, 2, myElements.first,
                        myElements.rows, chain.data());
    out.AddNodeSet("ends", {0, nodes - 1});
    out.AddElementSet("first", "chain", {0});
    const VelResultsField u = out.AddNodalField("displacement", {"x", "y", "z"}, "m");
    const VelResultsField s = out.AddElementField("stress", "chain", {"s"}, "Pa");
    for (int step = 0; step < steps; ++step) {
        out.AddStep(TimeOf(step));
        u.WriteRows(step, myNodes.first, myNodes.rows, DisplacementRows(step, myNodes).data());
        // Killed here, the step's displacement has reached the file, its stress and its
        // checkpoint have not.
        if (step == killAtStep && rank == size - 1) raise(SIGKILL);
        s.WriteRows(step, myElements.first, myElements.rows, StressRows(step, myElements).data());
        out.Checkpoint();
    }
}

void CheckResults(VelResultsReader& in, int nodes, int steps, int rank, int size) {
    Expect(in.StepCount() == steps, "step count " + std::to_string(in.StepCount()));
    Expect(in.NodeCount() == nodes, "node count " + std::to_string(in.NodeCount()));
    const std::vector<double> times = in.Times();
    for (int step = 0; step < in.StepCount() && step < steps; ++step)
        Expect(times[step] == TimeOf(step), "time of step " + std::to_string(step));
    const std::vector<double> xyz = in.Coordinates();
    Expect(xyz == CoordinateRows({0, nodes}), "coordinates");
    const std::vector<VelResultsBlock> blocks = in.ElementBlocks();
    Expect(blocks.size() == 1 && blocks[0].connectivity == ChainRows({0, nodes - 1}),
           "the chain's connectivity");
    Expect(in.NodeSet("ends") == std::vector<int>{0, nodes - 1}, "node set \"ends\"");
    const VelResultsField u = in.Field("displacement");
    const VelResultsField s = in.Field("stress");
    const Split myNodes = RowsOf(nodes, rank, size);
    const Split myElements = RowsOf(nodes - 1, rank, size);
    for (int step = 0; step < in.StepCount() && step < steps; ++step) {
        std::vector<double> values(static_cast<size_t>(myNodes.rows) * 3);
        u.ReadRows(step, myNodes.first, myNodes.rows, values.data());
        Expect(values == DisplacementRows(step, myNodes),
               "displacement rows of step " + std::to_string(step));
        values.assign(static_cast<size_t>(myElements.rows), 0.0);
        s.ReadRows(step, myElements.first, myElements.rows, values.data());
        Expect(values == StressRows(step, myElements),
               "stress rows of step " + std::to_string(step));
        std::vector<double> ends;
        u.Read(step, "ends", ends);
        Expect(
            ends == std::vector<double>{Displacement(step, 0, 0), Displacement(step, 0, 1),
                                        Displacement(step, 0, 2), Displacement(step, nodes - 1, 0),
                                        Displacement(step, nodes - 1, 1),
                                        Displacement(step, nodes - 1, 2)},
            "node set rows of step " + std::to_string(step));
    }
}

// Runs `call` expecting a refusal on this rank; true when every rank was refused.
template <class Call>
bool RefusedEverywhere(Call call, const char* what) {
    int refused = 0;
    try {
        call();
    } catch (const VelFailure& failure) {
        refused = 1;
    }
    int everywhere = 0;
    MPI_Allreduce(&refused, &everywhere, 1, MPI_INT, MPI_MIN, MPI_COMM_WORLD);
    Expect(everywhere == 1, std::string(what) + " was not refused on every rank");
    return everywhere == 1;
}

void Differ(const std::string& path) {
    VelAssert::SetFailurePolicy(VelThrowOnFailure);
    VelResultsWriter out = VelResultsWriter::CreateParallel(path, MPI_COMM_WORLD);
    const int nodes = 4 * g_size;
    const Split mine = RowsOf(nodes, g_rank, g_size);
    const std::vector<double> xyz = CoordinateRows(mine);
    out.AddNodes(nodes, mine.first, mine.rows, xyz.data());
    RefusedEverywhere([&] { out.AddNodeSet("own", {g_rank}); }, "a node set of each rank's own");
    const VelResultsField u = out.AddNodalField("displacement", {"x", "y", "z"});
    out.AddStep(TimeOf(0));
    // Every rank one row further: neighbours overlap by one.
    const Split overlapping{mine.first, mine.rows + (g_rank + 1 < g_size ? 1 : 0)};
    RefusedEverywhere(
        [&] {
            u.WriteRows(0, overlapping.first, overlapping.rows,
                        DisplacementRows(0, overlapping).data());
        },
        "overlapping rows");
    u.WriteRows(0, mine.first, mine.rows, DisplacementRows(0, mine).data());
    out.Checkpoint();
    out.Close();
    VelResultsReader in = VelResultsReader::OpenParallel(path, MPI_COMM_WORLD);
    std::vector<double> values(static_cast<size_t>(mine.rows) * 3);
    in.Field("displacement").ReadRows(0, mine.first, mine.rows, values.data());
    Expect(values == DisplacementRows(0, mine), "the rows written after the refusals");
    Expect(in.NodeSetNames().empty(), "the refused node set is in the file");
}

void Straggler(const std::string& path) {
    VelManager::SetCollectiveTimeout(2);
    VelResultsWriter out = VelResultsWriter::CreateParallel(path, MPI_COMM_WORLD);
    if (g_rank == 0) {
        out.Checkpoint();
        std::fprintf(stderr, "rank 0 came back from a checkpoint the others never made\n");
        std::exit(3);
    }
    MPI_Barrier(MPI_COMM_WORLD);
    std::exit(4);
}

int Usage() {
    std::fprintf(stderr, "usage: vel_parallel_results MODE PATH [NODES STEPS]\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    MPI_Init(&argc, &argv);
    MPI_Comm_rank(MPI_COMM_WORLD, &g_rank);
    MPI_Comm_size(MPI_COMM_WORLD, &g_size);
    if (argc < 3) return Usage();
    const std::string mode = argv[1];
    const std::string path = argv[2];
    const int nodes = argc > 3 ? std::atoi(argv[3]) : 0;
    const int steps = argc > 4 ? std::atoi(argv[4]) : 0;
    if (mode == "write") {
        VelResultsWriter out = VelResultsWriter::CreateParallel(path, MPI_COMM_WORLD);
        WriteResults(out, nodes, steps, g_rank, g_size, -1);
    } else if (mode == "write-serial") {
        VelResultsWriter out = VelResultsWriter::Create(path);
        WriteResults(out, nodes, steps, 0, 1, -1);
    } else if (mode == "kill") {
        VelResultsWriter out = VelResultsWriter::CreateParallel(path, MPI_COMM_WORLD);
        WriteResults(out, nodes, steps, g_rank, g_size, steps - 1);
    } else if (mode == "read") {
        VelResultsReader in = VelResultsReader::OpenParallel(path, MPI_COMM_WORLD);
        CheckResults(in, nodes, steps, g_rank, g_size);
    } else if (mode == "check") {
        VelResultsReader in = VelResultsReader::Open(path);
        CheckResults(in, nodes, steps, 0, 1);
    } else if (mode == "differ") {
        Differ(path);
    } else if (mode == "straggler") {
        Straggler(path);
    } else {
        return Usage();
    }
    int failures = 0;
    MPI_Allreduce(&g_failures, &failures, 1, MPI_INT, MPI_SUM, MPI_COMM_WORLD);
    if (g_rank == 0)
        std::printf("%s %s on %d ranks: %s\n", mode.c_str(), path.c_str(), g_size,
                    failures ? "FAILED" : "ok");
    MPI_Finalize();
    return failures ? 1 : 0;
}
