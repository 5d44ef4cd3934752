#include "vel/hdf/hdf_Group.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "VelTestSupport.h"
#include "hdf_TestSupport.h"
#include "vel/hdf/hdf_File.h"

namespace {

using HdfGroupTest = HdfTest;

hdf_Dataspace Vector(hsize_t n) {
    return hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(n), hdf_DimSpace());
}

H5O_type_t TypeInFile(hid_t file, const char* name) {
    H5O_info_t info;
    if (H5Oget_info_by_name(file, name, &info, H5P_DEFAULT) < 0) return H5O_TYPE_UNKNOWN;
    return info.type;
}

TEST_F(HdfGroupTest, MembersAreFoundByIndexAndByName) {
    VelTempFile name("members.h5");
    const hdf_File file = hdf_File::Create(name.c_str(), hdf_File::CreateFlagsTruncate);
    const hdf_Group a = file.GroupCreate("a", 0);
    const hdf_Group b = a.GroupCreate("b", 256);
    file.DatasetCreate("d", hdf_Datatype::NATIVE_INT(), Vector(3));
    EXPECT_EQ(TypeInFile(file.GetID(), "/a/b"), H5O_TYPE_GROUP);
    EXPECT_EQ(TypeInFile(file.GetID(), "/d"), H5O_TYPE_DATASET);

    EXPECT_EQ(file.GetNumObjs(), 2u);
    EXPECT_EQ(file.GetObjnameByIdx(0), "a");
    EXPECT_EQ(file.GetObjnameByIdx(1), "d");
    EXPECT_EQ(file.GetObjtypeByIdx(0), hdf_Group::ObjectTypeGroup);
    EXPECT_EQ(file.GetObjtypeByIdx(1), hdf_Group::ObjectTypeDataset);
    EXPECT_THROW(file.GetObjnameByIdx(2), hdf_Exception);

    EXPECT_TRUE(file.GetObjinfoExists("a/b"));
    EXPECT_TRUE(a.GetObjinfoExists("/d"));
    EXPECT_FALSE(file.GetObjinfoExists("a/missing"));
    EXPECT_FALSE(hdf_Exception(true).IsError());  // the miss left nothing behind
    EXPECT_EQ(file.GetObjinfoType("a/b"), hdf_Group::ObjectTypeGroup);
    EXPECT_EQ(a.GetObjinfoType("/d"), hdf_Group::ObjectTypeDataset);
    EXPECT_THROW(file.GetObjinfoType("missing"), hdf_Exception);

    EXPECT_EQ(file.Path(), "/");
    EXPECT_EQ(b.Path(), "/a/b");
    EXPECT_EQ(file.GroupOpen("/a/b").Path(), "/a/b");
    EXPECT_THROW(file.GroupCreate("a", 0), hdf_Exception);
    EXPECT_NO_THROW(b.Flush());
}

// Past eight members an indexed group keeps its links in a heap; listing must still give every
// member once, a plain group's members too, and the indexed group must read as any group.
TEST_F(HdfGroupTest, MemberNamesListEveryMemberOfPlainAndIndexedGroups) {
    VelTempFile name("indexed.h5");
    const hdf_File file = hdf_File::Create(name.c_str(), hdf_File::CreateFlagsTruncate);
    const hdf_Group plain = file.GroupCreate("plain", 0);
    const hdf_Group indexed = file.GroupCreateIndexed("indexed");
    std::vector<std::string> expected;
    for (int i = 0; i < 300; ++i) {
        char member[16];
        std::snprintf(member, sizeof member, "%08X", (i * 7919) % 1000);
        expected.push_back(member);
        plain.GroupCreate(member, 0);
        if (i % 2)
            indexed.GroupCreate(member, 0);
        else
            indexed.DatasetCreate(member, hdf_Datatype::NATIVE_INT(), Vector(1));
    }
    std::sort(expected.begin(), expected.end());
    for (const hdf_Group& group : {plain, indexed}) {
        std::vector<std::string> names;
        for (const cow_String& member : group.MemberNames()) names.push_back(member.str());
        std::sort(names.begin(), names.end());
        EXPECT_EQ(names, expected);
    }
    EXPECT_EQ(indexed.GetNumObjs(), 300u);
    EXPECT_EQ(indexed.GetObjinfoType(expected[1].c_str()), hdf_Group::ObjectTypeGroup);
    EXPECT_TRUE(indexed.GetObjinfoExists(expected.back().c_str()));
    indexed.Unlink(expected.front().c_str());
    EXPECT_EQ(indexed.MemberNames().size(), 299u);
    EXPECT_THROW(file.GroupCreateIndexed("indexed"), hdf_Exception);
}

