#include "vel/transfer/VelTransfer.h"

#include <exception>

#include "context/VelCollective.h"
#include "context/VelIDAccess.h"
#include "transfer/VelDrawerIO.h"
#include "vel/context/VelCSet.h"
#include "vel/core/VelAssert.h"
#include "vel/platform/aio_Stream.h"
#include "vel/transfer/VelNormalizeArgs.h"

VelTransfer::VelTransfer(const VelDistributionRef& distribution)
    : m_distributionRef(distribution),
      m_grid(distribution.Grid()),
      m_rangeType(distribution.RangeType()) {
    m_rangeViewArgs.SetSize(m_grid.Size());
}

// A transfer that goes away because a failure is being thrown past it (VelThrowOnFailure) had
// no chance to relinquish its buffers: they are dropped without a word, and nothing is thrown
// while another exception is on its way.
VelTransfer::~VelTransfer() noexcept(false) {
    if (InPoolMode()) {
        for (int e = 0; e < BufferCount(); ++e) ReleaseBuffer(e);
        return;
    }
    if (VelAssert::FailurePolicy() == VelThrowOnFailure && std::uncaught_exceptions() > 0) return;
    if (HoldsCallerBuffer()) {
        aio_cerr << "\ndpa Transfer error: must relinquish all buffers for which SetBuffer was "
                    "called\n"
                 << "non-zero buffer sizes: " << m_actualBufferSizes << "\n";
        VelVALIDATE(!HoldsCallerBuffer());
    }
}

bool VelTransfer::HoldsCallerBuffer() const {
    for (int e = 0; e < BufferCount(); ++e) {
        if (m_outerBufferSet[e] || m_actualBufferSizes[e]) return true;
    }
    return false;
}

// ---- Mode setting

VelTransferArgs& VelTransfer::ModeArgs(const char* setter) {
    if (m_phase != ModeSetting) {
        aio_cerr << "\ndpa Transfer error: " << setter
                 << " can only be called just after the Transfer is constructed\n";
        VelVALIDATE(m_phase == ModeSetting);
    }
    return m_transferArgs;
}

VelTransfer& VelTransfer::SetPool(VelPool& pool) {
    ModeArgs("SetPool").SetPool(pool);
    return *this;
}

VelTransfer& VelTransfer::SetRead() {
    ModeArgs("SetRead").SetRead();
    return *this;
}

VelTransfer& VelTransfer::SetWrite() {
    ModeArgs("SetWrite").SetWrite();
    return *this;
}

VelTransfer& VelTransfer::SetOldDomainOverwrite(bool overwrite) {
    ModeArgs("SetOldDomainOverwrite").SetOldDomainOverwrite(overwrite);
    return *this;
}

VelTransfer& VelTransfer::SetMakeNewDrawer() {
    ModeArgs("SetMakeNewDrawer").SetMakeNewDrawer();
    return *this;
}

VelTransfer& VelTransfer::SetMakeNewDrawerChunked(const VelArray<int>& sizes) {
    ModeArgs("SetMakeNewDrawerChunked").SetMakeNewDrawerChunked(sizes);
    return *this;
}

VelTransfer& VelTransfer::SetSparseNNonzero(int n) {
    ModeArgs("SetSparseNNonzero").SetSparseNNonzero(n);
    return *this;
}

VelTransfer& VelTransfer::SetCompression(const VelCompression& compression) {
    VelTransferArgs& args = ModeArgs("SetCompression");
    compression.RequireAvailable();
    args.SetCompression(compression);
    return *this;
}

VelTransfer& VelTransfer::SetWriteNewDomainError() {
    ModeArgs("SetWriteNewDomainError").SetWriteNewDomainError();
    return *this;
}

VelTransfer& VelTransfer::SetWriteNewDomainMake() {
    ModeArgs("SetWriteNewDomainMake").SetWriteNewDomainMake();
    return *this;
}

VelTransfer& VelTransfer::SetWriteNewDomainIgnore() {
    ModeArgs("SetWriteNewDomainIgnore").SetWriteNewDomainIgnore();
    return *this;
}

VelTransfer& VelTransfer::SetDrawerHint(const VelDrawerID& drawer) {
    ModeArgs("SetDrawerHint").SetDrawerHint(drawer);
    return *this;
}

