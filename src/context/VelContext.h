#ifndef VEL_CONTEXT_VELCONTEXT_H
#define VEL_CONTEXT_VELCONTEXT_H

#include <map>
#include <optional>
#include <vector>

#include "context/VelCollection.h"
#include "context/VelCollective.h"
#include "context/VelDSet.h"
#include "context/VelDistribution.h"
#include "context/VelSignature.h"
#include "vel/context/VelCollectionID.h"
#include "vel/context/VelCompression.h"
#include "vel/context/VelContextID.h"
#include "vel/context/VelDSetID.h"
#include "vel/context/VelDistributionID.h"
#include "vel/context/VelGrid.h"
#include "vel/context/VelRangeType.h"
#include "vel/core/VelArray.h"
#include "vel/core/VelAutoBtree.h"
#include "vel/core/VelAutoPtr.h"
#include "vel/core/VelBtree.h"
#include "vel/hdf/hdf_File.h"
#include "vel/platform/cow_String.h"
#include "vel/platform/mem_Memory.h"

// What a later area keeps with a context: the record store.  The context owns it and closes it
// first when the context closes, while the file is still open.
class VelContextAttachment : public mem_AllocationOperators {
public:
    virtual ~VelContextAttachment() = default;
    // Writes back what a later open needs of it; the context commits the file afterwards.
    virtual void WriteBack() = 0;
    // Writes back what it holds (unless `writeBack` is false: the file was given up) and
    // releases its HDF5 objects; never throws.
    virtual void Close(bool writeBack) = 0;
};

// One open database file, owned by the manager.
//
// The context keeps the file, its cache pool, the serial counter (m_nextID) and a map per kind
// of object from the object's ID to the object it owns.  Opening a file finds the objects (one
// pass over the root's members and their "type"s, with every check that needs no more) and
// keys the maps with them; an object is read, with every check of what it stores, when it is
// first used, so that an open costs the same however much the objects hold.  The maps' sizes
// are what "Context attributes" counts at write-back, where every collection and distribution
// that was read is flushed.
//
// The file is opened through the journaled driver (hdf/hdf_Journal.h): it changes on disk only
// when it is committed, at a checkpoint, at the record store's commits and when it closes, so a
// kill at any moment leaves the state of the last commit.  Loading trusts "Context attributes"
// as the truth of what the file holds: a root member named by a serial at or beyond the stored
// next serial was made after the state the file records (by a writer that committed its HDF5
// objects without writing the context back) and is neither opened nor loaded; a writable open
// removes it, so that its name can be handed out again.
//
// Every method that touches the file may throw hdf_Exception; the manager turns an escaping
// exception into a printed message and an assertion failure.
class VelContext : public mem_AllocationOperators {
public:
    // A pool block holds one new collection's index table: 256 entries of six ints.
    static constexpr size_t e_PoolBlockSize = 256 * 6 * sizeof(int);

    // The result of Open for a file that cannot be read as an HDF5 file with a signature block
    // (missing, shorter than the block, not HDF5).
    static constexpr int e_Unreadable = -1;

    VelContext();
    VelContext(const VelContext&) = delete;
    VelContext& operator=(const VelContext&) = delete;

    // Gives the context its identity; a context gets one exactly once.
    void SetIdentity(const VelContextID& id, const char* name);
    // Makes the context a parallel one, before Create or Open: its file is then shared by the
    // ranks through MPI-IO instead of the journaled driver, and its collective operations are
    // checked (VelCollective::Agree).
    void SetCollective(std::unique_ptr<VelCollective> collective) {
        m_collective = std::move(collective);
    }
    // The ranks sharing the context; null for a serial context.
    VelCollective* Collective() const { return m_collective.get(); }
    // VelCollective::Agree for a parallel context; nothing for a serial one.
    void Agree(const char* operation, std::initializer_list<int64_t> arguments) const;

    // Creates the file: signature block with `schemaVersion`, "Context attributes" [0, 8] and
    // the record store.
    void Create(hdf_File::CreateFlags flags, int schemaVersion, mem_CacheManager& allocator);
    // Opens and checks the file; on VelSignature::e_Accepted the context is loaded, on any other
    // result the file is released again and the context holds nothing.
    int Open(hdf_File::OpenFlags flags, int schemaVersion, mem_CacheManager& allocator);
    // Write-back (when the file is writable), then releases every HDF5 object the context
    // holds; the file commits what the close wrote when HDF5 lets it go.
    void Close();
    // A checkpoint: writes back everything a later open needs and commits the file; with `sync`
    // the file is on stable storage when it returns.  The context must be writable.  Throws
    // hdf_Exception on a storage failure, after which the file still holds the previous commit.
    void Checkpoint(bool sync);
    // Gives the file up after a failure: it keeps its last commit, the context writes nothing
    // more, and every use but closing it is refused.
    void Abandon();
    bool IsAbandoned() const { return m_abandoned && *m_abandoned; }

