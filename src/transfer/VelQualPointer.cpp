#include "vel/transfer/VelQualPointer.h"

void VelQualPointer::WriteToOstream(aio_ostream& os) const {
    os << "(QualPointer " << static_cast<const void*>(m_address) << " " << VelstringNameOf(m_key)
       << " " << (m_qualifier ? "1" : "0") << ")";
}

aio_ostream& operator<<(aio_ostream& os, const VelQualPointer& pointer) {
    pointer.WriteToOstream(os);
    return os;
}
