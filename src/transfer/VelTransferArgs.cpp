#include "vel/transfer/VelTransferArgs.h"

#include <string>

VelTransferArgs& VelTransferArgs::SetRead() {
    m_reading = true;
    return *this;
}

VelTransferArgs& VelTransferArgs::SetWrite() {
    m_writing = true;
    return *this;
}

VelTransferArgs& VelTransferArgs::SetOldDomainOverwrite(bool overwrite) {
    m_oldDomainOverwrite.Set(overwrite);
    return *this;
}

VelTransferArgs& VelTransferArgs::SetMakeNewDrawer() {
    m_makeNewDrawer.Set(true);
    m_writing = true;
    m_writeNewDomainMake.Set(true);
    return *this;
}

VelTransferArgs& VelTransferArgs::SetMakeNewDrawerChunked(const VelArray<int>& sizes) {
    m_chunkSizesGiven = true;
    m_chunkSizes = sizes;
    return SetMakeNewDrawer();
}

VelTransferArgs& VelTransferArgs::SetCompression(const VelCompression& compression) {
    m_compressionGiven = true;
    m_compression = compression;
    return *this;
}

VelTransferArgs& VelTransferArgs::SetSparseNNonzero(int n) {
    m_sparseNNonzero = n;
    return *this;
}

VelTransferArgs& VelTransferArgs::SetWriteNewDomainError() {
    m_writeNewDomainError.Set(true);
    return *this;
}

VelTransferArgs& VelTransferArgs::SetWriteNewDomainMake() {
    m_writeNewDomainMake.Set(true);
    return *this;
}

VelTransferArgs& VelTransferArgs::SetWriteNewDomainIgnore() {
    m_writeNewDomainIgnore.Set(true);
    return *this;
}

VelTransferArgs& VelTransferArgs::SetDrawerHint(const VelDrawerID& drawer) {
    m_indicatedDrawer = drawer;
    return *this;
}

VelTransferArgs& VelTransferArgs::SetLookInOnlyOneDrawer() {
    m_lookInOnlyOneDrawer.Set(true);
    return *this;
}

VelTransferArgs& VelTransferArgs::SetDrawer(const VelDrawerID& drawer) {
    m_indicatedDrawer = drawer;
    m_lookInOnlyOneDrawer.Set(true);
    return *this;
}

VelTransferArgs& VelTransferArgs::SetRequireReadCoverage() {
    m_requireReadCoverage.Set(true);
    return *this;
}

VelTransferArgs& VelTransferArgs::SetPadding(bool padding) {
    m_padding = padding;
    return *this;
}

VelTransferArgs& VelTransferArgs::SetPool(VelPool& pool) {
    m_pool = &pool;
    return *this;
}

namespace {
const char* Bit(bool b) {
    return b ? "1" : "0";
}
}  // namespace

void VelTransferArgs::WriteToOstream(aio_ostream& os) const {
    os << "Is writing: " << Bit(m_writing) << "\n" << std::flush;
    os << "Is reading: " << Bit(m_reading) << "\n" << std::flush;
    os << "Is extending: " << Bit(m_extending) << "\n" << std::flush;
    os << "oldDomainOverwrite: " << m_oldDomainOverwrite << "\n" << std::flush;
    os << "makeNewDrawer: " << m_makeNewDrawer << "\n" << std::flush;
    os << "writeNewDomainError: " << m_writeNewDomainError << "\n" << std::flush;
    os << "writeNewDomainMake: " << m_writeNewDomainMake << "\n" << std::flush;
    os << "writeNewDomainIgnore: " << m_writeNewDomainIgnore << "\n" << std::flush;
    os << "indicatedDrawer: " << m_indicatedDrawer << "\n" << std::flush;
    os << "lookInOnlyOneDrawer: " << m_lookInOnlyOneDrawer << "\n" << std::flush;
    os << "requireReadCoverage: " << m_requireReadCoverage << "\n" << std::flush;
    // The leading blank of this label is part of the established print form.
    os << " Is chunkSizesGiven: " << Bit(m_chunkSizesGiven) << "\n" << std::flush;
    os << "chunkSizes: " << m_chunkSizes << "\n" << std::flush;
    os << "sparseNNonzero: " << std::to_string(m_sparseNNonzero) << "\n" << std::flush;
    if (m_compressionGiven) os << "compression: " << m_compression << "\n" << std::flush;
}

aio_ostream& operator<<(aio_ostream& os, const VelTransferArgs& args) {
    args.WriteToOstream(os);
    return os;
}
