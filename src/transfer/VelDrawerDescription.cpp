#include "vel/transfer/VelDrawerDescription.h"

#include "vel/core/VelAssert.h"

void VelDrawerDescription::CheckCreated() const {
    VelVALIDATE(m_created);
}

const VelDrawerID& VelDrawerDescription::ID() const {
    CheckCreated();
    return m_id;
}

VelSerializationKey VelDrawerDescription::Serialization() const {
    CheckCreated();
    return m_serialization;
}

VelSerializationType VelDrawerDescription::ReadSerialization() const {
    CheckCreated();
    VelSerializationType type;
    if (m_serialization == VelStandardSerialization) return type;
    return m_symmetric ? type.SetSparseSym() : type.SetSparse();
}

const VelOCompartment& VelDrawerDescription::Compartment() const {
    CheckCreated();
    return m_compartment;
}

const VelArray<int>& VelDrawerDescription::Sizes() const {
    CheckCreated();
    return m_sizes;
}

const VelArray<int>& VelDrawerDescription::ChunkSizes() const {
    CheckCreated();
    return m_chunkSizes;
}

const VelCompression& VelDrawerDescription::Compression() const {
    CheckCreated();
    return m_compression;
}

int VelDrawerDescription::NumNonzeros() const {
    CheckCreated();
    return m_numNonzeros;
}

bool VelDrawerDescription::IsSymmetric() const {
    CheckCreated();
    return m_symmetric;
}

const VelBufferSizes& VelDrawerDescription::BufferSizes() const {
    CheckCreated();
    return m_bufferSizes;
}

const VelBufferDataKeys& VelDrawerDescription::DataKeys() const {
    CheckCreated();
    return m_dataKeys;
}

void VelDrawerDescription::WriteToOstream(aio_ostream& os) const {
    CheckCreated();
    os << "drawer " << m_id << ": " << VelstringNameOf(m_serialization) << " over " << m_compartment
       << " sizes " << m_sizes;
    if (m_chunkSizes.Size() > 0) os << ", chunks " << m_chunkSizes;
    if (m_serialization != VelStandardSerialization) os << ", nonzeros " << m_numNonzeros;
    if (!m_compression.IsNone()) os << ", filters " << m_compression;
}

aio_ostream& operator<<(aio_ostream& os, const VelDrawerDescription& description) {
    description.WriteToOstream(os);
    return os;
}
