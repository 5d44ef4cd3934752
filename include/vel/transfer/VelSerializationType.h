#ifndef VEL_TRANSFER_VELSERIALIZATIONTYPE_H
#define VEL_TRANSFER_VELSERIALIZATIONTYPE_H

#include "vel/VelExport.h"
#include "vel/core/VelArray.h"
#include "vel/platform/aio_Stream.h"

// How the values of a transfer are laid out in its buffers and in a drawer.
enum VelSerializationKey : int {
    VelVoidSerialization = 0,
    VelStandardSerialization = 1,
    VelUniformitySerialization = 2,
    VelSparseSerialization = 3,
    VelSparseSymSerialization = 4
};

// A serialization key and, for the uniformity serialization, one flag per dimension (1 = the
// values do not vary along that dimension).  The default is standard with no uniform dimensions.
// A sparse or uniformity serialization is reached only from the standard one.
class VEL_API VelSerializationType {
public:
    VelSerializationType() = default;

    VelSerializationKey Key() const { return m_key; }
    // Sparse and sparse-symmetric: the values are a compressed sparse matrix.
    bool IsSparse() const {
        return m_key == VelSparseSerialization || m_key == VelSparseSymSerialization;
    }
    const VelArray<int>& UniformDims() const { return m_uniformDims; }

    VelSerializationType& SetStandard();
    VelSerializationType& SetSparse();
    VelSerializationType& SetSparseSym();
    // Marks dimension `dim` of `nDim` dimensions uniform.  The first call fixes the number of
    // dimensions; later calls must give the same number, or -1 for it.
    VelSerializationType& SetUniform(int dim, int nDim);

    // The key's name; the uniformity serialization adds ", uniform dims = " and its flags.
    void WriteToOstream(aio_ostream& os) const;

private:
    VelSerializationKey m_key = VelStandardSerialization;
    VelArray<int> m_uniformDims;
};

// "VoidSerialization", "StandardSerialization", ...; "<? unknown serialization ?>" otherwise.
VEL_API const char* VelstringNameOf(VelSerializationKey key);

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelSerializationType& type);

#endif
