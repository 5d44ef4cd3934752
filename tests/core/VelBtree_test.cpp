#include "vel/core/VelBtree.h"

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "VelTestSupport.h"

namespace {

using Map = VelBtree<cow_String, int>;
using Node = Map::Node;

// "key<height>(left,right)", "." for an absent child, a leaf without brackets.
std::string Shape(const Node* node) {
    if (!node) return ".";
    std::string text = node->Key().str() + std::to_string(node->Height());
    if (!node->Left() && !node->Right()) return text;
    return text + "(" + Shape(node->Left()) + "," + Shape(node->Right()) + ")";
}

Map Build(const std::string& keys) {
    Map map;
    for (char c : keys) map.Insert(cow_String(std::string(1, c)), c, false);
    return map;
}

TEST(VelBtreeTest, SingleRotationsWhereALeafWeighsAsMuchAsNoChild) {
    Map map = Build("abc");
    EXPECT_EQ(Shape(map.Root()), "a2(.,b1(.,c0))");
    map.Insert("d", 0, false);
    EXPECT_EQ(Shape(map.Root()), "b2(a0,c1(.,d0))");
    EXPECT_EQ(map.Count(), 4);

    // The heavy child leaning the other way still gets a single rotation, never a double one.
    EXPECT_EQ(Shape(Build("acb").Root()), "a2(.,c1(b0,.))");
    EXPECT_EQ(Shape(Build("adcb").Root()), "d3(a2(.,c1(b0,.)),.)");
    EXPECT_EQ(Shape(Build("dcba").Root()), "c2(b1(a0,.),d0)");
}

TEST(VelBtreeTest, InsertOfAnExistingKeyReplacesOnlyWhenAsked) {
    Map map = Build("bac");
    EXPECT_FALSE(map.Insert("a", 100, false));
    EXPECT_EQ(map.Get("a"), 'a');
    EXPECT_FALSE(map.Insert("a", 100, true));
    EXPECT_EQ(map.Get("a"), 100);
    EXPECT_EQ(map.Count(), 3);
    EXPECT_TRUE(map.Insert("", 5, false));
    EXPECT_EQ(map.Count(), 4);

    EXPECT_EQ(*map.Find("c"), 'c');
    EXPECT_EQ(map.Find("z"), nullptr);
    EXPECT_TRUE(map.IsMember(""));
    EXPECT_FALSE(map.IsMember("bb"));
    const Map& constant = map;
    EXPECT_EQ(constant.Get("b"), 'b');
    // The value sits at the start of its node.
    EXPECT_EQ(static_cast<const void*>(map.Root()), static_cast<const void*>(map.Find("b")));
}

TEST(VelBtreeTest, RemoveUnlinksAsSpecifiedAndRebalancesThePath) {
    Map empty;
    EXPECT_FALSE(empty.Remove("a"));
    Map single = Build("a");
    EXPECT_FALSE(single.Remove("b"));
    EXPECT_TRUE(single.Remove("a"));
    EXPECT_EQ(single.Root(), nullptr);
    EXPECT_EQ(single.Count(), 0);

    Map leaf = Build("bac");
    EXPECT_TRUE(leaf.Remove("c"));
    EXPECT_EQ(Shape(leaf.Root()), "b1(a0,.)");

    Map oneChild = Build("abc");
    EXPECT_TRUE(oneChild.Remove("b"));
    EXPECT_EQ(Shape(oneChild.Root()), "a1(.,c0)");
    EXPECT_TRUE(oneChild.Remove("a"));
    EXPECT_EQ(Shape(oneChild.Root()), "c0");

    // The successor e is two levels below d's right child: e takes d's place, f takes e's
    // (absent) right child, and only f and e get new heights -- h keeps its old 2.
    Map deep = Build("dbhacfie");
    EXPECT_EQ(Shape(deep.Root()), "d3(b1(a0,c0),h2(f1(e0,.),i0))");
    EXPECT_TRUE(deep.Remove("d"));
    EXPECT_EQ(Shape(deep.Root()), "e3(b1(a0,c0),h2(f0,i0))");
    EXPECT_EQ(deep.Count(), 7);

    // The successor is the right child itself.
    Map near = Build("bac");
    EXPECT_TRUE(near.Remove("b"));
    EXPECT_EQ(Shape(near.Root()), "c1(a0,.)");

    // Emptying the left side rotates at the root on the way back up.
    Map lopsided = Build("dbfacegh");
    EXPECT_EQ(Shape(lopsided.Root()), "d3(b1(a0,c0),f2(e0,g1(.,h0)))");
    lopsided.Remove("a");
    lopsided.Remove("c");
    EXPECT_EQ(Shape(lopsided.Root()), "f2(d1(b0,e0),g1(.,h0))");
    EXPECT_EQ(lopsided.Count(), 6);
}

TEST(VelBtreeTest, StringKeysCompareAsUnsignedBytes) {
    Map map;
    for (const char* key : {"\xC3\xA9", "z", "", "Z", "ab", "a"}) map.Insert(key, 0, false);
    VelBtreeIterator<cow_String, int> it(map);
    std::vector<std::string> order;
    for (it.First(); !it.IsDone(); it.Next()) order.push_back(it.CurrentKey().str());
    EXPECT_EQ(order, (std::vector<std::string>{"", "Z", "a", "ab", "z", "\xC3\xA9"}));
}

// Heights follow the rule at every node of a tree built by insertions only.
int CheckHeights(const Node* node) {
    if (!node) return -1;
    int expected = std::max(CheckHeights(node->Left()), CheckHeights(node->Right())) + 1;
    EXPECT_EQ(node->Height(), expected) << node->Key();
    return node->Height();
}

TEST(VelBtreeTest, RandomKeysAgreeWithStdMapBothWays) {
    std::mt19937 random(20240613);
    std::uniform_int_distribution<int> letter('a', 'h');
    std::map<std::string, int> reference;
    Map map;
    for (int i = 0; i < 3000; ++i) {
        std::string key(1 + i % 5, 'a');
        for (char& c : key) c = static_cast<char>(letter(random));
        EXPECT_EQ(map.Insert(key, i, true), reference.count(key) == 0);
        reference[key] = i;
    }
    CheckHeights(map.Root());
    std::vector<std::string> keys;
    for (const auto& entry : reference) keys.push_back(entry.first);
    std::shuffle(keys.begin(), keys.end(), random);
    for (size_t i = 0; i < keys.size(); i += 3) {
        EXPECT_TRUE(map.Remove(keys[i]));
        EXPECT_FALSE(map.Remove(keys[i]));
        reference.erase(keys[i]);
    }
    ASSERT_EQ(map.Count(), static_cast<int>(reference.size()));

    VelBtreeIterator<cow_String, int> it(map);
    auto forward = reference.begin();
    for (it.First(); !it.IsDone(); it.Next(), ++forward) {
        ASSERT_NE(forward, reference.end());
        EXPECT_EQ(it.CurrentKey().str(), forward->first);
        EXPECT_EQ(it.CurrentValue(), forward->second);
    }
    EXPECT_EQ(forward, reference.end());
    auto backward = reference.rbegin();
    for (it.Last(); !it.IsDone(); it.Previous(), ++backward) {
        ASSERT_NE(backward, reference.rend());
        EXPECT_EQ(it.CurrentKey().str(), backward->first);
    }
    EXPECT_EQ(backward, reference.rend());
    for (const auto& entry : reference) EXPECT_EQ(map.Get(entry.first), entry.second);

    // Stepping back and forth around every entry returns to it.
    for (it.First(); !it.IsDone(); it.Next()) {
        cow_String here = it.CurrentKey();
        it.Next();
        if (it.IsDone()) break;
        it.Previous();
        EXPECT_EQ(it.CurrentKey(), here);
    }
}

TEST(VelBtreeTest, IterationOfAnEmptyMapEndsAtOnce) {
    Map map;
    VelBtreeIterator<cow_String, int> it(map);
    EXPECT_TRUE(it.IsDone());
    it.First();
    EXPECT_TRUE(it.IsDone());
    EXPECT_EQ(it.Stack(), nullptr);
    it.Last();
    EXPECT_TRUE(it.IsDone());

    // The stack holds the path from the root to the current node.
    Map chain = Build("dbfa");
    VelBtreeIterator<cow_String, int> walk(chain);
    walk.First();
    std::string path;
    for (const VelBtreeNodeLink<cow_String, int>* cell = walk.Stack(); cell; cell = cell->Next())
        path += cell->Node()->Key().str();
    EXPECT_EQ(path, "abd");
}

TEST(VelBtreeTest, SwapCopyAndClear) {
    Map left = Build("abcd"), right = Build("xy");
    left.Swap(right);
    EXPECT_EQ(Shape(left.Root()), "x1(.,y0)");
    EXPECT_EQ(left.Count(), 2);
    EXPECT_EQ(Shape(right.Root()), "b2(a0,c1(.,d0))");
    EXPECT_EQ(right.Count(), 4);

    Map copy(right);
    EXPECT_EQ(Shape(copy.Root()), Shape(right.Root()));
    EXPECT_EQ(copy.Count(), 4);
    copy.Insert("a", -1, true);
    copy.Remove("d");
    EXPECT_EQ(right.Get("a"), 'a');
    EXPECT_TRUE(right.IsMember("d"));
    left = right;
    EXPECT_EQ(Shape(left.Root()), Shape(right.Root()));

    right.Clear();
    EXPECT_EQ(right.Root(), nullptr);
    EXPECT_EQ(right.Count(), 0);
    EXPECT_EQ(left.Count(), 4);
}

TEST(VelBtreeDeathTest, GetOfAnAbsentKeyStops) {
    Map map = Build("ab");
    ExpectValidateFailure(map.Get("c"), "value && \"the key is not in the map\"");
    VelBtreeIterator<cow_String, int> it(map);
    ExpectAssertFailure(it.CurrentKey(), "m_Top && \"the iteration is over\"");
}

}  // namespace

// A key type with its own order, declared after the tree: the maps find it by argument-dependent
// lookup when they are instantiated.
struct Descending {
    int value;
};
int VelCompareKeys(const Descending& a, const Descending& b) {
    return b.value - a.value;
}

namespace {

TEST(VelBtreeTest, KeyTypesBringTheirOwnComparison) {
    VelBtree<Descending, int> map;
    for (int v : {3, 1, 4, 5, 9, 2, 6}) map.Insert(Descending{v}, v, false);
    VelBtreeIterator<Descending, int> it(map);
    std::vector<int> order;
    for (it.First(); !it.IsDone(); it.Next()) order.push_back(it.CurrentKey().value);
    EXPECT_EQ(order, (std::vector<int>{9, 6, 5, 4, 3, 2, 1}));
    EXPECT_EQ(*map.Find(Descending{4}), 4);
}

}  // namespace
