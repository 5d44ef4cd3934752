#ifndef VEL_CONTEXT_VELMANAGER_H
#define VEL_CONTEXT_VELMANAGER_H

#include <memory>

#include "vel/VelExport.h"
#include "vel/context/VelContextID.h"
#include "vel/core/VelAutoBtree.h"
#include "vel/core/VelAutoPtr.h"
#include "vel/hdf/hdf_File.h"
#include "vel/platform/mem_Memory.h"

class VelCollective;
class VelContext;
struct VelManagerAccess;

// The process-wide registry of open contexts (database files).  dpa_initialize makes the one
// instance, a cache manager named "VelCacheManager" from which every context's cache pool is
// drawn; dpa_finalize has it close every context still open.  Every operation is static and
// requires the library to be started.
//
// Each create or open takes the next value of the context counter, also an open that is
// refused, so a context value is never handed out twice in a process.  Persistent and
// temporary contexts are kept in two maps ordered by context value.
class VEL_API VelManager : public mem_CacheManager {
public:
    // Creates a database file with its signature block and registers it.  Creation has no
    // error return: a storage failure prints its message on standard output and stops the
    // process with the assertion "0".
    static VelContextID CreateContext(const char* fileName, hdf_File::CreateFlags flags,
                                      int schemaVersion);
    // The same for a temporary context: schema version -1, and every ID derived from it
    // carries the temp flag.
    static VelContextID CreateTempContext(const char* fileName, hdf_File::CreateFlags flags);
    // Opens a database file written with exactly `schemaVersion` by this file format.  A file
    // already open under the same name gives its ID again (and takes no counter value); a
    // refused file (not a database, altered signature, other versions) gives a null ID.
    static VelContextID OpenContext(const char* fileName, hdf_File::OpenFlags flags,
                                    int schemaVersion);
#ifdef VEL_PARALLEL
    // Parallel contexts (built with VEL_PARALLEL): every rank of `comm` creates or opens the same
    // database file through HDF5's MPI-IO driver.  Both are collective, and so is everything
    // that changes what the file holds or how it is laid out: creating collections, CSets,
    // distributions, DSets and drawers, ExtendSpace, transfers (every rank makes the same
    // transfers, in the same order, each with its own block of the view: see VelTransfer),
    // records (views, transactions, publishing), checkpoints and CloseContext.  Every rank
    // makes these calls in the same order with the same arguments; the library checks that it
    // does (one small reduction per call) and refuses a call made with different arguments on
    // different ranks with a validation failure on every rank.  A rank that waits longer than
    // the collective timeout (SetCollectiveTimeout) for the others prints the call it waited
    // in and aborts the job.  Reading what the file names (IDs, sizes, records) is
    // independent.  docs/parallel.md states the rules and what a checkpoint guarantees.
    //
    // A parallel checkpoint writes back the same state as a serial one and flushes the file
    // collectively, which forces it to storage: FlushContext and SyncContext do the same.
    // Between checkpoints HDF5 keeps its changes in memory and puts new values behind the
    // file's end, so a job killed between checkpoints leaves a file that a serial reader opens
    // with its last checkpoint; a kill while a checkpoint writes its metadata is not covered.
    // Commits of records reach the file with the next checkpoint, its only flush.
    static VelContextID CreateContextParallel(const char* fileName, hdf_File::CreateFlags flags,
                                              int schemaVersion, MPI_Comm comm);
    static VelContextID OpenContextParallel(const char* fileName, hdf_File::OpenFlags flags,
                                            int schemaVersion, MPI_Comm comm);
    // How long a rank waits for the others in one collective call before it aborts the job
    // (MPI_Abort); 600 seconds unless set, no bound when `seconds` is not positive.
    static void SetCollectiveTimeout(double seconds);
#endif

    // Writes the context back and closes its file; an ID that is not open is ignored.
    static void CloseContext(VelContextID id);

    // Checkpoints.  A database file changes on disk only when it is committed: at a checkpoint,
    // when a transaction commits, when a view is created or published, at hdf_File::Flush and
    // VelCollectionRef::Flush(true), and when the context closes.  A commit reaches the file in
    // one step that no kill can split, so a process killed at any moment leaves a file that
    // opens with the state of its last commit; what was made after it is not there.
    //
    // FlushContext writes back everything the context holds that a later open needs ("Context
    // attributes", every collection's attributes and index table, every distribution's drawer
    // catalogue, the record store's serial counter) and commits the file.  It costs what changed
    // since the last commit: a checkpoint after which nothing changed writes nothing.  It
    // survives the death of the process (a kill, a crash, the batch system), not the loss of
    // the machine: the operating system may still hold the file's data in memory.
    //
    // SyncContext does the same and then forces the file to stable storage (fsync, in the
    // order a power loss needs).  After a power loss the file holds the state of the last
    // SyncContext, provided that no commit without a sync followed it: such a commit may have
    // reached the disk only in part, and the file may then be unreadable.  A writer that must
    // survive a power loss syncs at every checkpoint, and closes its context after a sync.
    //
    // Values written in place into an existing drawer (the overwrite policy) go to the file as
    // they are written: a drawer being rewritten at the kill keeps whatever had reached the file.
    //
    // The context must be open and writable (validations, nothing written otherwise).  A storage
    // failure during a checkpoint (a full disk) prints its message on standard output and stops
    // the process with the assertion "0"; the file keeps its previous commit.
    static void FlushContext(const VelContextID& id);
    static void SyncContext(const VelContextID& id);

    ~VelManager() override;

private:
    friend struct VelManagerAccess;
    using ContextMap = VelAutoBtree<VelContextID, VelAutoPtr<VelContext>>;

    VelManager();
    static VelManager& Running();

    VelContextID Create(const char* fileName, hdf_File::CreateFlags flags, int schemaVersion,
                        bool isTemp, std::unique_ptr<VelCollective> collective = nullptr);
    VelContextID Open(const char* fileName, hdf_File::OpenFlags flags, int schemaVersion,
                      std::unique_ptr<VelCollective> collective = nullptr);
    void Close(const VelContextID& id);
    void Checkpoint(const VelContextID& id, bool sync);
    VelContextID NextID(bool isTemp);
    VelContext* Find(unsigned value) const;
    VelContext* FindByName(const char* fileName) const;
    void Start();
    void Shut();
    int OpenCount() const {
        return m_contexts.Count() + m_tempContexts.Count();
    }

    unsigned m_contextCounter;
    bool m_shut;
    ContextMap m_contexts;
    ContextMap m_tempContexts;
};

#endif
