// Loading a context's root layout: the catalog of collections, distributions and DSets, the
// conversions that look objects up in it, write-back, and damaged layouts.
#include "context/VelContext.h"

#include <string>
#include <vector>

#include "VelContextFileHelpers.h"
#include "VelTestSupport.h"
#include "context/VelManagerAccess.h"
#include "vel/UTI_VelDynamicAPI.h"
#include "vel/context/VelCSetID.h"
#include "vel/context/VelCollectionRef.h"
#include "vel/context/VelContextRef.h"
#include "vel/context/VelManager.h"

namespace {

class VelContextTest : public ::testing::Test {
protected:
    void SetUp() override {
        UTI_VelDynamicAPI_initialize(m_modules);
        const VelContextID id =
            VelManager::CreateContext(m_file.c_str(), hdf_File::CreateFlagsTruncate, 7);
        VelManager::CloseContext(id);
    }
    void TearDown() override { UTI_VelDynamicAPI_finalize(m_modules); }

    // Two collections (serials 0 and 1), a distribution (minor 2) and a DSet (minor 3) made by
    // the library, then a foreign group laid out with the HDF5 C API.
    void AddObjects() {
        const VelContextID id = Open();
        ASSERT_FALSE(id.IsNull());
        VelContextRef ref(id);
        VelArray<VelCollectionID> grid(2);
        grid[0] = ref.CreateCollection(10);
        grid[1] = ref.CreateCollection(20);
        ref.CreateDistribution(VelGrid(grid), VelRangeType(VelTypeKeyDouble));
        VelArray<VelCSetID> full(1);
        full[0] = VelCollectionRef(grid[0]).BiggestCSetID();
        VelArray<VelCompartment> compartments(1);
        compartments[0] = VelCompartment(full);
        ref.CreateDSet(VelCtation(compartments));
        VelManager::CloseContext(id);
        RawFile raw(m_file.str(), H5F_ACC_RDWR);
        raw.MakeTypedGroup("form-1-0", {});
    }

    VelContextID Open() {
        return VelManager::OpenContext(m_file.c_str(), hdf_File::OpenFlagsReadWrite, 7);
    }

