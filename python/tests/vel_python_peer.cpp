// The C++ side of the Python package's round-trip tests.
//
//   vel_python_peer write-bulk FILE     a database with a distribution of every range type, a
//                                       chunked drawer, a drawer over a strided CSet, a sparse
//                                       and a sparse-symmetric drawer, a permutation CSet and a
//                                       DSet; values follow the formulas in test_bulk.py
//   vel_python_peer write-results FILE  a results file with a block of every cell type, sets,
//                                       a nodal and an element field (formulas in
//                                       test_results.py)
//   vel_python_peer dump-results FILE   prints what the results reader reads, as JSON
//   vel_python_peer dump-bulk FILE      prints every drawer's description and values, as JSON
#include <vel/vel.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

// ---- JSON output -----------------------------------------------------------------------------

template <class T>
void PrintArray(const T* values, size_t count) {
    std::printf("[");
    for (size_t i = 0; i < count; ++i)
        std::printf(i ? ", %.17g" : "%.17g", static_cast<double>(values[i]));
    std::printf("]");
}

template <class T>
void PrintArray(const std::vector<T>& values) {
    PrintArray(values.data(), values.size());
}

void PrintNames(const std::vector<std::string>& names) {
    std::printf("[");
    for (size_t i = 0; i < names.size(); ++i)
        std::printf(i ? ", \"%s\"" : "\"%s\"", names[i].c_str());
    std::printf("]");
}

// ---- write-bulk ------------------------------------------------------------------------------

VelGrid GridOf(const VelCollectionID& a, const VelCollectionID& b) {
    VelArray<VelCollectionID> ids(2);
    ids[0] = a;
    ids[1] = b;
    return VelGrid(ids);
}

template <class T>
void WriteDense(const VelDistributionID& d, const VelCSetID& rows, const VelCSetID& columns,
                std::vector<T> values, const VelArray<int>* chunks = nullptr) {
    VelTransfer transfer{VelDistributionRef(d)};
    if (chunks)
        transfer.SetMakeNewDrawerChunked(*chunks);
    else
        transfer.SetMakeNewDrawer();
    transfer.SetBufferPadding(false).SetDims(rows, columns).CheckView();
    transfer.SetBuffer(VelbufMain, values.data(), transfer.RequiredBufferSize(VelbufMain));
    transfer.ExecWrite();
    transfer.RelinquishBuffers();
}

// value(i, j) of each range type over the 6 x 4 grid; test_bulk.py has the same formulas.
double Formula(VelTypeKey key, int i, int j) {
    switch (key) {
        case VelTypeKeyDouble:
        case VelTypeKeyFloat:
            return i + j / 8.0;
        case VelTypeKeyBool:
            return (i + j) % 2;
        case VelTypeKeyInt:
            return i * 10 - j;
        default:
            return (i + j) % 3;
    }
}

template <class T>
std::vector<T> Values(VelTypeKey key, const std::vector<int>& rows, int columns) {
    std::vector<T> out;
    for (int i : rows)
        for (int j = 0; j < columns; ++j) out.push_back(static_cast<T>(Formula(key, i, j)));
    return out;
}

void WriteOfKey(const VelContextRef& context, VelTypeKey key, const VelCollectionID& a,
                const VelCollectionID& b, const VelCollectionID& c) {
    const VelRangeType range =
        VelRangeType::KeyRefersToCollection(key) ? VelRangeType(key, c) : VelRangeType(key);
    const VelDistributionID d = context.CreateDistribution(GridOf(a, b), range);
    const VelCSetID rows = VelCollectionRef(a).BiggestCSetID();
    const VelCSetID columns = VelCollectionRef(b).BiggestCSetID();
    const std::vector<int> all = {0, 1, 2, 3, 4, 5};
    switch (key) {
        case VelTypeKeyDouble:
            WriteDense(d, rows, columns, Values<double>(key, all, 4));
            break;
        case VelTypeKeyFloat:
            WriteDense(d, rows, columns, Values<float>(key, all, 4));
            break;
        case VelTypeKeyBool:
            WriteDense(d, rows, columns, Values<char>(key, all, 4));
            break;
        default:
            WriteDense(d, rows, columns, Values<int>(key, all, 4));
    }
}

