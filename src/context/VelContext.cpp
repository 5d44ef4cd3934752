#include "context/VelContext.h"

#include <vector>

#include "context/VelContextLayout.h"
#include "context/VelIDAccess.h"
#include "context/VelStorageGuard.h"
#include "hdf/hdf_Journal.h"
#include "vel/core/VelAssert.h"
#include "vel/core/VelIdAsString.h"

namespace {

template <class ID, class Map, class Iterator>
VelArray<ID> KeysOf(const Map& map) {
    VelArray<ID> ids(map.Count());
    int i = 0;
    Iterator it(map);
    for (it.First(); !it.IsDone(); it.Next()) ids[i++] = it.CurrentKey();
    return ids;
}

using CollectionMap = VelAutoBtree<VelCollectionID, VelAutoPtr<VelCollection>>;
using CollectionIterator = VelAutoBtreeIterator<VelCollectionID, VelAutoPtr<VelCollection>>;
using DistributionMap = VelAutoBtree<VelDistributionID, VelAutoPtr<VelDistribution>>;
using DistributionIterator = VelAutoBtreeIterator<VelDistributionID, VelAutoPtr<VelDistribution>>;
using DSetMap = VelAutoBtree<VelDSetID, VelAutoPtr<VelDSet>>;
using DSetIterator = VelAutoBtreeIterator<VelDSetID, VelAutoPtr<VelDSet>>;

// Database files are opened through the journaled driver.
hdf_PropListFileAccess JournaledAccess() {
    hdf_PropListFileAccess access;
    hdf_Journal::Use(access.ID());
    return access;
}

}  // namespace

VelContext::VelContext() : m_readOnly(false), m_nextID(0) {}

void VelContext::SetIdentity(const VelContextID& id, const char* name) {
    VelASSERT(m_myID.IsNull() && m_name.Empty());
    m_myID = id;
    m_name = name;
}

void VelContext::Create(hdf_File::CreateFlags flags, int schemaVersion,
                        mem_CacheManager& allocator) {
    m_pool.emplace(allocator, e_PoolBlockSize);
    char block[VelSignature::e_Size];
    VelSignature::Fill(block, schemaVersion);
    m_file = CreateFile(flags, block);
    m_abandoned = hdf_Journal::FailureFlag(m_file.GetFileID());
    m_readOnly = false;
    const int attributes[2] = {m_nextID, ObjectCount() + 2 * VelNUM_CONTEXT_TYPES};
    VelContextLayout::CreateContextAttributes(m_file, attributes);
    m_storedAttributes[0] = attributes[0];
    m_storedAttributes[1] = attributes[1];
    CreateRecordStore();
    // The new database is the file's first commit: a kill from here on leaves a file that opens.
    Checkpoint(false);
}

int VelContext::Open(hdf_File::OpenFlags flags, int schemaVersion, mem_CacheManager& allocator) {
    char block[VelSignature::e_Size];
    hdf_File file = OpenFile(flags, block);
    if (file.IsEmpty()) return e_Unreadable;
    const int result = VelSignature::Check(block, schemaVersion);
    if (result != VelSignature::e_Accepted) return result;
    m_file = file;
    m_abandoned = hdf_Journal::FailureFlag(m_file.GetFileID());
    m_readOnly = flags == hdf_File::OpenFlagsReadOnly;
    m_pool.emplace(allocator, e_PoolBlockSize);
    Load();
    return result;
}

hdf_File VelContext::CreateFile(hdf_File::CreateFlags flags, const char* block) {
    if (m_collective)
        return m_collective->CreateFile(m_name.c_str(), flags, block, VelSignature::e_Size);
    return hdf_File::Create(m_name.c_str(), flags, JournaledAccess(), block, VelSignature::e_Size);
}

hdf_File VelContext::OpenFile(hdf_File::OpenFlags flags, char* block) {
    if (m_collective)
        return m_collective->OpenFile(m_name.c_str(), flags, block, VelSignature::e_Size);
    return hdf_File::Open_NoThrow(m_name.c_str(), flags, JournaledAccess(), block,
                                  VelSignature::e_Size);
}

void VelContext::Agree(const char* operation, std::initializer_list<int64_t> arguments) const {
    if (m_collective) m_collective->Agree(operation, arguments);
}

