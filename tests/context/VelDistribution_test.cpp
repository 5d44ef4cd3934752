// Distributions through the context and VelDistributionRef: the stored layout read back with
// the HDF5 C API, round trips through close and reopen, the drawer catalogue, and damaged files.
#include "context/VelDistribution.h"

#include "VelStoredObjectsTest.h"
#include "context/VelDistributionAccess.h"
#include "context/VelIDAccess.h"
#include "vel/context/VelDistributionRef.h"
#include "vel/core/VelAssert.h"
#include "vel/core/VelIdAsString.h"
#include "vel/hdf/hdf_DimSpace.h"

namespace {

using Ints = std::vector<int>;

class VelDistributionTest : public VelStoredObjectsTest {
protected:
    // Over collections 2, 0 and 1 (given out of order), of CMember values of collection 1; it
    // takes minor 3, after the three collections.
    VelDistributionID MakeThreeWay() {
        const VelGrid grid(TestArray({Collection(2), Collection(0), Collection(1)}));
        return Ref().CreateDistribution(grid, VelRangeType(VelTypeKeyCMember, Collection(1)));
    }
    VelDistributionID First() const { return Ref().Distributions()[0]; }
    VelDistribution& Distribution() const { return VelDistributionAccess::Get(First()); }
    Ints DrawerNumbers() const {
        const VelArray<VelDrawerID> drawers = VelDistributionRef(First()).Drawers();
        Ints numbers;
        for (int i = 0; i < drawers.Size(); ++i) numbers.push_back(drawers[i].Minor().Value());
        return numbers;
    }
    const std::string m_refused = "stored distribution /00000003 refused: ";
};

// A place in the grid for drawers the drawer layer did not make: every dimension in grid order,
// holding nothing.
std::vector<int> Nowhere(const VelDistribution& distribution) {
    std::vector<int> place;
    for (int d = 0; d < distribution.NumDimensions(); ++d) place.insert(place.end(), {d, 0, -1});
    return place;
}

// A sparse drawer as the drawer layer leaves it, as far as the catalogue is concerned: its group
// and, inside it, the index dataset that takes the number after its own.
VelDrawerID MakeSparseDrawer(VelDistribution& distribution) {
    const VelDrawerID drawer =
        distribution.CreateDrawer(VelDistribution::e_SparseDrawer, Nowhere(distribution));
    const int64_t one = 1;
    distribution.DrawerGroup(drawer).DatasetCreate(
        VelIdAsString(drawer.Minor().Value() + 1).c_str(), hdf_Datatype::NATIVE_INT(),
        hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(1, &one), hdf_DimSpace()));
    return drawer;
}

using VelDistributionDeathTest = VelDistributionTest;

TEST_F(VelDistributionTest, ThreeCollectionGridAndRangeTypeSurviveReopenAsStored) {
    EXPECT_EQ(MakeThreeWay().Minor().Value(), 3);
    Close();
    {
        RawFile raw(m_file.str(), H5F_ACC_RDONLY);
        EXPECT_EQ(raw.ReadIntAttribute("00000003", "type"), (Ints{1, 3}));
        EXPECT_EQ(raw.ReadIntAttribute("00000003", "Grid"), (Ints{0, 1, 2}));
        EXPECT_EQ(raw.ReadIntAttribute("00000003", "RangeType"), (Ints{VelTypeKeyCMember, 1, 1}));
        EXPECT_EQ(raw.ReadIntAttribute("00000003", "Distribution attributes"), (Ints{1}));
        EXPECT_EQ(raw.ReadInts("Context attributes"), (Ints{4, 12}));
    }
    Reopen();
    const VelDistributionRef ref(First());
    EXPECT_EQ(ref.ID().Minor().Value(), 3);
    EXPECT_EQ(TestText(ref.Grid()),
              TestText(VelGrid(TestArray({Collection(0), Collection(1), Collection(2)}))));
    EXPECT_EQ(ref.RangeType(), VelRangeType(VelTypeKeyCMember, Collection(1)));
    EXPECT_EQ(ref.NumDrawers(), 0);
    EXPECT_EQ(Distribution().NextDrawerNumber(), 1);
}

