#ifndef VEL_TYPES_VELTYPEDATARECORDMEMBER_H
#define VEL_TYPES_VELTYPEDATARECORDMEMBER_H

#include <cstdint>

#include "vel/VelExport.h"
#include "vel/core/VelAssert.h"
#include "vel/core/VelHolder.h"
#include "vel/platform/cow_String.h"
#include "vel/types/VelTypeCategories.h"

class VelTypeDataRecordMemberRepr;
struct VelTypesAccess;

// An observer of one member of a schema data record type: its name, its category and, through
// the typed views below, its default.  Every operation asserts "repr".
class VEL_API VelTypeDataRecordMember : public VelWeakReference<VelTypeDataRecordMemberRepr> {
public:
    VelTypeDataRecordMember() = default;

    const cow_String& MemberName() const;
    VelDataCategory Category() const;
    // Whether the schema gave a default.  A member without one defaults to zero, false, the
    // empty string or the first value of a symbolic constant.
    bool HasDefault() const;

    explicit operator bool() const { return IsAlive(); }

protected:
    VelTypeDataRecordMemberRepr* Repr() const;

private:
    friend struct VelTypesAccess;
};

// A typed view of a member of category C whose default is a V.  It asserts
// "member.Category() == Category()".
template <VelDataCategory C, class V>
class VelTypeTypedMember : public VelTypeDataRecordMember {
public:
    explicit VelTypeTypedMember(const VelTypeDataRecordMember& member)
        : VelTypeDataRecordMember(member) {
        VelASSERT(member.Category() == Category());
    }

    static VelDataCategory Category() { return C; }
    V DefaultValue() const;
};

using VelTypeBoolMember = VelTypeTypedMember<VelDataCategoryBool, bool>;
using VelTypeOctetMember = VelTypeTypedMember<VelDataCategoryOctet, unsigned char>;
using VelTypeShortMember = VelTypeTypedMember<VelDataCategoryShort, short>;
using VelTypeIntMember = VelTypeTypedMember<VelDataCategoryInt, int>;
using VelTypeInt64Member = VelTypeTypedMember<VelDataCategoryInt64, int64_t>;
using VelTypeFloatMember = VelTypeTypedMember<VelDataCategoryFloat, float>;
using VelTypeDoubleMember = VelTypeTypedMember<VelDataCategoryDouble, double>;
using VelTypeStringMember = VelTypeTypedMember<VelDataCategoryString, cow_String>;

extern template class VEL_API VelTypeTypedMember<VelDataCategoryBool, bool>;
extern template class VEL_API VelTypeTypedMember<VelDataCategoryOctet, unsigned char>;
extern template class VEL_API VelTypeTypedMember<VelDataCategoryShort, short>;
extern template class VEL_API VelTypeTypedMember<VelDataCategoryInt, int>;
extern template class VEL_API VelTypeTypedMember<VelDataCategoryInt64, int64_t>;
extern template class VEL_API VelTypeTypedMember<VelDataCategoryFloat, float>;
extern template class VEL_API VelTypeTypedMember<VelDataCategoryDouble, double>;
extern template class VEL_API VelTypeTypedMember<VelDataCategoryString, cow_String>;
extern template class VEL_API VelTypeTypedMember<VelDataCategorySymConst, int>;

// A symbolic constant: a list of value names, numbered in byte-wise order of the names (not in
// declaration order), so that the numbers do not depend on how a schema lists its values.  The
// list is sorted, and closed, on the first read.  A symbolic constant without values cannot be
// read.
class VEL_API VelTypeSymConstMember : public VelTypeTypedMember<VelDataCategorySymConst, int> {
public:
    explicit VelTypeSymConstMember(const VelTypeDataRecordMember& member)
        : VelTypeTypedMember(member) {}

    // The number of values.
    int LimitValue() const;
    // The default's number: the position of the default's name among the sorted values, all
    // bits set (-1) when the name is not one of them, 0 when there is no default.
    int DefaultValue() const;
    // The default's name as the schema gave it; the first value when there is no default.
    cow_String DefaultValueAsString() const;
    // The name of value number i.
    cow_String ValueAsString(int i) const;
    // The number of the value of that name, or all bits set (-1) when there is none.
    int ValueFromString(const cow_String& name) const;
};

#endif
