// Collections and CSets through the public interface: every kind of CSet before and after the
// context is closed and reopened, set algebra, orders, growth of the collection, and bad input.
#include "vel/context/VelCSet.h"

#include <algorithm>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "VelTestSupport.h"
#include "context/VelCollection.h"
#include "context/VelContext.h"
#include "context/VelManagerAccess.h"
#include "vel/UTI_VelDynamicAPI.h"
#include "vel/context/VelCollectionRef.h"
#include "vel/context/VelContextRef.h"
#include "vel/context/VelManager.h"

namespace {

using Ints = std::vector<int>;

Ints MembersOf(const VelCSet& s) {
    Ints out(static_cast<size_t>(s.Size()));
    s.Members(out.data());
    return out;
}

Ints OrderedOf(const VelCSet& s) {
    Ints out(static_cast<size_t>(s.Size()));
    s.OrderedMembers(out.data());
    return out;
}

Ints Sorted(Ints v) {
    std::sort(v.begin(), v.end());
    return v;
}

Ints Range(int first, int count, int step = 1) {
    Ints v;
    for (int i = 0; i < count; ++i) v.push_back(first + i * step);
    return v;
}

class VelCSetTest : public ::testing::Test {
protected:
    void SetUp() override {
        UTI_VelDynamicAPI_initialize(m_modules);
        m_context = VelManager::CreateContext(m_file.c_str(), hdf_File::CreateFlagsTruncate, 3);
        ASSERT_FALSE(m_context.IsNull());
    }
    void TearDown() override { UTI_VelDynamicAPI_finalize(m_modules); }

    VelContextID Reopen(hdf_File::OpenFlags flags) {
        VelManager::CloseContext(m_context);
        m_context = VelManager::OpenContext(m_file.c_str(), flags, 3);
        EXPECT_FALSE(m_context.IsNull());
        return m_context;
    }
    // The same CSet in the reopened context, through its dynamic ID's fields.
    VelCSetID Again(const VelCSetID& id) const {
        const VelDynamicID d = id.DynamicID();
        return VelCSetID(VelDynamicID(d.Category(), m_context.Value(), d.First(), d.Second()));
    }
    // The collection of the reopened context with the serial of `id`, in `id`'s color.
    VelCollectionID Again(const VelCollectionID& id) const {
        const VelArray<VelCollectionID> all = VelContextRef(m_context).Collections();
        for (int i = 0; i < all.Size(); ++i)
            if (all[i].Minor().Value() == id.AltColor(0).Minor().Value())
                return all[i].AltColor(id.Color());
        ADD_FAILURE() << "collection lost";
        return VelCollectionID();
    }