VelTransfer& VelTransfer::SetLookInOnlyOneDrawer() {
    ModeArgs("SetLookInOnlyOneDrawer").SetLookInOnlyOneDrawer();
    return *this;
}

VelTransfer& VelTransfer::SetDrawer(const VelDrawerID& drawer) {
    ModeArgs("SetDrawer").SetDrawer(drawer);
    return *this;
}

VelTransfer& VelTransfer::SetRequireReadCoverage() {
    ModeArgs("SetRequireReadCoverage").SetRequireReadCoverage();
    return *this;
}

VelTransfer& VelTransfer::SetBufferPadding(bool padding) {
    ModeArgs("SetBufferPadding").SetPadding(padding);
    return *this;
}

// ---- View setting

void VelTransfer::EnterViewSetting() {
    if (m_phase == ModeSetting) {
        // The mode is fixed from here on.
        m_transientDrawer.m_readOnly = !m_transferArgs.Read();
        m_transientDrawer.m_rangeType = m_rangeType;
        m_transientDrawer.m_sizes.SetSize(m_grid.Size());
        m_transientDrawer.m_initialized = true;
    }
    if (m_phase != ViewSetting) {
        m_phase = ViewSetting;
        m_viewChanged = false;
        m_rangeOnlyChanged = false;
    }
}

VelTransfer& VelTransfer::SetDim(int d, const VelCSetID& cset) {
    EnterViewSetting();
    // clang-format off
    VelVALIDATE(! m_transferArgs.m_extending);
    // clang-format on
    m_rangeViewArgs.SetDim(d, cset);
    m_viewChanged = true;
    return *this;
}

VelTransfer& VelTransfer::SetDims(const VelCSetID& c0, VelCSetID c1, VelCSetID c2, VelCSetID c3,
                                  VelCSetID c4, VelCSetID c5, VelCSetID c6) {
    EnterViewSetting();
    SetDim(0, c0);
    const VelCSetID* const rest[] = {&c1, &c2, &c3, &c4, &c5, &c6};
    for (int k = 1; k <= 6; ++k) {
        const VelCSetID& ck = *rest[k - 1];
        // The trailing arguments default to the null ID: absent.
        if (ck.IsNull()) break;
        SetDim(k, ck);
    }
    return *this;
}

VelTransfer& VelTransfer::SetDims(const VelOCompartment& ocomp) {
    EnterViewSetting();
    VelASSERT(ocomp.Size() == m_grid.Size());
    for (int k = 0; k < ocomp.Size(); ++k) SetDim(k, ocomp[k]);
    return *this;
}

VelTransfer& VelTransfer::SetDimOrdinalRange(int d, const VelCollectionID& collection, int i,
                                             int j) {
    EnterViewSetting();
    const VelDimSelection& current = m_rangeViewArgs.DimSelection(d);
    const bool sameCollection =
        current.IsOrdinalRange() && current.CollectionID().Compare(collection) == 0;
    m_rangeViewArgs.SetDimOrdinalRange(d, collection, i, j);
    if (sameCollection) {
        m_rangeOnlyChanged = true;
    } else {
        m_viewChanged = true;
    }
    return *this;
}

VelTransfer& VelTransfer::SetSerialization(const VelSerializationType& serialization) {
    EnterViewSetting();
    m_rangeViewArgs.SetSerialization(serialization);
    m_transientDrawer.m_serializationType = serialization;
    m_viewChanged = true;
    return *this;
}

VelTransfer& VelTransfer::SetDimExtension(const VelCSetID&) {
    VelVALIDATE(!" SetDimExtension Not implemented yet ");
    return *this;
}

// ---- CheckView

