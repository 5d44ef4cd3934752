#include "results/VelResultsFile.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <set>

#include "vel/UTI_VelDynamicAPI.h"
#include "vel/context/VelCSet.h"
#include "vel/context/VelCollectionRef.h"
#include "vel/context/VelContextRef.h"
#include "vel/context/VelDistributionRef.h"
#include "vel/context/VelGrid.h"
#include "vel/context/VelManager.h"
#include "vel/context/VelRangeType.h"
#include "vel/core/VelAssert.h"
#include "vel/transfer/VelDrawerRef.h"
#include "vel/transfer/VelTransfer.h"
#include "vel/views/VelAssociation.h"
#include "vel/views/VelDataRecord.h"
#include "vel/views/VelSelection.h"
#include "vel/views/VelTransaction.h"

namespace {

using S = VelResultsSchema;

constexpr const char* kNodeLocation = "node";
constexpr const char* kElementLocation = "element";

std::string Quoted(const std::string& text) {
    return "\"" + text + "\"";
}

template <class T>
VelArray<T> ArrayOf(std::initializer_list<T> items) {
    VelArray<T> array(static_cast<int>(items.size()));
    int k = 0;
    for (const T& item : items) array[k++] = item;
    return array;
}

VelGrid GridOf(std::initializer_list<VelCollectionID> collections) {
    return VelGrid(ArrayOf(collections));
}

// Whether `grid` is made of exactly `collections`, in any order.
bool GridIs(const VelGrid& grid, std::initializer_list<VelCollectionID> collections) {
    if (grid.Size() != static_cast<int>(collections.size())) return false;
    for (const VelCollectionID& c : collections)
        if (grid.Position(c) < 0) return false;
    return true;
}

template <class ID>
bool Holds(const VelArray<ID>& ids, const ID& id) {
    for (int i = 0; i < ids.Size(); ++i)
        if (ids[i].Compare(id) == 0) return true;
    return false;
}

// A new drawer over `csets` (one per dimension, in the drawer's order) from `bytes` of the
// caller's values, which the transfer writes straight from the caller's memory.
void WriteDrawer(const VelDistributionID& distribution, const VelArray<VelCSetID>& csets,
                 const void* values) {
    VelTransfer transfer{VelDistributionRef(distribution)};
    transfer.SetMakeNewDrawer().SetBufferPadding(false);
    for (int d = 0; d < csets.Size(); ++d) transfer.SetDim(d, csets[d]);
    transfer.CheckView();
    transfer.SetBuffer(VelbufMain, const_cast<void*>(values),
                       transfer.RequiredBufferSize(VelbufMain));
    transfer.ExecWrite();
    transfer.RelinquishBuffers();
}

// Where a rank's rows go: rows `first` to `first + count - 1` of the `total` members of
// `collection`, dimension `dimension` of a new drawer.
struct Rows {
    int dimension;
    VelCollectionID collection;
    int first;
    int count;
    int total;
};

// The rows' part of a new drawer over `csets`: the whole drawer when they are every row, else
// this rank's block of a drawer the ranks of a parallel file make together, over their rows.
void WriteDrawerRows(const VelDistributionID& distribution, const VelArray<VelCSetID>& csets,
                     const Rows& rows, const void* values) {
    if (rows.first == 0 && rows.count == rows.total) {
        WriteDrawer(distribution, csets, values);
        return;
    }
    VelTransfer transfer{VelDistributionRef(distribution)};
    transfer.SetMakeNewDrawer().SetBufferPadding(false);
    for (int d = 0; d < csets.Size(); ++d) {
        if (d == rows.dimension) {
            transfer.SetDimOrdinalRange(d, rows.collection, rows.first,
                                        rows.first + rows.count - 1);
        } else {
            transfer.SetDim(d, csets[d]);
        }
    }
    transfer.CheckView();
    transfer.SetBuffer(VelbufMain, const_cast<void*>(values),
                       transfer.RequiredBufferSize(VelbufMain));
    transfer.ExecWrite();
    transfer.RelinquishBuffers();
}

VelCSetID All(const VelCollectionID& collection) {
    return VelCollectionRef(collection).BiggestCSetID();
}

// Reads a checked transfer's whole view into `values`, which must be exactly its size.
void ReadInto(VelTransfer& transfer, void* values, size_t bytes) {
    transfer.CheckView();
    VelASSERT(static_cast<size_t>(transfer.RequiredBufferSize(VelbufMain)) == bytes);
    transfer.SetBuffer(VelbufMain, values, transfer.RequiredBufferSize(VelbufMain));
    transfer.ExecRead();
    transfer.RelinquishBuffers();
}

}  // namespace

VelResultsFile::VelResultsFile(const std::string& path, bool writable)
    : m_path(path), m_writable(writable) {
    UTI_VelDynamicAPI_initialize(m_modules);
    m_schema = VelResultsSchema::Shared();
}

VelResultsFile::~VelResultsFile() {
    if (IsOpen()) Close();
    m_view = VelView();
    m_schema.reset();
    UTI_VelDynamicAPI_finalize(m_modules);
}

std::shared_ptr<VelResultsFile> VelResultsFile::Create(const std::string& path) {
    std::shared_ptr<VelResultsFile> file(new VelResultsFile(path, true));
    file->m_id = VelManager::CreateContext(path.c_str(), hdf_File::CreateFlagsTruncate, 1);
    if (file->m_id.IsNull())
        file->Fail("VelResultsWriter::Create", "cannot create " + Quoted(path));
    file->MakeSteps();
    return file;
}

#ifdef VEL_PARALLEL
std::shared_ptr<VelResultsFile> VelResultsFile::CreateParallel(const std::string& path,
                                                               MPI_Comm comm) {
    std::shared_ptr<VelResultsFile> file(new VelResultsFile(path, true));
    file->m_parallel = true;
    file->m_id =
        VelManager::CreateContextParallel(path.c_str(), hdf_File::CreateFlagsTruncate, 1, comm);
    if (file->m_id.IsNull())
        file->Fail("VelResultsWriter::CreateParallel", "cannot create " + Quoted(path));
    file->MakeSteps();
    return file;
}

