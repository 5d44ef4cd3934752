#include "vel/context/VelDynamicID.h"

#include <cstring>

#include "context/VelIDAccess.h"
#include "vel/core/VelAssert.h"
#include "vel/platform/omi_Swapper.h"

namespace {

bool NeedsSwap(VelByteOrder order) {
    return (order == VelByteOrderLittleEndian) != omi_Swapper::MachineIsLittleEndian();
}

// Copies one field between memory and the stored form, reversing its bytes when the stored
// order differs from the machine's.
template <class Word>
void CopyField(void* to, const void* from, bool swap) {
    Word value;
    std::memcpy(&value, from, sizeof value);
    if (swap) value = omi_Swapper::Swap(value);
    std::memcpy(to, &value, sizeof value);
}

}  // namespace

VelDynamicID::VelDynamicID(int cat, unsigned context, int64_t first, int64_t second)
    : m_category(cat), m_context(context), m_first(first), m_second(second) {
    VelVALIDATE(cat < VelCategoryLimit);
}

bool VelDynamicID::operator==(const VelDynamicID& other) const {
    return m_category == other.m_category && m_context == other.m_context &&
           m_first == other.m_first && m_second == other.m_second;
}

int VelDynamicID::Compare(const VelDynamicID& other) const {
    if (int c = VelCompareSigned(m_category, other.m_category)) return c;
    if (int c = VelCompareSigned(static_cast<int>(m_context), static_cast<int>(other.m_context)))
        return c;
    if (int c = VelCompareSigned(m_first, other.m_first)) return c;
    return VelCompareSigned(m_second, other.m_second);
}

void VelDynamicID::WritePersistent(unsigned char* out, VelByteOrder order) const {
    const bool swap = NeedsSwap(order);
    const int32_t category = m_category;
    CopyField<uint32_t>(out, &category, swap);
    CopyField<uint64_t>(out + 4, &m_first, swap);
    CopyField<uint64_t>(out + 12, &m_second, swap);
}

VelDynamicID VelDynamicID::ReadPersistent(const unsigned char* in, unsigned context,
                                          VelByteOrder order) {
    const bool swap = NeedsSwap(order);
    int32_t tempCategory = 0;
    int64_t first = 0;
    int64_t second = 0;
    CopyField<uint32_t>(&tempCategory, in, swap);
    CopyField<uint64_t>(&first, in + 4, swap);
    CopyField<uint64_t>(&second, in + 12, swap);
    VelVALIDATE(tempCategory < VelCategoryLimit);
    return VelDynamicID(tempCategory, context, first, second);
}
