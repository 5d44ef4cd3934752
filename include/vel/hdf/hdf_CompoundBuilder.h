#ifndef VEL_HDF_HDF_COMPOUNDBUILDER_H
#define VEL_HDF_HDF_COMPOUNDBUILDER_H

#include <hdf5.h>

#include "vel/VelExport.h"
#include "vel/hdf/hdf_Datatype.h"

// Builds a compound type member by member.  Insert(name, type) packs members back to back with
// no padding: the first goes at offset 0, each next one at the compound's current size, and the
// compound grows to fit, so the size given at construction only lasts until the first member.
// hdf_Datatype(builder) takes a copy of the result.
//
// The builder owns its type identifier outright and closes it when destroyed; every failure
// throws an hdf_Exception.
class VEL_API hdf_CompoundBuilder {
public:
    explicit hdf_CompoundBuilder(int size);
    // A failing close throws, unless an exception is already on its way.
    ~hdf_CompoundBuilder() noexcept(false);
    hdf_CompoundBuilder(const hdf_CompoundBuilder&) = delete;
    hdf_CompoundBuilder& operator=(const hdf_CompoundBuilder&) = delete;

    // Appends a member; a member type of size 0 (or one HDF5 cannot size) throws.
    void Insert(const char* name, const hdf_Datatype& type);
    // Places a member at `offset` without resizing the compound.
    void Insert(const char* name, int offset, const hdf_Datatype& type);

    hid_t GetID() const { return m_typeID; }

private:
    hid_t m_typeID;
    bool m_noMemberYet = true;
};

#endif