std::shared_ptr<VelResultsFile> VelResultsFile::OpenParallel(const std::string& path, bool writable,
                                                             MPI_Comm comm) {
    std::shared_ptr<VelResultsFile> file(new VelResultsFile(path, writable));
    file->m_parallel = true;
    file->m_id = VelManager::OpenContextParallel(
        path.c_str(), writable ? hdf_File::OpenFlagsReadWrite : hdf_File::OpenFlagsReadOnly, 1,
        comm);
    if (file->m_id.IsNull())
        file->Fail("VelResultsReader::OpenParallel",
                   Quoted(path) + " is not a database this library can open");
    file->Load();
    return file;
}
#endif

std::shared_ptr<VelResultsFile> VelResultsFile::Open(const std::string& path, bool writable) {
    std::shared_ptr<VelResultsFile> file(new VelResultsFile(path, writable));
    file->m_id = VelManager::OpenContext(
        path.c_str(), writable ? hdf_File::OpenFlagsReadWrite : hdf_File::OpenFlagsReadOnly, 1);
    if (file->m_id.IsNull())
        file->Fail(writable ? "VelResultsWriter::Open" : "VelResultsReader::Open",
                   Quoted(path) + " is not a database this library can open");
    file->Load();
    return file;
}

void VelResultsFile::Close() {
    if (!IsOpen()) return;
    if (m_writable) Publish();
    m_view = VelView();
    const VelContextID id = m_id;
    m_id = VelContextID();
    VelManager::CloseContext(id);
}

void VelResultsFile::RequireOpen(const char* who) const {
    if (!IsOpen()) Fail(who, "the results file " + Quoted(m_path) + " is closed");
}

void VelResultsFile::RequireWritable(const char* who) const {
    RequireOpen(who);
    if (!m_writable) Fail(who, Quoted(m_path) + " is open for reading only");
}

void VelResultsFile::Fail(const char* who, const std::string& message) const {
    const std::string text = std::string(who) + ": " + message;
    VelAssert::FailValidation(text.c_str());
}

void VelResultsFile::Refuse(const std::string& reason) const {
    Fail("VelResults", Quoted(m_path) + " is refused: " + reason);
}

// ----------------------------------------------------------------------------------------------
// Writing

void VelResultsFile::MakeSteps() {
    const VelContextRef context(m_id);
    m_steps = context.CreateCollection(0);
    m_times = context.CreateDistribution(GridOf({m_steps}), VelRangeType(VelTypeKeyDouble));
}

void VelResultsFile::CheckNewName(const char* who, const std::string& name, bool taken) const {
    RequireWritable(who);
    if (name.empty()) Fail(who, "a name must not be empty");
    if (taken) Fail(who, "the name " + Quoted(name) + " is taken");
}

void VelResultsFile::CheckRows(const char* who, const std::string& what, int first, int rows,
                               int count) const {
    if (rows < 1 || first < 0 || first > count - rows)
        Fail(who, what + ": rows " + std::to_string(first) + " to " +
                      std::to_string(static_cast<int64_t>(first) + rows - 1) +
                      " are not among its " + std::to_string(count));
    if (!m_parallel && rows != count)
        Fail(who, what + ": a file written by one process takes all " + std::to_string(count) +
                      " rows at once");
}

void VelResultsFile::AddNodes(int count, int first, int rows, const double* coordinates) {
    const char* const who = "VelResultsWriter::AddNodes";
    RequireWritable(who);
    if (m_hasMesh) Fail(who, "the mesh already has its nodes");
    if (count <= 0) Fail(who, "a mesh needs at least one node");
    if (!coordinates) Fail(who, "no coordinates given");
    CheckRows(who, "the mesh's nodes", first, rows, count);
    const VelContextRef context(m_id);
    m_nodes = context.CreateCollection(count);
    m_axes = context.CreateCollection(3);
    m_coordinates =
        context.CreateDistribution(GridOf({m_nodes, m_axes}), VelRangeType(VelTypeKeyDouble));
    WriteDrawerRows(m_coordinates, ArrayOf<VelCSetID>({All(m_nodes), All(m_axes)}),
                    Rows{0, m_nodes, first, rows, count}, coordinates);
    m_nodeCount = count;
    m_hasMesh = true;
}

void VelResultsFile::AddElementBlock(const std::string& name, VelCellType cellType, int count,
                                     int nodesPerElement, int first, int rows,
                                     const int* connectivity) {
    const char* const who = "VelResultsWriter::AddElementBlock";
    CheckNewName(who, name, BlockIndex(name) >= 0);
    if (!m_hasMesh) Fail(who, "block " + Quoted(name) + ": the mesh has no nodes yet");
    if (nodesPerElement != VelCellTypeNodeCount(cellType))
        Fail(who, "block " + Quoted(name) + ": a " + VelCellTypeName(cellType) + " element has " +
                      std::to_string(VelCellTypeNodeCount(cellType)) + " nodes, not " +
                      std::to_string(nodesPerElement));
    if (count <= 0) Fail(who, "block " + Quoted(name) + " needs at least one element");
    if (!connectivity) Fail(who, "block " + Quoted(name) + ": no connectivity given");
    CheckRows(who, "block " + Quoted(name), first, rows, count);
    const size_t entries = static_cast<size_t>(rows) * static_cast<size_t>(nodesPerElement);
    for (size_t k = 0; k < entries; ++k)
        if (connectivity[k] < 0 || connectivity[k] >= m_nodeCount)
            Fail(who, "block " + Quoted(name) + ": element " +
                          std::to_string(first + k / nodesPerElement) + " names node " +
                          std::to_string(connectivity[k]) + ", the mesh has " +
                          std::to_string(m_nodeCount));
    const VelContextRef context(m_id);
    Block block;
    block.name = name;
    block.cellType = cellType;
    block.count = count;
    block.nodesPerElement = nodesPerElement;
    block.elements = context.CreateCollection(count);
    block.corners = context.CreateCollection(nodesPerElement);
    block.connectivity = context.CreateDistribution(GridOf({block.elements, block.corners}),
                                                    VelRangeType(VelTypeKeyInt));
    WriteDrawerRows(block.connectivity,
                    ArrayOf<VelCSetID>({All(block.elements), All(block.corners)}),
                    Rows{0, block.elements, first, rows, count}, connectivity);
    m_blockIndex[name] = static_cast<int>(m_blocks.size());
    m_blocks.push_back(block);
}

