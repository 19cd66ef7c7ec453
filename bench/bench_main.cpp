// Runs every registered comparison and ends with one ratio line per comparison.
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "comparison.hpp"

namespace bench {
namespace {

struct Goal {
  std::string name;
  double goal;
};

std::vector<Goal>& Goals() {
  static std::vector<Goal> goals;
  return goals;
}

// Keeps the console output and remembers each benchmark's time per iteration.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs)
      if (run.run_type == Run::RT_Iteration && !run.error_occurred)
        seconds_[run.run_name.function_name] = run.GetAdjustedRealTime();
  }
  const std::map<std::string, double>& Seconds() const { return seconds_; }

 private:
  std::map<std::string, double> seconds_;
};

}  // namespace

void Compare(const std::string& name, double goal, std::function<void(benchmark::State&)> ours,
             std::function<void(benchmark::State&)> reference, int referenceIterations) {
  benchmark::RegisterBenchmark((name + "/ours").c_str(), ours)->UseRealTime();
  auto* slow = benchmark::RegisterBenchmark((name + "/reference").c_str(), reference);
  slow->UseRealTime();
  if (referenceIterations > 0) slow->Iterations(referenceIterations);
  Goals().push_back({name, goal});
}

}  // namespace bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  bench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  const auto& seconds = reporter.Seconds();
  std::printf("\n");
  for (const auto& goal : bench::Goals()) {
    const auto ours = seconds.find(goal.name + "/ours");
    const auto reference = seconds.find(goal.name + "/reference");
    if (ours == seconds.end() || reference == seconds.end()) continue;
    std::printf("%s ratio=%.3f goal=%g\n", goal.name.c_str(), ours->second / reference->second,
                goal.goal);
  }
  return 0;
}
