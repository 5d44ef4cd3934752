#ifndef VEL_CONTEXT_VELCOLLECTIONID_H
#define VEL_CONTEXT_VELCOLLECTIONID_H

#include "vel/VelExport.h"
#include "vel/context/VelContextID.h"
#include "vel/context/VelDynamicID.h"

// Names a collection, or one of its color variants: the context, then a minor word whose bits
// 0-25 are the collection's serial number in its context and bits 26-31 its color (0-63).  A
// color variant has the same members as the collection under another identity.  The ID is null
// when the whole minor word is 0xFFFFFFFF.
//
// Order: context, then the minor word compared signed.  Colors 32-63 set the sign bit, so those
// variants sort before color 0 of the same context; sorted lists of collections (grids,
// compartments) depend on that order and it is kept.
class VEL_API VelCollectionID {
public:
    static constexpr int e_ExcessiveCollectionID = 0x4000000;
    static constexpr int e_MaxColor = 64;

    VelCollectionID() : m_minor(-1) {}
    // From a dynamic ID of the collection category; the context must be open.
    explicit VelCollectionID(const VelDynamicID& did);

    bool IsNull() const { return m_minor == -1; }
    const VelContextID& ContextID() const { return m_context; }
    // The whole minor word, color bits included.
    VelIDMinor Minor() const { return VelIDMinor(m_minor); }
    int Color() const { return ColorOf(m_minor); }
    // Replaces the color of this ID and returns it.
    VelCollectionID& SetColor(int color);
    // A copy with the color replaced.
    VelCollectionID AltColor(int color) const;

    // The color bits of a minor word (0-63).
    static int ColorOf(int word);
    // Keeps the low 26 bits of `word` and puts `color` above them; asserts "color < e_MaxColor".
    static void SetColor(int& word, int color);

    int Compare(const VelCollectionID& other) const;
    VelDynamicID DynamicID() const;
    static bool CanBeConverted(const VelDynamicID& did);

    // The context form, then "/" and the serial number, then "_clr" and the color when it is not
    // 0.  The color bits are cleared before the null test, so a null ID prints "/67108863_clr63"
    // after its context.
    void WriteToOstream(aio_ostream& os) const;

private:
    friend struct VelIDAccess;
    VelCollectionID(const VelContextID& context, int minorWord)
        : m_context(context), m_minor(minorWord) {}

    VelContextID m_context;
    int m_minor;
};

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelCollectionID& id);
// The key order of the ordered maps (VelBtree, VelAutoBtree): the identifier's own order.
inline int VelCompareKeys(const VelCollectionID& a, const VelCollectionID& b) {
    return a.Compare(b);
}

#endif