void VelResultsFile::AddSet(const std::string& name, int block, const int* ids, int count) {
    const char* const who =
        block < 0 ? "VelResultsWriter::AddNodeSet" : "VelResultsWriter::AddElementSet";
    CheckNewName(who, name, SetIndex(name, block >= 0) >= 0);
    if (block < 0 && !m_hasMesh) Fail(who, "set " + Quoted(name) + ": the mesh has no nodes yet");
    const VelCollectionID collection = block < 0 ? m_nodes : m_blocks[block].elements;
    const int space = block < 0 ? m_nodeCount : m_blocks[block].count;
    if (count < 0 || (count > 0 && !ids)) Fail(who, "set " + Quoted(name) + ": no members given");
    std::vector<char> seen(static_cast<size_t>(space), 0);
    for (int k = 0; k < count; ++k) {
        if (ids[k] < 0 || ids[k] >= space)
            Fail(who,
                 "set " + Quoted(name) + ": member " + std::to_string(ids[k]) +
                     " is not among the " + std::to_string(space) +
                     (block < 0 ? " nodes" : " elements of block " + Quoted(m_blocks[block].name)));
        if (seen[static_cast<size_t>(ids[k])]++)
            Fail(who,
                 "set " + Quoted(name) + ": member " + std::to_string(ids[k]) + " is given twice");
    }
    Set set;
    set.name = name;
    set.block = block;
    set.size = count;
    set.members = count == 0 ? VelCollectionRef(collection).EmptyCSetID()
                             : VelCollectionRef(collection).CreateOrderedCSet(ids, count);
    (block < 0 ? m_nodeSetIndex : m_elementSetIndex)[name] = static_cast<int>(m_sets.size());
    m_sets.push_back(set);
}

int VelResultsFile::AddField(const std::string& name, int block,
                             const std::vector<std::string>& components, const std::string& units) {
    const char* const who =
        block < 0 ? "VelResultsWriter::AddNodalField" : "VelResultsWriter::AddElementField";
    CheckNewName(who, name, FieldIndex(name) >= 0);
    if (block < 0 && !m_hasMesh) Fail(who, "field " + Quoted(name) + ": the mesh has no nodes yet");
    if (components.empty()) Fail(who, "field " + Quoted(name) + " needs at least one component");
    const VelContextRef context(m_id);
    Field field;
    field.name = name;
    field.block = block;
    field.components = components;
    field.units = units;
    field.componentCollection = context.CreateCollection(static_cast<int>(components.size()));
    const VelCollectionID entities = block < 0 ? m_nodes : m_blocks[block].elements;
    field.values = context.CreateDistribution(
        GridOf({m_steps, entities, field.componentCollection}), VelRangeType(VelTypeKeyDouble));
    m_fieldIndex[name] = static_cast<int>(m_fields.size());
    m_fields.push_back(field);
    return static_cast<int>(m_fields.size()) - 1;
}

int VelResultsFile::AddStep(double time) {
    RequireWritable("VelResultsWriter::AddStep");
    const int step = StepCount();
    // Every step's CSet is known before the new one is made.
    if (step > 0) StepCSet(step - 1);
    VelCollectionRef steps(m_steps);
    steps.ExtendSpace(1);
    const VelCSetID cset = steps.CreateCSetStrided(step, 1, 1, 1);
    m_stepCSets.push_back(cset);
    WriteDrawer(m_times, ArrayOf<VelCSetID>({cset}), &time);
    if (m_timesRead) m_timeValues.push_back(time);
    return step;
}

void VelResultsFile::Checkpoint() {
    RequireWritable("VelResultsWriter::Checkpoint");
    Publish();
    VelManager::FlushContext(m_id);
}

// The step CSets of a reopened file are the CSets of the times' drawers: one drawer per step.
VelCSetID VelResultsFile::StepCSet(int step) {
    if (static_cast<int>(m_stepCSets.size()) != StepCount()) {
        CheckTimes();
        std::vector<VelCSetID> csets(static_cast<size_t>(StepCount()));
        const VelArray<VelDrawerID> drawers = VelDistributionRef(m_times).Drawers();
        for (int d = 0; d < drawers.Size(); ++d) {
            const VelCSetID cset = VelDrawerRef(drawers[d]).Description().Compartment()[0];
            const VelCSet members(cset);
            int member = -1;
            if (members.Size() == 1) members.Members(&member);
            if (member < 0 || member >= StepCount() || !csets[member].CollectionID().IsNull())
                Refuse("the times of the steps are not one value per step");
            csets[member] = cset;
        }
        m_stepCSets = csets;
    }
    return m_stepCSets[static_cast<size_t>(step)];
}

void VelResultsFile::WriteField(int index, int step, const double* values, size_t count) {
    const Field& field = m_fields[static_cast<size_t>(index)];
    const char* const who = "VelResultsField::Write";
    RequireWritable(who);
    if (step < 0 || step >= StepCount())
        Fail(who, "field " + Quoted(field.name) + ": step " + std::to_string(step) +
                      " does not exist; the file has " + std::to_string(StepCount()) + " steps");
    const size_t expected = static_cast<size_t>(EntityCount(field)) * field.components.size();
    if (count != expected || !values)
        Fail(who, "field " + Quoted(field.name) + " takes " + std::to_string(expected) +
                      " values per step, not " + std::to_string(count));
    WriteFieldRows(who, index, step, 0, EntityCount(field), values);
}

void VelResultsFile::WriteFieldRows(const char* who, int index, int step, int first, int rows,
                                    const double* values) {
    const Field& field = m_fields[static_cast<size_t>(index)];
    RequireWritable(who);
    if (step < 0 || step >= StepCount())
        Fail(who, "field " + Quoted(field.name) + ": step " + std::to_string(step) +
                      " does not exist; the file has " + std::to_string(StepCount()) + " steps");
    CheckRows(who, "field " + Quoted(field.name), first, rows, EntityCount(field));
    if (!values) Fail(who, "field " + Quoted(field.name) + ": no values given");
    const VelCollectionID entities = field.block < 0 ? m_nodes : m_blocks[field.block].elements;
    WriteDrawerRows(
        field.values,
        ArrayOf<VelCSetID>({StepCSet(step), All(entities), All(field.componentCollection)}),
        Rows{1, entities, first, rows, EntityCount(field)}, values);
}

