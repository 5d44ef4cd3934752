#include "vel/views/VelDataRecord.h"

#include <cstring>

#include "vel/core/VelAssert.h"
#include "views/VelRecordRepr.h"
#include "views/VelStringTable.h"

// Every accessor looks the member up by position in the flattened type, requires its category,
// and moves the value through the store's byte order (VelRecordBytes).

namespace {

using MemberSlot = VelRowLayout::MemberSlot;

// The member's category and offset; the position is validated.
const MemberSlot& MemberAt(VelDataRecordRepr& record, int i) {
    return record.m_Layout->Members()[i];
}

uint32_t Load32(const VelDataRecordRepr& record, const MemberSlot& member) {
    return VelRecordBytes::Get32(record.m_Bytes + member.offset);
}

uint64_t Load64(const VelDataRecordRepr& record, const MemberSlot& member) {
    return VelRecordBytes::Get64(record.m_Bytes + member.offset);
}

unsigned char* At(VelDataRecordRepr& record, const MemberSlot& member) {
    return record.m_Bytes + member.offset;
}

}  // namespace

VelDataRecord::VelDataRecord(const VelRecHandle<VelDataRecordRepr>& target) : m_Target(target) {}

VelDataRecordRepr& VelDataRecord::Target() const {
    VelASSERT(m_Target);
    return *m_Target.Get();
}

VelDynamicID VelDataRecord::ID() const {
    return Target().m_ID;
}

VelRecTypeDataRecord VelDataRecord::Type() const {
    return Target().Record().DataRecordType();
}

VelTypeID VelDataRecord::TypeID() const {
    return Target().Record().DataRecordType().TypeID();
}

bool VelDataRecord::IsA(const VelTypeID& typeID) const {
    return Target().Record().IsA(typeID);
}

int VelDataRecord::MemberCount() const {
    return Target().Record().MemberCount();
}

VelRecTypeDataRecordMember VelDataRecord::Member(int i) const {
    return Target().Record().Member(i);
}

VelRecTypeDataCategory VelDataRecord::MemberCategory(int i) const {
    return Target().Record().Member(i).Category();
}

void VelDataRecord::GetBool(int i, bool& value) const {
    VelDataRecordRepr& record = Target();
    const MemberSlot& memberType = MemberAt(record, i);
    VelVALIDATE(memberType.Category() == VelRecTypeCategoryBoolean);
    value = Load32(record, memberType) != 0;
}

void VelDataRecord::GetOctet(int i, unsigned char& value) const {
    VelDataRecordRepr& record = Target();
    const MemberSlot& memberType = MemberAt(record, i);
    VelVALIDATE(memberType.Category() == VelRecTypeCategoryChar);
    value = static_cast<unsigned char>(Load32(record, memberType));
}

void VelDataRecord::GetShort(int i, short& value) const {
    VelDataRecordRepr& record = Target();
    const MemberSlot& memberType = MemberAt(record, i);
    VelVALIDATE(memberType.Category() == VelRecTypeCategoryShort);
    value = static_cast<short>(static_cast<int32_t>(Load32(record, memberType)));
}

void VelDataRecord::GetInt(int i, int& value) const {
    VelDataRecordRepr& record = Target();
    const MemberSlot& memberType = MemberAt(record, i);
    VelVALIDATE(memberType.Category() == VelRecTypeCategoryInteger);
    value = static_cast<int32_t>(Load32(record, memberType));
}

void VelDataRecord::GetInt64(int i, int64_t& value) const {
    VelDataRecordRepr& record = Target();
    const MemberSlot& memberType = MemberAt(record, i);
    VelVALIDATE(memberType.Category() == VelRecTypeCategoryInt64);
    value = static_cast<int64_t>(Load64(record, memberType));
}

void VelDataRecord::GetFloat(int i, float& value) const {
    VelDataRecordRepr& record = Target();
    const MemberSlot& memberType = MemberAt(record, i);
    VelVALIDATE(memberType.Category() == VelRecTypeCategoryFloat);
    const uint32_t bits = Load32(record, memberType);
    std::memcpy(&value, &bits, sizeof value);
}

void VelDataRecord::GetDouble(int i, double& value) const {
    VelDataRecordRepr& record = Target();
    const MemberSlot& memberType = MemberAt(record, i);
    VelVALIDATE(memberType.Category() == VelRecTypeCategoryDouble);
    const uint64_t bits = Load64(record, memberType);
    std::memcpy(&value, &bits, sizeof value);
}

