#ifndef VEL_CONTEXT_VELRANGEVALUE_H
#define VEL_CONTEXT_VELRANGEVALUE_H

#include <cstdint>

#include "vel/VelExport.h"
#include "vel/core/VelTypeKey.h"
#include "vel/platform/aio_Stream.h"

// One value of a distribution's range: its type key and the value, held as one element of that
// type exactly as a drawer's dataset stores it (Int, CMember, CSet, OCSet a 32-bit int, Double
// 8 bytes, Float 4, Bool one byte of 0 or 1).  A new drawer filled with one value takes
// Element() as its fill value.
//
// CMember values are member numbers of the range's collection; CSet and OCSet values are CSet
// index words of it (ascending bit included).  The default value has key 0: no value, which no
// range type accepts.
class VEL_API VelRangeValue {
public:
    VelRangeValue();
    explicit VelRangeValue(int value);
    explicit VelRangeValue(double value);
    explicit VelRangeValue(float value);
    explicit VelRangeValue(bool value);
    // A 32-bit value of a key whose elements are ints: Int, CMember, CSet or OCSet (validation).
    VelRangeValue(VelTypeKey key, int value);

    VelTypeKey TypeKey() const { return m_key; }

    // The value, each for its own keys (validations): IntValue for Int, CMember, CSet and OCSet.
    int IntValue() const;
    double DoubleValue() const;
    float FloatValue() const;
    bool BoolValue() const;

    // The value as one element of its type: VelElementSizeOf(TypeKey()) bytes.  Null for the
    // default value.
    const void* Element() const;

    // Same key and, for a known key, the same element bytes (so a NaN equals itself).
    bool operator==(const VelRangeValue& other) const;
    bool operator!=(const VelRangeValue& other) const { return !(*this == other); }

    // The key's name and the value in brackets: "Int(7)", "Double(2.5)", "Bool(true)"; a value
    // with any other key prints "<? range value unknown type key?>".
    void WriteToOstream(aio_ostream& os) const;

private:
    static bool HoldsInt(VelTypeKey key);

    VelTypeKey m_key;
    union {
        int32_t i;
        double d;
        float f;
        uint8_t b;
    } m_value;
};

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelRangeValue& value);

#endif