// A new drawer of a matrix in compressed rows, sparse-symmetric when it has a diagonal.
template <class T>
void WriteMatrix(const VelContextRef& context, VelTypeKey key, const VelCollectionID& a,
                 const VelCollectionID& b, std::vector<T> values, std::vector<int> columns,
                 std::vector<int> starts, std::vector<T> diagonal) {
    const VelDistributionID d = context.CreateDistribution(GridOf(a, b), VelRangeType(key));
    VelSerializationType serialization;
    diagonal.empty() ? serialization.SetSparse() : serialization.SetSparseSym();
    VelTransfer transfer{VelDistributionRef(d)};
    transfer.SetMakeNewDrawer().SetSparseNNonzero(int(values.size())).SetBufferPadding(false);
    transfer.SetDims(VelCollectionRef(a).BiggestCSetID(), VelCollectionRef(b).BiggestCSetID());
    transfer.SetSerialization(serialization).CheckView();
    void* buffers[] = {values.data(), columns.data(), starts.data(), diagonal.data()};
    for (int e = 0; e < (diagonal.empty() ? 3 : 4); ++e)
        transfer.SetBuffer(e, buffers[e], transfer.RequiredBufferSize(e));
    transfer.ExecWrite();
    transfer.RelinquishBuffers();
}

// A 6 x 4 matrix with nonzeros where (i + j) % 3 == 0, valued 4i + j + 1.
void WriteSparse(const VelContextRef& context, const VelCollectionID& a, const VelCollectionID& b) {
    std::vector<double> values;
    std::vector<int> columns, starts = {0};
    for (int i = 0; i < 6; ++i) {
        for (int j = 0; j < 4; ++j) {
            if ((i + j) % 3 != 0) continue;
            values.push_back(4 * i + j + 1);
            columns.push_back(j);
        }
        starts.push_back(int(values.size()));
    }
    WriteMatrix<double>(context, VelTypeKeyDouble, a, b, values, columns, starts, {});
}

// A symmetric 6 x 6 matrix: diagonal i + 1, above it -(i + j) where i + j is odd.
void WriteSparseSymmetric(const VelContextRef& context, const VelCollectionID& a,
                          const VelCollectionID& a2) {
    std::vector<float> values, diagonal;
    std::vector<int> columns, starts = {0};
    for (int i = 0; i < 6; ++i) {
        diagonal.push_back(i + 1);
        for (int j = i + 1; j < 6; ++j) {
            if ((i + j) % 2 == 0) continue;
            values.push_back(-(i + j));
            columns.push_back(j);
        }
        starts.push_back(int(values.size()));
    }
    WriteMatrix(context, VelTypeKeyFloat, a, a2, values, columns, starts, diagonal);
}

int WriteBulk(const char* path) {
    const VelContextID id = VelManager::CreateContext(path, hdf_File::CreateFlagsTruncate, 1);
    const VelContextRef context(id);
    const VelCollectionID a = context.CreateCollection(6);
    const VelCollectionID b = context.CreateCollection(4);
    const VelCollectionID c = context.CreateCollection(5);
    const VelCollectionID a2 = context.CreateCollection(6);
    for (int key = VelTypeKeyInt; key <= VelTypeKeyOCSet; ++key)
        WriteOfKey(context, VelTypeKey(key), a, b, c);

    // Rows 1, 3, 5 through a strided CSet, and the whole grid chunked in 2 x 2, in one
    // distribution: drawers shaped by their CSets.
    const VelCSetID odd = VelCollectionRef(a).CreateCSetStrided(1, 2, 3, 1);
    const VelCSetID firstColumns = VelCollectionRef(b).CreateCSetStrided(0, 1, 1, 2);
    const VelDistributionID d =
        context.CreateDistribution(GridOf(a, b), VelRangeType(VelTypeKeyDouble));
    WriteDense(d, odd, firstColumns, Values<double>(VelTypeKeyDouble, {1, 3, 5}, 2));
    VelArray<int> chunks(2);
    chunks[0] = chunks[1] = 2;
    const VelDistributionID chunked =
        context.CreateDistribution(GridOf(a, b), VelRangeType(VelTypeKeyDouble));
    WriteDense(chunked, VelCollectionRef(a).BiggestCSetID(), VelCollectionRef(b).BiggestCSetID(),
               Values<double>(VelTypeKeyDouble, {0, 1, 2, 3, 4, 5}, 4), &chunks);

    WriteSparse(context, a, b);
    WriteSparseSymmetric(context, a, a2);

    const int order[] = {4, 0, 3};
    const VelCSetID permutation = VelCollectionRef(c).CreateOrderedCSet(order, 3);
    const int listed[] = {0, 2, 3};
    const VelCSetID list = VelCollectionRef(b).CreateCSet(listed, 3);
    VelArray<VelCompartment> compartments(2);
    VelArray<VelCSetID> first(2), second(2);
    first[0] = odd;
    first[1] = list;
    second[0] = VelCollectionRef(a).BiggestCSetID();
    second[1] = firstColumns;
    compartments[0] = VelCompartment(first);
    compartments[1] = VelCompartment(second);
    context.CreateDSet(VelCtation(compartments));
    std::printf("permutation %d\n", permutation.Index());
    VelManager::CloseContext(id);
    return 0;
}

