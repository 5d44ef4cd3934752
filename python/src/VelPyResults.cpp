// The results layer in Python: VelResultsReader, VelResultsWriter and VelResultsField, with
// values in NumPy arrays.  A field's reads fill arrays NumPy allocated (the array is the transfer's
// caller buffer); writes hand the caller's array, made C-contiguous float64 when it is not, to
// the library as it is.
#include <memory>

#include "VelPy.h"

namespace {

const char* LocationName(VelResultsLocation location) {
    return location == VelResultsLocation::Node ? "node" : "element";
}

VelCellType CellTypeNamed(const std::string& name) {
    VelCellType type;
    if (!VelCellTypeFromName(name, type)) VelPyFail("unknown cell type \"" + name + "\"");
    return type;
}

py::array_t<double> NewRows(size_t rows, int columns) {
    return py::array_t<double>({py::ssize_t(rows), py::ssize_t(columns)});
}

// One results file open for reading or writing; fields keep it alive.
class ResultsFile {
public:
    static std::shared_ptr<ResultsFile> OpenReader(const std::string& path) {
        auto file = std::make_shared<ResultsFile>();
        file->m_reader.reset(
            new VelResultsReader(VelPyWithoutGil([&] { return VelResultsReader::Open(path); })));
        return file;
    }
    static std::shared_ptr<ResultsFile> OpenWriter(const std::string& path, bool create) {
        auto file = std::make_shared<ResultsFile>();
        file->m_writer.reset(new VelResultsWriter(VelPyWithoutGil([&] {
            return create ? VelResultsWriter::Create(path) : VelResultsWriter::Open(path);
        })));
        return file;
    }

    // A failure while closing at garbage collection has nowhere to go but the report the
    // library already printed.
    ~ResultsFile() {
        try {
            Close();
        } catch (const VelFailure&) {
        }
    }

    void Close() {
        VelPyWithoutGil([&] {
            if (m_writer) m_writer->Close();
            if (m_reader) m_reader->Close();
        });
    }

    VelResultsReader& Reader() {
        if (!m_reader) VelPyFail("the file is open for writing: read it after closing it");
        return *m_reader;
    }
    VelResultsWriter& Writer() {
        if (!m_writer) VelPyFail("the file is open for reading only");
        return *m_writer;
    }
    bool IsWriter() const { return static_cast<bool>(m_writer); }
    int StepCount() {
        VelPyLocked lock;
        return m_writer ? m_writer->StepCount() : m_reader->StepCount();
    }

private:
    std::unique_ptr<VelResultsReader> m_reader;
    std::unique_ptr<VelResultsWriter> m_writer;
};

// A field with the file it belongs to.
struct Field {
    std::shared_ptr<ResultsFile> file;
    VelResultsField field;

    size_t SetSize(const std::string& name) {
        VelPyLocked lock;
        VelResultsReader& reader = file->Reader();
        if (field.Location() == VelResultsLocation::Node) return reader.NodeSet(name).size();
        return reader.ElementSet(name).ids.size();
    }

    // Reads into `out` when given: a writeable C-contiguous float64 array of the read's shape
    // (never converted, since a converted copy would not be the caller's array).
    // The set a read names: a node set for a nodal field, an element set for an element field.
    py::object SetOf(const py::object& nodeSet, const py::object& elementSet) const {
        const bool nodal = field.Location() == VelResultsLocation::Node;
        const py::object& wrong = nodal ? elementSet : nodeSet;
        if (!wrong.is_none())
            VelPyFail("\"" + field.Name() + "\" is " + (nodal ? "a nodal" : "an element") +
                      " field: name its rows by " + (nodal ? "node_set" : "element_set"));
        return nodal ? nodeSet : elementSet;
    }

    py::array_t<double> Read(int step, const py::object& nodeSet, const py::object& elementSet,
                             const py::object& out) {
        const py::object setName = SetOf(nodeSet, elementSet);
        const std::string name = setName.is_none() ? std::string() : setName.cast<std::string>();
        const size_t rows = setName.is_none() ? size_t(field.EntityCount()) : SetSize(name);
        py::array_t<double> values =
            out.is_none() ? NewRows(rows, field.ComponentCount()) : Destination(out, rows);
        double* data = values.mutable_data();
        const size_t count = size_t(values.size());
        VelPyWithoutGil([&] {
            if (setName.is_none())
                field.Read(step, data, count);
            else
                field.Read(step, name, data, count);
        });
        return values;
    }

    py::array_t<double> Destination(const py::object& out, size_t rows) const {
        using Exact = py::array_t<double, py::array::c_style>;
        const bool exact = py::isinstance<Exact>(out);
        const py::array array = exact ? out.cast<py::array>() : py::array();
        const bool fits = exact && array.writeable() && array.ndim() == 2 &&
                          size_t(array.shape(0)) == rows &&
                          array.shape(1) == field.ComponentCount();
        if (!fits)
            VelPyFail("out must be a writeable C-contiguous float64 array of shape (" +
                      std::to_string(rows) + ", " + std::to_string(field.ComponentCount()) + ")");
        return py::reinterpret_borrow<py::array_t<double>>(out);
    }

