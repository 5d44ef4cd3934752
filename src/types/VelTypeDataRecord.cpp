#include "vel/types/VelTypeDataRecord.h"

#include <algorithm>
#include <utility>

#include "types/VelTypeRepr.h"
#include "vel/core/VelAssert.h"
#include "vel/types/VelTypeAssociation.h"

// ---- member lists -----------------------------------------------------------------------------

namespace {

const cow_String& SortKey(const VelTypeDataRecordMemberRepr& member) {
    return member.m_Name;
}
const cow_String& SortKey(const VelTypeAssociationMemberRepr& member) {
    return member.m_RoleName;
}

}  // namespace

template <class Holder>
void VelTypeMemberList<Holder>::Append(Holder& member) {
    VelVALIDATE(m_Members.Size() == 0 || !m_Sorted);
    m_Members.PushBack(std::move(member));
    m_Sorted = false;
}

template <class Holder>
void VelTypeMemberList<Holder>::EnsureSorted() {
    if (m_Sorted) return;
    // Stable: members of one name keep their document order.
    std::stable_sort(m_Members.begin(), m_Members.end(), [](const Holder& a, const Holder& b) {
        return SortKey(*a).Compare(SortKey(*b)) < 0;
    });
    m_Sorted = true;
}

template <class Holder>
int VelTypeMemberList<Holder>::Find(const cow_String& name) {
    EnsureSorted();
    const Holder* found = std::lower_bound(m_Members.begin(), m_Members.end(), name,
                                           [](const Holder& member, const cow_String& key) {
                                               return SortKey(*member).Compare(key) < 0;
                                           });
    if (found == m_Members.end() || SortKey(**found) != name) return -1;
    return static_cast<int>(found - m_Members.begin());
}

template class VelTypeMemberList<VelTypeDataRecordMemberHolder>;
template class VelTypeMemberList<VelTypeAssociationMemberHolder>;

// ---- symbolic constants -----------------------------------------------------------------------

void VelTypeSymConstMemberRepr::AppendValue(const cow_String& value) {
    VelVALIDATE(!m_Sorted && "The values of a symbolic constant cannot change once read");
    m_StringValues.SetSize(m_StringValues.Size() + 1);
    m_StringValues[m_StringValues.Size() - 1] = value;
}

void VelTypeSymConstMemberRepr::EnsureSorted() {
    if (m_Sorted) return;
    VelVALIDATE(!m_Sorted && m_StringValues.Size() > 0);
    cow_String* first = &m_StringValues[0];
    std::sort(first, first + m_StringValues.Size());
    m_Sorted = true;
}

int VelTypeSymConstMemberRepr::Find(const cow_String& value) {
    EnsureSorted();
    const cow_String* first = &m_StringValues[0];
    const cow_String* last = first + m_StringValues.Size();
    const cow_String* found = std::lower_bound(first, last, value);
    if (found == last || *found != value) return ~0;
    return static_cast<int>(found - first);
}

// ---- data record members ----------------------------------------------------------------------

VelTypeDataRecordMemberRepr* VelTypeDataRecordMember::Repr() const {
    return VelTypesAccess::Repr(*this);
}

const cow_String& VelTypeDataRecordMember::MemberName() const {
    return Repr()->m_Name;
}
VelDataCategory VelTypeDataRecordMember::Category() const {
    return Repr()->m_Category;
}
bool VelTypeDataRecordMember::HasDefault() const {
    return Repr()->m_HasDefault;
}

