#ifndef VEL_TRANSFER_VELDRAWERDESCRIPTION_H
#define VEL_TRANSFER_VELDRAWERDESCRIPTION_H

#include "vel/VelExport.h"
#include "vel/context/VelCompression.h"
#include "vel/context/VelDistributionID.h"
#include "vel/context/VelOCompartment.h"
#include "vel/core/VelArray.h"
#include "vel/platform/aio_Stream.h"
#include "vel/transfer/VelBufferSet.h"
#include "vel/transfer/VelSerializationType.h"

// What is stored about one drawer of a distribution: the block of the grid it covers (one
// ascending CSet per dimension, in the drawer's own dimension order, which is the order of the
// view that made it), how its values are laid out, and what a transfer of the whole drawer
// needs.  A description is a value: it stays as it was when it was taken.
//
// A default-constructed description describes nothing; reading it fails with "m_created".
class VEL_API VelDrawerDescription {
public:
    VelDrawerDescription() = default;

    bool IsCreated() const { return m_created; }
    const VelDrawerID& ID() const;
    // StandardSerialization, SparseSerialization or SparseSymSerialization.
    VelSerializationKey Serialization() const;
    // The serialization a transfer of the whole drawer reads it back in: standard, or sparse
    // (sparse-symmetric for a symmetric drawer).
    VelSerializationType ReadSerialization() const;
    const VelOCompartment& Compartment() const;
    // The size of each dimension's CSet: the extents of a standard drawer's dataset.  A sparse
    // drawer has one row per member of dimension 0.
    const VelArray<int>& Sizes() const;
    // The chunk shape of a standard drawer stored in chunks; empty when it is stored contiguous.
    const VelArray<int>& ChunkSizes() const;
    // The filters the drawer's values pass through in the file; none for an uncompressed
    // drawer (and for an empty one, which has no chunk to compress).
    const VelCompression& Compression() const;
    // Sparse drawers: the nonzeros stored off the diagonal (all of them when not symmetric).
    int NumNonzeros() const;
    bool IsSymmetric() const;
    // Sparse drawers: the bytes of data and the element type of each of the four buffers that
    // a sparse transfer of the drawer fills (bufMain the nonzeros, bufIndicesNZ their columns,
    // bufSparseMap the row starts, bufDiagonal the diagonal when symmetric).  All zero for a
    // standard drawer, whose transfers size bufMain by their view.
    const VelBufferSizes& BufferSizes() const;
    const VelBufferDataKeys& DataKeys() const;

    // "drawer <id>: <serialization> over <compartment> sizes <sizes>", then ", chunks <sizes>"
    // when chunked, ", nonzeros <n>" when sparse and ", filters <name>" when compressed.
    void WriteToOstream(aio_ostream& os) const;

protected:
    void CheckCreated() const;

    bool m_created = false;
    VelDrawerID m_id;
    VelSerializationKey m_serialization = VelStandardSerialization;
    VelOCompartment m_compartment;
    VelArray<int> m_sizes;
    VelArray<int> m_chunkSizes;
    VelCompression m_compression;
    int m_numNonzeros = 0;
    bool m_symmetric = false;
    VelBufferSizes m_bufferSizes;
    VelBufferDataKeys m_dataKeys;
};

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelDrawerDescription& description);

#endif