// Names become records of a new view that inherits every record of the last one; the records
// of this session are those whose record identifier is still unset.
void VelResultsFile::Publish() {
    const bool pending = m_stepsRecord.Category() == 0 ||
                         (m_hasMesh && m_meshRecord.Category() == 0) ||
                         std::any_of(m_blocks.begin(), m_blocks.end(),
                                     [](const Block& b) { return b.record.Category() == 0; }) ||
                         std::any_of(m_sets.begin(), m_sets.end(),
                                     [](const Set& s) { return s.record.Category() == 0; }) ||
                         std::any_of(m_fields.begin(), m_fields.end(),
                                     [](const Field& f) { return f.record.Category() == 0; });
    if (!pending) return;

    const VelContextRef context(m_id);
    const VelResultsSchema& schema = *m_schema;
    const VelViewUpdateForm view =
        m_view ? context.NewForm(schema.snapshot, m_view) : context.NewForm(schema.snapshot);
    {
        VelTransactionExtend t(view);
        t.CreateTypes(schema.snapshot);
        // An association is opened for update only when something new goes into it.
        std::vector<std::pair<const VelTypeID*, VelAssociationUpdate>> opened;
        auto association = [&](const VelTypeID& type) {
            for (const auto& [openedType, update] : opened)
                if (openedType == &type) return update;
            opened.emplace_back(&type, t.UpdateAssociation(view.AssociationID(type)));
            return opened.back().second;
        };
        const VelDynamicID focus = t.FocusID();

        if (m_stepsRecord.Category() == 0) {
            const VelDataRecordUpdate steps = t.CreateDataRecord(schema.steps);
            steps.SetString(S::kStepsQuantity, "time");
            steps.SetString(S::kStepsUnits, "");
            association(schema.stepSeries).Insert(focus, steps.ID());
            association(schema.collections)
                .Insert(steps.ID(), m_steps.DynamicID(), cow_String("steps"));
            association(schema.distributions)
                .Insert(steps.ID(), m_times.DynamicID(), cow_String("times"));
            m_stepsRecord = steps.ID();
        }
        if (m_hasMesh && m_meshRecord.Category() == 0) {
            const VelDataRecordUpdate mesh = t.CreateDataRecord(schema.mesh);
            mesh.SetString(S::kMeshName, "mesh");
            mesh.SetInt(S::kMeshDimension, 3);
            mesh.SetInt(S::kMeshNodeCount, m_nodeCount);
            association(schema.meshes).Insert(focus, mesh.ID());
            association(schema.collections)
                .Insert(mesh.ID(), m_nodes.DynamicID(), cow_String("nodes"));
            association(schema.collections)
                .Insert(mesh.ID(), m_axes.DynamicID(), cow_String("coordinates"));
            association(schema.distributions)
                .Insert(mesh.ID(), m_coordinates.DynamicID(), cow_String("coordinates"));
            m_meshRecord = mesh.ID();
        }
        for (size_t b = 0; b < m_blocks.size(); ++b) {
            Block& block = m_blocks[b];
            if (block.record.Category() != 0) continue;
            const VelDataRecordUpdate record = t.CreateDataRecord(schema.block);
            record.SetString(S::kBlockName, block.name.c_str());
            record.SetString(S::kBlockCellType, VelCellTypeName(block.cellType));
            record.SetInt(S::kBlockElementCount, block.count);
            record.SetInt(S::kBlockNodesPerElement, block.nodesPerElement);
            association(schema.blocks).Insert(focus, record.ID(), static_cast<int>(b));
            association(schema.collections)
                .Insert(record.ID(), block.elements.DynamicID(), cow_String("elements"));
            association(schema.collections)
                .Insert(record.ID(), block.corners.DynamicID(), cow_String("corners"));
            association(schema.distributions)
                .Insert(record.ID(), block.connectivity.DynamicID(), cow_String("connectivity"));
            block.record = record.ID();
        }
        for (Set& set : m_sets) {
            if (set.record.Category() != 0) continue;
            const VelDataRecordUpdate record = t.CreateDataRecord(schema.set);
            record.SetString(S::kSetName, set.name.c_str());
            record.SetString(S::kSetLocation, set.block < 0 ? kNodeLocation : kElementLocation);
            record.SetInt(S::kSetSize, set.size);
            association(set.block < 0 ? schema.nodeSets : schema.elementSets)
                .Insert(focus, record.ID(), cow_String(set.name.c_str()));
            association(schema.setMembers).Insert(record.ID(), set.members.DynamicID());
            if (set.block >= 0)
                association(schema.blockOf).Insert(record.ID(), m_blocks[set.block].record);
            set.record = record.ID();
        }
        for (Field& field : m_fields) {
            if (field.record.Category() != 0) continue;
            const VelDataRecordUpdate record = t.CreateDataRecord(schema.field);
            record.SetString(S::kFieldName, field.name.c_str());
            record.SetString(S::kFieldLocation, field.block < 0 ? kNodeLocation : kElementLocation);
            record.SetString(S::kFieldUnits, field.units.c_str());
            record.SetInt(S::kFieldComponentCount, static_cast<int>(field.components.size()));
            association(schema.fields).Insert(focus, record.ID(), cow_String(field.name.c_str()));
            for (size_t c = 0; c < field.components.size(); ++c) {
                const VelDataRecordUpdate component = t.CreateDataRecord(schema.component);
                component.SetString(S::kComponentName, field.components[c].c_str());
                association(schema.components)
                    .Insert(record.ID(), component.ID(), static_cast<int>(c));
            }
            association(schema.collections)
                .Insert(record.ID(), field.componentCollection.DynamicID(),
                        cow_String("components"));
            association(schema.distributions)
                .Insert(record.ID(), field.values.DynamicID(), cow_String("values"));
            if (field.block >= 0)
                association(schema.blockOf).Insert(record.ID(), m_blocks[field.block].record);
            field.record = record.ID();
        }
        t.Commit();
    }
    view.Publish();
    m_view = view;
}

// ----------------------------------------------------------------------------------------------
// Loading

