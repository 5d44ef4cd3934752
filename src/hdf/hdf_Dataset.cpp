#include "vel/hdf/hdf_Dataset.h"

#include "hdf/hdf_Here.h"

namespace {

const char kHdfUnit[] = "hdf_Dataset";

// Dataset names are taken into a buffer of this many characters first (and the terminator);
// a longer name is taken again at its full length.
constexpr size_t kNameGuess = 1023 + 1;

hid_t SpaceOrAll(const hdf_Dataspace& space) {
    return space.IsEmpty() ? H5S_ALL : space.GetID();
}

hid_t ListOrDefault(const hdf_PropListTransfer& transfer) {
    return transfer.IsEmpty() ? H5P_DEFAULT : transfer.GetID();
}

}  // namespace

void hdf_Dataset::WriteIds(const hdf_Datatype& type, hid_t memSpace, hid_t fileSpace,
                           hid_t transfer, const void* buffer) const {
    Succeeded(H5Dwrite(ID(), type.ID(), memSpace, fileSpace, transfer, buffer), HDF_HERE);
}

void hdf_Dataset::ReadIds(const hdf_Datatype& type, hid_t memSpace, hid_t fileSpace, hid_t transfer,
                          void* buffer) const {
    Succeeded(H5Dread(ID(), type.ID(), memSpace, fileSpace, transfer, buffer), HDF_HERE);
}

void hdf_Dataset::Write(const hdf_Datatype& type, const hdf_Dataspace& memSpace,
                        const hdf_Dataspace& fileSpace, const hdf_PropListTransfer& transfer,
                        const void* buffer) const {
    WriteIds(type, SpaceOrAll(memSpace), SpaceOrAll(fileSpace), ListOrDefault(transfer), buffer);
}

void hdf_Dataset::Write(const hdf_Datatype& type, const hdf_Dataspace& memSpace,
                        const hdf_Dataspace& fileSpace, const void* buffer) const {
    WriteIds(type, SpaceOrAll(memSpace), SpaceOrAll(fileSpace), H5P_DEFAULT, buffer);
}

void hdf_Dataset::Write(const hdf_Datatype& type, const hdf_Dataspace& fileSpace,
                        const void* buffer) const {
    WriteIds(type, H5S_ALL, SpaceOrAll(fileSpace), H5P_DEFAULT, buffer);
}

void hdf_Dataset::Read(const hdf_Datatype& type, const hdf_Dataspace& memSpace,
                       const hdf_Dataspace& fileSpace, const hdf_PropListTransfer& transfer,
                       void* buffer) const {
    ReadIds(type, SpaceOrAll(memSpace), SpaceOrAll(fileSpace), ListOrDefault(transfer), buffer);
}

void hdf_Dataset::Read(const hdf_Datatype& type, const hdf_Dataspace& memSpace,
                       const hdf_Dataspace& fileSpace, void* buffer) const {
    ReadIds(type, SpaceOrAll(memSpace), SpaceOrAll(fileSpace), H5P_DEFAULT, buffer);
}

void hdf_Dataset::Read(const hdf_Datatype& type, const hdf_Dataspace& fileSpace,
                       void* buffer) const {
    ReadIds(type, H5S_ALL, SpaceOrAll(fileSpace), H5P_DEFAULT, buffer);
}

void hdf_Dataset::WriteChunk(const hsize_t* offset, size_t bytes, const void* buffer) const {
    Succeeded(H5Dwrite_chunk(ID(), H5P_DEFAULT, 0, offset, bytes, buffer), HDF_HERE);
}

// HDF5 fails the size query of a chunk it has not allocated: here that is an answer (the chunk is
// not stored at full size), and whatever else failed fails again for the caller's other read.
bool hdf_Dataset::ReadChunk(const hsize_t* offset, size_t bytes, void* buffer) const {
    hsize_t stored = 0;
    if (H5Dget_chunk_storage_size(ID(), offset, &stored) < 0) {
        H5Eclear();
        return false;
    }
    if (stored != bytes) return false;
    uint32_t filters = 0;
    return Succeeded(H5Dread_chunk(ID(), H5P_DEFAULT, offset, &filters, buffer), HDF_HERE);
}

void hdf_Dataset::VlenReclaimIds(const hdf_Datatype& type, const hdf_Dataspace& space,
                                 hid_t transfer, void* buffer) const {
    Succeeded(H5Dvlen_reclaim(type.ID(), space.ID(), transfer, buffer), HDF_HERE);
}

void hdf_Dataset::VlenReclaim(const hdf_Datatype& type, const hdf_Dataspace& space,
                              const hdf_PropListTransfer& transfer, void* buffer) const {
    VlenReclaimIds(type, space, ListOrDefault(transfer), buffer);
}

void hdf_Dataset::VlenReclaim(const hdf_Datatype& type, const hdf_Dataspace& space,
                              void* buffer) const {
    VlenReclaimIds(type, space, H5P_DEFAULT, buffer);
}

void hdf_Dataset::Extend(const hdf_DimSpace& dims) const {
    Succeeded(H5Dextend(ID(), dims.dimensions()), HDF_HERE);
}

void hdf_Dataset::Extend(const hdf_DimArray& dims) const {
    Extend(dims.DimSpace());
}

hdf_Dataspace hdf_Dataset::GetSpace() const {
    const hid_t id = H5Dget_space(ID());
    return Succeeded(id, HDF_HERE) ? hdf_Dataspace(id) : hdf_Dataspace();
}

hdf_Datatype hdf_Dataset::GetType() const {
    const hid_t id = H5Dget_type(ID());
    return Succeeded(id, HDF_HERE) ? hdf_Datatype(id) : hdf_Datatype();
}

hdf_PropListDatasetCreation hdf_Dataset::GetCreatePlist() const {
    if (!m_creation.IsEmpty()) return m_creation;
    const hid_t id = H5Dget_create_plist(ID());
    if (!Succeeded(id, HDF_HERE)) return hdf_PropListDatasetCreation(hid_t{-1});
    m_creation = hdf_PropListDatasetCreation(id);
    return m_creation;
}

// H5Dget_storage_size reports failure as 0, which is also the size of an unallocated dataset;
// only the error stack tells them apart.
hsize_t hdf_Dataset::GetStorageSize() const {
    const hsize_t size = H5Dget_storage_size(ID());
    if (size == 0 && H5Eget_num(H5E_DEFAULT) > 0) Fail(HDF_HERE);
    return size;
}

cow_String hdf_Dataset::Path() const {
    return NameInFile(0);
}

hdf_Attribute hdf_Dataset::AttributeCreate(const char* name, const hdf_Datatype& type,
                                           const hdf_Dataspace& space) const {
    return CreateAttribute(name, type, space);
}

hdf_Attribute hdf_Dataset::AttributeOpen(const char* name) const {
    return OpenAttribute(name);
}

hdf_Reference hdf_Dataset::ReferenceCreate() const {
    hdf_Reference reference;
    const cow_String name = NameInFile(kNameGuess);
    Succeeded(H5Rcreate(reference.Data(), m_location.ID(), name.c_str(), H5R_OBJECT, -1), HDF_HERE);
    return reference;
}