void VelTransfer::CheckView() {
    VelVALIDATE(m_phase == ViewSetting);
    // A view of no dimensions can come without a change flag; the mode must still be
    // normalised once, since every later step reads its filled-in choices.
    if (!m_argumentsChecked) m_viewChanged = true;
    if (m_viewChanged) {
        ++m_argumentChecks;
        VelArgsErrorKey key = VelNormalizeArgs(m_rangeViewArgs, m_transferArgs, m_grid);
        // In a parallel context the ranks' ordinal ranges join into one new drawer; the check
        // refusing them is the normalisation's last, so everything else has been normalised.
        if (key == VelArgsOrdinalRangeOnNewDrawer &&
            VelCollectiveOf(m_distributionRef.ID().ContextID().Value()))
            key = VelArgsNoError;
        if (key != VelArgsNoError) ReportBadArguments(key);
        RequireNewDrawerForCompression();
        m_argumentsChecked = true;
    } else if (m_rangeOnlyChanged) {
        // Only positions moved, but they are still the caller's input: the bounds rule of the
        // complete check, which is all that can have changed, costs one test per dimension.
        const VelArgsErrorKey key = CheckOrdinalRanges();
        if (key != VelArgsNoError) ReportBadArguments(key);
    }
    InitializeBufferSetting();
    m_viewChanged = false;
    m_rangeOnlyChanged = false;
}

VelArgsErrorKey VelTransfer::CheckOrdinalRanges() const {
    for (int d = 0; d < m_rangeViewArgs.Size(); ++d) {
        const VelDimSelection& selection = m_rangeViewArgs.DimSelection(d);
        if (!selection.IsOrdinalRange()) continue;
        if (selection.First() < 0 || selection.Last() < selection.First())
            return VelArgsBadOrdinalRange;
    }
    return VelArgsNoError;
}

void VelTransfer::RequireNewDrawerForCompression() const {
    if (!m_transferArgs.CompressionGiven() || m_transferArgs.MakeNewDrawer().IsTrue()) return;
    VelAssert::FailValidation(
        "VelTransfer::SetCompression: compression is chosen for the drawer SetMakeNewDrawer "
        "makes; an existing drawer keeps the filters it was made with");
}

void VelTransfer::ReportBadArguments(VelArgsErrorKey key) const {
    aio_cerr << "\ndpa client error: Bad arguments to Transfer: " << VelMessageOf(key) << "\n";
    aio_cerr << "\n+++ Print of Transfer data Begins\n";
    aio_cerr << "Distribution grid: " << m_grid << "\n";
    aio_cerr << m_rangeViewArgs;
    aio_cerr << m_transferArgs;
    aio_cerr << "+++ Print of Transfer data Ends\n"
             << "\n";
    VelVALIDATE(key == VelArgsNoError);
}

void VelTransfer::InitializeBufferSetting() {
    m_phase = BufferSetting;
    // Padding is fixed in ModeSetting, so the amount is 0 or the slack for the whole transfer.
    if (m_viewChanged && m_transferArgs.Padding())
        m_paddingAmount = FullBufferSize(VelTypeKeyInt, 0);
    ComputeDimensionSizes();
    ComputeInnerSizes();
    for (int e = BufferCount() - 1; e >= 0; --e) {
        const int inner = m_transientDrawer.m_innerBufferSizes[e];
        m_requiredBufferSizes[e] = inner != 0 ? m_paddingAmount + inner : 0;
    }
    ComputeOCompartment();
    if (InPoolMode()) ProvidePoolBuffers();
}

void VelTransfer::ComputeDimensionSizes() {
    VelArray<int>& sizes = m_transientDrawer.m_sizes;
    for (int d = m_rangeViewArgs.Size() - 1; d >= 0; --d) {
        const VelDimSelection& selection = m_rangeViewArgs.DimSelection(d);
        if (selection.IsCSet()) {
            sizes[d] = VelCSet(selection.CSetID()).Size();
        } else if (selection.IsOrdinalRange()) {
            const int64_t positions = int64_t(selection.Last()) - selection.First() + 1;
            VelVALIDATE(positions <= 0x7FFFFFFF);
            sizes[d] = static_cast<int>(positions);
        } else {
            VelASSERT(!"Bad selection");
        }
    }
}

int VelTransfer::BufferBytes(int64_t count, int elementSize) {
    const int64_t bytes = count * elementSize;
    VelVALIDATE(bytes >= 0 && bytes <= e_MaxDataBytes);
    return static_cast<int>(bytes);
}

