#include "vel/context/VelVersion.h"

#include <cstdio>
#include <cstring>

#include "context/VelSignature.h"
#include "vel/core/VelAssert.h"

VelVersion::VelVersion() : m_created(false) {
    std::memset(m_block, 0, sizeof m_block);
}

bool VelVersion::Create(const cow_String& fileName) {
    static_assert(sizeof m_block == VelSignature::e_Size, "the record holds one signature block");
    m_created = false;
    std::FILE* file = std::fopen(fileName.c_str(), "rb");
    if (!file) return false;
    const size_t read = std::fread(m_block, 1, sizeof m_block, file);
    std::fclose(file);
    m_created = read == sizeof m_block;
    return m_created;
}

bool VelVersion::IsOrbFile() const {
    VelASSERT(m_created);
    return VelSignature::HasMagic(m_block);
}

cow_String VelVersion::Author() const {
    VelASSERT(m_created);
    return VelSignature::AuthorOf(m_block);
}

int VelVersion::MajorVersion() const {
    VelASSERT(m_created);
    return VelSignature::NumberAt(m_block, VelSignature::e_MajorAt);
}

int VelVersion::MinorVersion() const {
    VelASSERT(m_created);
    return VelSignature::NumberAt(m_block, VelSignature::e_MinorAt);
}

int VelVersion::UpdateVersion() const {
    VelASSERT(m_created);
    return VelSignature::NumberAt(m_block, VelSignature::e_UpdateAt);
}

int VelVersion::InternalVersion() const {
    VelASSERT(m_created);
    return VelSignature::NumberAt(m_block, VelSignature::e_InternalAt);
}

int VelVersion::SchemaVersion() const {
    VelASSERT(m_created);
    return VelSignature::NumberAt(m_block, VelSignature::e_SchemaAt);
}