TEST_F(VelDistributionTest, DrawerNumbersAreSpentByKindPersistedAndNeverReused) {
    MakeThreeWay();
    VelDistribution& d = Distribution();
    EXPECT_EQ(d.CreateDrawer(VelDistribution::e_StandardDrawer, Nowhere(d)).Minor().Value(), 1);
    // A sparse drawer's index dataset takes the name of number 3.
    EXPECT_EQ(MakeSparseDrawer(d).Minor().Value(), 2);
    EXPECT_EQ(d.CreateDrawer(VelDistribution::e_StandardDrawer, Nowhere(d)).Minor().Value(), 4);
    {
        // In the file at the next checkpoint, not only when the context closes.
        VelManager::FlushContext(m_context);
        RawFile raw(m_file.str(), H5F_ACC_RDONLY);
        EXPECT_EQ(raw.ReadIntAttribute("00000003", "Distribution attributes"), (Ints{5}));
        EXPECT_EQ(raw.ReadIntAttribute("00000003/00000002", "type"), (Ints{3, 2}));
    }
    Close();
    {
        // Members that are not drawers: a group without "type" and a dataset.
        RawFile raw(m_file.str(), H5F_ACC_RDWR);
        raw.MakeTypedGroup("00000003/scratch", {});
        raw.WriteInts("00000003/notes", {1, 2});
    }
    Reopen();
    EXPECT_EQ(DrawerNumbers(), (Ints{1, 2, 4}));
    EXPECT_EQ(Distribution()
                  .CreateDrawer(VelDistribution::e_StandardDrawer, Nowhere(Distribution()))
                  .Minor()
                  .Value(),
              5);
    EXPECT_EQ(DrawerNumbers(), (Ints{1, 2, 4, 5}));
}

TEST_F(VelDistributionTest, DrawerGroupsOpenOnDemandAndCloseDrawerLetsThemGo) {
    MakeThreeWay();
    Distribution().CreateDrawer(VelDistribution::e_StandardDrawer, Nowhere(Distribution()));
    Reopen();
    const VelDistributionRef ref(First());
    const VelDrawerID drawer = ref.Drawers()[0];
    const hid_t file = Ref().File().GetID();
    const ssize_t closed = H5Fget_obj_count(file, H5F_OBJ_GROUP);
    EXPECT_EQ(Distribution().DrawerGroup(drawer).Path(), cow_String("/00000003/00000001"));
    EXPECT_EQ(H5Fget_obj_count(file, H5F_OBJ_GROUP), closed + 1);
    VelDistributionAccess::CloseDrawer(ref, drawer);
    EXPECT_EQ(H5Fget_obj_count(file, H5F_OBJ_GROUP), closed);
    EXPECT_EQ(ref.NumDrawers(), 1);
}

TEST_F(VelDistributionDeathTest, CallersMustNameTheContextsOwnThings) {
    const VelDistributionID id = MakeThreeWay();
    const VelCollectionID foreign = TestCollection(m_context.Value() + 7, 0);
    const char* own =
        "context.HasCollection(collection) && \"a distribution's collections must belong to its "
        "context\"";
    ExpectValidateFailure(Ref().CreateDistribution(VelGrid(TestArray({Collection(0), foreign})),
                                                   VelRangeType(VelTypeKeyInt)),
                          own);
    ExpectValidateFailure(
        Ref().CreateDistribution(VelGrid(), VelRangeType(VelTypeKeyCSet, foreign)), own);
    const VelDistributionID other =
        Ref().CreateDistribution(VelGrid(), VelRangeType(VelTypeKeyInt));
    const VelDrawerID drawer = MakeSparseDrawer(VelDistributionAccess::Get(other));
    ExpectValidateFailure(VelDistributionAccess::CloseDrawer(VelDistributionRef(id), drawer),
                          "drawer.DistributionID().Compare(m_id) == 0");

    Reopen(hdf_File::OpenFlagsReadOnly);
    ExpectValidateFailure(
        Distribution().CreateDrawer(VelDistribution::e_StandardDrawer, Nowhere(Distribution())),
        "!m_readOnly");
    const VelDistributionRef stale(First());
    Close();
    ExpectValidateFailure(stale.Grid(), "context && \"no open context has this value\"");
}

