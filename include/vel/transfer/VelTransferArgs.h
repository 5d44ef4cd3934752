#ifndef VEL_TRANSFER_VELTRANSFERARGS_H
#define VEL_TRANSFER_VELTRANSFERARGS_H

#include "vel/VelExport.h"
#include "vel/context/VelCompression.h"
#include "vel/context/VelDistributionID.h"
#include "vel/core/VelArgsErrorKey.h"
#include "vel/core/VelArray.h"
#include "vel/platform/aio_Stream.h"
#include "vel/transfer/VelOptionalFlag.h"

class VelPool;
class VelTransfer;

// The mode of a transfer: whether it reads and/or writes, which drawer it uses, what a write
// does with values for domain that no drawer covers or that a drawer already holds, the chunking
// of a new drawer, buffer padding and the buffer pool.
//
// Setters only record the caller's choices, each returning the object for chaining; none
// clears a choice and none validates.  Contradictions are found, and choices left undefined are
// filled in, by VelNormalizeArgs (VelNormalizeArgs.h), which a transfer runs before it sizes its
// buffers.
class VEL_API VelTransferArgs {
public:
    VelTransferArgs() = default;

    VelTransferArgs& SetRead();
    VelTransferArgs& SetWrite();
    VelTransferArgs& SetOldDomainOverwrite(bool overwrite);
    // A write that creates a new drawer; also sets writing and the make-new-domain policy.
    VelTransferArgs& SetMakeNewDrawer();
    // SetMakeNewDrawer with the new drawer's chunk sizes, one per grid dimension.
    VelTransferArgs& SetMakeNewDrawerChunked(const VelArray<int>& sizes);
    // The filters of the new drawer, in place of its context's default compression.
    VelTransferArgs& SetCompression(const VelCompression& compression);
    // The number of nonzeros of a new sparse drawer.
    VelTransferArgs& SetSparseNNonzero(int n);
    VelTransferArgs& SetWriteNewDomainError();
    VelTransferArgs& SetWriteNewDomainMake();
    VelTransferArgs& SetWriteNewDomainIgnore();
    // Names a drawer to try first; other drawers may still be searched.
    VelTransferArgs& SetDrawerHint(const VelDrawerID& drawer);
    VelTransferArgs& SetLookInOnlyOneDrawer();
    // Names the one drawer to use.
    VelTransferArgs& SetDrawer(const VelDrawerID& drawer);
    VelTransferArgs& SetRequireReadCoverage();
    VelTransferArgs& SetPadding(bool padding);
    // Selects pool mode: the transfer takes its buffers from `pool`, which it does not own.
    VelTransferArgs& SetPool(VelPool& pool);

    VelPool* Pool() const { return m_pool; }
    bool Write() const { return m_writing; }
    bool Read() const { return m_reading; }
    bool Extending() const { return m_extending; }
    const VelOptionalFlag& OldDomainOverwrite() const { return m_oldDomainOverwrite; }
    const VelOptionalFlag& MakeNewDrawer() const { return m_makeNewDrawer; }
    const VelOptionalFlag& WriteNewDomainError() const { return m_writeNewDomainError; }
    const VelOptionalFlag& WriteNewDomainMake() const { return m_writeNewDomainMake; }
    const VelOptionalFlag& WriteNewDomainIgnore() const { return m_writeNewDomainIgnore; }
    const VelDrawerID& IndicatedDrawer() const { return m_indicatedDrawer; }
    const VelOptionalFlag& LookInOnlyOneDrawer() const { return m_lookInOnlyOneDrawer; }
    const VelOptionalFlag& RequireReadCoverage() const { return m_requireReadCoverage; }
    bool ChunkSizesGiven() const { return m_chunkSizesGiven; }
    const VelArray<int>& ChunkSizes() const { return m_chunkSizes; }
    bool CompressionGiven() const { return m_compressionGiven; }
    const VelCompression& Compression() const { return m_compression; }
    bool Padding() const { return m_padding; }
    int SparseNNonzero() const { return m_sparseNNonzero; }

    // One line per field, each flushed: "Is writing: 1", ..., "sparseNNonzero: 0", then
    // "compression: <name>" when one was given.  The pool and padding are not printed.
    void WriteToOstream(aio_ostream& os) const;

private:
    // Normalisation fills in and clears choices, which no setter does.
    friend VelArgsErrorKey VelNormalizeArgs(VelTransferArgs& args);
    // The transfer guards its view setters on m_extending.
    friend class VelTransfer;

    VelPool* m_pool = nullptr;
    bool m_writing = false;
    bool m_reading = false;
    // Extending a drawer along its first dimension is not offered, so nothing sets this yet.
    bool m_extending = false;
    VelOptionalFlag m_oldDomainOverwrite;
    VelOptionalFlag m_makeNewDrawer;
    VelOptionalFlag m_writeNewDomainError;
    VelOptionalFlag m_writeNewDomainMake;
    VelOptionalFlag m_writeNewDomainIgnore;
    VelDrawerID m_indicatedDrawer;
    VelOptionalFlag m_lookInOnlyOneDrawer;
    VelOptionalFlag m_requireReadCoverage;
    bool m_chunkSizesGiven = false;
    VelArray<int> m_chunkSizes;
    bool m_padding = true;
    int m_sparseNNonzero = 0;
    bool m_compressionGiven = false;
    VelCompression m_compression;
};

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelTransferArgs& args);

#endif
