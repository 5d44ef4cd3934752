// Loading finds the context's objects in one pass over the root's links: a soft link to an
// object's group or a dataset beside them is no object, read-write and read-only alike.
#include <gtest/gtest.h>
#include <hdf5.h>

#include <string>

#include "VelContextFileHelpers.h"
#include "VelTestSupport.h"
#include "vel/UTI_VelDynamicAPI.h"
#include "vel/context/VelCollectionRef.h"
#include "vel/context/VelContextRef.h"
#include "vel/context/VelManager.h"

namespace {

class VelContextLinksTest : public ::testing::Test {
protected:
    void SetUp() override { UTI_VelDynamicAPI_initialize(m_modules); }
    void TearDown() override { UTI_VelDynamicAPI_finalize(m_modules); }

    int m_modules = 0;
    VelTempFile m_file{"links"};
};

TEST_F(VelContextLinksTest, SoftLinksAndForeignDatasetsInTheRootAreNoObjects) {
    {
        const VelContextID id =
            VelManager::CreateContext(m_file.c_str(), hdf_File::CreateFlagsTruncate, 7);
        VelContextRef ref(id);
        VelArray<VelCollectionID> grid(1);
        grid[0] = ref.CreateCollection(12);
        ref.CreateDistribution(VelGrid(grid), VelRangeType(VelTypeKeyDouble));
        VelManager::CloseContext(id);
    }
    {
        RawFile raw(m_file.str(), H5F_ACC_RDWR);
        // Named like the objects (a serial below the stored next one) and pointing at them.
        ASSERT_GE(H5Lcreate_soft("/00000000", raw.id(), "00000001x", H5P_DEFAULT, H5P_DEFAULT), 0);
        ASSERT_GE(H5Lcreate_soft("/00000001", raw.id(), "aaa", H5P_DEFAULT, H5P_DEFAULT), 0);
        hsize_t n = 3;
        const hid_t space = H5Screate_simple(1, &n, nullptr);
        const hid_t set = H5Dcreate2(raw.id(), "notes", H5T_NATIVE_INT, space, H5P_DEFAULT,
                                     H5P_DEFAULT, H5P_DEFAULT);
        ASSERT_GE(set, 0);
        H5Dclose(set);
        H5Sclose(space);
    }
    for (const hdf_File::OpenFlags flags :
         {hdf_File::OpenFlagsReadOnly, hdf_File::OpenFlagsReadWrite}) {
        const VelContextID id = VelManager::OpenContext(m_file.c_str(), flags, 7);
        ASSERT_FALSE(id.IsNull());
        VelContextRef ref(id);
        ASSERT_EQ(ref.Collections().Size(), 1);
        EXPECT_EQ(VelCollectionRef(ref.Collections()[0]).Space(), 12);
        ASSERT_EQ(ref.Distributions().Size(), 1);
        EXPECT_EQ(ref.Distributions()[0].Minor().Value(), 1);
        VelManager::CloseContext(id);
    }
    RawFile raw(m_file.str(), H5F_ACC_RDONLY);
    EXPECT_GT(H5Lexists(raw.id(), "aaa", H5P_DEFAULT), 0);
    EXPECT_GT(H5Lexists(raw.id(), "notes", H5P_DEFAULT), 0);
    EXPECT_EQ(raw.ReadInts("Context attributes"), (std::vector<int>{2, 10}));
}

}  // namespace
