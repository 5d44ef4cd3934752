#include "vel/hdf/hdf_Object.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "VelTestSupport.h"
#include "hdf_TestSupport.h"
#include "vel/hdf/hdf_Datatype.h"
#include "vel/hdf/hdf_File.h"
#include "vel/hdf/hdf_Group.h"

namespace {

using HdfObjectTest = HdfTest;

TEST_F(HdfObjectTest, CopiesShareOneIdentifierThroughHdf5sCount) {
    VelTempFile name("refs.h5");
    hdf_File file = hdf_File::Create(name.c_str(), hdf_File::CreateFlagsTruncate);
    // The group part and the file part of a file object hold one reference each.
    EXPECT_EQ(file.GetID(), file.GetFileID());
    EXPECT_EQ(H5Iget_ref(file.GetID()), 2);

    auto original = std::make_unique<hdf_Group>(file.GroupCreate("g", 0));
    const hid_t id = original->GetID();
    EXPECT_EQ(H5Iget_ref(id), 1);
    hdf_Group copy(*original);
    EXPECT_EQ(copy.GetID(), id);
    EXPECT_EQ(H5Iget_ref(id), 2);
    original.reset();
    EXPECT_EQ(H5Iget_ref(id), 1);
    EXPECT_EQ(copy.Path(), "/g");
    copy.GroupCreate("inner", 0);
    EXPECT_GT(H5Lexists(file.GetID(), "/g/inner", H5P_DEFAULT), 0);

    // Assigning to itself, or from another object on the same identifier, changes no count.
    hdf_Group& alias = copy;
    copy = alias;
    EXPECT_EQ(H5Iget_ref(id), 1);
    hdf_Group same(copy);
    same = copy;
    EXPECT_EQ(H5Iget_ref(id), 2);
    // Assigning another identifier gives the old one back.
    same = hdf_Group();
    EXPECT_EQ(same.GetID(), -1);
    EXPECT_EQ(H5Iget_ref(id), 1);

    // The last release closes the group, and no wrapper ever closes it itself.
    copy.Nullify();
    EXPECT_LE(H5Iis_valid(id), 0);
    EXPECT_EQ(H5Fget_obj_count(file.GetID(), H5F_OBJ_GROUP), 0);
    file.Nullify();
    EXPECT_EQ(H5Fget_obj_count(H5F_OBJ_ALL, H5F_OBJ_ALL), 0);
}

TEST_F(HdfObjectTest, AnEmptyObjectFailsItsIdentifierCheck) {
    hdf_Group empty;
    EXPECT_EQ(empty.GetID(), -1);
    EXPECT_TRUE(empty.IsEmpty());
    ExpectAssertException(empty.GroupOpen("x"), "m_ObjectID >= 0");
    ExpectAssertException(hdf_Datatype().GetSize(), "m_ObjectID >= 0");
    try {
        empty.Flush();
    } catch (const nex_AssertException& e) {
        EXPECT_STREQ(e.Unit(), "hdf_Object");
    }
    // Releasing an empty object is a no-op.
    EXPECT_NO_THROW(empty.Nullify());
}

TEST_F(HdfObjectTest, NoThrowModeParksTheFailureInTheObject) {
    VelTempFile name("nothrow.h5");
    hdf_File file = hdf_File::Create(name.c_str(), hdf_File::CreateFlagsTruncate);
    hdf_Group group = file.GroupCreate("g", 0);
    EXPECT_FALSE(group.IsNoThrow());
    EXPECT_THROW(group.GroupOpen("absent"), hdf_Exception);

    group.SetNoThrow(true);
    const hdf_Group missing = group.GroupOpen("absent");
    EXPECT_TRUE(missing.IsEmpty());
    const hdf_Exception parked = group.GetError();
    EXPECT_TRUE(parked.IsError());
    const std::string text = parked.what();
    EXPECT_EQ(text.rfind("HDF5 Error stack:\n", 0), 0u) << text;
    EXPECT_NE(text.find("H5Gopen"), std::string::npos) << text;
    EXPECT_STREQ(parked.Unit(), "hdf_Group");

    // Copies take the error state but not the flag; assignment clears the flag.
    group.GroupOpen("absent");
    hdf_Group copy(group);
    EXPECT_FALSE(copy.IsNoThrow());
    EXPECT_TRUE(copy.GetError().IsError());
    group = file.GroupOpen("g");
    EXPECT_FALSE(group.IsNoThrow());

    // Once HDF5's stack is clear, GetError has nothing left to report.
    H5Eclear2(H5E_DEFAULT);
    copy.GetError();
    EXPECT_FALSE(copy.GetError().IsError());
}

TEST_F(HdfObjectTest, AnIdentifierClosedBehindTheWrappersBackIsReleasedQuietly) {
    hdf_Datatype type(H5Tcopy(H5T_NATIVE_INT));
    H5Tclose(type.GetID());
    EXPECT_NO_THROW(type.Nullify());
    EXPECT_TRUE(type.IsEmpty());
    EXPECT_FALSE(hdf_Exception(true).IsError());
}

}  // namespace
