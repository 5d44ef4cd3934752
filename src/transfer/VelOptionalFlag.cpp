#include "vel/transfer/VelOptionalFlag.h"

#include "vel/core/VelAssert.h"

bool VelOptionalFlag::Value() const {
    VelVALIDATE(m_defined);
    return m_value;
}

void VelOptionalFlag::WriteToOstream(aio_ostream& os) const {
    os << (!m_defined ? "undefined" : (m_value ? "true" : "false"));
}

aio_ostream& operator<<(aio_ostream& os, const VelOptionalFlag& flag) {
    flag.WriteToOstream(os);
    return os;
}
