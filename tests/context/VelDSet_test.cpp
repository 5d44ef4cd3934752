// DSets through the context: the stored layout read back with the HDF5 C API, the VelCtation
// after close and reopen, minors that are never handed out twice, and damaged files.
#include "context/VelDSet.h"

#include <climits>

#include "VelStoredObjectsTest.h"

namespace {

using Ints = std::vector<int>;
constexpr int kAsc = INT_MIN;

class VelDSetTest : public VelStoredObjectsTest {
protected:
    void SetUp() override {
        VelStoredObjectsTest::SetUp();
        const int members[] = {1, 3, 5};
        m_odd = VelCollectionRef(Collection(0)).CreateCSet(members, 3);
        m_strided = VelCollectionRef(Collection(2)).CreateCSetStrided(0, 10, 3, 1);
    }
    // Three compartments over collections 2 and 0, each given in its own order and the list
    // out of order.
    VelCtation ThreeCompartments() const {
        const VelCSetID full0 = VelCollectionRef(Collection(0)).BiggestCSetID();
        const VelCSetID full2 = VelCollectionRef(Collection(2)).BiggestCSetID();
        const VelCSetID empty0 = VelCollectionRef(Collection(0)).EmptyCSetID();
        return VelCtation(TestArray({VelCompartment(TestArray({m_strided, m_odd})),
                                     VelCompartment(TestArray({full0, full2})),
                                     VelCompartment(TestArray({m_strided, empty0}))}));
    }

    VelCSetID m_odd;
    VelCSetID m_strided;
    const Ints m_stored = {0, kAsc | 0, 2, kAsc | 2, 0, kAsc | 1,
                           2, kAsc | 1, 0, kAsc | 2, 2, kAsc | 2};
    const std::string m_refused = "stored DSet /00000003 refused: ";
};

using VelDSetDeathTest = VelDSetTest;

TEST_F(VelDSetTest, CompartmentsComeBackAsTheSameCtationSortedAndStoredAsTheLayoutSays) {
    const VelDSetID id = Ref().CreateDSet(ThreeCompartments());
    EXPECT_EQ(id.Minor().Value(), 3);
    Close();
    {
        // Sorted: {empty 0, strided 2}, {full 0, full 2}, {odd 0, strided 2}; ascending index
        // words have bit 31 set.
        RawFile raw(m_file.str(), H5F_ACC_RDONLY);
        EXPECT_EQ(raw.ReadIntAttribute("00000003", "type"), (Ints{2, 3}));
        EXPECT_EQ(raw.ReadIntAttribute("00000003", "Attributes"), (Ints{3, 2}));
        EXPECT_EQ(raw.ReadInts("00000003/Ctation"), m_stored);
    }
    Reopen();
    m_odd = Again(m_odd);
    m_strided = Again(m_strided);
    const VelCtation back = Ref().DSetRep(Ref().DSets()[0]);
    EXPECT_TRUE(back == ThreeCompartments());
    ASSERT_EQ(back.Size(), 3);
    EXPECT_EQ(back[0][0].Index(), 0);
    EXPECT_EQ(back[2][0].Compare(m_odd), 0);
}

TEST_F(VelDSetTest, MinorsComeFromOneCounterAndAreNeverHandedOutTwice) {
    const VelDSetID first = Ref().CreateDSet(ThreeCompartments());
    const VelDistributionID d = Ref().CreateDistribution(VelGrid(), VelRangeType(VelTypeKeyInt));
    EXPECT_EQ(first.Minor().Value(), 3);
    EXPECT_EQ(d.Minor().Value(), 4);
    Reopen();
    const VelCollectionID c = Ref().CreateCollection(5);
    const VelDSetID second = Ref().CreateDSet(
        VelCtation(TestArray({VelCompartment(TestArray({VelCollectionRef(c).BiggestCSetID()}))})));
    EXPECT_EQ(c.Minor().Value(), 5);
    EXPECT_EQ(second.Minor().Value(), 6);
    Reopen();
    EXPECT_EQ(Ref().DSets().Size(), 2);
    EXPECT_EQ(Ref().Distributions().Size(), 1);
    EXPECT_EQ(Ref().Collections().Size(), 4);
    RawFile raw(m_file.str(), H5F_ACC_RDONLY);
    EXPECT_EQ(raw.ReadInts("Context attributes"), (Ints{7, 15}));
}

TEST_F(VelDSetDeathTest, CallersMustNameStoredCSetsOfTheContext) {
    const VelCSetID foreign = TestCSet(TestCollection(m_context.Value() + 9, 0), 1);
    ExpectValidateFailure(
        Ref().CreateDSet(VelCtation(TestArray({VelCompartment(TestArray({foreign}))}))),
        "context.HasCollection(cset.CollectionID()) && \"a DSet's CSets must belong to its "
        "context\"");
    const VelCSetID unknown = TestCSet(Collection(1), 40);
    ExpectValidateFailure(
        Ref().CreateDSet(VelCtation(TestArray({VelCompartment(TestArray({unknown}))}))),
        "id.Index() < numCSets");
    ExpectValidateFailure(Ref().CreateDSet(VelCtation(TestArray({VelCompartment()}))),
                          "dimensions >= 1 && dimensions <= VelMAX_DIMENSIONS");
    Reopen(hdf_File::OpenFlagsReadOnly);
    const VelCSetID full = VelCollectionRef(Collection(0)).BiggestCSetID();
    ExpectValidateFailure(
        Ref().CreateDSet(VelCtation(TestArray({VelCompartment(TestArray({full}))}))),
        "!m_readOnly");
}

// Each damage is made with the HDF5 C API on a file the library wrote, then the open must stop
// with the refusal before anything sized by the damaged value is read.
TEST_F(VelDSetDeathTest, DamagedCtationsAreRefused) {
    Ref().CreateDSet(ThreeCompartments());
    Close();
    WriteIntAttribute("00000003", "Attributes", {4, 2});
    ExpectAssertFailure(
        OpenAndRead(),
        m_refused + "\"Ctation\" holds 12 ints, not 2 x 4 compartments x 2 dimensions");
    WriteIntAttribute("00000003", "Attributes", {0, 2});
    ExpectAssertFailure(OpenAndRead(),
                        m_refused + "\"Attributes\" counts 0 compartments, at least 1 is needed");
    WriteIntAttribute("00000003", "Attributes", {3, 2});

    auto damage = [&](size_t at, int word) {
        Ints words = m_stored;
        words[at] = word;
        RawFile raw(m_file.str(), H5F_ACC_RDWR);
        raw.WriteInts("00000003/Ctation", words);
    };
    damage(2, 7);
    ExpectAssertFailure(
        OpenAndRead(),
        m_refused + "\"Ctation\" names collection word 7, which the context does not have");
    damage(6, 1);
    ExpectAssertFailure(OpenAndRead(),
                        m_refused +
                            "compartment 1, dimension 1: collection word 1 is not the "
                            "first compartment's 2");
    damage(5, 1);
    ExpectAssertFailure(
        OpenAndRead(),
        m_refused + "compartment 1, dimension 0: index word 1 is not an ascending CSet");
    damage(11, kAsc | 3);
    ExpectAssertFailure(
        OpenAndRead(),
        m_refused + "compartment 2, dimension 1: CSet 3 is not stored in its collection");
}

}  // namespace
