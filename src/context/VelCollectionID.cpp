#include "vel/context/VelCollectionID.h"

#include <string>

#include "context/VelIDAccess.h"
#include "vel/core/VelAssert.h"

namespace {
constexpr unsigned kSerialMask = 0x3FFFFFFu;
constexpr int kColorShift = 26;
}  // namespace

int VelCollectionID::ColorOf(int word) {
    return static_cast<int>(static_cast<unsigned>(word) >> kColorShift);
}

void VelCollectionID::SetColor(int& word, int color) {
    VelASSERT(color < e_MaxColor);
    const unsigned colorBits = (static_cast<unsigned>(color) & 63u) << kColorShift;
    word = static_cast<int>((static_cast<unsigned>(word) & kSerialMask) | colorBits);
}

VelCollectionID& VelCollectionID::SetColor(int color) {
    SetColor(m_minor, color);
    return *this;
}

VelCollectionID VelCollectionID::AltColor(int color) const {
    VelCollectionID copy(*this);
    return copy.SetColor(color);
}

int VelCollectionID::Compare(const VelCollectionID& other) const {
    if (int c = m_context.Compare(other.m_context)) return c;
    return VelCompareSigned(m_minor, other.m_minor);
}

VelDynamicID VelCollectionID::DynamicID() const {
    return VelDynamicID(VelIDCategoryCollection, m_context.Value(), m_minor, 0);
}

bool VelCollectionID::CanBeConverted(const VelDynamicID& did) {
    return did.Category() == VelIDCategoryCollection;
}

void VelCollectionID::WriteToOstream(aio_ostream& os) const {
    m_context.WriteToOstream(os);
    // The color is cleared before the null test, so the null word prints as serial 67108863 of
    // color 63 rather than as "*NULL*".
    const unsigned serial = static_cast<unsigned>(m_minor) & kSerialMask;
    if (serial == 0xFFFFFFFFu)
        os << "/*NULL*";
    else
        os << "/" << std::to_string(serial);
    if (Color() != 0) os << "_clr" << std::to_string(Color());
}

aio_ostream& operator<<(aio_ostream& os, const VelCollectionID& id) {
    id.WriteToOstream(os);
    return os;
}
