#include "vel/views/VelViewTypeEntry.h"

VelViewTypeEntry::VelViewTypeEntry(const VelTypeID& typeID, int category, int64_t count,
                                   const cow_String& schemaName)
    : m_TypeID(typeID), m_Category(category), m_Count(count), m_SchemaName(schemaName) {}
