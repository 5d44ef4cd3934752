#ifndef VEL_CONTEXT_VELDSETID_H
#define VEL_CONTEXT_VELDSETID_H

#include "vel/VelExport.h"
#include "vel/context/VelContextID.h"
#include "vel/context/VelDynamicID.h"

// Names a DSet (a stored set of compartments over one grid): the context and the DSet's minor
// (0xFFFFFFFF = null).  Order: context, then minor signed.
class VEL_API VelDSetID {
public:
    VelDSetID() : m_minor(-1) {}
    // From a dynamic ID of the DSet category; the context must be open.
    explicit VelDSetID(const VelDynamicID& did);

    bool IsNull() const { return m_minor == -1; }
    const VelContextID& ContextID() const { return m_context; }
    VelIDMinor Minor() const { return VelIDMinor(m_minor); }

    int Compare(const VelDSetID& other) const;
    VelDynamicID DynamicID() const;
    static bool CanBeConverted(const VelDynamicID& did);

    // The context form, then "/" and the decimal minor, or "/*NULL*".
    void WriteToOstream(aio_ostream& os) const;

private:
    friend struct VelIDAccess;
    VelDSetID(const VelContextID& context, int minor) : m_context(context), m_minor(minor) {}

    VelContextID m_context;
    int m_minor;
};

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelDSetID& id);
// The key order of the ordered maps (VelBtree, VelAutoBtree): the identifier's own order.
inline int VelCompareKeys(const VelDSetID& a, const VelDSetID& b) {
    return a.Compare(b);
}

#endif