namespace {

VelTypeSymConstMemberRepr& SymConst(VelTypeDataRecordMemberRepr* repr) {
    return *static_cast<VelTypeSymConstMemberRepr*>(repr);
}

// The number of a symbolic constant's default: 0 without one, all bits set for a name that is
// not a value (the record type built from it then fails its range check).
int SymConstDefault(VelTypeDataRecordMemberRepr* repr) {
    VelTypeSymConstMemberRepr& symConst = SymConst(repr);
    symConst.EnsureSorted();
    return symConst.m_HasDefault ? symConst.Find(symConst.m_StringDefault) : 0;
}

template <class V>
V ReadDefault(VelTypeDataRecordMemberRepr* repr);
template <>
bool ReadDefault<bool>(VelTypeDataRecordMemberRepr* repr) {
    return repr->m_Default.boolValue;
}
template <>
unsigned char ReadDefault<unsigned char>(VelTypeDataRecordMemberRepr* repr) {
    return repr->m_Default.octetValue;
}
template <>
short ReadDefault<short>(VelTypeDataRecordMemberRepr* repr) {
    return repr->m_Default.shortValue;
}
template <>
int ReadDefault<int>(VelTypeDataRecordMemberRepr* repr) {
    if (repr->m_Category == VelDataCategorySymConst) return SymConstDefault(repr);
    return repr->m_Default.intValue;
}
template <>
int64_t ReadDefault<int64_t>(VelTypeDataRecordMemberRepr* repr) {
    return repr->m_Default.int64Value;
}
template <>
float ReadDefault<float>(VelTypeDataRecordMemberRepr* repr) {
    return repr->m_Default.floatValue;
}
template <>
double ReadDefault<double>(VelTypeDataRecordMemberRepr* repr) {
    return repr->m_Default.doubleValue;
}
template <>
cow_String ReadDefault<cow_String>(VelTypeDataRecordMemberRepr* repr) {
    return repr->m_StringDefault;
}

}  // namespace

template <VelDataCategory C, class V>
V VelTypeTypedMember<C, V>::DefaultValue() const {
    return ReadDefault<V>(Repr());
}

template class VelTypeTypedMember<VelDataCategoryBool, bool>;
template class VelTypeTypedMember<VelDataCategoryOctet, unsigned char>;
template class VelTypeTypedMember<VelDataCategoryShort, short>;
template class VelTypeTypedMember<VelDataCategoryInt, int>;
template class VelTypeTypedMember<VelDataCategoryInt64, int64_t>;
template class VelTypeTypedMember<VelDataCategoryFloat, float>;
template class VelTypeTypedMember<VelDataCategoryDouble, double>;
template class VelTypeTypedMember<VelDataCategoryString, cow_String>;
template class VelTypeTypedMember<VelDataCategorySymConst, int>;

int VelTypeSymConstMember::LimitValue() const {
    VelTypeSymConstMemberRepr& symConst = SymConst(Repr());
    symConst.EnsureSorted();
    return symConst.m_StringValues.Size();
}

int VelTypeSymConstMember::DefaultValue() const {
    return SymConstDefault(Repr());
}

cow_String VelTypeSymConstMember::DefaultValueAsString() const {
    VelTypeSymConstMemberRepr& symConst = SymConst(Repr());
    symConst.EnsureSorted();
    return symConst.m_HasDefault ? symConst.m_StringDefault : symConst.m_StringValues[0];
}

cow_String VelTypeSymConstMember::ValueAsString(int i) const {
    VelTypeSymConstMemberRepr& symConst = SymConst(Repr());
    symConst.EnsureSorted();
    return symConst.m_StringValues[i];
}

int VelTypeSymConstMember::ValueFromString(const cow_String& name) const {
    return SymConst(Repr()).Find(name);
}

// ---- type declarations ------------------------------------------------------------------------

int VelTypeRef::Category() const {
    return VelTypesAccess::Repr(*this)->m_Category;
}

VelTypeID VelTypeRef::ID() const {
    VelTypeRepr* repr = VelTypesAccess::Repr(*this);
    VelTypesAccess::Repr(repr->m_Form)->EnsureSorted();
    return repr->m_ID;
}

const cow_String& VelTypeRef::TypeName() const {
    return VelTypesAccess::Repr(*this)->m_Name;
}
int VelTypeRef::Level() const {
    return VelTypesAccess::Repr(*this)->m_Level;
}
VelTypeForm VelTypeRef::Form() const {
    return VelTypesAccess::Repr(*this)->m_Form;
}

namespace {
VelTypeDataRecordRepr* DataRecord(const VelTypeRef& type) {
    return static_cast<VelTypeDataRecordRepr*>(VelTypesAccess::Repr(type));
}
VelTypeAssociationRepr* Association(const VelTypeRef& type) {
    return static_cast<VelTypeAssociationRepr*>(VelTypesAccess::Repr(type));
}
}  // namespace

