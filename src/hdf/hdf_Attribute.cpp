#include "vel/hdf/hdf_Attribute.h"

#include "hdf/hdf_Here.h"

namespace {
const char kHdfUnit[] = "hdf_Attribute";
}

void hdf_Attribute::Write(const hdf_Datatype& type, const void* buffer) {
    Succeeded(H5Awrite(ID(), type.ID(), buffer), HDF_HERE);
}

void hdf_Attribute::Read(const hdf_Datatype& type, void* buffer) const {
    Succeeded(H5Aread(ID(), type.ID(), buffer), HDF_HERE);
}

hdf_Dataspace hdf_Attribute::GetSpace() const {
    const hid_t id = H5Aget_space(ID());
    return Succeeded(id, HDF_HERE) ? hdf_Dataspace(id) : hdf_Dataspace();
}

hdf_Datatype hdf_Attribute::GetType() const {
    const hid_t id = H5Aget_type(ID());
    return Succeeded(id, HDF_HERE) ? hdf_Datatype(id) : hdf_Datatype();
}
