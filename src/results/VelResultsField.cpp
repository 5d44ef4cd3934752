#include "vel/results/VelResultsField.h"

#include "results/VelResultsFile.h"
#include "vel/core/VelAssert.h"

VelResultsFile& VelResultsField::File() const {
    if (!m_file) VelAssert::FailValidation("VelResultsField: the field handle is empty");
    m_file->RequireOpen("VelResultsField");
    return *m_file;
}

const std::string& VelResultsField::Name() const {
    return File().Fields()[static_cast<size_t>(m_index)].name;
}

VelResultsLocation VelResultsField::Location() const {
    return File().Fields()[static_cast<size_t>(m_index)].block < 0 ? VelResultsLocation::Node
                                                                   : VelResultsLocation::Element;
}

const std::string& VelResultsField::Block() const {
    static const std::string none;
    const VelResultsFile& file = File();
    const int block = file.Fields()[static_cast<size_t>(m_index)].block;
    return block < 0 ? none : file.Blocks()[static_cast<size_t>(block)].name;
}

const std::vector<std::string>& VelResultsField::ComponentNames() const {
    return File().Fields()[static_cast<size_t>(m_index)].components;
}

int VelResultsField::ComponentCount() const {
    return static_cast<int>(ComponentNames().size());
}

const std::string& VelResultsField::Units() const {
    return File().Fields()[static_cast<size_t>(m_index)].units;
}

int VelResultsField::EntityCount() const {
    const VelResultsFile& file = File();
    return file.EntityCount(file.Fields()[static_cast<size_t>(m_index)]);
}

void VelResultsField::Write(int step, const double* values, size_t count) const {
    File().WriteField(m_index, step, values, count);
}

void VelResultsField::Write(int step, const std::vector<double>& values) const {
    Write(step, values.data(), values.size());
}

void VelResultsField::WriteRows(int step, int first, int rows, const double* values) const {
    File().WriteFieldRows("VelResultsField::WriteRows", m_index, step, first, rows, values);
}

void VelResultsField::ReadRows(int step, int first, int rows, double* values) const {
    File().ReadFieldRows(m_index, step, first, rows, values);
}

void VelResultsField::Read(int step, double* values, size_t count) const {
    File().ReadField(m_index, step, -1, values, count);
}

void VelResultsField::Read(int step, std::vector<double>& values) const {
    values.resize(static_cast<size_t>(EntityCount()) * static_cast<size_t>(ComponentCount()));
    Read(step, values.data(), values.size());
}

namespace {

// The set a read of `field` through `setName` selects: a node set for a nodal field, an element
// set of the field's block for an element field.
int SetOfField(const VelResultsFile& file, int field, const std::string& setName) {
    const VelResultsFile::Field& f = file.Fields()[static_cast<size_t>(field)];
    const int set = file.SetIndex(setName, f.block >= 0);
    const char* const who = "VelResultsField::Read";
    if (set < 0)
        file.Fail(who, "field \"" + f.name + "\" is over the " +
                           (f.block < 0 ? "nodes" : "elements") + "; the file has no " +
                           (f.block < 0 ? "node" : "element") + " set named \"" + setName + "\"");
    if (file.Sets()[static_cast<size_t>(set)].block != f.block)
        file.Fail(who, "element set \"" + setName + "\" is not a set of field \"" + f.name +
                           "\"'s block \"" + file.Blocks()[static_cast<size_t>(f.block)].name +
                           "\"");
    return set;
}

}  // namespace

void VelResultsField::Read(int step, const std::string& setName, double* values,
                           size_t count) const {
    VelResultsFile& file = File();
    file.ReadField(m_index, step, SetOfField(file, m_index, setName), values, count);
}

void VelResultsField::Read(int step, const std::string& setName,
                           std::vector<double>& values) const {
    VelResultsFile& file = File();
    const int set = SetOfField(file, m_index, setName);
    values.resize(static_cast<size_t>(file.Sets()[static_cast<size_t>(set)].size) *
                  static_cast<size_t>(ComponentCount()));
    file.ReadField(m_index, step, set, values.data(), values.size());
}

void VelResultsField::History(int entity, double* values, size_t count) const {
    File().ReadHistory(m_index, entity, values, count);
}

void VelResultsField::History(int entity, std::vector<double>& values) const {
    values.resize(static_cast<size_t>(File().StepCount()) * static_cast<size_t>(ComponentCount()));
    History(entity, values.data(), values.size());
}
