#ifndef VEL_CONTEXT_VELDISTRIBUTIONID_H
#define VEL_CONTEXT_VELDISTRIBUTIONID_H

#include "vel/VelExport.h"
#include "vel/context/VelContextID.h"
#include "vel/context/VelDynamicID.h"

// Names a distribution: the context and the distribution's minor (0xFFFFFFFF = null).
// Order: context, then minor signed.
class VEL_API VelDistributionID {
public:
    VelDistributionID() : m_minor(-1) {}
    // From a dynamic ID of the distribution category; the context must be open.
    explicit VelDistributionID(const VelDynamicID& did);

    bool IsNull() const { return m_minor == -1; }
    const VelContextID& ContextID() const { return m_context; }
    VelIDMinor Minor() const { return VelIDMinor(m_minor); }

    int Compare(const VelDistributionID& other) const;
    VelDynamicID DynamicID() const;
    static bool CanBeConverted(const VelDynamicID& did);

    // The context form, then "/" and the decimal minor, or "/*NULL*".
    void WriteToOstream(aio_ostream& os) const;

private:
    friend struct VelIDAccess;
    VelDistributionID(const VelContextID& context, int minor)
        : m_context(context), m_minor(minor) {}

    VelContextID m_context;
    int m_minor;
};

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelDistributionID& id);
// The key order of the ordered maps (VelBtree, VelAutoBtree): the identifier's own order.
inline int VelCompareKeys(const VelDistributionID& a, const VelDistributionID& b) {
    return a.Compare(b);
}

// Names a drawer of a distribution: the distribution and the drawer number (0xFFFFFFFF = null).
// Order: distribution, then drawer number signed.
class VEL_API VelDrawerID {
public:
    VelDrawerID() : m_drawer(-1) {}
    // From a dynamic ID of the drawer category; the context must be open and hold the
    // distribution ("m_distributionMap.IsMember(did)").
    explicit VelDrawerID(const VelDynamicID& did);

    bool IsNull() const { return m_drawer == -1; }
    const VelDistributionID& DistributionID() const { return m_distribution; }
    // The drawer number.
    VelIDMinor Minor() const { return VelIDMinor(m_drawer); }

    int Compare(const VelDrawerID& other) const;
    VelDynamicID DynamicID() const;
    static bool CanBeConverted(const VelDynamicID& did);

    // The distribution form, then "/" and the decimal drawer number, or "/*NULL*".
    void WriteToOstream(aio_ostream& os) const;

private:
    friend struct VelIDAccess;
    VelDrawerID(const VelDistributionID& distribution, int drawer)
        : m_distribution(distribution), m_drawer(drawer) {}

    VelDistributionID m_distribution;
    int m_drawer;
};

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelDrawerID& id);
// The key order of the ordered maps (VelBtree, VelAutoBtree): the identifier's own order.
inline int VelCompareKeys(const VelDrawerID& a, const VelDrawerID& b) {
    return a.Compare(b);
}

#endif
