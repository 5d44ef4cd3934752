// The XDMF description of a results file: a temporal collection of one grid per step, each with
// the mesh's points, its cells and every field's values at that step.
//
// XDMF readers take a dataset whole, in the shape the XDMF item declares.  The coordinates and
// the connectivity of a single block are stored in exactly that shape and are named directly
// in the database.  A field's step is stored as 1 x rows x components, and several blocks form
// one "Mixed" topology (a cell-type code, for poly cells a node count, then the nodes, cell
// after cell), which the database does not hold as one array.  Those are HDF5 virtual datasets
// in a companion file: each maps its elements onto the database's own datasets, so that no
// value is copied.  Mixed cell codes and node counts come from datasets that hold no data at
// all: chunked, never written, their fill value is the code.
#include <hdf5.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "results/VelResultsFile.h"
#include "vel/core/VelAssert.h"
#include "vel/results/VelResultsReader.h"
#include "vel/transfer/VelDrawerRef.h"

namespace {

struct XdmfCell {
    const char* name;   // TopologyType of a grid of one block
    int mixedCode;      // its code in a Mixed topology
    bool hasNodeCount;  // Polyvertex and Polyline carry their node count in a Mixed topology
};

XdmfCell XdmfCellOf(VelCellType type) {
    switch (type) {
        case VelCellType::Vertex:
            return {"Polyvertex", 1, true};
        case VelCellType::Line2:
            return {"Polyline", 2, true};
        case VelCellType::Line3:
            return {"Edge_3", 34, false};
        case VelCellType::Tri3:
            return {"Triangle", 4, false};
        case VelCellType::Tri6:
            return {"Triangle_6", 36, false};
        case VelCellType::Quad4:
            return {"Quadrilateral", 5, false};
        case VelCellType::Quad8:
            return {"Quadrilateral_8", 37, false};
        case VelCellType::Quad9:
            return {"Quadrilateral_9", 35, false};
        case VelCellType::Tet4:
            return {"Tetrahedron", 6, false};
        case VelCellType::Tet10:
            return {"Tetrahedron_10", 38, false};
        case VelCellType::Pyramid5:
            return {"Pyramid", 7, false};
        case VelCellType::Pyramid13:
            return {"Pyramid_13", 39, false};
        case VelCellType::Wedge6:
            return {"Wedge", 8, false};
        case VelCellType::Wedge15:
            return {"Wedge_15", 40, false};
        case VelCellType::Wedge18:
            return {"Wedge_18", 41, false};
        case VelCellType::Hex8:
            return {"Hexahedron", 9, false};
        case VelCellType::Hex20:
            return {"Hexahedron_20", 48, false};
        case VelCellType::Hex27:
            return {"Hexahedron_27", 50, false};
    }
    return {"Polyvertex", 1, true};
}

const char* AttributeTypeOf(size_t components) {
    switch (components) {
        case 1:
            return "Scalar";
        case 3:
            return "Vector";
        case 6:
            return "Tensor6";
        case 9:
            return "Tensor";
        default:
            return "Matrix";
    }
}

std::string XmlEscaped(const std::string& text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

// The companion file of virtual datasets, written through the HDF5 C API.  Every call's result
// is checked; a failure names the call and ends the writing of the XDMF file.
class Companion {
public:
    Companion(const std::string& path, const VelResultsFile& file) : m_file(file) {
        m_id = H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
        Check(m_id, "cannot create " + path);
    }
    ~Companion() {
        if (m_id >= 0) H5Fclose(m_id);
    }
    Companion(const Companion&) = delete;
    Companion& operator=(const Companion&) = delete;

    // A group for the datasets to come, made once.
    void Group(const std::string& path) {
        const hid_t group = H5Gcreate2(m_id, path.c_str(), H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
        Check(group, "cannot create group " + path);
        H5Gclose(group);
    }

    // A dataset of `count` ints that holds no data: every element reads as `value`.
    void Constant(const std::string& path, hsize_t count, int value) {
        const hid_t space = H5Screate_simple(1, &count, nullptr);
        const hid_t dcpl = H5Pcreate(H5P_DATASET_CREATE);
        const hsize_t chunk = std::min<hsize_t>(count, 65536);
        H5Pset_chunk(dcpl, 1, &chunk);
        H5Pset_fill_value(dcpl, H5T_NATIVE_INT, &value);
        H5Pset_fill_time(dcpl, H5D_FILL_TIME_IFSET);
        const hid_t dataset =
            H5Dcreate2(m_id, path.c_str(), H5T_NATIVE_INT, space, H5P_DEFAULT, dcpl, H5P_DEFAULT);
        H5Pclose(dcpl);
        H5Sclose(space);
        Check(dataset, "cannot create dataset " + path);
        H5Dclose(dataset);
    }

    // One piece of a virtual dataset: the virtual elements selected by `start`, `stride`,
    // `count`, `block` (per dimension) take, in order, every element of `source` in `sourceFile`
    // ("." for this file), a dataset of `extents`.
    struct Piece {
        std::vector<hsize_t> start, stride, count, block;
        std::string sourceFile;
        std::string source;
        std::vector<hsize_t> extents;
    };

    // A virtual dataset of `extents`, elements of `type`, `fill` where no piece maps.
    void Virtual(const std::string& path, const std::vector<hsize_t>& extents, hid_t type,
                 const void* fill, const std::vector<Piece>& pieces) {
        const hid_t space =
            H5Screate_simple(static_cast<int>(extents.size()), extents.data(), nullptr);
        const hid_t dcpl = H5Pcreate(H5P_DATASET_CREATE);
        H5Pset_fill_value(dcpl, type, fill);
        for (const Piece& piece : pieces) {
            H5Sselect_hyperslab(space, H5S_SELECT_SET, piece.start.data(), piece.stride.data(),
                                piece.count.data(), piece.block.data());
            const hid_t sourceSpace = H5Screate_simple(static_cast<int>(piece.extents.size()),
                                                       piece.extents.data(), nullptr);
            const herr_t status = H5Pset_virtual(dcpl, space, piece.sourceFile.c_str(),
                                                 piece.source.c_str(), sourceSpace);
            H5Sclose(sourceSpace);
            Check(status, "cannot map " + piece.source + " into " + path);
        }
        H5Sselect_all(space);
        const hid_t dataset =
            H5Dcreate2(m_id, path.c_str(), type, space, H5P_DEFAULT, dcpl, H5P_DEFAULT);
        H5Pclose(dcpl);
        H5Sclose(space);
        Check(dataset, "cannot create virtual dataset " + path);
        H5Dclose(dataset);
    }

private:
    void Check(hid_t status, const std::string& what) const {
        if (status < 0) m_file.Fail("VelResultsReader::WriteXdmf", what);
    }

    const VelResultsFile& m_file;
    hid_t m_id = -1;
};

}  // namespace

void VelResultsReader::WriteXdmf(const std::string& xmfPath) const {
    const VelResultsFile& file = File();
    const char* const who = "VelResultsReader::WriteXdmf";
    file.RequireOpen(who);
    if (file.NodeCount() == 0) file.Fail(who, "\"" + file.Path() + "\" has no mesh to describe");

    namespace fs = std::filesystem;
    const fs::path xmf = fs::absolute(xmfPath);
    const fs::path folder = xmf.parent_path();
    const std::string database = fs::relative(fs::absolute(file.Path()), folder).generic_string();
    const std::string companionPath = xmf.string() + ".h5";
    const std::string companion = xmf.filename().string() + ".h5";
    if (database.find(':') != std::string::npos || companion.find(':') != std::string::npos)
        file.Fail(who, "XDMF names datasets as file:path; \"" + database + "\" holds a ':'");

    const int nodes = file.NodeCount();
    const std::vector<VelResultsFile::Block>& blocks = file.Blocks();
    std::vector<hsize_t> firstCell(blocks.size() + 1, 0);
    for (size_t b = 0; b < blocks.size(); ++b)
        firstCell[b + 1] = firstCell[b] + static_cast<hsize_t>(blocks[b].count);
    const hsize_t cells = firstCell.back();

    Companion side(companionPath, file);
    std::ostringstream topology;
    if (blocks.size() == 1) {
        const VelResultsFile::Block& block = blocks[0];
        const XdmfCell cell = XdmfCellOf(block.cellType);
        topology << "<Topology TopologyType=\"" << cell.name << "\" NumberOfElements=\""
                 << block.count << "\"";
        if (cell.hasNodeCount) topology << " NodesPerElement=\"" << block.nodesPerElement << "\"";
        topology << ">\n        <DataItem DataType=\"Int\" Precision=\"4\" Format=\"HDF\" "
                 << "Dimensions=\"" << block.count << " " << block.nodesPerElement << "\">"
                 << database << ":" << file.ConnectivityPath(0) << "</DataItem>\n      </Topology>";
    } else if (blocks.size() > 1) {
        side.Group("/cells");
        std::vector<Companion::Piece> pieces;
        hsize_t length = 0;
        for (size_t b = 0; b < blocks.size(); ++b) {
            const VelResultsFile::Block& block = blocks[b];
            const XdmfCell cell = XdmfCellOf(block.cellType);
            const hsize_t width = 1 + (cell.hasNodeCount ? 1 : 0) + block.nodesPerElement;
            const hsize_t count = static_cast<hsize_t>(block.count);
            const std::string codes = "/cells/codes" + std::to_string(b);
            side.Constant(codes, count, cell.mixedCode);
            pieces.push_back({{length}, {width}, {count}, {1}, ".", codes, {count}});
            if (cell.hasNodeCount) {
                const std::string counts = "/cells/counts" + std::to_string(b);
                side.Constant(counts, count, block.nodesPerElement);
                pieces.push_back({{length + 1}, {width}, {count}, {1}, ".", counts, {count}});
            }
            pieces.push_back({{length + width - block.nodesPerElement},
                              {width},
                              {count},
                              {static_cast<hsize_t>(block.nodesPerElement)},
                              database,
                              file.ConnectivityPath(static_cast<int>(b)),
                              {count, static_cast<hsize_t>(block.nodesPerElement)}});
            length += width * count;
        }
        const int noCell = -1;
        side.Virtual("/cells/mixed", {length}, H5T_NATIVE_INT, &noCell, pieces);
        topology << "<Topology TopologyType=\"Mixed\" NumberOfElements=\"" << cells << "\">\n"
                 << "        <DataItem DataType=\"Int\" Precision=\"4\" Format=\"HDF\" "
                 << "Dimensions=\"" << length << "\">" << companion << ":/cells/mixed"
                 << "</DataItem>\n      </Topology>";
    }
    std::ostringstream geometry;
    geometry << "<Geometry GeometryType=\"XYZ\">\n        <DataItem DataType=\"Float\" "
             << "Precision=\"8\" Format=\"HDF\" Dimensions=\"" << nodes << " 3\">" << database
             << ":" << file.CoordinatesPath() << "</DataItem>\n      </Geometry>";

    // Each field's values at each step it has them: a virtual dataset over the step's drawer.
    const int steps = file.StepCount();
    const std::vector<VelResultsFile::Field>& fields = file.Fields();
    std::vector<std::vector<std::string>> attributes(static_cast<size_t>(steps));
    if (!fields.empty()) side.Group("/fields");
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (size_t f = 0; f < fields.size(); ++f) {
        const VelResultsFile::Field& field = fields[f];
        const std::vector<VelDrawerID> drawers = file.StepDrawers(field);
        const hsize_t comps = field.components.size();
        const bool nodal = field.block < 0;
        const hsize_t rows = nodal ? static_cast<hsize_t>(nodes) : cells;
        const hsize_t first = nodal ? 0 : firstCell[static_cast<size_t>(field.block)];
        const hsize_t own = static_cast<hsize_t>(file.EntityCount(field));
        const std::string group = "/fields/" + std::to_string(f);
        side.Group(group);
        for (int s = 0; s < steps; ++s) {
            if (drawers[static_cast<size_t>(s)].IsNull()) continue;
            const std::string path = group + "/" + std::to_string(s);
            side.Virtual(path, {rows, comps}, H5T_NATIVE_DOUBLE, &nan,
                         {{{first, 0},
                           {1, 1},
                           {1, 1},
                           {own, comps},
                           database,
                           VelDrawerRef(drawers[static_cast<size_t>(s)]).ValuesPath().c_str(),
                           {1, own, comps}}});
            std::ostringstream attribute;
            attribute << "<Attribute Name=\"" << XmlEscaped(field.name) << "\" AttributeType=\""
                      << AttributeTypeOf(comps) << "\" Center=\"" << (nodal ? "Node" : "Cell")
                      << "\">\n        <DataItem DataType=\"Float\" Precision=\"8\" "
                      << "Format=\"HDF\" Dimensions=\"" << rows << " " << comps << "\">"
                      << companion << ":" << path << "</DataItem>\n      </Attribute>";
            attributes[static_cast<size_t>(s)].push_back(attribute.str());
        }
    }

    std::ofstream out(xmf);
    if (!out) file.Fail(who, "cannot write \"" + xmf.string() + "\"");
    out << "<?xml version=\"1.0\" ?>\n<Xdmf Version=\"3.0\">\n  <Domain>\n";
    const std::vector<double>& times = file.Times();
    if (steps == 0) {
        out << "    <Grid Name=\"mesh\" GridType=\"Uniform\">\n      " << topology.str()
            << "\n      " << geometry.str() << "\n    </Grid>\n";
    } else {
        out << "    <Grid Name=\"steps\" GridType=\"Collection\" CollectionType=\"Temporal\">\n";
        for (int s = 0; s < steps; ++s) {
            // The shortest text that reads back as the same double.
            char time[32];
            const double value = times[static_cast<size_t>(s)];
            for (int digits = 15; digits <= 17; ++digits) {
                std::snprintf(time, sizeof time, "%.*g", digits, value);
                if (std::strtod(time, nullptr) == value) break;
            }
            out << "    <Grid Name=\"step " << s << "\" GridType=\"Uniform\">\n"
                << "      <Time Value=\"" << time << "\"/>\n      " << topology.str() << "\n      "
                << geometry.str() << "\n";
            for (const std::string& attribute : attributes[static_cast<size_t>(s)])
                out << "      " << attribute << "\n";
            out << "    </Grid>\n";
        }
        out << "    </Grid>\n";
    }
    out << "  </Domain>\n</Xdmf>\n";
    out.close();
    if (!out) file.Fail(who, "cannot write \"" + xmf.string() + "\"");
}