// ---- write-results ---------------------------------------------------------------------------

// 30 nodes; per cell type a block of two elements on nodes (t + k + e) % 30; a nodal field
// "u" (2 components) with u = (step + node, -node * time) and an element field "s" on block
// "hex8" (1 component) with s = 100 step + element; times 0.5 * step.
int WriteResults(const char* path) {
    VelResultsWriter out = VelResultsWriter::Create(path);
    std::vector<double> xyz;
    for (int n = 0; n < 30; ++n) xyz.insert(xyz.end(), {n * 1.0, n * 0.5, -n * 0.25});
    out.AddNodes(xyz);
    for (int t = int(VelCellType::Vertex); t <= int(VelCellType::Hex27); ++t) {
        const VelCellType type = VelCellType(t);
        const int perElement = VelCellTypeNodeCount(type);
        std::vector<int> connectivity;
        for (int e = 0; e < 2; ++e)
            for (int k = 0; k < perElement; ++k) connectivity.push_back((t + k + e) % 30);
        out.AddElementBlock(VelCellTypeName(type), type, connectivity);
    }
    out.AddNodeSet("ends", std::vector<int>{29, 0, 15});
    out.AddElementSet("second", "hex8", std::vector<int>{1});
    VelResultsField u = out.AddNodalField("u", {"a", "b"}, "mm");
    VelResultsField s = out.AddElementField("s", "hex8", {"v"}, "MPa");
    for (int step = 0; step < 3; ++step) {
        const double time = 0.5 * step;
        std::vector<double> nodal, element;
        for (int n = 0; n < 30; ++n) nodal.insert(nodal.end(), {double(step + n), -n * time});
        for (int e = 0; e < 2; ++e) element.push_back(100.0 * step + e);
        out.AddStep(time);
        u.Write(step, nodal);
        s.Write(step, element);
        out.Checkpoint();
    }
    return 0;
}

// ---- dump-results ----------------------------------------------------------------------------

int DumpResults(const char* path) {
    VelResultsReader in = VelResultsReader::Open(path);
    std::printf("{\"times\": ");
    PrintArray(in.Times());
    std::printf(", \"coordinates\": ");
    PrintArray(in.Coordinates());
    std::printf(", \"blocks\": {");
    const std::vector<VelResultsBlock> blocks = in.ElementBlocks();
    for (size_t b = 0; b < blocks.size(); ++b) {
        std::printf("%s\"%s\": {\"type\": \"%s\", \"connectivity\": ", b ? ", " : "",
                    blocks[b].name.c_str(), VelCellTypeName(blocks[b].cellType));
        PrintArray(blocks[b].connectivity);
        std::printf("}");
    }
    std::printf("}, \"node_sets\": {");
    const std::vector<std::string> nodeSets = in.NodeSetNames();
    for (size_t i = 0; i < nodeSets.size(); ++i) {
        std::printf("%s\"%s\": ", i ? ", " : "", nodeSets[i].c_str());
        PrintArray(in.NodeSet(nodeSets[i]));
    }
    std::printf("}, \"element_sets\": {");
    const std::vector<std::string> elementSets = in.ElementSetNames();
    for (size_t i = 0; i < elementSets.size(); ++i) {
        const VelResultsElementSet set = in.ElementSet(elementSets[i]);
        std::printf("%s\"%s\": [\"%s\", ", i ? ", " : "", elementSets[i].c_str(),
                    set.block.c_str());
        PrintArray(set.ids);
        std::printf("]");
    }
    std::printf("}, \"fields\": {");
    const std::vector<std::string> fields = in.FieldNames();
    for (size_t f = 0; f < fields.size(); ++f) {
        const VelResultsField field = in.Field(fields[f]);
        std::printf("%s\"%s\": {\"block\": \"%s\", \"units\": \"%s\", \"components\": ",
                    f ? ", " : "", fields[f].c_str(), field.Block().c_str(), field.Units().c_str());
        PrintNames(field.ComponentNames());
        std::printf(", \"steps\": [");
        for (int step = 0; step < in.StepCount(); ++step) {
            std::vector<double> values;
            field.Read(step, values);
            std::printf(step ? ", " : "");
            PrintArray(values);
        }
        std::printf("]}");
    }
    std::printf("}}\n");
    return 0;
}

