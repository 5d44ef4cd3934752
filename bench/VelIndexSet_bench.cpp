// Union and intersection of two 10^7-member CSets against std::set_union and
// std::set_intersection on the same members as sorted vectors, in the same run.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <vector>

#include "context/VelIndexSet.h"

namespace {

constexpr int kMembers = 10000000;

// Members scattered over twice their number: mostly single members with short runs, the
// shape that costs the kernel most.
const std::vector<int>& Members(unsigned seed) {
    static std::vector<int> sets[2];
    std::vector<int>& m = sets[seed & 1];
    if (m.empty()) {
        std::mt19937 rng(seed);
        std::bernoulli_distribution keep(0.5);
        m.reserve(kMembers + kMembers / 10);
        for (int i = 0; static_cast<int>(m.size()) < kMembers; ++i)
            if (keep(rng)) m.push_back(i);
    }
    return m;
}

void BM_StdSetUnion(benchmark::State& state) {
    const std::vector<int>& a = Members(1);
    const std::vector<int>& b = Members(2);
    for (auto _ : state) {
        std::vector<int> out;
        out.reserve(a.size() + b.size());
        std::set_union(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(out));
        benchmark::DoNotOptimize(out.data());
    }
}

void BM_StdSetIntersection(benchmark::State& state) {
    const std::vector<int>& a = Members(1);
    const std::vector<int>& b = Members(2);
    for (auto _ : state) {
        std::vector<int> out;
        out.reserve(std::min(a.size(), b.size()));
        std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(out));
        benchmark::DoNotOptimize(out.data());
    }
}

void BM_IndexSetUnion(benchmark::State& state) {
    che_RefPtr<VelIndexSet> a(VelIndexSet::FromAscending(Members(1).data(), kMembers));
    che_RefPtr<VelIndexSet> b(VelIndexSet::FromAscending(Members(2).data(), kMembers));
    for (auto _ : state) {
        che_RefPtr<VelIndexSet> out(VelIndexSet::Union(*a, *b));
        benchmark::DoNotOptimize(out.Get());
    }
}

void BM_IndexSetIntersection(benchmark::State& state) {
    che_RefPtr<VelIndexSet> a(VelIndexSet::FromAscending(Members(1).data(), kMembers));
    che_RefPtr<VelIndexSet> b(VelIndexSet::FromAscending(Members(2).data(), kMembers));
    for (auto _ : state) {
        che_RefPtr<VelIndexSet> out(VelIndexSet::Intersection(*a, *b));
        benchmark::DoNotOptimize(out.Get());
    }
}

BENCHMARK(BM_StdSetUnion)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IndexSetUnion)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StdSetIntersection)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IndexSetIntersection)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
