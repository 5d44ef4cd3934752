#include "vel/results/VelResultsWriter.h"

#include "results/VelResultsFile.h"
#include "vel/context/VelContextRef.h"
#include "vel/core/VelAssert.h"

VelResultsWriter::VelResultsWriter(std::shared_ptr<VelResultsFile> file)
    : m_file(std::move(file)) {}
VelResultsWriter::VelResultsWriter(VelResultsWriter&&) noexcept = default;
VelResultsWriter& VelResultsWriter::operator=(VelResultsWriter&& other) noexcept {
    if (this != &other) {
        if (m_file && m_file->IsOpen()) m_file->Close();
        m_file = std::move(other.m_file);
    }
    return *this;
}

VelResultsWriter::~VelResultsWriter() {
    if (m_file && m_file->IsOpen()) m_file->Close();
}

VelResultsWriter VelResultsWriter::Create(const std::string& path) {
    return VelResultsWriter(VelResultsFile::Create(path));
}

#ifdef VEL_PARALLEL
VelResultsWriter VelResultsWriter::CreateParallel(const std::string& path, MPI_Comm comm) {
    return VelResultsWriter(VelResultsFile::CreateParallel(path, comm));
}
#endif

void VelResultsWriter::AddNodes(int count, int first, int rows, const double* coordinates) {
    File().AddNodes(count, first, rows, coordinates);
}

void VelResultsWriter::AddElementBlock(const std::string& name, VelCellType cellType, int count,
                                       int nodesPerElement, int first, int rows,
                                       const int* connectivity) {
    File().AddElementBlock(name, cellType, count, nodesPerElement, first, rows, connectivity);
}

VelResultsWriter VelResultsWriter::Open(const std::string& path) {
    return VelResultsWriter(VelResultsFile::Open(path, true));
}

VelResultsFile& VelResultsWriter::File() const {
    if (!m_file) VelAssert::FailValidation("VelResultsWriter: the writer was moved from");
    return *m_file;
}

void VelResultsWriter::AddNodes(int count, const double* coordinates) {
    File().AddNodes(count, 0, count, coordinates);
}

void VelResultsWriter::AddNodes(const std::vector<double>& coordinates) {
    if (coordinates.size() % 3 != 0)
        File().Fail("VelResultsWriter::AddNodes",
                    std::to_string(coordinates.size()) + " coordinates are not 3 per node");
    const int count = static_cast<int>(coordinates.size() / 3);
    File().AddNodes(count, 0, count, coordinates.data());
}

int VelResultsWriter::NodeCount() const {
    File().RequireOpen("VelResultsWriter::NodeCount");
    return File().NodeCount();
}

void VelResultsWriter::AddElementBlock(const std::string& name, VelCellType cellType, int count,
                                       int nodesPerElement, const int* connectivity) {
    File().AddElementBlock(name, cellType, count, nodesPerElement, 0, count, connectivity);
}

void VelResultsWriter::AddElementBlock(const std::string& name, VelCellType cellType,
                                       const std::vector<int>& connectivity) {
    const size_t nodes = static_cast<size_t>(VelCellTypeNodeCount(cellType));
    if (connectivity.size() % nodes != 0)
        File().Fail("VelResultsWriter::AddElementBlock",
                    "block \"" + name + "\": " + std::to_string(connectivity.size()) +
                        " node numbers are not " + std::to_string(nodes) + " per element");
    const int count = static_cast<int>(connectivity.size() / nodes);
    File().AddElementBlock(name, cellType, count, static_cast<int>(nodes), 0, count,
                           connectivity.data());
}

void VelResultsWriter::AddNodeSet(const std::string& name, const int* ids, int count) {
    File().AddSet(name, -1, ids, count);
}

void VelResultsWriter::AddNodeSet(const std::string& name, const std::vector<int>& ids) {
    File().AddSet(name, -1, ids.data(), static_cast<int>(ids.size()));
}

void VelResultsWriter::AddElementSet(const std::string& name, const std::string& block,
                                     const int* ids, int count) {
    VelResultsFile& file = File();
    file.AddSet(name, file.RequireBlock("VelResultsWriter::AddElementSet", block), ids, count);
}

void VelResultsWriter::AddElementSet(const std::string& name, const std::string& block,
                                     const std::vector<int>& ids) {
    AddElementSet(name, block, ids.data(), static_cast<int>(ids.size()));
}

VelResultsField VelResultsWriter::AddNodalField(const std::string& name,
                                                const std::vector<std::string>& componentNames,
                                                const std::string& units) {
    VelResultsFile& file = File();
    return file.FieldHandle(file.AddField(name, -1, componentNames, units));
}

VelResultsField VelResultsWriter::AddElementField(const std::string& name, const std::string& block,
                                                  const std::vector<std::string>& componentNames,
                                                  const std::string& units) {
    VelResultsFile& file = File();
    const int index = file.RequireBlock("VelResultsWriter::AddElementField", block);
    return file.FieldHandle(file.AddField(name, index, componentNames, units));
}

VelResultsField VelResultsWriter::Field(const std::string& name) const {
    VelResultsFile& file = File();
    return file.FieldHandle(file.RequireField("VelResultsWriter::Field", name));
}

void VelResultsWriter::SetCompression(const VelCompression& compression) {
    File().RequireWritable("VelResultsWriter::SetCompression");
    VelContextRef(File().ContextID()).SetDefaultCompression(compression);
}

VelCompression VelResultsWriter::Compression() const {
    File().RequireOpen("VelResultsWriter::Compression");
    return VelContextRef(File().ContextID()).DefaultCompression();
}

int VelResultsWriter::AddStep(double time) {
    return File().AddStep(time);
}

int VelResultsWriter::StepCount() const {
    File().RequireOpen("VelResultsWriter::StepCount");
    return File().StepCount();
}

void VelResultsWriter::Checkpoint() {
    File().Checkpoint();
}

void VelResultsWriter::Close() {
    File().Close();
}