VelTypeDataRecord::VelTypeDataRecord(const VelTypeRef& type) : VelTypeRef(type) {
    VelASSERT(type.Category() == VelCategoryDataRecord);
}

VelTypeID VelTypeDataRecord::BaseTypeID() const {
    const VelTypeDataRecordRepr* repr = DataRecord(*this);
    if (!repr->HasBase()) return VelTypeID();
    return VelTypesAccess::Repr(repr->m_Base.Form())->TypeID(repr->m_Base.TypeName());
}

VelTypeQualifiedName VelTypeDataRecord::BaseTypeName() const {
    return DataRecord(*this)->m_Base;
}

int VelTypeDataRecord::MemberCount() const {
    return DataRecord(*this)->m_Members.Size();
}

VelTypeDataRecordMember VelTypeDataRecord::Member(int i) const {
    return DataRecord(*this)->m_Members[i].Get();
}

int VelTypeDataRecord::GetMemberPositionByName(const cow_String& name) const {
    return DataRecord(*this)->m_Members.Find(name);
}

VelTypeAssociation::VelTypeAssociation(const VelTypeRef& type) : VelTypeRef(type) {
    VelASSERT(type.Category() == VelCategoryAssociation);
}

int VelTypeAssociation::MemberCount() const {
    return Association(*this)->m_Members.Size();
}

VelTypeAssociationMember VelTypeAssociation::Member(int i) const {
    return Association(*this)->m_Members[i].Get();
}

int VelTypeAssociation::GetMemberPositionByRoleName(const cow_String& roleName) const {
    return Association(*this)->m_Members.Find(roleName);
}

// ---- association members ----------------------------------------------------------------------

void VelTypeAssociationMemberRepr::AppendTarget(const VelTypeQualifiedName& target) {
    m_TargetNames.SetSize(m_TargetNames.Size() + 1);
    m_TargetNames[m_TargetNames.Size() - 1] = target;
}

void VelTypeAssociationMemberRepr::ResolveTargets() {
    if (m_Resolved) return;
    VelASSERT(m_TargetTypes.Size() == 0);
    m_TargetTypes.SetSize(m_TargetNames.Size());
    for (int i = 0; i < m_TargetNames.Size(); ++i) {
        const VelTypeForm& form = m_TargetNames[i].Form();
        const cow_String& typeName = m_TargetNames[i].TypeName();
        VelVALIDATE(form && !typeName.Empty());
        m_TargetTypes[i] = form.GetTypeID(typeName);
        VelVALIDATE(m_TargetTypes[i] != VelTypeID() && "Target type not found");
    }
    m_Resolved = true;
}

int VelTypeAssociationMember::Category() const {
    return VelTypesAccess::Repr(*this)->m_Category;
}
const cow_String& VelTypeAssociationMember::RoleName() const {
    return VelTypesAccess::Repr(*this)->m_RoleName;
}
int VelTypeAssociationMember::MinOccurs() const {
    return VelTypesAccess::Repr(*this)->m_MinOccurs;
}
int VelTypeAssociationMember::MaxOccurs() const {
    return VelTypesAccess::Repr(*this)->m_MaxOccurs;
}
bool VelTypeAssociationMember::Ordered() const {
    return VelTypesAccess::Repr(*this)->m_Ordered;
}
VelTypeAssociationKeyEnm VelTypeAssociationMember::KeyType() const {
    return VelTypesAccess::Repr(*this)->m_KeyType;
}
int VelTypeAssociationMember::TargetTypeCount() const {
    return VelTypesAccess::Repr(*this)->m_TargetNames.Size();
}
VelTypeQualifiedName VelTypeAssociationMember::TargetTypeName(int i) const {
    return VelTypesAccess::Repr(*this)->m_TargetNames[i];
}
VelTypeID VelTypeAssociationMember::TargetTypeID(int i) const {
    VelTypeAssociationMemberRepr* repr = VelTypesAccess::Repr(*this);
    repr->ResolveTargets();
    return repr->m_TargetTypes[i];
}