// One walk over the root group's members reads every "type"; every count, kind and serial read
// there is checked before it is trusted.  The objects themselves are read on first use.
void VelContext::Load() {
    int attributes[2] = {0, 0};
    VelContextLayout::ReadContextAttributes(m_file, attributes);
    m_nextID = attributes[0];
    VelASSERT(m_nextID >= 0 && m_nextID <= VelCollectionID::e_ExcessiveCollectionID);
    m_storedAttributes[0] = attributes[0];
    m_storedAttributes[1] = attributes[1];
    const long long sz = attributes[1];
    if (sz >= 1) {
        // Held open for the walk: an iteration opens and closes the root itself, and with
        // eviction on close its close would let the root's cached entries go, which every
        // member's lookup would then read again.
        const hdf_Group root = m_file.GroupOpen("/");
        const std::vector<hdf_Group::Link> links = root.Links();
        const long long numObjects = static_cast<long long>(links.size());
        // The condition texts are kept as written.
        // clang-format off
        VelASSERT(numObjects >= sz-2*VelNUM_CONTEXT_TYPES);
        // clang-format on
        for (const TypedMember& member : TypedMembers(links)) LoadObject(member);
        const long long numLoaded = ObjectCount();
        // clang-format off
        VelASSERT(numLoaded == sz-2*VelNUM_CONTEXT_TYPES);
        // clang-format on
    }
    OpenRecordStore();
    if (!m_readOnly) RemoveUncommitted();
}

// A member named by a serial the stored counter has not handed out is passed over by its name
// alone: it was never part of a written-back state, and its object may be incomplete.  Only hard
// links to groups are objects; "Context attributes" was opened as a dataset already, and any
// other member is tried as a group once, so that a name is looked up once however the member
// turns out.
std::vector<VelContext::TypedMember> VelContext::TypedMembers(
    const std::vector<hdf_Group::Link>& links) {
    std::vector<TypedMember> members;
    for (const hdf_Group::Link& link : links) {
        TypedMember member;
        member.name = link.name;
        int serial = -1;
        if (VelContextLayout::NumberOfName(member.name, serial) &&
            (serial < 0 || serial >= m_nextID)) {
            m_uncommitted.push_back(member.name);
            continue;
        }
        if (!link.hard || member.name == VelContextLayout::e_ContextAttributes) continue;
        member.group = OpenGroup(member.name);
        if (member.group.IsEmpty()) continue;
        // A group without a "type" is no object of the context; it is left to whoever made it.
        if (!VelContextLayout::ReadTypeIfAny(member.group, member.kind, member.minor)) continue;
        const int kind = member.kind;
        VelASSERT(kind >= VelObjectKindCollection && kind <= VelObjectKindRecord);
        // Drawers live under their distribution, never under the root.
        VelASSERT(kind != VelObjectKindDrawer);
        members.push_back(member);
    }
    return members;
}

// The root member `name` as a group, empty when it is no group; a group that does not open
// raises HDF5's failure.
hdf_Group VelContext::OpenGroup(const cow_String& name) const {
    hdf_Exception failure;
    const hdf_Group group = m_file.GroupTryOpen(name.c_str(), failure);
    if (group.IsEmpty() && m_file.GetObjinfoType(name.c_str()) == hdf_Group::ObjectTypeGroup)
        failure.Propagate();
    return group;
}

void VelContext::LoadObject(const TypedMember& member) {
    const int minor = member.minor;
    bool inserted = true;
    switch (member.kind) {
        case VelObjectKindCollection:
            // A stored collection is color 0, and its serial was handed out before.
            VelASSERT(VelCollectionID::ColorOf(minor) == 0 && minor < m_nextID);
            {
                const VelCollectionID id = VelIDAccess::MakeCollectionID(m_myID, minor);
                inserted = m_collectionMap.Insert(id, VelAutoPtr<VelCollection>(), false);
            }
            break;
        case VelObjectKindDistribution:
            // Its minor came from the same counter as the collection serials.
            VelASSERT(minor >= 0 && minor < m_nextID);
            {
                const VelDistributionID id = VelIDAccess::MakeDistributionID(m_myID, minor);
                inserted = m_distributionMap.Insert(id, VelAutoPtr<VelDistribution>(), false);
            }
            break;
        case VelObjectKindDSet:
            VelASSERT(minor >= 0 && minor < m_nextID);
            {
                const VelDSetID id = VelIDAccess::MakeDSetID(m_myID, minor);
                inserted = m_dsetMap.Insert(id, VelAutoPtr<VelDSet>(), false);
            }
            break;
        case VelObjectKindStringTable:
            if (member.name == VelContextLayout::e_StringTable) m_stringTable = member.group;
            break;
        case VelObjectKindRecord:
            if (member.name == VelContextLayout::e_Record) m_record = member.group;
            break;
    }
    // Two groups claiming the same object.
    VelASSERT(inserted);
    // Collections, distributions and DSets share one counter and are named by their serial, so
    // a "type" naming another serial claims another object.
    const bool namedBySerial =
        member.kind > VelObjectKindDSet || member.name == VelIdAsString(minor);
    VelASSERT(namedBySerial && "an object's group is not named by the serial of its \"type\"");
    if (member.kind <= VelObjectKindDSet) m_unread[minor] = member;
}

