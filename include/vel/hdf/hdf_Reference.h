#ifndef VEL_HDF_HDF_REFERENCE_H
#define VEL_HDF_HDF_REFERENCE_H

#include <hdf5.h>

#include "vel/VelExport.h"

// An HDF5 object reference: the file address of an object, made by
// hdf_Dataset::ReferenceCreate and resolved by hdf_Group::DatasetOpen.  It has exactly the size
// and layout of hobj_ref_t, so an array of references can be written and read as a dataset of
// hdf_Datatype::STD_REF_OBJ().  The default reference is null (address 0).
class VEL_API hdf_Reference {
public:
    hdf_Reference() = default;

    bool IsNull() const { return m_ref == 0; }
    const hobj_ref_t* Data() const { return &m_ref; }
    hobj_ref_t* Data() { return &m_ref; }

    friend bool operator==(const hdf_Reference& a, const hdf_Reference& b) {
        return a.m_ref == b.m_ref;
    }
    friend bool operator!=(const hdf_Reference& a, const hdf_Reference& b) { return !(a == b); }

private:
    hobj_ref_t m_ref = 0;
};

static_assert(sizeof(hdf_Reference) == sizeof(hobj_ref_t), "references are stored as hobj_ref_t");

#endif
