#include "vel/types/VelRecTypeDataRecordMember.h"

#include <climits>

#include "types/VelRecTypeRepr.h"
#include "vel/core/VelAssert.h"

namespace {

template <class T>
int Order(T a, T b) {
    return a < b ? -1 : (b < a ? 1 : 0);
}

// Integer defaults compare as their difference, which is computed wide and kept in range so
// that extreme defaults cannot overflow it.
int Difference(int a, int b) {
    const long long difference = static_cast<long long>(a) - b;
    if (difference > INT_MAX) return INT_MAX;
    if (difference < INT_MIN) return INT_MIN;
    return static_cast<int>(difference);
}

}  // namespace

VelRecTypeDataRecordMember::VelRecTypeDataRecordMember(VelRecTypeDataRecordMemberRepr* repr)
    : m_Repr(repr) {}

VelRecTypeDataRecordMemberRepr* VelRecTypeDataRecordMember::Repr() const {
    return m_Repr.Get();
}

const cow_String& VelRecTypeDataRecordMember::Name() const {
    VelVALIDATE(m_Repr && "the member describes nothing");
    return m_Repr->m_Name;
}

VelRecTypeDataCategory VelRecTypeDataRecordMember::Category() const {
    VelVALIDATE(m_Repr && "the member describes nothing");
    return m_Repr->m_Category;
}

int VelRecTypeDataRecordMember::Size() const {
    switch (Category()) {
        case VelRecTypeCategoryBoolean:
        case VelRecTypeCategoryChar:
        case VelRecTypeCategoryShort:
        case VelRecTypeCategoryInteger:
        case VelRecTypeCategoryFloat:
        case VelRecTypeCategoryString:
        case VelRecTypeCategorySymConst:
            return 4;
        case VelRecTypeCategoryInt64:
        case VelRecTypeCategoryDouble:
            return 8;
    }
    return 0;
}

int VelRecTypeDataRecordMember::Compare(const VelRecTypeDataRecordMember& other) const {
    const VelRecTypeDataCategory category = Category();
    if (category != other.Category()) return category < other.Category() ? -1 : 1;
    const VelRecTypeDataRecordMemberRepr& a = *m_Repr.Get();
    const VelRecTypeDataRecordMemberRepr& b = *other.m_Repr.Get();
    switch (category) {
        case VelRecTypeCategoryBoolean:
            return Order<unsigned char>(a.m_Default.boolValue, b.m_Default.boolValue);
        case VelRecTypeCategoryChar:
            // Octet defaults are unsigned, yet they are ordered as signed bytes: stored
            // descriptions were ordered that way, and the order must not change under them.
            return Order(static_cast<signed char>(a.m_Default.charValue),
                         static_cast<signed char>(b.m_Default.charValue));
        case VelRecTypeCategoryShort:
            return Order(a.m_Default.shortValue, b.m_Default.shortValue);
        case VelRecTypeCategoryInteger:
            return Difference(a.m_Default.intValue, b.m_Default.intValue);
        case VelRecTypeCategoryInt64:
            return Order(a.m_Default.int64Value, b.m_Default.int64Value);
        case VelRecTypeCategoryFloat: {
            const int byValue = Order(a.m_Default.floatValue, b.m_Default.floatValue);
            return byValue != 0 ? byValue : a.m_Text.Compare(b.m_Text);
        }
        case VelRecTypeCategoryDouble: {
            const int byValue = Order(a.m_Default.doubleValue, b.m_Default.doubleValue);
            return byValue != 0 ? byValue : a.m_Text.Compare(b.m_Text);
        }
        case VelRecTypeCategoryString:
            return a.m_Text.Compare(b.m_Text);
        case VelRecTypeCategorySymConst: {
            const int byLimit = Order(a.m_Limit, b.m_Limit);
            return byLimit != 0 ? byLimit : Order(a.m_Default.intValue, b.m_Default.intValue);
        }
    }
    return 0;
}

// ---- typed views ------------------------------------------------------------------------------

VelRecTypeBoolean::VelRecTypeBoolean(const cow_String& name, bool defaultValue)
    : VelRecTypeDataRecordMember(
          new VelRecTypeDataRecordMemberRepr(name, VelRecTypeCategoryBoolean)) {
    Repr()->m_Default.boolValue = defaultValue;
}
VelRecTypeBoolean::VelRecTypeBoolean(const VelRecTypeDataRecordMember& member)
    : VelRecTypeDataRecordMember(member) {
    VelASSERT(member.Category() == VelRecTypeCategoryBoolean);
}
bool VelRecTypeBoolean::DefaultValue() const {
    return Repr()->m_Default.boolValue;
}

VelRecTypeChar::VelRecTypeChar(const cow_String& name, unsigned char defaultValue)
    : VelRecTypeDataRecordMember(new VelRecTypeDataRecordMemberRepr(name, VelRecTypeCategoryChar)) {
    Repr()->m_Default.charValue = defaultValue;
}
VelRecTypeChar::VelRecTypeChar(const VelRecTypeDataRecordMember& member)
    : VelRecTypeDataRecordMember(member) {
    VelASSERT(member.Category() == VelRecTypeCategoryChar);
}
unsigned char VelRecTypeChar::DefaultValue() const {
    return Repr()->m_Default.charValue;
}

VelRecTypeShort::VelRecTypeShort(const cow_String& name, short defaultValue)
    : VelRecTypeDataRecordMember(
          new VelRecTypeDataRecordMemberRepr(name, VelRecTypeCategoryShort)) {
    Repr()->m_Default.shortValue = defaultValue;
}
VelRecTypeShort::VelRecTypeShort(const VelRecTypeDataRecordMember& member)
    : VelRecTypeDataRecordMember(member) {
    VelASSERT(member.Category() == VelRecTypeCategoryShort);
}
short VelRecTypeShort::DefaultValue() const {
    return Repr()->m_Default.shortValue;
}