// Each damage is made with the HDF5 C API on a file the library wrote; the open must stop with
// the refusal before anything sized by the damaged value is read.
TEST_F(VelDistributionDeathTest, DamagedGridsAreRefusedAndSevenCollectionsAccepted) {
    MakeThreeWay();
    Close();
    WriteIntAttribute("00000003", "Grid", {0, 1, 2, 0, 1, 2, 0, 1});
    ExpectAssertFailure(OpenAndRead(),
                        m_refused + "\"Grid\" holds 8 collections, at most 7 are allowed");
    WriteIntAttribute("00000003", "Grid", {0, 5});
    ExpectAssertFailure(
        OpenAndRead(),
        m_refused + "\"Grid\" names collection word 5, which the context does not have");
    WriteIntAttribute("00000003", "Grid", {2, 0, 2});
    ExpectAssertFailure(OpenAndRead(), m_refused + "\"Grid\" names collection word 2 twice");

    WriteIntAttribute("00000003", "Grid", {0, 1, 2});
    Reopen();
    for (int size : {1, 2, 3, 4}) Ref().CreateCollection(size);
    Close();
    WriteIntAttribute("00000003", "Grid", {0, 1, 2, 4, 5, 6, 7});
    Reopen();
    EXPECT_EQ(VelDistributionRef(First()).NumDimensions(), 7);
}

TEST_F(VelDistributionDeathTest, DamagedRangeTypesAndCataloguesAreRefused) {
    MakeSparseDrawer(VelDistributionAccess::Get(MakeThreeWay()));
    Close();
    WriteIntAttribute("00000003", "RangeType", {8, 0, -1});
    ExpectAssertFailure(OpenAndRead(), m_refused + "\"RangeType\" has the unknown type key 8");
    WriteIntAttribute("00000003", "RangeType", {VelTypeKeyDouble, 1, 0});
    ExpectAssertFailure(OpenAndRead(),
                        m_refused + "\"RangeType\" flag 1 does not agree with type key Double");
    WriteIntAttribute("00000003", "RangeType", {VelTypeKeyDouble, 0});
    ExpectAssertFailure(OpenAndRead(), m_refused + "\"RangeType\" is not one dimension of 3 ints");
    WriteIntAttribute("00000003", "RangeType", {VelTypeKeyDouble, 0, -1});

    // A distribution stored without "Drawer catalogue" is catalogued from its members' names.
    // Every number handed out is a drawer, or the index dataset of the sparse drawer before it.
    {
        RawFile raw(m_file.str(), H5F_ACC_RDWR);
        H5Ldelete(raw.id(), "00000003/Drawer catalogue", H5P_DEFAULT);
        H5Ldelete(raw.id(), "00000003/00000001/00000002", H5P_DEFAULT);
    }
    ExpectAssertFailure(OpenAndRead(),
                        m_refused +
                            "drawer 2 of the catalogue is missing (numbers up to 2 were "
                            "handed out)");

    // The sparse drawer 1 spent numbers 1 and 2, so the stored next number is 3.  A drawer at or
    // beyond the stored number was made after the state the file records: a read-only open
    // passes it over, a writable open removes it.
    WriteIntAttribute("00000003", "Distribution attributes", {1});
    Reopen(hdf_File::OpenFlagsReadOnly);
    EXPECT_EQ(VelDistributionRef(First()).Drawers().Size(), 0);
    Close();
    {
        RawFile raw(m_file.str(), H5F_ACC_RDONLY);
        EXPECT_GT(H5Lexists(raw.id(), "00000003/00000001", H5P_DEFAULT), 0);
    }
    Reopen();
    EXPECT_EQ(VelDistributionRef(First()).Drawers().Size(), 0);
    Close();
    {
        RawFile raw(m_file.str(), H5F_ACC_RDONLY);
        EXPECT_EQ(H5Lexists(raw.id(), "00000003/00000001", H5P_DEFAULT), 0);
    }
    // A member named like a drawer is checked when the drawer is first used: the open that finds
    // it by its name succeeds, the first use refuses it, and so does every later open's.
    WriteIntAttribute("00000003", "Distribution attributes", {2});
    {
        RawFile raw(m_file.str(), H5F_ACC_RDWR);
        raw.MakeTypedGroup("00000003/00000001", {0, 1});
    }
    const auto firstUse = [&] {
        m_context = Open(hdf_File::OpenFlagsReadOnly);
        EXPECT_EQ(DrawerNumbers(), (Ints{1}));
        Distribution().DrawerGroup(VelIDAccess::MakeDrawerID(First(), 1));
    };
    ExpectAssertFailure(firstUse(), m_refused +
                                        "member \"00000001\" has \"type\" kind 0, only drawers (3) "
                                        "live in a distribution");
    {
        RawFile raw(m_file.str(), H5F_ACC_RDWR);
        H5Ldelete(raw.id(), "00000003/00000001", H5P_DEFAULT);
        raw.MakeTypedGroup("00000003/00000001", {3, 0});
    }
    ExpectAssertFailure(firstUse(),
                        m_refused + "member \"00000001\" is not named by its drawer number 0");
}