const VelContext::TypedMember& VelContext::Unread(int minor) const {
    const auto found = m_unread.find(minor);
    VelASSERT(found != m_unread.end());
    return found->second;
}

// A failed read leaves the object unread: the next use reads it again and is refused again.
VelCollection& VelContext::Read(const VelCollectionID& id, VelAutoPtr<VelCollection>& slot) {
    const int minor = id.Minor().Value();
    slot = VelGuardStorage(
        [&] { return VelCollection::Open(Unread(minor).group, id, m_readOnly, Pool()); });
    m_unread.erase(minor);
    return *slot;
}

// A distribution's grid and range type name collections, which need only be known to the
// context, not read.
VelDistribution& VelContext::Read(const VelDistributionID& id, VelAutoPtr<VelDistribution>& slot) {
    const int minor = id.Minor().Value();
    slot = VelGuardStorage([&] { return VelDistribution::Open(*this, Unread(minor).group, id); });
    m_unread.erase(minor);
    return *slot;
}

VelDSet& VelContext::Read(const VelDSetID& id, VelAutoPtr<VelDSet>& slot) {
    const int minor = id.Minor().Value();
    slot = VelGuardStorage([&] { return VelDSet::Open(*this, Unread(minor).group, id); });
    m_unread.erase(minor);
    return *slot;
}

void VelContext::RemoveUncommitted() {
    for (const cow_String& name : m_uncommitted) m_file.Unlink(name.c_str());
    m_uncommitted.clear();
}

void VelContext::CreateRecordStore() {
    m_stringTable = m_file.GroupCreate(VelContextLayout::e_StringTable, 0);
    VelContextLayout::WriteType(m_stringTable, VelObjectKindStringTable, 0);
    m_record = m_file.GroupCreate(VelContextLayout::e_Record, 0);
    VelContextLayout::WriteType(m_record, VelObjectKindRecord, 0);
}

// The walk over the root's members has found the store's groups already unless the context
// counted no objects at all.
void VelContext::OpenRecordStore() {
    if (m_stringTable.IsEmpty())
        m_stringTable = OpenStoreGroup(VelContextLayout::e_StringTable, VelObjectKindStringTable);
    if (m_record.IsEmpty())
        m_record = OpenStoreGroup(VelContextLayout::e_Record, VelObjectKindRecord);
}

hdf_Group VelContext::OpenStoreGroup(const char* name, int expectedKind) const {
    hdf_Group group = m_file.GroupOpen(name);
    int kind = -1;
    int minor = -1;
    VelContextLayout::ReadType(group, kind, minor);
    VelASSERT(kind == expectedKind);
    return group;
}

int VelContext::ObjectCount() const {
    return m_collectionMap.Count() + m_distributionMap.Count() + m_dsetMap.Count();
}

// Objects never read have nothing to write back.
void VelContext::WriteBack() {
    CollectionIterator it(m_collectionMap);
    for (it.First(); !it.IsDone(); it.Next())
        if (it.CurrentValue()) it.CurrentValue()->Flush(false);
    DistributionIterator distributions(m_distributionMap);
    for (distributions.First(); !distributions.IsDone(); distributions.Next())
        if (distributions.CurrentValue()) distributions.CurrentValue()->Flush();
    WriteContextAttributes();
}

void VelContext::CloseUnusedDrawers() {
    DistributionIterator distributions(m_distributionMap);
    for (distributions.First(); !distributions.IsDone(); distributions.Next())
        if (distributions.CurrentValue()) distributions.CurrentValue()->CloseUnusedDrawers();
}

void VelContext::WriteContextAttributes() {
    const int attributes[2] = {m_nextID, ObjectCount() + 2 * VelNUM_CONTEXT_TYPES};
    if (attributes[0] == m_storedAttributes[0] && attributes[1] == m_storedAttributes[1]) return;
    VelContextLayout::WriteContextAttributes(m_file, attributes);
    m_storedAttributes[0] = attributes[0];
    m_storedAttributes[1] = attributes[1];
}

// Everything is written while the commit is being prepared, so that the write-back reaches the
// file in one step with the HDF5 objects it describes.  Drawers not in use are let go of after
// the commit, when the cache holds nothing dirty for their closes to list: their own entries were
// written by the commit.
void VelContext::Checkpoint(bool sync) {
    VelASSERT(!m_readOnly && !m_file.IsEmpty());
    hdf_Journal::BeginCommit(m_file.GetFileID());
    if (m_recordStore) m_recordStore->WriteBack();
    WriteBack();
    if (sync) {
        m_file.Sync();
    } else {
        m_file.Flush();
    }
    CloseUnusedDrawers();
}

void VelContext::Abandon() {
    if (!m_file.IsEmpty()) hdf_Journal::Abandon(m_file.GetFileID());
}

