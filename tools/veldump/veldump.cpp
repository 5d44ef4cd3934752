// veldump [-v] [-d NAME] [--json] FILE: prints what a database file holds.
//
//   (no option)  the signature block, every collection with its CSets, every distribution with
//                its drawers, every DSet, the record views and the results layer's names
//   -v           values as well: CSets' members, drawers' values under their CSets' members,
//                records' members by name, association pairs
//   -d NAME      one object, named as veldump prints it: c3, c3/5, d2, d2/0, s1, a view's name,
//                or "results"
//   --json       the same as JSON
//
// The library runs with VelThrowOnFailure: a damaged file gives the library's report and a
// message naming what is wrong on standard error, and exit status 1.  Usage errors give 2.
#include <vel/vel.h>

#include <cstdio>
#include <exception>
#include <iostream>
#include <string>

#include "VelDumpScanner.h"
#include "VelDumpValue.h"

namespace {

struct Options {
    bool values = false;
    bool json = false;
    std::string object;
    std::string file;
};

bool ParseOptions(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "-v") {
            options.values = true;
        } else if (arg == "--json") {
            options.json = true;
        } else if (arg == "-d" && i + 1 < argc) {
            options.object = argv[++i];
        } else if (arg.size() > 1 && arg[0] == '-') {
            return false;
        } else if (options.file.empty()) {
            options.file = arg;
        } else {
            return false;
        }
    }
    return !options.file.empty();
}

