#ifndef VEL_HDF_HDF_ATTRIBUTE_H
#define VEL_HDF_HDF_ATTRIBUTE_H

#include <hdf5.h>

#include "vel/VelExport.h"
#include "vel/hdf/hdf_Dataspace.h"
#include "vel/hdf/hdf_Datatype.h"
#include "vel/hdf/hdf_Object.h"

// An attribute of a group or a dataset, made by their AttributeCreate and AttributeOpen.
// Write and Read move the whole attribute, converted between `type` (the memory type) and the
// type it was created with.
class VEL_API hdf_Attribute : public hdf_Object {
public:
    hdf_Attribute() = default;
    explicit hdf_Attribute(hid_t id) : hdf_Object(id) {}

    void Write(const hdf_Datatype& type, const void* buffer);
    void Read(const hdf_Datatype& type, void* buffer) const;
    hdf_Dataspace GetSpace() const;
    hdf_Datatype GetType() const;
};

#endif
