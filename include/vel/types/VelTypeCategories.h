#ifndef VEL_TYPES_VELTYPECATEGORIES_H
#define VEL_TYPES_VELTYPECATEGORIES_H

#include "vel/context/VelDynamicID.h"

// The categories that tie schema types, record types and stored identifiers together.  Every
// category lies below VelCategoryLimit (1024).  The enumerations have a fixed underlying type:
// values read back from a database may lie outside the enumerators and are checked, not assumed.

// Type categories.
enum VelCategory : int { VelCategoryDataRecord = 64, VelCategoryAssociation = 65 };

// Data-member categories on the record side, with the bytes one value occupies in a stored
// record (VelRecTypeDataRecordMember::Size).
enum VelRecTypeDataCategory : int {
    VelRecTypeCategoryBoolean = 1,  // 4 bytes
    VelRecTypeCategoryChar = 2,     // unsigned 8-bit, 4 bytes
    VelRecTypeCategoryShort = 3,    // 4 bytes
    VelRecTypeCategoryInteger = 4,  // 4 bytes
    VelRecTypeCategoryInt64 = 5,    // 8 bytes
    VelRecTypeCategoryFloat = 6,    // 4 bytes
    VelRecTypeCategoryDouble = 7,   // 8 bytes
    VelRecTypeCategoryString = 8,   // a 4-byte reference into the string table
    VelRecTypeCategorySymConst = 9  // the value's number, 4 bytes
};

// The same categories on the schema side, named after the schema language's elements.
enum VelDataCategory : int {
    VelDataCategoryBool = 1,
    VelDataCategoryOctet = 2,
    VelDataCategoryShort = 3,
    VelDataCategoryInt = 4,
    VelDataCategoryInt64 = 5,
    VelDataCategoryFloat = 6,
    VelDataCategoryDouble = 7,
    VelDataCategoryString = 8,
    VelDataCategorySymConst = 9
};

// What an association member refers to.  The codes of the bulk-data kinds are the categories
// of their identifiers; a data-record member uses the data record type category.  Codes 4 and
// 6 are produced by no schema element: they are kept for the two kinds the transfer layer
// addresses beside collections and CSets, a single collection member (a 4-byte ordinal) and an
// ordered CSet (two 4-byte words, like a CSet).
enum VelEntityKind : int {
    VelEntityCollection = 1,
    VelEntityDistribution = 2,
    VelEntityDSet = 3,
    VelEntityCollectionMember = 4,
    VelEntityCSet = 5,
    VelEntityOrderedCSet = 6,
    VelEntityDrawer = 7,
    VelEntityGrid = 8,
    VelEntityCompartment = 9,
    VelEntityIndexSet = 10,
    VelEntityPermutation = 11,
    VelEntityDataRecord = 64,
    VelEntityViewFocus = 66
};

// How the participants of one association member are kept.
enum VelRecTypeAssociationMemberOption : int {
    VelRecTypeUnordered = 0,  // a set
    VelRecTypeOrdered = 1,    // in insertion order
    VelRecTypeStringKey = 2   // keyed by a string
};

// The key type of a schema association member.
enum VelTypeAssociationKeyEnm : int {
    VelTypeAssociationKeyNone = 0,
    VelTypeAssociationKeyString = 1
};

// The maxOccurs of a member without an upper bound: all bits set.
constexpr int VelTypeAssociationUnbounded = -1;

#endif