// The file's name without its folder: the output does not depend on where the file lies.
std::string BaseName(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

VelDumpValue Results(const std::string& path, bool withValues) {
    const VelResultsReader reader = VelResultsReader::Open(path);
    VelDumpValue out = VelDumpValue::MakeObject();
    out.Add("nodes", reader.NodeCount());
    out.Add("steps", reader.StepCount());
    if (withValues) {
        VelDumpValue& times = out.Add("times", VelDumpValue::MakeArray());
        for (double t : reader.Times()) times.Push(VelDumpValue::MakeDouble(t));
    }
    VelDumpValue& blocks = out.Add("element blocks", VelDumpValue::MakeArray());
    for (const VelResultsBlock& block : reader.ElementBlocks()) {
        VelDumpValue& entry = blocks.Push(VelDumpValue::MakeObject());
        entry.Add("block", block.name);
        entry.Add("cell type", VelCellTypeName(block.cellType));
        entry.Add("elements", block.count);
    }
    VelDumpValue& nodeSets = out.Add("node sets", VelDumpValue::MakeArray());
    for (const std::string& name : reader.NodeSetNames()) {
        VelDumpValue& entry = nodeSets.Push(VelDumpValue::MakeObject());
        entry.Add("node set", name);
        entry.Add("size", static_cast<int64_t>(reader.NodeSet(name).size()));
    }
    VelDumpValue& elementSets = out.Add("element sets", VelDumpValue::MakeArray());
    for (const std::string& name : reader.ElementSetNames()) {
        const VelResultsElementSet set = reader.ElementSet(name);
        VelDumpValue& entry = elementSets.Push(VelDumpValue::MakeObject());
        entry.Add("element set", name);
        entry.Add("block", set.block);
        entry.Add("size", static_cast<int64_t>(set.ids.size()));
    }
    VelDumpValue& fields = out.Add("fields", VelDumpValue::MakeArray());
    for (const std::string& name : reader.FieldNames()) {
        const VelResultsField field = reader.Field(name);
        VelDumpValue& entry = fields.Push(VelDumpValue::MakeObject());
        entry.Add("field", name);
        const bool nodal = field.Location() == VelResultsLocation::Node;
        entry.Add("location", nodal ? "nodes" : "elements of " + field.Block());
        VelDumpValue& components = entry.Add("components", VelDumpValue::MakeArray());
        for (const std::string& c : field.ComponentNames())
            components.Push(VelDumpValue::MakeString(c));
        entry.Add("units", field.Units());
    }
    return out;
}

// Closes the context on every way out, a thrown failure included.
class OpenedContext {
public:
    explicit OpenedContext(const VelContextID& id) : m_id(id) {}
    OpenedContext(const OpenedContext&) = delete;
    OpenedContext& operator=(const OpenedContext&) = delete;
    ~OpenedContext() {
        try {
            Close();
        } catch (const VelFailure&) {
            // Reported already; the failed context is given up.
        }
    }
    void Close() {
        if (m_id.IsNull()) return;
        const VelContextID id = m_id;
        m_id = VelContextID();
        VelManager::CloseContext(id);
    }

private:
    VelContextID m_id;
};

// Everything, or the one object asked for, of a file that has a signature block.
int Dump(const Options& options, VelDumpValue& out) {
    VelVersion version;
    version.Create(options.file.c_str());
    const VelContextID id = VelManager::OpenContext(
        options.file.c_str(), hdf_File::OpenFlagsReadOnly, version.SchemaVersion());
    if (id.IsNull()) {
        std::fprintf(stderr,
                     "veldump: %s cannot be opened: HDF5 cannot read the file behind its "
                     "signature block (a truncated or damaged file), or the block names other "
                     "versions than this library's\n",
                     options.file.c_str());
        return 1;
    }
    OpenedContext context(id);
    bool hasResults = false;
    bool found = true;
    {
        const VelDumpScanner scanner(id, options.values);
        hasResults = scanner.HasResults();
        if (options.object.empty()) {
            out.Add("file", BaseName(options.file));
            out.Add("signature", scanner.Signature(options.file));
            out.Add("collections", scanner.Collections());
            out.Add("distributions", scanner.Distributions());
            out.Add("DSets", scanner.DSets());
            out.Add("views", scanner.Views());
        } else if (options.object != "results") {
            found = scanner.Object(options.object, out);
        }
    }
    context.Close();
    const bool wantResults = options.object.empty() || options.object == "results";
    if (wantResults && hasResults) {
        if (options.object.empty())
            out.Add("results", Results(options.file, options.values));
        else
            out = Results(options.file, options.values);
    }
    if (!found || (options.object == "results" && !hasResults)) {
        std::fprintf(stderr, "veldump: %s: no object \"%s\"\n", options.file.c_str(),
                     options.object.c_str());
        return 1;
    }
    return 0;
}

// A file the library would not open as a database at all, said in the user's terms.
const char* NotADatabase(const std::string& path) {
    VelVersion version;
    if (!version.Create(path.c_str()))
        return "cannot be read, or is shorter than a signature block (512 bytes)";
    if (!version.IsOrbFile()) return "is not a database file: its first bytes are no signature";
    return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!ParseOptions(argc, argv, options)) {
        std::fprintf(stderr, "usage: veldump [-v] [-d NAME] [--json] FILE\n");
        return 2;
    }
    if (const char* reason = NotADatabase(options.file)) {
        std::fprintf(stderr, "veldump: %s %s\n", options.file.c_str(), reason);
        return 1;
    }
    VelAssert::SetFailurePolicy(VelThrowOnFailure);
    int modules = 0;
    UTI_VelDynamicAPI_initialize(modules);
    int status = 0;
    VelDumpValue out = VelDumpValue::MakeObject();
    try {
        status = Dump(options, out);
    } catch (const VelFailure& failure) {
        std::fprintf(stderr, "veldump: %s is refused: %s\n", options.file.c_str(), failure.what());
        status = 1;
    } catch (const hdf_Exception& failure) {
        // The file's own structure read through the storage layer (the view groups).
        std::fprintf(stderr, "veldump: %s is refused: %s\n", options.file.c_str(), failure.what());
        status = 1;
    }
    UTI_VelDynamicAPI_finalize(modules);
    if (status != 0) return status;
    if (options.json) {
        out.WriteJson(std::cout);
        std::cout << '\n';
    } else {
        out.WriteText(std::cout);
    }
    return std::cout.good() ? 0 : 1;
}