void VelContext::Close() {
    if (!m_file.IsEmpty()) Agree("VelManager::CloseContext", {});
    const bool writeBack = !m_file.IsEmpty() && !m_readOnly && !IsAbandoned();
    if (writeBack) hdf_Journal::BeginCommit(m_file.GetFileID());
    if (m_recordStore) {
        m_recordStore->Close(writeBack);
        m_recordStore.Reset();
    }
    if (writeBack) WriteBack();
    CollectionIterator it(m_collectionMap);
    for (it.First(); !it.IsDone(); it.Next())
        if (it.CurrentValue()) it.CurrentValue()->Close();
    m_collectionMap.Clear();
    m_distributionMap.Clear();
    m_dsetMap.Clear();
    m_unread.clear();
    m_stringTable.Nullify();
    m_record.Nullify();
    m_file.Nullify();
}

int VelContext::AllocateCollectionSerial() {
    VelASSERT(m_nextID < VelCollectionID::e_ExcessiveCollectionID);
    return m_nextID++;
}

VelCollectionID VelContext::CreateCollection(int size) {
    Agree("VelContextRef::CreateCollection", {size});
    const VelCollectionID id = VelIDAccess::MakeCollectionID(m_myID, AllocateCollectionSerial());
    m_collectionMap.Insert(id, VelCollection::Create(m_file, id, size, m_readOnly, Pool()), false);
    return id;
}

VelCollection& VelContext::Collection(const VelCollectionID& id) {
    const VelCollectionID cid = id.AltColor(0);
    VelVALIDATE(m_collectionMap.IsMember(cid));
    VelAutoPtr<VelCollection>& slot = m_collectionMap.Get(cid);
    return slot ? *slot : Read(cid, slot);
}

bool VelContext::HasCollection(const VelCollectionID& id) const {
    return !id.IsNull() && m_collectionMap.IsMember(id.AltColor(0));
}

VelDistributionID VelContext::CreateDistribution(const VelGrid& grid,
                                                 const VelRangeType& rangeType) {
    VelVALIDATE(!m_readOnly);
    if (m_collective) {
        std::vector<int64_t> arguments{rangeType.TypeKey()};
        for (int i = 0; i < grid.Size(); ++i) arguments.push_back(grid[i].Minor().Value());
        m_collective->Agree("VelContextRef::CreateDistribution", arguments);
    }
    const VelDistributionID id =
        VelIDAccess::MakeDistributionID(m_myID, AllocateCollectionSerial());
    m_distributionMap.Insert(id, VelDistribution::Create(*this, id, grid, rangeType), false);
    return id;
}

VelDSetID VelContext::CreateDSet(const VelCtation& ctation) {
    VelVALIDATE(!m_readOnly);
    Agree("VelContextRef::CreateDSet", {ctation.Size()});
    const VelDSetID id = VelIDAccess::MakeDSetID(m_myID, AllocateCollectionSerial());
    m_dsetMap.Insert(id, VelDSet::Create(*this, id, ctation), false);
    return id;
}

VelDistribution& VelContext::Distribution(const VelDistributionID& id) {
    VelVALIDATE(m_distributionMap.IsMember(id));
    VelAutoPtr<VelDistribution>& slot = m_distributionMap.Get(id);
    return slot ? *slot : Read(id, slot);
}

// Reading a DSet on first use changes nothing the context holds, only when it is read.
const VelCtation& VelContext::DSetRep(const VelDSetID& id) const {
    VelVALIDATE(m_dsetMap.IsMember(id));
    VelContext& self = const_cast<VelContext&>(*this);
    VelAutoPtr<VelDSet>& slot = self.m_dsetMap.Get(id);
    return (slot ? *slot : self.Read(id, slot)).Ctation();
}

VelCollectionID VelContext::CollectionID(int minorWord) const {
    const VelCollectionID cid = VelIDAccess::MakeCollectionID(m_myID, minorWord).AltColor(0);
    VelVALIDATE(m_collectionMap.IsMember(cid));
    return cid.AltColor(VelCollectionID::ColorOf(minorWord));
}

VelDistributionID VelContext::DistributionID(int minor) const {
    const VelDistributionID did = VelIDAccess::MakeDistributionID(m_myID, minor);
    VelVALIDATE(m_distributionMap.IsMember(did));
    return did;
}

VelArray<VelCollectionID> VelContext::Collections() const {
    return KeysOf<VelCollectionID, CollectionMap, CollectionIterator>(m_collectionMap);
}

VelArray<VelDistributionID> VelContext::Distributions() const {
    return KeysOf<VelDistributionID, DistributionMap, DistributionIterator>(m_distributionMap);
}

VelArray<VelDSetID> VelContext::DSets() const {
    return KeysOf<VelDSetID, DSetMap, DSetIterator>(m_dsetMap);
}
