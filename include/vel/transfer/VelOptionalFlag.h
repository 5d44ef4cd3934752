#ifndef VEL_TRANSFER_VELOPTIONALFLAG_H
#define VEL_TRANSFER_VELOPTIONALFLAG_H

#include "vel/VelExport.h"
#include "vel/platform/aio_Stream.h"

// A three-valued choice of the transfer arguments: undefined, false or true.  Undefined means
// the caller left the choice to argument normalisation, which fills in a default or, where the
// choice makes no sense for the transfer, makes it undefined again.  Reading the value of an
// undefined flag is a validation failure ("m_defined"); IsTrue and IsFalse ask without reading.
class VEL_API VelOptionalFlag {
public:
    VelOptionalFlag() = default;

    bool IsDefined() const { return m_defined; }
    bool Value() const;
    bool IsTrue() const { return m_defined && m_value; }
    bool IsFalse() const { return m_defined && !m_value; }

    void Set(bool value) {
        m_defined = true;
        m_value = value;
    }
    void Undefine() {
        m_defined = false;
        m_value = false;
    }

    // "true", "false" or "undefined".
    void WriteToOstream(aio_ostream& os) const;

private:
    bool m_defined = false;
    bool m_value = false;
};

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelOptionalFlag& flag);

#endif