TEST_F(HdfGroupTest, LinksHardAndSoftReachTheirTargets) {
    VelTempFile name("links.h5");
    const hdf_File file = hdf_File::Create(name.c_str(), hdf_File::CreateFlagsTruncate);
    const hdf_Group a = file.GroupCreate("a", 0);
    const hdf_Dataset d = a.DatasetCreate("d", hdf_Datatype::NATIVE_DOUBLE(), Vector(2));
    const hdf_Group links = file.GroupCreate("links", 0);
    links.CreateLink(d, "hard", hdf_Group::LinkTypeHard);
    links.CreateLink(a, "soft", hdf_Group::LinkTypeSoft);

    H5L_info_t info;
    ASSERT_GE(H5Lget_info(file.GetID(), "/links/hard", &info, H5P_DEFAULT), 0);
    EXPECT_EQ(info.type, H5L_TYPE_HARD);
    H5O_info_t target, linked;
    H5Oget_info_by_name(file.GetID(), "/a/d", &target, H5P_DEFAULT);
    H5Oget_info_by_name(file.GetID(), "/links/hard", &linked, H5P_DEFAULT);
    EXPECT_EQ(linked.addr, target.addr);
    EXPECT_EQ(target.rc, 2u);

    ASSERT_GE(H5Lget_info(file.GetID(), "/links/soft", &info, H5P_DEFAULT), 0);
    EXPECT_EQ(info.type, H5L_TYPE_SOFT);
    std::vector<char> value(info.u.val_size);
    H5Lget_val(file.GetID(), "/links/soft", value.data(), value.size(), H5P_DEFAULT);
    EXPECT_STREQ(value.data(), "/a");
    EXPECT_EQ(links.GetObjinfoType("soft"), hdf_Group::ObjectTypeGroup);
    EXPECT_EQ(links.GetObjtypeByIdx(1), hdf_Group::ObjectTypeLink);

    // An unknown link type reaches HDF5 as its error type and fails there.
    EXPECT_THROW(links.CreateLink(a, "odd", hdf_Group::LinkType(7)), hdf_Exception);
    hdf_Group quiet = links;
    quiet.SetNoThrow(true);
    quiet.CreateLink(a, "odd", hdf_Group::LinkType(7));
    EXPECT_TRUE(quiet.GetError().IsError());
    EXPECT_FALSE(quiet.GetObjinfoExists("odd"));
}

TEST_F(HdfGroupTest, AttributesReachTheFileWithTheirValues) {
    VelTempFile name("attributes.h5");
    const hdf_File file = hdf_File::Create(name.c_str(), hdf_File::CreateFlagsTruncate);
    const int written[3] = {7, -8, 9};
    file.AttributeCreate("ints", hdf_Datatype::STD_I32BE(), Vector(3))
        .Write(hdf_Datatype::NATIVE_INT(), written);
    const hdf_Dataset d = file.DatasetCreate("d", hdf_Datatype::NATIVE_INT(), Vector(1));
    const double scale = 2.5;
    d.AttributeCreate("scale", hdf_Datatype::NATIVE_DOUBLE(), Vector(1))
        .Write(hdf_Datatype::NATIVE_DOUBLE(), &scale);

    const hid_t attribute = H5Aopen(file.GetID(), "ints", H5P_DEFAULT);
    const hid_t stored = H5Aget_type(attribute);
    EXPECT_EQ(H5Tget_order(stored), H5T_ORDER_BE);
    int read[3] = {};
    H5Aread(attribute, H5T_NATIVE_INT, read);
    H5Tclose(stored);
    H5Aclose(attribute);
    EXPECT_EQ(std::vector<int>(read, read + 3), std::vector<int>(written, written + 3));

    const hdf_Attribute again = file.AttributeOpen("ints");
    EXPECT_EQ(again.GetSpace().GetDims(), hdf_DimSpaceInput(3));
    EXPECT_EQ(again.GetType().GetClass(), hdf_Datatype::TypeClassGetClassInteger);
    int back[3] = {};
    again.Read(hdf_Datatype::NATIVE_INT(), back);
    EXPECT_EQ(back[1], -8);
    double scaleBack = 0;
    d.AttributeOpen("scale").Read(hdf_Datatype::NATIVE_DOUBLE(), &scaleBack);
    EXPECT_EQ(scaleBack, 2.5);
    EXPECT_THROW(d.AttributeOpen("absent"), hdf_Exception);
}

}  // namespace
