#ifndef VEL_RESULTS_VELRESULTSFIELD_H
#define VEL_RESULTS_VELRESULTSFIELD_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "vel/VelExport.h"

class VelResultsFile;

// Where a field's values live: one row per node of the mesh, or one per element of a block.
enum class VelResultsLocation { Node, Element };

// A named field of a results file: at every step, one row of ComponentCount() doubles per node
// (a nodal field) or per element of its block (an element field), rows in entity order.  A
// field handle comes from the writer or the reader of its file and is valid until that file is
// closed.
//
// Each step of a field is one drawer of the field's distribution, a contiguous dataset of
// EntityCount() x ComponentCount() doubles.  A step written again gets a new drawer, and reads
// see the newest.  Mistakes (a step that does not exist, a value count that is not the step's,
// an unknown set) are validation failures that name the field.
class VEL_API VelResultsField {
public:
    VelResultsField() = default;

    const std::string& Name() const;
    VelResultsLocation Location() const;
    // The element block of an element field; empty for a nodal field.
    const std::string& Block() const;
    const std::vector<std::string>& ComponentNames() const;
    int ComponentCount() const;
    const std::string& Units() const;
    // The rows of one step: the mesh's nodes, or the block's elements.
    int EntityCount() const;

    // Writes the values of `step` (EntityCount() * ComponentCount() of them, row after row).
    void Write(int step, const double* values, size_t count) const;
    void Write(int step, const std::vector<double>& values) const;
    // Writes rows `first` to `first + rows - 1` of `step` (rows * ComponentCount() values): a
    // rank's own rows in a parallel file (see VelResultsWriter::CreateParallel), all of them in
    // a file of one process.
    void WriteRows(int step, int first, int rows, const double* values) const;

    // Reads the values of `step`; the vector is sized to hold them.
    void Read(int step, double* values, size_t count) const;
    void Read(int step, std::vector<double>& values) const;
    // Reads rows `first` to `first + rows - 1` of `step` (rows * ComponentCount() values); in a
    // parallel file every rank reads (collective), each its own rows.
    void ReadRows(int step, int first, int rows, double* values) const;
    // Reads only the rows of one set (a node set for a nodal field, an element set of the
    // field's block for an element field), in the set's order.
    void Read(int step, const std::string& setName, double* values, size_t count) const;
    void Read(int step, const std::string& setName, std::vector<double>& values) const;
    // One entity's row at every step, step after step: StepCount() * ComponentCount() values.
    void History(int entity, double* values, size_t count) const;
    void History(int entity, std::vector<double>& values) const;

private:
    friend class VelResultsFile;
    VelResultsField(std::shared_ptr<VelResultsFile> file, int index)
        : m_file(std::move(file)), m_index(index) {}
    VelResultsFile& File() const;

    std::shared_ptr<VelResultsFile> m_file;
    int m_index = -1;
};

#endif
