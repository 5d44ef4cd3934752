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
void CopyField(void* to, const void* from, size_t width, bool swap) {
    std::memcpy(to, from, width);
    if (swap) omi_Swapper::SwapInPlace(to, width, 1);
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
    CopyField(out, &category, 4, swap);
    CopyField(out + 4, &m_first, 8, swap);
    CopyField(out + 12, &m_second, 8, swap);
}

VelDynamicID VelDynamicID::ReadPersistent(const unsigned char* in, unsigned context,
                                          VelByteOrder order) {
    const bool swap = NeedsSwap(order);
    int32_t tempCategory = 0;
    int64_t first = 0;
    int64_t second = 0;
    CopyField(&tempCategory, in, 4, swap);
    CopyField(&first, in + 4, 8, swap);
    CopyField(&second, in + 12, 8, swap);
    VelVALIDATE(tempCategory < VelCategoryLimit);
    return VelDynamicID(tempCategory, context, first, second);
}