void VelTransfer::ComputeInnerSizes() {
    VelBufferSizes& inner = m_transientDrawer.m_innerBufferSizes;
    VelBufferDataKeys& keys = m_transientDrawer.m_dataKeys;
    inner.Init();
    keys.Init();
    const VelTypeKey key = m_rangeType.TypeKey();
    const int elementSize = VelElementSizeOf(key);
    const VelArray<int>& sizes = m_transientDrawer.m_sizes;
    const VelSerializationKey serialization = m_rangeViewArgs.SerializationType().Key();

    switch (serialization) {
        case VelStandardSerialization: {
            // Kept just past the limit once there, so that seven large dimensions cannot
            // overflow the product before BufferBytes refuses it.
            int64_t count = 1;
            for (int d = 0; d < sizes.Size(); ++d) {
                count *= sizes[d];
                if (count > e_MaxDataBytes) count = e_MaxDataBytes + 1;
            }
            inner[VelbufMain] = BufferBytes(count, elementSize);
            keys[VelbufMain] = key;
            return;
        }
        case VelUniformitySerialization:
            VelASSERT(!"not implemented yet");
        case VelSparseSerialization:
        case VelSparseSymSerialization:
            if (!m_transferArgs.MakeNewDrawer().IsTrue()) {
                // A sparse distribution has its values in exactly one drawer, whose arrays
                // fix the buffers.
                const VelArray<VelDrawerID> descArray = m_distributionRef.Drawers();
                VelASSERT(descArray.Size() == 1);
                const VelDrawerBufferLayout layout =
                    VelDrawerIO::Current().SparseLayout(m_distributionRef, descArray[0]);
                inner = layout.sizes;
                keys = layout.keys;
                return;
            }
            {
                // A compressed-row matrix of n rows: the nonzeros and their column indices,
                // n + 1 row starts, and for a symmetric matrix the diagonal apart.
                const int nnz = m_transferArgs.SparseNNonzero();
                VelVALIDATE(nnz >= 0);
                const int n = sizes[0];
                inner[VelbufMain] = BufferBytes(nnz, elementSize);
                keys[VelbufMain] = key;
                inner[VelbufIndicesNZ] = BufferBytes(nnz, VelElementSizeOf(VelTypeKeyInt));
                keys[VelbufIndicesNZ] = VelTypeKeyInt;
                inner[VelbufSparseMap] =
                    BufferBytes(int64_t(n) + 1, VelElementSizeOf(VelTypeKeyInt));
                keys[VelbufSparseMap] = VelTypeKeyInt;
                if (serialization == VelSparseSymSerialization) {
                    inner[VelbufDiagonal] = BufferBytes(n, elementSize);
                    keys[VelbufDiagonal] = key;
                }
            }
            return;
        case VelVoidSerialization:
            break;
    }
    VelASSERT(!"Unsupported serialization type");
}

void VelTransfer::ComputeOCompartment() {
    VelArray<VelCSetID> ids(m_rangeViewArgs.Size());
    for (int d = ids.Size() - 1; d >= 0; --d) {
        const VelDimSelection& selection = m_rangeViewArgs.DimSelection(d);
        if (selection.IsCSet()) {
            ids[d] = selection.CSetID();
        } else if (selection.IsOrdinalRange()) {
            ids[d] = VelIDAccess::MakeCSetID(selection.CollectionID(), -1);
        } else {
            VelASSERT(!"Bad selection");
        }
    }
    m_transientDrawer.m_oCompartment = VelOCompartment(ids);
}

void VelTransfer::ProvidePoolBuffers() {
    VelPool& pool = *m_transferArgs.Pool();
    for (int kk = 0; kk < BufferCount(); ++kk) {
        const int required = m_requiredBufferSizes[kk];
        if (m_actualBufferSizes[kk] >= required) continue;
        if (m_actualBufferSizes[kk] != 0) {
            VelASSERT(m_outerBufferSet[kk]);
            pool.free(m_outerBufferSet[kk]);
            m_outerBufferSet[kk] = nullptr;
            m_actualBufferSizes[kk] = 0;
        }
        InstallBuffer(kk, pool.malloc(static_cast<size_t>(required)), required);
    }
}

// ---- Buffers

void VelTransfer::RequireCheckedView(const char* operation) const {
    if (m_phase < BufferSetting) {
        aio_cerr << "\nVelTransfer error: You can't call " << operation
                 << " until after calling CheckView()\n";
        VelVALIDATE(m_phase >= BufferSetting);
    }
}

int VelTransfer::RequiredBufferSize(int e) const {
    RequireCheckedView("RequiredBufferSize");
    VelVALIDATE(e < m_outerBufferSet.Count());
    return m_requiredBufferSizes[e];
}

