#include "vel/cache/che_Cache.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// An item that records its own destruction and flushes.
struct Probe : che_Item {
    Probe(int id, int64_t weight, std::vector<int>* died) : id(id), weight(weight), died(died) {}
    ~Probe() override { died->push_back(id); }
    int64_t Weight() const override { return weight; }
    void Flush() override { ++flushes; }
    int id;
    int64_t weight;
    std::vector<int>* died;
    int flushes = 0;
};

che_Key Key(uint64_t space, uint64_t item) {
    return che_Key{space, item};
}

TEST(CheCacheTest, ReferencedItemsSurviveAnyBoundAndIdleOnesAreEvictedOldestFirst) {
    std::vector<int> died;
    che_Cache cache("VelTstISCache", 2, 1000);
    {
        che_Handle<Probe> a = cache.Insert(Key(1, 1), new Probe(1, 10, &died));
        che_Handle<Probe> b = cache.Insert(Key(1, 2), new Probe(2, 10, &died));
        che_Handle<Probe> c = cache.Insert(Key(1, 3), new Probe(3, 10, &died));
        che_Handle<Probe> d = cache.Insert(Key(1, 4), new Probe(4, 10, &died));
        EXPECT_EQ(cache.Size(), 4);
        EXPECT_TRUE(died.empty());
        a = che_Handle<Probe>();
        b = che_Handle<Probe>();
        EXPECT_EQ(cache.IdleCount(), 2);
        // Touch 1 so that 2 is now the least recently used.
        EXPECT_EQ(cache.Find<Probe>(Key(1, 1))->id, 1);
        c = che_Handle<Probe>();
        EXPECT_EQ(died, std::vector<int>({2}));
        EXPECT_TRUE(cache.Find<Probe>(Key(1, 2)).IsNull());
        EXPECT_EQ(d->id, 4);
    }
    EXPECT_EQ(died, std::vector<int>({2, 1}));  // 4 went idle, 1 was the oldest idle then
    EXPECT_EQ(cache.IdleCount(), 2);
}

TEST(CheCacheTest, WeightBoundEvictsUntilTheIdleWeightFits) {
    std::vector<int> died;
    che_Cache cache("weights", 100, 50);
    cache.Insert(Key(0, 1), new Probe(1, 30, &died));
    cache.Insert(Key(0, 2), new Probe(2, 30, &died));
    EXPECT_EQ(died, std::vector<int>({1}));
    EXPECT_EQ(cache.IdleWeight(), 30);
    cache.Insert(Key(0, 3), new Probe(3, 80, &died));  // heavier than the bound on its own
    EXPECT_EQ(died, std::vector<int>({1, 2, 3}));
    EXPECT_EQ(cache.Size(), 0);
}

TEST(CheCacheTest, EraseAndReplaceNeverGiveBackAStaleObject) {
    std::vector<int> died;
    che_Cache cache("stale", 10, 1000);
    che_Handle<Probe> held = cache.Insert(Key(7, 1), new Probe(1, 1, &died));
    cache.Insert(Key(7, 1), new Probe(2, 1, &died));  // a rewrite replaces the old object
    EXPECT_EQ(cache.Find<Probe>(Key(7, 1))->id, 2);
    EXPECT_EQ(held->id, 1);  // its holder keeps it alive
    EXPECT_TRUE(died.empty());
    held = che_Handle<Probe>();
    EXPECT_EQ(died, std::vector<int>({1}));

    cache.Insert(Key(8, 1), new Probe(3, 1, &died));
    cache.Insert(Key(8, 2), new Probe(4, 1, &died));
    cache.EraseSpace(7);
    EXPECT_EQ(died, std::vector<int>({1, 2}));
    EXPECT_TRUE(cache.Find<Probe>(Key(7, 1)).IsNull());
    EXPECT_EQ(cache.Size(), 2);
}

TEST(CheCacheTest, FlushReachesReferencedAndIdleItemsAndClearOutlivesNoHolder) {
    std::vector<int> died;
    auto* cache = new che_Cache("flush", 10, 1000);
    che_Handle<Probe> held = cache->Insert(Key(1, 1), new Probe(1, 1, &died));
    cache->Insert(Key(1, 2), new Probe(2, 1, &died));
    cache->FlushAll();
    EXPECT_EQ(held->flushes, 1);
    EXPECT_EQ(cache->Find<Probe>(Key(1, 2))->flushes, 1);
    delete cache;  // the idle item dies with the cache, the held one with its holder
    EXPECT_EQ(died, std::vector<int>({2}));
    EXPECT_FALSE(held->IsCached());
    held = che_Handle<Probe>();
    EXPECT_EQ(died, std::vector<int>({2, 1}));
}

}  // namespace
