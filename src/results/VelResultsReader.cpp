#include "vel/results/VelResultsReader.h"

#include "results/VelResultsFile.h"
#include "vel/core/VelAssert.h"

VelResultsReader::VelResultsReader(std::shared_ptr<VelResultsFile> file)
    : m_file(std::move(file)) {}
VelResultsReader::VelResultsReader(VelResultsReader&&) noexcept = default;
VelResultsReader& VelResultsReader::operator=(VelResultsReader&& other) noexcept {
    if (this != &other) {
        if (m_file && m_file->IsOpen()) m_file->Close();
        m_file = std::move(other.m_file);
    }
    return *this;
}

VelResultsReader::~VelResultsReader() {
    if (m_file && m_file->IsOpen()) m_file->Close();
}

VelResultsReader VelResultsReader::Open(const std::string& path) {
    return VelResultsReader(VelResultsFile::Open(path, false));
}

#ifdef VEL_PARALLEL
VelResultsReader VelResultsReader::OpenParallel(const std::string& path, MPI_Comm comm) {
    return VelResultsReader(VelResultsFile::OpenParallel(path, false, comm));
}
#endif

VelResultsFile& VelResultsReader::File() const {
    if (!m_file) VelAssert::FailValidation("VelResultsReader: the reader was moved from");
    return *m_file;
}

const std::string& VelResultsReader::Path() const {
    return File().Path();
}

int VelResultsReader::StepCount() const {
    File().RequireOpen("VelResultsReader::StepCount");
    return File().StepCount();
}

double VelResultsReader::Time(int step) const {
    VelResultsFile& file = File();
    file.RequireOpen("VelResultsReader::Time");
    if (step < 0 || step >= file.StepCount())
        file.Fail("VelResultsReader::Time", "step " + std::to_string(step) +
                                                " does not exist; the file has " +
                                                std::to_string(file.StepCount()) + " steps");
    return file.Times()[static_cast<size_t>(step)];
}

std::vector<double> VelResultsReader::Times() const {
    File().RequireOpen("VelResultsReader::Times");
    return File().Times();
}

int VelResultsReader::NodeCount() const {
    File().RequireOpen("VelResultsReader::NodeCount");
    return File().NodeCount();
}

std::vector<double> VelResultsReader::Coordinates() const {
    File().RequireOpen("VelResultsReader::Coordinates");
    return File().Coordinates();
}

std::vector<VelResultsBlock> VelResultsReader::ElementBlocks() const {
    VelResultsFile& file = File();
    file.RequireOpen("VelResultsReader::ElementBlocks");
    std::vector<VelResultsBlock> blocks;
    for (size_t b = 0; b < file.Blocks().size(); ++b) {
        const VelResultsFile::Block& stored = file.Blocks()[b];
        blocks.push_back({stored.name, stored.cellType, stored.count, stored.nodesPerElement,
                          file.Connectivity(static_cast<int>(b))});
    }
    return blocks;
}

namespace {

std::vector<std::string> SetNames(const VelResultsFile& file, bool elementSets) {
    std::vector<std::string> names;
    for (const VelResultsFile::Set& set : file.Sets())
        if ((set.block >= 0) == elementSets) names.push_back(set.name);
    return names;
}

}  // namespace

std::vector<std::string> VelResultsReader::NodeSetNames() const {
    File().RequireOpen("VelResultsReader::NodeSetNames");
    return SetNames(File(), false);
}

std::vector<int> VelResultsReader::NodeSet(const std::string& name) const {
    VelResultsFile& file = File();
    file.RequireOpen("VelResultsReader::NodeSet");
    const int set = file.SetIndex(name, false);
    if (set < 0)
        file.Fail("VelResultsReader::NodeSet",
                  "\"" + file.Path() + "\" has no node set named \"" + name + "\"");
    return file.SetMembers(file.Sets()[static_cast<size_t>(set)]);
}

std::vector<std::string> VelResultsReader::ElementSetNames() const {
    File().RequireOpen("VelResultsReader::ElementSetNames");
    return SetNames(File(), true);
}

VelResultsElementSet VelResultsReader::ElementSet(const std::string& name) const {
    VelResultsFile& file = File();
    file.RequireOpen("VelResultsReader::ElementSet");
    const int set = file.SetIndex(name, true);
    if (set < 0)
        file.Fail("VelResultsReader::ElementSet",
                  "\"" + file.Path() + "\" has no element set named \"" + name + "\"");
    const VelResultsFile::Set& stored = file.Sets()[static_cast<size_t>(set)];
    return {file.Blocks()[static_cast<size_t>(stored.block)].name, file.SetMembers(stored)};
}

std::vector<std::string> VelResultsReader::FieldNames() const {
    VelResultsFile& file = File();
    file.RequireOpen("VelResultsReader::FieldNames");
    std::vector<std::string> names;
    for (const VelResultsFile::Field& field : file.Fields()) names.push_back(field.name);
    return names;
}

VelResultsField VelResultsReader::Field(const std::string& name) const {
    VelResultsFile& file = File();
    return file.FieldHandle(file.RequireField("VelResultsReader::Field", name));
}

void VelResultsReader::Close() {
    File().Close();
}