// ---- dump-bulk -------------------------------------------------------------------------------

// Every drawer of every distribution: its serialization, shape and values read into caller
// buffers, as a list in the order of the distributions and their drawers.
void DumpDrawer(const VelDistributionRef& distribution, const VelDrawerID& id) {
    const VelDrawerDescription description = VelDrawerRef(id).Description();
    VelTransfer transfer(distribution);
    transfer.SetRead().SetDrawer(id).SetBufferPadding(false).SetDims(description.Compartment());
    transfer.SetSerialization(description.ReadSerialization()).CheckView();
    std::vector<std::vector<char>> buffers(VelTransfer::BufferCount());
    for (int e = 0; e < VelTransfer::BufferCount(); ++e) {
        buffers[size_t(e)].resize(size_t(transfer.RequiredBufferSize(e)));
        if (!buffers[size_t(e)].empty())
            transfer.SetBuffer(e, buffers[size_t(e)].data(), transfer.RequiredBufferSize(e));
    }
    transfer.ExecRead();
    transfer.RelinquishBuffers();
    std::printf("{\"serialization\": %d, \"shape\": ", int(description.Serialization()));
    PrintArray(&description.Sizes()[0], size_t(description.Sizes().Size()));
    std::printf(", \"buffers\": [");
    const VelTypeKey mainKey = distribution.RangeType().TypeKey();
    for (int e = 0; e < VelTransfer::BufferCount(); ++e) {
        const VelTypeKey key = e == VelbufMain ? mainKey : description.DataKeys()[e];
        const std::vector<char>& b = buffers[size_t(e)];
        std::printf(e ? ", " : "");
        if (b.empty()) {
            std::printf("[]");
        } else if (key == VelTypeKeyDouble) {
            PrintArray(reinterpret_cast<const double*>(b.data()), b.size() / 8);
        } else if (key == VelTypeKeyFloat) {
            PrintArray(reinterpret_cast<const float*>(b.data()), b.size() / 4);
        } else if (key == VelTypeKeyBool) {
            PrintArray(reinterpret_cast<const unsigned char*>(b.data()), b.size());
        } else {
            PrintArray(reinterpret_cast<const int*>(b.data()), b.size() / 4);
        }
    }
    std::printf("]}");
}

int DumpBulk(const char* path) {
    const VelContextID id = VelManager::OpenContext(path, hdf_File::OpenFlagsReadOnly, 1);
    if (id.IsNull()) return 1;
    const VelArray<VelDistributionID> distributions = VelContextRef(id).Distributions();
    std::printf("[");
    for (int d = 0; d < distributions.Size(); ++d) {
        const VelDistributionRef distribution(distributions[d]);
        const VelArray<VelDrawerID> drawers = distribution.Drawers();
        for (int k = 0; k < drawers.Size(); ++k) {
            std::printf(d || k ? ", " : "");
            DumpDrawer(distribution, drawers[k]);
        }
    }
    std::printf("]\n");
    VelManager::CloseContext(id);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s write-bulk|write-results|dump-results|dump-bulk FILE\n",
                     argv[0]);
        return 2;
    }
    int modules = 0;
    UTI_VelDynamicAPI_initialize(modules);
    const std::string command = argv[1];
    int status = 2;
    if (command == "write-bulk") status = WriteBulk(argv[2]);
    if (command == "write-results") status = WriteResults(argv[2]);
    if (command == "dump-results") status = DumpResults(argv[2]);
    if (command == "dump-bulk") status = DumpBulk(argv[2]);
    UTI_VelDynamicAPI_finalize(modules);
    return status;
}
