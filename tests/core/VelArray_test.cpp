#include "vel/core/VelArray.h"

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "VelTestSupport.h"
#include "vel/platform/cow_String.h"

namespace {

std::vector<int> Contents(const VelArray<int>& array) {
    std::vector<int> out;
    for (int i = 0; i < array.Size(); ++i) out.push_back(array[i]);
    return out;
}

VelArray<int> Iota(int n, int first) {
    VelArray<int> array(n);
    for (int i = 0; i < n; ++i) array[i] = first + i;
    return array;
}

TEST(VelArrayDeathTest, BadIndicesAndNegativeSizesStop) {
    VelArray<int> array = Iota(3, 0);
    const VelArray<int>& constant = array;
    ExpectValidateFailure(array[3], "i >=0 && i < m_Size");
    ExpectValidateFailure(constant[-1], "i >=0 && i < m_Size");
    ExpectValidateFailure(array.CheckIndex(7), "i >=0 && i < m_Size");
    ExpectValidateFailure(VelArray<int>()[0], "i >=0 && i < m_Size");
    ExpectAssertFailure(VelArray<int>(-1), "newSize >= 0");
    ExpectAssertFailure(array.SetSize(-2), "newSize >= 0");
    ExpectAssertFailure(VelArrayDefaultManagementPolicy<int>::NewFromOld(2, 3, nullptr),
                        "0 == oldSize || (0 < oldSize && 0 != oldData)");
}

TEST(VelArrayTest, SetSizeKeepsTheLeadingElements) {
    VelArray<int> array = Iota(4, 10);
    array.SetSize(6);
    ASSERT_EQ(array.Size(), 6);
    std::vector<int> grown = Contents(array);
    EXPECT_EQ(std::vector<int>(grown.begin(), grown.begin() + 4),
              (std::vector<int>{10, 11, 12, 13}));
    array.SetSize(2);
    EXPECT_EQ(Contents(array), (std::vector<int>{10, 11}));
    array.SetSize(0);
    EXPECT_EQ(array.Size(), 0);
    array.SetSize(1);
    array[0] = 5;
    EXPECT_EQ(Contents(array), (std::vector<int>{5}));
    EXPECT_EQ(VelArray<int>(0).Size(), 0);
}

TEST(VelArrayTest, CopiesAreDeepAndIndependent) {
    VelArray<int> original = Iota(3, 1);
    VelArray<int> copy(original);
    copy[0] = 99;
    EXPECT_EQ(Contents(original), (std::vector<int>{1, 2, 3}));

    VelArray<int> target = Iota(5, 7);
    target = original;
    EXPECT_EQ(Contents(target), (std::vector<int>{1, 2, 3}));
    target = target;
    EXPECT_EQ(Contents(target), (std::vector<int>{1, 2, 3}));
    target = VelArray<int>();
    EXPECT_EQ(target.Size(), 0);

    VelArray<VelArray<int>> nested(2);
    nested[1] = Iota(2, 4);
    VelArray<VelArray<int>> nestedCopy(nested);
    nestedCopy[1][0] = -1;
    EXPECT_EQ(nested[0].Size(), 0);
    EXPECT_EQ(Contents(nested[1]), (std::vector<int>{4, 5}));
    EXPECT_EQ(Contents(nestedCopy[1]), (std::vector<int>{-1, 5}));

    VelArray<cow_String> names(2);
    EXPECT_TRUE(names[0].IsEmpty());
    names[1] = "x";
    names.SetSize(3);
    EXPECT_EQ(names[1], cow_String("x"));
    EXPECT_TRUE(names[2].IsEmpty());
}

// Records the order in which elements are copied and destroyed.
struct Traced {
    static std::vector<int>* log;
    int id = 0;
    Traced() = default;
    Traced(const Traced& other) = default;
    Traced& operator=(const Traced& other) {
        id = other.id;
        log->push_back(id);
        return *this;
    }
    ~Traced() { log->push_back(-id); }
};
std::vector<int>* Traced::log = nullptr;

TEST(VelArrayTest, ClassElementsAreCopiedAndDestroyedLastFirst) {
    std::vector<int> log;
    Traced::log = &log;
    {
        VelArray<Traced> array(3);
        for (int i = 0; i < 3; ++i) array[i].id = i + 1;
        log.clear();
        array.SetSize(2);
        // Copies of elements 2 then 1, then the old buffer destroyed from the last element.
        EXPECT_EQ(log, (std::vector<int>{2, 1, -3, -2, -1}));
        log.clear();
    }
    EXPECT_EQ(log, (std::vector<int>{-2, -1}));
    Traced::log = nullptr;
}

int CompareNames(const void* a, const void* b) {
    return std::string(*static_cast<const char* const*>(a))
        .compare(*static_cast<const char* const*>(b));
}

int CompareWords(const void* a, const void* b) {
    int64_t x = *static_cast<const int64_t*>(a), y = *static_cast<const int64_t*>(b);
    return x < y ? -1 : x > y;
}

struct WordPair {
    int64_t first, second;
};

TEST(VelArrayTest, SortHandsQsortEightByteElements) {
    VelArray<const char*> names(4);
    const char* input[] = {"pear", "apple", "fig", "banana"};
    for (int i = 0; i < 4; ++i) names[i] = input[i];
    names.Sort(CompareNames);
    EXPECT_EQ(std::vector<std::string>(&names[0], &names[0] + 4),
              (std::vector<std::string>{"apple", "banana", "fig", "pear"}));

    // Wider elements: qsort sees Size() words of 8 bytes, the leading half of this buffer.
    VelArray<WordPair> pairs(3);
    pairs[0] = {5, 4};
    pairs[1] = {3, 2};
    pairs[2] = {1, 0};
    pairs.Sort(CompareWords);
    const int64_t* words = &pairs[0].first;
    EXPECT_EQ(std::vector<int64_t>(words, words + 6), (std::vector<int64_t>{3, 4, 5, 2, 1, 0}));
}

TEST(VelArrayTest, PrintForm) {
    std::ostringstream out;
    out << Iota(3, 1) << "|" << VelArray<int>() << "|" << Iota(1, -4);
    EXPECT_EQ(out.str(), "( 1 2 3 )|( )|( -4 )");
}

}  // namespace
