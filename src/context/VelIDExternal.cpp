#include "vel/context/VelIDExternal.h"

#include <cstdio>
#include <cstring>

#include "vel/core/VelAssert.h"

namespace {
constexpr int kVersion = 1;
constexpr int kFirstWordAt = 4;
constexpr int kSecondWordAt = 12;
}  // namespace

VelIDExternal::VelIDExternal(const VelCollectionID& id) {
    Build(TypeCollection, id.Minor().Value());
}

VelIDExternal::VelIDExternal(const VelDistributionID& id) {
    Build(TypeDistribution, id.Minor().Value());
}

VelIDExternal::VelIDExternal(const VelDSetID& id) {
    Build(TypeDSet, id.Minor().Value());
}

VelIDExternal::VelIDExternal(const VelCSetID& id) {
    Build(TypeCSet, id.CollectionID().Minor().Value(), id.Minor().Value());
}

VelIDExternal::VelIDExternal(const VelDrawerID& id) {
    Build(TypeDrawer, id.DistributionID().Minor().Value(), id.Minor().Value());
}

void VelIDExternal::Build(Type type, int first) {
    std::memset(m_data, 0, sizeof m_data);
    m_length = 12;
    m_data[0] = static_cast<char>(m_length);
    m_data[1] = static_cast<char>(kVersion);
    m_data[2] = static_cast<char>(type);
    std::snprintf(m_data + kFirstWordAt, sizeof m_data - kFirstWordAt, "%08x",
                  static_cast<unsigned>(first));
}

void VelIDExternal::Build(Type type, int first, int second) {
    Build(type, first);
    m_length = 20;
    m_data[0] = static_cast<char>(m_length);
    std::snprintf(m_data + kSecondWordAt, sizeof m_data - kSecondWordAt, "%08x",
                  static_cast<unsigned>(second));
}

// The eight hex digits at `offset`.  Every form is made by the constructors above, so the digits
// are always there.
int VelIDExternal::WordAt(int offset) const {
    char digits[9];
    std::memcpy(digits, m_data + offset, 8);
    digits[8] = '\0';
    unsigned word = 0;
    const int parsed = std::sscanf(digits, "%8x", &word);
    VelASSERT(parsed == 1);
    return static_cast<int>(word);
}

VelIDMinor VelIDExternal::CollectionIDMinor() const {
    const char type = m_data[2];
    VelVALIDATE(type == TypeCollection || type == TypeCSet);
    return VelIDMinor(WordAt(kFirstWordAt));
}

VelIDMinor VelIDExternal::DistributionIDMinor() const {
    const char type = m_data[2];
    VelVALIDATE(type == TypeDistribution || type == TypeDrawer);
    return VelIDMinor(WordAt(kFirstWordAt));
}

VelIDMinor VelIDExternal::DSetIDMinor() const {
    const char type = m_data[2];
    VelVALIDATE(type == TypeDSet);
    return VelIDMinor(WordAt(kFirstWordAt));
}

VelIDMinor VelIDExternal::CSetIDMinor() const {
    const char type = m_data[2];
    VelVALIDATE(type == TypeCSet);
    return VelIDMinor(WordAt(kSecondWordAt));
}

VelIDMinor VelIDExternal::DrawerIDMinor() const {
    const char type = m_data[2];
    VelVALIDATE(type == TypeDrawer);
    return VelIDMinor(WordAt(kSecondWordAt));
}
