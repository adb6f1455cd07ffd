#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <map>
#include <string>
#include <utility>

namespace keyvane::bench {

// The console output, then `ratios` with the time of every benchmark by its name (with its
// arguments): the median where repetitions were asked for, the one run otherwise; 0 for a name that
// did not run. A benchmark's counters are found the same way, as "name/counter".
class RatioReporter : public benchmark::ConsoleReporter {
  public:
    using Times = std::function<double(const std::string& name)>;
    explicit RatioReporter(std::function<void(const Times&)> ratios,
                           OutputOptions options = OO_Defaults)
        : ConsoleReporter(options), ratios_(std::move(ratios)) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration && run.aggregate_name != "median")
                continue;
            const std::string name = run.run_name.function_name +
                                     (run.run_name.args.empty() ? "" : "/" + run.run_name.args);
            times_[name] = run.GetAdjustedRealTime();
            for (const auto& [counter, value] : run.counters)
                times_[name + "/" + counter] = value.value;
        }
    }
    void Finalize() override {
        ConsoleReporter::Finalize();
        ratios_([this](const std::string& name) {
            const auto found = times_.find(name);
            return found == times_.end() ? 0.0 : found->second;
        });
    }

  private:
    std::function<void(const Times&)> ratios_;
    std::map<std::string, double> times_;  // counters too, by "name/counter"
};

}  // namespace keyvane::bench