// What loading reads the records with: the view, its focus, the lists of objects the file
// holds, and the refusal of a record that contradicts them.
struct VelResultsLoader {
    const VelView& view;
    VelDynamicID focus;
    VelArray<VelCollectionID> collections;
    VelArray<VelDistributionID> distributions;
    std::function<void(const std::string&)> refuse;

    VelAssociation Association(const VelTypeID& type) const {
        return view.Association(view.AssociationID(type));
    }
    // The record `id`, which must be of `type`.
    VelDataRecord Record(const VelDynamicID& id, const VelTypeID& type,
                         const std::string& what) const {
        const VelDataRecord record = view.DataRecord(id);
        if (record.TypeID() != type) refuse(what + " is not a record of its kind");
        return record;
    }
    std::string String(const VelDataRecord& record, int member) const {
        return record.ReturnString(member).c_str();
    }
    int Int(const VelDataRecord& record, int member) const {
        int value = 0;
        record.GetInt(member, value);
        return value;
    }
    // The one object of the keyed association `type` that `owner` holds under `key`.
    VelDynamicID Keyed(const VelTypeID& type, const VelDynamicID& owner, const char* key,
                       const std::string& what) const {
        const VelSelectionMap map(Association(type), 0, owner);
        if (!map.Contains(key)) refuse(what + " has no " + key);
        return map.Get(key);
    }
    // The collection or distribution `owner` keeps under `key` in `type`, which the file must
    // hold.
    VelCollectionID Collection(const VelTypeID& type, const VelDynamicID& owner, const char* key,
                               const std::string& what) const {
        const VelDynamicID id = Keyed(type, owner, key, what);
        if (!VelCollectionID::CanBeConverted(id) || !Holds(collections, VelCollectionID(id)))
            refuse(what + " names a collection the file does not hold");
        return VelCollectionID(id);
    }
    VelDistributionID Distribution(const VelTypeID& type, const VelDynamicID& owner,
                                   const char* key, const std::string& what) const {
        const VelDynamicID id = Keyed(type, owner, key, what);
        if (!VelDistributionID::CanBeConverted(id) || !Holds(distributions, VelDistributionID(id)))
            refuse(what + " names a distribution the file does not hold");
        return VelDistributionID(id);
    }
};

void VelResultsFile::Load() {
    const VelContextRef context(m_id);
    const VelResultsSchema& schema = *m_schema;
    if (!context.HasView(VelResultsSchema::e_FormName, VelResultsSchema::e_Level))
        Fail(m_writable ? "VelResultsWriter::Open" : "VelResultsReader::Open",
             Quoted(m_path) + " holds no results: it is a database without a published view " +
                 "of the results form \"" + VelResultsSchema::e_FormName + "\"");
    // Opening with the schema checks the stored types against it.
    const VelViewRead view = context.View(schema.snapshot);
    m_view = view;
    const VelResultsLoader load{view, view.FocusID(), context.Collections(),
                                context.Distributions(),
                                [this](const std::string& r) { Refuse(r); }};
    LoadSteps(load);
    LoadMesh(load);
    LoadBlocks(load);
    LoadSets(load, false);
    LoadSets(load, true);
    LoadFields(load);
}

void VelResultsFile::LoadSteps(const VelResultsLoader& load) {
    const VelResultsSchema& schema = *m_schema;
    const VelSelectionSet series(load.Association(schema.stepSeries), 0, load.focus);
    if (series.Count() != 1) Refuse("the results do not have one series of steps");
    m_stepsRecord = series.Get(0);
    load.Record(m_stepsRecord, schema.steps, "the steps");
    m_steps = load.Collection(schema.collections, m_stepsRecord, "steps", "the steps");
    m_times = load.Distribution(schema.distributions, m_stepsRecord, "times", "the steps");
}

// The times' distribution is loaded only by what reads or extends the times, and checked then.
void VelResultsFile::CheckTimes() const {
    if (m_timesChecked) return;
    const VelDistributionRef distribution(m_times);
    if (!GridIs(distribution.Grid(), {m_steps}) ||
        distribution.RangeType().TypeKey() != VelTypeKeyDouble)
        Refuse("the times are not one double per step");
    if (distribution.NumDrawers() != VelCollectionRef(m_steps).Space())
        Refuse("the file has " + std::to_string(VelCollectionRef(m_steps).Space()) + " steps but " +
               std::to_string(distribution.NumDrawers()) + " times");
    m_timesChecked = true;
}

void VelResultsFile::LoadMesh(const VelResultsLoader& load) {
    const VelResultsSchema& schema = *m_schema;
    const VelSelectionSet meshes(load.Association(schema.meshes), 0, load.focus);
    if (meshes.Count() == 0) return;
    if (meshes.Count() != 1) Refuse("the results have more than one mesh");
    m_meshRecord = meshes.Get(0);
    const VelDataRecord mesh = load.Record(m_meshRecord, schema.mesh, "the mesh");
    m_nodes = load.Collection(schema.collections, m_meshRecord, "nodes", "the mesh");
    m_axes = load.Collection(schema.collections, m_meshRecord, "coordinates", "the mesh");
    m_coordinates =
        load.Distribution(schema.distributions, m_meshRecord, "coordinates", "the mesh");
    m_nodeCount = load.Int(mesh, S::kMeshNodeCount);
    if (m_nodeCount != VelCollectionRef(m_nodes).Space())
        Refuse("the mesh says it has " + std::to_string(m_nodeCount) + " nodes, its collection " +
               std::to_string(VelCollectionRef(m_nodes).Space()));
    if (VelCollectionRef(m_axes).Space() != 3)
        Refuse("the mesh's coordinates are not 3 doubles per node");
    m_hasMesh = true;
}

// Like the times, the coordinates' distribution is loaded and checked by what reads it.
void VelResultsFile::CheckCoordinates() const {
    if (m_coordinatesChecked) return;
    const VelDistributionRef distribution(m_coordinates);
    if (!GridIs(distribution.Grid(), {m_nodes, m_axes}) ||
        distribution.RangeType().TypeKey() != VelTypeKeyDouble)
        Refuse("the mesh's coordinates are not 3 doubles per node");
    m_coordinatesChecked = true;
}

