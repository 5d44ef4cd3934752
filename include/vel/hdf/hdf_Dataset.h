#ifndef VEL_HDF_HDF_DATASET_H
#define VEL_HDF_HDF_DATASET_H

#include <hdf5.h>

#include "vel/VelExport.h"
#include "vel/hdf/hdf_Attribute.h"
#include "vel/hdf/hdf_Dataspace.h"
#include "vel/hdf/hdf_Datatype.h"
#include "vel/hdf/hdf_DimArray.h"
#include "vel/hdf/hdf_DimSpace.h"
#include "vel/hdf/hdf_Object.h"
#include "vel/hdf/hdf_PropList.h"
#include "vel/hdf/hdf_Reference.h"
#include "vel/platform/cow_String.h"

// An HDF5 dataset, made by hdf_Group::DatasetCreate and DatasetOpen.  It keeps the group it was
// reached through, which locates it for references.
//
// Write and Read hand the caller's buffer straight to H5Dwrite / H5Dread: nothing is copied and
// no other HDF5 call is made.  An empty memory space stands for H5S_ALL (the file selection
// also describes memory), an empty file space for the whole dataset, and an empty transfer list
// for HDF5's default list; the forms without a transfer list use the default list, which
// transfers exactly as a freshly created one would.
class VEL_API hdf_Dataset : public hdf_Object {
public:
    hdf_Dataset() = default;
    // Takes over the reference `id`; `location` is the group the dataset was reached through.
    hdf_Dataset(const hdf_Object& location, hid_t id) : hdf_Object(id), m_location(location) {}

    void Write(const hdf_Datatype& type, const hdf_Dataspace& memSpace,
               const hdf_Dataspace& fileSpace, const hdf_PropListTransfer& transfer,
               const void* buffer) const;
    void Write(const hdf_Datatype& type, const hdf_Dataspace& memSpace,
               const hdf_Dataspace& fileSpace, const void* buffer) const;
    void Write(const hdf_Datatype& type, const hdf_Dataspace& fileSpace, const void* buffer) const;
    void Read(const hdf_Datatype& type, const hdf_Dataspace& memSpace,
              const hdf_Dataspace& fileSpace, const hdf_PropListTransfer& transfer,
              void* buffer) const;
    void Read(const hdf_Datatype& type, const hdf_Dataspace& memSpace,
              const hdf_Dataspace& fileSpace, void* buffer) const;
    void Read(const hdf_Datatype& type, const hdf_Dataspace& fileSpace, void* buffer) const;

    // One whole chunk of an unfiltered chunked dataset as the file stores it, moved between the
    // caller's buffer and the file with no chunk cache, selection or conversion in between;
    // `offset` is the chunk's first element in each dimension, `bytes` the chunk's size.
    void WriteChunk(const hsize_t* offset, size_t bytes, const void* buffer) const;
    // Reads the chunk only when the file stores exactly `bytes` for it (HDF5 would fill the
    // buffer with as many bytes as the chunk index names); false, with nothing read and nothing
    // thrown, when it stores none or another size.
    bool ReadChunk(const hsize_t* offset, size_t bytes, void* buffer) const;

    // Frees the variable-length data HDF5 allocated while reading `buffer` over `space`.
    void VlenReclaim(const hdf_Datatype& type, const hdf_Dataspace& space,
                     const hdf_PropListTransfer& transfer, void* buffer) const;
    void VlenReclaim(const hdf_Datatype& type, const hdf_Dataspace& space, void* buffer) const;

    // Grows a chunked dataset to `dims` (never shrinks it).
    void Extend(const hdf_DimSpace& dims) const;
    void Extend(const hdf_DimArray& dims) const;

    hdf_Dataspace GetSpace() const;
    hdf_Datatype GetType() const;
    // A dataset's creation properties never change: HDF5 is asked for them once per handle, and
    // the list is shared by every caller (who only reads it).
    hdf_PropListDatasetCreation GetCreatePlist() const;
    hsize_t GetStorageSize() const;
    cow_String Path() const;

    hdf_Attribute AttributeCreate(const char* name, const hdf_Datatype& type,
                                  const hdf_Dataspace& space) const;
    hdf_Attribute AttributeOpen(const char* name) const;

    // An object reference to this dataset.
    hdf_Reference ReferenceCreate() const;

private:
    void WriteIds(const hdf_Datatype& type, hid_t memSpace, hid_t fileSpace, hid_t transfer,
                  const void* buffer) const;
    void ReadIds(const hdf_Datatype& type, hid_t memSpace, hid_t fileSpace, hid_t transfer,
                 void* buffer) const;
    void VlenReclaimIds(const hdf_Datatype& type, const hdf_Dataspace& space, hid_t transfer,
                        void* buffer) const;

    hdf_Object m_location;
    mutable hdf_PropListDatasetCreation m_creation{hid_t{-1}};
};

#endif
