#ifndef VEL_TYPES_VELTYPEREGISTRY_H
#define VEL_TYPES_VELTYPEREGISTRY_H

#include "vel/VelExport.h"
#include "vel/context/VelDynamicID.h"
#include "vel/core/VelAutoPtr.h"
#include "vel/types/VelRecType.h"
#include "vel/types/VelTypeID.h"

class VelTypeRegistryRepr;

// The registry is deleted out of line, so that it can be declared where its representation is
// only declared.
template <>
struct VEL_API VelAutoPtrObjectOutline<VelTypeRegistryRepr> {
    static void Delete(VelTypeRegistryRepr* repr);
};

// The record types of one database: the types its records were written with.  Each type is
// stored as a record of the built-in Types form; the registry knows each type's position, its
// identifier and the identifier of that record, and both identifiers are unique.
//
// A transaction that changes types records the new versions beside the registered ones
// (UpdateType); they become the registered types when the changes are committed, or are dropped.
// A type that records have been created or read with is locked and can no longer be updated.
class VEL_API VelTypeRegistry {
public:
    VelTypeRegistry();
    ~VelTypeRegistry();
    VelTypeRegistry(const VelTypeRegistry&) = delete;
    VelTypeRegistry& operator=(const VelTypeRegistry&) = delete;

    int TypeCount() const;
    // The type at position i, in its updated version while changes are pending.
    VelRecType GetType(int i) const;
    // The identifier of the record that stores the type at position i.
    VelDynamicID RecordID(int i) const;
    // Positions, or -1.
    int FindType(const VelTypeID& typeID) const;
    int FindRecord(const VelDynamicID& recordID) const;

    // Registers a type and returns its position.  Validates that neither its TypeID nor its
    // record ID is registered already.
    int AddType(const VelRecType& type, const VelDynamicID& recordID);

    // Records a new version of the type at `index`, which must keep the type's identifier and
    // category.  Validates that the type is not locked.
    void UpdateType(int index, const VelRecType& type);
    bool IsTypeModified(int index) const;
    int ModifiedTypeCount() const;
    // Makes the updated versions the registered ones.
    void CommitChanges();
    // Drops the updated versions.
    void DiscardChanges();

    // Marks a type as used for records; a locked type stays locked.
    void LockType(int index);
    bool IsTypeLocked(int index) const;

private:
    VelAutoPtr<VelTypeRegistryRepr> m_Repr;
};

#endif
