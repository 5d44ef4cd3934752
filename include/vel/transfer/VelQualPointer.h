#ifndef VEL_TRANSFER_VELQUALPOINTER_H
#define VEL_TRANSFER_VELQUALPOINTER_H

#include <cstdint>

#include "vel/VelExport.h"
#include "vel/core/VelTypeKey.h"
#include "vel/platform/aio_Stream.h"

// An address qualified by what it holds: the element type of the data there and a one-byte
// qualifier.  A transient drawer's Data gives its read-only flag as the qualifier (the data of
// a transfer that does not read must not be written by the caller); VelTransfer::DataPart gives
// 1.  The default holds no address and key 0.
class VEL_API VelQualPointer {
public:
    VelQualPointer() = default;
    VelQualPointer(void* address, VelTypeKey key, bool qualifier)
        : m_address(address), m_key(key), m_qualifier(qualifier ? 1 : 0) {}

    void* Address() const { return m_address; }
    VelTypeKey TypeKey() const { return m_key; }
    bool Qualifier() const { return m_qualifier != 0; }

    // "(QualPointer <address> <key name> <qualifier 0 or 1>)".
    void WriteToOstream(aio_ostream& os) const;

private:
    void* m_address = nullptr;
    VelTypeKey m_key = VelTypeKey();
    uint8_t m_qualifier = 0;
};

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelQualPointer& pointer);

#endif
