#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <ctime>
#include <vector>

/// A figure is the ratio of a subject to a baseline that ran interleaved with it in the same process.
namespace bench {

struct Ratio {
    double median;
    double low;   ///< 10th percentile of the rounds
    double high;  ///< 90th percentile
};

/// CPU time of this thread: a figure must not depend on what else the machine does.
inline double Now() {
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

template <class Function>
double Seconds(const Function& function, int repeats) {
    const double start = Now();
    for (int i = 0; i < repeats; ++i) function();
    return Now() - start;
}

template <class Subject, class Baseline>
Ratio Compare(const Subject& subject, const Baseline& baseline, int rounds = 61, int repeats = 40) {
    Seconds(subject, repeats), Seconds(baseline, repeats);
    std::vector<double> ratios;
    for (int round = 0; round < rounds; ++round) {
        const double base = Seconds(baseline, repeats);
        ratios.push_back(Seconds(subject, repeats) / base);
    }
    std::sort(ratios.begin(), ratios.end());
    const auto at = [&ratios](double part) {
        return ratios[static_cast<std::size_t>(part * static_cast<double>(ratios.size() - 1))];
    };
    return {at(0.5), at(0.1), at(0.9)};
}

/// Reports a ratio under a name, with its spread.
inline void Report(benchmark::State& state, const char* name, const Ratio& ratio) {
    const std::string text(name);
    state.counters[text] = ratio.median;
    state.counters[text + "_p10"] = ratio.low;
    state.counters[text + "_p90"] = ratio.high;
}

}  // namespace bench
