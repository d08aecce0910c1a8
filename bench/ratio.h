#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

/// A figure is the ratio of a subject to a baseline that ran interleaved with it in the same process.
namespace bench {

struct Ratio {
    double median;
    double low;   ///< 10th percentile of the rounds
    double high;  ///< 90th percentile
};

template <class Function>
double Seconds(const Function& function, int repeats) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < repeats; ++i) function();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
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
    const auto at = [&ratios](double part) { return ratios[static_cast<std::size_t>(part * (ratios.size() - 1))]; };
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
