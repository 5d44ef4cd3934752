// VelBtree against std::map with the same 10^6 string keys, inserted, found and walked in the
// same order in the same run.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "vel/core/VelBtree.h"

namespace {

constexpr int kKeyCount = 1000000;

// Distinct random 12-letter keys (short enough for both maps to keep them inline), in insertion
// order, and the same keys in a second order for the look-ups.
struct Keys {
    std::vector<std::string> insertOrder, findOrder;

    Keys() {
        std::mt19937_64 random(0x5eed);
        std::uniform_int_distribution<int> letter('a', 'z');
        while (static_cast<int>(insertOrder.size()) < kKeyCount) {
            std::string key(12, ' ');
            for (char& c : key) c = static_cast<char>(letter(random));
            insertOrder.push_back(key);
            if (static_cast<int>(insertOrder.size()) == kKeyCount) {
                std::sort(insertOrder.begin(), insertOrder.end());
                insertOrder.erase(std::unique(insertOrder.begin(), insertOrder.end()),
                                  insertOrder.end());
            }
        }
        std::shuffle(insertOrder.begin(), insertOrder.end(), random);
        findOrder = insertOrder;
        std::shuffle(findOrder.begin(), findOrder.end(), random);
    }
};

const Keys& TheKeys() {
    static const Keys keys;
    return keys;
}

// The library's map over cow_String keys.
struct VelMap {
    using Key = cow_String;
    VelBtree<cow_String, int> map;
    void Insert(const Key& key, int value) { map.Insert(key, value, false); }
    const int* Find(const Key& key) const { return map.Find(key); }
    long long Sum() const {
        long long sum = 0;
        VelBtreeIterator<cow_String, int> it(map);
        for (it.First(); !it.IsDone(); it.Next()) sum += it.CurrentValue();
        return sum;
    }
};

// The reference.
struct StdMap {
    using Key = std::string;
    std::map<std::string, int> map;
    void Insert(const Key& key, int value) { map.emplace(key, value); }
    const int* Find(const Key& key) const {
        auto found = map.find(key);
        return found == map.end() ? nullptr : &found->second;
    }
    long long Sum() const {
        long long sum = 0;
        for (const auto& entry : map) sum += entry.second;
        return sum;
    }
};

template <class Map>
std::vector<typename Map::Key> Convert(const std::vector<std::string>& keys) {
    return std::vector<typename Map::Key>(keys.begin(), keys.end());
}

template <class Map>
void Fill(Map& map, const std::vector<typename Map::Key>& keys) {
    for (size_t i = 0; i < keys.size(); ++i) map.Insert(keys[i], static_cast<int>(i));
}

template <class Map>
void BM_Insert(benchmark::State& state) {
    const auto keys = Convert<Map>(TheKeys().insertOrder);
    for (auto _ : state) {
        auto* map = new Map;
        Fill(*map, keys);
        benchmark::DoNotOptimize(map);
        state.PauseTiming();
        delete map;
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(keys.size()));
}

template <class Map>
void BM_Find(benchmark::State& state) {
    Map map;
    Fill(map, Convert<Map>(TheKeys().insertOrder));
    const auto keys = Convert<Map>(TheKeys().findOrder);
    for (auto _ : state) {
        for (const auto& key : keys) benchmark::DoNotOptimize(map.Find(key));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(keys.size()));
}

template <class Map>
void BM_Iterate(benchmark::State& state) {
    Map map;
    Fill(map, Convert<Map>(TheKeys().insertOrder));
    for (auto _ : state) benchmark::DoNotOptimize(map.Sum());
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kKeyCount));
}

BENCHMARK_TEMPLATE(BM_Insert, VelMap)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_Insert, StdMap)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_Find, VelMap)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_Find, StdMap)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_Iterate, VelMap)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_Iterate, StdMap)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
