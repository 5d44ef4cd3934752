#include "context/VelIndexSet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <vector>

namespace {

using Set = che_RefPtr<VelIndexSet>;

std::vector<int> MembersOf(const VelIndexSet& s) {
    std::vector<int> out(static_cast<size_t>(s.Size()));
    s.Members(out.data());
    return out;
}

Set Ascending(const std::vector<int>& members) {
    return Set(VelIndexSet::FromAscending(members.data(), static_cast<int>(members.size())));
}

Set RoundTrip(const VelIndexSet& s, int collectionSize) {
    std::vector<int> stored(static_cast<size_t>(s.EncodedLength()));
    s.Encode(stored.data());
    const char* error = nullptr;
    Set back(VelIndexSet::Decode(stored.data(), int64_t(stored.size()), collectionSize, &error));
    EXPECT_FALSE(back.IsNull()) << error;
    return back;
}

// Random ascending sets mixing long runs and scattered members.
std::vector<int> RandomMembers(std::mt19937& rng, int universe) {
    std::vector<int> members;
    std::uniform_int_distribution<int> pick(0, 9);
    for (int m = 0; m < universe; ++m) {
        const int mode = (m / 37) % 3;  // stretches of dense, sparse and empty
        if ((mode == 0 && pick(rng) < 9) || (mode == 1 && pick(rng) == 0)) members.push_back(m);
    }
    return members;
}

TEST(VelIndexSetTest, FormFollowsTheShapeOfTheMembers) {
    EXPECT_EQ(Ascending({})->GetForm(), VelIndexSet::FormStrided);
    EXPECT_EQ(Ascending({4, 7, 10, 13})->GetForm(), VelIndexSet::FormStrided);
    EXPECT_EQ(Ascending({1, 2, 3, 10, 11, 12, 13, 20, 21})->GetForm(), VelIndexSet::FormRuns);
    EXPECT_EQ(Ascending({1, 5, 6, 9, 40})->GetForm(), VelIndexSet::FormList);
    // Runs of two, as many as half the members, are looked at as runs and found to be blocks.
    EXPECT_EQ(Ascending({0, 1, 5, 6})->GetForm(), VelIndexSet::FormStrided);

    // A whole collection of 10^8 members, and every third of them, take four ints each.
    Set full(VelIndexSet::FromStrided(0, 100000000, 1));
    Set third(VelIndexSet::FromStrided(2, 33333333, 3));
    EXPECT_EQ(full->EncodedLength(), 4);
    EXPECT_EQ(third->EncodedLength(), 4);
    EXPECT_TRUE(third->IsMember(99999998));
    EXPECT_FALSE(third->IsMember(99999999));
    EXPECT_FALSE(third->IsMember(3));
    int lo = -1, hi = -1;
    ASSERT_TRUE(third->Bounds(lo, hi));
    EXPECT_EQ(lo, 2);
    EXPECT_EQ(hi, 99999998);
}

TEST(VelIndexSetTest, EvenlySpacedBlocksTakeConstantSpace) {
    Set blocks(VelIndexSet::FromBlocks(10, 5, 4, 2));
    EXPECT_EQ(MembersOf(*blocks), std::vector<int>({10, 11, 15, 16, 20, 21, 25, 26}));
    EXPECT_EQ(blocks->EncodedLength(), 5);
    for (int m = 0; m < 30; ++m) EXPECT_EQ(blocks->IsMember(m), m >= 10 && m % 5 < 2) << m;
    int lo = -1, hi = -1;
    ASSERT_TRUE(blocks->Bounds(lo, hi));
    EXPECT_EQ(hi, 26);
    EXPECT_EQ(blocks->Runs().size(), 4u);
    EXPECT_EQ(MembersOf(*RoundTrip(*blocks, 27)), MembersOf(*blocks));

    // Found in explicit members and in merge results; blocks that touch make one range.
    Set found = Ascending({0, 1, 2, 7, 8, 9, 14, 15, 16});
    EXPECT_EQ(found->GetForm(), VelIndexSet::FormStrided);
    EXPECT_EQ(found->EncodedLength(), 5);
    Set touching(VelIndexSet::FromBlocks(3, 2, 4, 2));
    EXPECT_EQ(touching->EncodedLength(), 4);
    EXPECT_EQ(MembersOf(*touching), std::vector<int>({3, 4, 5, 6, 7, 8, 9, 10}));
    Set halves(VelIndexSet::Intersection(*blocks, *Set(VelIndexSet::FromStrided(0, 20, 2))));
    EXPECT_EQ(MembersOf(*halves), std::vector<int>({10, 16, 20, 26}));
    Set pairs(VelIndexSet::Union(*Set(VelIndexSet::FromStrided(0, 10, 10)),
                                 *Set(VelIndexSet::FromStrided(1, 10, 10))));
    EXPECT_EQ(pairs->GetForm(), VelIndexSet::FormStrided);
    EXPECT_EQ(pairs->Size(), 20);

    // A stored list of evenly spaced members is not kept as a list.
    const int stored[] = {3, 4, 0, 2, 4, 6};
    const char* error = nullptr;
    Set even(VelIndexSet::Decode(stored, 6, 10, &error));
    ASSERT_FALSE(even.IsNull());
    EXPECT_EQ(even->GetForm(), VelIndexSet::FormStrided);
}

TEST(VelIndexSetTest, EveryFormRoundTripsThroughItsEncoding) {
    std::mt19937 rng(7);
    for (int trial = 0; trial < 40; ++trial) {
        const std::vector<int> members = RandomMembers(rng, 2000);
        Set set = Ascending(members);
        Set back = RoundTrip(*set, 2000);
        EXPECT_EQ(back->GetForm(), set->GetForm());
        EXPECT_EQ(MembersOf(*back), members);
        for (int m = 0; m < 2000; m += 7)
            EXPECT_EQ(back->IsMember(m), std::binary_search(members.begin(), members.end(), m));
    }
    std::vector<int> order = {9, 3, 7, 0, 4};
    Set perm(VelIndexSet::FromPermutation(order.data(), 5));
    Set back = RoundTrip(*perm, 10);
    std::vector<int> ordered(5);
    back->OrderedMembers(ordered.data());
    EXPECT_EQ(ordered, order);
    EXPECT_EQ(MembersOf(*back), std::vector<int>({0, 3, 4, 7, 9}));
    EXPECT_FALSE(back->IsAscending());
    EXPECT_TRUE(back->IsMember(7));
    EXPECT_FALSE(back->IsMember(8));
}

TEST(VelIndexSetTest, UnionAndIntersectionAgreeWithTheStandardAlgorithms) {
    std::mt19937 rng(11);
    for (int trial = 0; trial < 40; ++trial) {
        const std::vector<int> a = RandomMembers(rng, 3000), b = RandomMembers(rng, 3000);
        std::vector<int> expectUnion, expectBoth;
        std::set_union(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(expectUnion));
        std::set_intersection(a.begin(), a.end(), b.begin(), b.end(),
                              std::back_inserter(expectBoth));
        Set sa = Ascending(a), sb = Ascending(b);
        EXPECT_EQ(MembersOf(*Set(VelIndexSet::Union(*sa, *sb))), expectUnion);
        EXPECT_EQ(MembersOf(*Set(VelIndexSet::Intersection(*sa, *sb))), expectBoth);
    }
    // Strided and permutation operands; the results are ascending.
    Set evens(VelIndexSet::FromStrided(0, 50, 2));
    Set threes(VelIndexSet::FromStrided(0, 34, 3));
    Set sixes(VelIndexSet::Intersection(*evens, *threes));
    EXPECT_EQ(sixes->GetForm(), VelIndexSet::FormStrided);
    EXPECT_EQ(sixes->Size(), 17);
    std::vector<int> order = {12, 5, 6, 99};
    Set perm(VelIndexSet::FromPermutation(order.data(), 4));
    Set both(VelIndexSet::Intersection(*perm, *evens));
    EXPECT_TRUE(both->IsAscending());
    EXPECT_EQ(MembersOf(*both), std::vector<int>({6, 12}));
    Set either(VelIndexSet::Union(*perm, *Set(VelIndexSet::FromStrided(4, 3, 1))));
    EXPECT_EQ(MembersOf(*either), std::vector<int>({4, 5, 6, 12, 99}));
    EXPECT_EQ(either->Runs().size(), 3u);
}

TEST(VelIndexSetTest, BitVectorsConvertBothWays) {
    omi_BlkBitVect bits(300);
    bits.Set(0);  // the first member is a member like any other
    bits.SetRange(10, 100);
    bits.Set(250);
    Set set(VelIndexSet::FromBitVector(bits));
    EXPECT_EQ(set->Size(), 102);
    omi_BlkBitVect back;
    set->AsBitVector(back, 300);
    EXPECT_TRUE(back == bits);
}

TEST(VelIndexSetTest, DecodeRefusesWhatEncodeCannotProduce) {
    struct Case {
        std::vector<int> ints;
        const char* why;
    };
    const Case cases[] = {
        {{1}, "index set shorter than its header"},
        {{1, 3, 0}, "strided index set of the wrong length"},
        {{1, 3, 5, 3}, "strided index set reaches past the collection"},  // 5, 8, 11 in 10
        {{1, 3, 0, 0}, "strided index set with bad step"},
        {{1, 4, 0, 3, 3}, "strided index set with bad blocks"},  // blocks that touch
        {{1, 5, 0, 4, 2}, "strided index set with bad blocks"},  // not whole blocks
        {{1, 4, 0, 9, 2}, "strided index set reaches past the collection"},
        {{1, 4, 0, 3, 2, 0}, "strided index set of the wrong length"},
        {{1, 11, 0, 1}, "index set count outside the collection"},
        {{2, 4, 2, 0, 2}, "run index set of the wrong length"},
        {{2, 4, 2, 0, 2, 2, 2}, "runs not strictly ascending"},  // touching runs
        {{2, 4, 2, 0, 2, 9, 2}, "run outside the collection"},
        {{2, 2, 1, 9, 2}, "run outside the collection"},        // 9, 10 in 10
        {{2, 2, 2, 0, 2, 5, 0}, "run outside the collection"},  // an empty run
        {{2, 1, 2, 0, 2, 5, -1}, "run outside the collection"},
        {{2, 5, 2, 0, 2, 4, 2}, "run lengths disagree with the count"},
        {{2, 4, 1073741824, 0, 2}, "run index set of the wrong length"},
        {{3, 3, 1, 2}, "member index set of the wrong length"},
        {{3, 3, 1, 4, 2}, "listed members not ascending"},
        {{3, 3, 1, 1, 2}, "member listed twice"},
        {{4, 3, 7, 1, 7}, "member listed twice"},
        {{4, 2, 7, 10}, "member outside the collection"},
        {{4, 2, -1, 3}, "member outside the collection"},
        {{9, 0}, "unknown index set form"},
    };
    for (const Case& c : cases) {
        const char* error = nullptr;
        Set set(VelIndexSet::Decode(c.ints.data(), int64_t(c.ints.size()), 10, &error));
        EXPECT_TRUE(set.IsNull());
        EXPECT_STREQ(error, c.why);
    }
}

}  // namespace
