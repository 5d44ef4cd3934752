#ifndef VEL_RESULTS_VELRESULTSREADER_H
#define VEL_RESULTS_VELRESULTSREADER_H

#include <memory>
#include <string>
#include <vector>
#ifdef VEL_PARALLEL
#include <mpi.h>
#endif

#include "vel/VelExport.h"
#include "vel/results/VelCellType.h"
#include "vel/results/VelResultsField.h"

class VelResultsFile;

// An element block as the file holds it.
struct VEL_API VelResultsBlock {
    std::string name;
    VelCellType cellType = VelCellType::Vertex;
    int count = 0;
    int nodesPerElement = 0;
    // count * nodesPerElement node numbers, element after element.
    std::vector<int> connectivity;
};

// An element set: element numbers within its block, in the set's order.
struct VEL_API VelResultsElementSet {
    std::string block;
    std::vector<int> ids;
};

// Reads a results file by name (see VelResultsWriter).  Opening reads the records that name what
// the file holds and checks them against the data they describe: a record that contradicts its
// data (a field naming a missing distribution, a set larger than its collection, a component
// count the field's values do not have) is refused with a message, and a database without
// results is refused with a message saying so.  Refusals and mistakes (an unknown name, a step
// out of range) are validation failures: they stop the process, or throw VelFailure under
// VelThrowOnFailure (vel/core/VelAssert.h).
//
// The reader starts the library for as long as it lives; the file is open read-only.
class VEL_API VelResultsReader {
public:
    static VelResultsReader Open(const std::string& path);
#ifdef VEL_PARALLEL
    // The file read by every rank of `comm` (built with VEL_PARALLEL).  Opening and closing are
    // collective, and so is every read of values (fields, coordinates, blocks, sets, times):
    // every rank makes it, in the same order; VelResultsField::ReadRows lets each read its own
    // rows.  Names and counts are read by each rank on its own.
    static VelResultsReader OpenParallel(const std::string& path, MPI_Comm comm);
#endif

    VelResultsReader(VelResultsReader&&) noexcept;
    VelResultsReader& operator=(VelResultsReader&&) noexcept;
    ~VelResultsReader();

    const std::string& Path() const;

    int StepCount() const;
    double Time(int step) const;
    std::vector<double> Times() const;

    int NodeCount() const;
    // 3 coordinates per node, node after node.
    std::vector<double> Coordinates() const;
    std::vector<VelResultsBlock> ElementBlocks() const;

    std::vector<std::string> NodeSetNames() const;
    std::vector<int> NodeSet(const std::string& name) const;
    std::vector<std::string> ElementSetNames() const;
    VelResultsElementSet ElementSet(const std::string& name) const;

    std::vector<std::string> FieldNames() const;
    VelResultsField Field(const std::string& name) const;

    // Writes an XDMF file at `xmfPath` that ParaView and other XDMF readers open: the mesh, its
    // element blocks and every field at every step as a temporal collection.  The XDMF file
    // points into this database's datasets; values whose datasets do not have the shape XDMF
    // needs (a field's step is stored with a leading step dimension of 1; several blocks form
    // one mixed topology) are reached through HDF5 virtual datasets in a small companion file,
    // `xmfPath` + ".h5", which maps them onto the database without copying a value.  Both files
    // name the database by its path relative to the XDMF file's folder.
    void WriteXdmf(const std::string& xmfPath) const;

    void Close();

private:
    explicit VelResultsReader(std::shared_ptr<VelResultsFile> file);
    VelResultsFile& File() const;

    std::shared_ptr<VelResultsFile> m_file;
};

#endif
