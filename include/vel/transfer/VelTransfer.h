#ifndef VEL_TRANSFER_VELTRANSFER_H
#define VEL_TRANSFER_VELTRANSFER_H

#include <cstdint>

#include "vel/VelExport.h"
#include "vel/context/VelCSetID.h"
#include "vel/context/VelCollectionID.h"
#include "vel/context/VelDistributionRef.h"
#include "vel/context/VelGrid.h"
#include "vel/context/VelOCompartment.h"
#include "vel/context/VelRangeType.h"
#include "vel/context/VelRangeValue.h"
#include "vel/core/VelArgsErrorKey.h"
#include "vel/core/VelArray.h"
#include "vel/transfer/VelBufferSet.h"
#include "vel/transfer/VelPool.h"
#include "vel/transfer/VelQualPointer.h"
#include "vel/transfer/VelRangeViewArgs.h"
#include "vel/transfer/VelSerializationType.h"
#include "vel/transfer/VelTransferArgs.h"
#include "vel/transfer/VelTransientDrawer.h"

// Reads values from, or writes values into, one distribution.  A transfer goes through fixed
// phases:
//
//   ModeSetting    after construction: the mode setters (what kind of transfer), then
//   ViewSetting    the view setters (which part of the grid, which serialization), ended by
//                  CheckView, which normalises the arguments and computes the buffer sizes;
//   BufferSetting  the caller supplies buffers of at least the required sizes (or the pool
//                  does); then either
//   Transacting    GetTransientDrawer, ExecRead, ExecWrite, any number of times, or
//   InitializePD   InitializePersistentDrawer: a new drawer filled with one value.
//
// A view setter in any later phase starts the next view on the same transfer and keeps its
// buffers; SetBuffer with a size goes back from Transacting or InitializePD to BufferSetting.
// A call out of order prints a message naming the mistake on the error stream and fails a
// validation, which ends the process; nothing returns an error.
//
// Buffers stay the caller's: the transfer only keeps their addresses and sizes, and every
// buffer set with SetBuffer must be relinquished before the transfer is destroyed.  With
// padding (the default) each used buffer carries 24 bytes of slack so that its data begin on
// a 16-byte boundary; the transient drawer gives the addresses of the data.
//
// In a parallel context (VelManager::CreateContextParallel) ExecWrite, ExecRead and
// InitializePersistentDrawer are collective: every rank makes the same transfers in the same
// order, each with a view of its own.  A new drawer selects the same CSet on every rank in every
// dimension but at most one, where each rank may give its own ordinal range: the ranks' ranges,
// in rank order, follow one another without a gap or an overlap, and the drawer holds their
// union (the collection's full CSet when they cover it).  Existing drawers are written and read
// with any view per rank, as long as the ranks meet the same drawers; each drawer's values move
// in one collective HDF5 call.  Ranks that differ are refused on every rank.  Sparse drawers are
// not offered there.  docs/parallel.md.
struct VelDrawerRequest;

class VEL_API VelTransfer {
public:
    enum Phase {
        ModeSetting = 0,
        ViewSetting = 1,
        BufferSetting = 2,
        Transacting = 3,
        InitializePD = 4
    };

    explicit VelTransfer(const VelDistributionRef& distribution);
    // Caller buffers must have been relinquished (validation).
    ~VelTransfer() noexcept(false);
    VelTransfer(const VelTransfer&) = delete;
    VelTransfer& operator=(const VelTransfer&) = delete;

    // Mode setters, allowed only in ModeSetting; each records its choice in the transfer's
    // VelTransferArgs (see there) and returns the transfer.
    VelTransfer& SetPool(VelPool& pool);
    VelTransfer& SetRead();
    VelTransfer& SetWrite();
    VelTransfer& SetOldDomainOverwrite(bool overwrite);
    VelTransfer& SetMakeNewDrawer();
    VelTransfer& SetMakeNewDrawerChunked(const VelArray<int>& sizes);
    VelTransfer& SetSparseNNonzero(int n);
    // The filters of the drawer SetMakeNewDrawer makes (VelCompression.h), in place of the
    // context's default: the drawer is stored in chunks (the SetMakeNewDrawerChunked sizes, or
    // whole rows of its last dimensions up to 256 KiB) that HDF5 compresses, and is read like
    // any other.  A pipeline this machine lacks fails here; on a transfer that makes no drawer
    // it fails at CheckView, since an existing drawer keeps the filters it was made with.
    VelTransfer& SetCompression(const VelCompression& compression);
    VelTransfer& SetWriteNewDomainError();
    VelTransfer& SetWriteNewDomainMake();
    VelTransfer& SetWriteNewDomainIgnore();
    VelTransfer& SetDrawerHint(const VelDrawerID& drawer);
    VelTransfer& SetLookInOnlyOneDrawer();
    VelTransfer& SetDrawer(const VelDrawerID& drawer);
    VelTransfer& SetRequireReadCoverage();
    VelTransfer& SetBufferPadding(bool padding);