VelRecTypeInteger::VelRecTypeInteger(const cow_String& name, int defaultValue)
    : VelRecTypeDataRecordMember(
          new VelRecTypeDataRecordMemberRepr(name, VelRecTypeCategoryInteger)) {
    Repr()->m_Default.intValue = defaultValue;
}
VelRecTypeInteger::VelRecTypeInteger(const VelRecTypeDataRecordMember& member)
    : VelRecTypeDataRecordMember(member) {
    VelASSERT(member.Category() == VelRecTypeCategoryInteger);
}
int VelRecTypeInteger::DefaultValue() const {
    return Repr()->m_Default.intValue;
}

VelRecTypeInt64::VelRecTypeInt64(const cow_String& name, int64_t defaultValue)
    : VelRecTypeDataRecordMember(
          new VelRecTypeDataRecordMemberRepr(name, VelRecTypeCategoryInt64)) {
    Repr()->m_Default.int64Value = defaultValue;
}
VelRecTypeInt64::VelRecTypeInt64(const VelRecTypeDataRecordMember& member)
    : VelRecTypeDataRecordMember(member) {
    VelASSERT(member.Category() == VelRecTypeCategoryInt64);
}
int64_t VelRecTypeInt64::DefaultValue() const {
    return Repr()->m_Default.int64Value;
}

VelRecTypeFloat::VelRecTypeFloat(const cow_String& name, float defaultValue,
                                 const cow_String& dimension)
    : VelRecTypeDataRecordMember(
          new VelRecTypeDataRecordMemberRepr(name, VelRecTypeCategoryFloat)) {
    Repr()->m_Default.floatValue = defaultValue;
    Repr()->m_Text = dimension;
}
VelRecTypeFloat::VelRecTypeFloat(const VelRecTypeDataRecordMember& member)
    : VelRecTypeDataRecordMember(member) {
    VelASSERT(member.Category() == VelRecTypeCategoryFloat);
}
float VelRecTypeFloat::DefaultValue() const {
    return Repr()->m_Default.floatValue;
}
const cow_String& VelRecTypeFloat::Dimension() const {
    return Repr()->m_Text;
}

VelRecTypeDouble::VelRecTypeDouble(const cow_String& name, double defaultValue,
                                   const cow_String& dimension)
    : VelRecTypeDataRecordMember(
          new VelRecTypeDataRecordMemberRepr(name, VelRecTypeCategoryDouble)) {
    Repr()->m_Default.doubleValue = defaultValue;
    Repr()->m_Text = dimension;
}
VelRecTypeDouble::VelRecTypeDouble(const VelRecTypeDataRecordMember& member)
    : VelRecTypeDataRecordMember(member) {
    VelASSERT(member.Category() == VelRecTypeCategoryDouble);
}
double VelRecTypeDouble::DefaultValue() const {
    return Repr()->m_Default.doubleValue;
}
const cow_String& VelRecTypeDouble::Dimension() const {
    return Repr()->m_Text;
}

VelRecTypeString::VelRecTypeString(const cow_String& name, const cow_String& defaultValue)
    : VelRecTypeDataRecordMember(
          new VelRecTypeDataRecordMemberRepr(name, VelRecTypeCategoryString)) {
    Repr()->m_Text = defaultValue;
}
VelRecTypeString::VelRecTypeString(const VelRecTypeDataRecordMember& member)
    : VelRecTypeDataRecordMember(member) {
    VelASSERT(member.Category() == VelRecTypeCategoryString);
}
const cow_String& VelRecTypeString::DefaultValue() const {
    return Repr()->m_Text;
}

VelRecTypeSymConst::VelRecTypeSymConst(const cow_String& name, int limit, int defaultValue)
    : VelRecTypeDataRecordMember(
          new VelRecTypeDataRecordMemberRepr(name, VelRecTypeCategorySymConst)) {
    Repr()->m_Limit = limit;
    Repr()->m_Default.intValue = defaultValue;
    CheckValues();
}
VelRecTypeSymConst::VelRecTypeSymConst(int limit, int defaultValue)
    : VelRecTypeSymConst(cow_String(), limit, defaultValue) {}
VelRecTypeSymConst::VelRecTypeSymConst(const VelRecTypeDataRecordMember& member)
    : VelRecTypeDataRecordMember(member) {
    VelASSERT(member.Category() == VelRecTypeCategorySymConst);
    CheckValues();
}
int VelRecTypeSymConst::LimitValue() const {
    return Repr()->m_Limit;
}
int VelRecTypeSymConst::DefaultValue() const {
    return Repr()->m_Default.intValue;
}
void VelRecTypeSymConst::CheckValues() const {
    VelASSERT(LimitValue() > 0);
    VelASSERT(DefaultValue() >= 0 && DefaultValue() < LimitValue());
}

// ---- the member list --------------------------------------------------------------------------

void VelRecTypeDataRecordMembers::Append(const VelRecTypeDataRecordMember& member) {
    if (!m_Repr)
        m_Repr = VelRecHandle<VelRecTypeDataRecordMembersRepr>(new VelRecTypeDataRecordMembersRepr);
    VelArray<VelRecTypeDataRecordMember>& members = m_Repr->m_Members;
    members.SetSize(members.Size() + 1);
    members[members.Size() - 1] = member;
}

int VelRecTypeDataRecordMembers::Count() const {
    return m_Repr ? m_Repr->m_Members.Size() : 0;
}

const VelRecTypeDataRecordMember& VelRecTypeDataRecordMembers::Get(int i) const {
    static const VelArray<VelRecTypeDataRecordMember> none;
    return (m_Repr ? m_Repr->m_Members : none)[i];
}