    const VelContextID& ID() const { return m_myID; }
    const cow_String& Name() const { return m_name; }
    bool IsReadOnly() const { return m_readOnly; }
    const hdf_File& File() const { return m_file; }
    mem_CachePool* Pool() { return m_pool ? &*m_pool : nullptr; }
    const hdf_Group& StringTableGroup() const { return m_stringTable; }
    const hdf_Group& RecordGroup() const { return m_record; }
    // The record store, made by the views area on first use; null until then.
    VelContextAttachment* RecordStore() const { return m_recordStore.Get(); }
    void SetRecordStore(VelAutoPtr<VelContextAttachment> store) { m_recordStore = store; }

    // Takes the next collection serial number.
    int AllocateCollectionSerial();
    // A new collection of `size` members, color 0; the context must be writable.
    VelCollectionID CreateCollection(int size);
    // The collection `id` names, whatever its color; it must be in this context.
    VelCollection& Collection(const VelCollectionID& id);
    // Whether `id` names (in any color) a collection of this context.
    bool HasCollection(const VelCollectionID& id) const;

    // Distributions and DSets take their minors from the collection serial counter (m_nextID):
    // their groups share the root's names with the collections', so one counter keeps every
    // name unique, and "Context attributes" already persists it, so no minor is handed out
    // twice, across close and reopen as well.  The context must be writable.
    VelDistributionID CreateDistribution(const VelGrid& grid, const VelRangeType& rangeType);
    VelDSetID CreateDSet(const VelCtation& ctation);
    // The distribution or DSet `id` names; it must be in this context.
    VelDistribution& Distribution(const VelDistributionID& id);
    const VelCtation& DSetRep(const VelDSetID& id) const;

    // The full ID of the collection whose minor word is `minorWord` (its color kept); the
    // collection must be in this context.
    VelCollectionID CollectionID(int minorWord) const;
    // The full ID of the distribution with minor `minor`; it must be in this context.
    VelDistributionID DistributionID(int minor) const;

    VelArray<VelCollectionID> Collections() const;
    VelArray<VelDistributionID> Distributions() const;
    VelArray<VelDSetID> DSets() const;

    // What drawers made without a compression of their own are compressed with.
    void SetDefaultCompression(const VelCompression& c) { m_defaultCompression = c; }
    const VelCompression& DefaultCompression() const { return m_defaultCompression; }

private:
    // A group under the root with its "type" attribute.
    struct TypedMember {
        cow_String name;
        hdf_Group group;
        int kind = -1;
        int minor = -1;
    };

    void Load();
    hdf_File CreateFile(hdf_File::CreateFlags flags, const char* block);
    hdf_File OpenFile(hdf_File::OpenFlags flags, char* block);
    std::vector<TypedMember> TypedMembers(const std::vector<hdf_Group::Link>& links);
    hdf_Group OpenGroup(const cow_String& name) const;
    void RemoveUncommitted();
    void LoadObject(const TypedMember& member);
    // The object of an open file, read on its first use; a damaged one is refused there, and
    // again at every later use.
    VelCollection& Read(const VelCollectionID& id, VelAutoPtr<VelCollection>& slot);
    VelDistribution& Read(const VelDistributionID& id, VelAutoPtr<VelDistribution>& slot);
    VelDSet& Read(const VelDSetID& id, VelAutoPtr<VelDSet>& slot);
    const TypedMember& Unread(int minor) const;
    void CreateRecordStore();
    void OpenRecordStore();
    hdf_Group OpenStoreGroup(const char* name, int kind) const;
    void WriteBack();
    void CloseUnusedDrawers();
    void WriteContextAttributes();
    int ObjectCount() const;

    VelContextID m_myID;
    cow_String m_name;
    // Outlives the file, which a parallel context closes collectively.
    std::unique_ptr<VelCollective> m_collective;
    hdf_File m_file;
    // The journaled driver's flag of a given-up file.
    const bool* m_abandoned = nullptr;
    bool m_readOnly;
    std::optional<mem_CachePool> m_pool;
    int m_nextID;
    // "Context attributes" as the file holds them, so that a write-back that changes nothing
    // writes nothing.
    int m_storedAttributes[2] = {-1, -1};
    // Root members made after the state the file records; a writable open removes them.
    std::vector<cow_String> m_uncommitted;
    // Keyed by color 0 IDs.  An object found by the open and not read yet is held as null, its
    // group in m_unread under its serial.
    VelAutoBtree<VelCollectionID, VelAutoPtr<VelCollection>> m_collectionMap;
    VelAutoBtree<VelDistributionID, VelAutoPtr<VelDistribution>> m_distributionMap;
    VelAutoBtree<VelDSetID, VelAutoPtr<VelDSet>> m_dsetMap;
    std::map<int, TypedMember> m_unread;
    hdf_Group m_stringTable;
    hdf_Group m_record;
    VelAutoPtr<VelContextAttachment> m_recordStore;
    VelCompression m_defaultCompression;
};

#endif