// A read-only open reads the newest rows of "Drawer catalogue"; older rows are read when a drawer
// or a search reaches them, and refused there exactly as a whole read refuses them.
TEST_F(VelDistributionDeathTest, ReadOnlyOpensCheckOlderCatalogueRowsWhereTheyAreReached) {
    VelDistribution& made = VelDistributionAccess::Get(MakeThreeWay());
    const int count = 3 * VelDistribution::e_PlaceBlockRows;
    for (int i = 0; i < count; ++i)
        made.CreateDrawer(VelDistribution::e_StandardDrawer, Nowhere(made));
    Close();
    const char* catalogue = "00000003/Drawer catalogue";
    const Ints rows = RawFile(m_file.str(), H5F_ACC_RDONLY).ReadInts(catalogue);
    const auto drawer = [&](int number) { return VelIDAccess::MakeDrawerID(First(), number); };
    const auto reopenWith = [&](const Ints& ints) {
        Close();
        RawFile(m_file.str(), H5F_ACC_RDWR).WriteInts(catalogue, ints);
        Reopen(hdf_File::OpenFlagsReadOnly);
    };
    const auto with = [&](size_t at, int value) {
        Ints ints = rows;
        ints[at] = value;
        return ints;
    };
    Reopen(hdf_File::OpenFlagsReadOnly);
    Ints numbers(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) numbers[static_cast<size_t>(i)] = i + 1;
    EXPECT_TRUE(Distribution().HasDrawer(drawer(count - 300)));
    EXPECT_EQ(Distribution().Place(2).Number(), 3);
    EXPECT_EQ(DrawerNumbers(), numbers);

    const std::string unknownKind = "row 10 of \"Drawer catalogue\" has the unknown drawer kind 0";
    reopenWith(with(10 * 11 + 1, 0));
    EXPECT_EQ(Distribution().NumDrawers(), count);
    EXPECT_EQ(Distribution().Place(count - 1).Number(), count);
    EXPECT_TRUE(Distribution().HasDrawer(drawer(count - 300)));
    ExpectAssertFailure(Distribution().HasDrawer(drawer(5)), m_refused + unknownKind);
    ExpectAssertFailure(DrawerNumbers(), m_refused + unknownKind);
    // Caught under VelThrowOnFailure, the refusal leaves the rows unread: every use refuses.
    VelAssert::SetFailurePolicy(VelThrowOnFailure);
    for (int use = 0; use < 2; ++use) EXPECT_THROW(Distribution().HasDrawer(drawer(5)), VelFailure);
    VelAssert::SetFailurePolicy(VelStopOnFailure);
    reopenWith(with(5 * 11, 7));
    ExpectAssertFailure(Distribution().Place(5),
                        m_refused + "drawer 6 of the catalogue is missing (numbers up to " +
                            std::to_string(count) + " were handed out)");
    // Every number one higher, the stored next number too: only the oldest row shows it.
    Ints shifted = rows;
    for (size_t at = 0; at < shifted.size(); at += 11) ++shifted[at];
    Close();
    WriteIntAttribute("00000003", "Distribution attributes", {count + 2});
    reopenWith(shifted);
    EXPECT_TRUE(Distribution().HasDrawer(drawer(count + 1)));
    ExpectAssertFailure(DrawerNumbers(),
                        m_refused + "drawer 1 of the catalogue is missing (numbers up to " +
                            std::to_string(count + 1) + " were handed out)");
    Close();
    WriteIntAttribute("00000003", "Distribution attributes", {count + 1});
    // The newest rows are read by the first use of the distribution.
    reopenWith(with(rows.size() - 9, 9));
    ExpectAssertFailure(Distribution(), m_refused + "row " + std::to_string(count - 1) +
                                            " of \"Drawer catalogue\" places dimension 0 at grid "
                                            "position 9, members 0 to -1");
}

