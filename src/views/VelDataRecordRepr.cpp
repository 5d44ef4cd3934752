#include <cstring>

#include "vel/core/VelAssert.h"
#include "views/VelRecordRepr.h"
#include "views/VelRecordStore.h"

namespace {

// The memory of dropped records, each block holding the next one's address.
struct VelRecordFreeList {
    static constexpr int e_Limit = 64;
    void* head = nullptr;
    int count = 0;
    ~VelRecordFreeList() {
        while (head) {
            void* next = *static_cast<void**>(head);
            mem_Free(head);
            head = next;
        }
    }
};

thread_local VelRecordFreeList t_droppedRecords;

}  // namespace

void* VelDataRecordRepr::operator new(size_t size) {
    VelRecordFreeList& dropped = t_droppedRecords;
    if (size != sizeof(VelDataRecordRepr) || !dropped.head) return mem_Malloc(size);
    void* data = dropped.head;
    dropped.head = *static_cast<void**>(data);
    --dropped.count;
    return data;
}

void VelDataRecordRepr::operator delete(void* data, size_t size) noexcept {
    VelRecordFreeList& dropped = t_droppedRecords;
    if (size != sizeof(VelDataRecordRepr) || dropped.count == VelRecordFreeList::e_Limit) {
        mem_Free(data);
        return;
    }
    *static_cast<void**>(data) = dropped.head;
    dropped.head = data;
    ++dropped.count;
}

// The defaults of a type are worked out once, with its first record: a string default is
// interned once and every record shares its reference.
void VelDataRecordRepr::SetDefaults() {
    std::vector<unsigned char>& defaults = m_Layout->Defaults();
    const size_t size = static_cast<size_t>(m_Layout->RecordSize());
    if (defaults.size() == size) {
        if (size > 0) std::memcpy(m_Bytes, defaults.data(), size);
        return;
    }
    const VelRecTypeExpandedDataRecord& record = Record();
    if (size > 0) std::memset(m_Bytes, 0, size);
    for (int i = 0; i < record.MemberCount(); ++i) {
        const VelRecTypeDataRecordMember& member = record.Member(i);
        unsigned char* at = Slot(i);
        switch (member.Category()) {
            case VelRecTypeCategoryBoolean:
                VelRecordBytes::Put32(at, VelRecTypeBoolean(member).DefaultValue() ? 1 : 0);
                break;
            case VelRecTypeCategoryChar:
                VelRecordBytes::Put32(at, VelRecTypeChar(member).DefaultValue());
                break;
            case VelRecTypeCategoryShort:
                VelRecordBytes::Put32(at, static_cast<uint32_t>(static_cast<int32_t>(
                                              VelRecTypeShort(member).DefaultValue())));
                break;
            case VelRecTypeCategoryInteger:
                VelRecordBytes::Put32(
                    at, static_cast<uint32_t>(VelRecTypeInteger(member).DefaultValue()));
                break;
            case VelRecTypeCategoryInt64:
                VelRecordBytes::Put64(
                    at, static_cast<uint64_t>(VelRecTypeInt64(member).DefaultValue()));
                break;
            case VelRecTypeCategoryFloat: {
                const float value = VelRecTypeFloat(member).DefaultValue();
                uint32_t bits = 0;
                std::memcpy(&bits, &value, sizeof bits);
                VelRecordBytes::Put32(at, bits);
                break;
            }
            case VelRecTypeCategoryDouble: {
                const double value = VelRecTypeDouble(member).DefaultValue();
                uint64_t bits = 0;
                std::memcpy(&bits, &value, sizeof bits);
                VelRecordBytes::Put64(at, bits);
                break;
            }
            case VelRecTypeCategoryString:
                VelRecordBytes::Put32(at,
                                      Strings().Intern(VelRecTypeString(member).DefaultValue()));
                break;
            case VelRecTypeCategorySymConst:
                VelRecordBytes::Put32(
                    at, static_cast<uint32_t>(VelRecTypeSymConst(member).DefaultValue()));
                break;
        }
    }
    defaults.assign(m_Bytes, m_Bytes + size);
}

VelStringTable& VelDataRecordRepr::Strings() const {
    return m_View->Store().Strings();
}
