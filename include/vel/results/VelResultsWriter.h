#ifndef VEL_RESULTS_VELRESULTSWRITER_H
#define VEL_RESULTS_VELRESULTSWRITER_H

#include <memory>
#include <string>
#include <vector>
#ifdef VEL_PARALLEL
#include <mpi.h>
#endif

#include "vel/VelExport.h"
#include "vel/context/VelCompression.h"
#include "vel/results/VelCellType.h"
#include "vel/results/VelResultsField.h"

class VelResultsFile;

// Writes a results file: a mesh (nodes with coordinates, element blocks), node and element sets,
// fields by name with named components, and steps with their times.  The names and what each
// object is are stored as typed records of the form "VelResults" (a generic reader sees them as
// ordinary records); the values go to collections, CSets and distributions, one drawer per field
// and step.
//
//     VelResultsWriter out = VelResultsWriter::Create("plate.vel");
//     out.AddNodes(count, xyz);
//     out.AddNodeSet("clamped", ids);
//     VelResultsField u = out.AddNodalField("displacement", {"x", "y", "z"});
//     for (...) { int step = out.AddStep(time); u.Write(step, values); out.Checkpoint(); }
//
// The writer starts the library for as long as it lives (nested in any start of the caller's).
// New names reach the file at Checkpoint() and Close(): a checkpoint publishes them in a new
// view of the results form holding every record of the one before, then commits the file
// (VelManager::FlushContext), so that a writer killed at any later moment leaves a file that
// opens with every step written so far.
// Mistakes (a name used twice, ids out of range, a count that does not fit) are validation
// failures with a message naming the object.
class VEL_API VelResultsWriter {
public:
    // A new results file at `path`, replacing any file there.
    static VelResultsWriter Create(const std::string& path);
    // An existing results file, to add steps, fields and sets to.
    static VelResultsWriter Open(const std::string& path);
#ifdef VEL_PARALLEL
    // A new results file written by every rank of `comm` together (built with VEL_PARALLEL).
    // Every call on the writer and its fields is collective: every rank makes it, in the same
    // order, with the same arguments, except that each rank passes its own rows to the row
    // forms (AddNodes and AddElementBlock below, VelResultsField::WriteRows).  The ranks' rows,
    // in rank order, follow one another and cover every node or element, each rank at least
    // one row; each field's step is then one dataset, the one a single process writes.  A
    // checkpoint is collective too; a job killed between checkpoints leaves a file that opens
    // (in one process or many) with every step of its last checkpoint.  docs/parallel.md.
    static VelResultsWriter CreateParallel(const std::string& path, MPI_Comm comm);
#endif

    VelResultsWriter(VelResultsWriter&&) noexcept;
    VelResultsWriter& operator=(VelResultsWriter&&) noexcept;
    ~VelResultsWriter();

    // The mesh's nodes, once: `count` nodes of 3 coordinates each (x, y, z, node after node).
    void AddNodes(int count, const double* coordinates);
    void AddNodes(const std::vector<double>& coordinates);
    // Nodes `first` to `first + rows - 1` of `count`, with their coordinates: a rank's own rows
    // in a parallel file; all of them in a file of one process.
    void AddNodes(int count, int first, int rows, const double* coordinates);
    int NodeCount() const;

    // A block of `count` elements of one cell type, each listing `nodesPerElement` node numbers
    // (the type's node count) in `connectivity`, element after element.
    void AddElementBlock(const std::string& name, VelCellType cellType, int count,
                         int nodesPerElement, const int* connectivity);
    void AddElementBlock(const std::string& name, VelCellType cellType,
                         const std::vector<int>& connectivity);
    // Elements `first` to `first + rows - 1` of a block of `count`, with their node numbers.
    void AddElementBlock(const std::string& name, VelCellType cellType, int count,
                         int nodesPerElement, int first, int rows, const int* connectivity);

    // Named sets of distinct node numbers, or of distinct element numbers of one block (numbers
    // within the block, from 0).  A set keeps its members in the order given.
    void AddNodeSet(const std::string& name, const int* ids, int count);
    void AddNodeSet(const std::string& name, const std::vector<int>& ids);
    void AddElementSet(const std::string& name, const std::string& block, const int* ids,
                       int count);
    void AddElementSet(const std::string& name, const std::string& block,
                       const std::vector<int>& ids);

    // Fields over the nodes, or over the elements of one block, with one name per component.
    VelResultsField AddNodalField(const std::string& name,
                                  const std::vector<std::string>& componentNames,
                                  const std::string& units = "");
    VelResultsField AddElementField(const std::string& name, const std::string& block,
                                    const std::vector<std::string>& componentNames,
                                    const std::string& units = "");
    // A field added before, in this session or an earlier one.
    VelResultsField Field(const std::string& name) const;

    // The filters of every array written from here on (coordinates, connectivity, sets, field
    // steps): the database context's default compression (VelContextRef::SetDefaultCompression),
    // which the layers below apply to each new drawer.  None until set, also when a file is
    // opened again; what was written before keeps its own filters, and reading is the same.
    void SetCompression(const VelCompression& compression);
    VelCompression Compression() const;

    // A new step at `time` (times need not grow); returns its index, counted from 0.
    int AddStep(double time);
    int StepCount() const;

    // Publishes new names and commits the file (see above).
    void Checkpoint();
    // Checkpoints and closes the file; the writer and its fields are then unusable.  The
    // destructor closes a writer still open.
    void Close();

private:
    explicit VelResultsWriter(std::shared_ptr<VelResultsFile> file);
    VelResultsFile& File() const;

    std::shared_ptr<VelResultsFile> m_file;
};

#endif
