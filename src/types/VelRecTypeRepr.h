#ifndef VEL_SRC_TYPES_VELRECTYPEREPR_H
#define VEL_SRC_TYPES_VELRECTYPEREPR_H

// The shared representations behind the record-side type handles.

#include <cstdint>

#include "vel/core/VelArray.h"
#include "vel/core/VelBtree.h"
#include "vel/types/VelRecType.h"

class VelRecTypeDataRecordMemberRepr : public VelRecShared {
public:
    VelRecTypeDataRecordMemberRepr(const cow_String& name, VelRecTypeDataCategory category)
        : m_Name(name), m_Category(category) {
        m_Default.int64Value = 0;
    }

    cow_String m_Name;
    VelRecTypeDataCategory m_Category;
    // The default, read according to the category.
    union {
        bool boolValue;
        unsigned char charValue;
        short shortValue;
        int intValue;
        int64_t int64Value;
        float floatValue;
        double doubleValue;
    } m_Default;
    // The default of a string member, the dimension of a float or double member.
    cow_String m_Text;
    // The number of values of a symbolic constant.
    int m_Limit = 0;
};

class VelRecTypeDataRecordMembersRepr : public VelRecShared {
public:
    VelArray<VelRecTypeDataRecordMember> m_Members;
};

class VelRecTypeEntityTypesRepr : public VelRecShared {
public:
    VelArray<VelTypeID> m_TypeIDs;
};

class VelRecTypeAssociationMemberRepr : public VelRecShared {
public:
    cow_String m_RoleName;
    VelRecTypeAssociationMemberOption m_Option = VelRecTypeUnordered;
    int m_Kind = 0;
    VelArray<VelTypeID> m_EntityTypes;
    int m_MinOccurs = 0;
    int m_MaxOccurs = 1;
};

// What the category-specific views of a VelRecType describe.
class VelRecTypeRepr : public VelRecShared {
public:
    explicit VelRecTypeRepr(int category) : m_Category(category) {}
    const int m_Category;
};

class VelRecTypeDataRecordRepr : public VelRecTypeRepr {
public:
    VelRecTypeDataRecordRepr() : VelRecTypeRepr(VelCategoryDataRecord) {}
    VelTypeID m_BaseTypeID;
    VelArray<VelRecTypeDataRecordMember> m_Members;
    // Member name to position; the first of two members of one name wins.
    VelBtree<cow_String, int> m_MemberIndex;
};

class VelRecTypeAssociationRepr : public VelRecTypeRepr {
public:
    VelRecTypeAssociationRepr() : VelRecTypeRepr(VelCategoryAssociation) {}
    VelRecTypeAssociationMember m_Members[2];
};

#endif