    int m_modules = 0;
    VelTempFile m_file{"ctx"};
};

using VelContextDeathTest = VelContextTest;

TEST_F(VelContextTest, LoadsTheCatalogInIdentifierOrder) {
    AddObjects();
    const VelContextID id = Open();
    ASSERT_FALSE(id.IsNull());
    VelContextRef ref(id);
    const VelArray<VelCollectionID> collections = ref.Collections();
    ASSERT_EQ(collections.Size(), 2);
    EXPECT_EQ(collections[0].Minor().Value(), 0);
    EXPECT_EQ(collections[1].Minor().Value(), 1);
    EXPECT_EQ(collections[1].ContextID().Compare(id), 0);
    ASSERT_EQ(ref.Distributions().Size(), 1);
    EXPECT_EQ(ref.Distributions()[0].Minor().Value(), 2);
    ASSERT_EQ(ref.DSets().Size(), 1);
    EXPECT_EQ(ref.DSets()[0].Minor().Value(), 3);
    EXPECT_NE(ref.Pool(), nullptr);
    EXPECT_EQ(ref.File().Name(), cow_String(m_file.c_str()));

    // Write-back keeps the count of what was loaded; a new serial is counted in the next ID.
    EXPECT_EQ(VelManagerAccess::Get(id.Value()).AllocateCollectionSerial(), 4);
    VelManager::CloseContext(id);
    RawFile raw(m_file.str(), H5F_ACC_RDONLY);
    EXPECT_EQ(raw.ReadInts("Context attributes"), (std::vector<int>{5, 12}));
}

TEST_F(VelContextTest, DynamicIDsConvertThroughTheOpenContext) {
    AddObjects();
    const VelContextID id = Open();
    ASSERT_FALSE(id.IsNull());

    const VelCollectionID variant(VelDynamicID(1, id.Value(), 0x04000001, 0));
    EXPECT_EQ(variant.Color(), 1);
    EXPECT_EQ(variant.DynamicID(), VelDynamicID(1, id.Value(), 0x04000001, 0));

    const VelCSetID cset(VelDynamicID(5, id.Value(), 0x04000001, int64_t(int32_t(0x80000003))));
    EXPECT_EQ(cset.CollectionID().Compare(variant), 0);
    EXPECT_EQ(cset.Index(), 3);
    EXPECT_TRUE(cset.IsAscending());
    EXPECT_EQ(VelCSetID(cset.DynamicID()).Compare(cset), 0);

    const VelDrawerID drawer(VelDynamicID(7, id.Value(), 2, 5));
    EXPECT_EQ(drawer.DistributionID().Minor().Value(), 2);
    EXPECT_EQ(drawer.Minor().Value(), 5);
    EXPECT_EQ(VelDistributionID(VelDynamicID(2, id.Value(), 2, 0)).Compare(drawer.DistributionID()),
              0);
    EXPECT_EQ(VelDSetID(VelDynamicID(3, id.Value(), 3, 0)).Minor().Value(), 3);
    VelManager::CloseContext(id);
}

TEST_F(VelContextDeathTest, ConversionsCheckCategoryAndMembership) {
    AddObjects();
    const VelContextID id = Open();
    ASSERT_FALSE(id.IsNull());
    ExpectValidateFailure(VelCSetID(VelDynamicID(5, id.Value(), 4, 0)),
                          "m_collectionMap.IsMember(cid)");
    ExpectValidateFailure(VelDrawerID(VelDynamicID(7, id.Value(), 6, 0)),
                          "m_distributionMap.IsMember(did)");
    ExpectValidateFailure(VelDSetID(VelDynamicID(2, id.Value(), 5, 0)), "CanBeConverted(did)");
    ExpectValidateFailure(VelCollectionID(VelDynamicID(5, id.Value(), 0, 0)),
                          "CanBeConverted(did)");
}

// Each damage is made with the HDF5 C API on a fresh file, with the objects or without: to
// "Context attributes", or to the "type" of a group.
TEST_F(VelContextDeathTest, DamagedRootLayoutsStop) {
    const struct {
        bool objects;
        const char* group;
        std::vector<int> values;
        const char* message;
    } damages[] = {
        {false, nullptr, {0, 8, 0}, "contextDims.Rank() == 1 && contextDims[0] == 2"},
        {false, nullptr, {0}, "contextDims.Rank() == 1 && contextDims[0] == 2"},
        {false,
         nullptr,
         {-3, 8},
         "m_nextID >= 0 && m_nextID <= VelCollectionID::e_ExcessiveCollectionID"},
        {false, nullptr, {0, 40}, "numObjects >= sz-2*VelNUM_CONTEXT_TYPES"},
        {false, nullptr, {0, 9}, "numLoaded == sz-2*VelNUM_CONTEXT_TYPES"},
        {true, nullptr, {4, 11}, "numLoaded == sz-2*VelNUM_CONTEXT_TYPES"},
        {true, "00000001", {0, 1, 0}, "typeDims.Rank() == 1 && typeDims[0] == 2"},
        {true, "00000001", {0}, "typeDims.Rank() == 1 && typeDims[0] == 2"},
        {true,
         "00000001",
         {6, 1},
         "kind >= VelObjectKindCollection && kind <= VelObjectKindRecord"},
        {true, "00000001", {3, 1}, "kind != VelObjectKindDrawer"},
        {true, "00000001", {0, 0}, "inserted"},
        {true, "00000001", {0, 4}, "VelCollectionID::ColorOf(minor) == 0 && minor < m_nextID"},
        {true, "record", {4, 0}, "kind == expectedKind"},
    };
    for (const auto& d : damages) {
        SCOPED_TRACE(d.message);
        VelManager::CloseContext(
            VelManager::CreateContext(m_file.c_str(), hdf_File::CreateFlagsTruncate, 7));
        if (d.objects) AddObjects();
        {
            const RawFile raw(m_file.str(), H5F_ACC_RDWR);
            if (d.group)
                raw.MakeTypedGroup(d.group, d.values);
            else
                raw.WriteInts("Context attributes", d.values);
        }
        ExpectAssertFailure(Open(), d.message);
    }
}

TEST_F(VelContextDeathTest, MissingRecordStoreStopsWithTheStorageMessage) {
    H5Ldelete(RawFile(m_file.str(), H5F_ACC_RDWR).id(), "stringTable", H5P_DEFAULT);
    ExpectAssertFailure(Open(), "0");
}

}  // namespace