// "Drawer catalogue" names every drawer below the stored next number, in number order, with its
// kind and place; an open trusts none of it before checking it against the counter.
TEST_F(VelDistributionDeathTest, DrawerCataloguesAreCheckedBeforeTheyAreTrusted) {
    VelDistribution& made = VelDistributionAccess::Get(MakeThreeWay());
    MakeSparseDrawer(made);
    made.CreateDrawer(VelDistribution::e_StandardDrawer, {2, 0, 9, 0, 0, 19, 1, 3, 3});
    Close();
    const char* catalogue = "00000003/Drawer catalogue";
    const Ints rows = {1, 2, 0, 0, -1, 1, 0, -1, 2, 0, -1, 3, 1, 2, 0, 9, 0, 0, 19, 1, 3, 3};
    EXPECT_EQ(RawFile(m_file.str(), H5F_ACC_RDONLY).ReadInts(catalogue), rows);
    Reopen(hdf_File::OpenFlagsReadOnly);
    EXPECT_EQ(DrawerNumbers(), (Ints{1, 3}));
    EXPECT_EQ(Distribution().Place(1).Last(2), 3);
    Close();

    const auto damaged = [&](const Ints& ints, const std::string& reason) {
        RawFile(m_file.str(), H5F_ACC_RDWR).WriteInts(catalogue, ints);
        ExpectAssertFailure(OpenAndRead(), m_refused + reason);
    };
    const auto with = [&](size_t at, int value) {
        Ints ints = rows;
        ints[at] = value;
        return ints;
    };
    damaged(with(11, 4), "drawer 3 of the catalogue is missing (numbers up to 3 were handed out)");
    damaged(with(0, 2), "drawer 1 of the catalogue is missing (numbers up to 3 were handed out)");
    damaged(Ints(rows.begin(), rows.begin() + 11),
            "drawer 3 of the catalogue is missing (numbers up to 3 were handed out)");
    damaged(with(12, 0), "row 1 of \"Drawer catalogue\" has the unknown drawer kind 0");
    damaged(with(2, 7),
            "row 0 of \"Drawer catalogue\" places dimension 0 at grid position 7, members 0 to -1");
    damaged(with(13, 0),
            "row 1 of \"Drawer catalogue\" places dimension 1 at grid position 0, members 0 to 19");
    damaged(with(17, -1),
            "row 1 of \"Drawer catalogue\" places dimension 1 at grid position 0, members -1 "
            "to 19");
    damaged(Ints(rows.begin(), rows.end() - 1),
            "\"Drawer catalogue\" is not one dimension of rows of 11 ints");
    Ints three = rows;
    three.insert(three.end(), rows.begin() + 11, rows.end());
    damaged(three, "row 2 of \"Drawer catalogue\" names drawer 3, out of order");
    three.insert(three.end(), rows.begin() + 11, rows.end());
    damaged(three, "\"Drawer catalogue\" holds 4 drawers, more than the numbers handed out");
    {
        // An extent the file holds no values for (a chunked dataset with nothing written).
        RawFile raw(m_file.str(), H5F_ACC_RDWR);
        H5Ldelete(raw.id(), catalogue, H5P_DEFAULT);
        hsize_t length = rows.size();
        const hid_t space = H5Screate_simple(1, &length, nullptr);
        const hid_t creation = H5Pcreate(H5P_DATASET_CREATE);
        H5Pset_chunk(creation, 1, &length);
        H5Dclose(H5Dcreate2(raw.id(), catalogue, H5T_NATIVE_INT, space, H5P_DEFAULT, creation,
                            H5P_DEFAULT));
        H5Pclose(creation);
        H5Sclose(space);
    }
    ExpectAssertFailure(OpenAndRead(),
                        m_refused + "\"Drawer catalogue\" stores fewer than its 22 ints");

    // A drawer beyond the stored counter has no row: a writable open removes its group by
    // looking for the numbers after the counter, without listing the distribution.
    RawFile(m_file.str(), H5F_ACC_RDWR).WriteInts(catalogue, Ints(rows.begin(), rows.begin() + 11));
    WriteIntAttribute("00000003", "Distribution attributes", {3});
    Reopen();
    EXPECT_EQ(DrawerNumbers(), (Ints{1}));
    Close();
    RawFile raw(m_file.str(), H5F_ACC_RDONLY);
    EXPECT_EQ(H5Lexists(raw.id(), "00000003/00000003", H5P_DEFAULT), 0);
    EXPECT_GT(H5Lexists(raw.id(), "00000003/00000001", H5P_DEFAULT), 0);
}

}  // namespace
