#include "vel/hdf/hdf_Group.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "hdf/hdf_Here.h"
#include "hdf/hdf_Journal.h"

namespace {

const char kHdfUnit[] = "hdf_Group";

hdf_Group::ObjectType ObjectTypeOf(H5G_obj_t type) {
    switch (type) {
        case H5G_LINK:
            return hdf_Group::ObjectTypeLink;
        case H5G_GROUP:
            return hdf_Group::ObjectTypeGroup;
        case H5G_DATASET:
            return hdf_Group::ObjectTypeDataset;
        case H5G_TYPE:
            return hdf_Group::ObjectTypeNamedDatatype;
        default:
            break;
    }
    throw nex_AssertException(HDF_HERE, "Illegal object type returned from HDF5.");
}

H5G_link_t LinkTypeToH5(hdf_Group::LinkType type) {
    switch (type) {
        case hdf_Group::LinkTypeHard:
            return H5G_LINK_HARD;
        case hdf_Group::LinkTypeSoft:
            return H5G_LINK_SOFT;
    }
    return H5G_LINK_ERROR;
}

}  // namespace

hdf_Group hdf_Group::GroupCreate(const char* name, int sizeHint) const {
    HDF_REQUIRE(sizeHint >= 0, "sizeHint >= 0");
    const hid_t id = H5Gcreate(ID(), name, static_cast<size_t>(sizeHint));
    return Succeeded(id, HDF_HERE) ? hdf_Group(id) : hdf_Group();
}

// Tracking the links' creation order is what makes HDF5 1.10 store the group in the link-info
// format under the default (earliest) format bounds; past eight members the links move to
// dense storage.  The creation-order index lets MemberNames walk the link heap in the order it
// was filled, block after block: the name index is hashed, and a walk in its order visits the
// heap's blocks at random, reading each again and again once they outgrow the metadata cache.
hdf_Group hdf_Group::GroupCreateIndexed(const char* name) const {
    const hid_t creation = H5Pcreate(H5P_GROUP_CREATE);
    if (!Succeeded(creation, HDF_HERE)) return hdf_Group();
    hid_t id = -1;
    if (Succeeded(
            H5Pset_link_creation_order(creation, H5P_CRT_ORDER_TRACKED | H5P_CRT_ORDER_INDEXED),
            HDF_HERE))
        id = H5Gcreate2(ID(), name, H5P_DEFAULT, creation, H5P_DEFAULT);
    H5Pclose(creation);
    return Succeeded(id, HDF_HERE) ? hdf_Group(id) : hdf_Group();
}

hdf_Group hdf_Group::GroupOpen(const char* name) const {
    const hid_t id = H5Gopen(ID(), name);
    return Succeeded(id, HDF_HERE) ? hdf_Group(id) : hdf_Group();
}

hdf_Group hdf_Group::GroupTryOpen(const char* name, hdf_Exception& failure) const {
    const hid_t id = H5Gopen(ID(), name);
    if (id >= 0) return hdf_Group(id);
    failure = hdf_Exception(HDF_HERE, true);
    return hdf_Group();
}

hdf_Dataset hdf_Group::DatasetTryOpen(const char* name, hdf_Exception& failure) const {
    const hid_t id = H5Dopen(ID(), name);
    if (id >= 0) return hdf_Dataset(*this, id);
    failure = hdf_Exception(HDF_HERE, true);
    return hdf_Dataset();
}

hdf_Dataset hdf_Group::DatasetCreateWith(const char* name, const hdf_Datatype& type,
                                         const hdf_Dataspace& space, hid_t creation) const {
    const hid_t id = H5Dcreate(ID(), name, type.ID(), space.ID(), creation);
    return Succeeded(id, HDF_HERE) ? hdf_Dataset(*this, id) : hdf_Dataset();
}

hdf_Dataset hdf_Group::DatasetCreate(const char* name, const hdf_Datatype& type,
                                     const hdf_Dataspace& space) const {
    return DatasetCreateWith(name, type, space, H5P_DEFAULT);
}

hdf_Dataset hdf_Group::DatasetCreate(const char* name, const hdf_Datatype& type,
                                     const hdf_Dataspace& space,
                                     const hdf_PropListDatasetCreation& creation) const {
    return DatasetCreateWith(name, type, space, creation.ID());
}

