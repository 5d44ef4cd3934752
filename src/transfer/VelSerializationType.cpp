#include "vel/transfer/VelSerializationType.h"

#include "vel/core/VelAssert.h"

VelSerializationType& VelSerializationType::SetStandard() {
    m_key = VelStandardSerialization;
    m_uniformDims.SetSize(0);
    return *this;
}

VelSerializationType& VelSerializationType::SetSparse() {
    VelVALIDATE(m_key == VelStandardSerialization);
    m_key = VelSparseSerialization;
    return *this;
}

VelSerializationType& VelSerializationType::SetSparseSym() {
    VelVALIDATE(m_key == VelStandardSerialization);
    m_key = VelSparseSymSerialization;
    return *this;
}

// clang-format off
VelSerializationType& VelSerializationType::SetUniform(int dim, int nDim) {
    if (m_uniformDims.Size() == 0) {
        VelVALIDATE(m_key == VelStandardSerialization);
        VelVALIDATE(nDim>0);
        m_uniformDims.SetSize(nDim);
        for (int k = 0; k < nDim; ++k) m_uniformDims[k] = 0;
    } else {
        if (nDim == -1) nDim = m_uniformDims.Size();
        VelVALIDATE(nDim == m_uniformDims.Size());
    }
    VelVALIDATE(dim < nDim);
    m_key = VelUniformitySerialization;
    m_uniformDims[dim] = 1;
    return *this;
}
// clang-format on

const char* VelstringNameOf(VelSerializationKey key) {
    switch (key) {
        case VelVoidSerialization:
            return "VoidSerialization";
        case VelStandardSerialization:
            return "StandardSerialization";
        case VelUniformitySerialization:
            return "UniformitySerialization";
        case VelSparseSerialization:
            return "SparseSerialization";
        case VelSparseSymSerialization:
            return "SparseSymSerialization";
    }
    return "<? unknown serialization ?>";
}

void VelSerializationType::WriteToOstream(aio_ostream& os) const {
    os << VelstringNameOf(m_key);
    if (m_key == VelUniformitySerialization) os << ", uniform dims = " << m_uniformDims;
}

aio_ostream& operator<<(aio_ostream& os, const VelSerializationType& type) {
    type.WriteToOstream(os);
    return os;
}