    py::array_t<double> History(int entity) {
        py::array_t<double> out = NewRows(size_t(file->StepCount()), field.ComponentCount());
        double* data = out.mutable_data();
        const size_t count = size_t(out.size());
        VelPyWithoutGil([&] { field.History(entity, data, count); });
        return out;
    }

    // (entities, components) rows, or one value per entity for a one-component field.
    void Write(int step, const py::handle& values) {
        const auto array = VelPyInputArray<double>(values, "field values");
        const py::ssize_t rows = field.EntityCount(), width = field.ComponentCount();
        const bool rowsShape =
            array.ndim() == 2 && array.shape(0) == rows && array.shape(1) == width;
        const bool flatShape = array.ndim() == 1 && width == 1 && array.shape(0) == rows;
        if (!rowsShape && !flatShape)
            VelPyFail("values of \"" + field.Name() + "\" must have the shape (" +
                      std::to_string(rows) + ", " + std::to_string(width) + ")");
        const double* data = array.data();
        const size_t count = size_t(array.size());
        VelPyWithoutGil([&] { field.Write(step, data, count); });
    }
};

py::dict BlockDict(VelResultsBlock&& block) {
    py::dict d;
    d["name"] = block.name;
    d["cell_type"] = VelCellTypeName(block.cellType);
    d["connectivity"] = VelPyArrayOwning(std::move(block.connectivity),
                                         {py::ssize_t(block.count), block.nodesPerElement});
    return d;
}

std::vector<int> IdsOf(const py::handle& ids, const char* what) {
    const auto array = VelPyIndexArray(ids, what, 1);
    return std::vector<int>(array.data(), array.data() + array.size());
}

void BindField(py::module_& m) {
    py::class_<Field>(m, "Field", "A named field of a results file")
        .def_property_readonly("name", [](Field& f) { return f.field.Name(); })
        .def_property_readonly("location",
                               [](Field& f) { return LocationName(f.field.Location()); })
        .def_property_readonly("block", [](Field& f) { return f.field.Block(); })
        .def_property_readonly("components", [](Field& f) { return f.field.ComponentNames(); })
        .def_property_readonly("units", [](Field& f) { return f.field.Units(); })
        .def_property_readonly("entity_count", [](Field& f) { return f.field.EntityCount(); })
        .def("read", &Field::Read, py::arg("step"), py::kw_only(), py::arg("node_set") = py::none(),
             py::arg("element_set") = py::none(), py::arg("out") = py::none(),
             "The values of one step as an (entities, components) float64 array; with "
             "`node_set` (a nodal field) or `element_set` (an element field) only the rows of "
             "that set, in the set's order; with `out`, into that array.")
        .def("history", &Field::History, py::arg("entity"),
             "One entity's row at every step: a (steps, components) float64 array.")
        .def("write", &Field::Write, py::arg("step"), py::arg("values"),
             "Writes one step from an (entities, components) array.");
}

using FileClass = py::class_<ResultsFile, std::shared_ptr<ResultsFile>>;

void BindReader(FileClass& cls) {
    using File = std::shared_ptr<ResultsFile>;
    cls.def_static("open_reader", &ResultsFile::OpenReader, py::arg("path"))
        .def("close", &ResultsFile::Close)
        .def_property_readonly("step_count", &ResultsFile::StepCount)
        .def_property_readonly("times",
                               [](ResultsFile& f) {
                                   VelPyLocked lock;
                                   return VelPyArrayOwning(f.Reader().Times(),
                                                           {f.Reader().StepCount()});
                               })
        .def_property_readonly("node_count",
                               [](ResultsFile& f) {
                                   VelPyLocked lock;
                                   return f.IsWriter() ? f.Writer().NodeCount()
                                                       : f.Reader().NodeCount();
                               })
        .def_property_readonly("coordinates",
                               [](ResultsFile& f) {
                                   std::vector<double> xyz =
                                       VelPyWithoutGil([&] { return f.Reader().Coordinates(); });
                                   const py::ssize_t n = py::ssize_t(xyz.size() / 3);
                                   return VelPyArrayOwning(std::move(xyz), {n, 3});
                               })
        .def_property_readonly("element_blocks",
                               [](ResultsFile& f) {
                                   std::vector<VelResultsBlock> blocks =
                                       VelPyWithoutGil([&] { return f.Reader().ElementBlocks(); });
                                   py::list out;
                                   for (VelResultsBlock& b : blocks)
                                       out.append(BlockDict(std::move(b)));
                                   return out;
                               })
        .def_property_readonly("node_set_names",
                               [](ResultsFile& f) {
                                   VelPyLocked lock;
                                   return f.Reader().NodeSetNames();
                               })
        .def("node_set",
             [](ResultsFile& f, const std::string& name) {
                 std::vector<int> ids = VelPyWithoutGil([&] { return f.Reader().NodeSet(name); });
                 const py::ssize_t n = py::ssize_t(ids.size());
                 return VelPyArrayOwning(std::move(ids), {n});
             })
        .def_property_readonly("element_set_names",
                               [](ResultsFile& f) {
                                   VelPyLocked lock;
                                   return f.Reader().ElementSetNames();
                               })
        .def("element_set",
             [](ResultsFile& f, const std::string& name) {
                 VelResultsElementSet set =
                     VelPyWithoutGil([&] { return f.Reader().ElementSet(name); });
                 const py::ssize_t n = py::ssize_t(set.ids.size());
                 return py::make_tuple(set.block, VelPyArrayOwning(std::move(set.ids), {n}));
             })
        .def_property_readonly("field_names",
                               [](ResultsFile& f) {
                                   VelPyLocked lock;
                                   return f.Reader().FieldNames();
                               })
        .def("field",
             [](const File& f, const std::string& name) {
                 VelPyLocked lock;
                 return Field{f, f->IsWriter() ? f->Writer().Field(name) : f->Reader().Field(name)};
             })
        .def("write_xdmf", [](ResultsFile& f, const std::string& path) {
            VelPyWithoutGil([&] { f.Reader().WriteXdmf(path); });
        });
}

void BindWriter(FileClass& cls) {
    using File = std::shared_ptr<ResultsFile>;
    cls.def_static("create", [](const std::string& p) { return ResultsFile::OpenWriter(p, true); })
        .def_static("open_writer",
                    [](const std::string& p) { return ResultsFile::OpenWriter(p, false); })
        .def("checkpoint",
             [](ResultsFile& f) { VelPyWithoutGil([&] { f.Writer().Checkpoint(); }); })
        .def("add_nodes",
             [](ResultsFile& f, const py::handle& coordinates) {
                 const auto xyz = VelPyInputArray<double>(coordinates, "coordinates", 2);
                 if (xyz.shape(1) != 3) VelPyFail("coordinates must have the shape (nodes, 3)");
                 if (xyz.shape(0) > py::ssize_t(INT32_MAX)) VelPyFail("too many nodes");
                 const int count = int(xyz.shape(0));
                 const double* data = xyz.data();
                 VelPyWithoutGil([&] { f.Writer().AddNodes(count, data); });
             })
        .def("add_element_block",
             [](ResultsFile& f, const std::string& name, const std::string& cellType,
                const py::handle& connectivity) {
                 const VelCellType type = CellTypeNamed(cellType);
                 const auto c = VelPyIndexArray(connectivity, "connectivity", 2);
                 if (c.shape(1) != VelCellTypeNodeCount(type))
                     VelPyFail("connectivity of " + cellType + " elements must have " +
                               std::to_string(VelCellTypeNodeCount(type)) + " columns");
                 const int count = int(c.shape(0)), perElement = int(c.shape(1));
                 const int* data = c.data();
                 VelPyWithoutGil(
                     [&] { f.Writer().AddElementBlock(name, type, count, perElement, data); });
             })
        .def("add_node_set",
             [](ResultsFile& f, const std::string& name, const py::handle& ids) {
                 const std::vector<int> members = IdsOf(ids, "node set");
                 VelPyWithoutGil([&] { f.Writer().AddNodeSet(name, members); });
             })
        .def("add_element_set",
             [](ResultsFile& f, const std::string& name, const std::string& block,
                const py::handle& ids) {
                 const std::vector<int> members = IdsOf(ids, "element set");
                 VelPyWithoutGil([&] { f.Writer().AddElementSet(name, block, members); });
             })
        .def(
            "add_nodal_field",
            [](const File& f, const std::string& name, const std::vector<std::string>& components,
               const std::string& units) {
                VelPyLocked lock;
                return Field{f, f->Writer().AddNodalField(name, components, units)};
            },
            py::arg("name"), py::arg("components"), py::arg("units") = "")
        .def(
            "add_element_field",
            [](const File& f, const std::string& name, const std::string& block,
               const std::vector<std::string>& components, const std::string& units) {
                VelPyLocked lock;
                return Field{f, f->Writer().AddElementField(name, block, components, units)};
            },
            py::arg("name"), py::arg("block"), py::arg("components"), py::arg("units") = "")
        .def("add_step", [](ResultsFile& f, double time) {
            VelPyLocked lock;
            return f.Writer().AddStep(time);
        });
}

}  // namespace

void VelPyBindResults(py::module_& m) {
    BindField(m);
    FileClass cls(m, "ResultsFile", "A results file open for reading or for writing");
    BindReader(cls);
    BindWriter(cls);
}