hdf_Dataset hdf_Group::DatasetCreate(const char* name, const hdf_Datatype& type,
                                     const hdf_Dataspace& space,
                                     const hdf_PropListDatasetCreation& creation,
                                     const hdf_PropListDatasetAccess& access) const {
    const hid_t id =
        H5Dcreate2(ID(), name, type.ID(), space.ID(), H5P_DEFAULT, creation.ID(), access.ID());
    return Succeeded(id, HDF_HERE) ? hdf_Dataset(*this, id) : hdf_Dataset();
}

hdf_Dataset hdf_Group::DatasetOpen(const char* name) const {
    const hid_t id = H5Dopen(ID(), name);
    return Succeeded(id, HDF_HERE) ? hdf_Dataset(*this, id) : hdf_Dataset();
}

hdf_Dataset hdf_Group::DatasetOpen(const char* name,
                                   const hdf_PropListDatasetAccess& access) const {
    const hid_t id = H5Dopen2(ID(), name, access.ID());
    return Succeeded(id, HDF_HERE) ? hdf_Dataset(*this, id) : hdf_Dataset();
}

// The reference's target kind is checked first: dereferencing a group reference would hand a
// group identifier to every dataset operation.
hdf_Dataset hdf_Group::DatasetOpen(const hdf_Reference& reference) const {
    const H5G_obj_t type = H5Rget_obj_type(ID(), H5R_OBJECT, reference.Data());
    if (!Succeeded(type, HDF_HERE)) return hdf_Dataset();
    if (type != H5G_DATASET) {
        Fail(hdf_Exception(HDF_HERE, hdf_ErrorCode::MajorReference, hdf_ErrorCode::MinorBadType,
                           "Reference is not to dataset."));
        return hdf_Dataset();
    }
    const hid_t id = H5Rdereference(ID(), H5R_OBJECT, reference.Data());
    return Succeeded(id, HDF_HERE) ? hdf_Dataset(*this, id) : hdf_Dataset();
}

hdf_Attribute hdf_Group::AttributeCreate(const char* name, const hdf_Datatype& type,
                                         const hdf_Dataspace& space) const {
    return CreateAttribute(name, type, space);
}

hdf_Attribute hdf_Group::AttributeOpen(const char* name) const {
    return OpenAttribute(name);
}

// A hard link names the target object itself; a soft link stores the target's path, and HDF5
// takes no location for it.
void hdf_Group::LinkTo(hid_t target, const char* targetPath, const char* newName,
                       LinkType type) const {
    const H5G_link_t h5Type = LinkTypeToH5(type);
    const bool soft = h5Type == H5G_LINK_SOFT;
    Succeeded(
        H5Glink2(soft ? H5G_SAME_LOC : target, soft ? targetPath : ".", h5Type, ID(), newName),
        HDF_HERE);
}

void hdf_Group::CreateLink(const hdf_Group& target, const char* newName, LinkType type) const {
    LinkTo(target.ID(), type == LinkTypeSoft ? target.Path().c_str() : ".", newName, type);
}

void hdf_Group::CreateLink(const hdf_Dataset& target, const char* newName, LinkType type) const {
    LinkTo(target.ID(), type == LinkTypeSoft ? target.Path().c_str() : ".", newName, type);
}

// A file of the journaled driver holds what HDF5 wrote only once it is committed.
void hdf_Group::Flush() const {
    if (!Succeeded(H5Fflush(ID(), H5F_SCOPE_LOCAL), HDF_HERE)) return;
    try {
        hdf_Journal::Commit(ID(), false);
    } catch (const hdf_Exception& error) {
        Fail(error);
    }
}

#ifdef VEL_PARALLEL
namespace {
// Whether the file of `id` was opened through the MPI-IO driver.
bool IsMpio(hid_t id) {
    const hid_t file = H5Iget_file_id(id);
    if (file < 0) return false;
    const hid_t access = H5Fget_access_plist(file);
    H5Fclose(file);
    if (access < 0) return false;
    const hid_t driver = H5Pget_driver(access);
    H5Pclose(access);
    return driver == H5FD_MPIO;
}
}  // namespace
#endif