void VelResultsFile::LoadBlocks(const VelResultsLoader& load) {
    const VelResultsSchema& schema = *m_schema;
    const VelSelectionList blocks(load.Association(schema.blocks), 0, load.focus);
    if (blocks.Count() > 0 && !m_hasMesh) Refuse("the file has element blocks but no mesh");
    for (int b = 0; b < blocks.Count(); ++b) {
        Block block;
        block.record = blocks.Get(b);
        const VelDataRecord record = load.Record(block.record, schema.block, "an element block");
        block.name = load.String(record, S::kBlockName);
        const std::string what = "element block " + Quoted(block.name);
        if (block.name.empty() || m_blockIndex.count(block.name))
            Refuse(what + " has no name of its own");
        const std::string cellType = load.String(record, S::kBlockCellType);
        if (!VelCellTypeFromName(cellType, block.cellType))
            Refuse(what + " has the unknown cell type " + Quoted(cellType));
        block.count = load.Int(record, S::kBlockElementCount);
        block.nodesPerElement = load.Int(record, S::kBlockNodesPerElement);
        if (block.nodesPerElement != VelCellTypeNodeCount(block.cellType))
            Refuse(what + " says its " + cellType + " elements have " +
                   std::to_string(block.nodesPerElement) + " nodes");
        block.elements = load.Collection(schema.collections, block.record, "elements", what);
        block.corners = load.Collection(schema.collections, block.record, "corners", what);
        block.connectivity =
            load.Distribution(schema.distributions, block.record, "connectivity", what);
        if (VelCollectionRef(block.elements).Space() != block.count ||
            VelCollectionRef(block.corners).Space() != block.nodesPerElement)
            Refuse(what + " says it has " + std::to_string(block.count) + " elements of " +
                   std::to_string(block.nodesPerElement) + " nodes, its collections " +
                   std::to_string(VelCollectionRef(block.elements).Space()) + " and " +
                   std::to_string(VelCollectionRef(block.corners).Space()));
        const VelDistributionRef distribution(block.connectivity);
        if (!GridIs(distribution.Grid(), {block.elements, block.corners}) ||
            distribution.RangeType().TypeKey() != VelTypeKeyInt)
            Refuse(what + ": its connectivity is not node numbers per element and corner");
        m_blockIndex[block.name] = static_cast<int>(m_blocks.size());
        m_blocks.push_back(block);
    }
}

// The block a set or element field names through BlockOf, by its index.
static int BlockOfRecord(const VelAssociation& blockOf, const VelDynamicID& record,
                         const std::vector<VelResultsFile::Block>& blocks) {
    const VelSelectionSet named(blockOf, 0, record);
    if (named.Count() != 1) return -1;
    for (size_t b = 0; b < blocks.size(); ++b)
        if (blocks[b].record == named.Get(0)) return static_cast<int>(b);
    return -1;
}

void VelResultsFile::LoadSets(const VelResultsLoader& load, bool elementSets) {
    const VelResultsSchema& schema = *m_schema;
    const VelSelectionMap sets(load.Association(elementSets ? schema.elementSets : schema.nodeSets),
                               0, load.focus);
    VelSelectionMapIter it(sets);
    for (it.First(); !it.IsDone(); it.Next()) {
        Set set;
        set.name = it.CurrentKey().c_str();
        set.record = it.CurrentValue();
        const std::string what = (elementSets ? "element set " : "node set ") + Quoted(set.name);
        const VelDataRecord record = load.Record(set.record, schema.set, what);
        if (load.String(record, S::kSetName) != set.name)
            Refuse(what + " is filed under another name");
        if (load.String(record, S::kSetLocation) !=
            (elementSets ? kElementLocation : kNodeLocation))
            Refuse(what + " is not a set of " + (elementSets ? "elements" : "nodes"));
        set.size = load.Int(record, S::kSetSize);
        VelCollectionID collection = m_nodes;
        if (elementSets) {
            set.block = BlockOfRecord(load.Association(schema.blockOf), set.record, m_blocks);
            if (set.block < 0) Refuse(what + " names no element block of the file");
            collection = m_blocks[set.block].elements;
        } else if (!m_hasMesh) {
            Refuse(what + " is a set of a mesh the file does not have");
        }
        const VelSelectionSet members(load.Association(schema.setMembers), 0, set.record);
        if (members.Count() != 1 || !VelCSetID::CanBeConverted(members.Get(0)))
            Refuse(what + " names no CSet");
        set.members = VelCSetID(members.Get(0));
        const int space = VelCollectionRef(collection).Space();
        if (set.members.CollectionID().Compare(collection) != 0)
            Refuse(what + "'s CSet is not one of its " + (elementSets ? "block" : "mesh"));
        if (set.size < 0 || set.size > space)
            Refuse(what + " says it has " + std::to_string(set.size) + " members, its collection " +
                   std::to_string(space));
        if (set.members.Index() < 0 ||
            set.members.Index() >= VelCollectionRef(collection).NumCSets())
            Refuse(what + "'s CSet is not stored in its collection");
        if (VelCSet(set.members).Size() != set.size)
            Refuse(what + " says it has " + std::to_string(set.size) + " members, its CSet " +
                   std::to_string(VelCSet(set.members).Size()));
        (elementSets ? m_elementSetIndex : m_nodeSetIndex)[set.name] =
            static_cast<int>(m_sets.size());
        m_sets.push_back(set);
    }
}