void VelDataRecord::GetString(int i, cow_String& value) const {
    VelDataRecordRepr& record = Target();
    const MemberSlot& memberType = MemberAt(record, i);
    VelVALIDATE(memberType.Category() == VelRecTypeCategoryString);
    const std::string& text = record.Strings().Lookup(Load32(record, memberType));
    value = cow_String(text.data(), text.size());
}

void VelDataRecord::GetSymb(int i, int& value) const {
    VelDataRecordRepr& record = Target();
    const MemberSlot& memberType = MemberAt(record, i);
    VelVALIDATE(memberType.Category() == VelRecTypeCategorySymConst);
    value = static_cast<int32_t>(Load32(record, memberType));
}

cow_String VelDataRecord::ReturnString(int i) const {
    cow_String value;
    GetString(i, value);
    return value;
}

// ---- setters ----------------------------------------------------------------------------------

void VelDataRecordUpdate::SetBool(int i, bool value) const {
    VelDataRecordRepr& record = Target();
    const MemberSlot& memberType = MemberAt(record, i);
    VelVALIDATE(memberType.Category() == VelRecTypeCategoryBoolean);
    record.CheckWritable();
    VelRecordBytes::Put32(At(record, memberType), value ? 1 : 0);
}

void VelDataRecordUpdate::SetOctet(int i, unsigned char value) const {
    VelDataRecordRepr& record = Target();
    const MemberSlot& memberType = MemberAt(record, i);
    VelVALIDATE(memberType.Category() == VelRecTypeCategoryChar);
    record.CheckWritable();
    VelRecordBytes::Put32(At(record, memberType), value);
}

void VelDataRecordUpdate::SetShort(int i, short value) const {
    VelDataRecordRepr& record = Target();
    const MemberSlot& memberType = MemberAt(record, i);
    VelVALIDATE(memberType.Category() == VelRecTypeCategoryShort);
    record.CheckWritable();
    VelRecordBytes::Put32(At(record, memberType),
                          static_cast<uint32_t>(static_cast<int32_t>(value)));
}

void VelDataRecordUpdate::SetInt(int i, int value) const {
    VelDataRecordRepr& record = Target();
    const MemberSlot& memberType = MemberAt(record, i);
    VelVALIDATE(memberType.Category() == VelRecTypeCategoryInteger);
    record.CheckWritable();
    VelRecordBytes::Put32(At(record, memberType), static_cast<uint32_t>(value));
}

void VelDataRecordUpdate::SetInt64(int i, int64_t value) const {
    VelDataRecordRepr& record = Target();
    const MemberSlot& memberType = MemberAt(record, i);
    VelVALIDATE(memberType.Category() == VelRecTypeCategoryInt64);
    record.CheckWritable();
    VelRecordBytes::Put64(At(record, memberType), static_cast<uint64_t>(value));
}

void VelDataRecordUpdate::SetFloat(int i, float value) const {
    VelDataRecordRepr& record = Target();
    const MemberSlot& memberType = MemberAt(record, i);
    VelVALIDATE(memberType.Category() == VelRecTypeCategoryFloat);
    record.CheckWritable();
    uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    VelRecordBytes::Put32(At(record, memberType), bits);
}

void VelDataRecordUpdate::SetDouble(int i, double value) const {
    VelDataRecordRepr& record = Target();
    const MemberSlot& memberType = MemberAt(record, i);
    VelVALIDATE(memberType.Category() == VelRecTypeCategoryDouble);
    record.CheckWritable();
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    VelRecordBytes::Put64(At(record, memberType), bits);
}

void VelDataRecordUpdate::SetString(int i, const cow_String& value) const {
    VelDataRecordRepr& record = Target();
    const MemberSlot& memberType = MemberAt(record, i);
    VelVALIDATE(memberType.Category() == VelRecTypeCategoryString);
    record.CheckWritable();
    VelRecordBytes::Put32(At(record, memberType), record.Strings().Intern(value));
}

// Only the upper bound is checked: a negative number is stored as it is given.
void VelDataRecordUpdate::SetSymb(int i, int data) const {
    VelDataRecordRepr& record = Target();
    const MemberSlot& memberType = MemberAt(record, i);
    VelVALIDATE(memberType.Category() == VelRecTypeCategorySymConst);
    // The limit is kept with the member's slot; the name is the one the condition text uses.
    const MemberSlot& symMemberType = memberType;
    VelVALIDATE(data < symMemberType.LimitValue());
    record.CheckWritable();
    VelRecordBytes::Put32(At(record, memberType), static_cast<uint32_t>(data));
}
