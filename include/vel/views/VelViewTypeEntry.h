#ifndef VEL_VIEWS_VELVIEWTYPEENTRY_H
#define VEL_VIEWS_VELVIEWTYPEENTRY_H

#include <cstdint>

#include "vel/VelExport.h"
#include "vel/platform/cow_String.h"
#include "vel/types/VelTypeCategories.h"
#include "vel/types/VelTypeID.h"

// One record type registered in a view, as VelView::TypeEntries lists it: its identifier (the
// form that declares it and its ordinal there), its category (VelCategoryDataRecord or
// VelCategoryAssociation) and how many committed records of exactly that type, or pairs of that
// association, the view holds.
//
// The record store keeps no schema names of types: a type is stored by its identifier alone
// (the text "<form>#<ordinal>" in its registry record), its members and roles by name
// (VelView::Type).  SchemaName is the name the view's schema gives the type, for a view opened
// or made with a snapshot whose form manager still lives, and empty for a view opened by form
// name and level.
class VEL_API VelViewTypeEntry {
public:
    // Of no type; only for filling arrays.
    VelViewTypeEntry() = default;
    VelViewTypeEntry(const VelTypeID& typeID, int category, int64_t count,
                     const cow_String& schemaName);

    const VelTypeID& TypeID() const { return m_TypeID; }
    int Category() const { return m_Category; }
    // Records of a data record type, pairs of an association type.
    int64_t Count() const { return m_Count; }
    const cow_String& SchemaName() const { return m_SchemaName; }

private:
    VelTypeID m_TypeID;
    int m_Category = 0;
    int64_t m_Count = 0;
    cow_String m_SchemaName;
};

#endif
