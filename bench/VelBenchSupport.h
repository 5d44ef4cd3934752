#ifndef VEL_BENCH_VELBENCHRATIOS_H
#define VEL_BENCH_VELBENCHRATIOS_H

// What the benchmark programs share.  Programs that time the library and its reference as
// separate benchmarks use a console reporter that prints, after the usual table, one benchmark's
// real time over another's, and a main body that runs them between the library's start and stop;
// programs that time both in one benchmark pair them with VelPaired, which alternates the sides
// so that neither always finds the page cache warmed by the other.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "vel/UTI_VelDynamicAPI.h"

class VelRatioReporter : public benchmark::ConsoleReporter {
public:
    // Each ratio prints the first benchmark's time over the second's.  A name matches a run of
    // that name, or of that name followed by "/" and the run's settings.
    using Ratios = std::vector<std::pair<std::string, std::string>>;
    explicit VelRatioReporter(Ratios ratios) : m_ratios(std::move(ratios)) {}

    // With repetitions the median is used, otherwise the single run.
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred) continue;
            const std::string name = run.run_name.str();
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
                m_medians[name] = run.GetAdjustedRealTime();
            else if (run.run_type == Run::RT_Iteration)
                m_times[name] = run.GetAdjustedRealTime();
        }
        ConsoleReporter::ReportRuns(runs);
    }
    void Finalize() override {
        ConsoleReporter::Finalize();
        for (const auto& ratio : m_ratios) {
            const double over = TimeOf(ratio.first);
            const double under = TimeOf(ratio.second);
            if (over > 0 && under > 0)
                std::printf("ratio %-28s / %-34s = %.2f\n", ratio.first.c_str(),
                            ratio.second.c_str(), over / under);
        }
    }

private:
    double TimeOf(const std::string& name) const {
        for (const auto* times : {&m_medians, &m_times})
            for (const auto& entry : *times)
                if (entry.first == name || entry.first.rfind(name + "/", 0) == 0)
                    return entry.second;
        return 0;
    }

    Ratios m_ratios;
    std::map<std::string, double> m_times;
    std::map<std::string, double> m_medians;
};

// Starts the library, runs the program's benchmarks reporting `ratios`, and stops it again.
inline int VelRunBenchmarks(int argc, char** argv, VelRatioReporter::Ratios ratios) {
    int modules = 0;
    UTI_VelDynamicAPI_initialize(modules);
    benchmark::Initialize(&argc, argv);
    VelRatioReporter reporter(std::move(ratios));
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    UTI_VelDynamicAPI_finalize(modules);
    return 0;
}

template <class Operation>
inline double VelBenchSeconds(Operation operation) {
    const auto start = std::chrono::steady_clock::now();
    operation();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double VelBenchMedian(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    const size_t n = times.size();
    return n % 2 ? times[n / 2] : (times[n / 2 - 1] + times[n / 2]) / 2;
}

// Times a raw HDF5 operation against the library's doing the same, in one benchmark with manual
// time: runs both sides `warmups` times untimed, then once each per iteration followed by `between`
// untimed; the ratio is taken from the medians, which a busy machine disturbs less than the
// means.  The warm-up lets the page cache settle after the writes of the benchmark before.
template <class Raw, class Library, class Between>
void VelPaired(benchmark::State& state, int64_t bytes, int warmups, Raw raw, Library library,
               Between between) {
    for (int w = 0; w < warmups; ++w) {
        raw();
        library();
        between();
    }
    std::vector<double> rawTimes;
    std::vector<double> libraryTimes;
    bool rawFirst = true;
    for (auto _ : state) {
        double r, l;
        if (rawFirst) {
            r = VelBenchSeconds(raw);
            l = VelBenchSeconds(library);
        } else {
            l = VelBenchSeconds(library);
            r = VelBenchSeconds(raw);
        }
        rawFirst = !rawFirst;
        state.PauseTiming();
        between();
        state.ResumeTiming();
        rawTimes.push_back(r);
        libraryTimes.push_back(l);
        state.SetIterationTime(r + l);
    }
    const double r = VelBenchMedian(rawTimes);
    const double l = VelBenchMedian(libraryTimes);
    state.counters["raw_ms"] = 1e3 * r;
    state.counters["vel_ms"] = 1e3 * l;
    state.counters["ratio"] = r / l;
    state.SetBytesProcessed(2 * bytes * state.iterations());
}
template <class Raw, class Library>
void VelPaired(benchmark::State& state, int64_t bytes, int warmups, Raw raw, Library library) {
    VelPaired(state, bytes, warmups, raw, library, [] {});
}

#endif
