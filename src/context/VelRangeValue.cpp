#include "vel/context/VelRangeValue.h"

#include <cstring>

#include "vel/core/VelAssert.h"

VelRangeValue::VelRangeValue() : m_key(static_cast<VelTypeKey>(0)), m_value() {}

VelRangeValue::VelRangeValue(int value) : m_key(VelTypeKeyInt), m_value() {
    m_value.i = value;
}

VelRangeValue::VelRangeValue(double value) : m_key(VelTypeKeyDouble), m_value() {
    m_value.d = value;
}

VelRangeValue::VelRangeValue(float value) : m_key(VelTypeKeyFloat), m_value() {
    m_value.f = value;
}

VelRangeValue::VelRangeValue(bool value) : m_key(VelTypeKeyBool), m_value() {
    m_value.b = value ? 1 : 0;
}

VelRangeValue::VelRangeValue(VelTypeKey key, int value) : m_key(key), m_value() {
    VelVALIDATE(HoldsInt(key));
    m_value.i = value;
}

bool VelRangeValue::HoldsInt(VelTypeKey key) {
    return key == VelTypeKeyInt || key == VelTypeKeyCMember || key == VelTypeKeyCSet ||
           key == VelTypeKeyOCSet;
}

int VelRangeValue::IntValue() const {
    VelVALIDATE(HoldsInt(m_key));
    return m_value.i;
}

double VelRangeValue::DoubleValue() const {
    VelVALIDATE(m_key == VelTypeKeyDouble);
    return m_value.d;
}

float VelRangeValue::FloatValue() const {
    VelVALIDATE(m_key == VelTypeKeyFloat);
    return m_value.f;
}

bool VelRangeValue::BoolValue() const {
    VelVALIDATE(m_key == VelTypeKeyBool);
    return m_value.b != 0;
}

const void* VelRangeValue::Element() const {
    if (m_key < VelTypeKeyInt || m_key > VelTypeKeyOCSet) return nullptr;
    // Every member of the union starts at its first byte.
    return &m_value;
}

bool VelRangeValue::operator==(const VelRangeValue& other) const {
    if (m_key != other.m_key) return false;
    const void* element = Element();
    if (!element) return true;
    return std::memcmp(element, other.Element(), static_cast<size_t>(VelElementSizeOf(m_key))) == 0;
}

void VelRangeValue::WriteToOstream(aio_ostream& os) const {
    if (!Element()) {
        os << "<? range value unknown type key?>";
        return;
    }
    os << VelstringNameOf(m_key) << "(";
    switch (m_key) {
        case VelTypeKeyDouble:
            os << m_value.d;
            break;
        case VelTypeKeyFloat:
            os << m_value.f;
            break;
        case VelTypeKeyBool:
            os << (m_value.b ? "true" : "false");
            break;
        default:
            os << m_value.i;
            break;
    }
    os << ")";
}

aio_ostream& operator<<(aio_ostream& os, const VelRangeValue& value) {
    value.WriteToOstream(os);
    return os;
}
