#ifndef VEL_HDF_HDF_GROUP_H
#define VEL_HDF_HDF_GROUP_H

#include <hdf5.h>

#include <vector>

#include "vel/VelExport.h"
#include "vel/hdf/hdf_Attribute.h"
#include "vel/hdf/hdf_Dataset.h"
#include "vel/hdf/hdf_Dataspace.h"
#include "vel/hdf/hdf_Datatype.h"
#include "vel/hdf/hdf_Object.h"
#include "vel/hdf/hdf_PropList.h"
#include "vel/hdf/hdf_Reference.h"
#include "vel/platform/cow_String.h"

// An HDF5 group, or a file standing for its root group.  Names are relative to the group or
// absolute in its file.
class VEL_API hdf_Group : public hdf_Object {
public:
    // The kinds of group member, with the values of HDF5's H5G_obj_t.  A kind HDF5 reports
    // that is not among them raises "Illegal object type returned from HDF5."
    enum ObjectType {
        ObjectTypeLink = 0,
        ObjectTypeGroup = 1,
        ObjectTypeDataset = 2,
        ObjectTypeNamedDatatype = 3
    };
    // Any other value reaches HDF5 as its error link type, which fails.
    enum LinkType { LinkTypeHard = 0, LinkTypeSoft = 1 };

    hdf_Group() = default;
    explicit hdf_Group(hid_t id) : hdf_Object(id) {}
    explicit hdf_Group(const hdf_Exception& error) : hdf_Object(error) {}

    // `sizeHint` is the bytes HDF5 reserves for member names (0 for its default).
    hdf_Group GroupCreate(const char* name, int sizeHint) const;
    // A group for many members: its links are kept in a heap and a B-tree that HDF5 changes
    // piecewise (not one name heap written out whole at every flush), so adding, finding or
    // flushing a member costs the same however many the group holds.  Readers of HDF5 1.8 and
    // later read it like any group.
    hdf_Group GroupCreateIndexed(const char* name) const;
    hdf_Group GroupOpen(const char* name) const;
    // The member `name` opened as a group, or empty when it does not open (it is missing, of
    // another kind, or HDF5 failed): then `failure` holds HDF5's error and nothing is thrown or
    // parked.  The name is looked up once either way; the caller tells the reasons apart only
    // when the open failed.
    hdf_Group GroupTryOpen(const char* name, hdf_Exception& failure) const;

    hdf_Dataset DatasetCreate(const char* name, const hdf_Datatype& type,
                              const hdf_Dataspace& space) const;
    hdf_Dataset DatasetCreate(const char* name, const hdf_Datatype& type,
                              const hdf_Dataspace& space,
                              const hdf_PropListDatasetCreation& creation) const;
    // With `access`: the dataset keeps the access list's chunk cache while it is open.
    hdf_Dataset DatasetCreate(const char* name, const hdf_Datatype& type,
                              const hdf_Dataspace& space,
                              const hdf_PropListDatasetCreation& creation,
                              const hdf_PropListDatasetAccess& access) const;
    hdf_Dataset DatasetOpen(const char* name) const;
    // The same for a dataset.
    hdf_Dataset DatasetTryOpen(const char* name, hdf_Exception& failure) const;
    hdf_Dataset DatasetOpen(const char* name, const hdf_PropListDatasetAccess& access) const;
    // The dataset an object reference points to; a reference to anything else fails with
    // "Reference is not to dataset."
    hdf_Dataset DatasetOpen(const hdf_Reference& reference) const;

    hdf_Attribute AttributeCreate(const char* name, const hdf_Datatype& type,
                                  const hdf_Dataspace& space) const;
    hdf_Attribute AttributeOpen(const char* name) const;

    // A new member `newName` of this group that links to `target`: a hard link to the object,
    // or a soft link holding the target's path.
    void CreateLink(const hdf_Group& target, const char* newName, LinkType type) const;
    void CreateLink(const hdf_Dataset& target, const char* newName, LinkType type) const;

    // Writes the file's buffers out.  A database file opened by a context is then committed: a
    // kill of the process after Flush returns leaves the file as HDF5 held it here.
    void Flush() const;
    // Writes HDF5's buffers to the file driver without committing: a database file's journal
    // keeps what they change until the next commit.
    void WriteBuffers() const;
    // Removes the member `name` (the object goes when nothing else links to it).
    void Unlink(const char* name) const;
    hsize_t GetNumObjs() const;
    // The names of every member, in no particular order, in one pass over the group.  Listing
    // by index costs a pass per member on a group of many members; this does not.
    std::vector<cow_String> MemberNames() const;
    // A member as the pass over the group's links finds it: its name and whether the link is a
    // hard one (a soft link holds a path, which may lead anywhere or nowhere).
    struct Link {
        cow_String name;
        bool hard = false;
    };
    // Every link in name order, in one pass over the group.
    std::vector<Link> Links() const;
    cow_String GetObjnameByIdx(hsize_t index) const;
    ObjectType GetObjtypeByIdx(hsize_t index) const;
    // Whether `name` (soft links followed) exists; never throws for a missing name.
    bool GetObjinfoExists(const char* name) const;
    ObjectType GetObjinfoType(const char* name) const;
    cow_String Path() const;
    hdf_PropListFileAccess GetAccessPlist() const;

private:
    void LinkTo(hid_t target, const char* targetPath, const char* newName, LinkType type) const;
    hdf_Dataset DatasetCreateWith(const char* name, const hdf_Datatype& type,
                                  const hdf_Dataspace& space, hid_t creation) const;
};

#endif
