#include "vel/types/VelTypeID.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "vel/core/VelAssert.h"

VelTypeID::VelTypeID() : m_ordinal(-1) {
    std::memset(m_form, 0, sizeof m_form);
}

VelTypeID::VelTypeID(const cow_String& formName, int ordinal) : m_ordinal(ordinal) {
    VelVALIDATE(!formName.IsEmpty() && formName.Length() <= e_MaxFormNameLength &&
                "A form name must have 1 to 59 bytes to name a type");
    VelVALIDATE(ordinal >= 0);
    std::memset(m_form, 0, sizeof m_form);
    std::memcpy(m_form, formName.c_str(), static_cast<size_t>(formName.Length()));
}

int VelTypeID::Compare(const VelTypeID& other) const {
    // Both names are zero-padded to the full width, so memcmp orders them as strcmp would.
    const int byName = std::memcmp(m_form, other.m_form, sizeof m_form);
    if (byName != 0) return byName < 0 ? -1 : 1;
    if (m_ordinal != other.m_ordinal) return m_ordinal < other.m_ordinal ? -1 : 1;
    return 0;
}

cow_String VelTypeID::ToString() const {
    if (IsNull()) return cow_String("*NULL*");
    return cow_String(std::string(m_form) + "#" + std::to_string(m_ordinal));
}

VelTypeID VelTypeID::FromString(const cow_String& text) {
    const char* s = text.c_str();
    const char* hash = std::strrchr(s, '#');
    if (!hash || hash == s || hash - s > e_MaxFormNameLength) return VelTypeID();
    const char* digits = hash + 1;
    if (*digits < '0' || *digits > '9') return VelTypeID();
    char* end = nullptr;
    errno = 0;
    const long ordinal = std::strtol(digits, &end, 10);
    if (*end != '\0' || errno == ERANGE || ordinal > 0x7FFFFFFF) return VelTypeID();
    return VelTypeID(cow_String(s, static_cast<size_t>(hash - s)), static_cast<int>(ordinal));
}

void VelTypeID::WriteToOstream(aio_ostream& os) const {
    os << ToString();
}

aio_ostream& operator<<(aio_ostream& os, const VelTypeID& id) {
    id.WriteToOstream(os);
    return os;
}
