// Pairs of benchmarks, ours against a reference, run on the same data in one process.
#ifndef IMGTARN_BENCH_COMPARISON_HPP
#define IMGTARN_BENCH_COMPARISON_HPP

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace bench {

// Registers "<name>/ours" and "<name>/reference"; after the run one line
// "<name> ratio=<ours/reference> goal=<goal>" is printed for it. A slow reference may be
// given a fixed number of iterations.
void Compare(const std::string& name, double goal, std::function<void(benchmark::State&)> ours,
             std::function<void(benchmark::State&)> reference, int referenceIterations = 0);

}  // namespace bench

#endif  // IMGTARN_BENCH_COMPARISON_HPP