void VelTransfer::InstallBuffer(int e, void* p, int size) {
    VelVALIDATE(size > 0);
    if (!p) {
        aio_cerr << "\ndpa Transfer: error,  setting buffer with zero pointer but claimed nonzero "
                    "size\n";
        VelVALIDATE(p != nullptr);
    }
    m_outerBufferSet[e] = p;
    m_actualBufferSizes[e] = size;
    // Found again, past the padding, when the transfer phase is entered.
    m_transientDrawer.m_innerBufferSet[e] = nullptr;
    if (m_phase == Transacting || m_phase == InitializePD) m_phase = BufferSetting;
}

void VelTransfer::ReleaseBuffer(int e) {
    if (InPoolMode() && m_outerBufferSet[e]) m_transferArgs.Pool()->free(m_outerBufferSet[e]);
    m_outerBufferSet[e] = nullptr;
    m_actualBufferSizes[e] = 0;
    m_transientDrawer.m_innerBufferSizes[e] = 0;
    m_transientDrawer.m_innerBufferSet[e] = nullptr;
}

VelTransfer& VelTransfer::SetBuffer(int e, void* p, int size) {
    if (InPoolMode()) {
        aio_cerr << "VelTransfer: error, can't call SetBuffer if SetPool has been called\n";
        VelVALIDATE(!InPoolMode());
    }
    RequireCheckedView("SetBuffer/RelinquishBuffer");
    VelCheckBufferType(e);
    if (size == 0) {
        ReleaseBuffer(e);
    } else {
        InstallBuffer(e, p, size);
    }
    return *this;
}

VelTransfer& VelTransfer::RelinquishBuffer(int e) {
    RequireCheckedView("SetBuffer/RelinquishBuffer");
    VelCheckBufferType(e);
    ReleaseBuffer(e);
    return *this;
}

VelTransfer& VelTransfer::RelinquishBuffers() {
    for (int e = 0; e < BufferCount(); ++e) RelinquishBuffer(e);
    return *this;
}

int VelTransfer::BufferSize(int e) const {
    return m_actualBufferSizes[e];
}

void* VelTransfer::Buffer(int e) const {
    if (InPoolMode()) {
        aio_cerr << "VelTransfer: error -- direct access to buffer is not allowed in pool mode.   "
                    "Use TransientDrawer::Data to see the data\n";
        VelVALIDATE(!InPoolMode());
    }
    return m_outerBufferSet[e];
}

bool VelTransfer::BufferInadequate() const {
    RequireCheckedView("BufferInadequate");
    for (int e = 0; e < BufferCount(); ++e) {
        if (m_actualBufferSizes[e] < m_requiredBufferSizes[e]) return true;
    }
    return false;
}

int VelTransfer::FullBufferSize(VelTypeKey k, int n) {
    return BufferBytes(n, VelElementSizeOf(k)) + e_Slack;
}

VelQualPointer VelTransfer::DataPart(VelTypeKey k, void* p) {
    const uintptr_t inp = reinterpret_cast<uintptr_t>(p);
    VelVALIDATE((inp & 07) == 0);
    // At least 8 bytes in, on a 16-byte boundary: 8 bytes in when p is 8 modulo 16, else 16.
    const uintptr_t offset = ((inp + 23) & ~uintptr_t(15)) - inp;
    return VelQualPointer(static_cast<char*>(p) + offset, k, true);
}

// ---- The transfer phase

void VelTransfer::EnterTransferPhase() {
    switch (m_phase) {
        case Transacting:
            return;
        case BufferSetting:
            InitializeTransacting();
            return;
        case InitializePD:
            aio_cerr << "\nGetTransientDrawer,ExecRead, or ExecWrite can't be mixed with "
                        "InitializePersistentDrawer\n";
            VelVALIDATE(m_phase != InitializePD);
            return;
        case ModeSetting:
        case ViewSetting:
            break;
    }
    aio_cerr << "\nSome Transfer-phase operation was called out of sequence on the Transfer.  "
                "Call CheckView()?\n";
    VelVALIDATE(m_phase == BufferSetting);
}