    int m_modules = 0;
    VelTempFile m_file{"cset"};
    VelContextID m_context;
};

using VelCSetDeathTest = VelCSetTest;

struct Expected {
    VelCSetID id;
    Ints ordered;
    bool ascending;
};

TEST_F(VelCSetTest, EveryKindOfCSetReadsBackTheSameBeforeAndAfterReopen) {
    const VelCollectionID cid = VelContextRef(m_context).CreateCollection(100000);
    const VelCollectionRef coll(cid);
    const VelCollectionRef colored(coll.CreateColorVariant(5));
    std::mt19937 rng(3);
    Ints bigList;  // explicit, too large to stay decoded once unreferenced
    for (int m = 0; m < 100000; ++m)
        if (rng() % 7 < 3) bigList.push_back(m);
    Ints bigOrder = Range(50000, 6000);
    std::shuffle(bigOrder.begin(), bigOrder.end(), rng);
    omi_BlkBitVect bits(100000);
    bits.SetRange(70, 30);
    bits.Set(99999);

    std::vector<Expected> all;
    auto add = [&](VelCSetID id, Ints ordered, bool ascending) {
        all.push_back({id, std::move(ordered), ascending});
    };
    const Ints list = {3, 9, 27, 81, 243, 729};
    Ints runs = Range(100, 100);
    for (int m : Range(300, 50)) runs.push_back(m);
    runs.push_back(900);
    const Ints order = {42, 7, 99999, 0, 500};
    add(coll.EmptyCSetID(), {}, true);
    add(coll.CreateCSet(list.data(), 6), list, true);
    add(coll.CreateCSet(runs.data(), int(runs.size())), runs, true);
    add(coll.CreateOrderedCSet(order.data(), 5), order, false);
    add(coll.CreateCSetStrided(2, 3, 300, 1), Range(2, 300, 3), true);
    add(coll.CreateCSetStrided(10, 5, 4, 2), {10, 11, 15, 16, 20, 21, 25, 26}, true);
    add(colored.CreateCSet(list.data(), 3), {3, 9, 27}, true);
    add(colored.CreateOrderedCSet(order.data(), 3), {42, 7, 99999}, false);
    add(coll.CreateCSet(bits), Sorted([] {
            Ints v = Range(70, 30);
            v.push_back(99999);
            return v;
        }()),
        true);
    add(coll.CreateCSet(bigList.data(), int(bigList.size())), bigList, true);
    add(coll.CreateOrderedCSet(bigOrder.data(), int(bigOrder.size())), bigOrder, false);
    VelCSet registered = coll.CreateVolatileCSetStrided(1000, 10, 5, 3);
    EXPECT_TRUE(registered.ID().IsNull());
    add(registered.RegisterWithCollection(), MembersOf(registered), true);
    add(coll.BiggestCSetID(), Range(0, 100000), true);
    EXPECT_EQ(coll.BiggestCSetID().Index(), 1);
    EXPECT_EQ(coll.EmptyCSetID().Index(), 0);
    EXPECT_EQ(all[6].id.Color(), 5);
    EXPECT_EQ(all[7].id.Color(), 5);
    EXPECT_EQ(colored.BiggestCSetID().Color(), 5);

    auto check = [&](bool reopened) {
        for (const Expected& e : all) {
            VelCSetID id = e.id;
            if (reopened) id = Again(id);
            SCOPED_TRACE(::testing::Message() << id << (reopened ? " reopened" : ""));
            const VelCSet s(id);
            EXPECT_EQ(s.IsAscending(), e.ascending);
            EXPECT_EQ(OrderedOf(s), e.ordered);
            EXPECT_EQ(MembersOf(s), Sorted(e.ordered));
            EXPECT_EQ(s.ID().Compare(id), 0);
            if (!e.ordered.empty()) {
                EXPECT_TRUE(s.IsMember(e.ordered.back()));
                EXPECT_EQ(s.Bounds().highest, Sorted(e.ordered).back());
            }
            const VelCSet twin(s.AscendingID());
            EXPECT_TRUE(twin.IsAscending());
            EXPECT_EQ(OrderedOf(twin), Sorted(e.ordered));
            EXPECT_EQ(twin.AscendingID().Compare(s.AscendingID()), 0);
        }
    };
    check(false);
    Reopen(hdf_File::OpenFlagsReadOnly);
    EXPECT_EQ(VelCollectionRef(Again(cid)).Space(), 100000);
    EXPECT_EQ(VelCollectionRef(Again(cid)).NumCSets(), 16);
    check(true);

    // Listed by index, the stored CSets carry their kinds: three permutations, each with an
    // ascending twin of its own.
    const VelCollectionRef reread(Again(cid));
    int permutations = 0;
    for (int i = 0; i < reread.NumCSets(); ++i) {
        const VelCSetID stored = reread.StoredCSetID(i);
        EXPECT_EQ(stored.Index(), i);
        EXPECT_EQ(VelCSet(stored).IsAscending(), stored.IsAscending());
        if (stored.IsAscending()) continue;
        ++permutations;
        EXPECT_NE(VelCSet(stored).AscendingID().Index(), i);
    }
    EXPECT_EQ(permutations, 3);
}

TEST_F(VelCSetTest, OrdersPermutationsAndSelections) {
    const VelCollectionRef coll(VelContextRef(m_context).CreateCollection(50));
    const Ints order = {30, 4, 17, 8};
    const VelCSet perm(coll.CreateOrderedCSet(order.data(), 4));
    Ints p(4);
    perm.Permutation(p.data());
    EXPECT_EQ(p, (Ints{3, 0, 2, 1}));  // OrderedMembers[i] == Members[p[i]]
    omi_BlkBitVect selected(20);       // 30 lies past the vector: not selected
    selected.SetRange(0, 20);
    selected.Clear(4);
    cow_1DArrayList<int> picked;
    perm.Permute(selected, picked);
    ASSERT_EQ(picked.Size(), 2);
    EXPECT_EQ(picked[0], 17);
    EXPECT_EQ(picked[1], 8);
    VelCSet(perm.AscendingID()).Permute(selected, picked);
    EXPECT_EQ(picked.Size(), 2);
    EXPECT_EQ(picked[0], 8);

    // An order given ascending is no order of its own.
    const Ints ascending = {1, 2, 40};
    const VelCSetID plain = coll.CreateOrderedCSet(ascending.data(), 3);
    EXPECT_TRUE(plain.IsAscending());
    VelCSet(plain).Permutation(p.data());
    EXPECT_EQ(Ints(p.begin(), p.begin() + 3), (Ints{0, 1, 2}));

    omi_BlkBitVect bits;
    perm.AsBitVector(bits);
    EXPECT_EQ(bits.Size(), 50);
    EXPECT_EQ(bits.Count(), 4);
    EXPECT_TRUE(bits.Test(30) && bits.Test(4) && !bits.Test(5));
    EXPECT_EQ(perm.Bounds().lowest, 4);
    EXPECT_EQ(perm.Bounds().highest, 30);
    const VelCSet empty(coll.EmptyCSetID());
    EXPECT_EQ(empty.Bounds().highest - empty.Bounds().lowest + 1, 0);
    EXPECT_TRUE(perm.IsMember(17));
    EXPECT_FALSE(perm.IsMember(18));
    EXPECT_FALSE(perm.IsMember(-1));
}

TEST_F(VelCSetTest, UnionAndIntersectionGiveVolatileAscendingSetsThatCanBeRegistered) {
    const VelCollectionID cid = VelContextRef(m_context).CreateCollection(100);
    const VelCollectionRef coll(cid);
    const Ints order = {90, 3, 50, 6};
    const VelCSet perm(coll.CreateOrderedCSet(order.data(), 4));
    const VelCSet threes(coll.CreateCSetStrided(0, 3, 34, 1));
    const VelCSet tens = coll.CreateVolatileCSetStrided(0, 10, 10, 1);

    const VelCSet both = perm.Intersection(threes);
    EXPECT_TRUE(both.ID().IsNull());
    EXPECT_TRUE(both.AscendingID().IsNull());
    EXPECT_TRUE(both.IsAscending());
    EXPECT_EQ(OrderedOf(both), (Ints{3, 6, 90}));
    const VelCSet either = tens.Union(perm);
    EXPECT_EQ(MembersOf(either), (Ints{0, 3, 6, 10, 20, 30, 40, 50, 60, 70, 80, 90}));
    EXPECT_EQ(MembersOf(threes.Intersection(tens)), (Ints{0, 30, 60, 90}));
    EXPECT_EQ(MembersOf(threes.Union(VelCSet(coll.BiggestCSetID()))), Range(0, 100));

    VelCSet stored = either;
    const VelCSetID id = stored.RegisterWithCollection();
    EXPECT_EQ(stored.RegisterWithCollection().Compare(id), 0);
    EXPECT_TRUE(id.IsAscending());
    EXPECT_TRUE(either.ID().IsNull());  // the copy stays volatile
    Reopen(hdf_File::OpenFlagsReadWrite);
    EXPECT_EQ(MembersOf(VelCSet(Again(id))), MembersOf(either));
}

TEST_F(VelCSetTest, ExtendSpaceGrowsTheFullSetAndNeverLeavesAStaleOne) {
    const VelCollectionID cid = VelContextRef(m_context).CreateCollection(10);
    const VelCollectionRef coll(cid);
    const VelCSet before(coll.BiggestCSetID());
    coll.ExtendSpace(5);
    EXPECT_EQ(coll.Space(), 15);
    EXPECT_EQ(before.Size(), 10);  // a value made before keeps what it saw
    EXPECT_EQ(VelCSet(coll.BiggestCSetID()).Size(), 15);
    coll.Flush(true);
    coll.ExtendSpace(100);  // after the full set reached the file
    const int members[2] = {3, 114};
    const VelCSetID late = coll.CreateCSet(members, 2);
    EXPECT_EQ(VelCSet(coll.BiggestCSetID()).Bounds().highest, 114);
    Reopen(hdf_File::OpenFlagsReadWrite);
    const VelCollectionRef again(Again(cid));
    EXPECT_EQ(again.Space(), 115);
    EXPECT_EQ(MembersOf(VelCSet(again.BiggestCSetID())), Range(0, 115));
    EXPECT_EQ(MembersOf(VelCSet(Again(late))), (Ints{3, 114}));
    EXPECT_EQ(again.CreateColorVariant(0).Compare(Again(cid)), 0);
}

TEST_F(VelCSetTest, TwinsShareOneDecodedSetAndColorsAreRecorded) {
    const VelCollectionID cid = VelContextRef(m_context).CreateCollection(10);
    const Ints order = {5, 1, 7};
    const VelCSetID perm = VelCollectionRef(cid).CreateOrderedCSet(order.data(), 3);
    VelCollection& collection = VelManagerAccess::Get(m_context.Value()).Collection(cid);
    const VelCollection::Resolved p = collection.Resolve(perm, false);
    EXPECT_EQ(p.permutationIndex, perm.Index());
    const VelCollection::Resolved twin = collection.Resolve(p.ascendingID, false);
    EXPECT_EQ(twin.permutationIndex, -1);
    EXPECT_EQ(twin.set.Get(), p.set.Get());
    EXPECT_EQ(collection.Resolve(perm, false).set.Get(), p.set.Get());
    VelCollectionRef(cid).CreateColorVariant(5);
    EXPECT_TRUE(collection.HasColor(0));
    EXPECT_TRUE(collection.HasColor(5));
    EXPECT_FALSE(collection.HasColor(6));
}

TEST_F(VelCSetDeathTest, BadMembersStopWithTheirMessages) {
    const VelCollectionRef coll(VelContextRef(m_context).CreateCollection(100));
    const int dup[] = {1, 2, 2, 3}, unsorted[] = {3, 1, 2}, both[] = {3, 1, 3};
    const int outside[] = {0, 100}, negative[] = {-1, 4};
    ExpectAssertFailure(coll.CreateCSet(dup, 4), "numUniqueMembers == numMembers");
    ExpectAssertFailure(coll.CreateCSet(unsorted, 3), "IsSorted(membership, size)");
    ExpectAssertFailure(coll.CreateCSet(both, 3), "numUniqueMembers == numMembers");
    ExpectAssertFailure(coll.CreateOrderedCSet(both, 3), "numUniqueMembers == numMembers");
    ExpectAssertFailure(coll.CreateVolatileCSet(unsorted, 3), "IsSorted(membership, size)");
    const std::string outsideText =
        "inCollection && \"CSet members must lie in 0 .. size-1 of their collection\"";
    ExpectValidateFailure(coll.CreateCSet(outside, 2), outsideText);
    ExpectValidateFailure(coll.CreateOrderedCSet(negative, 2), outsideText);
    ExpectValidateFailure(coll.CreateCSetStrided(1, 3, 34, 1), outsideText);
    omi_BlkBitVect bits(101);
    bits.Set(100);
    ExpectValidateFailure(coll.CreateVolatileCSet(bits), outsideText);
    ExpectValidateFailure(coll.CreateCSetStrided(0, 2, 5, 3),
                          "validShape && \"invalid start, stride, count or block for a strided "
                          "CSet\"");
    ExpectAssertFailure(coll.CreateTempCSet(dup, 1),
                        "!\"VelCollection::CreateTempCSet is not yet impelemented\"");
    ExpectAssertFailure(coll.CreateColorVariant(64), "color < VelCollectionID::e_MaxColor");
    const std::string extendText =
        "fits && \"ExtendSpace needs a count >= 0 that keeps the size below 2^31\"";
    ExpectValidateFailure(coll.ExtendSpace(-1), extendText);
    const VelCollectionRef huge(VelContextRef(m_context).CreateCollection(INT32_MAX - 3));
    huge.ExtendSpace(3);
    EXPECT_EQ(huge.Space(), INT32_MAX);
    ExpectValidateFailure(huge.ExtendSpace(1), extendText);
}

TEST_F(VelCSetDeathTest, IDsMustNameTheirCSets) {
    const VelCollectionRef coll(VelContextRef(m_context).CreateCollection(100));
    const VelCollectionRef other(VelContextRef(m_context).CreateCollection(100));
    const int order[] = {5, 1};
    const VelCSetID perm = coll.CreateOrderedCSet(order, 2);
    VelCSetID forged = coll.BiggestCSetID();
    ExpectAssertFailure(VelCSet(forged.SetAscending(false)),
                        "!IsAscending() && m_permutationIndex != -1");
    VelCSetID upright = perm;
    ExpectValidateFailure(VelCSet(upright.SetAscending(true)),
                          "flagAgrees && \"an ascending CSet ID names a permutation CSet\"");
    VelCSetID beyond = VelCSetID(VelDynamicID(5, m_context.Value(), 0, int32_t(0x80000009)));
    ExpectValidateFailure(VelCSet{beyond},
                          "known && \"the CSet ID names no CSet of its collection\"");
    ExpectValidateFailure(coll.StoredCSetID(coll.NumCSets()),
                          "stored && \"no CSet is stored at that index\"");
    // One past the last CSet, in the form of a real identifier of the collection.
    const VelDynamicID last = coll.StoredCSetID(coll.NumCSets() - 1).DynamicID();
    const VelCSetID onePast(VelDynamicID(last.Category(), last.Context(), last.First(),
                                         int32_t(0x80000000u | unsigned(coll.NumCSets()))));
    ExpectValidateFailure(VelCSet{onePast},
                          "known && \"the CSet ID names no CSet of its collection\"");
    ExpectValidateFailure(VelCSet(perm).Union(VelCSet(other.EmptyCSetID())),
                          "sameCollection && \"Union and Intersection need CSets of one "
                          "collection\"");
    const VelCollectionRef variant(coll.CreateColorVariant(1));
    ExpectValidateFailure(VelCSet(perm).Intersection(VelCSet(variant.EmptyCSetID())),
                          "sameCollection && \"Union and Intersection need CSets of one "
                          "collection\"");
}

TEST_F(VelCSetDeathTest, WritesNeedAnOpenWritableCollection) {
    const VelCollectionID cid = VelContextRef(m_context).CreateCollection(10);
    VelCSet pending = VelCollectionRef(cid).CreateVolatileCSetStrided(0, 2, 5, 1);
    Reopen(hdf_File::OpenFlagsReadOnly);
    const VelCollectionRef readOnly(Again(cid));
    const int members[] = {1, 2};
    ExpectAssertFailure(readOnly.CreateCSet(members, 2), "!m_closed && !ReadOnly()");
    ExpectAssertFailure(readOnly.CreateCSetStrided(0, 1, 2, 1), "!m_closed && !ReadOnly()");
    ExpectAssertFailure(readOnly.ExtendSpace(1), "!m_closed && !ReadOnly()");
    ExpectAssertFailure(readOnly.CreateColorVariant(2), "!ReadOnly()");
    ExpectAssertFailure(VelContextRef(m_context).CreateCollection(5), "!ReadOnly()");
    VelCSet fromReadOnly = readOnly.CreateVolatileCSet(members, 2);
    ExpectAssertFailure(fromReadOnly.RegisterWithCollection(), "!m_closed && !ReadOnly()");
    // The first context is closed: its collection is gone with it.
    ExpectValidateFailure(pending.RegisterWithCollection(),
                          "context && \"no open context has this value\"");
    VelManager::CloseContext(m_context);
    ExpectValidateFailure(readOnly.CreateCSet(members, 2),
                          "context && \"no open context has this value\"");
    EXPECT_EQ(MembersOf(pending), (Ints{0, 2, 4, 6, 8}));  // values outlive their context
}

}  // namespace