void hdf_Group::WriteBuffers() const {
#ifdef VEL_PARALLEL
    // Under MPI-IO a flush is collective and writes metadata in place: the cache keeps it until
    // the file's next flush instead.
    if (IsMpio(ID())) return;
#endif
    Succeeded(H5Fflush(ID(), H5F_SCOPE_LOCAL), HDF_HERE);
}

void hdf_Group::Unlink(const char* name) const {
    Succeeded(H5Gunlink(ID(), name), HDF_HERE);
}

hsize_t hdf_Group::GetNumObjs() const {
    hsize_t count = 0;
    return Succeeded(H5Gget_num_objs(ID(), &count), HDF_HERE) ? count : 0;
}

namespace {

herr_t CollectName(hid_t, const char* name, const H5L_info_t*, void* names) {
    static_cast<std::vector<cow_String>*>(names)->push_back(cow_String(name));
    return 0;
}

herr_t CollectLink(hid_t, const char* name, const H5L_info_t* info, void* links) {
    static_cast<std::vector<hdf_Group::Link>*>(links)->push_back(
        {cow_String(name), info->type == H5L_TYPE_HARD});
    return 0;
}

}  // namespace

std::vector<hdf_Group::Link> hdf_Group::Links() const {
    std::vector<Link> links;
    hsize_t at = 0;
    if (!Succeeded(H5Literate(ID(), H5_INDEX_NAME, H5_ITER_INC, &at, CollectLink, &links),
                   HDF_HERE))
        return std::vector<Link>();
    return links;
}

std::vector<cow_String> hdf_Group::MemberNames() const {
    std::vector<cow_String> names;
    H5_index_t index = H5_INDEX_NAME;
    const hid_t creation = H5Gget_create_plist(ID());
    if (!Succeeded(creation, HDF_HERE)) return names;
    unsigned order = 0;
    const herr_t got = H5Pget_link_creation_order(creation, &order);
    H5Pclose(creation);
    if (!Succeeded(got, HDF_HERE)) return names;
    if (order & H5P_CRT_ORDER_INDEXED) index = H5_INDEX_CRT_ORDER;
    hsize_t at = 0;
    if (!Succeeded(H5Literate(ID(), index, H5_ITER_NATIVE, &at, CollectName, &names), HDF_HERE))
        return std::vector<cow_String>();
    return names;
}

cow_String hdf_Group::GetObjnameByIdx(hsize_t index) const {
    const ssize_t length = H5Gget_objname_by_idx(ID(), index, nullptr, 0);
    if (!Succeeded(length, HDF_HERE)) return cow_String();
    std::string name(static_cast<size_t>(length) + 1, '\0');
    const ssize_t taken = H5Gget_objname_by_idx(ID(), index, &name[0], name.size());
    if (!Succeeded(taken, HDF_HERE)) return cow_String();
    name.resize(std::min(static_cast<size_t>(taken), name.size() - 1));
    return cow_String(std::move(name));
}

hdf_Group::ObjectType hdf_Group::GetObjtypeByIdx(hsize_t index) const {
    const H5G_obj_t type = H5Gget_objtype_by_idx(ID(), index);
    if (!Succeeded(type, HDF_HERE)) return ObjectTypeLink;
    return ObjectTypeOf(type);
}

// A missing name is an answer here, not a failure: nothing is thrown or parked.  A member's name
// without a link is missing at the cost of a lookup; H5Gget_objinfo would build an error stack
// to say so.
bool hdf_Group::GetObjinfoExists(const char* name) const {
    if (std::strchr(name, '/') == nullptr && H5Lexists(ID(), name, H5P_DEFAULT) == 0) return false;
    const bool exists = H5Gget_objinfo(ID(), name, true, nullptr) >= 0;
    if (!exists) H5Eclear();
    return exists;
}

hdf_Group::ObjectType hdf_Group::GetObjinfoType(const char* name) const {
    H5G_stat_t info;
    if (!Succeeded(H5Gget_objinfo(ID(), name, true, &info), HDF_HERE)) return ObjectTypeLink;
    return ObjectTypeOf(info.type);
}

cow_String hdf_Group::Path() const {
    return NameInFile(0);
}

hdf_PropListFileAccess hdf_Group::GetAccessPlist() const {
    const hid_t id = H5Fget_access_plist(ID());
    return Succeeded(id, HDF_HERE) ? hdf_PropListFileAccess(id) : hdf_PropListFileAccess(-1);
}
