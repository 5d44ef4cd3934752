#ifndef VEL_TYPES_VELTYPEID_H
#define VEL_TYPES_VELTYPEID_H

#include "vel/VelExport.h"
#include "vel/platform/aio_Stream.h"
#include "vel/platform/cow_String.h"

// Names one record type: the name of the form that declares it and the type's ordinal in that
// form.  Every declaration of one name in a form, at whatever level, has the same identifier.
//
// The identifier is a plain 64-byte value: the form name is held inline (at most
// e_MaxFormNameLength bytes, zero-padded), followed by the ordinal.  Holding the name rather
// than a number handed out by a form manager makes identifiers stable across processes and
// managers: a type registry written by one program is checked against snapshots parsed by
// another.
//
// Order: the form names byte by byte as unsigned characters, then the ordinals as signed
// numbers.  The null identifier (empty form name, ordinal -1) sorts before every other one.
//
// Text form: "<form>#<ordinal>", or "*NULL*" for the null identifier.
class VEL_API VelTypeID {
public:
    static constexpr int e_MaxFormNameLength = 59;

    // The null identifier.
    VelTypeID();
    // Validates that the form name is not empty and not longer than e_MaxFormNameLength, and
    // that the ordinal is not negative.
    VelTypeID(const cow_String& formName, int ordinal);

    bool IsNull() const { return m_ordinal < 0; }
    cow_String FormName() const { return cow_String(m_form); }
    int Ordinal() const { return m_ordinal; }

    // -1, 0 or 1.
    int Compare(const VelTypeID& other) const;
    bool operator==(const VelTypeID& other) const { return Compare(other) == 0; }
    bool operator!=(const VelTypeID& other) const { return Compare(other) != 0; }
    bool operator<(const VelTypeID& other) const { return Compare(other) < 0; }

    cow_String ToString() const;
    // The inverse of ToString.  Text that is not the text form of an identifier (a missing or
    // trailing '#', a bad or negative ordinal, an empty or too long form name) gives the null
    // identifier, so a stored identifier is never trusted unchecked.
    static VelTypeID FromString(const cow_String& text);

    void WriteToOstream(aio_ostream& os) const;

private:
    char m_form[e_MaxFormNameLength + 1];
    int m_ordinal;
};

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelTypeID& id);

// The three-way comparison the ordered maps use for their keys.
inline int VelCompareKeys(const VelTypeID& a, const VelTypeID& b) {
    return a.Compare(b);
}

#endif
