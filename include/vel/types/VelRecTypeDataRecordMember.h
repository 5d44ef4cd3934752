#ifndef VEL_TYPES_VELRECTYPEDATARECORDMEMBER_H
#define VEL_TYPES_VELRECTYPEDATARECORDMEMBER_H

#include <cstdint>

#include "vel/VelExport.h"
#include "vel/platform/cow_String.h"
#include "vel/types/VelRecHandle.h"
#include "vel/types/VelTypeCategories.h"

class VelRecTypeDataRecordMemberRepr;
class VelRecTypeDataRecordMembersRepr;

// One member of a record-side data record type: its name, its data category, its default value
// and, for string members the default text, for float and double members the dimension.  A
// member is made through one of the typed views below and shared by copying.
class VEL_API VelRecTypeDataRecordMember {
public:
    // A member that names nothing; only for filling arrays.
    VelRecTypeDataRecordMember() = default;

    const cow_String& Name() const;
    VelRecTypeDataCategory Category() const;
    // The bytes one value of the member occupies in a stored record (4 or 8); 0 for a category
    // outside the table.
    int Size() const;

    // An order over member descriptions in which names take no part, so that two types whose
    // members differ only in name, and therefore store their records alike, compare equal.
    // Negative, zero or positive: category first, then the default (Integer defaults give their
    // difference), for float and double then the dimension, for strings the default text, for
    // symbolic constants the limit and then the default.
    int Compare(const VelRecTypeDataRecordMember& other) const;

protected:
    explicit VelRecTypeDataRecordMember(VelRecTypeDataRecordMemberRepr* repr);
    VelRecTypeDataRecordMemberRepr* Repr() const;

private:
    VelRecHandle<VelRecTypeDataRecordMemberRepr> m_Repr;
};

// The typed views.  Each is built either from a name and a default (and, where the category has
// one, a dimension) or from a member, asserting that the member has the view's category.

class VEL_API VelRecTypeBoolean : public VelRecTypeDataRecordMember {
public:
    VelRecTypeBoolean(const cow_String& name, bool defaultValue);
    explicit VelRecTypeBoolean(const VelRecTypeDataRecordMember& member);
    bool DefaultValue() const;
};

// An unsigned 8-bit value ("octet" in a schema).
class VEL_API VelRecTypeChar : public VelRecTypeDataRecordMember {
public:
    VelRecTypeChar(const cow_String& name, unsigned char defaultValue);
    explicit VelRecTypeChar(const VelRecTypeDataRecordMember& member);
    unsigned char DefaultValue() const;
};

class VEL_API VelRecTypeShort : public VelRecTypeDataRecordMember {
public:
    VelRecTypeShort(const cow_String& name, short defaultValue);
    explicit VelRecTypeShort(const VelRecTypeDataRecordMember& member);
    short DefaultValue() const;
};

class VEL_API VelRecTypeInteger : public VelRecTypeDataRecordMember {
public:
    VelRecTypeInteger(const cow_String& name, int defaultValue);
    explicit VelRecTypeInteger(const VelRecTypeDataRecordMember& member);
    int DefaultValue() const;
};

class VEL_API VelRecTypeInt64 : public VelRecTypeDataRecordMember {
public:
    VelRecTypeInt64(const cow_String& name, int64_t defaultValue);
    explicit VelRecTypeInt64(const VelRecTypeDataRecordMember& member);
    int64_t DefaultValue() const;
};

class VEL_API VelRecTypeFloat : public VelRecTypeDataRecordMember {
public:
    VelRecTypeFloat(const cow_String& name, float defaultValue,
                    const cow_String& dimension = cow_String());
    explicit VelRecTypeFloat(const VelRecTypeDataRecordMember& member);
    float DefaultValue() const;
    const cow_String& Dimension() const;
};

class VEL_API VelRecTypeDouble : public VelRecTypeDataRecordMember {
public:
    VelRecTypeDouble(const cow_String& name, double defaultValue,
                     const cow_String& dimension = cow_String());
    explicit VelRecTypeDouble(const VelRecTypeDataRecordMember& member);
    double DefaultValue() const;
    const cow_String& Dimension() const;
};

// A text member; records hold a reference into the context's string table.
class VEL_API VelRecTypeString : public VelRecTypeDataRecordMember {
public:
    VelRecTypeString(const cow_String& name, const cow_String& defaultValue);
    explicit VelRecTypeString(const VelRecTypeDataRecordMember& member);
    const cow_String& DefaultValue() const;
};

// A symbolic constant: records hold the number of one of LimitValue() values.  Every
// constructor asserts "LimitValue() > 0" and then that the default is one of the numbers.
class VEL_API VelRecTypeSymConst : public VelRecTypeDataRecordMember {
public:
    VelRecTypeSymConst(const cow_String& name, int limit, int defaultValue);
    VelRecTypeSymConst(int limit, int defaultValue);
    explicit VelRecTypeSymConst(const VelRecTypeDataRecordMember& member);
    int LimitValue() const;
    int DefaultValue() const;

private:
    void CheckValues() const;
};

// An ordered list of members, shared by copying.  It allocates its storage on the first Append.
class VEL_API VelRecTypeDataRecordMembers {
public:
    VelRecTypeDataRecordMembers() = default;

    void Append(const VelRecTypeDataRecordMember& member);
    int Count() const;
    // Validates the position.
    const VelRecTypeDataRecordMember& Get(int i) const;

private:
    VelRecHandle<VelRecTypeDataRecordMembersRepr> m_Repr;
};

#endif
