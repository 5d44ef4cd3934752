// Listing a group's links in one pass: names in name order, hard links told from soft ones.
#include <gtest/gtest.h>

#include <vector>

#include "VelTestSupport.h"
#include "hdf_TestSupport.h"
#include "vel/hdf/hdf_File.h"
#include "vel/hdf/hdf_Group.h"

namespace {

using HdfGroupLinksTest = HdfTest;

TEST_F(HdfGroupLinksTest, ListsEveryLinkInNameOrderAndTellsHardFromSoft) {
    VelTempFile name("links.h5");
    const hdf_File file = hdf_File::Create(name.c_str(), hdf_File::CreateFlagsTruncate);
    const hdf_Group b = file.GroupCreate("b", 0);
    file.DatasetCreate("c", hdf_Datatype::NATIVE_INT(),
                       hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(2), hdf_DimSpace()));
    file.CreateLink(b, "a", hdf_Group::LinkTypeSoft);
    ASSERT_GE(H5Lcreate_soft("/nowhere", file.GetID(), "d", H5P_DEFAULT, H5P_DEFAULT), 0);

    const std::vector<hdf_Group::Link> links = file.Links();
    ASSERT_EQ(links.size(), 4u);
    const char* names[] = {"a", "b", "c", "d"};
    const bool hard[] = {false, true, true, false};
    for (size_t i = 0; i < links.size(); ++i) {
        EXPECT_EQ(links[i].name, names[i]) << i;
        EXPECT_EQ(links[i].hard, hard[i]) << names[i];
    }
    EXPECT_TRUE(b.Links().empty());
}

}  // namespace