    // View setters, allowed in every phase; the first of a view enters ViewSetting.
    //
    // Dimension d selects the CSet `cset`.
    VelTransfer& SetDim(int d, const VelCSetID& cset);
    // SetDim(0, c0), then SetDim(k, ck) for k = 1, 2, ... up to the first null ck.
    VelTransfer& SetDims(const VelCSetID& c0, VelCSetID c1 = VelCSetID(),
                         VelCSetID c2 = VelCSetID(), VelCSetID c3 = VelCSetID(),
                         VelCSetID c4 = VelCSetID(), VelCSetID c5 = VelCSetID(),
                         VelCSetID c6 = VelCSetID());
    // One SetDim per entry; `ocomp` has one entry per grid collection (assertion).
    VelTransfer& SetDims(const VelOCompartment& ocomp);
    // Dimension d selects positions i to j, both included, of `collection`.  Moving the
    // positions of a dimension that already is a range of the same collection is a lighter
    // change, for which CheckView skips the argument check: stepping a range through a
    // collection costs no validation.
    VelTransfer& SetDimOrdinalRange(int d, const VelCollectionID& collection, int i, int j);
    VelTransfer& SetSerialization(const VelSerializationType& serialization);
    // Extending a drawer is not offered: always a validation failure.
    VelTransfer& SetDimExtension(const VelCSetID& cset);

    // Ends view setting: checks the arguments against the grid when the view changed (a bad
    // key prints the client-error report and fails), then computes the view's extent and the
    // required buffer sizes; in pool mode, buffers too small are replaced.
    void CheckView();

    // Buffer calls, allowed once CheckView has run.
    //
    // The bytes buffer e must have, padding included; 0 when the view does not use it.
    int RequiredBufferSize(int e) const;
    static constexpr int BufferCount() { return VelnDpaBufferType; }
    // Gives the transfer the caller's buffer e of `size` bytes (refused in pool mode).
    VelTransfer& SetBuffer(int e, void* p, int size);
    // Takes buffer e back from the transfer (in pool mode: returns it to the pool).
    VelTransfer& RelinquishBuffer(int e);
    VelTransfer& RelinquishBuffers();
    // The declared size of buffer e and, outside pool mode, the buffer itself.
    int BufferSize(int e) const;
    void* Buffer(int e) const;
    // Whether some buffer is smaller than the view requires.
    bool BufferInadequate() const;

    // The transfer phase.  A reading transfer must ExecRead before it looks at its data.
    const VelTransientDrawer& GetTransientDrawer();
    const VelTransientDrawer& ExecRead();
    void ExecWrite();
    // Instead of the transfer phase: a new drawer over the view with every value `rvalue`,
    // which must be of the distribution's range type.  Needs SetMakeNewDrawer and no buffers.
    void InitializePersistentDrawer(const VelRangeValue& rvalue);

    // Bytes for n elements of type k in a padded buffer: n * element size + 24.
    static int FullBufferSize(VelTypeKey k, int n);
    // The data of a padded buffer that starts at p (a multiple of 8): the first multiple of 16
    // at least 8 bytes past p, with key k and qualifier 1.
    static VelQualPointer DataPart(VelTypeKey k, void* p);

    Phase GetPhase() const { return m_phase; }
    const VelTransferArgs& TransferArgs() const { return m_transferArgs; }
    const VelRangeViewArgs& RangeViewArgs() const { return m_rangeViewArgs; }
    // How many times CheckView has run the argument check.
    int ArgumentChecks() const { return m_argumentChecks; }

private:
    VelTransferArgs& ModeArgs(const char* setter);
    void EnterViewSetting();
    void RequireCheckedView(const char* operation) const;
    bool InPoolMode() const { return m_transferArgs.Pool() != nullptr; }
    bool HoldsCallerBuffer() const;

    void ReportBadArguments(VelArgsErrorKey key) const;
    void RequireNewDrawerForCompression() const;
    VelArgsErrorKey CheckOrdinalRanges() const;
    void InitializeBufferSetting();
    void ComputeDimensionSizes();
    void ComputeInnerSizes();
    void ComputeOCompartment();
    void ProvidePoolBuffers();
    static int BufferBytes(int64_t count, int elementSize);
    VelDrawerRequest Request() const;

    void InstallBuffer(int e, void* p, int size);
    void ReleaseBuffer(int e);

    void EnterTransferPhase();
    void InitializeTransacting();

    // The slack of a padded buffer, in bytes.
    static constexpr int e_Slack = 24;
    // The most bytes of data one buffer may hold: sizes are 32-bit, slack included.
    static constexpr int64_t e_MaxDataBytes = 0x7FFFFFFF - e_Slack;

    Phase m_phase = ModeSetting;
    VelTransferArgs m_transferArgs;
    VelRangeViewArgs m_rangeViewArgs;
    VelDistributionRef m_distributionRef;
    // Copies of the distribution's grid and range type, which never change.
    VelGrid m_grid;
    VelRangeType m_rangeType;
    bool m_viewChanged = true;
    bool m_rangeOnlyChanged = false;
    // Set once the arguments passed the complete check; until then every CheckView runs it.
    bool m_argumentsChecked = false;
    int m_argumentChecks = 0;
    int m_paddingAmount = 0;
    VelTransientDrawer m_transientDrawer;
    VelBufferSet m_outerBufferSet;
    VelBufferSizes m_actualBufferSizes;
    VelBufferSizes m_requiredBufferSizes;
    int m_readPending = 0;
};

#endif