void VelResultsFile::LoadFields(const VelResultsLoader& load) {
    const VelResultsSchema& schema = *m_schema;
    const VelSelectionMap fields(load.Association(schema.fields), 0, load.focus);
    const VelAssociation components = load.Association(schema.components);
    VelSelectionMapIter it(fields);
    for (it.First(); !it.IsDone(); it.Next()) {
        Field field;
        field.name = it.CurrentKey().c_str();
        field.record = it.CurrentValue();
        const std::string what = "field " + Quoted(field.name);
        const VelDataRecord record = load.Record(field.record, schema.field, what);
        if (load.String(record, S::kFieldName) != field.name)
            Refuse(what + " is filed under another name");
        const std::string location = load.String(record, S::kFieldLocation);
        if (location == kElementLocation) {
            field.block = BlockOfRecord(load.Association(schema.blockOf), field.record, m_blocks);
            if (field.block < 0) Refuse(what + " names no element block of the file");
        } else if (location != kNodeLocation || !m_hasMesh) {
            Refuse(what + " is neither over the mesh's nodes nor over an element block");
        }
        field.units = load.String(record, S::kFieldUnits);
        const int count = load.Int(record, S::kFieldComponentCount);
        const VelSelectionList names(components, 0, field.record);
        for (int c = 0; c < names.Count(); ++c)
            field.components.push_back(
                load.String(load.Record(names.Get(c), schema.component, what + "'s component"),
                            S::kComponentName));
        field.componentCollection =
            load.Collection(schema.collections, field.record, "components", what);
        field.values = load.Distribution(schema.distributions, field.record, "values", what);
        const int stored = VelCollectionRef(field.componentCollection).Space();
        if (count < 1 || count != static_cast<int>(field.components.size()) || count != stored)
            Refuse(what + " says it has " + std::to_string(count) + " components; it names " +
                   std::to_string(field.components.size()) + " and its values have " +
                   std::to_string(stored));
        const VelCollectionID entities = field.block < 0 ? m_nodes : m_blocks[field.block].elements;
        const VelDistributionRef distribution(field.values);
        if (!GridIs(distribution.Grid(), {m_steps, entities, field.componentCollection}) ||
            distribution.RangeType().TypeKey() != VelTypeKeyDouble)
            Refuse(what + "'s values are not doubles over its steps, " +
                   (field.block < 0 ? "nodes" : "elements") + " and components");
        m_fieldIndex[field.name] = static_cast<int>(m_fields.size());
        m_fields.push_back(field);
    }
}

// ----------------------------------------------------------------------------------------------
// Reading

int VelResultsFile::StepCount() const {
    return VelCollectionRef(m_steps).Space();
}

const std::vector<double>& VelResultsFile::Times() const {
    if (!m_timesRead) {
        CheckTimes();
        std::vector<double> times(static_cast<size_t>(StepCount()));
        if (!times.empty()) {
            VelTransfer transfer{VelDistributionRef(m_times)};
            transfer.SetRead().SetRequireReadCoverage().SetBufferPadding(false);
            transfer.SetDimOrdinalRange(0, m_steps, 0, StepCount() - 1);
            ReadInto(transfer, times.data(), times.size() * sizeof(double));
        }
        m_timeValues = times;
        m_timesRead = true;
    }
    return m_timeValues;
}

std::vector<double> VelResultsFile::Coordinates() const {
    std::vector<double> xyz(static_cast<size_t>(m_nodeCount) * 3);
    if (!m_hasMesh) return xyz;
    CheckCoordinates();
    VelTransfer transfer{VelDistributionRef(m_coordinates)};
    transfer.SetRead().SetRequireReadCoverage().SetBufferPadding(false);
    transfer.SetDims(All(m_nodes), All(m_axes));
    ReadInto(transfer, xyz.data(), xyz.size() * sizeof(double));
    return xyz;
}

std::vector<int> VelResultsFile::Connectivity(int index) const {
    const Block& block = m_blocks[static_cast<size_t>(index)];
    std::vector<int> nodes(static_cast<size_t>(block.count) *
                           static_cast<size_t>(block.nodesPerElement));
    VelTransfer transfer{VelDistributionRef(block.connectivity)};
    transfer.SetRead().SetRequireReadCoverage().SetBufferPadding(false);
    transfer.SetDims(All(block.elements), All(block.corners));
    ReadInto(transfer, nodes.data(), nodes.size() * sizeof(int));
    // Node numbers come from the file: they index the nodes only once they are known to be ones.
    for (int n : nodes)
        if (n < 0 || n >= m_nodeCount)
            Refuse("element block " + Quoted(block.name) + " names node " + std::to_string(n) +
                   "; the mesh has " + std::to_string(m_nodeCount));
    return nodes;
}

std::vector<int> VelResultsFile::SetMembers(const Set& set) const {
    std::vector<int> ids(static_cast<size_t>(set.size));
    if (set.size > 0) VelCSet(set.members).OrderedMembers(ids.data());
    return ids;
}

int VelResultsFile::BlockIndex(const std::string& name) const {
    const auto it = m_blockIndex.find(name);
    return it == m_blockIndex.end() ? -1 : it->second;
}

int VelResultsFile::SetIndex(const std::string& name, bool elementSet) const {
    const std::map<std::string, int>& index = elementSet ? m_elementSetIndex : m_nodeSetIndex;
    const auto it = index.find(name);
    return it == index.end() ? -1 : it->second;
}

int VelResultsFile::FieldIndex(const std::string& name) const {
    const auto it = m_fieldIndex.find(name);
    return it == m_fieldIndex.end() ? -1 : it->second;
}

int VelResultsFile::RequireBlock(const char* who, const std::string& name) const {
    RequireOpen(who);
    const int index = BlockIndex(name);
    if (index < 0) Fail(who, Quoted(m_path) + " has no element block named " + Quoted(name));
    return index;
}

int VelResultsFile::RequireField(const char* who, const std::string& name) const {
    RequireOpen(who);
    const int index = FieldIndex(name);
    if (index < 0) Fail(who, Quoted(m_path) + " has no field named " + Quoted(name));
    return index;
}

VelResultsField VelResultsFile::FieldHandle(int index) {
    return VelResultsField(shared_from_this(), index);
}

int VelResultsFile::EntityCount(const Field& field) const {
    return field.block < 0 ? m_nodeCount : m_blocks[static_cast<size_t>(field.block)].count;
}

