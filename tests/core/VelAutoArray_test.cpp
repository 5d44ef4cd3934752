#include "vel/core/VelAutoArray.h"

#include <vector>

#include "VelTestSupport.h"
#include "vel/core/VelHolder.h"

namespace {

struct Item {
    static std::vector<int>* destroyed;
    explicit Item(int i) : id(i) {}
    ~Item() {
        if (destroyed) destroyed->push_back(id);
    }
    int id;
};
std::vector<int>* Item::destroyed = nullptr;

class ItemRef : public VelWeakReference<Item> {
public:
    using VelWeakReference::IsAlive;
};

using ItemHolder = VelHolder<Item, ItemRef>;
using ItemArray = VelAutoArray<ItemHolder>;

void Fill(ItemArray& array, int n, int first = 0) {
    for (int i = 0; i < n; ++i) array.PushBack(ItemHolder::Create(first + i));
}

TEST(VelAutoArrayTest, CapacityStartsAtSixteenThenDoubles) {
    ItemArray array;
    EXPECT_EQ(array.Capacity(), 0);
    Fill(array, 1);
    EXPECT_EQ(array.Capacity(), 16);
    Fill(array, 15, 1);
    EXPECT_EQ(array.Capacity(), 16);
    Fill(array, 1, 16);
    EXPECT_EQ(array.Capacity(), 32);
    EXPECT_EQ(array.Size(), 17);
    // Relocation by realloc kept every holder intact.
    for (int i = 0; i < 17; ++i) EXPECT_EQ(array[i]->id, i);

    ItemArray reserved(5);
    EXPECT_EQ(reserved.Capacity(), 5);
    Fill(reserved, 6);
    EXPECT_EQ(reserved.Capacity(), 10);
    // One push of many grows as often as needed at once.
    reserved.PushBack(ItemHolder(), 30);
    EXPECT_EQ(reserved.Capacity(), 40);
    EXPECT_EQ(reserved.Size(), 36);
}

TEST(VelAutoArrayTest, PushBackMovesTheValueIntoTheFirstSlotOnly) {
    ItemArray array;
    ItemHolder holder = ItemHolder::Create(42);
    ItemRef ref = holder.Get();
    array.PushBack(holder, 3);
    EXPECT_FALSE(holder);
    ASSERT_EQ(array.Size(), 3);
    EXPECT_EQ(array[0]->id, 42);
    EXPECT_FALSE(array[1]);
    EXPECT_FALSE(array[2]);
    EXPECT_TRUE(ref.IsAlive());

    // Nothing appended, and the holder passed in is destroyed.
    ItemHolder unused = ItemHolder::Create(7);
    ItemRef unusedRef = unused.Get();
    array.PushBack(unused, 0);
    EXPECT_EQ(array.Size(), 3);
    EXPECT_FALSE(unusedRef.IsAlive());
}

TEST(VelAutoArrayTest, ClearingKeepsABufferThatNeverHeldAnElement) {
    std::vector<int> destroyed;
    Item::destroyed = &destroyed;
    ItemArray reservedOnly(8);
    reservedOnly.Clear();
    EXPECT_EQ(reservedOnly.Capacity(), 8);
    EXPECT_NE(reservedOnly.begin(), nullptr);

    ItemArray used;
    Fill(used, 3);
    ItemRef ref = used[1].Get();
    used.Clear();
    EXPECT_EQ(destroyed, (std::vector<int>{2, 1, 0}));
    EXPECT_EQ(used.Size(), 0);
    EXPECT_EQ(used.Capacity(), 0);
    EXPECT_EQ(used.begin(), nullptr);
    EXPECT_FALSE(ref.IsAlive());
    Item::destroyed = nullptr;
}

TEST(VelAutoArrayTest, MovingLeavesTheSourceEmpty) {
    const auto expectEmpty = [](const ItemArray& a) {
        EXPECT_TRUE(a.begin() == nullptr && a.Size() == 0 && a.Capacity() == 0);
    };
    ItemArray source;
    Fill(source, 2);
    ItemArray taken(source);
    expectEmpty(source);
    ASSERT_EQ(taken.Size(), 2);
    ItemArray marked(ItemArray::VelAutoArrayMoveSrc{taken});
    expectEmpty(taken);
    EXPECT_EQ(marked[1]->id, 1);
    EXPECT_EQ(marked.Capacity(), 16);

    ItemArray assigned;
    Fill(assigned, 1);
    assigned = std::move(marked);
    EXPECT_EQ(assigned.Size(), 2);
    EXPECT_EQ(marked.Size(), 0);
}

TEST(VelAutoArrayDeathTest, BadIndexStops) {
    ItemArray array;
    Fill(array, 2);
    ExpectValidateFailure(array[2], "i >=0 && i < m_Size");
    ExpectValidateFailure(array[-1], "i >=0 && i < m_Size");
}

}  // namespace