void VelTransfer::InitializeTransacting() {
    m_phase = Transacting;
    if (m_transferArgs.Read()) m_readPending = 1;
    VelBufferSet& inner = m_transientDrawer.m_innerBufferSet;
    for (int e = 0; e < BufferCount(); ++e) {
        if (m_actualBufferSizes[e] < m_requiredBufferSizes[e]) {
            aio_cerr << "\ndpa Transfer error: inadequate or unset buffer(s)\n"
                     << "Required buffer sizes: " << m_requiredBufferSizes << "\n"
                     << "Actual buffer sizes: " << m_actualBufferSizes << "\n";
            VelVALIDATE(m_actualBufferSizes[e] >= m_requiredBufferSizes[e]);
        }
        if (m_requiredBufferSizes[e] != 0) {
            // Relinquishing a buffer cleared its data size; the view's is the requirement less
            // the padding.
            m_transientDrawer.m_innerBufferSizes[e] = m_requiredBufferSizes[e] - m_paddingAmount;
            if (!inner[e]) {
                inner[e] =
                    m_paddingAmount != 0
                        ? DataPart(m_transientDrawer.m_dataKeys[e], m_outerBufferSet[e]).Address()
                        : m_outerBufferSet[e];
            }
        } else {
            m_transientDrawer.m_innerBufferSizes[e] = 0;
            inner[e] = nullptr;
            m_transientDrawer.m_dataKeys[e] = VelTypeKey();
        }
    }
}

VelDrawerRequest VelTransfer::Request() const {
    return VelDrawerRequest{m_distributionRef, m_rangeViewArgs, m_transferArgs, m_transientDrawer};
}

const VelTransientDrawer& VelTransfer::GetTransientDrawer() {
    EnterTransferPhase();
    if (m_readPending) {
        aio_cerr << "\ndpa Transfer error: You need to call ExecRead() first.\n";
        VelVALIDATE(!m_readPending);
    }
    return m_transientDrawer;
}

const VelTransientDrawer& VelTransfer::ExecRead() {
    VelASSERT(m_transferArgs.Read());
    EnterTransferPhase();
    switch (m_rangeViewArgs.SerializationType().Key()) {
        case VelStandardSerialization:
            VelDrawerIO::Current().ReadDense(Request());
            break;
        case VelSparseSerialization:
        case VelSparseSymSerialization:
            VelDrawerIO::Current().ReadSparse(Request());
            break;
        default:
            VelASSERT(!"Unsupported serialization type");
    }
    m_readPending = 0;
    return m_transientDrawer;
}

void VelTransfer::ExecWrite() {
    VelASSERT(m_transferArgs.Write());
    EnterTransferPhase();
    const bool makeNewDrawer = m_transferArgs.MakeNewDrawer().Value();
    VelDrawerIO& io = VelDrawerIO::Current();
    switch (m_rangeViewArgs.SerializationType().Key()) {
        case VelStandardSerialization:
            if (makeNewDrawer) {
                io.CreateDenseDrawer(Request());
            } else {
                io.WriteDense(Request());
            }
            return;
        case VelSparseSerialization:
        case VelSparseSymSerialization:
            if (makeNewDrawer) {
                io.CreateSparseDrawer(Request());
            } else {
                io.WriteSparse(Request());
            }
            return;
        default:
            break;
    }
    VelASSERT(!"Unsupported serialization type");
}

void VelTransfer::InitializePersistentDrawer(const VelRangeValue& rvalue) {
    if (m_phase == InitializePD) {
        aio_cerr << "Can't call InitializePersistentDrawer more than once on same drawer\n";
        VelVALIDATE(m_phase != InitializePD);
    }
    if (m_phase == Transacting) {
        aio_cerr << "\nInitializePersistentDrawer can't be mixed with GetTransientDrawer,ExecRead, "
                    "or ExecWrite\n";
    } else if (m_phase != BufferSetting) {
        aio_cerr << "\nInitializePersistentDrawer was called out of sequence on the Transfer.  "
                    "Call CheckView()?\n";
        VelVALIDATE(m_phase == BufferSetting || m_phase == Transacting);
    }
    m_phase = InitializePD;
    VelVALIDATE(m_distributionRef.RangeType().TypeKey() == rvalue.TypeKey());
    VelVALIDATE(m_transferArgs.MakeNewDrawer().IsTrue());
    VelDrawerIO::Current().InitializePersistentDrawer(Request(), rvalue);
}
