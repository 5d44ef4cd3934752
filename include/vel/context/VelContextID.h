#ifndef VEL_CONTEXT_VELCONTEXTID_H
#define VEL_CONTEXT_VELCONTEXTID_H

#include "vel/VelExport.h"
#include "vel/platform/aio_Stream.h"

class VelDynamicID;
struct VelIDAccess;

// The number of an object inside its context, ordered as a signed 32-bit number.
class VEL_API VelIDMinor {
public:
    explicit VelIDMinor(int value) : m_value(value) {}

    int Value() const { return m_value; }
    // -1, 0 or 1.
    int Compare(const VelIDMinor& other) const;

private:
    int m_value;
};

// Names one open database file: the number the manager gave it when it was created or opened,
// and whether it is a temporary context.  Numbers are never reused within a process, so an ID
// stays unambiguous after its context is closed.  The null ID has value 0xFFFFFFFF.
//
// Order: the value compared as a signed 32-bit number; the temp flag takes no part, so a temp
// and a persistent ID with the same value compare equal.
class VEL_API VelContextID {
public:
    static constexpr unsigned e_NullValue = 0xFFFFFFFFu;

    VelContextID() : m_value(e_NullValue), m_isTemp(false) {}
    // From a dynamic ID of the context category; the context must be open (the manager
    // supplies the temp flag).
    explicit VelContextID(const VelDynamicID& did);

    bool IsNull() const { return m_value == e_NullValue; }
    bool IsTemp() const { return m_isTemp; }
    unsigned Value() const { return m_value; }

    int Compare(const VelContextID& other) const;
    VelDynamicID DynamicID() const;
    static bool CanBeConverted(const VelDynamicID& did);

    // "T:" for a temporary context, then the decimal value or "*NULL*".
    void WriteToOstream(aio_ostream& os) const;

private:
    friend struct VelIDAccess;
    VelContextID(unsigned value, bool isTemp) : m_value(value), m_isTemp(isTemp) {}

    unsigned m_value;
    bool m_isTemp;
};

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelContextID& id);
// The key order of the ordered maps (VelBtree, VelAutoBtree): the identifier's own order.
inline int VelCompareKeys(const VelContextID& a, const VelContextID& b) {
    return a.Compare(b);
}

#endif