void VelResultsFile::ReadField(int index, int step, int set, double* values, size_t count) const {
    const Field& field = m_fields[static_cast<size_t>(index)];
    const char* const who = "VelResultsField::Read";
    RequireOpen(who);
    if (step < 0 || step >= StepCount())
        Fail(who, "field " + Quoted(field.name) + ": step " + std::to_string(step) +
                      " does not exist; the file has " + std::to_string(StepCount()) + " steps");
    const size_t rows =
        static_cast<size_t>(set < 0 ? EntityCount(field) : m_sets[static_cast<size_t>(set)].size);
    const size_t expected = rows * field.components.size();
    if (count != expected || (expected > 0 && !values))
        Fail(who, "field " + Quoted(field.name) + " has " + std::to_string(expected) +
                      " values there, not " + std::to_string(count));
    if (expected == 0) return;
    const VelCollectionID entities = field.block < 0 ? m_nodes : m_blocks[field.block].elements;
    VelTransfer transfer{VelDistributionRef(field.values)};
    transfer.SetRead().SetRequireReadCoverage().SetBufferPadding(false);
    transfer.SetDimOrdinalRange(0, m_steps, step, step);
    transfer.SetDim(2, All(field.componentCollection));
    if (set < 0) {
        transfer.SetDim(1, All(entities));
        ReadInto(transfer, values, expected * sizeof(double));
        return;
    }
    // Transfers select ascending members: a set kept in another order is read through its
    // ascending twin and its rows put in the set's order here.
    const VelCSet members(m_sets[static_cast<size_t>(set)].members);
    transfer.SetDim(1, members.AscendingID());
    if (members.IsAscending()) {
        ReadInto(transfer, values, expected * sizeof(double));
        return;
    }
    std::vector<double> ascending(expected);
    ReadInto(transfer, ascending.data(), expected * sizeof(double));
    std::vector<int> position(rows);
    members.Permutation(position.data());
    const size_t width = field.components.size();
    for (size_t r = 0; r < rows; ++r)
        std::copy_n(ascending.data() + static_cast<size_t>(position[r]) * width, width,
                    values + r * width);
}

void VelResultsFile::ReadFieldRows(int index, int step, int first, int rows, double* values) const {
    const Field& field = m_fields[static_cast<size_t>(index)];
    const char* const who = "VelResultsField::ReadRows";
    RequireOpen(who);
    if (step < 0 || step >= StepCount())
        Fail(who, "field " + Quoted(field.name) + ": step " + std::to_string(step) +
                      " does not exist; the file has " + std::to_string(StepCount()) + " steps");
    if (rows < 1 || first < 0 || first > EntityCount(field) - rows)
        Fail(who, "field " + Quoted(field.name) + ": rows " + std::to_string(first) + " to " +
                      std::to_string(static_cast<int64_t>(first) + rows - 1) +
                      " are not among its " + std::to_string(EntityCount(field)));
    if (!values) Fail(who, "field " + Quoted(field.name) + ": no buffer given");
    const VelCollectionID entities = field.block < 0 ? m_nodes : m_blocks[field.block].elements;
    VelTransfer transfer{VelDistributionRef(field.values)};
    transfer.SetRead().SetRequireReadCoverage().SetBufferPadding(false);
    transfer.SetDimOrdinalRange(0, m_steps, step, step);
    transfer.SetDimOrdinalRange(1, entities, first, first + rows - 1);
    transfer.SetDim(2, All(field.componentCollection));
    ReadInto(transfer, values,
             static_cast<size_t>(rows) * field.components.size() * sizeof(double));
}

void VelResultsFile::ReadHistory(int index, int entity, double* values, size_t count) const {
    const Field& field = m_fields[static_cast<size_t>(index)];
    const char* const who = "VelResultsField::History";
    RequireOpen(who);
    if (entity < 0 || entity >= EntityCount(field))
        Fail(who, "field " + Quoted(field.name) + " has no row " + std::to_string(entity) +
                      "; it has " + std::to_string(EntityCount(field)));
    const size_t expected = static_cast<size_t>(StepCount()) * field.components.size();
    if (count != expected || (expected > 0 && !values))
        Fail(who, "field " + Quoted(field.name) + " has " + std::to_string(expected) +
                      " values over the steps, not " + std::to_string(count));
    if (expected == 0) return;
    const VelCollectionID entities = field.block < 0 ? m_nodes : m_blocks[field.block].elements;
    VelTransfer transfer{VelDistributionRef(field.values)};
    transfer.SetRead().SetRequireReadCoverage().SetBufferPadding(false);
    transfer.SetDimOrdinalRange(0, m_steps, 0, StepCount() - 1);
    transfer.SetDimOrdinalRange(1, entities, entity, entity);
    transfer.SetDim(2, All(field.componentCollection));
    ReadInto(transfer, values, expected * sizeof(double));
}

std::vector<VelDrawerID> VelResultsFile::StepDrawers(const Field& field) const {
    std::vector<VelDrawerID> drawers(static_cast<size_t>(StepCount()));
    const VelArray<VelDrawerID> all = VelDistributionRef(field.values).Drawers();
    const VelCollectionID entities = field.block < 0 ? m_nodes : m_blocks[field.block].elements;
    for (int d = 0; d < all.Size(); ++d) {
        const VelDrawerDescription description = VelDrawerRef(all[d]).Description();
        const VelOCompartment& compartment = description.Compartment();
        const VelArray<int>& sizes = description.Sizes();
        // Only drawers the way this layer writes them: one step, every row, every component.
        if (description.Serialization() != VelStandardSerialization || compartment.Size() != 3 ||
            compartment[0].CollectionID().Compare(m_steps) != 0 ||
            compartment[1].CollectionID().Compare(entities) != 0 || sizes[0] != 1 ||
            sizes[1] != EntityCount(field) || sizes[2] != static_cast<int>(field.components.size()))
            continue;
        int step = -1;
        VelCSet(compartment[0]).Members(&step);
        if (step >= 0 && step < StepCount()) drawers[static_cast<size_t>(step)] = all[d];
    }
    return drawers;
}

std::string VelResultsFile::CoordinatesPath() const {
    CheckCoordinates();
    const VelArray<VelDrawerID> drawers = VelDistributionRef(m_coordinates).Drawers();
    if (drawers.Size() != 1) Refuse("the mesh's coordinates are not one dataset");
    return VelDrawerRef(drawers[0]).ValuesPath().c_str();
}

std::string VelResultsFile::ConnectivityPath(int block) const {
    const VelArray<VelDrawerID> drawers =
        VelDistributionRef(m_blocks[static_cast<size_t>(block)].connectivity).Drawers();
    if (drawers.Size() != 1)
        Refuse("the connectivity of element block " + Quoted(m_blocks[block].name) +
               " is not one dataset");
    return VelDrawerRef(drawers[0]).ValuesPath().c_str();
}
